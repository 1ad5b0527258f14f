#!/usr/bin/env bash
# A project outside this tree builds against an installation that was moved, by CMake and by pkg-config, in C
# and in C++, and what it built runs; so does what docs/host_interface.md tells to do.
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
cc -std=c99 "$project/arrays.c" "${flags[@]}" -o arrays-in-c
c++ -std=c++11 "$project/arrays.cc" "${flags[@]}" -o arrays-in-cxx
./arrays-in-c
./arrays-in-cxx

# The program of docs/library.md, which prints what stands there.
root=$(dirname "$project")/../..
sed -n '/^```c$/,/^```$/{/^```/!p}' "$root/docs/library.md" >told.c
cc -std=c99 -Wall -Wextra -Wno-missing-field-initializers -Werror told.c "${flags[@]}" -o told-program
./told-program | tee told.out
grep -F "It prints \`$(cat told.out)\`" "$root/docs/library.md"

# The lines of docs/host_interface.md, as they stand there. They want a way without a blank.
cp -r "$installed" "$folder/plain"
export PKG_CONFIG_PATH="$folder/plain/$libdir/pkgconfig" LD_LIBRARY_PATH="$folder/plain/$libdir"
mkdir told
cd told
cp "$root/examples/sample_host.c" program.c
cp "$root/examples/own_host.cc" "$project/module.c" .
sed -nE 's/^    ((cc|c\+\+|module=|\.\/own_host)( |\$).*)/\1/p' "$root/docs/host_interface.md" >lines
[ "$(wc -l <lines)" = 5 ] || { echo "other lines than five:" >&2; cat lines >&2; exit 1; }
. ./lines
./program "$module"
[ -e module.so ] || { echo "no module was built" >&2; exit 1; }
{ echo 'cmake_minimum_required(VERSION 3.25)' && echo 'project(told C)' &&
  sed -n '/^```cmake$/,/^```$/{/^```/!p}' "$root/docs/host_interface.md"; } >CMakeLists.txt
"$cmake" -S . -B by-cmake -DCMAKE_PREFIX_PATH="$folder/plain" >log || { cat log; exit 1; }
"$cmake" --build by-cmake >log || { cat log; exit 1; }
by-cmake/program "$module"
echo "built and run in C and C++, found by CMake and by pkg-config, as the documents tell"
