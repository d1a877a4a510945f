# What the tests of wardlinectl share: each sources this inside a device, with $build set to the build
# folder, and works in a folder of its own.

# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/../support/expect.sh"

build=$(realpath "$build")
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT
cd "$work"
unset NO_COLOR

wardlinectl() { "$build/run" "$build/wardlinectl" "$@"; }
devicectl() { "$build/run" "$build/host/devicectl" "$@"; }

# Bytes, written as in C: bytes '\x08\x02'.
bytes() { printf '%b' "$1"; }

# Runs wardlinectl; what it wrote and its exit code are in $out, $err and $code.
run() { # run ARG...
  code=0
  wardlinectl "$@" >out 2>err || code=$?
  out=$(<out) err=$(<err)
}

# The same, and what it should have written and ended with.
expect_run() { # expect_run WHAT CODE OUT ERR ARG...
  run "${@:5}"
  expect "$1: exit code" "$2" "$code"
  expect "$1: standard output" "$3" "$out"
  expect "$1: standard error" "$4" "$err"
}

# Waits until a command succeeds, for a minute at most.
await() { # await COMMAND...
  local deadline=$((SECONDS + 60)) never
  exec {never}<> <(:)
  until "$@"; do
    [ $SECONDS -lt $deadline ] || { expect "await $*" true timeout; conclude ''; }
    read -r -t 0.02 _ <&"$never" || true
  done
  exec {never}>&-
}
