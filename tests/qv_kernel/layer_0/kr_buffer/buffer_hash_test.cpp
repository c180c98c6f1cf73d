// Hashes that ignore case: what they are equal for, how they spread, and what they read.
#include "kr_buffer/buffer_hash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "buffer_forms.h"
#include "buffer_model.h"
#include "every_locale.h"
#include "every_text.h"
#include "guarded_text.h"
#include "kr_buffer.h"
#include "wide_choice.h"

using namespace Quorvane;
using namespace QuorvaneTest;

namespace
{

u64 HashOf(const std::string &text)
{
    return SNativeStringUtils::HashCase(text.data(), static_cast<u32>(text.size()));
}

// Repeats the alphabet.
std::string Letters(size_t length)
{
    std::string text;
    while (text.size() < length)
        text += static_cast<char>('a' + text.size() % 26);
    return text;
}

std::string RandomText(std::mt19937 &random, size_t length)
{
    std::string text;
    while (text.size() < length)
        text += static_cast<char>(random());
    return text;
}

// Lengths around those where another path is taken.
constexpr u32 kLengths[] = {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 48, 63, 64, 65, 96, 127, 128, 129, 200};

} // namespace

TEST(BufferHash, HashCaseIsTheSameOnEveryMachineAndInEveryBuild)
{
    // From a program of its own in another language.
    EXPECT_EQ(HashOf(""), 0x58DFE6D6AA3A4B8Eu);
    EXPECT_EQ(HashOf("a"), 0x40EA9B4045DF24D2u);
    EXPECT_EQ(HashOf("Ab"), 0x5701190A8E78A7C5u);
    EXPECT_EQ(HashOf("Abc"), 0xAD9CA19854E2678Du);
    EXPECT_EQ(HashOf("texture"), 0x83F1361969BABC00u);
    EXPECT_EQ(HashOf("Wood.png"), 0x95CF952D3A2418E2u);
    EXPECT_EQ(HashOf("Stone_Wall.PNG"), 0x1CA45F58C6018027u);
    EXPECT_EQ(HashOf("Stone_Wall_2.PNG"), 0xAB97B7E38C9B5513u);
    EXPECT_EQ(HashOf(Letters(17)), 0x7400E69E152B1298u);
    EXPECT_EQ(HashOf(Letters(32)), 0x793F602A4CA2851Du);
    EXPECT_EQ(HashOf(Letters(33)), 0x7EC605861C95CC67u);
    EXPECT_EQ(HashOf(Letters(64)), 0x1370F6032C6AE8A5u);
    EXPECT_EQ(HashOf(Letters(65)), 0x230C48BF62C35F48u);
    EXPECT_EQ(HashOf(Letters(128)), 0x0FD5217BF4B493A5u);
    EXPECT_EQ(HashOf(Letters(192)), 0xEE9FE5A6FFC378F2u);
    EXPECT_EQ(HashOf(Letters(200)), 0x8A9CBBA8228D2452u);
    EXPECT_EQ(HashOf(std::string("\0\xFF[@`{", 6)), 0x75431AEF48F97EF5u);
}

TEST(BufferHash, HashCaseOfNothingReadsNothing)
{
    EXPECT_EQ(SNativeStringUtils::HashCase(nullptr, 0), HashOf(""));
    const CGuardedPage page;
    EXPECT_EQ(SNativeStringUtils::HashCase(page.End(), 0), HashOf(""));
}

TEST(BufferHash, HashCaseIsEqualForTextsThatAreEqualButForCaseAndForNoOthers)
{
    // Every byte, in every place of short texts.
    for (const u32 length : kLengths)
    {
        for (u32 place = 0; place < length; place += 1 + length / 50)
        {
            std::set<u64> hashes;
            std::string text = Letters(length);
            for (u32 byte = 0; byte < 256; ++byte)
            {
                text[place] = static_cast<char>(byte);
                hashes.insert(HashOf(text));
                ASSERT_EQ(HashOf(text), HashOf(ModelLowercase(text))) << length << ", " << place << ", " << byte;
                ASSERT_EQ(HashOf(text), HashOf(ModelUppercase(ModelLowercase(text)))) << length << ", " << place;
            }
            ASSERT_EQ(hashes.size(), 256u - 26) << length << ", " << place;
        }
    }
}

TEST(BufferHash, HashCaseIsThatOfTheAsciiLettersInEveryLocale)
{
    InEveryLocale(
        [](const char *locale)
        {
            SCOPED_TRACE(locale);
            EXPECT_EQ(HashOf("TITLE"), HashOf("title"));
            EXPECT_NE(HashOf("\xC4"), HashOf("\xE4"));
            EXPECT_NE(HashOf("\xDD"), HashOf("\xFD"));
        });
}

