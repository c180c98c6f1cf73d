#!/bin/sh
# Proves the rules: each holds for a small tree that keeps it, bites on a sample that breaks it, and is in the list of
# CONTRIBUTING.md.
# Reason: a rule that never fails cannot be told from one that does not look.
. "$(dirname "$0")/common.inc"

todo=$(printf 'TO%s' DO)
good=$scratch/good
bad=$scratch/bad

# Writes stdin to a file of the given tree.
put()
{
    mkdir -p "$(dirname "$1")"
    cat >"$1"
}

# The tree that keeps every rule.
mkdir -p "$good/build"
cp "$root/.clang-format" "$good/" 2>/dev/null
for header in include/qv_defs qv_kernel/include/kr_assert qv_kernel/include/kr_mem qv_kernel/include/kr_string; do
    printf '#pragma once\n\n#define QV_SAMPLE_%s 1\n' "$(basename "$header" | tr '[:lower:]' '[:upper:]')" |
        put "$good/Runtime/$header.h"
    printf 'int Test();\n' | put "$good/tests/${header}_test.cpp"
done
printf '#pragma once\n\n#include "kr_string.h"\n' |
    put "$good/Runtime/qv_kernel/include/kr_internal/kr_string_inline.h"
put "$good/Runtime/qv_kernel/layer_0/kr_string/string.cpp" <<'END'
#include "kr_string.h"

#include "string_private.h"

#include "../kr_mem/mem_private.h"
#include "kr_mem.h"

const char g_Constant[] = "initialised by the compiler";
END
printf '#pragma once\n' | put "$good/Runtime/qv_kernel/layer_0/kr_string/string_private.h"
printf '#pragma once\n' | put "$good/Runtime/qv_kernel/layer_0/kr_mem/mem_private.h"
printf 'int Test();\n' | put "$good/tests/qv_kernel/layer_0/kr_string/string_test.cpp"
put "$good/tests/qv_kernel/include/coming_from_std_string_test.cpp" <<'END'
int Test()
{
    Idiom("a row", "hull", "hull;");
    Std([](std::string &s) { s += ";"; });
    Ours(
        [](CString &s)
        {
            const char end = ';';
            s.Append(end);
        });
    Trap("a trap", "a", "", "a|b");
    Surprise([](CString &s) { return s.Clear(); });
    Instead([](CString &s) { return s + (")" || "b"); });
}
END
put "$good/docs/coming_from_std_string.md" <<'END'
| What | `std::string` | Quorvane |
|---|---|---|
| a row | `s += ";"` | `const char end = ';'; s.Append(end);` |

| What | `std::string` | Quorvane | Instead |
|---|---|---|---|
| a trap | `"a"` | `s.Clear()` gives `""` | `s + (")" \|\| "b")` gives `a\|b` |
END
printf '#include <gtest/gtest.h>\n\nTEST(String, LengthCountsCharacters)\n' | put "$good/tests/support/string_test.cpp"
printf 'CString::At;\n' | put "$good/tests/fuzz/string_fuzz.cpp"
printf '#!/bin/sh\necho "$#"\n' | put "$good/run.sh"
printf 'int main();\n' | put "$good/examples/first_example/main.cpp"
# shellcheck disable=SC2016
printf 'A sample. %s(2030): gone by then.\n\n```cpp\nint main();\n```\n' "$todo" | put "$good/README.md"

# shellcheck disable=SC2016
{
    printf '| Where | What |\n|---|---|\n'
    for name in Runtime/include/ Runtime/qv_kernel/include/ Runtime/qv_kernel/include/kr_internal/ \
        Runtime/qv_kernel/layer_0/kr_string/ Runtime/qv_kernel/layer_0/kr_mem/ qv_defs.h kr_assert.h kr_mem.h \
        kr_string.h; do
        printf '| `%s` | what it is |\n' "$name"
    done
} | put "$good/docs/architecture.md"

