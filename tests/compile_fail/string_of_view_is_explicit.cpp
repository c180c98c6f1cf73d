// A view becomes a string, with a copy of its characters, where that is asked for.
//
// EXPECT: could not convert
// EXPECT: no viable conversion
#include "kr_string.h"

using namespace Quorvane;

CString Copied(const CStringView &view)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return CString(view);
#else
    return view;
#endif
}
