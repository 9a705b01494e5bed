#!/bin/bash
# Key to screen: the real program on Qt's offscreen platform, driven by the test harness. In the first
# name's form field it types x and Backspace in turn and measures, for each key, the time from the key
# reaching the view to the first painted frame that shows its echo. With --phones it measures twice:
# once idle, once while waves of 50 phones post answers to the program's server on 127.0.0.1
# (bench/phoneload.py), and prints the ratio of the two medians.
#
#   bench/keylatency.sh [build folder, default build] [keys, default 200] [--phones]
set -u
build=${1:-build}
keys=${2:-200}
phones=${3:-}
here=$(dirname "$0")
harness="$build/tests/qt/seelenorakel_harness"
[ -x "$harness" ] || { echo "keylatency: no harness at $harness" >&2; exit 1; }

# One measurement in a fresh program; prints "median p99". With "load" the phones post meanwhile.
measure() {
    local bundle load=""
    bundle=$(mktemp -d)
    mkdir -p "$bundle/Seelenorakel.app/Contents"
    cp -r "$build/Seelenorakel.app/Contents/Resources" "$bundle/Seelenorakel.app/Contents/"
    coproc program { QT_QPA_PLATFORM=offscreen timeout 100 "$harness" "$bundle/Seelenorakel.app" 2>/dev/null; }
    # Return at the start menu and at the call, once the program stands at its menu: the first name's field
    # then waits for keys.
    sleep 3
    if [ "${1:-}" = load ]; then
        printf 'phone\n' >&"${program[1]}"
        local line
        while read -r -u "${program[0]}" line; do
            if [[ "$line" =~ Phones\ join\ at\ http://[^:]+:([0-9]+)/([a-z2-9]{8})/ ]]; then
                python3 "$here/phoneload.py" "${BASH_REMATCH[1]}" "${BASH_REMATCH[2]}" &
                load=$!
                sleep 1
                break
            fi
        done
    fi
    printf 'key 36 16777220 0 0 0d\nkey 36 16777220 0 0 0d\nlatency %s\n' "$keys" >&"${program[1]}"
    local answer=""
    while read -r -u "${program[0]}" line; do
        case "$line" in $'\x01latency'*) answer=${line#$'\x01'}; break ;; esac
    done
    [ -n "$load" ] && kill "$load" 2>/dev/null
    kill "${program_PID:-0}" 2>/dev/null
    wait 2>/dev/null
    rm -rf "$bundle"
    read -r _ median p99 <<<"$answer"
    echo "${median:-} ${p99:-}"
}

read -r median p99 <<<"$(measure)"
[ -n "${p99:-}" ] || { echo "keylatency: no measurement" >&2; exit 1; }
printf 'key to screen over %s keys: median %.1f ms, 99th percentile %.1f ms (targets: under 20 and 40 ms)\n' \
    "$keys" "$median" "$p99"
[ "$phones" = --phones ] || exit 0
read -r loaded loadedp99 <<<"$(measure load)"
[ -n "${loadedp99:-}" ] || { echo "keylatency: no measurement under load" >&2; exit 1; }
printf 'with phones posting: median %.1f ms, 99th percentile %.1f ms; median ratio %.2f (target: at most 2)\n' \
    "$loaded" "$loadedp99" "$(awk -v a="$loaded" -v b="$median" 'BEGIN { print a / b }')"
