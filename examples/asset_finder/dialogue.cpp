// The dialogue.
#include "dialogue.h"

#include <string>

#include "answers.h"
#include "console.h"
#include "kr_string_numbers.h"
#include "platform.h"
#include "prompt.h"
#include "text.h"

using namespace Quorvane;

namespace AssetFinder
{

namespace
{

constexpr char kHelp[] = R"(A name, more or less     ranks the names by how well they match
a pattern: *.png, a?.h   lists the files that it matches; one with a slash is matched with the path
:history                 what was asked, with numbers
:3                       asks number 3 again
:help                    this
:quit, exit              ends, as )";

bool IsPattern(const CString &question)
{
    return question.FindFirstOf('*').Valid() || question.FindFirstOf('?').Valid();
}

} // namespace

bool CDialogue::Run()
{
    if (!Print(Grouped(m_Finder.Names().size()) + " names. Type one, more or less; :help says what else.\n"))
        return false;
    for (std::string line; !m_IsOver && Prompt("find> ", line);)
    {
        CString text(line.c_str());
        text.Strip(" \t");
        if (!text.Empty() && !_Answer(text))
            return false;
    }
    return m_IsOver || Print("\n");
}

bool CDialogue::_Answer(const CString &line)
{
    if (line == "exit" || line == ":quit")
    {
        m_IsOver = true;
        return true;
    }
    return line[0] == ':' ? _Obey(line) : _Ask(line);
}

bool CDialogue::_Obey(const CString &command)
{
    if (command == ":help")
        return Print(CString(kHelp) + kEndOfInputKeys + " does\n");
    if (command != ":history")
        return _AskAgain(command);
    CString text;
    for (u32 i = 0; i < m_Asked.size(); ++i)
        text += Text("%5u  ", i + 1) + Printable(m_Asked[i]) + "\n";
    return Print(text);
}

bool CDialogue::_Ask(const CString &question)
{
    m_Asked.push_back(question);
    return IsPattern(question) ? AnswerPattern(m_Finder, question, m_ShowTime)
                               : AnswerQuery(m_Finder, question, m_ShowTime);
}

bool CDialogue::_AskAgain(const CString &command)
{
    u32 number = 0;
    const bool isNumber = static_cast<bool>(ParseNumber(command.Slice(1), number));
    if (isNumber && number - 1 < m_Asked.size())
        return _Ask(CString(m_Asked[number - 1]));
    Complain("\"" + command + "\"",
             isNumber ? "nothing was asked under this number" : "no such command; :help lists them");
    return true;
}

} // namespace AssetFinder
