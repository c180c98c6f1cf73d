// Another compiler is told which ones it takes, and reads no further: the second error is that it stops.
// FLAGS: -U__GNUC__ -U__clang__
// EXPECT: written for g\+\+, clang\+\+ and clang-cl
// ERRORS: 2
#if !defined(QV_COMPILE_FAIL_CONTROL)
#include "kr_assert.h"
#endif

int main()
{
    return 0;
}
