// Runs a fuzz target where the compiler brings no fuzzer of its own: on every file named, on all files of every folder
// named; and, where that is asked for, on inputs made of those by chance (support/blind_inputs.h).
//
//     matching_fuzz [--inputs=<count>] [--from=<number>] [--kept=<prefix>] <file or folder>...
//
// Inputs have numbers, from 0 or `from` on; with the same files each is the same again. One that ends the program, or that
// runs when somebody ends it, is kept as <prefix>input-<number>.
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "support/blind_inputs.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace
{

namespace fs = std::filesystem;
using namespace QuorvaneFuzz;

struct SArguments
{
    std::uint64_t m_Inputs = 0;
    std::uint64_t m_From = 0;
    std::string m_Kept;
    std::vector<fs::path> m_Paths;
};

// ---- What runs ---------------------------------------------------------------------------------------------------------

struct SRunning
{
    std::string m_Name;
    // Of an input that is in no file.
    CInputBytes m_Bytes;
};
SRunning s_Running;

// The program is about to end, and was in the library or in the target, not in what is called here.
extern "C" void KeepInput(int signal)
{
    std::FILE *const file = s_Running.m_Bytes.empty() ? nullptr : std::fopen(s_Running.m_Name.c_str(), "wb");
    if (file != nullptr)
    {
        std::fwrite(s_Running.m_Bytes.data(), 1, s_Running.m_Bytes.size(), file);
        std::fclose(file);
    }
    std::fprintf(stderr, "signal %d while this ran: %s\n", signal, s_Running.m_Name.c_str());
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

// ---- Files -------------------------------------------------------------------------------------------------------------

bool ReadFile(const fs::path &path, CInputBytes &bytes)
{
    std::ifstream file(path, std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    if (!file)
        std::fprintf(stderr, "%s: cannot be read\n", path.string().c_str());
    return static_cast<bool>(file);
}

std::vector<fs::path> FilesOf(const fs::path &path)
{
    if (!fs::is_directory(path))
        return {path};
    std::vector<fs::path> files;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(path))
        if (entry.is_regular_file())
            files.push_back(entry.path());
    // Folders give them in any order.
    std::sort(files.begin(), files.end());
    return files;
}

SInputParts Run(const CInputBytes &bytes)
{
    SNotedInput noted;
    CInput::NoteIn(&noted);
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    CInput::NoteIn(nullptr);
    return noted.m_Parts;
}

bool Replay(const fs::path &path, CBlindInputs &inputs)
{
    CInputBytes bytes;
    if (!ReadFile(path, bytes))
        return false;
    s_Running.m_Name = path.string();
    for (const CInputBytes &part : ShortInputs(bytes, Run(bytes)))
        inputs.Add(part, Run(part));
    return true;
}

// ---- Inputs by chance --------------------------------------------------------------------------------------------------

void RunInputs(const SArguments &arguments, const CBlindInputs &inputs)
{
    std::uint64_t bytes = 0;
    const auto begin = std::chrono::steady_clock::now();
    const std::uint64_t end = arguments.m_From + arguments.m_Inputs;
    for (std::uint64_t number = arguments.m_From; number != end; ++number)
    {
        s_Running.m_Name = arguments.m_Kept + "input-" + std::to_string(number);
        s_Running.m_Bytes = inputs.Make(number);
        bytes += s_Running.m_Bytes.size();
        LLVMFuzzerTestOneInput(s_Running.m_Bytes.data(), s_Running.m_Bytes.size());
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    std::printf("from %llu on %llu inputs of %.1f bytes in %.1f seconds\n",
                static_cast<unsigned long long>(arguments.m_From), static_cast<unsigned long long>(arguments.m_Inputs),
                static_cast<double>(bytes) / static_cast<double>(arguments.m_Inputs), seconds.count());
}

// ---- The command -------------------------------------------------------------------------------------------------------

// What stands behind `name`, or null.
const char *ValueOf(const char *argument, const char *name)
{
    const std::size_t length = std::strlen(name);
    return std::strncmp(argument, name, length) == 0 ? argument + length : nullptr;
}

SArguments ReadArguments(int argc, char **argv)
{
    SArguments arguments;
    for (int i = 1; i < argc; ++i)
    {
        if (const char *const count = ValueOf(argv[i], "--inputs="))
            arguments.m_Inputs = std::strtoull(count, nullptr, 10);
        else if (const char *const number = ValueOf(argv[i], "--from="))
            arguments.m_From = std::strtoull(number, nullptr, 10);
        else if (const char *const prefix = ValueOf(argv[i], "--kept="))
            arguments.m_Kept = prefix;
        else
            arguments.m_Paths.emplace_back(argv[i]);
    }
    return arguments;
}

} // namespace

int main(int argc, char **argv)
{
    for (const int signal : {SIGABRT, SIGSEGV, SIGILL, SIGFPE, SIGTERM, SIGINT})
        std::signal(signal, &KeepInput);
    const SArguments arguments = ReadArguments(argc, argv);
    CBlindInputs inputs;
    std::size_t count = 0;
    bool good = true;
    for (const fs::path &path : arguments.m_Paths)
    {
        for (const fs::path &file : FilesOf(path))
        {
            good = Replay(file, inputs) && good;
            ++count;
        }
    }
    std::printf("%zu files\n", count);
    if (arguments.m_Inputs != 0)
        RunInputs(arguments, inputs);
    return good && count != 0 ? 0 : 1;
}
