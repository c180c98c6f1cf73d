// Rewrites of one string, one after the other, while another handle may share its characters: casing, escaping,
// replacing, stripping, reversing, blanking comments, indenting; and the native helpers below them.
#include <algorithm>
#include <vector>

#include "comment_model.h"
#include "edit_model.h"
#include "escape_model.h"
#include "fuzz_support.h"

namespace
{

using namespace QuorvaneFuzz;
using namespace QuorvaneTest;

constexpr u32 kMaxSteps = 32;
// Longer strings are replaced: escaping may double them.
constexpr u32 kMaxLength = 1500;
constexpr u32 kMaxReplacement = 40;

bool StartsWithTerminator(const std::string &text)
{
    return !text.empty() && text[0] == '\0';
}

class CSession
{
public:
    CSession(CInput &input, CWatch &watch) : m_Input(input), m_Watch(watch) { _Begin(); }

    void Step()
    {
        const u8 choice = m_Input.Byte();
        if (m_Text.size() > kMaxLength)
            _Begin();
        // A handle that shares the characters, or none.
        m_Shared = (choice & 1) != 0 ? m_String : CString();
        m_SharedText = (choice & 1) != 0 ? m_Text : std::string();
        m_Watch.BeginStep();
        switch ((choice >> 1) % 13)
        {
        case 0:
            return _Begin();
        case 1:
            return _Casing();
        case 2:
            return _Escape();
        case 3:
            return _Unescape();
        case 4:
            return _RoundTrip();
        case 5:
            return _ReplaceCharacter();
        case 6:
            return _ReplaceText();
        case 7:
            return _Strip();
        case 8:
            return _Reverse();
        case 9:
            return _Uncomment();
        case 10:
            return _Indent();
        case 11:
            return _Repeat();
        default:
            return _Pad();
        }
    }

private:
    void _Begin()
    {
        const u32 capacity = m_Input.Byte();
        const std::string text = m_Input.Text();
        m_Shared = CString();
        m_SharedText.clear();
        m_String = NewString(text, capacity);
        m_Text = TextOf(m_String);
        QV_FUZZ_CHECK(m_Text == text || m_Watch.HasRefused());
        _Check();
    }

    void _Casing()
    {
        QV_FUZZ_CHECK(m_String.IsUpper() == (StartsWithTerminator(m_Text) || ModelUppercase(m_Text) == m_Text));
        QV_FUZZ_CHECK(m_String.IsLower() == (StartsWithTerminator(m_Text) || ModelLowercase(m_Text) == m_Text));
        QV_FUZZ_CHECK(m_String.AnalyzeCasing() == (StartsWithTerminator(m_Text) ? 0 : ModelCasing(m_Text)));
        _CheckConverted();
        const u32 casing = m_Input.Below(5);
        const CString conformed = m_String.ConformedTo(static_cast<ECasingType>(casing));
        m_String.ConformTo(static_cast<ECasingType>(casing));
        const bool changes = !StartsWithTerminator(m_Text);
        const std::string expected = changes && casing == CasingType_Lowercase   ? ModelLowercase(m_Text)
                                     : changes && casing == CasingType_Uppercase ? ModelUppercase(m_Text)
                                                                                 : m_Text;
        _ExpectCopy(conformed, expected);
        _Expect(expected);
    }

    void _CheckConverted()
    {
        const std::string upper = StartsWithTerminator(m_Text) ? m_Text : ModelUppercase(m_Text);
        const std::string lower = StartsWithTerminator(m_Text) ? m_Text : ModelLowercase(m_Text);
        _ExpectCopy(m_String.Uppercase(), upper);
        _ExpectCopy(m_String.Lowercase(), lower);
        CString turned = m_String;
        _ExpectCopy(turned.ToUppercase(), upper);
        _ExpectCopy(turned.ToLowercase(), lower);
    }

    void _Escape()
    {
        const CString escaped = m_String.Escaped();
        m_String.Escape();
        const std::string expected =
            StartsWithTerminator(m_Text) ? m_Text : EscapeModelEscaped(ModelToTerminator(m_Text));
        _ExpectCopy(escaped, expected);
        _Expect(expected);
    }

    void _Unescape()
    {
        const CString unescaped = m_String.Unescaped();
        m_String.Unescape();
        const std::string expected =
            StartsWithTerminator(m_Text) ? m_Text : EscapeModelUnescaped(ModelToTerminator(m_Text));
        _ExpectCopy(unescaped, expected);
        _Expect(expected);
    }

    void _RoundTrip()
    {
        CString copy = m_String;
        copy.Escape();
        copy.Unescape();
        QV_FUZZ_CHECK(IsWellFormed(copy));
        const std::string expected = StartsWithTerminator(m_Text) ? m_Text : ModelToTerminator(m_Text);
        QV_FUZZ_CHECK(TextOf(copy) == expected || m_Watch.HasRefused());
        _Expect(m_Text);
    }

