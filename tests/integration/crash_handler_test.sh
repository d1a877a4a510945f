#!/usr/bin/env bash
# The example crash handler, inside a device: crash_handler_test.sh BUILD-FOLDER
set -euo pipefail

build=$1

fail() {
  echo "FAILED: $1"
  exit 1
}

handler() { "$build/run" "$build/examples/crash_handler" "$@" 2>/dev/null; }
driver() { "$build/run" "$build/wardlinectl" driver --from "$records"; }

crash() { # crash NAME WAY PATTERN...: each pattern must be in the handler's words or in the record
  local name=$1 way=$2 shown
  shift 2
  shown=$(handler "$build/run" --as "$name" "$build/examples/victim" "$way") || fail "$way: exit code $?"
  shown+=$'\n'$(driver)
  records=$((records + 1))
  for pattern in "$@"; do
    grep -q -- "$pattern" <<<"$shown" || fail "$way: no '$pattern' in: $shown"
  done
}

records=0
crash /system/bin/a segv '^/system/bin/a crashed: pid [0-9]*, signal 11, code 1, fault address 0xdead0$' \
  'process_name  "/system/bin/a"' 'flags         0x20003611f: bits 0 1 2 3 4 8 13 14 16 17 33' \
  'detail        "code 1, fault address 0xdead0"'
crash b abort 'signal 6, code -6$' 'process_name  "b"' 'flags         0x3611f' 'detail        "code -6"'
crash system_server abort-by-kernel 'signal 6, code 128$' 'flags         0x3651f'

crash c segv-in-thread 'signal 11, code 1, fault address 0xdead0$' 'process_name  "c"'
crash d trap 'signal 5, code -6$' 'process_name  "d"' 'flags         0x3611f'

# The victim dies of its own signal. It is started by a shell that tells so, and that the handler
# waits for.
ends() { # ends WAY EXPECTED-STATUS
  local shown
  # shellcheck disable=SC2016  # For the shell inside.
  shown=$(handler /bin/sh -c '"$0/run" "$0/examples/victim" "$1"; echo "status $?"' "$build" "$1")
  grep -qx "status $2" <<<"$shown" || fail "$1: no status $2 in: $shown"
  records=$((records + 1))
}
ends segv 139
ends abort-by-kernel 134
ends trap 133

handler "$build/run" "$build/examples/victim" handled && fail 'a signal that the program handles is no crash'
handler /bin/true && fail 'a program that does not crash is no success'
handler /no/such/program && fail 'a missing program is no success'
code=0
handler || code=$?
[ $code = 2 ] || fail "no program: exit code $code"
[ "$(driver)" = "" ] || fail 'a record without a crash'
echo 'the crash handler reports real crashes'
