#include "support/limits.h"

#include <new>

namespace Bench
{

namespace
{

// The vectors are the compiler's: wider ones than the machine has are taken apart.
typedef uint8_t Wide __attribute__((vector_size(32), aligned(1), may_alias));
typedef uint8_t Half __attribute__((vector_size(16), aligned(1), may_alias));

template <typename Vector>
inline __attribute__((always_inline)) uint64_t Fold(const char *data, size_t bytes)
{
    constexpr size_t kWidth = sizeof(Vector);
    Vector sums[4] = {};
    size_t at = 0;
    for (; at + 4 * kWidth <= bytes; at += 4 * kWidth)
        for (size_t lane = 0; lane < 4; ++lane)
            sums[lane] |= *reinterpret_cast<const Vector *>(data + at + lane * kWidth);
    for (; at + kWidth <= bytes; at += kWidth)
        sums[0] |= *reinterpret_cast<const Vector *>(data + at);
    uint64_t rest = 0;
    for (; at < bytes; ++at)
        rest |= static_cast<uint8_t>(data[at]);
    const Vector all = (sums[0] | sums[1]) | (sums[2] | sums[3]);
    uint64_t folded;
    std::memcpy(&folded, &all, sizeof(folded));
    return folded | rest;
}

template <typename Vector>
inline __attribute__((always_inline)) void Flip(char *data, size_t bytes)
{
    constexpr size_t kWidth = sizeof(Vector);
    size_t at = 0;
    for (; at + 4 * kWidth <= bytes; at += 4 * kWidth)
        for (size_t lane = 0; lane < 4; ++lane)
            *reinterpret_cast<Vector *>(data + at + lane * kWidth) ^= 1;
    for (; at + kWidth <= bytes; at += kWidth)
        *reinterpret_cast<Vector *>(data + at) ^= 1;
    for (; at + sizeof(Half) <= bytes; at += sizeof(Half))
        *reinterpret_cast<Half *>(data + at) ^= 1;
    for (; at < bytes; ++at)
        data[at] ^= 1;
}

uint64_t FoldPlain(const char *data, size_t bytes)
{
    return Fold<Wide>(data, bytes);
}

void FlipPlain(char *data, size_t bytes)
{
    Flip<Wide>(data, bytes);
}

#if defined(__x86_64__)
bool HasAvx2()
{
    static const bool has = __builtin_cpu_supports("avx2");
    return has;
}

__attribute__((target("avx2"))) void FlipAvx2(char *data, size_t bytes)
{
    Flip<Wide>(data, bytes);
}

__attribute__((target("avx2"))) uint64_t FoldAvx2(const char *data, size_t bytes)
{
    return Fold<Wide>(data, bytes);
}
#endif

} // namespace

std::shared_ptr<char> MakeBuffer(size_t bytes)
{
    constexpr std::align_val_t kAlignment{64};
    char *const block = static_cast<char *>(::operator new(bytes + 64, kAlignment));
    std::memset(block, 'x', bytes + 64);
    return std::shared_ptr<char>(block, [](char *p) { ::operator delete(p, kAlignment); });
}

uint64_t ReadWide(const char *data, size_t bytes)
{
#if defined(__x86_64__)
    if (HasAvx2())
        return FoldAvx2(data, bytes);
#endif
    return FoldPlain(data, bytes);
}

void RewriteWide(char *data, size_t bytes)
{
#if defined(__x86_64__)
    if (HasAvx2())
        return FlipAvx2(data, bytes);
#endif
    FlipPlain(data, bytes);
}

} // namespace Bench
