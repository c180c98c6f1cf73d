// The main function of a test program whose library has all mutants in it.
//
//     program [GoogleTest's arguments]
//         runs the tests, with the mutant that QV_MUTANT names or with none
//     program --reach=FILE [--longest=SECONDS] [--share=I/N] [GoogleTest's arguments]
//         runs each test in a process of its own without a mutant, and writes which mutants it reaches and how long it
//         takes; fails when one of them fails. One that takes longer than the longest is ended and will not be asked;
//         of N shares of the tests runs the one from 0 on
//     program --reach=FILE --mutants=FILE --results=FILE [--budget=SECONDS]
//         tries the mutants of a list, or of a part of it (mutate.py), and writes what became of each
//
// A mutant is tried in copies of this process (fork), which has done nothing but read its files: each copy takes some of
// the tests that reach the mutant where it makes a difference, and ends with the first that fails. Those come first that
// killed others lately, then the cheapest ones, of which the tests of the mutant's file count as far cheaper, and those of
// its folder as cheaper. A test that crashes, or takes far longer than without a mutant, has failed, too.
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "mutants.h"

// Of the library's tests; the runner's own test has no assertions.
#if __has_include("kr_assert.h")
#include "../support/test_set_up.h"
#endif

namespace qv_mutants
{

namespace
{

constexpr std::size_t kPage = 4096;
// What no test takes; and what one is said to take that nobody is to wait for.
constexpr double kLongest = 600;

// The test that a copy of the process runs, for the process that made it.
int *s_Test;

// How much cheaper a test counts that mirrors the mutant's file, or lies in the folder that mirrors its folder; and what
// each costs besides its own time.
constexpr double kOfSameFile = 50;
constexpr double kOfSameFolder = 8;
constexpr double kOverhead = 0.0005;

struct STest
{
    std::string m_Name;
    double m_Seconds = 0;
    std::vector<unsigned> m_Reached;
    // The file that it is a test of, without its extension, and that file's folder.
    std::string m_File;
    std::string m_Folder;
};

enum class EOutcome
{
    Passed,
    Failed,
    Died,
    TimedOut,
};

std::vector<STest> s_Tests;

void SetTimer(int kind, double seconds)
{
    itimerval timer{};
    timer.it_value.tv_sec = static_cast<time_t>(seconds);
    timer.it_value.tv_usec = static_cast<suseconds_t>((seconds - static_cast<double>(timer.it_value.tv_sec)) * 1e6);
    setitimer(kind, &timer, nullptr);
}

// Says which test runs, and ends the copy when that takes too long: by the processor's time, and by the clock, which a
// test that waits for what never comes needs.
class CListener : public ::testing::EmptyTestEventListener
{
public:
    void OnTestStart(const ::testing::TestInfo &test) override
    {
        // Behind the first that fails, the others are skipped, of which GoogleTest tells as well.
        if (s_Test == nullptr || s_Tests.empty() || ::testing::UnitTest::GetInstance()->Failed())
            return;
        const std::string name = std::string(test.test_suite_name()) + "." + test.name();
        const auto isNamed = [&](const STest &other) { return other.m_Name == name; };
        const auto found = std::find_if(s_Tests.begin(), s_Tests.end(), isNamed);
        *s_Test = static_cast<int>(found - s_Tests.begin());
        if (found == s_Tests.end() || !m_IsLimited)
            return;
        SetTimer(ITIMER_PROF, 10 * found->m_Seconds + 0.3);
        SetTimer(ITIMER_REAL, 30 * found->m_Seconds + 5);
    }

