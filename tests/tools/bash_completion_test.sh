#!/usr/bin/env bash
# usage: bash_completion_test.sh WINE_WRAPPER ORVACTL
#
# Sources what "orvactl completion bash" prints, and completes with it as a shell would.
set -eu
script=$("$1" "$2" completion bash </dev/null)
# shellcheck disable=SC1090
source <(printf '%s\n' "$script")

failures=0

# expect "WORD..." "COMPLETION...": the last of the words is the one being typed.
expect() {
  read -ra COMP_WORDS <<<"$1"
  [[ $1 != *' ' ]] || COMP_WORDS+=("")
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  COMPREPLY=()
  _orvactl || true  # it fails when nothing fits
  if [[ ${COMPREPLY[*]} != "$2" ]]; then
    echo "\"$1\" completes to \"${COMPREPLY[*]}\" instead of \"$2\"" >&2
    failures=$((failures + 1))
  fi
}

expect "orvactl hea" "heartbeat"
expect "orvactl --json sess" "session"
expect "orvactl service st" "start stop status"
expect "orvactl service wait e" "ended"
expect "orvactl service wait --time" "--timeout"
expect "orvactl --client-id 7 data --ev" "--every"
expect "orvactl completion " "bash powershell --help --version --client-id --timeout --wait-timeout --json --no-verify-server"
expect "orvactl --request" ""
complete -p orvactl | grep -qF -- '-F _orvactl' || { echo "nothing is registered" >&2; exit 1; }
exit "$failures"
