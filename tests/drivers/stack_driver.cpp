// How much of the caller's stack operations take, measured: a thread's stack is painted, an operation is run in the way
// that takes it deepest, and what is no longer painted was used. Prints a table; returns 0 when every operation keeps its
// bound. A program of its own, since nothing else may run on that stack.
//
// The platform's own functions are not counted: for formatting, what a bare call of the platform's takes with the same
// format is taken off. Every operation has run once before it is measured, which leaves out what the loader does at the
// first call of a function.
//
// The bounds are those of optimised code. Without optimisation every value has its place on the stack, and sanitizers add
// to each; there the operations are run all the same, and only the bounds are not looked at.
#if defined(_WIN32)

#include <cstdio>

// Threads run on stacks of the system's own choice there, which cannot be looked at from outside.
int main()
{
    std::puts("stack: no thread can be given a stack here");
    return 77;
}

#else

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include "kr_string.h"
#include "kr_string_numbers.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(memory_sanitizer) || __has_feature(thread_sanitizer)
#define QV_TEST_SANITIZED 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QV_TEST_SANITIZED 1
#endif

#if defined(QV_TEST_SANITIZED) || !QV_TEST_LIBRARY_OPTIMISED
#define QV_TEST_LOOKS_AT_BOUNDS 0
#else
#define QV_TEST_LOOKS_AT_BOUNDS 1
#endif

namespace
{

using namespace Quorvane;

using RankedElement = CString::SFuzzyMatchListElement;

// What the machine's convention of calls asks for besides, in an operation of eight calls one in another: each frame
// begins with room for the registers of whom it calls.
#if defined(__s390x__)
constexpr size_t kOfCalls = 8 * 160;
#elif defined(__powerpc64__)
constexpr size_t kOfCalls = 8 * 96;
#else
constexpr size_t kOfCalls = 0;
#endif

// Bytes that operations may take.
constexpr size_t kPlain = 4096 + kOfCalls;
constexpr size_t kFormatted = 2048 + kOfCalls; // 512 of them are the buffer
constexpr size_t kFuzzyList = 8192 + kOfCalls;
constexpr size_t kFuzzyLong = 12288 + kOfCalls;

int g_Faults = 0;

// ---- Measuring -----------------------------------------------------------------------------------------------------

[[maybe_unused]] constexpr unsigned char kPaint = 0xA5;
constexpr size_t kStackBytes = 256 * 1024;

// The stack of the thread that measures.
unsigned char *g_Stack = nullptr;

// Left alone below the frame that paints: what that frame and the functions it calls use.
[[maybe_unused]] constexpr size_t kOwnBytes = 256;

__attribute__((noinline)) unsigned char *FrameAddress()
{
    return static_cast<unsigned char *>(__builtin_frame_address(0));
}

#if !defined(QV_TEST_SANITIZED)
__attribute__((noinline)) void Paint()
{
    volatile unsigned char *end = FrameAddress() - kOwnBytes;
    for (volatile unsigned char *at = g_Stack; at != end; ++at)
        *at = kPaint;
}

// Bytes between the caller's frame and the deepest one that was used. What lies in the bytes that were not painted counts
// as used.
__attribute__((noinline)) size_t Used(const unsigned char *from)
{
    const volatile unsigned char *at = g_Stack;
    while (at != from && *at == kPaint)
        ++at;
    return static_cast<size_t>(from - at);
}
#else
void Paint() {}

size_t Used(const unsigned char *)
{
    return 0;
}
#endif

// A frame of its own, for what is inline in headers.
template <typename Operation>
__attribute__((noinline)) void Run(const Operation &operation)
{
    operation();
}

template <typename Operation>
__attribute__((noinline)) size_t StackOf(const Operation &operation)
{
    Run(operation);
    Paint();
    unsigned char *const from = FrameAddress();
    Run(operation);
    return Used(from);
}

void Note(const char *name, size_t bytes, size_t ofPlatform, size_t bound)
{
    const size_t counted = bytes > ofPlatform ? bytes - ofPlatform : 0;
    // Where less was used than is left unpainted, that is all that is known.
    std::printf("%-46s %6zu of %5zu", name, counted, bound);
    std::printf(ofPlatform != 0 ? ", and %zu by the platform\n" : "\n", ofPlatform);
    if (QV_TEST_LOOKS_AT_BOUNDS && counted > bound)
    {
        std::printf("    too much\n");
        ++g_Faults;
    }
}

template <typename Operation>
void Measure(const char *name, size_t bound, const Operation &operation)
{
    Note(name, StackOf(operation), 0, bound);
}

// ---- What is measured ----------------------------------------------------------------------------------------------

u64 g_Reports = 0;

int QuietHandler(const char *, const char *, int, const char *, const char *, const char *)
{
    ++g_Reports;
    return 2;
}

// Formatting, and what is left of it to the platform: into a buffer that is not on the stack.

__attribute__((format(printf, 1, 2))) void VAFormatOnce(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    const CString made = CString::VAFormat(format, args);
    va_end(args);
}

__attribute__((format(printf, 1, 2))) void FormatBare(const char *format, ...)
{
    static char buffer[32768];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof(buffer), format, args);
    va_end(args);
}

