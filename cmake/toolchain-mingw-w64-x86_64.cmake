# Cross build for 64-bit Windows with the MinGW-w64 toolchain of Debian
# (packages g++-mingw-w64-x86-64-posix and binutils-mingw-w64-x86-64):
#   cmake -S . -B build-windows -G Ninja \
#         -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-mingw-w64-x86_64.cmake
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(STI_MINGW_TRIPLET x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${STI_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${STI_MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${STI_MINGW_TRIPLET}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${STI_MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
