# GoogleTest out of the distribution's sources, and the functions that declare tests:
#
#   kel_test(NAME <name> SOURCES <file>... [LIBRARIES <target>...] [ARGS <argument>...] [TIMEOUT <s>])
#       a test program; it is linked with gtest, gmock and kel_test_main if there is such a target
#       (gtest_main otherwise).
#   kel_script_test(NAME <name> SCRIPT <file> [ARGS <argument>...] [TIMEOUT <s>])
#       a script: .vbs, .js, .wsf for the script host; .sh for the shell, which finds the width in
#       KEL_WIDTH and in KEL_WINE_RUN the command that runs a Windows program: $KEL_WINE_RUN $KEL_WIDTH x.exe;
#       .py for Python.
#
# One CTest test is one program or script. Its last line says "N passed, N failed[, N skipped]".

set(gtest_disable_pthreads OFF)
set(INSTALL_GTEST OFF)
find_path(KEL_GTEST_SOURCE googletest/CMakeLists.txt
    PATHS /usr/src/googletest NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
add_subdirectory(${KEL_GTEST_SOURCE} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
foreach(library gtest gtest_main gmock gmock_main)
    target_compile_options(${library} PRIVATE -w)
endforeach()

if(KEL_HOST)
    set(KEL_TEST_WIDTH host)
else()
    set(KEL_TEST_WIDTH ${KEL_WIDTH})
    if(KEL_CHECKED)
        string(APPEND KEL_TEST_WIDTH -checked)
    endif()
endif()

function(kel_add_test name command arguments timeout)
    if(NOT timeout)
        set(timeout 300)
    endif()
    add_test(NAME ${name}
        COMMAND ${PROJECT_SOURCE_DIR}/cmake/driver/test-run ${KEL_TEST_WIDTH}
            ${CMAKE_BINARY_DIR}/test-results/${name} ${command} ${arguments})
    set_tests_properties(${name} PROPERTIES TIMEOUT ${timeout})
endfunction()

function(kel_test)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME;TIMEOUT" "SOURCES;LIBRARIES;ARGS")
    add_executable(${arg_NAME} ${arg_SOURCES})
    set_target_properties(${arg_NAME} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    target_link_libraries(${arg_NAME} PRIVATE ${arg_LIBRARIES} kel_warnings gmock gtest)
    if(TARGET kel_test_main)
        target_link_libraries(${arg_NAME} PRIVATE kel_test_main)
    else()
        target_link_libraries(${arg_NAME} PRIVATE gtest_main)
    endif()
    kel_compile_tests(${arg_NAME})
    kel_add_test(${arg_NAME} $<TARGET_FILE:${arg_NAME}> "${arg_ARGS}" "${arg_TIMEOUT}")
endfunction()

function(kel_script_test)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME;SCRIPT;TIMEOUT" "ARGS")
    cmake_path(ABSOLUTE_PATH arg_SCRIPT BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
    kel_add_test(${arg_NAME} ${arg_SCRIPT} "${arg_ARGS}" "${arg_TIMEOUT}")
endfunction()
