// The long form of what the tests of this folder do in short: programs of more steps, all of them or each so many, shared
// among processes, with the figures in a line for each kind: its name, programs, executions, executions in which a thread
// waits for what another execution lets it have, the most executions of one program, seconds, and what it is.
// `./run concurrency` runs it.
//
//     qv_concurrency_runs <kind> [step [share shares]]     each `step`-th program; of these, one share of so many
//     qv_concurrency_runs kinds                            their names
//
// Answers 0 where no execution has a fault; prints the first that has.
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "axiomatic_model.h"
#include "cache_programs.h"
#include "every_sharing.h"
#include "slab_programs.h"

using namespace QuorvaneTest::Concurrency;

namespace
{

// Which of the programs of a kind are run.
struct SShare
{
    u64 m_First;
    u64 m_Step;
};

struct SFigures
{
    u64 m_Programs = 0;
    u64 m_Executions = 0;
    u64 m_Blocked = 0;
    u64 m_Most = 0;
    std::string m_Fault;

    void Add(const SOutcome &outcome, const std::string &name)
    {
        ++m_Programs;
        m_Executions += outcome.m_Executions;
        m_Blocked += outcome.m_Blocked;
        m_Most = Quorvane::QVMax(m_Most, outcome.m_Executions);
        if (m_Fault.empty() && !outcome.m_Fault.empty())
            m_Fault = name + "\n" + outcome.m_Fault;
    }
};

using FRun = std::function<void(const SShare &, SFigures &)>;

struct SKind
{
    const char *m_Name;
    const char *m_Text;
    FRun m_Run;
};

SOperations Operations(const std::string &letters)
{
    SOperations operations;
    for (const char letter : letters)
        operations.push_back(static_cast<EOperation>(std::string(kOperationLetters).find(letter)));
    return operations;
}

// ---- Counts ------------------------------------------------------------------------------------------------------------

FRun Sharings(std::unique_ptr<CProgram> (*make)(const SSharing &), u32 threads, u32 operations, const char *letters,
              bool isResizable = false)
{
    return [=](const SShare &share, SFigures &figures)
    {
        ForEachSharing({threads, operations, Operations(letters), isResizable, share.m_First, share.m_Step},
                       [&](const SSharing &sharing) { figures.Add(Explore(*make(sharing)), NameOf(sharing)); });
    };
}

// ---- The allocator -----------------------------------------------------------------------------------------------------

// Runs the programs that `threads` threads make of `steps` steps of an alphabet each, by their letters.
void ForEachText(u32 threads, u32 steps, const std::string &alphabet, const SShare &share,
                 const std::function<void(const std::vector<std::string> &)> &body)
{
    u64 count = 1;
    for (u32 i = 0; i < threads * steps; ++i)
        count *= alphabet.size();
    for (u64 number = share.m_First; number < count; number += share.m_Step)
    {
        std::vector<std::string> texts(threads);
        u64 rest = number;
        for (std::string &text : texts)
            for (u32 i = 0; i < steps; ++i, rest /= alphabet.size())
                text += alphabet[rest % alphabet.size()];
        // Which thread does what makes no difference.
        bool isFirst = true;
        for (u32 thread = 1; thread < threads; ++thread)
            isFirst = isFirst && texts[thread - 1] <= texts[thread];
        if (isFirst)
            body(texts);
    }
}

std::string Joined(const std::vector<std::string> &texts)
{
    std::string joined;
    for (const std::string &text : texts)
        joined += text + " ";
    return joined;
}

template <typename TStep>
std::vector<std::vector<TStep>> StepsOf(const std::vector<std::string> &texts, const std::string &letters)
{
    std::vector<std::vector<TStep>> steps;
    for (const std::string &text : texts)
    {
        steps.emplace_back();
        for (const char letter : text)
            steps.back().push_back(static_cast<TStep>(letters.find(letter)));
    }
    return steps;
}

// Programs with more than so many takes have too many executions.
FRun Heaps(u32 threads, u32 steps, const char *alphabet, u32 held, u32 others, u32 maxTakes)
{
    return [=](const SShare &share, SFigures &figures)
    {
        ForEachText(threads, steps, alphabet, share,
                    [&](const std::vector<std::string> &texts)
                    {
                        const std::string all = Joined(texts);
                        if (std::count(all.begin(), all.end(), 'T') > std::ptrdiff_t(maxTakes))
                            return;
                        SHeapUse use;
                        use.m_Threads = StepsOf<EHeapStep>(texts, kHeapLetters);
                        use.m_Held = held;
                        use.m_Others = others;
                        SOptions options;
                        options.m_YieldsWait = false;
                        figures.Add(Explore(*MakeHeapProgram(use), options), Joined(texts));
                    });
    };
}

FRun Sets(u32 threads, u32 steps)
{
    return [=](const SShare &share, SFigures &figures)
    {
        ForEachText(threads, steps, kSetLetters, share,
                    [&](const std::vector<std::string> &texts)
                    {
                        const std::vector<SSetSteps> use = StepsOf<ESetStep>(texts, kSetLetters);
                        figures.Add(Explore(*MakeSetProgram(use)), Joined(texts));
                    });
    };
}

FRun Caches(u32 threads, u32 steps)
{
    return [=](const SShare &share, SFigures &figures)
    {
        ForEachText(threads, steps, kCacheLetters, share,
                    [&](const std::vector<std::string> &texts)
                    {
                        const std::vector<SCacheSteps> use = StepsOf<ECacheStep>(texts, kCacheLetters);
                        figures.Add(Explore(*MakeCacheProgram(use)), Joined(texts));
                    });
    };
}

// ---- The checker itself ------------------------------------------------------------------------------------------------

FRun Axioms(u32 programs, u32 maxSteps)
{
    return [=](const SShare &share, SFigures &figures)
    {
        for (u64 seed = share.m_First; seed < programs; seed += share.m_Step)
        {
            SOutcome outcome;
            if (!AgreesWithAxioms(StepsByChance(static_cast<u32>(seed), maxSteps), outcome.m_Executions))
                outcome.m_Fault = "the exploration and the axioms differ";
            figures.Add(outcome, "program " + std::to_string(seed));
        }
    };
}

const SKind kKinds[] = {
    {"strings_2x4", "fixed texts, 2 threads of 4 operations", Sharings(&MakeStringProgram, 2, 4, "CDRWPK")},
    {"growing_2x4", "resizable texts, 2 threads of 4 operations", Sharings(&MakeStringProgram, 2, 4, "CDWPEA", true)},
    {"objects_2x4", "objects, 2 threads of 4 operations", Sharings(&MakeObjectProgram, 2, 4, "CDRWPK")},
    {"strings_3x3", "fixed texts, 3 threads of 3 operations", Sharings(&MakeStringProgram, 3, 3, "CDRWP")},
    {"growing_3x3", "resizable texts, 3 threads of 3 operations", Sharings(&MakeStringProgram, 3, 3, "CDWA", true)},
    {"objects_3x3", "objects, 3 threads of 3 operations", Sharings(&MakeObjectProgram, 3, 3, "CDRP")},
    {"weak_3x2", "objects, 3 threads of 2 operations, weak counts too", Sharings(&MakeObjectProgram, 3, 2, "CDWPK")},
    {"heap_2x2", "the heap, 2 threads of 2 steps, 3 takes at most", Heaps(2, 2, "TGH", 2, 0, 3)},
    {"full_2x2", "the same, of a slab that nearly all is out of, 2 takes at most",
     Heaps(2, 2, "TGH", 1, kBlocksOfLargestClass - 3, 2)},
    {"mapping_2x1", "the heap, 2 threads that take where more has to be mapped",
     Heaps(2, 1, "T", 0, kBlocksOfLargestClass, 2)},
    {"heap_3x1", "the heap, 3 threads of 1 step, 1 take at most", Heaps(3, 1, "TGH", 1, 0, 1)},
    {"sets_2x4", "sets of slabs, 2 threads of 4 steps", Sets(2, 4)},
    {"sets_3x2", "sets of slabs, 3 threads of 2 steps", Sets(3, 2)},
    {"caches_2x2", "caches, 2 threads of 2 steps", Caches(2, 2)},
    {"caches_3x1", "caches, 3 threads of 1 step", Caches(3, 1)},
    {"axioms_6", "against the axioms, 2,000 programs by chance of up to 6 steps", Axioms(2000, 6)},
    {"axioms_7", "against the axioms, 300 programs by chance of up to 7 steps", Axioms(300, 7)},
};

int RunKind(const SKind &kind, const SShare &share)
{
    const auto begin = std::chrono::steady_clock::now();
    SFigures figures;
    kind.m_Run(share, figures);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    std::printf("%s %llu %llu %llu %llu %.1f %s\n", kind.m_Name, figures.m_Programs, figures.m_Executions,
                figures.m_Blocked, figures.m_Most, seconds, kind.m_Text);
    if (!figures.m_Fault.empty())
        std::fprintf(stderr, "%s: %s\n", kind.m_Name, figures.m_Fault.c_str());
    return figures.m_Fault.empty() ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    const u64 step = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1;
    const u64 share = argc > 4 ? std::strtoull(argv[3], nullptr, 10) : 0;
    const u64 shares = argc > 4 ? std::strtoull(argv[4], nullptr, 10) : 1;
    for (const SKind &kind : kKinds)
    {
        if (argc > 1 && std::strcmp(argv[1], "kinds") == 0)
            std::printf("%s\n", kind.m_Name);
        else if (argc > 1 && std::strcmp(argv[1], kind.m_Name) == 0)
            return RunKind(kind, {share * step, shares * step});
    }
    return argc > 1 && std::strcmp(argv[1], "kinds") == 0 ? 0 : 2;
}
