#!/usr/bin/env bash
# journey.sh BIN PLUGIN SERVER: two accounts of a private server, each in a plug-in host of its own,
# show what the plug-in xmpp does. BIN is the folder of mivo-host and prosody-server, PLUGIN the
# plug-in, SERVER what unpack.sh has unpacked. Each line begins with who says it; what happens in a
# host is said with the name of the thread that it happens in. Nothing is left behind.

set -euo pipefail

bin=$1 plugin=$2 unpacked=$3
bound=60 # seconds that anything may take
folder=$(mktemp -d)
declare -A input=() process=()

# Ends what was started here, by its own input first.
clean_up() {
    local who descriptor
    for who in "${!input[@]}"; do
        descriptor=${input[$who]}
        exec {descriptor}>&-
    done
    for who in "${!process[@]}"; do
        wait "${process[$who]}" 2>/dev/null || true
    done
    rm -rf "$folder"
}
trap clean_up EXIT
trap 'exit 130' INT TERM

say() {
    printf '\n==> %s\n' "$*"
}

die() {
    printf 'journey.sh: %s\n' "$*" >&2
    exit 1
}

# show WHO: what comes, at once; the form has room for more accounts than are shown.
show() {
    local line
    trap '' INT
    while IFS= read -r line; do
        printf '%s\n' "$line" >>"$folder/$1.log"
        [[ ! $line || $line =~ ^(\ \ [2-9]\.|Account\ [2-9]$) ]] || printf '%-6s | %s\n' "$1" "$line"
    done
}

# launch WHO COMMAND...: runs a program that is told what to do by tell, and shows what it says.
launch() {
    local who=$1 descriptor
    shift
    mkfifo "$folder/$who"
    : >"$folder/$who.log"
    (
        set -o pipefail
        "$@" <"$folder/$who" 2>&1 | show "$who"
    ) &
    process[$who]=$!
    exec {descriptor}>"$folder/$who"
    input[$who]=$descriptor
}

# tell WHO LINE: gives a program its next line.
tell() {
    printf '%s\n' "$2" >&"${input[$1]}"
}

# has_said WHO TEXT: whether the program has said a line with that text since the last that was found.
declare -A seen=()
has_said() {
    local line=$((${seen[$1]-0} + 1)) found
    found=$(tail -n "+$line" "$folder/$1.log" | grep -nFm1 -- "$2" | cut -d: -f1) || true
    [[ $found ]] || return
    seen[$1]=$((line + found - 1))
}

# await WHO TEXT [LINE]: until the program has said the text; it is told the line once a second.
await() {
    local due=$SECONDS deadline=$((SECONDS + bound))
    while ((SECONDS < deadline)); do
        if [[ ${3-} ]] && ((SECONDS >= due)); then
            tell "$1" "$3"
            due=$((SECONDS + 1))
        fi
        ! has_said "$1" "$2" || return 0
        kill -0 "${process[$1]}" 2>/dev/null || die "$1 has ended; expected that it says \"$2\""
        sleep 0.05
    done
    die "$1 has not said \"$2\" within $bound seconds"
}

say "A private server starts, with two accounts and a certificate of its own"
launch server "$bin/prosody-server" "$unpacked" ann=rose bob=thistle
await server "certificates "
port=$(sed -n 's/^port //p' "$folder/server.log")
certificates=$(sed -n 's/^certificates //p' "$folder/server.log")

say "Two plug-in hosts start; each form of the plug-in is filled in, and connects"
for who in ann bob; do
    launch "$who" "$bin/mivo-host" session "$plugin"
    password=$([[ $who == ann ]] && echo rose || echo thistle)
    tell "$who" "form xmpp --set 1.address=$who@localhost --set 1.password=$password --set 1.host=127.0.0.1 --set 1.port=$port --set 1.certificates=$certificates --click 1.connect"
    await "$who" "Connected as"
done

say "Ann takes Bob onto her contact list, and each is let see the other"
tell ann "call xmpp addContact string:ann@localhost string:bob@localhost string:Bob string:Friends"
tell ann "call xmpp askSubscription string:bob@localhost"
await bob "asks to see your presence"
tell bob "call xmpp answerSubscription string:ann@localhost bool:true"
tell bob "call xmpp askSubscription string:ann@localhost"
await ann "asks to see your presence"
tell ann "call xmpp answerSubscription string:bob@localhost bool:true"
await ann 'subscription "both"' "roster xmpp"

say "Bob goes to lunch, and Ann sees it"
tell bob "call xmpp setPresence string:away 'string:At lunch'"
await ann "At lunch" "roster xmpp"

say "A message there and back"
tell ann "call xmpp sendMessage string:bob@localhost 'string:Enjoy your meal'"
await bob "Enjoy your meal"
await ann '"taken"'
tell bob "call xmpp sendMessage string:ann@localhost 'string:Thank you'"
await ann "Thank you"

say "A form of the server is fetched, filled in and submitted"
tell ann "call xmpp runCommand string:ann@localhost string:Questionnaire"
await ann "Questionnaire: executing"
tell ann "form xmpp --set '1.form.name=Ann of the hills' --set 1.form.colour='Dark red' --click 1.complete"
await ann "Questionnaire: Received."
tell ann "form xmpp"
await ann "colour=red"

say "The server is killed, and Ann writes meanwhile"
tell server kill
await ann "The next try is in"
await ann 'presence "Offline"' "roster xmpp"
tell ann "call xmpp sendMessage string:bob@localhost 'string:Written without a connection'"
await ann '"queued"'

say "The server starts again: both connect anew by themselves, and the message arrives"
tell server start
await ann "Connected as"
await bob "Written without a connection"
await ann '"taken"'

say "All is shut down in order"
for who in ann bob; do
    tell "$who" quit
    wait "${process[$who]}" || die "$who has ended with status $?"
    unset "process[$who]"
done
