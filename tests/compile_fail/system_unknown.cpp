// A system that is neither Windows nor like POSIX is told so where the allocator begins.
// FLAGS: -U__unix__ -U_WIN32 -U__APPLE__
// EXPECT: written for Windows and for systems like POSIX
// ERRORS: 1
#if !defined(QV_COMPILE_FAIL_CONTROL)
#include "../../Runtime/qv_kernel/layer_0/kr_mem/mem_port.h"
#endif

int main()
{
    return 0;
}
