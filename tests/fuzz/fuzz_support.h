// What all fuzz targets share: reading an input as a sequence of choices and texts, an allocator that refuses where the
// input says so and notices leaks, a handler that counts reports, and checks that end the run.
//
//     extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
//     {
//         CInput input(data, size);
//         CWatch watch(input);                       // first, so that it outlives every string
//         const CString string = NewString(input.Text(), input.Byte());
//         ...
//         QV_FUZZ_CHECK(TextOf(string) == expected || watch.HasRefused());
//         return 0;
//     }
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "kr_assert.h"
#include "kr_mem.h"
#include "kr_string.h"
#include "support/input_parts.h"

// Ends the run when the condition is false: the fuzzer then keeps the input.
#define QV_FUZZ_CHECK(...)                                                                                             \
    do                                                                                                                 \
    {                                                                                                                  \
        if (!(__VA_ARGS__))                                                                                            \
            QuorvaneFuzz::Fail(__FILE__, __LINE__, #__VA_ARGS__);                                                      \
    } while (false)

namespace QuorvaneFuzz
{

using namespace Quorvane;

[[noreturn]] inline void Fail(const char *file, int line, const char *condition)
{
    std::fprintf(stderr, "%s:%d: is not so: %s\n", file, line, condition);
    std::abort();
}

// An input that a target has read, and the parts that it found in it.
struct SNotedInput
{
    CInputBytes m_Bytes;
    SInputParts m_Parts;
};

// The bytes of an input, from front to back. Behind the end everything is 0, false or empty.
class CInput
{
public:
    CInput(const std::uint8_t *data, std::size_t size) : m_Begin(data), m_Next(data), m_Left(size)
    {
        if (s_Noted == nullptr)
            return;
        s_Noted->m_Bytes.assign(data, data + size);
        s_Noted->m_Parts.m_Steps.clear();
        s_Noted->m_Parts.m_Texts.clear();
    }

    // Where each input is noted from now on, instead of the one before; null for nowhere.
    static void NoteIn(SNotedInput *noted) { s_Noted = noted; }

    bool AtEnd() const { return m_Left == 0; }

    u8 Byte()
    {
        if (m_Left == 0)
            return 0;
        --m_Left;
        return *m_Next++;
    }

    bool Flag() { return (Byte() & 1) != 0; }

    // A number below `bound`, which is not 0.
    u32 Below(u32 bound)
    {
        const u32 low = Byte();
        return (bound > 256 ? low | u32(Byte()) << 8 : low) % bound;
    }

    // By one byte: texts are made of these letters only from now on, which makes coincidences likely; or of any bytes.
    void ChooseLetters(const std::string &letters)
    {
        m_Special = letters;
        m_Letters = Flag() ? letters : std::string();
    }

    // What is read from here on belongs together, up to the next step.
    void BeginStep()
    {
        if (s_Noted != nullptr)
            s_Noted->m_Parts.m_Steps.push_back(_Place());
    }

    // Up to 63 characters, or these several times over: a length, then the characters. May hold terminators.
    std::string Text()
    {
        static constexpr u32 kTimes[] = {1, 1, 3, 11};
        const std::size_t place = _Place();
        const bool hasHead = !AtEnd();
        const u8 head = Byte();
        if (s_Noted != nullptr && hasHead)
            s_Noted->m_Parts.m_Texts.push_back({place, std::min(head & kMaxTextLength, m_Left), m_Letters, m_Special});
        std::string piece;
        for (std::size_t i = head & kMaxTextLength; i != 0 && m_Left != 0; --i)
            piece += _Character();
        std::string text;
        for (u32 i = 0; i < kTimes[head >> 6]; ++i)
            text += piece;
        return text;
    }

    // The same without terminators.
    std::string PlainText()
    {
        std::string text = Text();
        for (char &character : text)
            character = character == '\0' ? '0' : character;
        return text;
    }

private:
    char _Character()
    {
        const u8 byte = Byte();
        return static_cast<char>(m_Letters.empty() ? byte : m_Letters[byte % m_Letters.size()]);
    }

    std::size_t _Place() const { return static_cast<std::size_t>(m_Next - m_Begin); }

    static inline SNotedInput *s_Noted = nullptr;

    const std::uint8_t *m_Begin;
    const std::uint8_t *m_Next;
    std::size_t m_Left;
    std::string m_Letters;
    std::string m_Special;
};

// Takes steps as long as there is input, and so many at most.
template <typename Step>
void TakeSteps(CInput &input, u32 maxSteps, const Step &step)
{
    for (u32 i = 0; i < maxSteps && !input.AtEnd(); ++i)
    {
        input.BeginStep();
        step();
    }
}

// While one lives, the kernel's allocator and its handler of reports do what it says. Refuses by one byte of the input:
// nothing below 128, else the n-th request (n in the lower 6 bits, from 0), once or with all that follow. Fresh blocks hold
// garbage. Ends the run for every block that is still live at its end.
class CWatch
{
public:
    explicit CWatch(CInput &input)
    {
        // Once, for good: to put an allocator in place takes as long as the library's part of many an input.
        static const SHooks s_Hooks;
        const u8 plan = input.Byte();
        m_Refuses = plan >= 0x80;
        m_RefusesOn = (plan & 0x40) != 0;
        m_RefuseAt = plan & 0x3F;
        s_Current = this;
    }
    ~CWatch()
    {
        s_Current = nullptr;
        QV_FUZZ_CHECK(m_LiveBlocks == 0);
    }
    CWatch(const CWatch &) = delete;
    CWatch &operator=(const CWatch &) = delete;

    // The questions below are about what happened since the last call of this one.
    void BeginStep()
    {
        m_Refused = false;
        m_StepReports = 0;
        m_StepRequests = 0;
    }
    bool HasRefused() const { return m_Refused; }
    bool HasReported() const { return m_StepReports != 0; }
    bool HasAllocated() const { return m_StepRequests != 0; }

private:
    struct SHooks
    {
        SHooks()
        {
            s_AllocatorBefore = Mem::SetAllocator(Mem::SAllocator{&_Alloc, &_Realloc, &_Free});
            s_HandlerBefore = Assert::SetHandler(&_Handle);
        }
    };

    bool _RefusesNow()
    {
        const u64 request = m_Requests++;
        ++m_StepRequests;
        const bool now = m_RefusesOn ? request >= m_RefuseAt : request == m_RefuseAt;
        const bool refuses = m_Refuses && now;
        m_Refused = m_Refused || refuses;
        return refuses;
    }

    static bool _IsRefused() { return s_Current != nullptr && s_Current->_RefusesNow(); }
    static void _CountBlocks(u64 more, u64 fewer)
    {
        if (s_Current != nullptr)
            s_Current->m_LiveBlocks = s_Current->m_LiveBlocks + more - fewer;
    }

    static void *_Alloc(u64 size, u32 alignment, Mem::EAllocType type, Mem::EOrigin origin, const char *tag,
                        const char *file, u32 line, const char *function)
    {
        if (_IsRefused())
            return nullptr;
        void *const block = s_AllocatorBefore.m_Alloc(size, alignment, type, origin, tag, file, line, function);
        QV_FUZZ_CHECK(block != nullptr);
        std::memset(block, 0xCD, static_cast<std::size_t>(size));
        _CountBlocks(1, 0);
        return block;
    }

    static void *_Realloc(void *block, u64 newSize, u32 alignment, Mem::EAllocType type, const char *tag,
                          const char *file, u32 line, const char *function)
    {
        if (_IsRefused())
            return nullptr;
        void *const moved = s_AllocatorBefore.m_Realloc(block, newSize, alignment, type, tag, file, line, function);
        QV_FUZZ_CHECK(moved != nullptr);
        _CountBlocks(block == nullptr ? 1 : 0, 0);
        return moved;
    }

    static void _Free(void *block, Mem::EAllocType type, Mem::EOrigin origin, const char *tag, const char *file,
                      u32 line, const char *function)
    {
        _CountBlocks(0, block != nullptr ? 1 : 0);
        s_AllocatorBefore.m_Free(block, type, origin, tag, file, line, function);
    }

    static int _Handle(const char *file, const char *function, int line, const char *expression,
                       const char *expandedExpression, const char *message)
    {
        if (s_Current == nullptr)
            return s_HandlerBefore(file, function, line, expression, expandedExpression, message);
        ++s_Current->m_StepReports;
        return Assert::Internal::Answer_Continue;
    }

    static inline CWatch *s_Current = nullptr;
    static inline Mem::SAllocator s_AllocatorBefore = {};
    static inline Assert::FHandler s_HandlerBefore = nullptr;

    u64 m_LiveBlocks = 0;
    u64 m_Requests = 0;
    u64 m_StepRequests = 0;
    u64 m_StepReports = 0;
    u64 m_RefuseAt = 0;
    bool m_Refuses = false;
    bool m_RefusesOn = false;
    bool m_Refused = false;
};

inline u32 LengthOf(const std::string &text)
{
    return static_cast<u32>(text.size());
}

// The text by its length, embedded terminators included.
inline std::string TextOf(const CString &string)
{
    return string.Data() != nullptr ? std::string(string.Data(), string.Length()) : std::string();
}

inline std::string TextOf(const CStringView &view)
{
    return view.Data() != nullptr ? std::string(view.Data(), view.Length()) : std::string();
}

inline bool HoldsTerminator(const std::string &text)
{
    return text.find('\0') != std::string::npos;
}

// The container behind a handle, which is that pointer and nothing else.
inline const CStringContainer *ContainerOf(const CString &string)
{
    const CStringContainer *container = nullptr;
    std::memcpy(static_cast<void *>(&container), static_cast<const void *>(&string), sizeof(container));
    return container;
}

inline bool IsUniqueAndResizable(const CString &string)
{
    const CStringContainer *container = ContainerOf(string);
    return container != nullptr && container->RefCount() == 1 && container->SupportsDynamicResize();
}

// Aligned characters, and zero from the terminator to the end of its block of 16.
inline bool IsWellFormed(const CString &string)
{
    const char *data = string.Data();
    const u32 length = string.Length();
    if (data == nullptr)
        return length == 0 && string.Empty();
    if (reinterpret_cast<std::uintptr_t>(data) % 16 != 0)
        return false;
    for (u32 i = length; i < length / 16 * 16 + 16; ++i)
        if (data[i] != '\0')
            return false;
    return true;
}

// A string of the fixed form or, with a capacity of 1 and more, of the resizable one with at least that. Empty when
// memory is refused.
inline CString NewString(const std::string &text, u32 capacity)
{
    const u32 length = LengthOf(text);
    if (capacity == 0)
        return CString(CStringContainer::New(text.data(), length));
    return CString(CStringContainer::NewResizable(text.data(), length, capacity > length ? capacity : length));
}

// A copy of a text in a block of exactly its size, with a terminator or without: one byte beyond it is a fault.
class CExactText
{
public:
    explicit CExactText(const std::string &text, bool terminated = true)
        : m_Length(LengthOf(text)), m_Data(new char[text.size() + (terminated ? 1 : 0)])
    {
        std::memcpy(m_Data.get(), text.c_str(), text.size() + (terminated ? 1 : 0));
    }

    char *Data() { return m_Data.get(); }
    const char *Data() const { return m_Data.get(); }
    u32 Length() const { return m_Length; }
    CStringView View() const { return CStringView(Data(), m_Length); }
    std::string Text() const { return std::string(Data(), m_Length); }

private:
    u32 m_Length;
    std::unique_ptr<char[]> m_Data;
};

// The same in whole aligned blocks of 16 that are zero behind the text, as the characters of a container are.
class CBlockText
{
public:
    explicit CBlockText(const std::string &text) : m_Length(LengthOf(text)), m_Blocks(new SBlock[BlockCount(m_Length)])
    {
        std::memset(Data(), 0, BlockCount(m_Length) * sizeof(SBlock));
        std::memcpy(Data(), text.data(), text.size());
    }

    static std::size_t BlockCount(u32 length) { return length / 16 + 1; }

    char *Data() { return m_Blocks[0].m_Bytes; }
    const char *Data() const { return m_Blocks[0].m_Bytes; }
    std::string Text() const { return std::string(Data(), m_Length); }
    // All bytes of the blocks.
    std::string Everything() const { return std::string(Data(), BlockCount(m_Length) * sizeof(SBlock)); }

private:
    struct alignas(16) SBlock
    {
        char m_Bytes[16];
    };

    u32 m_Length;
    std::unique_ptr<SBlock[]> m_Blocks;
};

} // namespace QuorvaneFuzz
