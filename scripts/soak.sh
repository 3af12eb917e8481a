#!/usr/bin/env bash
# usage: soak.sh [PART...]
#
# The long tests at full size, unattended: about an hour for all of them on a machine that does nothing
# else. scripts/test.sh runs the same tests in small.
#   frames   1,000,000 malformed frames beside a client that is served
#   library  a library that blocks, calls back wrongly, raises exceptions
#   load     1,500 clients at once; silent, deaf and 1,000 killed ones
#   soak     100,000 request connections and 10,000 push registrations: handles and memory
#   stop     500 stops at a random moment under load
# Without the installed service:
#   storm    five minutes of clients that start, stop, leave and vanish, and a library that does as it likes
#   faults   every call of every function of the system fails
#   races    10,000 seeds for threads that wait where it hurts
#
# Prints how far each part has come and how long it will take. Leaves in build/soak/results: a
# summary.md with a row a test, results.json, and a log a part. Ends with 1 if anything failed.
#
#   ORVA_SOAK_SEED  chooses what is chosen at random; printed, and today's date by default
#   ORVA_SOAK_CPU   the processors to use, as for taskset; all by default
source "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
strict_mode
ORVA_WINEPREFIX=$root/build/wine/soak
export ORVA_WINEPREFIX
source "$root/scripts/lib/wine_prefix.sh"

declare -A suites=(
  [frames]='MalformedFrames.*'
  [library]='LibraryMisbehaves.*'
  [load]='Load.*'
  [soak]='ConnectionSoak.*'
  [stop]='StopUnderFire.*'
  [storm]='AccelerationStorm.*'
  [faults]='*'
  [races]='*'
)
declare -A programs=(
  [storm]=checked/bin/tests/handlers_acceleration_storm_test.exe
  [faults]=checked/bin/tests/fault_tests.exe
  [races]=checked/bin/tests/race_tests.exe
)
parts=(frames library load soak stop storm faults races)
[[ $# -eq 0 ]] || parts=("$@")
for part in "${parts[@]}"; do
  if [[ -z ${suites[$part]:-} ]]; then
    sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0" >&2
    exit 2
  fi
done

results=$root/build/soak/results
export ORVA_SOAK=long ORVA_STORM_SECONDS=300 ORVA_FAULTS=all ORVA_RACE_SEEDS=10000
export ORVA_SOAK_SEED=${ORVA_SOAK_SEED:-$(date -u +%Y%m%d)}
# As a Windows program sees it.
export ORVA_SOAK_RESULTS=Z:$results

describe_machine() {
  local model
  model=$(sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo | head -n 1)
  cat <<END
$(date -u +%Y-%m-%d) at revision $(git -C "$root" rev-parse --short HEAD), seed $ORVA_SOAK_SEED: ${model:-unknown processor},
$(nproc) of $(nproc --all) processors, $(awk '/MemTotal/ {printf "%.0f", $2 / 1048576}' /proc/meminfo) GiB, $(wine --version).

| Test | Outcome | Figures | s |
|---|---|---|---|
END
}

# In a Windows without a past, so that no part suffers from another one.
run_part() {
  local part=$1
  remove_prefix && start_prefix 600 || return
  "$root/scripts/wine.sh" "$root/build/${programs[$part]:-release/bin/tests/soak_tests.exe}" \
    --gtest_filter="${suites[$part]}" --gtest_brief=1 </dev/null 2>&1 | tee "$results/$part.log"
}

collect_results() {
  local separator='' file
  find "$results" -name '*_*.md' | sort | xargs -r cat >>"$results/summary.md"
  {
    echo '['
    for file in "$results"/*_*.json; do
      [[ -f $file ]] || continue
      printf '%s' "$separator"
      cat "$file"
      separator=,
    done
    echo ']'
  } >"$results/results.json"
}

"$root/scripts/setup.sh"
cd "$root"
step "Build"
configure release
build release soak_tests
configure checked
build checked handlers_acceleration_storm_test fault_tests race_tests
rm -rf "$results"
mkdir -p "$results"
# From here on, everything that is started, the Wine server first, inherits the processors.
[[ -z ${ORVA_SOAK_CPU:-} ]] || taskset -cp "$ORVA_SOAK_CPU" $$ >/dev/null
describe_machine >"$results/summary.md"
trap remove_prefix EXIT

failed=()
for part in "${parts[@]}"; do
  step "Part $part, seed $ORVA_SOAK_SEED"
  run_part "$part" || failed+=("$part")
done
step_done
collect_results
printf '\n'
cat "$results/summary.md"
printf '\n'
if [[ ${#failed[@]} -gt 0 ]]; then
  fail "parts that failed after $SECONDS s: ${failed[*]}; logs in build/soak/results"
fi
say "All well after $SECONDS s: ${parts[*]}"
