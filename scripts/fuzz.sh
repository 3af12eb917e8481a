#!/usr/bin/env bash
# usage: fuzz.sh [TARGET] [SECONDS]      for instance: fuzz.sh dispatch 600
#        fuzz.sh replay TARGET FILE
#
# Fuzzes one target (dispatch, client or text), or all of them one after the other, for so many
# seconds each (default 60), with a new seed each time. Inputs that reach new code are kept in
# build/fuzz/TARGET and are where the next run begins. An input that ends the program is left in
# build/fuzz as crash-TARGET.bin, and the script fails; "replay" runs such a file again.
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode
ORVA_WINEPREFIX=$root/build/wine/fuzz
export ORVA_WINEPREFIX
source "$root/scripts/lib/wine_prefix.sh"

targets=(dispatch client text)
programs=$root/build/release/bin/tests
kept=$root/build/fuzz

usage() {
  echo "usage: fuzz.sh [dispatch|client|text|all] [SECONDS] | fuzz.sh replay TARGET FILE" >&2
  exit 2
}

replay=
if [[ ${1:-} == replay ]]; then
  [[ $# -eq 3 && -f $3 ]] || usage
  targets=("$2")
  replay=$(realpath "$3")
elif [[ ${1:-all} != all ]]; then
  targets=("$1")
fi
[[ ${targets[0]} =~ ^(dispatch|client|text|planted)$ ]] || usage
seconds=${2:-60}
[[ -n $replay || $seconds =~ ^[0-9]+$ ]] || usage

trap stop_prefix EXIT
cd "$root"
step "Build"
configure release
build release "${targets[@]/#/fuzz_}"
step "Prepare Wine"
start_prefix 600 || fail "cannot make or start the Wine prefix $WINEPREFIX"

for target in "${targets[@]}"; do
  if [[ -n $replay ]]; then
    step "Run $replay again"
    mkdir -p "$kept"
    wine "$programs/fuzz_$target.exe" --crash "Z:$kept/crash-$target.bin" "Z:$replay" </dev/null || fail "ended with exit code $?"
    continue
  fi
  step "Fuzz $target for $seconds seconds"
  mkdir -p "$kept/$target"
  wine "$programs/fuzz_$target.exe" --seconds "$seconds" --seed "$RANDOM" \
    --corpus "Z:$kept/$target" --crash "Z:$kept/crash-$target.bin" </dev/null ||
    fail "ended with exit code $?: replay with scripts/fuzz.sh replay $target build/fuzz/crash-$target.bin"
done
step_done
say "Nothing was found."
