// What every test of strings asks: is the text right, is its block well-formed, who shares it, what was reported.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "kr_mem_utils.h"
#include "kr_string.h"
#include "tail_bytes.h"

namespace QuorvaneTest
{

// The text by its length, embedded terminators included.
inline std::string TextOf(const Quorvane::CStringContainer &container)
{
    return std::string(container.Data(), container.Length());
}

inline std::string TextOf(const Quorvane::CString &string)
{
    return string.Data() != nullptr ? std::string(string.Data(), string.Length()) : std::string();
}

inline std::string TextOf(const Quorvane::CStringView &view)
{
    return view.Data() != nullptr ? std::string(view.Data(), view.Length()) : std::string();
}

// The container behind a handle, which is that pointer and nothing else.
inline Quorvane::CStringContainer *ContainerOf(const Quorvane::CString &string)
{
    static_assert(sizeof(string) == sizeof(Quorvane::CStringContainer *), "a handle is one pointer");
    Quorvane::CStringContainer *container = nullptr;
    std::memcpy(static_cast<void *>(&container), static_cast<const void *>(&string), sizeof(container));
    return container;
}

// Reads and writes a container's fields by their place, for tests of the layout and of broken containers.
template <typename T>
T FieldAt(const Quorvane::CStringContainer &container, size_t offset)
{
    T value;
    std::memcpy(&value, reinterpret_cast<const unsigned char *>(&container) + offset, sizeof(value));
    return value;
}

template <typename T>
void SetFieldAt(Quorvane::CStringContainer &container, size_t offset, T value)
{
    std::memcpy(reinterpret_cast<unsigned char *>(&container) + offset, &value, sizeof(value));
}

// Where the fields lie: behind the pointer to the table of virtual functions and the two counts.
constexpr size_t kLengthOffset = sizeof(void *) + 8;
constexpr size_t kCapacityOffset = sizeof(void *) + 12;
constexpr size_t kCharactersOffset = sizeof(void *) + 16;

inline Quorvane::u32 CapacityOf(const Quorvane::CStringContainer &container)
{
    return FieldAt<Quorvane::u32>(container, kCapacityOffset);
}

// For tests of what is promised to those who rely on the zeros behind a text.
#define QV_TEST_NEEDS_ZEROS_BEHIND_TEXTS()                                                                             \
    if (QV_POISON_TAIL)                                                                                                \
    GTEST_SKIP() << "this build leaves no zeros behind texts"

// A block is well-formed when block-wise readers may rely on it: aligned characters, and zero from the terminator to
// the end of its 16-byte block.
inline void ExpectWellFormed(const Quorvane::CStringContainer &container)
{
    const char *data = container.Data();
    const Quorvane::u32 length = container.Length();
    ASSERT_NE(data, nullptr);
    EXPECT_TRUE(Quorvane::Mem::IsAligned<16>(data));
    ASSERT_LT(length, Quorvane::CStringContainer::kLengthMask);
    for (Quorvane::u32 i = length; i < length / 16 * 16 + 16; ++i)
        EXPECT_TRUE(IsAsLeft(data, length, i)) << "at index " << i << " of a text of length " << length;
}

// The same for a handle, whose text must not hold terminators.
inline void ExpectWellFormed(const Quorvane::CString &string)
{
    if (string.Data() == nullptr)
    {
        EXPECT_EQ(string.Length(), 0u);
        EXPECT_TRUE(string.Empty());
        return;
    }
    ExpectWellFormed(*ContainerOf(string));
    EXPECT_EQ(string.Length(), std::strlen(string.Data()));
}

inline void ExpectText(const Quorvane::CString &string, const std::string &text)
{
    EXPECT_EQ(TextOf(string), text);
    ExpectWellFormed(string);
}

// Exactly these reports, in this order. A build without assertions reports nothing at all.
inline void ExpectReports(const CAssertRecorder &recorder, const std::vector<std::string> &expressions)
{
#if QV_ASSERTS
    EXPECT_EQ(recorder.Expressions(), expressions);
#else
    static_cast<void>(expressions);
    EXPECT_EQ(recorder.Count(), 0u);
#endif
}

} // namespace QuorvaneTest
