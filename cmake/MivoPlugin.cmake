# mivo_add_plugin(NAME [HOST TARGET] SOURCES...): a plug-in NAME.so for the hosts of libmivo_data.
#
# Its root class derives from MivoPlugin and names the stamp that this function writes:
#
#     Q_PLUGIN_METADATA(IID MivoPlugin_iid FILE "mivo_plugin.json")
#
# and one of its sources says which class that is, for Qt 4.8, which has no metadata:
#
#     MIVO_EXPORT_PLUGIN(NAME, CLASS)
#
# The stamp says what the plug-in was built with; hosts refuse a plug-in whose stamp does not fit
# theirs. The plug-in links Mivo::Host, or the TARGET of a messenger that has a host of its own, whose
# property MIVO_PLUGIN_INTERFACE is the number of its plug-in interface. Further libraries are linked
# as to any other target.
function(mivo_add_plugin name)
    cmake_parse_arguments(plugin "" "HOST" "" ${ARGN})
    if(NOT plugin_HOST)
        set(plugin_HOST Mivo::Host)
    endif()
    if(NOT TARGET ${plugin_HOST})
        message(FATAL_ERROR "mivo_add_plugin(${name}): there is no target ${plugin_HOST}. Name the component "
            "Host in find_package(MivoData COMPONENTS ...), or a host of the messenger's own by HOST TARGET.")
    endif()
    _mivo_stamp_fields(${plugin_HOST})

    set(stamp_folder "${CMAKE_CURRENT_BINARY_DIR}/${name}_stamp")
    file(CONFIGURE OUTPUT "${stamp_folder}/mivo_plugin.json" @ONLY CONTENT [[{
    "mivo": {
        "library": "@library@",
        "interface": @interface@,
        "qt": @qt@,
        "abi": "@abi@"
    }
}
]])

    add_library(${name} MODULE ${plugin_UNPARSED_ARGUMENTS})
    set_target_properties(${name} PROPERTIES PREFIX "" AUTOMOC ON CXX_VISIBILITY_PRESET hidden)
    target_include_directories(${name} PRIVATE "${stamp_folder}")
    target_link_libraries(${name} PRIVATE ${plugin_HOST} Mivo::Data)
    # With -g, debuggers then know the handles of the contact list without the library's own symbols.
    target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-femit-class-debug-always>)
    if(qt EQUAL 4)
        _mivo_add_stamp_text(${name})
    endif()
endfunction()

# Sets what stands in the stamp of a plug-in for a host.
macro(_mivo_stamp_fields host)
    get_target_property(library Mivo::Data MIVO_LIBRARY_VERSION)
    get_target_property(qt Mivo::Data MIVO_QT_MAJOR)
    get_target_property(interface ${host} MIVO_PLUGIN_INTERFACE)
    if(NOT interface MATCHES "^[0-9]+$")
        message(FATAL_ERROR "The property MIVO_PLUGIN_INTERFACE of the target ${host} is \"${interface}\"; "
            "expected the number of the host's plug-in interface.")
    endif()
    math(EXPR abi "${CMAKE_SIZEOF_VOID_P} * 8")
    if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
        set(abi itanium-${abi})
    else()
        set(abi other-${abi})
    endif()
endmacro()

# Adds the stamp to a target as a marked text, which MivoPluginStamp::fromText() finds in the shared
# object. It is exported, so that no linker leaves it out.
function(_mivo_add_stamp_text target)
    set(source "${CMAKE_CURRENT_BINARY_DIR}/${target}_stamp/mivo_plugin_stamp.cpp")
    file(CONFIGURE OUTPUT "${source}" @ONLY CONTENT [[
extern "C" __attribute__((visibility("default"))) const char mivo_plugin_stamp[] =
    "\nmivo plug-in stamp\n"
    "iid=MivoPlugin/@interface@\n"
    "library=@library@\n"
    "interface=@interface@\n"
    "qt=@qt@\n"
    "abi=@abi@\n";
]])
    target_sources(${target} PRIVATE "${source}")
endfunction()
