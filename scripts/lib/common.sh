# Sourced by the scripts that people start: where things are, how a step is shown, what happens when
# one fails, and how to become root.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd -P)

if [[ -t 1 && -z ${NO_COLOR:-} && ${TERM:-dumb} != dumb ]]; then
  _bold=$'\e[1m' _red=$'\e[31m' _green=$'\e[32m' _plain=$'\e[0m'
else
  _bold='' _red='' _green='' _plain=''
fi

_current_step=
_steps_done=0

# step TEXT...: announces what comes next, and ends the step before it.
step() {
  step_done
  _current_step=$*
  printf '%s==> %s%s\n' "$_bold" "$*" "$_plain"
}

# step_done: the announced step has succeeded.
step_done() {
  [[ -z $_current_step ]] || _steps_done=$((_steps_done + 1))
  _current_step=
}

# say TEXT...: a result that should be seen.
say() { printf '%s%s%s\n' "$_green" "$*" "$_plain"; }

# fail TEXT...: ends the script, naming the step that failed.
fail() {
  printf '%sFAILED: %s%s%s\n' "$_red" "${_current_step:+$_current_step: }" "$*" "$_plain" >&2
  _failure_told=1
  exit 1
}

# Names the step when a command fails that nobody looked at.
_failure_told=
_on_error() {
  local code=$1 line=$2 command=$3
  [[ -n $_failure_told ]] && return
  _failure_told=1
  printf '%sFAILED: %sexit code %s from line %s: %s%s\n' "$_red" \
    "${_current_step:+$_current_step: }" "$code" "$line" "$command" "$_plain" >&2
}

# strict_mode: any failing command ends the script with a message that names the step.
strict_mode() {
  set -Eeuo pipefail
  trap '_on_error $? $LINENO "$BASH_COMMAND"' ERR
}

# as_root COMMAND...: runs it as root, through sudo if need be.
as_root() {
  if [[ $EUID -eq 0 ]]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    fail "must be root, or have sudo, for: $*"
  fi
}

# configure PRESET and build PRESET [TARGET...]: with no target, everything.
configure() {
  cmake --preset "$1" --log-level=WARNING -DCMAKE_CXX_COMPILER_LAUNCHER=ccache >/dev/null
}
build() {
  local preset=$1
  shift
  cmake --build --preset "$preset" ${1:+--target "$@"}
}
