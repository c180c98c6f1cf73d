// The character block: both forms byte for byte, every allocation, every report, and the arithmetic of sizes behind
// them.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "kr_mem.h"
#include "kr_mem/mem_policy.h"
#include "kr_string.h"
#include "kr_string/string_block.h"
#include "odd_allocators.h"
#include "refusal_sweep.h"
#include "string_checks.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

const char kText[] = "abcdefghijklmnopqrstuvwxyz0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr u32 kReservedBit = 0x40000000;
constexpr u32 kResizableBit = 0x80000000;

// The two reports of a misaligned block: the check of the characters, and the checked store at `block`.
void ExpectMisaligned(const CAssertRecorder &recorder, const std::string &expression, const void *block)
{
    const auto reports = recorder.Reports();
    ASSERT_EQ(reports.size(), QV_ASSERTS ? 2u : 0u);
    if (reports.empty())
        return;
    char message[80];
    std::snprintf(message, sizeof(message), "Unaligned memory! %p should be 16-bytes aligned.", block);
    EXPECT_EQ(reports[0].m_Expression, expression);
    EXPECT_EQ(reports[1].m_Message, message);
}

void ExpectCall(const SAllocatorCall &call, u64 size, u32 alignment, Mem::EOrigin origin)
{
    EXPECT_EQ(call.m_Size, size);
    EXPECT_EQ(call.m_Alignment, alignment);
    EXPECT_EQ(call.m_Origin, origin);
    EXPECT_EQ(call.m_Type, Mem::AllocType_Generic);
    EXPECT_EQ(call.m_Tag, "Kernel|Mem|Default");
    EXPECT_NE(call.m_File.find("string_container"), std::string::npos) << call.m_File;
    EXPECT_GT(call.m_Line, 0u);
    EXPECT_NE(call.m_Function, "");
}

// Sizes.

TEST(StringSizes, PaddedBytesHoldTheTextAndItsTerminatorInBlocksOf16)
{
    EXPECT_EQ(Internal::String::PaddedBytes(0), 16u);
    EXPECT_EQ(Internal::String::PaddedBytes(1), 16u);
    EXPECT_EQ(Internal::String::PaddedBytes(15), 16u);
    EXPECT_EQ(Internal::String::PaddedBytes(16), 32u);
    EXPECT_EQ(Internal::String::PaddedBytes(31), 32u);
    EXPECT_EQ(Internal::String::PaddedBytes(32), 48u);
}

TEST(StringSizes, PaddedBytesDoNotWrapAt32Bits)
{
    EXPECT_EQ(Internal::String::PaddedBytes(0xFFFFFFEFu), 0xFFFFFFF0u);
    EXPECT_EQ(Internal::String::PaddedBytes(0xFFFFFFF0u), 0x100000000u);
    EXPECT_EQ(Internal::String::PaddedBytes(0xFFFFFFFFu), 0x100000000u);
}

TEST(StringSizes, GrownBytesAreTheLengthAnd256RoundedUpToABlock)
{
    EXPECT_EQ(Internal::String::GrownBytes(0), 256u);
    EXPECT_EQ(Internal::String::GrownBytes(1), 272u);
    EXPECT_EQ(Internal::String::GrownBytes(16), 272u);
    EXPECT_EQ(Internal::String::GrownBytes(17), 288u);
    EXPECT_EQ(Internal::String::GrownBytes(32), 288u);
    EXPECT_EQ(Internal::String::GrownBytes(0xFFFFFFFFu), 0x100000100u);
}

TEST(StringSizes, ALengthThatNoStringCanHaveIsRefused)
{
    EXPECT_EQ(Internal::String::CheckedLength(0), 0u);
    EXPECT_EQ(Internal::String::CheckedLength(0x3FFFFFFEu), 0x3FFFFFFEu);
    EXPECT_EQ(Internal::String::CheckedLength(0x3FFFFFFFu), Internal::String::kRefusedLength);
    EXPECT_EQ(Internal::String::CheckedLength(0x40000000u), Internal::String::kRefusedLength);
    EXPECT_EQ(Internal::String::CheckedLength(0x100000000u), Internal::String::kRefusedLength);
    EXPECT_EQ(Internal::String::CheckedLength(~0ull), Internal::String::kRefusedLength);
}

TEST(StringSizes, SumsOfLengthsDoNotWrap)
{
    EXPECT_EQ(Internal::String::CheckedSum(2, 3), 5u);
    EXPECT_EQ(Internal::String::CheckedSum(0x3FFFFFFEu, 0), 0x3FFFFFFEu);
    EXPECT_EQ(Internal::String::CheckedSum(0x3FFFFFFEu, 1), Internal::String::kRefusedLength);
    EXPECT_EQ(Internal::String::CheckedSum(0xFFFFFFFFu, 1), Internal::String::kRefusedLength);
    EXPECT_EQ(Internal::String::CheckedSum(0xFFFFFFFFu, 0xFFFFFFFFu), Internal::String::kRefusedLength);
}

TEST(StringSizes, TheLastBlockIsTheOneOfTheTerminator)
{
    EXPECT_EQ(Internal::String::LastBlockStart(0), 0u);
    EXPECT_EQ(Internal::String::LastBlockStart(15), 0u);
    EXPECT_EQ(Internal::String::LastBlockStart(16), 16u);
    EXPECT_EQ(Internal::String::LastBlockStart(31), 16u);
}

// Creation of the fixed form.

TEST(StringContainer, LengthMaskIsTheLow30Bits)
{
    EXPECT_EQ(CStringContainer::kLengthMask, 0x3FFFFFFFu);
    EXPECT_EQ(CStringContainer::kLengthMask, 1073741823u);
}

