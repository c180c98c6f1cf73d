// The block forms that this machine has, and the `_16` helpers in each of them, for typed tests.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "kr_buffer.h"
#include "kr_buffer/buffer_edit.h"
#include "kr_buffer/buffer_kernels.h"

#define QV_SIMD_NAMESPACE QuorvaneTest
#define QV_SIMD_KERNELS "support/buffer_form.inc"
#include "kr_simd/simd_each_form.inc"

namespace QuorvaneTest
{

// The helpers over one block form.
template <typename Block>
struct TFormOf
{
    using CExact = Narrow::Kernels::SExactBytes;
    using CLowerCase = Narrow::Kernels::SLowerCaseBytes;

    static bool IsAvailable() { return true; }

    static const Quorvane::u8 *Bytes(const char *data) { return reinterpret_cast<const Quorvane::u8 *>(data); }
    static Quorvane::u8 *Bytes(char *data) { return reinterpret_cast<Quorvane::u8 *>(data); }
    static Quorvane::u8 Byte(char character) { return static_cast<Quorvane::u8>(character); }

    static bool Equal(const char *a, const char *b, Quorvane::u32 length)
    {
        return Narrow::Kernels::FirstDifference<Block, CExact>(Bytes(a), Bytes(b), length) == length;
    }
    static bool EqualCase(const char *a, const char *b, Quorvane::u32 length)
    {
        return Narrow::Kernels::FirstDifference<Block, CLowerCase>(Bytes(a), Bytes(b), length) == length;
    }
    static Quorvane::s32 Compare(const char *a, const char *b, Quorvane::u32 length)
    {
        return Narrow::Kernels::CompareBytes<Block, CExact>(Bytes(a), Bytes(b), length);
    }
    static Quorvane::s32 CompareCase(const char *a, const char *b, Quorvane::u32 length)
    {
        return Narrow::Kernels::CompareBytes<Block, CLowerCase>(Bytes(a), Bytes(b), length);
    }
    static void Reverse(char *data, Quorvane::u32 length) { Narrow::Kernels::ReverseBytes<Block>(Bytes(data), length); }
    static void Uppercase(char *data, Quorvane::u32 length) { Narrow::Kernels::Uppercase<Block>(Bytes(data), length); }
    static void Lowercase(char *data, Quorvane::u32 length) { Narrow::Kernels::Lowercase<Block>(Bytes(data), length); }
    static void Uppercase(char *dst, const char *src, Quorvane::u32 length)
    {
        Narrow::Kernels::UppercaseIntoCopy<Block>(Bytes(dst), Bytes(src), length);
    }
    static void Lowercase(char *dst, const char *src, Quorvane::u32 length)
    {
        Narrow::Kernels::LowercaseIntoCopy<Block>(Bytes(dst), Bytes(src), length);
    }
    static Quorvane::u32 Replace(char *data, Quorvane::u32 length, char from, char to)
    {
        return Narrow::Kernels::ReplaceInPlace<Block>(Bytes(data), length, Byte(from), Byte(to));
    }
    static Quorvane::u32 Replace(char *dst, const char *src, Quorvane::u32 length, char from, char to)
    {
        return Narrow::Kernels::ReplaceIntoCopy<Block>(Bytes(dst), Bytes(src), length, Byte(from), Byte(to));
    }
    static void ReplaceUncounted(char *dst, const char *src, Quorvane::u32 length, char from, char to)
    {
        Narrow::Kernels::ReplaceIntoCopyUncounted<Block>(Bytes(dst), Bytes(src), length, Byte(from), Byte(to));
    }
};

// The helpers as the library offers them.
struct SPublicForm
{
    using Utils = Quorvane::SNativeStringUtils;

    static bool IsAvailable() { return true; }

