// Counted objects are freed one by one, each with its last reference, so no block may hold several of them.
//
// EXPECT: an array holds pointers to counted objects
// EXPECT: deleted
#include <new>

#include "kr_refptr.h"

using namespace Quorvane;

class CTexture : public CRefCountedObject
{
};

const void *Make()
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return new CTexture;
#else
    return new CTexture[4];
#endif
}
