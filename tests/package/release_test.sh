#!/usr/bin/env bash
# usage: release_test.sh
#
# Runs release.sh in a checkout of its own, in which every script that it calls is a stand-in that writes
# down that it was called: all of it, a step that fails, one that is broken off, and what is done again.
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/lib/common.sh"
strict_mode
checkout=$(mktemp -d)
running=
trap '[[ -z $running ]] || kill "$running" 2>/dev/null || true; rm -rf "$checkout"' EXIT
release=$checkout/scripts/release.sh
calls=$checkout/build/calls

# calls_are TEXT...: what was called since the last time.
calls_are() {
  diff <([[ $# -eq 0 ]] || printf '%s\n' "$@") "$calls" || fail "other steps were done"
  : >"$calls"
}

# ends_with CODE COMMAND...: its output goes to $checkout/build/output.
ends_with() {
  local expected=$1 code=0
  shift
  "$@" >"$checkout/build/output" 2>&1 || code=$?
  [[ $code -eq $expected ]] || fail "exit code $code in place of $expected: $(<"$checkout/build/output")"
}

says() { grep -qE -- "$1" "$checkout/build/output" || fail "not said: $1; but $(<"$checkout/build/output")"; }

step "Make a checkout of stand-ins"
mkdir -p "$checkout"/{scripts/lib,build}
cp "$root/scripts/release.sh" "$checkout/scripts/"
cp "$root/scripts/lib/common.sh" "$checkout/scripts/lib/"
echo /build/ >"$checkout/.gitignore"
mapfile -t commands < <(sed -nE "s/^  '[a-z0-9]+\|(scripts\/[^|]+)\|.*/\1/p" "$release")
[[ ${#commands[@]} -ge 10 ]] || fail "too few steps: ${#commands[@]}"
for command in "${commands[@]}"; do
  script=$checkout/${command%% *}
  # Each is one that exists, and as long as a file says so it fails, or does not end.
  [[ -x $root/${command%% *} ]] || fail "there is no ${command%% *}"
  cat >"$script" <<'SCRIPT'
#!/usr/bin/env bash
cd "$(dirname "$0")/.."
me="scripts/${0##*/}${*:+ $*}"
echo "$me" >>build/calls
if [[ -e build/hangs && $(<build/hangs) == "$me" ]]; then
  sleep 1000 &
  echo "$!" >build/hangs.pid
  wait
fi
echo "closing line of $me"
[[ ! -e build/fails || $(<build/fails) != "$me" ]]
SCRIPT
  chmod +x "$script"
done
git -C "$checkout" init -q
git -C "$checkout" add -A
git -C "$checkout" -c user.name=a -c user.email=a@b commit -q -m Stand-ins
: >"$calls"
broken=5
[[ ${commands[broken]} == *reproducible* ]] || fail "the order has changed: choose another step to break"

step "A step fails, the others are done all the same"
echo "${commands[broken]}" >"$checkout/build/fails"
ends_with 1 "$release"
calls_are "${commands[@]}"
says '^  reproducible +FAILED, exit code 1 +closing line of scripts/check_reproducible.sh$'
says '^1 of [0-9]+ steps are not done'
ends_with 0 "$release" --list
says '^  reproducible +FAILED'
says '^  mutation +done in [0-9]+ s'
calls_are

step "Continued, only that step is done"
rm "$checkout/build/fails"
ends_with 0 "$release"
calls_are "${commands[broken]}"
says '^All [0-9]+ steps are done for this revision\.$'
ends_with 0 "$release"
calls_are

step "Again from a step on, and one alone"
ends_with 0 "$release" --from fuzzing
calls_are "${commands[@]: -2}"
ends_with 0 "$release" --only tests
calls_are "${commands[0]}"
echo "${commands[0]}" >"$checkout/build/fails"
ends_with 1 "$release" --only tests
says '^  tests +FAILED, exit code 1'
rm "$checkout/build/fails"
ends_with 0 "$release"
calls_are "${commands[0]}" "${commands[0]}"
ends_with 2 "$release" --only nonsense
ends_with 2 "$release" --nonsense
ends_with 0 "$release" --help
says '^usage: release.sh'
calls_are

step "Another revision begins anew; broken off, it ends what it has started, and is continued"
git -C "$checkout" -c user.name=a -c user.email=a@b commit -q --allow-empty -m Another
echo "${commands[broken]}" >"$checkout/build/hangs"
"$release" >"$checkout/build/broken-off" 2>&1 &
running=$!
for ((i = 0; i < 600; ++i)); do
  [[ ! -s $checkout/build/hangs.pid ]] || break
  sleep 0.1
done
ends_with 2 "$release" --only tests
says '^Another release.sh is at work'
kill -TERM "$running"
code=0
wait "$running" || code=$?
[[ $code -eq 1 ]] || fail "exit code $code when it is broken off"
for ((i = 0; i < 100; ++i)); do
  kill -0 "$(<"$checkout/build/hangs.pid")" 2>/dev/null || break
  sleep 0.1
done
! kill -0 "$(<"$checkout/build/hangs.pid")" 2>/dev/null || fail "what the step has started goes on"
calls_are "${commands[@]:0:broken+1}"
rm "$checkout/build/hangs"
ends_with 0 "$release"
calls_are "${commands[@]:broken}"

step "A checkout with changes has no revision"
echo changed >"$checkout/changed"
ends_with 2 "$release" --only tests
says 'has changes'
rm "$checkout/changed"

step "A step that changes the checkout has failed"
printf 'touch changed\n' >>"$checkout/${commands[0]}"
git -C "$checkout" -c user.name=a -c user.email=a@b commit -q -a -m "A step that changes"
ends_with 1 "$release" --only tests
says 'FAILED, exit code changed'
step_done
