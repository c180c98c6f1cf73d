# 64-bit Arm.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(QV_TRIPLE aarch64-linux-gnu)
set(QV_EMULATOR aarch64)
include("${CMAKE_CURRENT_LIST_DIR}/debian_cross.inc.cmake")
