// The heap of small blocks when a thread is interrupted in the middle of an operation, and another one runs: at each moment
// at which that makes a difference in turn, and again and again just before it would change what all threads see. Each case
// is a process of its own.
#include "single_steps.h"

#if !QV_TEST_HAS_SINGLE_STEPS

#include <cstdio>

int main()
{
    std::puts("interruptions: " QV_TEST_NO_SINGLE_STEPS);
    return 77;
}

#else

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <utility>
#include <vector>

#include "driver_checks.h"
#include "kr_mem/mem_fast_path.h"
#include "kr_mem/mem_process.h"
#include "kr_mem/mem_thread_cache.h"
#include "own_heap.h"
#include "process_cases.h"

namespace
{

using namespace Quorvane;
using namespace Quorvane::Mem::Internal;
using namespace QuorvaneTest;

constexpr u32 kLargestClass = kSmallClassCount - 1;

// A heap with some blocks taken, and what has become of them. That somebody wrote to a free one has been noted, and not
// been reported yet.
struct SScene
{
    explicit SScene(u32 count)
    {
        for (u32 i = 0; i < count; ++i)
            m_Blocks.push_back(m_Heap->TakeOne(kLargestClass));
        m_Heap->NoteOverwritten(m_Heap->Links().End());
    }

    // How many blocks of the largest class a slab has.
    u32 BlocksPerSlab() { return static_cast<u32>(m_Heap->BytesOfSlab() / ClassBytes(kLargestClass)); }

    // Whether no block is out twice, and the heap knows how many are; `given` of those from the beginning are not.
    bool IsWhole(u32 given)
    {
        std::vector<SFreeBlock *> out(m_Blocks.begin() + given, m_Blocks.end());
        for (SFreeBlock *const block : {m_TakenByFirst, m_TakenBySecond})
            if (block != nullptr)
                out.push_back(block);
        std::sort(out.begin(), out.end());
        return std::unique(out.begin(), out.end()) == out.end() && m_Heap->Figures().m_LiveBlocks == out.size();
    }

    // Gives what is out, and takes all of a slab: whether none of its blocks was lost.
    bool ServesAllAgain(u32 given)
    {
        for (u32 i = given; i < m_Blocks.size(); ++i)
            m_Heap->GiveOne(m_Blocks[i]);
        for (SFreeBlock *&block : {std::ref(m_TakenByFirst), std::ref(m_TakenBySecond)})
            if (block != nullptr)
                m_Heap->GiveOne(std::exchange(block, nullptr));
        const SSlabFigures figures = m_Heap->Figures();
        if (figures.m_LiveBlocks != 0 || figures.m_UsedSlabs != 0)
            return false;
        m_Blocks.clear();
        const ureg mapped = m_Heap->MappedBytes();
        for (u32 i = 0; i < BlocksPerSlab(); ++i)
            m_Blocks.push_back(m_Heap->TakeOne(kLargestClass));
        return IsWhole(0) && m_Heap->MappedBytes() == mapped && m_Heap->Figures().m_UsedSlabs == 1;
    }

