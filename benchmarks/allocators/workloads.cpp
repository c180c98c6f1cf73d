// The workloads that allocators are known by, over texts and over blocks: what a server, a producer and its consumers,
// tables, growing texts, and threads with neighbours in a line of the cache ask of an allocator.
//
//     allocator_workloads <allocator> <workload> texts|blocks <threads> <rounds> [timed]
//
// Rounds are those of all threads together, so that the work is the same for any number of them. What is done depends
// on the arguments alone: the checksum is the same for all allocators. With `timed` each operation is timed, too, which
// takes about as long as many of them do, so that throughput is measured without it.
#include <atomic>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <deque>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "allocators/contents.h"
#include "allocators/harness.h"

namespace Bench::Allocators
{

namespace
{

// ---- A run ---------------------------------------------------------------------------------------------------------

struct SArguments
{
    u32 m_Threads;
    u64 m_Rounds;
    bool m_IsTimed;
};

constexpr u32 kSamples = 10;

// What one thread does, or what threads do that follow each other. In lines of its own: each operation counts here.
class alignas(128) CLane
{
public:
    CLane(u32 index, const SArguments &arguments)
        : m_Random(index),
          m_Rounds(arguments.m_Rounds / arguments.m_Threads),
          m_IsTimed(arguments.m_IsTimed),
          m_IsSampling(index == 0 && !arguments.m_IsTimed)
    {
    }

    CRandom &Random() { return m_Random; }
    u64 Rounds() const { return m_Rounds; }

    u32 Between(u32 low, u32 high) { return low + m_Random.Below(high - low + 1); }

    // One operation.
    template <typename Work>
    void Do(Work work)
    {
        ++m_Operations;
        if (!m_IsTimed || m_IsBeginning)
            return work();
        const u64 begin = Now();
        work();
        m_Times.Add(Now() - begin);
    }

    // Looks at a content that ends here.
    template <typename Content>
    void Count(const Content &content)
    {
        Check(content.IsWhole(), "a content was overwritten");
        m_Sum = m_Sum * 31 + content.Size();
    }

    // At the begin of each round. The first tenth of them is not timed: memory that was never used before comes with
    // page faults. The first lane looks at the memory every now and then.
    void Begin(u64 round) { Begin(round, m_Rounds); }
    void Begin(u64 round, u64 rounds)
    {
        m_IsBeginning = round < rounds / kSamples;
        if (!m_IsSampling || round < m_NextSample)
            return;
        m_NextSample += rounds / kSamples + 1;
        m_Anonymous.push_back(ReadMemory().m_Anonymous);
    }

    const CHistogram &Times() const { return m_Times; }
    u64 Operations() const { return m_Operations; }
    u64 Sum() const { return m_Sum; }
    const std::vector<u64> &Anonymous() const { return m_Anonymous; }
    void MakeRoomForSamples() { m_Anonymous.reserve(kSamples + 1); }

private:
    CRandom m_Random;
    u64 m_Rounds;
    bool m_IsTimed;
    bool m_IsSampling;
    bool m_IsBeginning = true;
    u64 m_NextSample = 0;
    u64 m_Operations = 0;
    u64 m_Sum = 0;
    CHistogram m_Times;
    std::vector<u64> m_Anonymous;
};

class CRun
{
public:
    explicit CRun(const SArguments &arguments) : m_Arguments(arguments)
    {
        for (u32 i = 0; i < arguments.m_Threads; ++i)
            m_Lanes.emplace_back(i, arguments).MakeRoomForSamples();
        // Made before anything is measured.
        Letters(0);
    }

    u32 Threads() const { return m_Arguments.m_Threads; }
    CLane &Lane(u32 index) { return m_Lanes[index]; }

    // Runs `body(index)` for each lane at once. What the workload works on is there by now; it stays until the end.
    template <typename Body>
    void Measure(Body body)
    {
        m_Start = ReadMemory();
        const std::clock_t begin = std::clock();
        m_Seconds = RunThreads(Threads(), body);
        m_ProcessorSeconds = static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
        m_Held = ReadMemory();
    }

    // To be called when all contents are dropped.
    void End() { m_End = ReadMemory(); }

