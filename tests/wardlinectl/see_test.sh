#!/usr/bin/env bash
# wardlinectl events, files and driver, inside a device: see_test.sh BUILD-FOLDER
set -euo pipefail
build=$1
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/commands.sh"
export TZ=UTC
directory=/data/syslog/monitor/stabevent

# A device that holds nothing.
for what in events driver files; do
  expect_run "no $what" 0 '' '' $what
  expect_run "no $what in JSON" 0 '' '' $what --json
done

# Events, oldest first.
wardlinectl report stab --type 4 --pid 7 --process zygote --time-ms 1700000000123
expect_run 'the first event' 0 'event 0: id 36, 1700000000123 (2023-11-14T22:13:20.123Z), 19 bytes, single
  event_type    4
  process_name  "zygote"
  pid           7
  timestamp_ms  1700000000123 (2023-11-14T22:13:20.123Z)' '' events
wardlinectl report lock-timeout --name wait --wait-time 5 2>/dev/null
devicectl setprop ro.build.fingerprint b/p/d:13/ID/42:user/keys
wardlinectl report mem --pair free uint64 12 2>/dev/null
mapfile -t lines < <(wardlinectl events | grep ^event)
expect_match 'the kinds of events' 'event 0: id 36, *T*Z), 19 bytes, single event 1: id 39, * (*T*Z), 22 bytes event 2: id 89, * (*T*Z), * bytes' "${lines[*]}"
expect_match 'events in JSON' '{"event":0,"fields":{"event_type":4,*},"id":36,"kind":"stab-event","record":0,"single_file":true,"size":19,"time":"2023-11-14T22:13:20.123Z","time_ms":1700000000123}
{"event":1,"fields":{*"wait_time":5},"id":39,"kind":"lock-timeout",*}
{"event":2,"fields":{*"figures":\[{"key":"free","type":"uint64","value":12}\]*},"id":89,"kind":"mem-event",*}' "$(wardlinectl events --json)"
expect_match 'events from one on' 'event 2: *' "$(wardlinectl events --from 2)"
expect 'events from behind the last one on' '' "$(wardlinectl events --from 3)"
expect_match 'bytes of events' '*    0000  08 04 12 06 7a 79 67 6f 74 65 18 07 20 fb d0 95  |....zygote.. ...|*' "$(wardlinectl events --hex)"

# Events that the library does not send: they lie in the buffer's file behind its end mark.
add_event() { # add_event ID BYTES: as the buffer's own header has it
  local size; size=$(bytes "$2" | wc -c)
  { bytes '\1\0\0\0\0\0\0\0\1\0\0\0'"$(printf '\\x%02x' "$1")"'\0\0\0'"$(printf '\\x%02x' "$size")"'\0\0\0\0\0\0\0'
    bytes "$2"; } >>/dev/sysevents_buf
  # shellcheck disable=SC2046  # Words, on purpose.
  bytes "$(printf '\\x%02x\\x%02x\\0\\0\\0\\0\\0\\0' $(stat -c %s /dev/sysevents_buf | { read -r n; echo $((n % 256)) $((n / 256)); }))" |
    dd of=/dev/sysevents_buf conv=notrunc status=none
}
add_event 7 'xyz'
expect_run 'an event of another id' 0 'event 3: id 7, 1 (1970-01-01T00:00:00.001Z), 3 bytes
    0000  78 79 7a                                         |xyz|' '' events --from 3 --hex
add_event 39 ''
expect_run 'an empty event' 0 'event 4: id 39, 1 (1970-01-01T00:00:00.001Z), 0 bytes' '' events --from 4
add_event 36 '\x08\x02\x12\x07a'
expect_run 'a damaged event' 1 'event 5: id 36, 1 (1970-01-01T00:00:00.001Z), 5 bytes
  event_type    2
  damaged       at offset 2: field 2 wants 7 bytes, of which 1 are there: "a"' \
  'wardlinectl: event 5: damaged at offset 2: field 2 wants 7 bytes, of which 1 are there: "a"' events --from 5
