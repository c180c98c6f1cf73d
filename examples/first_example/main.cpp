#include "kr_string.h"

#include <cstdio>

using namespace Quorvane;

int main()
{
    const CString file = CString("assets/") / "/models" / "hull.mesh"; // one slash at each seam
    CString copy = file;                                               // shares the characters
    std::printf("%s, %u characters\n", file.CStr(), file.Length());
    std::printf("shared: %s\n", copy.Data() == file.Data() ? "yes" : "no");

    copy += ".bak"; // a write gives the copy characters of its own
    std::printf("%s, shared: %s\n", copy.CStr(), copy.Data() == file.Data() ? "yes" : "no");

    const CString report = CString::Format("%s loaded in %.1f ms", file.CStr(), 2.5);
    std::printf("%s\n", report.CStr());
    return 0;
}
