# shellcheck shell=bash
# Completion of mivo-host for bash: the program itself says what may stand where.

# Splits a line as the shell would, without running anything in it, into `words`; `cut` is how much of
# the last one stands before what bash takes for the word that it completes. That begins behind the
# last = or : which is not quoted, or behind a quote that is still open.
_mivo_host_split() {
    local line=$1 char quote='' value='' begun='' outside=0 i
    words=() cut=0
    for ((i = 0; i < ${#line}; ++i)); do
        char=${line:i:1}
        if [[ $quote == "'" && $char != "'" ]]; then
            value+=$char
        elif [[ $char == "\\" ]]; then
            ((++i))
            char=${line:i:1}
            # Between double quotes it quotes only these.
            [[ -z $quote || $char == [\"\\\$\`] ]] || value+=\\
            value+=$char begun=1
        elif [[ -n $quote && $char == "$quote" ]]; then
            quote='' cut=$outside
        elif [[ -n $quote ]]; then
            value+=$char
        elif [[ $char == [\"\'] ]]; then
            quote=$char begun=1 outside=$cut cut=${#value}
        elif [[ $char == [[:space:]] ]]; then
            [[ -z $begun ]] || words+=("$value")
            value='' begun='' cut=0
        else
            value+=$char begun=1
            [[ $char != [:=] ]] || cut=${#value}
        fi
    done
    words+=("$value")
}

# The folders that begin with $1, and the files that do and end in $2.
_mivo_host_files() {
    local name begin=$1 home='~'
    # The shell would replace it.
    [[ $begin != "$home"/* ]] || begin=$HOME${begin#"$home"}
    shopt -s nullglob
    for name in "$begin"*; do
        [[ -d $name || $name == *"$2" ]] || continue
        [[ $begin == "$1" ]] || name=$home${name#"$HOME"}
        printf '%s\n' "$name"
    done
}

_mivo_host() {
    local words cut word proposals current ending home='~'
    _mivo_host_split "${COMP_LINE:0:COMP_POINT}"
    current=${words[-1]}
    if [[ $current == --*=* ]]; then
        word=${current%%=*}
        words[-1]=$word
        current=${current#*=}
        words+=("$current")
        # An = that is quoted is behind the place where bash begins.
        cut=$((cut > ${#word} ? cut - ${#word} - 1 : 0))
    fi
    for ((word = 0; word < ${#words[@]} - 1; ++word)); do
        [[ ${words[word]} != "$home"/* ]] || words[word]=$HOME${words[word]#"$home"}
    done

    mapfile -t proposals < <("${words[0]}" --complete "${words[@]:1}" 2>/dev/null)
    COMPREPLY=()
    for word in "${proposals[@]}"; do
        case $word in
            :files | :plugins)
                # Bash quotes what is special in the names, and marks folders.
                compopt -o filenames 2>/dev/null
                ending=.so
                [[ $word == :plugins ]] || ending=
                mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(_mivo_host_files "$current" "$ending")
                ;;
            *) COMPREPLY+=("$word") ;;
        esac
    done
    # A kind of value goes on: it is not followed by a blank.
    [[ ${#COMPREPLY[@]} == 1 && ${COMPREPLY[0]} == *: ]] && compopt -o nospace 2>/dev/null
    for word in "${!COMPREPLY[@]}"; do
        COMPREPLY[word]=${COMPREPLY[word]:cut}
    done
    return 0
}

complete -F _mivo_host mivo-host
