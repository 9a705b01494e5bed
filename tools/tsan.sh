#!/usr/bin/env bash
# The whole suite under ThreadSanitizer, whole-program tests included, in a build folder of its own.
# Every report fails: the tests' own through their exit status, and those of the programs the tests start
# through the report files this script looks for at the end.
# Usage: bash tools/tsan.sh [build folder, default build-tsan]
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/setup.sh
out=${1:-build-tsan}
flags="-fsanitize=thread -fno-omit-frame-pointer -O1 -g"
reports="$PWD/$out/tsan-reports"
# tools/tsan.supp holds the one race the design accepts. Reports go to files, one per process, so that a
# program started by a test cannot hide one in output nobody reads.
# Debian's Qt and ICU are not built for the checker: their own locks are invisible to it, so the copies
# and allocations they make under those locks (Qt's event queue, ICU's data cache) would be reported as
# races. ignore_noninstrumented_modules leaves out what those libraries do themselves; every access from
# our code is still checked, and our hand-overs to the main thread synchronise through the standard library.
export TSAN_OPTIONS="suppressions=$PWD/tools/tsan.supp:log_path=$reports/report:halt_on_error=0:\
second_deadlock_stack=1:ignore_noninstrumented_modules=1"
cmake -S . -B "$out" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DSEELENORAKEL_BENCH=OFF \
    -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS=-fsanitize=thread >/dev/null
rm -rf "$reports" && mkdir -p "$reports"
cmake --build "$out"
status=0
# One test per process, as CTest runs them, and no other way: Qt starts a child process with
# clone(CLONE_VM | CLONE_VFORK), which the checker cannot follow, so a process that has started one
# reports false races afterwards.
ctest --test-dir "$out" --output-on-failure -j2 || status=$?
if compgen -G "$reports/report*" >/dev/null; then
    cat "$reports"/report*
    echo "tsan: $(cat "$reports"/report* | grep -c '^WARNING: ThreadSanitizer') reports in" \
        "$(ls "$reports" | wc -l) processes, kept in $reports"
    status=1
fi
exit $status
