#!/usr/bin/env bash
# Crashes programs in a device and shows all that the library did about each crash. Run it
# inside a device:
#
#   scripts/device --temporary examples/tour/crash_road.sh build/host
build=$1
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/show.sh"
kernel=/proc/sys/kernel

# The kernel's switch has the decision; whether the name may dump core again is what is shown.
show_coredump_decision() { # show_coredump_decision NAME EXPECTED-SWITCH
  local disable verdict=refused
  disable=$(cat "$kernel/coredump_disable")
  [ "$disable" = "$2" ] || fail "coredump_disable is $disable, expected $2"
  [ "$disable" = 1 ] || verdict=allowed
  section "core dump $verdict; what is decided the next time"
  text=$(wardlinectl coredump "$1")
  echo "$text"
  expect '^  policy word   1: one core dump for each name$' 'is "1"$' '^  decision      refused$'
}

show_records() { # show_records EXPECTED-COUNT
  show_new "driver record" driver "$1"
  show_new "stability event" events "$1"
}

show_latch() { # show_latch EXPECTED-VALUE
  section "system-killed latch, and what cause 5 would do now"
  text=$(wardlinectl notify killed --type 5 --pid 1000 --dry-run)
  echo "$text"
  expect "^the latch sys.stab.system_killed is $1\$"
}

crash() { # crash NAME WAY EXPECTED-SWITCH EXPECTED-LATCH
  with_log example crash_handler "$build/run" --as "$1" "$build/examples/victim" "$2"
  show_coredump_decision "$1" "$3"
  show_records 1
  show_latch "$4"
}

killed() { # killed CAUSE EXPECTED-RECORDS EXPECTED-LATCH
  with_log example system_killed "$1" 1000
  show_records "$2"
  show_latch "$3"
}

tour "Native crashes, and kills of system_server and zygote"
echo 1 >"$kernel/coredump_trim_flag"

title "1. A program reads through a bad pointer. One core dump for each name: this one is allowed"
crash /vendor/bin/victim segv 0 unset

title "2. The same program crashes again. Its core dump is used up: refused"
crash /vendor/bin/victim segv 1 unset

title "3. system_server is aborted with the kernel's signal code, 128 (bit 10 of the flags)"
crash system_server abort-by-kernel 0 2

title "4. system_server was killed, cause 4. The latch holds the crash already: nothing is reported"
killed 4 0 2

title "5. Cause 6 clears the latch"
killed 6 0 unset

title "6. Cause 6 again, with the latch clear: zygote is reported"
killed 6 1 unset

title "7. Cause 4 with the latch clear: system_server is reported, the latch set"
killed 4 1 4
