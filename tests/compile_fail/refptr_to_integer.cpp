// A pointer is a condition, but no number.
//
// EXPECT: cannot convert
// EXPECT: no viable conversion
#include "kr_refptr.h"

using namespace Quorvane;

class CTexture : public CRefCountedObject
{
};

int Use(const TRefPtr<CTexture> &texture)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    const int isThere = texture ? 1 : 0;
#else
    const int isThere = texture;
#endif
    return isThere;
}
