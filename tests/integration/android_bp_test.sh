#!/usr/bin/env bash
# Compares the source lists of Android.bp with those of CMake:
#
#   android_bp_test.sh PROJECT [MODULE SOURCES]...    SOURCES: "a.cpp;b.cpp", in any order
set -euo pipefail

cd "$1"
shift
failures=0

sources_of() { # sources_of MODULE: its srcs in Android.bp
  awk -v name="\"$1\"," '
    $1 == "name:" { inside = $2 == name }
    inside && $1 == "srcs:" { listed = 1 }
    listed { while (match($0, /"[^"]*"/)) {
      print substr($0, RSTART + 1, RLENGTH - 2); $0 = substr($0, RSTART + RLENGTH) } }
    listed && /\]/ { exit }' Android.bp | sort
}

modules=()
while [ $# -gt 0 ]; do
  modules+=("$1")
  for source in $(sources_of "$1"); do
    [ -f "$source" ] || { echo "FAILED: $1: there is no $source"; failures=1; }
  done
  diff <(sources_of "$1") <(tr ';' '\n' <<<"$2" | sort) ||
    { echo "FAILED: $1 has other sources in Android.bp (<) than in CMake (>)"; failures=1; }
  shift 2
done
diff <(grep -A 1 -E '^cc_(library|test|benchmark|fuzz)' Android.bp | sed -n 's/.*name: "\(.*\)",/\1/p' | sort) \
  <(printf '%s\n' "${modules[@]}" | sort) ||
  { echo 'FAILED: Android.bp has other modules (<) than were compared (>)'; failures=1; }
# Whatever else it names by a path, "a/b.h" or "a.txt", is there too.
while read -r path; do
  compgen -G "$path" >/dev/null || { echo "FAILED: Android.bp names $path, which is not there"; failures=1; }
done < <(grep -o '"[^"]*\(/\|\.txt\)[^"]*"' <(grep -v '^ *//' Android.bp) | tr -d '"')
[ $failures = 0 ] && echo 'Android.bp builds what CMake builds'
