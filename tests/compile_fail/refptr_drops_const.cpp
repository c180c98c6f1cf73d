// A pointer to a constant object does not become one to a writable object.
//
// EXPECT: no matching|could not convert|no viable conversion|conversion from
#include "kr_refptr.h"

using namespace Quorvane;

class CObject : public CRefCountedObject
{
};

#if defined(QV_COMPILE_FAIL_CONTROL)
TRefPtr<const CObject> Use(const TRefPtr<CObject> &pointer)
#else
TRefPtr<CObject> Use(const TRefPtr<const CObject> &pointer)
#endif
{
    return pointer;
}
