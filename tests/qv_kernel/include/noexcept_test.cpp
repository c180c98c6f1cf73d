// What is noexcept, as all of the library is that runs no code of the program's. The operations that take texts are in
// the table in tests/conversions/, which asks the same of each of them; here are the others. That this file compiles
// is the test.
#include <type_traits>
#include <utility>

#include "kr_assert.h"
#include "kr_containers_array.h"
#include "kr_refptr.h"
#include "kr_string.h"

namespace
{

using namespace Quorvane;

// The operands: never called.
template <typename T>
T &An() noexcept;

template <typename T>
constexpr bool
    IsNothrowMovable = std::is_nothrow_default_constructible<T>() && std::is_nothrow_move_constructible<T>() &&
                       std::is_nothrow_move_assignable<T>() && std::is_nothrow_destructible<T>();
template <typename T>
constexpr bool IsNothrowValue =
    IsNothrowMovable<T> &&std::is_nothrow_copy_constructible<T>() && std::is_nothrow_copy_assignable<T>();

struct SCounted : CRefCountedObject
{
};

// An element whose moves may throw.
struct SThrowing
{
    SThrowing() {}
    SThrowing(SThrowing &&) {}
};

// ---- Values -----------------------------------------------------------------------------------------------------------

static_assert(IsNothrowValue<CString>);
static_assert(IsNothrowValue<CStringView>);
static_assert(IsNothrowValue<CGuid>);
static_assert(IsNothrowValue<PStringContainer>);
static_assert(IsNothrowValue<TRefPtr<SCounted>>);
static_assert(IsNothrowValue<TMemoryView<const char>>);
static_assert(IsNothrowValue<TStridedMemoryView<CString>>);
static_assert(IsNothrowValue<TStridedMemoryView<CString>::Iterator>);
static_assert(IsNothrowValue<TArray<CString>::Iterator>);
static_assert(IsNothrowValue<TArray<CString>::ConstIterator>);
static_assert(IsNothrowValue<CStringBatchSplitter>);
static_assert(IsNothrowMovable<TArray<CString>>);
static_assert(IsNothrowMovable<TArray<SThrowing>>);
static_assert(noexcept(swap(An<CString>(), An<CString>())));
static_assert(noexcept(An<TArray<CString>>().Swap(An<TArray<CString>>())));
static_assert(noexcept(An<PStringContainer>().Swap(An<PStringContainer>())));

// ---- Strings: what takes no text --------------------------------------------------------------------------------------

#define STRING An<const CString>()
#define EDITED An<CString>()
static_assert(std::is_nothrow_constructible<CString, const PStringContainer &>::value);
static_assert(std::is_nothrow_constructible<CString, PStringContainer>::value);
static_assert(std::is_nothrow_constructible<CString, const char *, u32>::value);
static_assert(noexcept(STRING.Data()) &&noexcept(STRING.CStr()) &&noexcept(STRING.Length()));
static_assert(noexcept(STRING.Empty()) &&noexcept(STRING.View()) &&noexcept(STRING.MemoryFootprint()));
static_assert(noexcept(STRING.begin()) &&noexcept(STRING.end()));
static_assert(noexcept(STRING.Slice(1)) &&noexcept(STRING.Slice(1, 2)));
static_assert(noexcept(STRING.At(1)) &&noexcept(STRING[1]) &&noexcept(STRING.First()) &&noexcept(STRING.Last()));
static_assert(noexcept(EDITED.AtForWriting(1)) &&noexcept(EDITED.FirstForWriting()));
static_assert(noexcept(EDITED.LastForWriting()) &&noexcept(EDITED.RawDataForWriting()));
static_assert(noexcept(EDITED.ViewForWriting()) &&noexcept(EDITED.RebuildAfterRawModification()));
static_assert(noexcept(EDITED.Clear()));
static_assert(noexcept(CString::Format("%d", 1)) &&noexcept(CString::VAFormat("%d", An<va_list>())));
static_assert(noexcept(EDITED.Append("text", 2)) &&noexcept(EDITED.Prepend("text", 2)));
static_assert(noexcept(EDITED.Erase(1, 2)));
static_assert(noexcept(EDITED.AppendSlashAnd("text", 2)) &&noexcept(EDITED.AppendSlash()));
static_assert(noexcept(STRING.SlashAppended()));
static_assert(noexcept(EDITED.ToUppercase()) &&noexcept(EDITED.ToLowercase()));
static_assert(noexcept(STRING.Uppercase()) &&noexcept(STRING.Lowercase()));
static_assert(noexcept(EDITED.ConformTo(CasingType_Mixed)) &&noexcept(STRING.ConformedTo(CasingType_Mixed)));
static_assert(noexcept(STRING.IsUpper()) &&noexcept(STRING.IsLower()) &&noexcept(STRING.AnalyzeCasing()));
static_assert(noexcept(EDITED.Escape()) &&noexcept(EDITED.Unescape()));
static_assert(noexcept(STRING.Escaped()) &&noexcept(STRING.Unescaped()));
static_assert(noexcept(EDITED.Ident(1, 2, 3)) &&noexcept(EDITED.Reverse()) &&noexcept(STRING.Reversed()));
static_assert(noexcept(STRING.Repeat(2)) &&noexcept(STRING.PadLeft(2)) &&noexcept(STRING.PadRight(2)));
static_assert(noexcept(EDITED.Uncomment()));
static_assert(noexcept(STRING.Extract(1, 2)));
static_assert(noexcept(STRING.FuzzyMatchList(An<TStridedMemoryView<const CString>>(), An<TMemoryView<float>>())));
static_assert(noexcept(STRING.FuzzyMatchList_Ordered(An<TStridedMemoryView<const CString>>(),
                                                     An<TArray<CString::SFuzzyMatchListElement>>(), 0.5f)));
static_assert(noexcept(STRING.FuzzyMatchList_Top(An<TStridedMemoryView<const CString>>(),
                                                 An<TArray<CString::SFuzzyMatchListElement>>(), 0.5f, 1)));
static_assert(noexcept(JoinPath(An<const TMemoryView<const CStringView>>())));
static_assert(noexcept(JoinPath(STRING, "text", CStringView())));

// ---- Views of texts ---------------------------------------------------------------------------------------------------

#define VIEW An<const CStringView>()
static_assert(std::is_nothrow_constructible<CStringView, const char *, u32>::value);
static_assert(std::is_nothrow_constructible<CStringView, const TMemoryView<const char> &>::value);
static_assert(noexcept(VIEW.Data()) &&noexcept(VIEW.Length()) &&noexcept(VIEW.Empty()) &&noexcept(VIEW.View()));
static_assert(noexcept(VIEW.begin()) &&noexcept(VIEW.end()) &&noexcept(VIEW[1]));
static_assert(noexcept(An<CStringView>().Clear()) &&noexcept(VIEW.ToString()));
static_assert(noexcept(VIEW.Slice(1)) &&noexcept(VIEW.Slice(1, 2)));
static_assert(noexcept(VIEW.IsUpper()) &&noexcept(VIEW.IsLower()) &&noexcept(VIEW.AnalyzeCasing()));

// ---- Containers of texts ----------------------------------------------------------------------------------------------

#define CONTAINER An<CStringContainer>()
static_assert(noexcept(CStringContainer::New("text")) &&noexcept(CStringContainer::New("text", 2)));
static_assert(noexcept(CStringContainer::NewResizable("text")) &&noexcept(CStringContainer::NewResizable("", 0, 1)));
static_assert(noexcept(CONTAINER.Data()) &&noexcept(CONTAINER.Length()) &&noexcept(CONTAINER.SupportsDynamicResize()));
static_assert(noexcept(CONTAINER.DynamicResize(1)) &&noexcept(CONTAINER.UnsafeSetLength(1)));
static_assert(noexcept(CONTAINER.Clear()) &&noexcept(CONTAINER.Rebuild()) &&noexcept(CONTAINER.MemoryFootprint()));
static_assert(noexcept(CONTAINER.RemoveReference()) &&noexcept(CONTAINER.AddReference()));
static_assert(noexcept(CStringContainer::SafeData(&CONTAINER)) &&noexcept(CStringContainer::SafeLength(&CONTAINER)));

// ---- Buffers ----------------------------------------------------------------------------------------------------------

using SBuffers = SNativeStringUtils;
#define BUFFER An<char *>()
#define TEXT An<const char *>()
static_assert(noexcept(SBuffers::Length(TEXT)) &&noexcept(SBuffers::Length_16(TEXT)));
static_assert(noexcept(SBuffers::VAFormat(BUFFER, BUFFER, An<u32>(), TEXT, An<va_list>())));
static_assert(noexcept(SBuffers::Equal(TEXT, TEXT)) &&noexcept(SBuffers::EqualCase(TEXT, TEXT)));
static_assert(noexcept(SBuffers::Compare(TEXT, TEXT)) &&noexcept(SBuffers::CompareCase(TEXT, TEXT)));
static_assert(noexcept(SBuffers::EqualCase(TEXT, TEXT, 1)) &&noexcept(SBuffers::CompareCase(TEXT, TEXT, 1)));
static_assert(noexcept(SBuffers::HashCase(TEXT, 1)));
static_assert(noexcept(SBuffers::Equal_16(TEXT, TEXT, 1)) &&noexcept(SBuffers::EqualCase_16(TEXT, TEXT, 1)));
static_assert(noexcept(SBuffers::Compare_16(TEXT, TEXT, 1)) &&noexcept(SBuffers::CompareCase_16(TEXT, TEXT, 1)));
static_assert(noexcept(SBuffers::Reverse_16(BUFFER, 1)));
static_assert(noexcept(SBuffers::Uppercase_16(BUFFER, 1)) &&noexcept(SBuffers::Uppercase_16(BUFFER, TEXT, 1)));
static_assert(noexcept(SBuffers::Lowercase_16(BUFFER, 1)) &&noexcept(SBuffers::Lowercase_16(BUFFER, TEXT, 1)));
static_assert(noexcept(SBuffers::Replace_16(BUFFER, 1, 'a', 'b')));
static_assert(noexcept(SBuffers::Replace_16(BUFFER, TEXT, 1, 'a', 'b')));
static_assert(noexcept(SBuffers::StartsWith(TEXT, TEXT)) &&noexcept(SBuffers::StartsWithCase(TEXT, TEXT)));
static_assert(noexcept(SBuffers::EndsWith(TEXT, TEXT)) &&noexcept(SBuffers::EndsWithCase(TEXT, TEXT)));
static_assert(noexcept(SBuffers::Contains(TEXT, TEXT)) &&noexcept(SBuffers::ContainsCase(TEXT, TEXT)));
static_assert(noexcept(SBuffers::Find(TEXT, 1, TEXT, 1)) &&noexcept(SBuffers::FindCase(TEXT, 1, TEXT, 1)));
static_assert(noexcept(SBuffers::FindLast(TEXT, 1, 'a')));
static_assert(noexcept(SBuffers::Match(TEXT, TEXT)) &&noexcept(SBuffers::MatchCase(TEXT, TEXT)));
static_assert(noexcept(SBuffers::MatchWithInhibitors(TEXT, TEXT)));
static_assert(noexcept(SBuffers::MatchCaseWithInhibitors(TEXT, TEXT)));
static_assert(noexcept(SBuffers::Escape(TEXT, BUFFER)) &&noexcept(SBuffers::Escape(TEXT, BUFFER, 1)));
static_assert(noexcept(SBuffers::Unescape(TEXT, BUFFER)) &&noexcept(SBuffers::Unescape(TEXT, BUFFER, 1)));
static_assert(noexcept(SBuffers::Uncomment(BUFFER)));

// ---- Pointers, guids, memory views ------------------------------------------------------------------------------------

#define POINTER An<const TRefPtr<SCounted>>()
static_assert(std::is_nothrow_constructible<TRefPtr<SCounted>, SCounted *>::value);
static_assert(std::is_nothrow_constructible<TRefPtr<CRefCountedObject>, const TRefPtr<SCounted> &>::value);
static_assert(std::is_nothrow_constructible<TRefPtr<CRefCountedObject>, TRefPtr<SCounted>>::value);
static_assert(noexcept(POINTER.Get()) &&noexcept(*POINTER) &&noexcept(POINTER.operator->()) &&noexcept(!POINTER));
static_assert(noexcept(POINTER == POINTER) &&noexcept(POINTER != nullptr) &&noexcept(nullptr == POINTER));
static_assert(noexcept(An<TRefPtr<SCounted>>().Clear()));
static_assert(noexcept(An<SCounted>().RefCount()) &&noexcept(An<SCounted>().WeakCount()));
static_assert(noexcept(An<SCounted>().AddReference()) &&noexcept(An<SCounted>().RemoveReference()));
static_assert(noexcept(An<SCounted>().AddWeakReference()) &&noexcept(An<SCounted>().RemoveWeakReference()));

#define GUID An<const CGuid>()
static_assert(noexcept(GUID.Valid()) &&noexcept(GUID.Get()) &&noexcept(static_cast<u32>(GUID)) &&noexcept(CGuid(1u)));
static_assert(noexcept(GUID == 1) &&noexcept(GUID < 1u) &&noexcept(1u <= GUID) &&noexcept(GUID >= GUID));

#define MEMORY An<const TMemoryView<CString>>()
static_assert(noexcept(MEMORY.Data()) &&noexcept(MEMORY.Count()) &&noexcept(MEMORY.Empty()) &&noexcept(MEMORY[1]));
static_assert(noexcept(MEMORY.Slice(1, 2)) &&noexcept(MEMORY.SliceIFP(1, 2)));
static_assert(noexcept(MEMORY.begin()) &&noexcept(MEMORY.end()));
#define STRIDED An<const TStridedMemoryView<CString>>()
static_assert(noexcept(STRIDED.Count()) &&noexcept(STRIDED.Empty()) &&noexcept(STRIDED[1]));
static_assert(noexcept(STRIDED.Slice(1, 2)) &&noexcept(STRIDED.SliceIFP(1, 2)));
static_assert(noexcept(STRIDED.Begin()) &&noexcept(STRIDED.End()));

// ---- Arrays: what runs no code of their elements ----------------------------------------------------------------------

#define ARRAY An<TArray<CString>>()
#define CONST_ARRAY An<const TArray<SThrowing>>()
static_assert(noexcept(ARRAY.Count()) &&noexcept(ARRAY.MaxCount()) &&noexcept(ARRAY.Empty()) &&noexcept(ARRAY.Data()));
static_assert(noexcept(ARRAY[1]) &&noexcept(ARRAY.First()) &&noexcept(ARRAY.Last()) &&noexcept(ARRAY.View()));
static_assert(noexcept(CONST_ARRAY[1]) &&noexcept(CONST_ARRAY.First()) &&noexcept(CONST_ARRAY.Last()));
static_assert(noexcept(ARRAY.Begin()) &&noexcept(ARRAY.End()) &&noexcept(ARRAY.begin()) &&noexcept(ARRAY.end()));
static_assert(noexcept(ARRAY.Reserve(1)) && !noexcept(An<TArray<SThrowing>>().Reserve(1)));
#define ITERATOR An<TArray<CString>::Iterator>()
static_assert(noexcept(*ITERATOR) &&noexcept(ITERATOR->Length()) &&noexcept(ITERATOR[1]));
static_assert(noexcept(++ITERATOR) &&noexcept(--ITERATOR) &&noexcept(ITERATOR++) &&noexcept(ITERATOR--));
static_assert(noexcept(ITERATOR += 1) &&noexcept(ITERATOR -= 1) &&noexcept(ITERATOR + 1) &&noexcept(1 + ITERATOR));
static_assert(noexcept(ITERATOR - 1) &&noexcept(ITERATOR - ITERATOR));
static_assert(noexcept(ITERATOR == ITERATOR) &&noexcept(ITERATOR != ITERATOR) &&noexcept(ITERATOR < ITERATOR));
static_assert(noexcept(ITERATOR > ITERATOR) &&noexcept(ITERATOR <= ITERATOR) &&noexcept(ITERATOR >= ITERATOR));
static_assert(std::is_nothrow_constructible<TArray<CString>::ConstIterator, TArray<CString>::Iterator>::value);

// ---- Assertions: what calls no handler --------------------------------------------------------------------------------

static_assert(noexcept(Assert::SetHandler(nullptr)) && !noexcept(Assert::EvalAssert("", "", 1, "", "", "")));

} // namespace
