// Walks every kernel service once, without a test framework, so that it can be built with instruments for which the
// framework is not. Answers 0 when every result is right. What it reads of the library's memory it prints or compares,
// which makes an instrument notice what was never written.
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

#include "driver_checks.h"
#include "kr_assert.h"
#include "kr_atomic.h"
#include "kr_buffer.h"
#include "kr_mem.h"
#include "kr_mem_utils.h"
#include "kr_memoryviews.h"
#include "kr_refptr.h"
#include "kr_simd.h"
#include "qv_defs.h"
#include "qv_guid.h"

using namespace Quorvane;
using namespace QuorvaneTest;

namespace
{

void *Alloc(u64 size, u32 alignment, Mem::EOrigin origin)
{
    return Mem::_RawAlloc(size, alignment, Mem::AllocType_Generic, origin, "Driver", __FILE__, __LINE__, __func__);
}

void DriveAssertions()
{
    const int value = g_Faults + 1;
    QV_ASSERT(value > 0);
    QV_TEST_CHECK(TakeReports() == 0);
    QV_ASSERT(value < 0);
    QV_TEST_CHECK(TakeReports() == kFromSites);
    QV_ASSERT_MESSAGE(value < 0, "%d and %s", value, "text");
    QV_TEST_CHECK(TakeReports() == kFromSites);
    QV_TEST_CHECK(QV_VERIFY(value < 0));
    QV_TEST_CHECK(TakeReports() == kFromSites);
    QV_TEST_CHECK(!QV_VERIFY(value > 0));
    QV_TEST_CHECK(Assert::EvalAssert("file", "function", 1, "e", "e", "m") == 2);
    QV_TEST_CHECK(Assert::EvalAssert(nullptr, nullptr, 0, nullptr, nullptr, nullptr) == 3);
    QV_TEST_CHECK(Assert::EvalAssertFormat("file", "function", 1, "e", "e", "%s %d", "text", 5) == 2);
    QV_TEST_CHECK(std::strcmp(g_LastMessage, "text 5") == 0);
    bool ignored = false;
    QV_TEST_CHECK(!Assert::VerifyAssertFalse_Breaks(ignored, "file", "function", 1, "e", "e", "m"));
    QV_TEST_CHECK(!ignored);
    QV_TEST_CHECK(TakeReports() == 4);
    QV_TEST_CHECK(Assert::SetHandler(nullptr) == &RecordReport);
    QV_TEST_CHECK(Assert::EvalAssert("file", "function", 1, "e", "e", "printed on purpose") != 1);
    Assert::SetHandler(&RecordReport);
    QV_TEST_CHECK(TakeReports() == 0);
}

void DriveBase()
{
    QV_TEST_CHECK(QVMin(1, 2) == 1 && QVMax(1, 2) == 2);
    QV_TEST_CHECK(checked_numcast<u32>(u64(5)) == 5);
    QV_TEST_CHECK(checked_numcast<u8>(0x105) == 5);
    QV_TEST_CHECK(TakeReports() == kFromSites);
    const CGuid found(3);
    QV_TEST_CHECK(found.Valid() && found == 3 && !CGuid::INVALID.Valid() && CGuid() == CGuid::INVALID);
}

void DriveAtomics()
{
    TAtomic<u32> value(10);
    QV_TEST_CHECK(value.FetchInc() == 10 && value.FetchDec() == 11 && value.FetchAdd(5) == 10);
    QV_TEST_CHECK(value.FetchSub(3) == 15 && value.FetchAnd(6) == 12 && value.FetchOr(3) == 4);
    QV_TEST_CHECK(value.FetchXor(5) == 7 && value.Swap(10) == 2);
    QV_TEST_CHECK(value.Inc() == 11 && value.Dec() == 10 && value.Add(5) == 15 && value.Sub(3) == 12);
    QV_TEST_CHECK(value.And(6) == 4 && value.Or(3) == 7 && value.Xor(5) == 2);
    QV_TEST_CHECK(!value.SetValueIfEqualTo(1, 1) && value.SetValueIfEqualTo(1, 2));
    value.Store(8);
    QV_TEST_CHECK(value.Load() == 8);
    value.StoreUnshared(9);
    QV_TEST_CHECK(value.Load() == 9);
}

void DriveMemory()
{
    for (const u32 alignment : {0u, 16u, 64u, 4096u})
    {
        char *block = static_cast<char *>(Alloc(100, alignment, Mem::Origin_Alloc));
        QV_TEST_CHECK(block != null);
        std::memset(block, 'a', 100);
        block = static_cast<char *>(
            Mem::_RawRealloc(block, 100000, alignment, Mem::AllocType_Generic, "Driver", __FILE__, __LINE__, __func__));
        QV_TEST_CHECK(block != null);
        for (int i = 0; i < 100; ++i)
            QV_TEST_CHECK(block[i] == 'a');
        std::memset(block + 100, 'b', 100000 - 100);
        block = static_cast<char *>(
            Mem::_RawRealloc(block, 101, alignment, Mem::AllocType_Generic, "Driver", __FILE__, __LINE__, __func__));
        QV_TEST_CHECK(block != null && block[99] == 'a' && block[100] == 'b');
        Mem::Free(block, Mem::AllocType_Generic);
    }
    QV_TEST_CHECK(Alloc(~u64(0), 0, Mem::Origin_Alloc) == null);
    QV_TEST_CHECK(Alloc(8, 3, Mem::Origin_Alloc) == null);
    QV_TEST_CHECK(TakeReports() == kFromSites);
    Mem::Free(nullptr, Mem::AllocType_Generic);
    const Mem::SAllocator before = Mem::SetAllocator(Mem::SAllocator());
    QV_TEST_CHECK(before.m_Alloc != null && before.m_Realloc != null && before.m_Free != null);
    Mem::SFigures figures;
    const bool tracks = Mem::LiveFigures(nullptr, figures);
    QV_TEST_CHECK(tracks || (figures.m_LiveBlocks == 0 && figures.m_LiveBytes == 0));
}

void DriveCopies()
{
    char bytes[] = "0123456789";
    char *volatile visible = bytes;
    Mem::Copy(bytes, bytes + 5, 5);
    QV_TEST_CHECK(std::strcmp(bytes, "5678956789") == 0);
    QV_TEST_CHECK(TakeReports() == 0);
    Mem::Copy(visible + 1, visible, 5);
    QV_TEST_CHECK(std::strcmp(bytes, "5567896789") == 0);
    QV_TEST_CHECK(TakeReports() == kFromSites);
    Mem::Copy_Overlapped(visible, visible + 1, 9);
    QV_TEST_CHECK(std::strcmp(bytes, "5678967899") == 0);
    alignas(16) u8 target[32];
    std::memset(target, 7, sizeof(target));
    QV_TEST_CHECK(Mem::IsAligned<16>(target) && !Mem::IsAligned<2>(target + 1));
    SIMD::Float4::Zero().StoreAligned16(target);
    QV_TEST_CHECK(target[0] == 0 && target[15] == 0 && target[16] == 7);
    QV_TEST_CHECK(TakeReports() == 0);
    SIMD::Float4(1, 2, 3, 4).StoreAligned16(target + 4);
    QV_TEST_CHECK(target[3] == 0 && target[20] == 7);
    QV_TEST_CHECK(TakeReports() == kFromSites);
}

class CObject : public CRefCountedObject
{
public:
    explicit CObject(int &deletions) : m_Deletions(deletions) {}
    ~CObject() override { ++m_Deletions; }

