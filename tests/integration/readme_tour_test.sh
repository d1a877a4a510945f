#!/usr/bin/env bash
# Runs what the README shows of wardlinectl, and compares; inside a device:
#
#   readme_tour_test.sh README BUILD-FOLDER
set -euo pipefail
readme=$1 build=$2

wardlinectl() { "$build/run" "$build/wardlinectl" "$@"; }
shown=$(sed -n '/^    \$ wardlinectl/,/^[^ ]/p' "$readme" | sed -n 's/^    //p')
ran=$(while read -r line; do
  printf '$ %s\n' "$line"
  eval "$line" 2>&1 || true
done < <(sed -n 's/^\$ //p' <<<"$shown"))
diff <(echo "$shown") <(echo "$ran") || { echo 'FAILED: the README shows (<) something else than is (>)'; exit 1; }
echo "the README shows what $(grep -c '^\$' <<<"$shown") commands print"