TEST(StringContainer, NewHoldsTheFirstCharactersOfTheText)
{
    CTestAllocator allocator;
    for (u32 length = 1; length <= 60; ++length)
    {
        SCOPED_TRACE(length);
        const PStringContainer container = CStringContainer::New(kText, length);
        ASSERT_NE(container, null);
        EXPECT_EQ(TextOf(*container), std::string(kText, length));
        EXPECT_FALSE(container->SupportsDynamicResize());
        ExpectWellFormed(*container);
    }
}

TEST(StringContainer, NewMeasuresATerminatedText)
{
    const PStringContainer container = CStringContainer::New("measure me");
    ASSERT_NE(container, null);
    EXPECT_EQ(container->Length(), 10u);
    EXPECT_STREQ(container->Data(), "measure me");
}

TEST(StringContainer, NewCopiesEmbeddedTerminators)
{
    const PStringContainer container = CStringContainer::New("a\0b\0c", 5);
    EXPECT_EQ(TextOf(*container), std::string("a\0b\0c", 5));
    ExpectWellFormed(*container);
}

TEST(StringContainer, NewHoldsExactlyOneStrongReference)
{
    const PStringContainer container = CStringContainer::New("abc");
    EXPECT_EQ(container->RefCount(), 1u);
    EXPECT_EQ(container->WeakCount(), 0u);
}

// A thread's cache hands out first what it got last.
TEST(StringContainer, ABlockOfTheFixedFormThatIsDroppedServesTheNextOneOfItsSize)
{
    if (!Mem::Internal::TakesFastPath(64, 16))
        GTEST_SKIP() << "the platform's blocks";
    const std::string text(1100, 'x');
    for (u32 length = 1; length < text.size(); ++length)
    {
        PStringContainer container = CStringContainer::New(text.c_str(), length);
        const void *const block = container.Get();
        container.Clear();
        container = CStringContainer::New(text.c_str(), length);
        if (Mem::Internal::TakesFastPath(Internal::String::PaddedBytes(length) + 32, 16))
        {
            ASSERT_EQ(container.Get(), block) << length;
        }
    }
}

TEST(StringContainer, NewOfLengthZeroIsNullAndAllocatesNothing)
{
    CTestAllocator allocator;
    EXPECT_EQ(CStringContainer::New("abc", 0), null);
    EXPECT_EQ(CStringContainer::New(nullptr, 0), null);
    EXPECT_EQ(CStringContainer::New(""), null);
    EXPECT_EQ(CStringContainer::New(nullptr), null);
    EXPECT_EQ(allocator.RequestCount(), 0u);
}

TEST(StringContainer, NewMakesOneAllocationOfTheExactSize)
{
    const struct
    {
        u32 m_Length;
        u64 m_Size;
    } cases[] = {{1, 48}, {14, 48}, {15, 48}, {16, 64}, {17, 64}, {31, 64}, {32, 80}, {60, 96}};
    for (const auto &one : cases)
    {
        SCOPED_TRACE(one.m_Length);
        CTestAllocator allocator;
        const PStringContainer container = CStringContainer::New(kText, one.m_Length);
        const auto requests = allocator.Requests();
        ASSERT_EQ(requests.size(), 1u);
        ExpectCall(requests[0], one.m_Size, 16, Mem::Origin_New);
    }
}

TEST(StringContainer, FixedCharactersStart32BytesIntoTheOneBlock)
{
    CTestAllocator allocator;
    const PStringContainer container = CStringContainer::New("abc");
    const char *block = static_cast<const char *>(allocator.Requests().at(0).m_Result);
    EXPECT_EQ(container->Data(), block + 32);
    EXPECT_EQ(static_cast<const void *>(container.Get()), block);
}

TEST(StringContainer, NewZeroesTheBlockOfTheTerminator)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    CTestAllocator allocator;
    // 15 characters and the terminator fill one block; with 16 the terminator stands in a block of its own.
    const PStringContainer fifteen = CStringContainer::New(kText, 15);
    EXPECT_EQ(fifteen->Data()[15], '\0');
    const PStringContainer sixteen = CStringContainer::New(kText, 16);
    EXPECT_EQ(std::string(sixteen->Data() + 16, 16), std::string(16, '\0'));
}

TEST(StringContainer, NewOfNullLeavesTheCharactersToTheCallerAndZeroesTheLastBlock)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    CTestAllocator allocator;
    const PStringContainer container = CStringContainer::New(nullptr, 20);
    ASSERT_NE(container, null);
    EXPECT_EQ(container->Length(), 20u);
    // What stands before the last block is as the allocator gave it; from there on all is zero.
    EXPECT_EQ(std::string(container->Data(), 16), std::string(16, '\xCD'));
    EXPECT_EQ(std::string(container->Data() + 16, 16), std::string(16, '\0'));
}

TEST(StringContainer, FixedBlockIsFreedWithItsOriginWhenTheLastReferenceGoes)
{
    CTestAllocator allocator;
    PStringContainer container = CStringContainer::New("abc");
    PStringContainer second = container;
    container.Clear();
    EXPECT_EQ(allocator.LiveBlocks(), 1u);
    void *block = second.Get();
    second.Clear();
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
    const SAllocatorCall last = allocator.Calls().back();
    EXPECT_EQ(last.m_Kind, SAllocatorCall::Kind_Free);
    EXPECT_EQ(last.m_Block, block);
    EXPECT_EQ(last.m_Origin, Mem::Origin_New);
    EXPECT_EQ(last.m_Type, Mem::AllocType_Generic);
    EXPECT_EQ(last.m_Tag, "Kernel|Mem|Default");
}

