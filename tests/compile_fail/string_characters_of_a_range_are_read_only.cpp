// Walking a string reads: a write would have to make the characters the handle's own first.
// EXPECT: (binding|drops|discards).*qualifier
#include "kr_string.h"

using namespace Quorvane;

void Blank(CString &string)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    for (char &character : string.ViewForWriting())
        character = ' ';
#else
    for (char &character : string)
        character = ' ';
#endif
}
