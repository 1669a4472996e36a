#!/usr/bin/env bash
# check_qt4.sh SOURCE WORK: which qmake the build with Qt 4.8 goes by, and what it says when that is
# another Qt's. There is no Qt 4.8 here: a program that answers as its qmake stands for it.

set -euo pipefail

source_dir=$1
work=$2

fail() {
    printf 'cmake.qt4: %s\n' "$*" >&2
    cat "$work/log" >&2
    exit 1
}

# make_qmake FOLDER VERSION
make_qmake() {
    mkdir -p "$1/bin"
    printf '#!/bin/sh\n[ "$*" = "-query QT_VERSION" ] && echo %s\n' "$2" >"$1/bin/qmake"
    chmod +x "$1/bin/qmake"
}

# configure OPTION...: the log, as one line; nobody has a whole Qt 4, so that it fails in any case.
configure() {
    if PATH=$work/other/bin:$PATH cmake -S "$source_dir" -B "$work/build" -DMIVO_QT_MAJOR=4 "$@" \
        &>"$work/log"; then
        fail "a Qt 4.8 was found where there is none"
    fi
    tr -s ' \n' ' ' <"$work/log"
}

rm -rf "$work"
make_qmake "$work/other" 5.15.8
make_qmake "$work/qt4" 4.8.7

log=$(configure)
sentence="MIVO_QT_MAJOR is 4; found \"$work/other/bin/qmake\", the qmake of Qt \"5.15.8\"; name the folder"
[[ $log == *"$sentence that holds bin/qmake of Qt 4.8 by -DCMAKE_PREFIX_PATH=FOLDER."* ]] \
    || fail "expected: $sentence"

# In the same build folder: the wrong one is not remembered.
log=$(configure -DCMAKE_PREFIX_PATH="$work/qt4" --trace-expand --trace-source=MivoQt.cmake)
grep -qF "QT_QMAKE_EXECUTABLE:FILEPATH=$work/qt4/bin/qmake" "$work/build/CMakeCache.txt" \
    || fail "another qmake was used"
[[ $log == *"find_package(Qt4 4.8 REQUIRED COMPONENTS QtCore"* && $log != *QtTest* ]] \
    || fail "QtTest was looked for, and there are no tests with Qt 4"
