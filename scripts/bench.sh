#!/usr/bin/env bash
# usage: bench.sh [--quick] [-- OPTION...]
#
# Builds the release, installs it in a Windows of its own (a Wine prefix below build/), and measures
# it against the smallest server of its wire behaviour. Results go to build/bench/results; the run
# takes some eight minutes and wants a machine that does nothing else.
#
#   --quick        few and short rounds: shows that everything works, decides nothing
#   OPTION         of orva_bench_client measure, for a run of another size
#
# Everything that is measured runs on the one processor $ORVA_BENCH_CPU (default 0).
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode
ORVA_WINEPREFIX=$root/build/wine/bench
export ORVA_WINEPREFIX
source "$root/scripts/lib/wine_prefix.sh"

cpu=${ORVA_BENCH_CPU:-0}
bin=$root/build/bench/bin
results=$root/build/bench/results
application="$WINEPREFIX/drive_c/Program Files/Orva"
service=OrvaAcceleratorService
idle_seconds=60
start_options=()
measure_options=()
micro_options=()
while [[ $# -gt 0 ]]; do
  case $1 in
    --quick)
      idle_seconds=5
      start_options=(--repeats 3)
      measure_options=(--rounds 3 --requests 50 --connections 1,8,64 --push-clients 1,10
        --finished 50)
      micro_options=(--quick)
      ;;
    --)
      measure_options=("${@:2}")
      break
      ;;
    *)
      sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0" >&2
      exit 2
      ;;
  esac
  shift
done

# processes_of TEXT: numbers of the processes in the prefix whose command line has the text.
processes_of() {
  local cmdline
  for cmdline in $(grep -lsF -- "$1" /proc/[0-9]*/cmdline); do
    grep -qszxF "WINEPREFIX=$WINEPREFIX" "${cmdline%cmdline}environ" && echo "${cmdline//[^0-9]/}"
  done
  return 0
}

# process_of TEXT: the only such process; waits until there is just one, because a program may need
# others to get started.
process_of() {
  local found deadline=$((SECONDS + 30))
  until found=$(processes_of "$1") && [[ $found =~ ^[0-9]+$ ]]; do
    [[ $SECONDS -lt $deadline ]] || fail "not one process of $1: ${found:-none}"
    sleep 0.2
  done
  echo "$found"
}

session_of() { sed 's/.*) //' "/proc/$1/stat" | cut -d' ' -f4; }

# In the folder of the results, which is where the programs write.
measured() (
  cd "$results"
  exec timeout 840 setsid --wait wine "$bin/$1.exe" "${@:2}" </dev/null
)

# A server gets a session of its own, as the service manager gives one to the service: the host
# shares the processor among sessions.
start_in_background() (
  cd "$application"
  exec setsid wine "$@" </dev/null >/dev/null 2>&1
)

describe_machine() {
  local model
  model=$(sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo | head -n 1)
  cat <<END
Measured on $(date -u +%Y-%m-%d) at revision $(git -C "$root" rev-parse --short HEAD): ${model:-unknown processor},
$(nproc --all) processors, one of them used; $(awk '/MemTotal/ {printf "%.0f", $2 / 1048576}' /proc/meminfo) GiB;
$(wine --version). Load before the run: $(cut -d' ' -f1 /proc/loadavg).
END
}

build_everything() {
  "$root/scripts/setup.sh"
  cd "$root"
  step "Build"
  configure bench
  build bench orva_bench
  rm -rf "$results"
  mkdir -p "$results"
  x86_64-w64-mingw32-strip -o "$results/stripped.exe" "$bin/$service.exe"
}

prepare_windows() {
  step "Prepare a Windows without a past"
  remove_prefix
  start_prefix 1 || fail "cannot make or start the Wine prefix $WINEPREFIX"
  stop_prefix
  # From here on, everything that is started, the Wine server first, inherits the one processor.
  taskset -cp "$cpu" $$ >/dev/null
  start_prefix 1800 || fail "cannot start the Wine prefix $WINEPREFIX"
  mkdir -p "$application"
  cp -r "$bin"/{"$service.exe",orva_bench_empty.exe,orva_bench_floor.exe,accel_sdk} "$application"
  # While a program of this name runs, the service stays.
  cp "$bin/orva_bench_client.exe" "$application/Zandor.exe"
}

start_servers() {
  step "Install and start the service and two floors"
  start_in_background Zandor.exe idle &
  start_in_background orva_bench_floor.exe OrvaBenchFloorA &
  start_in_background orva_bench_floor.exe OrvaBenchFloorB &
  (cd "$application" && timeout 60 wine "$service.exe" install </dev/null)
  measured orva_bench_client start "${start_options[@]}" \
    --empty 'C:\Program Files\Orva\orva_bench_empty.exe'
  floor_a=$(process_of OrvaBenchFloorA)
  floor_b=$(process_of OrvaBenchFloorB)
  product=$(process_of "\\$service.exe")
  empty=$(process_of '\orva_bench_empty.exe')
  wine_server=$(process_of wineserver)
  local sessions
  sessions=$(for process in "$floor_a" "$floor_b" "$product"; do session_of "$process"; done)
  [[ $(sort -u <<<"$sessions" | wc -l) -eq 3 ]] || fail "servers share a session: $sessions"
}

