// Native string helpers: stateless functions on raw character buffers, which every string operation rests on.
//
// Two families exist. Plain functions take NUL-terminated text. `_16` functions take the characters of a string
// container: 16-byte aligned, and zero from the terminator to the end of its 16-byte block, so that they may read
// (the editing ones: write) whole blocks of 16 that hold a character or the terminator. Given length 0 they read
// nothing. A `Case` in a name means that the function ignores case.
//
// Case is ASCII case, by a table that no locale changes, but for EqualCase and CompareCase of terminated text, which
// follow the platform's library. All functions are reentrant and may be used from any thread.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstring>

#include "kr_assert.h"
#include "kr_internal/kr_buffer_port.h"
#include "qv_defs.h"

namespace Quorvane
{

// The helpers, as static functions: see the beginning of this file.
struct QV_API SNativeStringUtils
{
    // Rows of 256 bytes, indexed by a character taken as an unsigned byte:
    //     row 0, at 0     1 for a lower-case letter, 2 for an upper-case one, else 0
    //     row 1, at 256   what follows the backslash in the character's escape sequence, 0 where it has none
    //     row 2, at 512   the character's upper-case form
    //     row 3, at 768   the character's lower-case form
    // Letters are the ASCII letters; every other byte is its own upper-case and lower-case form.
    static const u8 kr_buffer_char_lookups[4 * 256];

    // ---- Length and formatting --------------------------------------------------------------------------------------

    // The number of characters before the terminator; 0 for null. Texts beyond 32 bits give 0xFFFFFFFF, which every
    // string operation refuses.
    static u32 Length(const char *str) noexcept QV_NONBLOCKING;

    // The same for the characters of a string container.
    static u32 Length_16(const char *str) noexcept QV_NONBLOCKING;

    // Formats into [buffer, bufferLast], of which `bufferLast` is the last byte, kept for the terminator.
    // Returns: `buffer` when the result fits; else a block of origin `Origin_Alloc` from the kernel's allocator that
    // the caller frees; null when formatting fails, memory is refused, or a pointer is null. A format with %n, which would
    // write to memory, fails.
    // `outLength` becomes the result's length, 0 with null.
    // Formats into `buffer` as far as it goes and counts the rest; only then allocates.
    static char *VAFormat(char *buffer, const char *bufferLast, u32 &outLength, const char *format,
                          va_list args) noexcept QV_INTERNAL_PRINTF(4, 0);

    // ---- Comparison -------------------------------------------------------------------------------------------------

    // Of terminated text. Three-way results are negative, 0 or positive.
    // Requires: two texts, else reports "data0 != null && data1 != null"; null then counts as a text before every
    // other one.

    [[nodiscard]] static inline bool Equal(const char *data0, const char *data1) noexcept QV_NONBLOCKING;
    [[nodiscard]] static inline bool EqualCase(const char *data0, const char *data1) noexcept QV_NONBLOCKING;
    [[nodiscard]] static inline s32 Compare(const char *data0, const char *data1) noexcept QV_NONBLOCKING;
    [[nodiscard]] static inline s32 CompareCase(const char *data0, const char *data1) noexcept QV_NONBLOCKING;

    // True when the first `length` characters are equal but for case. Neither text needs a terminator.
    [[nodiscard]] static bool EqualCase(const char *data0, const char *data1, u32 length) noexcept QV_NONBLOCKING;
    // The order of the first `length` characters as unsigned bytes, lower-cased. Neither text needs a terminator.
    [[nodiscard]] static s32 CompareCase(const char *data0, const char *data1, u32 length) noexcept QV_NONBLOCKING;
    // A hash of the first `length` characters, which need no terminator: the same for texts that EqualCase takes for
    // equal, on every machine. It mixes as wyhash does, by multiplying words into 128 bits and folding the halves; all of
    // its bits are good, and none is secret. Of no characters null will do. Other versions may hash otherwise.
    [[nodiscard]] static u64 HashCase(const char *data, u32 length) noexcept QV_NONBLOCKING;

