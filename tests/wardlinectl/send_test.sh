#!/usr/bin/env bash
# wardlinectl report, notify and coredump, inside a device: send_test.sh BUILD-FOLDER
set -euo pipefail
build=$1
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/commands.sh"
export TZ=UTC
kernel=/proc/sys/kernel

events=0 records=0 # How many there have been.

# The rows of what would be or was sent, without headings; times and the bytes that hold them vary.
rows() { grep '^ ' | sed -E 's/(_ms +)[0-9]+.*/\1TIME/; /^    [0-9a-f]{4} .*/d'; }

# What a dry run prints is what a real run sends, and the dry run itself sends nothing.
expect_sent() { # expect_sent WHAT EVENTS RECORDS ARG...: that many new events and driver records
  local dry
  run "${@:4}" --dry-run
  expect "$1: dry run" '0 ' "$code $err"
  dry=$out
  expect "$1: the dry run sends nothing" '' "$(wardlinectl events --from $events; wardlinectl driver --from $records)"
  run "${@:4}"
  expect "$1: exit code and output" '0 ' "$code $out"
  sent=$(wardlinectl driver --hex --from $records; wardlinectl events --hex --from $events)
  expect "$1: what the dry run shows" "$(rows <<<"$sent")" "$(rows <<<"$dry")"
  expect "$1: how much is sent" "$2 $3" "$(grep -c ^event <<<"$sent" || true) $(grep -c ^driver <<<"$sent" || true)"
  dry_bytes=$(grep -E '^    [0-9a-f]{4} ' <<<"$dry" || true)
  sent_bytes=$(grep -E '^    [0-9a-f]{4} ' <<<"$sent" || true)
  events=$((events + $2)) records=$((records + $3))
}
expect_same_bytes() { expect "$1: the bytes" "$sent_bytes" "$dry_bytes"; }

# Reports.
expect_sent 'a stability event' 1 0 report stab --type -1 --pid -2 --process 'a b' --time-ms 1700000000123 --data abi arm64
expect_same_bytes 'a stability event'
expect_match 'a stability event' '*event_type    4294967295*process_name  "a b"*pid           4294967294*"abi" = "arm64"*' "$sent"
expect_sent 'an event of now' 1 0 report stab --type 2 --pid 1 --process p
expect_sent 'two attributes' 1 0 report stab --type 2 --pid 1 --process p --time-ms 5 --data a 1 --data --x ''
expect_match 'two attributes' '*"--x" = ""*"a" = "1"*' "$sent"
expect_sent 'a lock timeout' 1 0 report lock-timeout --name n --timestamp t --wait-time 18446744073709551615 \
  --owner 7 --owner-desc d --object o --extra1 e --extra2 f
expect_same_bytes 'a lock timeout'
expect_match 'a lock timeout' '*wait_time     18446744073709551615*extra2        "f"*' "$sent"
expect 'the line of a lock timeout' 'D libwardline: reportArtLockTimeout : n, timestamp: t, wati_time: 18446744073709551615, owner: 7: d, object: o' "$err"
expect_sent 'a lock timeout with a name alone' 1 0 report lock-timeout --name n
expect_same_bytes 'a lock timeout with a name alone'

figures=(--pair a string '' --pair b int32 -2147483648 --pair c int64 -9223372036854775808
  --pair d uint32 4294967295 --pair e uint64 18446744073709551615 --pair f bool false
  --pair g double 0.1 --pair h float 0.1 --pair i bytes 00FF --pair '' string --json)
expect_run 'a sample without a valid fingerprint' 1 '' 'E libwardline: Invalid build.fingerprint format
E libwardline: reportMemMonitorEvent setDeviceInfo failed' report mem --pair a int32 1
expect_run 'the same, dry' 1 '' \
  'wardlinectl: the property ro.build.fingerprint does not have six components; nothing is sent' report mem --pair a int32 1 --dry-run
