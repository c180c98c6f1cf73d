// Blocks of checked memory for the library, by the hook that it has for that.
#pragma once

namespace QuorvaneTest::Concurrency
{

// For the rest of the process. Reports of assertions are faults from then on.
void InstallCheckedAllocator();

} // namespace QuorvaneTest::Concurrency
