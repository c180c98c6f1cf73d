// Blocks of the default allocator, and of a heap of small blocks beside it, which is there under every tool: allocated,
// resized and freed in any order. Each block keeps what was written to it, and so shares no byte with another one.
#include <algorithm>
#include <vector>

#include "fuzz_support.h"
#include "kr_mem_utils.h"
#include "own_heap.h"

namespace
{

using namespace QuorvaneFuzz;
using namespace Quorvane::Mem::Internal;

constexpr u32 kMaxSteps = 200;
constexpr u32 kMaxBlocks = 150;

// Bytes that differ from block to block.
class CFilled
{
public:
    CFilled(void *memory, u32 bytes, u8 seed) : m_Memory(static_cast<u8 *>(memory)), m_Bytes(bytes), m_Seed(seed)
    {
        _Fill(0);
    }

    u8 *Memory() const { return m_Memory; }
    u32 Bytes() const { return m_Bytes; }

    void ExpectKept() const { QV_FUZZ_CHECK(_Kept(m_Bytes)); }

    // Where it is now, with another size, of which the smaller part must have been kept.
    void Move(void *memory, u32 bytes)
    {
        m_Memory = static_cast<u8 *>(memory);
        const u32 kept = std::min(m_Bytes, bytes);
        QV_FUZZ_CHECK(_Kept(kept));
        m_Bytes = bytes;
        _Fill(kept);
    }

private:
    u8 _At(u32 i) const { return static_cast<u8>(m_Seed + 7 * i); }
    void _Fill(u32 first)
    {
        for (u32 i = first; i < m_Bytes; ++i)
            m_Memory[i] = _At(i);
    }
    bool _Kept(u32 count) const
    {
        for (u32 i = 0; i < count; ++i)
            if (m_Memory[i] != _At(i))
                return false;
        return true;
    }

    u8 *m_Memory;
    u32 m_Bytes;
    u8 m_Seed;
};

// ---- The default allocator -------------------------------------------------------------------------------------------

// Blocks by the public functions, of sizes that take each of the allocator's ways.
class CBlocks
{
public:
    explicit CBlocks(CInput &input) : m_Input(input) { s_Reports = 0; }
    ~CBlocks()
    {
        while (!m_Blocks.empty())
            _Free(0);
    }

    void Step()
    {
        const u8 choice = m_Input.Byte();
        const u32 place = m_Blocks.empty() ? 0 : m_Input.Below(static_cast<u32>(m_Blocks.size()));
        if (choice < 128 || m_Blocks.empty())
            return m_Blocks.size() < kMaxBlocks ? _Allocate() : _Free(place);
        if (choice < 176)
            return _Resize(place);
        if (choice < 250)
            return _Free(place);
        _FreeNothing();
    }

    static int CountReport(const char *, const char *, int, const char *, const char *, const char *)
    {
        ++s_Reports;
        return Assert::Internal::Answer_Continue;
    }

private:
    struct SBlock
    {
        CFilled m_Filled;
        u32 m_Alignment;
    };

    // Small ones for the most part, with the borders of classes; those that a thread keeps; the platform's.
    u32 _Size()
    {
        const u8 kind = m_Input.Byte();
        if (kind < 192)
            return m_Input.Below(260);
        return kind < 240 ? m_Input.Below(2100) : m_Input.Below(40000);
    }
    // 0, a power of two, or now and then neither.
    u32 _Alignment()
    {
        const u8 kind = m_Input.Byte();
        return kind < 192 ? 0 : kind < 250 ? 1u << kind % 13 : 24;
    }
    static bool _IsValid(u32 alignment) { return (alignment & (alignment - 1)) == 0; }

    void _Allocate()
    {
        const u32 size = _Size();
        const u32 alignment = _Alignment();
        void *const memory = Mem::_RawAlloc(size, alignment, Mem::AllocType_Generic, Mem::Origin_Alloc, "fuzz",
                                            __FILE__, __LINE__, __func__);
        if (_WasRefused(memory, alignment))
            return;
        _ExpectAligned(memory, alignment);
        m_Blocks.push_back({CFilled(memory, size, m_Seed++), alignment});
    }

    void _Resize(u32 place)
    {
        CFilled &filled = m_Blocks[place].m_Filled;
        const u32 size = _Size();
        const u32 alignment = _Alignment();
        void *const memory = Mem::_RawRealloc(filled.Memory(), size, alignment, Mem::AllocType_Generic, "fuzz",
                                              __FILE__, __LINE__, __func__);
        if (_WasRefused(memory, alignment))
            return filled.ExpectKept();
        _ExpectAligned(memory, alignment);
        filled.Move(memory, size);
        m_Blocks[place].m_Alignment = alignment;
    }

    void _Free(u32 place)
    {
        m_Blocks[place].m_Filled.ExpectKept();
        Mem::Free(m_Blocks[place].m_Filled.Memory(), Mem::AllocType_Generic);
        m_Blocks.erase(m_Blocks.begin() + place);
        QV_FUZZ_CHECK(s_Reports == 0);
    }

    void _FreeNothing()
    {
        Mem::SFigures figures = {1, 1};
        QV_FUZZ_CHECK(Mem::LiveFigures("fuzz", figures) || (figures.m_LiveBlocks == 0 && figures.m_LiveBytes == 0));
        // Whether there is a heap to make ready, the build says; nothing else may come of it.
        static_cast<void>(Mem::Prewarm(0));
        Mem::Free(nullptr, Mem::AllocType_Generic);
        Mem::_RawFree(nullptr, Mem::AllocType_Generic, Mem::Origin_Alloc, "fuzz", __FILE__, __LINE__, __func__);
        QV_FUZZ_CHECK(s_Reports == 0);
    }

