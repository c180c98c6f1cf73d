#!/bin/sh
# Rule: the rows of docs/coming_from_std_string.md are those of the test that compiles and runs them, in its order.
# Reason: who comes from another string copies from that page; what stands there must be what was tried.
#
# In the test a row is a call of Idiom or Trap, with texts, and of two functions that take the code in a lambda. An
# idiom's row has its title and the two bodies; a trap's the text to begin with, too, and what comes of the bodies.
. "$(dirname "$0")/common.inc"

page=docs/coming_from_std_string.md
source=tests/qv_kernel/include/coming_from_std_string_test.cpp

# Prints the rows of the test as the page has them.
rows_of_test()
{
    LC_ALL=C awk '
        function without_literals(text) {
            gsub(/"([^"\\]|\\.)*"|\047([^\047\\]|\\.)*\047/, "", text)
            return text
        }
        function code(text) {
            gsub(/\|/, "\\|", text)
            return "`" text "`"
        }
        # The body of a lambda in one line; of one that is a single statement, what that one says.
        function body(text) {
            sub(/^[^{]*{ */, "", text)
            sub(/ *}[^}]*$/, "", text)
            statements = without_literals(text)
            if (index(statements, ";") == length(statements)) {
                sub(/;$/, "", text)
                sub(/^return /, "", text)
            }
            return code(text)
        }
        function take_texts(text) {
            for (count = 0; match(text, /"([^"\\]|\\.)*"/); text = substr(text, RSTART + RLENGTH))
                texts[++count] = substr(text, RSTART + 1, RLENGTH - 2)
        }
        function result(text) {
            return kind == "Trap" ? " gives " code(text == "" ? "\"\"" : text) : ""
        }
        function take_call(name, text) {
            if (name == "Idiom" || name == "Trap") {
                kind = name
                take_texts(text)
                row = "| " texts[1] " | " (kind == "Trap" ? code("\"" texts[2] "\"") " | " : "")
            } else if (name == "Std" || name == "Surprise")
                row = row body(text) result(texts[3]) " | "
            else
                print row body(text) result(texts[4]) " |"
        }
        match($0, /^    (Idiom|Trap|Std|Ours|Surprise|Instead)\(/) {
            called = substr($0, 5, RLENGTH - 5)
            depth = 0
            call = ""
        }
        called != "" {
            line = $0
            sub(/^ */, "", line)
            call = call == "" ? line : call " " line
            line = without_literals(line)
            depth += gsub(/\(/, "", line) - gsub(/\)/, "", line)
            if (depth == 0) {
                take_call(called, call)
                called = ""
            }
        }' "$root/$source"
}

if [ -f "$root/$page" ] && [ -f "$root/$source" ]; then
    rows_of_test >"$scratch/tested"
    [ -s "$scratch/tested" ] || breach "$source: has no rows"
    # Other rows end without code.
    grep '^| .*` |$' "$root/$page" >"$scratch/shown"
    if ! diff "$scratch/tested" "$scratch/shown" >"$scratch/difference"; then
        breach "$page: has other rows than $source:"
        cat "$scratch/difference" >>"$breaches"
    fi
elif [ -f "$root/$page" ] || [ -f "$root/$source" ]; then
    breach "$page or $source: is missing"
fi
verdict
