// What the exhaustive tests share: their domains, of which nothing is left out, and the walks over them, which count.
//
// Each test knows by arithmetic how many cases its domain has, so that a walk which ends early fails. A check answers what
// is wrong with a case, and asks the test framework nothing: there are millions of cases.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "edit_model.h"
#include "every_text.h"
#include "kr_string.h"

#include "text_pieces.h"

// In a check: ends it with the text of the first answer that is not as expected.
#define QV_TEST_SAME(actual, expected)                                                                                 \
    do                                                                                                                 \
    {                                                                                                                  \
        if (!((actual) == (expected)))                                                                                 \
            return #actual;                                                                                            \
    } while (false)

namespace QuorvaneTest
{

// What a check answers: null, or what is wrong.
using Wrong = const char *;

// How many texts of up to `maxLength` characters there are over so many letters.
constexpr Quorvane::u64 CountTexts(Quorvane::u64 letters, size_t maxLength)
{
    Quorvane::u64 count = 1;
    for (size_t i = 0; i < maxLength; ++i)
        count = count * letters + 1;
    return count;
}

// The longest texts of a domain: one character shorter where code runs many times slower.
inline size_t Longest(size_t length)
{
    return kVerySlow ? length - 1 : length;
}

// A text in each form that operations take.
struct SEveryText
{
    explicit SEveryText(const std::string &text)
        : m_Text(text), m_Lower(ModelLowercase(text)), m_String(text.empty() ? Resizable("") : Fixed(text))
    {
    }

    Quorvane::u32 Length() const { return LengthOf(m_Text); }
    Quorvane::CStringView View() const { return ViewOf(m_Text); }
    // With or without regard to case.
    const std::string &In(bool ignoreCase) const { return ignoreCase ? m_Lower : m_Text; }

    std::string m_Text;
    std::string m_Lower;
    Quorvane::CString m_String; // with a container of its own, be it empty
};

// All texts over an alphabet up to a length. Fails the test when their number is not what arithmetic says.
class CDomain
{
public:
    CDomain(const std::string &alphabet, size_t maxLength) : m_Size(CountTexts(alphabet.size(), maxLength))
    {
        for (const std::string &text : EveryText(alphabet, maxLength))
            m_Texts.emplace_back(text);
        EXPECT_EQ(m_Texts.size(), m_Size);
    }

    Quorvane::u64 Size() const { return m_Size; }
    std::vector<SEveryText>::const_iterator begin() const { return m_Texts.begin(); }
    std::vector<SEveryText>::const_iterator end() const { return m_Texts.end(); }

private:
    Quorvane::u64 m_Size;
    std::vector<SEveryText> m_Texts;
};

// The cases that all tests have had, printed at the end of the program.
class CCaseCount : public ::testing::Environment
{
public:
    void TearDown() override { std::printf("%llu cases\n", static_cast<unsigned long long>(m_Cases)); }

    // Those of a test are in the program's report.
    void Add(Quorvane::u64 cases)
    {
        m_Cases += cases;
        const ::testing::TestInfo *const test = ::testing::UnitTest::GetInstance()->current_test_info();
        m_CasesOfTest = test == m_Test ? m_CasesOfTest + cases : cases;
        m_Test = test;
        ::testing::Test::RecordProperty("cases", std::to_string(m_CasesOfTest));
    }

private:
    Quorvane::u64 m_Cases = 0;
    const ::testing::TestInfo *m_Test = nullptr;
    Quorvane::u64 m_CasesOfTest = 0;
};

// The test framework owns it.
inline CCaseCount &g_CaseCount = static_cast<CCaseCount &>(*::testing::AddGlobalTestEnvironment(new CCaseCount));

// Fails the test when there were not just so many cases.
inline void ExpectCases(Quorvane::u64 cases, Quorvane::u64 expected)
{
    EXPECT_EQ(cases, expected);
    g_CaseCount.Add(cases);
}

// Calls `check(text)` for every text of a domain.
template <typename Check>
void ForEveryText(const CDomain &domain, const Check &check)
{
    Quorvane::u64 cases = 0;
    for (const SEveryText &text : domain)
    {
        ++cases;
        const Wrong wrong = check(text);
        if (wrong != nullptr)
            FAIL() << wrong << ", of " << ::testing::PrintToString(text.m_Text);
    }
    ExpectCases(cases, domain.Size());
}

// Calls `check(text, other)` for every text of one domain with every one of another.
template <typename Check>
void ForEveryPair(const CDomain &texts, const CDomain &others, const Check &check)
{
    Quorvane::u64 cases = 0;
    for (const SEveryText &text : texts)
        for (const SEveryText &other : others)
        {
            ++cases;
            const Wrong wrong = check(text, other);
            if (wrong != nullptr)
                FAIL() << wrong << ", of " << ::testing::PrintToString(text.m_Text) << " and "
                       << ::testing::PrintToString(other.m_Text);
        }
    ExpectCases(cases, texts.Size() * others.Size());
}

} // namespace QuorvaneTest
