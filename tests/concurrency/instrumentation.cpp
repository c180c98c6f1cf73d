// What compilers call under -fsanitize=thread, with the checker behind it instead of the sanitizer: at each access to
// memory, and in place of each atomic operation. The linker puts the routines for memory before those of the platform
// (--wrap), and the system calls of the default allocator, which are the checker's within its own range of addresses.
//
// Outside of checked threads, and for memory that is not checked, operations are done as they are.
#include <cstddef>
#include <cstring>

#include "exploration.h"

namespace QuorvaneTest::Concurrency
{

namespace
{

// The exploration, where an access is its business.
CExploration *CheckerOf(const volatile void *address)
{
    CExploration *const exploration = CExploration::Active();
    return exploration != nullptr && CCheckedMemory::Get().Holds(address) ? exploration : nullptr;
}

void ReadPlain(const volatile void *address, std::size_t bytes)
{
    if (CExploration *const exploration = CheckerOf(address))
        exploration->Read(address, bytes);
}

void WritePlain(const volatile void *address, std::size_t bytes)
{
    if (CExploration *const exploration = CheckerOf(address))
        exploration->Write(address, bytes);
}

// The compilers' numbers of the orders. Consume is acquire, as compilers make it.
EOrder OrderOf(int order)
{
    constexpr EOrder kOrders[] = {Order_Relaxed, Order_Acquire,        Order_Acquire,
                                  Order_Release, Order_AcquireRelease, Order_Sequential};
    return kOrders[order];
}

template <typename T>
u32 BytesOf()
{
    return static_cast<u32>(sizeof(T));
}

template <typename T>
T LoadAtomic(const volatile T *address, int order)
{
    volatile void *const place = const_cast<T *>(address);
    if (CExploration *const exploration = CheckerOf(address))
        return static_cast<T>(exploration->Perform({Access_Load, place, BytesOf<T>(), OrderOf(order)}));
    return __atomic_load_n(address, __ATOMIC_SEQ_CST);
}

template <typename T>
void StoreAtomic(volatile T *address, T value, int order)
{
    if (CExploration *const exploration = CheckerOf(address))
        exploration->Perform({Access_Store, address, BytesOf<T>(), OrderOf(order), Order_Relaxed, u64(value)});
    else
        __atomic_store_n(address, value, __ATOMIC_SEQ_CST);
}

template <typename T>
T ModifyNatively(EAccess kind, volatile T *address, T value)
{
    switch (kind)
    {
    case Access_Add:
        return __atomic_fetch_add(address, value, __ATOMIC_SEQ_CST);
    case Access_Subtract:
        return __atomic_fetch_sub(address, value, __ATOMIC_SEQ_CST);
    case Access_And:
        return __atomic_fetch_and(address, value, __ATOMIC_SEQ_CST);
    case Access_Or:
        return __atomic_fetch_or(address, value, __ATOMIC_SEQ_CST);
    case Access_Xor:
        return __atomic_fetch_xor(address, value, __ATOMIC_SEQ_CST);
    default:
        return __atomic_exchange_n(address, value, __ATOMIC_SEQ_CST);
    }
}

template <typename T>
T ModifyAtomic(EAccess kind, volatile T *address, T value, int order)
{
    if (CExploration *const exploration = CheckerOf(address))
        return static_cast<T>(
            exploration->Perform({kind, address, BytesOf<T>(), OrderOf(order), Order_Relaxed, u64(value)}));
    return ModifyNatively(kind, address, value);
}

// Answers the value before, as clang wants it; g++ wants to know whether it was the expected one, which is then put right.
template <typename T>
T CompareExchangeAtomic(volatile T *address, T expected, T value, int order, int orderElse)
{
    if (CExploration *const exploration = CheckerOf(address))
        return static_cast<T>(exploration->Perform({Access_CompareExchange, address, BytesOf<T>(), OrderOf(order),
                                                    OrderOf(orderElse), u64(value), u64(expected)}));
    __atomic_compare_exchange_n(address, &expected, value, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    return expected;
}

} // namespace

} // namespace QuorvaneTest::Concurrency

using namespace QuorvaneTest::Concurrency;

// ---- Plain accesses ----------------------------------------------------------------------------------------------------

#define QV_TEST_PLAIN(bytes)                                                                                           \
    extern "C" void __tsan_read##bytes(void *address)                                                                  \
    {                                                                                                                  \
        ReadPlain(address, bytes);                                                                                     \
    }                                                                                                                  \
    extern "C" void __tsan_write##bytes(void *address)                                                                 \
    {                                                                                                                  \
        WritePlain(address, bytes);                                                                                    \
    }                                                                                                                  \
    extern "C" void __tsan_unaligned_read##bytes(void *address)                                                        \
    {                                                                                                                  \
        ReadPlain(address, bytes);                                                                                     \
    }                                                                                                                  \
    extern "C" void __tsan_unaligned_write##bytes(void *address)                                                       \
    {                                                                                                                  \
        WritePlain(address, bytes);                                                                                    \
    }

QV_TEST_PLAIN(1)
QV_TEST_PLAIN(2)
QV_TEST_PLAIN(4)
QV_TEST_PLAIN(8)
QV_TEST_PLAIN(16)

extern "C" void __tsan_read_range(void *address, std::size_t bytes)
{
    ReadPlain(address, bytes);
}

extern "C" void __tsan_write_range(void *address, std::size_t bytes)
{
    WritePlain(address, bytes);
}

extern "C" void __tsan_vptr_read(void **address)
{
    ReadPlain(address, sizeof(*address));
}

extern "C" void __tsan_vptr_update(void **address, void *)
{
    WritePlain(address, sizeof(*address));
}

extern "C" void __tsan_init() {}

extern "C" void __tsan_func_entry(void *) {}

extern "C" void __tsan_func_exit() {}

// ---- Atomic operations -------------------------------------------------------------------------------------------------

#define QV_TEST_MODIFY(bits, type, name, kind)                                                                         \
    extern "C" type __tsan_atomic##bits##_##name(volatile type *address, type value, int order)                        \
    {                                                                                                                  \
        return ModifyAtomic<type>(kind, address, value, order);                                                        \
    }

#define QV_TEST_ATOMIC(bits, type)                                                                                     \
    extern "C" type __tsan_atomic##bits##_load(const volatile type *address, int order)                                \
    {                                                                                                                  \
        return LoadAtomic<type>(address, order);                                                                       \
    }                                                                                                                  \
    extern "C" void __tsan_atomic##bits##_store(volatile type *address, type value, int order)                         \
    {                                                                                                                  \
        StoreAtomic<type>(address, value, order);                                                                      \
    }                                                                                                                  \
    QV_TEST_MODIFY(bits, type, exchange, Access_Exchange)                                                              \
    QV_TEST_MODIFY(bits, type, fetch_add, Access_Add)                                                                  \
    QV_TEST_MODIFY(bits, type, fetch_sub, Access_Subtract)                                                             \
    QV_TEST_MODIFY(bits, type, fetch_and, Access_And)                                                                  \
    QV_TEST_MODIFY(bits, type, fetch_or, Access_Or)                                                                    \
    QV_TEST_MODIFY(bits, type, fetch_xor, Access_Xor)                                                                  \
    extern "C" type __tsan_atomic##bits##_compare_exchange_val(volatile type *address, type expected, type value,      \
                                                               int order, int orderElse)                               \
    {                                                                                                                  \
        return CompareExchangeAtomic<type>(address, expected, value, order, orderElse);                                \
    }                                                                                                                  \
    extern "C" int __tsan_atomic##bits##_compare_exchange_strong(volatile type *address, type *expected, type value,   \
                                                                 int order, int orderElse)                             \
    {                                                                                                                  \
        const type wanted = *expected;                                                                                 \
        *expected = CompareExchangeAtomic<type>(address, wanted, value, order, orderElse);                             \
        return *expected == wanted;                                                                                    \
    }