TEST(BufferHash, HashCaseReadsNothingOutsideOfTheTextWhereverItLies)
{
    std::mt19937 random(1);
    for (u32 length = 0; length <= 200; ++length)
    {
        const std::string text = RandomText(random, length);
        const u64 expected = HashOf(text);
        const CGuardedText atEnd(text.data(), length);
        ASSERT_EQ(SNativeStringUtils::HashCase(atEnd.Get(), length), expected) << length;
        const CGuardedPage page;
        std::copy(text.begin(), text.end(), page.Begin());
        ASSERT_EQ(SNativeStringUtils::HashCase(page.Begin(), length), expected) << length;
        for (u32 offset = 0; offset < 64; offset += 3)
        {
            // What stands around it does not count.
            const std::string around = RandomText(random, offset) + text + RandomText(random, 70);
            ASSERT_EQ(SNativeStringUtils::HashCase(around.data() + offset, length), expected) << length;
        }
    }
}

TEST(BufferHash, HashCaseIsTheSameInEveryForm)
{
    std::mt19937 random(2);
    for (u32 length = 65; length <= 400; ++length)
    {
        const std::string text = RandomText(random, length);
        const CGuardedText exact(text.data(), length);
        const u8 *const bytes = reinterpret_cast<const u8 *>(exact.Get());
        const u64 expected = Narrow::Kernels::HashStridesCase<SBlockPortable>(bytes, length);
        ASSERT_EQ(Narrow::SKernels::HashStridesCase(exact.Get(), length), expected) << length;
        ASSERT_EQ(SNativeStringUtils::HashCase(exact.Get(), length), expected) << length;
        if (SWideForm::IsAvailable())
        {
            ASSERT_EQ(SWideForm::CKernels::HashStridesCase(exact.Get(), length), expected) << length;
        }
        if (SWidestForm::IsAvailable())
        {
            ASSERT_EQ(SWidestForm::CKernels::HashStridesCase(exact.Get(), length), expected) << length;
        }
        const CWideChoice narrow(false);
        ASSERT_EQ(SNativeStringUtils::HashCase(exact.Get(), length), expected) << length;
    }
}

TEST(BufferHash, AStrideIsMixedIntoItsLanesAlone)
{
    struct SLanes
    {
        u64 m_Lanes[Internal::Buffer::kHashLanes];
        u64 m_Canary;
    };
    const std::string stride = Letters(Internal::Buffer::kHashStride);
    SLanes lanes = {{1, 2, 3, 4}, 5};
    Narrow::Kernels::MixStrideCase<SBlockPortable>(lanes.m_Lanes, reinterpret_cast<const u8 *>(stride.data()));
    EXPECT_EQ(lanes.m_Canary, 5u);
    for (u32 i = 0; i < Internal::Buffer::kHashLanes; ++i)
        EXPECT_NE(lanes.m_Lanes[i], i + 1);
}

TEST(BufferHash, HashCaseTellsLengthsApart)
{
    std::set<u64> hashes;
    for (const char character : {'\0', 'a', '\xFF'})
        for (u32 length = 1; length <= 1000; ++length)
            hashes.insert(HashOf(std::string(length, character)));
    hashes.insert(HashOf(""));
    EXPECT_EQ(hashes.size(), 3001u);
}

TEST(BufferHash, HashCaseTellsShortTextsApart)
{
    std::set<u64> hashes;
    const std::vector<std::string> texts = EveryText("abcdefghijklmnopqrstuvwxyz0123456789_", 3);
    for (const std::string &text : texts)
        hashes.insert(HashOf(text));
    EXPECT_EQ(hashes.size(), texts.size());
}

TEST(BufferHash, HashCaseTellsPiecesInAnotherOrderApart)
{
    // Pieces of every size that the hash takes text in, exchanged in every way.
    for (const u32 size : {1u, 4u, 8u, 16u, 32u, 64u})
    {
        for (u32 count = 2; count <= 8; ++count)
        {
            std::set<u64> hashes;
            std::string text = Letters(size * count);
            std::mt19937 random(3);
            std::shuffle(text.begin(), text.end(), random);
            hashes.insert(HashOf(text));
            size_t expected = 1;
            for (u32 i = 0; i < count; ++i)
            {
                for (u32 j = 0; j < i; ++j)
                {
                    std::string exchanged = text;
                    std::swap_ranges(exchanged.begin() + i * size, exchanged.begin() + (i + 1) * size,
                                     exchanged.begin() + j * size);
                    expected += exchanged != text && hashes.insert(HashOf(exchanged)).second ? 1 : 0;
                    ASSERT_TRUE(exchanged == text || hashes.size() == expected) << size << ", " << i << ", " << j;
                }
            }
            ASSERT_EQ(hashes.size(), expected);
        }
    }
}

