#!/usr/bin/env bash
# wardlinectl config put, rollback, show and watch, inside a device: config_deliver_test.sh BUILD-FOLDER
set -euo pipefail
build=$1
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/commands.sh"
directory=/data/syslog/settings
file=$directory/stab_cloud_config.json

config() { printf '{"version": %s, "threadtrackConfig": {"options": {"o": "%s"}}}' "$1" "${2-}"; }
files() { (cd $directory && ls -A | tr '\n' ' '); }

# Subscribes; what it prints is in the file watched.
watch() { # watch ARG...
  : >watched
  "$build/run" "$build/wardlinectl" config watch "$@" >watched 2>&1 & watcher=$!
  await grep -qs 'Successfully initialized inotify' watched
  await has_lines ': version\|"change":0' 1
}
has_lines() { [ "$(grep -c -- "$1" watched || true)" = "$2" ]; } # has_lines PATTERN COUNT

# No file yet.
expect_run 'no configuration' 1 '  version       0
  dmaMemInfo    disabled, threshHold 0, interval 0
  processes     disabled, interval 0
                0 process entries, 0 options' \
  "E libwardline: Failed to open file: $file, No such file or directory" config show
expect_run 'nothing to go back to' 1 '' 'wardlinectl: there is no earlier configuration' config rollback
watch
config 1 a >one
expect_run 'the first delivery' 0 "$file did not exist: made it, and wrote it once more
delivered one: 60 bytes, and 0 of white space" '' config put one
await has_lines 'change, version 1' 1
expect 'the file' "$(config 1 a)" "$(<$file)"
expect 'its mode' 644 "$(stat -c %a $file)"
expect 'nothing is beside it' 'stab_cloud_config.json ' "$(files)"
expect_run 'still nothing to go back to' 1 '' 'wardlinectl: there is no earlier configuration' config rollback

# Longer, shorter, the same.
chmod 600 $file
inode=$(stat -c %i $file)
config 2 "$(printf 'l%.0s' {1..9000})" >two
expect_run 'a longer one' 0 'delivered two: 9059 bytes, and 0 of white space' '' config put two
await has_lines 'change, version 2' 1
config 3 >three
expect_run 'a shorter one' 0 'delivered three: 59 bytes, and 9000 of white space' '' config put three
await has_lines 'change, version 3' 1
expect 'the file is the same' "$inode 600" "$(stat -c '%i %a' $file)"
expect 'who may read it may read the earlier one' 600 "$(stat -c %a $file.previous)"
expect 'its end is white space' "$(config 3)$(printf '%9000s' '')" "$(<$file)"
expect 'what is beside it' 'stab_cloud_config.json stab_cloud_config.json.previous ' "$(files)"
expect 'the earlier one is kept' "$(<two)" "$(<$file.previous)"
expect_run 'back' 0 'delivered the earlier one: 9059 bytes, and 0 of white space' '' config rollback
await has_lines 'change, version 2' 2
expect 'back it is' "$(<two)" "$(<$file)"
expect_run 'and forth' 0 'delivered the earlier one: 9059 bytes, and 0 of white space' '' config rollback
await has_lines 'change, version 3' 2
expect 'forth it is' "$(config 3)$(printf '%9000s' '')" "$(<$file)"
expect_run 'standard input' 0 'delivered standard input: 59 bytes, and 9000 of white space' '' config put - <three
await has_lines 'no difference' 1
expect 'each delivery is one modification' 6 "$(grep -c 'change, version' watched)"

