// Runs an operation on strings in every state, with each of its requests for memory refused, and looks at what is left.
#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "assert_recorder.h"
#include "operation_ground.h"
#include "test_allocator.h"

namespace QuorvaneTest
{

// The state that all strings of the ground are brought into before the operation, with the texts they have.
enum EStringState
{
    State_AsGiven,
    State_Null, // and so without a text
    State_Fixed,
    State_FixedShared,
    State_Full, // of the resizable form, without a byte to spare where the text fills its blocks
    State_FullShared,
    State_Spare, // with room
    State_SpareShared,
};

inline const char *const kStateNames[] = {"as given",         "null",  "fixed",        "fixed, shared", "full",
                                          "full, and shared", "spare", "spare, shared"};

// All strings of a ground, those of its lists as well.
inline std::vector<Quorvane::CString *> StringsOf(SGround &ground)
{
    std::vector<Quorvane::CString *> strings = {&ground.m_Null,
                                                &ground.m_Fixed,
                                                &ground.m_Shared,
                                                &ground.m_OtherHandle,
                                                &ground.m_Roomy,
                                                &ground.m_SharedRoomy,
                                                &ground.m_OtherRoomyHandle,
                                                &ground.m_Piece,
                                                &ground.m_Long,
                                                &ground.m_Tight,
                                                &ground.m_Escapable,
                                                &ground.m_Commented,
                                                &ground.m_Path,
                                                &ground.m_Words,
                                                &ground.m_Out};
    for (Quorvane::CString &entry : ground.m_List)
        strings.push_back(&entry);
    for (Quorvane::CString &entry : ground.m_LongList)
        strings.push_back(&entry);
    return strings;
}

inline Quorvane::CString InState(const std::string &text, EStringState state)
{
    switch (state)
    {
    case State_Null:
        return Quorvane::CString();
    case State_Fixed:
    case State_FixedShared:
        return Fixed(text);
    case State_Full:
    case State_FullShared:
        return Resizable(text);
    default:
        return Resizable(text, kRoom + LengthOf(text));
    }
}

// Brings the strings into a state. Returns: the handles that share them.
inline std::vector<Quorvane::CString> BringInto(SGround &ground, EStringState state)
{
    std::vector<Quorvane::CString> others;
    if (state == State_AsGiven)
        return others;
    const bool shared = state == State_FixedShared || state == State_FullShared || state == State_SpareShared;
    for (Quorvane::CString *const string : StringsOf(ground))
    {
        *string = InState(TextOf(*string), state);
        if (shared)
            others.push_back(*string);
    }
    return others;
}

// What a ground holds. Elements of arrays are texts, too.
struct SHeld
{
    std::vector<std::string> m_Texts;
    std::vector<const Quorvane::CStringContainer *> m_Containers; // of the strings alone
    std::vector<std::vector<std::string>> m_Arrays;
};

template <typename T>
std::vector<std::string> TextsOf(const Quorvane::TArray<T> &array)
{
    std::vector<std::string> texts;
    for (const T &element : array)
        texts.push_back(TextOf(element));
    return texts;
}

inline SHeld HeldBy(SGround &ground)
{
    SHeld held;
    for (const Quorvane::CString *const string : StringsOf(ground))
    {
        held.m_Texts.push_back(TextOf(*string));
        held.m_Containers.push_back(ContainerOf(*string));
        ExpectWellFormed(*string);
    }
    const Quorvane::CString made(ground.m_OutContainer);
    held.m_Texts.push_back(TextOf(made));
    held.m_Arrays = {TextsOf(ground.m_Strings), TextsOf(ground.m_Views), TextsOf(ground.m_NoStrings),
                     TextsOf(ground.m_NoViews)};
    return held;
}

// Whether an operation edits a string: the text is another one, or it is no longer that of those who share it.
inline bool IsEdited(const SHeld &before, const SHeld &done, size_t index)
{
    return before.m_Texts[index] != done.m_Texts[index] ||
           (index < done.m_Containers.size() && before.m_Containers[index] != done.m_Containers[index]);
}

// A text is what it was, or what the operation makes of it, or empty where the operation edits it.
inline void ExpectNothingHalfDone(const SHeld &before, const SHeld &done, const std::vector<bool> &edited,
                                  const SHeld &refused)
{
    for (size_t i = 0; i < refused.m_Texts.size(); ++i)
    {
        const std::string &text = refused.m_Texts[i];
        EXPECT_TRUE(text == before.m_Texts[i] || text == done.m_Texts[i] || (text.empty() && edited[i]))
            << "string " << i << " was " << ::testing::PrintToString(before.m_Texts[i]) << ", would be "
            << ::testing::PrintToString(done.m_Texts[i]) << ", is " << ::testing::PrintToString(text);
    }
    // A list may end early; what is in it is whole, or empty where its own memory was refused.
    for (size_t i = 0; i < refused.m_Arrays.size(); ++i)
    {
        const std::vector<std::string> &list = refused.m_Arrays[i];
        EXPECT_LE(list.size(), std::max(before.m_Arrays[i].size(), done.m_Arrays[i].size())) << "array " << i;
        for (const std::string &text : list)
            EXPECT_TRUE(text.empty() || std::count(done.m_Arrays[i].begin(), done.m_Arrays[i].end(), text) != 0 ||
                        std::count(before.m_Arrays[i].begin(), before.m_Arrays[i].end(), text) != 0)
                << "array " << i << " has " << ::testing::PrintToString(text);
    }
}

// One run with the n-th request refused, once or with all that follow; n = 0 refuses none. Returns: whether there was
// such a request.
inline bool RunRefused(void (*run)(SGround &), EStringState state, Quorvane::u64 nth, bool andAllAfter, SHeld &before,
                       SHeld &after, bool comparesTexts)
{
    CTestAllocator allocator;
    const CAssertRecorder recorder;
    SGround ground;
    const std::vector<Quorvane::CString> others = BringInto(ground, state);
    before = HeldBy(ground);
    if (andAllAfter)
        allocator.RefuseFromNth(nth);
    else
        allocator.RefuseNth(nth);
    run(ground);
    const bool refused = allocator.HasRefused();
    allocator.RefuseNth(0);
    after = HeldBy(ground);
    // Who shares a text sees nothing of what happens to it.
    for (size_t i = 0; comparesTexts && i < others.size(); ++i)
        EXPECT_EQ(TextOf(others[i]), before.m_Texts[i]) << "a handle that shares string " << i;
    return refused;
}

// In every state up to the last one asked for, with the first, the second, ... request refused, once and with all that follow. Everything is given
// back, and nothing written outside a block: the allocator sees to that; and all strings are well-formed. What texts are
// left is looked at where `comparesTexts` is set.
inline void SweepOperation(void (*run)(SGround &), EStringState lastState, bool comparesTexts)
{
    for (Quorvane::u32 state = State_AsGiven; state <= static_cast<Quorvane::u32>(lastState); ++state)
    {
        SHeld before;
        SHeld done;
        SHeld refused;
        RunRefused(run, static_cast<EStringState>(state), 0, false, before, done, comparesTexts);
        std::vector<bool> edited;
        for (size_t i = 0; i < done.m_Texts.size(); ++i)
            edited.push_back(IsEdited(before, done, i));
        for (const bool andAllAfter : {false, true})
        {
            for (Quorvane::u64 nth = 1;; ++nth)
            {
                SCOPED_TRACE(::testing::Message() << "strings " << kStateNames[state] << ", request " << nth
                                                  << " refused" << (andAllAfter ? ", and all after it" : ""));
                ASSERT_LT(nth, 1000u);
                if (!RunRefused(run, static_cast<EStringState>(state), nth, andAllAfter, before, refused,
                                comparesTexts))
                    break;
                if (comparesTexts)
                    ExpectNothingHalfDone(before, done, edited, refused);
            }
        }
    }
}

} // namespace QuorvaneTest
