#include "static_strings.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kr_string.h"

namespace QuorvaneTest
{

using namespace Quorvane;

namespace
{

const char *g_Fault = nullptr;

bool Is(const CString &string, const char *text)
{
    return !string.Empty() && std::strcmp(string.Data(), text) == 0;
}

// Null, or what went wrong.
const char *UseStrings(CString &kept, const char *keptText)
{
    if (CString::EmptyString.Data() != nullptr || !CString::EmptyString.Empty())
        return "the empty string is not empty";
    const CString copyOfEmpty = CString::EmptyString;
    if (copyOfEmpty.Data() != nullptr)
        return "a copy of the empty string is not empty";
    if (!Is(kept, keptText))
        return "a kept string has lost its text";
    const CString joined = CString("assets") / "models" / CString("box.bin");
    if (!Is(joined, "assets/models/box.bin"))
        return "a join went wrong";
    kept += joined;
    CString shared = kept;
    shared.Append("!");
    if (kept.Length() + 1 != shared.Length())
        return "an append went wrong";
    if (!Is(CString::Format("%d-%s", 7, "seven"), "7-seven"))
        return "formatting went wrong";
    kept.Clear();
    kept.Append("kept");
    return Is(kept, "kept") ? nullptr : "a string could not be cleared and refilled";
}

class CStaticStrings
{
public:
    CStaticStrings() : m_Kept("first") { g_Fault = UseStrings(m_Kept, "first"); }
    ~CStaticStrings()
    {
        const char *fault = UseStrings(m_Kept, "kept");
        if (fault == nullptr)
            return;
        std::fprintf(stderr, "while static objects are destroyed: %s\n", fault);
        std::_Exit(1);
    }

private:
    CString m_Kept;
};

// The lowest number that is not the platform's own: constructed first, destroyed last.
__attribute__((init_priority(101))) CStaticStrings g_StaticStrings;

} // namespace

const char *StaticStringsFault()
{
    return g_Fault;
}

} // namespace QuorvaneTest
