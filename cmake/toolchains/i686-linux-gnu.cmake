# 32-bit x86 without SSE: floating-point arithmetic has the wider registers of the x87. A 64-bit machine runs the programs.
set(CMAKE_SYSTEM_PROCESSOR i686)
set(QV_TRIPLE i686-linux-gnu)
set(CMAKE_CXX_FLAGS_INIT "-march=pentiumpro -mno-sse -mfpmath=387")
include("${CMAKE_CURRENT_LIST_DIR}/debian_cross.inc.cmake")
