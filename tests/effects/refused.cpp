// What a function with a deadline may not do: effects.sh wants one finding for each REFUSED, and none anywhere else.
#include <utility>

#include "kr_string.h"
#include "kr_string_numbers.h"

using namespace Quorvane;

// One function for each operation, which nothing calls.
#define REFUSED_AS(line, class, ...)                                                                                   \
    [[maybe_unused]] void Refused##line(CString &text, const CString &other, const CStringView &view,                  \
                                        TArray<CString> &strings, TArray<CStringView> &views) noexcept class           \
    {                                                                                                                  \
        static_cast<void>(text), static_cast<void>(other), static_cast<void>(view), static_cast<void>(strings),        \
            static_cast<void>(views);                                                                                  \
        static_cast<void>(__VA_ARGS__);                                                                                \
    }
#define REFUSED_ON(line, class, ...) REFUSED_AS(line, class, __VA_ARGS__)
#define REFUSED(...) REFUSED_ON(__LINE__, QV_NONBLOCKING, __VA_ARGS__)
#define REFUSED_IN_PLACE(...) REFUSED_ON(__LINE__, QV_NONALLOCATING, __VA_ARGS__)

// New strings.
REFUSED(CString("text"))
REFUSED(CString("text", 4))
REFUSED(CString(view))
REFUSED(text = view)
REFUSED(view.ToString())
REFUSED(CString::Format("%s", "text"))
REFUSED(text.Uppercase())
REFUSED(text.Lowercase())
REFUSED(text.ConformedTo(CasingType_Uppercase))
REFUSED(text.Escaped())
REFUSED(text.Unescaped())
REFUSED(text.Reversed())
REFUSED(text.Repeat(2))
REFUSED(text.PadLeft(8))
REFUSED(text.PadRight(8))
REFUSED(text.Replace("a", "b"))
REFUSED(text.Replace('a', 'b'))
REFUSED(text.Extract(0, 1))
REFUSED(text.SlashAppended())
REFUSED(text + other)
REFUSED(text + view)
REFUSED(view + view)
REFUSED("text" + text)
REFUSED(text / "text")
REFUSED(JoinPath(text, view))
REFUSED(Concat(text, view, '\n'))
REFUSED(Join(", ", text, view))
REFUSED(Join(',', strings))

// Edits that may grow.
REFUSED(text.Append(other))
REFUSED(text.Append(view))
REFUSED(text.Append("text"))
REFUSED(text.Append("text", 4))
REFUSED(text.Append('x'))
REFUSED(text += view)
REFUSED(text += 'x')
REFUSED(text.Prepend(view))
REFUSED(text.Prepend('x'))
REFUSED(text.Insert(0, view))
REFUSED(text.Insert(0, 'x'))
REFUSED(text.AppendSlashAnd("text"))
REFUSED(text.AppendSlash())
REFUSED(text.Reserve(7))
REFUSED(text /= "text")
REFUSED(text.Escape())
REFUSED(text.Ident(0, 4, 4))
REFUSED(AppendNumber(text, 7))

// Edits in place, where the handle may share its characters.
REFUSED(text.ToUppercase())
REFUSED(text.Strip(" "))
REFUSED(text.Erase(0, 1))
REFUSED(text.Unescape())
REFUSED(text.Uncomment())
REFUSED(text.RawDataForWriting())
REFUSED(text.ViewForWriting())
REFUSED(text.AtForWriting(0))

// Lists.
REFUSED(text.Split(',', strings))
REFUSED(text.Split(',', views))
REFUSED(view.Split(',', views))
REFUSED(text.FuzzyMatchList(strings, {}))
REFUSED(strings.PushBack(std::move(text)))
REFUSED(strings.Reserve(7))

// In place is not enough.
REFUSED_IN_PLACE(text.Append(view))
REFUSED_IN_PLACE(text.Reserve(7))
REFUSED_IN_PLACE(text.Escape())
REFUSED_IN_PLACE(text.Uppercase())
REFUSED_IN_PLACE(text + other)
REFUSED_IN_PLACE(strings.PushBack(std::move(text)))

// What runs code of the user's is no better than that.
bool IsSlow(char character);
struct SSlow
{
    friend bool operator==(const SSlow &a, const SSlow &b);
};
[[maybe_unused]] bool RefusedComparison(const TArray<SSlow> &array, const SSlow &element) noexcept QV_NONBLOCKING
{
    return array.Contains(element); // REFUSED
}
