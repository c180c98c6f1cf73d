// A program for debuggers to stop in: one of each type that the printers know, and blocks that are none.
//
// With the path of quorvane_layout.py it does not stop: it compares what lies at the offsets in there with what the library
// says of the same objects.
#include <sys/mman.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <string>

#include "kr_containers_array.h"
#include "kr_memoryviews.h"
#include "kr_refptr.h"
#include "kr_string.h"
#include "qv_guid.h"

using namespace Quorvane;

namespace
{

class CTexture : public CRefCountedObject
{
public:
    int m_Width = 64;
};

// What would be a string if there were one.
struct SForgedBlock
{
    alignas(16) unsigned char m_Bytes[64] = {};
    void *m_Handle = m_Bytes;

    // A copy of a container and its characters, of the fixed form.
    explicit SForgedBlock(const CString &model) { std::memcpy(m_Bytes, Container(model), sizeof(m_Bytes)); }
    SForgedBlock(const SForgedBlock &) = delete;
    SForgedBlock &operator=(const SForgedBlock &) = delete;

    static const void *Container(const CString &text)
    {
        const void *container;
        std::memcpy(&container, &text, sizeof(container));
        return container;
    }

    template <typename T>
    void Write(unsigned offset, T value)
    {
        std::memcpy(m_Bytes + offset, &value, sizeof(value));
    }

    const CString *AsString() const { return reinterpret_cast<const CString *>(&m_Handle); }
};

constexpr unsigned kCounts = sizeof(void *);
constexpr unsigned kLength = kCounts + 8;
constexpr unsigned kCharacters = kCounts + 16;
constexpr unsigned kFixedCharacters = 32;

// The last characters of a page that has none behind it.
const char *AtTheEndOfMemory(const char *text)
{
    constexpr size_t kPage = 65536;
    void *const pages = mmap(nullptr, 2 * kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED)
        return nullptr;
    char *const end = static_cast<char *>(pages) + kPage;
    munmap(end, kPage);
    const size_t length = std::strlen(text);
    return static_cast<char *>(std::memcpy(end - length, text, length));
}

struct SShown
{
    CString m_Null;
    CString m_Text = CString("hello");
    CString m_Shared = CString("twice");
    CString m_Copy = m_Shared;
    CString m_Escapes = CString("tab\t, \"quoted\", back\\slash, \x01, \xff");
    CString m_Long = CString("x").Repeat(300);
    CString m_Resizable;
    CStringView m_View = CStringView("a view of something", 6);
    CStringView m_NullView;
    CStringView m_EndOfMemory = CStringView(AtTheEndOfMemory("at the end"), 10);
    CStringView m_BeyondMemory = CStringView(m_EndOfMemory.Data(), 11);
    TArray<CString> m_Array;
    TArray<s32> m_Empty;
    s32 m_Numbers[4] = {1, 2, 3, 4};
    TMemoryView<s32> m_MemoryView = TMemoryView<s32>(m_Numbers, 3);
    TStridedMemoryView<s32> m_Strided = TStridedMemoryView<s32>(m_Numbers, 2, 8);
    CGuid m_Guid = 7;
    CGuid m_Invalid = CGuid::INVALID;
    TGuid<u8> m_SmallInvalid = TGuid<u8>::INVALID;
    TRefPtr<CTexture> m_Pointer;
    TRefPtr<CTexture> m_SamePointer;
    TRefPtr<CTexture> m_NullPointer;
    PStringContainer m_ContainerPointer;
    CString::SFuzzyMatchListElement m_Ranked = CString::SFuzzyMatchListElement(3, 0.75f);

    const CString *m_Freed = nullptr;
    const CString *m_LengthLies = nullptr;
    const CString *m_NoTerminator = nullptr;
    const CString *m_CharactersElsewhere = nullptr;
    const CString *m_Nowhere = nullptr;
    const TArray<s32> *m_ArrayLies = nullptr;
};

} // namespace

// Where the debugger stops. Seen from outside, so that it is not made part of its caller.
extern "C" __attribute__((noinline)) void StopHere(const SShown &shown);
extern "C" void StopHere(const SShown &shown)
{
    // Nothing of anybody's that could be made part of it, and the object stays where it is to the end.
    asm volatile("nop" : : "r"(&shown) : "memory");
    asm volatile("nop" : : "r"(&shown) : "memory");
}

