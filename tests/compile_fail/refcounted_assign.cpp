// A counted object is not assigned: its counts belong to those who point at it.
//
// EXPECT: (deleted|implicitly deleted)
#include "kr_refptr.h"

using namespace Quorvane;

class CObject : public CRefCountedObject
{
};

void Use(TRefPtr<CObject> &a, const TRefPtr<CObject> &b)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    a = b;
#else
    *a = *b;
#endif
}