# wake_ups PID: thread and number of times that it gave up the processor by itself, a line each.
wake_ups() {
  awk '/^Pid:/ {thread = $2} /^voluntary_ctxt_switches:/ {print thread, $2}' \
    /proc/"$1"/task/*/status
}
# Nanoseconds on the processor.
processor_time() { awk '{sum += $1} END {printf "%.0f\n", sum}' /proc/"$1"/task/*/schedstat; }

# What a process does and holds while nobody asks it for anything: sets idle_threads, idle_wakes (a
# minute), idle_busy (ms) and idle_kib, each with the process's number as key.
declare -A idle_threads idle_wakes idle_busy idle_kib
measure_idle() {
  step "Watch the two idle services for $idle_seconds s"
  sleep 2
  local process
  local -A wakes_before time_before
  for process in "$product" "$empty"; do
    wakes_before[$process]=$(wake_ups "$process" | awk '{sum += $2} END {print sum}')
    time_before[$process]=$(processor_time "$process")
  done
  sleep "$idle_seconds"
  for process in "$product" "$empty"; do
    idle_threads[$process]=$(wake_ups "$process" | wc -l)
    idle_wakes[$process]=$(wake_ups "$process" |
      awk -v old="${wakes_before[$process]}" -v s="$idle_seconds" \
        '{sum += $2} END {printf "%.0f", (sum - old) * 60 / s}')
    idle_busy[$process]=$(awk -v a="${time_before[$process]}" -v b="$(processor_time "$process")" \
      'BEGIN {printf "%.1f", (b - a) / 1e6}')
    idle_kib[$process]=$(awk '/^VmRSS:/ {print $2}' "/proc/$process/status")
  done
  measured orva_bench_client handles
}

# figure FILE NAME [FIELD]: a number of a line of JSON.
figure() {
  sed -E "s/.*\"$2\":${3:+[^\}]*\"$3\":}([0-9.]+).*/\1/" "$results/$1"
}

# start_row TEXT NAME: a line of the table of starts.
start_row() {
  awk -v text="$1" -v m="$(figure start.json "$2" median)" -v l="$(figure start.json "$2" min)" \
    -v h="$(figure start.json "$2" max)" -v e="$(figure start.json emptyRunningMs median)" \
    'BEGIN {printf "| %s | %.1f ms | %.1f to %.1f ms | %.2f |\n", text, m, l, h, m / e}'
}

report_service() {
  local size
  size=$(stat -c %s "$results/stripped.exe")
  {
    cat <<END

### The service as a whole

The image has $size bytes, stripped (limit 330,000).

| $(figure start.json runningMs count) starts in turns with the empty service's | median | from and to | beside the empty one (limit 1.15) |
|---|---:|---:|---:|
END
    start_row "empty service: until RUNNING is reported" emptyRunningMs
    start_row "until RUNNING is reported" runningMs
    start_row "until the first request is answered" firstAnswerMs
    cat <<END

| Without clients, in $idle_seconds s | service | empty service |
|---|---:|---:|
| resident memory | ${idle_kib[$product]} KiB | ${idle_kib[$empty]} KiB |
| threads | ${idle_threads[$product]} | ${idle_threads[$empty]} |
| handles | $(figure handles.json service) | $(figure handles.json empty) |
| wake-ups a minute | ${idle_wakes[$product]} | ${idle_wakes[$empty]} |
| processor time | ${idle_busy[$product]} ms | ${idle_busy[$empty]} ms |
END
  } >"$results/service.md"
  local process entries=()
  for process in "$product" "$empty"; do
    entries+=("{\"residentKiB\": ${idle_kib[$process]}, \"threads\": ${idle_threads[$process]},
  \"wakeUpsAMinute\": ${idle_wakes[$process]}, \"processorMs\": ${idle_busy[$process]}}")
  done
  cat >"$results/service.json" <<END
{"imageBytes": $size, "start": $(<"$results/start.json"), "handles": $(<"$results/handles.json"),
 "idleSeconds": $idle_seconds, "idle": {"service": ${entries[0]}, "empty": ${entries[1]}}}
END
}

report_everything() {
  report_service
  cat "$results/machine.md" "$results/pipes.md" "$results/service.md" "$results/micro.md" \
    >"$results/results.md"
  printf '{"machine": "%s",\n"pipes": %s,\n"service": %s,\n"micro": %s}\n' \
    "$(tr '\n"' " '" <"$results/machine.md")" "$(<"$results/pipes.json")" \
    "$(<"$results/service.json")" "$(<"$results/micro.json")" >"$results/results.json"
}

build_everything
describe_machine >"$results/machine.md"
trap remove_prefix EXIT
prepare_windows
step "Measure inside one process"
measured orva_bench_micro "${micro_options[@]}"
start_servers
measure_idle
step "Measure over the pipes"
measured orva_bench_client measure "${measure_options[@]}" \
  --processes "$floor_a,$floor_b,$product,$wine_server" \
  --scenario 'C:\Program Files\Orva\accel_sdk\sdk_x64\OpenKernel.scenario.json'
[[ -d /proc/$product ]] || fail "the service has ended meanwhile"
report_everything
step_done
say "Done in $SECONDS s. Tables: build/bench/results/results.md; plot: pipes.svg beside it"
