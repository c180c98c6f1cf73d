# 64-bit RISC-V.
set(CMAKE_SYSTEM_PROCESSOR riscv64)
set(QV_TRIPLE riscv64-linux-gnu)
set(QV_EMULATOR riscv64)
include("${CMAKE_CURRENT_LIST_DIR}/debian_cross.inc.cmake")
