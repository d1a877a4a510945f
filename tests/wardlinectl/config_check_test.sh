#!/usr/bin/env bash
# What wardlinectl config check tells of files, inside a device: config_check_test.sh BUILD-FOLDER
set -euo pipefail
build=$1
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/commands.sh"

sound='f: a subscriber survives it: 0 errors,'
fatal='f: it ends every process that watches:'

expect_check() { # expect_check WHAT CODE OUT TEXT
  printf '%s' "$4" >f
  expect_run "$1" "$2" "$3" '' config check f
}
expect_error() { # expect_error PLACE MESSAGE TEXT: one error, the rest of it does not matter
  printf '%s' "$3" >f
  run config check f
  expect "$3: exit code" 1 "$code"
  expect "$3: error" "f:$1: error: $2" "$(grep ' error: ' <<<"$out")"
  expect_match "$3: verdict" "*
$fatal 1 error, * warning*" "$out"
}
expect_warning() { # expect_warning PLACE MESSAGE TEXT
  printf '%s' "$3" >f
  run config check f
  expect "$3: exit code" 0 "$code"
  expect "$3: warning" "f$1: warning: $2" "$(grep ' warning: ' <<<"$out")"
  expect_match "$3: verdict" "*
$sound 1 warning" "$out"
}

expect_check 'a sound file' 0 "$sound 0 warnings" '{
  "version": 7,
  "dmaMemInfoConfig": {"enable": true, "threshHold": 1048576, "interval": 60},
  "processesConfig": {"enable": true, "interval": 30,
    "processes": [{"name": "system_server", "description": "the framework"}]},
  "threadtrackConfig": {"options": {"depth": 5, "mode": true}}
}'

# Syntax: the line, the column and the text.
expect_check 'no colon' 1 "f:3:14: error: Missing ':' after object member name
      \"interval\" 5
                 ^
$fatal 1 error, 0 warnings" '{
  "version": 1,
  "interval" 5
}'
expect_check 'a cut file' 1 "f:1:14: error: Missing ',' or '}' in object declaration
    {\"version\": 1
                 ^
$fatal 1 error, 0 warnings" '{"version": 1'
expect_match 'an empty file' '*: error: Syntax error: value, object or array expected.*' "$(: >f; wardlinectl config check f || true)"
# A mark in the middle of a long line, whose excerpt fits; tabs count as one column.
long=$(printf ' %.0s' {1..200})
printf '{%s\t"version" 2%s}' "$long" "$long" >f
run config check f
expect 'a long line' "f:1:213: error: Missing ':' after object member name" "$(head -n 1 <<<"$out")"
expect 'the mark in a long line' 2 "$(sed -n 2p <<<"$out" | cut -c "$(($(sed -n 3p <<<"$out" | wc -c) - 1))")"
expect 'the excerpt of a long line' '' "$(awk 'length > 80' <<<"$(sed -n 2,3p <<<"$out")")"
printf '{\r\n"x": 1,\r\n"version": 1}' >f
expect_match 'places in lines that end with CR and LF' 'f:2:1: warning: x is not known*' "$(wardlinectl config check f)"
for end in $'\r\n' $'\r' $'\n'; do
  printf '{%s"version": 1,%s"x" }' "$end" "$end" >f
  expect_match "lines that end with $(printf '%q' "$end")" "f:3:5: error: Missing ':' *" "$(wardlinectl config check f || true)"
done
printf '{"version": 2, "x": %s}' "$(printf '[%.0s' {1..1001})$(printf ']%.0s' {1..1001})" >f
expect_run 'too deep' 1 "f: error: the JSON library gives up: values are nested too deep
$fatal 1 error, 0 warnings" '' config check f

# Types: what the JSON library turns away, by the path of the key.
expect_error 1:13 'version is -1, and must be a number from 0 to 4294967295' '{"version": -1}'
expect_error 1:13 'version is 4294967296, and must be a number from 0 to 4294967295' '{"version": 4294967296}'
expect_error 1:13 'version is "7", and must be a number from 0 to 4294967295' '{"version": "7"}'
expect_error 1:51 'dmaMemInfoConfig.threshHold is 1e+20, and must be a number from 0 to 18446744073709551615' '{"version": 1, "dmaMemInfoConfig": {"threshHold": 1e20}}'
expect_error 1:46 'dmaMemInfoConfig.enable is "on", and must be true or false' '{"version": 1, "dmaMemInfoConfig":{"enable": "on"}}'
expect_error 1:36 'dmaMemInfoConfig is an array, and must be an object' '{"version": 1, "dmaMemInfoConfig": []}'
expect_error 1:1 'is an array, and must be an object' '[]'
expect_error 2:36 'processesConfig.processes[1] is a number, and must be an object' '{"version": 1,
"processesConfig":{"processes":[{},5]}}'
expect_error 1:59 'processesConfig.processes[0].name is an array, and must be a text' '{"version": 1, "processesConfig":{"processes":[{"name":   []}]}}'
expect_error 1:56 'threadtrackConfig.options."a b" is an object, and must be a text' '{"version": 1, "threadtrackConfig":{"options":{"a b":  {}}}}'
expect_error 1:47 'threadtrackConfig.options is a text, and must be an object' '{"version": 1, "threadtrackConfig":{"options":"x"}}'
printf '{"version": -1, "dmaMemInfoConfig": 5, "threadtrackConfig": true}' >f
expect 'all errors are told' 3 "$(wardlinectl config check f | grep -c ' error: ')"
expect 'three errors' "$fatal 3 errors, 0 warnings" "$(wardlinectl config check f | tail -n 1)"
printf '\xef\xbb\xbf{"version": -1}' >f
expect_match 'places behind a byte order mark' 'f:1:16: error: version is -1*' "$(wardlinectl config check f || true)"

