#!/usr/bin/env bash
# Installs the build into a fresh prefix and checks what a desktop needs: the command, the desktop entry,
# the icons, and that the installed program starts with its fonts.
set -eu
build=$1
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null
entry="$prefix/share/applications/seelenorakel.desktop"
grep -qx "Exec=$prefix/bin/seelenorakel" "$entry"
if command -v desktop-file-validate >/dev/null; then desktop-file-validate "$entry"; fi
for size in 16 24 32 48 64 128 256; do
    icon="$prefix/share/icons/hicolor/${size}x${size}/apps/seelenorakel.png"
    [ "$(head -c 8 "$icon" | od -An -tx1 | tr -d ' \n')" = 89504e470d0a1a0a ] || { echo "no PNG: $icon"; exit 1; }
done
log=$(cd / && QT_QPA_PLATFORM=offscreen timeout 5 "$prefix/bin/seelenorakel" 2>/dev/null || true)
grep -q "t_InitWindow: GraphicWindow #0 End." <<<"$log" || { echo "$log" | head -40; exit 1; }
grep -q "d_AppendDatabase: Datafile not found." <<<"$log" || { echo "$log" | head -40; exit 1; }
echo "installed and started from $prefix"
