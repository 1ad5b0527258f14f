#!/usr/bin/env bash
# The Debian packages: what they say of themselves, that lintian finds nothing, and that they install, run, serve
# another project and are removed without a trace, in a root folder of its own with a package database of its own.
#   debian_package_test.sh CMAKE CPACK BUILD-FOLDER VERSION
set -euo pipefail
cmake=$1 cpack=$2 build=$3 version=$4
source=$(cd "$(dirname "$0")/../.." && pwd)
for tool in dpkg dpkg-deb dpkg-shlibdeps dpkg-gensymbols; do
  command -v "$tool" >/dev/null || { echo "skipped: no $tool here"; exit 77; }
done

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
"$cpack" --config "$build/CPackConfig.cmake" -B "$folder/packed" >log 2>&1 || { cat log; exit 1; }

expect() {
  if [ "$1" != "$2" ]; then
    printf 'expected: %s\ngot:      %s\n' "$2" "$1" >&2
    exit 1
  fi
}
fail() { echo "$*" >&2; exit 1; }

names=(libplx-host1 libplx1 libplx-dev plx)
with_python=
if [ -e "$build/python/plx/_plx.abi3.so" ]; then
  names+=(python3-plx)
  with_python=1
fi
triplet=$(dpkg-architecture -qDEB_HOST_MULTIARCH)
libraries=usr/lib/$triplet
debian_version=$(dpkg-parsechangelog -l"$source/packaging/debian/changelog" --show-field Version)
expect "${debian_version%-*}" "$version"
expect "$(cd packed && echo *.deb)" "$(printf '%s\n' "${names[@]}" |
  sed "s/\$/_${debian_version}_$(dpkg --print-architecture).deb/" | LC_ALL=C sort | xargs)"
package() { echo "$folder/packed/$1_${debian_version}"_*.deb; }

# Each says what it is, and depends on the others in exactly its own version, or in one that has its symbols.
for name in "${names[@]}"; do
  expect "$(dpkg-deb --field "$(package "$name")" Package)" "$name"
  expect "$(dpkg-deb --field "$(package "$name")" Version)" "$debian_version"
  dpkg-deb --extract "$(package "$name")" "content-$name"
  dpkg-deb --control "$(package "$name")" "control-$name"
  (cd "content-$name" && md5sum --check --quiet "../control-$name/md5sums")
  for document in copyright changelog.gz changelog.Debian.gz; do
    [ -s "content-$name/usr/share/doc/$name/$document" ] || fail "$name has no $document"
  done
done
depends() { dpkg-deb --field "$(package "$1")" Depends; }
case "$(depends plx)," in *"libplx-host1 (= $debian_version),"*) ;; *) fail "plx: $(depends plx)" ;; esac
expect "$(depends libplx-dev)" \
  "libplx1 (= $debian_version), libplx-host1 (= $debian_version), plx (= $debian_version)"
if [ -n "$with_python" ]; then
  for needed in "plx (= $debian_version)" "libplx1 (>= 0.1.0)" "python3 (>= 3.11)" python3-numpy; do
    case ", $(depends python3-plx)," in *", $needed,"*) ;; *) fail "python3-plx: $(depends python3-plx)" ;; esac
  done
fi

# A library's package has that library alone, with its symbols; what is needed for building is in another.
for library in libplx-host1:libplx_host:100 libplx1:libplx:10; do
  IFS=: read -r name file least <<<"$library"
  expect "$(cd "content-$name" && find . -name '*.so*' | LC_ALL=C sort | xargs)" \
    "./$libraries/$file.so.1 ./$libraries/$file.so.1.$version"
  expect "$(cat "control-$name/shlibs")" "$file 1 $name (>= 0.1.0)"
  exported=$(nm -D --defined-only --format=just-symbols "content-$name/$libraries/$file.so.1" | wc -l)
  expect "$(grep -c '@Base ' "control-$name/symbols")" "$exported"
  [ "$exported" -ge "$least" ]
done
expect "$(cd content-libplx-dev/usr/include && find . -maxdepth 2 -mindepth 1 | LC_ALL=C sort | xargs)" \
  "./plx ./plx/host ./plx/plx"

# Every shared library that a file in them needs comes from a package that this file's package depends on.
checked=0
for name in libplx-host1 libplx1 plx; do
  while read -r library; do
    [ -e "content-libplx-host1/$libraries/$library" ] && continue
    path=$(ldconfig -p | awk -v name="$library" '$1 == name && !found {print $NF; found = 1}')
    real=$(realpath "$path")
    # Packages name files of /usr/lib with or without /usr.
    owner=$({ dpkg -S "$real" || dpkg -S "${real#/usr}"; } 2>/dev/null | sed -n '1s/:.*//p')
    case ", $(depends "$name")" in
      *", $owner "*) checked=$((checked + 1)) ;;
      *) fail "$name: $library of ${owner:-no package} is not depended on" ;;
    esac
  done < <(find "content-$name" \( -name '*.so*' -o -path '*/bin/*' \) -type f -exec objdump -p {} + |
    awk '/NEEDED/ {print $2}' | sort -u)
