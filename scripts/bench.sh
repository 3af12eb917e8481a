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
measure_options=()
micro_options=()
while [[ $# -gt 0 ]]; do
  case $1 in
    --quick)
      idle_seconds=5
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
  cp -r "$bin"/{"$service.exe",orva_bench_floor.exe,accel_sdk} "$application"
  # While a program of this name runs, the service stays.
  cp "$bin/orva_bench_client.exe" "$application/Zandor.exe"
}

start_servers() {
  step "Install and start the service and two floors"
  start_in_background Zandor.exe idle &
  start_in_background orva_bench_floor.exe OrvaBenchFloorA &
  start_in_background orva_bench_floor.exe OrvaBenchFloorB &
  (cd "$application" && timeout 60 wine "$service.exe" install </dev/null)
  measured orva_bench_client start
  floor_a=$(process_of OrvaBenchFloorA)
  floor_b=$(process_of OrvaBenchFloorB)
  product=$(process_of "\\$service.exe")
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

measure_idle() {
  step "Watch the idle service for $idle_seconds s"
  sleep 2
  local before after time_before time_after
  before=$(wake_ups "$product")
  time_before=$(processor_time "$product")
  sleep "$idle_seconds"
  after=$(wake_ups "$product")
  time_after=$(processor_time "$product")
  threads=$(wc -l <<<"$after")
  # Of each thread that woke up at all.
  woken=$(awk -v s="$idle_seconds" 'NR == FNR {old[$1] = $2; next}
    $2 > old[$1] {printf "%s%d (%.1f/s)", sep, $2 - old[$1], ($2 - old[$1]) / s; sep = ", "}' \
    <(printf '%s\n' "$before") <(printf '%s\n' "$after"))
  busy_ms=$(awk -v a="$time_before" -v b="$time_after" 'BEGIN {printf "%.1f", (b - a) / 1e6}')
}

report_service() {
  local size running answered
  size=$(stat -c %s "$results/stripped.exe")
  running=$(sed 's/.*"runningMs":\([0-9.]*\).*/\1/' "$results/start.json")
  answered=$(sed 's/.*"firstAnswerMs":\([0-9.]*\).*/\1/' "$results/start.json")
  cat >"$results/service.md" <<END

### The service as a whole

| | |
|---|---:|
| image, stripped (limit 1,500,000 bytes) | $size bytes |
| start until RUNNING is reported | $(printf %.0f "$running") ms |
| start until the first request is answered | $(printf %.0f "$answered") ms |
| processor time in $idle_seconds s without clients | $busy_ms ms |
| threads, and how often those that woke up in that time gave up the processor | $threads: ${woken:-none} |
END
  cat >"$results/service.json" <<END
{"imageBytes": $size, "start": $(<"$results/start.json"), "idleSeconds": $idle_seconds,
 "idleProcessorMs": $busy_ms, "threads": $threads, "wakeUps": "$woken"}
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
