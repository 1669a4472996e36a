#!/usr/bin/env bash
# smoke.sh: tries the packages beside it, in a bare Debian that is theirs alone; see ../../package.

set -euo pipefail
cd /packages
export DEBIAN_FRONTEND=noninteractive QT_QPA_PLATFORM=offscreen

fail() {
    printf 'smoke.sh: %s\n' "$*" >&2
    exit 1
}

apt-get -qq update
mkdir debug
mv ./*-dbgsym_*.deb debug/
mapfile -t packages < <(for file in *.deb; do dpkg-deb --field "$file" Package; done)
apt-get -qq install --no-install-recommends g++ cmake ninja-build
apt-get -qq install --no-install-recommends ./*.deb
mapfile -t files < <(dpkg-query --listfiles "${packages[@]}" | sort -u)

mivo-host new reminder
cmake -G Ninja -S reminder -B reminder/build
cmake --build reminder/build
ctest --test-dir reminder/build --output-on-failure
mivo-host plugins reminder/build/*.so
mivo-window --version
mivo-window --picture window.png reminder/build/*.so
[[ -s window.png ]] || fail "the window has made no picture"

apt-get -qq purge "${packages[@]}"
for file in "${files[@]}"; do
    [[ ! -f $file ]] || fail "$file is left behind"
done
