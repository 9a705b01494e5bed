#!/usr/bin/env bash
# Line and branch coverage of the product code over the whole suite, in a build folder of its own.
# Usage: bash tools/coverage.sh [build folder, default build-coverage]
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/setup.sh
out=${1:-build-coverage}
# Several threads bump the counters; atomic updates keep gcovr from meeting negative counts.
flags="--coverage -fprofile-update=atomic -O0 -g -DSEELENORAKEL_COVERAGE"
cmake -S . -B "$out" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DSEELENORAKEL_BENCH=OFF \
    -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS=--coverage >/dev/null
cmake --build "$out"
find "$out" -name '*.gcda' -delete
ctest --test-dir "$out" --output-on-failure -j2 >"$out/ctest.log" || { tail -40 "$out/ctest.log"; exit 1; }
tail -3 "$out/ctest.log"
gcovr --root . --object-directory "$out" --exclude-directories "$out/CMakeFiles/[0-9].*" --exclude '^tests/' --exclude '^bench/' --exclude '^fuzz/' \
    --exclude '^tools/' -j 2 --print-summary -o "$out/coverage.txt"
