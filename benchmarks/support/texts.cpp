#include "support/texts.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace Bench
{

namespace
{

namespace fs = std::filesystem;

// The regular files below a folder, in the order of their paths; `limit` bounds the walk.
std::vector<std::string> FilesBelow(const char *folder, size_t limit)
{
    std::vector<std::string> files;
    std::error_code error;
    const auto options = fs::directory_options::skip_permission_denied;
    for (fs::recursive_directory_iterator at(folder, options, error), end; !error && at != end; at.increment(error))
    {
        std::error_code ignored;
        if (!at->is_regular_file(ignored))
            continue;
        files.push_back(at->path().string());
        if (files.size() == limit)
            break;
    }
    std::sort(files.begin(), files.end());
    return files;
}

char Plain(char c)
{
    return c == '\n' || c == '\t' || (c >= ' ' && c <= '~') ? c : '?';
}

std::string ReadHeaders(size_t length)
{
    std::string text;
    for (const std::string &file : FilesBelow("/usr/include", 20000))
    {
        if (text.size() >= length)
            break;
        std::ifstream stream(file, std::ios::binary);
        std::transform(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>(),
                       std::back_inserter(text), Plain);
    }
    return text;
}

} // namespace

std::string CRandom::Name(uint32_t length)
{
    static const char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789_-.";
    std::string text;
    for (uint32_t i = 0; i < length; ++i)
        text += kLetters[Below(sizeof(kLetters) - 1)];
    return text;
}

std::string HeaderText(size_t length)
{
    static const std::string headers = ReadHeaders(7000000);
    if (headers.empty())
        return Words(length);
    std::string text;
    while (text.size() < length)
        text.append(headers, 0, length - text.size());
    return text;
}

std::string Words(size_t length)
{
    CRandom random;
    std::string text;
    while (text.size() < length)
    {
        for (uint32_t letters = 2 + random.Below(8); letters != 0; --letters)
            text += static_cast<char>((random.Below(8) == 0 ? 'A' : 'a') + static_cast<char>(random.Below(26)));
        text += ' ';
    }
    text.resize(length);
    if (length != 0)
        text.back() = 'z';
    return text;
}

std::vector<std::string> Paths(size_t count)
{
    std::vector<std::string> paths = FilesBelow("/usr", 2 * count);
    CRandom random;
    while (paths.size() < count)
        paths.push_back("/usr/lib/" + random.Name(10) + "/lib" + random.Name(8) + ".so." + random.Name(1));
    for (size_t i = paths.size(); i > 1; --i)
        std::swap(paths[i - 1], paths[random.Below(static_cast<uint32_t>(i))]);
    paths.resize(count);
    return paths;
}

std::vector<std::string> Names(size_t count)
{
    CRandom random;
    std::vector<std::string> names;
    for (size_t i = 0; i < count; ++i)
        names.push_back(random.Name(5 + random.Below(25)));
    return names;
}

std::string Replaced(std::string text, char from, char to)
{
    std::replace(text.begin(), text.end(), from, to);
    return text;
}

} // namespace Bench
