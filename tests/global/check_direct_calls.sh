#!/usr/bin/env bash
# check_direct_calls.sh LIBRARY...: none of the libraries calls a function of its own over the table of
# symbols, which would cost as much as most of what is called.

set -euo pipefail
export LC_ALL=C

for library in "$@"; do
    own=$(nm --dynamic --defined-only --format=just-symbols "$library" | sed 's/@.*//' | sort -u)
    called=$(readelf --relocs --wide "$library" \
        | awk '$3 ~ /JUMP_SLO/ { sub(/@.*/, "", $5); print $5 }' | sort -u)
    [[ -n $own && -n $called ]] || {
        echo "$library: found no symbols or no table of calls"
        exit 1
    }
    indirect=$(comm -12 <(echo "$own") <(echo "$called"))
    if [[ -n $indirect ]]; then
        printf '%s calls functions of its own indirectly:\n%s\n' "$library" "$(c++filt <<<"$indirect")"
        exit 1
    fi
done
