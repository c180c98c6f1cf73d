#include "qv_defs.h"

#include <cstring>
#include <memory>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "assert_recorder.h"

namespace QuorvaneTest
{

namespace
{

using namespace Quorvane;

const char kNarrowingText[] = "static_cast<typename TType_StripQual<_TypeSrc>::Type>(result) == value";

enum ESmall : u8
{
    Small_Last = 200,
};

enum class EWide : u64
{
    Fits = 7,
    TooWide = 0x100000000ull,
};

struct STrivial
{
    int m_Value;
    const char *m_Text;
};

struct SSelfReferring
{
    SSelfReferring() : m_Self(this) {}
    SSelfReferring(const SSelfReferring &) : m_Self(this) {}

    SSelfReferring *m_Self;
};

} // namespace

TEST(Defs, IntegersHaveTheWidthAndSignOfTheirNames)
{
    EXPECT_EQ(sizeof(u8), 1u);
    EXPECT_EQ(sizeof(u16), 2u);
    EXPECT_EQ(sizeof(u32), 4u);
    EXPECT_EQ(sizeof(u64), 8u);
    EXPECT_EQ(sizeof(s8), 1u);
    EXPECT_EQ(sizeof(s16), 2u);
    EXPECT_EQ(sizeof(s32), 4u);
    EXPECT_EQ(sizeof(s64), 8u);
    EXPECT_TRUE((std::is_unsigned<u8>::value && std::is_unsigned<u16>::value));
    EXPECT_TRUE((std::is_unsigned<u32>::value && std::is_unsigned<u64>::value));
    EXPECT_TRUE((std::is_signed<s8>::value && std::is_signed<s16>::value));
    EXPECT_TRUE((std::is_signed<s32>::value && std::is_signed<s64>::value));
}

TEST(Defs, TheWidestIntegersAreLongLongOnEveryPlatform)
{
    EXPECT_TRUE((std::is_same<u64, unsigned long long>::value));
    EXPECT_TRUE((std::is_same<s64, long long>::value));
}

TEST(Defs, RegisterIntegersAreAsWideAsAPointer)
{
    EXPECT_EQ(sizeof(ureg), sizeof(void *));
    EXPECT_EQ(sizeof(sreg), sizeof(void *));
    EXPECT_TRUE(std::is_unsigned<ureg>::value);
    EXPECT_TRUE(std::is_signed<sreg>::value);
}

TEST(Defs, NullIsAConstantOfTheNullPointersType)
{
    EXPECT_TRUE((std::is_same<decltype(null), const std::nullptr_t>::value));
    const int *pointer = null;
    EXPECT_EQ(pointer, nullptr);
    EXPECT_TRUE(pointer == null);
}

TEST(Defs, TheNamespaceMacroNamesTheNamespace)
{
    EXPECT_TRUE((std::is_same<QV_NAMESPACE::u32, ::Quorvane::u32>::value));
}

TEST(Defs, MinAndMaxChooseByOrder)
{
    EXPECT_EQ(QVMin(2, 3), 2);
    EXPECT_EQ(QVMin(3, 2), 2);
    EXPECT_EQ(QVMax(2, 3), 3);
    EXPECT_EQ(QVMax(3, 2), 3);
    EXPECT_EQ(QVMin(-1.5f, 0.0f), -1.5f);
    EXPECT_EQ(QVMax(std::string("a"), std::string("b")), "b");
    static_assert(QVMin(1u, 2u) == 1u && QVMax(1u, 2u) == 2u, "usable in constant expressions");
}

TEST(Defs, MinAndMaxOfEqualValuesAreTheFirst)
{
    const std::string first("same");
    const std::string second("same");
    EXPECT_EQ(&QVMin(first, second), &first);
    EXPECT_EQ(&QVMax(first, second), &first);
}

TEST(Defs, CheckedNumcastKeepsAValueThatFits)
{
    const CAssertRecorder recorder;
    EXPECT_EQ(checked_numcast<u32>(u64(0)), 0u);
    EXPECT_EQ(checked_numcast<u32>(u64(0xFFFFFFFF)), 0xFFFFFFFFu);
    EXPECT_EQ(checked_numcast<s32>(s64(-0x7FFFFFFF) - 1), -0x7FFFFFFF - 1);
    EXPECT_EQ(checked_numcast<u8>(255), 255u);
    EXPECT_EQ(checked_numcast<s8>(-128), -128);
    EXPECT_EQ(checked_numcast<u32>(Small_Last), 200u);
    EXPECT_EQ(checked_numcast<u32>(EWide::Fits), 7u);
    EXPECT_EQ(checked_numcast<u64>(u32(5)), 5u);
    EXPECT_EQ(recorder.Count(), 0u);
}

TEST(Defs, CheckedNumcastAnswersTheTypeItIsAskedFor)
{
    EXPECT_TRUE((std::is_same<decltype(checked_numcast<u32>(u64(1))), u32>::value));
    EXPECT_TRUE((std::is_same<decltype(checked_numcast<s8>(1)), s8>::value));
}

TEST(Defs, CheckedNumcastReportsALossAndTruncates)
{
    const CAssertRecorder recorder;
    EXPECT_EQ(checked_numcast<u32>(u64(0x100000000)), 0u);
    EXPECT_EQ(checked_numcast<u32>(u64(0x1234567890ABCDEF)), 0x90ABCDEFu);
    EXPECT_EQ(checked_numcast<u32>(s64(-1)), 0xFFFFFFFFu);
    EXPECT_EQ(checked_numcast<u8>(256), 0u);
    EXPECT_EQ(checked_numcast<s8>(128), -128);
    EXPECT_EQ(checked_numcast<u32>(EWide::TooWide), 0u);
    EXPECT_EQ(recorder.Count(), IfAsserting(6));
    EXPECT_EQ(recorder.CountOf(kNarrowingText), IfAsserting(6));
}

TEST(Defs, CheckedNumcastCarriesTheSameTextInAllThreePlaces)
{
    const CAssertRecorder recorder;
    const volatile u64 wide = 0x100000001;
    EXPECT_EQ(checked_numcast<u32>(wide), 1u);
    ASSERT_EQ(recorder.Count(), IfAsserting(1));
    if (!kSitesReport)
        return;
    EXPECT_EQ(recorder.Last().m_Expression, kNarrowingText);
    EXPECT_EQ(recorder.Last().m_ExpandedExpression, kNarrowingText);
    EXPECT_EQ(recorder.Last().m_Message, kNarrowingText);
    EXPECT_NE(recorder.Last().m_Function.find("checked_numcast"), std::string::npos);
}

TEST(Defs, PositiveInfinityOfFloatHasItsBits)
{
    const float infinity = TNumericTraits<float>::kPositiveInfinity;
    u32 bits = 0;
    std::memcpy(&bits, &infinity, sizeof(bits));
    EXPECT_EQ(bits, 0x7F800000u);
}

TEST(Defs, TriviallyCopyableTypesRelocateTrivially)
{
    EXPECT_TRUE(TTypeTraits<int>::HasTrivialRelocate);
    EXPECT_TRUE(TTypeTraits<const char *>::HasTrivialRelocate);
    EXPECT_TRUE(TTypeTraits<STrivial>::HasTrivialRelocate);
}

TEST(Defs, OtherTypesDoNotUnlessSpecialised)
{
    EXPECT_FALSE(TTypeTraits<SSelfReferring>::HasTrivialRelocate);
    EXPECT_FALSE(TTypeTraits<std::unique_ptr<int>>::HasTrivialRelocate);
}

} // namespace QuorvaneTest
