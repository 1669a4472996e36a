#!/usr/bin/env bash
# check_planted.sh SOURCE WORK RACES ORDER SUPPRESSIONS CMAKE-OPTION...: plants races in a copy of the
# sources and demands that the thread sanitizer reports each where it stands. Checks that cannot fail
# show nothing.

set -euo pipefail

source_dir=$1 work=$2 races=$3 order=$4 suppressions=$5
shift 5

fail() {
    printf 'planted races: %s\n' "$*" >&2
    exit 1
}

# race | file | function that is changed | line there | what takes its place
plants='
container|src/buddy/MivoBuddyContainer.cpp|MivoBuddyContainer::at(|const QMutexLocker locker(lock);|
members|src/buddy/MivoBuddyContainer.cpp|MivoBuddyContainer::members(|const QMutexLocker locker(lock);|
clearing|src/buddy/MivoBuddyContainer.cpp|MivoBuddyContainer::takeAll(|const QMutexLocker childrenLocker(childrenMutex);|
metas|src/buddy/MivoBuddyContainer.cpp|MivoBuddyContainer::containsMeta(|const QMutexLocker childrenLocker(childrenMutex);|
back-link|src/buddy/MivoBuddy.cpp|MivoBuddyPrivate::backLink(|const QMutexLocker locker(&linkLock);|
wait|src/plugin/MivoWait.cpp|MivoWait::wakeUp(|QMutexLocker locker(&mutex);|
buffer|src/media/MivoBuffer.cpp|MivoBuffer::setInUse(|QMutexLocker locker(mutex);|
collector|src/media/MivoGarbageCollector.cpp|MivoGarbageCollectorPrivate::add(|QMutexLocker locker(&mutex);|
host|host/MivoHostLog.cpp|MivoHostLog::setWriter(|QMutexLocker locker(&mutex);|
count|src/arg/MivoArg.cpp|MivoArg::MivoArg(const MivoArg& other)|tAtomicAttach(d);|++*reinterpret_cast<int*>(&d->ref);
'

# plant FILE FUNCTION LINE REPLACEMENT: changes the first such line of the function.
plant() {
    FUNCTION=$2 LINE=$3 REPLACEMENT=$4 awk '
        index($0, ENVIRON["FUNCTION"]) { inside = 1 }
        /^}/ { inside = 0 }
        {
            text = $0
            sub(/^ +/, "", text)
            if (inside && !done && text == ENVIRON["LINE"]) {
                $0 = ENVIRON["REPLACEMENT"]
                done = 1
            }
            print
        }
        END { exit !done }' "$1" >"$1.planted" \
        || fail "$1 has no line \"$3\" in $2 any more: plant the race anew"
    mv "$1.planted" "$1"
}

rm -rf "$work/copy"
mkdir -p "$work/copy"
tar -C "$source_dir" --exclude=./build --exclude=./.git -cf - . | tar -C "$work/copy" -xf -
while IFS='|' read -r name file function line replacement; do
    [[ -z $name ]] || plant "$work/copy/$file" "$function" "$line" "$replacement"
done <<<"$plants"
cmake -G Ninja -S "$work/copy" -B "$work/build" -DMIVO_SANITIZE=thread -DMIVO_BUILD_TESTS=OFF \
    -DMIVO_BUILD_EXAMPLES=OFF -DMIVO_BUILD_BENCHMARKS=OFF "$@"
cmake --build "$work/build" --target mivo_host

# run NAME LIBRARY...: the race with these libraries instead of its own.
run() {
    local name=$1 IFS=:
    shift
    timeout 120 env LD_PRELOAD="$order${*:+:$*}" \
        TSAN_OPTIONS="halt_on_error=1:exitcode=66:suppressions='$suppressions'" "$races" "$name" 2>&1
}

reported=0
while IFS='|' read -r name file function line replacement; do
    [[ -n $name ]] || continue
    output=$(run "$name") || fail "without a planted race, $name fails:"$'\n'"$output"
    # A race is seen when the threads meet in it; some end the program before that.
    for ((try = 1; ; ++try)); do
        status=0
        output=$(run "$name" "$work"/build/lib/libmivo_{data,host}.so) || status=$?
        [[ $status != 66 || $output != *'data race'*"${function%%(*}"* ]] || break
        ((try < 50)) \
            || fail "the race planted in $file, $function, is not reported; status $status"$'\n'"$output"
    done
    reported=$((reported + 1))
done <<<"$plants"
echo "$reported planted races are reported, and none without them"
