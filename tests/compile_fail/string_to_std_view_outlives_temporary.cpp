// A conversion to the standard's view borrows as the function for it does.
// ONLY: clang
// FLAGS: -Werror=dangling
// EXPECT: temporary whose address is used as value of local variable .view. will be destroyed
#include "kr_string_std.h"

using namespace Quorvane;

char FirstOf(const char *text)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    const CString string(text);
    const std::string_view view(string);
#else
    const std::string_view view(CString{text});
#endif
    return view.front();
}
