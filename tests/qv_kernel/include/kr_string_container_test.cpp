// What the container's declaration promises by itself: its type.
#include "kr_string_container.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "kr_string.h"

namespace
{

using namespace Quorvane;

TEST(ContainerHeader, ContainersAreNeitherCopiedNorMoved)
{
    EXPECT_FALSE(std::is_copy_constructible<CStringContainer>::value);
    EXPECT_FALSE(std::is_copy_assignable<CStringContainer>::value);
    EXPECT_FALSE(std::is_default_constructible<CStringContainer>::value);
}

TEST(ContainerHeader, TheContainersDestructorIsVirtual)
{
    EXPECT_TRUE(std::has_virtual_destructor<CStringContainer>::value);
    EXPECT_TRUE((std::is_base_of<CRefCountedObject, CStringContainer>::value));
}

TEST(ContainerHeader, APointerToAContainerIsAStrongReference)
{
    EXPECT_TRUE((std::is_same<PStringContainer, TRefPtr<CStringContainer>>::value));
}

} // namespace
