#!/usr/bin/env bash
# What a reboot clears and what lasts, in a virtual device: reboot_test.sh DEVICE-VM BUILD-FOLDER
set -euo pipefail

script=$1 build=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/../../tests/support/expect.sh"

boot() { # boot COMMANDS: runs them in a device that boots for them
  "$script" --build "$build" --root "$work/root" bash -c "
    devicectl() { '$build/host/devicectl' \"\$@\"; }
    wardlinectl() { '$build/wardlinectl' \"\$@\"; }
    example() { '$build/examples/'\"\$@\" >/dev/null 2>&1; }
    crash() { example crash_handler '$build/run' --as \"\$1\" '$build/examples/victim' segv; }
    switch=/proc/sys/kernel/coredump
    $1"
}

expect 'the first boot' '0 0
core dump of the first crash: 0
core dump of the second crash: 1
latches: 1 4
3 driver records, 3 events' "$(boot '
  echo $(cat ${switch}_trim_flag ${switch}_disable)
  echo 1 >${switch}_trim_flag
  crash app; echo core dump of the first crash: $(cat ${switch}_disable)
  crash app; echo core dump of the second crash: $(cat ${switch}_disable)
  example system_killed 4 1000
  echo latches: $(devicectl getprop dumpstate.coredump.app) $(devicectl getprop sys.stab.system_killed)
  devicectl setprop persist.sys.trainstarttime 1763640000
  devicectl setprop ro.os.ota.version V1
  example event_file 2
  echo {} >/data/syslog/settings/stab_cloud_config.json
  echo $(wardlinectl driver | grep -c ^driver) driver records, $(wardlinectl events | grep -c ^event) events')"

expect 'the second boot' '0 0
latches:
lasting: 1763640000 V1
1 event file, 1 core dump, the configuration {}
0 driver records, 0 events
core dump of the first crash: 0' "$(boot '
  echo $(cat ${switch}_trim_flag ${switch}_disable)
  echo latches: $(devicectl getprop dumpstate.coredump.app) $(devicectl getprop sys.stab.system_killed)
  echo lasting: $(devicectl getprop persist.sys.trainstarttime) $(devicectl getprop ro.os.ota.version)
  echo $(wardlinectl files | grep -c ^file) event file, $(ls /data/core | wc -l) core dump, \
    the configuration $(cat /data/syslog/settings/stab_cloud_config.json)
  echo $(wardlinectl driver | grep -c ^driver) driver records, $(wardlinectl events | grep -c ^event) events
  echo 1 >${switch}_trim_flag
  crash app; echo core dump of the first crash: $(cat ${switch}_disable)')"

# What the device left, looked at from the workstation.
left() { "$(dirname "$script")/device" --build "$build" --root "$work/root" "$build/run" "$build/wardlinectl" "$1"; }
expect 'driver records that were left' 1 "$(left driver | grep -c ^driver)"
expect 'events that were left' 1 "$(left events | grep -c ^event)"
expect 'event files that were left' 1 "$(left files | grep -c ^file)"

conclude 'a reboot clears the latches'
