// Casing of strings: conversion in place and as copies, conforming to a casing, and the questions about it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "edge_allocators.h"
#include "edit_model.h"
#include "every_locale.h"
#include "every_text.h"
#include "kr_string.h"
#include "refusal_sweep.h"
#include "string_checks.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

const std::vector<ECasingType> kAllCasings = {CasingType_Unspecified, CasingType_Lowercase, CasingType_Uppercase,
                                              CasingType_Mixed};

std::string AllBytes()
{
    std::string text;
    for (int value = 1; value < 256; ++value)
        text += static_cast<char>(value);
    return text;
}

TEST(StringCasing, TypesHaveTheirValues)
{
    EXPECT_EQ(static_cast<u32>(CasingType_Unspecified), 0u);
    EXPECT_EQ(static_cast<u32>(CasingType_Lowercase), 1u);
    EXPECT_EQ(static_cast<u32>(CasingType_Uppercase), 2u);
    EXPECT_EQ(static_cast<u32>(CasingType_Mixed), 3u);
    EXPECT_EQ(sizeof(ECasingType), 4u);
}

// Conversion.

TEST(StringCasing, ToUppercaseConvertsTheLettersAlone)
{
    CString string("Hello, World 1");
    string.ToUppercase();
    ExpectText(string, "HELLO, WORLD 1");
}

TEST(StringCasing, ToLowercaseConvertsTheLettersAlone)
{
    CString string("Hello, World 1");
    string.ToLowercase();
    ExpectText(string, "hello, world 1");
}

TEST(StringCasing, ConversionsAnswerTheStringItself)
{
    CString string("Ab");
    EXPECT_EQ(&string.ToUppercase(), &string);
    EXPECT_EQ(&string.ToLowercase(), &string);
    EXPECT_EQ(&string.ConformTo(CasingType_Mixed), &string);
    CString empty;
    EXPECT_EQ(&empty.ToUppercase(), &empty);
    EXPECT_EQ(&empty.ToLowercase(), &empty);
    EXPECT_EQ(&empty.ConformTo(CasingType_Lowercase), &empty);
}

TEST(StringCasing, ConversionsMapEveryByteAsItsTableRowDoes)
{
    CString upper = Fixed(AllBytes());
    CString lower = Fixed(AllBytes());
    upper.ToUppercase();
    lower.ToLowercase();
    for (u32 value = 1; value < 256; ++value)
    {
        EXPECT_EQ(static_cast<u8>(upper[value - 1]), SNativeStringUtils::kr_buffer_char_lookups[512 + value]);
        EXPECT_EQ(static_cast<u8>(lower[value - 1]), SNativeStringUtils::kr_buffer_char_lookups[768 + value]);
    }
}

TEST(StringCasing, BytesBeyondAsciiStay)
{
    const std::string text = "\x80\xC4\xD6\xE4\xF6\xDF\xFD\xFE\xFF";
    CString string = Fixed(text);
    ExpectText(string.ToUppercase(), text);
    ExpectText(string.ToLowercase(), text);
}

TEST(StringCasing, ConversionsCoverTheStoredLengthWithEmbeddedTerminators)
{
    CString string = Fixed(std::string("ab\0cd\0e", 7));
    string.ToUppercase();
    ExpectCharacters(string, std::string("AB\0CD\0E", 7));
    string.ToLowercase();
    ExpectCharacters(string, std::string("ab\0cd\0e", 7));
}

TEST(StringCasing, ConversionsWorkAtEveryLengthAndKeepTheZeroTail)
{
    CTestAllocator allocator;
    std::string text;
    for (size_t length = 0; length <= 80; ++length)
    {
        for (const CString &string : {Fixed(text), Resizable(text)})
        {
            const CString upper = string.Uppercase();
            const CString lower = string.Lowercase();
            ExpectText(upper, ModelUppercase(text));
            ExpectText(lower, ModelLowercase(text));
        }
        text += "aZ[`{@b\xE1"[length % 8];
    }
}

