# Where the machine, or the compiler, has no instructions for atomic integers of every size that TAtomic may hold, the
# compiler's library libatomic does it: for 64-bit RISC-V, g++ before 13 calls it for integers of one and two bytes.
# Sets QV_ATOMIC_LIBRARY: "atomic" where programs must be linked to it, else empty.
include(CheckCXXSourceCompiles)

function(qv_find_atomic_library)
    set(program "
        template <typename T>
        unsigned Use(int value)
        {
            static T place;
            T expected = 0;
            __atomic_compare_exchange_n(&place, &expected, static_cast<T>(value), false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
            __atomic_store_n(&place, static_cast<T>(value), __ATOMIC_SEQ_CST);
            return static_cast<unsigned>(__atomic_fetch_add(&place, static_cast<T>(value), __ATOMIC_SEQ_CST) +
                                         __atomic_exchange_n(&place, static_cast<T>(value), __ATOMIC_SEQ_CST) +
                                         __atomic_load_n(&place, __ATOMIC_ACQUIRE));
        }
        int main(int count, char **)
        {
            return static_cast<int>(Use<unsigned char>(count) + Use<unsigned short>(count) + Use<unsigned>(count) +
                                    Use<unsigned long long>(count));
        }")
    set(CMAKE_REQUIRED_QUIET ON)
    check_cxx_source_compiles("${program}" QV_ATOMICS_LINK)
    if(NOT QV_ATOMICS_LINK)
        set(CMAKE_REQUIRED_LIBRARIES atomic)
        check_cxx_source_compiles("${program}" QV_ATOMICS_LINK_WITH_LIBRARY)
    endif()
    set(QV_ATOMIC_LIBRARY "" PARENT_SCOPE)
    if(QV_ATOMICS_LINK_WITH_LIBRARY)
        set(QV_ATOMIC_LIBRARY atomic PARENT_SCOPE)
    endif()
endfunction()

qv_find_atomic_library()
