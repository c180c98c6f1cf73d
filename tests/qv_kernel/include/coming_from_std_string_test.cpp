// What docs/coming_from_std_string.md shows: each row of its tables is compiled and run here, both columns of it.
// tests/rules/idioms_page.sh holds the page to this source, row by row.
//
// A row is an Idiom with its Std and its Ours, or a Trap with its Surprise and its Instead. Each begins with the text
// `s`; what it returns, or leaves in `s`, must be what the row says.
#include <gtest/gtest.h>

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "assert_recorder.h"
#include "kr_string.h"
#include "kr_string_numbers.h"
#include "kr_string_std.h"
#include "test_allocator.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

std::string Text(const char *text)
{
    return text != nullptr ? text : "null";
}
std::string Text(std::string text)
{
    return text;
}
std::string Text(std::string_view text)
{
    return std::string(text);
}
std::string Text(const CString &text)
{
    return std::string(ToStdStringView(text));
}
std::string Text(const CStringView &text)
{
    return std::string(ToStdStringView(text));
}
std::string Text(bool answer)
{
    return answer ? "true" : "false";
}
std::string Text(char character)
{
    return std::string(1, character);
}
std::string Text(CGuid index)
{
    return index.Valid() ? std::to_string(index.Get()) : "none";
}
// Counts, and places as the standard library's strings name them.
template <typename Number, typename = std::enable_if_t<std::is_integral<Number>::value>>
std::string Text(Number number)
{
    return static_cast<std::size_t>(number) != std::string::npos ? std::to_string(number) : "none";
}

class ComingFromStdString : public testing::Test
{
protected:
    void Idiom(const char *title, const char *input, const char *wanted)
    {
        m_Title = title;
        m_Input = input;
        m_Wanted = m_WantedInstead = wanted;
    }
    void Trap(const char *title, const char *input, const char *surprising, const char *wanted)
    {
        Idiom(title, input, surprising);
        m_WantedInstead = wanted;
    }

    template <typename Code>
    void Std(Code code) const
    {
        _Run<std::string>(code, m_Wanted);
    }
    template <typename Code>
    void Ours(Code code) const
    {
        _Run<CString>(code, m_Wanted);
    }
    template <typename Code>
    void Surprise(Code code) const
    {
        _Run<CString>(code, m_Wanted);
    }
    template <typename Code>
    void Instead(Code code) const
    {
        _Run<CString>(code, m_WantedInstead);
    }

private:
    template <typename String, typename Code>
    void _Run(Code code, const char *wanted) const
    {
        const CAssertRecorder recorder;
        String s = m_Input;
        std::string got;
        if constexpr (std::is_void<decltype(code(s))>::value)
        {
            code(s);
            got = Text(s);
        }
        else
        {
            got = Text(code(s));
        }
        EXPECT_EQ(got, wanted) << m_Title;
        EXPECT_EQ(recorder.Count(), 0u) << m_Title;
    }

    const char *m_Title = nullptr;
    const char *m_Input = nullptr;
    const char *m_Wanted = nullptr;
    const char *m_WantedInstead = nullptr;
};

