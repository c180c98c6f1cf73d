# 32-bit Arm with NEON.
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(QV_TRIPLE arm-linux-gnueabihf)
set(QV_EMULATOR arm)
set(CMAKE_CXX_FLAGS_INIT "-march=armv7-a+neon -mfpu=neon")
include("${CMAKE_CURRENT_LIST_DIR}/debian_cross.inc.cmake")
