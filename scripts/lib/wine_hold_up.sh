# Sourced by bash scripts: tells a Windows program that Wine holds up from one that hangs by itself.
#
# When a program with many threads ends on a busy machine, Wine now and then kills one of them while it
# holds a mutex of the machine's own thread library, with which Wine guards what it keeps for a process.
# Another thread then waits for that mutex for ever, which no program of ours can bring about: the locks
# of Windows programs wait inside Wine's functions for that, which pass the kernel another value. A
# thread that shows this twice without having run in between is held up by Wine. A hang of ours is never
# taken for that.
#
# A test program that has told its result and is still there is held up in its ending, whatever by.

_futex=202      # The system call's number on x86-64.
_contended=0x2  # What a waiter finds in a mutex of the thread library.

# marked_processes MARK: the ids of the processes that have MARK in their environment. It is asked of
# the threads, because a first thread that has ended shows none.
marked_processes() {
  grep -lsFze "$1" /proc/[0-9]*/task/*/environ | cut -d/ -f3 | sort -u
}

# wine_traces MARK: a line for each waiting thread as above, in any process that has MARK in its
# environment, with how often it has slept.
wine_traces() {
  local process task number address rest value slept
  for process in $(marked_processes "$1"); do
    for task in /proc/"$process"/task/*; do
      # A process may end meanwhile.
      slept=$(sed -n 's/^voluntary_ctxt_switches:\t//p' "$task/status" 2>/dev/null) || continue
      read -r number address rest 2>/dev/null <"$task/syscall" || continue
      read -r _ value rest <<<"$rest"
      if [[ $number == "$_futex" && $value == "$_contended" ]]; then
        echo "thread ${task##*/} of process $process, waiting for mutex $address since sleep $slept"
      fi
    done
  done | sort
}

# watch_for_hold_up MARK RESULT REPORT SECONDS: returns when a thread has waited like that, or the file
# RESULT has been filled, for that long. Why is then in the file REPORT, and all marked processes have
# been killed.
watch_for_hold_up() {
  local mark=$1 result=$2 report=$3 seconds=$4 before='' now held sleeper=
  trap '[[ -z $sleeper ]] || kill "$sleeper" 2>/dev/null; exit 0' TERM
  for (( ; ; )); do
    sleep "$seconds" &
    sleeper=$!
    wait "$sleeper"
    if [[ -s $result ]]; then
      now="the end of a program that has told its result"
    else
      now=$(wine_traces "$mark")
    fi
    held=$(comm -12 <(printf '%s\n' "$before") <(printf '%s\n' "$now") | sed '/^$/d')
    if [[ -n $held ]]; then
      printf '%s\n' "$held" >"$report"
      marked_processes "$mark" | xargs -r kill -KILL
      return
    fi
    before=$now
  done
}
