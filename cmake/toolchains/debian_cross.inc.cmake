# What the toolchain files for Debian's cross compilers share. They set before they include this:
#   QV_TRIPLE    the machine's name in those of the compilers, as in s390x-linux-gnu
#   QV_EMULATOR  QEMU's name of the machine; none where this machine runs its programs by itself
#
# Programs are linked statically: they run wherever the machine or the emulator is, without its libraries.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER "${QV_TRIPLE}-gcc")
set(CMAKE_CXX_COMPILER "${QV_TRIPLE}-g++")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")

set(CMAKE_FIND_ROOT_PATH "/usr/${QV_TRIPLE}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

if(QV_EMULATOR)
    find_program(QV_EMULATOR_PROGRAM NAMES "qemu-${QV_EMULATOR}-static" "qemu-${QV_EMULATOR}" REQUIRED)
    mark_as_advanced(QV_EMULATOR_PROGRAM)
    set(CMAKE_CROSSCOMPILING_EMULATOR "${QV_EMULATOR_PROGRAM}" CACHE STRING "Runs the programs of the other machine")
endif()
