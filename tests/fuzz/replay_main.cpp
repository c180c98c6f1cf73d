// Runs a fuzz target on files, where the compiler brings no fuzzer of its own: on every file named, and on all files of
// every folder named.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace
{

namespace fs = std::filesystem;

bool Replay(const fs::path &path)
{
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file)
    {
        std::fprintf(stderr, "%s: cannot be read\n", path.c_str());
        return false;
    }
    std::printf("%s\n", path.c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
    return true;
}

std::vector<fs::path> FilesOf(const fs::path &path)
{
    if (!fs::is_directory(path))
        return {path};
    std::vector<fs::path> files;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(path))
        if (entry.is_regular_file())
            files.push_back(entry.path());
    return files;
}

} // namespace

int main(int argc, char **argv)
{
    std::size_t count = 0;
    bool good = true;
    for (int i = 1; i < argc; ++i)
    {
        for (const fs::path &file : FilesOf(argv[i]))
        {
            good = Replay(file) && good;
            ++count;
        }
    }
    std::printf("%zu inputs\n", count);
    return good && count != 0 ? 0 : 1;
}