namespace
{

void Show()
{
    SShown shown;
    shown.m_Resizable.Reserve(100);
    shown.m_Resizable.Append("grown");
    shown.m_Array.Reserve(4);
    shown.m_Array.PushBack(CString("first"));
    shown.m_Array.PushBack(CString("second"));
    shown.m_Pointer = TRefPtr<CTexture>(new CTexture);
    shown.m_SamePointer = shown.m_Pointer;
    shown.m_ContainerPointer = CStringContainer::NewResizable("in a container", 14, 31);

    SForgedBlock freed(shown.m_Text);
    freed.Write(kCounts, 0u);
    SForgedBlock lengthLies(shown.m_Text);
    lengthLies.Write(kLength, 1000u);
    SForgedBlock noTerminator(shown.m_Text);
    noTerminator.Write(kLength, 2u);
    SForgedBlock elsewhere(shown.m_Text);
    const void *const nowhere = reinterpret_cast<const void *>(0x10);
    struct
    {
        const void *m_Data;
        u32 m_Count, m_MaxCount;
    } const arrayLies = {&shown, 5, 4};
    // The copies are where the characters are not, but for the ones whose address is corrected.
    for (SForgedBlock *const block : {&freed, &lengthLies, &noTerminator})
        block->Write(kCharacters, static_cast<const void *>(block->m_Bytes + kFixedCharacters));
    shown.m_Freed = freed.AsString();
    shown.m_LengthLies = lengthLies.AsString();
    shown.m_NoTerminator = noTerminator.AsString();
    shown.m_CharactersElsewhere = elsewhere.AsString();
    shown.m_Nowhere = reinterpret_cast<const CString *>(&nowhere);
    shown.m_ArrayLies = reinterpret_cast<const TArray<s32> *>(&arrayLies);
    StopHere(shown);
}

// The numbers of the printers, by their names.
std::map<std::string, u32> NumbersOf(const char *layout)
{
    std::map<std::string, u32> numbers;
    std::ifstream file(layout);
    for (std::string name, sign, number; file >> name;)
    {
        if (file >> std::ws && file.peek() == '=' && file >> sign >> number)
            numbers[name] = static_cast<u32>(std::strtoul(number.c_str(), nullptr, 0));
        file.ignore(1000, '\n');
    }
    return numbers;
}

int s_Failures = 0;

template <typename T>
void ExpectAt(const void *object, unsigned offset, T expected, const char *what)
{
    T found;
    std::memcpy(&found, static_cast<const unsigned char *>(object) + offset, sizeof(found));
    if (found == expected)
        return;
    std::printf("FAILED: %s is not at %u\n", what, offset);
    ++s_Failures;
}

void CompareContainer(std::map<std::string, u32> &numbers, const PStringContainer &container, u32 capacity,
                      bool isFixed)
{
    const auto behindPointer = [](u32 offset) { return u32(sizeof(void *)) + offset; };
    const CStringContainer *const object = container.Get();
    const u32 flags = isFixed ? 0 : numbers["RESIZABLE_FLAG"];
    ExpectAt(object, behindPointer(numbers["REFERENCES_BEHIND_POINTER"]), object->RefCount(),
             "the count of references");
    ExpectAt(object, behindPointer(numbers["WEAK_REFERENCES_BEHIND_POINTER"]), object->WeakCount(), "the weak count");
    ExpectAt(object, behindPointer(numbers["LENGTH_BEHIND_POINTER"]), object->Length() | flags, "the length");
    ExpectAt(object, behindPointer(numbers["CAPACITY_BEHIND_POINTER"]), capacity, "the capacity");
    ExpectAt(object, behindPointer(numbers["CHARACTERS_BEHIND_POINTER"]), object->Data(), "the characters' address");
    if (isFixed)
        ExpectAt(object, numbers["FIXED_CHARACTERS"], *object->Data(), "the first character");
}

int CompareLayout(const char *layout)
{
    std::map<std::string, u32> numbers = NumbersOf(layout);
    const PStringContainer fixed = CStringContainer::New("a text of nineteen.");
    fixed->AddWeakReference();
    CompareContainer(numbers, fixed, 32, true);
    fixed->RemoveWeakReference();
    const PStringContainer resizable = CStringContainer::NewResizable("it grows", 8, 100);
    const PStringContainer shared = resizable;
    CompareContainer(numbers, resizable, 112, false);
    ExpectAt(&numbers["LENGTH_MASK"], 0, CStringContainer::kLengthMask, "the mask of the length");

    const CStringView view("a view", 4);
    ExpectAt(&view, 0, view.Data(), "the address of a view");
    ExpectAt(&view, sizeof(void *), view.Length(), "the length of a view");
    TArray<u16> array;
    array.Reserve(3);
    array.PushBack(u16(1));
    ExpectAt(&array, 0, array.Data(), "the address of the elements");
    ExpectAt(&array, sizeof(void *), array.Count(), "their count");
    ExpectAt(&array, sizeof(void *) + 4, array.MaxCount(), "the room");
    const TStridedMemoryView<u16> strided(array.Data(), 1, 6);
    ExpectAt(&strided, 0, array.Data(), "the address of a strided view");
    ExpectAt(&strided, sizeof(void *), strided.Count(), "its count");
    ExpectAt(&strided, sizeof(void *) + 4, strided.Stride(), "its stride");
    return s_Failures;
}

} // namespace

int main(int argumentCount, char **arguments)
{
    if (argumentCount > 1)
        return CompareLayout(arguments[1]);
    Show();
    return 0;
}
