#!/usr/bin/env bash
# wardlinectl decode, inside a device: decode_test.sh BUILD-FOLDER
set -euo pipefail
build=$1
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/commands.sh"
export TZ=UTC

# Each kind, told by its content.
stab='\x08\x02\x12\x02ab\x18\xac\x02\x20\xfb\xd0\x95\xff\xbc\x31'
bytes "$stab"'\x2a\x06\x0a\x01k\x12\x01v' >stab
expect_run 'a stability event' 0 'stab
record 0: stab-event, 24 bytes at offset 0
  event_type    2
  process_name  "ab"
  pid           300
  timestamp_ms  1700000000123 (2023-11-14T22:13:20.123Z)
  data          "k" = "v"' '' decode stab
expect_run 'a stability event in JSON' 0 '{"fields":{"data":[{"key":"k","value":"v"}],"event_type":2,"pid":300,"process_name":"ab","timestamp":"2023-11-14T22:13:20.123Z","timestamp_ms":1700000000123},"file":"stab","kind":"stab-event","offset":0,"record":0,"size":24}' \
  '' decode --json stab

lock='\x0a\x01n\x12\x01t\x18\xac\x02\x20\x07\x2a\x01d\x32\x01o\x3a\x00\x42\x02\xff\x0a'
bytes '\x0a\x17'"$lock"'\x0a\x02\x18\x05' >lock
expect_run 'lock timeouts' 0 'lock
record 0: lock-timeout, 25 bytes at offset 0
  name          "n"
  timestamp     "t"
  wait_time     300
  owner         7
  owner_desc    "d"
  object        "o"
  extra1        ""
  extra2        "\xff\x0a"
record 1: lock-timeout, 4 bytes at offset 25
  wait_time     5' '' decode lock
run decode --json lock
expect_match 'bytes that are no text, in JSON' '*"extra2":"?\\n","extra2_hex":"ff0a"*"record":0*
*"fields":{"wait_time":5}*"offset":25,"record":1,"size":4}' "$out"

# A sample as the library sends it: keys and values by turns. Then elements that have both, a value
# without a key, and a key without a value.
figures='\x5a\x03\x0a\x01a\x5a\x02\x12\x00'              # "a", an empty text
figures+='\x5a\x03\x0a\x01b\x5a\x0b\x18\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01'  # int32 -1
figures+='\x5a\x03\x0a\x01c\x5a\x0b\x20\xfe\xff\xff\xff\xff\xff\xff\xff\xff\x01'  # int64 -2
figures+='\x5a\x03\x0a\x01d\x5a\x06\x28\xff\xff\xff\xff\x0f'                      # uint32
figures+='\x5a\x03\x0a\x01e\x5a\x0b\x30\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01'  # uint64
figures+='\x5a\x03\x0a\x01f\x5a\x02\x38\x01'                                      # bool
figures+='\x5a\x03\x0a\x01g\x5a\x09\x41\x9a\x99\x99\x99\x99\x99\xb9\x3f'          # double 0.1
figures+='\x5a\x03\x0a\x01h\x5a\x05\x4d\xcd\xcc\xcc\x3d'                          # float 0.1
figures+='\x5a\x03\x0a\x01i\x5a\x04\x52\x02\x00\xff'                              # bytes
figures+='\x5a\x05\x0a\x01j\x18\x05'                                              # both
figures+='\x5a\x02\x38\x00'                                                       # no key
figures+='\x5a\x03\x0a\x01k'                                                      # no value
figures+='\x5a\x03\x0a\x01l\x5a\x09\x41\x00\x00\x00\x00\x00\x00\xf0\x7f'          # infinity
sample='\x08\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01\x10\x02\x1a\x01B\x22\x01P\x2a\x01D\x32\x01R\x3a\x01I\x42\x00\x4a\x01T\x52\x01G'
bytes "$sample$figures" >mem
expect_run 'a memory sample' 0 'mem
record 0: mem-event, 192 bytes at offset 0
  timestamp_ms  -1 (1969-12-31T23:59:59.999Z)
  uptime_ms     2
  brand         "B"
  product       "P"
  device        "D"
  release       "R"
  build_id      "I"
  incremental   ""
  build_type    "T"
  tags          "G"
  figure        "a" = "" (string)
  figure        "b" = -1 (int32)
  figure        "c" = -2 (int64)
  figure        "d" = 4294967295 (uint32)
  figure        "e" = 18446744073709551615 (uint64)
  figure        "f" = true (bool)
  figure        "g" = 0.1 (double)
  figure        "h" = 0.1 (float)
  figure        "i" = "\x00\xff" (bytes)
  figure        "j" = 5 (int32)
  figure        (no key) = false (bool)
  figure        "k" = (no value)
  figure        "l" = Infinity (double)' '' decode mem
