// Edits that grow, cut, share and let go of two strings, whose arguments may be pieces of these strings themselves.
#include <utility>

#include "edit_model.h"
#include "fuzz_support.h"
#include "string_model.h"

namespace
{

using namespace QuorvaneFuzz;
using namespace QuorvaneTest;

constexpr u32 kMaxSteps = 48;
// Longer strings are cleared, since appending a string to itself doubles it.
constexpr u32 kMaxLength = 3000;

enum EVerb
{
    Verb_Append,
    Verb_Prepend,
    Verb_Join,
    Verb_Count,
};

// How an argument is given.
enum EForm
{
    Form_Counted,
    Form_View,
    Form_Terminated,
    Form_Count,
};

void Apply(CString &string, EVerb verb, EForm form, const char *data, u32 count)
{
    const CStringView view(data, count);
    switch (verb)
    {
    case Verb_Append:
        form == Form_Counted ? string.Append(data, count)
        : form == Form_View  ? string.Append(view)
                             : string.Append(data);
        break;
    case Verb_Prepend:
        form == Form_Counted ? string.Prepend(data, count)
        : form == Form_View  ? string.Prepend(view)
                             : string.Prepend(data);
        break;
    default:
        form == Form_Counted ? string.AppendSlashAnd(data, count)
        : form == Form_View  ? string.AppendSlashAnd(view)
                             : string.AppendSlashAnd(data);
        break;
    }
}

void Apply(CString &string, EVerb verb, const CString &other)
{
    verb == Verb_Append    ? string.Append(other)
    : verb == Verb_Prepend ? string.Prepend(other)
                           : string.AppendSlashAnd(other);
}

std::string Expected(EVerb verb, const std::string &left, const std::string &right)
{
    return verb == Verb_Append    ? ModelAppend(left, right)
           : verb == Verb_Prepend ? ModelPrepend(left, right)
                                  : ModelJoinPath(left, right);
}

class CSession
{
public:
    CSession(CInput &input, CWatch &watch) : m_Input(input), m_Watch(watch) {}

    void Step()
    {
        m_Watch.BeginStep();
        const u8 choice = m_Input.Byte();
        m_Edited = choice & 1;
        if (m_Strings[m_Edited].Length() > kMaxLength)
            m_Strings[m_Edited] = CString(), m_Texts[m_Edited].clear();
        switch ((choice >> 1) % 16)
        {
        case 0:
        case 1:
            return _AddText();
        case 2:
        case 3:
            return _AddPiece();
        case 4:
            return _AddHandle();
        case 5:
            return _AddCharacter();
        case 6:
            return _BeginAnew();
        case 7:
            return _Share();
        case 8:
            return _CutRaw();
        case 9:
            return _AddSlash();
        case 10:
            return _Operators();
        case 11:
            m_Strings[m_Edited].Clear();
            return _Expect(HoldsTerminator(m_Texts[m_Edited].substr(0, 1)) ? m_Texts[m_Edited] : std::string());
        case 12:
            return _Insert();
        case 13:
            return _Erase();
        case 14:
            return _JoinPieces();
        default:
            return _AddInARow();
        }
    }

    // Adds where there is room, and nowhere else: a text, a character, the other string and a piece of its own.
    void AddInRoom(bool reserves)
    {
        m_Watch.BeginStep();
        CString &edited = m_Strings[m_Edited];
        m_Room = reserves ? _Reserved(edited, edited.Length() + m_Input.Byte()) : 0;
        const CExactText text(m_Input.Text());
        const char character = static_cast<char>(m_Input.Byte());
        const CString &other = m_Strings[1 - m_Edited];
        _ExpectAdded(edited.TryAppend(text.View()), text.Text());
        _ExpectAdded(edited.TryAppend(character), std::string(character != '\0' ? 1 : 0, character));
        _ExpectAdded(edited.TryAppend(other), other.Empty() ? std::string() : m_Texts[1 - m_Edited]);
        const u32 offset = m_Input.Below(edited.Length() + 1);
        _ExpectAdded(edited.TryAppend(edited.Slice(offset)), m_Texts[m_Edited].substr(offset));
    }

private:
    // The length that there is room for.
    u32 _Reserved(CString &string, u32 length)
    {
        const bool isThere = string.Reserve(length);
        QV_FUZZ_CHECK(isThere ? !string.IsShared() : m_Watch.HasRefused());
        _Check();
        return isThere ? length : 0;
    }

