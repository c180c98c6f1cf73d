// A number is no separator, and null no text.
//
// EXPECT: no matching function
#include "kr_string.h"

using namespace Quorvane;

bool HasPieces(const CString &text)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    const auto pieces = Pieces(text, '\0');
#else
    const auto pieces = Pieces(text, 0);
#endif
    return pieces.begin() != pieces.end();
}
