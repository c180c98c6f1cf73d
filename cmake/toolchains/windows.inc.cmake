# What the toolchain files for Windows on x86-64 share. They set the compilers before they include this. Headers, libraries
# and resource compiler are those of Debian's cross compiler (g++-mingw-w64-x86-64-posix); Wine (wine64) runs what is made.
#
# Programs and libraries take the compiler's own libraries with them, so they run without any file beside them.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(QV_TRIPLE x86_64-w64-mingw32)
set(CMAKE_RC_COMPILER "${QV_TRIPLE}-windres")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")

set(CMAKE_FIND_ROOT_PATH "/usr/${QV_TRIPLE}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Quiet, and with a folder of its own for what it takes for a Windows machine.
find_program(QV_WINE NAMES wine64 wine PATHS /usr/lib/wine)
mark_as_advanced(QV_WINE)
if(QV_WINE)
    set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/wine.sh;${QV_WINE}"
        CACHE STRING "Runs the programs of the other machine")
endif()
