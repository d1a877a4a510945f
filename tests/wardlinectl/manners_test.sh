#!/usr/bin/env bash
# How wardlinectl behaves, inside a device: manners_test.sh BUILD-FOLDER TOOL-SOURCES
set -euo pipefail
build=$1
tool=$(realpath "$2")
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/commands.sh"
directory=/data/syslog/settings

# What is documented is what the command line has.
documents() { "$build/run" "$build/tools/wardlinectl/wardlinectl_documents" "$1"; }
for document in man:1 bash:bash; do
  documents ${document%:*} | cmp - "$tool/wardlinectl.${document#*:}" ||
    expect "write it anew: wardlinectl_documents ${document%:*}" same different
done
expect 'documents of another kind' 2 "$(status documents html)"

# Help, on every level.
mapfile -t paths < <(sed -n "s/^        '\(.*\)') words=.*/\1/p" "$tool/wardlinectl.bash")
expect 'commands' 21 ${#paths[@]}
for path in "${paths[@]}"; do
  # shellcheck disable=SC2086  # Words, on purpose.
  run $path --help
  expect "help of$path" '0 ' "$code $err"
  expect_match "usage of$path" "*Usage: wardlinectl${path:+$path }*" "$out"
  expect_match "example of$path" "*Example:
  wardlinectl$path*" "$out"
  expect "columns of the help of$path" '' "$(awk 'length > 80' out)"
  # shellcheck disable=SC2086
  for option in $(sed -n "s/^        '$path') words='\(.*\)' ;;/\1/p" "$tool/wardlinectl.bash" | grep -oE -- '--[a-z0-9-]+'); do
    [ "$option" = --no-color ] || expect_match "help of$path" "*$option*" "$out"
  done
done
expect 'short help' "$(wardlinectl --help)" "$(wardlinectl -h)"
expect_match 'the version' 'wardlinectl [0-9]*.[0-9]*.[0-9]*' "$(wardlinectl --version)"

# Wrong use.
for wrong in '' nonsense '--nonsense' 'decode --nonsense' 'report' 'report nonsense' 'notify' 'config' 'config nonsense' \
  'config put' 'config put a b' 'config watch --changes x' 'config watch --changes -1' 'events extra' 'coredump' 'coredump a b'; do
  # shellcheck disable=SC2086  # Words, on purpose.
  run $wrong
  expect "wrong use '$wrong'" '2 ' "$code $out"
  expect_match "wrong use '$wrong': message" 'wardlinectl: *
Run with --help for more information.' "$err"
done
expect_match 'an option that does not exist' 'wardlinectl: there is no option --nonsense*' "$(wardlinectl decode --nonsense 2>&1 || true)"
expect_match 'a command that does not exist' 'wardlinectl: there is no command nonsense*' "$(wardlinectl nonsense 2>&1 || true)"

echo '{"version": -1}' >bad
# 80 columns, whatever is in a record.
long() { printf "$1%.0s" {1..300}; }
wardlinectl report stab --type 2 --pid 1 --process "$(long a)" --data "$(long b)" "$(long c)" --data d "$(long '"')" --time-ms 5
wardlinectl report lock-timeout --name "$(long a)" --extra1 "$(long $'\x01')" 2>err
devicectl setprop ro.build.fingerprint "a/$(long b)/c:d/e/f:g/h"
wardlinectl report mem --pair "$(long k)" string "$(long v)" --pair "$(long k)" uint64 5 --pair k bytes "$(long 00)" 2>err
wardlinectl notify crash --process "$(long a)" --pid 1 --signal 11 --detail "$(long b)" 2>err
for what in events driver 'events --hex' "coredump $(long a)"; do
  # shellcheck disable=SC2086  # Words, on purpose.
  expect "columns of $what" '' "$(wardlinectl $what | awk 'length > 80')"
done
expect 'long texts are whole' "$(long a)" "$(wardlinectl events | sed -n '/process_name/,/pid/p' | sed '/pid/d' | tr -cd a | head -c 300)"
expect_match 'long texts are in pieces' '*process_name  "a*"
                "a*"
*' "$(wardlinectl events)"
printf '{"version": 1, "processesConfig": {"processes": [{"name": "%s", "description": "%s"}]}, "threadtrackConfig": {"options": {"%s": "%s"}}}' \
  "$(long n)" "$(long d)" "$(long k)" "$(long v)" >$directory/stab_cloud_config.json
expect 'columns of the configuration' '' "$(wardlinectl config show | awk 'length > 80')"

# An output that takes nothing.
run_full() { code=0; wardlinectl "$@" >/dev/full 2>err || code=$?; err=$(<err); }
for what in 'events' 'config check bad' '--help'; do
  # shellcheck disable=SC2086  # Words, on purpose.
  run_full $what
  expect "a full output, $what" 1 $code
  expect_match "a full output, $what" '*wardlinectl: cannot write to standard output: No space left on device' "$err"
done

# Completion.
expect_completion() { # expect_completion EXPECTED WORD...: of the last word
  local words=$1
  COMP_WORDS=(wardlinectl "${@:2}")
  COMP_CWORD=$(($# - 1))
  COMPREPLY=()
  _wardlinectl
  expect "completion of ${*:2}" "$words" "${COMPREPLY[*]}"
}
# shellcheck disable=SC1091
. "$tool/wardlinectl.bash"
expect_completion 'decode events files driver report notify coredump config --help --version --no-color' ''
expect_completion 'config' con
expect_completion '--help --version --no-color' --
expect_completion 'stab lock-timeout mem --help --no-color' report ''
expect_completion 'check' config ch
expect_completion '' config put ''
expect_completion '--force' config put --fo
expect_completion '--data' report stab --type 2 --dat
expect_completion 'mem-event mem-batch' decode --as mem
expect_completion '' decode some-file

conclude 'wardlinectl has manners'
