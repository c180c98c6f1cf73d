// The switch of mutants: what sources with all mutants in them (rewriting.py) ask, at each place, by the mutant's number.
// Included in front of everything else in such a build, so it includes nothing.
//
// One mutant at most is active in a process: the one that the environment names in QV_MUTANT, or the one that the program
// of the tests chose for a copy of itself (fork_server.cpp). What the compiler evaluates is as the sources have it.
#pragma once

namespace qv_mutants
{

constexpr unsigned kMostMutants = 1 << 16;

extern unsigned g_Active;
// Of each mutant whether its place was reached where the mutant gives something else, and behind those of all mutants, at
// kMostMutants and on, whether it was reached where it gives the same: a test that saw nothing else cannot notice it.
extern unsigned char g_Reached[2 * kMostMutants];

// Notes that the place was reached as well, each time: without a branch, of which the compilers would make far more code.
__attribute__((always_inline)) inline bool Test(unsigned number, bool differs = true) noexcept
{
    g_Reached[differs ? number : kMostMutants + number] = 1;
    return g_Active == number;
}

__attribute__((always_inline)) constexpr bool On(unsigned number) noexcept
{
    return !__builtin_is_constant_evaluated() && Test(number);
}

// Operators of the language, each with the one that its mutant puts in its place. Operands are numbers and pointers.
#define QV_MUTATED_OPERATOR(name, original, mutated)                                                                   \
    template <typename A, typename B>                                                                                  \
    __attribute__((always_inline)) constexpr auto name(unsigned number, A a, B b) noexcept                             \
    {                                                                                                                  \
        using TResult = decltype(true ? a mutated b : a original b);                                                   \
        const TResult unchanged = a original b;                                                                        \
        if (__builtin_is_constant_evaluated())                                                                         \
            return unchanged;                                                                                          \
        const TResult changed = a mutated b;                                                                           \
        return Test(number, changed != unchanged) ? changed : unchanged;                                               \
    }

QV_MUTATED_OPERATOR(Less, <, <=)
QV_MUTATED_OPERATOR(LessOrEqual, <=, <)
QV_MUTATED_OPERATOR(Greater, >, >=)
QV_MUTATED_OPERATOR(GreaterOrEqual, >=, >)
QV_MUTATED_OPERATOR(Equal, ==, !=)
QV_MUTATED_OPERATOR(NotEqual, !=, ==)
QV_MUTATED_OPERATOR(Plus, +, -)
QV_MUTATED_OPERATOR(Minus, -, +)
QV_MUTATED_OPERATOR(Times, *, +)
QV_MUTATED_OPERATOR(Over, /, *)
QV_MUTATED_OPERATOR(Modulo, %, *)
QV_MUTATED_OPERATOR(ShiftedLeft, <<, >>)
QV_MUTATED_OPERATOR(ShiftedRight, >>, <<)
QV_MUTATED_OPERATOR(And, &, |)
QV_MUTATED_OPERATOR(Or, |, &)
QV_MUTATED_OPERATOR(Xor, ^, |)

// The same for whatever a template is given. What lacks the mutant's operator is compared the other way round.
#define QV_MUTATED_RELATION(name, original, mutated)                                                                   \
    template <typename A, typename B>                                                                                  \
    constexpr auto Try##name(int, bool isOn, const A &a, const B &b)->decltype(static_cast<bool>(a mutated b))         \
    {                                                                                                                  \
        return isOn ? static_cast<bool>(a mutated b) : static_cast<bool>(a original b);                                \
    }                                                                                                                  \
    template <typename A, typename B>                                                                                  \
    constexpr bool Try##name(long, bool isOn, const A &a, const B &b)                                                  \
    {                                                                                                                  \
        return isOn != static_cast<bool>(a original b);                                                                \
    }                                                                                                                  \
    template <typename A, typename B>                                                                                  \
    __attribute__((always_inline)) constexpr bool Any##name(unsigned number, const A &a, const B &b)                   \
    {                                                                                                                  \
        return Try##name(0, On(number), a, b);                                                                         \
    }

QV_MUTATED_RELATION(Less, <, <=)
QV_MUTATED_RELATION(LessOrEqual, <=, <)
QV_MUTATED_RELATION(Greater, >, >=)
QV_MUTATED_RELATION(GreaterOrEqual, >=, >)
QV_MUTATED_RELATION(Equal, ==, !=)
QV_MUTATED_RELATION(NotEqual, !=, ==)

template <typename A>
__attribute__((always_inline)) constexpr A OneMore(unsigned number, A value) noexcept
{
    return On(number) ? static_cast<A>(value + 1) : value;
}

} // namespace qv_mutants

// Checks of kr_assert.h whose condition holds a mutant, and whose report does not.
#define QV_MUTATED_TEXT(...) #__VA_ARGS__
#define QV_MUTATED_EXPANDED_TEXT(...) QV_INTERNAL_EXPANDED_TEXT(__VA_ARGS__)
#define QV_MUTATED_ASSERT(text, expandedText, ...)                                                                     \
    QV_INTERNAL_ASSERT_SITE(text, expandedText, QV_INTERNAL_REPORT_PLAIN, __VA_ARGS__)
#define QV_MUTATED_INTERNAL_FAILS(text, expandedText, ...) QV_INTERNAL_FAILS_SITE(text, expandedText, __VA_ARGS__)
#define QV_MUTATED_VERIFY(text, expandedText, ...)                                                                     \
    (QV_INTERNAL_UNLIKELY(!(__VA_ARGS__)) &&                                                                           \
     QV_NAMESPACE::Assert::Internal::ReportVerify(                                                                     \
         QV_NAMESPACE::Assert::Internal::SSite{__FILE__, text, expandedText, __LINE__}, __PRETTY_FUNCTION__))