run decode --json mem
for part in '{"key":"a","type":"string","value":""}' '{"key":"b","type":"int32","value":-1}' \
  '{"key":"e","type":"uint64","value":18446744073709551615}' '{"key":"f","type":"bool","value":true}' \
  '{"key":"g","type":"double","value":0.10000000000000001}' '{"key":"i","type":"bytes","value_hex":"00ff"}' \
  '{"type":"bool","value":false}' '{"key":"k"}' '{"key":"l","type":"double","value":"Infinity"}' \
  '"timestamp":"1969-12-31T23:59:59.999Z","timestamp_ms":-1'; do
  expect_match "a memory sample in JSON: $part" "*$part*" "$out"
done

{ bytes '\x0a\xc0\x01'"$sample$figures"; bytes '\x0a\x04\x08\x01\x10\x02'; } >batch
run decode batch
expect 'a batch' 0 "$code"
expect 'the records of a batch' 'record 0: mem-batch, 195 bytes at offset 0
record 1: mem-batch, 6 bytes at offset 195' "$(grep ^record <<<"$out")"
expect 'the last record of a batch' '  timestamp_ms  1 (1970-01-01T00:00:00.001Z)
  uptime_ms     2' "$(tail -n 2 <<<"$out")"

# Records of the driver.
zeros() { head -c "$1" /dev/zero; }
{ bytes 'app'; zeros 37; bytes '\x02\0\0\0\0\0\0\0\x1f\xe1\x03\0\x02\0\0\x80\xff\xff\xff\xff'
  bytes 'why'; zeros 57; zeros 8; bytes '\x01\0\0\0'; zeros 4; bytes '\x01\0\0\0\xff\xff\xff\xff'
  zeros 128; } >driver
expect_run 'driver records' 0 'driver
record 0: driver, 136 bytes at offset 0
  process_name  "app"
  event_type    2
  flags         0x800000020003e11f: bits 0 1 2 3 4 8 13 14 15 16 17 33 63
  pid           -1
  detail        "why"
  kind          1
record 1: driver, 136 bytes at offset 136
  word0         1
  word1         -1' '' decode driver
run decode --json driver
expect 'driver records in JSON' '{"fields":{"detail":"why","event_type":2,"flags":9223372045444964639,"flags_bits":[0,1,2,3,4,8,13,14,15,16,17,33,63],"kind":1,"pid":-1,"process_name":"app"},"file":"driver","kind":"driver","offset":0,"record":0,"size":136}
{"fields":{"word0":1,"word1":-1},"file":"driver","kind":"driver","offset":136,"record":1,"size":136}' "$out"

# Standard input, more files than one, bytes.
expect 'standard input' 'standard input
record 0: stab-event, 24 bytes at offset 0' "$(wardlinectl decode <stab | head -n 2)"
expect 'standard input by its name' 'stab-event' "$(wardlinectl decode --json - <stab | grep -o stab-event)"
expect_match 'more files than one' 'stab
record 0: stab-event*
driver
record 0: driver*' "$(wardlinectl decode stab driver)"
expect 'the bytes' '    0000  08 02 12 02 61 62 18 ac 02 20 fb d0 95 ff bc 31  |....ab... .....1|
    0010  2a 06 0a 01 6b 12 01 76                          |*...k..v|' "$(wardlinectl decode --hex stab | tail -n 2)"
expect_match 'the bytes in JSON' '{"bytes_hex":"080212026162*' "$(wardlinectl decode --json --hex stab)"

# Kinds that cannot be told, and kinds that are told.
bytes '\x08\x02' >either
expect_run 'a kind that cannot be told' 1 either \
  'wardlinectl: either: cannot tell the kind of record; name it with --as' decode either
expect_match 'a kind that is told' '*event_type    2' "$(wardlinectl decode --as stab-event either)"
expect_match 'another kind that is told' '*timestamp_ms  2 (*' "$(wardlinectl decode --as mem-event either)"
for kind in mem-batch lock-timeout; do
  bytes '\x0a\x00' >empty-element
  expect_match "an empty element, $kind" "*record 0: $kind, 2 bytes*" "$(wardlinectl decode --as $kind empty-element)"
