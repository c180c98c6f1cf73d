// Intrusive, atomic reference counting: the counted bases and the pointer that counts.
//
//     class CTexture : public CRefCountedObject { ... };
//     TRefPtr<CTexture> texture(new CTexture);    // null when memory is refused
//     TRefPtr<CTexture> sameTexture = texture;    // one atomic increment
//
// An atomic count protects the object, not the pointer: pointers to one object may live on different threads, but no
// thread may assign a pointer while another one copies it.
//
// Releasing a reference is a full barrier, and asking for the count reads it with acquire order: the one thread left
// may write what the others have read.
#pragma once

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

#include "kr_assert.h"
#include "kr_atomic.h"
#include "kr_mem.h"
#include "qv_defs.h"

namespace Quorvane
{

// The two counts. Both are 0 after construction; the creator adds the first strong reference.
class QV_API CRefCountedObjectBase
{
public:
    CRefCountedObjectBase(const CRefCountedObjectBase &) = delete;
    CRefCountedObjectBase &operator=(const CRefCountedObjectBase &) = delete;
    // Objects are deleted by way of this class.
    virtual ~CRefCountedObjectBase();

    // The counts as they were a moment ago; 1 read by the holder of a reference means that it is the only one.
    u32 RefCount() const noexcept QV_NONBLOCKING { return m_RefCount.Load(); }
    u32 WeakCount() const noexcept QV_NONBLOCKING { return _WeakCountOf(m_WeakCount.Load()); }

    // Adds a strong reference. Reports "/!\ strong refcount overflow /!\" when the count no longer fits 31 bits.
    inline void AddReference() const noexcept QV_NONBLOCKING;
    // Drops a strong reference, without deleting the object.
    // Returns the new count. Reports "s32(nrc) >= 0", "/!\ strong refcount underflow /!\", when there was none.
    inline u32 _InternalRemoveReference() const noexcept QV_NONBLOCKING;
    // The same for who wants to know only whether it was the last one.
    inline bool _InternalRemoveReferenceIsLast() const noexcept QV_NONBLOCKING;
    // The same without a locked instruction for a holder that finds itself alone: nobody else can add or drop a reference
    // then, so what the decrement would give is known. Most objects are dropped by the only one who ever held them.
    inline bool _DropIsLast() const noexcept QV_NONBLOCKING;

    // Adds a weak reference, which keeps no object alive.
    void AddWeakReference() const noexcept QV_NONBLOCKING { m_WeakCount.Inc(); }
    // Drops a weak reference. Reports "s32(nrc) >= 0", "/!\ weak refcount underflow /!\", when there was none.
    inline void RemoveWeakReference() const noexcept QV_NONBLOCKING;

    // Adds the first strong reference to an object that no other thread has seen yet: a plain store.
    void _AddFirstReference() const noexcept QV_NONBLOCKING { m_RefCount.StoreUnshared(1); }

protected:
    CRefCountedObjectBase() = default;

    // Marks the object as one that is being destroyed. Returns: false when it was marked before. Only for the thread
    // that dropped the last reference: nobody else can reach the object then, but through its destructor.
    inline bool _BeginDestruction() const noexcept QV_NONBLOCKING;

    // The weak count without the mark, for which it ends at 30 bits. The mark stands there and not in the strong count,
    // so that this one tells the truth in a destructor, too. A count below 0 bears no mark.
    static constexpr u32 kDestructionMark = 0x40000000;
    static constexpr bool _IsMarked(u32 count) noexcept QV_NONBLOCKING
    {
        return (count & 0xC0000000) == kDestructionMark;
    }
    static constexpr u32 _WeakCountOf(u32 count) noexcept QV_NONBLOCKING
    {
        return _IsMarked(count) ? count - kDestructionMark : count;
    }

    mutable TAtomic<u32> m_RefCount;
    mutable TAtomic<u32> m_WeakCount;
};

// A counted object that is destroyed and freed with its last strong reference.
// Its memory comes from the kernel's allocator with origin `Origin_New`; `new` gives null when memory is refused.
//
// Its destructor begins with a count of 0. It may take references to the object, and hand them on, as long as all of them
// are dropped before it ends: that does not destroy the object once more.
class QV_API CRefCountedObject : public CRefCountedObjectBase
{
public:
    // Runs with the count at 0.
    ~CRefCountedObject() override;

    // Drops a strong reference and deletes the object with the last one.
    // A holder that finds itself alone deletes without a locked instruction.
    inline void RemoveReference() const noexcept QV_NONBLOCKING;

