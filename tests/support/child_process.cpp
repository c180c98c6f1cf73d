#include "child_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

namespace QuorvaneTest
{

namespace
{

std::string ReadFromStart(std::FILE *file)
{
    std::string text;
    std::rewind(file);
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file))
        text += static_cast<char>(c);
    return text;
}

} // namespace

SChildResult RunInChild(const std::function<int()> &body)
{
    SChildResult result = {-1, 0, std::string()};
    // A file rather than a pipe: the child can write any amount without a reader.
    std::FILE *errors = std::tmpfile();
    if (errors == nullptr)
    {
        ADD_FAILURE() << "no temporary file";
        return result;
    }
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0)
    {
        dup2(fileno(errors), STDERR_FILENO);
        std::exit(body());
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child)
        ADD_FAILURE() << "no child process";
    else if (WIFEXITED(status))
        result.m_ExitCode = WEXITSTATUS(status);
    else if (WIFSIGNALED(status))
        result.m_Signal = WTERMSIG(status);
    result.m_Stderr = ReadFromStart(errors);
    std::fclose(errors);
    return result;
}

} // namespace QuorvaneTest
