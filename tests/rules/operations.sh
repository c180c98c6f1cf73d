#!/bin/sh
# Rule: every public operation on text has a test that is named after it, is used in a fuzz target, and has a row in the
# table of what each asks the allocator for.
# Reason: who looks for what an operation promises looks for its name; what no fuzz target calls is tried only with the
# texts that somebody thought of; and a thread with a deadline counts on the blocks that are promised.
#
# A test is named after an operation when its suite and name hold the operation's name, without underscores and as
# words of their own: StringAppend.OfItselfDoubles, String.FirstAndLastAreTheEndsOfTheText. Operators go by what they do. The
# suite is one of those of the class.
. "$(dirname "$0")/common.inc"

headers='Runtime/qv_kernel/include/kr_string.h Runtime/qv_kernel/include/kr_string_container.h
    Runtime/qv_kernel/include/kr_string_view.h Runtime/qv_kernel/include/kr_string_numbers.h Runtime/qv_kernel/include/kr_buffer.h'

# Not asked for, with the reason.
#   <class> <operation> <test or fuzz>
exemptions='
CStringContainer AddReference test: every test that copies handles lets them call it
CStringContainer AddReference fuzz: every copy of a handle in the targets calls it
CStringContainer RemoveReference test: every test that counts references lets handles call it
CStringContainer RemoveReference fuzz: every handle of the targets calls it
'

# Prints "<class> <operation>" for each public one of a header; the class of free functions is "-".
list_operations()
{
    awk '
        { sub(/\/\/.*/, ""); sub(/\[\[nodiscard\]\] /, ""); sub(/QV_API /, "") }
        /^namespace Internal/ { internal = 1; depth = 0 }
        internal {
            depth += gsub(/{/, "{") - gsub(/}/, "}")
            internal = depth > 0 || !/}/
            next
        }
        /^}/ { class = "" }
        /^(class|struct) [A-Za-z]+( final)?( :.*)?[ ]*$/ { class = $2; public = $1 == "struct"; next }
        /^public:/ { public = 1; next }
        /^(private|protected):/ { public = 0; next }
        class == "" ? /^[A-Za-z].*\(/ : public && /^    [A-Za-z].*\(/ {
            head = $0
            if (match(head, /operator *[^ (A-Za-z]+ *\(/) || match(head, /[A-Za-z_][A-Za-z0-9_]*\(/)) {
                name = substr(head, RSTART, RLENGTH - 1)
                before = substr(head, 1, RSTART - 1)
                gsub(/ /, "", name)
                if (name == class || name == "static_assert" || name ~ /^_/ || before ~ /::$|operator $/)
                    next
                print (class == "" ? "-" : class), name
            }
        }' "$root/$1" | sort -u
}

# The suites that are a class's, as a regular expression.
suites_of()
{
    case $1 in
        CStringView) echo '[A-Za-z]*View[A-Za-z]*' ;;
        CStringContainer) echo '[A-Za-z]*Container[A-Za-z]*' ;;
        CStringBatchSplitter) echo '[A-Za-z]*Splitter[A-Za-z]*' ;;
        SNativeStringUtils) echo '(Buffer|FormatLength)[A-Za-z]*' ;;
        *) echo '(String|JoinPath)[A-Za-z]*' ;;
    esac
}

# What stands for an operation in the names of tests, as a regular expression.
words_of()
{
    case $1 in
        'operator==' | 'operator!=') echo 'Equal(s|ity)?|Operators?' ;;
        'operator<' | 'operator>' | 'operator<=' | 'operator>=') echo 'Orders?|Operators?' ;;
        'operator+' | 'operator+=') echo 'Append|Concatenation|Operators?' ;;
        'operator/' | 'operator/=') echo 'Join|JoinPath|PathJoin|Operators?' ;;
        'operator=') echo 'Assign(s|ed|ment)?' ;;
        'operator[]') echo 'Index' ;;
        bool) echo 'Conditions?' ;;
        *) printf '%s\n' "$1" | tr -d _ | awk '{ print toupper(substr($0, 1, 1)) substr($0, 2) }' ;;
    esac
}

is_exempt()
{
    printf '%s\n' "$exemptions" | grep -q -F -e "$1 $2 $3:"
}

(
    cd "$root" || exit 2
    find tests -name '*_test.cpp' -exec cat {} + | sed -n -E \
        's/^ *(TEST|TEST_F|TEST_P|TYPED_TEST)\(([A-Za-z0-9]+), *([A-Za-z0-9]+)\).*/\2.\3/p' >"$scratch/names"
    sed -n 's/^ *{"\([^"]*\)",.*/\1/p' tests/qv_kernel/allocation_counts_test.cpp 2>/dev/null | sort -u >"$scratch/counted"
    find tests/fuzz -name '*_fuzz.cpp' -exec cat {} + 2>/dev/null | sed 's,//.*,,' | tr -c 'A-Za-z0-9_' '\n' |
        sort -u >"$scratch/fuzzed"
)

for header in $headers; do
    [ -f "$root/$header" ] || continue
    list_operations "$header" >"$scratch/operations"
    while read -r class name; do
        case $class in
            -) title=$name ;;
            *) title=$class::$name ;;
        esac
        # Words end where the next one begins.
        words="(^|[a-z0-9.])($(words_of "$name"))([A-Z.]|\$)"
        grep -E "^$(suites_of "$class")\\." "$scratch/names" | grep -q -E "$words" || is_exempt "$class" "$name" test ||
            breach "$header: no test is named after $title"
        grep -q -x -F "$title" "$scratch/counted" ||
            breach "$header: tests/qv_kernel/allocation_counts_test.cpp has no row for $title"
        case $name in
            # Signs are everywhere; the models of the targets compare with them.
            operator*) continue ;;
        esac
        grep -q -x -F "$name" "$scratch/fuzzed" || is_exempt "$class" "$name" fuzz ||
            breach "$header: no fuzz target uses $title"
    done <"$scratch/operations"
done
verdict