TEST_F(ComingFromStdString, Making)
{
    Idiom("a literal", "", "assets/hull.mesh");
    Std([](std::string &s) { s = "assets/hull.mesh"; });
    Ours([](CString &s) { s = "assets/hull.mesh"; });

    Idiom("the first characters of a text", "", "hull");
    Std([](std::string &s) { s = std::string("hull.mesh", 4); });
    Ours([](CString &s) { s = CString("hull.mesh", 4); });

    Idiom("a copy of a view", "hull.mesh", "hull");
    Std([](std::string &s) { return std::string(std::string_view(s).substr(0, 4)); });
    Ours([](CString &s) { return CString(s.Slice(0, 4)); });

    Idiom("a text several times", "", "-+-+-+");
    Std(
        [](std::string &s)
        {
            for (int i = 0; i < 3; ++i)
                s += "-+";
        });
    Ours([](CString &s) { s = CString("-+").Repeat(3); });

    Idiom("as in printf", "hull", "hull: 42 kB");
    Std(
        [](std::string &s)
        {
            char buffer[100];
            std::snprintf(buffer, sizeof(buffer), "%s: %d kB", s.c_str(), 42);
            s = buffer;
        });
    Ours([](CString &s) { s = CString::Format("%s: %d kB", s.CStr(), 42); });

    Idiom("pieces in a row", "hull", "assets/hull.mesh");
    Std([](std::string &s) { return std::string("assets").append("/").append(s).append(".mesh"); });
    Ours([](CString &s) { return Concat("assets", '/', s, ".mesh"); });

    Idiom("a path", "hull.mesh", "assets/hull.mesh");
    Std([](std::string &s) { return (std::filesystem::path("assets/") / s).string(); });
    Ours([](CString &s) { return "assets/" / s; });

    Idiom("a copy", "hull", "hull");
    Std(
        [](std::string &s)
        {
            std::string copy = s;
            return copy;
        });
    Ours(
        [](CString &s)
        {
            CString copy = s;
            return copy;
        });

    Idiom("exchanged", "hull", "keel");
    Std(
        [](std::string &s)
        {
            std::string other = "keel";
            swap(s, other);
        });
    Ours(
        [](CString &s)
        {
            CString other = "keel";
            swap(s, other);
        });
}

TEST_F(ComingFromStdString, Asking)
{
    Idiom("how long", "hull", "4");
    Std([](std::string &s) { return s.size(); });
    Ours([](CString &s) { return s.Length(); });

    Idiom("whether empty", "hull", "false");
    Std([](std::string &s) { return s.empty(); });
    Ours([](CString &s) { return s.Empty(); });

    Idiom("for functions of C", "hull", "hull");
    Std([](std::string &s) { return s.c_str(); });
    Ours([](CString &s) { return s.CStr(); });

    Idiom("one character", "hull", "u");
    Std([](std::string &s) { return s[1]; });
    Ours([](CString &s) { return s[1]; });

    Idiom("the last one", "hull", "l");
    Std([](std::string &s) { return s.back(); });
    Ours([](CString &s) { return s.Last(); });

    Idiom("equality", "hull", "true");
    Std([](std::string &s) { return s == "hull"; });
    Ours([](CString &s) { return s == "hull"; });

    Idiom("equality without regard to case", "hull", "true");
    Std([](std::string &s) { return strcasecmp(s.c_str(), "HULL") == 0; });
    Ours([](CString &s) { return s.Compare("HULL", CaseInsensitive); });

    Idiom("order", "hull", "true");
    Std([](std::string &s) { return s.compare("keel") < 0; });
    Ours([](CString &s) { return s < "keel"; });

    Idiom("how it begins", "assets/hull.mesh", "true");
    Std([](std::string &s) { return s.compare(0, 7, "assets/") == 0; });
    Ours([](CString &s) { return s.StartsWith("assets/"); });

    Idiom("how it ends", "hull.mesh", "true");
    Std([](std::string &s) { return s.size() >= 5 && s.compare(s.size() - 5, 5, ".mesh") == 0; });
    Ours([](CString &s) { return s.EndsWith(".mesh"); });

    Idiom("what it holds", "assets/hull.mesh", "true");
    Std([](std::string &s) { return s.find("hull") != std::string::npos; });
    Ours([](CString &s) { return s.Contains("hull"); });

    Idiom("only blanks", " \t ", "true");
    Std([](std::string &s) { return s.find_first_not_of(" \t") == std::string::npos; });
    Ours([](CString &s) { return s.Empty(" \t"); });
}

