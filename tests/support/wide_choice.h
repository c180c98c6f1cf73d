// The choice of the machine's wide vectors, for a time.
#pragma once

#include "kr_simd/simd_machine.h"

namespace QuorvaneTest
{

// Allows or denies wide vectors while it lives.
class CWideChoice
{
public:
    explicit CWideChoice(bool allowed) { Quorvane::Internal::Simd::AllowWideInstructions(allowed); }
    ~CWideChoice() { Quorvane::Internal::Simd::AllowWideInstructions(true); }
    CWideChoice(const CWideChoice &) = delete;
    CWideChoice &operator=(const CWideChoice &) = delete;
};

} // namespace QuorvaneTest