    // An alignment that is none is reported and refused, and nothing else is.
    static bool _WasRefused(const void *memory, u32 alignment)
    {
        QV_FUZZ_CHECK((memory == nullptr) == !_IsValid(alignment));
        QV_FUZZ_CHECK(s_Reports == (_IsValid(alignment) ? 0u : 1u));
        s_Reports = 0;
        return memory == nullptr;
    }

    static void _ExpectAligned(const void *memory, u32 alignment)
    {
        constexpr u32 kLeast = sizeof(void *) >= 8 ? 16 : 8;
        QV_FUZZ_CHECK(reinterpret_cast<ureg>(memory) % std::max(alignment, kLeast) == 0);
    }

    static inline u32 s_Reports = 0;

    CInput &m_Input;
    std::vector<SBlock> m_Blocks;
    u8 m_Seed = 1;
};

// ---- A heap ------------------------------------------------------------------------------------------------------------

// Blocks of a heap, by its own functions: one by one, in batches, with lists of many classes given back at once.
class CHeapBlocks
{
public:
    explicit CHeapBlocks(CInput &input) : m_Input(input) { m_Heap.Begin(_ClearedSlab(), kSmallRangeBytes, false); }
    ~CHeapBlocks() { m_Heap.End(); }
    CHeapBlocks(const CHeapBlocks &) = delete;
    CHeapBlocks &operator=(const CHeapBlocks &) = delete;

    void Step()
    {
        const u8 choice = m_Input.Byte() % 16;
        const u32 place = m_Blocks.empty() ? 0 : m_Input.Below(static_cast<u32>(m_Blocks.size()));
        if (choice < 8 || m_Blocks.empty())
            m_Blocks.size() < kMaxBlocks ? _Take() : _GiveMany(kMaxBlocks);
        else if (choice < 12)
            _GiveOne(place);
        else if (choice < 15)
            _GiveMany(m_Input.Below(static_cast<u32>(m_Blocks.size()) + 1));
        else
            m_Heap.Trim();
        QV_FUZZ_CHECK(m_Heap.Figures().m_LiveBlocks == m_Blocks.size());
    }

private:
    struct SBlock
    {
        CFilled m_Filled;
        u32 m_Class;
    };

    // The same for every input: to map one takes as long as all that most of them do.
    static ureg _ClearedSlab()
    {
        static const QuorvaneTest::CFirstSlab s_FirstSlab;
        std::memset(reinterpret_cast<void *>(s_FirstSlab.Base()), 0, kChunkRecordBytes);
        return s_FirstSlab.Base();
    }

    void _Take()
    {
        const u32 sizeClass = 1 + m_Input.Below(kSmallClassCount - 1);
        const u32 count = 1 + m_Input.Below(BatchBlocks(sizeClass));
        SFreeBlock *list = nullptr;
        const u32 taken = m_Heap.Take(sizeClass, count, list);
        QV_FUZZ_CHECK(taken >= 1 && taken <= count);
        for (u32 i = 0; i < taken; ++i)
        {
            SFreeBlock *const block = list;
            QV_FUZZ_CHECK(m_Heap.Links().ReadLink(block, list));
            QV_FUZZ_CHECK(IsBlock(block, sizeClass));
            m_Blocks.push_back({CFilled(block, static_cast<u32>(ClassBytes(sizeClass)), m_Seed++), sizeClass});
        }
        QV_FUZZ_CHECK(m_Heap.Links().IsEnd(list));
    }

    void *_Remove(u32 place)
    {
        const SBlock block = m_Blocks[place];
        block.m_Filled.ExpectKept();
        QV_FUZZ_CHECK(ClassOfSmallBlock(block.m_Filled.Memory()) == block.m_Class);
        m_Blocks.erase(m_Blocks.begin() + place);
        return block.m_Filled.Memory();
    }

    void _GiveOne(u32 place)
    {
        void *const block = _Remove(place);
        QV_FUZZ_CHECK(!m_Heap.IsBack(block));
        m_Heap.GiveOne(block);
    }

    // From anywhere, which makes runs of one slab and changes of it.
    void _GiveMany(u32 count)
    {
        SFreeBlock *list = m_Heap.Links().End();
        u32 listed = 0;
        for (; listed < count && !m_Blocks.empty(); ++listed)
            list = m_Heap.Links().MakeFree(_Remove(m_Input.Below(static_cast<u32>(m_Blocks.size()))), list);
        if (m_Input.Flag())
            return m_Heap.GiveAll(list);
        QV_FUZZ_CHECK(m_Heap.Give(list, listed) == listed);
        QV_FUZZ_CHECK(m_Heap.Links().IsEnd(list));
    }

    CInput &m_Input;
    CSlabHeap m_Heap;
    std::vector<SBlock> m_Blocks;
    u8 m_Seed = 1;
};

template <typename Session>
void Run(CInput &input)
{
    Session session(input);
    TakeSteps(input, kMaxSteps, [&] { session.Step(); });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    CInput input(data, size);
    const Assert::FHandler before = Assert::SetHandler(&CBlocks::CountReport);
    if (kHasSmallRange && input.Flag())
        Run<CHeapBlocks>(input);
    else
        Run<CBlocks>(input);
    Assert::SetHandler(before);
    return 0;
}