# Lists every test file of a tree as built.
list_as_built()
{
    (cd "$1" && find tests -name '*_test.cpp' -print) | while IFS= read -r file; do
        printf '  "file": "%s/%s"\n' "$1" "$file"
    done >"$1/build/compile_commands.json"
}

# Runs a rule on a tree; its output goes to $scratch/output.
run_rule()
{
    sh "$rules/$1.sh" "$2" "$2/build" >"$scratch/output" 2>&1
}

list_as_built "$good"
skipped=' '
proven=$scratch/proven
: >"$proven"
for script in "$rules"/*.sh; do
    name=$(basename "$script" .sh)
    [ "$name" != "$rule" ] || continue
    run_rule "$name" "$good"
    case $? in
        0) ;;
        77) skipped="$skipped$name " ;;
        *) breach "$name: does not hold for the good tree: $(tail -n 1 "$scratch/output")" ;;
    esac
done

# bites <rule> <file> [text]: the rule must name the file, and say the text, once its content is replaced by stdin.
bites()
{
    rm -rf "$bad"
    cp -R "$good" "$bad"
    put "$bad/$2"
    printf '%s\n' "$1" >>"$proven"
    [ "$1" = mirror ] || list_as_built "$bad"
    case $skipped in
        *" $1 "*) return ;;
    esac
    run_rule "$1" "$bad"
    code=$?
    if [ $code -ne 1 ]; then
        breach "$1: answers $code for a bad $2"
    elif ! grep -q -F "$2" "$scratch/output"; then
        breach "$1: does not name the bad $2: $(tail -n 1 "$scratch/output")"
    elif ! grep -q -F -e "${3:-}" "$scratch/output"; then
        breach "$1: does not say of the bad $2: $3"
    fi
}

defs=Runtime/include/qv_defs.h
string=Runtime/qv_kernel/include/kr_string.h
source=Runtime/qv_kernel/layer_0/kr_string/string.cpp

printf '// caf\303\251\n' | bites ascii $defs
printf 'carriage return\r\n' | bites ascii README.md
printf 'binary\001\n' | bites ascii $source

printf '// %s: later\n' "$todo" | bites todo $source
printf '// %s(reason) and %s\n' "$todo" "$todo" | bites todo $source
printf '// %s()\n' "$todo" | bites todo $source

printf '// As SomeFunction, once.\n' | bites comment_names $source
printf '// Calls _Helper.\n' | bites comment_names $string
printf '// At most kLimit of them.\n' | bites comment_names $defs
printf '// See string_gone.h.\n' | bites comment_names $source

printf '#define MAX 1\n' | bites macro_prefix $defs
printf '#define null 0\n' | bites macro_prefix $string
printf '#define QV_lower 1\n' | bites macro_prefix $string
printf '#if 0\n#  define max(a, b) a\n#endif\n' | bites macro_prefix $string
printf '#undef assert\n' | bites macro_prefix $string
printf '#def\\\nine HIDDEN 1\n' | bites macro_prefix $string

printf '#include "kr_string.h"\n' | bites layering $defs
printf '#include <kr_string.h>\n' | bites layering Runtime/qv_kernel/include/kr_mem.h
printf '#include "kr_mem.h"\n' | bites layering Runtime/qv_kernel/include/kr_mem.h
printf '#include "kr_string.h"\n' | bites layering Runtime/qv_kernel/include/kr_internal/kr_string_split.h
printf '#include "kr_string_std.h"\n' | bites layering Runtime/qv_kernel/include/kr_internal/kr_string_inline.h
printf '#include "mem_private.h"\n' | bites layering $source
printf '#include "kr_string.h"\n' | bites layering Runtime/qv_kernel/layer_0/kr_mem/mem_private.h
printf '#include "string_private.h"\n' | bites layering $string
printf '#include "../kr_string/string_private.h"\n' | bites layering Runtime/qv_kernel/layer_0/kr_mem/mem_private.h
printf '#include "kr_unknown.h"\n' | bites layering $source
printf '#pragma once\n' | bites layering Runtime/include/qv_unranked.h
printf '#include "kr_mem.h"\n' | bites layering Runtime/qv_kernel/layer_0/kr_unranked/a.cpp
printf '#include "kr_string.h"\n' | bites layering Runtime/qv_kernel/layer_0/kr_fuzzy/a.cpp

printf '#include <string>\n\n#include <regex>\n' | bites light_headers $string 'lines with'
printf '#include <type_traits>\n' | bites light_headers Runtime/qv_kernel/include/kr_string_fwd.h 'lines with'
printf '#include "kr_gone.h"\n' | bites light_headers $string 'cannot read it'

printf 'int Sum(int n);\n' | bites exports $string 'Sum has no QV_API'
printf 'bool operator==(const A &a,\n                const A &b) noexcept;\n' | bites exports $string 'operator=='
printf 'u32 CString::Width() const\n{\n    return 1;\n}\n' | put "$good/Runtime/qv_kernel/layer_0/kr_string/width.cpp"
printf 'class CString\n{\n    u32 Width() const;\n};\n' | bites exports $string 'CString has no QV_API'
rm "$good/Runtime/qv_kernel/layer_0/kr_string/width.cpp"

printf 'm_Length = 1;\n' | bites one_length_door $source
printf 'container.m_Length += 1;\n' | bites one_length_door $source
printf 'void f(S *s) { ++s->m_Length; }\n' | bites one_length_door $source
printf 'void _SetLength(u32 length) { m_Length = length; }\n' | bites one_length_door $string

# shellcheck disable=SC2016
printf '| `kr_string.h` | no row for anything else |\n' | bites map docs/architecture.md
printf '#pragma once\n' | bites map Runtime/qv_kernel/include/kr_new.h
printf 'int a;\n' | bites map Runtime/qv_kernel/layer_0/new.cpp

printf 'class CString\n{\npublic:\n    CString();\n    u32 Width() const;\n};\n' | bites operations $string
printf 'class CString\n{\npublic:\n    char At(u32 index) const;\n};\n' |
    bites operations $string 'no test is named after CString::At'
printf 'class CString\n{\npublic:\n    [[nodiscard]] char At(u32 index) const;\n};\n' |
    bites operations $string 'no test is named after CString::At'
printf 'class CString\n{\npublic:\n    u32 Length() const;\n};\n' |
    bites fuzzed $string 'no fuzz target uses CString::Length'
printf 'class CString\n{\npublic:\n    u32 Length() const;\n};\n' |
    bites operations $string 'has no row for CString::Length'
printf 'class CStringView\n{\npublic:\n    u32 Length() const;\n};\n' |
    bites operations $string 'no test is named after CStringView::Length'

printf '#pragma once\n' | bites mirror Runtime/include/qv_new.h
printf 'int a;\n' | bites mirror Runtime/qv_kernel/layer_0/kr_mem/mem.cpp
printf 'int a;\n' | bites mirror tests/qv_kernel/layer_0/kr_string/unbuilt_test.cpp

printf 'struct S { S(); } s;\n' | bites no_dynamic_init $source
printf 'struct S { ~S(); };\nS s;\n' | bites no_dynamic_init $source
printf 'int f();\nint n = f();\n' | bites no_dynamic_init $source
printf 'struct S { ~S(); };\nS &f()\n{ static S s;\nreturn s; }\n' | bites no_dynamic_init $source

printf 'void f();\nvoid g() noexcept [[clang::nonblocking]]\n{\nf(); }\n' | bites effects $source
printf 'void g() noexcept [[clang::nonallocating]]\n{\ndelete new int; }\n' | bites effects $source
printf 'QV_INTERNAL_UNCHECKED_BEGIN\n' | bites effects Runtime/qv_kernel/layer_0/kr_string/string_private.h 'has no row'
# shellcheck disable=SC2016
printf '| `Runtime/include/qv_defs.h` | 1 | because |\n' | bites effects docs/real-time.md

printf 'void JoinMany(int n);\n' | bites words $source
printf 'void FreeSlowly(int n);\n' | bites words $string
printf '// Else it takes the longer road.\n' | bites words $source
printf 'constexpr int kMostBytes = 1;\n' | bites words $source
printf 'bool ContainsBackSlash(char c);\n' | bites words $source
printf 'int Twice(int n)\n{\n    return 2 * n;\n}\n' | put "$good/Runtime/qv_kernel/layer_0/kr_mem/mem_private.h"
printf 'int Twice(char n)\n{\n    return 2 * n;\n}\n' |
    bites words Runtime/qv_kernel/layer_0/kr_string/string_private.h
printf '#pragma once\n' | put "$good/Runtime/qv_kernel/layer_0/kr_mem/mem_private.h"

printf '_Pragma("GCC target(\\"avx2,lzcnt\\")")\n' | bites wide_extensions $source
printf '#pragma clang attribute push(__attribute__((target("lzcnt"))), apply_to = function)\n' |
    bites wide_extensions $source
printf '__attribute__((target("lzcnt"))) int f();\n' | bites wide_extensions $source
printf 'bool b = __builtin_cpu_supports("lzcnt");\n' | bites wide_extensions $source
printf 'int n = _lzcnt_u32(1);\n' | bites wide_extensions $source
printf '#define NAMES QV_SIMD_WIDE_EXTENSIONS(A, B) ",lzcnt"\n' |
    bites wide_extensions Runtime/qv_kernel/layer_0/kr_simd/simd_machine.h
printf 'add_compile_options(-mlzcnt)\n' | bites wide_extensions Runtime/qv_kernel/CMakeLists.txt

printf '#include <immintrin.h>\n' | bites intrinsics $source
printf '#include <arm_neon.h>\n' | bites intrinsics $source
printf 'void f() { _mm_pause(); }\n' | bites intrinsics $source
printf 'int f(__m256i bytes);\n' | bites intrinsics $source
printf 'int n = static_cast<int>(_tzcnt_u64(1));\n' | bites intrinsics $source
printf 'auto mask = vceqq_u8(a, b);\n' | bites intrinsics $source
printf 'uint8x16_t bytes;\n' | bites intrinsics $source
printf 'bool b = __builtin_cpu_supports(name);\n' | bites intrinsics $source
printf 'QV_SIMD_WIDE_BEGIN\n' | bites intrinsics $source
printf 'namespace Quorvane::Internal::Wide\n{\n' | bites intrinsics $source
printf '#include "kernel.inc"\n#include "../kr_string/kernel.inc"\n' | bites intrinsics $source

kernels=Runtime/qv_kernel/layer_0/kr_string/kernels.inc
printf 'int n = Narrow::CountAll(1);\nNarrow::TCount<int> m;\n' | put "$good/Runtime/qv_kernel/layer_0/kr_string/count.cpp"
printf 'template <typename Block = CBlock>\ninline u32 CountAll(u32 n)\n{\n    return n;\n}\n' |
    bites kernels $kernels 'CountAll is in no file'
printf 'template <typename Lane>\nusing TCount = int;\n' | bites kernels $kernels 'TCount is in no file'
rm "$good/Runtime/qv_kernel/layer_0/kr_string/count.cpp"

page=tests/wounds/README.md
# shellcheck disable=SC2016
printf '| Class | Tests |\n| --- | --- |\n| one | `Wounds.Gone` |\n' | bites wounds $page 'no test is called Wounds.Gone'
# shellcheck disable=SC2016
printf '| Class | Tests |\n| --- | --- |\n| one | `tests/gone.sh` |\n' | bites wounds $page 'tests/gone.sh is not there'
printf '| Class | Tests |\n| --- | --- |\n| one | none |\n' | bites wounds $page 'names no test'
printf '#include <gtest/gtest.h>\n\nTEST(Wounds, Unnamed)\n' | put "$good/tests/wounds/some_test.cpp"
# shellcheck disable=SC2016
printf '| Class | Tests |\n| --- | --- |\n| one | `String.LengthCountsCharacters` |\n' |
    bites wounds $page 'does not name Wounds.Unnamed'
rm -r "$good/tests/wounds"

exclusions=tests/coverage/exclusions.txt
printf '[clang]\ndefault:skip\nsource:*/Runtime/*=allow\n' | put "$good/scripts/coverage_sources.txt"
printf 'Runtime/gone.h | true | a | because\n' | bites coverage $exclusions 'Runtime/gone.h is not there'
printf '%s | true | gone == 1 | because\n' $string | bites coverage $exclusions 'has no such text: gone == 1'
printf '%s | constant | Gone | because\n' $string | bites coverage $exclusions 'has no constexpr function Gone'
printf '%s | never | once | because\n' $string | bites coverage $exclusions 'the kind is none'
printf '%s | true | once\n' $string | bites coverage $exclusions 'is not: file'
printf '%s | true | once |  \n' $string | bites coverage $exclusions 'has no reason'
printf '%s | line | once | a\n%s | line | once | b\n' $string $string | bites coverage $exclusions 'stands there twice'
mkdir -p "$good/tests/coverage"
: >"$good/$exclusions"
printf '[clang]\nsource:*/Runtime/include/*=allow\n' | bites coverage scripts/coverage_sources.txt 'counts something else'
printf '__attribute__((no_profile_instrument_function)) int f();\n' | bites coverage $source
rm -r "$good/tests/coverage" "$good/scripts"

printf 'void g(char *);\nvoid f()\n{ char b[5000];\ng(b); }\n' | bites stack $source
printf 'void g(char *);\nvoid f(int n)\n{ char b[10];\ng(b);\nif (n != 0) f(n - 1);\ng(b); }\n' | bites stack $source
printf 'void g(char *);\nvoid f(int n)\n{ char b[n];\ng(b); }\n' | bites stack $source

printf 'TEST(Suite, Name)\n{\n}\n' | bites framework_header tests/include/qv_defs_test.cpp
printf 'void Check()\n{\n    EXPECT_EQ(1, 1);\n}\n' | bites framework_header tests/support/checks.h

printf 'int   f( );\n' | bites format $source
printf 'if x; then\n' | bites shell run.sh
printf 'if x; then\n' | bites shell scripts/part.inc
printf '#!/bin/bash\n' | bites shell run.sh
printf '#!/bin/bash\n' | bites shell tool

# shellcheck disable=SC2016
printf '| a row | `s += "a"` | `s.Append("a")` |\n' | bites idioms_page docs/coming_from_std_string.md

printf '| a | b |\n|---|---|\n | 1 | 2 |\n' | bites tables README.md 'README.md:3: not indented'
printf '| a | b |\n|---|---|\n| 1 | 2 |\n\n| 3 | 4 |\n' | bites tables docs/page.md 'docs/page.md:5: a row without'
printf '| a | b |\n| 1 | 2 |\n' | bites tables README.md 'README.md:2: no line of dashes'
printf '| a | b |\n|---|---|\n| 1 \\| 2 |\n' | bites tables README.md 'README.md:3: not as many cells'

# shellcheck disable=SC2016
printf '```cpp\nint other();\n```\n' | bites readme_example README.md
# shellcheck disable=SC2016
printf '```cpp\nint other();\n```\n' | bites readme_example docs/page.md

for script in "$rules"/*.sh; do
    name=$(basename "$script" .sh)
    [ "$name" != "$rule" ] || continue
    grep -q -x "$name" "$proven" || breach "$name: has no bad sample in this script"
    # shellcheck disable=SC2016
    grep -q -F "| \`$name\` |" "$root/CONTRIBUTING.md" || breach "$name: has no row in CONTRIBUTING.md"
done

case $skipped in
    ' ') ;;
    *) printf '%s: not proven here, for want of tools:%s\n' "$rule" "$skipped" ;;
esac
verdict
