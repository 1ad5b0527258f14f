#!/usr/bin/env bash
# A project outside this tree builds against an installation that was moved, by CMake and by pkg-config, in C
# and in C++, and what it built runs.
#   outside_project_test.sh CMAKE BUILD-FOLDER LIBRARY-FOLDER
set -euo pipefail
cmake=$1 build=$2 libdir=$3
project=$(cd "$(dirname "$0")" && pwd)/project
. "$(dirname "$0")/install_into.sh"

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
install_into "$cmake" "$build" "$folder/first"
mv "$folder/first" "$folder/second place"
installed="$folder/second place"
cd "$folder"

# Nothing in it knows where it was, or where it was built.
if grep -rIl -e "$folder/first" -e "$build" "$installed"; then
  echo "these name another place" >&2
  exit 1
fi

# The folder for headers, which a system shares, has one entry more.
[ "$(ls "$installed/include")" = plx ] || { ls "$installed/include" >&2; exit 1; }

"$cmake" -S "$project" -B by-cmake -DCMAKE_PREFIX_PATH="$installed" >log || { cat log; exit 1; }
"$cmake" --build by-cmake >log || { cat log; exit 1; }
(cd by-cmake && ctest --output-on-failure --no-tests=error)

# A version that is not there is not found.
cp -r "$project" newer
sed -i 's/find_package(plx 0.1/find_package(plx 99/' newer/CMakeLists.txt
if "$cmake" -S newer -B by-cmake-newer -DCMAKE_PREFIX_PATH="$installed" >log 2>&1; then
  echo "version 99 was found" >&2
  exit 1
fi
grep -q 'version: 0.1' log || { cat log; exit 1; }

export PKG_CONFIG_PATH="$installed/$libdir/pkgconfig"
# The way there has a blank in it, which pkg-config escapes for a shell.
eval "flags=($(pkg-config --cflags --libs plx))"
eval "module=$(pkg-config --variable=module plx)"
export LD_LIBRARY_PATH="$installed/$libdir"
cc -std=c11 "$project/host.c" "${flags[@]}" -o in-c
c++ -std=c++17 "$project/host.cc" "${flags[@]}" -o in-cxx
./in-c "$module"
./in-cxx "$module"
echo "built and run in C and C++, found by CMake and by pkg-config"
