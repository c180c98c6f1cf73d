// A model checker for the library's own code: runs a program of a few threads in every way in which the memory model of
// C++ lets it run, and looks for what must not happen.
//
//     struct SCopyAndDrop                                      // in a source that is compiled for the checker
//     {
//         CString m_Strings[2] = {"shared", m_Strings[0]};     // built anew for each execution, before the threads
//         void Run(u32 thread) { m_Strings[thread] = CString(); }
//         void Finish() {}                                     // when both have ended; then the destructor runs
//     };
//     TProgramOf<SCopyAndDrop> program(2);
//     const SOutcome outcome = Explore(program);
//     EXPECT_EQ(outcome.m_Fault, "");
//
// What it runs
//     The library's sources as they are, not a copy of them: they are compiled once more with -fsanitize=thread, by which
//     the compiler calls a function at each access to memory, and tells each atomic operation with its order. Those
//     functions are the checker's here (instrumentation.cpp), not the sanitizer's. So neither a header nor a memory order is
//     replaced, and what is checked is what compilers are told.
//
// What it finds
//     Races of plain accesses, by what happens before what; use of a block after it was freed, or of memory that is no
//     block's; a block that is freed twice, or never; reports of assertions; threads that wait for ever; and whatever a
//     program itself requires by Require.
//
// How it enumerates
//     Two runs that differ only in how threads take turns, and in which every read takes its value from the same write and
//     the writes to each word come in the same order, are one execution. Each execution is run exactly once. A run follows
//     an execution graph (execution_graph.h) as far as that goes, and then adds events thread by thread; wherever a read
//     may have another source, or a write another place, that is a graph for a later run. A write may also have been what
//     an earlier read, of another thread, should have read: then what came after that read, and does not lead to the write,
//     is undone. Which of several such graphs may do so is decided so that none comes twice and nothing needs to be
//     remembered:
//         Kokologiannakis, Marmanis, Gladstein, Vafeiadis: Truly Stateless, Optimal Dynamic Partial Order Reduction.
//         POPL 2022.
//     The checker itself is checked against the axioms of the model, on random programs (axiomatic_model.h), and by litmus
//     tests with known answers (litmus_test.cpp).
//
// What the model does not cover
//     Values out of thin air, and with them reads of writes that come later in a cycle of program order and dependencies
//     (load buffering); fences, which the library has none of, and consume. What compilers and processors make of the
//     operations is taken to be what the standard asks for. The one instruction that is written out (DecIsZero in
//     kr_atomic.h, where no sanitizer looks on) is checked as the plain decrement that it stands for. Words outside of the
//     memory that is checked, such as the library's settings, do not change while threads run.
//
// Programs must take the same steps whenever they read the same values: no time, no chance, no addresses from elsewhere.
#pragma once

#include <new>
#include <string>

#include "checked_memory.h"

namespace QuorvaneTest::Concurrency
{

class CProgram
{
public:
    explicit CProgram(u32 threads) : m_Threads(threads) {}
    virtual ~CProgram() = default;
    CProgram(const CProgram &) = delete;
    CProgram &operator=(const CProgram &) = delete;

    u32 Threads() const { return m_Threads; }

    // Before the threads of an execution begin, and when all of them have ended.
    virtual void SetUp() = 0;
    virtual void Finish() = 0;
    // What a thread does.
    virtual void Run(u32 thread) = 0;

private:
    u32 m_Threads;
};

struct SOutcome
{
    u64 m_Executions = 0; // that came to their end
    u64 m_Blocked = 0;    // in which a thread waits for what another execution lets it have
    std::string m_Fault;  // the first that was found, with its execution; empty for none
};

enum EAccess : u8
{
    Access_Load,
    Access_Store,
    Access_Exchange,
    Access_Add,
    Access_Subtract,
    Access_And,
    Access_Or,
    Access_Xor,
    Access_CompareExchange,
};

// A mistake that all operations of a kind are made with, to see that it is found.
enum EMistake : u8
{
    Mistake_None,
    Mistake_Relaxed,       // no order
    Mistake_OnlyAcquire,   // nothing is released
    Mistake_OnlyRelease,   // nothing is acquired
    Mistake_NotSequential, // acquires and releases, but is in no order with others
    Mistake_NotAtomic,     // a read and a write, between which others may write
    Mistake_ReadAgain,     // answers what a second read finds, one step late
};

struct SMistake
{
    EMistake m_What;
    EAccess m_Access;
    u32 m_Bytes;
    // Of which words only, by their place in 16 bytes; all of them otherwise.
    u32 m_Offset = ~0u;
};

struct SOptions
{
    std::vector<SMistake> m_Mistakes;
    // A thread that lets others go first waits for them: where it does nothing but read between one time and the next. Else
    // it goes on.
    bool m_YieldsWait = true;
    // More executions than this are a fault.
    u64 m_MaxExecutions = 10000000;
};

// Runs all executions of a program, up to the first fault.
SOutcome Explore(CProgram &program, const SOptions &options = SOptions());

// For programs: what must hold. What does not is a fault, and ends the execution where it stands.
void Require(bool holds, const char *what);

// A fault, for code that has to come back from its report.
void ReportLater(const char *what);

// The execution that has just come to its end: for Finish.
const CExecutionGraph &CurrentExecution();

// A program whose state is built in checked memory.
template <typename TState>
class TProgramOf : public CProgram
{
public:
    using CProgram::CProgram;

    void SetUp() override
    {
        void *const room = CCheckedMemory::Get().Allocate(CCheckedMemory::kMainThread, sizeof(TState), 64);
        m_State = ::new (room) TState();
    }
    void Run(u32 thread) override { m_State->Run(thread); }
    void Finish() override
    {
        m_State->Finish();
        m_State->~TState();
        CCheckedMemory::Get().Free(m_State, {CCheckedMemory::kMainThread, 0}, SClock());
        Require(CCheckedMemory::Get().LiveBlocks() == 0, "all blocks are freed");
    }

private:
    TState *m_State = nullptr;
};

} // namespace QuorvaneTest::Concurrency
