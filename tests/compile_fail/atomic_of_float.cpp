// Atomics hold integers: the processor cannot add floats in one piece.
//
// EXPECT: TAtomic holds integers
#include "kr_atomic.h"

#if defined(QV_COMPILE_FAIL_CONTROL)
Quorvane::TAtomic<Quorvane::u32> g_Value;
#else
Quorvane::TAtomic<float> g_Value;
#endif
