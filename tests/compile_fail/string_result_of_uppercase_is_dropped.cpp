// A participle gives a new string; the verb, ToUppercase, changes the one at hand.
//
// FLAGS: -Werror=unused-result
// EXPECT: ignoring return value of .*nodiscard
#include "kr_string.h"

using namespace Quorvane;

void Shout(CString &string)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    string.ToUppercase();
#else
    string.Uppercase();
#endif
}
