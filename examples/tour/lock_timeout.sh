#!/usr/bin/env bash
# Reports a lock that was waited on for too long, in a device. Run it inside a device:
#
#   scripts/device --temporary examples/tour/lock_timeout.sh build/host
build=$1
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/show.sh"

tour "A lock timeout"

title "A thread waits 50 ms for a lock that another one holds, and reports it"
with_log example lock_timeout 50
expect ' D libwardline: reportArtLockTimeout : long lock wait, timestamp: [0-9]*, wati_time: [0-9]*, '
show_new "event buffer" events 1
expect '^event [0-9]*: id 39, [^,]*, [0-9]* bytes$' 'owner_desc    "thread holder"$' \
  '"extra2":"[^"]*lock_timeout 50"'
