// The room of checked memory as the default allocator's range of addresses.
#pragma once

#include "checked_memory.h"

namespace QuorvaneTest::Concurrency
{

// Before the threads of an execution begin: nothing is mapped but the first `bytes` of the room. Returns: its address.
ureg MapFirst(ureg bytes);

} // namespace QuorvaneTest::Concurrency
