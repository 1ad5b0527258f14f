#!/usr/bin/env bash
# The host's headers compile alone in the first version of a language that they promise, and name the one they need
# in those before.
#   headers_test.sh C-COMPILER C++-COMPILER INCLUDE-FOLDER
set -euo pipefail
cc=$1 cxx=$2 include=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
checked=0
visited=' '

# accepts COMPILER STANDARD HEADER, and refuses COMPILER STANDARD HEADER NEEDED-STANDARD
accepts() {
  compile "$@" || { echo "$3 does not compile with -std=$2:" >&2; cat log >&2; exit 1; }
}
refuses() {
  if compile "$@" || ! grep -q "error.*this header needs .*-std=$4" log; then
    echo "$3 does not refuse -std=$2 and name $4:" >&2
    cat log >&2
    exit 1
  fi
}
compile() {
  local source=source.c
  [ "$1" = "$cc" ] || source=source.cc
  echo "#include <host/$3>" >"$source"
  checked=$((checked + 1))
  visited+="$3 "
  # Whoever compiles with all warnings gets none from the headers.
  "$1" "-std=$2" -Wall -Wextra -Werror -pedantic "-I$include" -fsyntax-only "$source" >log 2>&1
}

accepts "$cc" c90 components.h
accepts "$cxx" c++98 components.h
for header in pa_array.h embed.h module.h interface.h; do
  refuses "$cc" c90 "$header" c99
  accepts "$cc" c99 "$header"
  refuses "$cxx" c++98 "$header" c++11
  accepts "$cxx" c++11 "$header"
done
refuses "$cc" c11 pa_text.h c++11
refuses "$cxx" c++98 pa_text.h c++11
accepts "$cxx" c++11 pa_text.h
for header in i18n.h exception.h message_keys.h; do
  refuses "$cxx" c++14 "$header" c++17
  accepts "$cxx" c++17 "$header"
done

# Every header is among them.
for header in "$include"/host/*.h; do
  [[ $visited == *" ${header##*/} "* ]] || { echo "not checked: $header" >&2; exit 1; }
done
[ "$checked" -eq 27 ] || { echo "$checked compilations" >&2; exit 1; }
echo "$checked compilations"