done
[ "$checked" -ge 8 ]

# Binaries are stripped and look for libraries in the system's folders alone.
binaries=0
while IFS= read -r binary; do
  binaries=$((binaries + 1))
  ! readelf -dW "$binary" | grep -E '\((RPATH|RUNPATH)\)' || fail "$binary has a path of its own"
  ! readelf -SW "$binary" | grep -E ' \.(symtab|comment|debug_info) ' || fail "$binary is not stripped"
done < <(find content-* \( -name '*.so*' -o -path '*/bin/*' \) -type f)
expect "$binaries" $((4 + ${with_python:-0}))

# Manual pages are compressed, and read as before.
pages=0
for page in content-*/usr/share/man/man?/*.gz; do
  pages=$((pages + 1))
  gzip -dc "$page" | cmp - "$build/man/$(basename "${page%.gz}")"
done
expect "$pages" "$(find "$build/man" -maxdepth 1 -name '*.[13]' | wc -l)"
expect "$(find content-* -path '*/man/*' -type f -not -name '*.gz')" ""

if command -v lintian >/dev/null; then
  # Root reads packages as anybody does.
  lintian --allow-root --fail-on error,warning packed/*.deb 2>&1 | tee log
  expect "$(grep -cE '^[EW]: ' log || true)" 0
  echo "lintian found no error and nothing to warn of"
else
  echo "not asked: lintian, which is not installed (scripts/install-packages lintian)"
fi

# Installed, run and removed. dpkg's own root keeps the machine's database out of it; dependencies on other packages
# cannot be met there. A user who is not root has files of its own only under fakeroot.
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(fakeroot)
root=$folder/root
mkdir -p "$root/var/lib/dpkg/"{info,updates,triggers} own-path
: >"$root/var/lib/dpkg/status"
# Should a script of a package call ldconfig, it is to leave this machine's cache alone.
printf '#!/bin/sh\necho "$DPKG_MAINTSCRIPT_NAME" >>%q\n' "$folder/ldconfig-called" >own-path/ldconfig
chmod +x own-path/ldconfig
dpkg_there=(env "PATH=$folder/own-path:$PATH" "${as_root[@]}" dpkg --root="$root" --log=/dev/null
  --force-depends --force-not-root --force-script-chrootless)
"${dpkg_there[@]}" -i packed/*.deb >log 2>&1 || { cat log; exit 1; }
for name in "${names[@]}"; do
  expect "$(dpkg --root="$root" -s "$name" | grep ^Status)" "Status: install ok installed"
done
# In its real place the loader knows the folder.
export LD_LIBRARY_PATH=$root/$libraries
expect "$("$root/usr/bin/plx" set month 13 2014-05-10T08:30)" 2015-01-10T08:30:00
"$cmake" -S "$source/tests/install/project" -B outside -DCMAKE_PREFIX_PATH="$root/usr" \
  -DCMAKE_LIBRARY_ARCHITECTURE="$triplet" >log || { cat log; exit 1; }
grep -q "plx_DIR:PATH=$root/$libraries/cmake/plx" outside/CMakeCache.txt || fail "another plx was found"
"$cmake" --build outside >log || { cat log; exit 1; }
(cd outside && ctest --output-on-failure --no-tests=error >log || { cat log; exit 1; })
if [ -n "$with_python" ]; then
  python=(env "PYTHONPATH=$root/usr/lib/python3/dist-packages" PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 -W ignore -c)
  expect "$("${python[@]}" "import numpy as np, plx
print(plx.set(np.datetime64('2014-05-10T08:30'), 'month', 13), plx.versions().module)")" \
    "2015-01-10T08:30 $root/$libraries/plx/plx_datetime.so"
fi
unset LD_LIBRARY_PATH

installed=$(find "$root/usr" -type f | wc -l)
"${dpkg_there[@]}" --purge "${names[@]}" >log 2>&1 || { cat log; exit 1; }
left=$(find "$root" -not -path "$root/var/lib/dpkg*" -not -type d)
expect "$left" ""
[ ! -e ldconfig-called ] || fail "scripts call ldconfig, which dpkg's trigger does"
echo "$installed files installed and removed, $checked needs of libraries checked"
