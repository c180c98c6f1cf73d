// Arrays of elements of three kinds: numbers, strings that share characters, and objects that know where they are. Each
// operation is one of std::vector's as well, but for what happens when memory is refused: then nothing has changed.
#include <algorithm>
#include <utility>
#include <vector>

#include "fuzz_support.h"

namespace
{

using namespace QuorvaneFuzz;

constexpr u32 kMaxSteps = 48;
constexpr u32 kMaxElements = 200;

// An object that must not be moved by copying its bytes, and of which as many die as are made.
class CPlaced
{
public:
    CPlaced() : CPlaced(0) {}
    explicit CPlaced(u32 value) : m_Value(value), m_Self(this) { ++s_Live; }
    CPlaced(const CPlaced &other) : CPlaced(other.m_Value) { QV_FUZZ_CHECK(other.m_Self == &other); }
    CPlaced(CPlaced &&other) noexcept : CPlaced(other.m_Value) { QV_FUZZ_CHECK(other.m_Self == &other); }
    CPlaced &operator=(const CPlaced &other)
    {
        QV_FUZZ_CHECK(m_Self == this && other.m_Self == &other);
        m_Value = other.m_Value;
        return *this;
    }
    CPlaced &operator=(CPlaced &&other) noexcept { return *this = std::as_const(other); }
    ~CPlaced()
    {
        QV_FUZZ_CHECK(m_Self == this);
        m_Self = nullptr;
        --s_Live;
    }

    bool operator==(const CPlaced &other) const { return m_Value == other.m_Value; }

    static inline s64 s_Live = 0;

private:
    u32 m_Value;
    // Volatile: the last value is for those who read what has died.
    const CPlaced *volatile m_Self;
};

u32 NewElement(CInput &input, u32 *)
{
    return input.Byte();
}

CString NewElement(CInput &input, CString *)
{
    const u32 capacity = input.Byte() & 31;
    return NewString(input.Text(), capacity);
}

CPlaced NewElement(CInput &input, CPlaced *)
{
    return CPlaced(input.Byte());
}

template <typename T>
class CArraySession
{
public:
    CArraySession(CInput &input, CWatch &watch) : m_Input(input), m_Watch(watch) {}

    void Step()
    {
        const u8 choice = m_Input.Byte() % 13;
        const T element = NewElement(m_Input, static_cast<T *>(nullptr));
        const u32 place = m_Input.Below(static_cast<u32>(m_Model.size()) + 2);
        m_Watch.BeginStep();
        if (choice < 6)
            _Add(choice, element, place);
        else
            _Change(choice - 6, element, place);
        _ExpectModel();
    }

private:
    bool _IsFull() const { return m_Model.size() >= kMaxElements; }
    bool _IsInside(u32 place) const { return place < m_Model.size(); }

    // What may be refused, and then leaves all as it was.
    void _Add(u32 choice, const T &element, u32 place)
    {
        if (_IsFull())
            return;
        switch (choice)
        {
        case 0:
            return _Added(m_Array.PushBack(element).Valid(), [&](auto &model) { model.push_back(element); });
        case 1:
        {
            T moved(element);
            return _Added(m_Array.PushBack(std::move(moved)).Valid(), [&](auto &model) { model.push_back(element); });
        }
        case 2:
            // One of its own, which growing would move away.
            if (!_IsInside(place))
                return;
            return _Added(m_Array.PushBack(std::as_const(m_Array)[place]).Valid(),
                          [&](auto &model) { model.push_back(T(model[place])); });
        case 3:
            return _Insert(element, place);
        case 4:
        {
            const u32 count = m_Input.Below(kMaxElements);
            return _Added(m_Array.Resize(count), [&](auto &model) { model.resize(count); });
        }
        default:
        {
            const u32 room = m_Input.Below(kMaxElements);
            const u32 before = m_Array.MaxCount();
            const bool reserved = m_Array.Reserve(room);
            QV_FUZZ_CHECK(m_Array.MaxCount() == (reserved ? std::max(before, room) : before));
            return _Added(reserved, [](auto &) {});
        }
        }
    }

    void _Insert(const T &element, u32 place)
    {
        T moved(element);
        const CGuid index = m_Array.Insert(place, std::move(moved));
        if (place > m_Model.size())
        {
            QV_FUZZ_CHECK(!index.Valid() && moved == element);
            m_ReportExpected = true;
            return;
        }
        QV_FUZZ_CHECK(!index.Valid() || index == place);
        _Added(index.Valid(), [&](auto &model) { model.insert(model.begin() + place, element); });
    }

