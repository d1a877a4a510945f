#!/usr/bin/env bash
# scripts/device from the outside: device_test.sh DEVICE-SCRIPT BUILD-FOLDER
set -euo pipefail

script=$1 build=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

device() { "$script" --build "$build" "$@"; }
in_root() { device --root "$work/root" "$@"; }
devicectl() { in_root "$build/run" "$build/host/devicectl" "$@"; }
wardlinectl() { in_root "$build/run" "$build/wardlinectl" "$@"; }

# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/../support/expect.sh"

expect 'every path is in place' ok "$(device --temporary sh -c '
  [ -d /data/syslog/monitor ] && [ -w /data/syslog/monitor ] && [ -d /data/syslog/settings ] &&
  [ -p /dev/stabd ] && [ "$(cat /proc/sys/kernel/coredump_trim_flag)" = 0 ] &&
  [ -w /proc/sys/kernel/coredump_disable ] && [ -c /dev/full ] && [ -c /dev/null ] && echo ok')"
expect 'the working directory stays' "$PWD" "$(device --temporary pwd)"
expect 'arguments arrive as they are' '[a b][][*]' "$(device --temporary printf '[%s]' 'a b' '' '*')"
expect 'standard input arrives' hello "$(echo hello | device --temporary cat)"

expect 'exit code of the command' 7 "$(status device --temporary sh -c 'exit 7')"
expect 'exit code of a killed command' 139 "$(status device --temporary sh -c 'kill -SEGV $$')"
expect 'exit code of a missing command' 127 "$(status device --temporary /no/such/command)"

# State between calls.
in_root sh -c 'echo kept >/data/syslog/monitor/file; echo 1 >/proc/sys/kernel/coredump_trim_flag'
for name in sys.a persist.a ro.a; do devicectl setprop $name "value of $name"; done
in_root "$build/run" "$build/examples/system_killed" 6 1 2>/dev/null
in_root "$build/run" "$build/examples/system_killed" 6 2 2>/dev/null
expect 'files are kept' kept "$(in_root cat /data/syslog/monitor/file)"
expect 'kernel switches are kept' 1 "$(in_root cat /proc/sys/kernel/coredump_trim_flag)"
devicectl setprop ro.long "$(printf 'v%.0s' {1..120})"
expect 'a long property is shown whole' "$(printf 'v%.0s' {1..120})" "$(devicectl getprop ro.long)"
expect 'properties are kept' 'value of sys.a' "$(devicectl getprop sys.a)"
expect 'driver records are kept' 2 "$(wardlinectl driver | grep -c '^driver record')"
expect 'events are kept' 2 "$(wardlinectl events | grep -c '^event')"
in_root sh -c 'cd /data/syslog/monitor && mkdir stabevent && cd stabevent &&
  printf "\020\001" >.train_stabevent_1.00_V_T_202311142213_1700000000123'
in_root rm /dev/stabd
expect 'what the command removed stays removed' gone "$(in_root sh -c '[ -e /dev/stabd ] || echo gone')"

in_root --reboot
expect 'a reboot brings the driver back' back "$(in_root sh -c '[ -p /dev/stabd ] && echo back')"
expect 'a reboot keeps files' kept "$(in_root cat /data/syslog/monitor/file)"
expect 'a reboot clears other properties' '' "$(devicectl getprop sys.a)"
expect 'a reboot keeps persist. properties' 'value of persist.a' "$(devicectl getprop persist.a)"
expect 'a reboot keeps ro. properties' 'value of ro.a' "$(devicectl getprop ro.a)"
expect 'a reboot clears kernel switches' 0 "$(in_root cat /proc/sys/kernel/coredump_trim_flag)"
expect 'a reboot clears driver records' '' "$(wardlinectl driver)"
expect 'a reboot clears events' '' "$(wardlinectl events)"
expect 'a reboot keeps event files' 1 "$({ wardlinectl files 2>/dev/null || true; } | grep -c '^file:')"
expect 'a reboot goes with a command' '' "$(devicectl setprop sys.b 1
  in_root --reboot "$build/run" "$build/host/devicectl" getprop sys.b)"

expect 'a temporary root is fresh' '' "$(device --temporary "$build/run" "$build/host/devicectl" getprop persist.a)"
mkdir "$work/tmp"
TMPDIR=$work/tmp device --temporary true
expect 'a temporary root is removed' '' "$(ls -A "$work/tmp")"

page=$(getconf PAGESIZE)
# shellcheck disable=SC2016  # For the shell inside.
expect 'a small monitor file system is full' "$page full" \
  "$(device --temporary --monitor-size "$page" sh -c 'cd /data/syslog/monitor
    head -c 100000 /dev/zero >file 2>/dev/null || echo "$(stat -c %s file) full"')"
