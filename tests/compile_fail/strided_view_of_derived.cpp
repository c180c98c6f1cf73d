// Neither is a view of derived objects a strided view of bases: it would need their stride.
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

#if defined(QV_COMPILE_FAIL_CONTROL)
TStridedMemoryView<const SDerived> Use(const TMemoryView<SDerived> &view)
#else
TStridedMemoryView<SBase> Use(const TMemoryView<SDerived> &view)
#endif
{
    return view;
}
