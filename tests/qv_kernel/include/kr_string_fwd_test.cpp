// What mentions strings needs their names alone.
#include "kr_string_fwd.h"

namespace
{

// Declared before anything of the library is defined; used below, where it is.
unsigned int LengthOf(const Quorvane::CString &string, const Quorvane::CStringView &view,
                      Quorvane::ECaseSensitivity caseSensitivity);

struct SMentionsStrings
{
    Quorvane::CStringContainer *m_Container;
    Quorvane::CStringBatchSplitter *m_Splitter;
    Quorvane::ECasingType m_Casing;
};

} // namespace

#include "kr_string.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace
{

using namespace Quorvane;

unsigned int LengthOf(const CString &string, const CStringView &view, ECaseSensitivity caseSensitivity)
{
    return string.Length() + view.Length() + caseSensitivity;
}

TEST(StringForward, WhatWasOnlyMentionedIsWhatKrStringDefines)
{
    EXPECT_EQ(LengthOf("abc", CStringView("de"), CaseInsensitive), 6u);
    EXPECT_TRUE((std::is_same<decltype(SMentionsStrings::m_Container), CStringContainer *>::value));
    EXPECT_TRUE((std::is_same<std::underlying_type_t<ECaseSensitivity>, u32>::value));
    EXPECT_TRUE((std::is_same<std::underlying_type_t<ECasingType>, u32>::value));
}

} // namespace
