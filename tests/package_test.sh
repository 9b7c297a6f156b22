#!/bin/bash
# Usage: package_test.sh BUILD_DIRECTORY
# Installs a build into a scratch prefix, builds both examples against it through CMake and through pkg-config, and
# looks into the Debian packages.
set -euo pipefail
build=$(realpath "$1")
examples=$(cd "$(dirname "$0")/../examples" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix
DESTDIR='' cmake --install "$build" --prefix "$prefix" >/dev/null
libraries=$(dirname "$(find "$prefix" -name 'libzopim6.so')")
export LD_LIBRARY_PATH=$libraries PKG_CONFIG_PATH=$libraries/pkgconfig

# A picture of one tile's size is enough for the contact sheet.
python3 - "$scratch/picture.png" <<'END'
import struct, sys, zlib
width, height = 96, 64
rows = b"".join(b"\0" + bytes((x * 2 + y + 60 * c) % 256 for x in range(width) for c in range(3)) for y in range(height))
def chunk(name, data):
    return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))
header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
with open(sys.argv[1], "wb") as file:
    file.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))
END

for example in first_steps contact_sheet; do
  echo "=== $example through CMake"
  cmake -S "$examples/$example" -B "$scratch/$example" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
  cmake --build "$scratch/$example" >"$scratch/log.txt" || { cat "$scratch/log.txt"; exit 1; }
done
echo "=== both through pkg-config"
# shellcheck disable=SC2046  # the flags are words
cc -std=c11 -o "$scratch/steps" "$examples/first_steps/first_steps.c" $(pkg-config --cflags --libs zopim6)
font=$(grep -o 'CONTACT_SHEET_FONT:[A-Z]*=.*' "$scratch/contact_sheet/CMakeCache.txt" | cut -d= -f2)
# shellcheck disable=SC2046
c++ -std=c++20 -o "$scratch/sheet" "-DCONTACT_SHEET_FONT=\"$font\"" "$examples"/contact_sheet/*.cpp \
  $(pkg-config --cflags --libs zopim6 libpng libtiff-4 freetype2)

"$scratch/first_steps/first_steps" >"$scratch/steps.txt"
"$scratch/steps" | diff "$scratch/steps.txt" -
grep -q 'status -6' "$scratch/steps.txt"
"$scratch/contact_sheet/contact_sheet" "$scratch/picture.png" "$scratch/a.png" >/dev/null
"$scratch/sheet" "$scratch/picture.png" "$scratch/b.png" >/dev/null
cmp "$scratch/a.png" "$scratch/b.png"

echo "=== Debian packages"
(cd "$scratch" && cpack --config "$build/CPackConfig.cmake" >/dev/null)
runtime=$(echo "$scratch"/libzopim6-3_*.deb) development=$(echo "$scratch"/libzopim6-dev_*.deb)
dpkg-deb -c "$runtime" >"$scratch/runtime.txt"
dpkg-deb -c "$development" >"$scratch/development.txt"
grep -q 'libzopim6.so.3' "$scratch/runtime.txt"
if grep -q '\.h$' "$scratch/runtime.txt"; then
  echo "the runtime package has headers"
  exit 1
fi
grep -q 'zopi/arith.h' "$scratch/development.txt"
dpkg-deb -f "$runtime" Depends | tee "$scratch/depends.txt"
grep -q 'libc6' "$scratch/depends.txt"
dpkg-deb -f "$development" Depends | grep 'libzopim6-3 (='
