#!/usr/bin/env bash
# usage: release.sh [--from STEP | --only STEP | --list | --help]
#
# Does everything that comes before a release, unattended (several hours), and ends with a summary. What
# has succeeded for the revision that is checked out leaves a mark and is not done again, so that a run
# that was broken off, or in which a step failed, is continued by the same command. A step that fails does
# not keep the others from running. The checkout must have no changes, and must not get any meanwhile.
#
#   --from STEP   does STEP and all behind it again
#   --only STEP   does nothing but STEP, again
#   --list        the steps in their order, and which of them are done
#
# Logs, marks and summary.txt are in build/release-run/REVISION. Exit code: 0 when all that was asked for
# has succeeded, 1 when something failed, 2 when it cannot work.
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode
cd "$root"

# Name, command line, and what it is. The costly ones come after those that find most.
steps=(
  'tests|scripts/test.sh|every test'
  'debian13|scripts/on_debian.sh 13 scripts/test.sh|every test on the newer system'
  'ucrt|scripts/on_debian.sh 13 scripts/check_ucrt.sh|every test with the universal C runtime'
  'microsoft|scripts/check_msvc.sh|all sources in Microsoft mode'
  'powershell|scripts/check_powershell.sh|the acceptance kit, as far as it can be read here'
  'reproducible|scripts/check_reproducible.sh|two builds give the same bytes'
  'packages|scripts/package.sh|the packages'
  'developer|scripts/package.sh --with-simulator|the packages with the simulated library'
  'kit|scripts/acceptance_kit.sh|the acceptance kit'
  'contents|scripts/check_packages.sh --released|notices, changes and sums of the packages'
  'coverage|scripts/coverage.sh|lines that the tests run'
  'benchmark|scripts/bench.sh|what the service costs'
  'long|scripts/soak.sh|the long tests at full size'
  'fuzzing|scripts/fuzz.sh all 300|all fuzzing targets'
  'mutation|scripts/mutate.sh --all|mistakes that no test notices'
)

usage() {
  sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"
  exit "$1"
}

name_of() { printf '%s' "${1%%|*}"; }
# command_of ENTRY, purpose_of ENTRY
command_of() { local rest=${1#*|}; printf '%s' "${rest%%|*}"; }
purpose_of() { printf '%s' "${1##*|}"; }

first=0 last=$((${#steps[@]} - 1)) again='' listing=''
position_of() {
  local i
  for i in "${!steps[@]}"; do
    [[ $(name_of "${steps[i]}") != "$1" ]] || { echo "$i" && return; }
  done
  printf 'no step is called "%s"; see --list\n' "$1" >&2
  exit 2
}
case ${1:-} in
  '') ;;
  -h | --help) usage 0 ;;
  --list) listing=yes ;;
  --from | --only)
    [[ $# -eq 2 ]] || usage 2 >&2
    first=$(position_of "$2") || exit
    [[ $1 == --from ]] || last=$first
    again=yes
    ;;
  *) usage 2 >&2 ;;
esac

revision=$(git rev-parse HEAD)
run=$root/build/release-run/$revision
mkdir -p "$run"

# state_of NAME: done and how long it took, failed, or nothing.
state_of() {
  if [[ -f $run/$1.done ]]; then
    printf 'done in %s s' "$(<"$run/$1.done")"
  elif [[ -f $run/$1.failed ]]; then
    printf 'FAILED, exit code %s' "$(<"$run/$1.failed")"
  else
    printf 'not done'
  fi
}

print_steps() {
  local entry name
  for entry in "${steps[@]}"; do
    name=$(name_of "$entry")
    printf '  %-13s %-24s %s\n' "$name" "$(state_of "$name")" "$("$1" "$entry")"
  done
}

if [[ -n $listing ]]; then
  printf 'Revision %s\n' "$revision"
  print_steps purpose_of
  exit 0
fi

require_unchanged() {
  [[ $(git rev-parse HEAD) == "$revision" && -z $(git status --porcelain) ]]
}
exec 9>"$root/build/release-run/.lock"
flock -n 9 || { echo "Another release.sh is at work here." >&2 && exit 2; }
require_unchanged || { echo "The checkout has changes: what is tested would have no revision." >&2 && exit 2; }

# A step has a process group of its own, so that all of it ends when this script is ended.
child=
end_child() { [[ -z $child ]] || kill -TERM -- "-$child" 2>/dev/null || true; }
broken_off() {
  trap '' INT TERM HUP
  end_child
  printf '\nBroken off in the step "%s"; the same command continues.\n' "$name" >&2
  exit 1
}

run_step() {
  local name=$1 words began=$SECONDS code=0
  read -r -a words <<<"$2"
  rm -f "$run/$name".{done,failed}
  set -m
  "$root/${words[0]}" "${words[@]:1}" >"$run/$name.log" 2>&1 </dev/null 9>&- &
  child=$!
  set +m
  wait "$child" || code=$?
  child=
  if [[ $code -eq 0 ]] && ! require_unchanged; then
    echo "the checkout has changed meanwhile" >>"$run/$name.log"
    code=changed
  fi
  if [[ $code == 0 ]]; then
    echo "$((SECONDS - began))" >"$run/$name.done"
  else
    echo "$code" >"$run/$name.failed"
  fi
}

# The line with which a step's script ends, without its colours.
closing_line() {
  local log=$run/$(name_of "$1").log
  [[ ! -f $log ]] || sed 's/\x1b\[[0-9;]*m//g' "$log" | grep -v '^[[:space:]]*$' | tail -n 1 | cut -c 1-120
}

failed=0
trap broken_off INT TERM HUP
for ((i = first; i <= last; ++i)); do
  name=$(name_of "${steps[i]}")
  [[ -n $again || ! -f $run/$name.done ]] || continue
  step "$name: $(command_of "${steps[i]}"), $(date -u +%H:%M:%S)"
  run_step "$name" "$(command_of "${steps[i]}")"
  printf '    %s\n' "$(state_of "$name")"
  [[ -f $run/$name.done ]] || failed=1
done
trap - INT TERM HUP

step "Summary"
{
  printf 'Revision %s, %s\n' "$revision" "$(date -u '+%Y-%m-%d %H:%M:%S')"
  print_steps closing_line
} | tee "$run/summary.txt"
undone=0
for entry in "${steps[@]}"; do
  [[ -f $run/$(name_of "$entry").done ]] || undone=$((undone + 1))
done
step_done
if [[ $undone -eq 0 ]]; then
  say "All ${#steps[@]} steps are done for this revision."
else
  printf '%s of %s steps are not done for this revision; logs in build/release-run\n' "$undone" "${#steps[@]}"
fi
exit "$failed"
