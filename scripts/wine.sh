#!/usr/bin/env bash
# usage: wine.sh PROGRAM [ARGUMENT...]
#
# Runs a Windows program under Wine; ctest runs every test through this. The prefix is
# $ORVA_WINEPREFIX, or build/wine/prefix of this checkout. It is made if it is not there, and stays
# up for a minute after its last program.
#
# A test program has its prefix to itself while it runs, unless one is named the first of
# build/wine/tests/1, 2, ... that is free: there is one service of our name in a Windows installation,
# and one Wine server does one thing at a time.
set -eu
library=${BASH_SOURCE[0]%/*}/lib
source "$library/wine_prefix.sh"
case ${1:-} in
  */bin/tests/*) take_prefix ;;
esac

if ! start_prefix; then
  echo "wine.sh: the Wine prefix $WINEPREFIX cannot be made or started" >&2
  exit 125
fi
case ${1:-} in
  */bin/tests/*) ;;
  *) exec wine "$@" ;;
esac

source "$library/wine_hold_up.sh"
# About once in two thousand starts on a busy machine, Wine ends before it has begun the program,
# without a word; about as often it holds a program up for ever, see lib/wine_hold_up.sh. So a test
# program creates a file as soon as its main function is reached, and writes its exit code there in
# the end. Tried again are only starts that were swallowed, programs that Wine holds up, and tests that
# write that they have shown nothing (tests/support/another_run.h); test.sh counts them. What Wine does
# behind a program's exit code changes nothing.
reached=$(mktemp -u "${TMPDIR:-/tmp}/orva-reached.XXXXXXXX")
held=$reached.held
mark=ORVA_TEST_RUN=$reached
watcher=''
trap 'kill $watcher 2>/dev/null || true; rm -f "$reached" "$held"' EXIT
for attempt in 1 2 3; do
  rm -f "$reached" "$held"
  env "$mark" ORVA_REACHED_FILE="Z:$reached" wine "$@" <&0 8>&- &
  program=$!
  watch_for_hold_up "$mark" "$reached" "$held" "${ORVA_HOLD_UP_SECONDS:-5}" \
    </dev/null >/dev/null 2>&1 8>&- &
  watcher=$!
  status=0
  wait "$program" 2>/dev/null || status=$?
  kill "$watcher" 2>/dev/null || true  # Has ended if the program was held up.
  wait "$watcher" 2>/dev/null || true

  result=$(cat "$reached" 2>/dev/null || true)
  if [[ $result == again:* ]]; then
    why="holds up${result#again:}"
  elif [[ -n $result ]]; then
    [[ $status -eq $result ]] ||
      echo "wine.sh: Wine ended with status $status, the program before that with $result" >&2
    exit "$result"
  elif [[ -e $held ]]; then
    why="holds up $(<"$held")"
  elif [[ ! -e $reached && ($status -ne 0 || $* == *--gtest_*) ]]; then
    why="ended with status $status before it began the program"
  elif [[ $status -eq 0 && $* == *--gtest_* ]]; then
    echo "wine.sh: the program has ended without a result of its tests" >&2
    exit 1
  else
    exit "$status"
  fi
  echo "wine.sh: Wine $why ($attempt of 3)" >&2
done
exit 1
