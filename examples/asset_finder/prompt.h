// Asks for a line at the terminal: with line editing and a history where the program is built with libedit
// (ASSET_FINDER_LIBEDIT is 1), else as the terminal itself reads lines.
#pragma once

#include <string>

namespace AssetFinder
{

// True when somebody sits there to ask: both standard input and standard output are terminals.
bool CanPrompt();

// Returns: false at the end of the input.
bool Prompt(const char *prompt, std::string &line);

} // namespace AssetFinder
