// An element that cannot be copied has to be moved into the array, and the compiler says so.
//
// EXPECT: move the element into the array: it cannot be copied
#include <memory>
#include <utility>

#include "kr_containers_array.h"

using namespace Quorvane;

CGuid Use(TArray<std::unique_ptr<int>> &array, std::unique_ptr<int> &element)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return array.PushBack(std::move(element));
#else
    return array.PushBack(element);
#endif
}
