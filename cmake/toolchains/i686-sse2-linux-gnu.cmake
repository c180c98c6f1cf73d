# 32-bit x86 with SSE2. A 64-bit machine runs the programs.
set(CMAKE_SYSTEM_PROCESSOR i686)
set(QV_TRIPLE i686-linux-gnu)
set(CMAKE_CXX_FLAGS_INIT "-march=pentium4 -msse2 -mfpmath=sse")
include("${CMAKE_CURRENT_LIST_DIR}/debian_cross.inc.cmake")
