// Private header: wide instructions, chosen at run time.
//
// The library is compiled for the least machine of its kind. Code between QV_SIMD_WIDE_BEGIN and QV_SIMD_WIDE_END may
// use 32-byte vectors and the other extensions of the list below all the same; whoever calls it asks
// HasWideInstructions() first:
//
//     #if QV_SIMD_HAS_WIDE
//     QV_SIMD_WIDE_BEGIN
//     namespace Wide { u32 CountBlanks(const char *text, u32 length) { ... _mm256_... } }
//     QV_SIMD_WIDE_END
//     #endif
//
// Both compilers apply the region to what is defined in it, templates and lambdas included, and to nothing that was
// defined before. So inline functions and templates that both forms share are defined twice, in namespaces of their
// own: an inline function with one name and two codes would leave the linker to choose. Headers are included before
// the region for the same reason. A lambda there captures something: g++ compiles the conversion to a function pointer
// that other ones have outside of the region, and warns of vectors passed to it.
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

#if QV_SIMD_LEVEL >= 2 && defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define QV_SIMD_HAS_WIDE 1
#include <immintrin.h>
#else
#define QV_SIMD_HAS_WIDE 0
#endif

#if QV_SIMD_HAS_WIDE

// The extensions: what regions are compiled for is what the machine is asked for, both made from this list, so an
// extension that is not asked for cannot be used. It matters: a machine may deny any one of them, be it by a hypervisor,
// and some instructions then do something else instead of failing. LZCNT is such a one, and not in the list for want of
// a question that all compilers know.
#define QV_SIMD_WIDE_EXTENSIONS(first, further) first("avx2") further("bmi") further("bmi2") further("popcnt")

// As the compilers want them: the names with commas between, in pieces that the compiler joins.
#define QV_SIMD_NAME(name) name
#define QV_SIMD_FURTHER_NAME(name) "," name
#define QV_SIMD_WIDE_NAMES QV_SIMD_WIDE_EXTENSIONS(QV_SIMD_NAME, QV_SIMD_FURTHER_NAME)

#define QV_SIMD_PRAGMA_AS_IS(...) _Pragma(#__VA_ARGS__)
#define QV_SIMD_PRAGMA(...) QV_SIMD_PRAGMA_AS_IS(__VA_ARGS__)

#if defined(__clang__)
#define QV_SIMD_WIDE_BEGIN                                                                                             \
    QV_SIMD_PRAGMA(clang attribute push(__attribute__((target(QV_SIMD_WIDE_NAMES))), apply_to = function))
#define QV_SIMD_WIDE_END _Pragma("clang attribute pop")
#else
#define QV_SIMD_WIDE_BEGIN _Pragma("GCC push_options") QV_SIMD_PRAGMA(GCC target(QV_SIMD_WIDE_NAMES))
#define QV_SIMD_WIDE_END _Pragma("GCC pop_options")
#endif

#endif

namespace Quorvane::Internal
{

#if QV_SIMD_HAS_WIDE

enum EWideInstructions : u8
{
    WideInstructions_Unknown = 0,
    WideInstructions_Missing = 1,
    WideInstructions_Present = 2,
};

// Found out on the first question. Relaxed: every thread finds out the same, and nothing else depends on it.
extern std::atomic<u8> g_WideInstructions;

// Asks the machine, and remembers.
bool DetectWideInstructions();

// Whether this machine can run what stands in a wide region.
// Cost: a load and a branch that is always predicted.
inline bool HasWideInstructions()
{
    const u8 known = g_WideInstructions.load(std::memory_order_relaxed);
    return QV_INTERNAL_LIKELY(known != WideInstructions_Unknown) ? known == WideInstructions_Present
                                                                 : DetectWideInstructions();
}

#else

constexpr bool HasWideInstructions()
{
    return false;
}

#endif

// Denies or allows the wide forms from now on, as far as the machine has them: for tests, and to measure what they are
// worth. Returns: whether they are used now.
bool AllowWideInstructions(bool allowed);

} // namespace Quorvane::Internal
