#!/usr/bin/env bash
# usage: wine.sh PROGRAM [ARGUMENT...]
#
# Runs a Windows program under Wine; ctest runs every test through this. The prefix is
# $ORVA_WINEPREFIX, or build/wine/prefix of this checkout. It is made if it is not there, and stays
# up for a minute after its last program.
set -eu
source "$(dirname "${BASH_SOURCE[0]}")/lib/wine_prefix.sh"

if ! start_prefix; then
  echo "wine.sh: the Wine prefix $WINEPREFIX cannot be made or started" >&2
  exit 125
fi

case ${1:-} in
  */bin/tests/*) ;;
  *) exec wine "$@" ;;
esac

# About once in two thousand starts on a busy machine, Wine ends before it has begun the program,
# without a word. A test program creates a file as soon as its main function is reached, so that
# such a start can be told from a test that fails, and only the former is tried again.
reached=$(mktemp -u "${TMPDIR:-/tmp}/orva-reached.XXXXXXXX")
trap 'rm -f "$reached"' EXIT
for attempt in 1 2 3; do
  status=0
  ORVA_REACHED_FILE=Z:$reached wine "$@" || status=$?
  [[ $status -ne 0 && ! -e $reached ]] || exit "$status"
  echo "wine.sh: Wine ended with status $status before it began the program ($attempt of 3)" >&2
done
exit "$status"
