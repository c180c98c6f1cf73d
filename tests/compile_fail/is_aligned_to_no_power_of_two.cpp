// Alignments are powers of two.
//
// EXPECT: alignments are powers of two
#include "kr_mem_utils.h"

bool Use(const void *pointer)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return Quorvane::Mem::IsAligned<16>(pointer);
#else
    return Quorvane::Mem::IsAligned<24>(pointer);
#endif
}
