// The standard's formatting of strings and views, for standard libraries that have it. 0 is success.
#include <string>
#include <vector>

#include "kr_string_std.h"

#if !defined(__cpp_lib_format)

// The script that builds this takes it as "cannot be tested here".
int main()
{
    return 77;
}

#else

using namespace Quorvane;

int main()
{
    const CString string("abc");
    const CStringView view = CStringView(string).Slice(1);
    bool right = std::format("{}|{}", string, view) == "abc|bc";
    right = right && std::format("{:>5}|{:*<4}|{:.2}", string, view, string) == "  abc|bc**|ab";
    right = right && std::format("{}", CString()).empty() && std::format("{}", CStringView()).empty();
    right = right && std::format("{}", CString("a\0b", 3)) == std::string("a\0b", 3);
#if defined(__cpp_lib_format_ranges)
    // Strings and views are ranges of characters, and are texts all the same; among the elements of a range, quoted.
    right = right && std::format("{}|{}", string, view) == "abc|bc" && std::format("{:?}", string) == "\"abc\"";
    right = right && std::format("{}", std::vector<CString>{string, CString()}) == "[\"abc\", \"\"]";
    right = right && std::format("{}", std::vector<CStringView>{view, view.Slice(1)}) == "[\"bc\", \"c\"]";
#endif
    return right ? 0 : 1;
}

#endif
