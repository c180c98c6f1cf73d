// Runs a piece of a test in a process of its own: for what changes the process for good, and for what happens at exit.
#pragma once

#include <functional>
#include <string>

namespace QuorvaneTest
{

struct SChildResult
{
    int m_ExitCode; // -1 when a signal ended the child
    int m_Signal;   // 0 when it exited
    std::string m_Stderr;
};

// Forks, or where there is no fork, runs the test anew up to here; runs `body` in the child and exits normally with the code it returns, destructors of static objects
// included. Call it while the process has one thread. Expectations of the test framework belong into the parent.
SChildResult RunInChild(const std::function<int()> &body);

} // namespace QuorvaneTest