// Creation of the resizable form.

TEST(StringContainer, NewResizableHoldsTheFirstCharactersOfTheText)
{
    CTestAllocator allocator;
    for (u32 length = 0; length <= 60; ++length)
    {
        SCOPED_TRACE(length);
        const PStringContainer container = CStringContainer::NewResizable(kText, length, 0);
        ASSERT_NE(container, null);
        EXPECT_EQ(TextOf(*container), std::string(kText, length));
        EXPECT_TRUE(container->SupportsDynamicResize());
        EXPECT_EQ(container->RefCount(), 1u);
        EXPECT_EQ(container->WeakCount(), 0u);
        ExpectWellFormed(*container);
    }
}

TEST(StringContainer, NewResizableMeasuresATerminatedText)
{
    const PStringContainer container = CStringContainer::NewResizable("measure me");
    ASSERT_NE(container, null);
    EXPECT_STREQ(container->Data(), "measure me");
    EXPECT_EQ(container->Length(), 10u);
    EXPECT_TRUE(container->SupportsDynamicResize());
}

TEST(StringContainer, NewResizableOfNullIsAContainerOfLengthZero)
{
    for (const PStringContainer &container :
         {CStringContainer::NewResizable(nullptr), CStringContainer::NewResizable(""),
          CStringContainer::NewResizable(nullptr, 0, 0)})
    {
        ASSERT_NE(container, null);
        EXPECT_EQ(container->Length(), 0u);
        EXPECT_EQ(CapacityOf(*container), 32u);
        ExpectWellFormed(*container);
    }
}

TEST(StringContainer, NewResizableAllocatesTheBufferThenTheObject)
{
    const struct
    {
        u32 m_Length;
        u32 m_Capacity;
        u64 m_BufferSize;
    } cases[] = {
        {0, 0, 32},  {1, 0, 32},  {15, 0, 32}, {16, 0, 32}, {17, 0, 32},  {31, 0, 32},    {32, 0, 48},
        {33, 0, 48}, {47, 0, 48}, {48, 0, 64}, {0, 1, 16},  {3, 3, 16},   {15, 15, 16},   {3, 15, 16},
        {3, 16, 32}, {3, 17, 32}, {3, 31, 32}, {3, 32, 48}, {60, 60, 64}, {60, 300, 304},
    };
    for (const auto &one : cases)
    {
        SCOPED_TRACE(::testing::Message() << "length " << one.m_Length << ", capacity " << one.m_Capacity);
        CAssertRecorder recorder;
        CTestAllocator allocator;
        const PStringContainer container = CStringContainer::NewResizable(kText, one.m_Length, one.m_Capacity);
        const auto requests = allocator.Requests();
        ASSERT_EQ(requests.size(), 2u);
        ExpectCall(requests[0], one.m_BufferSize, 16, Mem::Origin_Alloc);
        ExpectCall(requests[1], 40, 0, Mem::Origin_New);
        EXPECT_EQ(container->Data(), requests[0].m_Result);
        EXPECT_EQ(static_cast<const void *>(container.Get()), requests[1].m_Result);
        EXPECT_EQ(CapacityOf(*container), one.m_BufferSize);
        ExpectReports(recorder, {});
    }
}

TEST(StringContainer, NewResizableZeroesTheBlockOfTheTerminatorAndNoMore)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    CTestAllocator allocator;
    const PStringContainer container = CStringContainer::NewResizable(kText, 5, 40);
    EXPECT_EQ(std::string(container->Data() + 5, 11), std::string(11, '\0'));
    EXPECT_EQ(std::string(container->Data() + 16, 32), std::string(32, '\xCD'));
}

TEST(StringContainer, NewResizableOfNullLeavesTheCharactersToTheCallerAndZeroesTheLastBlock)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    CTestAllocator allocator;
    const PStringContainer container = CStringContainer::NewResizable(nullptr, 20, 0);
    EXPECT_EQ(container->Length(), 20u);
    EXPECT_EQ(std::string(container->Data(), 16), std::string(16, '\xCD'));
    EXPECT_EQ(std::string(container->Data() + 16, 16), std::string(16, '\0'));
}

TEST(StringContainer, NewResizableReportsACapacityBelowTheLengthAndTakesTheLength)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    const PStringContainer container = CStringContainer::NewResizable(kText, 40, 8);
    ExpectReports(recorder, {"capacityLen >= stringLen"});
    ASSERT_NE(container, null);
    EXPECT_EQ(TextOf(*container), std::string(kText, 40));
    EXPECT_EQ(CapacityOf(*container), 48u);
    ExpectWellFormed(*container);
}

TEST(StringContainer, ResizableBlocksAreFreedEachWithItsOrigin)
{
    CTestAllocator allocator;
    PStringContainer container = CStringContainer::NewResizable("abc");
    void *buffer = container->Data();
    void *object = container.Get();
    allocator.ForgetCalls();
    container.Clear();
    const auto calls = allocator.Calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].m_Kind, SAllocatorCall::Kind_Free);
    EXPECT_EQ(calls[0].m_Block, buffer);
    EXPECT_EQ(calls[0].m_Origin, Mem::Origin_Alloc);
    EXPECT_EQ(calls[0].m_Tag, "Kernel|Mem|Default");
    EXPECT_EQ(calls[1].m_Kind, SAllocatorCall::Kind_Free);
    EXPECT_EQ(calls[1].m_Block, object);
    EXPECT_EQ(calls[1].m_Origin, Mem::Origin_New);
    EXPECT_EQ(calls[1].m_Tag, "Kernel|Mem|Default");
}

