#!/usr/bin/env bash
# usage: prefix.sh start [SECONDS] | stop | remove
#
# Manages the Wine prefix $ORVA_WINEPREFIX, or build/wine/prefix of this checkout.
#   start   makes the prefix unless it is there, and keeps it running, with its installed services,
#           for SECONDS (default 60) after its last program has ended
#   stop    ends everything that runs in it
#   remove  stops and deletes it
set -eu
source "$(dirname "${BASH_SOURCE[0]}")/lib/wine_prefix.sh"

case ${1:-} in
  start) start_prefix "${2:-60}" ;;
  stop) stop_prefix ;;
  remove) remove_prefix ;;
  *)
    sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0" >&2
    exit 2
    ;;
esac
