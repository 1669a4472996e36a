#!/usr/bin/env bash
# check_quotes.sh PAGE...: every block of C++, CMake or XML in these pages follows a line
# "<!-- quotes FILE -->" and is part of FILE, which is one that is built and run. With
# "<!-- quotes FILE as NAME -->", FILE is of the template of new plug-ins, filled in for a plug-in NAME.

set -euo pipefail

fail() {
    printf '%s\n' "$*" >&2
    exit 1
}

# content_of FILE NAME: the file; filled in as `mivo-host new` does when there is a name.
content_of() {
    local name=$2 class
    if [[ -z $name ]]; then
        cat "$1"
        return
    fi
    class=${name^}Plugin
    sed -e "s/%{PluginName}/$name/g" -e "s/%{PluginClass}/$class/g" -e "s/%{PluginGuard}/${name^^}PLUGIN/g" "$1"
}

quotes=0
for page in "$@"; do
    file=
    name=
    block=
    state=text
    while IFS= read -r line; do
        case $state in
            text)
                if [[ $line =~ ^'<!-- quotes '([^ ]*)(' as '([a-z]+))?' -->'$ ]]; then
                    file=${BASH_REMATCH[1]}
                    name=${BASH_REMATCH[3]}
                    case $file in
                        tests/* | examples/* | benchmarks/* | src/* | host/* | tools/mivo-host/template/*) ;;
                        *) fail "$page: $file is quoted, which is not built and run" ;;
                    esac
                    [[ -f $file ]] || fail "$page: $file is quoted, and there is no such file"
                    state=fence
                elif [[ $line =~ ^' '*'```'(cpp|cmake|xml|c\+\+) ]]; then
                    fail "$page: this is not said to be quoted: $line"
                elif [[ $line =~ ^' '*'<!-- quotes' ]]; then
                    fail "$page: this is no quotation: $line"
                elif [[ $line == '```'* ]]; then
                    state=other
                fi
                ;;
            other)
                [[ $line != '```' ]] || state=text
                ;;
            fence)
                [[ $line == '```'* ]] || fail "$page: no code follows the quotation of $file"
                block=
                state=code
                ;;
            code)
                if [[ $line != '```' ]]; then
                    block+=$line$'\n'
                    continue
                fi
                [[ -n $block ]] || fail "$page: the quotation of $file is empty"
                if [[ $(content_of "$file" "$name")$'\n' != *"$block"* ]]; then
                    fail "$page: this is not in $file:"$'\n'"$block"
                fi
                quotes=$((quotes + 1))
                state=text
                ;;
        esac
    done <"$page"
    [[ $state == text ]] || fail "$page: has an open quotation or an open block"
done
echo "$quotes quotations"
