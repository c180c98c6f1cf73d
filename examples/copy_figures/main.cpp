// Where a program copies text that it meant to share: what a library built with QV_MEM_TRACKING has counted.
#include "kr_string.h"

#include <cinttypes>
#include <cstdint>
#include <cstdio>

using namespace Quorvane;

namespace
{

// A hundred names of one text, which they share.
void ShareName(TArray<CString> &outNames, const CString &name)
{
    for (u32 i = 0; i < 100; ++i)
        outNames.PushBack(name);
}

// Copies none: there is nothing to strip.
void Tidy(TArray<CString> &names)
{
    for (CString &name : names)
        name.Strip(" \t");
}

// Copies for each of them but the last one, which nobody shares any more: a hundred equal texts, where there was one.
void MakeUppercase(TArray<CString> &names)
{
    for (CString &name : names)
        name.ToUppercase();
}

u32 CountShared(const TArray<CString> &names)
{
    u32 count = 0;
    for (const CString &name : names)
        count += name.IsShared() ? 1 : 0;
    return count;
}

void PrintPlaces()
{
    CString::SCopySite places[8];
    const u32 count = CString::CopySites(places);
    for (u32 i = 0; i < QVMin(count, 8u); ++i)
        std::printf("  %llu of them by %s, called from 0x%" PRIxPTR "\n", places[i].m_Copies, places[i].m_Edit,
                    reinterpret_cast<std::uintptr_t>(places[i].m_CalledFrom));
}

} // namespace

int main()
{
    TArray<CString> names;
    ShareName(names, CString("assets/models"));
    Tidy(names);
    std::printf("%u names share a text\n", CountShared(names));
    MakeUppercase(names);
    names[0].AtForWriting(0) = 'a'; // its own by now
    std::printf("%u names share a text\n", CountShared(names));

    CString::SCopyFigures figures;
    if (!CString::CopyFigures(figures))
    {
        std::printf("the library was built without QV_MEM_TRACKING, and has counted nothing\n");
        return 0;
    }
    std::printf("%llu handles were copied, which copies no text\n", figures.m_SharedCopies);
    std::printf("%llu copies were made for writing, of %llu characters\n", figures.m_PrivateCopies,
                figures.m_PrivateCharacters);
    PrintPlaces();
    return 0;
}