TEST_F(ComingFromStdString, Finding)
{
    Idiom("a character", "assets/hull.mesh", "6");
    Std([](std::string &s) { return s.find('/'); });
    Ours([](CString &s) { return s.FindFirstOf('/'); });

    Idiom("whether it is there", "hull", "false");
    Std([](std::string &s) { return s.find('/') != std::string::npos; });
    Ours([](CString &s) { return s.FindFirstOf('/').Valid(); });

    Idiom("from a place on", "a/b/c", "3");
    Std([](std::string &s) { return s.find('/', 2); });
    Ours([](CString &s) { return s.FindNextOf('/', 2); });

    Idiom("the last one", "a/b/c", "3");
    Std([](std::string &s) { return s.rfind('/'); });
    Ours([](CString &s) { return s.FindLastOf('/'); });

    Idiom("a text", "assets/hull.mesh", "7");
    Std([](std::string &s) { return s.find("hull"); });
    Ours([](CString &s) { return s.FindText("hull"); });

    Idiom("the last place of a text", "hull.mesh.mesh", "9");
    Std([](std::string &s) { return s.rfind(".mesh"); });
    Ours([](CString &s) { return s.FindLastText(".mesh"); });

    Idiom("one of some characters", "assets/hull.mesh", "6");
    Std([](std::string &s) { return s.find_first_of("./"); });
    Ours([](CString &s) { return CStringView(s).FindFirstOf("./"); });

    Idiom("how many", "a/b/c", "2");
    Std([](std::string &s) { return std::count(s.begin(), s.end(), '/'); });
    Ours([](CString &s) { return std::count(s.begin(), s.end(), '/'); });
}

TEST_F(ComingFromStdString, Pieces)
{
    Idiom("a piece as a string", "assets/hull.mesh", "hull");
    Std([](std::string &s) { return s.substr(7, 4); });
    Ours([](CString &s) { return s.Extract(7, 11); });

    Idiom("a piece as a view", "assets/hull.mesh", "hull");
    Std([](std::string &s) { return std::string_view(s).substr(7, 4); });
    Ours([](CString &s) { return s.Slice(7, 4); });

    Idiom("the rest as a view", "assets/hull.mesh", "hull.mesh");
    Std([](std::string &s) { return std::string_view(s).substr(7); });
    Ours([](CString &s) { return s.Slice(7); });

    Idiom("without blanks at the ends", "  hull\t", "hull");
    Std(
        [](std::string &s)
        {
            s.erase(0, s.find_first_not_of(" \t"));
            s.erase(s.find_last_not_of(" \t") + 1);
        });
    Ours([](CString &s) { s.Strip(" \t"); });

    Idiom("piece after piece", "hull,keel,mast", "hullkeelmast");
    Std(
        [](std::string &s)
        {
            std::string all;
            std::istringstream stream(s);
            for (std::string piece; std::getline(stream, piece, ',');)
                all += piece;
            return all;
        });
    Ours(
        [](CString &s)
        {
            CString all;
            for (CStringView piece : Pieces(s, ','))
                all += piece;
            return all;
        });

    Idiom("all pieces", "hull,keel,mast", "3");
    Std(
        [](std::string &s)
        {
            std::vector<std::string> pieces;
            std::istringstream stream(s);
            for (std::string piece; std::getline(stream, piece, ',');)
                pieces.push_back(piece);
            return pieces.size();
        });
    Ours(
        [](CString &s)
        {
            TArray<CStringView> pieces;
            return s.Split(',', pieces) ? pieces.Count() : 0;
        });

    Idiom("line after line", "hull\nkeel\n", "hullkeel");
    Std(
        [](std::string &s)
        {
            std::string all;
            std::istringstream stream(s);
            for (std::string line; std::getline(stream, line);)
                all += line;
            return all;
        });
    Ours(
        [](CString &s)
        {
            CString all;
            for (CStringView line : Lines(s))
                all += line;
            return all;
        });

    Idiom("pieces put together", "", "hull, keel, mast");
    Std(
        [](std::string &s)
        {
            const std::vector<std::string> pieces = {"hull", "keel", "mast"};
            for (const std::string &piece : pieces)
                s += (s.empty() ? "" : ", ") + piece;
        });
    Ours(
        [](CString &s)
        {
            const TArray<CString> pieces = {"hull", "keel", "mast"};
            s = Join(", ", pieces);
        });
}

