// Views of a temporary string's pieces would outlive it.
//
// EXPECT: the views would outlive the string
// EXPECT: deleted
#include <utility>

#include "kr_string.h"

using namespace Quorvane;

bool Pieces(CString text, TArray<CStringView> &outPieces)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    return text.Split(',', outPieces);
#else
    return std::move(text).Split(',', outPieces);
#endif
}
