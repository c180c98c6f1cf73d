# Windows on x86-64, with Debian's g++ for it (g++-mingw-w64-x86-64-posix), and Wine (wine64) to run what it makes.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
include("${CMAKE_CURRENT_LIST_DIR}/windows.inc.cmake")
