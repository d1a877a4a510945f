#!/usr/bin/env bash
# What wardlinectl config check says of files, and what a real subscriber makes of them, inside a
# device: config_verdicts_test.sh BUILD-FOLDER
set -euo pipefail
build=$1
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/corpus.sh"
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/commands.sh"

echo '{"version": 1, "dmaMemInfoConfig": {"enable": true, "threshHold": 5, "interval": 6},
  "processesConfig": {"enable": true, "interval": 7, "processes": [{"name": "base", "description": "old"}]},
  "threadtrackConfig": {"options": {"o": "old", "kept": "yes"}}}' >base
mkdir corpus
add_corpus corpus
# An emulator takes long for each: every other one.
grep -q '^emulator=()' "$build/run" || rm corpus/*[13579].json
count=$(find corpus -type f | wc -l)
[ "$count" -ge 300 ] || expect 'files' '300 at least' "$count"
code=0
wardlinectl config check --json --after base corpus/* >verdicts 2>err || code=$?
expect 'some files are bad' '1 ' "$code $(<err)"
expect 'each file has a verdict' "$count" "$(wc -l <verdicts)"

code=0
"$build/run" "$build/tests/real_subscriber" base verdicts >outcome || code=$?
expect 'the verdicts agree' '' "$(head -c 20000 outcome | grep -v ' differences$' || true)"
expect 'the comparison' 0 $code
read -r survived died < <(tail -n 1 outcome | sed 's/ survived, / /; s/ did not.*//')
expect 'every file was delivered' "$count" $((survived + died))
expect 'there are files of both sorts' yes "$([ "$survived" -gt 100 ] && [ "$died" -gt 100 ] && echo yes)"

conclude "$(tail -n 1 outcome)"
