// What the operations on one string cost, by length: the time for each, and per character.
//
// Texts are words and blanks in mixed case, with an escapable character here and there. In-place edits that need a fresh
// string are measured with the copy they start from; `Copy` measures that copy alone.
#include <benchmark/benchmark.h>

#include <string>

#include "kr_string.h"

namespace
{

using namespace Quorvane;

// Text of the given length, without a terminator inside.
std::string MakeText(size_t length)
{
    static const char kPattern[] = "The quick brown fox\tjumps over 13 lazy Dogs. ";
    std::string text;
    while (text.size() < length)
        text += kPattern;
    text.resize(length);
    return text;
}

CString MakeString(const benchmark::State &state)
{
    return CString(MakeText(static_cast<size_t>(state.range(0))).c_str());
}

// Reports the time per character beside the time per operation.
void CountCharacters(benchmark::State &state)
{
    state.counters["per_char"] =
        benchmark::Counter(static_cast<double>(state.range(0)),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// An operation that reads a string, or makes a new one of it.
template <typename Operation>
void Run(benchmark::State &state, const Operation &operation)
{
    CString string = MakeString(state);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(string);
        benchmark::DoNotOptimize(operation(string));
    }
    CountCharacters(state);
}

// An operation on two strings of equal text that share nothing.
template <typename Operation>
void RunOnTwo(benchmark::State &state, const Operation &operation)
{
    CString a = MakeString(state);
    CString b = MakeString(state);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(a);
        benchmark::DoNotOptimize(b);
        benchmark::DoNotOptimize(operation(a, b));
    }
    CountCharacters(state);
}

// A deep copy: what a shared string costs before the first write.
CString Detached(const CString &string)
{
    return CString(string.Data(), string.Length());
}

} // namespace

#define QV_BENCHMARK(name, ...)                                                                                        \
    void name(benchmark::State &state)                                                                                 \
    {                                                                                                                  \
        Run(state, [](CString &s) { return __VA_ARGS__; });                                                            \
    }                                                                                                                  \
    BENCHMARK(name)->Arg(16)->Arg(256)->Arg(4096)

#define QV_BENCHMARK_OF_TWO(name, ...)                                                                                 \
    void name(benchmark::State &state)                                                                                 \
    {                                                                                                                  \
        RunOnTwo(state, [](CString &a, CString &b) { return __VA_ARGS__; });                                           \
    }                                                                                                                  \
    BENCHMARK(name)->Arg(16)->Arg(256)->Arg(4096)

namespace
{

QV_BENCHMARK(Nothing, s.Length());
QV_BENCHMARK(Copy, Detached(s));
QV_BENCHMARK_OF_TWO(Equal, a.Compare(b));
QV_BENCHMARK_OF_TWO(EqualIgnoringCase, a.Compare(b, CaseInsensitive));
QV_BENCHMARK_OF_TWO(Less, a < b);
QV_BENCHMARK_OF_TWO(LessIgnoringCase, a.LessThan(b, CaseInsensitive));
QV_BENCHMARK_OF_TWO(EqualView, CStringView(a) == CStringView(b));
QV_BENCHMARK(UppercaseInPlace, s.ToUppercase().Data());
QV_BENCHMARK(UppercaseCopy, s.Uppercase());
QV_BENCHMARK(AnalyzeCasing, s.AnalyzeCasing());
QV_BENCHMARK(EscapedCopy, s.Escaped());
QV_BENCHMARK(UnescapedCopy, s.Unescaped());
QV_BENCHMARK(ReverseInPlace, s.Reverse().Data());
QV_BENCHMARK(ReplaceCharacter, s.Replace('o', '0'));
QV_BENCHMARK(ReplaceGrowing, s.Replace("fox", "foxes"));
QV_BENCHMARK(ReplaceSame, s.Replace("fox", "cat"));
QV_BENCHMARK(ReplaceShrinking, s.Replace("fox", "ox"));
QV_BENCHMARK(StrippedCopy, Detached(s).Strip(" \tTD."));
QV_BENCHMARK(UncommentInPlace, s.Uncomment().Data());
QV_BENCHMARK(FindMissingCharacter, s.FindNextOf('#', 0).Get());
QV_BENCHMARK(FindMissingText, s.FindNextOf("lazy cat", 0).Get());

} // namespace
