#!/usr/bin/env bash
# scripts/device-vm from the outside: device_vm_test.sh DEVICE-VM BUILD-FOLDER
set -euo pipefail

script=$1 build=$2
project=$(dirname "$(dirname "$script")")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# shellcheck source-path=SCRIPTDIR
. "$project/tests/support/expect.sh"

vm() { "$script" --build "$build" --root "$work/root" "$@"; }

expect_failure() { # expect_failure CODE PATTERN COMMAND...: the pattern is for the last line
  local code=0 words
  words=$("${@:3}" 2>&1 >/dev/null) || code=$?
  expect "exit code of ${*:3}" "$1" "$code"
  expect_match "words of ${*:3}" "scripts/device-vm: $2" "$(tail -n 1 <<<"$words")"
}

# Runs a command that cannot write but to the test's folder, has no network, and finds other things in
# the place of some.
apart() {
  # As an ordinary user has it.
  PATH=/usr/local/bin:/usr/bin:/bin \
  bwrap --ro-bind / / --dev-bind /dev /dev --proc /proc --bind "$work" "$work" --unshare-net \
    --setenv TMPDIR "$work/tmp" "$@"
}

# What a command gets and gives.
expect_match 'the help' 'Runs a command in*scripts/device-vm [[]--asan*Exit code*117  the emulator*done' \
  "$("$script" --help)"
cd "$project/examples"
code=0
# shellcheck disable=SC2016  # For the shell inside.
vm bash -c 'printf "[%s]" "$@"; pwd; id -u; cat; echo oops >&2; echo content >/data/left; exit 7' \
  name 'a b' '' '*' '"' $'two\nlines' >"$work/stdout" 2>"$work/stderr" || code=$?
expect 'exit code of the command' 7 "$code"
expect 'standard output, arguments, folder, user' $'[a b][][*]["][two\nlines]'"$PWD"$'\n0' "$(<"$work/stdout")"
expect 'standard error' oops "$(<"$work/stderr")"
expect 'a file that was left' content "$(<"$work/root/data/left")"
# As a call leaves the root folder that is ended between two renames.
mkdir "$work/root/.before"
mv "$work"/root/{data,dev} "$work/root/.before"
# shellcheck disable=SC2016  # For the shell inside.
expect 'a file of the call before, a command that a signal ends' $'content\n137' \
  "$(vm sh -c 'cat /data/left; kill -KILL $$' || echo $?)"

# Wrong use.
expect_failure 110 'no command; see scripts/device-vm --help' "$script"
expect_failure 110 'unknown option --what; *' "$script" --what true
expect_failure 110 '--root needs a folder' "$script" --root
expect_failure 110 '--timeout needs a number of seconds' "$script" --timeout 1h true

# A workstation that lacks something.
expect_failure 111 "$work is no build of an AArch64 preset; *" "$script" --build "$work" true
mkdir "$work/no-packages" "$work/cache" "$work/tmp"
expect_failure 111 'the workstation lacks programs' \
  apart --ro-bind "$work/no-packages" /var/lib/dpkg "$script" --build "$build" true
expect_failure 112 'the kernel packages cannot be fetched' \
  apart --setenv XDG_CACHE_HOME "$work/cache" "$script" --build "$build" true
cp -r "$project"/{scripts,device} "$work"
echo 'int undeclared = nothing;' >>"$work/device/driver/main.c"
expect_failure 113 'the driver cannot be built' "$work/scripts/device-vm" --build "$build" true

# Disks and folders that take nothing.
expect_failure 114 'cannot write to the root folder /proc/root' "$script" --build "$build" --root /proc/root true
expect_failure 114 "$work is not empty, and no root folder of a device" "$script" --build "$build" --root "$work" true
expect_failure 114 'another device runs in the root folder *' \
  flock "$work/root/.lock" "$script" --build "$build" --root "$work/root" true
expect_failure 114 "cannot make the device's disk in *No space left on device" \
  apart --size 20971520 --tmpfs "$work/tmp" "$script" --build "$build" \
  --root "$work/root" true
expect_failure 114 'cannot keep what the device left: tar: *' \
  apart --size 65536 --tmpfs "$work/root" "$script" --build "$build" --root "$work/root" \
  dd if=/dev/zero of=/data/large bs=1M count=2
expect 'what was left before is there still' content "$(<"$work/root/data/left")"

# Devices that do not run the command to its end.
# A reader that wants no more does not stop a device.
expect 'the first line of many' $'y\n0' \
  "$(vm sh -c 'yes | head -n 100000' | head -n 1; echo "${PIPESTATUS[0]}")"
expect_failure 115 'Kernel panic - not syncing: sysrq triggered crash' vm sh -c 'echo c >/proc/sysrq-trigger'
# The driver may come and go under a command: its records are kept.
expect 'driver records after the driver was loaded anew' 1 "$(vm sh -c "rmmod stabd; insmod /device/stabd.ko
  '$build/examples/system_killed' 4 1 2>/dev/null; until [ -s /dev/stabd.records ]; do :; done
  '$build/wardlinectl' driver" | grep -c ^driver)"
await_status() { # Looks again and again, ten times a second, whether the device has told its exit code.
  local never
  mkfifo "$work/never"
  exec {never}<>"$work/never"
  until [ -s "$(echo "$work"/tmp/*/status)" ]; do read -r -t 0.1 _ <&"$never" || true; done
}
expect 'output that is not taken before the end' 100000 \
  "$(TMPDIR=$work/tmp vm seq 100000 | { await_status; wc -l; })"
to_full_disk() { "$@" >/dev/full; }
expect_failure 114 "cannot write the command's output" to_full_disk vm --fresh echo hello
expect_failure 117 'the device could not send what it left; *' vm rm -r /dev/__properties__
expect_failure 116 'the device was not done after 10 s' vm --timeout 10 tail -f /dev/null
expect_failure 117 'the emulator ended with 0 before the device was done*' vm poweroff -f

# A script that is ended takes its device with it.
mkfifo "$work/output"
TMPDIR=$work/tmp "$script" --build "$build" --root "$work/root" sh -c 'echo up; tail -f /dev/null' \
  >"$work/output" & script_pid=$!
exec {output}<"$work/output"
read -r -t 120 -u "$output" word
expect 'output while the command runs' up "$word"
kill -TERM $script_pid
expect_end 'exit code after TERM' 143 $script_pid
expect 'end of the output' 0 "$(status timeout 60 cat <&"$output")"
expect 'temporary files are gone' '' "$(ls -A "$work/tmp")"

conclude 'scripts/device-vm behaves as described'
