// Rules for a catalogue: which files it keeps, and what it calls them.
//
// Rules come from a text file, one on a line:
//
//     exclude suffix .bak nocase      // comments of both kinds may stand anywhere but inside quotes
//     rename " " "_"
//     casing lower
//
// RulesHelp() says what each one does. A line with a mistake is reported and left out; the others hold.
#pragma once

#include <vector>

#include "kr_string.h"

namespace AssetFinder
{

// The part of a name that a test looks at.
enum ENamePart
{
    NamePart_Prefix,
    NamePart_Suffix,
};

struct SNameTest
{
    ENamePart m_Part = NamePart_Prefix;
    Quorvane::CString m_Text;
    Quorvane::ECaseSensitivity m_CaseSensitivity = Quorvane::CaseSensitive;

    bool Matches(const Quorvane::CString &name) const;
};

struct SRenaming
{
    Quorvane::CString m_From;
    Quorvane::CString m_To;
};

// Each kind in the order of the file. Without any rule every name is kept as it is.
struct SRules
{
    std::vector<SNameTest> m_Includes;
    std::vector<SNameTest> m_Excludes;
    std::vector<SRenaming> m_Renamings;
    std::vector<Quorvane::ECasingType> m_Casings;

    Quorvane::u64 Count() const;

    // True when an include matches, or there is none, and no exclude matches.
    bool Keeps(const Quorvane::CString &name) const;

    // The name after all renamings, or after all casings. One that does not change is given back as the same handle, so
    // that its characters stay shared. A renaming that would leave nothing of a name leaves it as it was.
    Quorvane::CString Renamed(const Quorvane::CString &name) const;
    Quorvane::CString Recased(const Quorvane::CString &name) const;
};

struct SRuleMistake
{
    Quorvane::u32 m_Line; // the first line is 1
    Quorvane::CString m_What;
};

struct SRulesFile
{
    Quorvane::CString m_Path;
    SRules m_Rules;
    std::vector<SRuleMistake> m_Mistakes;
};

// Reads the rules in a text without embedded terminators; each mistake costs its own line.
void ParseRules(const Quorvane::CString &text, SRules &rules, std::vector<SRuleMistake> &mistakes);

// The same for the file at `file.m_Path`. Returns: why it cannot be read, empty when it was.
Quorvane::CString ReadRulesFile(SRulesFile &file);

// What a rules file may hold, for people.
const char *RulesHelp();

} // namespace AssetFinder