// Refuses the first request, or every one.
u64 g_Requests = 0;
bool g_RefusesAll = false;
Mem::SAllocator g_Before;

void *Alloc(u64 size, u32 alignment, Mem::EAllocType type, Mem::EOrigin origin, const char *tag, const char *file,
            u32 line, const char *function)
{
    if (++g_Requests == 1 || g_RefusesAll)
        return nullptr;
    return g_Before.m_Alloc(size, alignment, type, origin, tag, file, line, function);
}

void *Realloc(void *, u64, u32, Mem::EAllocType, const char *, const char *, u32, const char *)
{
    return nullptr;
}

void Free(void *block, Mem::EAllocType type, Mem::EOrigin origin, const char *tag, const char *file, u32 line,
          const char *function)
{
    g_Before.m_Free(block, type, origin, tag, file, line, function);
}

// What refused memory makes them report may have a message, which the platform formats.
template <typename Operation>
void MeasureRefused(const char *name, size_t bound, const Operation &operation)
{
    const size_t ofMessage = StackOf([] { FormatBare("%u %s", 42, "text"); });
    for (const bool all : {false, true})
    {
        const auto refused = [&]
        {
            g_Requests = 0;
            g_RefusesAll = all;
            g_Reports = 0;
            g_Before = Mem::SetAllocator(Mem::SAllocator{&Alloc, &Realloc, &Free});
            operation();
            Mem::SetAllocator(g_Before);
        };
        const size_t used = StackOf(refused);
        Note(name, used, g_Reports != 0 ? ofMessage : 0, bound);
    }
}

// The texts are made once and kept: what holds them is no part of what is measured.

CString Repeated(const char *piece, u32 times)
{
    CString text;
    for (u32 i = 0; i < times; ++i)
        text += piece;
    return text;
}

// `count` characters, of `different` ones.
CString Mixed(u32 count, u32 different)
{
    CString text;
    for (u32 i = 0; i < count; ++i)
        text.Append(static_cast<char>(1 + (i * 37 + i / 7) % different));
    return text;
}

