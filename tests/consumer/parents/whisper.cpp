#include "voices.h"

namespace
{

// The other library has a function of this name, and is joined or not.
Quorvane::CString Voiced(const Quorvane::CString &text)
{
    return text.Lowercase();
}

} // namespace

Quorvane::CString Whisper(const Quorvane::CString &text)
{
    return Voiced(text) + "...";
}