// Who finds himself alone drops without counting; whoever drops, the last one frees.
TEST(StringContainer, IsFreedOnceWhicheverHandleGoesLast)
{
    for (const bool resizable : {false, true})
        for (const bool byBase : {false, true})
            for (const bool originalFirst : {false, true})
            {
                CTestAllocator allocator;
                PStringContainer original =
                    resizable ? CStringContainer::NewResizable("characters") : CStringContainer::New("characters");
                PStringContainer copy;
                if (byBase)
                {
                    static_cast<const CRefCountedObjectBase *>(original.Get())->AddReference();
                    copy = PStringContainer(original.Get(), Internal::SAdoptReference());
                }
                else
                    copy = original;
                const u32 capacity = CapacityOf(*original);
                const u64 footprint = original->MemoryFootprint();
                (originalFirst ? original : copy).Clear();
                const PStringContainer &left = originalFirst ? copy : original;
                EXPECT_EQ(left->RefCount(), 1u);
                EXPECT_EQ(CapacityOf(*left), capacity);
                EXPECT_EQ(left->MemoryFootprint(), footprint);
                ExpectWellFormed(*left);
                EXPECT_EQ(allocator.LiveBlocks(), resizable ? 2u : 1u);
                (originalFirst ? copy : original).Clear();
                EXPECT_EQ(allocator.LiveBlocks(), 0u);
            }
}

TEST(StringContainer, IsDestroyedThroughAPointerToItsCountedBaseAsWell)
{
    const CTestAllocator allocator;
    {
        const TRefPtr<CRefCountedObject> fixed = CStringContainer::New("text");
        const TRefPtr<CRefCountedObject> resizable = CStringContainer::NewResizable("text");
        EXPECT_EQ(allocator.LiveBlocks(), 3u);
    }
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
}

TEST(StringContainer, DestructorReportsAMissingBuffer)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    PStringContainer container = CStringContainer::NewResizable("abc");
    char *buffer = container->Data();
    SetFieldAt<char *>(*container, kCharactersOffset, nullptr);
    container.Clear();
    ExpectReports(recorder, {"*bufferLink != null"});
    Mem::Free(buffer, Mem::AllocType_Generic);
}

TEST(StringContainer, LengthSettersLeaveAMissingBufferAlone)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    const PStringContainer container = CStringContainer::NewResizable("abc");
    char *buffer = container->Data();
    SetFieldAt<char *>(*container, kCharactersOffset, nullptr);
    container->Clear();
    container->Rebuild();
    ExpectReports(recorder, {});
    container->UnsafeSetLength(0);
    ExpectReports(recorder, {"data[newLength] == '\\0'"});
    EXPECT_EQ(container->Length(), 3u);
    SetFieldAt<char *>(*container, kCharactersOffset, buffer);
}

TEST(StringContainer, DestructorOfAFixedContainerReportsNothing)
{
    CAssertRecorder recorder;
    CStringContainer::New("abc").Clear();
    ExpectReports(recorder, {});
}

// Layout.

#if UINTPTR_MAX == 0xFFFFFFFFFFFFFFFFu

TEST(StringContainer, FieldsLieBehindTheVirtualTableAndTheCounts)
{
    PStringContainer container = CStringContainer::NewResizable("abc", 3, 20);
    const PStringContainer second = container;
    container->AddWeakReference();
    EXPECT_NE(FieldAt<void *>(*container, 0), nullptr);
    EXPECT_EQ(FieldAt<u32>(*container, 8), 2u);
    EXPECT_EQ(FieldAt<u32>(*container, 12), 1u);
    EXPECT_EQ(FieldAt<u32>(*container, 16), 3u | kResizableBit);
    EXPECT_EQ(FieldAt<u32>(*container, 20), 32u);
    EXPECT_EQ(FieldAt<const char *>(*container, 24), container->Data());
    container->RemoveWeakReference();
}

TEST(StringContainer, LengthWordOfAFixedContainerHasNoFlag)
{
    const PStringContainer container = CStringContainer::New(kText, 20);
    EXPECT_EQ(FieldAt<u32>(*container, kLengthOffset), 20u);
}

TEST(StringContainer, LengthIsTheLow30BitsOfItsWordAndTheFormTheTopBit)
{
    PStringContainer container = CStringContainer::New(kText, 20);
    SetFieldAt<u32>(*container, kLengthOffset, 20u | kReservedBit);
    EXPECT_EQ(container->Length(), 20u);
    EXPECT_FALSE(container->SupportsDynamicResize());
    SetFieldAt<u32>(*container, kLengthOffset, 20u);
}

TEST(StringContainer, EveryLengthUpdateKeepsTheReservedBitAndTheForm)
{
    CTestAllocator allocator;
    for (const bool resizable : {false, true})
    {
        SCOPED_TRACE(resizable);
        const u32 flags = kReservedBit | (resizable ? kResizableBit : 0);
        PStringContainer container =
            resizable ? CStringContainer::NewResizable(kText, 20, 0) : CStringContainer::New(kText, 20);
        SetFieldAt<u32>(*container, kLengthOffset, 20u | flags);

        container->Data()[7] = '\0';
        container->UnsafeSetLength(7);
        EXPECT_EQ(FieldAt<u32>(*container, kLengthOffset), 7u | flags);
        std::memcpy(container->Data(), kText, 12);
        container->Data()[12] = '\0';
        container->Rebuild();
        EXPECT_EQ(FieldAt<u32>(*container, kLengthOffset), 12u | flags);
        if (resizable)
        {
            EXPECT_TRUE(container->DynamicResize(100));
            EXPECT_EQ(FieldAt<u32>(*container, kLengthOffset), 12u | flags);
        }
        container->Clear();
        EXPECT_EQ(FieldAt<u32>(*container, kLengthOffset), flags);
    }
}