TEST(BufferHash, HashCaseSpreadsNamesThatDifferInTheirNumbers)
{
    // Names as programs number them, of several lengths, by the lower and by the upper bits.
    constexpr u32 kBuckets = 1024;
    constexpr u32 kNames = 16 * kBuckets;
    for (const u32 length : {8u, 16u, 24u, 40u, 80u, 150u})
    {
        std::vector<u32> low(kBuckets);
        std::vector<u32> high(kBuckets);
        std::set<u64> hashes;
        for (u32 i = 0; i < kNames; ++i)
        {
            const std::string number = std::to_string(i);
            std::string name = Letters(length);
            name.replace(length - number.size(), number.size(), number);
            const u64 hash = HashOf(name);
            ++low[hash % kBuckets];
            ++high[static_cast<size_t>(hash >> 54)];
            hashes.insert(hash);
        }
        EXPECT_EQ(hashes.size(), kNames) << length;
        for (const std::vector<u32> &buckets : {low, high})
        {
            // The chi-square statistic of 1023 degrees of freedom: 1023 on average, with a deviation of 45.
            double statistic = 0;
            for (const u32 count : buckets)
                statistic += (count - 16.0) * (count - 16.0) / 16.0;
            EXPECT_LT(statistic, 1023 + 6 * 45.2) << length;
            EXPECT_GT(statistic, 1023 - 6 * 45.2) << length;
        }
    }
}

TEST(BufferHash, HashCaseChangesHalfOfItsBitsWithEachBitOfTheText)
{
    std::mt19937 random(4);
    constexpr u32 kTexts = 200;
    for (const u32 length : kLengths)
    {
        for (u32 place = 0; place < length; place += 1 + length / 16)
        {
            u32 changed[64] = {};
            u32 flips = 0;
            for (u32 i = 0; i < kTexts; ++i)
            {
                std::string text = ModelLowercase(RandomText(random, length));
                std::string other = text;
                other[place] = static_cast<char>(other[place] ^ (1 << random() % 8));
                if (ModelLowercase(other) == text)
                    continue;
                ++flips;
                const u64 difference = HashOf(text) ^ HashOf(other);
                for (u32 bit = 0; bit < 64; ++bit)
                    changed[bit] += difference >> bit & 1;
            }
            // Six deviations of the binomial distribution.
            for (u32 bit = 0; bit < 64; ++bit)
                ASSERT_NEAR(changed[bit], flips / 2.0, 6 * 0.5 * 14.2) << length << ", " << place << ", bit " << bit;
        }
    }
}

TEST(BufferHash, ProductsAreThoseOfTheirHalves)
{
    std::mt19937_64 random(5);
    for (u32 i = 0; i < 1000; ++i)
    {
        const u64 a = i < 4 ? ((i & 1) != 0 ? ~u64(0) : 0) : random();
        const u64 b = i < 4 ? ((i >> 1) != 0 ? ~u64(0) : 0) : random();
        // Schoolbook multiplication, in digits of 32 bits.
        const u64 digits[2][2] = {{a & 0xFFFFFFFFu, a >> 32}, {b & 0xFFFFFFFFu, b >> 32}};
        u64 sums[4] = {};
        for (u32 j = 0; j < 2; ++j)
        {
            for (u32 k = 0; k < 2; ++k)
            {
                const u64 product = digits[0][j] * digits[1][k];
                sums[j + k] += product & 0xFFFFFFFFu;
                sums[j + k + 1] += product >> 32;
            }
        }
        for (u32 j = 0; j < 3; ++j)
        {
            sums[j + 1] += sums[j] >> 32;
            sums[j] &= 0xFFFFFFFFu;
        }
        const u64 low = sums[0] | sums[1] << 32;
        const u64 high = sums[2] | sums[3] << 32;
        const Internal::Buffer::SProduct product = Internal::Buffer::Multiply(a, b);
        ASSERT_EQ(product.m_Low, low);
        ASSERT_EQ(product.m_High, high);
        ASSERT_EQ(Internal::Buffer::MultiplyAndFold(a, b), low ^ high);
    }
}
