// One number for a result of any kind, so that the results of different libraries can be compared: equal texts have
// equal fingerprints whatever type holds them, and so have equal lists of texts.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "kr_string.h"
#include "support/peers.h"

namespace Bench
{

// FNV-1a (Fowler, Noll, Vo), continued from `state`.
inline uint64_t HashBytes(std::string_view bytes, uint64_t state = 14695981039346656037u)
{
    for (const char c : bytes)
        state = (state ^ static_cast<unsigned char>(c)) * 1099511628211u;
    return state;
}

inline uint64_t Fingerprint(std::string_view text)
{
    return HashBytes(text);
}

inline uint64_t Fingerprint(const std::string &text)
{
    return HashBytes(text);
}

inline uint64_t Fingerprint(const char *text)
{
    return HashBytes(text);
}

inline uint64_t Fingerprint(const Quorvane::CString &text)
{
    return HashBytes(std::string_view(text.Data(), text.Length()));
}

inline uint64_t Fingerprint(const Quorvane::CStringView &text)
{
    return HashBytes(std::string_view(text.Data(), text.Length()));
}

inline uint64_t Fingerprint(const std::shared_ptr<const std::string> &text)
{
    return HashBytes(*text);
}

#if QV_BENCH_ABSL && !defined(ABSL_USES_STD_STRING_VIEW)
inline uint64_t Fingerprint(absl::string_view text)
{
    return HashBytes(std::string_view(text.data(), text.size()));
}
#endif

#if QV_BENCH_ABSL
inline uint64_t Fingerprint(const absl::Cord &text)
{
    return HashBytes(std::string(text));
}
#endif

#if QV_BENCH_BOOST
inline uint64_t Fingerprint(const boost::container::string &text)
{
    return HashBytes(std::string_view(text.data(), text.size()));
}
#endif

#if QV_BENCH_QT
inline uint64_t Fingerprint(const QByteArray &text)
{
    return HashBytes(std::string_view(text.constData(), static_cast<size_t>(text.size())));
}
#endif

template <typename Number, typename = std::enable_if_t<std::is_arithmetic<Number>::value>>
uint64_t Fingerprint(Number number)
{
    return static_cast<uint64_t>(number);
}

// Lists of texts or numbers: anything with a begin and an end.
template <typename List>
uint64_t FingerprintOfRange(const List &list)
{
    uint64_t state = HashBytes("list");
    for (const auto &element : list)
        state = (state ^ Fingerprint(element)) * 1099511628211u;
    return state;
}

template <typename Element>
uint64_t Fingerprint(const std::vector<Element> &list)
{
    return FingerprintOfRange(list);
}

template <typename Element>
uint64_t Fingerprint(const Quorvane::TArray<Element> &list)
{
    return FingerprintOfRange(list.View());
}

#if QV_BENCH_QT
inline uint64_t Fingerprint(const QByteArrayList &list)
{
    return FingerprintOfRange(list);
}
#endif

} // namespace Bench
