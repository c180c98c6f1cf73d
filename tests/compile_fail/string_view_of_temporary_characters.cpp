// The characters of a temporary string are gone as soon as the expression ends, however they are viewed.
// ONLY: clang
// FLAGS: -Werror=dangling
// EXPECT: temporary whose address is used as value of local variable .view. will be destroyed
#include "kr_string.h"

using namespace Quorvane;

char FirstOf(const char *text)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    const CString string(text);
    const TMemoryView<const char> view = string.View();
#else
    const TMemoryView<const char> view = CString(text).View();
#endif
    return view[0];
}
