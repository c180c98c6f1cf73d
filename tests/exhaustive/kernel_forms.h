// The kernels of kr_buffer in every form that the machine has, for typed tests.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "every_form.h"

namespace QuorvaneTest
{

#if QV_SIMD_HAS_WIDE
using CEveryForm = ::testing::Types<SPortableKernels, SNarrowKernels, SWideKernels, SWidestKernels>;

#else

using CEveryForm = ::testing::Types<SPortableKernels, SNarrowKernels>;

#endif

struct SEveryFormNames
{
    template <typename Form>
    static std::string GetName(int)
    {
        return Form::kName;
    }
};

template <typename Form>
class CKernelTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!Form::IsAvailable())
            GTEST_SKIP() << "this machine has no such instructions";
    }
};

} // namespace QuorvaneTest
