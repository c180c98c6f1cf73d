// Counted objects and the pointers to them: made, shared, moved, compared and dropped in any order, with memory refused; and
// strings in the standard library's containers. An object dies with the last pointer to it, and not before.
#include <array>
#include <map>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "case_model.h"
#include "fuzz_support.h"
#include "kr_refptr.h"
#include "kr_string_std.h"

namespace
{

using namespace QuorvaneFuzz;

constexpr u32 kMaxSteps = 100;
constexpr u32 kPlaces = 8;

// What is known of an object outlives it.
struct SLife
{
    bool m_IsAlive = true;
    u32 m_Weak = 0;
};
using PLife = std::shared_ptr<SLife>;

class CObject : public CRefCountedObject
{
public:
    explicit CObject(const PLife &life) : m_Life(life) {}
    ~CObject() override
    {
        QV_FUZZ_CHECK(m_Life->m_IsAlive && RefCount() == 0);
        m_Life->m_IsAlive = false;
        // From here on the object may be handed about, as long as all of it ends here.
        const TRefPtr<const CObject> self(this);
        const TRefPtr<const CObject> other = self;
        QV_FUZZ_CHECK(RefCount() == 2 && other == this);
    }

    const PLife m_Life;
};

// A second base, so that pointers to the object and to the base differ.
class CWide : public CObject
{
public:
    using CObject::CObject;
    alignas(64) char m_Bytes[64] = {};
};

class CObjectSession
{
public:
    CObjectSession(CInput &input, CWatch &watch) : m_Input(input), m_Watch(watch) {}
    ~CObjectSession()
    {
        for (u32 place = 0; place < kPlaces; ++place)
            _DropWeak(place);
        for (u32 place = 0; place < kPlaces; ++place)
            _Clear(place);
    }

    void Step()
    {
        const u8 choice = m_Input.Byte() % 10;
        const u32 a = m_Input.Below(kPlaces);
        const u32 b = m_Input.Below(kPlaces);
        m_Watch.BeginStep();
        switch (choice)
        {
        case 0:
            _Make<CObject>(a);
            break;
        case 1:
            _Make<CWide>(a);
            break;
        case 2:
            m_Pointers[a] = m_Pointers[b];
            m_Model[a] = m_Model[b];
            break;
        case 3:
            m_Pointers[a] = std::move(m_Pointers[b]);
            _MoveModel(a, b);
            break;
        case 4:
            m_Pointers[a].Swap(m_Pointers[b]);
            std::swap(m_Model[a], m_Model[b]);
            break;
        case 5:
            _Clear(a);
            break;
        case 6:
            _AddWeak(a);
            break;
        case 7:
            _DropWeak(a);
            break;
        case 8:
            _HoldOnce(a);
            break;
        default:
            m_Pointers[a] = m_Pointers[b].Get();
            m_Model[a] = m_Model[b];
        }
        QV_FUZZ_CHECK(!m_Watch.HasReported());
        _ExpectModel(a, b);
    }

private:
    template <typename T>
    void _Make(u32 place)
    {
        const PLife life = std::make_shared<SLife>();
        TRefPtr<T> made(new T(life));
        QV_FUZZ_CHECK((made != null) == !m_Watch.HasRefused());
        m_Model[place] = made != null ? life : nullptr;
        m_Pointers[place] = std::move(made);
        QV_FUZZ_CHECK(made == null);
    }

    void _MoveModel(u32 to, u32 from)
    {
        const PLife moved = std::exchange(m_Model[from], nullptr);
        m_Model[to] = moved;
    }

    void _Clear(u32 place)
    {
        m_Pointers[place].Clear();
        m_Model[place] = nullptr;
    }

    // Of an object that somebody points at.
    void _AddWeak(u32 place)
    {
        if (m_Model[place] == nullptr)
            return;
        m_Pointers[place]->AddWeakReference();
        ++m_Model[place]->m_Weak;
    }
    void _DropWeak(u32 place)
    {
        if (m_Model[place] == nullptr || m_Model[place]->m_Weak == 0)
            return;
        m_Pointers[place]->RemoveWeakReference();
        --m_Model[place]->m_Weak;
    }

