// Reading never detaches: the index operator gives no way to write into characters that others may share.
// EXPECT: read-only location
// EXPECT: (cannot assign to return value|const-qualified type)
#include "kr_string.h"

using namespace Quorvane;

void Capitalise(CString &text)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    text.AtForWriting(0) = 'A';
#else
    text[0] = 'A';
#endif
}