devicectl setprop ro.build.fingerprint B//D:R:x/I/C/G/
run report mem --pair k float 1e300
expect 'a float out of range' '2  wardlinectl: --pair "k": "1e300" is no value of type "float"' "$code $out $err"
run report mem --pair k double 1e999
expect 'a double out of range' 2 "$code"
expect_sent 'an infinite figure' 1 0 report mem --pair k double inf
expect_match 'an infinite figure' '*figure        "k" = Infinity (double)*' "$sent"
expect_sent 'a sample' 1 0 report mem "${figures[@]}"
expect_match 'the line of a sample' 'E libwardline: et size: *' "$err"
expect_match 'a sample' '*brand         "B"
  product       ""
  device        "D"
  release       "R"
  build_id      "I"
  incremental   "C"
  build_type    ""
  tags          "G"
  figure        "a" = "" (string)
  figure        "b" = -2147483648 (int32)
  figure        "c" = -9223372036854775808 (int64)
  figure        "d" = 4294967295 (uint32)
  figure        "e" = 18446744073709551615 (uint64)
  figure        "f" = true (bool)
  figure        "g" = 0.1 (double)
  figure        "h" = 0.1 (float)
  figure        "i" = "\\x00\\xff" (bytes)
  figure        "" = "--json" (string)*' "$sent"
for bad in 'int32 2147483648' 'int32 x' 'uint32 -1' 'uint64 1.5' 'int64 ' 'bool 1' 'double x' 'float ' \
  'bytes 0' 'bytes 0g' 'nonsense 1'; do
  run report mem --pair k "${bad%% *}" "${bad#* }"
  expect "a bad value, $bad" "2  wardlinectl: --pair \"k\": \"${bad#* }\" is no value of type \"${bad%% *}\"" "$code $out $err"
done
expect 'bad values are not sent' '' "$(wardlinectl events --from $events)"

# Into a file.
devicectl setprop ro.os.ota.version V1
expect_match 'an event file, dry' 'file /data/syslog/monitor/stabevent/.train_stabevent_1.00_V1_--_202311142213_1700000000123, 14 bytes*    0000  08 02 12 01 70 18 01 20 *' \
  "$(wardlinectl report stab --type 2 --pid 1 --process p --time-ms 1700000000123 --file --dry-run)"
expect 'the dry run makes no file' '' "$(wardlinectl files)"
expect_run 'an event file' 0 '' '' report stab --type 2 --pid 1 --process p --time-ms 1700000000123 --file
expect_match 'an event file' '*file_name     ".train_stabevent_1.00_V1_--_202311142213_1700000000123"*    0000  08 02 12 01 70 18 01 20 *' "$(wardlinectl files --hex)"
expect_run 'an event file where there is one, dry' 1 '' \
  'wardlinectl: /data/syslog/monitor/stabevent is there already: nothing is written' report stab --type 2 --pid 1 --process p --file --dry-run
expect_run 'an event file where there is one' 1 '' 'E libwardline: reportStabEventDirect can not createMonitorPath' \
  report stab --type 2 --pid 1 --process p --file
expect 'an event file is no event' '' "$(wardlinectl events --from $events)"

# Crashes. Each policy word, and each name's latch.
expect_sent 'a crash' 1 1 notify crash --process app --pid 42 --signal 11 --code 1 --detail why
expect_match 'a crash' '*process_name  "app"
  event_type    2
  flags         0x20003611f: bits 0 1 2 3 4 8 13 14 16 17 33
  pid           42
  detail        "why"*event_type    2
  process_name  "app"*' "$sent"
