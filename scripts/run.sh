#!/usr/bin/env bash
# usage: run.sh                           shows a client's session with the installed service
#        run.sh -- ORVACTL ARGUMENT...    runs one client command against a freshly started service
#
# Builds the release, installs it in a Windows of its own (a Wine prefix below build/), starts it
# through the service control manager, and takes everything down again. Ends with an exit code other
# than 0 if any step went wrong. With a client command, only that command's answer goes to the
# standard output, and its exit code is the script's.
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode
ORVA_WINEPREFIX=$root/build/wine/run
export ORVA_WINEPREFIX
source "$root/scripts/lib/wine_prefix.sh"

client_command=()
if [[ $# -gt 0 ]]; then
  if [[ $1 != -- || $# -eq 1 ]]; then
    echo "usage: run.sh [-- ORVACTL ARGUMENT...]" >&2
    exit 2
  fi
  shift
  client_command=("$@")
  exec 3>&1 1>&2
fi

service=OrvaAcceleratorService
application="$WINEPREFIX/drive_c/Program Files/Orva"
watched=$WINEPREFIX/watch.log
answered=$WINEPREFIX/answer.txt

trap remove_prefix EXIT

# windows PROGRAM [ARGUMENT...]: runs a program in the application's directory.
windows() (
  cd "$application"
  exec timeout 60 wine "$@" </dev/null
)

# ask ANSWER PROGRAM [ARGUMENT...]: shows what the program says, as it says it. It must succeed and
# say something that the regular expression ANSWER matches.
ask() {
  local expected=$1 answer code=0
  shift
  windows "$@" 2>&1 | sed -u 's/\r$//' | tee "$answered" || code=$?
  answer=$(<"$answered")
  [[ -n $answer ]] || echo "(says nothing, exit code $code)"
  [[ $code -eq 0 ]] || fail "$* ended with exit code $code"
  [[ $answer =~ $expected ]] || fail "the answer of $* does not match: $expected"
}

# wait_for SECONDS COMMAND...: until the command succeeds.
wait_for() {
  local deadline=$((SECONDS + $1))
  shift
  until "$@"; do
    [[ $SECONDS -lt $deadline ]] || return 1
    sleep 0.05
  done
}

# Several prefixes may run a service at the same time.
service_processes() {
  local cmdline
  for cmdline in $(grep -lsF "\\$service.exe" /proc/[0-9]*/cmdline); do
    grep -qszxF "WINEPREFIX=$WINEPREFIX" "${cmdline%cmdline}environ" && echo "${cmdline//[^0-9]/}"
  done
  return 0
}
service_is_gone() { [[ -z $(service_processes) ]]; }
has_watched() { grep -q "$1" "$watched"; }

install_service() {
  step "Install the service: $service install"
  ask '^$' "$service.exe" install
  step "Start it through the service control manager"
  ask 'started successfully' net start "$service"
  step "It runs"
  ask 'RUNNING' sc query "$service"
  ! service_is_gone || fail "the manager says so, but no process is there"
}

# The service ends when nobody has been listening for notifications for some seconds, so somebody
# listens as long as it is needed.
listen() {
  step "Listen for notifications: orvactl watch"
  : >"$watched"
  (cd "$application" && exec wine orvactl.exe watch </dev/null >"$watched" 2>&1) &
  wait_for 30 has_watched '^Watching' || fail "orvactl watch did not begin: $(<"$watched")"
  cat "$watched"
}

stop_service() {
  step "Stop it through the service control manager"
  # The process may end before the manager has its answer to the stop request, which is then reported
  # as a broken pipe. What counts is that the process ends.
  windows net stop "$service" 2>&1 | tr -d '\r' || true
  wait_for 30 service_is_gone || fail "process $(service_processes) of the service is still there"
  echo "Its process has ended."
}

uninstall_service() {
  step "Uninstall the service: $service uninstall"
  ask 'uninstalled successfully' "$service.exe" uninstall
}

set_up_and_log_in() {
  step "Initialise the library: orvactl init"
  ask 'initialised' orvactl.exe init --channel-id 1 --channel-name 官方
  step "Log in: orvactl login player secret"
  ask 'taken' orvactl.exe login player secret
  step "The outcome, as announced to everybody who listens"
  wait_for 30 has_watched '^login' || fail "no notification came"
  grep '^login' "$watched"
  has_watched '^login.*logged in' || fail "the login was refused"
  step "Ask for the status: orvactl status"
  ask 'initialised +yes' orvactl.exe status
  step "Ask for a heartbeat: orvactl heartbeat"
  ask 'serviceClockMs +[0-9]+' orvactl.exe heartbeat
}

accelerate() {
  step "Accelerate game 1001 in area 1 and wait: orvactl start"
  ask 'accelerating' orvactl.exe --client-id 7 start --arg1 1001 --arg2 1 --text east-1 \
    --nodes 101 --wait
  step "Whose acceleration is it? orvactl owner"
  ask 'ownedByCaller +yes' orvactl.exe --client-id 7 owner
  step "Its figures: orvactl data"
  ask 'value1 +' orvactl.exe data
  step "The library's console: orvactl console"
  ask 'console1 +' orvactl.exe console
  step "The last acceleration of the game: orvactl last 1001"
  ask 'east-1' orvactl.exe last 1001
  step "The same with its texts: orvactl game 1001"
  ask '星河战纪' orvactl.exe game 1001
  step "The nodes used for it: orvactl nodes 1001"
  ask '上海 电信' orvactl.exe nodes 1001
  step "A speed test: orvactl speed 1001 1 east-1"
  ask 'summary1 +' orvactl.exe speed 1001 1 east-1
  step "Stop the acceleration and wait: orvactl stop"
  ask 'stopped' orvactl.exe --client-id 7 stop --wait
}

release() {
  step "Release the library: orvactl release"
  ask 'Released' orvactl.exe release
  step "The library is released: orvactl status"
  ask 'initialised +no' orvactl.exe status
}

own_client() {
  step "A client of one's own, which hears what becomes of its requests: samples/c/session.c"
  ask 'logged in.*state 4.*stopped, code 0' orva_c_sample.exe player secret 1001 1 east-1
}

whole_life() {
  step "A whole life in one command: orvactl session"
  ask 'accelerating' orvactl.exe session --arg1 1001 --arg2 1 --text east-1 --nodes 101
}

"$root/scripts/setup.sh"
cd "$root"
step "Build"
configure release
build release OrvaAcceleratorService OpenKernel orvactl orva_c_sample

step "Prepare a Windows without a past"
remove_prefix
start_prefix 600 || fail "cannot make or start the Wine prefix $WINEPREFIX"
mkdir -p "$application"
cp -r build/release/bin/{OrvaAcceleratorService.exe,orvactl.exe,OrvaClient.dll,accel_sdk} \
  build/release/bin/samples/orva_c_sample.exe "$application"

install_service
listen
if [[ ${#client_command[@]} -gt 0 ]]; then
  step "orvactl ${client_command[*]}"
  code=0
  windows orvactl.exe "${client_command[@]}" >&3 || code=$?
  # No orderly end: its failure would hide the command's own exit code, and nothing is kept.
  exit "$code"
fi
set_up_and_log_in
accelerate
release
whole_life
own_client
stop_service
uninstall_service
step_done
say "All $_steps_done steps succeeded."
