#!/usr/bin/env bash
# Whether programs and modules that were built against the host of the record still fit this one: its functions, their
# types, and the layouts, enumerators and virtual tables of what include/host declares.
#   abi_test.sh [--renew] LIBRARY-WITH-DEBUG-INFORMATION RECORD
set -euo pipefail
renew=
if [ "$1" = --renew ]; then
  renew=yes
  shift
fi
library=$1 record=$2

skip() {
  echo "skipped: $1"
  exit 77
}
command -v abidw abidiff >/dev/null || skip "there is no abidw or abidiff (package abigail-tools)"
[ "$(uname -m)" = x86_64 ] || skip "the record is of x86-64"

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
# What others declare is not the host's to keep, and differs between versions of the standard library and of Boost.
# Where it matters to a caller it still shows, in mangled names, sizes and offsets.
cat >"$folder/others" <<'EOF'
[suppress_type]
  source_location_not_regexp = include/host/
  drop = yes
EOF
abidw --suppressions "$folder/others" --exported-interfaces-only --drop-private-types --no-elf-needed \
  --no-show-locs --no-corpus-path --no-comp-dir-path --out-file "$folder/abi.xml" "$library"
# abidw up to 2.2 counts the hidden parameter by which a destructor knows whose it is, and later versions do not.
sed -i -E "/is-artificial='yes'/{n;/is-artificial='yes'/d}" "$folder/abi.xml"

# Without debug information abidw knows names alone, and finds no change in them.
types=$(grep -c "<function-decl name='pa[A-Z]" "$folder/abi.xml" || true)
[ "$types" -ge 20 ] || { echo "the types of $types functions are known: is $library built with -g?" >&2; exit 1; }
members=$(grep -c '<data-member' "$folder/abi.xml" || true)
[ "$members" -ge 2 ] || { echo "$members members of classes are known" >&2; exit 1; }

if [ "$renew" ]; then
  cp "$folder/abi.xml" "$record"
  echo "renewed $record"
  exit
fi
if ! abidiff "$record" "$folder/abi.xml"; then
  echo "the host's ABI is not that of the record; if it is meant to change: cmake --build BUILD --target renew_host_abi" >&2
  exit 1
fi
echo "the same $types functions of the C interface and $members members of classes"
