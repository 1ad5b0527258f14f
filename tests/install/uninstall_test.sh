#!/usr/bin/env bash
# `cmake --build BUILD --target uninstall` takes away what was installed, and leaves what others put there.
#   uninstall_test.sh CMAKE BUILD-FOLDER
set -euo pipefail
cmake=$1 build=$2
uninstall=$(dirname "$0")/../../cmake/uninstall.cmake

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# Installs by a copy of the build folder's script that writes its manifest elsewhere: the build folder's own manifest
# is of somebody's installation, and stays as it is.
script=$(<"$build/cmake_install.cmake")
elsewhere=${script//"$build/\${CMAKE_INSTALL_MANIFEST}"/"$folder/\${CMAKE_INSTALL_MANIFEST}"}
[ "$elsewhere" != "$script" ] || { echo "$build/cmake_install.cmake writes no manifest" >&2; exit 1; }
printf '%s\n' "$elsewhere" >"$folder/install.cmake"
manifest=$folder/install_manifest.txt

# check PREFIX FOREIGN...: what is left of an installation is the files of others, in folders that are shared or ours.
check() {
  local prefix=$folder/$1 installed file
  shift
  for file; do
    mkdir -p "$(dirname "$prefix/$file")"
    touch "$prefix/$file"
  done
  (cd "$prefix" && find . -type f | sort) >"$folder/before"
  [ "$(wc -l <"$folder/before")" -eq $# ]

  "$cmake" "-DCMAKE_INSTALL_PREFIX=$prefix" -P "$folder/install.cmake" >"$folder/log" ||
    { cat "$folder/log"; exit 1; }
  installed=$(wc -l <"$manifest")
  [ "$installed" -ge 30 ] || { echo "only $installed files were installed" >&2; exit 1; }
  "$cmake" "-DMANIFEST=$manifest" -P "$uninstall" >"$folder/log" 2>&1 || { cat "$folder/log"; exit 1; }
  (cd "$prefix" && find . -not -type d | sort) >"$folder/after"
  diff "$folder/before" "$folder/after"
  # Folders that only plx has are gone, but for those that hold a file of others.
  (cd "$prefix" && find . -type d \( -name 'plx*' -o -name host \) -empty) >"$folder/left"
  [ ! -s "$folder/left" ] || { echo "left without a file: $(cat "$folder/left")" >&2; exit 1; }
  echo "$installed files installed below ${prefix##*/} and removed, $# of others left"
}

check prefix bin/other share/doc/other/README
# Brackets, of which patterns of names are made.
check 'pre[x]' bin/other share/doc/plx/mine share/doc/plx/docs/mine include/plx/.mine
check 'one [x' share/doc/plx/mine

if "$cmake" "-DMANIFEST=$folder/none" -P "$uninstall" >"$folder/log" 2>&1; then
  echo "nothing was installed, and removing it succeeded" >&2
  exit 1
fi