done
expect_match 'a kind that does not exist' '* --as: nonsense not in *' \
  "$(wardlinectl decode --as nonsense stab 2>&1 || true)"
expect 'a kind that does not exist, exit code' 2 "$(status wardlinectl decode --as nonsense stab)"
: >nothing
expect_run 'an empty file' 1 nothing 'wardlinectl: nothing: empty: there is no record in it' decode nothing
expect_run 'a missing file' 1 '' 'wardlinectl: missing: No such file or directory' decode missing
expect_run 'a directory' 1 . 'wardlinectl: .: Is a directory' decode .
expect_match 'the other files are decoded all the same' '*stab-event*' \
  "$(wardlinectl decode missing stab 2>/dev/null || true)"
cp stab $'odd\x1bname'
expect 'a name that would do something to a terminal' 'odd?name' "$(wardlinectl decode $'odd\x1bname' | head -n 1)"
expect 'one bad file is enough' 1 "$(status wardlinectl decode missing stab)"

# Unknown fields, at every level; numbers that are known with another wire type too.
bytes '\x08\x02\x12\x01p\x48\x05\x51\1\0\0\0\0\0\0\0\x5d\2\0\0\0\x62\x01x\x6b\x08\x07\x6c\x0a\x01k\x2a\x08\x0a\x01k\x12\x01v\x18\x09\x20\x08' >unknown
run decode --as stab-event unknown
expect 'unknown fields: exit code' 0 "$code"
expect 'unknown fields' '  unknown       field 9, varint 5
  unknown       field 10, fixed64 1
  unknown       field 11, fixed32 2
  unknown       field 12, bytes "x"
  unknown       field 13, group "\x08\x07"
  unknown       field 1, bytes "k"
  unknown       field 5.3, varint 9' "$(grep unknown <<<"$out" | tail -n 7)"
run decode --json --as stab-event unknown
expect_match 'unknown fields in JSON' '*"unknown":\[{"field":"9","type":"varint","value":5},*{"field":"12","type":"bytes","value_hex":"78"},{"field":"13","type":"group","value_hex":"0807"},*{"field":"5.3","type":"varint","value":9}\]*' "$out"
bytes '\x08\x01\x2a\x06\x0a\x01k\x1a\x01z' >unknown
expect 'a third text in an attribute' '  data          "k" = ""
  unknown       field 5.3, bytes "z"' "$(wardlinectl decode --as stab-event unknown | tail -n 2)"
# What is UTF-8, and what is not: a surrogate, a character beyond the last one, a byte that begins none.
for text in '\xed\x9f\xbf' '\xf4\x8f\xbf\xbf' '\xc3\xa9' '\xe2\x82\xac'; do
  bytes '\x12'"$(printf '\\x%02x' "$(bytes "$text" | wc -c)")$text" >text
  expect "$text is text" '' "$(wardlinectl decode --json --as stab-event text | grep -o _hex || true)"
done
for text in '\xed\xa0\x80' '\xf4\x90\x80\x80' '\xf5\x80\x80\x80' '\xc0\x80' '\xc3' '\xe2\x82' '\xe0\x80\x80' '\xf0\x80\x80\x80'; do
  bytes '\x12'"$(printf '\\x%02x' "$(bytes "$text" | wc -c)")$text" >text
  expect "$text is no text" "\"process_name_hex\":\"${text//\\x/}\"" \
    "$(wardlinectl decode --json --as stab-event text | grep -o '"process_name_hex":"[0-9a-f]*"')"
done
bytes '\x08\x01\x5a\x05\x0a\x01k\x58\x02\x5a\x02\x18\x03\x60\x04' >unknown
expect 'unknown fields of a sample' '  unknown       field 11.11, varint 2
  figure        "k" = 3 (int32)
  unknown       field 12, varint 4' "$(wardlinectl decode --as mem-event unknown | tail -n 3)"
bytes '\x0a\x02\x18\x05\x13\x08\x01\x14\x0a\x02\x18\x06' >unknown
expect 'a group between records' 'record 1: lock-timeout, 4 bytes at offset 4
  unknown       field 2, group "\x08\x01"
record 2: lock-timeout, 4 bytes at offset 8
  wait_time     6' "$(wardlinectl decode --as lock-timeout unknown | tail -n +4)"
bytes '\x12\x01x\x0a\x02\x18\x05\x18\x07' >unknown
expect 'unknown fields between records' 'record 0: lock-timeout, 3 bytes at offset 0
  unknown       field 2, bytes "x"
record 1: lock-timeout, 4 bytes at offset 3
  wait_time     5
