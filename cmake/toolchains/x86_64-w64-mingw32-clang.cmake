# Windows on x86-64, with clang++ 22 and LLVM's linker (clang-22, lld-22), on the libraries of Debian's g++ for it
# (g++-mingw-w64-x86-64-posix), and Wine (wine64) to run what they make.
set(CMAKE_C_COMPILER clang-22)
set(CMAKE_CXX_COMPILER clang++-22)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-windows-gnu)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-windows-gnu)
# As the C++ library was compiled: its variables of threads are used in its headers, std::call_once for one.
set(CMAKE_CXX_FLAGS_INIT "-femulated-tls")
include("${CMAKE_CURRENT_LIST_DIR}/windows.inc.cmake")
# The C++ library is one for threads, which g++ itself knows. This linker takes what it needs of libraries that stand before.
string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT " -fuse-ld=lld-22 -lpthread")
string(APPEND CMAKE_SHARED_LINKER_FLAGS_INIT " -fuse-ld=lld-22 -lpthread")
