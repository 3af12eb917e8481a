# Sourced by bash scripts: the environment in which every Windows program of this repository runs,
# and Wine prefixes of our own, which are Windows installations below build/.
#
# Making a prefix from nothing takes up to 15 seconds and 700 MB, so one template is made that way
# and every other prefix is a copy of it by symbolic links, which takes neither.

_wine_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd -P)
wine_template=$_wine_root/build/wine/template

# A user's own WINEPREFIX is never used: our tests install services and kill processes in theirs.
export WINEPREFIX=${ORVA_WINEPREFIX:-$_wine_root/build/wine/prefix}
export WINEDEBUG=${ORVA_WINEDEBUG:--all}
export WINEARCH=win64
# mscoree and mshtml would offer downloads. Without winedbg.exe= a crash starts a debugger that
# floods the error output and can hang the crashed program's parent.
export WINEDLLOVERRIDES="mscoree,mshtml,winedbg.exe="
# With a display, a message box would wait for somebody to press its button. Whoever wants to see
# one, or to press it from a test, names the display.
if [[ -n ${ORVA_DISPLAY:-} ]]; then
  export DISPLAY=$ORVA_DISPLAY
else
  unset DISPLAY
fi
# Every thread of a Windows program costs about four descriptors here.
ulimit -S -n 65536 2>/dev/null || ulimit -S -n "$(ulimit -H -n)"

# The functions below close their locks, descriptors 7 to 9, in what they start: a Wine server lives on
# and would hold them. They are called where "set -e" has no effect, hence the chains.

_make_template() {
  local version
  mkdir -p "$_wine_root/build/wine"
  version=$(wine --version) || return
  [[ -f $wine_template/.complete && $(<"$wine_template/.complete") == "$version" ]] && return
  WINEPREFIX=$wine_template remove_prefix &&
    mkdir -p "$wine_template" &&
    WINEPREFIX=$wine_template wineboot -i 7>&- 8>&- 9>&- </dev/null >/dev/null 2>&1 &&
    # The registry is written when the server ends.
    WINEPREFIX=$wine_template wineserver -w 7>&- 8>&- 9>&- &&
    [[ -f $wine_template/system.reg ]] &&
    printf '%s\n' "$version" >"$wine_template/.complete"
}

_create_prefix() {
  # The second file is a link into the template, and dangles when that is gone or has moved.
  [[ -f $WINEPREFIX/system.reg && -f $WINEPREFIX/drive_c/windows/system32/ntdll.dll ]] && return
  { flock 7 && _make_template; } 7>"$_wine_root/build/wine/.lock" &&
    remove_prefix &&
    mkdir -p "$WINEPREFIX" &&
    cp -a "$wine_template/dosdevices" "$wine_template/.update-timestamp" "$WINEPREFIX/" &&
    cp -as "$wine_template/drive_c" "$WINEPREFIX/" &&
    # Last, because a prefix without them counts as not made.
    cp -a "$wine_template"/*.reg "$WINEPREFIX/"
}

# start_prefix [SECONDS]: makes sure that $WINEPREFIX exists and runs, and keeps it running for that
# long after its last program has ended (default 60), or until stop_prefix. Services of a prefix
# that stops are killed.
#
# Nothing that this starts holds the caller's standard streams. A program started in a prefix that
# does not run yet would hand them to the services that Wine starts with it, and whoever reads the
# program's output through a pipe would wait for those.
start_prefix() {
  local seconds=${1:-60}
  mkdir -p "$_wine_root/build/wine" "${WINEPREFIX%/*}"
  {
    flock 9 &&
      _create_prefix &&
      # Fails with 2 if the prefix runs already.
      if wineserver -p"$seconds" 8>&- 9>&- </dev/null >/dev/null 2>&1; then
        wine cmd /c exit 8>&- 9>&- </dev/null >/dev/null 2>&1
      fi
  } 9>"$WINEPREFIX.lock"
}

# take_prefix: waits until nobody else has taken $ORVA_WINEPREFIX, or else makes $WINEPREFIX the first
# of build/wine/tests/1, 2, ... that nobody has. It is taken as long as descriptor 8 is open.
take_prefix() {
  local number
  mkdir -p "${WINEPREFIX%/*}" "$_wine_root/build/wine/tests"
  if [[ -n ${ORVA_WINEPREFIX:-} ]]; then
    exec 8>"$WINEPREFIX.taken"
    flock 8
    return
  fi
  for ((number = 1; ; ++number)); do
    WINEPREFIX=$_wine_root/build/wine/tests/$number
    exec 8>"$WINEPREFIX.taken"
    ! flock -n 8 || return 0
  done
}

# stop_prefix: ends everything that runs in $WINEPREFIX.
stop_prefix() {
  [[ -d $WINEPREFIX ]] || return 0
  wineserver -k >/dev/null 2>&1 || true  # fails when nothing runs
  wineserver -w >/dev/null 2>&1 || true
}

# remove_prefix: stops and deletes $WINEPREFIX; the template stays. Fails on a directory that is
# something else than a prefix.
remove_prefix() {
  [[ -d $WINEPREFIX ]] || return 0
  stop_prefix 8>&- 9>&-
  if [[ -d $WINEPREFIX/dosdevices ]]; then
    # What is gone by its name is gone, even if a program still adds a file to it.
    local gone=${WINEPREFIX%/*}/.gone.$BASHPID
    mv "$WINEPREFIX" "$gone" && { rm -rf "$gone" 2>/dev/null || true; }
  else
    rmdir "$WINEPREFIX"
  fi
}

# start_test_prefixes COUNT: starts the first ones that take_prefix takes, so that no test waits for that.
start_test_prefixes() {
  local number starts=() failed=0
  for ((number = 1; number <= $1; ++number)); do
    (WINEPREFIX=$_wine_root/build/wine/tests/$number start_prefix 600) &
    starts+=($!)
  done
  for number in "${starts[@]}"; do
    wait "$number" || failed=1
  done
  return "$failed"
}

# each_test_prefix COMMAND...: does it for every prefix that take_prefix has made and that nobody has.
each_test_prefix() {
  local WINEPREFIX
  for WINEPREFIX in "$_wine_root"/build/wine/tests/*/; do
    WINEPREFIX=${WINEPREFIX%/}
    [[ -d $WINEPREFIX ]] || continue
    { ! flock -n 8 || "$@"; } 8>"$WINEPREFIX.taken" || return
  done
}
