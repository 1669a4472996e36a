# Finds the companion libraries, libmivo_core and libmivo_xml, where they are installed: those of the
# messenger, which come as headers and libraries without a CMake package, or the stand-ins. Makes
# Mivo::Core and Mivo::Xml. A prefix other than the system's is named in CMAKE_PREFIX_PATH.

include(FindPackageHandleStandardArgs)

find_path(MivoCompanions_INCLUDE_DIR NAMES MivoCore.h PATH_SUFFIXES mivo)
find_path(MivoCompanions_XML_INCLUDE_DIR NAMES MivoXmlNode.h PATH_SUFFIXES mivo)
find_library(MivoCompanions_CORE_LIBRARY NAMES mivo_core)
find_library(MivoCompanions_XML_LIBRARY NAMES mivo_xml)
mark_as_advanced(MivoCompanions_INCLUDE_DIR MivoCompanions_XML_INCLUDE_DIR
                 MivoCompanions_CORE_LIBRARY MivoCompanions_XML_LIBRARY)

find_package_handle_standard_args(MivoCompanions REQUIRED_VARS
    MivoCompanions_CORE_LIBRARY MivoCompanions_XML_LIBRARY
    MivoCompanions_INCLUDE_DIR MivoCompanions_XML_INCLUDE_DIR)

if(MivoCompanions_FOUND AND NOT TARGET Mivo::Core)
    add_library(Mivo::Core UNKNOWN IMPORTED)
    set_target_properties(Mivo::Core PROPERTIES
        IMPORTED_LOCATION "${MivoCompanions_CORE_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${MivoCompanions_INCLUDE_DIR}"
        INTERFACE_LINK_LIBRARIES ${mivo_qt_prefix}Core)
    add_library(Mivo::Xml UNKNOWN IMPORTED)
    set_target_properties(Mivo::Xml PROPERTIES
        IMPORTED_LOCATION "${MivoCompanions_XML_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${MivoCompanions_XML_INCLUDE_DIR}"
        INTERFACE_LINK_LIBRARIES ${mivo_qt_prefix}Core)
endif()
