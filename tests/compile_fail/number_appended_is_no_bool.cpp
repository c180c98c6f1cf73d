// A truth is no number to be appended, nor is a character.
// EXPECT: no matching function for call to .*AppendNumber
#include "kr_string_numbers.h"

using namespace Quorvane;

void AppendFlag(CString &string, bool flag)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    AppendNumber(string, flag ? 1 : 0);
#else
    AppendNumber(string, flag);
#endif
}
