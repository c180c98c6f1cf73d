// Private header: the forms that code is compiled in, what each of them may use of the machine, and the choice among
// them at run time.
//
// The library is compiled for the least machine of its kind. Code that gains from wider registers is compiled once for
// each form, in a namespace of its own (simd_each_form.inc):
//
//     Narrow    blocks of 16 bytes: what every machine of the kind has, or the portable form
//     Wide      blocks of 32 bytes: where HasWideInstructions()
//     Widest    blocks of 64 bytes: where HasWidestInstructions()
//
// Code of a wider form lies in a region, between QV_SIMD_WIDE_BEGIN or QV_SIMD_WIDEST_BEGIN and QV_SIMD_END, where the
// extensions of the lists below may be used. Both compilers apply the region to what is defined in it, templates and
// lambdas included, and to nothing that was defined before. So inline functions and templates that several forms share
// are defined once for each, in namespaces of their own: an inline function with one name and two codes would leave the
// linker to choose. Headers are included before the region for the same reason. A lambda there captures something: g++
// compiles the conversion to a function pointer that other ones have outside of the region, and warns of vectors passed
// to it.
//
// The vectors are those of the machine alone; no result depends on the choice.
#pragma once

#include <atomic>

#include "qv_defs.h"

// How far a build goes: 0 takes the portable forms, 1 what every machine of the kind has, 2 what this one has besides.
// Less than 2 is for testing.
#if !defined(QV_SIMD_LEVEL)
#define QV_SIMD_LEVEL 2
#endif

#if QV_SIMD_LEVEL >= 2 && defined(__x86_64__)
#define QV_SIMD_HAS_WIDE 1
#define QV_SIMD_HAS_WIDEST 1
#include <immintrin.h>
#else
#define QV_SIMD_HAS_WIDE 0
#define QV_SIMD_HAS_WIDEST 0
#endif

// A walk and its steps must become one loop: as calls they would pass every block through memory. For short texts the
// call of a kernel itself costs more than its work, too.
#define QV_SIMD_INLINE __attribute__((always_inline))

#if QV_SIMD_HAS_WIDE

// The extensions of each form: what regions are compiled for is what the machine is asked for, both made from these
// lists, so an extension that is not asked for cannot be used. It matters: a machine may deny any one of them, be it by
// a hypervisor, and some instructions then do something else instead of failing. LZCNT is such a one, and not in the
// lists for want of a question that all compilers know.
#define QV_SIMD_WIDE_EXTENSIONS(first, next) first("avx2") next("bmi") next("bmi2") next("popcnt")
#define QV_SIMD_WIDEST_EXTENSIONS(a, b) QV_SIMD_WIDE_EXTENSIONS(a, b) b("avx512f") b("avx512bw") b("avx512vl")

// As the compilers want them: the names with commas between, in pieces that the compiler joins.
#define QV_SIMD_NAME(name) name
#define QV_SIMD_NEXT_NAME(name) "," name

#define QV_SIMD_PRAGMA_AS_IS(...) _Pragma(#__VA_ARGS__)
#define QV_SIMD_PRAGMA(...) QV_SIMD_PRAGMA_AS_IS(__VA_ARGS__)

#if defined(__clang__)
#define QV_SIMD_BEGIN(extensions)                                                                                      \
    QV_SIMD_PRAGMA(clang attribute push(__attribute__((target(extensions(QV_SIMD_NAME, QV_SIMD_NEXT_NAME)))),          \
                                        apply_to = function))
#define QV_SIMD_END _Pragma("clang attribute pop")
#else
#define QV_SIMD_BEGIN(extensions)                                                                                      \
    _Pragma("GCC push_options") QV_SIMD_PRAGMA(GCC target(extensions(QV_SIMD_NAME, QV_SIMD_NEXT_NAME)))
#define QV_SIMD_END _Pragma("GCC pop_options")
#endif

#define QV_SIMD_WIDE_BEGIN QV_SIMD_BEGIN(QV_SIMD_WIDE_EXTENSIONS)
#define QV_SIMD_WIDEST_BEGIN QV_SIMD_BEGIN(QV_SIMD_WIDEST_EXTENSIONS)

// Whether the machine has all of a list. The compiler's questions cover the system's share, too: whether it keeps the
// wide registers of a thread. They want __builtin_cpu_init() before, where they may come before the constructor that
// prepares them.
#define QV_SIMD_ASK(name) __builtin_cpu_supports(name)
#define QV_SIMD_ASK_NEXT(name) &&__builtin_cpu_supports(name)
#define QV_SIMD_MACHINE_HAS(extensions) (extensions(QV_SIMD_ASK, QV_SIMD_ASK_NEXT))

#endif

// Calls a kernel in its wide form where `condition` holds and the machine has it, and else in the narrow one. For use
// where `Wide` and `Narrow` name the forms' namespaces of a service:
//
//     return QV_SIMD_CALL(length >= kMinWideLength, FirstDifferenceCase(a, b, length));
#define QV_SIMD_CALL(condition, ...)                                                                                   \
    ((condition) && ::Quorvane::Internal::Simd::HasWideInstructions() ? Wide::__VA_ARGS__ : Narrow::__VA_ARGS__)

// The same with the widest form where `widestCondition` holds, for kernels that gain from it: not all do.
#define QV_SIMD_CALL_WIDEST(widestCondition, condition, ...)                                                           \
    ((widestCondition) && ::Quorvane::Internal::Simd::HasWidestInstructions() ? Widest::__VA_ARGS__                    \
                                                                              : QV_SIMD_CALL(condition, __VA_ARGS__))

namespace Quorvane::Internal::Simd
{

#if QV_SIMD_HAS_WIDE

// Each has what those before it have.
enum EWideInstructions : u8
{
    WideInstructions_Unknown = 0,
    WideInstructions_Missing = 1,
    WideInstructions_Present = 2,
    WideInstructions_Widest = 3,
};

// Found out on the first question. Relaxed: every thread finds out the same, and nothing else depends on it.
extern std::atomic<u8> g_WideInstructions;

// Asks the machine, and remembers.
QV_INTERNAL_COLD u8 DetectWideInstructions() noexcept QV_NONBLOCKING;

inline u8 WideInstructions()
{
    const u8 known = g_WideInstructions.load(std::memory_order_relaxed);
    return QV_INTERNAL_LIKELY(known != WideInstructions_Unknown) ? known : DetectWideInstructions();
}

// Whether this machine can run what stands in a wide region, and in a widest one.
// Cost: a load and branches that are always predicted.

inline bool HasWideInstructions()
{
    return WideInstructions() >= WideInstructions_Present;
}

inline bool HasWidestInstructions()
{
    return WideInstructions() == WideInstructions_Widest;
}

#else

constexpr bool HasWideInstructions()
{
    return false;
}

constexpr bool HasWidestInstructions()
{
    return false;
}

#endif

// Deny or allow the wide forms, or the widest one alone, from now on, as far as the machine has them: for tests, and to
// measure what they are worth. Allowing the one allows the other. Return: whether it is used now.
bool AllowWideInstructions(bool allowed);
bool AllowWidestInstructions(bool allowed);

} // namespace Quorvane::Internal::Simd