    void Print(CReport &report) const;

private:
    SArguments m_Arguments;
    std::deque<CLane> m_Lanes;
    SMemory m_Start = {};
    SMemory m_Held = {};
    SMemory m_End = {};
    double m_Seconds = 0;
    double m_ProcessorSeconds = 0;
};

void CRun::Print(CReport &report) const
{
    u64 operations = 0;
    u64 sum = 0;
    CHistogram times;
    for (const CLane &lane : m_Lanes)
    {
        operations += lane.Operations();
        sum = sum * 31 + lane.Sum();
        times.Add(lane.Times());
    }
    std::string anonymous;
    for (const u64 bytes : m_Lanes[0].Anonymous())
        anonymous += (anonymous.empty() ? "" : " ") + std::to_string(bytes);
    char checksum[32];
    std::snprintf(checksum, sizeof(checksum), "%016" PRIx64, static_cast<std::uint64_t>(sum));
    report.Set("operations", static_cast<double>(operations));
    report.Set("seconds", m_Seconds);
    report.Set("processor_seconds", m_ProcessorSeconds);
    report.Set("checksum", std::string(checksum));
    report.Set("start", m_Start);
    report.Set("held", m_Held);
    report.Set("end", m_End);
    report.Set("anonymous_over_time", anonymous);
    if (m_Arguments.m_IsTimed)
        report.Add("operation", times);
    report.Print();
}

// ---- What workloads are made of -------------------------------------------------------------------------------------

template <typename Content>
using Contents = std::vector<Content>;

// A table of contents for each lane.
template <typename Content>
std::vector<Contents<Content>> MakeTables(const CRun &run, u32 contentsOfAll)
{
    std::vector<Contents<Content>> tables(run.Threads());
    for (Contents<Content> &table : tables)
        table = Contents<Content>(contentsOfAll / run.Threads());
    return tables;
}

// Drops what is left in the tables, on the thread that waited for the others.
template <typename Content>
void DropAll(CRun &run, std::vector<Contents<Content>> &tables)
{
    for (u32 i = 0; i < run.Threads(); ++i)
        for (Content &content : tables[i])
        {
            run.Lane(i).Count(content);
            content.Drop();
        }
    run.End();
}

// Any of them, but none that is there by chance more often than others.
template <typename Content>
Content &Any(CLane &lane, Contents<Content> &table)
{
    return table[lane.Random().Below(static_cast<u32>(table.size()))];
}

template <typename Content>
void Replace(CLane &lane, Content &content, u32 size)
{
    lane.Count(content);
    lane.Do([&] { content.Make(size, lane.Random()); });
}

// Contents on their way from one thread to another one: a ring with one at each end.
template <typename Content>
class TRing
{
public:
    TRing() : m_Contents(kRoom) {}

    // By one thread. Leaves the content where it is when there is no room.
    bool Put(Content &content)
    {
        if (IsFull())
            return false;
        const u32 back = m_Back.load(std::memory_order_relaxed);
        m_Contents[back % kRoom] = std::move(content);
        m_Back.store(back + 1, std::memory_order_release);
        return true;
    }

    bool IsFull()
    {
        const u32 back = m_Back.load(std::memory_order_relaxed);
        if (back - m_KnownFront == kRoom)
            m_KnownFront = m_Front.load(std::memory_order_acquire);
        return back - m_KnownFront == kRoom;
    }

    // By another one.
    bool Get(Content &outContent)
    {
        const u32 front = m_Front.load(std::memory_order_relaxed);
        if (front == m_KnownBack)
            m_KnownBack = m_Back.load(std::memory_order_acquire);
        if (front == m_KnownBack)
            return false;
        outContent = std::move(m_Contents[front % kRoom]);
        m_Front.store(front + 1, std::memory_order_release);
        return true;
    }

private:
    static constexpr u32 kRoom = 1024;

