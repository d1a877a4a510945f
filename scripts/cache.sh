# shellcheck shell=bash
# What the scripts share that keep in a cache what takes long to fetch or to build; they source this.
# The cache is ${XDG_CACHE_HOME:-~/.cache}/libwardline; each of its folders may be removed at any time.

cache=${XDG_CACHE_HOME:-${HOME:?}/.cache}/libwardline
[[ $cache != *[[:space:]]* ]] || {
  echo "$0: compilers cannot take the blank in $cache; set XDG_CACHE_HOME to another folder" >&2
  exit 1
}

# A name's last part that stands for what its folder is made of: standard input.
fingerprint() { sha256sum | head -c 12; }

# Prints a folder of the cache. Unless it is there, FUNCTION makes it first: as $work/made, in a folder
# $work that it may fill with what it needs for that.
print_cached() { # print_cached NAME FUNCTION
  folder=$cache/$1
  if [ ! -d "$folder" ]; then
    mkdir -p "$cache"
    work=$(mktemp -d -p "$cache")
    exec {messages}>&2
    trap finish_cached EXIT
    "$2" >"$work/log" 2>&1
    # Another call may have been faster; what it made is as good.
    mv --no-target-directory "$work/made" "$folder" 2>/dev/null || [ -d "$folder" ]
  fi
  echo "$folder"
}

finish_cached() { # Standard error may lead to the log itself when this runs.
  [ -e "$folder" ] || { cat "$work/log"; echo "$0: cannot make $folder"; } >&"$messages" || true
  rm -rf "$work"
}
