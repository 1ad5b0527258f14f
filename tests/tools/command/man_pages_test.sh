#!/usr/bin/env bash
# Every command and the library have a manual page, and the readers of such pages find nothing wrong with them.
#   man_pages_test.sh PLX FOLDER-OF-PAGES FOLDER-OF-HEADERS
set -euo pipefail
plx=$1
folder=$2
headers=$3

failed=0
fail() {
  printf '%s\n' "$1" >&2
  failed=1
}

for command in $("$plx" --describe | awk -F '\t' '$1 == "command" { print $2 }'); do
  [ -s "$folder/plx-$command.1" ] || fail "no page for plx $command"
done
functions=0
for function in $(sed -n 's/^ *PA_API .*\b\(pa[A-Za-z0-9]*\)(.*/\1/p' "$headers"/{embed,pa_array}.h); do
  grep -q "\b$function(" "$folder/plx.3" || fail "plx(3) does not tell of $function"
  functions=$((functions + 1))
done
echo "functions of the library: $functions"
[ "$functions" -ge 20 ] || fail "too few functions were found in $headers"

checked=0
for page in "$folder"/*.[13]; do
  grep -q '^\.SH NAME' "$page" || fail "$page has no name"
  if grep -n '^@\|@[A-Z]*@' "$page"; then fail "$page was not filled"; fi
  if command -v mandoc >/dev/null; then
    warnings=$(mandoc -Tlint -W warning "$page" || true)
    [ -z "$warnings" ] || fail "$warnings"
    checked=$((checked + 1))
  fi
  if command -v man >/dev/null && man --version >/dev/null 2>&1; then
    warnings=$(LC_ALL=C.UTF-8 man --warnings -E UTF-8 -l -Tutf8 -Z "$page" 2>&1 >/dev/null)
    [ -z "$warnings" ] || fail "$page: $warnings"
    checked=$((checked + 1))
  fi
done
echo "checks by mandoc and man: $checked"
[ "$checked" -gt 0 ] || { echo "neither mandoc nor man is installed" >&2; exit 77; }
exit $failed
