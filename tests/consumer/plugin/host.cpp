// A host with strings, which it exchanges with a plugin both ways.
//
//   host <plugin>
#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "exchange.inc"

namespace
{

struct SPlugin
{
    void *m_Handle;
    int (*m_UseStrings)(void);
    void (*m_GrowString)(void *);
    void (*m_MakeString)(void *, unsigned);
    void (*m_DropString)(void *);
    void (*m_SplitString)(const void *, void *);
};

template <typename Function>
void Find(const SPlugin &plugin, const char *name, Function &function)
{
    function = reinterpret_cast<Function>(dlsym(plugin.m_Handle, name));
    if (function == nullptr)
        std::exit(3);
}

SPlugin Load(const char *path)
{
    SPlugin plugin = {};
    plugin.m_Handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (plugin.m_Handle == nullptr)
    {
        std::printf("%s\n", dlerror());
        std::exit(3);
    }
    Find(plugin, "UseStrings", plugin.m_UseStrings);
    Find(plugin, "GrowString", plugin.m_GrowString);
    Find(plugin, "MakeString", plugin.m_MakeString);
    Find(plugin, "DropString", plugin.m_DropString);
    Find(plugin, "SplitString", plugin.m_SplitString);
    return plugin;
}

std::atomic<int> g_Reports(0);

int CountReports(const char *file, const char *, int line, const char *expression, const char *, const char *message)
{
    std::printf("%s(%d): %s, %s\n", file, line, expression, message);
    ++g_Reports;
    return 2;
}

bool IsOfLength(const CString &string, u32 length)
{
    return string.Length() == length && string == OfLength(length);
}

int Fail(const char *what, u32 length)
{
    std::printf("%s, length %u\n", what, length);
    return 1;
}

// The plugin comes first: its copy of the library may never have been asked for memory when it drops a string of ours.
int DropOursThere(const SPlugin &plugin)
{
    for (const u32 length : kLengths)
    {
        CString string = OfLength(length);
        plugin.m_DropString(&string);
        if (!string.Empty())
            return Fail("it was not dropped", length);
    }
    return 0;
}

int Exchange(const SPlugin &plugin)
{
    for (const u32 length : kLengths)
    {
        CString ours = OfLength(length);
        plugin.m_GrowString(&ours);
        if (ours.Length() != 2 * length + 300)
            return Fail("ours did not grow there", length);
        GrowString(&ours);
        plugin.m_GrowString(&ours);
        CString theirs;
        plugin.m_MakeString(&theirs, length);
        if (!IsOfLength(theirs, length))
            return Fail("theirs is not what it should be", length);
        const CString shared = theirs;
        GrowString(&theirs);
        plugin.m_GrowString(&theirs);
        if (!IsOfLength(shared, length))
            return Fail("a shared one was written", length);
        std::thread([&] { plugin.m_DropString(&theirs); }).join();
    }
    return 0;
}

int FillAnArray(const SPlugin &plugin)
{
    TArray<CString> pieces;
    CString text;
    for (int i = 0; i < 1000; ++i)
        text += "piece ";
    plugin.m_SplitString(&text, &pieces);
    SplitString(&text, &pieces);
    plugin.m_SplitString(&text, &pieces);
    return pieces.Count() == 1000 && pieces[999] == "piece" ? 0 : Fail("pieces are missing", pieces.Count());
}

// What both sides allocate goes through the host's allocator once it has installed one.
std::atomic<long> g_Live(0);
std::atomic<long> g_Calls(0);
Mem::SAllocator g_Default;

void *CountAlloc(u64 size, u32 alignment, Mem::EAllocType type, Mem::EOrigin origin, const char *tag, const char *file,
                 u32 line, const char *function)
{
    ++g_Calls;
    ++g_Live;
    return g_Default.m_Alloc(size, alignment, type, origin, tag, file, line, function);
}

void *CountRealloc(void *block, u64 newSize, u32 alignment, Mem::EAllocType type, const char *tag, const char *file,
                   u32 line, const char *function)
{
    if (block == nullptr)
        ++g_Live;
    ++g_Calls;
    return g_Default.m_Realloc(block, newSize, alignment, type, tag, file, line, function);
}

void CountFree(void *block, Mem::EAllocType type, Mem::EOrigin origin, const char *tag, const char *file, u32 line,
               const char *function)
{
    --g_Live;
    g_Default.m_Free(block, type, origin, tag, file, line, function);
}

int ShareAnAllocator(const SPlugin &plugin)
{
    g_Default = Mem::SetAllocator(Mem::SAllocator{&CountAlloc, &CountRealloc, &CountFree});
    g_Calls = 0;
    CString theirs;
    plugin.m_MakeString(&theirs, 100);
    const bool asked = g_Calls == 1 && g_Live == 1;
    GrowString(&theirs);
    plugin.m_GrowString(&theirs);
    theirs = CString();
    const bool balanced = plugin.m_UseStrings() == 0 && g_Live == 0;
    Mem::SetAllocator(Mem::SAllocator{});
    const long calls = g_Calls;
    const bool restored = plugin.m_UseStrings() == 0 && g_Calls == calls;
    if (!asked)
        return Fail("the plugin does not ask the host's allocator", 100);
    return balanced && restored ? 0 : Fail("the plugin's blocks do not come back", 0);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2)
        return 2;
    Assert::SetHandler(&CountReports);
    CString kept;
    for (int round = 0; round < 3; ++round)
    {
        const SPlugin plugin = Load(argv[1]);
        if (DropOursThere(plugin) != 0 || Exchange(plugin) != 0 || FillAnArray(plugin) != 0 || UseStrings() != 0 ||
            plugin.m_UseStrings() != 0)
            return 1;
        kept = CString();
        if (ShareAnAllocator(plugin) != 0)
            return 1;
        plugin.m_MakeString(&kept, 50);
        dlclose(plugin.m_Handle);
        // It outlives the plugin that made it.
        GrowString(&kept);
        if (kept.Length() != 400)
            return Fail("what is kept is not what it should be", kept.Length());
    }
    return g_Reports == 0 ? 0 : 1;
}
