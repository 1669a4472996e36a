#!/usr/bin/env bash
# check_source_archive.sh SOURCE BUILD WORK: the source archive holds the files of the working copy but for
# those that git ignores.

set -euo pipefail

source_dir=$1
build=$2
work=$3

fail() {
    printf 'source_archive: %s\n' "$*" >&2
    exit 1
}

mkdir -p "$work"
cd "$source_dir"
cpack --config "$build/CPackSourceConfig.cmake" -B "$work" >"$work/log" || fail "$(cat "$work/log")"
diff <(git ls-files --cached --others --exclude-standard | sort) \
    <(tar -tf "$work"/libmivo_data-*.tar.xz | sed -n 's|^[^/]*/\(.*[^/]\)$|\1|p' | sort) \
    || fail "the archive (>) does not hold what git knows (<)"
