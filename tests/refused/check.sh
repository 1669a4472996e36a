#!/usr/bin/env bash
# check.sh PATTERN COMPILER [OPTION]...: the compiler refuses, and its message matches the pattern.

set -euo pipefail

pattern=$1
shift

fail() {
    printf '%s\n' "$*"
    exit 1
}

if message=$(LC_ALL=C "$@" 2>&1); then
    fail "compiled: $*"
fi
printf '%s\n' "$message"
grep -qE -e "$pattern" <<<"$message" || fail "no message matches: $pattern"
