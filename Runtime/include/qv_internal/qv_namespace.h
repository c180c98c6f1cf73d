// Private header: the name of the namespace, and the compiler attributes that every other header writes with.
//
// It stands below all headers of the library, so that the assertions (which include nothing else of ours) and
// everything above them agree on both. Users include it through any public header and never directly.
#pragma once

// Before C++17 the compiler says so, and goes no further: it would only find what it cannot read. No standard library has
// the header, whose name is the last thing that it says.
#if defined(_MSVC_LANG)
#define QV_INTERNAL_STANDARD _MSVC_LANG
#elif defined(__cplusplus)
#define QV_INTERNAL_STANDARD __cplusplus
#else
#define QV_INTERNAL_STANDARD 0
#endif
#if QV_INTERNAL_STANDARD < 201703L
#error "Quorvane is written in C++17: compile with -std=c++17 or a later standard"
#include <Quorvane_needs_Cxx17>
#endif
#undef QV_INTERNAL_STANDARD

// The namespace's name as a macro, for macros that must reach into it from any other namespace.
#define QV_NAMESPACE Quorvane

// What stands below, and the atomics, is written with the builtins and attributes that these compilers share. Others stop
// here, too.
#if !defined(__GNUC__) && !defined(__clang__)
#error "Quorvane is written for g++, clang++ and clang-cl"
#include <Quorvane_needs_another_compiler>
#endif

// Branch hints: a check that fails is the exception.
#define QV_INTERNAL_LIKELY(...) __builtin_expect(!!(__VA_ARGS__), 1)
#define QV_INTERNAL_UNLIKELY(...) __builtin_expect(!!(__VA_ARGS__), 0)

// A function that is kept out of line, so that its caller need not save registers for it; and one of reporting or
// recovery, which is kept out of the way of the hot code, too.
#define QV_INTERNAL_NOINLINE __attribute__((noinline))
#define QV_INTERNAL_COLD __attribute__((cold, noinline))

// A function that is to be part of its caller, in whose code the compiler knows what it does not know here. Defined as
// nothing for who wants to see what is called.
#if !defined(QV_INTERNAL_ALWAYS_INLINE)
#define QV_INTERNAL_ALWAYS_INLINE __attribute__((always_inline))
#endif

// A printf-like function: 1-based positions of the format and of its first argument (0 for a va_list).
// Member functions that are not static count `this` as position 1.
// The rules are those of the standard on every platform; on Windows, `printf` would name those of an older C library.
#if defined(__MINGW32__) && !defined(__clang__)
#define QV_INTERNAL_PRINTF(formatIndex, firstArgumentIndex)                                                            \
    __attribute__((format(gnu_printf, formatIndex, firstArgumentIndex)))
#else
#define QV_INTERNAL_PRINTF(formatIndex, firstArgumentIndex)                                                            \
    __attribute__((format(printf, formatIndex, firstArgumentIndex)))
#endif

// A returned view or reference must not outlive the marked argument (or the object, after a member's parameters).
#if defined(__clang__)
#define QV_INTERNAL_LIFETIMEBOUND [[clang::lifetimebound]]
#else
#define QV_INTERNAL_LIFETIMEBOUND
#endif

// A global that is initialised by the compiler, before any code runs; the build fails where it would not be.
#if defined(__clang__)
#define QV_INTERNAL_CONSTINIT [[clang::require_constant_initialization]]
#else
#define QV_INTERNAL_CONSTINIT __constinit
#endif

// A global that is never destroyed, so that it can be used from any destructor at exit.
#if defined(__clang__)
#define QV_INTERNAL_NO_DESTROY [[clang::no_destroy]]
#else
#define QV_INTERNAL_NO_DESTROY
#endif

// What each copy of the library in a process keeps to itself: a program and its plugins may hold several. Variables of
// inline functions and of templates have it above all: g++ makes them symbols that are unique in the process, and a
// plugin that has one is never unloaded.
#if defined(__ELF__) || defined(__APPLE__)
#define QV_INTERNAL_HIDDEN __attribute__((visibility("hidden")))
#else
#define QV_INTERNAL_HIDDEN
#endif

// ---- What a shared library shows -------------------------------------------------------------------------------------

