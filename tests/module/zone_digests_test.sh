#!/usr/bin/env bash
# Offsets as texts give the recorded bits, whatever the compiler and the libraries: zone_digests_test.sh PROGRAM RECORDED
set -euo pipefail

result=$("$1" --offsets)
echo "$(wc -l <<<"$result") texts"
[ "$(wc -l <"$2")" -ge 19 ]
diff "$2" - <<<"$result"
