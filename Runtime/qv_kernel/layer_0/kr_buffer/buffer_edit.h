// Private header: the edits that keep the length, as inline functions: short texts would feel one call more.
//
// Of containers' characters: 16-byte aligned, the terminator's block zero behind them.
#pragma once

#include "buffer_kernels.h"
#include "buffer_wide.h"

namespace Quorvane::Internal
{

inline u8 *BytesOf(char *data)
{
    return reinterpret_cast<u8 *>(data);
}

inline const u8 *BytesOf(const char *data)
{
    return reinterpret_cast<const u8 *>(data);
}

inline void ReverseCharacters(char *data, u32 length)
{
    if (WideIsWorthwhile(length))
        Wide::ReverseBytes(BytesOf(data), length);
    else
        ReverseBytes<SBlock>(BytesOf(data), length);
}

inline void RaiseCharacters(char *data, u32 length)
{
    if (WideIsWorthwhile(length))
        Wide::Uppercase(BytesOf(data), length);
    else
        FlipCase<SBlock>(BytesOf(data), length, 'a', 'z');
}

inline void LowerCharacters(char *data, u32 length)
{
    if (WideIsWorthwhile(length))
        Wide::Lowercase(BytesOf(data), length);
    else
        FlipCase<SBlock>(BytesOf(data), length, 'A', 'Z');
}

} // namespace Quorvane::Internal
