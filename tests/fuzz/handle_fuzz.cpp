// What lies below the operations: characters read and written one by one through a handle that others may share,
// containers of both forms with their lengths set by hand, and views of pieces.
#include <algorithm>

#include "fuzz_support.h"

namespace
{

using namespace QuorvaneFuzz;

constexpr u32 kMaxSteps = 32;
constexpr u32 kMaxRoom = 400;

std::string ToTerminator(const std::string &text)
{
    return text.substr(0, text.find('\0'));
}

class CHandleSession
{
public:
    CHandleSession(CInput &input, CWatch &watch) : m_Input(input), m_Watch(watch) { _Begin(); }

    void Step()
    {
        const u8 choice = m_Input.Byte();
        // A handle that shares the characters, or none.
        m_Shared = (choice & 1) != 0 ? m_String : CString();
        m_SharedText = (choice & 1) != 0 ? m_Text : std::string();
        m_Watch.BeginStep();
        _CheckSharing();
        switch ((choice >> 1) % 5)
        {
        case 0:
            return _Begin();
        case 1:
            return _Read();
        case 2:
            return _WriteCharacter();
        case 3:
            return _WriteRaw();
        default:
            return _Swap();
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
        _Expect(text);
    }

    void _Read()
    {
        const u32 length = LengthOf(m_Text);
        QV_FUZZ_CHECK(m_String.Length() == length);
        QV_FUZZ_CHECK(m_String.View().Count() == length);
        const CStringContainer *container = ContainerOf(m_String);
        QV_FUZZ_CHECK(CStringContainer::SafeData(container) == m_String.Data());
        QV_FUZZ_CHECK(CStringContainer::SafeLength(container) == length);
        const u64 held = container != nullptr ? container->MemoryFootprint() : 0;
        QV_FUZZ_CHECK(m_String.MemoryFootprint() == held + sizeof(CString));

        const u32 index = m_Input.Below(length + 2);
        const bool within = index < length;
        QV_FUZZ_CHECK(m_String.At(index) == (within ? m_Text[index] : '\0'));
        QV_FUZZ_CHECK(m_String[index] == (within ? m_Text[index] : '\0'));
        QV_FUZZ_CHECK(m_Watch.HasReported() == !within);
        m_Watch.BeginStep();
        QV_FUZZ_CHECK(m_String.First() == (_IsEmpty() ? '\0' : m_Text.front()));
        QV_FUZZ_CHECK(m_String.Last() == (_IsEmpty() ? '\0' : m_Text.back()));
        QV_FUZZ_CHECK(m_Watch.HasReported() == _IsEmpty());
        QV_FUZZ_CHECK(std::string(m_String.begin(), m_String.end()) == m_Text);
        QV_FUZZ_CHECK(std::string(m_String.CStr()) == ToTerminator(m_Text));
        QV_FUZZ_CHECK(m_String.Data() == nullptr || m_String.CStr() == m_String.Data());
        const std::string tail = within ? m_Text.substr(index) : std::string();
        QV_FUZZ_CHECK(TextOf(m_String.Slice(index)) == tail);
        QV_FUZZ_CHECK(TextOf(m_String.Slice(index, 2)) == tail.substr(0, 2));
        QV_FUZZ_CHECK(!m_Watch.HasAllocated());
    }

    void _WriteCharacter()
    {
        const char character = static_cast<char>(m_Input.Byte());
        const u32 length = LengthOf(m_Text);
        const u32 index = m_Input.Below(length + 2);
        std::string expected = m_Text;
        bool writes = !_IsEmpty();
        switch (m_Input.Below(3))
        {
        case 0:
            writes = index < length;
            if (writes)
                expected[index] = character;
            m_String.AtForWriting(index) = character;
            break;
        case 1:
            if (writes)
                expected.front() = character;
            m_String.FirstForWriting() = character;
            break;
        default:
            if (writes)
                expected.back() = character;
            m_String.LastForWriting() = character;
        }
        QV_FUZZ_CHECK(m_Watch.HasReported() == (!writes || m_Watch.HasRefused()));
        _Expect(expected);
    }

    // Some characters, of which terminators may be some; then the length is taken from the text, or left.
    void _WriteRaw()
    {
        const bool rebuilds = m_Input.Flag();
        const bool byView = m_Input.Flag();
        const TMemoryView<char> view = byView ? m_String.ViewForWriting() : TMemoryView<char>();
        char *const data = byView ? view.Data() : m_String.RawDataForWriting();
        QV_FUZZ_CHECK(!byView || view.Count() == m_String.Length());
        std::string expected = m_Text;
        if (data != nullptr)
        {
            QV_FUZZ_CHECK(m_String.Length() == m_Text.size());
            const std::string text = m_Input.Text().substr(0, expected.size());
            const std::size_t start = m_Input.Below(LengthOf(expected) - LengthOf(text) + 1);
            std::copy(text.begin(), text.end(), data + start);
            std::copy(text.begin(), text.end(), expected.begin() + static_cast<std::ptrdiff_t>(start));
        }
        if (rebuilds)
        {
            m_String.RebuildAfterRawModification();
            expected = ToTerminator(expected);
        }
        _Expect(expected);
    }

    void _Swap()
    {
        const std::string text = m_Input.Text();
        CString other = NewString(text, m_Input.Byte());
        const std::string otherText = TextOf(other);
        QV_FUZZ_CHECK(otherText == text || m_Watch.HasRefused());
        swap(m_String, other);
        QV_FUZZ_CHECK(TextOf(other) == m_Text);
        m_Text = otherText;
        _Expect(otherText);
    }

    // Nobody else holds the characters but the handle that shares them.
    void _CheckSharing() const
    {
        const bool shares = ContainerOf(m_String) != nullptr && ContainerOf(m_String) == ContainerOf(m_Shared);
        QV_FUZZ_CHECK(m_String.IsShared() == shares);
        CString::SCopyFigures figures;
        CString::SCopySite site;
        const bool counts = CString::CopyFigures(figures);
        QV_FUZZ_CHECK(counts || figures.m_SharedCopies + figures.m_PrivateCopies + figures.m_PrivateCharacters == 0);
        const u32 places = CString::CopySites(TMemoryView<CString::SCopySite>(&site, 1));
        QV_FUZZ_CHECK((places != 0) == (figures.m_PrivateCopies != 0));
        QV_FUZZ_CHECK(places == 0 || (site.m_Copies != 0 && site.m_Copies <= figures.m_PrivateCopies));
    }

    bool _IsEmpty() const { return m_Text.empty() || m_Text[0] == '\0'; }

    // Refused, the handle is empty; nobody else's text changes.
    void _Expect(const std::string &expected)
    {
        const std::string text = TextOf(m_String);
        QV_FUZZ_CHECK(text == expected || (m_Watch.HasRefused() && text.empty()));
        QV_FUZZ_CHECK(IsWellFormed(m_String));
        QV_FUZZ_CHECK(TextOf(m_Shared) == m_SharedText);
        m_Text = text;
    }

    CInput &m_Input;
    CWatch &m_Watch;
    CString m_String;
    std::string m_Text;
    CString m_Shared;
    std::string m_SharedText;
};

// One container through its life: made, grown, lengthened and shortened by hand, rebuilt, emptied.
void CheckContainer(CInput &input, CWatch &watch)
{
    const std::string text = input.Text();
    const bool resizable = input.Flag();
    const u32 length = LengthOf(text);
    watch.BeginStep();
    const PStringContainer container = resizable
                                           ? CStringContainer::NewResizable(text.data(), length, length + input.Byte())
                                           : CStringContainer::New(text.data(), length);
    if (container == nullptr)
    {
        QV_FUZZ_CHECK(watch.HasRefused() || (!resizable && length == 0));
        return;
    }
    QV_FUZZ_CHECK(container->SupportsDynamicResize() == resizable);
    QV_FUZZ_CHECK(std::string(container->Data(), container->Length()) == text);
    QV_FUZZ_CHECK(container->MemoryFootprint() % 16 == 0 && container->MemoryFootprint() >= length + 1 + 32);

    std::string expected = text;
    watch.BeginStep();
    const u32 newLength = resizable ? input.Below(kMaxRoom) : input.Below(length + 1);
    const bool hasRoom = !resizable || container->DynamicResize(newLength);
    QV_FUZZ_CHECK(hasRoom || watch.HasRefused());
    QV_FUZZ_CHECK(std::string(container->Data(), container->Length()) == text);
    if (hasRoom)
    {
        expected.resize(newLength, '+');
        std::copy(expected.begin(), expected.end(), container->Data());
        container->Data()[newLength] = '\0';
        container->UnsafeSetLength(newLength);
        QV_FUZZ_CHECK(std::string(container->Data(), container->Length()) == expected);
    }
    QV_FUZZ_CHECK(IsWellFormed(CString(container)));
    container->Rebuild();
    QV_FUZZ_CHECK(std::string(container->Data(), container->Length()) == ToTerminator(expected));
    container->Clear();
    QV_FUZZ_CHECK(container->Length() == 0 && IsWellFormed(CString(container)));
    QV_FUZZ_CHECK(!watch.HasReported());
}

// Views are made of characters in blocks of exactly their size.
void CheckViews(CInput &input, CWatch &watch)
{
    const std::string text = input.Text();
    const u32 length = LengthOf(text);
    const std::unique_ptr<char[]> block(new char[text.size()]);
    std::copy(text.begin(), text.end(), block.get());
    const CStringView view(block.get(), length);
    watch.BeginStep();

    const u32 start = input.Below(length + 3);
    const u32 count = input.Below(length + 3);
    const std::string tail = start < length ? text.substr(start) : std::string();
    QV_FUZZ_CHECK(TextOf(view.Slice(start)) == tail);
    QV_FUZZ_CHECK(TextOf(view.Slice(start, count)) == tail.substr(0, count));

    QV_FUZZ_CHECK(std::string(view.begin(), view.end()) == text);

    const char character = static_cast<char>(input.Byte());
    const std::size_t last = text.rfind(character);
    const char *const found = SNativeStringUtils::FindLast(block.get(), length, character);
    QV_FUZZ_CHECK(found == (last == std::string::npos ? nullptr : block.get() + last));

    const CStringView whole = CStringView::FromNullTerminatedString(text.c_str());
    QV_FUZZ_CHECK(whole.Data() == text.c_str() && TextOf(whole) == ToTerminator(text));
    QV_FUZZ_CHECK(!watch.HasAllocated() && !watch.HasReported());
    const CString copy = view.Slice(start, count).ToString();
    QV_FUZZ_CHECK(TextOf(copy) == tail.substr(0, count) || (watch.HasRefused() && TextOf(copy).empty()));

    CString string(view);
    const std::string held = TextOf(string);
    QV_FUZZ_CHECK(held == text || (watch.HasRefused() && held.empty()));
    string = CStringView(string).Slice(start, count);
    const std::string piece = start < held.size() ? held.substr(start, count) : std::string();
    QV_FUZZ_CHECK(TextOf(string) == piece || (watch.HasRefused() && TextOf(string).empty()));
    QV_FUZZ_CHECK(!watch.HasReported());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    CInput input(data, size);
    CWatch watch(input);
    input.ChooseLetters(std::string("ab\0", 3));
    switch (input.Below(3))
    {
    case 0:
        CheckContainer(input, watch);
        break;
    case 1:
        CheckViews(input, watch);
        break;
    default:
        CHandleSession session(input, watch);
        TakeSteps(input, kMaxSteps, [&] { session.Step(); });
    }
    return 0;
}
