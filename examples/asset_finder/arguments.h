// The program's arguments.
#pragma once

#include <optional>
#include <vector>

#include "finder.h"
#include "kr_string.h"
#include "patterns.h"

namespace AssetFinder
{

// The source that stands for lines on standard input.
constexpr char kStandardInput[] = "-";

struct SArguments
{
    Quorvane::CString m_Source = "/usr/share"; // a folder, or kStandardInput
    bool m_FollowLinks = false;
    SPatterns m_Patterns;
    std::optional<Quorvane::CString> m_RulesFile;

    std::vector<Quorvane::CString> m_Queries;
    SFindOptions m_Find;

    bool m_Report = false;
    bool m_Time = false;
    bool m_NoProgress = false;
};

// Reads and checks all of them; says on stderr what is wrong with them, or on stdout what help was asked for.
// Returns: nothing to go on, else the code to leave with: 0 after help, `kExitWrongArguments` otherwise.
std::optional<int> ReadArguments(int argc, char **argv, SArguments &arguments);

constexpr int kExitDone = 0;
constexpr int kExitNotFinished = 1;
constexpr int kExitWrongArguments = 2;

} // namespace AssetFinder