record 2: lock-timeout, 2 bytes at offset 7
  unknown       field 3, varint 7' "$(wardlinectl decode --as lock-timeout unknown | tail -n +2)"

# Damage: where it is, and what can be read.
expect_damage() { # expect_damage WHAT KIND BYTES OFFSET MESSAGE LAST-ROW-BEFORE
  bytes "$3" >damaged
  run decode --as "$2" damaged
  expect "$1: exit code" 1 "$code"
  expect "$1: message" "wardlinectl: damaged: damaged at offset $4: $5" "$err"
  expect_match "$1: what can be read" "*$6
  damaged       at offset $4: *" "$out"
  run decode --json --as "$2" damaged
  expect_match "$1: in JSON" "*\"damage\":\[{\"message\":*,\"offset\":$4}\]*" "$out"
}
expect_damage 'a cut tag' stab-event '\x08\x02\x82' 2 'the tag of a field breaks off' '  event_type    2'
expect_damage 'no tag' stab-event '\x08\x02\x07\x01' 2 'this is no tag of a field' '  event_type    2'
expect_damage 'field 0' stab-event '\x08\x02\x00\x01' 2 'this is no tag of a field' '  event_type    2'
expect_damage 'a cut number' stab-event '\x08\x02\x18\x82' 2 'field 3 breaks off, or is no number' '  event_type    2'
expect_damage 'a number of 11 bytes' stab-event '\x08\x02\x18\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01' 2 \
  'field 3 breaks off, or is no number' '  event_type    2'
expect_damage 'a cut text' stab-event '\x08\x02\x12\x09system' 2 \
  'field 2 wants 9 bytes, of which 6 are there: "system"' '  event_type    2'
expect_damage 'a length of no record' stab-event '\x08\x02\x12\xff\xff\xff\xff\x0f' 2 \
  'field 2 has a length that no record can have' '  event_type    2'
expect_damage 'a cut length' stab-event '\x08\x02\x12\xff' 2 'field 2 breaks off within its length' '  event_type    2'
expect_damage 'a cut fixed64' stab-event '\x08\x02\x51\0' 2 'field 10 wants 8 bytes, and breaks off' '  event_type    2'
expect_damage 'a cut fixed32' stab-event '\x08\x02\x5d\0' 2 'field 11 wants 4 bytes, and breaks off' '  event_type    2'
expect_damage 'the end of no group' stab-event '\x08\x02\x6c' 2 'field 13 ends a group that did not begin' '  event_type    2'
expect_damage 'wire type 7' stab-event '\x08\x02\x6f' 2 'field 13 has a wire type that does not exist' '  event_type    2'
expect_damage 'a cut group' stab-event '\x08\x02\x6b\x08\x07' 2 'field 13 is a group that breaks off, or is too deep' '  event_type    2'
expect_damage 'the end of another group' stab-event '\x08\x02\x6b\x08\x07\x74' 2 'field 13 is a group that breaks off, or is too deep' \
  '  event_type    2'
expect_damage 'a tag beyond the last field' stab-event '\x08\x02\xf8\xff\xff\xff\x7f\x00' 2 'this is no tag of a field' '  event_type    2'
expect_damage 'a tag of six bytes' stab-event '\x08\x02\x88\x80\x80\x80\x80\x00\x01' 2 'this is no tag of a field' '  event_type    2'
bytes '\x08\x02\x2a\x06\x0a\x01k\x12\x05v\x18\x03' >damaged
run decode --as stab-event damaged
expect 'damage in an attribute' 'wardlinectl: damaged: damaged at offset 7: field 2 wants 5 bytes, of which 1 are there: "v"' "$err"
expect 'what is behind a damaged attribute' '  event_type    2
  pid           3
  data          "k" = ""' "$(sed -n '3,5p' <<<"$out")"
bytes '\x08\x02\x2a\x60\x0a\x01k\x12\x01v' >damaged
run decode --as stab-event damaged
expect 'a cut attribute' '  data          "k" = "v"' "$(grep data <<<"$out")"
bytes '\x0a\x04\x18\x05\x20\x87\x0a\x02\x18\x06' >damaged
run decode --as lock-timeout damaged
expect 'damage in the middle of a list' 1 "$code"
expect 'the records around it' '  wait_time     5
  damaged       at offset 4: field 4 breaks off, or is no number
  wait_time     6' "$(grep -v record <<<"$out" | tail -n +2)"
