// Naive models of the edits that grow a string: on std::string, and without any of the library's own notions.
#pragma once

#include <string>

namespace QuorvaneTest
{

inline std::string ModelAppend(const std::string &string, const std::string &piece)
{
    return string + piece;
}

inline std::string ModelPrepend(const std::string &string, const std::string &piece)
{
    return piece + string;
}

// The path join. One slash at the seam, whatever slashes stood there; a slash at the very front of the left side, or
// of the right side when nothing is left of the left one, is the root and stays.
inline std::string ModelJoinPath(const std::string &left, const std::string &right)
{
    const auto isSlashes = [](const std::string &text)
    { return !text.empty() && text.find_first_not_of('/') == std::string::npos; };
    const auto withoutTrailing = [](const std::string &text)
    {
        const size_t last = text.find_last_not_of('/');
        return last == std::string::npos ? std::string() : text.substr(0, last + 1);
    };
    const auto withoutLeading = [](const std::string &text)
    {
        const size_t first = text.find_first_not_of('/');
        return first == std::string::npos ? std::string() : text.substr(first);
    };

    const std::string keptLeft = withoutTrailing(left);
    const std::string keptRight = withoutLeading(right);
    if (!keptLeft.empty())
        return keptRight.empty() ? keptLeft : keptLeft + '/' + keptRight;
    const bool rooted = isSlashes(left) || (!right.empty() && right.front() == '/');
    return (rooted ? "/" : "") + keptRight;
}

} // namespace QuorvaneTest
