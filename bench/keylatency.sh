#!/bin/bash
# Key to screen: the real program on Qt's offscreen platform, driven by the test harness. In the first
# name's form field it types x and Backspace in turn and measures, for each key, the time from the key
# reaching the view to the first painted frame that shows its echo.
#
#   bench/keylatency.sh [build folder, default build] [keys, default 200]
set -u
build=${1:-build}
keys=${2:-200}
harness="$build/tests/qt/seelenorakel_harness"
[ -x "$harness" ] || { echo "keylatency: no harness at $harness" >&2; exit 1; }
bundle=$(mktemp -d)
trap 'rm -rf "$bundle"' EXIT
mkdir -p "$bundle/Seelenorakel.app/Contents"
cp -r "$build/Seelenorakel.app/Contents/Resources" "$bundle/Seelenorakel.app/Contents/"
coproc program { QT_QPA_PLATFORM=offscreen timeout 100 "$harness" "$bundle/Seelenorakel.app" 2>/dev/null; }
# Return at the start menu and at the call, once the program stands at its menu: the first name's field
# then waits for keys.
sleep 3
printf 'key 36 16777220 0 0 0d\nkey 36 16777220 0 0 0d\nlatency %s\n' "$keys" >&"${program[1]}"
answer=""
while read -r -u "${program[0]}" line; do
    case "$line" in $'\x01latency'*) answer=${line#$'\x01'}; break ;; esac
done
kill "${program_PID:-0}" 2>/dev/null
read -r _ median p99 <<<"$answer"
[ -n "${p99:-}" ] || { echo "keylatency: no measurement" >&2; exit 1; }
printf 'key to screen over %s keys: median %.1f ms, 99th percentile %.1f ms (targets: under 20 and 40 ms)\n' \
    "$keys" "$median" "$p99"