# What harms nobody at once.
expect_warning '' 'version is missing, which counts as 0: the file never counts as loaded' '{}'
expect_warning ':1:13' 'version is 0: the file never counts as loaded' '{"version": 0}'
expect_warning ':1:16' 'treshHold is not known; the nearest is dmaMemInfoConfig.threshHold' '{"version": 1, "treshHold": 5}'
expect_warning ':1:36' 'dmaMemInfoConfig.treshold is not known; the nearest is threshHold' '{"version": 1, "dmaMemInfoConfig":{"treshold": 5}}'
expect_warning ':1:36' 'dmaMemInfoConfig.ENABL is not known; the nearest is enable' '{"version": 1, "dmaMemInfoConfig":{"ENABL": 5}}'
expect_warning ':1:36' 'dmaMemInfoConfig.Interval is not known; the nearest is interval' '{"version": 1, "dmaMemInfoConfig":{"Interval": 5}}'
expect_warning ':1:35' 'processesConfig.Interval is not known; the nearest is interval' '{"version": 1, "processesConfig":{"Interval": 5}}'
expect_warning ':1:61' 'processesConfig.processes[0].nam is not known; the nearest is name' '{"version": 1, "processesConfig":{"processes":[{"name": "a","nam": 5}]}}'
expect_warning ':1:16' '"a.b" is not known; the nearest is processesConfig.processes[].name' '{"version": 1, "a.b": 5}'
expect_check 'keys that nobody looks at' 0 "$sound 0 warnings" '{"version": 1, "threadtrackConfig": {"options": {"anything": 1}}}'
expect_warning ':1:15' 'version is there already: the last one counts' '{"version": 1,"version": 2}'
expect_warning ':1:15' 'version is there already: the last one counts' '{"version": 1,"v\u0065rsion": 2}'
expect_warning ':1:74' 'processesConfig.processes[1].name is listed already: "a"' '{"version": 1, "processesConfig":{"processes":[{"name":"a"},{"name":     "a"}]}}'
expect_warning ':1:48' 'processesConfig.processes[0] has no name' '{"version": 1, "processesConfig":{"processes":[{}]}}'
expect_warning ':1:47' 'processesConfig.processes is a text: it has no entries' '{"version": 1, "processesConfig":{"processes":"x"}}'
expect_warning ':1:47' 'processesConfig.processes is an object: its values count, in the order of their keys' '{"version": 1, "processesConfig":{"processes":{"k":{"name": "a"}}}}'
expect_warning ':1:46' 'dmaMemInfoConfig.enable is 2, which counts as true' '{"version": 1, "dmaMemInfoConfig":{"enable": 2}}'
expect_warning ':1:46' 'dmaMemInfoConfig.enable is 0.0, which counts as false' '{"version": 1, "dmaMemInfoConfig":{"enable": 0.0}}'
expect_warning ':1:48' 'dmaMemInfoConfig.interval is true, which counts as 1' '{"version": 1, "dmaMemInfoConfig":{"interval": true}}'
expect_warning ':1:48' 'dmaMemInfoConfig.interval is 1.5, of which the fraction is cut off' '{"version": 1, "dmaMemInfoConfig":{"interval": 1.5}}'
expect_warning ':1:48' 'dmaMemInfoConfig.interval is 1.8446744073709552e+19: what becomes of it is undefined' '{"version": 1, "dmaMemInfoConfig":{"interval": 18446744073709551616}}'
expect_warning ':1:56' 'processesConfig.processes[0].name is 5, of which the text counts' '{"version": 1, "processesConfig":{"processes":[{"name":5}]}}'
expect_warning ':1:16' 'what follows the document is not looked at' '{"version": 1} {'
expect_check 'comments' 0 "$sound 0 warnings" '/* a */ {"version": 1 /* b */} // c'
expect_check 'warnings in order' 0 "f: warning: version is missing, which counts as 0: the file never counts as loaded
f:1:2: warning: a is not known; the nearest is processesConfig.processes[].name
    {\"a\": 1, \"b\": 2}
     ^
f:1:10: warning: b is not known; the nearest is processesConfig.processes[].name
    {\"a\": 1, \"b\": 2}
             ^
$sound 3 warnings" '{"a": 1, "b": 2}'

# What a subscriber holds: entries accumulate, options merge.
echo '{"version": 3, "processesConfig": {"processes": [{"name": "b"}, {"name": "a", "description": "old"}]},
  "threadtrackConfig": {"options": {"x": "1", "y": "2"}}}' >old
echo '{"version": 4, "dmaMemInfoConfig": {"enable": true, "threshHold": 5, "interval": 6},
  "processesConfig": {"enable": true, "interval": 7, "processes": [{"name": "a"}]}, "threadtrackConfig": {"options": {"y": 3}}}' >f
