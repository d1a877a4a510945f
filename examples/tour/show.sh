# What the tours share: each sources this inside a device, with $build set to the build folder. Shows
# what became of a report, and ends the tour when that is not what it should be.

set -Eeuo pipefail

declare -A shown  # How many records of a kind have been shown, or were there before.

fail() {
  echo "$(basename "$0"): $1" >&2
  exit 1
}
trap 'fail "a step failed: $BASH_COMMAND"' ERR

wardlinectl() { "$build/run" "$build/wardlinectl" "$@"; }
devicectl() { "$build/run" "$build/host/devicectl" "$@"; }
example() { "$build/run" "$build/examples/$1" "${@:2}"; }

tour() { printf '\n######## %s\n' "$1"; }
title() { printf '\n==== %s\n' "$1"; }
section() { printf '\n%s\n' "-- $1"; }

count_records() { wardlinectl "$1" | grep -c '^[a-z]' || true; }
shown[driver]=$(count_records driver)
shown[events]=$(count_records events)

# Runs a command and shows its words and the library's log lines, which stay in $text.
with_log() {
  section "log"
  text=$("$@" 2>&1) || fail "$* failed: $text"
  echo "${text:-none}"
}

# Shows the records of a kind, driver or events, that are new since the last call; they stay in $text,
# in JSON too, where no text is broken over lines.
show_new() { # show_new HEADING KIND EXPECTED-COUNT
  section "$1"
  text=$(wardlinectl "$2" --hex --from "${shown[$2]}")
  [ "$(grep -c '^[a-z]' <<<"$text" || true)" = "$3" ] ||
    fail "expected $3 new records from wardlinectl $2, got: $text"
  echo "${text:-none}"
  text+=$'\n'$(wardlinectl "$2" --json --from "${shown[$2]}")
  shown[$2]=$((shown[$2] + $3))
}

# Ends the tour unless each pattern is in what was shown last.
expect() { # expect PATTERN...
  local pattern
  for pattern in "$@"; do
    grep -q -- "$pattern" <<<"$text" || fail "no '$pattern' in: $text"
  done
}