    void _ReplaceCharacter()
    {
        const char from = static_cast<char>(std::max<u8>(m_Input.Byte(), 1));
        const char to = static_cast<char>(std::max<u8>(m_Input.Byte(), 1));
        m_String = m_String.Replace(from, to);
        _Expect(ModelReplaced(m_Text, from, to));
    }

    void _ReplaceText()
    {
        const bool counted = m_Input.Flag();
        const CExactText pattern(m_Input.PlainText(), !counted);
        const CExactText replacement(m_Input.PlainText().substr(0, kMaxReplacement), !counted);
        const CString replaced = counted ? m_String.Replace(pattern.View(), replacement.View())
                                         : m_String.Replace(pattern.Data(), replacement.Data());
        m_String = replaced;
        const std::string text = ModelToTerminator(m_Text);
        const bool nothingToDo = pattern.Length() == 0 || text.empty();
        const std::string expected = nothingToDo ? m_Text : ModelReplaced(text, pattern.Text(), replacement.Text());
        // Refused memory may leave any number of replacements undone.
        if (m_Watch.HasRefused())
            m_Text = TextOf(m_String);
        _Expect(m_Watch.HasRefused() ? m_Text : expected);
    }

    void _Strip()
    {
        const u32 side = m_Input.Below(3);
        const CExactText set(m_Input.PlainText());
        const std::string chars = set.Text();
        _ExpectViewStripped(side, set);
        switch (side)
        {
        case 0:
            m_String.Strip(set.Data());
            return _Expect(ModelStrip(m_Text, chars));
        case 1:
            m_String.StripLeft(set.Data());
            return _Expect(ModelStripLeft(m_Text, chars));
        default:
            m_String.StripRight(set.Data());
            return _Expect(ModelStripRight(m_Text, chars));
        }
    }

    // A view never looks outside itself.
    void _ExpectViewStripped(u32 side, const CExactText &set)
    {
        const CExactText text(m_Text, false);
        const CStringView stripped = side == 0   ? text.View().Strip(set.Data())
                                     : side == 1 ? text.View().StripLeft(set.Data())
                                                 : text.View().StripRight(set.Data());
        const std::string expected = side == 0   ? ModelStrip(m_Text, set.Text())
                                     : side == 1 ? ModelStripLeft(m_Text, set.Text())
                                                 : ModelStripRight(m_Text, set.Text());
        QV_FUZZ_CHECK(TextOf(stripped) == expected);
    }

    void _Reverse()
    {
        const CString reversed = m_String.Reversed();
        _ExpectCopy(reversed, ModelReversed(m_Text));
        m_String.Reverse();
        // Whoever shares the characters sees it.
        m_SharedText = ModelReversed(m_SharedText);
        _Expect(ModelReversed(m_Text));
    }

    void _Repeat()
    {
        const u32 times = m_Input.Below(5);
        const CString repeated = m_String.Repeat(times);
        _ExpectCopy(repeated, ModelRepeated(m_Text, times));
        m_String = repeated;
        _Expect(ModelRepeated(m_Text, times));
    }

    void _Pad()
    {
        const u32 width = m_Input.Below(300);
        const char character = static_cast<char>(m_Input.Byte());
        _ExpectCopy(m_String.PadLeft(width, character), ModelPaddedLeft(m_Text, width, character));
        m_String = m_String.PadRight(width, character);
        _Expect(ModelPaddedRight(m_Text, width, character));
    }

    void _Uncomment()
    {
        m_String.Uncomment();
        const std::string text = ModelToTerminator(m_Text);
        QV_FUZZ_CHECK(m_Watch.HasRefused() || m_Watch.HasReported() == (text.size() != m_Text.size()));
        const std::string blanked = CCommentModel::Blanked(text) + m_Text.substr(text.size());
        m_Watch.HasRefused() ? _Expect(blanked) : _ExpectReported(blanked);
    }

    void _Indent()
    {
        const u32 column = m_Input.Byte();
        const u32 width = m_Input.Below(100);
        const u32 tabWidth = m_Input.Below(9) + 1;
        const u32 added = m_String.Ident(column, width, tabWidth);
        const std::string indent = ModelIndent(column, width, tabWidth);
        QV_FUZZ_CHECK(added == (m_Watch.HasRefused() ? 0 : indent.size()));
        _Expect(m_Text + indent);
    }

    void _ExpectCopy(const CString &copy, const std::string &expected)
    {
        QV_FUZZ_CHECK(IsWellFormed(copy));
        QV_FUZZ_CHECK(TextOf(copy) == expected || m_Watch.HasRefused());
    }

    void _Expect(const std::string &expected)
    {
        QV_FUZZ_CHECK(!m_Watch.HasReported() || m_Watch.HasRefused());
        _ExpectReported(expected);
    }

