#!/usr/bin/env bash
# What wardlinectl does on a terminal: terminal_test.sh BUILD-FOLDER
set -euo pipefail
build=$1
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/commands.sh"
export TERM=xterm

# Colours: on a terminal, unless they are unwanted.
on_terminal() { script -qec "$1" /dev/null </dev/null; } # on_terminal COMMAND
coloured() { grep -c $'\033' || true; }
command="'$build/run' '$build/wardlinectl'"
echo '{"version": -1}' >bad
bytes '\x08\x02\x12\x02ab\x18\x01\x20' >damaged
for what in 'config check bad' 'decode damaged'; do
  expect "no colours in a pipe, $what" 0 "$(wardlinectl $what 2>&1 | coloured)"
  [ "$(on_terminal "$command $what" | coloured)" -gt 0 ] || expect "colours on a terminal, $what" some none
  expect "no colours by --no-color, $what" 0 "$(on_terminal "$command --no-color $what" | coloured)"
  expect "no colours by --no-color behind, $what" 0 "$(on_terminal "$command $what --no-color" | coloured)"
  expect "no colours by NO_COLOR, $what" 0 "$(NO_COLOR=1 on_terminal "$command $what" | coloured)"
  [ "$(NO_COLOR='' on_terminal "$command $what" | coloured)" -gt 0 ] || expect "an empty NO_COLOR, $what" some none
  expect "no colours on a dumb terminal, $what" 0 "$(TERM=dumb on_terminal "$command $what" | coloured)"
done
plain() { sed 's/\x1b\[[0-9;]*m//g; s/\r$//'; }
expect 'what is coloured is what is not' "$(wardlinectl decode damaged 2>&1 || true)" \
  "$({ on_terminal "$command decode damaged" || true; } | plain)"
on_terminal "$command decode damaged >plain" >out || true
expect 'standard error is a terminal, standard output is none' 0 "$(coloured <plain)"
[ "$(coloured <out)" -gt 0 ] || expect 'colours in the message' some none

# A line that tells how far work is, on a terminal and after a second.
bytes '\x0a\x02\x08\x01' >elements
for _ in 1 2 3 4 5 6 7 8 9 10; do cat elements elements >more && mv more elements; done
mkfifo pipe
script -qefc "$command decode --as mem-batch pipe >/dev/null" typescript </dev/null >out &
exec {feed}>pipe
await eval 'cat elements >&$feed; grep -qsE "[0-9]+ records" typescript'
exec {feed}>&-
wait %%
expect 'the line is taken away' $'\r\033[K' "$(grep -aoE $'\r([0-9]+ records)?\033\\[K' typescript | tail -n 1)"
expect 'no such line for short work' '' "$(on_terminal "$command decode --as mem-batch elements >/dev/null")"
expect 'no such line without a terminal' '' "$(wardlinectl decode --as mem-batch elements 2>&1 >/dev/null)"

conclude 'wardlinectl knows a terminal'
