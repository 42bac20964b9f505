# Target `sqlite3`: the storage engine, one C file, pinned.
#
# The file is taken out of a package of the npm registry that carries it, and kept in the user's
# cache for other checkouts. It is used only if its hash is the expected one.

set(KEL_SQLITE_PACKAGE_VERSION 13.2.0)
set(KEL_SQLITE_HASH_sqlite3.c 75a4760a7b9727a4c4c877aec92eacf39e52a8f2921ce00bd33be6d3a8e8e254)
set(KEL_SQLITE_HASH_sqlite3.h d6c84557261893439b341d2e6c35187ae3ea24fbfd843ad94616f72d89242b8c)

if(DEFINED ENV{XDG_CACHE_HOME} AND NOT "$ENV{XDG_CACHE_HOME}" STREQUAL "")
    set(kel_cache $ENV{XDG_CACHE_HOME}/kelSDK)
else()
    set(kel_cache $ENV{HOME}/.cache/kelSDK)
endif()
set(KEL_SQLITE_DIR ${kel_cache}/sqlite-${KEL_SQLITE_PACKAGE_VERSION})

# Sets `result` to whether `folder` holds both files as they must be.
function(kel_sqlite_intact folder result)
    set(${result} TRUE PARENT_SCOPE)
    foreach(name sqlite3.c sqlite3.h)
        set(hash "")
        if(EXISTS ${folder}/${name})
            file(SHA256 ${folder}/${name} hash)
        endif()
        if(NOT hash STREQUAL KEL_SQLITE_HASH_${name})
            set(${result} FALSE PARENT_SCOPE)
        endif()
    endforeach()
endfunction()

function(kel_fetch_sqlite)
    find_program(NPM npm NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    set(package better-sqlite3)
    string(RANDOM suffix)
    set(scratch ${kel_cache}/sqlite-fetch-${suffix})
    file(MAKE_DIRECTORY ${scratch})
    execute_process(
        COMMAND ${NPM} pack --silent ${package}@${KEL_SQLITE_PACKAGE_VERSION}
        WORKING_DIRECTORY ${scratch} RESULT_VARIABLE status ERROR_VARIABLE message OUTPUT_QUIET)
    set(archive ${scratch}/${package}-${KEL_SQLITE_PACKAGE_VERSION}.tgz)
    if(NOT status EQUAL 0 OR NOT EXISTS ${archive})
        file(REMOVE_RECURSE ${scratch})
        message(FATAL_ERROR "npm could not fetch ${package}@${KEL_SQLITE_PACKAGE_VERSION}: ${message}")
    endif()
    file(ARCHIVE_EXTRACT INPUT ${archive} DESTINATION ${scratch}
        PATTERNS package/deps/sqlite3/sqlite3.c package/deps/sqlite3/sqlite3.h)
    kel_sqlite_intact(${scratch}/package/deps/sqlite3 intact)
    if(NOT intact)
        file(REMOVE_RECURSE ${scratch})
        message(FATAL_ERROR "${package}@${KEL_SQLITE_PACKAGE_VERSION} does not hold the expected sqlite3.c and sqlite3.h")
    endif()
    # Renamed into place: another checkout never sees half of it.
    file(REMOVE_RECURSE ${KEL_SQLITE_DIR})
    file(RENAME ${scratch}/package/deps/sqlite3 ${KEL_SQLITE_DIR})
    file(REMOVE_RECURSE ${scratch})
endfunction()

kel_sqlite_intact(${KEL_SQLITE_DIR} kel_sqlite_present)
if(NOT kel_sqlite_present)
    kel_fetch_sqlite()
endif()

add_library(sqlite3 STATIC EXCLUDE_FROM_ALL ${KEL_SQLITE_DIR}/sqlite3.c)
target_include_directories(sqlite3 SYSTEM PUBLIC ${KEL_SQLITE_DIR})
target_compile_options(sqlite3 PRIVATE -w -O2)
target_compile_definitions(sqlite3 PRIVATE
    SQLITE_THREADSAFE=1
    SQLITE_DQS=0
    SQLITE_DEFAULT_MEMSTATUS=0
    SQLITE_DEFAULT_WAL_SYNCHRONOUS=2
    SQLITE_LIKE_DOESNT_MATCH_BLOBS
    SQLITE_MAX_EXPR_DEPTH=0
    SQLITE_OMIT_DEPRECATED
    SQLITE_OMIT_LOAD_EXTENSION
    SQLITE_OMIT_SHARED_CACHE)
