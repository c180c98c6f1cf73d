#!/bin/sh
# Rule: shell scripts are POSIX sh and shellcheck finds nothing in them.
# Reason: they run on machines that nobody here has seen.
. "$(dirname "$0")/common.inc"

project_files | while IFS= read -r file; do
    case $file in
        *.sh | scripts/*.inc | tests/rules/*.inc | tests/cross/*.inc | tests/support/compile.inc) printf '%s\n' "$file" ;;
        *) head -n 1 "$root/$file" | LC_ALL=C grep -q '^#! */.*sh' && printf '%s\n' "$file" ;;
    esac
done >"$scratch/list"

while IFS= read -r file; do
    case $file in
        *.inc) ;;
        *) head -n 1 "$root/$file" | grep -q -x '#!/bin/sh' || breach "$file: does not begin with #!/bin/sh" ;;
    esac
    sh -n "$root/$file" 2>"$scratch/errors" || breach "$file: $(head -n 1 "$scratch/errors")"
done <"$scratch/list"
[ ! -s "$breaches" ] || verdict

command -v shellcheck >/dev/null 2>&1 || skip 'shellcheck is missing'
while IFS= read -r file; do
    # SC1090, SC1091: files read with "." are checked on their own. SC2154: they set variables.
    (cd "$root" && shellcheck -s sh -f gcc -e SC1090,SC1091,SC2154 "$file")
done <"$scratch/list" >"$scratch/found"
cat "$scratch/found" >>"$breaches"
verdict
