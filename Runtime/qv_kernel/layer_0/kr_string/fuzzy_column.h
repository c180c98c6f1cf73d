// The steps of the edit distance, for one strip of rows or for some of them in the lanes of a vector, and the walks of
// one strip and of two.
//
// Without a guard, because it is included once for each form of the code: in the namespace of the form, and for wide
// instructions within their region.

// The vertical differences of a strip's rows in one column: +1 and -1 as bits, 0 in neither.
template <typename Word>
struct TFuzzyColumn
{
    Word m_Plus;
    Word m_Minus;
};

// The horizontal differences of a strip's rows between two columns: those that are not +1, and -1, as bits.
template <typename Word>
struct TFuzzyStep
{
    Word m_NotPlus;
    Word m_Minus;
};

// Advances the column by one character of the other text, whose rows are `match`, below the horizontal difference `in`
// (0 or 1 each).
//
// Each column waits for the one before, so what counts is the length of the chain from differences to differences:
// seven operations here. Hence the complement of +1, which spares an inversion, and two sums side by side: the
// complement of m_Plus + carried is ~m_Plus - carried.
template <typename Word>
QV_FUZZY_INLINE inline TFuzzyStep<Word> AdvanceColumn(TFuzzyColumn<Word> &column, Word match,
                                                      const TFuzzyStep<Word> &in)
{
    const Word verticalZero = match | column.m_Minus;
    const Word matchIn = match | in.m_Minus;
    const Word carried = matchIn & column.m_Plus;
    const Word sum = column.m_Plus + carried;
    const Word notSum = ~column.m_Plus - carried;
    const TFuzzyStep<Word> step = {(sum | (column.m_Plus | matchIn)) & ~column.m_Minus,
                                   (notSum & column.m_Plus) | carried};
    const Word notPlus = (step.m_NotPlus + step.m_NotPlus) | in.m_NotPlus;
    const Word minus = (step.m_Minus + step.m_Minus) | in.m_Minus;
    column.m_Plus = minus | (notPlus & ~verticalZero);
    column.m_Minus = verticalZero & ~notPlus;
    return step;
}

// The difference below a strip, for the strip below.
inline TFuzzyStep<u64> LowestOf(const TFuzzyStep<u64> &step)
{
    return {step.m_NotPlus >> (kStripRows - 1), step.m_Minus >> (kStripRows - 1)};
}

// The distance with at most one strip of bits.
inline u32 DistanceOfStrip(const SFuzzyMasks &masks, u32 bitsLength, EFuzzyBits bits, const char *text, u32 textLength)
{
    const SFuzzyBoundary boundary = FuzzyBoundary(bits, textLength);
    TFuzzyColumn<u64> column = {boundary.m_Plus, 0};
    TFuzzyStep<u64> above = {boundary.m_FirstNotPlus, 0};
    for (u32 i = 0; i < textLength; ++i)
    {
        AdvanceColumn(column, masks.m_Rows[static_cast<u8>(text[i])], above);
        above.m_NotPlus = 0;
    }
    return boundary.m_Top + SumOfColumn(column.m_Plus, column.m_Minus, bitsLength);
}

// The distance with at most two strips of bits, which hold the rows: no difference comes from above.
inline u32 DistanceOfTwoStrips(const TFuzzyEntries<2> &masks, u32 rows, const char *text, u32 textLength)
{
    const SFuzzyBoundary boundary = FuzzyBoundary(FuzzyBits_Rows, textLength);
    const TFuzzyStep<u64> above = {0, 0};
    TFuzzyColumn<u64> upper = {boundary.m_Plus, 0};
    TFuzzyColumn<u64> lower = {~0ull, 0};
    for (u32 i = 0; i < textLength; ++i)
    {
        const u64(&match)[2] = masks.Of(text[i]);
        AdvanceColumn(lower, match[1], LowestOf(AdvanceColumn(upper, match[0], above)));
    }
    const u32 upperRows = QVMin(rows, kStripRows);
    return boundary.m_Top + SumOfColumn(upper.m_Plus, upper.m_Minus, upperRows) +
           SumOfColumn(lower.m_Plus, lower.m_Minus, rows - upperRows);
}

// Advances two strips, with the first differences `plus` in the first one, along the whole text: reads the differences
// above them from `carries`, and leaves those of their bottom row there.
// Returns: what the differences down the first `rows` rows of the last column come to, modulo 2^32.
//
// The strips go side by side: within a column one waits for the other, but its next column for itself alone.
inline u32 AdvanceTwoStrips(const TFuzzyEntries<2> &masks, u32 rows, u64 plus, const char *text, u32 textLength,
                            FuzzyCarry *carries)
{
    TFuzzyColumn<u64> upper = {plus, 0};
    TFuzzyColumn<u64> lower = {~0ull, 0};
    for (u32 i = 0; i < textLength; ++i)
    {
        const u64(&match)[2] = masks.Of(text[i]);
        const TFuzzyStep<u64> above = {carries[i] & 1ull, static_cast<u64>(carries[i] >> 1)};
        const TFuzzyStep<u64> between = LowestOf(AdvanceColumn(upper, match[0], above));
        const TFuzzyStep<u64> below = LowestOf(AdvanceColumn(lower, match[1], between));
        carries[i] = static_cast<FuzzyCarry>(below.m_NotPlus | (below.m_Minus << 1));
    }
    const u32 upperRows = QVMin(rows, kStripRows);
    return SumOfColumn(upper.m_Plus, upper.m_Minus, upperRows) +
           SumOfColumn(lower.m_Plus, lower.m_Minus, rows - upperRows);
}