#endif

// Misaligned memory.

TEST(StringContainer, NewReportsMisalignedMemory)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    CAssertRecorder recorder;
    CMisalignedAllocator allocator;
    const PStringContainer container = CStringContainer::New(kText, 20);
    ASSERT_NE(container, null);
    EXPECT_EQ(TextOf(*container), std::string(kText, 20));
    EXPECT_EQ(std::string(container->Data() + 20, 12), std::string(12, '\0'));
    ExpectMisaligned(recorder, "Mem::IsAligned<0x10>(target)", container->Data() + 16);
}

TEST(StringContainer, NewResizableReportsAMisalignedBuffer)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    CAssertRecorder recorder;
    CMisalignedAllocator allocator;
    const PStringContainer container = CStringContainer::NewResizable(kText, 20, 0);
    ASSERT_NE(container, null);
    EXPECT_EQ(TextOf(*container), std::string(kText, 20));
    EXPECT_EQ(std::string(container->Data() + 20, 12), std::string(12, '\0'));
    ExpectMisaligned(recorder, "Mem::IsAligned<0x10>(data)", container->Data() + 16);
}

// Refused memory and extreme sizes.

TEST(StringContainer, NewIsNullWhenMemoryIsRefused)
{
    SweepRefusals([] { return PStringContainer(); },
                  [](PStringContainer &container) { container = CStringContainer::New(kText, 20); },
                  [](const PStringContainer &container, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      EXPECT_EQ(container == null, refusal.m_Refused);
                      ExpectReports(recorder, {});
                  });
}

TEST(StringContainer, NewResizableIsNullWhenEitherBlockIsRefused)
{
    SweepRefusals([] { return PStringContainer(); },
                  [](PStringContainer &container) { container = CStringContainer::NewResizable(kText, 20, 0); },
                  [](const PStringContainer &container, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      EXPECT_EQ(container == null, refusal.m_Refused);
                      ExpectReports(recorder, {});
                  });
}

TEST(StringContainer, DynamicResizeRefusedLeavesTheContainerIntact)
{
    SweepRefusals([] { return CStringContainer::NewResizable(kText, 20, 0); },
                  [](PStringContainer &container)
                  {
                      const char *data = container->Data();
                      const bool grown = container->DynamicResize(100);
                      EXPECT_EQ(grown, container->Data() != data);
                  },
                  [](const PStringContainer &container, const SRefusal &refusal, const CAssertRecorder &recorder)
                  {
                      EXPECT_EQ(CapacityOf(*container), refusal.m_Refused ? 32u : 368u);
                      EXPECT_EQ(TextOf(*container), std::string(kText, 20));
                      ExpectWellFormed(*container);
                      ExpectReports(recorder, {});
                  });
}

TEST(StringContainer, LengthsThatNoStringCanHaveAreRefusedWithoutAskingForMemory)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    for (const u32 length : {0x3FFFFFFFu, 0x40000000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFEFu, 0xFFFFFFF0u, 0xFFFFFFFFu})
    {
        SCOPED_TRACE(length);
        EXPECT_EQ(CStringContainer::New(nullptr, length), null);
        EXPECT_EQ(CStringContainer::New("abc", length), null);
        EXPECT_EQ(CStringContainer::NewResizable(nullptr, length, 0), null);
        EXPECT_EQ(CStringContainer::NewResizable("abc", length, 0), null);
        EXPECT_EQ(CStringContainer::NewResizable("abc", length, 0xFFFFFFFFu), null);
    }
    EXPECT_EQ(allocator.RequestCount(), 0u);
    ExpectReports(recorder, {});
}

TEST(StringContainer, CapacitiesBeyond32BitsAreRefusedWithoutAskingForMemory)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    for (const u32 capacity : {0xFFFFFFF0u, 0xFFFFFFF1u, 0xFFFFFFFFu})
    {
        SCOPED_TRACE(capacity);
        EXPECT_EQ(CStringContainer::NewResizable("abc", 3, capacity), null);
        EXPECT_EQ(CStringContainer::NewResizable(nullptr, 0, capacity), null);
    }
    EXPECT_EQ(allocator.RequestCount(), 0u);
    ExpectReports(recorder, {});
}

TEST(StringContainer, TheLongestTextIsOneShortOfTheMask)
{
    if (!CHugeAllocator::Supported())
        GTEST_SKIP() << "no address space to pretend with";
    CAssertRecorder recorder;
    CHugeAllocator allocator;
    const PStringContainer container = CStringContainer::New(nullptr, 0x3FFFFFFEu);
    ASSERT_NE(container, null);
    EXPECT_EQ(allocator.LastSize(), 0x40000020u);
    EXPECT_EQ(container->Length(), 0x3FFFFFFEu);
    EXPECT_FALSE(container->SupportsDynamicResize());
    EXPECT_EQ(container->MemoryFootprint(), 0x40000020u);
    ExpectWellFormed(*container);
    ExpectReports(recorder, {});
}

