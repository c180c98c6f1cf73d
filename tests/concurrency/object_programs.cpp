// Programs about the counts of objects. Compiled for the checker, as the library is that they use.
#include "count_programs.h"

#include <atomic>

#include "checked_strings.h"
#include "kr_refptr.h"

namespace QuorvaneTest::Concurrency
{

namespace
{

using namespace Quorvane;

const SSharing *g_ObjectSharing = nullptr;

// Ends as the contract of counted objects allows: with references that it takes to itself, and drops.
class CPage : public CRefCountedObject
{
public:
    ~CPage() override
    {
        // Before it asks for a count, which would see what the others have done.
        Write(Read() + 1);
        Require(RefCount() == 0, "a destructor begins with a count of 0");
        Require(WeakCount() == 0, "all weak references are dropped");
        const TRefPtr<CPage> self(this);
        const TRefPtr<CPage> same = self;
        Require(same->RefCount() == 2, "references to itself are counted");
    }

    void Write(u32 value)
    {
        m_Left = value;
        m_Right = value;
    }
    u32 Read() const
    {
        Require(m_Left == m_Right, "a page is whole");
        return m_Left;
    }

private:
    u32 m_Left = 7;
    u32 m_Right = 7;
};

class CPages
{
public:
    CPages()
    {
        const TRefPtr<CPage> shared(new CPage);
        for (u32 thread = 0; thread < g_ObjectSharing->m_Threads.size(); ++thread)
        {
            m_Own[thread] = shared;
            m_Known[thread] = shared->Read();
        }
    }

    void Run(u32 thread)
    {
        for (const EOperation operation : g_ObjectSharing->m_Threads[thread])
            _Do(operation, thread);
    }

    void Finish()
    {
        TRefPtr<CPage> left;
        PutInto(left, m_Mailbox.load(std::memory_order_relaxed));
    }

private:
    void _Do(EOperation operation, u32 thread)
    {
        TRefPtr<CPage> &own = m_Own[thread];
        switch (operation)
        {
        case Operation_Copy:
            if (!m_Second[thread])
                m_Second[thread] = own;
            break;
        case Operation_Release:
            (m_Second[thread] ? m_Second[thread] : own).Clear();
            break;
        case Operation_Write:
            if (own && own->RefCount() != 1)
                own = TRefPtr<CPage>(new CPage);
            if (own)
                own->Write(m_Known[thread] = thread);
            break;
        case Operation_Publish:
            PutInto(own, m_Mailbox.exchange(TakeOut(own), std::memory_order_acq_rel));
            m_Known[thread] = own ? own->Read() : 0;
            break;
        case Operation_Weak:
            if (own)
                _Weaken(*own);
            break;
        default:
            break;
        }
        if (own)
            Require(own->Read() == m_Known[thread], "a page stays what its holder knows of it");
    }

    static void _Weaken(const CPage &page)
    {
        page.AddWeakReference();
        Require(page.WeakCount() != 0, "a weak reference is counted");
        page.RemoveWeakReference();
    }

    TRefPtr<CPage> m_Own[kMaxThreads];
    TRefPtr<CPage> m_Second[kMaxThreads];
    u32 m_Known[kMaxThreads] = {}; // what each thread knows of its own page
    std::atomic<void *> m_Mailbox{nullptr};
};

} // namespace

std::unique_ptr<CProgram> MakeObjectProgram(const SSharing &sharing)
{
    UseCheckedMemory();
    g_ObjectSharing = &sharing;
    return std::make_unique<TProgramOf<CPages>>(static_cast<u32>(sharing.m_Threads.size()));
}

} // namespace QuorvaneTest::Concurrency