    // Memory of the kernel's allocator, with origin `Origin_New`. Fails: null, as no form of `new` throws.
    static void *operator new(std::size_t size) noexcept;
    static void *operator new(std::size_t size, std::align_val_t alignment) noexcept;
    static void operator delete(void *block) noexcept;
    static void operator delete(void *block, std::align_val_t alignment) noexcept;
    static void *operator new(std::size_t size, const std::nothrow_t &) noexcept;
    static void *operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t &) noexcept;
    static void operator delete(void *block, const std::nothrow_t &) noexcept;
    static void operator delete(void *block, std::align_val_t alignment, const std::nothrow_t &) noexcept;

    // Construction in a block that the caller got from the kernel's allocator with origin `Origin_New`.
    static void *operator new(std::size_t, void *block) noexcept { return block; }
    static void operator delete(void *, void *) noexcept {}

    // Every object is freed by itself, with its last reference, so none shares a block with others.
    static void *operator new[](std::size_t) = delete; // an array holds pointers to counted objects, not the objects
    template <typename... Arguments>
    static void *operator new[](std::size_t,
                                Arguments...) noexcept = delete; // an array holds pointers to counted objects

protected:
    CRefCountedObject() = default;

    // Destroys `object`, the counted base of which is `counted`, and frees its block. Does nothing from within the
    // object's destructor.
    static void _DeleteObject(const CRefCountedObjectBase *counted,
                              const CRefCountedObject *object) noexcept QV_NONBLOCKING;
};

namespace Internal
{

// The pointer member of the reference-counting pointers.
template <typename T>
struct TRefPtrMember
{
    T *m_Ptr;
};

// Selects the construction that takes over a reference which the caller has added.
struct SAdoptReference
{
};

} // namespace Internal

// A reference-counting pointer; `_Weak` selects weak references, which are not offered yet.
template <typename T, bool _Weak>
class TBaseRefPtr;

// A strong pointer: the object lives as long as one of them points at it.
// Cost: one pointer; a copy is one atomic increment; a move counts nothing.
template <typename T>
class TBaseRefPtr<T, false> : protected Internal::TRefPtrMember<T>
{
    using _P = Internal::TRefPtrMember<T>;

    template <typename U, bool _Weak>
    friend class TBaseRefPtr;

public:
    // Null.
    constexpr TBaseRefPtr() noexcept QV_NONBLOCKING : _P{nullptr} {}
    // Adds a reference when non-null.
    TBaseRefPtr(T *pointer) noexcept : _P{pointer} { _Add(); }
    // Takes over a reference that the caller has added.
    TBaseRefPtr(T *pointer, Internal::SAdoptReference) noexcept QV_NONBLOCKING : _P{pointer} {}
    // A copy adds a reference; a move takes over the other pointer's, which is null then.
    TBaseRefPtr(const TBaseRefPtr &other) noexcept : _P{other.m_Ptr} { _Add(); }
    TBaseRefPtr(TBaseRefPtr &&other) noexcept QV_NONBLOCKING : _P{std::exchange(other.m_Ptr, nullptr)} {}
    template <typename U, typename = std::enable_if_t<std::is_convertible<U *, T *>::value>>
    TBaseRefPtr(const TBaseRefPtr<U, false> &other) noexcept : TBaseRefPtr(other.Get())
    {
    }
    template <typename U, typename = std::enable_if_t<std::is_convertible<U *, T *>::value>>
    TBaseRefPtr(TBaseRefPtr<U, false> &&other) noexcept QV_NONBLOCKING : _P{std::exchange(other.m_Ptr, nullptr)}
    {
    }
    // Releases the reference.
    ~TBaseRefPtr() { _Release(); }

    // Takes the new reference before it releases the old one, so self-assignment is harmless.
    TBaseRefPtr &operator=(const TBaseRefPtr &other) noexcept
    {
        TBaseRefPtr copy(other);
        Swap(copy);
        return *this;
    }
    TBaseRefPtr &operator=(TBaseRefPtr &&other) noexcept
    {
        TBaseRefPtr taken(std::move(other));
        Swap(taken);
        return *this;
    }

    // The object, or null.
    T *Get() const noexcept QV_NONBLOCKING { return _P::m_Ptr; }
    // Whether there is an object.
    explicit operator bool() const noexcept QV_NONBLOCKING { return _P::m_Ptr != nullptr; }

