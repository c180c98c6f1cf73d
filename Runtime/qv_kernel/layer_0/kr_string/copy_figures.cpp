// How often strings were shared and how often they were copied to be written, by the place of the edit: counted in a
// build with QV_MEM_TRACKING.
#include "kr_string.h"

#include "copy_figures.h"

#if QV_MEM_TRACKING

#include "../kr_mem/mem_lock.h"

namespace Quorvane
{

namespace
{

using CSite = CString::SCopySite;

constexpr u32 kSiteBits = 9;
constexpr u32 kMaxSites = 1u << kSiteBits;

struct SEdit
{
    const char *m_Name;
    const void *m_CalledFrom;
};

constexpr SEdit kNoEdit = {nullptr, nullptr};

// The outermost edit that this thread is in.
thread_local bool t_IsInEdit = false;
thread_local SEdit t_Edit = kNoEdit;

QV_INTERNAL_CONSTINIT TAtomic<u64> g_SharedCopies;

// Everything below is guarded by the lock.
QV_INTERNAL_CONSTINIT Mem::Internal::CProcessLock g_Lock;
QV_INTERNAL_CONSTINIT u64 g_PrivateCopies = 0;
QV_INTERNAL_CONSTINIT u64 g_PrivateCharacters = 0;
// By a hash of the address; the last one stands for all that found no room.
QV_INTERNAL_CONSTINIT CSite g_Sites[kMaxSites + 1] = {};

// The site's entry, or the one where it belongs, which is empty. Requires the lock.
CSite &FindSite(const SEdit &edit)
{
    // Fibonacci hashing, as the tracking allocator does it.
    const u64 hash = Internal::WrappingProduct<u64>(reinterpret_cast<ureg>(edit.m_CalledFrom), 0x9E3779B97F4A7C15ull);
    const u32 first = static_cast<u32>(hash >> (64 - kSiteBits));
    for (u32 i = 0; i < kMaxSites; ++i)
    {
        CSite &site = g_Sites[(first + i) % kMaxSites];
        const bool isIt = site.m_Edit == edit.m_Name && site.m_CalledFrom == edit.m_CalledFrom;
        if (isIt || site.m_Copies == 0)
            return site;
    }
    return g_Sites[kMaxSites];
}

// Puts a site among the `count` ones with the most copies, those of one number in the order in which they come.
void Rank(const CSite &site, u32 count, const TMemoryView<CSite> &outSites)
{
    u32 place = QVMin(count, outSites.Count());
    while (place > 0 && outSites[place - 1].m_Copies < site.m_Copies)
    {
        if (place < outSites.Count())
            outSites[place] = outSites[place - 1];
        --place;
    }
    if (place < outSites.Count())
        outSites[place] = site;
}

} // namespace

namespace Internal::String
{

// Unchecked: the thread's variables are constants when it begins, and have no destructors.
QV_INTERNAL_UNCHECKED_BEGIN

CEditScope::CEditScope(const char *name, const void *calledFrom) noexcept QV_NONBLOCKING : m_IsOutermost(!t_IsInEdit)
{
    if (!m_IsOutermost)
        return;
    t_IsInEdit = true;
    t_Edit = SEdit{name, calledFrom};
}

CEditScope::~CEditScope() noexcept QV_NONBLOCKING
{
    if (m_IsOutermost)
        t_IsInEdit = false;
}

QV_INTERNAL_UNCHECKED_END

void CountSharedCopy() noexcept QV_NONBLOCKING
{
    g_SharedCopies.FetchInc();
}

void CountPrivateCopy(u32 count, const void *calledFrom) noexcept
{
    const SEdit edit = t_IsInEdit ? t_Edit : SEdit{"RawDataForWriting", calledFrom};
    if (edit.m_Name == nullptr)
        return;
    const Mem::Internal::CProcessGuard guard(g_Lock);
    ++g_PrivateCopies;
    g_PrivateCharacters += count;
    CSite &site = FindSite(edit);
    const bool isOthers = &site == &g_Sites[kMaxSites];
    site.m_Edit = isOthers ? "" : edit.m_Name;
    site.m_CalledFrom = isOthers ? nullptr : edit.m_CalledFrom;
    ++site.m_Copies;
    site.m_Characters += count;
}

} // namespace Internal::String

bool CString::CopyFigures(SCopyFigures &outFigures) noexcept
{
    const Mem::Internal::CProcessGuard guard(g_Lock);
    outFigures = SCopyFigures{g_SharedCopies.Load(), g_PrivateCopies, g_PrivateCharacters};
    return true;
}

u32 CString::CopySites(const TMemoryView<SCopySite> &outSites) noexcept
{
    const Mem::Internal::CProcessGuard guard(g_Lock);
    u32 count = 0;
    for (const CSite &site : g_Sites)
        if (site.m_Copies != 0)
            Rank(site, count++, outSites);
    return count;
}

} // namespace Quorvane

#else

namespace Quorvane
{

namespace Internal::String
{

void CountSharedCopy() noexcept QV_NONBLOCKING {}

} // namespace Internal::String

bool CString::CopyFigures(SCopyFigures &outFigures) noexcept
{
    outFigures = SCopyFigures{0, 0, 0};
    return false;
}

u32 CString::CopySites(const TMemoryView<SCopySite> &) noexcept
{
    return 0;
}

} // namespace Quorvane

#endif
