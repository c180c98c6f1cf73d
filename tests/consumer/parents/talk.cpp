// Strings go from one shared library through the program into the other, and are dropped by whoever has them last.
#include <cstdio>

#include "voices.h"

int main()
{
    Quorvane::CString text = Shout("It Works in a text that is longer than a word");
    text = Whisper(text);
    std::printf("%s\n", text.CStr());
    return text == "it works in a text that is longer than a word!..." ? 0 : 1;
}
