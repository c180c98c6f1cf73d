// Atomic integers: the one home of memory orders.
//
// Every modification is a sequentially consistent read-modify-write or store, so a full barrier between the threads
// that take part. The few weaker accesses say why they may be weak, each in a sentence.
#pragma once

#include <type_traits>

#include "qv_defs.h"

// Whether a locked instruction may be written out for the flags it leaves. No sanitizer sees what such an instruction
// does: not the one of threads or of memory, and not the one of addresses, which would miss a release after the end.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(__SANITIZE_HWADDRESS__)
#define QV_INTERNAL_ATOMIC_FLAGS 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer) ||          \
    __has_feature(hwaddress_sanitizer)
#define QV_INTERNAL_ATOMIC_FLAGS 0
#endif
#endif
#if !defined(QV_INTERNAL_ATOMIC_FLAGS)
#if defined(__x86_64__) && defined(__GCC_ASM_FLAG_OUTPUTS__)
#define QV_INTERNAL_ATOMIC_FLAGS 1
#else
#define QV_INTERNAL_ATOMIC_FLAGS 0
#endif
#endif

namespace Quorvane
{

// An integer that any number of threads may read and modify at once.
// The `Fetch...` family and `Swap` return the value before, the in-place family the value after.
template <typename T>
class TAtomic
{
    static_assert(std::is_integral<T>::value, "TAtomic holds integers");

public:
    // Begins as 0, or as `value`. No barrier.
    constexpr TAtomic() noexcept QV_NONBLOCKING : m_Value(0) {}
    constexpr explicit TAtomic(T value) noexcept QV_NONBLOCKING : m_Value(value) {}
    TAtomic(const TAtomic &) = delete;
    TAtomic &operator=(const TAtomic &) = delete;

    // Acquire: what another thread wrote before it released the value read here is visible after the read.
    T Load() const noexcept QV_NONBLOCKING { return __atomic_load_n(&m_Value, __ATOMIC_ACQUIRE); }

    // The same, and in the one order of all modifications: whoever modifies one value and then reads another this way is
    // seen by others who do it the other way round, or sees them.
    T LoadInOrder() const noexcept { return __atomic_load_n(&m_Value, __ATOMIC_SEQ_CST); }

    // Full barrier.
    void Store(T value) noexcept QV_NONBLOCKING { __atomic_store_n(&m_Value, value, __ATOMIC_SEQ_CST); }

    // Relaxed: for an object that no other thread has seen, or that no other thread can reach any more. Whatever
    // hands the object to another thread orders this store as it orders the object's other fields.
    void StoreUnshared(T value) noexcept QV_NONBLOCKING { __atomic_store_n(&m_Value, value, __ATOMIC_RELAXED); }

    // Release: whoever reads this value sees what was written before it. For the end of a lock.
    void StoreReleased(T value) noexcept QV_NONBLOCKING { __atomic_store_n(&m_Value, value, __ATOMIC_RELEASE); }

    // Stores `value`. Returns: the value before.
    T Swap(T value) noexcept QV_NONBLOCKING { return __atomic_exchange_n(&m_Value, value, __ATOMIC_SEQ_CST); }

    // Stores `newValue` when the value is `expected`. Returns whether it was stored.
    bool SetValueIfEqualTo(T newValue, T expected) noexcept QV_NONBLOCKING
    {
        return __atomic_compare_exchange_n(&m_Value, &expected, newValue, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    }

    // Read, modify, write as one step. Returns: the value before.
    T FetchInc() noexcept QV_NONBLOCKING { return FetchAdd(1); }
    T FetchDec() noexcept QV_NONBLOCKING { return FetchSub(1); }
    T FetchAdd(T value) noexcept QV_NONBLOCKING { return __atomic_fetch_add(&m_Value, value, __ATOMIC_SEQ_CST); }
    T FetchSub(T value) noexcept QV_NONBLOCKING { return __atomic_fetch_sub(&m_Value, value, __ATOMIC_SEQ_CST); }
    T FetchAnd(T value) noexcept QV_NONBLOCKING { return __atomic_fetch_and(&m_Value, value, __ATOMIC_SEQ_CST); }
    T FetchOr(T value) noexcept QV_NONBLOCKING { return __atomic_fetch_or(&m_Value, value, __ATOMIC_SEQ_CST); }
    T FetchXor(T value) noexcept QV_NONBLOCKING { return __atomic_fetch_xor(&m_Value, value, __ATOMIC_SEQ_CST); }

    // The same in place. Returns: the value after.
    T Inc() noexcept QV_NONBLOCKING { return Add(1); }
    T Dec() noexcept QV_NONBLOCKING { return Sub(1); }
    T Add(T value) noexcept QV_NONBLOCKING { return __atomic_add_fetch(&m_Value, value, __ATOMIC_SEQ_CST); }
    T Sub(T value) noexcept QV_NONBLOCKING { return __atomic_sub_fetch(&m_Value, value, __ATOMIC_SEQ_CST); }
    T And(T value) noexcept QV_NONBLOCKING { return __atomic_and_fetch(&m_Value, value, __ATOMIC_SEQ_CST); }
    T Or(T value) noexcept QV_NONBLOCKING { return __atomic_or_fetch(&m_Value, value, __ATOMIC_SEQ_CST); }
    T Xor(T value) noexcept QV_NONBLOCKING { return __atomic_xor_fetch(&m_Value, value, __ATOMIC_SEQ_CST); }

    // Decrements, and answers what can be told of the value after it without reading it: whether it is 0 and, in
    // `outNegative`, whether it is negative when taken for a signed one.
    bool DecIsZero(bool &outNegative) noexcept QV_NONBLOCKING
    {
#if QV_INTERNAL_ATOMIC_FLAGS
        if constexpr (sizeof(T) == sizeof(u32))
        {
            // Compilers fetch the value for two questions; the flags of the subtraction answer both.
            bool isZero;
            __asm__ volatile("lock subl $1, %[value]"
                             : [value] "+m"(m_Value), "=@ccz"(isZero), "=@ccs"(outNegative)
                             :
                             : "memory");
            return isZero;
        }
#endif
        const T value = Dec();
        outNegative = static_cast<std::make_signed_t<T>>(value) < 0;
        return value == 0;
    }

private:
    volatile T m_Value;
};

} // namespace Quorvane
