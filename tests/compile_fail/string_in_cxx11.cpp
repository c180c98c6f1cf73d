// A compiler in an earlier mode is told what it takes, and reads no further: the second error is that it stops.
// FLAGS: -std=c++11
// EXPECT: compile with -std=c\+\+17
// ERRORS: 2
#if !defined(QV_COMPILE_FAIL_CONTROL)
#include "kr_string.h"
#endif

int main()
{
    return 0;
}
