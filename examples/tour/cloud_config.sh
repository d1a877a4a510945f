#!/usr/bin/env bash
# Delivers configurations to a subscriber, in a device. Run it inside a device:
#
#   scripts/device --temporary examples/tour/cloud_config.sh build/host
build=$1
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/show.sh"
directory=/data/syslog/settings
file=$directory/stab_cloud_config.json

# Writes as a server side must: into the file that is there, in one write, without truncation, filled
# up with spaces where the new text is shorter.
deliver() { # deliver TEXT
  local size=0
  [ ! -e "$file" ] || size=$(stat --format %s "$file")
  section "the server delivers"
  echo "$1"
  printf '%-*s' "$size" "$1" | dd of="$file" conv=notrunc bs=64k iflag=fullblock status=none
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

title "1. A process subscribes, and takes the configuration that is there"
deliver '{"version": 1, "threadtrackConfig": {"options": {"mode": "full", "depth": 5}},
 "processesConfig": {"enable": true, "interval": 30, "processes": [
  {"name": "zygote", "description": "parent of all apps"},
  {"name": "system_server", "description": "the framework"}]}}'
coproc subscriber { example config_subscriber 2 2>&1; }
pid=$subscriber_PID
trap 'kill "$pid" 2>/dev/null || true' EXIT
exec {received}<&"${subscriber[0]}"
show_received ' I libwardline: Successfully initialized inotify for file: /data/syslog/settings$' \
  'entries, .* options$'
expect '^configuration, version 1$' 'processes     on, interval 30$' \
  'process       system_server: the framework$' 'option        depth = 5$' \
  '2 process entries, 2 options$'

title "2. The server changes it. Processes accumulate and options merge, deliberately"
deliver '{"version": 2, "threadtrackConfig": {"options": {"mode": "off"}},
 "dmaMemInfoConfig": {"enable": true, "threshHold": 1048576, "interval": 60},
 "processesConfig": {"processes": [{"name": "surfaceflinger"}]}}'
show_received 'entries, .* options$'
expect '^configuration, version 2$' 'DMA memory    on, threshold 1048576, interval 60$' \
  'processes     off, interval 0$' 'process       surfaceflinger$' \
  'process       zygote: parent of all apps$' 'option        depth = 5$' \
  'option        mode = off$' '3 process entries, 2 options$'

title "3. Another file is renamed over it: nobody notices. A write into that one is noticed"
echo '{"version": 3}' >"$directory/new"
mv "$directory/new" "$file"
deliver '{"version": 4}'
show_received 'entries, .* options$'
expect '^configuration, version 4$'

wait "$pid" || fail "the subscriber failed: exit code $?"
