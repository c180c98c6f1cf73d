// Checks each cell of the table in conversions.inc: what compiles and what does not, and that all of it is noexcept. It
// is compiled only; conversions.sh reads which overloads its functions call.
#include <string_view>
#include <type_traits>

#include "kr_string_numbers.h"
#include "kr_string_std.h"

namespace QuorvaneTest
{

using namespace Quorvane;

// What the expressions of the table are made of. As members of a template they make each expression depend on it, so
// that one that does not compile is no more than an answer.
struct STypes
{
    using String = CString;
    using View = CStringView;
};

template <typename T>
struct TTexts
{
    static const char *Text() noexcept;
    static const CString &String() noexcept;
    static CString &&Temporary() noexcept;
    static const CStringView &View() noexcept;
    static const std::string_view &StandardView() noexcept;
    static char Character() noexcept;

    static typename T::String &EditedString() noexcept;
    static typename T::String &&EditedTemporary() noexcept;
    static typename T::View &EditedView() noexcept;
    static TArray<typename T::String> &Strings() noexcept;
    static TArray<typename T::View> &Views() noexcept;
    static TArray<u32> &Positions() noexcept;
    static u32 &Number() noexcept;
    static std::conditional_t<std::is_void<T>::value, void, CStringBatchSplitter> &Splitter() noexcept;
};

// Conversions that nobody asked for. The first argument makes the call depend on the template.
void TakeString(const CString &, const CString &) noexcept;
void TakeView(const CString &, const CStringView &) noexcept;

template <int Line, int Column, typename T, typename = void>
struct TCompiles : std::false_type
{
};
template <int Line, int Column, typename T>
struct TUse;

} // namespace QuorvaneTest

#define STRING TTexts<T>::EditedString()
#define TEMPORARY TTexts<T>::EditedTemporary()
#define VIEW TTexts<T>::EditedView()
#define STRINGS TTexts<T>::Strings()
#define VIEWS TTexts<T>::Views()
#define POSITIONS TTexts<T>::Positions()
#define NUMBER TTexts<T>::Number()
#define SPLITTER TTexts<T>::Splitter()
#define STRING_TYPE typename T::String
#define VIEW_TYPE typename T::View

#define TEXT_OF_NUMBER(number) #number
#define TEXT_OF(number) TEXT_OF_NUMBER(number)

#define ROW(operation, place, cells, ...)                                                                              \
    template <typename T>                                                                                              \
    struct TCompiles<__LINE__, COLUMN, T, std::void_t<decltype(__VA_ARGS__)>> : std::true_type                         \
    {                                                                                                                  \
        static constexpr bool IsNoexcept = noexcept(__VA_ARGS__);                                                      \
    };                                                                                                                 \
    template <typename T>                                                                                              \
    struct TUse<__LINE__, COLUMN, T>                                                                                   \
    {                                                                                                                  \
        static void Call()                                                                                             \
        {                                                                                                              \
            constexpr bool kCompiles = TCompiles<__LINE__, COLUMN, T>::value;                                          \
            static_assert(sizeof(cells) == 10, "a cell for each argument: " cells);                                    \
            static_assert(kCompiles == (cells[COLUMN - 1] != '-'),                                                     \
                          "argument " TEXT_OF(COLUMN) " of " cells ": " #__VA_ARGS__);                                 \
            if constexpr (kCompiles)                                                                                   \
            {                                                                                                          \
                static_assert(TCompiles<__LINE__, COLUMN, T>::IsNoexcept, "noexcept: " #__VA_ARGS__);                  \
                static_cast<void>(__VA_ARGS__);                                                                        \
            }                                                                                                          \
        }                                                                                                              \
    };                                                                                                                 \
    template struct TUse<__LINE__, COLUMN, STypes>;

namespace QuorvaneTest
{

#define COLUMN 1
#define X TTexts<T>::Text()
#include "conversions.inc"
#undef COLUMN
#undef X

#define COLUMN 2
#define X "text"
#include "conversions.inc"
#undef COLUMN
#undef X

#define COLUMN 3
#define X TTexts<T>::String()
#include "conversions.inc"
#undef COLUMN
#undef X

#define COLUMN 4
#define X TTexts<T>::Temporary()
#include "conversions.inc"
#undef COLUMN
#undef X

#define COLUMN 5
#define X TTexts<T>::View()
#include "conversions.inc"
#undef COLUMN
#undef X

#define COLUMN 6
#define X TTexts<T>::StandardView()
#include "conversions.inc"
#undef COLUMN
#undef X

#define COLUMN 7
#define X TTexts<T>::Character()
#include "conversions.inc"
#undef COLUMN
#undef X

#define COLUMN 8
#define X 0
#include "conversions.inc"
#undef COLUMN
#undef X

#define COLUMN 9
#define X nullptr
#include "conversions.inc"
#undef COLUMN
#undef X

} // namespace QuorvaneTest
