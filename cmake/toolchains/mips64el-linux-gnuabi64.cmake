# 64-bit MIPS, little endian.
set(CMAKE_SYSTEM_PROCESSOR mips64)
set(QV_TRIPLE mips64el-linux-gnuabi64)
set(QV_EMULATOR mips64el)
include("${CMAKE_CURRENT_LIST_DIR}/debian_cross.inc.cmake")
