#!/usr/bin/env bash
# usage: wine_hold_up_test.sh WINE.SH
#
# wine.sh tries a program again that Wine holds up, and no other, and ends one that Wine does not end. A
# stand-in for Wine waits for a mutex of the machine's thread library that is never released.
set -euo pipefail
wine_sh=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/bin/tests"

# The stand-in does what is in the file "act", having noted the call; other programs are Wine's.
cat >"$work/wine" <<'END'
#!/usr/bin/env bash
[[ ${1:-} == */bin/tests/program.exe ]] || PATH=${PATH#*:} exec wine "$@"
cd "$(dirname "$0")"
echo call >>calls
touch "${ORVA_REACHED_FILE#Z:}"
source ./act
END
chmod +x "$work/wine"
cat >"$work/hold_up.py" <<'END'
import ctypes
library = ctypes.CDLL(None)
mutex = ctypes.create_string_buffer(64)
library.pthread_mutex_lock(mutex)
library.pthread_mutex_lock(mutex)
END
cat >"$work/wait_elsewhere.py" <<'END'
import threading, time
lock = threading.Lock()
lock.acquire()
threading.Thread(target=time.sleep, args=(2,)).start()
lock.acquire(timeout=2)
raise SystemExit(7)
END

# expect STATUS CALLS ACT: what wine.sh returns, after how many calls of Wine.
expect() {
  local status=0 calls
  rm -f "$work/calls"
  printf '%s\n' "$3" >"$work/act"
  PATH=$work:$PATH ORVA_HOLD_UP_SECONDS=0.4 timeout 40 "$wine_sh" "$work/bin/tests/program.exe" \
    >"$work/output" 2>&1 || status=$?
  calls=$(wc -l <"$work/calls")
  if [[ $status -ne $1 || $calls -ne $2 ]]; then
    echo "'$3' gave status $status after $calls calls instead of $1 after $2:"
    cat "$work/output"
    exit 1
  fi
}

expect 0 1 'exit 0'
expect 7 1 'exit 7'
expect 0 1 'sleep 2; exit 0'
expect 7 2 '[[ $(wc -l <calls) -gt 1 ]] || exec python3 hold_up.py; exit 7'
expect 0 1 'echo 0 >"${ORVA_REACHED_FILE#Z:}"; kill -SEGV $$'
expect 3 1 'echo 3 >"${ORVA_REACHED_FILE#Z:}"; exit 0'
expect 3 1 'echo 3 >"${ORVA_REACHED_FILE#Z:}"; exec sleep 60'
expect 0 2 '[[ $(wc -l <calls) -gt 1 ]] || echo again: a reason >"${ORVA_REACHED_FILE#Z:}"; exit 0'
expect 0 2 '[[ $(wc -l <calls) -gt 1 ]] || { rm "${ORVA_REACHED_FILE#Z:}"; exit 5; }; exit 0'
expect 7 1 'exec python3 wait_elsewhere.py'
expect 1 3 'exec python3 hold_up.py'
grep -q 'holds up thread [0-9]* of process [0-9]*, waiting for mutex .* (3 of 3)' "$work/output"
echo "all as expected"
