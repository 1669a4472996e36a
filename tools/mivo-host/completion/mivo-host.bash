# shellcheck shell=bash
# Completion of mivo-host for bash: the program itself says what may stand where.

_mivo_host() {
    local words=() word proposals current
    # Bash takes = and : for words of their own; what they tie together is one argument here.
    local line=${COMP_LINE:0:COMP_POINT}
    read -ra words <<<"$line"
    [[ $line == *[[:space:]] ]] && words+=("")
    current=${words[-1]}
    [[ $current == --*=* ]] && words[-1]=${current%%=*} && words+=("${current#*=}")
    current=${words[-1]}

    mapfile -t proposals < <("${words[0]}" --complete "${words[@]:1}" 2>/dev/null)
    COMPREPLY=()
    for word in "${proposals[@]}"; do
        case $word in
            :files) mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$current") ;;
            :plugins)
                mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(
                    compgen -f -X '!*.so' -- "$current"
                    compgen -d -S / -- "$current"
                )
                ;;
            *) COMPREPLY+=("$word") ;;
        esac
    done
    # A name that goes on, such as a folder or a kind of value, is not followed by a blank.
    [[ ${#COMPREPLY[@]} == 1 && ${COMPREPLY[0]} == *[/:] ]] && compopt -o nospace 2>/dev/null
    # Only what stands after the last : is replaced.
    [[ $current == *:* ]] && COMPREPLY=("${COMPREPLY[@]#"${current%:*}:"}")
    return 0
}

complete -F _mivo_host mivo-host
