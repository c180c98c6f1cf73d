// The edit distance of one short query against several short texts at once, a vector lane each.
//
// The same arithmetic as in fuzzy_distance.h, with the query in the bits of every lane: 16-bit lanes for queries of up
// to 16 characters, 32-bit ones for up to 32. Written with the compilers' vector types, which become the machine's
// 16-byte registers.
#pragma once

#include <cstddef>
#include <utility>

#include "fuzzy_distance.h"

namespace Quorvane::Internal
{

// Texts up to this length are scored in lanes; their distances fit the narrowest lane.
constexpr u32 kMaxLaneText = 255;

// One lane's text: the characters of a container, which may be read to the end of the 16-byte block of the terminator.
struct SFuzzyLaneText
{
    const char *m_Data;
    u32 m_Length; // 0 for an unused lane
};

template <typename Lane>
class QV_INTERNAL_HIDDEN TFuzzyLanes
{
public:
    static constexpr u32 kCount = 16 / sizeof(Lane);
    static constexpr u32 kMaxQuery = 8 * sizeof(Lane);

    // Takes the query of up to `kMaxQuery` characters that the masks were made of; to be called before anything else.
    void SetQuery(const SFuzzyMasks &masks, u32 queryLength)
    {
        m_QueryLength = queryLength;
        for (u32 i = 0; i < 256; ++i)
            m_Rows[i] = static_cast<Lane>(masks.m_Rows[i]);
    }

    // Writes each text's distance.
    void Distances(const SFuzzyLaneText (&texts)[kCount], u32 (&outDistances)[kCount]) const
    {
        SState state = _Begin(texts);
        u32 longest = 0;
        for (const SFuzzyLaneText &text : texts)
            longest = QVMax(longest, text.m_Length);
        for (u32 start = 0; start < longest; start += kBlock)
            _AdvanceBlock(state, texts, start, QVMin(longest - start, kBlock));
        for (u32 lane = 0; lane < kCount; ++lane)
            outDistances[lane] = state.m_Distance[lane];
    }

private:
    typedef Lane Vector __attribute__((vector_size(16)));

    static constexpr u32 kBlock = 16;

    struct SState
    {
        Vector m_Plus;
        Vector m_Minus;
        Vector m_PlusIn;
        Vector m_Distance;
        Vector m_Length;
    };

    SState _Begin(const SFuzzyLaneText (&texts)[kCount]) const
    {
        SState state = {};
        for (u32 lane = 0; lane < kCount; ++lane)
        {
            const EFuzzyBits bits = m_QueryLength < texts[lane].m_Length ? FuzzyBits_Rows : FuzzyBits_Columns;
            const SFuzzyBoundary boundary = FuzzyBoundary(bits, texts[lane].m_Length);
            state.m_Plus[lane] = static_cast<Lane>(boundary.m_Plus);
            state.m_PlusIn[lane] = static_cast<Lane>(1 - boundary.m_FirstNotPlus);
            // The cell at the end of the query, before the text: the other boundary's top.
            state.m_Distance[lane] = static_cast<Lane>(bits == FuzzyBits_Rows ? m_QueryLength : m_QueryLength + 1);
            state.m_Length[lane] = static_cast<Lane>(texts[lane].m_Length);
        }
        return state;
    }

    // Advances all lanes over one block of their texts. Lanes that have ended read zeros and count nothing.
    void _AdvanceBlock(SState &state, const SFuzzyLaneText (&texts)[kCount], u32 start, u32 count) const
    {
        alignas(kBlock) static constexpr char kEnded[kBlock] = {};
        const char *blocks[kCount];
        for (u32 lane = 0; lane < kCount; ++lane)
            blocks[lane] = start < texts[lane].m_Length ? texts[lane].m_Data + start : kEnded;
        for (u32 i = 0; i < count; ++i)
            _Advance(state, _Match(blocks, i, std::make_index_sequence<kCount>()), static_cast<Lane>(start + i));
    }

    // The rows that hold character `i` of each lane's block. As one expression, so that it is built in registers.
    template <std::size_t... lane>
    Vector _Match(const char *const (&blocks)[kCount], u32 i, std::index_sequence<lane...>) const
    {
        return Vector{m_Rows[static_cast<u8>(blocks[lane][i])]...};
    }

    void _Advance(SState &state, Vector match, Lane index) const
    {
        const Vector one = Vector{} + static_cast<Lane>(1);
        const Vector active = reinterpret_cast<Vector>(state.m_Length > index);
        const Vector verticalZero = match | state.m_Minus;
        const Vector diagonalZero = (((match & state.m_Plus) + state.m_Plus) ^ state.m_Plus) | match;
        const Vector plusStep = state.m_Minus | ~(diagonalZero | state.m_Plus);
        const Vector minusStep = state.m_Plus & diagonalZero;
        const u32 bottom = m_QueryLength - 1;
        state.m_Distance += ((plusStep >> bottom) & one) & active;
        state.m_Distance -= ((minusStep >> bottom) & one) & active;
        const Vector plus = (plusStep << 1) | state.m_PlusIn;
        const Vector minus = minusStep << 1;
        state.m_Plus = minus | ~(verticalZero | plus);
        state.m_Minus = plus & verticalZero;
        state.m_PlusIn = one;
    }

    u32 m_QueryLength;
    Lane m_Rows[256];
};

} // namespace Quorvane::Internal
