#!/usr/bin/env bash
# usage: fuzz.sh [TARGET] [SECONDS]      for instance: fuzz.sh dispatch 600
#        fuzz.sh replay TARGET FILE
#        fuzz.sh minimise TARGET
#
# Fuzzes one target (dispatch, client or text), or all of them one after the other, for so many
# seconds each (default 60), with a new seed each time. Begins with the inputs that are checked in
# under tests/fuzz/corpus and with those that earlier runs have kept in build/fuzz/TARGET, which is
# also where inputs go that reach new code, and takes words from tests/fuzz/dictionaries.
#
# An input that ends the program is left in build/fuzz as crash-TARGET-HASH.bin, and the script fails
# with the command that runs it again, "replay". "minimise" replaces the checked-in inputs by the
# least that reach what they and the kept ones do.
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode
ORVA_WINEPREFIX=$root/build/wine/fuzz
export ORVA_WINEPREFIX
source "$root/scripts/lib/wine_prefix.sh"

targets=(dispatch client text)
programs=$root/build/checked/bin/tests
kept=$root/build/fuzz
inputs=$root/tests/fuzz

usage() {
  sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0" >&2
  exit 2
}

action=fuzz
replay=
case ${1:-all} in
  replay)
    [[ $# -eq 3 && -f $3 ]] || usage
    action=replay targets=("$2") replay=$(realpath "$3")
    ;;
  minimise)
    [[ $# -eq 2 ]] || usage
    action=minimise targets=("$2")
    ;;
  all) ;;
  *) targets=("$1") ;;
esac
[[ ${targets[0]} =~ ^(dispatch|client|text|planted)$ ]] || usage
seconds=60
[[ $action != fuzz ]] || seconds=${2:-60}
[[ $seconds =~ ^[0-9]+$ ]] || usage

# fuzz TARGET ARGUMENT...
fuzz() {
  local target=$1
  shift
  wine "$programs/fuzz_$target.exe" --crash "Z:$kept/crash-$target.bin" "$@" </dev/null
}

# Keeps the input from being replaced by the next one that is found.
tell_of_crash() {
  local target=$1 code=$2 file
  [[ -f $kept/crash-$target.bin ]] || fail "ended with exit code $code, and left no input"
  file=$kept/crash-$target-$(sha256sum "$kept/crash-$target.bin" | head -c 12).bin
  mv "$kept/crash-$target.bin" "$file"
  fail "ended with exit code $code; to run the input again: scripts/fuzz.sh replay $target ${file#"$root"/}"
}

fuzz_target() {
  local target=$1 arguments=(--seconds "$seconds" --seed "$RANDOM" --corpus "Z:$kept/$target")
  mkdir -p "$kept/$target"
  rm -f "$kept/crash-$target.bin"
  # The planted bug has neither.
  [[ ! -d $inputs/corpus/$target ]] || arguments+=(--seeds "Z:$inputs/corpus/$target")
  [[ ! -f $inputs/dictionaries/$target.dict ]] ||
    arguments+=(--dictionary "Z:$inputs/dictionaries/$target.dict")
  fuzz "$target" "${arguments[@]}" || tell_of_crash "$target" $?
}

minimise_target() {
  local target=$1 least
  [[ -d $inputs/corpus/$target ]] || fail "has no inputs that are checked in"
  least=$(mktemp -d "$kept/least.XXXXXX")
  mkdir -p "$kept/$target"
  fuzz "$target" --seeds "Z:$inputs/corpus/$target" --corpus "Z:$kept/$target" \
    --minimise "Z:$least" || fail "ended with exit code $?"
  rm -f "$inputs/corpus/$target"/*
  mv "$least"/* "$inputs/corpus/$target/"
  rmdir "$least"
}

trap stop_prefix EXIT
cd "$root"
mkdir -p "$kept"
step "Build"
configure checked
build checked "${targets[@]/#/fuzz_}"
step "Prepare Wine"
start_prefix 600 || fail "cannot make or start the Wine prefix $WINEPREFIX"

for target in "${targets[@]}"; do
  case $action in
    fuzz)
      step "Fuzz $target for $seconds seconds"
      fuzz_target "$target"
      ;;
    replay)
      step "Run $replay again"
      fuzz "$target" "Z:$replay" || fail "ended with exit code $?"
      ;;
    minimise)
      step "Minimise the inputs of $target"
      minimise_target "$target"
      ;;
  esac
done
step_done
[[ $action == minimise ]] || say "Nothing was found."
