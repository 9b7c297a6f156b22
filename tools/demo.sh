#!/bin/bash
# Usage: tools/demo.sh [PICTURE]
# Builds and installs the library, builds the examples against the installed package and runs them. Writes
# out/contact_sheet.png: a PNG or TIFF picture and what the library makes of it.
set -euo pipefail
picture=${1:+$(realpath -e "$1")}
cd "$(dirname "$0")/.."
picture=${picture:-out/photo.tif}
prefix=$PWD/out/install
export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache

tools/setup.sh

echo "demo: building the library"
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release -DZOPI_WARNINGS_AS_ERRORS=ON \
  -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR=lib
cmake --build build --target zopim6
cmake --install build >/dev/null

echo "demo: building and running the examples"
cc_flags=$(PKG_CONFIG_PATH=$prefix/lib/pkgconfig pkg-config --cflags --libs zopim6)
# shellcheck disable=SC2086  # the flags are words
cc -std=c11 -Wall -Wextra -Werror -o out/first_steps examples/first_steps/first_steps.c $cc_flags
LD_LIBRARY_PATH=$prefix/lib out/first_steps

cmake -S examples/contact_sheet -B out/contact_sheet -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_COMPILE_WARNING_AS_ERROR=ON
cmake --build out/contact_sheet
out/contact_sheet/contact_sheet "$picture" out/contact_sheet.png
echo "demo: done, look at out/contact_sheet.png"
