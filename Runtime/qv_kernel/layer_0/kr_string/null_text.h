// Null text counts as empty text.
#pragma once

namespace Quorvane::Internal
{

inline bool IsNullOrEmpty(const char *text)
{
    return text == nullptr || *text == '\0';
}

} // namespace Quorvane::Internal
