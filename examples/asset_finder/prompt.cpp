// The prompt.
#include "prompt.h"

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "line_reader.h"
#include "platform.h"

#if defined(ASSET_FINDER_LIBEDIT) && ASSET_FINDER_LIBEDIT
#include <editline/readline.h>
#endif

namespace AssetFinder
{

bool CanPrompt()
{
    return IsTerminal(stdin) && IsTerminal(stdout);
}

#if defined(ASSET_FINDER_LIBEDIT) && ASSET_FINDER_LIBEDIT

bool Prompt(const char *prompt, std::string &line)
{
    // The editor has to know which bytes make a character.
    static const char *const locale = std::setlocale(LC_CTYPE, "");
    static_cast<void>(locale);

    const std::unique_ptr<char, void (*)(void *)> read(readline(prompt), &std::free);
    if (read == nullptr)
        return false;
    line = read.get();
    if (!line.empty())
        add_history(line.c_str());
    return true;
}

#else

bool Prompt(const char *prompt, std::string &line)
{
    std::fputs(prompt, stdout);
    std::fflush(stdout);
    return ReadLine(stdin, line);
}

#endif

} // namespace AssetFinder
