# Configuration files, valid, invalid and borderline. Sourced; makes them in the folder that it is given.

number=0
add_as_is() { # add_as_is TEXT
  number=$((number + 1))
  printf '%s' "$1" >"$folder/$number.json"
}
add() { # add TEXT, escaped as in C
  number=$((number + 1))
  printf '%b' "$1" >"$folder/$number.json"
}

repeated() { # repeated COUNT TEXT
  local text
  printf -v text '%*s' "$1" ''
  printf '%s' "${text// /$2}"
}

# Every key with every type and every value at a border.
add_keys() {
  local key value
  local -a keys=('{"version": @}' '{"dmaMemInfoConfig": @}' '{"processesConfig": @}' '{"threadtrackConfig": @}'
    '{"version": 3, "dmaMemInfoConfig": {"enable": @}}' '{"version": 3, "dmaMemInfoConfig": {"threshHold": @}}'
    '{"version": 3, "dmaMemInfoConfig": {"interval": @}}' '{"version": 3, "processesConfig": {"enable": @}}'
    '{"version": 3, "processesConfig": {"interval": @}}' '{"version": 3, "processesConfig": {"processes": @}}'
    '{"version": 3, "processesConfig": {"processes": [@]}}' '{"version": 3, "processesConfig": {"processes": {"k": @}}}'
    '{"version": 3, "processesConfig": {"processes": [{"name": @}]}}'
    '{"version": 3, "processesConfig": {"processes": [{"name": "n", "description": @}]}}'
    '{"version": 3, "threadtrackConfig": {"options": @}}' '{"version": 3, "threadtrackConfig": {"options": {"o": @}}}'
    '{"version": 3, "unknown": @}' '@')
  local -a values=(null true false 0 -0 0.0 -0.0 1 7 -1 1.5 -0.5 1e3 1E+2 2147483648 4294967295 4294967295.5 4294967296
    9223372036854775807 9223372036854775808 18446744073709551615 -9223372036854775808 -9223372036854775809 1e20
    '""' '"5"' '"text"' '"a\u0000b"' '[]' '[1]' '{}' '{"a": 1}')
  for key in "${keys[@]}"; do
    for value in "${values[@]}"; do add_as_is "${key/@/"$value"}"; done
  done
}

