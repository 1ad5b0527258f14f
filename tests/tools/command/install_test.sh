#!/usr/bin/env bash
# Installs into a folder, moves it, and runs plx there: it finds its library and its module by itself.
#   install_test.sh CMAKE BUILD-FOLDER
set -euo pipefail
cmake=$1
build=$2

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
"$cmake" --install "$build" --prefix "$folder/first" >/dev/null
mv "$folder/first" "$folder/second place"
plx="$folder/second place/bin/plx"

expect() {
  if [ "$1" != "$2" ]; then
    printf 'expected: %s\ngot:      %s\n' "$2" "$1" >&2
    exit 1
  fi
}

cd /
expect "$("$plx" set month 13 2014-05-10T08:30)" 2015-01-10T08:30:00
expect "$("$plx" set hour 2 2014-03-09T12:50 --zone America/New_York)" 2014-03-09T03:50:00-04:00

for file in man/man1/plx.1 man/man1/plx-set.1 man/man3/plx.3 bash-completion/completions/plx \
  zsh/site-functions/_plx fish/vendor_completions.d/plx.fish; do
  [ -s "$folder/second place/share/$file" ] || { printf 'not installed: %s\n' "$file" >&2; exit 1; }
done

# Through a link, as package managers put programs into a path.
ln -s "$plx" "$folder/linked"
expect "$("$folder/linked" set month 13 2014-05-10T08:30)" 2015-01-10T08:30:00

module=$("$plx" --version | sed -n 's/^module  *\(.*\) (host interface .*/\1/p')
case $module in
  "$folder/second place/"*/plx/plx_datetime.so) ;;
  *) printf 'not the installed module: %s\n' "$module" >&2; exit 1 ;;
esac

# Without its module it says where it looked.
mv "$module" "$folder"
status=0
message=$("$plx" set month 13 2014-05-10 2>&1) || status=$?
expect "$status" 4
case $message in
  "plx: cannot find the module "*plx_datetime.so*) ;;
  *) printf 'not the expected message: %s\n' "$message" >&2; exit 1 ;;
esac
expect "$("$plx" set month 13 2014-05-10 --module "$folder/plx_datetime.so")" 2015-01-10
