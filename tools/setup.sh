#!/usr/bin/env bash
# Installs the Debian packages the build needs; quiet and quick when they are all there.
# g++ brings its sanitizer runtimes with it; they are named all the same, since tools/asan.sh and
# tools/tsan.sh link against them.
set -eu
packages=(g++ cmake ninja-build pkg-config libgtest-dev libgmock-dev libbenchmark-dev libicu-dev liblemon-dev
          qt6-base-dev qt6-multimedia-dev libfreetype-dev fonts-dejavu-core clang libclang-rt-14-dev gcovr desktop-file-utils
          libasan8 libubsan1 libtsan2
          qt6-httpserver-dev qt6-websockets-dev libqrencode-dev chromium chromium-driver python3-selenium)
missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
echo "setup: installing ${missing[*]}"
sudo_cmd=()
[ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
