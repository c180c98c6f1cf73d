// Small helpers on text.
#include "text.h"

#include <cstdarg>

using namespace Quorvane;

namespace AssetFinder
{

CString Text(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    CString text = CString::VAFormat(format, args);
    va_end(args);
    return text;
}

CString Grouped(u64 number)
{
    const CString digits = Text("%llu", number);
    CString grouped;
    for (u32 i = 0; i < digits.Length(); ++i)
    {
        if (i != 0 && (digits.Length() - i) % 3 == 0)
            grouped.Append(',');
        grouped.Append(digits[i]);
    }
    return grouped;
}

CString Printable(CString text)
{
    for (u32 i = 0; i < text.Length(); ++i)
    {
        const unsigned char byte = static_cast<unsigned char>(text[i]);
        // The first write gives this copy characters of its own; clean text stays shared with the caller.
        if (byte < 0x20 || byte == 0x7F)
            text.AtForWriting(i) = '?';
    }
    return text;
}

CString PathOf(const CString &folder, const CString &name)
{
    if (folder.Empty())
        return name;
    return folder.Last() == '/' ? Concat(folder, name) : Concat(folder, '/', name);
}

} // namespace AssetFinder
