#!/bin/sh
# Rule: the library has one word for one thing. The two paths of an operation are ...Fast and ...Slow, bounds are kMin...
# and kMax..., and no free function of layer_0 has a name that one in another file has.
# Reason: a reader who knows a word from one place looks for the same thing at the next; a name that means two things is
# found twice and read wrong once.
. "$(dirname "$0")/common.inc"

(cd "$root" && find Runtime -type f \( -name '*.h' -o -name '*.inc' -o -name '*.cpp' \) -print 2>/dev/null | sort) \
    >"$scratch/sources"

# Words that the fast and the slow path, bounds and searches have had before, and images for terms of the field.
old='[A-Za-z](Many|Anyhow|Slowly|PastCache|Plainly)([^A-Za-z]|$)'
old="$old|(^|[^A-Za-z0-9_])k(Least|Most|Few)[A-Z]"
old="$old|(long|longer|short|costlier) (road|way)([^a-z]|\$)"
old="$old|processors cannot guess|would be felt|SContainerEdits"
old="$old|CopyDistinct|CopyShort|PieceOf|ContainsBackSlash|MarkedCharacters|RaiseCharacters|CGaps|EBehind"

# The reports about a backslash keep the name that they are known by.
while IFS= read -r file; do
    LC_ALL=C awk -v name="$file" -v old="$old" '
        {
            line = $0
            gsub(/!_ContainsBackSlash\([ab], length\)/, "", line)
            if (line ~ old)
                printf "%s:%d: %s\n", name, NR, $0
        }' "$root/$file" || breach "$file: cannot be read"
done <"$scratch/sources" >>"$breaches"

# Prints "<name> <file>" for each definition of a free function: it begins at the first column, and its body follows on
# the next line. What has one definition for each form of the code, as the kernels in .inc files, or for each default
# allocator, is the same thing.
grep '/layer_0/.*\.[hc]' "$scratch/sources" | while IFS= read -r file; do
    LC_ALL=C awk -v file="$file" '
        BEGIN {
            count = split("CountBits LowestSetBit DefaultAlloc DefaultRealloc DefaultFree LiveFigures", names, " ")
            for (i = 1; i <= count; ++i)
                variants[names[i]] = 1
        }
        FNR == 1 {
            # The branches of a port say the same in the words of each system.
            place = file
            sub(/_port_[a-z]+\.h$/, "_port.h", place)
        }
        {
            line = $0
            sub(/[ \t]*\/\/.*/, "", line)
            if (head == "" && (line !~ /^[A-Za-z_]/ || line ~ /^(namespace|using|template|struct|class|enum|union|static_assert)/))
                next
            if (line !~ /^{/) {
                head = head " " line
                if (line ~ /[;}]$/)
                    head = ""
                next
            }
            name = head
            head = ""
            gsub(/QV_[A-Z0-9_]+(\([^()]*\))?/, "", name)
            if (name !~ /\(/ || name ~ /=|operator/)
                next
            sub(/\(.*/, "", name)
            sub(/.*[ \t*&]/, "", name)
            if (name ~ /^[A-Za-z_][A-Za-z0-9_]*$/ && !(name in variants))
                print name, place
        }' "$root/$file" || breach "$file: cannot be read"
done | sort -u >"$scratch/functions"
awk '$1 in file { printf "%s: %s, as in %s\n", $2, $1, file[$1] } { file[$1] = $2 }' "$scratch/functions" >>"$breaches"
verdict
