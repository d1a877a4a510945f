#!/usr/bin/env bash
# Compiles the README's C and C++ examples: readme_test.sh README INCLUDE-FOLDER CC CXX
set -euo pipefail

readme=$1 include=$2 cc=$3 cxx=$4

example() { # example LANGUAGE: the README's block of that language
  sed -n "/^\`\`\`$1\$/,/^\`\`\`\$/p" "$readme" | grep -v '^```'
}

example cpp | "$cxx" -std=c++20 -Wall -Wextra -Werror -fsyntax-only -I "$include" -x c++ -
example c | "$cc" -std=c11 -Wall -Wextra -Werror -fsyntax-only -I "$include" -x c -