    std::vector<Content> m_Contents;
    // What the one who takes writes to, and what the one who gives writes to. Each looks at the other's seldom.
    alignas(128) std::atomic<u32> m_Front{0};
    u32 m_KnownBack = 0;
    alignas(128) std::atomic<u32> m_Back{0};
    u32 m_KnownFront = 0;
};

template <typename Content>
void DropFrom(CLane &lane, Content &content)
{
    lane.Count(content);
    lane.Do([&] { content.Drop(); });
}

// ---- The workloads --------------------------------------------------------------------------------------------------

// A server (Larson and Krishnan, 1998): each thread replaces contents of a table by others of random sizes for a while;
// then it ends, and a successor goes on with the table, so that contents are freed by another thread than their own.
template <typename Content>
void Server(CRun &run)
{
    constexpr u32 kContents = 1000;
    constexpr u32 kGenerations = 32;
    std::vector<Contents<Content>> tables = MakeTables<Content>(run, kContents * run.Threads());
    run.Measure(
        [&](u32 index)
        {
            CLane &lane = run.Lane(index);
            const u64 rounds = lane.Rounds() / kGenerations;
            for (u32 generation = 0; generation < kGenerations; ++generation)
            {
                lane.Begin(generation * rounds);
                std::thread(
                    [&]
                    {
                        for (u64 round = 0; round < rounds; ++round)
                            Replace(lane, Any(lane, tables[index]), lane.Between(10, 500));
                    })
                    .join();
            }
        });
    DropAll(run, tables);
}

// One thread allocates, all others free, for ever: blocks wander in one direction only. One thread alone does both by
// turns.
template <typename Content>
void Producer(CRun &run)
{
    constexpr u32 kTurn = 512;
    const u32 consumers = run.Threads() == 1 ? 1 : run.Threads() - 1;
    const u64 each = run.Lane(0).Rounds() * run.Threads() / consumers;
    std::deque<TRing<Content>> rings(consumers);
    const auto produce = [&](CLane &lane, u64 round)
    {
        Content content;
        lane.Begin(round, each * consumers);
        lane.Do([&] { content.Make(lane.Between(kMinSize, 300), lane.Random()); });
        while (!rings[round % consumers].Put(content))
            std::this_thread::yield();
    };
    const auto consume = [&](CLane &lane, TRing<Content> &ring, u64 round)
    {
        Content content;
        lane.Begin(round);
        while (!ring.Get(content))
            std::this_thread::yield();
        DropFrom(lane, content);
    };
    run.Measure(
        [&](u32 index)
        {
            CLane &lane = run.Lane(index);
            if (run.Threads() == 1)
                for (u64 round = 0; round < each; ++round)
                {
                    produce(lane, round);
                    if (round % kTurn == kTurn - 1 || round == each - 1)
                        for (u64 i = 0; i <= round % kTurn; ++i)
                            consume(lane, rings[0], round);
                }
            else if (index == 0)
                for (u64 round = 0; round < each * consumers; ++round)
                    produce(lane, round);
            else
                for (u64 round = 0; round < each; ++round)
                    consume(lane, rings[index - 1], round);
        });
    run.End();
}

// Each thread writes to a small content again and again, drops it, and makes the next one. An allocator that gives
// pieces of one line of the cache to several threads makes them wait for each other.
template <typename Content>
void WriteAndReplace(CLane &lane, Content &first)
{
    constexpr u32 kWrites = 100; // an even number, so that the bytes are the same after them
    Content content = Content();
    content = std::move(first);
    for (u64 round = 0; round < lane.Rounds(); ++round)
    {
        lane.Begin(round);
        lane.Do(
            [&]
            {
                if (content.Size() == 0)
                    content.Make(kMinSize, lane.Random());
                volatile char *const bytes = content.Bytes();
                for (u32 i = 0; i < kWrites; ++i)
                    for (u32 byte = 0; byte < kMinSize; ++byte)
                        bytes[byte] = static_cast<char>(bytes[byte] ^ 1);
                lane.Count(content);
                content.Drop();
            });
    }
}

// Contents that lie in a line from the start: one thread made one for each of the others (Berger and others, 2000).
template <typename Content>
void SharedLine(CRun &run)
{
    CRandom random(0);
    Contents<Content> first(run.Threads());
    for (Content &content : first)
        content.Make(kMinSize, random);
    run.Measure([&](u32 index) { WriteAndReplace(run.Lane(index), first[index]); });
    run.End();
}

// The same, with all contents made by the threads themselves.
template <typename Content>
void OwnLine(CRun &run)
{
    Contents<Content> none(run.Threads());
    run.Measure([&](u32 index) { WriteAndReplace(run.Lane(index), none[index]); });
    run.End();
}

// Contents of all sizes, which are replaced, resized and dropped in no order.
template <typename Content>
void AnyOrder(CRun &run)
{
    constexpr u32 kContents = 1000;
    constexpr u32 kSizes = 12;
    std::vector<Contents<Content>> tables = MakeTables<Content>(run, kContents);
    run.Measure(
        [&](u32 index)
        {
            CLane &lane = run.Lane(index);
            for (u64 round = 0; round < lane.Rounds(); ++round)
            {
                lane.Begin(round);
                Content &content = Any(lane, tables[index]);
                const u32 what = lane.Random().Below(10);
                const u32 base = kMinSize << lane.Random().Below(kSizes);
                const u32 size = lane.Between(base, 2 * base - 1);
                if (what < 2)
                    DropFrom(lane, content);
                else if (what < 6 && content.Size() != 0)
                    lane.Do([&] { content.Resize(size); });
                else
                    Replace(lane, content, size);
            }
        });
    DropAll(run, tables);
}

// Many contents that live at once and are replaced at random.
template <typename Content>
void Table(CRun &run)
{
    constexpr u32 kContents = 20000;
    std::vector<Contents<Content>> tables = MakeTables<Content>(run, kContents);
    run.Measure(
        [&](u32 index)
        {
            CLane &lane = run.Lane(index);
            for (u64 round = 0; round < lane.Rounds(); ++round)
            {
                lane.Begin(round);
                Replace(lane, Any(lane, tables[index]), lane.Between(kMinSize, 200));
            }
        });
    DropAll(run, tables);
}

// Two threads that send each other contents: what one made, the other extends and drops. A thread without another one
// sends them to itself.
template <typename Content>
void HandOver(CRun &run)
{
    std::deque<TRing<Content>> rings(run.Threads());
    run.Measure(
        [&](u32 index)
        {
            CLane &lane = run.Lane(index);
            TRing<Content> &in = rings[index];
            TRing<Content> &out = rings[(index ^ 1) < run.Threads() ? index ^ 1 : index];
            Content content;
            u64 sent = 0;
            u64 received = 0;
            while (received < lane.Rounds() || sent < lane.Rounds())
            {
                const bool maySend = sent < lane.Rounds() && !out.IsFull();
                if (maySend)
                {
                    lane.Begin(sent++);
                    lane.Do([&] { content.Make(lane.Between(kMinSize, 120), lane.Random()); });
                    out.Put(content);
                }
                if (in.Get(content))
                {
                    ++received;
                    lane.Do([&] { content.Extend(16); });
                    DropFrom(lane, content);
                }
                else if (!maySend)
                    std::this_thread::yield();
            }
        });
    run.End();
}

// Contents that grow by a few bytes at a time, many of them by turns, until they are dropped.
template <typename Content>
void Growing(CRun &run)
{
    constexpr u32 kContents = 64;
    constexpr u32 kMaxGrown = 16u << 10;
    std::vector<Contents<Content>> tables = MakeTables<Content>(run, kContents);
    run.Measure(
        [&](u32 index)
        {
            CLane &lane = run.Lane(index);
            for (u64 round = 0; round < lane.Rounds(); ++round)
            {
                lane.Begin(round);
                Content &content = Any(lane, tables[index]);
                const u32 by = lane.Between(kMinSize, 64);
                if (content.Size() == 0 || content.Size() + by > kMaxGrown)
                    Replace(lane, content, by);
                else
                    lane.Do([&] { content.Extend(by); });
            }
        });
    DropAll(run, tables);
}

// ---- The program ----------------------------------------------------------------------------------------------------

struct SWorkload
{
    const char *m_Name;
    void (*m_Texts)(CRun &);
    void (*m_LibraryBlocks)(CRun &);
    void (*m_MallocBlocks)(CRun &);
};

#define QV_BENCH_WORKLOAD(name, function)                                                                              \
    {                                                                                                                  \
        name, function<CText>, function<TBlock<SLibraryBlocks>>, function<TBlock<SMallocBlocks>>                       \
    }

const SWorkload kWorkloads[] = {
    QV_BENCH_WORKLOAD("server", Server),          QV_BENCH_WORKLOAD("producer", Producer),
    QV_BENCH_WORKLOAD("shared_line", SharedLine), QV_BENCH_WORKLOAD("own_line", OwnLine),
    QV_BENCH_WORKLOAD("any_order", AnyOrder),     QV_BENCH_WORKLOAD("table", Table),
    QV_BENCH_WORKLOAD("hand_over", HandOver),     QV_BENCH_WORKLOAD("growing", Growing),
};

#undef QV_BENCH_WORKLOAD

const SWorkload *FindWorkload(const std::string &name)
{
    for (const SWorkload &workload : kWorkloads)
        if (name == workload.m_Name)
            return &workload;
    return nullptr;
}

int Main(int argc, char **argv)
{
    const std::vector<std::string> words(argv + 1, argv + argc);
    const bool isTimed = words.size() == 6 && words[5] == "timed";
    const SWorkload *const workload = words.size() < 2 ? nullptr : FindWorkload(words[1]);
    if (workload == nullptr || (words.size() != 5 && !isTimed) || (words[2] != "texts" && words[2] != "blocks"))
    {
        std::fprintf(stderr, "usage: %s <allocator> <workload> texts|blocks <threads> <rounds> [timed]\n", argv[0]);
        return 2;
    }
    const SArguments arguments = {static_cast<u32>(std::strtoul(words[3].c_str(), nullptr, 10)),
                                  std::strtoull(words[4].c_str(), nullptr, 10), isTimed};
    Check(arguments.m_Threads != 0 && arguments.m_Rounds >= arguments.m_Threads, "there is nothing to do");
    if (!Install(words[0]))
        return 2;
    CRun run(arguments);
    if (words[2] == "texts")
        workload->m_Texts(run);
    else if (words[0] == "ours")
        workload->m_LibraryBlocks(run);
    else
        workload->m_MallocBlocks(run);
    CReport report;
    run.Print(report);
    return 0;
}

} // namespace

} // namespace Bench::Allocators

int main(int argc, char **argv)
{
    return Bench::Allocators::Main(argc, argv);
}
