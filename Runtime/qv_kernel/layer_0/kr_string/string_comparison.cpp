// Equality and ordering of strings, with buffers, views and each other.
#include "kr_string.h"

#include <cstring>

#include "kr_buffer/buffer_kernels.h"
#include "kr_buffer/buffer_wide.h"
#include "null_text.h"
#include "string_sizes.h"

namespace Quorvane
{

namespace
{

// The sign of the order of two containers' bytes, of which both have `length`.
s32 OrderOfBlocks(const char *a, const char *b, u32 length, ECaseSensitivity caseSensitivity)
{
    if (caseSensitivity == CaseSensitive)
        return std::memcmp(a, b, length);
    if (!Internal::WideIsWorthwhile(length))
        return SNativeStringUtils::CompareCase_16(a, b, length);
    const u8 *const bytesA = reinterpret_cast<const u8 *>(a);
    const u8 *const bytesB = reinterpret_cast<const u8 *>(b);
    const u32 index = Internal::Wide::FirstDifferenceCase(bytesA, bytesB, length);
    return index != length ? Internal::OrderOfBytes<Internal::SLowerCaseBytes>(bytesA[index], bytesB[index]) : 0;
}

// The order of two containers' characters, as far as the first `lengthA` + 1 bytes tell: the terminator takes part.
// A longer text may hold terminators where the shorter one ends; nothing is read behind the shorter one's last block.
s32 Order(const char *a, u32 lengthA, const char *b, u32 lengthB, ECaseSensitivity caseSensitivity)
{
    const u64 wanted = static_cast<u64>(lengthA) + 1;
    const u64 common = QVMin(wanted, Internal::PaddedBytes(lengthB));
    const s32 order = OrderOfBlocks(a, b, static_cast<u32>(common), caseSensitivity);
    return order == 0 && common < wanted ? 1 : order;
}

// The order of two texts of known lengths by bytes, the shorter one first.
s32 OrderOfBytes(const char *a, u32 lengthA, const char *b, u32 lengthB)
{
    const u32 common = QVMin(lengthA, lengthB);
    const int order = common != 0 ? std::memcmp(a, b, common) : 0;
    return order != 0 ? order : (lengthA > lengthB) - (lengthA < lengthB);
}

} // namespace

bool CString::Compare(const char *other, ECaseSensitivity caseSensitivity) const
{
    if (m_Container == null)
        return Internal::IsNullOrEmpty(other);
    const char *data = Data();
    QV_INTERNAL_ASSERT_TEXT("m_Container->Data() != null", data != nullptr);
    if (other == nullptr || data == nullptr)
        return Internal::IsNullOrEmpty(data) && Internal::IsNullOrEmpty(other);
    if (caseSensitivity != CaseSensitive)
        return SNativeStringUtils::EqualCase(data, other);
    return data == other || SNativeStringUtils::Equal(data, other);
}

bool CString::Compare(const CStringView &other, ECaseSensitivity caseSensitivity) const
{
    if (m_Container == null)
        return other.Empty();
    const char *data = Data();
    QV_INTERNAL_ASSERT_TEXT("m_Container->Data() != null", data != nullptr);
    if (other.Empty())
        return Internal::IsNullOrEmpty(data);
    const u32 length = Length();
    if (length != other.Length() || data == nullptr || other.Data() == nullptr)
        return false;
    if (caseSensitivity != CaseSensitive)
        return Internal::PlatformCompareCase(data, other.Data(), length) == 0;
    return data == other.Data() || std::strncmp(data, other.Data(), length) == 0;
}

bool CString::Compare(const CString &other, ECaseSensitivity caseSensitivity) const
{
    if (m_Container == null || other.m_Container == null)
        return Empty() && other.Empty();
    const char *srcA = Data();
    const char *srcB = other.Data();
    QV_ASSERT(srcA != null && srcB != null);
    const u32 length = Length();
    if (length != other.Length())
        return false;
    if (srcA == nullptr || srcB == nullptr)
        return srcA == srcB;
    if (caseSensitivity != CaseSensitive)
        return SNativeStringUtils::EqualCase_16(srcA, srcB, length);
    return srcA == srcB || SNativeStringUtils::Equal_16(srcA, srcB, length);
}

bool CString::LessThan(const CString &other, ECaseSensitivity caseSensitivity) const
{
    if (m_Container == null)
        return other.m_Container != null;
    if (other.m_Container == null)
        return false;
    const char *srcA = Data();
    const char *srcB = other.Data();
    QV_ASSERT(srcA != null && srcB != null);
    if (srcA == nullptr || srcB == nullptr)
        return srcA == nullptr && srcB != nullptr;
    return Order(srcA, Length(), srcB, other.Length(), caseSensitivity) < 0;
}

bool CString::operator<(const char *other) const
{
    if (m_Container == null || other == nullptr)
        return m_Container == null && other != nullptr;
    return SNativeStringUtils::Compare(Data(), other) < 0;
}

bool CString::operator>(const char *other) const
{
    if (m_Container == null || other == nullptr)
        return m_Container != null && other == nullptr;
    return SNativeStringUtils::Compare(Data(), other) > 0;
}

bool CString::operator<(const CString &other) const
{
    if (m_Container == null || other.m_Container == null)
        return m_Container == null && other.m_Container != null;
    return _OrderWith(other) < 0;
}

bool CString::operator>(const CString &other) const
{
    if (m_Container == null || other.m_Container == null)
        return m_Container != null && other.m_Container == null;
    return _OrderWith(other) > 0;
}

s32 CString::_OrderWith(const CString &other) const
{
    const char *data = Data();
    const char *otherData = other.Data();
    QV_INTERNAL_ASSERT_TEXT("m_Container->Data() != null && other.m_Container->Data() != null",
                            data != nullptr && otherData != nullptr);
    if (data == nullptr || otherData == nullptr)
        return (data != nullptr) - (otherData != nullptr);
    return Order(data, Length(), otherData, other.Length(), CaseSensitive);
}

bool operator==(const CString &a, const CStringView &b)
{
    if (b.Empty())
        return a.Empty();
    if (a.Empty() || a.Length() != b.Length() || b.Data() == nullptr)
        return false;
    return std::memcmp(a.Data(), b.Data(), b.Length()) == 0;
}

bool operator<(const CString &a, const CStringView &b)
{
    if (a.Data() == nullptr || b.Data() == nullptr)
        return a.Data() == nullptr && b.Data() != nullptr;
    return OrderOfBytes(a.Data(), a.Length(), b.Data(), b.Length()) < 0;
}

bool operator>(const CString &a, const CStringView &b)
{
    if (a.Data() == nullptr || b.Data() == nullptr)
        return a.Data() != nullptr && b.Data() == nullptr;
    return OrderOfBytes(a.Data(), a.Length(), b.Data(), b.Length()) > 0;
}

} // namespace Quorvane
