# Finds the wanted generation of Qt and gives its modules one name each: MivoQt::Core,
# MivoQt::Xml and MivoQt::Test.

if(NOT MIVO_QT_MAJOR MATCHES "^[456]$")
    message(FATAL_ERROR "MIVO_QT_MAJOR is \"${MIVO_QT_MAJOR}\"; expected 6, 5 or 4.")
endif()

set(mivo_qt_modules Core Xml)
if(MIVO_BUILD_TESTS)
    list(APPEND mivo_qt_modules Test)
endif()

if(MIVO_QT_MAJOR EQUAL 4)
    list(TRANSFORM mivo_qt_modules PREPEND Qt)
    find_package(Qt4 4.8 REQUIRED COMPONENTS ${mivo_qt_modules})
    set(mivo_qt_prefix Qt4::Qt)
else()
    find_package(Qt${MIVO_QT_MAJOR} REQUIRED COMPONENTS ${mivo_qt_modules})
    set(mivo_qt_prefix Qt${MIVO_QT_MAJOR}::)
endif()
