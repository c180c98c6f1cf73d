// A text becomes a view where that is asked for, not where one of several overloads could take it.
//
// EXPECT: conversion from
// EXPECT: no viable conversion
#include "kr_string.h"

using namespace Quorvane;

u32 LengthOf(const char *text)
{
#if defined(QV_COMPILE_FAIL_CONTROL)
    const CStringView view(text);
#else
    const CStringView view = text;
#endif
    return view.Length();
}
