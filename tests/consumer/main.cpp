//	What a program that uses the library looks like from outside: its headers, one namespace, a class of its own that
//	derives from one of the library's.
#include <cstdio>
#include <cstring>

#include "kr_refptr.h"
#include "kr_string.h"

using namespace Quorvane;

namespace
{

class CTexture : public CRefCountedObject
{
public:
    explicit CTexture(const CString &name) : m_Name(name) {}

    CString m_Name;
};

} // namespace

int main()
{
    CString s("a");
    s.Append("b");
    s.AppendSlashAnd("c");
    const TRefPtr<CTexture> texture(new CTexture(s));
    const char *name = texture->m_Name.Data();
    std::printf("%s, C++ %ld, QV_ASSERTS %d\n", name, static_cast<long>(__cplusplus), QV_ASSERTS);
    return std::strcmp(name, "ab/c") == 0 ? 0 : 1;
}
