// A reference to an element of a temporary array dangles, and compilers that can tell say so.
//
// EXPECT: temporary .* destroyed at the end of the full-expression
// FLAGS: -Werror=dangling
// ONLY: clang
#include "kr_containers_array.h"

using namespace Quorvane;

int Use()
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    const int first = TArray<int>().First();
#else
    const int &first = TArray<int>().First();
#endif
    return first;
}