bytes '\x0a\x04\x08\x01\x10' >damaged
expect_run 'a cut list' 1 'damaged
record 0: mem-batch, 5 bytes at offset 0
  timestamp_ms  1 (1970-01-01T00:00:00.001Z)
  damaged       at offset 4: field 2 breaks off, or is no number
  damaged       at offset 0: the record wants 4 bytes, of which 3 are there' \
  'wardlinectl: damaged: damaged at offset 4: field 2 breaks off, or is no number
wardlinectl: damaged: damaged at offset 0: the record wants 4 bytes, of which 3 are there' decode --as mem-batch damaged

# A key that stands alone, before a pair in one element.
bytes '\x08\x01\x5a\x03\x0a\x01a\x5a\x05\x0a\x01b\x18\x02' >alone
expect 'a key without a value before a pair' '  figure        "a" = (no value)
  figure        "b" = 2 (int32)' "$(wardlinectl decode --as mem-event alone | tail -n 2)"
bytes '\x08\x80\x80\x80\x80\x80\x80\x80\x80\x80\x01' >first
expect 'the first time of all' '  timestamp_ms  -9223372036854775808 (-292275055-05-16T16:47:04.192Z)' \
  "$(wardlinectl decode --as mem-event first | tail -n 1)"

# Damaged records of the driver.
expect_driver_damage() { # expect_driver_damage WHAT OFFSET BYTE MESSAGE PATTERN
  cp driver damaged
  bytes "$3" | dd of=damaged bs=1 seek="$2" conv=notrunc status=none
  run decode --as driver damaged
  expect "$1: exit code" 1 "$code"
  expect "$1: message" "wardlinectl: damaged: damaged at offset $2: $4" "$err"
  expect_match "$1: the sound record" "*$5*" "$out"
}
for offset in 44 47 120 127 132 135; do
  expect_driver_damage "reserved byte $offset" $offset '\x01' 'this reserved byte is not 0' 'word0         1'
done
for offset in 144 200 263; do
  expect_driver_damage "byte $offset behind the words" $offset '\x01' 'event_type and kind are 0, and this byte is not' \
    'process_name  "app"'
done
expect_driver_damage 'a kind that does not exist' 128 '\x02' 'kind is not 1' 'word0         1'
for extent in '0 40' '60 60'; do
  cp driver damaged
  head -c "${extent#* }" /dev/zero | tr '\0' x | dd of=damaged bs=1 seek="${extent% *}" conv=notrunc status=none
  run decode --as driver damaged
  expect 'a text without an end' "wardlinectl: damaged: damaged at offset ${extent% *}: this text does not end within its field" "$err"
done
head -c 200 driver >damaged
run decode --as driver damaged
expect 'a cut driver record' 'wardlinectl: damaged: damaged at offset 200: the record ends after 64 of its 136 bytes' "$err"
expect_match 'what can be read of it' '*record 1: driver, 64 bytes at offset 136*pid  *' "$out"
cp damaged stabd.records
truncate -s 100 stabd.records
expect_match 'records of the driver are known by their name' '*record 0: driver, 100 bytes*' "$(wardlinectl decode stabd.records 2>&1 || true)"
expect_match 'a cut driver record is known' '*record 1: driver, 64 bytes at offset 136*' "$(wardlinectl decode damaged 2>&1 || true)"
cat driver driver >damaged
bytes '\x01' | dd of=damaged bs=1 seek=44 conv=notrunc status=none
expect_match 'records of the driver are known, also if one is damaged' '*record 0: driver*record 3: driver*' \
  "$(wardlinectl decode damaged 2>&1 || true)"
head -c 130 driver >damaged
expect 'a single cut driver record' 'wardlinectl: damaged: damaged at offset 130: the record ends after 130 of its 136 bytes' \
  "$(wardlinectl decode --as driver damaged 2>&1 >/dev/null || true)"

# Names of stability event files.
named() { # named NAME: decodes the stability event under that name
  mkdir -p "$(dirname "$1")"
  cp stab "$1"
  run decode "$1"
}
prefix=.train_stabevent_1.00_
named ${prefix}V1_T2_202311142213_1700000000123
expect 'a name: exit code' 0 "$code"
expect 'the parts of a name' '  ota_version   "V1"
  train_start   "T2"
  datetime      "202311142213" (UTC+00:00)
  name_time_ms  1700000000123 (2023-11-14T22:13:20.123Z)' "$(sed -n '3,6p' <<<"$out")"
