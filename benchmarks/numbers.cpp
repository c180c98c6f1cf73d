// Numbers read from text and appended to it: 64 of them for each run, of 1 to 19 digits, or with three places behind the
// point. The row's size is the number of characters of them all.
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "kr_string_numbers.h"
#include "support/limits.h"
#include "support/row.h"
#include "support/texts.h"

namespace Bench
{

namespace
{

using namespace Quorvane;

constexpr size_t kNumbers = 64;
// What a list of them takes at most, with separators.
constexpr size_t kMaxText = kNumbers * 24;

// Up to `digits` decimal digits, as many numbers of each length.
std::vector<int64_t> Integers(uint32_t digits)
{
    CRandom random;
    std::vector<int64_t> numbers;
    for (size_t i = 0; i < kNumbers; ++i)
    {
        int64_t number = 1 + random.Below(9);
        for (uint32_t left = static_cast<uint32_t>(i) % digits; left != 0; --left)
            number = number * 10 + random.Below(10);
        numbers.push_back(i % 4 == 3 ? -number : number);
    }
    return numbers;
}

// Thousandths, below a million.
std::vector<double> Floatings()
{
    CRandom random;
    std::vector<double> numbers;
    for (size_t i = 0; i < kNumbers; ++i)
        numbers.push_back(static_cast<double>(random.Below(1000000000)) / 1000);
    return numbers;
}

template <typename Number>
std::vector<std::string> TextsOf(const std::vector<Number> &numbers)
{
    std::vector<std::string> texts;
    for (const Number number : numbers)
    {
        char text[64];
        texts.emplace_back(text, std::to_chars(text, text + sizeof(text), number).ptr);
    }
    return texts;
}

size_t CharactersOf(const std::vector<std::string> &texts)
{
    size_t total = 0;
    for (const std::string &text : texts)
        total += text.size();
    return total;
}

// The sum of what `read(text)` gives for each.
template <typename Number, typename Read>
auto SumOf(const std::vector<std::string> &texts, Read read)
{
    return [texts, read]
    {
        Number sum = 0;
        for (const std::string &text : texts)
            sum += read(text);
        return sum;
    };
}

void AddParsingIntegers(uint32_t digits)
{
    const std::vector<std::string> texts = TextsOf(Integers(digits));
    CRow row("parse_integers", CharactersOf(texts));
    row.Add("ours", SumOf<int64_t>(texts,
                                   [](const std::string &text)
                                   {
                                       s64 number = 0;
                                       const CStringView view(text.data(), static_cast<u32>(text.size()));
                                       return ParseNumber(view, number) ? number : 0;
                                   }));
    row.Add("strtoll",
            SumOf<int64_t>(texts,
                           [](const std::string &text) -> int64_t { return std::strtoll(text.c_str(), nullptr, 10); }));
    row.Add("std::stoll", SumOf<int64_t>(texts, [](const std::string &text) -> int64_t { return std::stoll(text); }));
#if QV_BENCH_ABSL
    row.Add("absl::SimpleAtoi", SumOf<int64_t>(texts,
                                               [](const std::string &text)
                                               {
                                                   int64_t number = 0;
                                                   return absl::SimpleAtoi(text, &number) ? number : 0;
                                               }));
#endif
    row.Limit("std::from_chars", SumOf<int64_t>(texts,
                                                [](const std::string &text)
                                                {
                                                    int64_t number = 0;
                                                    std::from_chars(text.data(), text.data() + text.size(), number);
                                                    return number;
                                                }));
}

void AddParsingFloatings()
{
    const std::vector<std::string> texts = TextsOf(Floatings());
    CRow row("parse_doubles", CharactersOf(texts));
    row.Add("ours", SumOf<double>(texts,
                                  [](const std::string &text)
                                  {
                                      double number = 0;
                                      const CStringView view(text.data(), static_cast<u32>(text.size()));
                                      return ParseNumber(view, number) ? number : 0;
                                  }));
    row.Add("strtod", SumOf<double>(texts, [](const std::string &text) { return std::strtod(text.c_str(), nullptr); }));
    row.Add("std::stod", SumOf<double>(texts, [](const std::string &text) { return std::stod(text); }));
#if QV_BENCH_ABSL
    row.Add("absl::SimpleAtod", SumOf<double>(texts,
                                              [](const std::string &text)
                                              {
                                                  double number = 0;
                                                  return absl::SimpleAtod(text, &number) ? number : 0;
                                              }));
#endif
    row.Limit("std::from_chars", SumOf<double>(texts,
                                               [](const std::string &text)
                                               {
                                                   double number = 0;
                                                   std::from_chars(text.data(), text.data() + text.size(), number);
                                                   return number;
                                               }));
}

// A list with commas behind the numbers, in a text of the type that has the room: `append(text, number)`.
template <typename Text, typename Number, typename Append>
auto ListOf(const std::vector<Number> &numbers, Append append)
{
    Text text;
    text.reserve(kMaxText);
    return [text, numbers, append]() mutable -> std::string_view
    {
        text.clear();
        for (const Number number : numbers)
        {
            append(text, number);
            text.push_back(',');
        }
        return {text.data(), text.size()};
    };
}

template <typename Number, typename Append>
auto OurListOf(const std::vector<Number> &numbers, Append append)
{
    // In its own room from the second run on.
    return [text = CString(), numbers, append]() mutable -> CStringView
    {
        text.Clear();
        for (const Number number : numbers)
            append(text, number).Append(',');
        return text;
    };
}

// Written one behind the other into memory that is there: `write(first, last, number)` answers where it ends.
template <typename Number, typename Write>
auto BareListOf(const std::vector<Number> &numbers, Write write)
{
    return [buffer = MakeBuffer(kMaxText), numbers, write]
    {
        char *at = buffer.get();
        for (const Number number : numbers)
        {
            at = write(at, buffer.get() + kMaxText, number);
            *at++ = ',';
        }
        return at;
    };
}

void AddAppendingIntegers(uint32_t digits)
{
    const std::vector<int64_t> numbers = Integers(digits);
    CRow row("append_integers", CharactersOf(TextsOf(numbers)) + kNumbers);
    row.Add("ours",
            OurListOf(numbers, [](CString &text, int64_t number) -> CString & { return AppendNumber(text, number); }));
    row.Add("std::to_string",
            ListOf<std::string>(numbers, [](std::string &text, int64_t number) { text += std::to_string(number); }));
    row.Add("to_chars+append", ListOf<std::string>(numbers,
                                                   [](std::string &text, int64_t number)
                                                   {
                                                       char digitsOf[24];
                                                       const auto end = std::to_chars(digitsOf, digitsOf + 24, number);
                                                       text.append(digitsOf, end.ptr);
                                                   }));
#if QV_BENCH_ABSL
    row.Add("absl::StrAppend",
            ListOf<std::string>(numbers, [](std::string &text, int64_t number) { absl::StrAppend(&text, number); }));
#endif
#if QV_BENCH_FMT
    row.Add("fmt::format_int", ListOf<std::string>(numbers,
                                                   [](std::string &text, int64_t number)
                                                   {
                                                       const fmt::format_int made(number);
                                                       text.append(made.data(), made.size());
                                                   }));
#endif
    row.Limit("std::to_chars", BareListOf(numbers, [](char *first, char *last, int64_t number)
                                          { return std::to_chars(first, last, number).ptr; }));
}

void AddAppendingFloatings()
{
    const std::vector<double> numbers = Floatings();
    CRow row("append_doubles", CharactersOf(TextsOf(numbers)) + kNumbers);
    row.Add("ours",
            OurListOf(numbers, [](CString &text, double number) -> CString & { return AppendNumber(text, number); }));
    row.Add("to_chars+append", ListOf<std::string>(numbers,
                                                   [](std::string &text, double number)
                                                   {
                                                       char digitsOf[32];
                                                       const auto end = std::to_chars(digitsOf, digitsOf + 32, number);
                                                       text.append(digitsOf, end.ptr);
                                                   }));
#if QV_BENCH_FMT
    row.Add("fmt::format_to", ListOf<std::string>(numbers, [](std::string &text, double number)
                                                  { fmt::format_to(std::back_inserter(text), "{}", number); }));
#endif
    row.Limit("std::to_chars", BareListOf(numbers, [](char *first, char *last, double number)
                                          { return std::to_chars(first, last, number).ptr; }));
}

void AddAppendingWithPrecision()
{
    const std::vector<double> numbers = Floatings();
    CRow row("append_doubles_2", kNumbers);
    row.Add("ours", OurListOf(numbers,
                              [](CString &text, double number) -> CString &
                              { return AppendNumber(text, number, std::chars_format::fixed, 2); }));
    row.Add("snprintf+append", ListOf<std::string>(numbers,
                                                   [](std::string &text, double number)
                                                   {
                                                       char made[32];
                                                       const int length =
                                                           std::snprintf(made, sizeof(made), "%.2f", number);
                                                       text.append(made, static_cast<size_t>(length));
                                                   }));
#if QV_BENCH_ABSL
    row.Add("absl::StrAppendFormat", ListOf<std::string>(numbers, [](std::string &text, double number)
                                                         { absl::StrAppendFormat(&text, "%.2f", number); }));
#endif
#if QV_BENCH_FMT
    row.Add("fmt::format_to", ListOf<std::string>(numbers, [](std::string &text, double number)
                                                  { fmt::format_to(std::back_inserter(text), "{:.2f}", number); }));
#endif
    row.Limit("std::to_chars",
              BareListOf(numbers, [](char *first, char *last, double number)
                         { return std::to_chars(first, last, number, std::chars_format::fixed, 2).ptr; }));
}

} // namespace

void RegisterRows()
{
    AddParsingIntegers(4);
    AddParsingIntegers(18);
    AddParsingFloatings();
    AddAppendingIntegers(4);
    AddAppendingIntegers(18);
    AddAppendingFloatings();
    AddAppendingWithPrecision();
}

} // namespace Bench
