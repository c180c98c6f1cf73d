// A host without strings of its own: loads and unloads a plugin with some, again and again, from several threads too, and
// sees that it goes each time and leaves nothing behind.
//
//   loader <plugin> <rounds>
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace
{

typedef int (*FUseStrings)(void);

// In kilobytes: addresses that are mapped.
unsigned long MappedKilobytes()
{
    std::FILE *const file = std::fopen("/proc/self/status", "r");
    unsigned long kilobytes = 0;
    char line[256];
    while (file != nullptr && std::fgets(line, sizeof(line), file) != nullptr)
        if (std::strncmp(line, "VmSize:", 7) == 0)
            kilobytes = std::strtoul(line + 7, nullptr, 10);
    if (file != nullptr)
        std::fclose(file);
    return kilobytes;
}

const char *LoadUseAndUnload(const char *path)
{
    void *const plugin = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (plugin == nullptr)
        return dlerror();
    const FUseStrings useStrings = reinterpret_cast<FUseStrings>(dlsym(plugin, "UseStrings"));
    if (useStrings == nullptr || useStrings() != 0)
        return "its strings are not what they should be";
    if (dlclose(plugin) != 0)
        return "it cannot be unloaded";
    return dlopen(path, RTLD_NOW | RTLD_NOLOAD) == nullptr ? nullptr : "it stays loaded";
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3)
        return 2;
    const int rounds = std::atoi(argv[2]);
    unsigned long before = 0;
    for (int round = 0; round < rounds; ++round)
    {
        const char *error = nullptr;
        if (round % 2 == 0)
            error = LoadUseAndUnload(argv[1]);
        else
            std::thread([&] { error = LoadUseAndUnload(argv[1]); }).join();
        if (error != nullptr)
        {
            std::printf("round %d: %s\n", round, error);
            return 1;
        }
        // The first rounds reach the size that all others keep.
        if (round < 10)
            before = MappedKilobytes();
    }
    const unsigned long after = MappedKilobytes();
    constexpr unsigned long kAllowed = 1024;
    if (after > before + kAllowed)
    {
        std::printf("%lu kilobytes are mapped after %d rounds, %lu after 10\n", after, rounds, before);
        return 1;
    }
    return 0;
}
