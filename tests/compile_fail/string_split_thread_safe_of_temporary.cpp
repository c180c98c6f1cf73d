// Views of a temporary string's pieces would outlive it, whatever reference was held meanwhile.
//
// EXPECT: the views would outlive the string
// EXPECT: deleted
#include "kr_string.h"

using namespace Quorvane;

bool Pieces(const char *text, TArray<CStringView> &outPieces)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    const CString string(text);
    return string.Split_ThreadSafe(',', outPieces);
#else
    return CString(text).Split_ThreadSafe(',', outPieces);
#endif
}
