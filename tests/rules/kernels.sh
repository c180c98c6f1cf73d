#!/bin/sh
# Rule: each kernel that the library calls in a form of the code is tried in tests/exhaustive/ in every form: at every
# length up to 80, in every place in memory, and with what it looks for everywhere.
# Reason: kernels work by blocks, and what is wrong with one shows at a certain length, alignment and place alone.
#
# A kernel is a function of a file that a list of kernels includes, or another name of such a class, which a source or a
# header names as well. It is tried under the name of its form: Kernels::<name>, in a file *.inc of tests/exhaustive/.
. "$(dirname "$0")/common.inc"

# Not asked for, with the reason.
#   <kernel> <reason>
exemptions='
OrderOfBytes of two bytes: CompareBytes, which is tried, answers by it
'

kernels=$root/Runtime/qv_kernel/layer_0
(cd "$root" && find Runtime/qv_kernel/layer_0 -type f \( -name '*.h' -o -name '*.cpp' \) ! -path '*/kr_simd/*' -print \
    2>/dev/null) | sort >"$scratch/callers"

# Prints the names of a file of kernels that stand at its outermost level.
list_kernels()
{
    LC_ALL=C awk '
        { sub(/\/\/.*/, "") }
        /^using [A-Za-z0-9]+ =/ { print $2; next }
        /^(QV_[A-Z_]+ |inline |template <.*> )*[A-Za-z].*[ *&][A-Z][A-Za-z0-9]*\(/ && !/^(template|using|struct|class|static_assert)/ {
            head = $0
            sub(/\(.*/, "", head)
            sub(/.*[ *&]/, "", head)
            print head
        }' "$1" | sort -u
}

while IFS= read -r caller; do
    LC_ALL=C sed 's,//.*,,' "$root/$caller"
done <"$scratch/callers" >"$scratch/calling"
cat "$root"/tests/exhaustive/*.inc 2>/dev/null >"$scratch/tried"
for file in "$kernels"/*/*.inc; do
    case $file in
        */kr_simd/* | */'*.inc') continue ;;
    esac
    for name in $(list_kernels "$file"); do
        grep -q "\\(^\\|[^A-Za-z0-9_]\\)$name\\([(<]\\)" "$scratch/calling" || continue
        case $exemptions in
            *"
$name "*) continue ;;
        esac
        grep -q "Kernels::$name\\([^A-Za-z0-9_]\\|\$\\)" "$scratch/tried" ||
            breach "${file#"$root/"}: $name is in no file of tests/exhaustive/"
    done
done
verdict
