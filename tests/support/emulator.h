// Whether this process runs in an emulator of another machine, and in which: environment variable QV_TEST_EMULATOR, which
// whoever starts the tests there sets to the command that runs a program, words apart by blanks.
#pragma once

#include <cstdlib>
#include <cstring>

namespace QuorvaneTest
{

// Null where the machine itself runs the program.
inline const char *EmulatorCommand()
{
    const char *const command = std::getenv("QV_TEST_EMULATOR");
    return command == nullptr || *command == '\0' ? nullptr : command;
}

// Whether each instruction is, which takes ten times as long. Wine's programs run by themselves.
inline bool InstructionsAreEmulated()
{
    const char *const command = EmulatorCommand();
    return command != nullptr && std::strstr(command, "wine") == nullptr;
}

} // namespace QuorvaneTest