    // What has room must be added.
    void _ExpectAdded(bool isAdded, const std::string &text)
    {
        QV_FUZZ_CHECK(isAdded || m_Texts[m_Edited].size() + text.size() > m_Room);
        QV_FUZZ_CHECK(!m_Watch.HasReported());
        if (isAdded)
            m_Texts[m_Edited] += text;
        _Check();
    }

    EVerb _Verb() { return static_cast<EVerb>(m_Input.Below(Verb_Count)); }
    EForm _Form() { return static_cast<EForm>(m_Input.Below(Form_Count)); }

    void _AddText()
    {
        const EVerb verb = _Verb();
        const EForm form = _Form();
        const CExactText argument(m_Input.Text());
        _Add(verb, form, argument.Data(), m_Input.Below(argument.Length() + 1), argument.Length());
    }

    // To the same string: what one edit remembers for the next one must still be so.
    void _AddInARow()
    {
        for (u32 i = 0; i < 3; ++i)
        {
            m_Watch.BeginStep();
            _AddText();
        }
    }

    // A piece of either string: of the edited one itself, or of one that may share its characters.
    void _AddPiece()
    {
        const EVerb verb = _Verb();
        const EForm form = _Form();
        const CString &source = m_Strings[m_Input.Flag() ? 1 : 0];
        if (source.Data() == nullptr)
            return;
        const u32 offset = m_Input.Below(source.Length() + 1);
        const u32 left = source.Length() - offset;
        _Add(verb, form, source.Data() + offset, m_Input.Below(left + 1), left);
    }

    // `available` characters stand before the terminator behind the text.
    void _Add(EVerb verb, EForm form, const char *data, u32 count, u32 available)
    {
        CString &string = m_Strings[m_Edited];
        // The one way in which a count is not heeded.
        const bool takesAll = verb == Verb_Prepend && form == Form_Counted && count != 0 && string.Empty() &&
                              !IsUniqueAndResizable(string);
        const std::string argument(data, form == Form_Terminated || takesAll ? available : count);
        Apply(string, verb, form, data, count);
        _ExpectSum(verb, argument);
    }

    void _AddHandle()
    {
        const EVerb verb = _Verb();
        const u32 other = m_Input.Flag() ? 1 : 0;
        const std::string argument = m_Texts[other];
        Apply(m_Strings[m_Edited], verb, m_Strings[other]);
        _ExpectSum(verb, argument);
    }

    void _AddCharacter()
    {
        const bool atFront = m_Input.Flag();
        const char character = static_cast<char>(m_Input.Byte());
        CString &string = m_Strings[m_Edited];
        atFront ? string.Prepend(character) : string.Append(character);
        _ExpectSum(atFront ? Verb_Prepend : Verb_Append, std::string(character != '\0' ? 1 : 0, character));
    }

    void _AddSlash()
    {
        const CString added = m_Strings[m_Edited].SlashAppended();
        m_Strings[m_Edited].AppendSlash();
        const std::string &text = m_Texts[m_Edited];
        const bool needsNone = text.empty() || text[0] == '\0' || text.back() == '/';
        const std::string expected = needsNone ? text : text + '/';
        QV_FUZZ_CHECK(TextOf(added) == expected || m_Watch.HasRefused());
        _Expect(expected);
    }

    void _Operators()
    {
        const EVerb verb = m_Input.Flag() ? Verb_Append : Verb_Join;
        const CString &a = m_Strings[0];
        const CString &b = m_Strings[1];
        CString sums[4];
        if (verb == Verb_Append)
            sums[0] = a + b, sums[1] = a + CStringView(b), sums[2] = CStringView(a) + b, sums[3] = CString(a) + b;
        else
            sums[0] = a / b, sums[1] = a / CStringView(b), sums[2] = CStringView(a) / b, sums[3] = CString(a) / b;
        for (const CString &sum : sums)
        {
            QV_FUZZ_CHECK(IsWellFormed(sum));
            QV_FUZZ_CHECK(m_Watch.HasRefused() || !_IsPlain(m_Texts[0] + m_Texts[1]) ||
                          TextOf(sum) == Expected(verb, m_Texts[0], m_Texts[1]));
        }
        _LeftOperators(verb);
        if (verb == Verb_Join)
            _JoinMany();
        _Check();
    }

