// Blanking of comments.
//
// One function for each thing that is not plain text: it starts at the thing's first character and returns where plain
// text goes on. A line ends at a newline, at a carriage return, or at the two together; a backslash before the line end
// takes it back, all of it, in line comments and in literals alike.
#include "kr_buffer.h"

#include "buffer_text.h"

namespace Quorvane
{

namespace
{

bool IsLineEnd(char character)
{
    return character == '\n' || character == '\r';
}

// `at` is at a line end.
char *SkipLineEnd(char *at)
{
    return at + (at[0] == '\r' && at[1] == '\n' ? 2 : 1);
}

// `at` is at a backslash inside a literal. What it escapes is one character, or a whole line end.
char *SkipEscape(char *at)
{
    ++at;
    if (*at == 0)
        return at;
    return IsLineEnd(*at) ? SkipLineEnd(at) : at + 1;
}

// `at` is at the opening quote. The literal ends behind the closing one, or before a line end.
char *SkipLiteral(char *at)
{
    const char quote = *at++;
    while (*at != 0 && *at != quote && !IsLineEnd(*at))
        at = *at == '\\' ? SkipEscape(at) : at + 1;
    return *at == quote ? at + 1 : at;
}

// `at` is at the first slash. The comment ends before a line end.
char *BlankLineComment(char *at)
{
    while (*at != 0 && !IsLineEnd(*at))
    {
        const bool takesLineEndBack = at[0] == '\\' && IsLineEnd(at[1]);
        *at++ = ' ';
        if (takesLineEndBack)
            at = SkipLineEnd(at);
    }
    return at;
}

char *BlankMarker(char *at)
{
    at[0] = ' ';
    at[1] = ' ';
    return at + 2;
}

// `at` is at the slash of the opening marker, whose star cannot be the closing marker's too.
char *BlankBlockComment(char *at)
{
    at = BlankMarker(at);
    while (*at != 0)
    {
        if (at[0] == '*' && at[1] == '/')
            return BlankMarker(at);
        if (!IsLineEnd(*at))
            *at = ' ';
        ++at;
    }
    return at;
}

// `at` is at a slash, which need not begin a comment.
char *BlankComment(char *at)
{
    if (at[1] == '/')
        return BlankLineComment(at);
    if (at[1] == '*')
        return BlankBlockComment(at);
    return at + 1;
}

} // namespace

u32 SNativeStringUtils::Uncomment(char *data) noexcept QV_NONBLOCKING
{
    if (data == nullptr)
        return 0;
    char *at = data;
    while (*at != 0)
    {
        if (*at == '/')
            at = BlankComment(at);
        else if (*at == '"' || *at == '\'')
            at = SkipLiteral(at);
        else
            ++at;
    }
    return Internal::Buffer::ReportedLength(static_cast<std::size_t>(at - data));
}

} // namespace Quorvane
