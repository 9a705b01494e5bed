#!/bin/bash
# CPU share of the program while it waits for a key at its start menu: the screen is static, so this is
# what the refresh costs. Starts the real program on Qt's offscreen platform (or on the X display given
# with --x11), waits until the menu is printed, then reads utime + stime of the process and of each of
# its threads over a span of seconds.
#
#   bench/cpushare.sh [build folder, default build] [seconds, default 10] [--x11]
set -u
build=${1:-build}
span=${2:-10}
platform=offscreen
[ "${3:-}" = "--x11" ] && platform=xcb
program="$build/Seelenorakel.app/Contents/MacOS/seelenorakel"
[ -x "$program" ] || { echo "cpushare: no program at $program" >&2; exit 1; }

log=$(mktemp)
QT_QPA_PLATFORM=$platform "$program" >"$log" 2>&1 &
pid=$!
trap 'kill $pid 2>/dev/null; rm -f "$log"' EXIT

# The start menu follows the loading of the data file; give the printing a moment after that.
for _ in $(seq 100); do
    grep -q "^d_AppendDatabase:" "$log" && break
    sleep 0.1
done
sleep 2
kill -0 $pid 2>/dev/null || { echo "cpushare: the program ended early" >&2; cat "$log" >&2; exit 1; }

ticks=$(getconf CLK_TCK)
# Fields 14 and 15 of stat, counted after the command name, which may hold blanks.
cputicks() { sed 's/^.*) //' "$1" 2>/dev/null | awk '{ print $12 + $13 }'; }

declare -A before names
for task in /proc/$pid/task/*; do
    t=${task##*/}
    before[$t]=$(cputicks "$task/stat")
    names[$t]=$(cat "$task/comm" 2>/dev/null)
done
total0=$(cputicks /proc/$pid/stat)
sleep "$span"
total1=$(cputicks /proc/$pid/stat)

echo "platform $platform, $span s at the start menu"
for task in /proc/$pid/task/*; do
    t=${task##*/}
    now=$(cputicks "$task/stat")
    [ -n "$now" ] || continue
    used=$((now - ${before[$t]:-0}))
    awk -v u="$used" -v s="$span" -v k="$ticks" -v n="${names[$t]:-$(cat "$task/comm")}" \
        'BEGIN { printf "  thread %-16s %5.1f%%\n", n, 100 * u / k / s }'
done
awk -v u="$((total1 - total0))" -v s="$span" -v k="$ticks" \
    'BEGIN { printf "process CPU share: %.1f%% of one core (target: under 1%%)\n", 100 * u / k / s }'
