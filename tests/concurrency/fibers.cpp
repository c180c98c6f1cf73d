// Fibers: contexts of the system to begin with, and jumps from then on, which cost no system call.
#include "fibers.h"

#include <csetjmp>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <ucontext.h>

namespace QuorvaneTest::Concurrency
{

namespace
{

constexpr u32 kStackBytes = 256u << 10;
constexpr u32 kMaxKept = 4;
constexpr u32 kMaxKeptBytes = 8;

using SValue = char[kMaxKeptBytes];

// A variable of which each fiber has its own.
struct SKept
{
    void *m_Variable;
    u32 m_Bytes;
    SValue m_AtFirst;
};

struct SFiber
{
    std::unique_ptr<char[]> m_Stack;
    jmp_buf m_Begin; // at the bottom of its stack
    jmp_buf m_Place; // where it suspended itself
    bool m_IsToBegin = true;
    bool m_HasEnded = true;
    SValue m_Kept[kMaxKept] = {};
};

SFiber g_Fibers[kMaxThreads];
u32 g_Current = 0;
jmp_buf g_Resumer;
CFibers::FBody g_Body = nullptr;
SKept g_Kept[kMaxKept];
u32 g_KeptCount = 0;

// The bottom of each fiber's stack, which stays: a fiber that is restarted jumps back to it.
void RunBody()
{
    SFiber &fiber = g_Fibers[g_Current];
    if (_setjmp(fiber.m_Begin) == 0)
        _longjmp(g_Resumer, 1);
    g_Body(g_Current);
    g_Fibers[g_Current].m_HasEnded = true;
    _longjmp(g_Resumer, 1);
}

void MakeStack(u32 number)
{
    SFiber &fiber = g_Fibers[number];
    fiber.m_Stack.reset(new char[kStackBytes]);
    ucontext_t context;
    getcontext(&context);
    context.uc_stack.ss_sp = fiber.m_Stack.get();
    context.uc_stack.ss_size = kStackBytes;
    context.uc_link = nullptr;
    makecontext(&context, &RunBody, 0);
    g_Current = number;
    if (_setjmp(g_Resumer) == 0)
        setcontext(&context);
}

} // namespace

void CFibers::SetBody(FBody body)
{
    g_Body = body;
}

void CFibers::KeepForEach(void *variable, u32 bytes)
{
    for (u32 i = 0; i < g_KeptCount; ++i)
        if (g_Kept[i].m_Variable == variable)
            return;
    if (g_KeptCount == kMaxKept || bytes > kMaxKeptBytes)
        std::abort();
    SKept &kept = g_Kept[g_KeptCount++];
    kept.m_Variable = variable;
    kept.m_Bytes = bytes;
    std::memcpy(kept.m_AtFirst, variable, bytes);
}

void CFibers::Restart(u32 number)
{
    SFiber &fiber = g_Fibers[number];
    if (fiber.m_Stack == nullptr)
        MakeStack(number);
    fiber.m_IsToBegin = true;
    fiber.m_HasEnded = false;
    for (u32 i = 0; i < g_KeptCount; ++i)
        std::memcpy(fiber.m_Kept[i], g_Kept[i].m_AtFirst, g_Kept[i].m_Bytes);
}

void CFibers::Resume(u32 number)
{
    SFiber &fiber = g_Fibers[number];
    g_Current = number;
    for (u32 i = 0; i < g_KeptCount; ++i)
        std::memcpy(g_Kept[i].m_Variable, fiber.m_Kept[i], g_Kept[i].m_Bytes);
    if (_setjmp(g_Resumer) == 0)
    {
        const bool begins = fiber.m_IsToBegin;
        fiber.m_IsToBegin = false;
        _longjmp(begins ? fiber.m_Begin : fiber.m_Place, 1);
    }
    for (u32 i = 0; i < g_KeptCount; ++i)
    {
        std::memcpy(g_Fibers[number].m_Kept[i], g_Kept[i].m_Variable, g_Kept[i].m_Bytes);
        std::memcpy(g_Kept[i].m_Variable, g_Kept[i].m_AtFirst, g_Kept[i].m_Bytes);
    }
}

void CFibers::Suspend()
{
    if (_setjmp(g_Fibers[g_Current].m_Place) == 0)
        _longjmp(g_Resumer, 1);
}

bool CFibers::HasEnded(u32 number)
{
    return g_Fibers[number].m_HasEnded;
}

} // namespace QuorvaneTest::Concurrency