    int m_Value = 5;

private:
    int &m_Deletions;
};

void DriveReferences()
{
    int deletions = 0;
    {
        TRefPtr<CObject> a(new CObject(deletions));
        TRefPtr<CObject> b(a);
        const TRefPtr<const CObject> c(b);
        QV_TEST_CHECK(a != null && a == b && a->RefCount() == 3 && a->WeakCount() == 0 && c->m_Value == 5);
        b.Clear();
        TRefPtr<CObject> d(std::move(a));
        d.Swap(b);
        a = b;
        QV_TEST_CHECK(d == null && b != null);
        // Objects are null where memory is refused, and g++ with -O3 sees that nobody asked.
        if (b == null)
            return;
        QV_TEST_CHECK(b->RefCount() == 3);
        b->AddWeakReference();
        b->RemoveWeakReference();
        QV_TEST_CHECK(deletions == 0);
    }
    QV_TEST_CHECK(deletions == 1);
    QV_TEST_CHECK(TakeReports() == 0);
    CObject *const object = new CObject(deletions);
    object->RemoveReference();
    QV_TEST_CHECK(TakeReports() == kFromSites && deletions == 1);
    object->AddReference();
    object->AddReference();
    object->RemoveReference();
    QV_TEST_CHECK(deletions == 2);
    QV_TEST_CHECK(TRefPtr<CObject>().operator->() == null);
    QV_TEST_CHECK(TakeReports() == kFromSites);
}

void DriveViews()
{
    struct SWithoutDefault
    {
        explicit SWithoutDefault(int value) : m_Value(value) {}
        int m_Value;
    };

    int values[] = {1, 2, 3, 4};
    const TMemoryView<const int> view(values);
    QV_TEST_CHECK(view.Count() == 4 && view.First() == 1 && view.Last() == 4 && view.Slice(1, 2)[1] == 3);
    QV_TEST_CHECK(view.SliceIFP(3, 9).Count() == 1);
    QV_TEST_CHECK(TakeReports() == 0);
    QV_TEST_CHECK(view[4] == 0);
    QV_TEST_CHECK(TMemoryView<SWithoutDefault>()[0].m_Value == 0);
    QV_TEST_CHECK(TakeReports() == 3 * kFromSites);
    const TStridedMemoryView<int> every2nd(values, 2, 2 * sizeof(int));
    int sum = 0;
    for (const int value : every2nd)
        sum += value;
    QV_TEST_CHECK(sum == 4 && every2nd[1] == 3 && every2nd.Slice(1, 1).First() == 3);
    QV_TEST_CHECK(every2nd[2] == 0);
    QV_TEST_CHECK(TakeReports() == kFromSites);
}

char *Format(char *buffer, const char *bufferLast, u32 &outLength, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    char *const result = SNativeStringUtils::VAFormat(buffer, bufferLast, outLength, format, args);
    va_end(args);
    return result;
}

void DriveNativeText()
{
    alignas(16) const char text[16] = "twelve chars";
    QV_TEST_CHECK(SNativeStringUtils::Length(text) == 12 && SNativeStringUtils::Length_16(text) == 12);
    QV_TEST_CHECK(SNativeStringUtils::Length(nullptr) == 0 && SNativeStringUtils::Length("") == 0);
    char buffer[8];
    u32 length = 0;
    QV_TEST_CHECK(Format(buffer, buffer + 7, length, "%d", 1234567) == buffer && length == 7);
    QV_TEST_CHECK(std::strcmp(buffer, "1234567") == 0);
    char *const block = Format(buffer, buffer + 7, length, "%s", "longer than it");
    QV_TEST_CHECK(block != null && block != buffer && length == 14 && std::strcmp(block, "longer than it") == 0);
    Mem::Free(block, Mem::AllocType_Generic);
    QV_TEST_CHECK(Format(buffer, buffer + 7, length, nullptr) == null && length == 0);
}

} // namespace

int main()
{
    Assert::SetHandler(&RecordReport);
    DriveAssertions();
    DriveBase();
    DriveAtomics();
    DriveMemory();
    DriveCopies();
    DriveReferences();
    DriveViews();
    DriveNativeText();
    return ExitCode();
}