void MeasureReplacing()
{
    const CString few("one two one");
    const CString many = Repeated("a needle in the hay ", 5000);
    // Many places where the pattern seems to stand, until the linear search takes over.
    const CString runs = Repeated("aaaaaaaaaaaaaaaa", 4000);
    CString misleading = Repeated("a", 700);
    misleading += "b";
    misleading += Repeated("a", 700);
    const auto replace = [](const CString &text, const CString &pattern, const char *by)
    { return [&text, &pattern, by] { static_cast<void>(text.Replace(pattern, by)); }; };
    const CString one("one");
    const CString needle("needle");
    Measure("Replace, short, growing", kPlain, replace(few, one, "three"));
    Measure("Replace, short, shrinking", kPlain, replace(few, one, "1"));
    Measure("Replace, long, growing", kPlain, replace(many, needle, "longer than it"));
    Measure("Replace, long, same length", kPlain, replace(many, needle, "pinpin"));
    Measure("Replace, long, shrinking", kPlain, replace(many, needle, "pin"));
    Measure("Replace, misleading", kPlain, replace(runs, misleading, "x"));
    MeasureRefused("Replace, growing, refused", kPlain, replace(many, needle, "longer than it"));
    MeasureRefused("Replace, same length, refused", kPlain, replace(many, needle, "pinpin"));
    Measure("Replace a character", kPlain, [&] { static_cast<void>(many.Replace('a', 'b')); });
}

void MeasureSplitting()
{
    const CString dense = Repeated(",a,,b", 3000);
    const CString withTerminator = Repeated("abc,", 2000);
    static TArray<CString> strings;
    static TArray<CStringView> views;
    static CStringBatchSplitter splitter;
    splitter.AddSplitChars(",;");
    const auto isSeparator = [](char character) { return character == ','; };
    Measure("Split into views", kPlain, [&] { static_cast<void>(dense.Split(',', views)); });
    Measure("Split into strings", kPlain, [&] { static_cast<void>(dense.Split(',', strings)); });
    Measure("Split by a predicate", kPlain,
            [&]
            {
                strings.Clear();
                static_cast<void>(dense.Split(isSeparator, strings));
            });
    Measure("Split by a predicate into views", kPlain,
            [&]
            {
                views.Clear();
                static_cast<void>(dense.Split(isSeparator, views));
            });
    Measure("Split a view", kPlain, [&] { static_cast<void>(dense.Slice(1).Split(',', views)); });
    const auto walk = [](const auto &pieces)
    {
        for (const CStringView &piece : pieces)
            static_cast<void>(piece);
    };
    Measure("Pieces at a character", kPlain, [&] { walk(Pieces(dense, ',')); });
    Measure("Pieces at a text", kPlain, [&] { walk(Pieces(dense, ",,b")); });
    Measure("Pieces at a long text", kPlain, [&] { walk(Pieces(dense, CString(",,b,a,,b,a,,b,a,,c"))); });
    Measure("Pieces at a long text, from the end", kPlain,
            [&] { walk(Pieces(dense, CString(",,b,a,,b,a,,b,a,,c")).FromEnd()); });
    Measure("Pieces at a set", kPlain, [&] { walk(PiecesOfSet(dense, ",;").FromEnd()); });
    Measure("Lines", kPlain, [&] { walk(Lines(dense)); });
    Measure("Batch splitter", kPlain, [&] { splitter.Split(withTerminator, strings); });
    MeasureRefused("Split into views, refused", kPlain,
                   [&]
                   {
                       TArray<CStringView> fresh;
                       static_cast<void>(dense.Split(',', fresh));
                   });
    MeasureRefused("Split into strings, refused", kPlain,
                   [&]
                   {
                       TArray<CString> fresh;
                       static_cast<void>(dense.Split(',', fresh));
                   });
}

void MeasureFuzzyPairs()
{
    struct SLength
    {
        u32 m_Length;
        size_t m_Bound;
    };
    for (const SLength &length :
         {SLength{12, kPlain}, SLength{60, kPlain}, SLength{100, kPlain}, SLength{128, kPlain}, SLength{255, kPlain},
          SLength{256, kFuzzyLong}, SLength{600, kFuzzyLong}, SLength{3000, kFuzzyLong}})
    {
        for (const u32 different : {20u, 90u, 250u})
        {
            const CString a = Mixed(length.m_Length, different);
            const CString b = Mixed(length.m_Length - 1, different);
            char name[64];
            std::snprintf(name, sizeof(name), "FuzzyMatch, %u characters, %u different", length.m_Length, different);
            Measure(name, length.m_Bound, [&] { static_cast<void>(a.FuzzyMatch(b)); });
            Measure(name, length.m_Bound, [&] { static_cast<void>(CStringView(a).FuzzyMatch(b)); });
        }
    }
    const CString a = Mixed(300, 90);
    const CString b = Mixed(200, 90);
    static TArray<u32> positions;
    Measure("FuzzyMatchPositions", kPlain, [&] { static_cast<void>(a.FuzzyMatchPositions(b, positions)); });
}

