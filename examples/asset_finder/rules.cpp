// Reading rules, and applying them to names.
//
// Comments are blanked in the text as a whole, which keeps every line at its number. Each line is then taken apart into
// words, and the first word's form says what to do with them. Functions that may find a mistake return what is wrong,
// and nothing when all is well.
#include "rules.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "text.h"

using namespace Quorvane;

namespace AssetFinder
{

namespace
{

typedef std::vector<CString> CWords;

constexpr char kBlanks[] = " \t\v\f";
constexpr char kLineEnds[] = "\r\n";
constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";
// Stands behind the text while comments are blanked, and survives unless the last one is not closed. A backslash at
// the end of the text makes the first newline part of a comment, but not the second one.
constexpr char kEndMark[] = "\n\n.";
constexpr u32 kMaxFileLength = 16 * 1024 * 1024;

CString Quoted(const CString &text)
{
    return "\"" + Printable(text) + "\"";
}

constexpr const char *kSlashMistake = "a slash is in no name: ";

bool HoldsSlash(const CString &text)
{
    return CStringView(text).FindFirstOf('/').Valid();
}

// ---- Lines and words

// The lines of a text, numbered from 1. A newline, a carriage return, or the two together end a line.
class CLines
{
public:
    explicit CLines(const CStringView &text) : m_Rest(text) {}

    // False when there are no more lines.
    bool Next(CStringView &line);
    // Of the line given last.
    u32 Number() const { return m_Number; }

private:
    CStringView m_Rest;
    u32 m_Number = 0;
};

bool CLines::Next(CStringView &line)
{
    if (m_Rest.Empty())
        return false;
    const CGuid end = m_Rest.FindFirstOf(kLineEnds);
    line = end.Valid() ? m_Rest.Slice(0, end) : m_Rest;
    m_Rest = m_Rest.Slice(line.Length());
    m_Rest = m_Rest.Slice(m_Rest.StartsWith("\r\n") ? 2 : 1);
    ++m_Number;
    return true;
}

// `line` begins with a quote. Returns: the index of the one that closes it, the line's length when there is none.
u32 FindClosingQuote(const CStringView &line)
{
    for (u32 i = 1; i < line.Length(); ++i)
    {
        if (line[i] == '"')
            return i;
        if (line[i] == '\\')
            ++i;
    }
    return line.Length();
}

CString TakeQuotedWord(CStringView &line, CString &word)
{
    const u32 end = FindClosingQuote(line);
    if (end == line.Length())
        return "a quote is not closed";
    word = line.Slice(1, end - 1).ToString().Unescape();
    line = line.Slice(end + 1);
    const bool goesOn = !line.Empty() && line.StripLeft(kBlanks).Length() == line.Length();
    return goesOn ? "no blank behind a closing quote" : "";
}

// Quotes hide a comment's start, so in such a word they are more likely a slip than meant.
CString TakeBareWord(CStringView &line, CString &word)
{
    const CGuid end = line.FindFirstOf(kBlanks);
    const CStringView bare = end.Valid() ? line.Slice(0, end) : line;
    word = bare.ToString();
    line = line.Slice(bare.Length());
    if (bare.FindFirstOf("\"'").Valid())
        return "a quote in a word without quotes around it: " + Quoted(word);
    word.Unescape();
    return "";
}

CString SplitIntoWords(CStringView line, CWords &words)
{
    for (line = line.Strip(kBlanks); !line.Empty(); line = line.StripLeft(kBlanks))
    {
        CString word;
        const CString mistake = line[0] == '"' ? TakeQuotedWord(line, word) : TakeBareWord(line, word);
        if (!mistake.Empty())
            return mistake;
        words.push_back(word);
    }
    return "";
}

// ---- The rules, each given the words of its line

// What is wrong with a text to look for in names.
CString ObjectionToPattern(const CString &text)
{
    if (text.Empty())
        return "an empty text is in every name";
    return HoldsSlash(text) ? kSlashMistake + Quoted(text) : "";
}

CString ReadTest(const CWords &words, std::vector<SNameTest> &tests)
{
    const CString &part = words[1];
    if (part != "prefix" && part != "suffix")
        return "neither prefix nor suffix: " + Quoted(part);
    const bool hasOption = words.size() == 4;
    if (hasOption && words[3] != "nocase")
        return "unknown option " + Quoted(words[3]);
    const CString objection = ObjectionToPattern(words[2]);
    if (!objection.Empty())
        return objection;
    tests.push_back(
        {part == "prefix" ? NamePart_Prefix : NamePart_Suffix, words[2], hasOption ? CaseInsensitive : CaseSensitive});
    return "";
}

CString ReadInclude(const CWords &words, SRules &rules)
{
    return ReadTest(words, rules.m_Includes);
}

CString ReadExclude(const CWords &words, SRules &rules)
{
    return ReadTest(words, rules.m_Excludes);
}

CString ReadRename(const CWords &words, SRules &rules)
{
    const CString objection = ObjectionToPattern(words[1]);
    if (!objection.Empty())
        return objection;
    if (HoldsSlash(words[2]))
        return kSlashMistake + Quoted(words[2]);
    rules.m_Renamings.push_back({words[1], words[2]});
    return "";
}

CString ReadCasing(const CWords &words, SRules &rules)
{
    if (words[1] == "lower")
        rules.m_Casings.push_back(CasingType_Lowercase);
    else if (words[1] == "upper")
        rules.m_Casings.push_back(CasingType_Uppercase);
    else if (words[1] == "mixed")
        rules.m_Casings.push_back(CasingType_Mixed);
    else
        return "unknown casing " + Quoted(words[1]);
    return "";
}

struct SRuleForm
{
    const char *m_Name;
    const char *m_Usage;
    std::size_t m_LeastWords;
    std::size_t m_MostWords;
    CString (*m_Read)(const CWords &words, SRules &rules);
};

constexpr SRuleForm kRuleForms[] = {
    {"include", "include prefix|suffix TEXT [nocase]", 3, 4, &ReadInclude},
    {"exclude", "exclude prefix|suffix TEXT [nocase]", 3, 4, &ReadExclude},
    {"rename", "rename FROM TO", 3, 3, &ReadRename},
    {"casing", "casing lower|upper|mixed", 2, 2, &ReadCasing},
};

CString ReadRule(const CWords &words, SRules &rules)
{
    for (const SRuleForm &form : kRuleForms)
    {
        if (words[0] != form.m_Name)
            continue;
        const bool fits = words.size() >= form.m_LeastWords && words.size() <= form.m_MostWords;
        return fits ? form.m_Read(words, rules) : CString("wanted: ") + form.m_Usage;
    }
    return "unknown rule " + Quoted(words[0]);
}

CString ReadLine(const CStringView &line, SRules &rules)
{
    CWords words;
    const CString mistake = SplitIntoWords(line, words);
    return mistake.Empty() && !words.empty() ? ReadRule(words, rules) : mistake;
}

// ---- Files

CString ReadTextFile(const CString &path, CString &text)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(path.CStr(), "rb"), &std::fclose);
    if (file == nullptr)
        return std::strerror(errno);
    char block[4096];
    while (const std::size_t length = std::fread(block, 1, sizeof(block), file.get()))
    {
        if (std::memchr(block, 0, length) != nullptr)
            return "is not a text file";
        text.Append(CStringView(block, checked_numcast<u32>(length)));
        if (text.Length() > kMaxFileLength)
            return "is too large";
    }
    return std::ferror(file.get()) != 0 ? std::strerror(errno) : "";
}