    static bool Equal(const char *a, const char *b, Quorvane::u32 length) { return Utils::Equal_16(a, b, length); }
    static bool EqualCase(const char *a, const char *b, Quorvane::u32 length)
    {
        return Utils::EqualCase_16(a, b, length);
    }
    static Quorvane::s32 Compare(const char *a, const char *b, Quorvane::u32 length)
    {
        return Utils::Compare_16(a, b, length);
    }
    static Quorvane::s32 CompareCase(const char *a, const char *b, Quorvane::u32 length)
    {
        return Utils::CompareCase_16(a, b, length);
    }
    static void Reverse(char *data, Quorvane::u32 length) { Utils::Reverse_16(data, length); }
    static void Uppercase(char *data, Quorvane::u32 length) { Utils::Uppercase_16(data, length); }
    static void Lowercase(char *data, Quorvane::u32 length) { Utils::Lowercase_16(data, length); }
    static void Uppercase(char *dst, const char *src, Quorvane::u32 length) { Utils::Uppercase_16(dst, src, length); }
    static void Lowercase(char *dst, const char *src, Quorvane::u32 length) { Utils::Lowercase_16(dst, src, length); }
    static Quorvane::u32 Replace(char *data, Quorvane::u32 length, char from, char to)
    {
        return Utils::Replace_16(data, length, from, to);
    }
    static Quorvane::u32 Replace(char *dst, const char *src, Quorvane::u32 length, char from, char to)
    {
        return Utils::Replace_16(dst, src, length, from, to);
    }
    static void ReplaceUncounted(char *dst, const char *src, Quorvane::u32 length, char from, char to)
    {
        Quorvane::Internal::Buffer::ReplaceIntoCopy(dst, src, length, from, to);
    }
};

// The kernels of a form with wider blocks at every length, also where the library would not use them, and what has no
// wide kernel as the library offers it.
template <typename Kernels>
struct TWiderForm : SPublicForm
{
    static bool EqualCase(const char *a, const char *b, Quorvane::u32 length)
    {
        return Kernels::EqualCase(a, b, length);
    }
    static void Reverse(char *data, Quorvane::u32 length) { Kernels::Reverse(data, length); }
    static void Uppercase(char *data, Quorvane::u32 length) { Kernels::Uppercase(data, length); }
    static void Lowercase(char *data, Quorvane::u32 length) { Kernels::Lowercase(data, length); }
    static void Uppercase(char *dst, const char *src, Quorvane::u32 length) { Kernels::Uppercase(dst, src, length); }
    static void Lowercase(char *dst, const char *src, Quorvane::u32 length) { Kernels::Lowercase(dst, src, length); }
    static Quorvane::u32 Replace(char *data, Quorvane::u32 length, char from, char to)
    {
        return Kernels::Replace(data, length, from, to);
    }
    static Quorvane::u32 Replace(char *dst, const char *src, Quorvane::u32 length, char from, char to)
    {
        return Kernels::Replace(dst, src, length, from, to);
    }
    static void ReplaceUncounted(char *dst, const char *src, Quorvane::u32 length, char from, char to)
    {
        Kernels::ReplaceUncounted(dst, src, length, from, to);
    }
};

// The wider forms that the machine may lack. Where a build has none, each name means the next narrower one.

struct SWideForm : TWiderForm<Wide::SKernels>
{
    using CKernels = Wide::SKernels;
    static bool IsAvailable() { return Quorvane::Internal::Simd::HasWideInstructions(); }
};

struct SWidestForm : TWiderForm<Widest::SKernels>
{
    using CKernels = Widest::SKernels;
    static bool IsAvailable() { return Quorvane::Internal::Simd::HasWidestInstructions(); }
};

using SBlockPortable = Quorvane::Internal::Simd::SBlockPortable;

#if QV_SIMD_HAS_SSE2
using SBlockOfMachine = Quorvane::Internal::Simd::SBlockSse2;
#elif QV_SIMD_HAS_NEON
using SBlockOfMachine = Quorvane::Internal::Simd::SBlockNeon;
#endif

#if QV_SIMD_HAS_WIDE
using CBlockForms = ::testing::Types<SBlockPortable, SBlockOfMachine>;
using CHelperForms =
    ::testing::Types<SPublicForm, SWideForm, SWidestForm, TFormOf<SBlockPortable>, TFormOf<SBlockOfMachine>>;
#elif QV_SIMD_HAS_SSE2 || QV_SIMD_HAS_NEON
using CBlockForms = ::testing::Types<SBlockPortable, SBlockOfMachine>;
using CHelperForms = ::testing::Types<SPublicForm, TFormOf<SBlockPortable>, TFormOf<SBlockOfMachine>>;
#else
using CBlockForms = ::testing::Types<SBlockPortable>;
using CHelperForms = ::testing::Types<SPublicForm, TFormOf<SBlockPortable>>;
#endif

#if QV_SIMD_HAS_WIDE
using CWiderForms = ::testing::Types<SWideForm, SWidestForm>;
#else
using CWiderForms = ::testing::Types<SWideForm>;
#endif

// What a form is called in the tests' names.
template <typename Form>
struct TFormName;

template <>
struct TFormName<SPublicForm>
{
    static constexpr const char *kName = "Public";
};

template <>
struct TFormName<SWideForm>
{
    static constexpr const char *kName = "Wide";
};

template <>
struct TFormName<SWidestForm>
{
    static constexpr const char *kName = "Widest";
};

template <>
struct TFormName<SBlockPortable>
{
    static constexpr const char *kName = "Portable";
};

#if QV_SIMD_HAS_SSE2
template <>
struct TFormName<Quorvane::Internal::Simd::SBlockSse2>
{
    static constexpr const char *kName = "Sse2";
};
#endif

#if QV_SIMD_HAS_NEON
template <>
struct TFormName<Quorvane::Internal::Simd::SBlockNeon>
{
    static constexpr const char *kName = "Neon";
};
#endif

template <typename Block>
struct TFormName<TFormOf<Block>> : TFormName<Block>
{
};

struct SFormNames
{
    template <typename Form>
    static std::string GetName(int)
    {
        return TFormName<Form>::kName;
    }
};

} // namespace QuorvaneTest