    bool m_IsLimited = false;
};

CListener *s_Listener;

double Now()
{
    timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// The processor's time that all copies took which have ended.
double Spent()
{
    rusage usage;
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto seconds = [](const timeval &time)
    { return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void Silence()
{
    const int nothing = open("/dev/null", O_RDWR);
    dup2(nothing, STDOUT_FILENO);
    dup2(nothing, STDERR_FILENO);
}

// The processor's time that a copy may take; what waits for something is ended by its parent.
void Limit(double seconds)
{
    SetTimer(ITIMER_PROF, seconds);
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    // Enough for the largest texts of the tests, and an end to a mutant that never stops asking. Addresses that are merely
    // reserved do not count.
    const rlimit memory{rlim_t{16} << 30, rlim_t{16} << 30};
    setrlimit(RLIMIT_DATA, &memory);
}

// Waits for a copy, as long as it may take by the clock.
EOutcome Wait(pid_t copy, double seconds)
{
    sigset_t childs;
    sigemptyset(&childs);
    sigaddset(&childs, SIGCHLD);
    const double end = Now() + seconds;
    int status = 0;
    bool isLate = false;
    while (waitpid(copy, &status, WNOHANG) == 0)
    {
        const double left = end - Now();
        if (left <= 0)
        {
            isLate = true;
            break;
        }
        timespec time{static_cast<time_t>(left),
                      static_cast<long>((left - static_cast<double>(static_cast<time_t>(left))) * 1e9)};
        sigtimedwait(&childs, nullptr, &time);
    }
    // What the test itself started ends with it.
    kill(-copy, SIGKILL);
    if (isLate)
    {
        waitpid(copy, &status, 0);
        return EOutcome::TimedOut;
    }
    if (WIFEXITED(status))
        return WEXITSTATUS(status) == 0 ? EOutcome::Passed : EOutcome::Failed;
    const bool isTimer = WTERMSIG(status) == SIGPROF || WTERMSIG(status) == SIGALRM;
    return isTimer ? EOutcome::TimedOut : EOutcome::Died;
}

// Runs tests in a copy of this process with a mutant, or with none.
EOutcome RunCopy(unsigned mutant, const std::string &filter, double cpuSeconds, double seconds)
{
    std::fflush(nullptr);
    const pid_t copy = fork();
    if (copy < 0)
    {
        std::perror("fork");
        std::exit(2);
    }
    if (copy == 0)
    {
        setpgid(0, 0);
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        Silence();
        Limit(cpuSeconds);
        if (mutant != 0)
        {
            // For the programs that a test starts.
            setenv("QV_MUTANT", std::to_string(mutant).c_str(), 1);
            g_Active = mutant;
            s_Listener->m_IsLimited = true;
        }
        ::testing::GTEST_FLAG(filter) = filter;
        ::testing::GTEST_FLAG(fail_fast) = true;
        const int answer = RUN_ALL_TESTS();
        // As a program ends, with all that its end runs.
        std::exit(answer);
    }
    setpgid(copy, copy);
    return Wait(copy, seconds);
}

// "Runtime/a/b.cpp" and ".../tests/a/b_test.cpp" are "a/b".
std::string MirroredFile(const std::string &file)
{
    const std::size_t tests = file.rfind("tests/");
    const std::size_t begin = file.compare(0, 8, "Runtime/") == 0 ? 8 : tests == std::string::npos ? 0 : tests + 6;
    std::string name = file.substr(begin, file.rfind('.') - begin);
    if (name.size() > 5 && name.compare(name.size() - 5, 5, "_test") == 0)
        name.resize(name.size() - 5);
    return name;
}

std::string FolderOf(const std::string &file)
{
    return file.substr(0, file.rfind('/') + 1);
}

void ListTests()
{
    const ::testing::UnitTest &all = *::testing::UnitTest::GetInstance();
    for (int suite = 0; suite < all.total_test_suite_count(); ++suite)
    {
        const ::testing::TestSuite &tests = *all.GetTestSuite(suite);
        for (int test = 0; test < tests.total_test_count(); ++test)
        {
            const std::string name = std::string(tests.name()) + "." + tests.GetTestInfo(test)->name();
            const std::string file = MirroredFile(tests.GetTestInfo(test)->file());
            if (name.find("DISABLED_") == std::string::npos)
                s_Tests.push_back({name, 0, {}, file, FolderOf(file)});
        }
    }
}

bool Matches(const char *pattern, const char *name)
{
    if (*pattern == '\0')
        return *name == '\0';
    if (*pattern == '*')
        return Matches(pattern + 1, name) || (*name != '\0' && Matches(pattern, name + 1));
    return *name != '\0' && (*pattern == '?' || *pattern == *name) && Matches(pattern + 1, name + 1);
}

// Whether GoogleTest's own filter, as given on the command line, takes a test.
bool IsTaken(const std::string &filter, const std::string &name)
{
    const std::size_t minus = filter.find('-');
    const auto isAmong = [&](const std::string &patterns)
    {
        std::istringstream rest(patterns);
        for (std::string pattern; std::getline(rest, pattern, ':');)
        {
            if (Matches(pattern.c_str(), name.c_str()))
                return true;
        }
        return false;
    };
    const std::string wanted = filter.substr(0, minus);
    return (wanted.empty() || isAmong(wanted)) && (minus == std::string::npos || !isAmong(filter.substr(minus + 1)));
}

// ---- What each test reaches ----------------------------------------------------------------------------------------

int WriteReach(const std::string &path, const std::string &filter, double longest, unsigned share, unsigned shares)
{
    std::ofstream output(path);
    int failed = 0;
    const std::vector<unsigned char> early(g_Reached, g_Reached + sizeof g_Reached);
    mmap(g_Reached, sizeof g_Reached, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
    for (std::size_t at = 0; at < s_Tests.size(); ++at)
    {
        const STest &test = s_Tests[at];
        if (at % shares != share || !IsTaken(filter, test.m_Name))
            continue;
        std::memcpy(g_Reached, early.data(), sizeof g_Reached);
        const double start = Spent();
        const EOutcome outcome = RunCopy(0, test.m_Name, longest, 600);
        const bool isLong = outcome == EOutcome::TimedOut && longest < kLongest;
        const double seconds = isLong ? kLongest : Spent() - start;
        if (outcome != EOutcome::Passed && !isLong)
        {
            std::printf("fails without a mutant: %s\n", test.m_Name.c_str());
            ++failed;
            continue;
        }
        output << test.m_Name << ' ' << seconds;
        for (unsigned number = 0; number < sizeof g_Reached; ++number)
        {
            if (g_Reached[number] != 0)
                output << ' ' << number;
        }
        output << '\n';
    }
    return failed == 0 ? 0 : 1;
}

void ReadReach(const std::string &path)
{
    std::map<std::string, std::string> files;
    for (const STest &test : s_Tests)
        files[test.m_Name] = test.m_File;
    s_Tests.clear();
    std::ifstream input(path);
    for (std::string line; std::getline(input, line);)
    {
        std::istringstream words(line);
        STest test;
        words >> test.m_Name >> test.m_Seconds;
        test.m_File = files[test.m_Name];
        test.m_Folder = FolderOf(test.m_File);
        for (unsigned number; words >> number;)
            test.m_Reached.push_back(number);
        s_Tests.push_back(std::move(test));
    }
}

// ---- Mutants -------------------------------------------------------------------------------------------------------

class CTrial
{
public:
    CTrial()
    {
        m_Reaching.resize(2 * kMostMutants);
        for (std::size_t test = 0; test < s_Tests.size(); ++test)
        {
            for (const unsigned number : s_Tests[test].m_Reached)
                m_Reaching[number].push_back(static_cast<int>(test));
        }
    }

    // Says in a line what became of a mutant of a file: killed and by which test, survived, reached but alike in all tests,
    // not reached, or out of budget.
    std::string Try(unsigned mutant, const std::string &file, double budget)
    {
        std::vector<int> tests = Ordered(mutant, file);
        if (tests.empty())
            return m_Reaching[kMostMutants + mutant].empty() ? "unreached -" : "alike -";
        double spent = 0;
        double share = 0.02;
        for (std::size_t at = 0; at < tests.size();)
        {
            if (s_Tests[static_cast<std::size_t>(tests[at])].m_Seconds >= kLongest)
                return "budget -";
            std::string filter;
            double seconds = 0;
            do
            {
                const STest &test = s_Tests[static_cast<std::size_t>(tests[at])];
                filter += (filter.empty() ? "" : ":") + test.m_Name;
                seconds += test.m_Seconds;
                ++at;
            } while (at < tests.size() && seconds + s_Tests[static_cast<std::size_t>(tests[at])].m_Seconds <= share);
            share = std::min(share * 4, std::max(budget - spent - seconds, share));
            *s_Test = -1;
            const EOutcome outcome = RunCopy(mutant, filter, 10 * seconds + 0.3, 30 * seconds + 20);
            if (outcome != EOutcome::Passed)
                return Killed(outcome);
            spent += seconds;
            if (spent > budget && at < tests.size())
                return "budget -";
        }
        return "survived -";
    }

private:
    std::vector<int> Ordered(unsigned mutant, const std::string &file) const
    {
        const std::string folder = FolderOf(file);
        std::vector<std::pair<double, int>> costs;
        for (const int number : m_Reaching[mutant])
        {
            const STest &test = s_Tests[static_cast<std::size_t>(number)];
            const double nearness = test.m_File == file ? kOfSameFile : test.m_Folder == folder ? kOfSameFolder : 1;
            costs.emplace_back((test.m_Seconds + kOverhead) / nearness, number);
        }
        std::sort(costs.begin(), costs.end());
        std::vector<int> tests;
        for (const std::pair<double, int> &cost : costs)
            tests.push_back(cost.second);
        std::stable_partition(tests.begin(), tests.end(),
                              [this](int test)
                              { return std::find(m_Lately.begin(), m_Lately.end(), test) != m_Lately.end(); });
        return tests;
    }

    std::string Killed(EOutcome outcome)
    {
        const char *const how = outcome == EOutcome::Failed ? "failed" : outcome == EOutcome::Died ? "died" : "late";
        const int test = *s_Test;
        if (test < 0 || test >= static_cast<int>(s_Tests.size()))
            return std::string(how) + " -";
        // The long ones are no short cut.
        if (s_Tests[static_cast<std::size_t>(test)].m_Seconds < 0.05)
        {
            m_Lately.erase(std::remove(m_Lately.begin(), m_Lately.end(), test), m_Lately.end());
            m_Lately.insert(m_Lately.begin(), test);
            m_Lately.resize(std::min<std::size_t>(m_Lately.size(), 12));
        }
        return std::string(how) + " " + s_Tests[static_cast<std::size_t>(test)].m_Name;
    }

    std::vector<std::vector<int>> m_Reaching;
    std::vector<int> m_Lately;
};

int TryMutants(const std::string &list, const std::string &results, double budget)
{
    CTrial trial;
    std::ifstream input(list);
    std::ofstream output(results);
    for (std::string line; std::getline(input, line);)
    {
        const unsigned mutant = static_cast<unsigned>(std::strtoul(line.c_str(), nullptr, 10));
        // The name is the last field, and begins with the file.
        const std::string name = line.substr(line.rfind('\t') + 1);
        const double start = Now();
        const std::string outcome = trial.Try(mutant, MirroredFile(name.substr(0, name.find(' '))), budget);
        output << mutant << ' ' << outcome << ' ' << Now() - start << std::endl;
    }
    return 0;
}

std::string Argument(int argc, char **argv, const std::string &name)
{
    for (int at = 1; at < argc; ++at)
    {
        if (std::strncmp(argv[at], name.c_str(), name.size()) == 0)
            return argv[at] + name.size();
    }
    return {};
}

int Main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    // The listeners own it.
    ::testing::TestEventListeners &listeners = ::testing::UnitTest::GetInstance()->listeners();
#if __has_include("kr_assert.h")
    listeners.Append(new QuorvaneTest::CTestSetUp);
#endif
    s_Listener = new CListener;
    listeners.Append(s_Listener);
    const std::string reach = Argument(argc, argv, "--reach=");
    if (reach.empty())
        return RUN_ALL_TESTS();
    s_Test = static_cast<int *>(mmap(nullptr, kPage, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    sigset_t childs;
    sigemptyset(&childs);
    sigaddset(&childs, SIGCHLD);
    sigprocmask(SIG_BLOCK, &childs, nullptr);
    const std::string mutants = Argument(argc, argv, "--mutants=");
    ListTests();
    if (mutants.empty())
    {
        const std::string longest = Argument(argc, argv, "--longest=");
        const std::string share = Argument(argc, argv, "--share=");
        unsigned which = 0;
        unsigned shares = 1;
        std::sscanf(share.c_str(), "%u/%u", &which, &shares);
        return WriteReach(reach, ::testing::GTEST_FLAG(filter), longest.empty() ? kLongest : std::atof(longest.c_str()),
                          which, shares);
    }
    ReadReach(reach);
    const std::string budget = Argument(argc, argv, "--budget=");
    return TryMutants(mutants, Argument(argc, argv, "--results="), budget.empty() ? 1e9 : std::atof(budget.c_str()));
}

} // namespace

} // namespace qv_mutants

int main(int argc, char **argv)
{
    return qv_mutants::Main(argc, argv);
}
