// The block forms that this machine has, and the `_16` helpers in each of them, for typed tests.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "kr_buffer.h"
#include "kr_buffer/buffer_kernels.h"
#include "kr_buffer/buffer_wide.h"
#include "kr_simd/simd_block.h"

namespace QuorvaneTest
{

// The helpers over one block form.
template <typename Block>
struct TFormOf
{
    using CExact = Quorvane::Internal::SExactBytes;
    using CLowerCase = Quorvane::Internal::SLowerCaseBytes;

    static bool IsAvailable() { return true; }

    static const Quorvane::u8 *Bytes(const char *data) { return reinterpret_cast<const Quorvane::u8 *>(data); }
    static Quorvane::u8 *Bytes(char *data) { return reinterpret_cast<Quorvane::u8 *>(data); }
    static Quorvane::u8 Byte(char character) { return static_cast<Quorvane::u8>(character); }

    static bool Equal(const char *a, const char *b, Quorvane::u32 length)
    {
        return Quorvane::Internal::FirstDifference<Block, CExact>(Bytes(a), Bytes(b), length) == length;
    }
    static bool EqualCase(const char *a, const char *b, Quorvane::u32 length)
    {
        return Quorvane::Internal::FirstDifference<Block, CLowerCase>(Bytes(a), Bytes(b), length) == length;
    }
    static Quorvane::s32 Compare(const char *a, const char *b, Quorvane::u32 length)
    {
        return Quorvane::Internal::CompareBytes<Block, CExact>(Bytes(a), Bytes(b), length);
    }
    static Quorvane::s32 CompareCase(const char *a, const char *b, Quorvane::u32 length)
    {
        return Quorvane::Internal::CompareBytes<Block, CLowerCase>(Bytes(a), Bytes(b), length);
    }
    static void Reverse(char *data, Quorvane::u32 length)
    {
        Quorvane::Internal::ReverseBytes<Block>(Bytes(data), length);
    }
    static void Uppercase(char *data, Quorvane::u32 length)
    {
        Quorvane::Internal::FlipCase<Block>(Bytes(data), length, 'a', 'z');
    }
    static void Lowercase(char *data, Quorvane::u32 length)
    {
        Quorvane::Internal::FlipCase<Block>(Bytes(data), length, 'A', 'Z');
    }
    static void Uppercase(char *dst, const char *src, Quorvane::u32 length)
    {
        Quorvane::Internal::FlipCaseIntoCopy<Block>(Bytes(dst), Bytes(src), length, 'a', 'z');
    }
    static void Lowercase(char *dst, const char *src, Quorvane::u32 length)
    {
        Quorvane::Internal::FlipCaseIntoCopy<Block>(Bytes(dst), Bytes(src), length, 'A', 'Z');
    }
    static Quorvane::u32 Replace(char *data, Quorvane::u32 length, char from, char to)
    {
        return Quorvane::Internal::ReplaceInPlace<Block>(Bytes(data), length, Byte(from), Byte(to));
    }
    static Quorvane::u32 Replace(char *dst, const char *src, Quorvane::u32 length, char from, char to)
    {
        return Quorvane::Internal::ReplaceIntoCopy<Block>(Bytes(dst), Bytes(src), length, Byte(from), Byte(to));
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
};

// The kernels of 32-byte blocks at every length, also where the library would not use them, and what has no wide kernel
// as the library offers it.
struct SWideForm : SPublicForm
{
    using CBytes = TFormOf<Quorvane::Internal::SBlock>;

    static bool IsAvailable() { return Quorvane::Internal::HasWideInstructions(); }

    static bool EqualCase(const char *a, const char *b, Quorvane::u32 length)
    {
        return FirstDifferenceCase(a, b, length) == length;
    }
    static void Reverse(char *data, Quorvane::u32 length)
    {
        Quorvane::Internal::Wide::ReverseBytes(CBytes::Bytes(data), length);
    }
    static void Uppercase(char *data, Quorvane::u32 length)
    {
        Quorvane::Internal::Wide::Uppercase(CBytes::Bytes(data), length);
    }
    static void Lowercase(char *data, Quorvane::u32 length)
    {
        Quorvane::Internal::Wide::Lowercase(CBytes::Bytes(data), length);
    }
    static void Uppercase(char *dst, const char *src, Quorvane::u32 length)
    {
        Quorvane::Internal::Wide::UppercaseIntoCopy(CBytes::Bytes(dst), CBytes::Bytes(src), length);
    }
    static void Lowercase(char *dst, const char *src, Quorvane::u32 length)
    {
        Quorvane::Internal::Wide::LowercaseIntoCopy(CBytes::Bytes(dst), CBytes::Bytes(src), length);
    }
    static Quorvane::u32 Replace(char *data, Quorvane::u32 length, char from, char to)
    {
        return Quorvane::Internal::Wide::ReplaceInPlace(CBytes::Bytes(data), length, CBytes::Byte(from),
                                                        CBytes::Byte(to));
    }
    static Quorvane::u32 Replace(char *dst, const char *src, Quorvane::u32 length, char from, char to)
    {
        return Quorvane::Internal::Wide::ReplaceIntoCopy(CBytes::Bytes(dst), CBytes::Bytes(src), length,
                                                         CBytes::Byte(from), CBytes::Byte(to));
    }

private:
    static Quorvane::u32 FirstDifferenceCase(const char *a, const char *b, Quorvane::u32 length)
    {
        return Quorvane::Internal::Wide::FirstDifferenceCase(CBytes::Bytes(a), CBytes::Bytes(b), length);
    }
};

using SBlockPortable = Quorvane::Internal::Simd::SBlockPortable;

#if QV_SIMD_HAS_SSE2
using SBlockOfMachine = Quorvane::Internal::Simd::SBlockSse2;
#elif QV_SIMD_HAS_NEON
using SBlockOfMachine = Quorvane::Internal::Simd::SBlockNeon;
#endif

#if QV_SIMD_HAS_WIDE
using CBlockForms = ::testing::Types<SBlockPortable, SBlockOfMachine>;
using CHelperForms = ::testing::Types<SPublicForm, SWideForm, TFormOf<SBlockPortable>, TFormOf<SBlockOfMachine>>;
#elif QV_SIMD_HAS_SSE2 || QV_SIMD_HAS_NEON
using CBlockForms = ::testing::Types<SBlockPortable, SBlockOfMachine>;
using CHelperForms = ::testing::Types<SPublicForm, TFormOf<SBlockPortable>, TFormOf<SBlockOfMachine>>;
#else
using CBlockForms = ::testing::Types<SBlockPortable>;
using CHelperForms = ::testing::Types<SPublicForm, TFormOf<SBlockPortable>>;
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