TEST_F(ComingFromStdString, Changing)
{
    Idiom("more at the end", "hull", "hull.mesh");
    Std([](std::string &s) { s += ".mesh"; });
    Ours([](CString &s) { s += ".mesh"; });

    Idiom("one character more", "hull", "hulls");
    Std([](std::string &s) { s += 's'; });
    Ours([](CString &s) { s += 's'; });

    Idiom("in the middle", "hull.mesh", "hull_1.mesh");
    Std([](std::string &s) { s.insert(4, "_1"); });
    Ours([](CString &s) { s.Insert(4, "_1"); });

    Idiom("less", "assets/hull.mesh", "assets.mesh");
    Std([](std::string &s) { s.erase(6, 5); });
    Ours([](CString &s) { s.Erase(6, 11); });

    Idiom("without the last character", "hulls", "hull");
    Std([](std::string &s) { s.pop_back(); });
    Ours([](CString &s) { s.Erase(s.Length() - 1, s.Length()); });

    Idiom("another character at one place", "hull", "bull");
    Std([](std::string &s) { s[0] = 'b'; });
    Ours([](CString &s) { s.AtForWriting(0) = 'b'; });

    Idiom("another character everywhere", "a/b/c", "a.b.c");
    Std([](std::string &s) { std::replace(s.begin(), s.end(), '/', '.'); });
    Ours([](CString &s) { s = s.Replace('/', '.'); });

    Idiom("another text everywhere", "hull and hull", "keel and keel");
    Std(
        [](std::string &s)
        {
            for (std::size_t at = s.find("hull"); at != std::string::npos; at = s.find("hull", at + 4))
                s.replace(at, 4, "keel");
        });
    Ours([](CString &s) { s = s.Replace("hull", "keel"); });

    Idiom("upper case", "hull", "HULL");
    Std([](std::string &s)
        { std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::toupper(c); }); });
    Ours([](CString &s) { s.ToUppercase(); });

    Idiom("reversed", "hull", "lluh");
    Std([](std::string &s) { std::reverse(s.begin(), s.end()); });
    Ours([](CString &s) { s = s.Reversed(); });

    Idiom("aligned to the right", "hull", "    hull");
    Std([](std::string &s) { s.insert(0, s.size() < 8 ? 8 - s.size() : 0, ' '); });
    Ours([](CString &s) { s = s.PadLeft(8); });

    Idiom("emptied, ready for more", "hull", "");
    Std([](std::string &s) { s.clear(); });
    Ours([](CString &s) { s.Clear(); });
}

TEST_F(ComingFromStdString, WithTheRest)
{
    Idiom("from text to number", "42", "42");
    Std(
        [](std::string &s)
        {
            int number = 0;
            const auto [end, error] = std::from_chars(s.data(), s.data() + s.size(), number);
            return error == std::errc() && end == s.data() + s.size() ? number : -1;
        });
    Ours(
        [](CString &s)
        {
            int number = 0;
            return ParseNumber(s, number) ? number : -1;
        });

    Idiom("from number to text", "hull ", "hull 42");
    Std([](std::string &s) { s += std::to_string(42); });
    Ours([](CString &s) { AppendNumber(s, 42); });

    Idiom("key of a map", "hull", "42");
    Std(
        [](std::string &s)
        {
            std::unordered_map<std::string, int> sizes;
            sizes[s] = 42;
            return sizes["hull"];
        });
    Ours(
        [](CString &s)
        {
            std::unordered_map<CString, int, SStringHash, SStringEqual> sizes;
            sizes[s] = 42;
            return sizes["hull"];
        });

    Idiom("to a stream", "hull", "hull");
    Std(
        [](std::string &s)
        {
            std::ostringstream stream;
            stream << s;
            return stream.str();
        });
    Ours(
        [](CString &s)
        {
            std::ostringstream stream;
            stream << s;
            return stream.str();
        });

    Idiom("to a function that takes a std::string_view", "hull", "hull");
    Std([](std::string &s) { return std::string_view(s); });
    Ours([](CString &s) { return std::string_view(s); });
}