    COwnHeap m_Heap;
    std::vector<SFreeBlock *> m_Blocks;
    SFreeBlock *m_TakenByFirst = nullptr;
    SFreeBlock *m_TakenBySecond = nullptr;
    bool m_WasFound = false;
};

// What two threads do at once, on a scene of its own for each moment at which the second may run.
struct SRace
{
    u32 m_Blocks; // that are taken before
    void (*m_First)(SScene &);
    void (*m_Second)(SScene &);
    bool (*m_IsRight)(SScene &);
};

SScene *g_Scene = nullptr;
const SRace *g_Race = nullptr;
u64 g_MomentsLeft = 0;
bool g_WasAtomic = false;

// The moments at which it makes a difference: just before and just behind what changes memory for all threads.
bool RunSecondInTime(const u8 *instruction)
{
    const bool isAtomic = CSingleSteps::IsAtomic(instruction);
    const bool isMoment = isAtomic || g_WasAtomic;
    g_WasAtomic = isAtomic;
    if (!isMoment || g_MomentsLeft-- != 0)
        return true;
    g_Race->m_Second(*g_Scene);
    g_Race = nullptr;
    return false;
}

// Returns: 0 where all was right each time, and there were as many moments as any operation has.
int TryEachMoment(const SRace &race)
{
    constexpr u64 kFewestMoments = 2;
    for (u64 moment = 0;; ++moment)
    {
        SScene scene(race.m_Blocks);
        g_Scene = &scene;
        g_Race = &race;
        g_MomentsLeft = moment;
        g_WasAtomic = false;
        CSingleSteps::Run(&RunSecondInTime, [&race, &scene] { race.m_First(scene); });
        // The first was through before.
        if (g_Race != nullptr)
            return moment >= kFewestMoments ? 0 : 1;
        if (!race.m_IsRight(scene))
        {
            std::fprintf(stderr, "not right where the second runs at moment %llu\n", moment);
            return 2;
        }
    }
}

void TakeByFirst(SScene &scene)
{
    scene.m_TakenByFirst = scene.m_Heap->TakeOne(kLargestClass);
}

void TakeBySecond(SScene &scene)
{
    scene.m_TakenBySecond = scene.m_Heap->TakeOne(kLargestClass);
}

void GiveFirst(SScene &scene)
{
    scene.m_Heap->GiveOne(scene.m_Blocks[0]);
}

void GiveOthers(SScene &scene)
{
    for (size_t i = 1; i < scene.m_Blocks.size(); ++i)
        scene.m_Heap->GiveOne(scene.m_Blocks[i]);
}

u32 WholeSlab()
{
    return SScene(0).BlocksPerSlab();
}

// ---- One thread between two instructions of another: 0 is success ------------------------------------------------------

// The last one of a slab.
int ABlockIsTakenWhileAnotherComesBack()
{
    const auto isRight = [](SScene &scene)
    { return scene.m_TakenByFirst != nullptr && scene.IsWhole(1) && scene.ServesAllAgain(1); };
    return TryEachMoment({WholeSlab() - 1, &TakeByFirst, &GiveFirst, isRight});
}

// The only one of all, in a heap that cannot grow: whoever has looked for one in vain just before may not hide it.
int ABlockThatComesBackIsFoundByWhoeverLooksNext()
{
    const auto takeWithoutGrowth = [](SScene &scene)
    {
        if (!PortMapAt(scene.m_Heap->Base() + scene.m_Heap->MappedBytes(), kSlabBytes))
            std::abort();
        TakeByFirst(scene);
    };
    const auto isRight = [](SScene &scene)
    {
        if (scene.m_TakenByFirst == nullptr)
            TakeBySecond(scene);
        PortUnmap(scene.m_Heap->Base() + scene.m_Heap->MappedBytes(), kSlabBytes);
        return (scene.m_TakenByFirst == scene.m_Blocks[0] || scene.m_TakenBySecond == scene.m_Blocks[0]) &&
               scene.IsWhole(1);
    };
    return TryEachMoment({WholeSlab(), takeWithoutGrowth, &GiveFirst, isRight});
}

// The second gets none where the first is just mapping more memory.
int TwoTakeBlocks()
{
    const auto isRight = [](SScene &scene)
    { return scene.m_TakenByFirst != nullptr && scene.IsWhole(0) && scene.ServesAllAgain(0); };
    for (const u32 blocks : {0u, 1u, WholeSlab() - 1, WholeSlab()})
        if (const int answer = TryEachMoment({blocks, &TakeByFirst, &TakeBySecond, isRight}))
            return answer;
    return 0;
}

// The first one of a slab that had none, and all others meanwhile.
int AllBlocksComeBackAtOnce()
{
    const auto isRight = [](SScene &scene)
    {
        const u32 all = static_cast<u32>(scene.m_Blocks.size());
        const SSlabFigures figures = scene.m_Heap->Figures();
        return figures.m_UsedSlabs == 0 && figures.m_IdleSlabs == 1 && scene.IsWhole(all) && scene.ServesAllAgain(all);
    };
    for (const u32 blocks : {2u, WholeSlab()})
        if (const int answer = TryEachMoment({blocks, &GiveFirst, &GiveOthers, isRight}))
            return answer;
    return 0;
}

// It is out all the time.
int ABlockIsLookedForWhileOthersComeAndGo()
{
    const auto look = [](SScene &scene) { scene.m_WasFound = scene.m_Heap->IsBack(scene.m_Blocks[2]); };
    const auto takeAndGive = [](SScene &scene)
    {
        scene.m_Heap->GiveOne(scene.m_Blocks[0]);
        TakeBySecond(scene);
        scene.m_Heap->GiveOne(scene.m_Blocks[1]);
    };
    const auto isRight = [](SScene &scene)
    { return !scene.m_WasFound && scene.m_TakenBySecond != nullptr && scene.IsWhole(2) && scene.ServesAllAgain(2); };
    if (const int answer = TryEachMoment({WholeSlab() - 1, look, takeAndGive, isRight}))
        return answer;
    // And while another thread has the slab for itself.
    const auto isStillRight = [](SScene &scene)
    { return !scene.m_WasFound && scene.m_TakenByFirst != nullptr && scene.IsWhole(0) && scene.ServesAllAgain(0); };
    return TryEachMoment({WholeSlab() - 1, &TakeByFirst, look, isStillRight});
}

int WhatTwoFindIsReportedOnce()
{
    Assert::SetHandler(&RecordReport);
    const auto report = [](SScene &scene) { scene.m_Heap->ReportOverwritten(); };
    const auto isRight = [](SScene &) { return TakeReports() == (QV_ASSERTS ? 1 : 0); };
    return TryEachMoment({0, report, report, isRight});
}

// ---- Others that are always faster: 0 is success -------------------------------------------------------------------------

// Blocks that another thread gives to the slab, each just before the first one would change what all see of it.
CSlabHeap *g_Heap = nullptr;
std::vector<SFreeBlock *> g_Faster;

bool GiveOneBeforeEachExchange(const u8 *instruction)
{
    if (!g_Faster.empty() && CSingleSteps::IsCompareExchange(instruction))
    {
        g_Heap->GiveOne(g_Faster.back());
        g_Faster.pop_back();
    }
    return true;
}

template <typename Work>
void RunSlower(CSlabHeap &heap, const std::vector<SFreeBlock *> &faster, const Work &work)
{
    g_Heap = &heap;
    g_Faster = faster;
    CSingleSteps::Run(&GiveOneBeforeEachExchange, work);
}

constexpr u32 kFaster = 20;
// How often a thread tries before it keeps its blocks.
constexpr u32 kTries = 16;

int ABlockComesBackHoweverOftenOthersAreFaster()
{
    SScene scene(WholeSlab());
    RunSlower(*scene.m_Heap, std::vector<SFreeBlock *>(scene.m_Blocks.end() - kFaster, scene.m_Blocks.end()),
              [&scene] { GiveFirst(scene); });
    const bool wereFaster = g_Faster.empty();
    return wereFaster && scene.m_Heap->Figures().m_LiveBlocks == WholeSlab() - kFaster - 1 &&
                   scene.m_Heap->IsBack(scene.m_Blocks[0])
               ? 0
               : 1;
}

// Where others are faster again and again, blocks stay in the list, and those of other slabs leave it.
int AListKeepsWhatOthersLeaveItNoTimeToGive()
{
    SScene scene(WholeSlab() + 4);
    CSlabHeap &heap = *scene.m_Heap;
    const CFreeLinks &links = heap.Links();
    SFreeBlock *list = links.End();
    for (const u32 i : {WholeSlab() + 1, WholeSlab(), 2u, 1u, 0u})
        list = links.MakeFree(scene.m_Blocks[i], list);
    u32 given = 0;
    const auto faster = scene.m_Blocks.begin() + WholeSlab() - kFaster;
    RunSlower(heap, std::vector<SFreeBlock *>(faster, faster + kFaster), [&] { given = heap.Give(list, 5); });
    // And one before those of the other slab go back.
    if (g_Faster.size() != kFaster - (kTries + 1))
        return 3;
    const u64 left = scene.m_Blocks.size() - (kTries + 1);
    if (given != 2 || list != scene.m_Blocks[0] || heap.Figures().m_LiveBlocks != left - 2)
        return 1;
    return heap.Give(list, 5) == 3 && links.IsEnd(list) && heap.Figures().m_LiveBlocks == left - 5 ? 0 : 2;
}

// A thread whose bin is full gives the heap a batch first; where none of it is taken, the bin stays full.
int ABinStaysFullWhereOthersAreFaster()
{
    constexpr u32 kCount = 100;
    Assert::SetHandler(&RecordReport);
    void *blocks[kCount];
    for (void *&block : blocks)
        block = AllocBlock(kMaxSmallBytes, 0, Mem::AllocType_Generic, Mem::Origin_New, QV_INTERNAL_MEM_SITE);
    std::vector<SFreeBlock *> ofOneSlab;
    for (void *const block : blocks)
        if (&SlabOf(block) == &SlabOf(blocks[kCount / 2]))
            ofOneSlab.push_back(static_cast<SFreeBlock *>(block));
    const SBins &bins = ThreadCache()->m_Bins;
    const auto free = [](SFreeBlock *block)
    { FreeBlock(block, kMaxSmallBytes, Mem::AllocType_Generic, Mem::Origin_New, QV_INTERNAL_MEM_SITE); };
    while (ofOneSlab.size() > kFaster && (bins.m_Vacant[kLargestClass] != 0 || bins.m_HasTaken[kLargestClass]))
    {
        free(ofOneSlab.back());
        ofOneSlab.pop_back();
    }
    if (bins.m_Vacant[kLargestClass] != 0 || ofOneSlab.size() <= kFaster)
        return 1;
    SFreeBlock *const last = ofOneSlab.back();
    SFreeBlock *const first = bins.m_First[kLargestClass];
    RunSlower(Process().m_Heap, std::vector<SFreeBlock *>(ofOneSlab.begin(), ofOneSlab.begin() + kFaster),
              [&] { free(last); });
    const bool isFull = bins.m_Vacant[kLargestClass] == 0 && bins.m_First[kLargestClass] == first;
    return isFull && Process().m_Heap.IsBack(last) && TakeReports() == 0 ? 0 : 2;
}

constexpr SProcessCase kCases[] = {
    {"ABlockIsTakenWhileAnotherComesBack", &ABlockIsTakenWhileAnotherComesBack},
    {"ABlockThatComesBackIsFoundByWhoeverLooksNext", &ABlockThatComesBackIsFoundByWhoeverLooksNext},
    {"TwoTakeBlocks", &TwoTakeBlocks},
    {"AllBlocksComeBackAtOnce", &AllBlocksComeBackAtOnce},
    {"ABlockIsLookedForWhileOthersComeAndGo", &ABlockIsLookedForWhileOthersComeAndGo},
    {"WhatTwoFindIsReportedOnce", &WhatTwoFindIsReportedOnce},
    {"ABlockComesBackHoweverOftenOthersAreFaster", &ABlockComesBackHoweverOftenOthersAreFaster},
    {"AListKeepsWhatOthersLeaveItNoTimeToGive", &AListKeepsWhatOthersLeaveItNoTimeToGive},
    {"ABinStaysFullWhereOthersAreFaster", &ABinStaysFullWhereOthersAreFaster},
};

} // namespace

int main()
{
    return HaveCaches() ? RunCases(kCases) : kCaseSkipped;
}

#endif
