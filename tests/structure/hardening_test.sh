#!/usr/bin/env bash
# What hardening leaves in programs and libraries, and in the objects that they are linked from: a flag that gets lost
# on its way to a target changes no result.
#   hardening_test.sh HARDENED BRANCHES-PROTECTED PROGRAM HOST-LIBRARY LIBRARY MODULE OBJECT...
# The first two are ON or OFF, as the build was configured.
set -euo pipefail
hardened=$1 branches=$2 program=$3 binaries=("${@:3:4}")
# Precompiled headers are no objects, and CMake may leave empty names.
mapfile -t objects < <(printf '%s\n' "${@:7}" | grep -vE '\.(gch|pch)$|^$')
if [ "$hardened" != ON ]; then
  echo "skipped: this build is not hardened (PLX_HARDENING)"
  exit 77
fi
faults=0
fault() {
  echo "$1" >&2
  faults=$((faults + 1))
}

for binary in "${binaries[@]}"; do
  dynamic=$(readelf --dynamic --wide "$binary")
  grep -qE '\(FLAGS_1\).*\bNOW\b' <<<"$dynamic" || fault "$binary: not all symbols are bound at the start (-z now)"
  grep -q GNU_RELRO <<<"$(readelf --program-headers --wide "$binary")" ||
    fault "$binary: what the loader has written stays writable (-z relro)"
  grep -q '__stack_chk_fail' <<<"$(nm --dynamic --undefined-only "$binary")" ||
    fault "$binary: no stack protector"
done
grep -qE '\(FLAGS_1\).*\bPIE\b' <<<"$(readelf --dynamic --wide "$program")" ||
  fault "$program: its address is fixed (-pie)"

lanes=0 others=0
for object in "${objects[@]}"; do
  case $object in
    */sets/*) lanes=$((lanes + 1)) ;;
    *) others=$((others + 1)) ;;
  esac
done
symbols=$(nm --print-file-name --undefined-only "${objects[@]}")
while IFS= read -r line; do
  fault "${line%%:*}: vector code with a stack protector"
done < <(grep -E '/sets/[^:]*: +U __stack_chk_fail' <<<"$symbols")
if [ "$branches" = ON ]; then
  # Of programs and libraries the linker takes this note away again where the C library's own start files lack it.
  while IFS= read -r object; do
    fault "$object: branches are not protected (-fcf-protection)"
  done < <(comm -23 <(printf '%s\n' "${objects[@]}" | sort) <(readelf --notes --wide "${objects[@]}" |
    awk '/^File: / { sub(/^File: /, ""); file = $0 } / IBT, SHSTK/ { print file }' | sort))
fi
fortified=$(grep -cE ': +U __[a-z]+_chk(@|$)' <<<"$symbols" || true)
[ "$fortified" -ge 1 ] || fault "no object calls a fortified function (_FORTIFY_SOURCE)"
# For each instruction set there are two sources of lanes.
[ "$lanes" -ge 2 ] && [ "$others" -ge 30 ] || fault "only $lanes objects of lanes and $others others"

echo "${#binaries[@]} binaries, $lanes objects of lanes, $others others, $fortified uses of fortified functions;" \
  "$faults faults"
[ "$faults" -eq 0 ]
