#!/usr/bin/env bash
# strict.sh: every public header alone, with nearly all the warnings that GCC and Clang know, as C++17, 20
# and 23: users have their own settings. Run from the root of the project.

set -euo pipefail

# What is left out: that the code is newer than C++98, that Qt's macros are newer than C++17 where they can be,
# and that records have gaps.
clang=(clang++-14 -Weverything -Wno-c++98-compat -Wno-c++98-compat-pedantic
    -Wno-c++20-compat -Wno-padded)
gcc=(g++ -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
    -Wuseless-cast -Wduplicated-cond -Wduplicated-branches -Wlogical-op -Wdouble-promotion -Wformat=2
    -Wnon-virtual-dtor -Woverloaded-virtual -Wundef -Wcast-align -Wcast-qual
    -Wzero-as-null-pointer-constant -Wextra-semi -Wsuggest-override -Wredundant-decls -Wswitch-enum
    -Wctor-dtor-privacy -Wmismatched-tags -Wredundant-tags -Wdeprecated-copy-dtor)

folders=()
for folder in src companion host widgets testkit; do
    [[ ! -d $folder ]] || folders+=("$folder")
done
mapfile -t headers < <(find "${folders[@]}" -name '*.h' | sort)
mapfile -t includes < <(printf '%s\n' "${headers[@]}" | sed 's|/[^/]*$||; s|^|-I|' | sort -u)
modules=(Qt6Core Qt6Xml)
for module in Qt6Gui Qt6Widgets Qt6Test; do
    ! pkg-config --exists "$module" || modules+=("$module")
done
read -ra qt < <(pkg-config --cflags "${modules[@]}" | sed 's/-I/-isystem/g')

# compile HEADER COMPILER...: in each version of the language.
compile() {
    local header=$1 standard status=0
    shift
    for standard in c++17 c++20 c++2b; do
        "$@" -Werror -std=$standard -fsyntax-only -fPIC "${qt[@]}" "${includes[@]}" \
            -x c++ - <<<"#include \"${header##*/}\"" || status=1
    done
    return $status
}

count=0 status=0
for header in "${headers[@]}"; do
    count=$((count + 1))
    printf '[%d/%d] %s\n' "$count" "${#headers[@]}" "$header"
    compile "$header" "${clang[@]}" &
    compile "$header" "${gcc[@]}" || status=1
    wait $! || status=1
done
exit $status