# A whole file that is cut after each of its bytes.
add_cut() {
  local whole='{"version":2,"dmaMemInfoConfig":{"enable":true},"processesConfig":{"processes":[{"name":"p"}]}}' size
  for ((size = 0; size <= ${#whole}; ++size)); do add_as_is "${whole:0:size}"; done
}

add_syntax() {
  local text
  for text in '' ' ' '\n' '{' '}' '[' ']' ',' ':' '"' 'x' 'nul' 'truex' 'nullx' '{}x' '{} {}' '{}]' '{},' '{"version": 2} trailing' \
    '{"version": 2}}' '{"version": 2} // comment' '/* comment */ {"version": 2}' '// comment\n{"version": 2}' \
    '{"version": /* why */ 2}' '{"version": 2 /* why' '# comment\n{"version": 2}' '{"version": 2,}' '{,}' '{"version" 2}' \
    '{"version": }' '{"version":: 2}' '{version: 2}' "{'version': 2}" '{"version": 02}' '{"version": +2}' '{"version": 2.}' \
    '{"version": .5}' '{"version": 0x2}' '{"version": 2e}' '{"version": 1e999}' '{"version": 1e-999}' '{"version": NaN}' \
    '{"version": Infinity}' '{"version": -Infinity}' '{"version": 2, "version": 3}' '{"version": -2, "version": 3}' \
    '{"version": 2, "version": -3}' '{"v\\u0065rsion": 2}' '{"\\u0076ersion": 2, "version": 4}' '{"version\\u0000": 2}' \
    '\xef\xbb\xbf{"version": 2}' '\xef\xbb\xbf' '\xef\xbb{"version": 2}' '{"version": 2}\0' '{"version": 2}\0{' '\0{"version": 2}' \
    '{"version": 2}\r\n' '{\r\n"version":\r\n2\r\n}' '{\t"version"\t:\t2\t}' '{\v"version": 2}' '{\f"version": 2}' \
    '{"version": 2, "processesConfig": {"processes": [1,]}}' '{"version": 2, "processesConfig": {"processes": [,]}}' \
    '{"version": 2, "processesConfig": {"processes": [{},]}}' '{"version": 2, "processesConfig": {"processes": [{} {}]}}' \
    '{"version": 2, "threadtrackConfig": {"options": {"a" : "\\q"}}}' '{"version": 2, "threadtrackConfig": {"options": {"a": "\\u12"}}}' \
    '{"version": 2, "threadtrackConfig": {"options": {"a": "\\ud800"}}}' '{"version": 2, "threadtrackConfig": {"options": {"a": "\\ud83d\\ude00"}}}' \
    '{"version": 2, "threadtrackConfig": {"options": {"a": "\\ud800\\u0041"}}}' '{"version": 2, "threadtrackConfig": {"options": {"a": "\\udc00"}}}' \
    '{"version": 2, "threadtrackConfig": {"options": {"a": "\xff\xfe"}}}' '{"version": 2, "threadtrackConfig": {"options": {"a": "\n"}}}' \
    '{"version": 2, "threadtrackConfig": {"options": {"a": "\\n\\t\\"\\\\\\/\\b"}}}' '{"version": 2, "threadtrackConfig": {"options": {"": ""}}}' \
    '{"version": 2, "threadtrackConfig": {"options": {"\\u0000": "x"}}}' '{"version": 2, "threadtrackConfig": {"options": {"a": 0.1, "b": 1e100, "c": -5}}}' \
    '{"version": 2, "threadtrackConfig": {"options": {"a": [], "a": 1}}}' '{"version": 2, "threadtrackConfig": {"options": {"a": 1, "a": []}}}' \
    '{"/*": 1, "version": 2}' '{"//": 1, "version": 2}' '{"version": 2, "a.b": {"c[0]": 1}}' '{"dmaMemInfoConfig.enable": 1, "version": 2}' \
    '{"version": 2} /* unfinished' '{"version": 2} /' '{"version": 2 / 1}'; do
    add "$text"
  done
}

add_nested() { # How deep the JSON library goes.
  local depth
  for depth in 10 998 999 1000 1001 1002 5000; do
    add_as_is "{\"version\": 2, \"x\": $(repeated $depth '[')$(repeated $depth ']')}"
    add_as_is "{\"version\": 2, \"x\": $(repeated $depth '[')1$(repeated $depth ']')}"
    add_as_is "$(repeated $depth '{"x":')1$(repeated $depth '}')"
    add_as_is "$(repeated $depth '[')"
    add_as_is "{\"version\": 2} $(repeated $depth '[')"
    add_as_is "{\"version\": 2, \"x\": $(repeated $depth '[')/**/ $(repeated $depth ']')}"
    add_as_is "{\"version\": 2, \"x\": \"$(repeated $depth '[')\"} // $(repeated $depth '[')"
  done
}

add_processes() {
  local list
  for list in '' '{}' '{"name": "a"}' '{"name": "a"}, {"name": "a"}' '{"name": "b"}, {"name": "a"}, {"name": "B"}' \
    '{"name": "a", "description": "x"}, {"name": "a", "description": "y"}' '{"description": "only"}' \
    '{"name": "base"}' '{"name": "a", "id": 5}' '{"name": "a", "name": "b"}' 'null' 'null, {"name": "a"}' '[]' \
    '{"name": "a"}, 5' '{"name": 5, "description": true}' '{"name": ["a"]}' '{"name": "a\u0000b"}'; do
    add_as_is "{\"version\": 2, \"processesConfig\": {\"enable\": true, \"interval\": 30, \"processes\": [$list]}}"
  done
  add_as_is '{"version": 2, "processesConfig": {"processes": {"z": {"name": "b"}, "a": {"name": "a"}}}}'
  add_as_is "{\"version\": 2, \"processesConfig\": {\"processes\": [$(repeated 500 '{"name": "p"},')]}}"
}

add_corpus() { # add_corpus FOLDER
  folder=$1
  add_keys
  add_cut
  add_syntax
  add_nested
  add_processes
}
