# mivo_add_plugin(NAME [HOST TARGET] [TITLE TEXT] [DESCRIPTION TEXT] [AUTHOR TEXT] [REQUIRES NAME...]
#                 [SOURCES] FILE...): a plug-in NAME.so for the hosts of libmivo_data.
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
#
# The stamp also says who the plug-in is: its NAME, and what users are shown, each TEXT being one line.
# Plug-ins that it REQUIRES, by the NAMEs that they are built as, are loaded before it.
function(mivo_add_plugin name)
    cmake_parse_arguments(PARSE_ARGV 1 plugin "" "HOST;TITLE;DESCRIPTION;AUTHOR" "REQUIRES;SOURCES")
    if(NOT plugin_HOST)
        set(plugin_HOST Mivo::Host)
    endif()
    if(NOT TARGET ${plugin_HOST})
        message(FATAL_ERROR "mivo_add_plugin(${name}): there is no target ${plugin_HOST}. Name the component "
            "Host in find_package(MivoData COMPONENTS ...), or a host of the messenger's own by HOST TARGET.")
    endif()
    _mivo_stamp_fields(${plugin_HOST})
    set(json_texts)
    set(plain_texts)
    _mivo_add_text(name "${name}")
    _mivo_add_text(title "${plugin_TITLE}")
    _mivo_add_text(description "${plugin_DESCRIPTION}")
    _mivo_add_text(author "${plugin_AUTHOR}")
    list(JOIN plugin_REQUIRES "," requires)
    if(requires)
        string(APPEND plain_texts "\n    \"requires=${requires}\\n\"")
        string(REPLACE "," "\", \"" requires "${requires}")
        string(APPEND json_texts ",\n        \"requires\": [\"${requires}\"]")
    endif()

    set(stamp_folder "${CMAKE_CURRENT_BINARY_DIR}/${name}_stamp")
    file(CONFIGURE OUTPUT "${stamp_folder}/mivo_plugin.json" @ONLY CONTENT [[{
    "mivo": {
        "library": "@library@",
        "interface": @interface@,
        "qt": @qt@,
        "abi": "@abi@"@json_texts@
    }
}
]])

    add_library(${name} MODULE ${plugin_SOURCES} ${plugin_UNPARSED_ARGUMENTS})
    set_target_properties(${name} PROPERTIES PREFIX "" AUTOMOC ON CXX_VISIBILITY_PRESET hidden)
    target_include_directories(${name} PRIVATE "${stamp_folder}")
    target_link_libraries(${name} PRIVATE ${plugin_HOST} Mivo::Data)
    # With -g, debuggers then know the handles of the contact list without the library's own symbols.
    target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-femit-class-debug-always>)
    if(qt EQUAL 4)
        _mivo_add_stamp_text(${name})
    endif()
endfunction()

# mivo_add_plugin_test(NAME PLUGINS TARGET... [LIBRARIES TARGET...] [SOURCES] FILE...): a test program
# NAME with the test kit, Mivo::Test, known to CTest by its name.
#
# The plug-ins, which mivo_add_plugin() has made, are compiled into it: it makes objects of their
# classes and finds their headers, their stamps, and what they link, define and include. To be called
# when the plug-ins have all their sources.
function(mivo_add_plugin_test name)
    cmake_parse_arguments(PARSE_ARGV 1 test "" "" "PLUGINS;LIBRARIES;SOURCES")
    if(NOT TARGET Mivo::Test)
        message(FATAL_ERROR "mivo_add_plugin_test(${name}): there is no target Mivo::Test. Name the component "
            "Test in find_package(MivoData COMPONENTS ...).")
    endif()
    add_executable(${name} ${test_SOURCES} ${test_UNPARSED_ARGUMENTS})
    set_target_properties(${name} PROPERTIES AUTOMOC ON)
    foreach(plugin IN LISTS test_PLUGINS)
        if(NOT TARGET ${plugin})
            message(FATAL_ERROR "mivo_add_plugin_test(${name}): there is no target ${plugin}; expected a "
                "plug-in that mivo_add_plugin() has made before.")
        endif()
        # Apart from each other: several plug-ins in one program have an entrance each.
        set(objects ${name}_${plugin})
        get_target_property(folder ${plugin} SOURCE_DIR)
        get_target_property(sources ${plugin} SOURCES)
        add_library(${objects} OBJECT)
        foreach(source IN LISTS sources)
            if(NOT IS_ABSOLUTE "${source}")
                set(source "${folder}/${source}")
            endif()
            target_sources(${objects} PRIVATE "${source}")
        endforeach()
        foreach(tool IN ITEMS AUTOMOC AUTOUIC AUTORCC)
            get_target_property(is_used ${plugin} ${tool})
            if(is_used)
                set_target_properties(${objects} PROPERTIES ${tool} ON)
            endif()
        endforeach()
        target_compile_definitions(${objects}
            PUBLIC $<TARGET_PROPERTY:${plugin},COMPILE_DEFINITIONS>
            PRIVATE QT_STATICPLUGIN)
        target_compile_options(${objects} PRIVATE $<TARGET_PROPERTY:${plugin},COMPILE_OPTIONS>)
        target_include_directories(${objects}
            PUBLIC "${folder}" $<TARGET_PROPERTY:${plugin},INCLUDE_DIRECTORIES>)
        target_link_libraries(${objects} PUBLIC $<TARGET_PROPERTY:${plugin},LINK_LIBRARIES>)
        target_link_libraries(${name} PRIVATE ${objects})
    endforeach()
    target_link_libraries(${name} PRIVATE Mivo::Test Mivo::Host Mivo::Data ${test_LIBRARIES})
    add_test(NAME ${name} COMMAND ${name})
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

# Adds a text for the user to both ways in which a stamp is written; none when it is empty.
function(_mivo_add_text key text)
    if(text MATCHES "[\n\r\t]")
        message(FATAL_ERROR "mivo_add_plugin(): the ${key} is \"${text}\"; expected one line.")
    endif()
    if(text STREQUAL "")
        return()
    endif()
    string(REPLACE "\\" "\\\\" text "${text}")
    string(REPLACE "\"" "\\\"" text "${text}")
    set(json_texts "${json_texts},\n        \"${key}\": \"${text}\"" PARENT_SCOPE)
    set(plain_texts "${plain_texts}\n    \"${key}=${text}\\n\"" PARENT_SCOPE)
endfunction()

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
    "abi=@abi@\n"@plain_texts@;
]])
    target_sources(${target} PRIVATE "${source}")
endfunction()
