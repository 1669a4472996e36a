# shellcheck shell=bash
# What run, test and bench share. Each sources this file from the root of the project.

set -euo pipefail

say() {
    printf '==> %s\n' "$*" >&2
}

die() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# The packages that every build needs, here and on the reference machine, a fresh Debian 12.
# shellcheck disable=SC2034 # read by those that source this file
build_packages=(g++ cmake ninja-build qt6-base-dev libpng-dev)

# need_packages PACKAGE...: installs those that are missing. With all of them there it needs neither
# root nor network.
need_packages() {
    local package missing=() as_root=()
    if ! command -v dpkg-query >/dev/null; then
        say "No Debian packages on this system; expecting what they hold to be there: $*"
        return
    fi
    for package in "$@"; do
        [[ $(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null) == installed ]] \
            || missing+=("$package")
    done
    ((${#missing[@]})) || return 0

    if ((EUID != 0)); then
        if command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
            as_root=(sudo -n)
        elif command -v sudo >/dev/null && [[ -t 0 ]]; then
            as_root=(sudo)
        else
            die "these Debian packages are missing, and installing them takes root or sudo:" \
                "${missing[*]}"
        fi
    fi
    say "Installing Debian packages: ${missing[*]}"
    local apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq)
    "${apt[@]}" update >&2 \
        || die "cannot read the package lists, which takes network; missing: ${missing[*]}"
    "${apt[@]}" install --no-install-recommends "${missing[@]}" >&2 \
        || die "cannot install these Debian packages: ${missing[*]}"
}

# configure FOLDER PRESET [OPTION...]: a build of the preset in the folder; what it was configured
# with before stays.
configure() {
    local folder=$1 preset=$2
    shift 2
    say "Configuring $folder"
    cmake --preset "$preset" -B "$folder" "$@"
}

# build FOLDER [TARGET...]: what has changed since the last time.
build() {
    local folder=$1
    shift
    say "Building $folder"
    cmake --build "$folder" ${1:+--target "$@"}
}

# quietly LOG COMMAND...: keeps the output in the file LOG and shows it on standard error when the
# command fails.
quietly() {
    local log=$1
    shift
    mkdir -p "${log%/*}"
    if ! "$@" >"$log" 2>&1; then
        cat "$log" >&2
        return 1
    fi
}
