// Where the characters of a text stand, as bits by character: for one strip of rows, and for some of them.
#pragma once

#include "fuzzy_recurrence.h"

namespace Quorvane::Internal::Fuzzy
{

// For every byte value, the rows of one strip that hold it.
struct SMasks
{
    u64 m_Rows[256];

    void Clear() { std::memset(m_Rows, 0, sizeof(m_Rows)); }

    // Clears only what a text will look up: less than all for short texts.
    void ClearFor(SText text)
    {
        for (u32 i = 0; i < text.m_Length; ++i)
            m_Rows[static_cast<u8>(text.m_Data[i])] = 0;
    }

    void Add(SText rows)
    {
        for (u32 i = 0; i < rows.m_Length; ++i)
            m_Rows[static_cast<u8>(rows.m_Data[i])] |= 1ull << i;
    }
};

// The bit of each upper half of a character, among the characters below 128 and among the others.
alignas(16) constexpr u8 kBitOfUpperHalf[16] = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};

// Which characters occur in a query, for look-ups in 16 entries: that of a lower half has a bit for each upper half.
struct SLetters
{
    explicit SLetters(SText query) : m_Below128{}, m_Above127{}
    {
        for (u32 i = 0; i < query.m_Length; ++i)
        {
            const u8 character = static_cast<u8>(query.m_Data[i]);
            u8 &entry = (character < 128 ? m_Below128 : m_Above127)[character & 0x0F];
            entry = static_cast<u8>(entry | kBitOfUpperHalf[character >> 4]);
        }
    }

    alignas(16) u8 m_Below128[16];
    alignas(16) u8 m_Above127[16];
};

// A text, and how many characters of it must match for its weight to be wanted.
struct SCandidate
{
    SText m_Text;
    u32 m_Need;
};

// The rows of some strips, for the byte values that occur in their rows: all others share one entry. Rows seldom hold
// more than some ten different characters, and a table of all byte values would be most of the stack that there is.
template <u32 kStrips>
struct TEntries
{
    static constexpr u32 kNone = 0; // the entry of byte values that no row holds

    const u8 *m_EntryOf;          // by byte value
    const u64 (*m_Rows)[kStrips]; // of each entry the even strips, then the odd ones

    const u64 (&Of(char character) const)[kStrips] { return m_Rows[m_EntryOf[static_cast<u8>(character)]]; }
};

// Room for `kEntries` different characters, one less than entries.
template <u32 kStrips, u32 kEntries>
class TEntryTable
{
public:
    static_assert(kEntries <= 256, "an entry's number has 8 bits");

    TEntryTable()
    {
        std::memset(m_EntryOf, TEntries<kStrips>::kNone, sizeof(m_EntryOf));
        std::memset(m_Rows[0], 0, sizeof(m_Rows[0]));
    }

    // Adds rows. To be called once.
    // Returns: false when they hold too many different characters.
    bool Add(SText rows)
    {
        u32 used = 1;
        for (u32 i = 0; i < rows.m_Length; ++i)
        {
            u8 &entry = m_EntryOf[static_cast<u8>(rows.m_Data[i])];
            // When all other byte values have entries, no row lacks the one that is left: its entry is that of none.
            if (entry == TEntries<kStrips>::kNone && used != 256)
            {
                if (used == kEntries)
                    return false;
                std::memset(m_Rows[used], 0, sizeof(m_Rows[used]));
                entry = static_cast<u8>(used++);
            }
            m_Rows[entry][_PlaceOf(i / kStripRows)] |= 1ull << (i % kStripRows);
        }
        return true;
    }

    TEntries<kStrips> Entries() const { return {m_EntryOf, m_Rows}; }

private:
    static u32 _PlaceOf(u32 strip) { return strip % 2 * (kStrips / 2) + strip / 2; }

    alignas(32) u64 m_Rows[kEntries][kStrips];
    u8 m_EntryOf[256];
};

constexpr u32 kPairStrips = 2;
constexpr u32 kPairRows = kPairStrips * kStripRows;

// Two strips of rows, however many different characters they hold.
class CPairMasks : public TEntryTable<kPairStrips, kPairRows + 1>
{
public:
    explicit CPairMasks(SText rows) { Add(rows); }
};

} // namespace Quorvane::Internal::Fuzzy
