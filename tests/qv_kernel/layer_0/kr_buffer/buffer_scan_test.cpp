// The scan for a character, which looks at short texts from both ends at once.
#include "kr_buffer/buffer_scan.h"

#include <cstring>

#include <gtest/gtest.h>

#include "guarded_page.h"

namespace
{

using namespace Quorvane;
using namespace QuorvaneTest;

TEST(BufferScan, OneCharacterIsFoundInEveryPlaceOfEveryLengthAndNoneAround)
{
    const CGuardedPage page;
    for (u32 length = 0; length <= 130; ++length)
    {
        for (const bool atFront : {false, true})
        {
            std::memset(page.Begin(), '/', page.Bytes());
            char *const text = atFront ? page.Begin() : page.Last(length);
            std::memset(text, 'a', length);
            ASSERT_FALSE(Internal::Buffer::Holds(text, length, '/')) << length;
            for (u32 place = 0; place < length; ++place)
            {
                text[place] = '/';
                ASSERT_TRUE(Internal::Buffer::Holds(text, length, '/')) << length << ", " << place;
                // A character that differs from it in one bit.
                text[place] = '/' ^ 0x01;
                ASSERT_FALSE(Internal::Buffer::Holds(text, length, '/')) << length << ", " << place;
                text[place] = 'a';
            }
        }
    }
}

TEST(BufferScan, OneCharacterIsFoundInEveryPlaceOfAContainersBlocks)
{
    const CGuardedPage page;
    for (u32 length = 1; length <= 130; ++length)
    {
        const u32 bytes = (length / 16 + 1) * 16;
        char *const text = page.Last(bytes);
        std::memset(text, 0, bytes);
        std::memset(text, 'a', length);
        ASSERT_FALSE(Internal::Buffer::HoldsInBlocks(text, length, '/')) << length;
        for (u32 place = 0; place < length; ++place)
        {
            text[place] = '/';
            ASSERT_TRUE(Internal::Buffer::HoldsInBlocks(text, length, '/')) << length << ", " << place;
            text[place] = 'a';
        }
    }
}

} // namespace
