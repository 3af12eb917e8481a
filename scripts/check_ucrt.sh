#!/usr/bin/env bash
# usage: check_ucrt.sh [CTEST ARGUMENT...]
#
# Builds everything for the universal C runtime (the preset ucrt), runs every test of that build, and
# shows how large the programs are and which parts of Windows they load, beside those of build/release
# where these are. Needs Debian 13 or later:
#
#   scripts/on_debian.sh 13 scripts/check_ucrt.sh
#
# Logs and JUnit results are in build/test-ucrt.
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode
# Each test takes a prefix that is free.
unset ORVA_WINEPREFIX
source "$root/scripts/lib/wine_prefix.sh"
cd "$root"

programs=(OrvaAcceleratorService.exe orvactl.exe OrvaClient.dll)
results=$root/build/test-ucrt
selection=("$@")

# run_tests NAME LABELS [CTEST ARGUMENT...]
run_tests() {
  local name=$1 labels=$2 code=0
  shift 2
  # A selection may hold none of these.
  ctest --preset ucrt --no-label-summary --label-regex "^($labels)\$" \
    --no-tests="$([[ ${#selection[@]} -gt 0 ]] && echo ignore || echo error)" \
    --output-junit "$results/$name.xml" --test-output-size-passed 1000000 "$@" "${selection[@]}" \
    >"$results/$name.log" 2>&1 </dev/null || code=$?
  cp build/ucrt/Testing/Temporary/LastTest.log "$results/$name-output.log"
  sed -n '/^[0-9]*% tests passed/,$p; /^No tests were found/p' "$results/$name.log"
  return "$code"
}

# show_program FILE: its size as it is handed out, and the DLLs that it names.
show_program() {
  x86_64-w64-mingw32-strip -p -o "$results/stripped" "$1"
  printf '  %9d bytes  %s\n%s\n' "$(stat -c %s "$results/stripped")" "${1#build/}" \
    "$(x86_64-w64-mingw32-objdump -p "$1" | sed -n 's/^\tDLL Name: //p' | paste -sd ' ' | fold -sw 90 |
      sed 's/^/                   /')"
}

"$root/scripts/setup.sh" g++-mingw-w64-ucrt64
rm -rf "$results"
mkdir -p "$results"
step "Build"
configure ucrt
build ucrt

step "Start Wine"
each_test_prefix remove_prefix
trap 'each_test_prefix stop_prefix' EXIT
start_test_prefixes "$(nproc)" >"$results/wine.log" 2>&1 </dev/null

failed=0
step "Tests"
run_tests all 'inprocess|shipped|system' --parallel "$(nproc)" || failed=1
step "Tests of real time"
run_tests realtime realtime || failed=1

step "Programs"
for program in "${programs[@]}"; do
  for preset in release ucrt; do
    [[ ! -e build/$preset/bin/$program ]] || show_program "build/$preset/bin/$program"
  done
done
[[ $failed -eq 0 ]] || fail "tests have failed: see build/test-ucrt"
step_done
say "With the universal C runtime, all tests have passed."