TEST(StringContainer, TheLargestCapacityIsTheLargestMultipleOf16In32Bits)
{
    if (!CHugeAllocator::Supported())
        GTEST_SKIP() << "no address space to pretend with";
    CAssertRecorder recorder;
    CHugeAllocator allocator;
    const PStringContainer container = CStringContainer::NewResizable("abc", 3, 0xFFFFFFEFu);
    if (sizeof(void *) < 8)
    {
        // All addresses there are: refused memory.
        EXPECT_EQ(container, null);
        ExpectReports(recorder, {});
        return;
    }
    ASSERT_NE(container, null);
    EXPECT_EQ(CapacityOf(*container), 0xFFFFFFF0u);
    EXPECT_EQ(container->MemoryFootprint(), 0x100000010u);
    const u64 requests = allocator.RequestCount();
    EXPECT_TRUE(container->DynamicResize(0x3FFFFFFEu));
    EXPECT_FALSE(container->DynamicResize(0x3FFFFFFFu));
    EXPECT_EQ(allocator.RequestCount(), requests);
    ExpectReports(recorder, {});
}

TEST(StringContainer, DynamicResizeGrowsToTheLongestTextAndNoFurther)
{
    if (!CHugeAllocator::Supported())
        GTEST_SKIP() << "no address space to pretend with";
    CAssertRecorder recorder;
    CHugeAllocator allocator;
    const PStringContainer container = CStringContainer::NewResizable("abc");
    for (const u32 length : {0x3FFFFFFFu, 0x40000000u, 0xFFFFFEF0u, 0xFFFFFFFEu, 0xFFFFFFFFu})
    {
        SCOPED_TRACE(length);
        const u64 requests = allocator.RequestCount();
        EXPECT_FALSE(container->DynamicResize(length));
        EXPECT_EQ(allocator.RequestCount(), requests);
    }
    EXPECT_EQ(CapacityOf(*container), 32u);
    EXPECT_EQ(TextOf(*container), "abc");
    ExpectReports(recorder, {});
}

// Resizing.

TEST(StringContainer, SupportsDynamicResizeTellsTheFormWhateverTheLength)
{
    const PStringContainer fixed = CStringContainer::New(kText, 20);
    const PStringContainer resizable = CStringContainer::NewResizable(kText, 20, 40);
    ASSERT_TRUE(fixed != null && resizable != null);
    EXPECT_FALSE(fixed->SupportsDynamicResize());
    EXPECT_TRUE(resizable->SupportsDynamicResize());
    EXPECT_TRUE(resizable->DynamicResize(400));
    EXPECT_TRUE(resizable->SupportsDynamicResize());
    fixed->Clear();
    resizable->Clear();
    EXPECT_FALSE(fixed->SupportsDynamicResize());
    EXPECT_TRUE(resizable->SupportsDynamicResize());
}

TEST(StringContainer, DynamicResizeWithinTheCapacityChangesNothing)
{
    CTestAllocator allocator;
    const PStringContainer container = CStringContainer::NewResizable("abc");
    const char *data = container->Data();
    allocator.ForgetCalls();
    EXPECT_TRUE(container->DynamicResize(0));
    EXPECT_TRUE(container->DynamicResize(3));
    // The last length that leaves room for the terminator.
    EXPECT_TRUE(container->DynamicResize(31));
    EXPECT_TRUE(allocator.Calls().empty());
    EXPECT_EQ(container->Data(), data);
    EXPECT_EQ(CapacityOf(*container), 32u);
    EXPECT_EQ(TextOf(*container), "abc");
}

TEST(StringContainer, DynamicResizeToTheCapacityReallocatesWith256BytesOfHeadroom)
{
    CTestAllocator allocator;
    const PStringContainer container = CStringContainer::NewResizable("abc");
    const char *data = container->Data();
    allocator.ForgetCalls();
    EXPECT_TRUE(container->DynamicResize(32));
    const auto calls = allocator.Calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].m_Kind, SAllocatorCall::Kind_Realloc);
    EXPECT_EQ(calls[0].m_Block, data);
    ExpectCall(calls[0], 288, 16, Mem::Origin_Alloc);
    EXPECT_EQ(container->Data(), calls[0].m_Result);
    EXPECT_EQ(CapacityOf(*container), 288u);
}

TEST(StringContainer, DynamicResizeKeepsTextAndLengthAndZeroesTheNewBytes)
{
    CTestAllocator allocator;
    const PStringContainer container = CStringContainer::NewResizable(kText, 20, 0);
    EXPECT_TRUE(container->DynamicResize(40));
    EXPECT_EQ(container->Length(), 20u);
    EXPECT_EQ(CapacityOf(*container), 304u);
    EXPECT_EQ(TextOf(*container), std::string(kText, 20));
    EXPECT_EQ(std::string(container->Data() + 32, 272), std::string(272, '\0'));
    ExpectWellFormed(*container);
}

TEST(StringContainer, DynamicResizeRoundsUpToBlocks)
{
    const struct
    {
        u32 m_NewLength;
        u32 m_Capacity;
    } cases[] = {{32, 288}, {33, 304}, {47, 304}, {48, 304}, {49, 320}, {1000, 1264}};
    for (const auto &one : cases)
    {
        SCOPED_TRACE(one.m_NewLength);
        const PStringContainer container = CStringContainer::NewResizable("abc");
        EXPECT_TRUE(container->DynamicResize(one.m_NewLength));
        EXPECT_EQ(CapacityOf(*container), one.m_Capacity);
    }
}

TEST(StringContainer, DynamicResizeOfAFixedContainerReportsAndAnswersFalse)
{
    CTestAllocator allocator;
    const PStringContainer container = CStringContainer::New("abc");
    for (const u32 length : {2u, 3u, 100u})
    {
        SCOPED_TRACE(length);
        CAssertRecorder recorder;
        EXPECT_FALSE(container->DynamicResize(length));
        ExpectReports(recorder, {"SupportsDynamicResize()"});
    }
    EXPECT_EQ(allocator.Requests().size(), 1u);
    EXPECT_EQ(TextOf(*container), "abc");
}

