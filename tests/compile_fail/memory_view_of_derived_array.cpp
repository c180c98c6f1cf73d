// An array of derived objects is no view of bases: stepping in the size of a base would go astray.
//
// EXPECT: no matching|could not convert|no viable conversion|conversion from
#include "kr_memoryviews.h"

using namespace Quorvane;

struct SBase
{
    int m_A;
};

struct SDerived : SBase
{
    int m_B;
};

SDerived g_Objects[3];

#if defined(QV_COMPILE_FAIL_CONTROL)
TMemoryView<const SDerived> Use()
#else
TMemoryView<SBase> Use()
#endif
{
    return g_Objects;
}