void MeasureFuzzyLists()
{
    constexpr u32 kEntries = 400;
    static CString entries[kEntries];
    static float weights[kEntries];
    static TArray<RankedElement> ranked;
    for (u32 i = 0; i < kEntries; ++i)
        entries[i] = Mixed(1 + i * 7 % 700, 20 + i % 230);
    const TStridedMemoryView<const CString> list(entries, kEntries);
    for (const u32 length : {1u, 12u, 28u, 50u, 64u, 65u, 120u, 500u})
    {
        const CString query = Mixed(length, 60);
        char name[64];
        std::snprintf(name, sizeof(name), "FuzzyMatchList, a query of %u", length);
        Measure(name, kFuzzyList, [&] { query.FuzzyMatchList(list, TMemoryView<float>(weights, kEntries)); });
        std::snprintf(name, sizeof(name), "FuzzyMatchList_Ordered, a query of %u", length);
        Measure(name, kFuzzyList, [&] { query.FuzzyMatchList_Ordered(list, ranked, 0.1f); });
        std::snprintf(name, sizeof(name), "FuzzyMatchList_Top, a query of %u", length);
        Measure(name, kFuzzyList, [&] { static_cast<void>(query.FuzzyMatchList_Top(list, ranked, 0.1f, 50)); });
    }
}

void MeasureFormatting()
{
    const CString text = Repeated("0123456789", 500);
    const char *const characters = text.Data();
    const size_t ofNumbers = StackOf([] { FormatBare("%d %s %g", 42, "text", 1e-300 / 7); });
    const size_t ofText = StackOf([=] { FormatBare("%s %d %g", characters, 42, 1e-300 / 7); });
#if QV_HAS_FLOATING_NUMBERS && !(defined(QV_OWN_PRINTF) && QV_OWN_PRINTF == 0)
    // By our own code, with numbers that the standard library writes.
    static char written[32];
    const size_t ofPlaces =
        StackOf([] { std::to_chars(written, written + sizeof(written), 1e-300 / 7, std::chars_format::general, 6); });
#else
    const size_t ofPlaces = ofNumbers;
#endif
    Note("VAFormat", StackOf([] { VAFormatOnce("%d %s %g", 42, "text", 1e-300 / 7); }), ofPlaces, kFormatted);
    Note("VAFormat, long", StackOf([=] { VAFormatOnce("%s %d %g", characters, 42, 1e-300 / 7); }), ofPlaces,
         kFormatted);
    Note("Format", StackOf([] { static_cast<void>(CString::Format("%d %s %g", 42, "text", 1e-300 / 7)); }), ofPlaces,
         kPlain);
    // What is left to the platform.
    const size_t ofLeft = StackOf([] { FormatBare("%d %s %#g", 42, "text", 1e-300 / 7); });
    Note("VAFormat, left", StackOf([] { VAFormatOnce("%d %s %#g", 42, "text", 1e-300 / 7); }), ofLeft, kFormatted);
    Note("Format, left", StackOf([] { static_cast<void>(CString::Format("%d %s %#g", 42, "text", 1e-300 / 7)); }),
         ofLeft, kPlain);
    Note("Assertion with a message",
         StackOf([] { Assert::EvalAssertFormat("f", "g", 1, "e", "e", "%d %s %g", 42, "text", 1e-300 / 7); }),
         ofNumbers, kFormatted);
    Note("Assertion with a long message",
         StackOf([=] { Assert::EvalAssertFormat("f", "g", 1, "e", "e", "%s %d %g", characters, 42, 1e-300 / 7); }),
         ofText, kFormatted);
}

