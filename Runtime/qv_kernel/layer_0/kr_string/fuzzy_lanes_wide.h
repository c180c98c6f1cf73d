// The weights of one short query against sixteen short texts at once, with wide vectors.
//
// The arithmetic of fuzzy_column.h, with the query in the bits of every lane: 16-bit lanes for queries of up to 16
// characters, 32-bit ones in two vectors for up to 32. Sixteen characters of every text are loaded as they lie and
// transposed in registers, so that every character is touched once. The rows that hold a character are looked up in
// registers, too: for each upper half of a byte that occurs in the query there is a table of the lower halves.
#pragma once

#include "fuzzy_wide.h"

#if QV_SIMD_HAS_WIDE

QV_SIMD_WIDE_BEGIN

namespace Quorvane::Internal::Wide
{

constexpr u32 kLaneTexts = 16;

// The characters of containers, which may be read to the end of the 16-byte block of the terminator.
struct SFuzzyLaneTexts
{
    const char *m_Data[kLaneTexts];
    alignas(32) u16 m_Lengths[kLaneTexts]; // up to 255; 0 for an unused lane
};

// Written out: as an argument of a template, a vector type that depends on a template's parameter is no vector to g++.
template <typename Lane>
struct TFuzzyVector;

template <>
struct TFuzzyVector<u16>
{
    typedef u16 Type __attribute__((vector_size(32)));
};

template <>
struct TFuzzyVector<u32>
{
    typedef u32 Type __attribute__((vector_size(32)));
};

template <typename Lane>
class QV_INTERNAL_HIDDEN TFuzzyWideLanes
{
public:
    static constexpr u32 kMaxQuery = 8 * sizeof(Lane);

    // To be called before anything else, with a query of 1 to `kMaxQuery` characters.
    void SetQuery(const char *query, u32 length)
    {
        m_QueryLength = length;
        m_TableCount = 0;
        for (u32 i = 0; i < length; ++i)
        {
            STable &table = _TableOf(static_cast<u8>(query[i] & 0xF0));
            u8 &rows = table.m_Rows[i / 8][query[i] & 0x0F];
            rows = static_cast<u8>(rows | (1u << (i % 8)));
        }
    }

    void Weigh(const SFuzzyLaneTexts &texts, float (&outWeights)[kLaneTexts]) const
    {
        u32 longest = 0;
        for (const u16 length : texts.m_Lengths)
            longest = QVMax<u32>(longest, length);
        SState state = _Begin(texts);
        for (u32 start = 0; start < longest; start += kBlock)
            _AdvanceBlock(state, texts, start, QVMin(longest - start, kBlock));
        _Store(state, outWeights);
    }

private:
    // Vectors that the lanes of all texts take.
    static constexpr u32 kVectors = sizeof(Lane) / sizeof(u16);
    static constexpr u32 kBlock = 16;

    typedef typename TFuzzyVector<Lane>::Type Lanes;

    // For the characters of one upper half, eight rows a byte.
    struct STable
    {
        u8 m_UpperHalf;
        alignas(16) u8 m_Rows[sizeof(Lane)][16];
    };

    struct SState
    {
        TFuzzyColumn<Lanes> m_Columns[kVectors];
        Lanes m_FirstNotPlus[kVectors];
        Lanes m_Top[kVectors];
        Lanes m_Lengths[kVectors];
    };

    STable &_TableOf(u8 upperHalf)
    {
        for (u32 i = 0; i < m_TableCount; ++i)
            if (m_Tables[i].m_UpperHalf == upperHalf)
                return m_Tables[i];
        STable &table = m_Tables[m_TableCount++];
        table.m_UpperHalf = upperHalf;
        std::memset(table.m_Rows, 0, sizeof(table.m_Rows));
        return table;
    }

    // The lanes of 16-bit values, in the order that the transposition leaves: of two vectors, the first one has the
    // first four of each eight.
    static void _Spread(__m256i values, Lanes (&outLanes)[kVectors])
    {
        if constexpr (kVectors == 1)
            outLanes[0] = reinterpret_cast<Lanes>(values);
        else
        {
            outLanes[0] = reinterpret_cast<Lanes>(_mm256_unpacklo_epi16(values, _mm256_setzero_si256()));
            outLanes[1] = reinterpret_cast<Lanes>(_mm256_unpackhi_epi16(values, _mm256_setzero_si256()));
        }
    }

    SState _Begin(const SFuzzyLaneTexts &texts) const
    {
        SState state;
        _Spread(_mm256_load_si256(reinterpret_cast<const __m256i *>(texts.m_Lengths)), state.m_Lengths);
        for (u32 i = 0; i < kVectors; ++i)
        {
            const Lanes one = Lanes{} + static_cast<Lane>(1);
            const Lanes length = state.m_Lengths[i];
            // FuzzyBoundary: 1 where the query is the rows.
            const Lanes isRows = reinterpret_cast<Lanes>(length > static_cast<Lane>(m_QueryLength)) & one;
            state.m_Columns[i] = TFuzzyColumn<Lanes>{~isRows, Lanes{}};
            state.m_FirstNotPlus[i] = one - isRows;
            state.m_Top[i] = length + isRows;
        }
        return state;
    }