// QV_SHARED, a macro, is 1 where the library is compiled as a shared one and where it is used as one; CMake and pkg-config
// hand it on to users. Such a library is compiled with hidden symbols, and what is marked is seen from outside:
//
//     QV_API            the public interface: functions and variables that a source of the library defines, and classes
//                       with members that one defines
//     QV_INTERNAL_API   what is called by bodies in the headers, and by nobody else
//
// They stand between `class` and its name, and in front of a declaration, behind its attributes:
//
//     [[nodiscard]] QV_API CString JoinPath(...) noexcept;
//
// Of a class, its vtable and its type are seen, too, so that there is one of each in the process, wherever it is derived
// from. Runtime/qv_kernel/symbols.txt lists what is seen; CONTRIBUTING.md says how it is kept.
#if !defined(QV_SHARED)
#define QV_SHARED 0
#endif
#if !QV_SHARED
#define QV_API
#elif !defined(_WIN32) && !defined(__CYGWIN__)
#define QV_API __attribute__((visibility("default")))
#elif defined(QV_INTERNAL_BUILDS_LIBRARY)
#define QV_API __declspec(dllexport)
#else
#define QV_API __declspec(dllimport)
#endif
#define QV_INTERNAL_API QV_API

// ---- What a function may take of a thread with a deadline ------------------------------------------------------------

// The classes of operations, which the compiler checks where it can: clang++ from version 20 on, with -Wfunction-effects.
// They are part of a function's type and stand behind `noexcept`; what calls and inlines is inferred. QV_EFFECTS, a macro
// that may be defined as 0, takes them away, for code that matches the types of our functions word for word.
//
//     QV_NONBLOCKING     neither allocates nor frees memory, takes no lock, makes no system call, throws nothing
//     QV_NONALLOCATING   does not allocate or free
#if !defined(QV_EFFECTS)
#define QV_EFFECTS 1
#endif
#if QV_EFFECTS && defined(__has_cpp_attribute)
#if __has_cpp_attribute(clang::nonblocking)
#define QV_INTERNAL_HAS_EFFECTS 1
#endif
#endif
#if defined(QV_INTERNAL_HAS_EFFECTS)
#define QV_NONBLOCKING [[clang::nonblocking]]
#define QV_NONALLOCATING [[clang::nonallocating]]
#else
#define QV_NONBLOCKING
#define QV_NONALLOCATING
#endif

// Code within a function of one of the classes that the compiler cannot judge, for a reason that stands beside it. Does
// not reach the callers of a function that has no class of its own: what it does is inferred all the same.
#if defined(QV_INTERNAL_HAS_EFFECTS)
#define QV_INTERNAL_UNCHECKED_BEGIN                                                                                    \
    _Pragma("clang diagnostic push") _Pragma("clang diagnostic ignored \"-Wfunction-effects\"")                        \
        _Pragma("clang diagnostic ignored \"-Wperf-constraint-implies-noexcept\"")
#define QV_INTERNAL_UNCHECKED_END _Pragma("clang diagnostic pop")
#else
#define QV_INTERNAL_UNCHECKED_BEGIN
#define QV_INTERNAL_UNCHECKED_END
#endif

// For the sanitizer that watches nonblocking functions while they run (-fsanitize=realtime). QV_INTERNAL_REALTIME_PAUSE:
// the rest of this block is none of its business. QV_INTERNAL_REALTIME_UNWATCHED: this function is watched only where a
// nonblocking function calls it, of the user's as a rule, and may block for everybody else: whether it does is up to a
// hook or a handler of the user's, or to the size of a block. An exception of the user's may leave it.
#if defined(__has_feature)
#if __has_feature(realtime_sanitizer)
#define QV_INTERNAL_HAS_REALTIME_SANITIZER 1
#endif
#endif
#if defined(QV_INTERNAL_HAS_REALTIME_SANITIZER)
#include <sanitizer/rtsan_interface.h>
#define QV_INTERNAL_REALTIME_PAUSE const __rtsan::ScopedDisabler qv_pause
#define QV_INTERNAL_REALTIME_UNWATCHED __attribute__((no_sanitize("realtime")))
#else
#define QV_INTERNAL_REALTIME_PAUSE static_assert(true, "")
#define QV_INTERNAL_REALTIME_UNWATCHED
#endif
