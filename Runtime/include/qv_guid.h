// An index, or none: what searches and appends return.
//
//     const CGuid found = text.FindNextOf(',', 0);
//     if (found.Valid())
//         use(text[found]);
#pragma once

#include <iosfwd>
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
    QV_INTERNAL_HIDDEN static const TGuid INVALID;

    constexpr TGuid() noexcept : m_Guid(static_cast<T>(~T(0))) {}
    constexpr TGuid(T guid) noexcept : m_Guid(guid) {}

    // True for every value but INVALID; 0 is valid.
    [[nodiscard]] constexpr bool Valid() const noexcept { return m_Guid != static_cast<T>(~T(0)); }
    constexpr T Get() const noexcept { return m_Guid; }
    constexpr operator T() const noexcept { return m_Guid; }

    template <typename Bool, typename = std::enable_if_t<std::is_same<Bool, bool>::value>>
    operator Bool() const noexcept = delete;

    // Writes the number to a stream of the standard library, which whoever has one has included.
    template <typename Character, typename Traits>
    friend std::basic_ostream<Character, Traits> &operator<<(std::basic_ostream<Character, Traits> &stream,
                                                             const TGuid &guid)
    {
        // A byte is a number here, not a character.
        return stream << +guid.m_Guid;
    }

    T m_Guid;
};

template <typename T>
constexpr TGuid<T> TGuid<T>::INVALID = TGuid<T>();

using CGuid = TGuid<u32>;

} // namespace Quorvane
