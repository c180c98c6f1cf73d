// Peers that no library offers: a text as somebody would write it by hand who needs one thing and no more.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

#include "support/fingerprint.h"

namespace Bench
{

// One block from malloc: a count of its owners, the length, the room, and the characters behind them.
class CCountedText
{
public:
    CCountedText(const char *text, size_t length) : m_Block(_Make(text, length, length)) {}
    CCountedText(const CCountedText &other) : m_Block(other.m_Block)
    {
        m_Block->m_Owners.fetch_add(1, std::memory_order_relaxed);
    }
    CCountedText(CCountedText &&other) noexcept : m_Block(std::exchange(other.m_Block, nullptr)) {}
    CCountedText &operator=(CCountedText &&) = delete;
    ~CCountedText() { _Drop(); }

    // Shared characters are copied first.
    void Append(char character)
    {
        const size_t length = m_Block->m_Length;
        const bool isShared = m_Block->m_Owners.load(std::memory_order_acquire) != 1;
        if (isShared || length == m_Block->m_Room)
        {
            SBlock *const grown = _Make(_Text(m_Block), length, isShared ? length + 1 : 2 * length + 1);
            _Drop();
            m_Block = grown;
        }
        _Text(m_Block)[length] = character;
        _Text(m_Block)[length + 1] = '\0';
        m_Block->m_Length = length + 1;
    }

    size_t size() const { return m_Block->m_Length; }
    std::string_view View() const { return std::string_view(_Text(m_Block), m_Block->m_Length); }

private:
    struct SBlock
    {
        std::atomic<int> m_Owners;
        size_t m_Length;
        size_t m_Room;
    };

    static char *_Text(SBlock *block) { return reinterpret_cast<char *>(block + 1); }

    static SBlock *_Make(const char *text, size_t length, size_t room)
    {
        SBlock *const made = new (std::malloc(sizeof(SBlock) + room + 1)) SBlock{{1}, length, room};
        std::memcpy(_Text(made), text, length);
        _Text(made)[length] = '\0';
        return made;
    }

    void _Drop()
    {
        if (m_Block != nullptr && m_Block->m_Owners.fetch_sub(1, std::memory_order_acq_rel) == 1)
            std::free(m_Block);
    }

    SBlock *m_Block;
};

// Characters in a block that doubles; all but growing is in line.
class CDoublingText
{
public:
    CDoublingText() = default;
    CDoublingText(CDoublingText &&other) noexcept
        : m_Text(std::exchange(other.m_Text, nullptr)), m_Length(other.m_Length), m_Room(other.m_Room)
    {
    }
    CDoublingText &operator=(CDoublingText &&) = delete;
    ~CDoublingText() { std::free(m_Text); }

    void Append(char character)
    {
        if (m_Length == m_Room)
            _Grow(1);
        m_Text[m_Length++] = character;
        m_Text[m_Length] = '\0';
    }

    void Append(const char *text, size_t length)
    {
        if (length > m_Room - m_Length)
            _Grow(length);
        std::memcpy(m_Text + m_Length, text, length);
        m_Length += length;
        m_Text[m_Length] = '\0';
    }

    std::string_view View() const { return std::string_view(m_Text, m_Length); }

private:
    __attribute__((noinline)) void _Grow(size_t length)
    {
        m_Room = std::max(2 * m_Room, m_Length + length + 15);
        m_Text = static_cast<char *>(std::realloc(m_Text, m_Room + 1));
    }

    char *m_Text = nullptr;
    size_t m_Length = 0;
    size_t m_Room = 0;
};

inline uint64_t Fingerprint(const CCountedText &text)
{
    return HashBytes(text.View());
}

inline uint64_t Fingerprint(const CDoublingText &text)
{
    return HashBytes(text.View());
}

} // namespace Bench