TEST(StringCasing, ConversionsKeepContainerLengthCapacityAndForm)
{
    CTestAllocator allocator;
    CString string = Resizable("aBc");
    CStringContainer *const container = ContainerOf(string);
    const u32 capacity = CapacityOf(*container);
    const u64 requests = allocator.RequestCount();
    string.ToUppercase().ToLowercase().ConformTo(CasingType_Uppercase).ConformTo(CasingType_Mixed);
    EXPECT_EQ(ContainerOf(string), container);
    EXPECT_EQ(container->Length(), 3u);
    EXPECT_EQ(CapacityOf(*container), capacity);
    EXPECT_TRUE(container->SupportsDynamicResize());
    EXPECT_EQ(allocator.RequestCount(), requests);
    ExpectText(string, "ABC");
}

TEST(StringCasing, ASharedContainerIsCopiedFirst)
{
    for (const bool toUpper : {false, true})
    {
        CString string("aBc");
        const CString other = string;
        toUpper ? string.ToUppercase() : string.ToLowercase();
        ExpectText(string, toUpper ? "ABC" : "abc");
        ExpectText(other, "aBc");
        EXPECT_NE(ContainerOf(string), ContainerOf(other));
        EXPECT_EQ(ContainerOf(other)->RefCount(), 1u);
    }
}

TEST(StringCasing, ConversionsDetachASharedContainerEvenWhereNoCharacterChanges)
{
    CString string("ABC");
    const CString other = string;
    string.ToUppercase();
    EXPECT_NE(ContainerOf(string), ContainerOf(other));
    ExpectText(string, "ABC");
    ExpectText(other, "ABC");
}

TEST(StringCasing, UppercaseLowercaseAndConformedToLeaveTheSourceUnchanged)
{
    const CString source("aBc");
    const CStringContainer *const container = ContainerOf(source);
    ExpectText(source.Uppercase(), "ABC");
    ExpectText(source.Lowercase(), "abc");
    ExpectText(source.ConformedTo(CasingType_Uppercase), "ABC");
    ExpectText(source.ConformedTo(CasingType_Lowercase), "abc");
    ExpectText(source, "aBc");
    EXPECT_EQ(ContainerOf(source), container);
    EXPECT_EQ(container->RefCount(), 1u);
}

// Conforming.

TEST(StringCasing, ConformToConvertsForUpperAndLowerCaseAlone)
{
    const std::vector<std::string> expected = {"aBc 1", "abc 1", "ABC 1", "aBc 1"};
    for (const ECasingType casing : kAllCasings)
    {
        CString string("aBc 1");
        string.ConformTo(casing);
        ExpectText(string, expected[casing]);
        ExpectText(CString("aBc 1").ConformedTo(casing), expected[casing]);
    }
}

TEST(StringCasing, ConformToChangesNothingForAnyOtherValue)
{
    for (const u32 value : {4u, 5u, 0x80000001u, 0xFFFFFFFFu})
    {
        CString string("aBc");
        string.ConformTo(static_cast<ECasingType>(value));
        ExpectText(string, "aBc");
    }
}

TEST(StringCasing, ConformToSeparatesASharedContainerForEveryCasing)
{
    std::vector<ECasingType> casings = kAllCasings;
    casings.push_back(static_cast<ECasingType>(9));
    for (const ECasingType casing : casings)
    {
        CString string("aBc");
        const CString other = string;
        const std::string before = TextOf(other);
        string.ConformTo(casing);
        EXPECT_NE(ContainerOf(string), ContainerOf(other)) << casing;
        ExpectText(other, before);
    }
}

TEST(StringCasing, ConformToMixedLeavesBothTextsEqual)
{
    CString string("aBc");
    const CString other = string;
    string.ConformTo(CasingType_Mixed);
    ExpectText(string, "aBc");
    ExpectText(other, "aBc");
    EXPECT_NE(ContainerOf(string), ContainerOf(other));
    EXPECT_EQ(ContainerOf(string)->RefCount(), 1u);
    EXPECT_EQ(ContainerOf(other)->RefCount(), 1u);
}

// Empty strings.

