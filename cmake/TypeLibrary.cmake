# kel_type_library(NAME <name> IDL <file>)
#
# Compiles an IDL into <build>/generated/<name>.tlb and <name>.h. The INTERFACE target <name>_idl
# carries the folder of both, makes sure that they exist before its users are compiled, and brings
# the tables by which objects of these interfaces answer calls by name. The type library differs
# between 32 and 64 bit.

find_program(KEL_WIDL x86_64-w64-mingw32-widl NO_CMAKE_FIND_ROOT_PATH REQUIRED)

# Reads the IDL for what is made from it besides the type library.
find_program(KEL_PYTHON python3 NO_CMAKE_FIND_ROOT_PATH REQUIRED)

# oaidl.idl and the other standard definitions: Wine's, since mingw-w64 does not install its own.
find_path(KEL_IDL_DIR oaidl.idl
    PATHS /usr/include /usr/local/include
    PATH_SUFFIXES wine/wine/windows wine/windows wine-development/wine/windows
    NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)

# The standard type library that ours refer to; its content does not depend on the processor.
file(GLOB kel_stdole_candidates
    /usr/lib/*/wine/x86_64-windows/stdole2.tlb /usr/lib/wine/x86_64-windows/stdole2.tlb
    /usr/lib/*/wine/*/stdole2.tlb /usr/local/lib*/wine/*/stdole2.tlb)
if(NOT kel_stdole_candidates)
    message(FATAL_ERROR "stdole2.tlb not found: is Debian's libwine installed?")
endif()
list(GET kel_stdole_candidates 0 kel_stdole)
cmake_path(GET kel_stdole PARENT_PATH KEL_STDOLE_DIR)

function(kel_type_library)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME;IDL" "")
    cmake_path(ABSOLUTE_PATH arg_IDL BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} OUTPUT_VARIABLE idl)
    cmake_path(GET idl PARENT_PATH idl_dir)
    set(outputs ${KEL_GENERATED_DIR}/${arg_NAME}.tlb ${KEL_GENERATED_DIR}/${arg_NAME}.h)
    if(CMAKE_SIZEOF_VOID_P EQUAL 8)
        set(width --win64)
    else()
        set(width --win32)
    endif()
    file(GLOB neighbours CONFIGURE_DEPENDS ${idl_dir}/*.idl) # any of them may be imported
    add_custom_command(
        OUTPUT ${outputs}
        COMMAND ${CMAKE_COMMAND}
            -D WIDL=${KEL_WIDL}
            -D IDL=${idl}
            -D OUTPUT=${KEL_GENERATED_DIR}/${arg_NAME}
            -D "ARGUMENTS=-I${idl_dir};-I${KEL_IDL_DIR};-L${KEL_GENERATED_DIR};-L${KEL_STDOLE_DIR};${width}"
            -P ${PROJECT_SOURCE_DIR}/cmake/RunWidl.cmake
        DEPENDS ${neighbours} ${PROJECT_SOURCE_DIR}/cmake/RunWidl.cmake
        COMMENT "Type library ${arg_NAME}"
        VERBATIM)
    set(tools ${PROJECT_SOURCE_DIR}/idl/tools)
    set(tables ${KEL_GENERATED_DIR}/${arg_NAME}_dispatch.cpp)
    add_custom_command(
        OUTPUT ${tables}
        COMMAND ${KEL_PYTHON} -B ${tools}/dispatch_tables.py ${idl} ${tables}
        DEPENDS ${idl} ${tools}/dispatch_tables.py ${tools}/idl.py
        COMMENT "Dispatch tables ${arg_NAME}"
        VERBATIM)
    add_custom_target(${arg_NAME}_idl_files DEPENDS ${outputs})
    add_library(${arg_NAME}_dispatch STATIC ${tables})
    target_include_directories(${arg_NAME}_dispatch SYSTEM PRIVATE ${KEL_GENERATED_DIR})
    target_link_libraries(${arg_NAME}_dispatch PRIVATE kel_warnings PUBLIC kel_automation)
    add_dependencies(${arg_NAME}_dispatch ${arg_NAME}_idl_files)
    kel_compile(${arg_NAME}_dispatch)
    add_library(${arg_NAME}_idl INTERFACE)
    target_include_directories(${arg_NAME}_idl SYSTEM INTERFACE ${KEL_GENERATED_DIR})
    target_link_libraries(${arg_NAME}_idl INTERFACE ${arg_NAME}_dispatch)
    add_dependencies(${arg_NAME}_idl ${arg_NAME}_idl_files)
endfunction()
