#!/usr/bin/env bash
# usage: with_display.sh PROGRAM [ARGUMENT...]
#
# Runs a Windows program as scripts/wine.sh does, but with a display, which nobody sees and which
# ends with the program. A prefix settles for a display, or for none, when it starts, so these
# programs have a prefix of their own; they must not run side by side.
set -eu
scripts=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../scripts" && pwd -P)

# ctest asks a test program for its tests like this.
case " $* " in *" --gtest_list_tests "*) exec "$scripts/wine.sh" "$@" ;; esac

export ORVA_WINEPREFIX=${ORVA_WINEPREFIX:-$(dirname "$scripts")/build/wine/prefix}-display
number=$(mktemp)
server=
finish() {
  "$scripts/prefix.sh" stop || true # what does not stop now ends by itself in a minute
  if [[ -n $server ]]; then
    kill "$server" 2>/dev/null || true
    wait "$server" || true
  fi
  rm -f "$number"
}
trap finish EXIT

Xvfb -displayfd 3 -screen 0 800x600x24 -nolisten tcp 3>"$number" >/dev/null 2>&1 </dev/null &
server=$!
for ((tenths = 0; tenths < 300; ++tenths)); do
  [[ -s $number ]] && break
  kill -0 "$server" 2>/dev/null || break
  sleep 0.1
done
if [[ ! -s $number ]]; then
  echo "with_display.sh: Xvfb does not start" >&2
  exit 125
fi
ORVA_DISPLAY=:$(<"$number")
export ORVA_DISPLAY
"$scripts/prefix.sh" stop # one that has started without this display
status=0
"$scripts/wine.sh" "$@" || status=$?
exit "$status"
