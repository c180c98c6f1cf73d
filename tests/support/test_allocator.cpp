#include "test_allocator.h"

#include <cstdlib>
#include <cstring>

#include "test_port.h"
#include <gtest/gtest.h>

namespace QuorvaneTest
{

using namespace Quorvane;

namespace
{

constexpr u64 kCanaryBytes = 64;
// Beyond it nothing is granted: filling such blocks would take the machine's memory and minutes.
constexpr u64 kMaxBytes = 1ull << 32;
constexpr int kCanary = 0xA5;
constexpr int kFresh = 0xCD;
constexpr int kFreed = 0xDD;

CTestAllocator *g_Current = nullptr;

std::string OrEmpty(const char *text)
{
    return text != nullptr ? text : "";
}

bool AllBytesAre(const unsigned char *bytes, u64 count, int value)
{
    for (u64 i = 0; i < count; ++i)
        if (bytes[i] != value)
            return false;
    return true;
}

} // namespace

CTestAllocator::CTestAllocator()
{
    g_Current = this;
    m_Before = Mem::SetAllocator(Mem::SAllocator{&_Alloc, &_Realloc, &_Free});
}

CTestAllocator::~CTestAllocator()
{
    Mem::SetAllocator(m_Before);
    g_Current = nullptr;
    for (const auto &[block, info] : m_Live)
        ADD_FAILURE() << "a block of " << info.m_Size << " bytes was leaked";
    for (const std::string &fault : m_Faults)
        ADD_FAILURE() << fault;
    while (!m_Live.empty())
        _Give(m_Live.begin()->first);
}

void CTestAllocator::RefuseNth(u64 n)
{
    const std::lock_guard<std::mutex> guard(m_Lock);
    m_Requests = 0;
    m_RefuseAt = n;
    m_RefuseOn = false;
    m_Refused = false;
}

void CTestAllocator::RefuseFromNth(u64 n)
{
    RefuseNth(n);
    const std::lock_guard<std::mutex> guard(m_Lock);
    m_RefuseOn = n != 0;
}

u64 CTestAllocator::RequestCount() const
{
    const std::lock_guard<std::mutex> guard(m_Lock);
    return m_Requests;
}

bool CTestAllocator::HasRefused() const
{
    const std::lock_guard<std::mutex> guard(m_Lock);
    return m_Refused;
}

u64 CTestAllocator::LiveBlocks() const
{
    const std::lock_guard<std::mutex> guard(m_Lock);
    return m_Live.size();
}

u64 CTestAllocator::LiveBytes() const
{
    const std::lock_guard<std::mutex> guard(m_Lock);
    u64 bytes = 0;
    for (const auto &[block, info] : m_Live)
        bytes += info.m_Size;
    return bytes;
}

std::vector<SAllocatorCall> CTestAllocator::Calls() const
{
    const std::lock_guard<std::mutex> guard(m_Lock);
    return m_Calls;
}

std::vector<SAllocatorCall> CTestAllocator::Requests() const
{
    std::vector<SAllocatorCall> requests;
    for (const SAllocatorCall &call : Calls())
        if (call.m_Kind != SAllocatorCall::Kind_Free && call.m_Result != nullptr)
            requests.push_back(call);
    return requests;
}

void CTestAllocator::ForgetCalls()
{
    const std::lock_guard<std::mutex> guard(m_Lock);
    m_Calls.clear();
}

bool CTestAllocator::_Refuses()
{
    ++m_Requests;
    const bool refuses = m_RefuseAt != 0 && (m_RefuseOn ? m_Requests >= m_RefuseAt : m_Requests == m_RefuseAt);
    m_Refused = m_Refused || refuses;
    return refuses;
}

void *CTestAllocator::_Take(u64 size, u32 alignment, Mem::EOrigin origin)
{
    if (size > kMaxBytes)
        return nullptr;
    const u64 step = alignment > 16 ? alignment : 16;
    const u64 front = (kCanaryBytes + step - 1) / step * step;
    void *const raw = TakeAligned(static_cast<size_t>(front + size + kCanaryBytes), static_cast<size_t>(step));
    if (raw == nullptr)
        return nullptr;
    unsigned char *block = static_cast<unsigned char *>(raw) + front;
    std::memset(raw, kCanary, static_cast<size_t>(front));
    std::memset(block, kFresh, static_cast<size_t>(size));
    std::memset(block + size, kCanary, static_cast<size_t>(kCanaryBytes));
    m_Live[block] = SBlock{size, alignment, origin, raw};
    return block;
}

void CTestAllocator::_Give(void *block)
{
    const SBlock info = m_Live.at(block);
    const unsigned char *bytes = static_cast<const unsigned char *>(block);
    if (!AllBytesAre(bytes - kCanaryBytes, kCanaryBytes, kCanary))
        _Fault("bytes before a block of " + std::to_string(info.m_Size) + " bytes were overwritten");
    if (!AllBytesAre(bytes + info.m_Size, kCanaryBytes, kCanary))
        _Fault("bytes behind a block of " + std::to_string(info.m_Size) + " bytes were overwritten");
    std::memset(block, kFreed, static_cast<size_t>(info.m_Size));
    GiveAligned(info.m_Raw);
    m_Live.erase(block);
}

void CTestAllocator::_Fault(const std::string &what)
{
    m_Faults.push_back(what);
}

void *CTestAllocator::_Alloc(u64 size, u32 alignment, Mem::EAllocType type, Mem::EOrigin origin, const char *tag,
                             const char *file, u32 line, const char *function)
{
    CTestAllocator &self = *g_Current;
    const std::lock_guard<std::mutex> guard(self.m_Lock);
    void *block = self._Refuses() ? nullptr : self._Take(size, alignment, origin);
    self.m_Calls.push_back({SAllocatorCall::Kind_Alloc, nullptr, block, size, alignment, type, origin, OrEmpty(tag),
                            OrEmpty(file), line, OrEmpty(function)});
    return block;
}

void *CTestAllocator::_Realloc(void *block, u64 newSize, u32 alignment, Mem::EAllocType type, const char *tag,
                               const char *file, u32 line, const char *function)
{
    CTestAllocator &self = *g_Current;
    const std::lock_guard<std::mutex> guard(self.m_Lock);
    void *moved = nullptr;
    const auto known = self.m_Live.find(block);
    if (block != nullptr && known == self.m_Live.end())
        self._Fault("an unknown block was reallocated");
    else if (block != nullptr && known->second.m_Origin != Mem::Origin_Alloc)
        self._Fault("an object was reallocated");
    else if (!self._Refuses())
    {
        moved = self._Take(newSize, alignment, Mem::Origin_Alloc);
        if (block != nullptr && moved != nullptr)
        {
            const u64 oldSize = known->second.m_Size;
            std::memcpy(moved, block, static_cast<size_t>(oldSize < newSize ? oldSize : newSize));
            self._Give(block);
        }
    }
    self.m_Calls.push_back({SAllocatorCall::Kind_Realloc, block, moved, newSize, alignment, type, Mem::Origin_Alloc,
                            OrEmpty(tag), OrEmpty(file), line, OrEmpty(function)});
    return moved;
}

void CTestAllocator::_Free(void *block, Mem::EAllocType type, Mem::EOrigin origin, const char *tag, const char *file,
                           u32 line, const char *function)
{
    CTestAllocator &self = *g_Current;
    const std::lock_guard<std::mutex> guard(self.m_Lock);
    self.m_Calls.push_back({SAllocatorCall::Kind_Free, block, nullptr, 0, 0, type, origin, OrEmpty(tag), OrEmpty(file),
                            line, OrEmpty(function)});
    const auto known = self.m_Live.find(block);
    if (known == self.m_Live.end())
    {
        self._Fault("an unknown block was freed, or one was freed twice");
        return;
    }
    if (known->second.m_Origin != origin)
        self._Fault("a block was freed with another origin than it was allocated with");
    self._Give(block);
}

} // namespace QuorvaneTest