    // The object.
    // Requires: one, else reports "_P::m_Ptr != null"; what is done with null then is the caller's.
    T *operator->() const noexcept QV_NONBLOCKING
    {
        QV_ASSERT(_P::m_Ptr != null);
        return _P::m_Ptr;
    }
    T &operator*() const noexcept QV_NONBLOCKING
    {
        QV_ASSERT(_P::m_Ptr != null);
        return *_P::m_Ptr;
    }

    // Exchanges the objects; no count changes.
    void Swap(TBaseRefPtr &other) noexcept QV_NONBLOCKING { std::swap(_P::m_Ptr, other.m_Ptr); }

    // Releases the reference and becomes null.
    void Clear() noexcept { TBaseRefPtr released(std::move(*this)); }

    // Whether both point to one object: with another, and with a raw pointer in either order, which null, 0 and NULL
    // are as well.
    friend bool operator==(const TBaseRefPtr &a, const TBaseRefPtr &b) noexcept QV_NONBLOCKING
    {
        return a.m_Ptr == b.m_Ptr;
    }
    friend bool operator!=(const TBaseRefPtr &a, const TBaseRefPtr &b) noexcept QV_NONBLOCKING
    {
        return a.m_Ptr != b.m_Ptr;
    }
    friend bool operator==(const TBaseRefPtr &a, const T *b) noexcept QV_NONBLOCKING { return a.m_Ptr == b; }
    friend bool operator!=(const TBaseRefPtr &a, const T *b) noexcept QV_NONBLOCKING { return a.m_Ptr != b; }
    friend bool operator==(const T *a, const TBaseRefPtr &b) noexcept QV_NONBLOCKING { return a == b.m_Ptr; }
    friend bool operator!=(const T *a, const TBaseRefPtr &b) noexcept QV_NONBLOCKING { return a != b.m_Ptr; }

private:
    void _Add() const noexcept
    {
        if (_P::m_Ptr != nullptr)
            _P::m_Ptr->AddReference();
    }
    void _Release() const noexcept
    {
        if (_P::m_Ptr != nullptr)
            _P::m_Ptr->RemoveReference();
    }
};

// The strong pointer by its usual name.
template <typename T>
using TRefPtr = TBaseRefPtr<T, false>;

// A pointer's bytes may be moved: nothing refers to its address.
template <typename T>
struct TTypeTraits<TRefPtr<T>>
{
    static constexpr bool HasTrivialRelocate = true;
};

inline void CRefCountedObjectBase::AddReference() const noexcept QV_NONBLOCKING
{
    const u32 nrc = m_RefCount.Inc();
    QV_ASSERT_MESSAGE(s32(nrc) >= 0, "/!\\ strong refcount overflow /!\\");
}

inline u32 CRefCountedObjectBase::_InternalRemoveReference() const noexcept QV_NONBLOCKING
{
    const u32 nrc = m_RefCount.Dec();
    QV_ASSERT_MESSAGE(s32(nrc) >= 0, "/!\\ strong refcount underflow /!\\");
    return nrc;
}

inline bool CRefCountedObjectBase::_InternalRemoveReferenceIsLast() const noexcept QV_NONBLOCKING
{
    bool underflow;
    const bool isLast = m_RefCount.DecIsZero(underflow);
    const u32 nrc = underflow ? ~0u : 0;
    QV_ASSERT_MESSAGE(s32(nrc) >= 0, "/!\\ strong refcount underflow /!\\");
    static_cast<void>(nrc);
    return isLast;
}

inline bool CRefCountedObjectBase::_DropIsLast() const noexcept QV_NONBLOCKING
{
    if (RefCount() != 1)
        return _InternalRemoveReferenceIsLast();
    m_RefCount.StoreUnshared(0);
    return true;
}

inline void CRefCountedObjectBase::RemoveWeakReference() const noexcept QV_NONBLOCKING
{
    const u32 nrc = Internal::WrappingDifference(_WeakCountOf(m_WeakCount.FetchDec()), 1u);
    QV_ASSERT_MESSAGE(s32(nrc) >= 0, "/!\\ weak refcount underflow /!\\");
}

inline bool CRefCountedObjectBase::_BeginDestruction() const noexcept QV_NONBLOCKING
{
    const u32 count = m_WeakCount.Load();
    if (_IsMarked(count))
        return false;
    m_WeakCount.StoreUnshared((count & (kDestructionMark - 1)) | kDestructionMark);
    return true;
}

QV_INTERNAL_REALTIME_UNWATCHED inline void CRefCountedObject::RemoveReference() const noexcept QV_NONBLOCKING
{
    if (_DropIsLast())
        _DeleteObject(this, this);
}

} // namespace Quorvane
