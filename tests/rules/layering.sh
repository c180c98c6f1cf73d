#!/bin/sh
# Rule: includes point down only. A public header includes public headers that stand before it in the order below; a
# file of layer_0/<service>/ includes private headers of its own folder, its service's public headers, what stands before
# those, and the private headers of services that do, as "../<service>/<name>.h", so that no build needs a further
# include folder. What defines the declarations of a public header, kr_internal/<name>_[<part>_]inline.h, stands below it,
# for it ends with them, and includes it nevertheless, so that it compiles alone.
# Reason: a base that knows what is built on it cannot be used, tested or replaced alone; cycles start with one
# convenient include.
. "$(dirname "$0")/common.inc"

# The one order, lowest first. A new public header gets its place here, and so does, as "<service>/", the folder of a
# service without one.
order='
qv_internal/qv_namespace.h
qv_internal/qv_wrapping.h
kr_assert.h
qv_defs.h
qv_guid.h
kr_atomic.h
kr_mem_utils.h
kr_simd.h
kr_mem.h
kr_refptr.h
kr_internal/kr_iterator_traits.h
kr_internal/kr_memoryviews_scratch.h
kr_internal/kr_memoryviews_iterator_inline.h
kr_memoryviews.h
kr_internal/kr_buffer_port.h
kr_buffer.h
kr_fuzzy/
kr_internal/kr_containers_internals_inline.h
kr_containers_internals.h
kr_internal/kr_containers_array_block.h
kr_internal/kr_containers_array_iterator_inline.h
kr_internal/kr_containers_array_inline.h
kr_containers_array.h
kr_containers_std.h
kr_string_fwd.h
kr_internal/kr_string_copies.h
kr_internal/kr_string_last_copied.h
kr_string_container.h
kr_internal/kr_string_tail.h
kr_internal/kr_string_fast_growth.h
kr_string_view.h
kr_internal/kr_string_compare.h
kr_internal/kr_string_split.h
kr_internal/kr_string_strip.h
kr_internal/kr_string_join.h
kr_internal/kr_string_pieces.h
kr_internal/kr_string_inline.h
kr_internal/kr_string_join_inline.h
kr_internal/kr_string_pieces_inline.h
kr_string.h
kr_string_std.h
kr_string_fmt.h
kr_internal/kr_string_numbers_inline.h
kr_string_numbers.h
'

# Prints "<file> <line> <included name>" for every include, quoted or angled, of the files that stdin lists.
includes()
{
    while IFS= read -r file; do
        LC_ALL=C awk -v name="$file" '
            /^[ \t]*#[ \t]*include[ \t]*["<]/ {
                included = $0
                sub(/^[^"<]*["<]/, "", included)
                sub(/[">].*/, "", included)
                print name, FNR, included
            }' "$root/$file" || breach "$file: cannot be read"
    done
}

{
    public_headers
    (cd "$root" && find Runtime/qv_kernel/layer_0 -type f \( -name '*.h' -o -name '*.inc' -o -name '*.cpp' \) -print 2>/dev/null | sort)
} >"$scratch/files"
grep -E '\.(h|inc)$' "$scratch/files" >"$scratch/all_headers"
includes <"$scratch/files" >"$scratch/includes"

LC_ALL=C awk -v order="$order" '
    BEGIN {
        count = split(order, names, /[ \n]+/)
        for (i = 1; i <= count; ++i)
            if (names[i] != "")
                rank[names[i]] = i
    }

    # The rank of a service: the highest of its public headers, <service>.h and <service>_*.h, or that of its folder.
    function service_rank(service,    name, best) {
        best = 0
        for (name in rank)
            if ((name == service ".h" || name == service "/" || index(name, service "_") == 1) && rank[name] > best)
                best = rank[name]
        return best
    }

    FILENAME == ARGV[1] {
        exists[$0] = 1
        if ($0 !~ /\/layer_0\//) {
            name = $0
            sub(/^Runtime\/(qv_kernel\/)?include\//, "", name)
            public[name] = 1
            if (!(name in rank))
                print $0 ": has no place in the order of tests/rules/layering.sh"
        }
        else {
            name = $0
            sub(/.*\//, "", name)
            private[name] = $0
        }
        next
    }

    {
        file = $1; where = $1 ":" $2; included = $3
        if (file ~ /\/layer_0\//) {
            service = file
            sub(/.*\/layer_0\//, "", service)
            folder = "Runtime/qv_kernel/layer_0/" service
            sub(/\/.*/, "", service)
            sub(/\/[^\/]*$/, "", folder)
            if ((folder "/" included) in exists)
                next
            limit = service_rank(service) + 1
            if (limit == 1) {
                print file ": its service has no place in the order of tests/rules/layering.sh"
                next
            }
            other = included
            if (sub(/^\.\.\//, "", other) && ("Runtime/qv_kernel/layer_0/" other) in exists) {
                sub(/\/.*/, "", other)
                if (service_rank(other) >= limit)
                    print where ": includes " included ", a private header of a service that does not stand below"
                next
            }
        }
        else {
            name = file
            sub(/^Runtime\/(qv_kernel\/)?include\//, "", name)
            limit = rank[name]
            if (!limit)
                next
            declared = included
            sub(/\.h$/, "_", declared)
            if (index(name, "kr_internal/" declared) == 1 && name ~ /_inline\.h$/)
                next
        }
        base = included
        sub(/.*\//, "", base)
        if (included in rank) {
            if (rank[included] >= limit)
                print where ": includes " included ", which does not stand below it"
        }
        else if (included in public)
            next
        else if (base in private || included ~ /\.\.\/|layer_0\//)
            print where ": includes " included ", a private header of another place"
        else if (included ~ /^(qv|kr)_/)
            print where ": includes " included ", which is none of the public headers"
    }' "$scratch/all_headers" "$scratch/includes" >"$scratch/found" || breach 'the includes cannot be read'
sort -u "$scratch/found" >>"$breaches"
verdict
