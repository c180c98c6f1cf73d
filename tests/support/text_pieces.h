// The strings that tests of edits start from: of either form, shared, broken, empty in every way; and texts at the end
// of memory.
#pragma once

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "guarded_page.h"
#include "kr_string.h"
#include "string_checks.h"

namespace QuorvaneTest
{

inline Quorvane::u32 LengthOf(const std::string &text)
{
    return static_cast<Quorvane::u32>(text.size());
}

// All characters of a text, embedded and leading terminators included. The view borrows.
inline Quorvane::CStringView ViewOf(const std::string &text)
{
    return Quorvane::CStringView(text.data(), LengthOf(text));
}

// A string of either form; embedded and leading terminators included.
inline Quorvane::CString Fixed(const std::string &text)
{
    return Quorvane::CString(Quorvane::CStringContainer::New(text.data(), LengthOf(text)));
}

inline Quorvane::CString Resizable(const std::string &text, Quorvane::u32 capacity = 0)
{
    return Quorvane::CString(Quorvane::CStringContainer::NewResizable(text.data(), LengthOf(text), capacity));
}

// A resizable string of a length, of which only the first and the last character are written: neither a slash.
inline Quorvane::CString HugeString(Quorvane::u32 length)
{
    const Quorvane::PStringContainer container = Quorvane::CStringContainer::NewResizable(nullptr, length, 0);
    if (container == Quorvane::null)
        return Quorvane::CString();
    container->Data()[0] = 'a';
    container->Data()[length - 1] = 'z';
    return Quorvane::CString(container);
}

// The string in all its characters, in a well-formed block, embedded terminators included.
inline void ExpectCharacters(const Quorvane::CString &string, const std::string &text)
{
    EXPECT_EQ(TextOf(string), text);
    if (string.Data() != nullptr)
        ExpectWellFormed(*ContainerOf(string));
}

// All zero from `first`, where a text ends, to before `last`.
inline void ExpectZero(const char *data, size_t first, size_t last)
{
    for (size_t i = first; i < last; ++i)
        EXPECT_TRUE(IsAsLeft(data, first, i)) << "at index " << i;
}

// A string whose container has no characters, as no operation makes one.
class CBrokenString
{
public:
    CBrokenString() : m_String("abc")
    {
        m_Characters = FieldAt<char *>(*ContainerOf(m_String), kCharactersOffset);
        SetFieldAt<char *>(*ContainerOf(m_String), kCharactersOffset, nullptr);
    }
    ~CBrokenString() { SetFieldAt(*m_Container, kCharactersOffset, m_Characters); }
    CBrokenString(const CBrokenString &) = delete;
    CBrokenString &operator=(const CBrokenString &) = delete;

    Quorvane::CString &Get() { return m_String; }

private:
    Quorvane::CString m_String;
    char *m_Characters;
    Quorvane::CStringContainer *m_Container = ContainerOf(m_String);
};

// A copy of a text whose last character is the last byte before a protected page, or `gap` bytes further in front, with
// `filler` all around it. No terminator follows, unless the text has one.
class CTextAtPageEnd
{
public:
    explicit CTextAtPageEnd(const std::string &text, size_t gap = 0, char filler = '\x5C')
        : m_Page(text.size() + gap + 1), m_Length(text.size())
    {
        std::memset(m_Page.Begin(), filler, m_Page.Bytes());
        m_Data = m_Page.Last(text.size() + gap);
        std::memcpy(m_Data, text.data(), text.size());
    }

    const char *Data() const { return m_Data; }
    Quorvane::CStringView View() const { return {m_Data, static_cast<Quorvane::u32>(m_Length)}; }

private:
    CGuardedPage m_Page;
    size_t m_Length;
    char *m_Data;
};

} // namespace QuorvaneTest
