#include "voices.h"

namespace
{

// The other library has a function of this name, and is joined or not.
Quorvane::CString Voiced(const Quorvane::CString &text)
{
    return text.Uppercase();
}

} // namespace

Quorvane::CString Shout(const Quorvane::CString &text)
{
    return Voiced(text) + "!";
}
