// The fixture's own promise, on which every test of over-reading rests.
#include "guarded_page.h"

#include <gtest/gtest.h>

using QuorvaneTest::CGuardedPage;

TEST(GuardedPage, IsReadableFromItsFirstToItsLastByteAndNoFurther)
{
    const CGuardedPage page(5000);
    EXPECT_GE(page.Bytes(), 5000u);
    EXPECT_TRUE(CGuardedPage::CanRead(page.Begin()));
    EXPECT_TRUE(CGuardedPage::CanRead(page.End() - 1));
    EXPECT_FALSE(CGuardedPage::CanRead(page.Begin() - 1));
    EXPECT_FALSE(CGuardedPage::CanRead(page.End()));
}

TEST(GuardedPage, LastEndsAtTheProtectedByte)
{
    const CGuardedPage page;
    EXPECT_EQ(page.Last(5) + 5, page.End());
    EXPECT_EQ(page.Last(0), page.End());
    EXPECT_EQ(page.Last(page.Bytes()), page.Begin());
}

TEST(GuardedPage, HoldsGarbageUntilItIsWritten)
{
    const CGuardedPage page;
    for (size_t i = 0; i < page.Bytes(); ++i)
        ASSERT_EQ(page.Begin()[i], '\xCD');
    *page.Begin() = 'x';
    page.Fill();
    EXPECT_EQ(*page.Begin(), '\xCD');
}
