#!/usr/bin/env bash
# The whole suite under AddressSanitizer, leaks included, and UndefinedBehaviorSanitizer, in a build folder
# of its own. Every report fails: the tests' own through their exit status, and address reports of the
# programs the tests start through the report files this script looks for at the end. An undefined-behaviour
# report always goes to standard error, but it ends the process that makes it (no recovery), which fails
# the test that drives it.
# Usage: bash tools/asan.sh [build folder, default build-asan]
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/setup.sh
out=${1:-build-asan}
flags="-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer -O1 -g"
reports="$PWD/$out/asan-reports"
# Exported before the build, since the font and sound generators and the test listing run in it too.
# No leak is suppressed: the processes that hold Qt end through _exit, which skips the leak check.
export ASAN_OPTIONS="detect_leaks=1:log_path=$reports/asan"
export UBSAN_OPTIONS=print_stacktrace=1
cmake -S . -B "$out" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DSEELENORAKEL_BENCH=OFF \
    -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=address,undefined" >/dev/null
rm -rf "$reports" && mkdir -p "$reports"
cmake --build "$out"
status=0
ctest --test-dir "$out" --output-on-failure -j2 || status=$?
if compgen -G "$reports/*" >/dev/null; then
    cat "$reports"/*
    echo "asan: reports from $(ls "$reports" | wc -l) processes, kept in $reports"
    status=1
fi
exit $status