// The edited name where it is another one, and something is left of it; else the very handle that was edited.
CString Edited(const CString &name, const CString &edited)
{
    return edited.Empty() || edited == name ? name : edited;
}

} // namespace

bool SNameTest::Matches(const CString &name) const
{
    const CStringView view(name);
    return m_Part == NamePart_Prefix ? view.StartsWith(m_Text, m_CaseSensitivity)
                                     : view.EndsWith(m_Text, m_CaseSensitivity);
}

u64 SRules::Count() const
{
    return m_Includes.size() + m_Excludes.size() + m_Renamings.size() + m_Casings.size();
}

bool SRules::Keeps(const CString &name) const
{
    const auto matches = [&name](const SNameTest &test) { return test.Matches(name); };
    const bool included = m_Includes.empty() || std::any_of(m_Includes.begin(), m_Includes.end(), matches);
    return included && std::none_of(m_Excludes.begin(), m_Excludes.end(), matches);
}

CString SRules::Renamed(const CString &name) const
{
    CString renamed = name;
    for (const SRenaming &renaming : m_Renamings)
        renamed = Edited(renamed, renamed.Replace(renaming.m_From, renaming.m_To));
    return Edited(name, renamed);
}

// A conversion gives its result characters of its own even where it changes none of them.
CString SRules::Recased(const CString &name) const
{
    CString recased = name;
    for (const ECasingType casing : m_Casings)
        recased = Edited(recased, recased.ConformedTo(casing));
    return Edited(name, recased);
}

void ParseRules(const CString &text, SRules &rules, std::vector<SRuleMistake> &mistakes)
{
    CString marked = text + kEndMark;
    marked.Uncomment();
    CStringView body = CStringView(marked).Slice(0, text.Length());
    if (body.StartsWith(kByteOrderMark))
        body = body.Slice(sizeof(kByteOrderMark) - 1);

    CLines lines(body);
    for (CStringView line; lines.Next(line);)
    {
        const CString mistake = ReadLine(line, rules);
        if (!mistake.Empty())
            mistakes.push_back({lines.Number(), mistake});
    }
    if (!CStringView(marked).EndsWith(kEndMark))
        mistakes.push_back({lines.Number(), "the file ends inside a comment"});
}

CString ReadRulesFile(SRulesFile &file)
{
    CString text;
    const CString objection = ReadTextFile(file.m_Path, text);
    if (objection.Empty())
        ParseRules(text, file.m_Rules, file.m_Mistakes);
    return objection;
}

const char *RulesHelp()
{
    return R"(Rules: a text file, one rule on a line
  include prefix|suffix TEXT [nocase]   keep files whose name begins or ends so
  exclude prefix|suffix TEXT [nocase]   leave out files whose name begins or ends so
  rename FROM TO                        replace FROM wherever it is in a name
  casing lower|upper|mixed              convert a name's ASCII letters; mixed leaves them
A file is kept when an include matches its name, or there is none, and no exclude does.
Only the name counts, not the folder. Kept names go through all renamings, then through
all casings, each in the order of the file; the files on disk stay as they are. A renaming
that would leave nothing of a name does not touch it.
// and /* */ begin comments, except in quotes; a backslash at the end of a line carries a
// comment on. Put a TEXT with blanks, quotes or comment signs in "..."; with or without
them, \" \' \\ \a \b \t \n \v \f \r are escape sequences. A line with a mistake is
reported and left out.)";
}

} // namespace AssetFinder
