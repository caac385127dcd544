# Cross-compiles for 64-bit Windows with Debian's mingw-w64. The -posix
# compilers are used because their thread model gives the standard library
# std::mutex, which the component relies on.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(BRELVANE_MINGW_TRIPLET x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64-common.cmake)