wardlinectl report stab --type 1 --pid 1 --process sound
expect 'one damaged event is enough, though not the last' 1 "$(status wardlinectl events)"

# Driver records.
wardlinectl notify log-finish --pid 42
wardlinectl notify block-logo --word0 1 --word1 -2
expect_run 'driver records' 0 'driver record 0: 136 bytes
  process_name  ""
  event_type    10
  flags         0x0
  pid           42
  detail        ""
  kind          1
driver record 1: 136 bytes
  word0         1
  word1         -2' '' driver
expect_run 'driver records from one on, in JSON' 0 \
  '{"fields":{"word0":1,"word1":-2},"kind":"driver","record":1,"size":136}' '' driver --json --from 1
expect_match 'bytes of driver records' '*    0080  01 00 00 00 00 00 00 00                          |........|' \
  "$(wardlinectl driver --hex | sed '/driver record 1/,$d')"
{ head -c 44 /dev/zero; printf x; head -c 83 /dev/zero; printf '\1'; head -c 7 /dev/zero; } >record
cat record >/dev/stabd
expect_run 'a damaged driver record' 1 'driver record 2: 136 bytes
  process_name  ""
  event_type    0
  flags         0x0
  pid           0
  detail        ""
  kind          1
  damaged       at offset 44: this reserved byte is not 0' \
  'wardlinectl: driver record 2: damaged at offset 44: this reserved byte is not 0' driver --from 2

# Stability event files, oldest first whatever their names begin with.
file() { # file TIMESTAMP-MS TRAIN-START
  [ ! -d $directory ] || mv $directory $directory.before
  devicectl setprop persist.sys.trainstarttime "$2"
  wardlinectl report stab --type 2 --pid 1 --process p --time-ms "$1" --file
  [ ! -d $directory.before ] || { mv $directory.before/.[!.]* $directory && rmdir $directory.before; }
}
file 99 c
expect_run 'a file' 0 'file: 9 bytes, mode 777
  file_name     ".train_stabevent_1.00_-_c_197001010000_99"
  ota_version   "-" (unset)
  train_start   "c"
  datetime      "197001010000" (UTC+00:00)
  name_time_ms  99 (1970-01-01T00:00:00.099Z)
  event_type    2
  process_name  "p"
  pid           1
  timestamp_ms  99 (1970-01-01T00:00:00.099Z)' '' files
file 1700000000124 a
file 1700000000123 b
oldest_first() { wardlinectl files | sed -n 's/.*train_start *"\(.*\)"/\1/p' | tr -d '\n'; }
expect 'files, oldest first' cba "$(oldest_first)"
expect_match 'files in JSON' '{"fields":{"datetime":"197001010000","event_type":2,"file_name":".train*_99",*},"kind":"stab-event","mode":"777","size":9}*' \
  "$(wardlinectl files --json)"
expect_match 'bytes of files' '*    0000  08 02 12 01 70 18 01 20 63 *|....p.. c|*' "$(wardlinectl files --hex)"
# A version with a "/" in it makes a folder.
mkdir "$directory/.train_stabevent_1.00_a"
cp $directory/.train*_99 "$directory/.train_stabevent_1.00_a/b_d_197001010000_99"
expect_match 'files in folders' '*ota_version   "a/b"
  train_start   "d"*' "$(wardlinectl files)"
chmod 640 $directory/.train*_99
expect_match 'modes of files' '*mode 640*' "$(wardlinectl files)"
: >"$directory/.train_stabevent_1.00_V_T_197001010000_98"
run files
expect 'an empty file' "1 wardlinectl: .train_stabevent_1.00_V_T_197001010000_98: the record has no time, and its file's name has one" "$code $err"
mv "$directory/.train_stabevent_1.00_V_T_197001010000_98" $directory/other
run files
expect_match 'another file in JSON' '*"damage":\[{"message":"this is not the name of a stability event file"}\]*"file_name":"other"*' \
  "$(wardlinectl files --json 2>/dev/null || true)"