expect 'the line of a crash' 'I libwardline: notify_stab_ne process: app pid: 42, signo: 11' "$err"
echo 1 >$kernel/coredump_trim_flag
run notify crash --process /bin/app --pid 1 --signal 6 --dry-run
expect 'what a crash would set' 'dumpstate.coredump.-bin-app = 1
/proc/sys/kernel/coredump_disable = 0' "$(grep ' = ' <<<"$out")"
expect_sent 'the first crash of a name' 1 1 notify crash --process /bin/app --pid 1 --signal 6
expect_match 'the first crash of a name' '*flags         0x3e11f: *' "$sent"
expect 'what it has set' '1 0' "$(devicectl getprop dumpstate.coredump.-bin-app) $(<$kernel/coredump_disable)"
run notify crash --process /bin/app --pid 1 --signal 6 --dry-run
expect 'what a second crash would set' '/proc/sys/kernel/coredump_disable = 1' "$(grep ' = ' <<<"$out")"
expect_sent 'the second crash of a name' 1 1 notify crash --process /bin/app --pid 1 --signal 6
expect_match 'the second crash of a name' '*flags         0x3611f: *' "$sent"
run notify crash --process system_server --pid 1 --signal 6 --code 128 --dry-run
expect_match 'a crash of system_server, dry' '*sys.stab.system_killed = 2' "$out"
expect_sent 'a crash of system_server' 1 1 notify crash --process system_server --pid 1 --signal 6 --code 128
expect_match 'a crash of system_server' '*flags         0x3e51f: *' "$sent"
expect 'the latch of a crash' 2 "$(devicectl getprop sys.stab.system_killed)"
run notify crash --process zygote64 --pid 1 --signal 6 --dry-run
expect_match 'a latch that is set' '*event buffer*' "$(grep -v killed <<<"$out")"
expect 'a latch that is set stays' '' "$(grep killed <<<"$out" || true)"
devicectl setprop sys.stab.system_killed 0
run notify crash --process zygote64 --pid 1 --signal 6 --dry-run
expect_match 'a crash of zygote, dry' '*sys.stab.system_killed = 5' "$out"
expect_sent 'a name that contains system_server' 1 1 notify crash --process /vendor/system_server_watch --pid 1 --signal 6 --code 128
expect_match 'a name that contains system_server' '*flags         0x3e51f: *' "$sent"
long=$(printf 'x%.0s' {1..70})
expect_sent 'long texts' 1 1 notify crash --process "/vendor/$long" --pid 1 --signal 6 --detail "$long"

# Kills.
devicectl setprop sys.stab.system_killed 0
expect_sent 'cause 4' 1 1 notify killed --type 4 --pid 1000
expect_match 'cause 4' '*"system_server"*flags         0x1f: bits 0 1 2 3 4*' "$sent"
expect_run 'cause 4 again, dry' 0 'the latch sys.stab.system_killed is 4
nothing is sent' '' notify killed --type 4 --pid 1000 --dry-run
expect_sent 'cause 4 again' 0 0 notify killed --type 4 --pid 1000
expect_run 'cause 6 with the latch set, dry' 0 'the latch sys.stab.system_killed is 4
sys.stab.system_killed = 0
nothing is sent' '' notify killed --type 6 --pid 1000 --dry-run
expect_sent 'cause 6 with the latch set' 0 0 notify killed --type 6 --pid 1000
expect 'the latch is cleared' 0 "$(devicectl getprop sys.stab.system_killed)"
expect_sent 'cause 6' 1 1 notify killed --type 6 --pid 1000
expect_match 'cause 6' '*"zygote"*' "$sent"
expect_run 'cause 3, dry' 0 'the latch sys.stab.system_killed is unset
sys.stab.system_killed = 3
nothing is sent' '' notify killed --type 3 --pid 1 --dry-run
expect_sent 'cause 3' 0 0 notify killed --type 3 --pid 1
for cause in 0 7; do
  expect_run "cause $cause" 1 '' "E libwardline: notify_stab_system_killed invalid type: $cause" notify killed --type $cause --pid 1
  expect_run "cause $cause, dry" 1 '' "wardlinectl: cause $cause is not one of 1 to 6: nothing is sent" notify killed --type $cause --pid 1 --dry-run
done

# The other notifications.
expect_sent 'the end of log collection' 0 1 notify log-finish --pid -5
expect_same_bytes 'the end of log collection'
expect_sent 'block logo' 0 1 notify block-logo --word0 -1 --word1 2147483647
expect_same_bytes 'block logo'
mv /dev/stabd /dev/away
expect_run 'no driver' 1 '' 'E libwardline: notify_stab_driver write bstabd driver error: 2' notify log-finish --pid 1
mv /dev/away /dev/stabd