void MeasureNumbers()
{
    static CString text("abc");
    Measure("AppendNumber", kPlain, [] { AppendNumber(text, 0x8000000000000000u, 2); });
    Measure("ParseNumber", kPlain,
            []
            {
                s32 number = 0;
                static_cast<void>(ParseNumber("-12345678", number));
            });
#if QV_HAS_FLOATING_NUMBERS
    static char buffer[4096];
    const size_t ofShortest = StackOf([] { std::to_chars(buffer, buffer + sizeof(buffer), 1e-300 / 7); });
    const size_t ofPrecise = StackOf(
        [] { std::to_chars(buffer, buffer + sizeof(buffer), 1e-300 / 7, std::chars_format::scientific, 1074); });
    Note("AppendNumber, shortest", StackOf([] { AppendNumber(text, 1e-300 / 7); }), ofShortest, kPlain);
    Note("AppendNumber, precise", StackOf([] { AppendNumber(text, 1e-300 / 7, std::chars_format::scientific, 5000); }),
         ofPrecise, kFormatted);
#endif
}

void MeasureOthers()
{
    const CString text = Repeated("Some/Path\\with \"quotes\" /* and */ more\n", 400);
    const CString name("models/rock.obj");
    const auto edited = [&](CString &(CString::*edit)())
    {
        return [&text, edit]
        {
            CString copy = text;
            (copy.*edit)();
        };
    };
    Measure("ToUppercase", kPlain, edited(&CString::ToUppercase));
    Measure("Escape", kPlain, edited(&CString::Escape));
    Measure("Unescape", kPlain, edited(&CString::Unescape));
    Measure("Repeat", kPlain, [&] { static_cast<void>(text.Repeat(3)); });
    Measure("Append, prepend, join", kPlain,
            [&]
            {
                CString copy = text;
                copy += name;
                copy.Prepend("front");
                copy /= name;
                copy = copy / name + "end";
                copy = JoinPath(copy, name, "literal");
            });
    Measure("Reserve, append in the room", kPlain,
            [&]
            {
                CString copy = text;
                static_cast<void>(copy.Reserve(2 * copy.Length()) && copy.TryAppend(name) && copy.TryAppend(copy));
            });
    Measure("Insert, erase, pad", kPlain,
            [&]
            {
                CString copy = text;
                copy.Insert(7, name);
                copy.Insert(9, copy);
                copy.Insert(1, 'x');
                copy.Erase(5, 700);
                copy = copy.PadLeft(100000);
                copy = copy.PadRight(200000);
            });
    static const CString list[] = {text, name, text};
    Measure("Join and concatenate pieces", kPlain,
            [&]
            {
                CString joined = Join(", ", text, name, "literal", 'c');
                joined = Concat(joined, name, 'c', "literal", text, name, text, name);
                joined = Join(name, list);
            });
    Measure("Search", kPlain,
            [&]
            {
                static_cast<void>(text.FindFirstOf("more\nSome/Path/not"));
                static_cast<void>(text.FindLastOf('S'));
                static_cast<void>(text.Contains("more\nSOME", CaseInsensitive));
                static_cast<void>(text.StartsWith(name, CaseInsensitive));
            });
    CString periodic = Repeated("aaaaaaab", 4000);
    const CString nearly = Repeated("aaaaaaab", 500) + "aaaaaaaa";
    Measure("FindText", kPlain,
            [&]
            {
                static_cast<void>(text.FindText("more\nSome/Path/not"));
                static_cast<void>(text.FindText("MORE\nSome/Path/not", 3, CaseInsensitive));
                static_cast<void>(periodic.FindText(nearly));
                static_cast<void>(periodic.FindText(nearly, 0, CaseInsensitive));
            });
    Measure("FindLastText", kPlain,
            [&]
            {
                static_cast<void>(text.FindLastText("more\nSome/Path/not"));
                static_cast<void>(text.FindLastText("MORE\nSome/Path/not", CaseInsensitive));
                static_cast<void>(periodic.FindLastText(nearly));
                static_cast<void>(periodic.FindLastText(nearly, CaseInsensitive));
            });
    Measure("Match", kPlain, [&] { static_cast<void>(text.Match("*a*b*c?d*/*more*quotes*x", CaseInsensitive)); });
    Measure("Match a view", kPlain,
            [&] { static_cast<void>(text.Slice(1).Match("*a*b*c?d*/*more*quotes*x", CaseInsensitive)); });
    static u32 numbers[5000];
    Measure("QuickSort", kPlain,
            [&]
            {
                for (u32 i = 0; i < 5000; ++i)
                    numbers[i] = Internal::WrappingProduct(i, 2654435761u);
                QuickSort(numbers, numbers + 5000);
            });
}

