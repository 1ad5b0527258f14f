#!/usr/bin/env bash
# The Debian package: what it says of itself, and that it installs, runs and is removed without a trace, in a
# root folder of its own with a package database of its own.
#   debian_package_test.sh CPACK BUILD-FOLDER VERSION
set -euo pipefail
cpack=$1 build=$2 version=$3
for tool in dpkg dpkg-deb dpkg-shlibdeps; do
  command -v "$tool" >/dev/null || { echo "skipped: no $tool here"; exit 77; }
done

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
"$cpack" --config "$build/CPackConfig.cmake" -B "$folder/packed" >log 2>&1 || { cat log; exit 1; }
package=$(ls packed/*.deb)

expect() {
  if [ "$1" != "$2" ]; then
    printf 'expected: %s\ngot:      %s\n' "$2" "$1" >&2
    exit 1
  fi
}
expect "$(dpkg-deb --field "$package" Package)" plx
expect "$(dpkg-deb --field "$package" Version)" "$version"
expect "$(dpkg-deb --field "$package" Architecture)" "$(dpkg --print-architecture)"

# Every shared library that a file in it needs comes from a package that it depends on, or from itself.
depends=$(dpkg-deb --field "$package" Depends)
echo "depends on: $depends"
dpkg-deb --extract "$package" content
checked=0
while read -r library; do
  [ -e "content/usr/lib/$library" ] && continue
  path=$(ldconfig -p | awk -v name="$library" '$1 == name {print $NF; exit}')
  real=$(realpath "$path")
  # Packages name files of /usr/lib with or without /usr.
  owner=$({ dpkg -S "$real" || dpkg -S "${real#/usr}"; } 2>/dev/null | head -1 | cut -d: -f1)
  case ", $depends" in
    *", $owner "*) checked=$((checked + 1)) ;;
    *) echo "$library of ${owner:-no package} is not depended on" >&2; exit 1 ;;
  esac
done < <(find content -name '*.so*' -type f -exec objdump -p {} + | awk '/NEEDED/ {print $2}' | sort -u)
[ "$checked" -ge 5 ]

# Installed, run and removed. dpkg's own root keeps the machine's database out of it; dependencies cannot be
# met there. A user who is not root has files of its own only under fakeroot.
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(fakeroot)
root=$folder/root
mkdir -p "$root/var/lib/dpkg/"{info,updates,triggers} own-path
: >"$root/var/lib/dpkg/status"
# The package's scripts call ldconfig, which is to leave this machine's cache alone.
printf '#!/bin/sh\necho "$DPKG_MAINTSCRIPT_NAME" >>%q\n' "$folder/ldconfig-called" >own-path/ldconfig
chmod +x own-path/ldconfig
dpkg_there=(env "PATH=$folder/own-path:$PATH" "${as_root[@]}" dpkg --root="$root" --log=/dev/null
  --force-depends --force-not-root --force-script-chrootless)
"${dpkg_there[@]}" -i "$package" >log 2>&1 || { cat log; exit 1; }
expect "$(dpkg --root="$root" -s plx | grep ^Status)" "Status: install ok installed"
expect "$("$root/usr/bin/plx" set month 13 2014-05-10T08:30)" 2015-01-10T08:30:00
installed=$(find "$root/usr" -type f | wc -l)
"${dpkg_there[@]}" --purge plx >log 2>&1 || { cat log; exit 1; }
left=$(find "$root" -not -path "$root/var/lib/dpkg*" -not -type d)
expect "$left" ""
expect "$(tr '\n' ' ' <ldconfig-called)" "postinst postrm "
echo "$installed files installed and removed, $checked libraries checked"
