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
build_packages=(g++ cmake ninja-build pkgconf qt6-base-dev libpng-dev libedit-dev
                libstrophe-dev)
# What starting a private XMPP server takes, beside what is unpacked.
# shellcheck disable=SC2034 # read by those that source this file
server_packages=(openssl)

# need_packages PACKAGE...: installs those that are missing. With all of them there it needs neither
# root nor network.
need_packages() {
    local package missing=()
    if ! command -v dpkg-query >/dev/null; then
        say "No Debian packages on this system; expecting what they hold to be there: $*"
        return
    fi
    for package in "$@"; do
        [[ $(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null) == installed ]] \
            || missing+=("$package")
    done
    ((${#missing[@]})) || return 0

    find_root "these Debian packages are missing, and installing them" "${missing[*]}"
    say "Installing Debian packages: ${missing[*]}"
    read_package_lists || die "cannot read the package lists, which takes network; missing: ${missing[*]}"
    local log=build/packages.log
    if ! with_progress "Installing Debian packages" "$log" \
            "${apt[@]}" install --no-install-recommends "${missing[@]}"; then
        show_log "$log"
        die "cannot install these Debian packages: ${missing[*]}"
    fi
}

# find_root WHAT WHICH: leaves in as_root what a command is run as root with, and in apt how apt-get is.
find_root() {
    as_root=()
    if ((EUID != 0)); then
        if command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
            as_root=(sudo -n)
        elif command -v sudo >/dev/null && [[ -t 0 ]]; then
            as_root=(sudo)
        else
            die "$1 takes root or sudo: $2"
        fi
    fi
    apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o APT::Status-Fd=1)
}

read_package_lists() {
    # Asks for the password, if there is one to be asked for, before the output goes elsewhere.
    ((!${#as_root[@]})) || "${as_root[@]}" true
    with_progress "Reading the package lists" build/packages.log "${apt[@]}" update && return
    show_log build/packages.log
    return 1
}

# need_server: unpacks the XMPP server of the tests, once. Package lists that are missing or out of
# date are read anew, which takes root; all else can be done by any user.
need_server() {
    quietly build/prosody.log tools/prosody/unpack.sh build/prosody 2>/dev/null && return
    find_root "the XMPP server for the tests cannot be downloaded; reading the package lists anew" \
        "$(tail -n 1 build/prosody.log)"
    read_package_lists && quietly build/prosody.log tools/prosody/unpack.sh build/prosody
}

# with_progress WHAT LOG COMMAND...: runs the command with all its output in the file LOG and says on
# standard error how far it is: at a terminal in one line that counts up, elsewhere once a minute.
with_progress() {
    local what=$1 log=$2
    shift 2
    mkdir -p "${log%/*}"
    "$@" 2>&1 | follow "$what" "$log"
}

# follow WHAT LOG: the showing side of with_progress.
follow() {
    local what=$1 log=$2 line part='' far='' shown='' due=$((SECONDS + 60)) status
    local steps='^\[([0-9]+)/([0-9]+)\] ' tests='^ *([0-9]+)/([0-9]+) +Test ' percent='^(dl|pm)status:[^:]*:([0-9]+)'
    while true; do
        status=0
        IFS= read -r -t 1 line || status=$?
        part+=$line
        if ((status == 0)); then
            printf '%s\n' "$part"
            if [[ $part =~ $steps || $part =~ $tests ]]; then
                far="${BASH_REMATCH[1]} of ${BASH_REMATCH[2]}"
            elif [[ $part =~ $percent ]]; then
                far="${BASH_REMATCH[2]} %"
            fi
            part=''
        fi
        if [[ -t 2 && $far != "$shown" ]]; then
            printf '\r\033[K==> %s: %s' "$what" "$far" >&2
            shown=$far
        elif [[ ! -t 2 ]] && ((SECONDS >= due)); then
            say "$what${far:+: $far}"
            due=$((SECONDS + 60))
        fi
        # 1 is the end; more than 128 is a second without a line.
        ((status != 1)) || break
    done >"$log"
    printf '%s' "$part" >>"$log"
    [[ -z $shown ]] || printf '\n' >&2
}

# show_log LOG: what a command that failed has said, without its counting.
show_log() {
    grep -vE '^\[[0-9]+/[0-9]+\] |^(dl|pm)status:|^ +Start +[0-9]+: |Passed +[0-9.]+ sec$' "$1" >&2 || true
    say "All of it is in $1"
}

# configure FOLDER PRESET [OPTION...]: a build of the preset in the folder; what it was configured
# with before stays.
configure() {
    local folder=$1 preset=$2
    shift 2
    [[ -f $folder/build.ninja ]] || say "Configuring $folder"
    quietly "$folder/configure.log" cmake --preset "$preset" -B "$folder" "$@"
}

# build FOLDER [TARGET...]: what has changed since the last time.
build() {
    local folder=$1
    shift
    with_progress "Building $folder" "$folder/build.log" \
        cmake --build "$folder" ${1:+--target "$@"} && return
    show_log "$folder/build.log"
    return 1
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
