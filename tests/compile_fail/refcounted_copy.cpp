// A counted object is not copied: its counts belong to those who point at it.
//
// EXPECT: (deleted|implicitly-deleted) .*CObject
#include "kr_refptr.h"

using namespace Quorvane;

class CObject : public CRefCountedObject
{
};

void Use(const TRefPtr<CObject> &object)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    const TRefPtr<CObject> copy(object);
#else
    const CObject copy(*object);
#endif
    static_cast<void>(copy);
}
