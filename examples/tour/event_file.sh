#!/usr/bin/env bash
# Files stability events in a device and takes the files apart. Run it inside a device:
#
#   scripts/device --temporary examples/tour/event_file.sh build/host
build=$1
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/show.sh"
directory=/data/syslog/monitor/stabevent

show_file() {
  section "stability event file"
  text=$(wardlinectl files --hex)
  echo "${text:-none}"
  [ "$(grep -c '^file' <<<"$text" || true)" = 1 ] || fail "expected one file"
  text+=$'\n'$(wardlinectl files --json)
}

tour "Stability event files"
devicectl setprop ro.os.ota.version V1.2

title "1. A process files an event. The directory does not exist yet: the call makes it"
with_log example event_file 2 reason=first
section "directory"
stat --format '%n: mode %a' "$directory"
show_file
expect '^file: [0-9]* bytes, mode 777$' 'file_name     "\.train_stabevent_1\.00_V1\.2_--_[0-9]*_[0-9]*"$' \
  'ota_version   "V1.2"$' 'train_start   "--" (unset)$' 'datetime      "[0-9]\{12\}" (UTC.*)$' \
  'event_type    2$' '"reason" = "first"$' \
  '"key":"cmdline","value":"[^"]*event_file 2 reason=first"'

title "2. It files another one. The directory exists: the call logs that and files nothing"
with_log example event_file 2 reason=second
expect ' E libwardline: reportStabEventDirect can not createMonitorPath$'
section "directory"
ls -A "$directory"
[ "$(find "$directory" -type f | wc -l)" = 1 ] || fail "expected one file"

title "3. A collector has taken the directory away, and the train start time is known"
rm -r "$directory"
devicectl setprop persist.sys.trainstarttime 1763640000
with_log example event_file 2 reason=third
show_file
expect 'train_start   "1763640000"$' '"reason" = "third"$'