in_root --monitor-size "$page" touch /data/syslog/monitor/gone
expect 'a small monitor file system is for one command' '' \
  "$(in_root sh -c 'ls /data/syslog/monitor/gone 2>/dev/null || true')"

expect 'records are listed while the command runs' 1 "$(device --temporary sh -c \
  '"$0/run" "$0/examples/system_killed" 6 1 2>/dev/null
    "$0/run" "$0/wardlinectl" driver' "$build" |
  grep -c '^driver record')"

# Each failure is one clear line.
expect_match 'unknown option' 'scripts/device: unknown option --nonsense*' \
  "$(device --nonsense true 2>&1 || true)"
expect 'unknown option, exit code' 125 "$(status device --nonsense true)"
for size in 0 1k -1 '' 9999999999999999999; do
  expect "a monitor of $size bytes" 'scripts/device: --monitor-size needs a number of bytes' \
    "$(device --monitor-size "$size" true 2>&1 || true)"
done
expect_match 'no command' 'scripts/device: no command*' "$(device 2>&1 || true)"
expect_match 'stand-ins not built' "scripts/device: $work/host/devicectl is missing; build it: *" \
  "$("$script" --build "$work" true 2>&1 || true)"

mkdir "$work/bin"
for tool in bash cat dirname realpath env; do ln -s "$(command -v $tool)" "$work/bin/$tool"; done
expect 'no bubblewrap' \
  'scripts/device: bubblewrap is missing; install it: apt-get install bubblewrap' \
  "$(PATH=$work/bin device --temporary true 2>&1 || true)"
printf '#!/bin/sh\necho "bwrap: No permissions to create new namespace" >&2\nexit 1\n' >"$work/bin/bwrap"
chmod +x "$work/bin/bwrap"
expect_match 'no namespaces' \
  'scripts/device: this kernel refuses namespaces (bwrap: No permissions*);*sysctl*' \
  "$(PATH=$work/bin:$PATH device --temporary true 2>&1 || true)"
expect 'no namespaces, exit code' 125 "$(PATH=$work/bin:$PATH status device --temporary true)"

expect 'devicectl without a verb' 2 "$(status "$build/run" "$build/host/devicectl")"
expect 'devicectl with another verb' 2 "$(status "$build/run" "$build/host/devicectl" driver)"
expect_match 'a refused property' 'devicectl: the property service refuses no name=1' \
  "$(devicectl setprop 'no name' 1 2>&1 || true)"

# Calls that share a root, and calls that are killed.
for round in 1 2 3 4 5; do
  shared=$work/shared$round
  for _ in 1 2 3 4; do device --root "$shared" sh -c '[ -p /dev/stabd ]' & done
  for job in $(jobs -p); do expect_end 'first calls at once on one root' 0 "$job"; done
done

mkdir -p "$work/half/proc"
expect 'a root that was half made is made whole' whole \
  "$(device --root "$work/half" sh -c '[ -p /dev/stabd ] && echo whole')"
in_root rm -rf /dev/__properties__
in_root --reboot
expect 'a reboot brings the property area back' 1 "$(devicectl setprop sys.a 1; devicectl getprop sys.a)"

# A command that tells when it is up, waits to be let go, and whose end shows as the end of a FIFO.
mkfifo "$work/started" "$work/go" "$work/ended"
waiting='exec 3>"$0/ended"; echo up >"$0/started"; read -r _ <"$0/go"'
start_waiting() { # start_waiting OPTION...: leaves the script's pid in $script_pid
  "$script" --build "$build" "$@" sh -c "$waiting" "$work" &
  script_pid=$!
  timeout 60 cat "$work/ended" &
  ended_pid=$!
  read -r _ <"$work/started"
}

start_waiting --root "$work/root"
expect_match 'no reboot while a command runs' \
  'scripts/device: a command runs in *; it cannot reboot now' "$(in_root --reboot 2>&1 || true)"
expect 'a second command while one runs' 0 "$(status in_root true)"
echo >"$work/go"
expect_end 'the waiting command ends well' 0 $script_pid

for signal in TERM HUP KILL; do
  TMPDIR=$work/tmp start_waiting --temporary
  kill -$signal $script_pid
  expect_end "exit code after $signal" $((128 + $(kill -l $signal))) $script_pid
  expect_end "the command ends with the script, $signal" 0 $ended_pid
  [ $signal = KILL ] || expect "the temporary root is removed, $signal" '' "$(ls -A "$work/tmp")"
done

conclude 'scripts/device behaves as described'
