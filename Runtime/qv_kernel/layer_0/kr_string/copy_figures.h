// What a build with QV_MEM_TRACKING counts of the private copies that edits make: which edit made each, and where the
// program called it. In any other build nothing of this is left.
//
//     CString &CString::Strip(const char *chars) noexcept
//     {
//         QV_INTERNAL_EDIT;
#pragma once

#include "kr_string_container.h"

// The first statement of every function that writes the characters of a string, or adds to them: names it, and the place
// that it returns to, to what is counted until it ends. An edit that another one calls goes by the name of that one.
#if QV_MEM_TRACKING
#define QV_INTERNAL_EDIT_NAMED(name)                                                                                   \
    const QV_NAMESPACE::Internal::String::CEditScope qv_Edit(name, __builtin_return_address(0))
#else
#define QV_INTERNAL_EDIT_NAMED(name) static_cast<void>(0)
#endif
#define QV_INTERNAL_EDIT QV_INTERNAL_EDIT_NAMED(__func__)

// The same of a function that gives a new string, and edits it on the way: that is its copy, and not counted.
#define QV_INTERNAL_NO_EDIT QV_INTERNAL_EDIT_NAMED(nullptr)

namespace Quorvane::Internal::String
{

#if QV_MEM_TRACKING

// While the outermost one of a thread lives, private copies of the thread are its edit's.
class CEditScope
{
public:
    CEditScope(const char *name, const void *calledFrom) noexcept QV_NONBLOCKING;
    ~CEditScope() noexcept QV_NONBLOCKING;
    CEditScope(const CEditScope &) = delete;
    CEditScope &operator=(const CEditScope &) = delete;

private:
    bool m_IsOutermost;
};

// Counts a private copy of `count` characters. `calledFrom` is for a copy that no edit of the library's asked for: then
// it was RawDataForWriting, which is inline, and the address is in the program.
void CountPrivateCopy(u32 count, const void *calledFrom) noexcept;

#else

inline void CountPrivateCopy(u32, const void *) noexcept {}

#endif

// Counts the new container of an edit, null when it was refused, where the edit would have grown the one before in place,
// had nobody shared it.
inline void CountCopyToGrow(const CStringContainer *before, const PStringContainer &after) noexcept
{
    if (QV_MEM_TRACKING && before != nullptr && before->SupportsDynamicResize() && before->RefCount() > 1 &&
        before->Length() != 0 && after != null)
        CountPrivateCopy(before->Length(), nullptr);
}

} // namespace Quorvane::Internal::String
