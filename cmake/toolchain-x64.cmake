# Windows x64 by mingw-w64. On Debian:
#
#   apt-get install g++-mingw-w64-x86-64-posix mingw-w64-tools wine wine64 libwine-dev ninja-build cmake
#   cmake --preset x64 && cmake --build --preset x64
#   ./kel run x64 build/x64/bin/demo.exe
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(KEL_WIDTH x64)
set(KEL_TRIPLET x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/toolchain-common.cmake)
