// Programs with one mistake each, or none. Compiled for the checker.
#include "basic_programs.h"

#include <atomic>
#include <cstring>
#include <new>

#include <sched.h>

#include "checked_strings.h"
#include "kr_atomic.h"

extern "C" void __tsan_atomic_thread_fence(int order);

namespace QuorvaneTest::Concurrency
{

namespace
{

using namespace Quorvane;

// What the programs are told by, one after the other: a state with a thread's steps.
struct SWithoutEnd
{
    void Finish() {}
};

void *NewBlock(u64 bytes)
{
    return Mem::_RawAlloc(bytes, 16, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
}

void DropBlock(void *block)
{
    Mem::_RawFree(block, Mem::AllocType_Generic, Mem::Origin_Alloc, QV_INTERNAL_MEM_SITE);
}

// ---- Memory ------------------------------------------------------------------------------------------------------------

struct SFreedTwice : SWithoutEnd
{
    void *m_Block = NewBlock(8);
    void Run(u32) { DropBlock(m_Block); }
};

struct SFreedWhatIsNoBlock : SWithoutEnd
{
    u64 m_Words[4] = {};
    void Run(u32) { DropBlock(&m_Words[2]); }
};

struct SUsedAfterFree : SWithoutEnd
{
    u32 *m_Block = static_cast<u32 *>(NewBlock(4));
    std::atomic<u32> m_IsFree{0};
    void Run(u32 thread)
    {
        if (thread == 0)
        {
            DropBlock(m_Block);
            m_IsFree.store(1, std::memory_order_release);
        }
        else if (m_IsFree.load(std::memory_order_acquire) != 0)
            *m_Block = 1;
    }
};

struct SReadBehindItsBlock : SWithoutEnd
{
    volatile char *m_Block = static_cast<char *>(NewBlock(5));
    void Run(u32)
    {
        static_cast<void>(m_Block[5]);
        DropBlock(const_cast<char *>(m_Block));
    }
};

struct SNeverFreed : SWithoutEnd
{
    void *m_Block = NewBlock(8);
    void Run(u32) {}
};

// ---- Races -------------------------------------------------------------------------------------------------------------

struct SPlainCounter : SWithoutEnd
{
    volatile u32 m_Count = 0;
    void Run(u32) { m_Count = m_Count + 1; }
};

struct SAtomicAndPlain : SWithoutEnd
{
    TAtomic<u32> m_Word;
    void Run(u32 thread)
    {
        u32 copy = 0;
        if (thread == 0)
            m_Word.Store(1);
        else
            copy = *reinterpret_cast<const volatile u32 *>(&m_Word);
        static_cast<void>(copy);
    }
};

struct SCopyOfWhatIsWritten : SWithoutEnd
{
    char m_From[24] = {};
    char m_To[24] = {};
    volatile std::size_t m_Bytes = sizeof(m_From); // which the compiler does not know
    void Run(u32 thread)
    {
        if (thread == 0)
            m_From[7] = 'x';
        else
            std::memcpy(m_To, m_From, m_Bytes);
    }
};

// ---- Reports, waits, and what the checker does not take ----------------------------------------------------------------

struct SReportedAssertion : SWithoutEnd
{
    u32 m_Number = 3;
    void Run(u32) { QV_ASSERT(m_Number == 4); }
};

struct SWaitForNobody : SWithoutEnd
{
    std::atomic<u32> m_IsDone{0};
    void Run(u32)
    {
        while (m_IsDone.load(std::memory_order_acquire) == 0)
            sched_yield();
    }
};

struct SOtherStepsEachTime : SWithoutEnd
{
    std::atomic<u32> m_Words[4] = {};
    void Run(u32)
    {
        static u32 s_Runs = 0;
        m_Words[s_Runs++ % 4].exchange(1, std::memory_order_relaxed);
        m_Words[0].load(std::memory_order_relaxed);
    }
};

struct SFence : SWithoutEnd
{
    void Run(u32) { __tsan_atomic_thread_fence(__ATOMIC_SEQ_CST); }
};

// ---- Messages ----------------------------------------------------------------------------------------------------------

template <std::memory_order kStored>
struct TMessage : SWithoutEnd
{
    std::atomic<u32> m_IsThere{0};
    u32 m_Text = 0;
    void Run(u32 thread)
    {
        if (thread == 0)
        {
            m_Text = 7;
            m_IsThere.store(1, kStored);
        }
        else if (m_IsThere.load(std::memory_order_acquire) != 0)
            Require(m_Text == 7, "the message is whole");
    }
};

struct SSpinLock
{
    std::atomic<u32> m_IsHeld{0};
    u32 m_Count = 0;
    void Run(u32)
    {
        for (u32 nobody = 0; !m_IsHeld.compare_exchange_strong(nobody, 1, std::memory_order_acquire); nobody = 0)
            sched_yield();
        ++m_Count;
        m_IsHeld.store(0, std::memory_order_release);
    }
    void Finish() { Require(m_Count == 2, "both threads have counted"); }
};

struct SWordThatBeginsAnew : SWithoutEnd
{
    alignas(8) char m_Memory[8] = {};
    std::atomic<u32> m_IsThere{0};
    std::atomic<u32> &Word() { return *std::launder(reinterpret_cast<std::atomic<u32> *>(m_Memory)); }
    void Run(u32 thread)
    {
        if (thread == 0)
        {
            ::new (static_cast<void *>(m_Memory)) std::atomic<u32>(1);
            Word().store(2, std::memory_order_relaxed);
            ::new (static_cast<void *>(m_Memory)) std::atomic<u32>(10);
            m_IsThere.store(1, std::memory_order_release);
            Word().fetch_add(1, std::memory_order_relaxed);
        }
        else if (m_IsThere.load(std::memory_order_acquire) != 0)
            Require(Word().fetch_add(1, std::memory_order_relaxed) >= 10, "it is the word that was published");
    }
};

// ---- Operations --------------------------------------------------------------------------------------------------------

template <typename T>
struct TOperations
{
    TAtomic<T> m_Word{T(100)};
    std::atomic<T> m_Standard{T(5)};

    void Run()
    {
        Require(m_Word.Load() == 100 && m_Word.LoadInOrder() == 100, "loads");
        m_Word.Store(90);
        Require(m_Word.Swap(80) == 90, "a store, and an exchange");
        Require(m_Word.FetchAdd(5) == 80 && m_Word.FetchSub(3) == 85 && m_Word.Inc() == 83 && m_Word.Dec() == 82,
                "sums");
        Require(m_Word.FetchAnd(0x1F) == 82 && m_Word.FetchOr(0x41) == 0x12 && m_Word.FetchXor(0x53) == 0x53, "bits");
        Require(m_Word.Sub(1) == T(~T(0)) && m_Word.Load() == T(~T(0)), "a word wraps at its size");
        Require(!m_Word.SetValueIfEqualTo(1, 0) && m_Word.SetValueIfEqualTo(1, T(~T(0))), "exchanges that compare");
        m_Word.StoreUnshared(2);
        m_Word.StoreReleased(3);
        T expected = 4;
        Require(!m_Standard.compare_exchange_strong(expected, 6) && expected == 5, "what is found instead is told");
        Require(m_Standard.compare_exchange_strong(expected, 6) && m_Standard.load() == 6, "and then exchanged");
    }

    void Finish() { Require(m_Word.Load() == 3 && m_Standard.load() == 6, "the last values stay"); }
};

struct SEveryAtomicOperation
{
    TOperations<u8> m_Of8;
    TOperations<u16> m_Of16;
    TOperations<u32> m_Of32;
    TOperations<u64> m_Of64;
    void Run(u32)
    {
        m_Of8.Run();
        m_Of16.Run();
        m_Of32.Run();
        m_Of64.Run();
    }
    void Finish()
    {
        m_Of8.Finish();
        m_Of16.Finish();
        m_Of32.Finish();
        m_Of64.Finish();
    }
};

template <typename TState>
std::unique_ptr<CProgram> MakeBasic(u32 threads)
{
    UseCheckedMemory();
    return std::make_unique<TProgramOf<TState>>(threads);
}

} // namespace

std::unique_ptr<CProgram> MakeFreedTwice()
{
    return MakeBasic<SFreedTwice>(2);
}

std::unique_ptr<CProgram> MakeFreedWhatIsNoBlock()
{
    return MakeBasic<SFreedWhatIsNoBlock>(1);
}

std::unique_ptr<CProgram> MakeUsedAfterFree()
{
    return MakeBasic<SUsedAfterFree>(2);
}

std::unique_ptr<CProgram> MakeReadBehindItsBlock()
{
    return MakeBasic<SReadBehindItsBlock>(1);
}

std::unique_ptr<CProgram> MakeNeverFreed()
{
    return MakeBasic<SNeverFreed>(1);
}

std::unique_ptr<CProgram> MakePlainCounter()
{
    return MakeBasic<SPlainCounter>(2);
}

std::unique_ptr<CProgram> MakeAtomicAndPlain()
{
    return MakeBasic<SAtomicAndPlain>(2);
}

std::unique_ptr<CProgram> MakeCopyOfWhatIsWritten()
{
    return MakeBasic<SCopyOfWhatIsWritten>(2);
}

std::unique_ptr<CProgram> MakeReportedAssertion()
{
    return MakeBasic<SReportedAssertion>(1);
}

std::unique_ptr<CProgram> MakeWaitForNobody()
{
    return MakeBasic<SWaitForNobody>(1);
}

std::unique_ptr<CProgram> MakeOtherStepsEachTime()
{
    return MakeBasic<SOtherStepsEachTime>(2);
}

std::unique_ptr<CProgram> MakeFence()
{
    return MakeBasic<SFence>(1);
}

std::unique_ptr<CProgram> MakeRelaxedMessage()
{
    return MakeBasic<TMessage<std::memory_order_relaxed>>(2);
}

std::unique_ptr<CProgram> MakeMessage()
{
    return MakeBasic<TMessage<std::memory_order_release>>(2);
}

std::unique_ptr<CProgram> MakeSpinLock()
{
    return MakeBasic<SSpinLock>(2);
}

std::unique_ptr<CProgram> MakeWordThatBeginsAnew()
{
    return MakeBasic<SWordThatBeginsAnew>(2);
}

std::unique_ptr<CProgram> MakeEveryAtomicOperation()
{
    return MakeBasic<SEveryAtomicOperation>(1);
}

} // namespace QuorvaneTest::Concurrency
