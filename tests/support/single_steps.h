// Runs a piece of a test one machine instruction at a time, and something else between two of them, as another thread would
// that the system lets run just then. So a race is no matter of luck: each moment there is can be tried.
//
// What runs in between runs in a handler of a signal, on the same thread: it must wait for nothing that was interrupted.
#pragma once

#if defined(__linux__) && defined(__x86_64__)
#define QV_TEST_HAS_SINGLE_STEPS 1
#else
#define QV_TEST_HAS_SINGLE_STEPS 0
#endif
#define QV_TEST_NO_SINGLE_STEPS "no way is known here to run a program step by step"

#if QV_TEST_HAS_SINGLE_STEPS

#include <csignal>

#include <ucontext.h>

#include "qv_defs.h"

namespace QuorvaneTest
{

class CSingleSteps
{
public:
    // Called in front of an instruction. Returns: whether the next one is to be told of, too; if not, what is left of the
    // work runs as ever.
    using FBefore = bool (*)(const Quorvane::u8 *instruction);

    // Returns: how many instructions it was called for.
    template <typename Work>
    static Quorvane::u64 Run(FBefore before, const Work &work)
    {
        s_Before = before;
        s_Steps = 0;
        struct sigaction action = {};
        action.sa_sigaction = &_Step;
        action.sa_flags = SA_SIGINFO;
        struct sigaction former = {};
        sigaction(SIGTRAP, &action, &former);
        // The trap flag. What lies below the stack's end may be in use by the caller.
        __asm__ volatile("lea -128(%%rsp), %%rsp\n\t"
                         "pushfq\n\t"
                         "orq $0x100, (%%rsp)\n\t"
                         "popfq\n\t"
                         "lea 128(%%rsp), %%rsp"
                         :
                         :
                         : "memory", "cc");
        work();
        s_Before = nullptr;
        sigaction(SIGTRAP, &former, nullptr);
        return s_Steps;
    }

    // Whether an instruction changes a word of memory in one step for all threads: LOCK, or XCHG, which needs no prefix.
    // INC, and OR of a byte, are those by which the compiler counts what is covered: no code here decides by what they leave.
    static bool IsAtomic(const Quorvane::u8 *instruction)
    {
        const bool isLocked = *instruction == kLock;
        const Quorvane::u8 *const code = _BehindPrefixes(instruction + (isLocked ? 1 : 0));
        const bool isInc = code[0] == 0xFF && (code[1] & 0x38) == 0;
        const bool isOrOfByte = code[0] == 0x08;
        return isLocked ? !isInc && !isOrOfByte : code[0] == 0x87 && code[1] < 0xC0;
    }

    // Whether it does so only if the word is what it was: LOCK CMPXCHG.
    static bool IsCompareExchange(const Quorvane::u8 *instruction)
    {
        const Quorvane::u8 *const code = _BehindPrefixes(instruction + 1);
        return *instruction == kLock && code[0] == 0x0F && code[1] == 0xB1;
    }

private:
    static constexpr Quorvane::u8 kLock = 0xF0;

    // Of wider operands and further registers.
    static const Quorvane::u8 *_BehindPrefixes(const Quorvane::u8 *code)
    {
        return (*code & 0xF0) == 0x40 ? code + 1 : code;
    }

    static void _Step(int, siginfo_t *, void *context)
    {
        greg_t(&registers)[NGREG] = static_cast<ucontext_t *>(context)->uc_mcontext.gregs;
        const bool goesOn = s_Before != nullptr && s_Before(reinterpret_cast<const Quorvane::u8 *>(registers[REG_RIP]));
        s_Steps = s_Steps + (s_Before != nullptr ? 1 : 0);
        if (!goesOn)
            registers[REG_EFL] &= ~greg_t(0x100);
    }

    static inline FBefore volatile s_Before = nullptr;
    static inline Quorvane::u64 volatile s_Steps = 0;
};

} // namespace QuorvaneTest

#endif
