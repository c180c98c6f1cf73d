// What the `_16` helpers mean, one byte after the other, without a thought of speed; and the memory to try them on.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>

#include "case_model.h"

namespace QuorvaneTest
{

// The bytes of the 16-byte blocks that hold `count` bytes.
inline size_t BlockBytes(size_t count)
{
    while (count % 16 != 0)
        ++count;
    return count;
}

// -1, 0 or 1.
inline int ModelCompare(const std::string &a, const std::string &b)
{
    for (size_t i = 0; i < a.size() && i < b.size(); ++i)
    {
        const int byteA = static_cast<unsigned char>(a[i]);
        const int byteB = static_cast<unsigned char>(b[i]);
        if (byteA != byteB)
            return byteA < byteB ? -1 : 1;
    }
    return 0;
}

inline int SignOf(int value)
{
    return value < 0 ? -1 : value > 0 ? 1 : 0;
}

inline std::string ModelReplace(std::string text, char from, char to, size_t *count)
{
    *count = 0;
    for (char &character : text)
    {
        if (character == from)
        {
            character = to;
            ++*count;
        }
    }
    return text;
}

// Text of any length with everything that casing and signs could get wrong: letters, the characters next to them, the
// same with the highest bit set, embedded terminators. Different starts give different texts.
inline std::string MixedText(size_t length, size_t start = 0)
{
    static const char kCharacters[] = "aZ@[`{Az\0\x7F\x80\xFF\xC1\xDA\xE1\xFA\xC0\xDB\xE0\xFBmM019 _xX\\/nN";
    std::string text;
    for (size_t i = 0; i < length; ++i)
        text += kCharacters[(start + i * 7) % (sizeof(kCharacters) - 1)];
    return text;
}

// Room for texts of up to kMaxLength characters at the beginning of an aligned block (or `offset` bytes behind one), with
// canaries in front and behind.
class CCanaryText
{
public:
    static constexpr size_t kMaxLength = 176;

    // The text, then `behind` to the end of the terminator's block, then canaries.
    explicit CCanaryText(const std::string &text, char behind = '\0', size_t offset = 0) : m_Offset(offset)
    {
        std::memset(m_Bytes, kCanary, sizeof(m_Bytes));
        std::memset(Data(), behind, BlockBytes(text.size() + 1));
        std::memcpy(Data(), text.data(), text.size());
    }

    char *Data() { return m_Bytes + kFront + m_Offset; }
    // Canaries and all.
    std::string Everything() const { return std::string(m_Bytes, sizeof(m_Bytes)); }

private:
    static constexpr size_t kFront = 32;
    static constexpr int kCanary = 0xA5;

    alignas(16) char m_Bytes[kFront + kMaxLength + 16 + 64];
    size_t m_Offset;
};

} // namespace QuorvaneTest
