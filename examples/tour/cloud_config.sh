#!/usr/bin/env bash
# Delivers configurations to a subscriber, in a device. Run it inside a device:
#
#   scripts/device --temporary examples/tour/cloud_config.sh build/host
build=$1
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/show.sh"
directory=/data/syslog/settings
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

deliver() { # deliver VERSION TEXT
  section "version $1 is delivered"
  echo "$2"
  echo "$2" >"$work/version$1.json"
  text=$(wardlinectl config put "$work/version$1.json" 2>&1) || fail "$text"
  echo "$text"
}

# Shows what the subscriber prints, until each pattern was in it; it stays in $text.
show_received() { # show_received PATTERN...
  local line pattern missing=1
  section "the subscriber"
  text=
  while [ -n "$missing" ]; do
    IFS= read -r -t 60 -u "$received" line || fail "the subscriber did not print '$missing': $text"
    echo "$line"
    text+=$line$'\n'
    missing=
    for pattern in "$@"; do
      grep -q -- "$pattern" <<<"$text" || missing=$pattern
    done
  done
}

tour "Cloud configuration"

title "1. A first configuration is delivered, and a process subscribes"
deliver 1 '{"version": 1, "threadtrackConfig": {"options": {"mode": "full", "depth": 5}},
 "processesConfig": {"enable": true, "interval": 30, "processes": [
  {"name": "zygote", "description": "parent of all apps"},
  {"name": "system_server", "description": "the framework"}]}}'
expect ' did not exist: made it, and wrote it once more$'
coproc subscriber { wardlinectl config watch --changes 3 2>&1; }
pid=$subscriber_PID
trap 'kill "$pid" 2>/dev/null || true; rm -rf "$work"' EXIT
exec {received}<&"${subscriber[0]}"
show_received '^I libwardline: Successfully initialized inotify for file: /data/syslog/settings$' \
  'entries, .* options$'
expect ' version 1$' 'processes     enabled, interval 30$' \
  'process       "system_server": "the framework"$' 'option        "depth" = "5"$' \
  ' 2 process entries, 2 options$'

title "2. A second one. Processes accumulate and options merge, deliberately"
deliver 2 '{"version": 2, "threadtrackConfig": {"options": {"mode": "off"}},
 "dmaMemInfoConfig": {"enable": true, "threshHold": 1048576, "interval": 60},
 "processesConfig": {"processes": [{"name": "surfaceflinger"}]}}'
expect '^delivered .*version2.json: '
show_received ' option "mode": "full" -> "off"$'
expect 'change, version 2$' '~ dmaMemInfoConfig.threshHold: 0 -> 1048576$' \
  '~ processesConfig.enable: true -> false$' '+ process "surfaceflinger": ""$'
! grep -- '  - ' <<<"$text" || fail 'something is gone'

title "3. One that would end every process that watches is turned away"
section "the check"
echo '{"version": -3}' >"$work/bad.json"
text=$(wardlinectl config put "$work/bad.json" 2>&1) && fail "it was delivered: $text"
echo "$text"
expect ' error: version is -3, and must be a number from 0 to 4294967295$' ' nothing is delivered; '

title "4. What the second one replaced comes back"
section "the roll back"
wardlinectl config rollback
show_received ' option "mode": "off" -> "full"$'
expect 'change, version 1$'

title "5. Another file is renamed over it: nobody notices. A write into that one is noticed"
echo '{"version": 4}' >"$directory/new"
mv "$directory/new" "$directory/stab_cloud_config.json"
deliver 5 '{"version": 5}'
show_received '~ version: 1 -> 5$'

wait "$pid" || fail "the subscriber failed: exit code $?"
