# What the product consists of:
#
#   kel_ship(TARGET [DESCRIPTION <text>] [SHORTCUT <text>])
#       makes a DLL or program part of it. A program needs a description: it gets its version
#       resource here, while a DLL brings its own (core/version_resource.rc). With a shortcut it
#       appears in the start menu.
#
# <build>/shipped.txt has a line for each, file name and shortcut with a tab between, for the
# packages and for the test of their hardening. The target kel_shipped builds them.

function(kel_ship target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "DESCRIPTION;SHORTCUT" "")
    set_property(GLOBAL APPEND PROPERTY KEL_SHIPPED "$<TARGET_FILE_NAME:${target}>\t${arg_SHORTCUT}")
    set_property(GLOBAL APPEND PROPERTY KEL_SHIPPED_TARGETS ${target})
    get_target_property(type ${target} TYPE)
    if(NOT type STREQUAL EXECUTABLE)
        return()
    endif()
    get_target_property(program ${target} OUTPUT_NAME)
    if(NOT program)
        set(program ${target})
    endif()
    set(description "${arg_DESCRIPTION}")
    if(description STREQUAL "")
        message(FATAL_ERROR "kel_ship(${target}): a program needs a description")
    endif()
    set(resource ${CMAKE_CURRENT_BINARY_DIR}/${program}_version.rc)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/program_version.rc.in ${resource} @ONLY)
    target_sources(${target} PRIVATE ${resource})
endfunction()

# Once, after everything that ships is declared.
function(kel_list_shipped)
    get_property(targets GLOBAL PROPERTY KEL_SHIPPED_TARGETS)
    add_custom_target(kel_shipped DEPENDS ${targets})
    get_property(shipped GLOBAL PROPERTY KEL_SHIPPED)
    list(JOIN shipped "\n" shipped)
    file(GENERATE OUTPUT ${CMAKE_BINARY_DIR}/shipped.txt CONTENT "${shipped}\n")
endfunction()
