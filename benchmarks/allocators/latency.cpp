// How long one operation on a text takes at the worst, over one allocator: every operation is timed on its own.
//
//     allocator_latency <allocator> <pattern> <text> <threads> <operations>
//
// The allocator is a word of `Install`. The text is `string`, the library's, or `std`, std::string over the same malloc.
// The operations are shared out among the threads. The patterns:
//     nothing      no work between the two readings of the clock: what clock and machine add to all others
//     create_drop  a text is made and dropped
//     replace      one of 1,000 live texts of the thread, chosen at random, gives way to a new one
//     copy_drop    a handle of a text that all threads share is copied, and the copy dropped
//     append       16 characters are appended to a text, which is dropped and begins anew at 4,096
//     hand_over    half of the threads make texts, each for another one that drops them; making and dropping are timed
// Texts have 8 to 1,900 characters, most of them few. Nothing runs before the timed operations: the first block counts.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>

#include "allocators/harness.h"
#include "kr_string.h"

namespace Bench::Allocators
{

namespace
{

constexpr u32 kLongest = 1900;
constexpr u32 kLive = 1000;
constexpr u32 kPiece = 16;
constexpr u32 kFullLength = 4096;
constexpr u32 kQueue = 256;

// Both kinds of text, as their users write them.
struct SString
{
    using Text = CString;
    static Text Make(const char *from, u32 length) { return CString(from, length); }
    static void Append(Text &text, const char *piece, u32 length) { text.Append(CStringView(piece, length)); }
    static u32 Length(const Text &text) { return text.Length(); }
    static const char *Characters(const Text &text) { return text.CStr(); }
};

struct SStd
{
    using Text = std::string;
    static Text Make(const char *from, u32 length) { return std::string(from, length); }
    static void Append(Text &text, const char *piece, u32 length) { text.append(piece, length); }
    static u32 Length(const Text &text) { return static_cast<u32>(text.size()); }
    static const char *Characters(const Text &text) { return text.c_str(); }
};

// What the texts are made of. The letter at an index says what the length must be.
const std::string &Source()
{
    static const std::string source = []
    {
        std::string letters;
        for (u32 i = 0; i < kFullLength; ++i)
            letters += static_cast<char>('a' + i % 23);
        return letters;
    }();
    return source;
}

// Most texts are short: six of ten have up to 64 characters, three up to 512.
u32 DrawLength(CRandom &random)
{
    const u32 kind = random.Below(10);
    if (kind < 6)
        return 8 + random.Below(57);
    return kind < 9 ? 64 + random.Below(449) : 512 + random.Below(kLongest - 511);
}

// Gives back what a text holds. Assigning an empty one would not: other texts keep their memory then.
template <typename Text>
void Drop(Text &text)
{
    const Text dropped(std::move(text));
}

template <typename Kind>
void CheckText(const typename Kind::Text &text)
{
    const u32 length = Kind::Length(text);
    const char *const characters = Kind::Characters(text);
    Check(length == 0 || (characters[0] == Source()[0] && characters[length - 1] == Source()[length - 1]),
          "a text has changed");
}

// Times what `work` does.
template <typename Work>
void Time(CHistogram &histogram, Work work)
{
    const u64 begin = Now();
    work();
    histogram.Add(Now() - begin);
}

void DoNothing(u32 operations, CHistogram &histogram)
{
    for (u32 i = 0; i < operations; ++i)
        Time(histogram, [] {});
}

template <typename Kind>
void CreateAndDrop(u32 operations, u32 seed, CHistogram &histogram)
{
    CRandom random(seed);
    const char *const source = Source().data();
    for (u32 i = 0; i < operations; ++i)
    {
        const u32 length = DrawLength(random);
        Time(histogram, [&] { CheckText<Kind>(Kind::Make(source, length)); });
    }
}

template <typename Kind>
void Replace(u32 operations, u32 seed, CHistogram &histogram)
{
    CRandom random(seed);
    const char *const source = Source().data();
    std::vector<typename Kind::Text> live(kLive);
    for (u32 i = 0; i < operations; ++i)
    {
        const u32 length = DrawLength(random);
        auto &text = live[random.Below(kLive)];
        CheckText<Kind>(text);
        Time(histogram, [&] { text = Kind::Make(source, length); });
    }
}

template <typename Kind>
void CopyAndDrop(const typename Kind::Text &shared, u32 operations, CHistogram &histogram)
{
    for (u32 i = 0; i < operations; ++i)
        Time(histogram, [&] { CheckText<Kind>(typename Kind::Text(shared)); });
}

template <typename Kind>
void Append(u32 operations, CHistogram &histogram)
{
    const char *const source = Source().data();
    typename Kind::Text text;
    for (u32 i = 0; i < operations; ++i)
    {
        const auto append = [&]
        {
            if (Kind::Length(text) == kFullLength)
                Drop(text);
            Kind::Append(text, source + Kind::Length(text), kPiece);
        };
        Time(histogram, append);
        CheckText<Kind>(text);
    }
}

// Hands texts from one thread to another one, in order.
template <typename Text>
class CQueue
{
public:
    void Push(Text &&text)
    {
        const u32 at = m_Pushed.load(std::memory_order_relaxed);
        while (at - m_Popped.load(std::memory_order_acquire) == kQueue)
            std::this_thread::yield();
        m_Texts[at % kQueue] = std::move(text);
        m_Pushed.store(at + 1, std::memory_order_release);
    }