    void _ExpectReported(const std::string &expected)
    {
        const std::string text = TextOf(m_String);
        QV_FUZZ_CHECK(text == expected || (m_Watch.HasRefused() && (text.empty() || text == m_Text)));
        m_Text = text;
        _Check();
    }

    void _Check()
    {
        QV_FUZZ_CHECK(IsWellFormed(m_String));
        QV_FUZZ_CHECK(IsWellFormed(m_Shared));
        QV_FUZZ_CHECK(TextOf(m_Shared) == m_SharedText);
    }

    CInput &m_Input;
    CWatch &m_Watch;
    CString m_String;
    CString m_Shared;
    std::string m_Text;
    std::string m_SharedText;
};

// The native helpers, each on memory that ends where the contract allows it to look.

void CheckNativeEscapes(const std::string &text, u32 maxLength)
{
    const CExactText source(text);
    const std::string taken = text.substr(0, maxLength);
    const CExactText unterminated(taken, text.size() <= maxLength);
    std::vector<char> written(2 * text.size() + 1);

    u32 length = SNativeStringUtils::Escape(source.Data(), written.data());
    QV_FUZZ_CHECK(std::string(written.data(), length) == EscapeModelEscaped(text) && written[length] == '\0');
    length = SNativeStringUtils::Escape(unterminated.Data(), written.data(), maxLength);
    QV_FUZZ_CHECK(std::string(written.data(), length) == EscapeModelEscaped(taken) && written[length] == '\0');

    written.resize(text.size() + 1);
    length = SNativeStringUtils::Unescape(source.Data(), written.data());
    QV_FUZZ_CHECK(std::string(written.data(), length) == EscapeModelUnescaped(text) && written[length] == '\0');
    length = SNativeStringUtils::Unescape(unterminated.Data(), written.data(), maxLength);
    QV_FUZZ_CHECK(std::string(written.data(), length) == EscapeModelUnescaped(taken) && written[length] == '\0');

    CExactText inPlace(text);
    length = SNativeStringUtils::Unescape(inPlace.Data(), inPlace.Data());
    QV_FUZZ_CHECK(std::string(inPlace.Data()) == EscapeModelUnescaped(text) && length == std::strlen(inPlace.Data()));
}

void CheckNativeUncomment(const std::string &text)
{
    CExactText blanked(text);
    QV_FUZZ_CHECK(SNativeStringUtils::Uncomment(blanked.Data()) == text.size());
    QV_FUZZ_CHECK(blanked.Text() == CCommentModel::Blanked(text));
}

// Bytes behind `length` stay as they are.
void CheckNativeBlocks(const std::string &text, u32 length, char from, char to)
{
    const std::string edited = text.substr(0, length);
    const std::string rest = CBlockText(text).Everything().substr(edited.size());

    CBlockText uppercase(text);
    SNativeStringUtils::Uppercase_16(uppercase.Data(), length);
    QV_FUZZ_CHECK(uppercase.Everything() == ModelUppercase(edited) + rest);
    CBlockText lowercase(text);
    SNativeStringUtils::Lowercase_16(lowercase.Data(), length);
    QV_FUZZ_CHECK(lowercase.Everything() == ModelLowercase(edited) + rest);
    CBlockText reversed(text);
    SNativeStringUtils::Reverse_16(reversed.Data(), length);
    QV_FUZZ_CHECK(reversed.Everything() == ModelReversed(edited) + rest);

    CBlockText replaced(text);
    const u32 count = SNativeStringUtils::Replace_16(replaced.Data(), length, from, to);
    QV_FUZZ_CHECK(replaced.Everything() == ModelReplaced(edited, from, to) + rest);
    QV_FUZZ_CHECK(count == static_cast<u32>(std::count(edited.begin(), edited.end(), from)));
    CBlockText copy(std::string(length, '\x55'));
    QV_FUZZ_CHECK(SNativeStringUtils::Replace_16(copy.Data(), CBlockText(edited).Data(), length, from, to) == count);
    QV_FUZZ_CHECK(copy.Everything() == CBlockText(ModelReplaced(edited, from, to)).Everything());
}

void CheckNatives(CInput &input)
{
    const std::string text = input.PlainText();
    CheckNativeEscapes(text, input.Below(LengthOf(text) + 2));
    CheckNativeUncomment(text);
    const char from = static_cast<char>(input.Byte());
    const char to = static_cast<char>(input.Byte());
    CheckNativeBlocks(text, input.Below(LengthOf(text) + 1), from, to);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    CInput input(data, size);
    CWatch watch(input);
    input.ChooseLetters("aB/*\\\"'\n\r \tn");
    if (input.Flag())
    {
        CheckNatives(input);
        return 0;
    }
    CSession session(input, watch);
    TakeSteps(input, kMaxSteps, [&] { session.Step(); });
    return 0;
}
