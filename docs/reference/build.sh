#!/bin/sh
# Builds the reference of the public headers.
#
#   build.sh <project folder> <output folder>
#
# Writes <output folder>/html and <output folder>/said.txt. Every warning is an error, and so is a declaration without a
# comment. Takes the theme doxygen-awesome-css where it is installed.
set -u

root=$(cd "$1" && pwd) || exit 2
mkdir -p "$2" || exit 2
output=$(cd "$2" && pwd) || exit 2
theme=${QV_DOCS_THEME:-/usr/share/doxygen-awesome-css}
cd "$root" || exit 2

rm -rf "$output/html"
mkdir "$output/html" || exit 2

# The settings, with what depends on the machine.
settings()
{
    cat docs/Doxyfile
    printf 'OUTPUT_DIRECTORY = "%s"\n' "$output"
    [ -f "$theme/doxygen-awesome.css" ] || return 0
    (cd "$output" && doxygen -w html header.html footer.html style.css >/dev/null 2>&1) || return 1
    {
        sed '/<\/head>/,$d' "$output/header.html"
        for script in darkmode-toggle fragment-copy-button paragraph-link interactive-toc; do
            # What begins with a dollar sign is Doxygen's.
            # shellcheck disable=SC2016
            printf '<script type="text/javascript" src="$relpath^doxygen-awesome-%s.js"></script>\n' $script
        done
        cat <<'SCRIPT'
<script type="text/javascript">
    DoxygenAwesomeDarkModeToggle.init();
    DoxygenAwesomeFragmentCopyButton.init();
    DoxygenAwesomeParagraphLink.init();
    DoxygenAwesomeInteractiveToc.init();
</script>
SCRIPT
        sed -n '/<\/head>/,$p' "$output/header.html"
    } >"$output/themed_header.html"
    cat <<SETTINGS
HTML_HEADER = "$output/themed_header.html"
HTML_EXTRA_STYLESHEET = "$theme/doxygen-awesome.css" "$theme/doxygen-awesome-sidebar-only.css" \\
    "$theme/doxygen-awesome-sidebar-only-darkmode-toggle.css" docs/reference/style.css
HTML_EXTRA_FILES = "$theme/doxygen-awesome-darkmode-toggle.js" \\
    "$theme/doxygen-awesome-fragment-copy-button.js" "$theme/doxygen-awesome-paragraph-link.js" \\
    "$theme/doxygen-awesome-interactive-toc.js"
GENERATE_TREEVIEW = YES
SETTINGS
    # Later versions of Doxygen have dark colours of their own.
    doxygen -s -g - 2>/dev/null | sed -n 's/^HTML_COLORSTYLE .*/HTML_COLORSTYLE = LIGHT/p'
}

settings >"$output/Doxyfile" || exit 2
doxygen "$output/Doxyfile" >"$output/log.txt" 2>"$output/said.txt"
code=$?
rm -f "$output/header.html" "$output/footer.html" "$output/style.css" "$output/themed_header.html"
if [ $code -ne 0 ] || [ -s "$output/said.txt" ]; then
    printf '%s\n' "docs: doxygen answers $code, and says (lines of headers are those of docs/reference/headers.py):" >&2
    sort -u "$output/said.txt" >&2
    # Of other versions' warnings nobody knows here.
    [ $code -eq 0 ] && [ "$(doxygen --version | cut -d ' ' -f 1)" != 1.9.4 ] || exit 1
fi

# What pages link to that is no page, and the pictures they show.
cat "$output"/html/*.html | grep -o '\(href\|src\)="files/[^"#]*' | sed 's/^[a-z]*="files.//' | sort -u |
    while IFS= read -r file; do
        source=${file%.txt}
        [ -f "$source" ] || source=$file
        # A folder is shown as the list of what it holds.
        mkdir -p "$output/html/files/$(dirname "$file")"
        if [ -f "$source" ]; then
            cp "$source" "$output/html/files/$file"
        elif [ -d "$source" ]; then
            (cd "$source" && ls) >"$output/html/files/$file"
        fi
    done
python3 docs/reference/mend_navigation.py "$output/html"