    // A reference more, and one less.
    void _HoldOnce(u32 place) const
    {
        if (m_Model[place] == nullptr)
            return;
        const u32 count = m_Pointers[place]->RefCount();
        m_Pointers[place]->AddReference();
        QV_FUZZ_CHECK(m_Pointers[place]->RefCount() == count + 1);
        m_Pointers[place]->RemoveReference();
        QV_FUZZ_CHECK(m_Pointers[place]->RefCount() == count);
    }

    void _ExpectModel(u32 a, u32 b) const
    {
        QV_FUZZ_CHECK((m_Pointers[a] == m_Pointers[b]) == (m_Model[a] == m_Model[b]));
        QV_FUZZ_CHECK((m_Pointers[a] != m_Pointers[b].Get()) == (m_Model[a] != m_Model[b]));
        for (u32 place = 0; place < kPlaces; ++place)
        {
            const PLife &life = m_Model[place];
            QV_FUZZ_CHECK(static_cast<bool>(m_Pointers[place]) == (life != nullptr));
            if (life == nullptr)
                continue;
            u32 holders = 0;
            for (const PLife &other : m_Model)
                holders += other == life;
            const CObject &object = *m_Pointers[place];
            QV_FUZZ_CHECK(object.m_Life == life && life->m_IsAlive);
            QV_FUZZ_CHECK(object.RefCount() == holders && object.WeakCount() == life->m_Weak);
        }
    }

    CInput &m_Input;
    CWatch &m_Watch;
    std::array<TRefPtr<CObject>, kPlaces> m_Pointers;
    std::array<PLife, kPlaces> m_Model;
};

// ---- Strings as keys ---------------------------------------------------------------------------------------------------

// A standard container with strings as keys beside one with std::string.
template <typename Container, typename Model>
class CKeySession
{
public:
    void Step(CInput &input, CWatch &watch)
    {
        const std::string text = input.PlainText();
        const u32 value = input.Byte();
        watch.BeginStep();
        const CString key = StringFromStdStringView(std::string_view(text));
        if (watch.HasRefused())
            return;
        QV_FUZZ_CHECK(ToStdStringView(key) == text && FromStdStringView(std::string_view(text)) == key);
        if (value < 64)
        {
            QV_FUZZ_CHECK(m_Container.erase(key) == m_Model.erase(_KeyOf(text)));
            return;
        }
        m_Container[key] = value;
        m_Model[_KeyOf(text)] = value;
        const auto found = m_Container.find(key);
        QV_FUZZ_CHECK(found != m_Container.end() && found->second == value && m_Container.size() == m_Model.size());
    }

private:
    static std::string _KeyOf(const std::string &text)
    {
        return Model::kIgnoresCase ? QuorvaneTest::ModelLowercase(text) : text;
    }

    Container m_Container;
    Model m_Model;
};

template <bool ignoresCase>
struct TModel : std::map<std::string, u32>
{
    static constexpr bool kIgnoresCase = ignoresCase;
};

template <typename Session>
void UseKeys(CInput &input, CWatch &watch)
{
    Session session;
    TakeSteps(input, kMaxSteps, [&] { session.Step(input, watch); });
}

void UseObjects(CInput &input, CWatch &watch)
{
    CObjectSession session(input, watch);
    TakeSteps(input, kMaxSteps, [&] { session.Step(); });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    CInput input(data, size);
    CWatch watch(input);
    const u8 choice = input.Byte();
    input.ChooseLetters("abAB");
    if (choice < 128)
        UseObjects(input, watch);
    else if (choice < 160)
        UseKeys<CKeySession<std::map<CString, u32, SStringLess>, TModel<false>>>(input, watch);
    else if (choice < 192)
        UseKeys<CKeySession<std::map<CString, u32, SStringLessCaseInsensitive>, TModel<true>>>(input, watch);
    else if (choice < 224)
        UseKeys<CKeySession<std::unordered_map<CString, u32, SStringHash, SStringEqual>, TModel<false>>>(input, watch);
    else
        UseKeys<CKeySession<std::unordered_map<CString, u32, SStringHashCaseInsensitive, SStringEqualCaseInsensitive>,
                            TModel<true>>>(input, watch);
    return 0;
}
