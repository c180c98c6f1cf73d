// Every comparison operator between every two forms of text, written as a user writes it. Needs no test framework and
// must compile without a warning in every standard: none of the calls below may be ambiguous, and none may need a
// string to be built.
#pragma once

#include "kr_string.h"

namespace QuorvaneTest
{

// The six answers of two operands, as bits.
enum EComparison : unsigned
{
    Comparison_Equal = 1,
    Comparison_NotEqual = 2,
    Comparison_Less = 4,
    Comparison_Greater = 8,
    Comparison_LessOrEqual = 16,
    Comparison_GreaterOrEqual = 32,
};

template <typename A, typename B>
unsigned EqualityOf(const A &a, const B &b)
{
    return (a == b ? Comparison_Equal : 0u) | (a != b ? Comparison_NotEqual : 0u);
}

template <typename A, typename B>
unsigned OrderOf(const A &a, const B &b)
{
    return (a < b ? Comparison_Less : 0u) | (a > b ? Comparison_Greater : 0u) | (a <= b ? Comparison_LessOrEqual : 0u) |
           (a >= b ? Comparison_GreaterOrEqual : 0u);
}

template <typename A, typename B>
unsigned ComparisonsOf(const A &a, const B &b)
{
    return EqualityOf(a, b) | OrderOf(a, b);
}

// What the six answers are for texts of this order: negative, 0 or positive.
constexpr unsigned ExpectedComparisons(int order)
{
    return order < 0   ? Comparison_NotEqual | Comparison_Less | Comparison_LessOrEqual
           : order > 0 ? Comparison_NotEqual | Comparison_Greater | Comparison_GreaterOrEqual
                       : Comparison_Equal | Comparison_LessOrEqual | Comparison_GreaterOrEqual;
}

// The number of pairs of forms, out of all of them in both orders, whose answers are not those of the order given.
// `a` and `b` are terminated texts.
inline unsigned CountWrongComparisons(const Quorvane::CString &stringA, const char *a, const Quorvane::CString &stringB,
                                      const char *b, int order)
{
    const Quorvane::CStringView viewA = Quorvane::CStringView::FromNullTerminatedString(a);
    const Quorvane::CStringView viewB = Quorvane::CStringView::FromNullTerminatedString(b);
    const unsigned expected = ExpectedComparisons(order);
    unsigned wrong = 0;
    wrong += ComparisonsOf(stringA, stringB) != expected;
    wrong += ComparisonsOf(stringA, viewB) != expected;
    wrong += ComparisonsOf(stringA, b) != expected;
    wrong += ComparisonsOf(viewA, stringB) != expected;
    wrong += ComparisonsOf(a, stringB) != expected;
    wrong += ComparisonsOf(viewA, viewB) != expected;
    wrong += ComparisonsOf(viewA, b) != expected;
    wrong += ComparisonsOf(a, viewB) != expected;
    return wrong;
}

// The same operators with literals, which are arrays, with temporaries and with operands that are not const.
inline unsigned CountWrongComparisonsOfOtherOperands()
{
    using Quorvane::CString;
    using Quorvane::CStringView;
    CString string("b");
    CStringView view("b", 1);
    char array[] = "b";
    unsigned wrong = 0;
    wrong += !(string == "b") + !("b" == string) + (string != "b") + ("b" != string);
    wrong += !(string < "c") + !("a" < string) + !(string > "a") + !("c" > string);
    wrong += !(string <= "b") + !("b" <= string) + !(string >= "b") + !("b" >= string);
    wrong += !(string == array) + !(array == string) + (string < array) + (array > string);
    wrong += !(view == "b") + !("b" == view) + (view != array) + (array != view);
    wrong += !(view < "c") + !("a" < view) + !(view > "a") + !("c" > view);
    wrong += !(view <= "b") + !("b" <= view) + !(view >= "b") + !("b" >= view) + (view < array) + (array > view);
    wrong += !(CStringView("a", 1) < view) + !(view < CStringView("c", 1)) + !(view <= view) + !(view >= view);
    wrong += !(string.LessThan("c")) + string.LessThan(array) + !(string.LessThan("C", Quorvane::CaseInsensitive));
    wrong += !(string == view) + !(view == string) + (string != view) + (view != string);
    wrong += !(CString("a") < string) + !(string > CString("a")) + !(CString("a") < view) + !(view > CString("a"));
    wrong += !(CString("b") == CString("b")) + !(CStringView(string) == CStringView(view));
    return wrong;
}

} // namespace QuorvaneTest