expect 'another file' '1 wardlinectl: other: this is not the name of a stability event file' "$code $err"
rm $directory/other

mv $directory $directory.away && : >$directory
expect_run 'a file in the place of the directory' 1 '' "wardlinectl: $directory: Not a directory" files
rm $directory && mv $directory.away $directory

# Following: what is there, then what comes, as it comes.
follow() { # follow COMMAND ARG...
  : >followed
  "$build/run" "$build/wardlinectl" "$@" --follow >followed 2>&1 & follower=$!
}
has_lines() { [ "$(grep -c "$1" followed || true)" = "$2" ]; } # has_lines PATTERN COUNT
ends_with_its_reader() { # ends_with_its_reader COMMAND...: looks for more than the one line that is read
  timeout 60 bash -c '"$0/run" "$0/wardlinectl" "$@" --follow | head -n 1' "$build" "$@" >/dev/null
}
follow events --from 6
await has_lines '^event 6' 1
wardlinectl report stab --type 1 --pid 1 --process new --time-ms 1
await has_lines '^event 7' 1
wardlinectl report stab --type 1 --pid 1 --process new --time-ms 1
await has_lines '^event 8' 1
rm /dev/sysevents_buf && : >/dev/sysevents_buf
for i in 0 1 2 3 4 5 6; do wardlinectl report stab --type 1 --pid 1 --process "after$i" --time-ms 1; done
await has_lines 'after6' 1
expect 'what is new after a reboot is counted from 0' '6 7 8 6' \
  "$(sed -n 's/^event \([0-9]*\):.*/\1/p' followed | tr '\n' ' ' | sed 's/ $//')"
kill $follower
expect_end 'following ends by a signal' 143 $follower
follow driver --json
await has_lines '"kind":"driver"' 3
wardlinectl notify log-finish --pid 43
await has_lines '"pid":43' 1
kill $follower
for what in events driver files; do
  expect "$what: following ends with its reader" 0 "$(status ends_with_its_reader $what)"
done

follow files
await has_lines '^file:' 4
rm -r $directory
wardlinectl report stab --type 2 --pid 9 --process new --file
await has_lines 'pid  *9' 1
# A file that grows is shown when it is done: the library sets its mode last.
part=$directory/.train_stabevent_1.00_V_T_197001010000_5
bytes '\x08\x02\x12\x05gr' >$part
bytes '\x08\x02\x12\x05grown\x20\x05' >$part && chmod 777 $part
await has_lines '"grown"' 1
# One that never gets that mode is shown when it stays as it is.
bytes '\x08\x02\x12\x05stays\x20\x06' >$directory/.train_stabevent_1.00_V_T_197001010000_6
await has_lines '"stays"' 1
# One that is written again is shown again.
bytes '\x08\x02\x12\x05again\x20\x06' >$directory/.train_stabevent_1.00_V_T_197001010000_6
await has_lines '"again"' 1
expect 'each file is shown once' 8 "$(grep -c '^file:' followed)"
kill $follower

# No device.
mv /dev/sysevents_buf /dev/away && mv /dev/stabd_records /dev/away2
expect_run 'no event buffer' 1 '' 'wardlinectl: there is no event buffer to be read here: /dev/sysevents_buf: No such file or directory' events
expect_run 'no driver' 1 '' 'wardlinectl: there is no record of the stability driver to be read here: /dev/stabd_records: No such file or directory' driver
expect_match 'an index that is none' 'wardlinectl: *--from*' "$(wardlinectl events --from x 2>&1 || true)"
expect 'an index that is none, exit code' 2 "$(status wardlinectl events --from x)"

conclude 'wardlinectl sees what a device holds'