void EditInEveryWay(CString &string)
{
    string.ToUppercase();
    string.ToLowercase();
    for (const ECasingType casing : kAllCasings)
        string.ConformTo(casing);
}

TEST(StringCasing, AnEmptyStringKeepsItsContainerIdentityUnderEveryOperation)
{
    CTestAllocator allocator;
    // No container; a container of length 0; a text that begins with a terminator.
    for (const CString &source : {CString(), Resizable(""), Fixed(std::string("\0bc", 3))})
    {
        CString string = source;
        const u64 requests = allocator.RequestCount();
        EditInEveryWay(string);
        EXPECT_EQ(ContainerOf(string), ContainerOf(source));
        for (const CString &copy : {source.Uppercase(), source.Lowercase(), source.ConformedTo(CasingType_Uppercase),
                                    source.ConformedTo(CasingType_Mixed)})
            EXPECT_EQ(ContainerOf(copy), ContainerOf(source));
        EXPECT_EQ(allocator.RequestCount(), requests);
    }
}

TEST(StringCasing, ATextThatBeginsWithATerminatorIsEmptyAndStays)
{
    CString string = Fixed(std::string("\0bC", 3));
    EditInEveryWay(string);
    EXPECT_EQ(TextOf(string), std::string("\0bC", 3));
}

TEST(StringCasing, AContainerWithoutCharactersIsEmpty)
{
    CAssertRecorder recorder;
    CBrokenString broken;
    const CStringContainer *const container = ContainerOf(broken.Get());
    EditInEveryWay(broken.Get());
    EXPECT_EQ(ContainerOf(broken.Get()), container);
    EXPECT_TRUE(broken.Get().IsUpper());
    EXPECT_TRUE(broken.Get().IsLower());
    EXPECT_EQ(broken.Get().AnalyzeCasing(), CasingType_Unspecified);
    ExpectReports(recorder, {});
}

// Questions.

TEST(StringCasing, IsUpperWhenNoCharacterDiffersFromItsUpperCaseForm)
{
    EXPECT_TRUE(CString("ABC 1").IsUpper());
    EXPECT_TRUE(CString("12 !\xE4").IsUpper());
    EXPECT_FALSE(CString("ABc").IsUpper());
    EXPECT_FALSE(CString("abc").IsUpper());
}

TEST(StringCasing, IsLowerWhenNoCharacterDiffersFromItsLowerCaseForm)
{
    EXPECT_TRUE(CString("abc 1").IsLower());
    EXPECT_TRUE(CString("12 !\xC4").IsLower());
    EXPECT_FALSE(CString("abC").IsLower());
    EXPECT_FALSE(CString("ABC").IsLower());
}

TEST(StringCasing, AnalyzeCasingNamesTheCasingOfTheLetters)
{
    EXPECT_EQ(CString("abc 1").AnalyzeCasing(), CasingType_Lowercase);
    EXPECT_EQ(CString("ABC 1").AnalyzeCasing(), CasingType_Uppercase);
    EXPECT_EQ(CString("abC 1").AnalyzeCasing(), CasingType_Mixed);
    EXPECT_EQ(CString("Abc 1").AnalyzeCasing(), CasingType_Mixed);
}

TEST(StringCasing, AnalyzeCasingIsUnspecifiedWithoutALetter)
{
    EXPECT_EQ(CString("12 !").AnalyzeCasing(), CasingType_Unspecified);
    EXPECT_EQ(CString("\xC4\xE4").AnalyzeCasing(), CasingType_Unspecified);
    EXPECT_EQ(CString().AnalyzeCasing(), CasingType_Unspecified);
    EXPECT_EQ(Resizable("").AnalyzeCasing(), CasingType_Unspecified);
    EXPECT_EQ(Fixed(std::string("\0bC", 3)).AnalyzeCasing(), CasingType_Unspecified);
}

TEST(StringCasing, AnEmptyStringIsUpperAndLower)
{
    for (const CString &empty : {CString(), Resizable(""), Fixed(std::string("\0bC", 3))})
    {
        EXPECT_TRUE(empty.IsUpper());
        EXPECT_TRUE(empty.IsLower());
    }
}

