// What services of the library may do with arrays beyond what users may.
#pragma once

#include <utility>

#include "kr_containers_array.h"

namespace Quorvane
{

namespace Internal
{

struct SArrayAccess
{
    // PushBack of an element that is known not to lie in the array. Returns: whether it was stored.
    template <typename T, typename Controller>
    static bool Append(TArray<T, Controller> &array, T &&element)
    {
        return array._Append(std::move(element)).Valid();
    }

    // Makes the first `count` elements the array's, at least as many as it had and at most MaxCount(). Those beyond the ones
    // it had were made in its room by the caller.
    template <typename T, typename Controller>
    static void SetCount(TArray<T, Controller> &array, u32 count)
    {
        array.m_Count = count;
    }
};

} // namespace Internal

} // namespace Quorvane
