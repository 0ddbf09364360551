#!/usr/bin/env bash
# The real platform: builds the plug-in as Windows DLLs with Debian's
# mingw-w64, for x86_64 and for i686 (the plug-in's own target: the records'
# 32-bit layout, __stdcall exports). The x86_64 tests run under Wine; the i686
# build is compiled, linked and its export table checked (Debian 12 cannot
# install the 32-bit Wine here). Then acearc.exe makes, lists, tests and
# extracts plain and solid archives of a small tree under Wine, and archives
# cross between the Linux and the Windows build both ways.
#
# Run as root, Wine runs as "nobody": Windows refuses to write to read-only
# files even for an administrator, Wine only when the file system says so,
# and a test that went wrong could not reach beyond its own folders.
set -euo pipefail
cd "$(dirname "$0")/.."
started=$SECONDS
jobs=$(nproc)

packages=(g++-mingw-w64-i686 g++-mingw-w64-x86-64 wine64 g++ make cmake googletest libcli11-dev)
bash scripts/install-packages.sh "${packages[@]}"

export WINEDEBUG=-all
# Berlin's rules in the POSIX form, which Wine, its C runtime and glibc all read.
export TZ=CET-1CEST,M3.5.0,M10.5.0/3
prefix=$PWD/build/wine-prefix
wine=(wine)
if [ "$(id -u)" -eq 0 ]; then
  wine=(setpriv --reuid=nobody --regid=nogroup --clear-groups wine)
  mkdir -p "$prefix" && chown nobody:nogroup "$prefix"
fi
export WINEPREFIX=$prefix HOME=$prefix
emulator=$(IFS=';'; echo "${wine[*]}")

echo "==== Windows x86_64 build ===="
cmake -S . -B build/win64 --toolchain cmake/mingw-x86_64.cmake -DCMAKE_BUILD_TYPE=Release \
  -DACEPLUG_WERROR=ON "-DCMAKE_CROSSCOMPILING_EMULATOR=$emulator" >/dev/null
cmake --build build/win64 -j "$jobs"
echo "==== Windows i686 build ===="
cmake -S . -B build/win32 --toolchain cmake/mingw-i686.cmake -DCMAKE_BUILD_TYPE=Release \
  -DACEPLUG_WERROR=ON -DACEPLUG_BUILD_TESTS=OFF >/dev/null
cmake --build build/win32 -j "$jobs"

echo "==== export tables ===="
names() { sed -n '/global:/,/local:/p' "$1" | tr ' ;' '\n\n' | grep -E '^[A-Za-z_][A-Za-z0-9_]*$' | sort; }
exports() {
  "$1-objdump" -p "$2" | sed -n '/\[Ordinal\/Name Pointer\] Table/,/^$/p' | sed -n 's/^\s*\[ *[0-9]*\] //p' | sort
}
for triplet in x86_64-w64-mingw32:win64 i686-w64-mingw32:win32; do
  for module in aceplug.dll:src/plugin/exports.map UnAceV2.Dll:unace/exports.map; do
    dll=build/${triplet#*:}/bin/${module%:*}
    if ! diff <(names "${module#*:}") <(exports "${triplet%:*}" "$dll"); then
      echo "$dll: the export table is not the list in ${module#*:}" >&2
      exit 1
    fi
    echo "$dll: $(names "${module#*:}" | wc -l) exports, as listed"
  done
done

echo "==== Wine prefix ===="
"${wine[@]}" wineboot --init 2>/dev/null || true

echo "==== Windows x86_64 tests under Wine ===="
ctest --test-dir build/win64 -j "$jobs" --output-on-failure --timeout 1200

echo "==== round trip with acearc.exe, and across Linux and Windows ===="
cmake -S . -B build/native -DCMAKE_BUILD_TYPE=Release -DACEPLUG_WERROR=ON >/dev/null
cmake --build build/native -j "$jobs" --target acearc aceplug unacev2
work=$prefix/roundtrip
rm -rf "$work" && mkdir -p "$work/tree/docs/sub" "$work/tree/empty dir"
printf 'hello\n' >"$work/tree/a.txt"
seq 1 30000 >"$work/tree/docs/numbers.txt"
head -c 200000 /dev/urandom >"$work/tree/docs/sub/noise.bin"
: >"$work/tree/docs/empty.txt"
cp README.md "$work/tree/docs/sub/Read Me.md"
[ "$(id -u)" -ne 0 ] || chown -R nobody:nogroup "$work"
linux=$PWD/build/native/bin/acearc
windows=$PWD/build/win64/bin/acearc.exe
win() { (cd "$work" && "${wine[@]}" "$windows" "$@"); }
lin() { (cd "$work" && "$linux" "$@"); }
same() { diff -r "$work/tree" "$work/$1/tree" >/dev/null || { echo "$1 differs from the tree" >&2; exit 1; }; }
for kind in plain:"" solid:-s; do
  name=${kind%%:*} option=${kind#*:}
  win a -q $option "w-$name.ace" tree
  win l "w-$name.ace" >/dev/null
  win t -q "w-$name.ace"
  win x -q "w-$name.ace" -o "w-$name"
  same "w-$name"
  lin a -q $option "l-$name.ace" tree
  win x -q "l-$name.ace" -o "l-$name-on-windows" && same "l-$name-on-windows"
  lin x -q "w-$name.ace" -o "w-$name-on-linux" && same "w-$name-on-linux"
  cmp "$work/w-$name.ace" "$work/l-$name.ace" || { echo "$name: Windows and Linux wrote different archives" >&2; exit 1; }
  echo "$name: made, listed, tested and extracted under Wine; the same bytes as on Linux; each side extracts the other's"
done
rm -rf "$work"
echo "Windows builds pass in $((SECONDS - started)) s"
