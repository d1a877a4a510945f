#!/usr/bin/env bash
# Ends wardlinectl config put at each of its system calls, while a subscriber watches; inside a device:
# config_kill_test.sh BUILD-FOLDER
set -euo pipefail
build=$1
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/commands.sh"
directory=/data/syslog/settings
file=$directory/stab_cloud_config.json

echo '{"version": 1, "threadtrackConfig": {"options": {"o": "short"}}}' >short
printf '{"version": 2, "threadtrackConfig": {"options": {"o": "%s"}}}' "$(printf 'long%.0s' {1..3000})" >long
printf '{"version": 3, "threadtrackConfig": {"options": {"o": "%s"}}}' "$(printf 'longer%.0s' {1..3000})" >longer
echo '{"version": 4}' >last

content() { sed -e 's/ *$//' "$file" | sed -z 's/\n*$//'; }

# What the subscriber prints of one change, up to the line that ends with LAST. The next delivery waits
# for it: a read that overlaps a write may see parts of both.
await_change() { # await_change [LAST]
  local line
  while IFS= read -r -t 60 -u "$received" line; do
    [[ $line != *"${1- options}" ]] || return 0
  done
  expect 'what the subscriber prints' "${1- options}" nothing
  conclude ''
}
put() { # put FILE
  wardlinectl config put "$1" >out 2>&1 || { cat out; false; }
  await_change
}

# The system calls of a command, each as "NAME N": the N-th call of that name.
list_calls() { # list_calls ARG...
  strace -qq -o trace "$build/wardlinectl" "$@" >out
  sed -n '2,$s/^\([a-z0-9_]*\)(.*/\1/p' trace | awk '{ print $1, ++count[$1] }'  # After its execve.
}
# Ends at a system call, unless that does not come this time.
killed=0
killed_at() { # killed_at NAME N ARG...
  local code=0
  { strace -qq -o trace -e "trace=$1" -e "inject=$1:signal=KILL:when=$2" "$build/wardlinectl" "${@:3}" \
    >out; } 2>/dev/null || code=$?  # The shell tells of each, too.
  [ $code = 137 ] || expect "ended at $1 $2" 0 $code
  killed=$((killed + code / 137))
}

wardlinectl config put short >out
coproc subscriber { exec "$build/examples/config_subscriber" 2>&1; }
exec {received}<&"${subscriber[0]}"
pid=$subscriber_PID
await_change 'Successfully initialized inotify for file: /data/syslog/settings'

# One write, nothing cut off: that is all that the file sees of a delivery.
strace -f -o trace "$build/wardlinectl" config put long >out
await_change
expect 'writes at a place' 1 "$(grep -c pwrite64 trace)"
expect 'files that are cut off' '' "$(grep -E 'truncate|O_TRUNC|fallocate' trace || true)"
opened=$(sed -n 's/.*"stab_cloud_config.json", \(O_[A-Z_|]*\).* = \([0-9]*\)$/\1/p' trace | sort -u | tr '\n' ' ')
expect 'how the file is opened' 'O_RDWR|O_CLOEXEC ' "$opened"

# Whatever call it is ended at: the file is whole, the one or the other, and who watches lives on. What
# was replaced can be brought back.
expect_whole() { # expect_whole WHAT OLD NEW
  local now
  now=$(content)
  if [ "$now" = "$(<"$3")" ]; then
    replaced=$((replaced + 1))
    await_change
    wardlinectl config rollback >out 2>&1 || expect "$1: back" 0 $?
    await_change
    expect "$1: what was replaced" "$(<"$2")" "$(content)"
  else
    expect "$1: the file" "$(<"$2")" "$now"
  fi
  kill -0 $pid || expect "$1: the subscriber" alive dead
}
calls=0
for new in short longer; do
  put long
  mapfile -t all < <(list_calls config put $new)
  await_change
  replaced=0
  put long
  for call in "${all[@]}"; do  # The file holds the long text each time.
    # shellcheck disable=SC2086  # Words, on purpose.
    killed_at $call config put $new
    expect_whole "$new, $call" long $new
    calls=$((calls + 1))
  done
  [ $replaced -gt 0 ] || expect "$new: some were ended after the write" 1 $replaced
done

# The same where there is no file yet: it is missing, or whole.
made=0
rm $file*
mapfile -t all < <(list_calls config put long)
for call in "${all[@]}"; do
  rm -f $file*
  # shellcheck disable=SC2086  # Words, on purpose.
  killed_at $call config put long
  if [ -e $file ]; then
    made=$((made + 1))
    expect "made, $call" "$(<long)" "$(content)"
  fi
  calls=$((calls + 1))
done
[ $made -gt 0 ] || expect 'some were ended when the file was there' 1 $made

# A write that fails, or comes to its end early, is put right.
wardlinectl config put longer >out
put long
previous=$(<$file.previous)
for fault in error=EIO error=ENOSPC retval=100; do
  code=0
  strace -f -qq -o trace -e "inject=pwrite64:$fault:when=1" "$build/wardlinectl" config put longer >out 2>&1 || code=$?
  expect "$fault: exit code" 1 $code
  expect "$fault: the file" "$(<long)" "$(content)"
  expect "$fault: what can be brought back" "$previous" "$(<$file.previous)"
  expect "$fault: nothing is left" '' "$(find $directory -name '*.tmp' -o -name '*.replaced')"
done
expect 'what was written of it is written over' 2 "$(grep -c pwrite64 trace)"

# The subscriber has survived all of them, and still hears.
wardlinectl config put last >out
await_change 'configuration, version 4'
kill $pid
expect_end 'the subscriber' 143 $pid

[ $killed -gt $((calls * 9 / 10)) ] || expect 'deliveries that were ended' "$calls" $killed
conclude "a subscriber survives a delivery that is ended at any of $calls calls"
