// An atomic is not copied: the copy would have missed what others do to the original.
//
// EXPECT: deleted
#include "kr_atomic.h"

Quorvane::u32 Use(const Quorvane::TAtomic<Quorvane::u32> &value)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    const Quorvane::TAtomic<Quorvane::u32> copy(value.Load());
#else
    const Quorvane::TAtomic<Quorvane::u32> copy(value);
#endif
    return copy.Load();
}