    // Equality of the first `length` bytes of two containers' characters, both of which have as many.

    [[nodiscard]] static bool Equal_16(const void *a, const void *b, u32 length) noexcept QV_NONBLOCKING;
    [[nodiscard]] static bool EqualCase_16(const char *a, const char *b, u32 length) noexcept QV_NONBLOCKING;

    // Order of the first `length` bytes of two containers' characters. Both containers' blocks must cover what decides
    // the answer: the bytes up to the first difference, or all `length`; nothing behind the block that holds the first
    // difference is read. Three-way results order bytes as unsigned, lower-cased ones where case is ignored.

    [[nodiscard]] static s32 Compare_16(const void *a, const void *b, u32 length) noexcept QV_NONBLOCKING;
    [[nodiscard]] static s32 CompareCase_16(const char *a, const char *b, u32 length) noexcept QV_NONBLOCKING;

    // ---- Edits ------------------------------------------------------------------------------------------------------

    // Of the first `length` characters of a container. What stands behind them stays as it is: the rest of the
    // last block is written back unchanged.

    static void Reverse_16(char *data, u32 length) noexcept QV_NONBLOCKING;
    static void Uppercase_16(char *data, u32 length) noexcept QV_NONBLOCKING;
    static void Lowercase_16(char *data, u32 length) noexcept QV_NONBLOCKING;
    // The same while copying from `src` to `dst`, two containers' characters; `dst` is zero behind its last character
    // afterwards, to the end of the terminator's block.
    static void Uppercase_16(char *dst, const char *src, u32 length) noexcept QV_NONBLOCKING;
    static void Lowercase_16(char *dst, const char *src, u32 length) noexcept QV_NONBLOCKING;
    // Each `from` becomes `to`. Returns: the number of characters replaced.
    static u32 Replace_16(char *data, u32 length, char from, char to) noexcept QV_NONBLOCKING;
    // The same while copying, as above.
    static u32 Replace_16(char *dst, const char *src, u32 length, char from, char to) noexcept QV_NONBLOCKING;

    // ---- Search -----------------------------------------------------------------------------------------------------

    // Prefix, suffix and substring tests of terminated text. A null or empty second argument is contained in every
    // text, the null one (which counts as empty) included.
    // Cost: linear in both, whatever they are. Contains and ContainsCase read the needle, and little of the text behind
    // what they find.

    [[nodiscard]] static bool StartsWith(const char *str, const char *prefix) noexcept QV_NONBLOCKING;
    [[nodiscard]] static bool StartsWithCase(const char *str, const char *prefix) noexcept QV_NONBLOCKING;
    [[nodiscard]] static bool EndsWith(const char *str, const char *suffix) noexcept QV_NONBLOCKING;
    [[nodiscard]] static bool EndsWithCase(const char *str, const char *suffix) noexcept QV_NONBLOCKING;
    [[nodiscard]] static bool Contains(const char *str, const char *needle) noexcept QV_NONBLOCKING;
    [[nodiscard]] static bool ContainsCase(const char *str, const char *needle) noexcept QV_NONBLOCKING;

    // The first occurrence of `needle` in the first `length` characters of `data`, neither of which needs a terminator;
    // null when there is none. An empty needle is found at once.
    // Cost: linear in both, whatever they are.

    [[nodiscard]] static const char *Find(const char *data, u32 length, const char *needle,
                                          u32 needleLength) noexcept QV_NONBLOCKING;
    [[nodiscard]] static const char *FindCase(const char *data, u32 length, const char *needle,
                                              u32 needleLength) noexcept QV_NONBLOCKING;

    // The last of the first `length` characters that is `character`; null when there is none. Cost: linear.
    [[nodiscard]] static const char *FindLast(const char *data, u32 length, char character) noexcept QV_NONBLOCKING;

