// Wide instructions: asked for at run time, and compiled only between the two marks.
#include "kr_simd/simd_machine.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace
{

using namespace Quorvane;

#if QV_SIMD_HAS_WIDE

QV_SIMD_WIDE_BEGIN

namespace Wide
{

template <typename Visit>
void ForEachEight(const std::vector<u32> &values, const Visit &visit)
{
    for (size_t i = 0; i + 8 <= values.size(); i += 8)
        visit(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(values.data() + i)));
}

u32 Sum(const std::vector<u32> &values)
{
    __m256i sums = _mm256_setzero_si256();
    ForEachEight(values, [&](const __m256i &lanes) { sums = _mm256_add_epi32(sums, lanes); });
    alignas(32) u32 lanes[8];
    _mm256_store_si256(reinterpret_cast<__m256i *>(lanes), sums);
    return std::accumulate(lanes, lanes + 8, 0u);
}

} // namespace Wide

QV_SIMD_END

TEST(SimdMachine, RegionCompilesWideCodeInTemplatesAndLambdas)
{
    if (!Internal::Simd::HasWideInstructions())
        GTEST_SKIP() << "this machine has no wide instructions";
    std::vector<u32> values(64);
    std::iota(values.begin(), values.end(), 1u);
    EXPECT_EQ(Wide::Sum(values), 64u * 65u / 2u);
}

TEST(SimdMachine, AnswerIsThatOfTheCompilersQuestions)
{
    __builtin_cpu_init();
    EXPECT_EQ(Internal::Simd::AllowWideInstructions(true),
              __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") &&
                  __builtin_cpu_supports("popcnt"));
    EXPECT_EQ(Internal::Simd::AllowWidestInstructions(true),
              Internal::Simd::HasWideInstructions() && __builtin_cpu_supports("avx512f") &&
                  __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl"));
}

#endif

TEST(SimdMachine, CanBeDeniedAndAllowedAgain)
{
    const bool present = Internal::Simd::AllowWideInstructions(true);
    EXPECT_FALSE(Internal::Simd::AllowWideInstructions(false));
    EXPECT_FALSE(Internal::Simd::HasWideInstructions());
    EXPECT_EQ(Internal::Simd::AllowWideInstructions(true), present);
    EXPECT_EQ(Internal::Simd::HasWideInstructions(), present);
}

TEST(SimdMachine, TheWidestFormCanBeDeniedAlone)
{
    const bool wide = Internal::Simd::AllowWideInstructions(true);
    const bool widest = Internal::Simd::HasWidestInstructions();
    EXPECT_FALSE(Internal::Simd::AllowWidestInstructions(false));
    EXPECT_FALSE(Internal::Simd::HasWidestInstructions());
    EXPECT_EQ(Internal::Simd::HasWideInstructions(), wide);
    EXPECT_EQ(Internal::Simd::AllowWidestInstructions(true), widest);
    Internal::Simd::AllowWideInstructions(false);
    EXPECT_FALSE(Internal::Simd::HasWidestInstructions()) << "a denied form brings no wider one";
    EXPECT_EQ(Internal::Simd::AllowWideInstructions(true), wide);
    EXPECT_EQ(Internal::Simd::HasWidestInstructions(), widest);
}

} // namespace
