# What tests of scripts share: each sources this, expects, and concludes.

failures=0

expect() { # expect WHAT EXPECTED ACTUAL
  [ "$2" = "$3" ] && return
  printf 'FAILED: %s\n  expected: %s\n  actual:   %s\n' "$1" "$2" "$3"
  failures=$((failures + 1))
}

expect_match() { # expect_match WHAT PATTERN ACTUAL
  # shellcheck disable=SC2053  # A pattern, on purpose.
  [[ $3 == $2 ]] || expect "$1" "$2" "$3"
}

expect_end() { # expect_end WHAT EXPECTED-CODE PID: waits for a process that this script started
  local code=0
  wait "$3" 2>/dev/null || code=$?
  expect "$1" "$2" "$code"
}

status() { # status COMMAND...: prints its exit code
  local code=0
  "$@" >/dev/null 2>&1 || code=$?
  echo "$code"
}

conclude() { # conclude TEXT: ends the test, with the text when nothing has failed
  [ $failures = 0 ] || exit 1
  echo "$1"
}
