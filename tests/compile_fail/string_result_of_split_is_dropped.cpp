// A split says whether all pieces could be stored.
//
// FLAGS: -Werror=unused-result
// EXPECT: ignoring return value of .*nodiscard
#include "kr_string.h"

using namespace Quorvane;

bool Cut(const CString &string, TArray<CString> &pieces)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return string.Split(',', pieces);
#else
    string.Split(',', pieces);
    return true;
#endif
}
