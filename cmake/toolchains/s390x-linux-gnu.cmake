# 64-bit IBM Z: big endian.
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(QV_TRIPLE s390x-linux-gnu)
set(QV_EMULATOR s390x)
include("${CMAKE_CURRENT_LIST_DIR}/debian_cross.inc.cmake")
