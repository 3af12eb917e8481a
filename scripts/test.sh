#!/usr/bin/env bash
# usage: test.sh [CTEST ARGUMENT...]        for instance: test.sh -R PipeServer
#
# Builds everything with every preset and runs every test:
#   formatting   clang-format changes nothing
#   clang        all that is shipped builds with the second compiler
#   clang-tidy   has no complaint about it; see scripts/tidy.sh
#   debug        the in-process tests, trapping on undefined behaviour
#   release      all tests
# Goes on after a failure as long as that makes sense, and ends with a summary. Logs and JUnit
# results are left in build/test.
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode
ORVA_WINEPREFIX=$root/build/wine/test
export ORVA_WINEPREFIX
source "$root/scripts/lib/wine_prefix.sh"
cd "$root"

ctest_arguments=("$@")
results=$root/build/test
summary=()
failures=0

# check NAME COMMAND...: runs a command, keeps its outcome for the summary, and returns it. In the
# commands "set -e" has no effect, hence the chains.
check() {
  local name=$1 outcome=ok
  shift
  step "$name"
  "$@" || outcome=FAILED
  [[ $outcome == ok ]] || failures=$((failures + 1))
  summary+=("$(printf '%-24s %s' "$name" "$outcome")")
  [[ $outcome == ok ]]
}

check_formatting() {
  git ls-files -z -- '*.cpp' '*.h' | xargs -0 -r clang-format-19 --dry-run -Werror
}

configure_and_build() {
  configure "$1" && build "$1"
}

# run_tests PRESET [CTEST ARGUMENT...]
run_tests() {
  local preset=$1
  shift
  # A prefix without a past: no service, no file of an earlier run.
  remove_prefix && start_prefix 600 || return
  ctest --preset "$preset" --no-label-summary --parallel "$(nproc)" \
    --output-junit "$results/$preset.xml" "$@" 2>&1 </dev/null | tee "$results/$preset.log"
}

# wine_faults PRESET: how often a test was begun again because of Wine; see wine.sh.
wine_faults() {
  local log=$root/build/$1/Testing/Temporary/LastTest.log
  [[ -f $log ]] || return 0
  # No line is a failure for grep, not for us.
  printf 'Begun again because Wine held a program up: %s, because it never began it: %s\n' \
    "$(grep -c '^wine.sh: Wine holds up' "$log" || true)" \
    "$(grep -c '^wine.sh: Wine ended.* before it began' "$log" || true)"
}

# closing_lines PRESET: what ctest said in the end, failed tests included.
closing_lines() {
  if [[ -f $results/$1.log ]]; then
    sed -n '/^[0-9]*% tests passed/,$p; /^No tests were found/p' "$results/$1.log"
    wine_faults "$1"
  else
    echo "no test was run"
  fi
}

trap stop_prefix EXIT

"$root/scripts/setup.sh"
rm -rf "$results"
mkdir -p "$results"

check "Formatting" check_formatting || true
check "Build with clang" configure_and_build clang || true
check "clang-tidy" scripts/tidy.sh || true
# A selection of tests may hold none that run in this build.
if check "Build debug" configure_and_build debug; then
  check "Tests of debug" run_tests debug --label-regex '^inprocess$' \
    --no-tests="$([[ $# -gt 0 ]] && echo ignore || echo error)" "${ctest_arguments[@]}" || true
fi
if check "Build release" configure_and_build release; then
  check "Tests of release" run_tests release --no-tests=error "${ctest_arguments[@]}" || true
fi

step "Summary"
printf '  %s\n' "${summary[@]}"
for preset in debug release; do
  printf '\n%s:\n' "$preset"
  closing_lines "$preset"
done
exit $((failures > 0))
