// Equality and ordering of strings, with buffers, views and each other.
#include "kr_string.h"

#include <cstring>

#include "../kr_buffer/buffer_kernels.h"
#include "../kr_buffer/buffer_scan.h"
#include "../kr_buffer/buffer_text.h"
#include "../kr_buffer/character_table.h"
#include "null_text.h"
#include "string_block.h"

namespace Quorvane
{

namespace
{

using Internal::Buffer::Narrow::OrderOfBytes;
using Internal::Buffer::Narrow::SExactBytes;
using Internal::Buffer::Narrow::SLowerCaseBytes;
using Internal::Buffer::ToBytes;
using Internal::Simd::SBlock;
using Internal::String::IsNullOrEmpty;

constexpr const char *kDataCheck = "m_Container->Data() != null";

// Short texts are compared right here, where most of the time would go into calls.
constexpr u32 kShortText = 2 * SBlock::kBytes;

// The index of the first byte in which two containers' blocks from `at` on differ as `Comparison` sees them; the number
// of a block's bytes behind `at` when none does.
template <typename Comparison>
u32 FirstDifferenceInBlock(const char *a, const char *b, u32 at)
{
    const SBlock differences = Comparison::Differences(SBlock::Padded(a + at), SBlock::Padded(b + at));
    return at + SBlock::FirstDifference(differences, SBlock::Fill(0));
}

// Equality of two containers' characters, at most kShortText of them. Each has at least one block; the second one is
// read only where it holds characters. What stands behind `length` in a block does not count.
template <typename Comparison>
bool EqualShort(const char *a, const char *b, u32 length)
{
    const u32 first = FirstDifferenceInBlock<Comparison>(a, b, 0);
    if (first < SBlock::kBytes || length <= SBlock::kBytes)
        return first >= length;
    return FirstDifferenceInBlock<Comparison>(a, b, SBlock::kBytes) >= length;
}

// The same of more of them. Out of line, so that short ones save no registers.
QV_INTERNAL_NOINLINE bool EqualLong(const char *a, const char *b, u32 length, ECaseSensitivity caseSensitivity)
{
    return caseSensitivity == CaseSensitive ? Internal::String::EqualCharactersSlow(a, b, length)
                                            : SNativeStringUtils::EqualCase(a, b, length);
}

bool EqualInBlocks(const char *a, const char *b, u32 length, ECaseSensitivity caseSensitivity)
{
    if (length > kShortText)
        return EqualLong(a, b, length, caseSensitivity);
    return caseSensitivity == CaseSensitive ? EqualShort<SExactBytes>(a, b, length)
                                            : EqualShort<SLowerCaseBytes>(a, b, length);
}

// Both have all `length` bytes, so the platform's routine and the wide kernels may read further than the first
// difference.
QV_INTERNAL_NOINLINE s32 OrderOfLong(const char *a, const char *b, u32 length, ECaseSensitivity caseSensitivity)
{
    return caseSensitivity == CaseSensitive ? std::memcmp(a, b, length) : SNativeStringUtils::CompareCase(a, b, length);
}

// The sign of the order of two containers' bytes, of which both have `length`, at least 1.
template <typename Comparison>
s32 OrderOfBlocks(const char *a, const char *b, u32 length, ECaseSensitivity caseSensitivity)
{
    if (length > kShortText)
        return OrderOfLong(a, b, length, caseSensitivity);
    u32 index = FirstDifferenceInBlock<Comparison>(a, b, 0);
    if (index == SBlock::kBytes && length > SBlock::kBytes)
        index = FirstDifferenceInBlock<Comparison>(a, b, SBlock::kBytes);
    return index < length ? OrderOfBytes<Comparison>(ToBytes(a)[index], ToBytes(b)[index]) : 0;
}

// Whether a container's characters come first, as far as the first `lengthA` + 1 bytes tell: the terminator takes part.
// A longer text may hold terminators where the shorter one ends; nothing is read behind the shorter one's last block.
// Where no block of `b` differs, `a` goes on behind them, and is the greater one.
template <typename Comparison>
bool IsLess(const char *a, u32 lengthA, const char *b, u32 lengthB, ECaseSensitivity caseSensitivity)
{
    const u64 wanted = static_cast<u64>(lengthA) + 1;
    const u64 common = QVMin(wanted, Internal::String::PaddedBytes(lengthB));
    return OrderOfBlocks<Comparison>(a, b, static_cast<u32>(common), caseSensitivity) < 0;
}

// The order of two texts of known lengths by bytes, the shorter one first.
s32 OrderOfTexts(const char *a, u32 lengthA, const char *b, u32 lengthB)
{
    const u32 common = QVMin(lengthA, lengthB);
    const int order = common != 0 ? std::memcmp(a, b, common) : 0;
    return order != 0 ? order : (lengthA > lengthB) - (lengthA < lengthB);
}

// The order of the first bytes of two texts, lower-cased.
s32 OrderIgnoringCase(const u8 *a, const u8 *b, u64 count)
{
    const u8 *const lower = SNativeStringUtils::kr_buffer_char_lookups + Internal::Buffer::kLowerRow;
    for (u64 i = 0; i < count; ++i)
        if (lower[a[i]] != lower[b[i]])
            return lower[a[i]] < lower[b[i]] ? -1 : 1;
    return 0;
}

// Invalid containers: null data, of one side at least. Out of line, so that what is done for the others saves no register
// for a report.

QV_INTERNAL_COLD bool EqualWithoutCharacters(const CString &a, const CString &b)
{
    const char *srcA = a.Data();
    const char *srcB = b.Data();
    QV_INTERNAL_ASSERT_TEXT("srcA != null && srcB != null", false);
    return a.Length() == b.Length() && srcA == srcB;
}

QV_INTERNAL_COLD bool LessWithoutCharacters(const char *srcA, const char *srcB)
{
    QV_INTERNAL_ASSERT_TEXT("srcA != null && srcB != null", false);
    return srcA == nullptr && srcB != nullptr;
}

QV_INTERNAL_COLD s32 OrderWithoutCharacters(const char *data, const char *otherData)
{
    QV_INTERNAL_ASSERT_TEXT("m_Container->Data() != null && other.m_Container->Data() != null", false);
    return (data != nullptr) - (otherData != nullptr);
}

} // namespace

namespace Internal::String
{

bool EqualCharactersSlow(const char *a, const char *b, u32 length) noexcept QV_NONBLOCKING
{
    if (length >= Buffer::kMinWidestLength && Simd::HasWidestInstructions())
        return Buffer::Widest::EqualInCounted(ToBytes(a), ToBytes(b), length);
    return QV_INTERNAL_LIKELY(Simd::HasWideInstructions())
               ? Buffer::Wide::EqualInCounted(ToBytes(a), ToBytes(b), length)
               : std::memcmp(a, b, length) == 0;
}

// A view of null orders with a null buffer, before every text.

s32 OrderOfViews(const CStringView &a, const CStringView &b) noexcept QV_NONBLOCKING
{
    if (a.Data() == nullptr || b.Data() == nullptr)
        return (a.Data() != nullptr) - (b.Data() != nullptr);
    return OrderOfTexts(a.Data(), a.Length(), b.Data(), b.Length());
}

s32 OrderOfViews(const CStringView &a, const char *b) noexcept QV_NONBLOCKING
{
    if (a.Data() == nullptr || b == nullptr)
        return (a.Data() != nullptr) - (b != nullptr);
    // One character more than the view has decides which one is longer; nothing behind it is looked at.
    const u32 length = Buffer::LengthWithin(b, a.Length());
    const s32 order = OrderOfTexts(a.Data(), a.Length(), b, length);
    return order == 0 && b[length] != '\0' ? -1 : order;
}

} // namespace Internal::String

bool CString::Compare(const char *other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    if (m_Container == null)
        return IsNullOrEmpty(other);
    const char *data = Data();
    QV_INTERNAL_ASSERT_TEXT(kDataCheck, data != nullptr);
    if (other == nullptr || data == nullptr)
        return IsNullOrEmpty(data) && IsNullOrEmpty(other);
    if (caseSensitivity != CaseSensitive)
        return SNativeStringUtils::EqualCase(data, other);
    return data == other || SNativeStringUtils::Equal(data, other);
}

bool CString::Compare(const CStringView &other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    if (m_Container == null)
        return other.Empty();
    const char *data = Data();
    QV_INTERNAL_ASSERT_TEXT(kDataCheck, data != nullptr);
    if (other.Empty())
        return IsNullOrEmpty(data);
    const u32 length = Length();
    if (length != other.Length() || data == nullptr || other.Data() == nullptr)
        return false;
    if (caseSensitivity != CaseSensitive)
        return Internal::PlatformCompareCase(data, other.Data(), length) == 0;
    // Not memcmp, which operator== takes: behind a terminator that both have, anything is equal.
    return data == other.Data() || std::strncmp(data, other.Data(), length) == 0;
}

bool CString::Compare(const CString &other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    const CStringContainer *container = m_Container.Get();
    const CStringContainer *otherContainer = other.m_Container.Get();
    if (container == nullptr || otherContainer == nullptr)
        return Empty() && other.Empty();
    const char *srcA = container->Data();
    const char *srcB = otherContainer->Data();
    if (QV_INTERNAL_UNLIKELY(srcA == nullptr || srcB == nullptr))
        return EqualWithoutCharacters(*this, other);
    const u32 length = container->Length();
    if (length != otherContainer->Length())
        return false;
    if (srcA == srcB && caseSensitivity == CaseSensitive)
        return true;
    return EqualInBlocks(srcA, srcB, length, caseSensitivity);
}

bool CString::LessThan(const CString &other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    if (m_Container == null)
        return other.m_Container != null;
    if (other.m_Container == null)
        return false;
    const char *srcA = Data();
    const char *srcB = other.Data();
    if (QV_INTERNAL_UNLIKELY(srcA == nullptr || srcB == nullptr))
        return LessWithoutCharacters(srcA, srcB);
    return caseSensitivity != CaseSensitive
               ? IsLess<SLowerCaseBytes>(srcA, Length(), srcB, other.Length(), CaseInsensitive)
               : IsLess<SExactBytes>(srcA, Length(), srcB, other.Length(), CaseSensitive);
}

bool CString::LessThan(const char *other, ECaseSensitivity caseSensitivity) const noexcept QV_NONBLOCKING
{
    if (m_Container == null || IsNullOrEmpty(other))
        return m_Container == null && !IsNullOrEmpty(other);
    const char *data = Data();
    if (QV_INTERNAL_UNLIKELY(data == nullptr))
        return LessWithoutCharacters(data, other);
    // The buffer's terminator takes part, as far as this string goes.
    const u32 length = Internal::Buffer::LengthWithin(other, Length());
    if (caseSensitivity == CaseSensitive)
        return std::memcmp(data, other, static_cast<std::size_t>(length) + 1) < 0;
    return OrderIgnoringCase(ToBytes(data), ToBytes(other), static_cast<u64>(length) + 1) < 0;
}

bool CString::operator<(const char *other) const noexcept QV_NONBLOCKING
{
    if (m_Container == null || other == nullptr)
        return m_Container == null && other != nullptr;
    return SNativeStringUtils::Compare(Data(), other) < 0;
}

bool CString::operator>(const char *other) const noexcept QV_NONBLOCKING
{
    if (m_Container == null || other == nullptr)
        return m_Container != null;
    return SNativeStringUtils::Compare(Data(), other) > 0;
}

// The operators on two strings, one of which has no characters.

bool CString::_IsLess(const CString &other) const noexcept QV_NONBLOCKING
{
    if (m_Container == null || other.m_Container == null)
        return m_Container == null && other.m_Container != null;
    return OrderWithoutCharacters(Data(), other.Data()) < 0;
}

bool CString::_IsGreater(const CString &other) const noexcept QV_NONBLOCKING
{
    if (m_Container == null || other.m_Container == null)
        return m_Container != null;
    return OrderWithoutCharacters(Data(), other.Data()) > 0;
}

bool operator==(const CString &a, const CStringView &b) noexcept QV_NONBLOCKING
{
    if (b.Empty())
        return a.Empty();
    if (a.Empty() || a.Length() != b.Length() || b.Data() == nullptr)
        return false;
    return std::memcmp(a.Data(), b.Data(), b.Length()) == 0;
}

bool operator<(const CString &a, const CStringView &b) noexcept QV_NONBLOCKING
{
    if (a.Data() == nullptr || b.Data() == nullptr)
        return a.Data() == nullptr && b.Data() != nullptr;
    return OrderOfTexts(a.Data(), a.Length(), b.Data(), b.Length()) < 0;
}

bool operator>(const CString &a, const CStringView &b) noexcept QV_NONBLOCKING
{
    if (a.Data() == nullptr || b.Data() == nullptr)
        return a.Data() != nullptr;
    return OrderOfTexts(a.Data(), a.Length(), b.Data(), b.Length()) > 0;
}

} // namespace Quorvane
