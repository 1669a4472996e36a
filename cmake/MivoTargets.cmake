# What all targets of the project have in common.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Kind of build" FORCE)
endif()

# An installed program or library finds its neighbours by itself, also after the prefix has moved.
file(RELATIVE_PATH mivo_bin_to_lib "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
set(CMAKE_INSTALL_RPATH "$ORIGIN" "$ORIGIN/${mivo_bin_to_lib}")
# What lies outside the system's folders, Qt or companion libraries, is looked for where it was.
set(CMAKE_INSTALL_RPATH_USE_LINK_PATH ON)

# The rules for the project's own code; never part of what an installed target hands on.
add_library(mivo_rules INTERFACE)
target_compile_options(mivo_rules INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual
    -Wformat=2 -Wundef -Wvla $<$<BOOL:${MIVO_WARNINGS_AS_ERRORS}>:-Werror>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # Qt's own test macros leave variable arguments out.
    target_compile_options(mivo_rules INTERFACE -Wno-gnu-zero-variadic-macro-arguments)
endif()
# What only later generations of Qt deprecate is what the earlier ones have.
target_compile_definitions(mivo_rules INTERFACE QT_NO_KEYWORDS QT_DEPRECATED_WARNINGS_SINCE=0x050F00)
if(MIVO_SANITIZE STREQUAL "address")
    # The virtual-pointer check needs type information of host classes, which the library only names.
    set(mivo_sanitizers -fsanitize=address,undefined -fno-sanitize=vptr
                        -fno-sanitize-recover=all -fno-omit-frame-pointer)
elseif(MIVO_SANITIZE STREQUAL "thread")
    set(mivo_sanitizers -fsanitize=thread)
elseif(MIVO_SANITIZE)
    message(FATAL_ERROR "MIVO_SANITIZE is \"${MIVO_SANITIZE}\"; expected address, thread or nothing.")
endif()
if(MIVO_BUILD_FUZZERS)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        message(FATAL_ERROR "MIVO_BUILD_FUZZERS needs Clang; the compiler is ${CMAKE_CXX_COMPILER_ID}.")
    endif()
    # What the fuzzers call tells them which of its branches they reach.
    target_compile_options(mivo_rules INTERFACE -fsanitize=fuzzer-no-link)
endif()
target_compile_options(mivo_rules INTERFACE ${mivo_sanitizers})
target_link_options(mivo_rules INTERFACE ${mivo_sanitizers})

# The rules for the libraries. They call their own functions directly: nobody puts others in their place,
# and a call over the table of symbols costs as much as most of what is called.
add_library(mivo_library_rules INTERFACE)
target_compile_options(mivo_library_rules INTERFACE -fno-semantic-interposition)
target_link_options(mivo_library_rules INTERFACE LINKER:-Bsymbolic-functions)
target_compile_definitions(mivo_library_rules INTERFACE QT_NO_CAST_FROM_ASCII)
target_link_libraries(mivo_library_rules INTERFACE mivo_rules)

# What nearly every source of the libraries reads, compiled once for all of them. A source includes what
# it needs all the same: the lane lint compiles each without this.
add_library(mivo_precompiled OBJECT "${PROJECT_SOURCE_DIR}/cmake/precompiled.cpp")
target_precompile_headers(mivo_precompiled PRIVATE
    <QByteArray> <QCoreApplication> <QDebug> <QHash> <QList> <QMutex> <QString> <QStringList> <QThread>
    <QVariant> <QVector> <QWaitCondition>)
target_link_libraries(mivo_precompiled PRIVATE ${mivo_qt_prefix}Core mivo_library_rules)

# mivo_add_library(NAME): the shared library libmivo_NAME, known as Mivo::Name in the build tree and
# after installation. Its sources and headers are added by the folders that hold them.
function(mivo_add_library name)
    string(SUBSTRING "${name}" 0 1 initial)
    string(SUBSTRING "${name}" 1 -1 rest)
    string(TOUPPER "${initial}" initial)
    set(target mivo_${name})

    add_library(${target} SHARED)
    add_library(Mivo::${initial}${rest} ALIAS ${target})
    set_target_properties(${target} PROPERTIES
        EXPORT_NAME ${initial}${rest}
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        AUTOMOC ON)
    string(TOUPPER "MIVO_${name}_BUILD" build_symbol)
    target_compile_definitions(${target} PRIVATE ${build_symbol})
    target_compile_features(${target} PUBLIC cxx_std_17)
    target_link_libraries(${target} PUBLIC ${mivo_qt_prefix}Core PRIVATE $<BUILD_INTERFACE:mivo_library_rules>)
    target_precompile_headers(${target} REUSE_FROM mivo_precompiled)
    target_link_options(${target} PRIVATE "LINKER:--version-script=${PROJECT_SOURCE_DIR}/cmake/hidden.map")
    set_target_properties(${target} PROPERTIES LINK_DEPENDS "${PROJECT_SOURCE_DIR}/cmake/hidden.map")
    if(NOT MIVO_SANITIZE)
        target_link_options(${target} PRIVATE -Wl,--no-undefined)
    endif()
endfunction()

# mivo_add_sources(TARGET SOURCES ... HEADERS ...): what the current folder adds to a library. The
# headers are installed flat, and the folder becomes an include folder of the library's users.
function(mivo_add_sources target)
    cmake_parse_arguments(arg "" "" "SOURCES;HEADERS" ${ARGN})
    if(arg_SOURCES)
        target_sources(${target} PRIVATE ${arg_SOURCES})
    endif()
    target_sources(${target} PUBLIC
        FILE_SET HEADERS BASE_DIRS "${CMAKE_CURRENT_SOURCE_DIR}" FILES ${arg_HEADERS})
endfunction()
