// As of strings, and with a literal.
// EXPECT: use of deleted|call to deleted
#include "kr_string.h"

using namespace Quorvane;

CGuid PlaceOf(const CStringView &view)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return view.FindText("text", 0, CaseInsensitive);
#else
    return view.FindText("text", CaseInsensitive);
#endif
}
