// Wounds of what a program hangs into the library: hooks that use it while it is at work, and tables of texts that somebody
// else has chosen. README.md has the table of all of them.
#include <string>
#include <unordered_set>
#include <vector>

#include <gtest/gtest.h>

#include "kr_assert.h"
#include "kr_mem.h"
#include "kr_string.h"
#include "kr_string_std.h"
#include "string_checks.h"
#include "test_allocator.h"
#include "text_pieces.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

// While one lives, each request to the allocator, and each report, makes, edits, shares and drops strings.
class CStringsInHooks
{
public:
    CStringsInHooks() : m_Handler(Assert::SetHandler(&_Handle))
    {
        g_Uses = 0;
        g_Before = Mem::SetAllocator(Mem::SAllocator{&_Alloc, &_Realloc, &_Free});
    }
    ~CStringsInHooks()
    {
        g_IsInUse = true;
        g_Kept = CString();
        g_IsInUse = false;
        Mem::SetAllocator(g_Before);
        Assert::SetHandler(m_Handler);
    }
    CStringsInHooks(const CStringsInHooks &) = delete;
    CStringsInHooks &operator=(const CStringsInHooks &) = delete;

    int Uses() const { return g_Uses; }

private:
    // Not for what the strings made here ask for.
    static void _Use(const char *what, u64 size)
    {
        if (g_IsInUse)
            return;
        g_IsInUse = true;
        _UseStrings(what, size);
        g_IsInUse = false;
    }

    static void _UseStrings(const char *what, u64 size)
    {
        CString line = CString::Format("%s of %llu bytes", what, static_cast<unsigned long long>(size));
        const CString shared = line;
        line.ToUppercase().Append(shared).Insert(3, "...");
        TArray<CString> pieces;
        EXPECT_TRUE(line.Split(' ', pieces));
        g_Kept = line.Replace("...", shared.Slice(0, 2)) / shared;
        g_Uses += g_Kept.Contains(shared) ? 1 : 0;
    }

    static void *_Alloc(u64 size, u32 alignment, Mem::EAllocType type, Mem::EOrigin origin, const char *tag,
                        const char *file, u32 line, const char *function)
    {
        _Use("alloc", size);
        void *const block = g_Before.m_Alloc(size, alignment, type, origin, tag, file, line, function);
        _Use("granted", size);
        return block;
    }
    static void *_Realloc(void *block, u64 newSize, u32 alignment, Mem::EAllocType type, const char *tag,
                          const char *file, u32 line, const char *function)
    {
        _Use("realloc", newSize);
        void *const moved = g_Before.m_Realloc(block, newSize, alignment, type, tag, file, line, function);
        _Use("moved", newSize);
        return moved;
    }
    static void _Free(void *block, Mem::EAllocType type, Mem::EOrigin origin, const char *tag, const char *file,
                      u32 line, const char *function)
    {
        _Use("free", 0);
        g_Before.m_Free(block, type, origin, tag, file, line, function);
        _Use("freed", 0);
    }
    static int _Handle(const char *, const char *, int line, const char *expression, const char *, const char *)
    {
        _Use(expression, static_cast<u64>(line));
        return 2;
    }

    static bool g_IsInUse;
    static int g_Uses;
    static CString g_Kept;
    static Mem::SAllocator g_Before;
    Assert::FHandler m_Handler;
};

bool CStringsInHooks::g_IsInUse = false;
int CStringsInHooks::g_Uses = 0;
CString CStringsInHooks::g_Kept;
Mem::SAllocator CStringsInHooks::g_Before = {};

TEST(Wounds, HooksThatUseStrings)
{
    const CTestAllocator allocator; // every reallocation moves
    const CStringsInHooks hooks;
    CString string("one");
    const CString shared = string;
    string.Append(", two").Append(string).Prepend("<").Insert(1, CString("x").Repeat(300));
    ExpectText(string, "<" + std::string(300, 'x') + "one, twoone, two");
    string.Erase(1, 301).Escape().Unescape();
    ExpectText(string, "<one, twoone, two");
    ExpectText(shared, "one");
    ExpectText(string.Replace("one", "1"), "<1, two1, two");
    ExpectText(CString("a//") / "/b\\" / shared, "a/b\\/one"); // reports the backslash
    ExpectText(CString::Format("%d", 5) + Join(", ", shared, string), "5one, <one, twoone, two");
    TArray<CString> pieces;
    EXPECT_TRUE(string.Split(',', pieces));
    ASSERT_EQ(pieces.Count(), 3u);
    ExpectText(pieces[1], " twoone");
    EXPECT_GT(hooks.Uses(), 30);
}

int g_HandlersCalls = 0;

// Wants memory that there is not, and fails at what it tries with it, which nobody reports to it once more.
int WantingHandler(const char *, const char *, int, const char *expression, const char *, const char *message)
{
    ++g_HandlersCalls;
    CString line = CString::Format("%s: %s", expression, message);
    line.Append("more").ToUppercase();
    line = CString(message) / expression;
    EXPECT_TRUE(line.Empty());
    EXPECT_FALSE(line.Reserve(100));
    TArray<CString> lines;
    EXPECT_FALSE(lines.PushBack(CString("line")).Valid());
    return 2;
}

TEST(Wounds, MemoryRefusedInAnAssertionHandler)
{
    CTestAllocator allocator;
    const CString path("some/path");
    CString upper = path;
    CString joined = Fixed("joined");
    const Assert::FHandler before = Assert::SetHandler(&WantingHandler);
    g_HandlersCalls = 0;
    allocator.RefuseFromNth(1);
    joined /= path;
    EXPECT_EQ(g_HandlersCalls, QV_ASSERTS ? 1 : 0); // "newContainer != null"
    upper.ToUppercase();
    ExpectText(path.Extract(9, 3), "");
    allocator.RefuseNth(0);
    EXPECT_EQ(g_HandlersCalls, QV_ASSERTS ? 3 : 0);
    Assert::SetHandler(before);
    ExpectText(joined, "joined");
    ExpectText(upper, "");
    ExpectText(path, "some/path");
}

// Whoever may choose the keys of a table can make them collide: the hash has no secret (SECURITY.md). It is slow then, and
// right.
TEST(Wounds, HashFlooding)
{
    // The first word of this text is what the hash puts it together with: what is multiplied with it counts no more.
    const std::string front = "\xD0\x31\x9F\x29\x22\x38\x09\xA4";
    std::unordered_set<CString, SStringHashCaseInsensitive, SStringEqualCaseInsensitive> table;
    const u64 hash = SNativeStringUtils::HashCase((front + std::string(24, '0')).data(), 32);
    for (int i = 0; i < 1000; ++i)
    {
        const std::string key = front + std::to_string(10000000 + i) + std::string(16, '0');
        EXPECT_EQ(SNativeStringUtils::HashCase(key.data(), LengthOf(key)), hash);
        EXPECT_TRUE(table.insert(CString(key.c_str())).second);
    }
    EXPECT_EQ(table.size(), 1000u);
    EXPECT_EQ(table.count(CString((front + "10000999" + std::string(16, '0')).c_str())), 1u);
    EXPECT_EQ(table.count(CString((front + "10001000" + std::string(16, '0')).c_str())), 0u);
}

} // namespace