    void _AdvanceBlock(SState &state, const SFuzzyLaneTexts &texts, u32 start, u32 count) const
    {
        __m256i pairs[kBlock / 2];
        _Transpose(texts, start, pairs);
        SState advanced = state;
        for (u32 i = 0; i < count; i += 2)
        {
            Lanes matches[2][kVectors];
            _Match(pairs[i / 2], matches);
            _Advance(advanced, matches[0], start + i);
            _Advance(advanced, matches[1], start + i + 1);
        }
        state = advanced;
    }

    static __m256i _LoadTwo(const SFuzzyLaneTexts &texts, u32 text, u32 start)
    {
        alignas(kBlock) static constexpr char kEnded[kBlock] = {};
        const char *const low = start < texts.m_Lengths[text] ? texts.m_Data[text] + start : kEnded;
        const char *const high = start < texts.m_Lengths[text + 8] ? texts.m_Data[text + 8] + start : kEnded;
        return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i *>(low))),
                                       _mm_loadu_si128(reinterpret_cast<const __m128i *>(high)), 1);
    }

    // Each pair is one character of the sixteen texts and the next one: of eight texts in either half.
    static void _Transpose(const SFuzzyLaneTexts &texts, u32 start, __m256i (&outPairs)[kBlock / 2])
    {
        __m256i rows[8];
        for (u32 i = 0; i < 8; ++i)
            rows[i] = _LoadTwo(texts, i, start);
        __m256i mixed[8];
        for (u32 i = 0; i < 4; ++i)
        {
            mixed[i] = _mm256_unpacklo_epi8(rows[i], rows[i + 4]);
            mixed[i + 4] = _mm256_unpackhi_epi8(rows[i], rows[i + 4]);
        }
        for (u32 i = 0; i < 8; i += 4)
        {
            const __m256i evenLow = _mm256_unpacklo_epi8(mixed[i], mixed[i + 2]);
            const __m256i evenHigh = _mm256_unpackhi_epi8(mixed[i], mixed[i + 2]);
            const __m256i oddLow = _mm256_unpacklo_epi8(mixed[i + 1], mixed[i + 3]);
            const __m256i oddHigh = _mm256_unpackhi_epi8(mixed[i + 1], mixed[i + 3]);
            outPairs[i] = _mm256_unpacklo_epi8(evenLow, oddLow);
            outPairs[i + 1] = _mm256_unpackhi_epi8(evenLow, oddLow);
            outPairs[i + 2] = _mm256_unpacklo_epi8(evenHigh, oddHigh);
            outPairs[i + 3] = _mm256_unpackhi_epi8(evenHigh, oddHigh);
        }
    }

    // The rows that hold the characters of a pair.
    QV_FUZZY_INLINE void _Match(__m256i pair, Lanes (&outMatches)[2][kVectors]) const
    {
        __m256i rows[sizeof(Lane)] = {};
        for (u32 i = 0; i < m_TableCount; ++i)
        {
            const STable &table = m_Tables[i];
            // 0x70 and the lower half where the upper one is the table's, else above 0x7F, which looks up zero.
            const __m256i upperHalf = _mm256_set1_epi8(static_cast<char>(table.m_UpperHalf));
            const __m256i index = _mm256_adds_epu8(_mm256_xor_si256(pair, upperHalf), _mm256_set1_epi8(0x70));
            for (u32 byte = 0; byte < sizeof(Lane); ++byte)
                rows[byte] = _mm256_or_si256(rows[byte], _mm256_shuffle_epi8(_Broadcast(table.m_Rows[byte]), index));
        }
        const __m256i first = _mm256_unpacklo_epi8(rows[0], rows[1]);
        const __m256i second = _mm256_unpackhi_epi8(rows[0], rows[1]);
        if constexpr (kVectors == 1)
        {
            outMatches[0][0] = reinterpret_cast<Lanes>(first);
            outMatches[1][0] = reinterpret_cast<Lanes>(second);
        }
        else
        {
            const __m256i firstUpper = _mm256_unpacklo_epi8(rows[2], rows[3]);
            const __m256i secondUpper = _mm256_unpackhi_epi8(rows[2], rows[3]);
            outMatches[0][0] = reinterpret_cast<Lanes>(_mm256_unpacklo_epi16(first, firstUpper));
            outMatches[0][1] = reinterpret_cast<Lanes>(_mm256_unpackhi_epi16(first, firstUpper));
            outMatches[1][0] = reinterpret_cast<Lanes>(_mm256_unpacklo_epi16(second, secondUpper));
            outMatches[1][1] = reinterpret_cast<Lanes>(_mm256_unpackhi_epi16(second, secondUpper));
        }
    }

    static __m256i _Broadcast(const u8 *block)
    {
        return _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i *>(block)));
    }

    // Lanes whose text has ended keep their column.
    QV_FUZZY_INLINE static void _Advance(SState &state, const Lanes (&matches)[kVectors], u32 index)
    {
        for (u32 i = 0; i < kVectors; ++i)
        {
            TFuzzyColumn<Lanes> next = state.m_Columns[i];
            AdvanceColumn<Lanes>(next, matches[i], {state.m_FirstNotPlus[i], Lanes{}});
            const Lanes active = reinterpret_cast<Lanes>(state.m_Lengths[i] > static_cast<Lane>(index));
            state.m_Columns[i].m_Plus = _Choose(active, next.m_Plus, state.m_Columns[i].m_Plus);
            state.m_Columns[i].m_Minus = _Choose(active, next.m_Minus, state.m_Columns[i].m_Minus);
            state.m_FirstNotPlus[i] = Lanes{};
        }
    }

    // Not by the instruction that chooses: g++ 12 takes its mask for never set where char is unsigned.
    static Lanes _Choose(Lanes condition, Lanes a, Lanes b) { return (condition & a) | (~condition & b); }

    // The bits set in each byte (Mula).
    static __m256i _CountBits(__m256i bytes)
    {
        const __m256i counts = _mm256_setr_epi8(0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4, 0, 1, 1, 2, 1, 2, 2, 3,
                                                1, 2, 2, 3, 2, 3, 3, 4);
        const __m256i half = _mm256_set1_epi8(0x0F);
        const __m256i low = _mm256_and_si256(bytes, half);
        const __m256i high = _mm256_and_si256(_mm256_srli_epi16(bytes, 4), half);
        return _mm256_add_epi8(_mm256_shuffle_epi8(counts, low), _mm256_shuffle_epi8(counts, high));
    }

    // As SumOfColumn.
    Lanes _SumOf(const TFuzzyColumn<Lanes> &column) const
    {
        const Lanes counted = Lanes{} + static_cast<Lane>((1ull << m_QueryLength) - 1);
        const __m256i sums = _mm256_sub_epi8(_CountBits(reinterpret_cast<__m256i>(column.m_Plus & counted)),
                                             _CountBits(reinterpret_cast<__m256i>(column.m_Minus & counted)));
        const __m256i ofPairs = _mm256_maddubs_epi16(_mm256_set1_epi8(1), sums);
        if constexpr (kVectors == 1)
            return reinterpret_cast<Lanes>(ofPairs);
        else
            return reinterpret_cast<Lanes>(_mm256_madd_epi16(ofPairs, _mm256_set1_epi16(1)));
    }

    // As FuzzyWeight, of eight texts.
    static __m256 _Weights(__m256i totals, __m256i distances)
    {
        const __m256i similarity = _mm256_add_epi32(_mm256_sub_epi32(totals, distances), _mm256_set1_epi32(1));
        return _mm256_div_ps(_mm256_cvtepi32_ps(similarity), _mm256_cvtepi32_ps(totals));
    }

    void _Store(const SState &state, float (&outWeights)[kLaneTexts]) const
    {
        __m256i totals[kVectors];
        __m256i distances[kVectors];
        for (u32 i = 0; i < kVectors; ++i)
        {
            totals[i] = reinterpret_cast<__m256i>(state.m_Lengths[i] + static_cast<Lane>(m_QueryLength));
            distances[i] = reinterpret_cast<__m256i>(state.m_Top[i] + _SumOf(state.m_Columns[i]));
        }
        if constexpr (kVectors == 1)
        {
            _mm256_storeu_ps(outWeights, _Weights(_mm256_cvtepu16_epi32(_mm256_castsi256_si128(totals[0])),
                                                  _mm256_cvtepu16_epi32(_mm256_castsi256_si128(distances[0]))));
            _mm256_storeu_ps(outWeights + 8,
                             _Weights(_mm256_cvtepu16_epi32(_mm256_extracti128_si256(totals[0], 1)),
                                      _mm256_cvtepu16_epi32(_mm256_extracti128_si256(distances[0], 1))));
        }
        else
        {
            const __m256 first = _Weights(totals[0], distances[0]);
            const __m256 second = _Weights(totals[1], distances[1]);
            _mm256_storeu_ps(outWeights, _mm256_permute2f128_ps(first, second, 0x20));
            _mm256_storeu_ps(outWeights + 8, _mm256_permute2f128_ps(first, second, 0x31));
        }
    }

    u32 m_QueryLength;
    u32 m_TableCount;
    STable m_Tables[16];
};

} // namespace Quorvane::Internal::Wide

QV_SIMD_WIDE_END

#endif
