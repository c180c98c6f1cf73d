// Programs that use strings as they must not be used by several threads. Compiled for the checker, as the library is.
#include "count_programs.h"

#include <atomic>

#include "checked_strings.h"

namespace QuorvaneTest::Concurrency
{

namespace
{

using namespace Quorvane;

constexpr char kText[] = "sss";

class COneHandleForTwoThreads
{
public:
    void Run(u32 thread)
    {
        if (thread == 0)
            m_Handle = CString();
        else
            m_Copy = m_Handle;
    }
    void Finish() {}

private:
    CString m_Handle = CString(CStringContainer::New(kText));
    CString m_Copy;
};

class CCheckThenWrite
{
public:
    void Run(u32 thread)
    {
        if (thread != 0)
        {
            PutInto(m_Received, m_Mailbox.exchange(nullptr, std::memory_order_acq_rel));
            Require(m_Received.Empty() || m_Received.First() == kText[0], "what was handed on stays as it was");
            return;
        }
        const bool isShared = m_Own.IsShared();
        CString copy = m_Own;
        m_Mailbox.exchange(TakeOut(copy), std::memory_order_acq_rel);
        if (!isShared)
            const_cast<char *>(m_Own.Data())[0] = 'w';
    }
    void Finish()
    {
        CString left;
        PutInto(left, m_Mailbox.load(std::memory_order_relaxed));
    }

private:
    CString m_Own = CString(CStringContainer::New(kText));
    CString m_Received;
    std::atomic<void *> m_Mailbox{nullptr};
};

class CViewThatOutlivesItsText
{
public:
    void Run(u32 thread)
    {
        if (thread == 0)
            m_String = CString();
        else
            Require(*m_View == kText[0], "the text is there");
    }
    void Finish() {}

private:
    CString m_String = CString(CStringContainer::New(kText));
    const char *m_View = m_String.Data();
};

class CPublicationWithoutOrder
{
public:
    void Run(u32 thread)
    {
        if (thread == 0)
        {
            CString made(CStringContainer::New(kText));
            m_Mailbox.store(TakeOut(made), std::memory_order_relaxed);
        }
        else if (void *const container = m_Mailbox.exchange(nullptr, std::memory_order_acq_rel))
        {
            PutInto(m_Received, container);
            Require(m_Received.First() == kText[0], "the text is there");
        }
    }
    void Finish()
    {
        CString left;
        PutInto(left, m_Mailbox.load(std::memory_order_relaxed));
    }

private:
    CString m_Received;
    std::atomic<void *> m_Mailbox{nullptr};
};

template <typename TState>
std::unique_ptr<CProgram> MakeForTwoThreads()
{
    UseCheckedMemory();
    return std::make_unique<TProgramOf<TState>>(2);
}

} // namespace

std::unique_ptr<CProgram> MakeOneHandleForTwoThreads()
{
    return MakeForTwoThreads<COneHandleForTwoThreads>();
}

std::unique_ptr<CProgram> MakeCheckThenWrite()
{
    return MakeForTwoThreads<CCheckThenWrite>();
}

std::unique_ptr<CProgram> MakeViewThatOutlivesItsText()
{
    return MakeForTwoThreads<CViewThatOutlivesItsText>();
}

std::unique_ptr<CProgram> MakePublicationWithoutOrder()
{
    return MakeForTwoThreads<CPublicationWithoutOrder>();
}

} // namespace QuorvaneTest::Concurrency