TEST_F(ComingFromStdString, Traps)
{
    Trap("`Data()` of an empty string is null, which printf does not take; `CStr()` never is", "", "null", "");
    Surprise([](CString &s) { return s.Data(); });
    Instead([](CString &s) { return s.CStr(); });

    Trap("in strings `FindFirstOf` of a text finds that text, only in views one of its characters", "assets/hull.mesh",
         "none", "6");
    Surprise([](CString &s) { return s.FindFirstOf("./"); });
    Instead([](CString &s) { return CStringView(s).FindFirstOf("./"); });

    Trap("`Compare` answers whether texts are equal; it is no order, and 0 is no", "hull", "true", "false");
    Surprise([](CString &s) { return s.Compare("keel") == 0; });
    Instead([](CString &s) { return s == "keel"; });

    Trap("`Replace` gives a new string, and leaves its own as it is", "hull", "hull", "hall");
    Surprise([](CString &s) { static_cast<void>(s.Replace("u", "a")); });
    Instead([](CString &s) { s = s.Replace("u", "a"); });

    Trap("`Reverse` writes characters that copies share; `Reversed` does not", "hull", "lluh", "hull");
    Surprise(
        [](CString &s)
        {
            CString copy = s;
            copy.Reverse();
            return s;
        });
    Instead(
        [](CString &s)
        {
            CString copy = s.Reversed();
            return s;
        });

    Trap("a pointer for writing, kept over a copy, writes into the copy, too", "hull", "bull", "hull");
    Surprise(
        [](CString &s)
        {
            char *first = s.RawDataForWriting();
            CString copy = s;
            *first = 'b';
            return copy;
        });
    Instead(
        [](CString &s)
        {
            CString copy = s;
            s.AtForWriting(0) = 'b';
            return copy;
        });

    Trap("a write may move the characters away from views of them; another handle keeps them", "hull", "false", "hull");
    Surprise(
        [](CString &s)
        {
            const CStringView view = s;
            s += ".mesh";
            return view.Data() == s.Data();
        });
    Instead(
        [](CString &s)
        {
            const CString kept = s;
            const CStringView view = kept;
            s += ".mesh";
            return CString(view);
        });

    Trap("`Split` leaves empty pieces out", "hull,,mast", "2", "3");
    Surprise(
        [](CString &s)
        {
            TArray<CStringView> pieces;
            return s.Split(',', pieces) ? pieces.Count() : 0;
        });
    Instead(
        [](CString &s)
        {
            const auto pieces = Pieces(s, ',').WithEmpty();
            return std::distance(pieces.begin(), pieces.end());
        });

    Trap("the second number of `Extract` and `Erase` is where they end; that of `Slice` is a count", "hull.mesh", "l",
         "ll.");
    Surprise([](CString &s) { return s.Extract(2, 3); });
    Instead([](CString &s) { return s.Slice(2, 3); });

    Trap("nothing found is an index, too: 1 more is 0, the whole text", "hull", "hull", "");
    Surprise([](CString &s) { return s.Slice(s.FindLastOf('.') + 1); });
    Instead(
        [](CString &s)
        {
            const CGuid dot = s.FindLastOf('.');
            return dot.Valid() ? s.Slice(dot + 1) : CStringView();
        });

    Trap("a text that begins with a terminator is `Empty()`, whatever its length", "hull", "true", "false");
    Surprise(
        [](CString &s)
        {
            s.AtForWriting(0) = '\0';
            return s.Empty();
        });
    Instead(
        [](CString &s)
        {
            s.AtForWriting(0) = '\0';
            return s.Length() == 0;
        });

    Trap("`Format` cuts its result at 3198 characters", "hull", "3198", "4000");
    Surprise([](CString &s) { return CString::Format("%s", s.Repeat(1000).CStr()).Length(); });
    Instead([](CString &s) { return Concat(s.Repeat(1000)).Length(); });

    Trap("`Prepend` to an empty string takes the text to its end, whatever count is given", "", "hull.mesh", "hull");
    Surprise([](CString &s) { s.Prepend("hull.mesh", 4); });
    Instead([](CString &s) { s.Insert(0, CStringView("hull.mesh", 4)); });
}

// What the page says about memory that is refused.
TEST_F(ComingFromStdString, RefusedMemoryLeavesAnEmptyStringAndNothingThrows)
{
    const CAssertRecorder recorder;
    CTestAllocator allocator;
    CString s("hull");
    allocator.RefuseFromNth(1);
    s += ".mesh";
    EXPECT_TRUE(s.Empty());
    const CString copy("hull");
    EXPECT_TRUE(copy.Empty());
}

} // namespace