expect_run 'what it holds then' 0 "$sound 0 warnings
  version       4
  dmaMemInfo    enabled, threshHold 5, interval 6
  processes     enabled, interval 7
  process       \"a\": \"\"
  process       \"a\": \"old\"
  process       \"b\": \"\"
  option        \"x\" = \"1\"
  option        \"y\" = \"3\"
                3 process entries, 2 options" '' config check --after old f
expect 'after two files' '                5 process entries, 2 options' "$(wardlinectl config check --after old --after old f | tail -n 1)"
expect_run 'in JSON' 0 '{"errors":[],"file":"f","holds":{"dmaMemInfoConfig":{"enable":true,"interval":6,"threshHold":5},"processesConfig":{"enable":true,"interval":7,"processes":[{"description":"","name":"a"}]},"threadtrackConfig":{"options":{"y":"3"}},"version":4},"survives":true,"warnings":[]}' '' config check --json f
echo '{"version": -1}' >bad
expect_run 'an error in JSON' 1 '{"errors":[{"column":13,"line":1,"message":"is -1, and must be a number from 0 to 4294967295","path":"version","text":"{\"version\": -1}"}],"file":"bad","survives":false,"warnings":[]}' '' config check --json bad
run config check --after bad f
expect 'an old file that is bad itself' '1 ' "$code $out"
expect_match 'an old file that is bad itself: message' 'bad:1:13: error: version is -1*' "$err"
expect 'one bad file is enough, though not the last' 1 "$(status wardlinectl config check bad f)"
expect_run 'more files' 1 "$sound 0 warnings
bad:1:13: error: version is -1, and must be a number from 0 to 4294967295
    {\"version\": -1}
                ^
bad: it ends every process that watches: 1 error, 0 warnings" 'wardlinectl: missing: No such file or directory' config check f missing bad
expect_match 'standard input' 'standard input: a subscriber survives it: *' "$(wardlinectl config check - <f)"
expect_run 'a missing old file' 1 '' 'wardlinectl: missing: No such file or directory' config check --after missing f
expect 'no file' 2 "$(status wardlinectl config check)"

conclude 'wardlinectl checks configurations'