# The core dump decision.
expect_coredump() { # expect_coredump WORD PROCESS POLICY LATCH DECISION
  echo "$1" >$kernel/coredump_trim_flag
  expect_run "core dump with $1" 0 "  policy word   $1: $3
  latch         \"dumpstate.coredump.${2//\//-}\"
                is $4
  decision      $5" '' coredump "$2"
}
stays='the kernel'\''s switch would stay as it is'
expect_coredump 0 /bin/new 'no core dumps' unset "refused; $stays"
expect_coredump 4 /bin/new 'no core dumps' unset "refused; $stays"
expect_coredump 1 /bin/new 'one core dump for each name' unset 'allowed; it would use up the latch'
expect_coredump 1 /bin/app 'one core dump for each name' '"1"' refused
expect_coredump 2 /bin/app 'a core dump for each crash' '"1"' allowed
expect_coredump 3 /bin/app 'a core dump for each crash' '"1"' allowed
expect_coredump 4097 /bin/new 'no core dumps, by the veto' unset "refused; $stays"
expect_coredump -1 /bin/new 'no core dumps, by the veto' unset "refused; $stays"
echo 1 >$kernel/coredump_trim_flag
devicectl setprop dumpstate.coredump.odd abc
expect_coredump 1 odd 'one core dump for each name' '"abc"' 'allowed; it would use up the latch'
expect 'looking uses up no latch' '' "$(devicectl getprop dumpstate.coredump.-bin-new)"
expect_run 'the decision in JSON' 0 '{"allowed":true,"latch":"","latch_name":"dumpstate.coredump.-bin-new","policy_word":1,"process":"/bin/new","sets_latch":true,"writes_switch":true}' '' coredump --json /bin/new
run coredump /bin/new --apply
expect_match 'deciding' '*decision      allowed; it would use up the latch
  result        allowed' "$out"
expect 'deciding uses up the latch' '1 I libwardline: enable coredump for /bin/new' "$(devicectl getprop dumpstate.coredump.-bin-new) $err"
expect_match 'deciding again, in JSON' '{"allowed":false,*"result":false,*}' "$(wardlinectl coredump --json --apply /bin/new 2>/dev/null)"
echo text >$kernel/coredump_trim_flag
run coredump app
expect 'no number' '1 wardlinectl: /proc/sys/kernel/coredump_trim_flag holds no number' "$code $err"
mv $kernel/coredump_trim_flag $kernel/away
run coredump app
expect 'no policy' '1 wardlinectl: /proc/sys/kernel/coredump_trim_flag: No such file or directory' "$code $err"
expect_match 'no policy' "  policy word   none: *
  decision      refused; $stays" "$out"

# What is missing on the command line.
for missing in 'report' 'report stab --type 1 --pid 1' 'report stab --process p --pid 1' 'report stab --process p --type 1' \
  'report lock-timeout' 'report mem' 'report mem --pair a int32' 'notify' 'notify crash --process p --pid 1' \
  'notify crash --process p --signal 1' 'notify crash --pid 1 --signal 1' 'notify killed --type 1' 'notify killed --pid 1' \
  'notify log-finish' 'notify block-logo --word0 1' 'notify block-logo --word1 1' 'coredump' \
  'report stab --type x --pid 1 --process p' 'report stab --type 4294967296 --pid 1 --process p' \
  'report stab --type 010x --pid 1 --process p' 'report stab --type 1 --pid 1 --process p --time-ms 99999999999999999999' \
  'report stab --type 1 --pid 1 --process --dry-run' 'report stab --type 1 --pid 1 --process p --data k --dry-run' \
  'report mem --pair a string --dry-run' 'notify crash --pid 1 --signal 1 --process p --detail --dry-run' \
  'report stab --type 1 --pid 1 --process p --data k' 'report lock-timeout --name n --owner -1'; do
  # shellcheck disable=SC2086  # Words, on purpose.
  run $missing
  expect "$missing" '2 ' "$code $out"
  expect_match "$missing: message" 'wardlinectl: *
Run with --help for more information.' "$err"
done
expect 'nothing of it is sent' '' "$(wardlinectl events --from $events; wardlinectl driver --from $records)"

conclude 'wardlinectl sends what it says'
