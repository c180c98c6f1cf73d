// A list in braces lends its elements, so that the array copies them: what can only be moved is pushed.
//
// EXPECT: cannot be copied|deleted
#include <memory>
#include <utility>

#include "kr_containers_array.h"

using namespace Quorvane;

TArray<std::unique_ptr<int>> Use()
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    TArray<std::unique_ptr<int>> array{};
    array.PushBack(std::make_unique<int>(1));
#else
    TArray<std::unique_ptr<int>> array{std::make_unique<int>(1)};
#endif
    return array;
}
