# Target `sqlite3`: the storage engine, one C file, pinned. It lies in the user's cache for other
# checkouts; what fetches it there also knows its version and the hashes that it must have.
execute_process(
    COMMAND ${PROJECT_SOURCE_DIR}/cmake/driver/fetch-sqlite
    OUTPUT_VARIABLE KEL_SQLITE_DIR OUTPUT_STRIP_TRAILING_WHITESPACE
    RESULT_VARIABLE kel_status ERROR_VARIABLE kel_words)
if(NOT kel_status EQUAL 0)
    message(FATAL_ERROR "${kel_words}")
endif()

add_library(sqlite3 STATIC EXCLUDE_FROM_ALL ${KEL_SQLITE_DIR}/sqlite3.c)
target_include_directories(sqlite3 SYSTEM PUBLIC ${KEL_SQLITE_DIR})
target_compile_options(sqlite3 PRIVATE -w -O2)
if(KEL_HOST)
    # Memory that we hand over is watched; its own arithmetic is not ours to check, and checks make
    # the file four times as long to compile.
    target_compile_options(sqlite3 PRIVATE -fno-sanitize=undefined)
endif()
target_compile_definitions(sqlite3 PRIVATE
    SQLITE_THREADSAFE=1
    SQLITE_DQS=0
    SQLITE_DEFAULT_MEMSTATUS=0
    SQLITE_DEFAULT_WAL_SYNCHRONOUS=2
    SQLITE_LIKE_DOESNT_MATCH_BLOBS
    SQLITE_MAX_EXPR_DEPTH=0
    SQLITE_OMIT_DEPRECATED
    SQLITE_OMIT_LOAD_EXTENSION
    SQLITE_OMIT_SHARED_CACHE
    SQLITE_SECURE_DELETE
    SQLITE_TRUSTED_SCHEMA=0)
