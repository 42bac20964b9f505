# Precompiled headers for the Windows trees: the platform's headers are most of what each source
# compiles. Only headers that are not the project's, so that a source still has to include what it
# uses of ours.
#
#   kel_precompile(TARGET...)  uses them for targets with the project's ordinary flags

add_library(kel_pch OBJECT ${PROJECT_SOURCE_DIR}/cmake/precompiled.cpp)
target_link_libraries(kel_pch PRIVATE kel_warnings)
target_precompile_headers(kel_pch PRIVATE
    <windows.h> <oleauto.h> <ocidl.h> <olectl.h>
    <algorithm> <array> <memory> <string> <string_view> <utility> <vector>)

# The same with the test framework, for kel_test.
add_library(kel_test_pch OBJECT ${PROJECT_SOURCE_DIR}/cmake/precompiled.cpp)
target_link_libraries(kel_test_pch PRIVATE kel_warnings gmock gtest)
target_precompile_headers(kel_test_pch PRIVATE
    <windows.h> <oleauto.h> <ocidl.h> <olectl.h>
    <algorithm> <array> <functional> <memory> <string> <string_view> <utility> <vector>
    <gtest/gtest.h> <gmock/gmock.h>)

function(kel_precompile)
    foreach(target IN LISTS ARGN)
        target_precompile_headers(${target} REUSE_FROM kel_pch)
    endforeach()
endfunction()
