// Elements that can neither be moved nor have their bytes moved cannot be in an array, and the compiler says so.
//
// EXPECT: elements must be move-constructible
#include "kr_containers_array.h"

using namespace Quorvane;

struct SElement
{
    SElement() = default;
#if defined(QV_COMPILE_FAIL_CONTROL)
    SElement(SElement &&) noexcept {}
#else
    SElement(SElement &&) = delete;
#endif
    ~SElement() {}
};

bool Use(TArray<SElement> &array)
{
    return array.Reserve(10);
}