QV_TEST_ATOMIC(8, u8)
QV_TEST_ATOMIC(16, u16)
QV_TEST_ATOMIC(32, u32)
QV_TEST_ATOMIC(64, u64)

// There is no model of fences here: code that comes to use them needs one.
extern "C" void __tsan_atomic_thread_fence(int)
{
    if (CExploration *const exploration = CExploration::Active())
        exploration->Fail("a fence, which the checker does not know");
}

// ---- Routines for memory -----------------------------------------------------------------------------------------------

extern "C" void *__real_memcpy(void *to, const void *from, std::size_t bytes);
extern "C" void *__real_memmove(void *to, const void *from, std::size_t bytes);
extern "C" void *__real_memset(void *to, int value, std::size_t bytes);
extern "C" int __real_memcmp(const void *a, const void *b, std::size_t bytes);
extern "C" void *__real_memchr(const void *in, int value, std::size_t bytes);
extern "C" std::size_t __real_strlen(const char *text);

extern "C" void *__wrap_memcpy(void *to, const void *from, std::size_t bytes)
{
    ReadPlain(from, bytes);
    WritePlain(to, bytes);
    return __real_memcpy(to, from, bytes);
}

extern "C" void *__wrap_memmove(void *to, const void *from, std::size_t bytes)
{
    ReadPlain(from, bytes);
    WritePlain(to, bytes);
    return __real_memmove(to, from, bytes);
}

extern "C" void *__wrap_memset(void *to, int value, std::size_t bytes)
{
    WritePlain(to, bytes);
    return __real_memset(to, value, bytes);
}

extern "C" int __wrap_memcmp(const void *a, const void *b, std::size_t bytes)
{
    ReadPlain(a, bytes);
    ReadPlain(b, bytes);
    return __real_memcmp(a, b, bytes);
}

extern "C" void *__wrap_memchr(const void *in, int value, std::size_t bytes)
{
    // No further than what is found.
    void *const found = __real_memchr(in, value, bytes);
    ReadPlain(in, found != nullptr
                      ? static_cast<std::size_t>(static_cast<char *>(found) - static_cast<const char *>(in)) + 1
                      : bytes);
    return found;
}

extern "C" std::size_t __wrap_strlen(const char *text)
{
    const std::size_t length = __real_strlen(text);
    ReadPlain(text, length + 1);
    return length;
}

// Newer compilers call these.
extern "C" void *__tsan_memcpy(void *to, const void *from, std::size_t bytes)
{
    return __wrap_memcpy(to, from, bytes);
}

extern "C" void *__tsan_memmove(void *to, const void *from, std::size_t bytes)
{
    return __wrap_memmove(to, from, bytes);
}

extern "C" void *__tsan_memset(void *to, int value, std::size_t bytes)
{
    return __wrap_memset(to, value, bytes);
}
