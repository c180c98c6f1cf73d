// Lines of a stream, one at a time, of any length.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace AssetFinder
{

// No path is longer. Of a line that is, one character more is kept, so that it can be told; the rest is read and lost.
constexpr std::size_t kMaxLineLength = 4095;

// Reads a line without its end, a newline or a carriage return and a newline. The last one may lack its end.
// Returns: false when there is no more, or the stream cannot be read (`ferror` tells).
bool ReadLine(std::FILE *stream, std::string &line);

} // namespace AssetFinder