// Setting the length.

TEST(StringContainer, ShrinkingZeroesBetweenTheTerminators)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    CTestAllocator allocator;
    for (const bool resizable : {false, true})
    {
        SCOPED_TRACE(resizable);
        CAssertRecorder recorder;
        const PStringContainer container =
            resizable ? CStringContainer::NewResizable(kText, 10, 0) : CStringContainer::New(kText, 10);
        container->Data()[3] = '\0';
        container->UnsafeSetLength(3);
        EXPECT_EQ(container->Length(), 3u);
        EXPECT_EQ(std::string(container->Data(), 11), std::string("abc\0\0\0\0\0\0\0\0", 11));
        ExpectWellFormed(*container);
        ExpectReports(recorder, {});
    }
}

TEST(StringContainer, ShrinkingZeroesAllTheWayToTheOldTerminator)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    const PStringContainer container = CStringContainer::New(kText, 60);
    container->Data()[5] = '\0';
    container->UnsafeSetLength(5);
    EXPECT_EQ(std::string(container->Data() + 5, 59), std::string(59, '\0'));
}

TEST(StringContainer, ShrinkingByOneTouchesNothingBeyondTheTerminator)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    const PStringContainer container = CStringContainer::NewResizable(kText, 20, 40);
    container->Data()[30] = 'x';
    container->Data()[19] = '\0';
    container->UnsafeSetLength(19);
    EXPECT_EQ(container->Length(), 19u);
    EXPECT_EQ(container->Data()[20], '\0');
    EXPECT_EQ(container->Data()[30], 'x');
}

TEST(StringContainer, EveryShrinkLeavesAZeroTail)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    CTestAllocator allocator;
    for (u32 oldLength = 1; oldLength <= 40; ++oldLength)
        for (u32 newLength = 0; newLength <= oldLength; ++newLength)
        {
            SCOPED_TRACE(::testing::Message() << oldLength << " to " << newLength);
            const PStringContainer container = CStringContainer::New(kText, oldLength);
            container->Data()[newLength] = '\0';
            container->UnsafeSetLength(newLength);
            EXPECT_EQ(TextOf(*container), std::string(kText, newLength));
            EXPECT_EQ(std::string(container->Data() + newLength, oldLength - newLength + 1),
                      std::string(oldLength - newLength + 1, '\0'));
            ExpectWellFormed(*container);
        }
}

TEST(StringContainer, LengtheningZeroesTheTailOfTheNewLastBlock)
{
    CTestAllocator allocator;
    for (u32 newLength = 1; newLength < 64; ++newLength)
    {
        SCOPED_TRACE(newLength);
        CAssertRecorder recorder;
        const PStringContainer container = CStringContainer::NewResizable(nullptr, 0, 63);
        // The buffer holds garbage behind its first block.
        std::memcpy(container->Data(), kText, newLength < 62 ? newLength : 62);
        container->Data()[62] = 'y';
        container->Data()[newLength] = '\0';
        container->UnsafeSetLength(newLength);
        EXPECT_EQ(container->Length(), newLength);
        ExpectWellFormed(*container);
        ExpectReports(recorder, {});
    }
}

TEST(StringContainer, UnsafeSetLengthReportsAMissingTerminator)
{
    CAssertRecorder recorder;
    const PStringContainer container = CStringContainer::New("abcdef");
    container->UnsafeSetLength(3);
    ExpectReports(recorder, {"data[newLength] == '\\0'"});
    // The operation carries on, and leaves a block that readers can rely on.
    EXPECT_EQ(container->Length(), 3u);
    EXPECT_EQ(TextOf(*container), "abc");
    ExpectWellFormed(*container);
}

TEST(StringContainer, UnsafeSetLengthOfTheMaskOrMoreReportsAndChangesNothing)
{
    for (const u32 length : {0x3FFFFFFFu, 0x40000000u, 0x80000003u, 0xFFFFFFFFu})
    {
        SCOPED_TRACE(length);
        CAssertRecorder recorder;
        CTestAllocator allocator;
        const PStringContainer container = CStringContainer::NewResizable("abcdef");
        container->UnsafeSetLength(length);
        ExpectReports(recorder, {"newLength < kLengthMask"});
        EXPECT_EQ(TextOf(*container), "abcdef");
        EXPECT_TRUE(container->SupportsDynamicResize());
    }
}

TEST(StringContainer, UnsafeSetLengthBeyondTheBlockReportsAndChangesNothing)
{
    CTestAllocator allocator;
    const struct
    {
        PStringContainer m_Container;
        u32 m_Room;
    } cases[] = {
        {CStringContainer::New("abcdef"), 16},
        {CStringContainer::New(kText, 16), 32},
        {CStringContainer::NewResizable("abcdef"), 32},
        {CStringContainer::NewResizable("abcdef", 6, 40), 48},
    };
    for (const auto &one : cases)
        for (const u32 length : {one.m_Room, one.m_Room + 1, 1000u, 0x3FFFFFFEu})
        {
            SCOPED_TRACE(::testing::Message() << one.m_Room << " bytes of room, length " << length);
            CAssertRecorder recorder;
            const std::string before = TextOf(*one.m_Container);
            one.m_Container->UnsafeSetLength(length);
            ExpectReports(recorder, {"data[newLength] == '\\0'"});
            EXPECT_EQ(TextOf(*one.m_Container), before);
        }
}

