// An object with static storage that uses strings while it is constructed, before main and before every other static
// object, and while it is destroyed, after all of them.
#pragma once

namespace QuorvaneTest
{

// What the constructor found; null when all was right. What the destructor finds, nobody is left to ask for: it ends
// the program with an error instead.
const char *StaticStringsFault();

} // namespace QuorvaneTest
