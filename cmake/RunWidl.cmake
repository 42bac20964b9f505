# Runs the IDL compiler: cmake -D WIDL= -D IDL= -D OUTPUT=<without suffix> -D ARGUMENTS= -P this.

foreach(kind IN ITEMS "-t;tlb" "-h;h")
    list(GET kind 0 option)
    list(GET kind 1 suffix)
    execute_process(
        COMMAND ${WIDL} ${ARGUMENTS} ${option} -o ${OUTPUT}.${suffix} ${IDL}
        RESULT_VARIABLE status OUTPUT_VARIABLE messages ERROR_VARIABLE messages)
    # Every library that imports the standard one repeats a few of its identifiers.
    string(REGEX REPLACE "[^\n]*duplicate uuid {00020430[^\n]*\n?" "" messages "${messages}")
    # The compiler only warns about a default value it cannot store, and leaves a type library
    # behind in which that method cannot be read.
    if(NOT status EQUAL 0 OR messages MATCHES "can't write value")
        file(REMOVE ${OUTPUT}.${suffix})
        message(FATAL_ERROR "${messages}")
    endif()
    string(STRIP "${messages}" messages)
    if(messages)
        message("${messages}")
    endif()
endforeach()