void *MeasureAll(void *)
{
    MeasureReplacing();
    MeasureSplitting();
    MeasureFuzzyPairs();
    MeasureFuzzyLists();
    MeasureFormatting();
    MeasureNumbers();
    MeasureOthers();
    return nullptr;
}

// ---- Small threads -------------------------------------------------------------------------------------------------

// The least stack that a thread can have on many systems, of which the platform keeps some for itself.
constexpr size_t kSmallStack = 16384;

void *UseSmallStack(void *)
{
    static CString entries[40];
    static float weights[40];
    for (CString &entry : entries)
        entry = CString("kernel string");
    VAFormatOnce("%d %s %g", 42, "text", 1e-300 / 7);
    VAFormatOnce("%d %s %#g", 42, "text", 0.1);
    static_cast<void>(CString::Format("%d %s %g", 42, "text", 0.1));
    const CString text("one two one");
    static_cast<void>(text.Replace("one", "three"));
    TArray<CString> pieces;
    static_cast<void>(text.Split(' ', pieces));
    CString("kernelstring")
        .FuzzyMatchList(TStridedMemoryView<const CString>(entries, 40), TMemoryView<float>(weights, 40));
    Assert::EvalAssertFormat("f", "g", 1, "e", "e", "%d %s %g", 42, "text", 0.1);
    for (CString &entry : entries)
        entry = CString();
    return nullptr;
}

// Runs `work` on a stack of this size, which lies behind protected memory. Returns: false where the platform does not take it.
bool RunOnStack(size_t bytes, void *(*work)(void *))
{
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    void *const mapped = mmap(nullptr, bytes + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED || mprotect(mapped, page, PROT_NONE) != 0)
        std::abort();
    g_Stack = static_cast<unsigned char *>(mapped) + page;
    pthread_attr_t attributes;
    pthread_t thread;
    pthread_attr_init(&attributes);
    const bool runs = pthread_attr_setstack(&attributes, g_Stack, bytes) == 0 &&
                      pthread_create(&thread, &attributes, work, nullptr) == 0;
    if (runs)
        pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    munmap(mapped, bytes + page);
    return runs;
}

} // namespace

int main()
{
    // Under valgrind, which reports every access below the stack pointer, where the paint is.
    const char *const preloaded = std::getenv("LD_PRELOAD");
    if (preloaded != nullptr && std::strstr(preloaded, "vgpreload") != nullptr)
    {
        std::puts("stack: valgrind lets nobody look at what a stack has been used for");
        return 77;
    }
    Assert::SetHandler(&QuietHandler);
    if (!RunOnStack(kStackBytes, &MeasureAll))
        ++g_Faults;
#if QV_TEST_LOOKS_AT_BOUNDS
    // Were it to die, the table should be there.
    std::fflush(stdout);
    std::printf("a thread of 16 KiB: %s\n",
                RunOnStack(kSmallStack, &UseSmallStack) ? "all of it ran" : "not to be had here");
#else
    static_cast<void>(kSmallStack);
    static_cast<void>(&UseSmallStack);
    std::printf("bounds are not looked at: not optimised, or sanitized\n");
#endif
    Assert::SetHandler(nullptr);
    return g_Faults == 0 ? 0 : 1;
}

#endif