# What is turned away.
printf '{"version": }' >bad
expect_run 'a bad one' 1 '' "bad:1:13: error: Syntax error: value, object or array expected.
    {\"version\": }
                ^
bad: it ends every process that watches: 1 error, 0 warnings
wardlinectl: nothing is delivered; --force would deliver it all the same" config put bad
expect 'nothing has changed' "$(config 3)$(printf '%9000s' '')" "$(<$file)"
echo '{}' >zero
expect_run 'warnings harm nobody' 0 'delivered zero: 3 bytes, and 9056 of white space' 'zero: warning: version is missing, which counts as 0: the file never counts as loaded
zero: a subscriber survives it: 0 errors, 1 warning' config put zero
await has_lines '~ version: 3 -> 0' 1
expect_run 'a missing one' 1 '' 'wardlinectl: missing: No such file or directory' config put missing
kill $watcher

# By force: whoever watches is ended, and the watching command says why.
config 4 >four
wardlinectl config put four >out
watch
expect_match 'a bad one by force' '*wardlinectl: delivered all the same, as --force says
delivered bad: 13 bytes, and 9046 of white space' "$(wardlinectl config put --force bad 2>&1)"
expect_end 'the watching command ends' 1 $watcher
expect_match 'the watching command says why' "*wardlinectl: a configuration has ended the watching process
$file:1:13: error: Syntax error*" "$(<watched)"
for what in show watch; do
  run config $what
  expect "config $what of a bad one" '1 ' "$code $out"
  expect_match "config $what of a bad one: message" "$file:1:13: error: *it ends every process that watches*" "$err"
done
expect_match 'what was before it' '*"version": 4*' "$(<$file.previous)"
run config rollback
expect 'back to a sound one' 0 "$code"
run config rollback
expect 'back to the bad one' '1 ' "$code $out"
expect_match 'back to the bad one: message' 'the earlier one:1:13: error: *nothing is delivered*' "$err"
expect 'back to the bad one by force' 0 "$(status wardlinectl config rollback --force)"
run config put four
expect 'a sound one over a bad one' 0 "$code"

# What the library holds.
echo '{"version": 5, "dmaMemInfoConfig": {"enable": true, "threshHold": 1, "interval": 2}, "processesConfig": {"enable": true,
 "interval": 3, "processes": [{"name": "b"}, {"name": "a", "description": "d"}]}, "threadtrackConfig": {"options": {"k": 1}}}' >five
wardlinectl config put five >out
expect_run 'show' 0 '  version       5
  dmaMemInfo    enabled, threshHold 1, interval 2
  processes     enabled, interval 3
  process       "a": "d"
  process       "b": ""
  option        "k" = "1"
                2 process entries, 1 option' '' config show
expect_run 'show in JSON' 0 '{"dmaMemInfoConfig":{"enable":true,"interval":2,"threshHold":1},"processesConfig":{"enable":true,"interval":3,"processes":[{"description":"d","name":"a"},{"description":"","name":"b"}]},"threadtrackConfig":{"options":{"k":"1"}},"version":5}' '' config show --json
watch --changes 1
config 6 v >six
wardlinectl config put six >out
expect_end 'one change' 0 $watcher
expect 'the differences' '  ~ version: 5 -> 6
  ~ dmaMemInfoConfig.enable: true -> false
  ~ dmaMemInfoConfig.threshHold: 1 -> 0
  ~ dmaMemInfoConfig.interval: 2 -> 0
  ~ processesConfig.enable: true -> false
  ~ processesConfig.interval: 3 -> 0
  + option "o" = "v"' "$(grep '^  [-+~] ' watched)"
expect_match 'the time of a change' '*
20[0-9][0-9]-*T*Z: change, version 6*' "$(<watched)"
watch --json --changes 2
wardlinectl config put five >out
await has_lines '"change":1' 1
wardlinectl config put five >out
expect_end 'two changes' 0 $watcher
expect_match 'changes in JSON' '{"change":0,"config":{*"version":6},"differences":\[\],"time":"*"}
{"change":1,"config":{*},"differences":\["~ version: 6 -> 5",*"+ process \\"a\\": \\"d\\"",*"+ option \\"k\\" = \\"1\\""\],*}
{"change":2,*"differences":\["+ process \\"a\\": \\"d\\"","+ process \\"b\\": \\"\\""\],*}' "$(grep -v '^I ' watched)"
watch
kill $watcher
expect_end 'a signal ends watching' 143 $watcher
watch
kill "$(cat /proc/$watcher/task/$watcher/children)"
expect_end 'the subscriber is ended' 1 $watcher
expect 'by whom it was' 'wardlinectl: the watching process was ended: Terminated' "$(tail -n 1 watched)"
code=0
wardlinectl config watch --changes 1 2>watched >/dev/full & watcher=$!
await grep -qs 'Successfully initialized inotify' watched
await grep -qs . <(wardlinectl config put five)
expect_end 'changes that cannot be printed' 1 $watcher
mv $directory $directory.away
run config watch
expect 'no directory to watch' 1 "$code"
expect_match 'no directory to watch: message' "*E libwardline: Failed to add watch for file: $directory*" "$err"
mv $directory.away $directory

