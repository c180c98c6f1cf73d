#include "child_process.h"

#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

#include "test_port.h"

#if defined(_WIN32)
#include <io.h>
#else
#include <sys/wait.h>
#endif

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

#if defined(_WIN32)

namespace
{

// What a process ends with that a signal ended: the system's name of a breakpoint, and one for all others.
constexpr DWORD kEndedByTrap = 0x80000003u;
constexpr DWORD kEndedBySignal = 0xE0000000u;

// The number of the call, within its test, whose body a child is to run.
constexpr char kCallVariable[] = "QV_TEST_CHILD_CALL";

int CallWithinTest()
{
    static const ::testing::TestInfo *s_Test = nullptr;
    static int s_Calls = 0;
    const ::testing::TestInfo *const test = ::testing::UnitTest::GetInstance()->current_test_info();
    s_Calls = test == s_Test ? s_Calls + 1 : 1;
    s_Test = test;
    return s_Calls;
}

// Starts this program with the present test alone. Returns: what it ended with.
DWORD RunTestAgain(int call, HANDLE errors)
{
    const ::testing::TestInfo &test = *::testing::UnitTest::GetInstance()->current_test_info();
    std::string command = "tests --gtest_also_run_disabled_tests --gtest_brief=1 --gtest_filter=";
    command += std::string(test.test_suite_name()) + "." + test.name();
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, MAX_PATH);
    SetEnvironmentVariableA(kCallVariable, std::to_string(call).c_str());
    // Of one test, all but the first of several processes that share them would run none.
    SetEnvironmentVariableA("GTEST_TOTAL_SHARDS", nullptr);
    SetEnvironmentVariableA("GTEST_SHARD_INDEX", nullptr);
    SetHandleInformation(errors, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    STARTUPINFOA start = {};
    start.cb = sizeof(start);
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdError = errors;
    PROCESS_INFORMATION process = {};
    DWORD code = ~DWORD(0);
    if (CreateProcessA(program, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &process))
    {
        WaitForSingleObject(process.hProcess, INFINITE);
        GetExitCodeProcess(process.hProcess, &code);
        CloseHandle(process.hProcess);
        CloseHandle(process.hThread);
    }
    SetEnvironmentVariableA(kCallVariable, nullptr);
    return code;
}

} // namespace

// There are no copies of a process: the child is this program anew, which runs the same test up to the same call.
SChildResult RunInChild(const std::function<int()> &body)
{
    SChildResult result = {-1, 0, std::string()};
    const int call = CallWithinTest();
    if (const char *const wanted = std::getenv(kCallVariable))
    {
        if (std::atoi(wanted) != call)
            return result;
        std::signal(SIGABRT, [](int signal)
                    { TerminateProcess(GetCurrentProcess(), kEndedBySignal + static_cast<DWORD>(signal)); });
        std::exit(body());
    }
    std::FILE *const errors = std::tmpfile();
    if (errors == nullptr)
    {
        ADD_FAILURE() << "no temporary file";
        return result;
    }
    const DWORD code = RunTestAgain(call, reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(errors))));
    if (code == kEndedByTrap)
        result.m_Signal = SIGTRAP;
    else if (code >= kEndedBySignal)
        result.m_Signal = static_cast<int>(code - kEndedBySignal);
    else
        result.m_ExitCode = static_cast<int>(code);
    result.m_Stderr = ReadFromStart(errors);
    std::fclose(errors);
    return result;
}

#else

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

#endif

} // namespace QuorvaneTest