    template <typename Change>
    void _Added(bool done, const Change &change)
    {
        QV_FUZZ_CHECK(done || m_Watch.HasRefused());
        if (done)
            change(m_Model);
        else
            m_ReportExpected = true;
    }

    void _Change(u32 choice, const T &element, u32 place)
    {
        switch (choice)
        {
        case 0:
            m_ReportExpected = m_Model.empty();
            m_Array.PopBack();
            if (!m_Model.empty())
                m_Model.pop_back();
            return;
        case 1:
            m_ReportExpected = !_IsInside(place);
            m_Array.Remove(place);
            if (_IsInside(place))
                m_Model.erase(m_Model.begin() + place);
            return;
        case 2:
            m_Array.Clear();
            return m_Model.clear();
        case 3:
            return _Find(element, place);
        case 4:
            if (_IsInside(place))
                m_Model[place] = m_Array[place] = element;
            return;
        case 5:
            return _Copy(place);
        default:
            return _Move();
        }
    }

    void _Find(const T &element, u32 place) const
    {
        const auto found = std::find(m_Model.begin(), m_Model.end(), element);
        const CGuid index = m_Array.IndexOf(element);
        QV_FUZZ_CHECK(index.Valid() == (found != m_Model.end()));
        QV_FUZZ_CHECK(!index.Valid() || index == static_cast<u32>(found - m_Model.begin()));
        QV_FUZZ_CHECK(m_Array.Contains(element) == index.Valid());
        const TMemoryView<const T> view = m_Array.View();
        QV_FUZZ_CHECK(view.Count() == m_Model.size());
        if (_IsInside(place))
            QV_FUZZ_CHECK(view[place] == m_Model[place]);
    }

    // A part of its own elements, or of a copy of all of them.
    void _Copy(u32 place)
    {
        const TArray<T> clone = m_Array.Clone();
        if (clone.Count() != m_Model.size())
        {
            QV_FUZZ_CHECK(clone.Empty() && m_Watch.HasRefused());
            m_ReportExpected = true;
            return;
        }
        QV_FUZZ_CHECK(std::equal(clone.begin(), clone.end(), m_Model.begin(), m_Model.end()));
        if (!_IsInside(place))
            return;
        const TArray<T> &source = m_Input.Flag() ? m_Array : clone;
        const u32 count = m_Input.Below(static_cast<u32>(m_Model.size()) - place + 1);
        const TMemoryView<const T> part(source.Data() + place, count);
        const std::vector<T> expected(m_Model.begin() + place, m_Model.begin() + place + count);
        _Added(m_Array.CopyFrom(part), [&](auto &model) { model = expected; });
    }

    void _Move()
    {
        TArray<T> taken(std::move(m_Array));
        QV_FUZZ_CHECK(m_Array.Empty() && m_Array.MaxCount() == 0);
        if (m_Input.Flag())
            m_Array.Swap(taken);
        else
            m_Array = std::move(taken);
        QV_FUZZ_CHECK(taken.Empty());
    }

    void _ExpectModel()
    {
        QV_FUZZ_CHECK(m_Array.Count() == m_Model.size() && m_Array.Empty() == m_Model.empty());
        QV_FUZZ_CHECK(m_Array.Count() <= m_Array.MaxCount());
        QV_FUZZ_CHECK(std::equal(m_Array.begin(), m_Array.end(), m_Model.begin(), m_Model.end()));
        QV_FUZZ_CHECK(std::equal(m_Array.Begin(), m_Array.End(), m_Model.begin()));
        if (!m_Model.empty())
            QV_FUZZ_CHECK(m_Array.First() == m_Model.front() && m_Array.Last() == m_Model.back());
        QV_FUZZ_CHECK(!m_Watch.HasReported() || m_ReportExpected);
        m_ReportExpected = false;
    }

    CInput &m_Input;
    CWatch &m_Watch;
    TArray<T> m_Array;
    std::vector<T> m_Model;
    bool m_ReportExpected = false;
};

template <typename T>
void Run(CInput &input, CWatch &watch)
{
    CArraySession<T> session(input, watch);
    TakeSteps(input, kMaxSteps, [&] { session.Step(); });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    CInput input(data, size);
    CWatch watch(input);
    switch (input.Byte() % 3)
    {
    case 0:
        Run<u32>(input, watch);
        break;
    case 1:
        Run<CString>(input, watch);
        break;
    default:
        Run<CPlaced>(input, watch);
    }
    QV_FUZZ_CHECK(CPlaced::s_Live == 0);
    return 0;
}
