// A pointer to a base does not become one to a derived class.
//
// EXPECT: no matching|could not convert|no viable conversion|conversion from
#include "kr_refptr.h"

using namespace Quorvane;

class CBase : public CRefCountedObject
{
};

class CDerived : public CBase
{
};

#if defined(QV_COMPILE_FAIL_CONTROL)
TRefPtr<CBase> Use(const TRefPtr<CDerived> &pointer)
#else
TRefPtr<CDerived> Use(const TRefPtr<CBase> &pointer)
#endif
{
    return pointer;
}
