// The names of the text classes, for headers that only mention them: in pointers, references and signatures.
//
//     #include "kr_string_fwd.h"
//     void Register(const CString &name);      // whoever calls it includes kr_string.h
//
// Includes nothing but the name of the namespace.
#pragma once

#include "qv_internal/qv_namespace.h"

namespace Quorvane
{

class CString;
class CStringBatchSplitter;
class CStringContainer;
class CStringView;

// Of the type u32, which this header does not include.
enum ECaseSensitivity : unsigned int;
enum ECasingType : unsigned int;

} // namespace Quorvane
