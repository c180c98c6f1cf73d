// Where to start comes before the case: an enumerator in its place would be taken for a number.
// EXPECT: use of deleted|call to deleted
#include "kr_string.h"

using namespace Quorvane;

CGuid PlaceOf(const CString &string, const CString &text)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return string.FindText(text, 0, CaseInsensitive);
#else
    return string.FindText(text, CaseInsensitive);
#endif
}
