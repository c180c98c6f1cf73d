// A format that is none is noticed where it is passed on with its arguments, too.
//
// FLAGS: -Wformat -Werror=format
// EXPECT: -W(error=)?format
#include "kr_buffer.h"

char *Use(char *buffer, char *last, Quorvane::u32 &length, va_list args)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return Quorvane::SNativeStringUtils::VAFormat(buffer, last, length, "%d", args);
#else
    return Quorvane::SNativeStringUtils::VAFormat(buffer, last, length, "%!", args);
#endif
}
