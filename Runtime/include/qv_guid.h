// An index, or none: what searches and appends return.
//
//     const CGuid found = text.FindNextOf(',', 0);
//     if (found.Valid())
//         use(text[found]);
#pragma once

#include <type_traits>

#include "qv_defs.h"

namespace Quorvane
{

// A value of T, or `INVALID` (all bits set). Converts from and to T; does not convert to bool, since index 0 would
// read as "not found".
template <typename T>
class TGuid
{
public:
    static const TGuid INVALID;

    constexpr TGuid() : m_Guid(static_cast<T>(~T(0))) {}
    constexpr TGuid(T guid) : m_Guid(guid) {}

    // True for every value but INVALID; 0 is valid.
    constexpr bool Valid() const { return m_Guid != static_cast<T>(~T(0)); }
    constexpr T Get() const { return m_Guid; }
    constexpr operator T() const { return m_Guid; }

    template <typename Bool, typename = std::enable_if_t<std::is_same<Bool, bool>::value>>
    operator Bool() const = delete;

    T m_Guid;
};

template <typename T>
constexpr TGuid<T> TGuid<T>::INVALID = TGuid<T>();

typedef TGuid<u32> CGuid;

} // namespace Quorvane
