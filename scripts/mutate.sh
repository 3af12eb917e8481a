#!/usr/bin/env bash
# usage: mutate.sh [--against REVISION]   the lines that differ from REVISION (default HEAD)
#        mutate.sh FILE...                all of these files
#        mutate.sh --all                  all of the shipped service
#
# Plants one small mistake at a time in the shipped service: another comparison, condition, constant,
# return value or field, a removed statement, a removed lock. Runs the tests that reach it until one
# fails, and tells which mistakes nobody noticed. Exits with 1 if there are any, and with 2 when it
# cannot work.
#
#   --list            only says what would be planted
#   --report          only prints the table of what is known from earlier runs
#   --fresh           forgets earlier runs. Otherwise a run goes on where the last one ended, and what
#                     was noticed is not tried again until its file changes
#   --everywhere      asks all test programs of the build, and not only those near the file's folder
#   --programs REGEX  builds and runs only these test programs
#   --folded-only     leaves out what needs a compilation of its own, mostly in headers
#   --preset NAME     the build that is planted in (default checked)
#   -j N              so many at a time (default: one for each processor)
#
# Works in build/mutate, on a copy of the working tree. Nearly all mistakes of a file are compiled in
# at once and chosen at run time, so that each costs no more than its tests. Those that change nothing
# or cannot be seen stand in scripts/mutate/accepted.txt, with the reasons.
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode
case ${1:-} in
  -h | --help)
    sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"
    exit 0
    ;;
esac
"$root/scripts/setup.sh"
export PYTHONDONTWRITEBYTECODE=1
exec python3 "$root/scripts/mutate/mutate.py" "$@"
