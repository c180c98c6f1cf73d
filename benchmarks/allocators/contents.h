// What the workloads of allocators hold, in three forms that look alike to a workload: texts; blocks of the library's
// allocator; blocks of malloc, which serves when the allocator is another one.
//
//     Make     puts something of that size where nothing is, or in place of what is there
//     Resize   to another size, keeping what is common to both
//     Extend   by a few bytes
//     Drop     leaves nothing
//     Bytes    to be written to by whoever holds it
//     IsWhole  whether it holds what was put there, which it does not when another one was put there, too
#pragma once

#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "allocators/harness.h"
#include "kr_mem.h"
#include "kr_string.h"

namespace Bench::Allocators
{

// No content is smaller: it has room for a number that no other one has.
constexpr u32 kMinSize = 8;
constexpr u32 kMaxSize = 64u << 10;

// ---- Blocks --------------------------------------------------------------------------------------------------------

struct SLibraryBlocks
{
    static void *Alloc(u64 size)
    {
        return Mem::_RawAlloc(size, 0, Mem::AllocType_Generic, Mem::Origin_Alloc, "Bench", __FILE__, __LINE__,
                              __func__);
    }
    static void *Realloc(void *block, u64 size)
    {
        return Mem::_RawRealloc(block, size, 0, Mem::AllocType_Generic, "Bench", __FILE__, __LINE__, __func__);
    }
    static void Free(void *block)
    {
        Mem::_RawFree(block, Mem::AllocType_Generic, Mem::Origin_Alloc, "Bench", __FILE__, __LINE__, __func__);
    }
};

// Without the hook between: as the peers' own users call them.
struct SMallocBlocks
{
    static void *Alloc(u64 size) { return std::malloc(size); }
    static void *Realloc(void *block, u64 size) { return std::realloc(block, size); }
    static void Free(void *block) { std::free(block); }
};

// A block that begins with a number of its own and ends with the last byte of that.
template <typename Source>
class TBlock
{
public:
    TBlock() = default;
    TBlock(const TBlock &) = delete;
    TBlock &operator=(const TBlock &) = delete;
    TBlock &operator=(TBlock &&other) noexcept
    {
        std::swap(m_Data, other.m_Data);
        std::swap(m_Number, other.m_Number);
        std::swap(m_Size, other.m_Size);
        return *this;
    }

    u32 Size() const { return m_Size; }

    void Make(u32 size, CRandom &random)
    {
        Drop();
        m_Data = static_cast<char *>(Source::Alloc(size));
        Check(m_Data != nullptr, "memory is refused");
        m_Number = random.Next();
        std::memcpy(m_Data, &m_Number, sizeof(m_Number));
        _End(size);
    }

    void Resize(u32 size)
    {
        m_Data = static_cast<char *>(Source::Realloc(m_Data, size));
        Check(m_Data != nullptr, "memory is refused");
        _End(size);
    }

    void Extend(u32 by) { Resize(m_Size + by); }

    void Drop()
    {
        if (m_Data != nullptr)
            Source::Free(m_Data);
        m_Data = nullptr;
        m_Size = 0;
    }

    char *Bytes() { return m_Data; }

    bool IsWhole() const
    {
        return m_Size == 0 || (std::memcmp(m_Data, &m_Number, sizeof(m_Number)) == 0 &&
                               (m_Size <= sizeof(m_Number) || m_Data[m_Size - 1] == static_cast<char>(m_Number)));
    }

private:
    void _End(u32 size)
    {
        m_Size = size;
        if (size > sizeof(m_Number))
            m_Data[size - 1] = static_cast<char>(m_Number);
    }

    char *m_Data = nullptr;
    u64 m_Number = 0;
    u32 m_Size = 0;
};

// ---- Texts ---------------------------------------------------------------------------------------------------------

// Letters without end, of which each text is a piece. Pieces from different places differ within a few letters.
inline const char *Letters(u32 from)
{
    static const std::vector<char> kLetters = []
    {
        std::vector<char> letters(2 * kMaxSize);
        CRandom random(1);
        for (char &letter : letters)
            letter = static_cast<char>('A' + random.Below(26));
        return letters;
    }();
    return kLetters.data() + from;
}

// A text, and from where on its letters are taken.
class CText
{
public:
    CText() = default;
    CText(const CText &) = delete;
    CText &operator=(const CText &) = delete;
    CText &operator=(CText &&other) noexcept
    {
        std::swap(m_Text, other.m_Text);
        std::swap(m_From, other.m_From);
        return *this;
    }

    u32 Size() const { return m_Text.Length(); }

    void Make(u32 size, CRandom &random)
    {
        m_From = random.Below(kMaxSize);
        m_Text = CString(Letters(m_From), size);
        Check(m_Text.Length() == size, "memory is refused");
    }

    void Resize(u32 size)
    {
        const u32 length = m_Text.Length();
        if (size < length)
            m_Text.Erase(size, length);
        else
            m_Text.Append(Letters(m_From) + length, size - length);
        Check(m_Text.Length() == size, "memory is refused");
    }

    void Extend(u32 by) { Resize(m_Text.Length() + by); }

    void Drop() { m_Text = CString(); }

    char *Bytes() { return m_Text.RawDataForWriting(); }

    bool IsWhole() const
    {
        const u32 length = m_Text.Length();
        const char *const letters = Letters(m_From);
        return length == 0 || (std::memcmp(m_Text.Data(), letters, kMinSize) == 0 &&
                               m_Text.Data()[length - 1] == letters[length - 1] && m_Text.Data()[length] == '\0');
    }

private:
    CString m_Text;
    u32 m_From = 0;
};

} // namespace Bench::Allocators
