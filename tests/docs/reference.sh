#!/bin/sh
# Builds the reference, without a warning, and follows every link in it.
#
#   reference.sh <project folder> <scratch folder>
set -eu
root=$1
scratch=$2

for tool in doxygen python3; do
    command -v $tool >/dev/null 2>&1 || {
        printf 'skipped: %s is missing\n' $tool
        exit 77
    }
done
# What one version says nothing about another one warns of.
version=$(doxygen --version | cut -d ' ' -f 1)
[ "$version" = 1.9.4 ] || {
    printf 'skipped: the reference is made with Doxygen 1.9.4, and here is %s\n' "$version"
    exit 77
}
sh "$root/docs/reference/build.sh" "$root" "$scratch"
python3 "$root/docs/reference/check_links.py" "$scratch/html"

# What every member of the string is about stands in its own box.
page=$scratch/html/classQuorvane_1_1CString.html
boxes=$(grep -c '<div class="memdoc">' "$page")
empty=$(awk '/<div class="memdoc">/ { getline; if ($0 ~ /^[[:space:]]*$/) getline; if ($0 ~ /<\/div>/) ++count } END { print count + 0 }' "$page")
printf 'CString: %d boxes, %d empty\n' "$boxes" "$empty"
[ "$boxes" -ge 100 ] && [ "$empty" -eq 0 ]
