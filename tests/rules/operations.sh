#!/bin/sh
# Rule: every public operation on text has a test that is named after it, and has a row in the table of what each asks the
# allocator for.
# Reason: who looks for what an operation promises looks for its name; and a thread with a deadline counts on the blocks
# that are promised.
#
# A test is named after an operation when its suite and name hold the operation's name, without underscores and as
# words of their own: StringAppend.OfItselfDoubles, String.FirstAndLastAreTheEndsOfTheText. Operators go by what they do. The
# suite is one of those of the class.
. "$(dirname "$0")/common.inc"
. "$(dirname "$0")/operations.inc"

headers='Runtime/qv_kernel/include/kr_string.h Runtime/qv_kernel/include/kr_string_container.h
    Runtime/qv_kernel/include/kr_string_view.h Runtime/qv_kernel/include/kr_string_numbers.h Runtime/qv_kernel/include/kr_buffer.h'

# Not asked for, with the reason.
#   <class> <operation>: <reason>
exemptions='
CStringContainer AddReference: every test that copies handles lets them call it
CStringContainer RemoveReference: every test that counts references lets handles call it
'

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
    printf '%s\n' "$exemptions" | grep -q -F -e "$1 $2:"
}

(
    cd "$root" || exit 2
    find tests -name '*_test.cpp' -exec cat {} + | sed -n -E \
        's/^ *(TEST|TEST_F|TEST_P|TYPED_TEST)\(([A-Za-z0-9]+), *([A-Za-z0-9]+)\).*/\2.\3/p' >"$scratch/names"
    sed -n 's/^ *{"\([^"]*\)",.*/\1/p' tests/qv_kernel/allocation_counts_test.cpp 2>/dev/null | sort -u >"$scratch/counted"
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
        grep -E "^$(suites_of "$class")\\." "$scratch/names" | grep -q -E "$words" || is_exempt "$class" "$name" ||
            breach "$header: no test is named after $title"
        grep -q -x -F "$title" "$scratch/counted" ||
            breach "$header: tests/qv_kernel/allocation_counts_test.cpp has no row for $title"
    done <"$scratch/operations"
done
verdict
