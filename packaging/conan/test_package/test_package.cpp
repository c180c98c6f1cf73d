#include <cstdio>

#include "kr_string.h"

int main()
{
    const Quorvane::CString path = Quorvane::CString("packages") / "work";
    std::printf("%s\n", path.CStr());
    return path == "packages/work" ? 0 : 1;
}
