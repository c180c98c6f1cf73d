// Lines of a stream.
#include "line_reader.h"

#include "platform.h"

namespace AssetFinder
{

bool ReadLine(std::FILE *stream, std::string &line)
{
    char kept[kMaxLineLength + 1];
    std::size_t length = 0;
    int character = NextCharacter(stream);
    if (character == EOF)
        return false;
    for (; character != EOF && character != '\n'; character = NextCharacter(stream))
        if (length < sizeof(kept))
            kept[length++] = static_cast<char>(character);
    if (length != 0 && kept[length - 1] == '\r')
        --length;
    line.assign(kept, length);
    return std::ferror(stream) == 0;
}

} // namespace AssetFinder
