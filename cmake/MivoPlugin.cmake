# mivo_add_plugin(NAME SOURCES... ): a plug-in NAME.so for the hosts of libmivo_data.
#
# Its root class derives from MivoPlugin and names the stamp that this function writes:
#
#     Q_PLUGIN_METADATA(IID MivoPlugin_iid FILE "mivo_plugin.json")
#
# The stamp says what the plug-in was built with; hosts refuse a plug-in whose stamp does not fit
# theirs. The plug-in links Mivo::Host; further libraries are linked as to any other target.
function(mivo_add_plugin name)
    get_target_property(library Mivo::Host MIVO_LIBRARY_VERSION)
    get_target_property(interface Mivo::Host MIVO_PLUGIN_INTERFACE)
    get_target_property(qt Mivo::Host MIVO_QT_MAJOR)
    if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
        set(abi itanium)
    else()
        set(abi other)
    endif()
    math(EXPR bits "${CMAKE_SIZEOF_VOID_P} * 8")

    set(stamp_folder "${CMAKE_CURRENT_BINARY_DIR}/${name}_stamp")
    file(CONFIGURE OUTPUT "${stamp_folder}/mivo_plugin.json" @ONLY CONTENT [[{
    "mivo": {
        "library": "@library@",
        "interface": @interface@,
        "qt": @qt@,
        "abi": "@abi@-@bits@"
    }
}
]])

    add_library(${name} MODULE ${ARGN})
    set_target_properties(${name} PROPERTIES PREFIX "" AUTOMOC ON CXX_VISIBILITY_PRESET hidden)
    target_include_directories(${name} PRIVATE "${stamp_folder}")
    target_link_libraries(${name} PRIVATE Mivo::Host)
endfunction()
