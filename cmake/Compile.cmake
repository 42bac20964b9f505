# How the project's own targets are compiled:
#
#   kel_compile(TARGET... [PORTABLE])
#       with precompiled headers, and several sources at a time as one, which then share what they
#       include. PORTABLE: a target without the platform's headers, which is compiled for the build
#       machine, too. A target must have the project's ordinary flags.
#
#   kel_compile_tests(TARGET...)
#       for sources of tests: with the headers of the test framework precompiled, not optimized
#
# This only saves time. With KEL_ONE_BY_ONE every source is compiled by itself and has to include what
# it uses, as the checker sees them (./kel check).
#
# Precompiled are only headers that are not the project's. A batch is small enough that a changed
# source is compiled again in seconds.

option(KEL_ONE_BY_ONE "Compile every source by itself, without precompiled headers" OFF)
set(KEL_BATCH 8)

set(kel_portable_headers
    <algorithm> <array> <chrono> <cstdint> <filesystem> <functional> <limits> <map> <memory>
    <optional> <span> <string> <string_view> <utility> <vector>)
set(kel_windows_headers <windows.h> <oleauto.h> <ocidl.h> <olectl.h> ${kel_portable_headers})

# What is tested is compiled as it ships, the tests themselves fast: most of their time goes into
# making code better that runs once.
if(KEL_HOST)
    set(kel_test_options "")
else()
    set(kel_test_options -O0)
endif()

# kel_headers(TARGET HEADER...): a target whose precompiled headers others use.
function(kel_headers target)
    add_library(${target} OBJECT EXCLUDE_FROM_ALL ${PROJECT_SOURCE_DIR}/cmake/precompiled.cpp)
    target_link_libraries(${target} PRIVATE kel_warnings)
    target_precompile_headers(${target} PRIVATE ${ARGN})
endfunction()

if(NOT KEL_ONE_BY_ONE)
    kel_headers(kel_portable_pch ${kel_portable_headers})
    if(KEL_HOST)
        kel_headers(kel_test_pch ${kel_portable_headers} <gtest/gtest.h> <gmock/gmock.h>)
    else()
        kel_headers(kel_pch ${kel_windows_headers})
        kel_headers(kel_test_pch ${kel_windows_headers} <gtest/gtest.h> <gmock/gmock.h>)
    endif()
    target_link_libraries(kel_test_pch PRIVATE gmock gtest)
    target_compile_options(kel_test_pch PRIVATE ${kel_test_options})
endif()

function(kel_compile)
    cmake_parse_arguments(PARSE_ARGV 0 arg "PORTABLE" "" "")
    if(KEL_ONE_BY_ONE)
        return()
    endif()
    foreach(target IN LISTS arg_UNPARSED_ARGUMENTS)
        set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE ${KEL_BATCH})
        if(arg_PORTABLE OR KEL_HOST)
            target_precompile_headers(${target} REUSE_FROM kel_portable_pch)
        else()
            target_precompile_headers(${target} REUSE_FROM kel_pch)
        endif()
    endforeach()
endfunction()

function(kel_compile_tests)
    foreach(target IN LISTS ARGN)
        target_compile_options(${target} PRIVATE ${kel_test_options})
        if(NOT KEL_ONE_BY_ONE)
            target_precompile_headers(${target} REUSE_FROM kel_test_pch)
        endif()
    endforeach()
endfunction()
