#!/usr/bin/env bash
# abi.sh COMMAND FOLDER: the binary interface of the libraries libmivo_*.so in FOLDER beside the one that
# is recorded here, of the last version. A difference is an error unless the version number says that
# the interface may differ: another first number, or as long as that is 0 another second one.
#
#   symbols  what the libraries export
#   compare  that, and the layout of what crosses their border; takes debug information and libabigail
#   record   replaces what is recorded

set -euo pipefail
export LC_ALL=C

command=${1-}
folder=${2-}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$here/../..
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

libraries=("$folder"/libmivo_*.so)
[[ -e ${libraries[0]} && $command =~ ^(symbols|compare|record)$ ]] || {
    printf 'abi.sh: expected symbols, compare or record, and a folder with libmivo_*.so\n' >&2
    exit 2
}

version=$(sed -n 's/^#define MIVO_VERSION_STR "\([0-9.]*\)".*/\1/p' "$root/src/global/MivoGlobal.h")

# series VERSION: the part of it that the interface stays the same in.
series() {
    local first second
    IFS=. read -r first second _ <<<"$1"
    ((first)) && printf '%s' "$first" || printf '0.%s' "$second"
}

# symbols LIBRARY: demangled, with the names that Qt 6 has; constructors and destructors stand once.
# Weak ones are inline: their users have them too.
symbols() {
    nm -DC --defined-only "$1" | cut -c18- | grep -v '^W ' \
        | sed 's/QVector</QList</g; s/QStringList/QList<QString>/g' | sort -u
}

# layout LIBRARY FILE: what abidiff compares.
layout() {
    abidw --no-corpus-path --no-comp-dir-path --no-show-locs --no-parameter-names --drop-private-types \
        --headers-dir "$root" --type-id-style hash --out-file "$2" "$1"
}

if [[ $command == record ]]; then
    rm -f "$here"/recorded/*
    mkdir -p "$here/recorded"
    for library in "${libraries[@]}"; do
        name=$(basename "$library" .so)
        symbols "$library" >"$here/recorded/$name.symbols"
        layout "$library" "$work/$name.abi"
        gzip -9n <"$work/$name.abi" >"$here/recorded/$name.abi.gz"
    done
    printf '%s\n' "$version" >"$here/recorded/version"
    exit
fi

recorded=$(<"$here/recorded/version")
differences=0
for library in "${libraries[@]}"; do
    name=$(basename "$library" .so)
    if [[ ! -e $here/recorded/$name.symbols ]]; then
        printf '%s is not recorded\n' "$name"
        differences=1
        continue
    fi
    diff -u --label "$name, $recorded" --label "$name, now" \
        "$here/recorded/$name.symbols" <(symbols "$library") || differences=1
    [[ $command == compare ]] || continue
    gunzip <"$here/recorded/$name.abi.gz" >"$work/recorded.abi"
    layout "$library" "$work/now.abi"
    abidiff --no-added-syms "$work/recorded.abi" "$work/now.abi" || differences=1
done
((differences)) || exit 0
if [[ $(series "$version") != "$(series "$recorded")" ]]; then
    printf 'Version %s may differ from %s.\n' "$version" "$recorded"
    exit 0
fi
cat >&2 <<TEXT
abi.sh: the binary interface is not that of version $recorded. What is only new is recorded by
tests/abi/abi.sh record FOLDER; a change of what was there takes another version number.
TEXT
exit 1
