// Formatting in the manner of printf: a short name of several arguments, a floating-point number, and a long text. The row's size is that of the
// result.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "support/limits.h"
#include "support/row.h"
#include "support/texts.h"

namespace Bench
{

namespace
{

using namespace Quorvane;

// A text in memory of the platform's allocator.
struct SFreed
{
    explicit SFreed(char *text) : m_Text(text) {}
    SFreed(SFreed &&other) noexcept : m_Text(std::exchange(other.m_Text, nullptr)) {}
    SFreed &operator=(SFreed &&) = delete;
    ~SFreed() { std::free(m_Text); }

    char *m_Text;
};

uint64_t Fingerprint(const SFreed &text)
{
    return Bench::Fingerprint(text.m_Text);
}

__attribute__((format(printf, 1, 2))) CString FormatOurs(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    CString made = CString::VAFormat(format, args);
    va_end(args);
    return made;
}

// The C library asked for the size first, then for the text.
__attribute__((format(printf, 1, 2))) SFreed FormatTwice(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    const size_t room = static_cast<size_t>(std::vsnprintf(nullptr, 0, format, args)) + 1;
    va_end(args);
    char *const text = static_cast<char *>(std::malloc(room));
    std::vsnprintf(text, room, format, again);
    va_end(again);
    return SFreed(text);
}

// The C library with a buffer that suffices, then a block of the size.
__attribute__((format(printf, 1, 2))) SFreed FormatOnce(const char *format, ...)
{
    char buffer[8192];
    va_list args;
    va_start(args, format);
    const size_t room = static_cast<size_t>(std::vsnprintf(buffer, sizeof(buffer), format, args)) + 1;
    va_end(args);
    char *const text = static_cast<char *>(std::malloc(room));
    std::memcpy(text, buffer, room);
    return SFreed(text);
}

#if defined(__GLIBC__)
__attribute__((format(printf, 1, 2))) SFreed FormatAllocated(const char *format, ...)
{
    char *text = nullptr;
    va_list args;
    va_start(args, format);
    if (vasprintf(&text, format, args) < 0)
        text = nullptr;
    va_end(args);
    return SFreed(text);
}
#endif

struct SArguments
{
    std::string m_Name = "stone_wall_albedo";
    int m_Number = 42;
    std::string m_Kind = "png";
};

void AddPeersOfShort(CRow &row, const SArguments &from)
{
    row.Add("std::ostringstream",
            [from]
            {
                std::ostringstream stream;
                stream.imbue(std::locale::classic());
                stream << from.m_Name << '_';
                stream.width(4);
                stream.fill('0');
                stream << from.m_Number << '.' << from.m_Kind;
                return stream.str();
            });
    row.Add("snprintf+malloc",
            [from] { return FormatOnce("%s_%04d.%s", from.m_Name.c_str(), from.m_Number, from.m_Kind.c_str()); });
    row.Add("snprintf_twice",
            [from] { return FormatTwice("%s_%04d.%s", from.m_Name.c_str(), from.m_Number, from.m_Kind.c_str()); });
#if defined(__GLIBC__)
    row.Add("asprintf",
            [from] { return FormatAllocated("%s_%04d.%s", from.m_Name.c_str(), from.m_Number, from.m_Kind.c_str()); });
#endif
#if QV_BENCH_ABSL
    row.Add("absl::StrFormat",
            [from] { return absl::StrFormat("%s_%04d.%s", from.m_Name, from.m_Number, from.m_Kind); });
#endif
#if QV_BENCH_FMT
    row.Add("fmt::format", [from] { return fmt::format("{}_{:04}.{}", from.m_Name, from.m_Number, from.m_Kind); });
    row.Add("fmt::sprintf", [from] { return fmt::sprintf("%s_%04d.%s", from.m_Name, from.m_Number, from.m_Kind); });
#endif
    row.Limit("malloc+copy", MallocAndCopyLimit(27));
}

void AddShort()
{
    const SArguments from;
    CRow row("format_short", 26);
    row.Add("ours",
            [from] { return CString::Format("%s_%04d.%s", from.m_Name.c_str(), from.m_Number, from.m_Kind.c_str()); });
    AddPeersOfShort(row, from);

    CRow variadic("format_va_short", 26);
    variadic.Add("ours",
                 [from] { return FormatOurs("%s_%04d.%s", from.m_Name.c_str(), from.m_Number, from.m_Kind.c_str()); });
    AddPeersOfShort(variadic, from);
}

// A name and a number.
void AddNameAndNumber()
{
    const SArguments from;
    CRow row("format_name_number", 20);
    row.Add("ours", [from] { return CString::Format("%s/%d", from.m_Name.c_str(), from.m_Number); });
    row.Add("snprintf+malloc", [from] { return FormatOnce("%s/%d", from.m_Name.c_str(), from.m_Number); });
    row.Add("snprintf_twice", [from] { return FormatTwice("%s/%d", from.m_Name.c_str(), from.m_Number); });
#if defined(__GLIBC__)
    row.Add("asprintf", [from] { return FormatAllocated("%s/%d", from.m_Name.c_str(), from.m_Number); });
#endif
#if QV_BENCH_ABSL
    row.Add("absl::StrFormat", [from] { return absl::StrFormat("%s/%d", from.m_Name, from.m_Number); });
#endif
#if QV_BENCH_FMT
    row.Add("fmt::format", [from] { return fmt::format("{}/{}", from.m_Name, from.m_Number); });
    row.Add("fmt::sprintf", [from] { return fmt::sprintf("%s/%d", from.m_Name, from.m_Number); });
#endif
    row.Limit("malloc+copy", MallocAndCopyLimit(21));
}

// With a floating-point number behind them, another one each time: it has to be rounded.
void AddFixed()
{
    const SArguments from;
    CRow row("format_fixed", 26);
    const auto add = [&row, &from](const char *who, auto format)
    {
        row.Add(who,
                [from, format, turn = 0]() mutable
                {
                    turn = turn % 999 + 1;
                    return format(from.m_Name, from.m_Number, 3.14159 * turn);
                });
    };
    add("ours", [](const std::string &name, int number, double value)
        { return CString::Format("%s/%d:%.3f", name.c_str(), number, value); });
    add("snprintf+malloc", [](const std::string &name, int number, double value)
        { return FormatOnce("%s/%d:%.3f", name.c_str(), number, value); });
    add("snprintf_twice", [](const std::string &name, int number, double value)
        { return FormatTwice("%s/%d:%.3f", name.c_str(), number, value); });
#if defined(__GLIBC__)
    add("asprintf", [](const std::string &name, int number, double value)
        { return FormatAllocated("%s/%d:%.3f", name.c_str(), number, value); });
#endif
#if QV_BENCH_ABSL
    add("absl::StrFormat", [](const std::string &name, int number, double value)
        { return absl::StrFormat("%s/%d:%.3f", name, number, value); });
#endif
#if QV_BENCH_FMT
    add("fmt::format", [](const std::string &name, int number, double value)
        { return fmt::format("{}/{}:{:.3f}", name, number, value); });
    add("fmt::sprintf", [](const std::string &name, int number, double value)
        { return fmt::sprintf("%s/%d:%.3f", name, number, value); });
#endif
    row.Limit("malloc+copy", MallocAndCopyLimit(27));
}

void AddLong(size_t size)
{
    const std::string from = Words(size - 8);
    CRow row("format_va_long", size);
    row.Add("ours", [from] { return FormatOurs("<%s> %05d", from.c_str(), 42); });
    row.Add("std::ostringstream",
            [from]
            {
                std::ostringstream stream;
                stream.imbue(std::locale::classic());
                stream << '<' << from << "> ";
                stream.width(5);
                stream.fill('0');
                stream << 42;
                return stream.str();
            });
    row.Add("snprintf+malloc", [from] { return FormatOnce("<%s> %05d", from.c_str(), 42); });
    row.Add("snprintf_twice", [from] { return FormatTwice("<%s> %05d", from.c_str(), 42); });
#if defined(__GLIBC__)
    row.Add("asprintf", [from] { return FormatAllocated("<%s> %05d", from.c_str(), 42); });
#endif
#if QV_BENCH_ABSL
    row.Add("absl::StrFormat", [from] { return absl::StrFormat("<%s> %05d", from, 42); });
#endif
#if QV_BENCH_FMT
    row.Add("fmt::format", [from] { return fmt::format("<{}> {:05}", from, 42); });
    row.Add("fmt::sprintf", [from] { return fmt::sprintf("<%s> %05d", from, 42); });
#endif
    row.Limit("malloc+copy", MallocAndCopyLimit(size + 1));
}

} // namespace

void RegisterRows()
{
    AddShort();
    AddNameAndNumber();
    AddFixed();
    AddLong(5000);
}

} // namespace Bench
