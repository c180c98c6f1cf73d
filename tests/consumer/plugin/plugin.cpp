// A plugin with strings, which it also keeps in static objects.
#include "exchange.inc"

namespace
{

struct SKept
{
    CString m_Name = CString("kept by the plugin") + " until it goes";
    ~SKept() { m_Name.Append("; this is the end"); }
};

SKept g_Kept;

} // namespace
