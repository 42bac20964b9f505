# What both cross toolchains share. Expects KEL_WIDTH and KEL_TRIPLET.

# The posix flavour has std::thread and std::mutex.
set(CMAKE_C_COMPILER ${KEL_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${KEL_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${KEL_TRIPLET}-windres)

# Headers and libraries of the build machine are never the target's.
set(CMAKE_FIND_ROOT_PATH /usr/${KEL_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/driver/wine-run ${KEL_WIDTH})

# Level 1 gives backtraces with function names at a fraction of the size of full information; version
# 4 is the newest that Wine's debugger reads.
# Cached, since CMake would append its own -g to mere initial flags.
# The level comes last: the choice of a version alone raises it.
set(CMAKE_C_FLAGS_RELWITHDEBINFO "-O2 -gdwarf-4 -g1 -DNDEBUG" CACHE STRING "")
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O2 -gdwarf-4 -g1 -DNDEBUG" CACHE STRING "")

# A function with an array on its stack notices that it was overrun before it returns.
set(CMAKE_C_FLAGS_INIT -fstack-protector-strong)
set(CMAKE_CXX_FLAGS_INIT -fstack-protector-strong)

# Loaded at an address of the system's choice (which needs relocations, programs' too), with no
# executable data. Defaults of some linkers, not of all.
set(kel_hardening "-Wl,--dynamicbase -Wl,--nxcompat")
if(KEL_WIDTH STREQUAL x64)
    string(APPEND kel_hardening " -Wl,--high-entropy-va")
endif()

# Nothing but the system's own DLLs is needed beside ours. Without a time stamp the same source
# gives the same DLL, which then need not be registered again.
foreach(kind EXE SHARED MODULE)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT "-static -Wl,--no-insert-timestamp ${kel_hardening}")
endforeach()
