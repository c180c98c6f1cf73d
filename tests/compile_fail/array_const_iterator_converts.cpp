// An iterator to constant elements does not become one for writing.
//
// EXPECT: no matching|could not convert|no viable conversion|conversion from
#include "kr_containers_array.h"

using namespace Quorvane;

#if defined(QV_COMPILE_FAIL_CONTROL)
TArray<int>::ConstIterator Use(TArray<int>::Iterator it)
#else
TArray<int>::Iterator Use(TArray<int>::ConstIterator it)
#endif
{
    return it;
}
