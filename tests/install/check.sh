#!/usr/bin/env bash
# check.sh STEP QT SOURCE WORK: one step of the install test for one generation of Qt (6 or 5), in the
# folder WORK. The step `library` comes first; the others use the prefix that it leaves, WORK/moved.

set -euo pipefail

step=$1
qt=$2
source_dir=$3
work=$4
consumer=$source_dir/tests/install/consumer
moved=$work/moved

fail() {
    printf 'install.qt%s.%s: %s\n' "$qt" "$step" "$*" >&2
    exit 1
}

pkg_config() {
    PKG_CONFIG_PATH=$moved/lib/pkgconfig pkg-config "$@"
}

# read_flags OPTION... MODULE: into the array flags. What pkg-config writes is quoted for a shell.
read_flags() {
    eval "flags=($(pkg_config "$@"))"
}

# configure FOLDER OPTION...: a build of the project.
configure() {
    local folder=$1
    shift
    cmake -G Ninja -S "$source_dir" -B "$folder" -DMIVO_QT_MAJOR="$qt" -DCMAKE_INSTALL_LIBDIR=lib \
        "$@"
}

# build_consumer FOLDER PREFIXES: builds the outside project and runs the host in it.
build_consumer() {
    rm -rf "$1"
    cmake -G Ninja -S "$consumer" -B "$1" -DCMAKE_PREFIX_PATH="$2"
    cmake --build "$1"
    run_consumer "$1/consumer"
}

# run_consumer PROGRAM: the host says what it is expected to say.
run_consumer() {
    diff -u "$consumer/expected.txt" <("$1") || fail "$1 printed something else than expected"
}

# library_version: as the one header says that holds it.
library_version() {
    sed -n 's/#define MIVO_VERSION_STR "\(.*\)"/\1/p' "$source_dir/src/global/MivoGlobal.h"
}

# run_viewer PROGRAM: the program with widgets says what it is expected to say.
run_viewer() {
    diff -u "$source_dir/tests/install/viewer/expected.txt" <(QT_QPA_PLATFORM=offscreen "$1") \
        || fail "$1 printed something else than expected"
}

# A release build, installed and then moved; nothing in the prefix remembers where it was.
step_library() {
    mkdir -p "$work"
    rm -rf "$work/first" "$moved"
    configure "$work/build" -DCMAKE_BUILD_TYPE=Release -DMIVO_BUILD_TESTS=OFF \
        -DMIVO_BUILD_EXAMPLES=ON -DCMAKE_INSTALL_PREFIX="$work/first"
    cmake --build "$work/build"
    cmake --install "$work/build" >/dev/null
    # GDB looks for the printers below its data folder at the path of the library.
    cmp "$source_dir/tools/gdb/mivo_printers.py" \
        "$work/first/share/gdb/auto-load$work/first/lib/libmivo_data.so.$(library_version)-gdb.py" \
        || fail "GDB does not find the printers"
    mv "$work/first" "$moved"
    ! grep -rlF -e "$work" -e "$source_dir" "$moved" || fail "these files name a folder of the build"
}

# Every header of the project is installed, but for those that only the library itself reads, and
# compiles alone, without a warning.
step_headers() {
    local header flags=()
    diff <(find "$source_dir"/{companion,src,host,widgets,testkit} -name '*.h' ! -path "$source_dir/widgets/*_p.h" \
            ! -path "$source_dir/testkit/*_p.h" -printf '%f\n' | grep -vxE 'MivoBuddy(Container|Index)_p\.h' | sort) \
        <(cd "$moved/include/mivo" && printf '%s\n' *.h | sort) \
        || fail "the installed headers are not those of the project"
    read_flags --cflags mivo_host mivo_widgets mivo_test
    flags=("${flags[@]/#-I\/usr/-isystem/usr}")
    for header in "$moved"/include/mivo/*.h; do
        c++ -std=c++17 -fsyntax-only -Wall -Wextra -Wpedantic -Wshadow -Werror "${flags[@]}" \
            -x c++ - <<<"#include <${header##*/}>" || fail "${header##*/} does not compile alone"
    done
}

