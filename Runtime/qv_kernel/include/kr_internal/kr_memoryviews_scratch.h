// Private header: what an access outside a view or an array refers to.
//
// Users include kr_memoryviews.h.
#pragma once

#include <cstring>
#include <new>
#include <type_traits>

#include "qv_internal/qv_namespace.h"

namespace Quorvane
{

namespace Internal
{

// Unchecked: memory that a thread has for what comes after a report. The constructor of the element is its own business.
QV_INTERNAL_UNCHECKED_BEGIN

// Memory of the thread's own for one element, which nobody constructs or destroys.
template <typename Element>
QV_INTERNAL_HIDDEN void *ScratchMemory() noexcept QV_NONBLOCKING
{
    static thread_local struct
    {
        alignas(Element) unsigned char m_Bytes[sizeof(Element)];
    } scratch;
    return scratch.m_Bytes;
}

// What an access outside a view or an array refers to after its report: a fresh element of the thread's own, valid
// until the thread's next such access. Types that cannot be default-constructed see zeroed memory.
template <typename T>
QV_INTERNAL_HIDDEN T &ScratchElement() noexcept QV_NONBLOCKING
{
    QV_INTERNAL_REALTIME_PAUSE;
    using Element = std::remove_cv_t<T>;
    if constexpr (!std::is_default_constructible<Element>::value)
    {
        return *static_cast<Element *>(std::memset(ScratchMemory<Element>(), 0, sizeof(Element)));
    }
    else if constexpr (std::is_const<T>::value)
    {
        // Nobody can put anything into it, so there is nothing to destroy when the thread ends.
        return *::new (ScratchMemory<Element>()) Element{};
    }
    else
    {
        static thread_local Element scratch{};
        scratch.~Element();
        return *::new (static_cast<void *>(&scratch)) Element{};
    }
}

QV_INTERNAL_UNCHECKED_END

} // namespace Internal

} // namespace Quorvane
