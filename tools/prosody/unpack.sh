#!/usr/bin/env bash
# unpack.sh FOLDER: unpacks the XMPP server Prosody, and what it needs and this system lacks, into
# FOLDER. Nothing is installed or started, and no right but that to write there is needed. What has
# been unpacked once is there without a network.

set -euo pipefail

die() {
    printf 'unpack.sh: %s\n' "$*" >&2
    exit 1
}

(($# == 1)) || die "found $# arguments; expected a folder"
mkdir -p "$1"
folder=$(cd "$1" && pwd)
# One at a time: the tests of several builds share the folder.
exec 9>"$folder/lock"
flock 9
[[ ! -e $folder/unpacked ]] || exit 0

missing() {
    apt-get --simulate --no-install-recommends install prosody 2>/dev/null | awk '/^Inst/ { print $2 }'
}

rm -rf "$folder/packages" "$folder/root"
mkdir -p "$folder/packages" "$folder/root"
mapfile -t packages < <(missing)
if ((!${#packages[@]})); then
    if [[ -x /usr/bin/prosody ]]; then
        ln -s / "$folder/root/system"
    else
        die "the package prosody is not known: the package lists must be read first (apt-get update)"
    fi
else
    (cd "$folder/packages" && apt-get -qq download "${packages[@]}" >download.log 2>&1) || {
        cat "$folder/packages/download.log" >&2
        die "cannot download ${packages[*]}, which takes network the first time"
    }
    for package in "$folder"/packages/*.deb; do
        dpkg-deb --extract "$package" "$folder/root"
    done
fi
touch "$folder/unpacked"