# Every library has its soname, needs no library that it must not know, and exports what is the
# project's own only.
step_symbols() {
    local library name foreign version
    version=$(pkg_config --modversion mivo_data)
    for library in "$moved"/lib/libmivo_*.so; do
        name=${library##*/}
        [[ $(readlink -f "$library") == "$moved/lib/$name.$version" ]] \
            || fail "$library does not lead to version $version"
        readelf -d "$library" | grep -q "SONAME.*\[$name.${version%%.*}\]" \
            || fail "$library has another soname"
        foreign=$(nm -DC --defined-only "$library" | cut -c20- | grep -Ev \
            -e '^((non-)?virtual thunk to |guard variable for )?Mivo[A-Za-z]*(::|\()' \
            -e '^(vtable|typeinfo|typeinfo name) for Mivo' \
            -e '^(mivo_[a-z_]+|mivo[A-Z][A-Za-z]*|qHash|operator<<|swap|buddyLessThan|groupLessThan)\(.*' \
            -e '^qt_plugin_' || true)
        [[ -z $foreign ]] || fail "$library exports what is not the project's:" "$foreign"
        ! readelf -d "$library" | grep NEEDED | grep -E 'Qt[0-9]*Xml' \
            || fail "$library needs QtXml"
    done
    "$source_dir/tests/abi/abi.sh" symbols "$moved/lib" || fail "the libraries export something else"
    ! readelf -d "$moved/lib/libmivo_data.so" | grep NEEDED | grep -E 'mivo_host|Gui|Widgets' \
        || fail "libmivo_data needs a library that it must not know"
    ! readelf -d "$moved/lib/libmivo_widgets.so" | grep NEEDED | grep -F mivo_host \
        || fail "libmivo_widgets needs the host"
}

step_cmake() {
    build_consumer "$work/consumer" "$moved"
    # The installed command loads the plug-in, in whose stamp it finds its own library and Qt.
    "$moved/bin/mivo-host" call "$work/consumer/greeter.so" greet string:world \
        | grep -F 'Hello, world!' || fail "the plug-in did not greet"
    # The plug-in of the README.
    rm -rf "$work/first_plugin"
    cmake -G Ninja -S "$source_dir/tests/install/first" -B "$work/first_plugin" \
        -DCMAKE_PREFIX_PATH="$moved"
    cmake --build "$work/first_plugin"
    "$moved/bin/mivo-host" call "$work/first_plugin/greeter.so" greet string:world \
        | grep -Fx 'MivoArg(String: "Hello, world!")' || fail "the first plug-in did not greet"
    "$moved/bin/mivo-host" frames --seconds 1 --png "$work/frame.png" \
        | grep -F 'frames per second' || fail "the frames did not run"
    "$moved/bin/mivo-host" demo | grep -F 'all threads have ended' || fail "the demonstration failed"
    # The widgets, without a display; QtWidgets only comes in where they are asked for.
    rm -rf "$work/viewer"
    cmake -G Ninja -S "$source_dir/tests/install/viewer" -B "$work/viewer" \
        -DCMAKE_PREFIX_PATH="$moved"
    cmake --build "$work/viewer"
    run_viewer "$work/viewer/viewer"
    ! grep -q "Qt${qt}Widgets_DIR" "$work/consumer/CMakeCache.txt" \
        || fail "QtWidgets is looked for without need"
    for program in mivo-host mivo-window; do
        grep -q '^\.TH MIVO' "$moved/share/man/man1/$program.1" \
            || fail "there is no manual page of $program"
    done
    [[ -s $moved/share/bash-completion/completions/mivo-host \
        && -s $moved/share/zsh/site-functions/_mivo-host ]] || fail "there is no completion"
    rm -rf "$work/refused"
    if cmake -S "$consumer" -B "$work/refused" -DCMAKE_PREFIX_PATH="$moved" \
            -DMIVO_COMPONENTS=Nonsense &>"$work/refused.log"; then
        fail "a component that does not exist was found"
    fi
    grep -qF "component Nonsense is not installed" "$work/refused.log" \
        || fail "the missing component is not named: $(<"$work/refused.log")"
}

step_pkgconfig() {
    local flags=()
    read_flags --cflags --libs mivo_host
    c++ -std=c++17 -Wall -Wextra "$consumer/main.cpp" "${flags[@]}" \
        -Wl,-rpath,"$moved/lib" -o "$work/consumer_pkgconfig"
    run_consumer "$work/consumer_pkgconfig"
    read_flags --cflags --libs mivo_widgets
    c++ -std=c++17 -Wall -Wextra "$source_dir/tests/install/viewer/main.cpp" "${flags[@]}" \
        -Wl,-rpath,"$moved/lib" -o "$work/viewer_pkgconfig"
    run_viewer "$work/viewer_pkgconfig"
}

# An author's own test, with the test kit: it runs the plug-in from its sources and passes.
step_kit() {
    rm -rf "$work/kit"
    cmake -G Ninja -S "$source_dir/tests/install/kit" -B "$work/kit" -DCMAKE_PREFIX_PATH="$moved"
    cmake --build "$work/kit"
    ctest --test-dir "$work/kit" --output-on-failure --no-tests=error
}

# What the installed command makes builds without an edit, passes its test, and loads.
step_new() {
    local project=$work/projects/reminder
    rm -rf "$work/projects"
    mkdir "$work/projects"
    "$moved/bin/mivo-host" new reminder --dir "$work/projects"
    cmake -G Ninja -S "$project" -B "$project/build" -DCMAKE_PREFIX_PATH="$moved" \
        -DCMAKE_CXX_FLAGS='-Wall -Wextra -Werror'
    cmake --build "$project/build"
    ctest --test-dir "$project/build" --output-on-failure --no-tests=error
    "$moved/bin/mivo-host" call "$project/build/reminder.so" greet string:Ann \
        | grep -F 'Hello, Ann!' || fail "the new plug-in did not greet"
    "$moved/bin/mivo-host" form "$project/build/reminder.so" --set greeting=Hi \
        || fail "the new plug-in has no form"
    [[ -s $moved/share/qtcreator/templates/wizards/projects/mivo-plugin/wizard.json ]] \
        || fail "Qt Creator does not find the wizard"
}

# The examples are plug-ins like anybody's: a copy of them builds outside, where mivo-host runs it.
step_examples() {
    local copy=$work/examples
    rm -rf "$copy"
    mkdir "$copy"
    cp -r "$source_dir/examples/plugins" "$copy"
    cat >"$copy/CMakeLists.txt" <<'TEXT'
cmake_minimum_required(VERSION 3.16)
project(Copy LANGUAGES CXX)
find_package(MivoData REQUIRED COMPONENTS Host)
file(GLOB folders plugins/*/CMakeLists.txt)
foreach(folder IN LISTS folders)
    get_filename_component(folder "${folder}" DIRECTORY)
    add_subdirectory("${folder}")
endforeach()
TEXT
    cmake -G Ninja -S "$copy" -B "$copy/build" -DCMAKE_PREFIX_PATH="$moved"
    cmake --build "$copy/build"
    "$moved/bin/mivo-host" call "$copy/build/plugins/echo/echo.so" sum int:40 int:2 \
        | grep -F 'MivoArg(Int: 42)' || fail "the copied plug-in gave another sum"
}

# Inside another project: its kind of build stays its own, nothing is built that it has not asked for,
# and what it asks for wrongly is an error.
step_subproject() {
    local parent=$work/parent
    rm -rf "$parent"
    mkdir "$parent"
    cat >"$parent/CMakeLists.txt" <<'TEXT'
cmake_minimum_required(VERSION 3.25)
project(Parent LANGUAGES CXX)
add_subdirectory("${MIVO_SOURCE}" mivo)
if(TARGET mivo-host OR TARGET echo OR TARGET tst_mivoarg)
    message(FATAL_ERROR "there is more than the libraries")
endif()
TEXT
    local options=(-G Ninja -S "$parent" -B "$parent/build" -DMIVO_SOURCE="$source_dir"
        -DMIVO_QT_MAJOR="$qt" -DCMAKE_DISABLE_FIND_PACKAGE_PNG=ON)
    cmake "${options[@]}"
    grep -q '^CMAKE_BUILD_TYPE:STRING=$' "$parent/build/CMakeCache.txt" \
        || fail "the kind of the parent's build was changed"
    if cmake "${options[@]}" -DMIVO_HOST_INCLUDE_DIR=/nope &>"$work/refused.log"; then
        fail "host headers in a folder that does not exist were taken"
    fi
    grep -qF 'MIVO_HOST_INCLUDE_DIR is "/nope"' "$work/refused.log" \
        || fail "the folder without host headers is not named: $(<"$work/refused.log")"
}

# A messenger that has a host of its own installs the data alone, and builds plug-ins all the same.
step_courier() {
    local data=$work/data build=$work/courier
    rm -rf "$data" "$build"
    cmake --install "$work/build" --component companions --prefix "$data" >/dev/null
    cmake --install "$work/build" --component data --prefix "$data" >/dev/null
    cmake -G Ninja -S "$source_dir/tests/install/courier" -B "$build" -DCMAKE_PREFIX_PATH="$data"
    cmake --build "$build"
    grep -q '"interface": 7,' "$build/courier_stamp/mivo_plugin.json" \
        || fail "the stamp is not that of the messenger's own interface"
    # A host that does not have that interface says so.
    ! "$moved/bin/mivo-host" plugins "$build/courier.so" &>"$build/refusal" \
        || fail "the plug-in was not refused"
    grep -F 'found a plug-in for interface 7;' "$build/refusal" || fail "the refusal does not say why"
    if cmake -G Ninja -S "$source_dir/tests/install/courier" -B "$build" -DHOSTLESS=ON &>"$build/log"; then
        fail "a plug-in without a host was configured"
    fi
    tr -s ' \n' ' ' <"$build/log" | grep -F 'there is no target Mivo::Host. Name the component Host' \
        || fail "the missing component is not named"
}

# The library on companions that were installed beforehand into a prefix of their own: it passes its own
# tests, and what is installed of it is used together with them. They lie outside the project, as a
# messenger's do: CMake leaves folders of the project out of what an installed library remembers.
step_companions() {
    local companions build=$work/build_on_companions beside=$work/beside component folder
    local tests=(tests/{arg,buddy,core,field,global,media,plugin,types,xml})
    companions=$(mktemp -d "${TMPDIR:-/tmp}/mivo companions.XXXXXX")
    # shellcheck disable=SC2064 # the name is that of now
    trap "rm -rf '$companions'" EXIT
    rm -rf "$beside" "$build/CMakeCache.txt"
    cmake --install "$work/build" --component companions --prefix "$companions" >/dev/null
    # What a closed library brings along: headers and shared objects, nothing for CMake.
    rm -rf "$companions/lib/cmake" "$companions/lib/pkgconfig"

    configure "$build" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 \
        -DMIVO_BUILD_WIDGETS=OFF \
        -DMIVO_USE_INSTALLED_COMPANIONS=ON -DCMAKE_PREFIX_PATH="$companions"
    cmake --build "$build" --target mivo-host "${tests[@]/%//all}"
    [[ -z $(find "$build" -name 'libmivo_core*' -o -name 'libmivo_xml*') ]] \
        || fail "the stand-ins were built"
    for folder in "${tests[@]}"; do
        ctest --test-dir "$build/$folder" --output-on-failure --no-tests=error -j 2 \
            --label-regex unit
    done

    for component in data host; do
        cmake --install "$build" --component "$component" --prefix "$beside" >/dev/null
    done
    build_consumer "$work/consumer_on_companions" "$beside;$companions"
}

# The library on host headers of a messenger's own, which come before those of the plain host and raise
# no warning, whatever compiler looks at them.
step_own_host() {
    local compiler build=$work/build_on_own_host compilers=(c++)
    ! command -v clang++ >/dev/null || compilers+=(clang++)
    for compiler in "${compilers[@]}"; do
        rm -rf "$build"
        configure "$build" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=Debug \
            -DMIVO_BUILD_TESTS=OFF -DMIVO_BUILD_EXAMPLES=OFF \
            -DMIVO_HOST_INCLUDE_DIR="$source_dir/tests/install/own_host"
        cmake --build "$build" --target \
            src/CMakeFiles/mivo_data.dir/{arg/MivoArg,plugin/MivoTimer,plugin/MivoWait}.cpp.o
        grep -q own_host/MivoVideoClip.h \
            <(ninja -C "$build" -t deps src/CMakeFiles/mivo_data.dir/arg/MivoArg.cpp.o) \
            || fail "$compiler did not see the messenger's own headers first"
    done
}

"step_$step"
