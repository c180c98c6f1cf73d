// The scans that every machine does with its own blocks, and the lengths of texts: every length, every place in memory,
// every character as the one that is looked for.
#include <cstring>

#include <gtest/gtest.h>

#include "every_place.h"
#include "kr_buffer.h"
#include "kr_buffer/buffer_scan.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;
namespace Buffer = Internal::Buffer;

constexpr char kWanted = '\\';
constexpr u32 kBlock = Buffer::SBlock::kBytes;

// Calls `check(text, length, hit)` for texts without what is wanted but at the hit.
template <typename Check>
void TryScan(u32 minLength, CPlacedText::EKind kind, char wanted, char around, const Check &check)
{
    CPlacedText placed(kind);
    char *text = nullptr;
    ForEveryPlace(
        minLength, [&](u32 length, u32 place) { text = placed.Put(place, length, around); },
        [&](u32 length, u32 hit)
        {
            for (u32 i = 0; i < length; ++i)
                text[i] = i == hit ? wanted : "[]\xDC/\1"[i % 5];
            return check(text, length, hit);
        });
}

TEST(ScanKernelsExhaustive, ACharacterIsHeldWhereverItStandsInACountedText)
{
    TryScan(0, CPlacedText::Kind_Counted, kWanted, kWanted,
            [](const char *text, u32 length, u32 hit)
            {
                QV_TEST_SAME(Buffer::Holds(text, length, kWanted), hit < length);
                if (length < kBlock)
                    QV_TEST_SAME(Buffer::HoldsShort(text, length, kWanted), hit < length);
                return Wrong(nullptr);
            });
}

// Behind the text, to the end of its last block, there is none.
TEST(ScanKernelsExhaustive, ACharacterIsFoundWhereverItStandsInAContainer)
{
    TryScan(0, CPlacedText::Kind_Container, kWanted, '\0',
            [](const char *text, u32 length, u32 hit)
            {
                QV_TEST_SAME(Buffer::HoldsInBlocks(text, length, kWanted), hit < length);
                for (u32 from = 0; from <= hit; ++from)
                    QV_TEST_SAME(Buffer::FindInBlocks(text, from, length, kWanted), hit);
                if (length >= 1 && length <= kBlock)
                    QV_TEST_SAME(Buffer::LastInBlock(text, length, kWanted), hit < length ? hit : kBlock);
                return Wrong(nullptr);
            });
}

TEST(ScanKernelsExhaustive, ATerminatorIsHeldWhereverItStands)
{
    // Of no characters nobody asks.
    TryScan(1, CPlacedText::Kind_Counted, '\0', '\0',
            [](const char *text, u32 length, u32 hit)
            {
                QV_TEST_SAME(Buffer::HoldsTerminator(text, length), hit < length);
                return Wrong(nullptr);
            });
    TryScan(0, CPlacedText::Kind_Container, '\0', '\0',
            [](const char *text, u32 length, u32 hit)
            {
                QV_TEST_SAME(Buffer::FindInBlocks(text, 0, length, kWanted), hit);
                return Wrong(nullptr);
            });
}

TEST(ScanKernelsExhaustive, ATextIsAsLongAsTheFirstTerminatorIsFarAway)
{
    TryScan(0, CPlacedText::Kind_Container, '\0', '\0',
            [](const char *text, u32, u32 hit)
            {
                QV_TEST_SAME(SNativeStringUtils::Length(text), hit);
                QV_TEST_SAME(SNativeStringUtils::Length_16(text), hit);
                return Wrong(nullptr);
            });
}

} // namespace
