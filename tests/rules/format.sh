#!/bin/sh
# Rule: sources are laid out as clang-format does with the project's settings; ./run format repairs.
# Reason: nobody spends a review on layout, and no change hides among moved blanks.
. "$(dirname "$0")/common.inc"

# Its results differ between versions; the settings are made for this one.
version=14
formatter=
for candidate in clang-format-$version clang-format; do
    if command -v "$candidate" >/dev/null 2>&1 &&
        "$candidate" --version | grep -q "version $version\\."; then
        formatter=$candidate
        break
    fi
done
[ -n "$formatter" ] || skip "clang-format $version is missing"

project_files | grep -E '^(Runtime|tests|examples|benchmarks)/.*\.(h|cpp)$|^Runtime/.*\.inc$' >"$scratch/list"
# The first complaint of each file is enough.
(
    cd "$root" || exit 2
    tr '\n' '\0' <"$scratch/list" | xargs -0 "$formatter" --style=file --dry-run -Werror
) >"$scratch/said" 2>&1
code=$?
LC_ALL=C awk -F: '/: (error|warning):/ && !seen[$1]++' "$scratch/said" >>"$breaches"
if [ $code -ne 0 ] && [ ! -s "$breaches" ]; then
    breach "$formatter answers $code: $(tail -n 1 "$scratch/said")"
fi
verdict
