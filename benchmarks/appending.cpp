// Building a text piece by piece: a character, or sixteen, at a time, at the end and at the front.
//
// Nobody reserves room: what the text will be in the end is not known to those who append.
#include <cstring>
#include <string>

#include "support/limits.h"
#include "support/plain_texts.h"
#include "support/row.h"
#include "support/texts.h"

namespace Bench
{

namespace
{

using namespace Quorvane;

constexpr size_t kPiece = 16;

// Makes a text of type Text by calling `append(text, i)` for every Step-th index.
template <typename Text, size_t Step, typename Append>
auto Build(size_t size, Append append)
{
    return [size, append]
    {
        Text text;
        for (size_t i = 0; i < size; i += Step)
            append(text, i);
        return text;
    };
}

void AddCharacters(size_t size)
{
    const std::string from = Words(size);
    const auto at = [from](size_t i) { return from[i]; };
    CRow row("append_1", size);
    row.Add("ours", Build<CString, 1>(size, [at](auto &text, size_t i) { text.Append(at(i)); }));
    row.Add("std::string", Build<std::string, 1>(size, [at](auto &text, size_t i) { text.push_back(at(i)); }));
    row.Add("doubling_string", Build<CDoublingText, 1>(size, [at](auto &text, size_t i) { text.Append(at(i)); }));
#if QV_BENCH_BOOST
    row.Add("boost::string",
            Build<boost::container::string, 1>(size, [at](auto &text, size_t i) { text.push_back(at(i)); }));
#endif
#if QV_BENCH_FMT
    row.Add("fmt::memory_buffer",
            [size, at]
            {
                fmt::memory_buffer text;
                for (size_t i = 0; i < size; ++i)
                    text.push_back(at(i));
                return fmt::to_string(text);
            });
#endif
#if QV_BENCH_QT
    row.Add("QByteArray", Build<QByteArray, 1>(size, [at](auto &text, size_t i) { text.append(at(i)); }));
#endif
    row.Limit("malloc+copy", MallocAndCopyLimit(size + 1));
}

void AddPieces(size_t size)
{
    const std::string from = Words(size);
    const auto at = [from](size_t i) { return from.data() + i; };
    CRow row("append_16", size);
    row.Add("ours",
            Build<CString, kPiece>(size, [at](auto &text, size_t i) { text.Append(CStringView(at(i), kPiece)); }));
    row.Add("std::string",
            Build<std::string, kPiece>(size, [at](auto &text, size_t i) { text.append(at(i), kPiece); }));
    row.Add("doubling_string",
            Build<CDoublingText, kPiece>(size, [at](auto &text, size_t i) { text.Append(at(i), kPiece); }));
#if QV_BENCH_ABSL
    row.Add("absl::StrAppend",
            Build<std::string, kPiece>(size, [at](auto &text, size_t i)
                                       { absl::StrAppend(&text, absl::string_view(at(i), kPiece)); }));
    row.Add("absl::Cord", Build<absl::Cord, kPiece>(size, [at](auto &text, size_t i)
                                                    { text.Append(absl::string_view(at(i), kPiece)); }));
#endif
#if QV_BENCH_BOOST
    row.Add("boost::string",
            Build<boost::container::string, kPiece>(size, [at](auto &text, size_t i) { text.append(at(i), kPiece); }));
#endif
#if QV_BENCH_FMT
    row.Add("fmt::memory_buffer",
            [size, at]
            {
                fmt::memory_buffer text;
                for (size_t i = 0; i < size; i += kPiece)
                    text.append(at(i), at(i) + kPiece);
                return fmt::to_string(text);
            });
#endif
#if QV_BENCH_QT
    row.Add("QByteArray", Build<QByteArray, kPiece>(size, [at](auto &text, size_t i) { text.append(at(i), kPiece); }));
#endif
    row.Limit("malloc+copy", MallocAndCopyLimit(size + 1));
}

// With the room got before.
void AddPiecesInRoom(size_t size)
{
    const std::string from = Words(size);
    const auto at = [from](size_t i) { return from.data() + i; };
    CRow row("append_16_in_room", size);
    row.Add("ours",
            [size, at]
            {
                CString text;
                text.Reserve(static_cast<u32>(size));
                for (size_t i = 0; i < size; i += kPiece)
                    text.TryAppend(CStringView(at(i), kPiece));
                return text;
            });
    row.Add("std::string",
            [size, at]
            {
                std::string text;
                text.reserve(size);
                for (size_t i = 0; i < size; i += kPiece)
                    text.append(at(i), kPiece);
                return text;
            });
    row.Limit("malloc+copy", MallocAndCopyLimit(size + 1));
}

void AddPieceAtFront(size_t size)
{
    const std::string piece = Words(kPiece);
    const auto get = [piece] { return piece.c_str(); };
    CRow row("prepend_16", size);
    row.Add("ours", Build<CString, kPiece>(size, [get](auto &text, size_t) { text.Prepend(get(), kPiece); }));
    row.Add("std::string",
            Build<std::string, kPiece>(size, [get](auto &text, size_t) { text.insert(0, get(), kPiece); }));
#if QV_BENCH_ABSL
    row.Add("absl::Cord", Build<absl::Cord, kPiece>(size, [get](auto &text, size_t)
                                                    { text.Prepend(absl::string_view(get(), kPiece)); }));
#endif
#if QV_BENCH_BOOST
    row.Add("boost::string", Build<boost::container::string, kPiece>(size, [get](auto &text, size_t)
                                                                     { text.insert(0, get(), kPiece); }));
#endif
#if QV_BENCH_QT
    row.Add("QByteArray", Build<QByteArray, kPiece>(size, [get](auto &text, size_t) { text.prepend(get(), kPiece); }));
#endif
    row.Limit("moves", MoveOnLimit(size, kPiece));
}

} // namespace

void RegisterRows()
{
    for (const size_t size : {4096u, 40960u, 409600u})
        AddCharacters(size);
    for (const size_t size : {65536u, 655360u, 6553600u})
        AddPieces(size);
    AddPiecesInRoom(65536);
    AddPieceAtFront(4096);
}

} // namespace Bench
