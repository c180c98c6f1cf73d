#!/bin/sh
# Rule: what code may use beyond the least machine of its kind is named once, in the lists of kr_simd/simd_machine.h,
# one for each form, from which both the regions for wide code and the questions to the machine are made. No other place
# names an extension to the compiler or asks for one, and no compiler option of the library's allows one.
# Reason: an extension that is used and not asked for fails on machines that nobody here has, or gives wrong results on
# them: where LZCNT is denied, its instruction is another one.
. "$(dirname "$0")/common.inc"

# Prints "<file>:<line>:<text>" for each line of the files that stdin lists that matches an extended expression.
matches()
{
    while IFS= read -r file; do
        (cd "$root" && LC_ALL=C grep -n -E -e "$1" "$file" /dev/null)
        [ $? -le 1 ] || breach "$file: cannot be read"
    done
}

(cd "$root" && find Runtime -type f \( -name '*.h' -o -name '*.inc' -o -name '*.cpp' \) -print 2>/dev/null | sort) \
    >"$scratch/sources"
{
    # A name in place of the list.
    matches 'target[[:space:]]*\([[:space:]]*\\*"' <"$scratch/sources"
    matches 'cpu_supports[[:space:]]*\([[:space:]]*"' <"$scratch/sources"
    grep '/kr_simd/simd_machine\.' "$scratch/sources" |
        matches '"[^"]*(avx|bmi|popcnt|lzcnt|abm|fma|f16c|movbe|adx|aes|pclmul|sse[34])' |
        grep -v -E '#define QV_SIMD_WIDE(ST)?_EXTENSIONS\('
    # Intrinsics whose result depends on the extension.
    matches '(^|[^A-Za-z0-9])_*lzcnt(16|32|64)?(_u[0-9]+)?[[:space:]]*\(' <"$scratch/sources"
    grep -v '/kr_simd/simd_machine\.h$' "$scratch/sources" |
        matches '(GCC[[:space:]]+target|GCC[[:space:]]+push_options|clang[[:space:]]+attribute|__target__|\[\[gnu::target)'
    # A toolchain file is for one machine, the whole of which it names.
    (cd "$root" && find CMakeLists.txt cmake Runtime -path cmake/toolchains -prune -o -type f \
        \( -name CMakeLists.txt -o -name '*.cmake' \) -print 2>/dev/null | sort) |
        matches '(-m(arch=|avx|bmi|lzcnt|abm|popcnt|sse[34]|ssse|fma|f16c|movbe)|/arch:)'
} >"$scratch/found"
sort -u "$scratch/found" >>"$breaches"
verdict
