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
    local log=build/packages.log
    local apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o APT::Status-Fd=1)
    # Asks for the password, if there is one to be asked for, before the output goes elsewhere.
    ((!${#as_root[@]})) || "${as_root[@]}" true
    if ! with_progress "Reading the package lists" "$log" "${apt[@]}" update; then
        show_log "$log"
        die "cannot read the package lists, which takes network; missing: ${missing[*]}"
    fi
    if ! with_progress "Installing Debian packages" "$log" \
            "${apt[@]}" install --no-install-recommends "${missing[@]}"; then
        show_log "$log"
        die "cannot install these Debian packages: ${missing[*]}"
    fi
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