    Text Pop()
    {
        const u32 at = m_Popped.load(std::memory_order_relaxed);
        while (m_Pushed.load(std::memory_order_acquire) == at)
            std::this_thread::yield();
        Text text = std::move(m_Texts[at % kQueue]);
        m_Popped.store(at + 1, std::memory_order_release);
        return text;
    }

private:
    Text m_Texts[kQueue];
    alignas(64) std::atomic<u32> m_Pushed{0};
    alignas(64) std::atomic<u32> m_Popped{0};
};

template <typename Kind>
void MakeFor(CQueue<typename Kind::Text> &queue, u32 operations, u32 seed, CHistogram &histogram)
{
    CRandom random(seed);
    const char *const source = Source().data();
    for (u32 i = 0; i < operations; ++i)
    {
        const u32 length = DrawLength(random);
        typename Kind::Text text;
        Time(histogram, [&] { text = Kind::Make(source, length); });
        queue.Push(std::move(text));
    }
}

template <typename Kind>
void DropFrom(CQueue<typename Kind::Text> &queue, u32 operations, CHistogram &histogram)
{
    for (u32 i = 0; i < operations; ++i)
    {
        typename Kind::Text text = queue.Pop();
        CheckText<Kind>(text);
        Time(histogram, [&] { Drop(text); });
    }
}

struct SArguments
{
    std::string m_Pattern;
    u32 m_Threads;
    u32 m_Operations; // of all threads
};

// The histograms of each thread, one behind the other.
using Histograms = std::vector<CHistogram>;

CHistogram Sum(const Histograms &histograms, u32 first, u32 step)
{
    CHistogram sum;
    for (size_t i = first; i < histograms.size(); i += step)
        sum.Add(histograms[i]);
    return sum;
}

template <typename Kind>
double RunHandOver(const SArguments &arguments, Histograms &histograms)
{
    const u32 pairs = arguments.m_Threads / 2;
    const u32 each = arguments.m_Operations / pairs;
    std::vector<std::unique_ptr<CQueue<typename Kind::Text>>> queues(pairs);
    for (auto &queue : queues)
        queue = std::make_unique<CQueue<typename Kind::Text>>();
    return RunThreads(2 * pairs,
                      [&](u32 index)
                      {
                          if (index % 2 == 0)
                              MakeFor<Kind>(*queues[index / 2], each, index, histograms[index]);
                          else
                              DropFrom<Kind>(*queues[index / 2], each, histograms[index]);
                      });
}

// Returns: the seconds that it took; negative for a pattern that is not known.
template <typename Kind>
double RunPattern(const SArguments &arguments, Histograms &histograms)
{
    const u32 each = arguments.m_Operations / arguments.m_Threads;
    const auto run = [&](auto work)
    { return RunThreads(arguments.m_Threads, [&](u32 index) { work(index, histograms[index]); }); };
    if (arguments.m_Pattern == "nothing")
        return run([&](u32, CHistogram &histogram) { DoNothing(each, histogram); });
    if (arguments.m_Pattern == "create_drop")
        return run([&](u32 index, CHistogram &histogram) { CreateAndDrop<Kind>(each, index, histogram); });
    if (arguments.m_Pattern == "replace")
        return run([&](u32 index, CHistogram &histogram) { Replace<Kind>(each, index, histogram); });
    if (arguments.m_Pattern == "append")
        return run([&](u32, CHistogram &histogram) { Append<Kind>(each, histogram); });
    if (arguments.m_Pattern == "copy_drop")
    {
        const typename Kind::Text shared = Kind::Make(Source().data(), 64);
        return run([&](u32, CHistogram &histogram) { CopyAndDrop<Kind>(shared, each, histogram); });
    }
    if (arguments.m_Pattern == "hand_over")
        return RunHandOver<Kind>(arguments, histograms);
    return -1;
}

int Run(const std::string &kind, const SArguments &arguments)
{
    Histograms histograms(arguments.m_Threads);
    const double seconds =
        kind == "string" ? RunPattern<SString>(arguments, histograms) : RunPattern<SStd>(arguments, histograms);
    if (seconds < 0)
        return 2;
    CReport report;
    report.Set("end", ReadMemory());
    report.Set("seconds", seconds);
    if (arguments.m_Pattern == "hand_over")
    {
        report.Add("make", Sum(histograms, 0, 2));
        report.Add("drop", Sum(histograms, 1, 2));
    }
    else
        report.Add(arguments.m_Pattern.c_str(), Sum(histograms, 0, 1));
    report.Print();
    return 0;
}

u32 ReadCount(const char *text)
{
    return static_cast<u32>(std::strtoul(text, nullptr, 10));
}

} // namespace

} // namespace Bench::Allocators

int main(int argc, char **argv)
{
    using namespace Bench::Allocators;
    const SArguments arguments =
        argc == 6 ? SArguments{argv[2], ReadCount(argv[4]), ReadCount(argv[5])} : SArguments{"", 0, 0};
    const std::string kind = argc == 6 ? argv[3] : "";
    const bool isPaired = arguments.m_Pattern != "hand_over" || arguments.m_Threads % 2 == 0;
    if (arguments.m_Threads == 0 || !isPaired || (kind != "string" && kind != "std"))
    {
        std::fprintf(stderr, "usage: allocator_latency <allocator> <pattern> string|std <threads> <operations>\n");
        return 2;
    }
    return Install(argv[1]) ? Run(kind, arguments) : 2;
}
