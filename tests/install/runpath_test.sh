#!/usr/bin/env bash
# Where each binary looks for its libraries, in the build folder and in an installation: beside itself or in a
# folder that is named. An empty entry means the current directory, where anybody may have put a library.
#   runpath_test.sh CMAKE BUILD-FOLDER
set -euo pipefail
cmake=$1 build=$2
. "$(dirname "$0")/install_into.sh"

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
install_into "$cmake" "$build" "$folder/installed"
with_python=
if [ -e "$build/plx_installed_extension/_plx.abi3.so" ]; then
  with_python=1
  "$cmake" --install "$build" --prefix "$folder/installed" --component python >"$folder/log"
fi

# check FOLDER PATTERN: entries of all binaries below FOLDER are of PATTERN. Tells how many binaries and entries.
check() {
  local binaries=0 entries=0 file line entry
  while IFS= read -r -d '' file; do
    [ "$(head -c 4 "$file" | tr -d '\0')" = $'\x7fELF' ] || continue
    binaries=$((binaries + 1))
    while IFS= read -r line; do
      case $line in *'(RPATH)'*) echo "$file has an RPATH, which overrides LD_LIBRARY_PATH" >&2; exit 1 ;; esac
      line=${line#*[} line=${line%]*}
      # A last entry that is empty ends in a colon; with one more it is read as the others are.
      while IFS= read -r -d : entry; do
        entries=$((entries + 1))
        [[ $entry =~ $2 ]] || { echo "$file: its RUNPATH \"$line\" has the entry \"$entry\"" >&2; exit 1; }
      done <<<"$line:"
    done < <(readelf --dynamic --wide "$file" | grep -E '\((RPATH|RUNPATH)\)')
  done < <(find "$1" -name CMakeFiles -prune -o -type f \( -perm -u+x -o -name '*.so*' \) -print0)
  echo "$binaries binaries, $entries entries below ${1##*/}"
  checked_binaries=$binaries checked_entries=$entries
}

# What is linked for its place in an installation, and Python's extension, stand beside the folder for programs.
check "$build" '^(/.+|\$ORIGIN(/.+)?)$'
[ "$checked_binaries" -ge $((8 + ${with_python:-0} * 4)) ]
[ "$checked_entries" -ge $((4 + ${with_python:-0} * 3)) ]
# The program, two libraries, the module and Python's extension; of these the program, libplx and the extension have
# libraries of the installation to find.
check "$folder/installed" '^\$ORIGIN(/\.\./[^:]+)?$'
[ "$checked_binaries" -eq $((4 + ${with_python:-0})) ] && [ "$checked_entries" -eq $((2 + ${with_python:-0})) ]
"$folder/installed/bin/plx" set month 13 2014-05-10 >"$folder/log"
grep -qx 2015-01-10 "$folder/log"
