#!/usr/bin/env bash
# `cmake --build BUILD --target uninstall` takes away what was installed, and leaves what was there before.
#   uninstall_test.sh CMAKE BUILD-FOLDER
set -euo pipefail
cmake=$1 build=$2
manifest=$build/install_manifest.txt

folder=$(mktemp -d)
# The list of somebody's own installation is put back.
[ ! -e "$manifest" ] || cp -p "$manifest" "$folder/manifest"
trap 'rm -f "$manifest"; [ ! -e "$folder/manifest" ] || cp -p "$folder/manifest" "$manifest"; rm -rf "$folder"' EXIT
mkdir -p "$folder/prefix/bin" "$folder/prefix/share/doc/other"
touch "$folder/prefix/bin/other" "$folder/prefix/share/doc/other/README"
(cd "$folder/prefix" && find . -type f | sort) >"$folder/before"

"$cmake" --install "$build" --prefix "$folder/prefix" >"$folder/log" || { cat "$folder/log"; exit 1; }
installed=$(wc -l <"$manifest")
[ "$installed" -ge 30 ] || { echo "only $installed files were installed" >&2; exit 1; }
"$cmake" -DMANIFEST="$manifest" -P "$(dirname "$0")/../../cmake/uninstall.cmake" 2>"$folder/log" ||
  { cat "$folder/log"; exit 1; }
(cd "$folder/prefix" && find . -not -type d | sort) >"$folder/after"
diff "$folder/before" "$folder/after"
left=$(find "$folder/prefix" -name 'plx*' -o -name host)
[ -z "$left" ] || { echo "left: $left" >&2; exit 1; }
echo "$installed files installed and removed"

if "$cmake" -DMANIFEST="$folder/none" -P "$(dirname "$0")/../../cmake/uninstall.cmake" >"$folder/log" 2>&1; then
  echo "nothing was installed, and removing it succeeded" >&2
  exit 1
fi
