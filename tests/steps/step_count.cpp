#include "step_count.h"

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <map>

#include <gtest/gtest.h>

namespace QuorvaneTest
{

namespace
{

using Quorvane::u64;

bool s_IsCounting = false;
u64 s_Steps = 0;

// The input that came nearest to an operation's bound.
struct SNearest
{
    double m_Ratio = -1.0;
    u64 m_Steps = 0;
    u64 m_Bound = 0;
    std::string m_Input;
};

std::map<std::string, SNearest> &Table()
{
    static std::map<std::string, SNearest> table;
    return table;
}

// As it is written in a program.
std::string Escaped(const std::string &text)
{
    std::string escaped;
    for (const char character : text)
    {
        char code[8] = {character, 0};
        if (character < ' ' || character > '~')
            std::snprintf(code, sizeof(code), "\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(character)));
        escaped += code;
    }
    return escaped;
}

class CTablePrinter : public ::testing::Environment
{
public:
    void TearDown() override
    {
        for (const auto &entry : Table())
            std::printf("steps %-36s %5.3f of the bound: %llu of %llu, %s\n", entry.first.c_str(), entry.second.m_Ratio,
                        entry.second.m_Steps, entry.second.m_Bound, Escaped(entry.second.m_Input).c_str());
    }
};

// The framework owns it.
const ::testing::Environment *const kPrinter = ::testing::AddGlobalTestEnvironment(new CTablePrinter);

} // namespace

void AddSteps(u64 steps)
{
    s_Steps += s_IsCounting ? steps : 0;
}

void BeginCountingSteps()
{
    s_Steps = 0;
    s_IsCounting = true;
}

u64 EndCountingSteps()
{
    s_IsCounting = false;
    return s_Steps;
}

void ExpectSteps(const std::string &operation, const std::string &input, u64 steps, u64 bound)
{
    EXPECT_LE(steps, bound) << operation << ", " << input;
    SNearest &nearest = Table()[operation];
    const double ratio = static_cast<double>(steps) / static_cast<double>(bound != 0 ? bound : 1);
    if (ratio > nearest.m_Ratio)
        nearest = {ratio, steps, bound, input};
}

} // namespace QuorvaneTest

// What the compiler's calls and the linker's come to. The platform's own routines are behind `__real_`.

namespace
{

using Quorvane::u64;

void CountBytes(std::size_t bytes)
{
    QuorvaneTest::AddSteps(bytes / 16 + 1);
}

// How far two blocks are alike.
std::size_t SameBytes(const void *a, const void *b, std::size_t most)
{
    const char *const first = static_cast<const char *>(a);
    const char *const second = static_cast<const char *>(b);
    std::size_t same = 0;
    while (same < most && first[same] == second[same])
        ++same;
    return same;
}

// How far a search went in a block of `length`.
std::size_t Walked(const void *from, const void *found, std::size_t length)
{
    return found != nullptr
               ? static_cast<std::size_t>(static_cast<const char *>(found) - static_cast<const char *>(from))
               : length;
}

} // namespace

// Names that the compiler and the linker prescribe.
extern "C"
{

    void __sanitizer_cov_trace_pc()
    {
        QuorvaneTest::AddSteps(1);
    }

    void *__real_memcpy(void *to, const void *from, std::size_t count);
    void *__real_memmove(void *to, const void *from, std::size_t count);
    void *__real_memset(void *to, int value, std::size_t count);
    int __real_memcmp(const void *a, const void *b, std::size_t count);
    void *__real_memchr(const void *text, int character, std::size_t count);
    void *__real_memrchr(const void *text, int character, std::size_t count);
    std::size_t __real_strlen(const char *text);
    char *__real_strchr(const char *text, int character);
    char *__real_strstr(const char *text, const char *needle);
    int __real_strcmp(const char *a, const char *b);
    int __real_strncmp(const char *a, const char *b, std::size_t count);
    int __real_strcasecmp(const char *a, const char *b);
    int __real_strncasecmp(const char *a, const char *b, std::size_t count);

    void *__wrap_memcpy(void *to, const void *from, std::size_t count)
    {
        CountBytes(count);
        return __real_memcpy(to, from, count);
    }

    void *__wrap_memmove(void *to, const void *from, std::size_t count)
    {
        CountBytes(count);
        return __real_memmove(to, from, count);
    }

    void *__wrap_memset(void *to, int value, std::size_t count)
    {
        CountBytes(count);
        return __real_memset(to, value, count);
    }

    int __wrap_memcmp(const void *a, const void *b, std::size_t count)
    {
        CountBytes(SameBytes(a, b, count));
        return __real_memcmp(a, b, count);
    }

    void *__wrap_memchr(const void *text, int character, std::size_t count)
    {
        void *const found = __real_memchr(text, character, count);
        CountBytes(Walked(text, found, count));
        return found;
    }

    void *__wrap_memrchr(const void *text, int character, std::size_t count)
    {
        void *const found = __real_memrchr(text, character, count);
        CountBytes(count - Walked(text, found, 0));
        return found;
    }

    std::size_t __wrap_strlen(const char *text)
    {
        const std::size_t length = __real_strlen(text);
        CountBytes(length);
        return length;
    }

    char *__wrap_strchr(const char *text, int character)
    {
        char *const found = __real_strchr(text, character);
        CountBytes(Walked(text, found, __real_strlen(text)));
        return found;
    }

    char *__wrap_strstr(const char *text, const char *needle)
    {
        char *const found = __real_strstr(text, needle);
        CountBytes(Walked(text, found, __real_strlen(text)) + __real_strlen(needle));
        return found;
    }

    int __wrap_strcmp(const char *a, const char *b)
    {
        CountBytes(SameBytes(a, b, __real_strlen(a)));
        return __real_strcmp(a, b);
    }

    int __wrap_strncmp(const char *a, const char *b, std::size_t count)
    {
        CountBytes(count);
        return __real_strncmp(a, b, count);
    }

    // Without a look at the case: as if they were the same.
    int __wrap_strcasecmp(const char *a, const char *b)
    {
        CountBytes(__real_strlen(a));
        return __real_strcasecmp(a, b);
    }

    int __wrap_strncasecmp(const char *a, const char *b, std::size_t count)
    {
        CountBytes(count);
        return __real_strncasecmp(a, b, count);
    }

} // extern "C"
