// Where platforms differ: what a terminal is, how paths are written, and how arguments arrive.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#if defined(_WIN32)
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>

#include <io.h>
#include <shellapi.h>
#else
#include <unistd.h>
#endif

#include "kr_string.h"

namespace AssetFinder
{

#if defined(_WIN32)

constexpr char kEndOfInputKeys[] = "Ctrl-Z and Enter";
// Whether a backslash parts folders, as a slash does.
constexpr bool kBackslashParts = true;

inline bool IsTerminal(std::FILE *stream)
{
    return _isatty(_fileno(stream)) != 0;
}

// Whether what is left of a path without the slashes at its end needs one: a drive alone is its folder of the moment.
inline bool IsTopmost(const Quorvane::CString &stripped)
{
    return stripped.Empty() || (stripped.Length() == 2 && stripped[1] == ':');
}

// A character of a stream that no other thread reads.
inline int NextCharacter(std::FILE *stream)
{
    return _getc_nolock(stream);
}

// The system writes paths in UTF-16.
inline std::string InUtf8(const std::filesystem::path &path)
{
    return path.u8string();
}

// The arguments in UTF-8, however the program was started: main gets them in the code page of the system.
inline std::vector<std::string> Utf8Arguments(int argc, char **argv)
{
    int count = 0;
    wchar_t **const wide = CommandLineToArgvW(GetCommandLineW(), &count);
    if (wide == nullptr)
        return std::vector<std::string>(argv, argv + argc);
    std::vector<std::string> arguments;
    for (int i = 0; i < count; ++i)
        arguments.push_back(std::filesystem::path(wide[i]).u8string());
    LocalFree(wide);
    return arguments;
}

#else

constexpr char kEndOfInputKeys[] = "Ctrl-D";
constexpr bool kBackslashParts = false;

inline bool IsTerminal(std::FILE *stream)
{
    return isatty(fileno(stream)) == 1;
}

// Whether what is left of a path without the slashes at its end needs one.
inline bool IsTopmost(const Quorvane::CString &stripped)
{
    return stripped.Empty();
}

// A character of a stream that no other thread reads: asking for its lock each time takes as long as all else.
inline int NextCharacter(std::FILE *stream)
{
    return getc_unlocked(stream);
}

inline const std::string &InUtf8(const std::filesystem::path &path)
{
    return path.native();
}

inline std::vector<std::string> Utf8Arguments(int argc, char **argv)
{
    return std::vector<std::string>(argv, argv + argc);
}

#endif

} // namespace AssetFinder
