// A block's alignment is a power of two.
//
// EXPECT: alignments are powers of two
#include "kr_containers_array.h"

using namespace Quorvane;

#if defined(QV_COMPILE_FAIL_CONTROL)
TArray<int, TArrayStaticController<32, 8, 8, 0, 2>> g_Array;
#else
TArray<int, TArrayStaticController<24, 8, 8, 0, 2>> g_Array;
#endif
