# Windows x86 by mingw-w64. On Debian:
#
#   apt-get install g++-mingw-w64-i686-posix mingw-w64-tools wine libwine-dev ninja-build cmake
#   cmake --preset x86 && cmake --build --preset x86
#   ./kel run x86 build/x86/bin/demo.exe
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR X86)
set(KEL_WIDTH x86)
set(KEL_TRIPLET i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/toolchain-common.cmake)

# Floating point as in 64 bit, so that both widths compute the same; callers from elsewhere align
# the stack to 4 bytes only, which SSE cannot work with.
string(APPEND CMAKE_C_FLAGS_INIT " -msse2 -mfpmath=sse -mstackrealign")
string(APPEND CMAKE_CXX_FLAGS_INIT " -msse2 -mfpmath=sse -mstackrealign")
# Exports are listed by their plain names; the functions behind them carry stdcall decoration.
string(APPEND CMAKE_SHARED_LINKER_FLAGS_INIT " -Wl,--enable-stdcall-fixup")
