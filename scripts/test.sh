#!/usr/bin/env bash
# usage: test.sh [CTEST ARGUMENT...]        for instance: test.sh -R PipeServer
#
# Builds everything and runs every test:
#   formatting   clang-format changes nothing
#   checked      the in-process tests, in a build that is optimised, traps on undefined behaviour,
#                checks the library's preconditions and guards the heap
#   release      what is shipped, and the tests that drive it
#   real time    the tests of times that are promised, with nothing beside them
#   clang        all that is shipped builds with the second compiler
#   clang-tidy   has no complaint about it; see scripts/tidy.sh
#   Microsoft    its compiler would take the headers, and reproducible: linked twice, the programs are the
#                same; the quick halves of scripts/check_msvc.sh and scripts/check_reproducible.sh
# What needs no tests is done beside those of the checked build, with what they leave of the processors.
# Goes on after a failure as long as that makes sense, and ends with a summary. build/test has the
# logs, which name every single test, and JUnit results.
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode
# Each test takes a prefix that is free.
unset ORVA_WINEPREFIX
source "$root/scripts/lib/wine_prefix.sh"
cd "$root"

ctest_arguments=("$@")
results=$root/build/test
summary=()
failures=0

# note NAME OUTCOME [SECONDS]: for the summary.
note() {
  [[ $2 == ok ]] || failures=$((failures + 1))
  summary+=("$(printf '%-24s %-6s %5s' "$1" "$2" "${3:+$3 s}")")
  [[ $2 == ok ]]
}

# check NAME COMMAND...: runs a command, notes its outcome, and returns it. In the commands "set -e"
# has no effect, hence the chains.
check() {
  local name=$1 outcome=ok begun=$SECONDS
  shift
  step "$name"
  "$@" || outcome=FAILED
  note "$name" "$outcome" $((SECONDS - begun))
}

# start_beside NAME COMMAND...: begins a command beside what comes next. check_beside NAME: waits for
# it, shows what it has said, notes its outcome, and returns it.
declare -A beside
start_beside() {
  local name=$1
  shift
  (trap - ERR EXIT && renice -n 19 "$BASHPID" >/dev/null && "$@") \
    >"$results/$name.log" 2>&1 </dev/null &
  beside[$name]=$!
}
check_beside() {
  local outcome=ok
  step "$1"
  wait "${beside[$1]}" || outcome=FAILED
  [[ $outcome == ok ]] && tail -n 1 "$results/$1.log" || cat "$results/$1.log"
  note "$1" "$outcome"
}

check_formatting() {
  git ls-files -z -- '*.cpp' '*.h' |
    xargs -0 -r -n 32 -P "$(nproc)" clang-format-19 --dry-run -Werror
}

# A build that is there configures itself when it has to.
configure_and_build() {
  [[ build/$1/build.ninja -nt CMakePresets.json ]] || configure "$1" || return
  build "$1"
}

second_compiler_and_tidy() {
  configure_and_build clang && scripts/tidy.sh
}

microsoft_and_reproducible() {
  scripts/check_msvc.sh --quick && scripts/check_reproducible.sh --quick
}

# run_tests SUITE PRESET LABELS [CTEST ARGUMENT...]: leaves its results under the suite's name.
run_tests() {
  local suite=$1 preset=$2 labels=$3
  shift 3
  ctest --preset "$preset" --no-label-summary --parallel "$(nproc)" --label-regex "^($labels)\$" \
    --output-junit "$results/$suite.xml" --test-output-size-passed 1000000 "$@" 2>&1 </dev/null |
    tee "$results/$suite.log"
  local status=${PIPESTATUS[0]}
  cp "build/$preset/Testing/Temporary/LastTest.log" "$results/$suite-output.log" || return
  return "$status"
}

# count_lines PATTERN FILE: no line is a failure for grep, not for us.
count_lines() { grep -cE "$1" "$2" || true; }

# closing_lines SUITE: what ctest said in the end, failed tests included, how many tests that were one
# by one, and how often one was begun again because of Wine; see wine.sh.
closing_lines() {
  local output=$results/$1-output.log
  if [[ ! -f $output ]]; then
    echo "no test was run"
    return
  fi
  sed -n '/^[0-9]*% tests passed/,$p; /^No tests were found/p' "$results/$1.log"
  printf 'Tests of GoogleTest among them, one by one: %s passed, %s failed\n' \
    "$(count_lines '^\[       OK \] .*\)$' "$output")" \
    "$(count_lines '^\[  FAILED  \] .* ms\)$' "$output")"
  printf 'Begun again because Wine held a program up: %s, because it never began it: %s\n' \
    "$(count_lines '^wine.sh: Wine holds up' "$output")" \
    "$(count_lines '^wine.sh: Wine ended.* before it began' "$output")"
}

"$root/scripts/setup.sh"
rm -rf "$results"
mkdir -p "$results"
# Windows installations without a past: no service, no file of an earlier run.
each_test_prefix remove_prefix
trap 'each_test_prefix stop_prefix' EXIT
start_beside "Wine" start_test_prefixes "$(nproc)"

check "Formatting" check_formatting || true
check "Build checked" configure_and_build checked && built=yes || built=''
check_beside "Wine" || true
start_beside "Build release" configure_and_build release
# A selection of tests may hold none of this build.
no_tests=$([[ $# -gt 0 ]] && echo ignore || echo error)
[[ -z $built ]] ||
  check "Tests of checked" run_tests checked checked inprocess --no-tests="$no_tests" \
    "${ctest_arguments[@]}" || true
check_beside "Build release" && built=yes || built=''
start_beside "Clang and clang-tidy" second_compiler_and_tidy
[[ -z $built ]] || start_beside "Microsoft, reproducible" microsoft_and_reproducible
[[ -z $built ]] ||
  check "Tests of release" run_tests release release 'shipped|system' --no-tests="$no_tests" \
    "${ctest_arguments[@]}" || true
check_beside "Clang and clang-tidy" || true
[[ -z $built ]] || check_beside "Microsoft, reproducible" || true
[[ -z $built ]] ||
  check "Tests of real time" run_tests realtime release realtime --no-tests="$no_tests" \
    "${ctest_arguments[@]}" || true
# None of them may have one of a selection that is misspelt.
if [[ $# -gt 0 ]]; then
  check "Selection of tests" grep -q '^[0-9]*% tests passed' "$results"/{checked,release,realtime}.log || true
fi

step "Summary"
printf '  %s\n' "${summary[@]}" "$(printf '%-24s %12s' "In all" "$SECONDS s")"
for suite in checked release realtime; do
  printf '\n%s:\n' "$suite"
  closing_lines "$suite"
done
exit $((failures > 0))
