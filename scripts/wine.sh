#!/bin/sh
# Runs a Windows program under Wine, in the checkout's own prefix unless WINEPREFIX names another.
# ctest runs every test through this.
here=$(cd "$(dirname "$0")/.." && pwd)
export WINEPREFIX="${WINEPREFIX:-$here/build/wine}"
export WINEDEBUG="${WINEDEBUG:--all}"
# Without winedbg.exe= a crash starts a debugger that can hang the program's parent; mscoree and
# mshtml would offer downloads.
export WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml,winedbg.exe=}"
exec wine "$@"