    // With a view or a buffer on the left: the whole, the left side or nothing, never the right side alone.
    void _LeftOperators(EVerb verb)
    {
        const std::string text = m_Input.Text();
        const CExactText argument(text);
        const CStringView view(argument.Data(), argument.Length());
        const CString &right = m_Strings[0];
        const CString sums[] = {verb == Verb_Append ? view + right : view / right,
                                verb == Verb_Append ? argument.Data() + right : argument.Data() / right};
        for (const CString &sum : sums)
        {
            const std::string result = TextOf(sum);
            QV_FUZZ_CHECK(IsWellFormed(sum));
            if (_IsPlain(m_Texts[0] + text))
                QV_FUZZ_CHECK(result == Expected(verb, text, m_Texts[0]) ||
                              (m_Watch.HasRefused() && (result.empty() || result == text)));
        }
        QV_FUZZ_CHECK((view < argument.Data()) == (argument.Data() > view));
        QV_FUZZ_CHECK(!_IsPlain(m_Texts[0] + text) || (CStringView(right) < view) == (m_Texts[0] < text) ||
                      right.Data() == nullptr);
    }

    void _JoinMany()
    {
        const std::string text = m_Input.Text();
        const CExactText argument(text);
        const CString path =
            JoinPath(m_Strings[0], CStringView(argument.Data(), argument.Length()), m_Strings[1], argument.Data());
        const std::string three = ModelJoinPath(ModelJoinPath(m_Texts[0], text), m_Texts[1]);
        QV_FUZZ_CHECK(IsWellFormed(path));
        QV_FUZZ_CHECK(m_Watch.HasRefused() || !_IsPlain(m_Texts[0] + m_Texts[1] + text) ||
                      TextOf(path) == ModelJoinPath(three, text));
    }

    // At any place, or one behind the end, which is reported.
    void _Insert()
    {
        CString &string = m_Strings[m_Edited];
        const std::string before = m_Texts[m_Edited];
        const u32 index = m_Input.Below(LengthOf(before) + 2);
        const std::string piece = _InsertOneOf(string, index);
        const bool inside = index <= before.size();
        QV_FUZZ_CHECK(m_Watch.HasReported() == !inside);
        _Expect(inside ? ModelInserted(before, index, piece) : before);
    }

    // Returns: what is to be there.
    std::string _InsertOneOf(CString &string, u32 index)
    {
        switch (m_Input.Below(5))
        {
        case 0:
        {
            const CExactText argument(m_Input.Text());
            string.Insert(index, argument.Data());
            return ModelToTerminator(argument.Text());
        }
        case 1:
        {
            const CExactText argument(m_Input.Text(), false);
            string.Insert(index, argument.View());
            return argument.Text();
        }
        case 2:
        {
            const u32 other = m_Input.Flag() ? 1 : 0;
            const std::string argument = m_Texts[other];
            string.Insert(index, m_Strings[other]);
            return HoldsTerminator(argument.substr(0, 1)) ? std::string() : argument;
        }
        case 3:
        {
            const char character = static_cast<char>(m_Input.Byte());
            string.Insert(index, character);
            return std::string(character != '\0' ? 1 : 0, character);
        }
        default:
        {
            // A piece of either string.
            const u32 source = m_Input.Flag() ? 1 : 0;
            const u32 offset = m_Input.Below(LengthOf(m_Texts[source]) + 1);
            const std::string argument = m_Texts[source].substr(offset, m_Input.Byte());
            const char *const data = m_Strings[source].Data();
            string.Insert(index, CStringView(data != nullptr ? data + offset : nullptr, LengthOf(argument)));
            return argument;
        }
        }
    }

    void _Erase()
    {
        const std::string before = m_Texts[m_Edited];
        const u32 first = m_Input.Below(LengthOf(before) + 1);
        const u32 last = m_Input.Below(LengthOf(before) + 2);
        const bool inside = first <= last && last <= before.size();
        m_Strings[m_Edited].Erase(first, last);
        QV_FUZZ_CHECK(m_Watch.HasReported() == !inside);
        _Expect(inside ? ModelErased(before, first, last) : before);
    }

    // Pieces of all kinds, with a separator and without; what is joined becomes the edited string.
    void _JoinPieces()
    {
        const CExactText separator(m_Input.Text(), false);
        const CExactText text(m_Input.Text());
        const char character = static_cast<char>(m_Input.Byte());
        const CString &a = m_Strings[0];
        const CString &b = m_Strings[1];
        const CStringView list[] = {a, text.View(), b};
        const std::string toTerminator = ModelToTerminator(text.Text());
        const std::string three = ModelJoined(separator.Text(), {m_Texts[0], text.Text(), m_Texts[1]});
        _ExpectNew(Concat(a, text.View(), character, b, text.Data()),
                   m_Texts[0] + text.Text() + character + m_Texts[1] + toTerminator);
        _ExpectNew(Join(character, text.Data(), b, a),
                   ModelJoined(std::string(1, character), {toTerminator, m_Texts[1], m_Texts[0]}));
        _ExpectNew(Join(separator.View(), a, text.View(), b), three);
        _ExpectNew(Join(separator.View(), m_Strings), ModelJoined(separator.Text(), {m_Texts[0], m_Texts[1]}));
        _ExpectNew(a + character, TextOf(CString(a).Append(character)));
        _ExpectNew(text.View() + separator.View(), TextOf(text.View().ToString().Append(separator.View())));
        _ExpectNew(text.View() + text.Data(), TextOf(text.View().ToString().Append(text.Data())));
        _ExpectNew(text.Data() + separator.View(), TextOf(CString(text.Data()).Append(separator.View())));
        m_Strings[m_Edited] = Join(separator.View(), list);
        _Expect(three);
    }

