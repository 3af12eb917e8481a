# Sourced by bash scripts: tells a Windows program that Wine holds up from one that hangs by itself.
#
# When many threads of a program end on a busy machine, Wine now and then loses one of them, which
# simply is no more. There are two traces of that which no program of ours can leave by itself:
#
#   A thread waits for a mutex of the machine's own thread library, with which Wine guards what it
#   keeps for a process, because the lost thread holds it. The locks of Windows programs wait inside
#   Wine's functions for that, which pass the kernel another value.
#
#   The first thread is the lost one. It is the one that ends the process, which therefore goes on
#   without it for ever. Seen while tests still brought the Wine server down (docs/testing.md);
#   whoever survives that server is left so.
#
# Whoever shows one of them twice without having run in between is held up by Wine. A hang of ours
# is never taken for that.

_futex=202      # The system call's number on x86-64.
_contended=0x2  # What a waiter finds in a mutex of the thread library.

# marked_processes MARK: the ids of the processes that have MARK in their environment. It is asked of
# the threads, because a first thread that has ended shows none.
marked_processes() {
  grep -lsFze "$1" /proc/[0-9]*/task/*/environ | cut -d/ -f3 | sort -u
}

# wine_traces MARK: a line for each of the traces above, in any process that has MARK in its
# environment, with how often the thread has slept.
wine_traces() {
  local process task number address rest value state slept
  for process in $(marked_processes "$1"); do
    for task in /proc/"$process"/task/*; do
      # A process may end meanwhile.
      slept=$(sed -n 's/^voluntary_ctxt_switches:\t//p' "$task/status" 2>/dev/null) || continue
      state=$(sed -n 's/^State:\t\(.\).*/\1/p' "$task/status" 2>/dev/null) || continue
      if [[ $state == Z && ${task##*/} == "$process" ]]; then
        echo "process $process, whose first thread is lost"
        continue
      fi
      read -r number address rest 2>/dev/null <"$task/syscall" || continue
      read -r _ value rest <<<"$rest"
      if [[ $number == "$_futex" && $value == "$_contended" ]]; then
        echo "thread ${task##*/} of process $process, waiting for mutex $address since sleep $slept"
      fi
    done
  done | sort
}

# watch_for_hold_up MARK REPORT SECONDS: returns when a trace has been there for that long; it is
# then in the file REPORT, and all marked processes have been killed.
watch_for_hold_up() {
  local mark=$1 report=$2 seconds=$3 before='' now held sleeper=
  trap '[[ -z $sleeper ]] || kill "$sleeper" 2>/dev/null; exit 0' TERM
  for (( ; ; )); do
    sleep "$seconds" &
    sleeper=$!
    wait "$sleeper"
    now=$(wine_traces "$mark")
    held=$(comm -12 <(printf '%s\n' "$before") <(printf '%s\n' "$now") | sed '/^$/d')
    if [[ -n $held ]]; then
      printf '%s\n' "$held" >"$report"
      marked_processes "$mark" | xargs -r kill -KILL
      return
    fi
    before=$now
  done
}
