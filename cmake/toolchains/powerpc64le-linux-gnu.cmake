# 64-bit Power, little endian.
set(CMAKE_SYSTEM_PROCESSOR ppc64le)
set(QV_TRIPLE powerpc64le-linux-gnu)
set(QV_EMULATOR ppc64le)
include("${CMAKE_CURRENT_LIST_DIR}/debian_cross.inc.cmake")
