// Lines of a stream.
#include "line_reader.h"

namespace AssetFinder
{

bool ReadLine(std::FILE *stream, std::string &line)
{
    line.clear();
    int character = std::getc(stream);
    if (character == EOF)
        return false;
    for (; character != EOF && character != '\n'; character = std::getc(stream))
        if (line.size() <= kMaxLineLength)
            line.push_back(static_cast<char>(character));
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return std::ferror(stream) == 0;
}

} // namespace AssetFinder
