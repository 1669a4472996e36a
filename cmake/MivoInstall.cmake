# What is installed, in components that can be installed each alone:
#
#   companions  libmivo_core and libmivo_xml, the stand-ins for the messenger's own
#   data        libmivo_data and the CMake package
#   host        libmivo_host and the command mivo-host
#   widgets     libmivo_widgets and mivo-window, where they are built
#   test        libmivo_test, where it is built
#   examples    the plug-ins that mivo-host shows its commands with
#
# Headers go flat into include/mivo. Every path is relative to the prefix, which may be moved.

include(CMakePackageConfigHelpers)

set(mivo_include_dir "${CMAKE_INSTALL_INCLUDEDIR}/mivo")
set(mivo_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/MivoData")
set(mivo_pkgconfig_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
string(REPLACE ";" " " mivo_qt_modules "${mivo_qt_modules}")

# mivo_install_libraries(COMPONENT EXPORT TARGET...): the libraries of one component with their
# headers, and MivoEXPORTTargets.cmake, from which the package takes them.
function(mivo_install_libraries component export)
    install(TARGETS ${ARGN} EXPORT Mivo${export}
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${component}
        FILE_SET HEADERS DESTINATION "${mivo_include_dir}" COMPONENT ${component}
        INCLUDES DESTINATION "${mivo_include_dir}")
    install(EXPORT Mivo${export} NAMESPACE Mivo:: FILE Mivo${export}Targets.cmake
        DESTINATION "${mivo_package_dir}" COMPONENT ${component})
endfunction()

# mivo_install_pkgconfig(COMPONENT TARGET DESCRIPTION ... REQUIRES ... PRIVATE ... CFLAGS ... LIBS ...):
# the pkg-config file of a library. REQUIRES are the modules that its headers lead to, PRIVATE those
# that it only links.
function(mivo_install_pkgconfig component target)
    cmake_parse_arguments(pc "" "DESCRIPTION" "REQUIRES;PRIVATE;CFLAGS;LIBS" ${ARGN})
    set(pc_name ${target})
    file(RELATIVE_PATH pc_to_prefix "/${mivo_pkgconfig_dir}" "/")
    string(REGEX REPLACE "/$" "" pc_to_prefix "${pc_to_prefix}")
    if(MIVO_QT_MAJOR EQUAL 5)
        # Debian's Qt 5 refuses code that is not position independent, and its own files do not say so.
        list(APPEND pc_CFLAGS -fPIC)
    endif()
    foreach(list IN ITEMS REQUIRES PRIVATE CFLAGS LIBS)
        list(TRANSFORM pc_${list} PREPEND " ")
        string(REPLACE ";" "" pc_${list} "${pc_${list}}")
    endforeach()
    configure_file("${PROJECT_SOURCE_DIR}/cmake/mivo.pc.in" "${PROJECT_BINARY_DIR}/${target}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/${target}.pc"
        DESTINATION "${mivo_pkgconfig_dir}" COMPONENT ${component})
endfunction()

# Qt 4's pkg-config modules are the only ones without the generation in front.
set(mivo_pc_qt "Qt${MIVO_QT_MAJOR}")
if(MIVO_QT_MAJOR EQUAL 4)
    set(mivo_pc_qt Qt)
endif()

if(MIVO_USE_INSTALLED_COMPANIONS)
    # They need not have pkg-config files of their own.
    cmake_path(GET MivoCompanions_XML_LIBRARY PARENT_PATH companions_dir)
    mivo_install_pkgconfig(data mivo_data
        DESCRIPTION "${PROJECT_DESCRIPTION}"
        REQUIRES ${mivo_pc_qt}Core
        CFLAGS "-I${MivoCompanions_INCLUDE_DIR}"
        LIBS "-L${companions_dir}" -lmivo_xml -lmivo_core)
else()
    mivo_install_libraries(companions Companions mivo_core mivo_xml)
    mivo_install_pkgconfig(companions mivo_core
        DESCRIPTION "Errors of the messenger's core"
        REQUIRES ${mivo_pc_qt}Core)
    mivo_install_pkgconfig(companions mivo_xml
        DESCRIPTION "XML elements of the messenger"
        REQUIRES ${mivo_pc_qt}Core)
    mivo_install_pkgconfig(data mivo_data
        DESCRIPTION "${PROJECT_DESCRIPTION}"
        REQUIRES ${mivo_pc_qt}Core mivo_xml
        PRIVATE mivo_core)
endif()

mivo_install_libraries(data Data mivo_data)
mivo_install_libraries(host Host mivo_host)
mivo_install_pkgconfig(host mivo_host
    DESCRIPTION "Reference host of messenger plug-ins"
    REQUIRES mivo_data)
if(TARGET mivo-host) # takes Qt 5 or later
    install(TARGETS mivo-host RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT host)
endif()

if(TARGET mivo_widgets)
    mivo_install_libraries(widgets Widgets mivo_widgets)
    mivo_install_pkgconfig(widgets mivo_widgets
        DESCRIPTION "Widgets for the data types of a messenger"
        REQUIRES mivo_data ${mivo_pc_qt}Widgets)
endif()

if(TARGET mivo_test)
    mivo_install_libraries(test Test mivo_test)
    mivo_install_pkgconfig(test mivo_test
        DESCRIPTION "Tests of messenger plug-ins"
        REQUIRES mivo_host ${mivo_pc_qt}Test)
endif()

if(TARGET mivo-window)
    install(TARGETS mivo-window RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT widgets)
    install(FILES tools/mivo-window/mivo-window.desktop
        DESTINATION "${CMAKE_INSTALL_DATADIR}/applications" COMPONENT widgets)
    install(FILES tools/mivo-window/mivo-window.svg
        DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps" COMPONENT widgets)
endif()

configure_package_config_file(cmake/MivoDataConfig.cmake.in MivoDataConfig.cmake
    INSTALL_DESTINATION "${mivo_package_dir}"
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(MivoDataConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
        "${PROJECT_BINARY_DIR}/MivoDataConfig.cmake"
        "${PROJECT_BINARY_DIR}/MivoDataConfigVersion.cmake"
        cmake/FindMivoCompanions.cmake
        cmake/MivoPlugin.cmake
    DESTINATION "${mivo_package_dir}" COMPONENT data)

# What GDB shows values with. It looks for the copy that is called like the library, at the library's
# own path below GDB's data folder; a prefix other than the system's names the other one by hand.
install(FILES tools/gdb/mivo_printers.py
    DESTINATION "${CMAKE_INSTALL_DATADIR}/mivo/gdb" COMPONENT data)
install(CODE "
    set(auto_load \"${CMAKE_INSTALL_DATADIR}/gdb/auto-load\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}\")
    file(INSTALL \"${PROJECT_SOURCE_DIR}/tools/gdb/mivo_printers.py\"
        DESTINATION \"\${CMAKE_INSTALL_PREFIX}/\${auto_load}\"
        RENAME \"$<TARGET_FILE_NAME:mivo_data>-gdb.py\")"
    COMPONENT data)

# The source archive: cmake --build FOLDER --target package_source. What git ignores stays out.
if(PROJECT_IS_TOP_LEVEL)
    set(CPACK_VERBATIM_VARIABLES ON)
    set(CPACK_GENERATOR TXZ)
    set(CPACK_SOURCE_GENERATOR TXZ)
    set(CPACK_SOURCE_PACKAGE_FILE_NAME "libmivo_data-${PROJECT_VERSION}")
    string(REGEX REPLACE "([][+.*()^$?|\\])" "\\\\\\1" source_pattern "${PROJECT_SOURCE_DIR}")
    set(CPACK_SOURCE_IGNORE_FILES "^${source_pattern}/(build|\\.git)(/|$)")
    include(CPack)
endif()