run decode --json ${prefix}V1_T2_202311142213_1700000000123
expect_match 'the parts of a name in JSON' '*"datetime":"202311142213"*"name_time":"2023-11-14T22:13:20.123Z","name_time_ms":1700000000123,"ota_version":"V1"*"train_start":"T2"*' "$out"
named ${prefix}-_--_202311142213_1700000000123
expect 'unset properties in a name' '  ota_version   "-" (unset)
  train_start   "--" (unset)' "$(sed -n '3,4p' <<<"$out")"
named ${prefix}V_1_T_202311142213_1700000000123
expect 'values that cannot be told apart' '  ota_and_train "V_1_T"' "$(sed -n '3p' <<<"$out")"
named "${prefix}a/b_T_202311142213_1700000000123"
expect 'a value that makes a folder' '  ota_version   "a/b"' "$(sed -n '3p' <<<"$out")"
named ${prefix}V1_T2_202311150343_1700000000123
expect 'a device in another time zone' '0   datetime      "202311150343" (UTC+05:30)' "$code $(sed -n '5p' <<<"$out")"
named ${prefix}V1_T2_202311141113_1700000000123
expect 'a device west of here' '0   datetime      "202311141113" (UTC-11:00)' "$code $(sed -n '5p' <<<"$out")"
expect_mismatch() { # expect_mismatch WHAT NAME MESSAGE
  named "$prefix$2"
  expect "$1: exit code" 1 "$code"
  expect "$1: message" "wardlinectl: $prefix$2: $3" "$err"
  expect_match "$1: the record" '*  process_name  "ab"*' "$out"
}
expect_mismatch 'a wrong minute' V1_T2_202311142214_1700000000123 \
  "the name's date and time are not those of its timestamp in any time zone"
expect_mismatch '16 hours ahead' V1_T2_202311151413_1700000000123 \
  "the name's date and time are not those of its timestamp in any time zone"
expect_mismatch 'a wrong minute, by five' V1_T2_202311142218_1700000000123 \
  "the name's date and time are not those of its timestamp in any time zone"
expect_mismatch 'a wrong day' V1_T2_202311162213_1700000000123 \
  "the name's date and time are not those of its timestamp in any time zone"
expect_mismatch 'a wrong timestamp' V1_T2_202311142213_1700000000124 \
  "the record's time is 1700000000123, and that of its file's name 1700000000124"
bytes '\x08\x02' >${prefix}V1_T2_202311142213_1700000000123
expect_match 'a record without a time' "*the record has no time, and its file's name has one" \
  "$(wardlinectl decode ${prefix}V1_T2_202311142213_1700000000123 2>&1 || true)"
# A time zone of odd minutes is known where it is the reader's own.
named ${prefix}V1_T2_202311142250_1700000000123
expect 'odd minutes' 1 "$code"
TZ=ODD-0:37 named ${prefix}V1_T2_202311142250_1700000000123
expect 'odd minutes of this time zone' 0 "$code"
for name in V1_T2_20231114221_1700000000123 V1_202311142213_1700000000123 V1_T2_202311142213_x \
  V1_T2_202311142213_99999999999999999999 V1_T2_2023-1114221_1700000000123; do
  expect_mismatch "no whole name: $name" $name 'this is not the name of a stability event file'
done
bytes '\x08\x02\x12\x02ab\x18\xac\x02\x20\x80\xc0\xc2\x9f\xf0\xb4\x6f' >stab
named ${prefix}V1_T2_1749706250706_490000000000000
expect 'a year of five digits' '0   timestamp_ms  490000000000000 (+17497-06-25T07:06:40.000Z)' "$code $(tail -n 1 <<<"$out")"

# 100,000 records in bounded memory: a reader that waits for more has not grown since the first ones.
element() { bytes '\x0a\xc0\x01'"$sample$figures"; }
element >elements
for _ in 1 2 3 4 5 6 7 8 9 10; do cat elements elements >more && mv more elements; done
mkfifo pipe
ASAN_OPTIONS=quarantine_size_mb=1 "$build/run" "$build/wardlinectl" decode --as mem-batch pipe >many & reader=$!
exec {feed}>pipe
resident() { awk '/^VmRSS/ { print $2 }' /proc/$reader/status; }
cat elements >&$feed
before=$(resident)
for _ in {2..98}; do cat elements; done >&$feed
after=$(resident)
exec {feed}>&-
expect_end 'many records' 0 $reader
expect 'how many they were' 100352 "$(grep -c ^record many)"
[ $((after - before)) -lt 2048 ] || expect 'bounded memory' "$before kB" "$after kB"

conclude 'wardlinectl decodes records'