# Faults: nothing is delivered, nothing is lost, nothing is left beside the file.
before=$(<$file)
config 7 "$(printf 'l%.0s' {1..20000})" >seven
expect_fault() { # expect_fault WHAT MESSAGE COMMAND...: which ends like a delivery that failed
  local code=0
  "${@:3}" >out 2>err || code=$?
  expect "$1: exit code" "1 " "$code $(<out)"
  expect "$1: message" "wardlinectl: $2" "$(tail -n 1 err)"
  expect "$1: the file" "$before" "$(<$file)"
  expect "$1: nothing is left" 'stab_cloud_config.json stab_cloud_config.json.previous ' "$(files)"
}
limited() { (ulimit -f 8 && wardlinectl config put seven); }
expect_fault 'a limit of file sizes' "$file: File too large" limited
mkdir full
echo 65534 | tee /proc/sys/kernel/overflow{u,g}id >out  # For bwrap.
cp $file* full
# shellcheck disable=SC2016  # For the shell inside.
in_full_file_system() { # in_full_file_system SCRIPT: with no room for seven; prints its outcome and the files
  bwrap --dev-bind / / --size 32768 --tmpfs $directory bash -c '
    cp full/* '$directory'; "$0/run" "$0/wardlinectl" config put '"$1"' 2>&1; echo "code $?"
    cmp full/stab_cloud_config.json '$directory'/stab_cloud_config.json && ls -A '$directory' | tr "\n" " "' "$build"
}
expect 'a file system without room' "wardlinectl: $file: No space left on device
code 1
stab_cloud_config.json stab_cloud_config.json.previous " "$(in_full_file_system seven)"
mv $directory $directory.away
expect_run 'no directory' 1 '' "wardlinectl: $directory: No such file or directory" config put four
expect_run 'no directory to go back in' 1 '' "wardlinectl: $directory: No such file or directory" config rollback
mv $directory.away $directory
mv $file keep && mkdir $file
expect_run 'a directory in its place' 1 '' "wardlinectl: $file: Is a directory" config put four
rmdir $file && mv keep $file
mv $file keep && mkfifo $file
expect_run 'a FIFO in its place' 1 '' "wardlinectl: $file: Invalid argument" config put four
rm $file && mv keep $file
mkdir $file.tmp
expect_run 'a directory in the way' 1 '' 'wardlinectl: stab_cloud_config.json.tmp: Is a directory' config put four
rmdir $file.tmp
expect 'the file after all that' "$before" "$(<$file)"

# A delivery that changes nothing keeps what was replaced before.
wardlinectl config put four >out && wardlinectl config put five >out && wardlinectl config put five >out
expect_match 'the same text twice' '*"version": 4*' "$(<$file.previous)"

# One that was ended within its write, and what it replaced.
config 21 >$file.replaced
printf '{"version": 2' >$file
expect_match 'a half-written file is made good' 'delivered four: *' "$(wardlinectl config put four)"
expect 'what was before it is kept' "$(config 21)" "$(<$file.previous)"

# Two that go back at once: one after the other.
config 22 >$file && config 23 >$file.previous
wardlinectl config rollback >out1 & one=$!
wardlinectl config rollback >out2 & two=$!
expect_end 'one rollback' 0 $one
expect_end 'another rollback' 0 $two
expect 'both have gone back' "$(config 22)
$(config 23)" "$(sed 's/ *$//' $file; echo; sed 's/ *$//' $file.previous)"

# What an interrupted delivery leaves: before its write, and after it.
echo left >$file.tmp
cp $file $file.replaced
config 8 >$file.previous
expect 'ended before the write: back to the one before' "$(config 8)" \
  "$(wardlinectl config rollback >out 2>&1; sed 's/ *$//' $file)"
expect 'what was left is gone' 'stab_cloud_config.json stab_cloud_config.json.previous ' "$(files)"
config 9 >$file.replaced
expect 'ended after the write: back to what it replaced' "$(config 9)" "$(wardlinectl config rollback >out 2>&1; sed 's/ *$//' $file)"
rm $file
expect_run 'a file that was deleted is made again' 0 "$file did not exist: made it, and wrote it once more
delivered four: 59 bytes, and 0 of white space" '' config put four
expect_match 'and what was before it is kept' '*"version":*' "$(<$file.previous)"

# Deliveries at once: one after the other, none lost half-way.
for i in 1 2 3 4 5 6 7 8; do config 1$i "$(printf 'x%.0s' {1..5000})" >at-once$i; done
watch
deliverers=()
for i in 1 2 3 4 5 6 7 8; do
  "$build/run" "$build/wardlinectl" config put at-once$i >out$i 2>&1 & deliverers+=($!)
done
for pid in "${deliverers[@]}"; do expect_end 'a delivery among others' 0 "$pid"; done
config 20 >last
wardlinectl config put last >out
await has_lines 'change, version 20' 1
kill $watcher

conclude 'wardlinectl delivers configurations'
