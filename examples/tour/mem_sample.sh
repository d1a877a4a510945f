#!/usr/bin/env bash
# Reports memory figures of the running system, in a device. Run it inside a device:
#
#   scripts/device --temporary examples/tour/mem_sample.sh build/host
build=$1
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/show.sh"

# Ends the tour unless each figure that the program printed is in the event that is in $text.
expect_figures() { # expect_figures PRINTED
  local name size
  while read -r name _ size _; do
    expect "^  figure        \"$name\" = $size (uint64)\$"
  done < <(grep ' kB$' <<<"$1")
}

tour "A sample of memory figures"

title "1. A process reports one on a device whose build has no valid fingerprint"
with_log example mem_sample
expect ' E libwardline: Invalid build.fingerprint format$' \
  ' E libwardline: reportMemMonitorEvent setDeviceInfo failed$'
show_new "event buffer" events 0

title "2. The same on a device that has one; keys and values are joined again"
devicectl setprop ro.build.fingerprint acme/anvil/anvil:15/AP3A.241105/42:user/release-keys
with_log example mem_sample
expect '^MemTotal = [0-9]* kB$' '^VmRSS = [0-9]* kB$' ' E libwardline: et size: [0-9]*$'
figures=$text
show_new "event buffer" events 1
expect '^event [0-9]*: id 89, [^,]*, [0-9]* bytes$' 'brand         "acme"$' \
  'device        "anvil"$' 'release       "15"$' 'build_type    "user"$' \
  'tags          "release-keys"$' '= "mem_sample" (string)$'
expect_figures "$figures"