    // ---- Matching ---------------------------------------------------------------------------------------------------

    // Wildcard match of the whole text: `*` stands for any run of characters, the empty one included, `?` for exactly
    // one. With inhibitors, a backslash makes the next character of the pattern literal; a lone one at the end stands
    // for itself; a literal letter still follows the case rule. Null matches nothing.
    // Cost: of a pattern of p characters and a text of n, at most p * n + p + n steps, each a look at a character or at a
    // star; constant memory.

    [[nodiscard]] static bool Match(const char *pattern, const char *str) noexcept QV_NONBLOCKING;
    [[nodiscard]] static bool MatchCase(const char *pattern, const char *str) noexcept QV_NONBLOCKING;
    [[nodiscard]] static bool MatchWithInhibitors(const char *pattern, const char *str) noexcept QV_NONBLOCKING;
    [[nodiscard]] static bool MatchCaseWithInhibitors(const char *pattern, const char *str) noexcept QV_NONBLOCKING;

    // ---- Escaping ---------------------------------------------------------------------------------------------------

    // Each of \a \b \t \n \v \f \r \" \' \\ becomes a backslash and a letter (or the character
    // itself), every other character stays; Unescape turns exactly these sequences back and leaves any other backslash
    // as it is, so it undoes Escape for every text.
    // `dst` gets the result and a terminator: at most 2 * length + 1 bytes for Escape, length + 1 for Unescape.
    // Unescape accepts dst == src.
    // The bounded forms read at most `maxLength` characters of `src`.
    // Returns: the characters written, the terminator not counted. Null arguments give 0.

    static u32 Escape(const char *src, char *dst) noexcept QV_NONBLOCKING;
    static u32 Escape(const char *src, char *dst, u32 maxLength) noexcept QV_NONBLOCKING;
    static u32 Unescape(const char *src, char *dst) noexcept QV_NONBLOCKING;
    static u32 Unescape(const char *src, char *dst, u32 maxLength) noexcept QV_NONBLOCKING;

    // ---- Comments ---------------------------------------------------------------------------------------------------

    // Blanks the comments of terminated text in place: // to before the end of the line, which a backslash before the
    // line end continues, and /* */ (not nested; an unterminated one runs to the end). Nothing inside "..." and '...'
    // literals, which have \ escapes and end at an unescaped newline, is a comment. Each character of a comment becomes a
    // blank but for newlines and carriage returns, so lines and columns keep their place.
    // Returns: the length, which does not change; 0 for null.
    static u32 Uncomment(char *data) noexcept QV_NONBLOCKING;
};

// ---- Inline bodies --------------------------------------------------------------------------------------------------

inline bool SNativeStringUtils::Equal(const char *data0, const char *data1) noexcept QV_NONBLOCKING
{
    if (QV_INTERNAL_FAILS(data0 != null && data1 != null))
        return data0 == data1;
    return std::strcmp(data0, data1) == 0;
}

inline s32 SNativeStringUtils::Compare(const char *data0, const char *data1) noexcept QV_NONBLOCKING
{
    if (QV_INTERNAL_FAILS(data0 != null && data1 != null))
        return (data0 != nullptr) - (data1 != nullptr);
    return std::strcmp(data0, data1);
}

inline bool SNativeStringUtils::EqualCase(const char *data0, const char *data1) noexcept QV_NONBLOCKING
{
    if (QV_INTERNAL_FAILS(data0 != null && data1 != null))
        return data0 == data1;
    return Internal::PlatformCompareCase(data0, data1) == 0;
}

inline s32 SNativeStringUtils::CompareCase(const char *data0, const char *data1) noexcept QV_NONBLOCKING
{
    if (QV_INTERNAL_FAILS(data0 != null && data1 != null))
        return (data0 != nullptr) - (data1 != nullptr);
    return Internal::PlatformCompareCase(data0, data1);
}

} // namespace Quorvane
