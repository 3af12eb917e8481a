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
exec wine "$@"
