// Every short text over the characters that escaping knows, and what follows a backslash, escaped and unescaped.
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "escape_model.h"
#include "exhaustive.h"
#include "guarded_page.h"
#include "kr_buffer.h"
#include "kr_string.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;
using Utils = SNativeStringUtils;

// The ten that have a sequence, the letters of those sequences, and others.
const std::string kLetters("\a\b\t\n\v\f\r\"'\\abtnvfrx\x01\xDC");
constexpr size_t kLongest = 4;
static_assert(CountTexts(20, kLongest) == 168421, "the domain that is promised");

bool IsText(const CString &string, const std::string &text)
{
    return string.Length() == text.size() && std::memcmp(string.CStr(), text.c_str(), text.size() + 1) == 0;
}

// Where results go: what lies behind them must stay as it is.
class CRoom
{
public:
    static constexpr size_t kBytes = 256;

    char *Fresh()
    {
        std::memset(m_Bytes, '#', sizeof(m_Bytes));
        return m_Bytes;
    }
    // Whether there is just that text, with its terminator.
    bool Holds(u32 length, const std::string &text) const
    {
        return length == text.size() && std::memcmp(m_Bytes, text.c_str(), length + 1) == 0 &&
               m_Bytes[length + 1] == '#';
    }

private:
    char m_Bytes[kBytes];
};

// The native functions, on a text that ends at a protected page, with a terminator and without one.
class CNative
{
public:
    Wrong WrongText(const std::string &text)
    {
        const std::string escaped = EscapeModelEscaped(text);
        const std::string unescaped = EscapeModelUnescaped(text);
        const u32 length = LengthOf(text);
        const char *const counted = _AtPageEnd(text.data(), length);
        QV_TEST_SAME(m_Room.Holds(Utils::Escape(counted, m_Room.Fresh(), length), escaped), true);
        QV_TEST_SAME(m_Room.Holds(Utils::Unescape(counted, m_Room.Fresh(), length), unescaped), true);
        char *const terminated = _AtPageEnd(text.c_str(), length + 1);
        QV_TEST_SAME(m_Room.Holds(Utils::Escape(terminated, m_Room.Fresh()), escaped), true);
        QV_TEST_SAME(m_Room.Holds(Utils::Unescape(terminated, m_Room.Fresh()), unescaped), true);
        // In place.
        const u32 left = Utils::Unescape(terminated, terminated);
        QV_TEST_SAME(left == unescaped.size() && std::strcmp(terminated, unescaped.c_str()) == 0, true);
        // And back again.
        const char *const sequences = _AtPageEnd(escaped.data(), escaped.size());
        QV_TEST_SAME(m_Room.Holds(Utils::Unescape(sequences, m_Room.Fresh(), LengthOf(escaped)), text), true);
        return nullptr;
    }

private:
    char *_AtPageEnd(const char *bytes, size_t count)
    {
        char *const copy = m_Page.Last(count);
        std::memcpy(copy, bytes, count);
        return copy;
    }

    CGuardedPage m_Page;
    CRoom m_Room;
};

Wrong WrongStrings(const SEveryText &text)
{
    const std::string escaped = EscapeModelEscaped(text.m_Text);
    const std::string unescaped = EscapeModelUnescaped(text.m_Text);
    CString edited = text.m_String;
    QV_TEST_SAME(IsText(edited.Escape(), escaped), true);
    QV_TEST_SAME(IsText(edited.Unescape(), text.m_Text), true);
    // Of characters that are shared.
    edited = text.m_String;
    QV_TEST_SAME(IsText(edited.Unescape(), unescaped), true);
    QV_TEST_SAME(IsText(text.m_String.Escaped(), escaped), true);
    QV_TEST_SAME(IsText(text.m_String.Unescaped(), unescaped), true);
    QV_TEST_SAME(IsText(text.m_String, text.m_Text), true);
    return nullptr;
}

TEST(EscapingExhaustive, EveryTextIsEscapedAndUnescapedAndComesBack)
{
    CNative native;
    ForEveryText(CDomain(kLetters, Longest(kLongest)),
                 [&](const SEveryText &text)
                 {
                     const Wrong wrong = native.WrongText(text.m_Text);
                     return wrong != nullptr ? wrong : WrongStrings(text);
                 });
}

// Across the ends of blocks of 16, 32 and 64 characters and of words of 8, and at the end of a text.
TEST(EscapingExhaustive, EveryTextIsEscapedAndUnescapedWithinALongerOne)
{
    CNative native;
    ForEveryText(CDomain("\n\"\\nx", Longest(4)),
                 [&](const SEveryText &text)
                 {
                     for (const size_t before : {6u, 14u, 22u, 30u, 61u})
                         for (const size_t behind : {0u, 1u, 41u})
                         {
                             const Wrong wrong =
                                 native.WrongText(std::string(before, '-') + text.m_Text + std::string(behind, '-'));
                             if (wrong != nullptr)
                                 return wrong;
                         }
                     return Wrong(nullptr);
                 });
}

} // namespace
