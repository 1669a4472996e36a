# Finds the wanted generation of Qt; the names of its targets begin with mivo_qt_prefix.

if(NOT MIVO_QT_MAJOR MATCHES "^[456]$")
    message(FATAL_ERROR "MIVO_QT_MAJOR is \"${MIVO_QT_MAJOR}\"; expected 6, 5 or 4.")
endif()

set(mivo_qt_modules Core Xml)
set(mivo_qt_test_modules)
if(MIVO_BUILD_TESTS)
    set(mivo_qt_test_modules Test)
endif()

if(MIVO_QT_MAJOR EQUAL 4)
    list(TRANSFORM mivo_qt_modules PREPEND Qt)
    list(TRANSFORM mivo_qt_test_modules PREPEND Qt)
    find_package(Qt4 4.8 REQUIRED COMPONENTS ${mivo_qt_modules} ${mivo_qt_test_modules})
    set(mivo_qt_prefix Qt4::Qt)
    set(mivo_qt_version ${QT_VERSION_MAJOR}.${QT_VERSION_MINOR})
else()
    find_package(Qt${MIVO_QT_MAJOR} REQUIRED COMPONENTS ${mivo_qt_modules} ${mivo_qt_test_modules})
    set(mivo_qt_prefix Qt${MIVO_QT_MAJOR}::)
    set(mivo_qt_version ${Qt${MIVO_QT_MAJOR}_VERSION})
endif()