TEST(StringCasing, QuestionsCoverTheStoredLength)
{
    EXPECT_FALSE(Fixed(std::string("A\0b", 3)).IsUpper());
    EXPECT_FALSE(Fixed(std::string("a\0B", 3)).IsLower());
    EXPECT_EQ(Fixed(std::string("A\0b", 3)).AnalyzeCasing(), CasingType_Mixed);
}

TEST(StringCasing, QuestionsNeitherAllocateNorDetach)
{
    CTestAllocator allocator;
    const CString string("aBc");
    const CString other = string;
    const u64 requests = allocator.RequestCount();
    EXPECT_FALSE(string.IsUpper());
    EXPECT_FALSE(string.IsLower());
    EXPECT_EQ(string.AnalyzeCasing(), CasingType_Mixed);
    EXPECT_EQ(allocator.RequestCount(), requests);
    EXPECT_EQ(ContainerOf(string), ContainerOf(other));
}

TEST(StringCasing, EveryShortTextIsConvertedAndJudgedAsTheModelSays)
{
    for (const std::string &text : EveryText("azAZ@[`{\xE1", 4))
    {
        const CString string = Fixed(text);
        ASSERT_EQ(TextOf(string.Uppercase()), ModelUppercase(text));
        ASSERT_EQ(TextOf(string.Lowercase()), ModelLowercase(text));
        ASSERT_EQ(string.IsUpper(), ModelUppercase(text) == text);
        ASSERT_EQ(string.IsLower(), ModelLowercase(text) == text);
        ASSERT_EQ(static_cast<unsigned>(string.AnalyzeCasing()), ModelCasing(text));
    }
}

TEST(StringCasing, NoLocaleChangesConversionsOrQuestions)
{
    InEveryLocale(
        [](const char *locale)
        {
            SCOPED_TRACE(locale);
            const std::string text = AllBytes();
            ExpectText(Fixed(text).Uppercase(), ModelUppercase(text));
            ExpectText(Fixed(text).Lowercase(), ModelLowercase(text));
            ExpectText(Fixed(text).ToUppercase(), ModelUppercase(text));
            ExpectText(Fixed(text).ToLowercase(), ModelLowercase(text));
            for (const char character : text)
            {
                const std::string one(1, character);
                EXPECT_EQ(static_cast<unsigned>(Fixed(one).AnalyzeCasing()), ModelCasing(one));
                EXPECT_EQ(Fixed(one).IsUpper(), ModelUppercase(one) == one);
                EXPECT_EQ(ViewOf(one).IsLower(), ModelLowercase(one) == one);
            }
        });
}

TEST(StringCasing, NothingOutsideTheBlocksIsTouchedAtTheEndOfMemory)
{
    CPageEndAllocator allocator;
    for (size_t length = 0; length <= 49; ++length)
    {
        const std::string text(length, 'q');
        for (const CString &string : {Fixed(text), Resizable(text)})
        {
            ExpectText(string.Uppercase(), std::string(length, 'Q'));
            EXPECT_TRUE(string.IsLower());
        }
    }
}

// Refused memory. The string to edit and another one that shares its container.

struct SShared
{
    CString m_String;
    CString m_Other;
};

SShared SharedText()
{
    SShared shared;
    shared.m_String = CString("aBc");
    shared.m_Other = shared.m_String;
    return shared;
}

TEST(StringCasing, ConversionsRefusedTheirCopyLeaveAnEmptyStringAndReport)
{
    for (const ECasingType casing : {CasingType_Lowercase, CasingType_Uppercase})
    {
        SweepRefusals(
            SharedText, [&](SShared &shared) { shared.m_String.ConformTo(casing); },
            [&](const SShared &shared, const SRefusal &refusal, const CAssertRecorder &recorder)
            {
                const std::string converted = casing == CasingType_Lowercase ? "abc" : "ABC";
                ExpectText(shared.m_String, refusal.m_Refused ? "" : converted);
                EXPECT_EQ(shared.m_String.Data() == nullptr, refusal.m_Refused);
                ExpectText(shared.m_Other, "aBc");
                ExpectReports(recorder, refusal.m_Refused ? std::vector<std::string>{"_P::m_Ptr != null"}
                                                          : std::vector<std::string>());
            });
    }
}

