// A string is stripped of a set of characters, which is a text; a single character would be taken for an address.
// EXPECT: cannot initialize a parameter|invalid conversion|cannot convert|no matching
#include "kr_string.h"

using namespace Quorvane;

void Trim(CString &string)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    string.StripLeft(" ");
#else
    string.StripLeft(' ');
#endif
}
