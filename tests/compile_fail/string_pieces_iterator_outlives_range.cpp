// An iterator borrows from its range, which must not be a temporary.
//
// EXPECT: the iterator would outlive the range
// EXPECT: deleted
#include "kr_string.h"

using namespace Quorvane;

CStringView FirstField(const CStringView &line)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    const auto fields = Pieces(line, ',').WithEmpty();
    const auto field = fields.begin();
#else
    const auto field = Pieces(line, ',').WithEmpty().begin();
#endif
    return *field;
}
