// Programs about the counts of texts. Compiled for the checker, as the library is that they use.
#include "count_programs.h"

#include <atomic>
#include <cstring>

#include "checked_strings.h"

namespace QuorvaneTest::Concurrency
{

namespace
{

using namespace Quorvane;

constexpr char kSharedText[] = "sss";
const SSharing *g_StringSharing = nullptr;

const CStringContainer *ContainerOf(const CString &handle)
{
    const CStringContainer *container = nullptr;
    std::memcpy(&container, static_cast<const void *>(&handle), sizeof(container));
    return container;
}

// The letter that all characters are; '\0' for an empty text.
char LetterOf(const CString &string)
{
    const char *const data = string.Data();
    const u32 length = string.Length();
    if (length == 0)
        return '\0';
    for (u32 i = 1; i < length; ++i)
        Require(data[i] == data[0], "all characters of a text were written by one thread");
    Require(data[length] == '\0', "a terminator follows the text");
    return data[0];
}

// ---- Handles of texts --------------------------------------------------------------------------------------------------

class CStrings
{
public:
    CStrings()
    {
        const CString shared(g_StringSharing->m_IsResizable ? CStringContainer::NewResizable(kSharedText)
                                                            : CStringContainer::New(kSharedText));
        for (u32 thread = 0; thread < g_StringSharing->m_Threads.size(); ++thread)
        {
            m_Own[thread] = shared;
            m_Letters[thread] = kSharedText[0];
        }
    }

    void Run(u32 thread)
    {
        for (const EOperation operation : g_StringSharing->m_Threads[thread])
            _Do(operation, thread);
    }

    // What lies in the mailbox is somebody's.
    void Finish()
    {
        CString left;
        PutInto(left, m_Mailbox.load(std::memory_order_relaxed));
        LetterOf(left);
    }

private:
    void _Do(EOperation operation, u32 thread)
    {
        CString &own = m_Own[thread];
        CString &second = m_Second[thread];
        switch (operation)
        {
        case Operation_Copy:
            if (second.Empty())
                second = own;
            break;
        case Operation_Release:
            _Release(thread);
            break;
        case Operation_Read:
            _Read(thread);
            break;
        case Operation_Write:
            if (char *const data = own.RawDataForWriting())
                std::memset(data, static_cast<char>('0' + thread), own.Length());
            m_Letters[thread] = own.Length() != 0 ? static_cast<char>('0' + thread) : '\0';
            _Read(thread);
            break;
        case Operation_Publish:
            PutInto(own, m_Mailbox.exchange(TakeOut(own), std::memory_order_acq_rel));
            m_Letters[thread] = LetterOf(own);
            break;
        case Operation_Weak:
            if (const CStringContainer *const container = ContainerOf(own))
            {
                container->AddWeakReference();
                Require(container->WeakCount() != 0, "a weak reference is counted");
                container->RemoveWeakReference();
            }
            break;
        case Operation_Clear:
            own.Clear();
            m_Letters[thread] = '\0';
            _Read(thread);
            break;
        case Operation_Append:
            own.Append(m_Letters[thread] != '\0' ? m_Letters[thread] : 'a');
            m_Letters[thread] = m_Letters[thread] != '\0' ? m_Letters[thread] : 'a';
            _Read(thread);
            break;
        }
    }

    void _Release(u32 thread)
    {
        if (!m_Second[thread].Empty())
            m_Second[thread] = CString();
        else
        {
            m_Own[thread] = CString();
            m_Letters[thread] = '\0';
        }
    }

    void _Read(u32 thread)
    {
        Require(LetterOf(m_Own[thread]) == m_Letters[thread], "a text stays what its holder knows of it");
    }

    CString m_Own[kMaxThreads];
    CString m_Second[kMaxThreads];
    char m_Letters[kMaxThreads] = {}; // what each thread knows of its own text
    std::atomic<void *> m_Mailbox{nullptr};
};

} // namespace

std::unique_ptr<CProgram> MakeStringProgram(const SSharing &sharing)
{
    UseCheckedMemory();
    g_StringSharing = &sharing;
    return std::make_unique<TProgramOf<CStrings>>(static_cast<u32>(sharing.m_Threads.size()));
}

} // namespace QuorvaneTest::Concurrency