TEST(StringCasing, ToUppercaseAndToLowercaseRefusedReportLikeConformTo)
{
    for (const bool toUpper : {false, true})
    {
        SweepRefusals(
            SharedText,
            [&](SShared &shared) { toUpper ? shared.m_String.ToUppercase() : shared.m_String.ToLowercase(); },
            [&](const SShared &shared, const SRefusal &refusal, const CAssertRecorder &recorder)
            {
                ExpectText(shared.m_String, refusal.m_Refused ? "" : toUpper ? "ABC" : "abc");
                ExpectText(shared.m_Other, "aBc");
                ExpectReports(recorder, refusal.m_Refused ? std::vector<std::string>{"_P::m_Ptr != null"}
                                                          : std::vector<std::string>());
            });
    }
}

TEST(StringCasing, ConvertedCopiesThatAreRefusedAreEmptyAndReport)
{
    typedef CString (*FConvert)(const CString &);
    const FConvert converts[] = {[](const CString &text) { return text.Uppercase(); },
                                 [](const CString &text) { return text.Lowercase(); },
                                 [](const CString &text) { return text.ConformedTo(CasingType_Uppercase); },
                                 [](const CString &text) { return text.ConformedTo(CasingType_Lowercase); }};
    for (size_t i = 0; i < 4; ++i)
    {
        CString copy;
        SweepRefusals(
            SharedText, [&](SShared &shared) { copy = converts[i](shared.m_String); },
            [&](const SShared &shared, const SRefusal &refusal, const CAssertRecorder &recorder)
            {
                const std::string converted = i % 2 == 0 ? "ABC" : "abc";
                ExpectText(copy, refusal.m_Refused ? "" : converted);
                ExpectText(shared.m_String, "aBc");
                ExpectText(shared.m_Other, "aBc");
                ExpectReports(recorder, refusal.m_Refused ? std::vector<std::string>{"_P::m_Ptr != null"}
                                                          : std::vector<std::string>());
                copy = CString();
            });
    }
}

TEST(StringCasing, ConformToOtherCasingsRefusedItsCopyLeavesAnEmptyStringWithoutAReport)
{
    for (const ECasingType casing : {CasingType_Unspecified, CasingType_Mixed})
    {
        SweepRefusals(
            SharedText, [&](SShared &shared) { shared.m_String.ConformTo(casing); },
            [](const SShared &shared, const SRefusal &refusal, const CAssertRecorder &recorder)
            {
                ExpectText(shared.m_String, refusal.m_Refused ? "" : "aBc");
                ExpectText(shared.m_Other, "aBc");
                ExpectReports(recorder, {});
            });
    }
}

TEST(StringCasing, CopiesRefusedAreEmptyAndLeaveTheSource)
{
    struct SCopies
    {
        CString m_Source;
        CString m_Upper;
        CString m_Lower;
        CString m_Conformed;
    };
    SweepRefusals(
        [] {
            return SCopies{CString("aBc"), CString(), CString(), CString()};
        },
        [](SCopies &copies)
        {
            copies.m_Upper = copies.m_Source.Uppercase();
            copies.m_Lower = copies.m_Source.Lowercase();
            copies.m_Conformed = copies.m_Source.ConformedTo(CasingType_Mixed);
        },
        [](const SCopies &copies, const SRefusal &refusal, const CAssertRecorder &)
        {
            const auto refused = [&](u64 nth)
            { return refusal.m_Nth != 0 && (refusal.m_AndAllAfter ? nth >= refusal.m_Nth : nth == refusal.m_Nth); };
            ExpectText(copies.m_Source, "aBc");
            ExpectText(copies.m_Upper, refused(1) ? "" : "ABC");
            ExpectText(copies.m_Lower, refused(2) ? "" : "abc");
            ExpectText(copies.m_Conformed, refused(3) ? "" : "aBc");
        });
}

} // namespace