TEST(StringContainer, UnsafeSetLengthUpToTheEndOfTheBlockIsAllowed)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    CAssertRecorder recorder;
    CTestAllocator allocator;
    const PStringContainer fixed = CStringContainer::New("abc");
    std::memcpy(fixed->Data(), kText, 15);
    fixed->UnsafeSetLength(15);
    EXPECT_EQ(TextOf(*fixed), std::string(kText, 15));
    const PStringContainer resizable = CStringContainer::NewResizable("abc");
    std::memcpy(resizable->Data(), kText, 31);
    resizable->Data()[31] = '\0';
    resizable->UnsafeSetLength(31);
    EXPECT_EQ(TextOf(*resizable), std::string(kText, 31));
    ExpectReports(recorder, {});
}

TEST(StringContainer, ClearEmptiesAndKeepsTheRoom)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    CTestAllocator allocator;
    for (const bool resizable : {false, true})
    {
        SCOPED_TRACE(resizable);
        CAssertRecorder recorder;
        const PStringContainer container =
            resizable ? CStringContainer::NewResizable(kText, 20, 100) : CStringContainer::New(kText, 20);
        const char *data = container->Data();
        const u32 capacity = CapacityOf(*container);
        allocator.ForgetCalls();
        container->Clear();
        EXPECT_EQ(container->Length(), 0u);
        EXPECT_EQ(container->Data(), data);
        EXPECT_EQ(CapacityOf(*container), capacity);
        EXPECT_EQ(container->SupportsDynamicResize(), resizable);
        EXPECT_EQ(std::string(data, 21), std::string(21, '\0'));
        EXPECT_TRUE(allocator.Calls().empty());
        ExpectReports(recorder, {});
    }
}

// Rebuilding.

TEST(StringContainer, RebuildFindsTheFirstTerminator)
{
    QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS();
    CTestAllocator allocator;
    for (const bool resizable : {false, true})
        for (u32 position = 0; position <= 40; ++position)
        {
            SCOPED_TRACE(::testing::Message() << (resizable ? "resizable, " : "fixed, ") << position);
            CAssertRecorder recorder;
            const PStringContainer container =
                resizable ? CStringContainer::NewResizable(kText, 40, 0) : CStringContainer::New(kText, 40);
            container->Data()[position] = '\0';
            container->Rebuild();
            EXPECT_EQ(TextOf(*container), std::string(kText, position));
            EXPECT_EQ(std::string(container->Data() + position, 41 - position), std::string(41 - position, '\0'));
            ExpectWellFormed(*container);
            ExpectReports(recorder, {});
        }
}

TEST(StringContainer, RebuildFindsALongerText)
{
    CAssertRecorder recorder;
    CTestAllocator allocator;
    const PStringContainer container = CStringContainer::NewResizable("abc", 3, 47);
    std::memcpy(container->Data(), kText, 35);
    container->Data()[35] = '\0';
    container->Rebuild();
    EXPECT_EQ(TextOf(*container), std::string(kText, 35));
    ExpectWellFormed(*container);
    ExpectReports(recorder, {});
}

TEST(StringContainer, RebuildOfCharactersThatFillTheRoomStopsAtTheCapacity)
{
    CTestAllocator allocator;
    for (const bool resizable : {false, true})
    {
        SCOPED_TRACE(resizable);
        CAssertRecorder recorder;
        const PStringContainer container =
            resizable ? CStringContainer::NewResizable("abc", 3, 31) : CStringContainer::New(kText, 20);
        std::memcpy(container->Data(), kText, 32);
        container->Rebuild();
        ExpectReports(recorder, {"data[newLength] == '\\0'"});
        // The last character gives way to the terminator.
        EXPECT_EQ(TextOf(*container), std::string(kText, 31));
        ExpectWellFormed(*container);
    }
}

// Figures and null-safe access.

TEST(StringContainer, MemoryFootprintOfAFixedContainerIsItsBlock)
{
    EXPECT_EQ(CStringContainer::New(kText, 1)->MemoryFootprint(), 48u);
    EXPECT_EQ(CStringContainer::New(kText, 15)->MemoryFootprint(), 48u);
    EXPECT_EQ(CStringContainer::New(kText, 16)->MemoryFootprint(), 64u);
    EXPECT_EQ(CStringContainer::New(kText, 60)->MemoryFootprint(), 96u);
}

TEST(StringContainer, MemoryFootprintOfAFixedContainerFollowsItsLength)
{
    const PStringContainer container = CStringContainer::New(kText, 60);
    container->Data()[3] = '\0';
    container->UnsafeSetLength(3);
    EXPECT_EQ(container->MemoryFootprint(), 48u);
}

TEST(StringContainer, MemoryFootprintOfAResizableContainerIsItsCapacityAnd32)
{
    const PStringContainer container = CStringContainer::NewResizable("abc");
    EXPECT_EQ(container->MemoryFootprint(), 64u);
    EXPECT_TRUE(container->DynamicResize(32));
    EXPECT_EQ(container->MemoryFootprint(), 320u);
    container->Clear();
    EXPECT_EQ(container->MemoryFootprint(), 320u);
}

TEST(StringContainer, SafeDataAndSafeLengthAcceptNull)
{
    EXPECT_EQ(CStringContainer::SafeData(nullptr), nullptr);
    EXPECT_EQ(CStringContainer::SafeLength(nullptr), 0u);
}

TEST(StringContainer, SafeDataAndSafeLengthAreThoseOfTheContainer)
{
    const PStringContainer container = CStringContainer::New("abc");
    EXPECT_EQ(CStringContainer::SafeData(container.Get()), container->Data());
    EXPECT_EQ(CStringContainer::SafeLength(container.Get()), 3u);
}

} // namespace
