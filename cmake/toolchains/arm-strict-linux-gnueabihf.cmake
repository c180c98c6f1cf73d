# 32-bit Arm without NEON, on which no access is unaligned.
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(QV_TRIPLE arm-linux-gnueabihf)
set(QV_EMULATOR arm)
set(CMAKE_CXX_FLAGS_INIT "-march=armv7-a+fp -mno-unaligned-access")
include("${CMAKE_CURRENT_LIST_DIR}/debian_cross.inc.cmake")
