#!/bin/bash
# Builds the library and its tests into build/ and runs the tests.
set -euo pipefail
cd "$(dirname "$0")/.."
export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache

tools/setup.sh
echo "test: building the library and its tests"
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release -DZOPI_WARNINGS_AS_ERRORS=ON
cmake --build build
ctest --test-dir build --output-on-failure -j "$(nproc)"
echo "test: all tests passed"
