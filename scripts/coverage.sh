#!/usr/bin/env bash
# usage: coverage.sh [CTEST ARGUMENT...]        for instance: coverage.sh -R PipeServer
#
# Builds what is shipped so that it counts the lines that are run, runs the tests of it, in-process
# and of the installed service, and prints the share of its lines that were run, a row a folder. Fails
# under 95 %; with arguments, for a part of the tests, it only tells. The build has a folder of its own,
# and the run takes longer than an ordinary one, so this is no part of scripts/test.sh.
#
# Leaves in build/coverage/report: index.html, every file line by line; uncovered.txt, a line for each
# file with lines left; and lines.csv.
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode
# Each test takes a prefix that is free.
unset ORVA_WINEPREFIX
# A program writes its counters in the end, one after the other.
export ORVA_HOLD_UP_SECONDS=60
source "$root/scripts/lib/wine_prefix.sh"
cd "$root"

least=95
folders=(win32 sdk ipc handlers service client tools installer simulator)
report=$root/build/coverage/report

"$root/scripts/setup.sh"
trap 'each_test_prefix stop_prefix' EXIT

step "Build"
configure coverage
build coverage

step "Run the tests"
# Counters of an earlier run are added to, and those of an earlier build do not fit.
find build/coverage -name '*.gcda' -delete
each_test_prefix remove_prefix
start_test_prefixes "$(nproc)" || fail "cannot make or start a Wine prefix"
tests=passed
# What counts lines imports functions that nothing shipped does.
ctest --preset coverage --no-label-summary --parallel "$(nproc)" --no-tests=error \
  --exclude-regex '^ServiceImports\.AreAllListed$' "$@" </dev/null ||
  tests=failed

step "Gather"
rm -rf "$report"
mkdir -p "$report"
gcovr --root . --object-directory build/coverage -j "$(nproc)" \
  --gcov-executable x86_64-w64-mingw32-gcov-posix \
  --filter "($(IFS='|' && echo "${folders[*]}"))/" \
  --csv "$report/lines.csv" --txt "$report/uncovered.txt" --html-details "$report/index.html" \
  build/coverage >/dev/null
# Only files with something left, with the numbers of these lines.
sed -i -nE '1,/^File /d; /^---/d; /100%/d; p' "$report/uncovered.txt"
cat "$report/uncovered.txt"

step "Lines run, of what is shipped"
share=$(awk -F, '
  NR > 1 {
    folder = $1
    sub("/.*", "", folder)
    of[folder] += $2; run[folder] += $3
    all += $2; all_run += $3
  }
  END {
    row = "%-10s %6d of %6d  %5.1f %%\n"
    for (folder in of) printf row, folder, run[folder], of[folder], 100 * run[folder] / of[folder] | "sort >&2"
    close("sort >&2")
    printf row, "all", all_run, all, 100 * all_run / all >"/dev/stderr"
    print (all > 0 ? 100 * all_run / all : 0)
  }' "$report/lines.csv")
[[ $tests == passed ]] || fail "tests have failed, see above"
if [[ $# -eq 0 ]]; then
  awk -v share="$share" -v least="$least" 'BEGIN { exit !(share >= least) }' ||
    fail "less than $least %"
fi
step_done
say "$report/index.html"