    void _ExpectNew(const CString &made, const std::string &expected)
    {
        QV_FUZZ_CHECK(IsWellFormed(made));
        QV_FUZZ_CHECK(m_Watch.HasRefused() || TextOf(made) == expected);
    }

    void _Share()
    {
        CString &edited = m_Strings[m_Edited];
        CString &other = m_Strings[1 - m_Edited];
        switch (m_Input.Below(4))
        {
        case 0:
            edited = other;
            m_Texts[m_Edited] = m_Texts[1 - m_Edited];
            break;
        case 1:
            edited = std::move(other);
            m_Texts[m_Edited] = std::exchange(m_Texts[1 - m_Edited], std::string());
            break;
        case 2:
            std::swap(edited, other);
            std::swap(m_Texts[0], m_Texts[1]);
            break;
        default:
        {
            const CString &itself = edited;
            edited = itself;
            break;
        }
        }
        _Check();
    }

    // Writes a terminator into the characters by hand.
    void _CutRaw()
    {
        CString &string = m_Strings[m_Edited];
        const u32 length = string.Length();
        const u32 at = m_Input.Below(length + 1);
        char *data = string.RawDataForWriting();
        std::string expected;
        if (data != nullptr)
        {
            data[at] = '\0';
            expected = ModelToTerminator(m_Texts[m_Edited].substr(0, at));
        }
        string.RebuildAfterRawModification();
        _Expect(expected);
    }

    void _BeginAnew()
    {
        const u32 capacity = m_Input.Byte();
        m_Strings[m_Edited] = NewString(m_Input.Text(), capacity);
        m_Texts[m_Edited] = TextOf(m_Strings[m_Edited]);
        _Check();
    }

    // Texts with terminators have rules of their own.
    static bool _IsPlain(const std::string &text) { return !HoldsTerminator(text); }
    // Joins report backslashes, on either side.
    static bool _Reports(EVerb verb, const std::string &text)
    {
        return verb == Verb_Join && text.find('\\') != std::string::npos;
    }

    void _ExpectSum(EVerb verb, const std::string &argument)
    {
        const std::string before = m_Texts[m_Edited];
        if (!_IsPlain(before + argument))
            m_Texts[m_Edited] = TextOf(m_Strings[m_Edited]);
        else if (m_Watch.HasRefused())
            _ExpectOneOf(Expected(verb, before, argument));
        else
        {
            QV_FUZZ_CHECK(m_Watch.HasReported() == _Reports(verb, before + argument));
            m_Texts[m_Edited] = Expected(verb, before, argument);
        }
        _Check();
    }

    void _Expect(const std::string &expected)
    {
        if (m_Watch.HasRefused())
            _ExpectOneOf(expected);
        else
            m_Texts[m_Edited] = expected;
        _Check();
    }

    // What an edit may leave behind whose memory was refused.
    void _ExpectOneOf(const std::string &expected)
    {
        const std::string text = TextOf(m_Strings[m_Edited]);
        QV_FUZZ_CHECK(text.empty() || text == expected || text == m_Texts[m_Edited]);
        m_Texts[m_Edited] = text;
    }

    void _Check()
    {
        for (u32 i = 0; i < 2; ++i)
        {
            QV_FUZZ_CHECK(IsWellFormed(m_Strings[i]));
            QV_FUZZ_CHECK(TextOf(m_Strings[i]) == m_Texts[i]);
        }
    }

    CInput &m_Input;
    CWatch &m_Watch;
    u32 m_Edited = 0;
    size_t m_Room = 0; // a length that the edited string has room for, in which it may grow
    CString m_Strings[2];
    std::string m_Texts[2];
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    CInput input(data, size);
    CWatch watch(input);
    input.ChooseLetters("ab/\\");
    CSession session(input, watch);
    TakeSteps(input, kMaxSteps, [&] { session.Step(); });
    session.AddInRoom(false);
    session.AddInRoom(true);
    return 0;
}
