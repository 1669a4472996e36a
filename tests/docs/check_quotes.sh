#!/usr/bin/env bash
# check_quotes.sh PAGE: every block of code that follows a line "<!-- quotes FILE -->" is part of FILE.

set -euo pipefail

file=
block=
state=text
quotes=0
while IFS= read -r line; do
    case $state in
        text)
            if [[ $line =~ ^'<!-- quotes '(.*)' -->'$ ]]; then
                file=${BASH_REMATCH[1]}
                state=fence
            fi
            ;;
        fence)
            [[ $line == '```'* ]] || { echo "$1: no code follows the quotation of $file" >&2; exit 1; }
            block=
            state=code
            ;;
        code)
            if [[ $line != '```' ]]; then
                block+=$line$'\n'
                continue
            fi
            if [[ $(<"$file")$'\n' != *"$block"* ]]; then
                printf '%s: this is not in %s:\n%s' "$1" "$file" "$block" >&2
                exit 1
            fi
            quotes=$((quotes + 1))
            state=text
            ;;
    esac
done <"$1"

if [[ $state != text ]] || ((quotes == 0)); then
    echo "$1: quotes nothing, or has an open quotation" >&2
    exit 1
fi
echo "$quotes quotations"
