# Finds the wanted generation of Qt; the names of its targets begin with mivo_qt_prefix.

if(NOT MIVO_QT_MAJOR MATCHES "^[456]$")
    message(FATAL_ERROR "MIVO_QT_MAJOR is \"${MIVO_QT_MAJOR}\"; expected 6, 5 or 4.")
endif()

set(mivo_qt_modules Core)
set(mivo_qt_test_modules)
if(MIVO_BUILD_TESTS AND MIVO_QT_MAJOR GREATER 4) # there are none with Qt 4
    set(mivo_qt_test_modules Test)
endif()

if(MIVO_QT_MAJOR EQUAL 4)
    list(TRANSFORM mivo_qt_modules PREPEND Qt)
    # FindQt4 goes by the first qmake there is, which may be that of another Qt.
    find_program(QT_QMAKE_EXECUTABLE NAMES qmake qmake4 qmake-qt4)
    set(mivo_qmake "${QT_QMAKE_EXECUTABLE}")
    set(mivo_qmake_version)
    if(mivo_qmake)
        execute_process(COMMAND "${mivo_qmake}" -query QT_VERSION
            OUTPUT_VARIABLE mivo_qmake_version OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    endif()
    if(NOT mivo_qmake_version MATCHES "^4\\.8\\.")
        unset(QT_QMAKE_EXECUTABLE CACHE) # to be looked for again in the folder that is named
        message(FATAL_ERROR "MIVO_QT_MAJOR is 4; found \"${mivo_qmake}\", the qmake of Qt \"${mivo_qmake_version}\"; "
            "name the folder that holds bin/qmake of Qt 4.8 by -DCMAKE_PREFIX_PATH=FOLDER.")
    endif()
    find_package(Qt4 4.8 REQUIRED COMPONENTS ${mivo_qt_modules})
    set(mivo_qt_prefix Qt4::Qt)
    set(mivo_qt_version ${QT_VERSION_MAJOR}.${QT_VERSION_MINOR})
else()
    find_package(Qt${MIVO_QT_MAJOR} REQUIRED COMPONENTS ${mivo_qt_modules} ${mivo_qt_test_modules})
    set(mivo_qt_prefix Qt${MIVO_QT_MAJOR}::)
    set(mivo_qt_version ${Qt${MIVO_QT_MAJOR}_VERSION})
endif()

# mivo_find_optional(PART OPTION MODULE): sets mivo_has_PART, which tells whether the library libmivo_PART is
# built. It is where OPTION wants it and the module of Qt 5 or later is there: nothing else needs it.
macro(mivo_find_optional part option module)
    set(mivo_has_${part} FALSE)
    if(NOT ${option})
        message(STATUS "${option} is off: libmivo_${part} is left out")
    elseif(MIVO_QT_MAJOR LESS 5)
        message(STATUS "Qt ${MIVO_QT_MAJOR} is too old for libmivo_${part}, which is left out")
    else()
        find_package(Qt${MIVO_QT_MAJOR} QUIET COMPONENTS ${module})
        set(mivo_has_${part} ${Qt${MIVO_QT_MAJOR}${module}_FOUND})
        if(NOT mivo_has_${part})
            message(STATUS "Qt${module} for Qt ${MIVO_QT_MAJOR} was not found: libmivo_${part} is left out")
        endif()
    endif()
endmacro()

mivo_find_optional(widgets MIVO_BUILD_WIDGETS Widgets)
mivo_find_optional(test MIVO_BUILD_TESTKIT Test)
