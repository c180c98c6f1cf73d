// Containers come from their creators alone, which lay out the characters.
// EXPECT: private within this context
// EXPECT: calling a private constructor
#include "kr_string.h"

using namespace Quorvane;

PStringContainer Make()
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return CStringContainer::New("abc", 3);
#else
    return PStringContainer(new CStringContainer(3, 16, nullptr));
#endif
}
