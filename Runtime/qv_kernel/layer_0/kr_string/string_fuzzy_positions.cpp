// Fuzzy matching, which characters match.
#include "kr_string.h"

#include <algorithm>

#include "../kr_fuzzy/fuzzy_alignment.h"

namespace Quorvane
{

using Internal::Fuzzy::CAlignment;
using Internal::Fuzzy::SText;

bool CString::FuzzyMatchPositions(const CString &other, TArray<u32> &outPositions) const noexcept
{
    outPositions.Clear();
    const CStringView a(*this);
    const CStringView b(other);
    if (a.Empty() || b.Empty())
        return true;
    const bool thisIsRows = a.Length() < b.Length();
    CAlignment alignment(SText::Of(thisIsRows ? a : b), SText::Of(thisIsRows ? b : a));
    if (!alignment.IsReady() || !outPositions.Reserve(QVMin(a.Length(), b.Length())))
        return false;
    alignment.WalkBack([&](u32 row, u32 column) { outPositions.PushBack(thisIsRows ? row : column); });
    std::reverse(outPositions.begin(), outPositions.end());
    return true;
}

} // namespace Quorvane
