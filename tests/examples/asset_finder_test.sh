#!/bin/sh
# The catalogue's figures and what queries find, on folders and lists made here, and what becomes of bad input.
#   asset_finder_test.sh <program> <scratch folder>
# Prints a line for each check; exits 1 when one failed.
set -u

# Messages of the system in one language.
LC_ALL=C
export LC_ALL

program=$(cd "$(dirname "$1")" && pwd)/$(basename "$1") || exit 2
# A folder of its own within the scratch folder: an earlier run's leftovers decide nothing.
mkdir -p "$2" || exit 2
scratch=$(mktemp -d "$(cd "$2" && pwd)/run.XXXXXX") || exit 2
# Unreadable folders are made readable again, so that they can be removed.
trap 'chmod -R u+rwx "$scratch"; rm -rf "$scratch"' EXIT
trap 'exit 130' HUP INT TERM
chmod 755 "$scratch"

failed=0

pass()
{
    printf 'PASS  %s\n' "$1"
}

fail()
{
    printf 'FAIL  %s: %s\n' "$1" "$2"
    failed=$((failed + 1))
}

# check <what> <wanted> <got>
check()
{
    if [ "$2" = "$3" ]; then
        pass "$1"
    else
        fail "$1" "wanted \"$2\", got \"$3\""
    fi
}

# Runs the program; leaves $scratch/out, $scratch/err and $code.
catalogue()
{
    "$program" "$@" >"$scratch/out" 2>"$scratch/err"
    code=$?
}

# The figure of the report's line with that label, without its commas.
figure()
{
    sed -n "s/^  $1  *\([0-9][0-9.,]*\).*/\1/p" "$scratch/out" | tr -d ,
}

# What stands behind that figure.
note()
{
    sed -n "s/^  $1  *[0-9][0-9.,]*   //p" "$scratch/out"
}

complaints()
{
    cat "$scratch/err"
}

# ---- A tree of every kind ------------------------------------------------------------------------------------------

tree=$scratch/tree
mkdir -p "$tree/models/hulls" "$tree/textures" "$tree/a folder/with spaces"
: >"$tree/readme"
: >"$tree/models/readme"
: >"$tree/models/hulls/readme"
: >"$tree/textures/stone.png"
: >"$tree/a folder/with spaces/a file"
ln -s .. "$tree/models/up"
ln -s stone.png "$tree/textures/also stone.png"
ln -s nowhere "$tree/dead"
mkfifo "$tree/pipe"

catalogue "$tree"
check 'a tree: exit code' 0 "$code"
check 'a tree: nothing on stderr' '' "$(complaints)"
check 'a tree: the folder is named' "$tree" "$(head -n 1 "$scratch/out")"
check 'a tree: files' 5 "$(figure files)"
check 'a tree: folders' 6 "$(figure folders)"
check 'a tree: links are left alone' 3 "$(figure links)"
check 'a tree: a pipe is something other' 1 "$(figure other)"
check 'a tree: unreadable' 0 "$(figure unreadable)"
longest="$tree/a folder/with spaces/a file"
check 'a tree: longest path' "$longest" "$(note 'longest path')"
check 'a tree: its length' "${#longest}" "$(figure 'longest path')"

# Handles: 6 folders, 2 for each of 5 files, the longest path. Containers: 6 folders, 3 names, the longest path.
check 'a tree: handles' 17 "$(figure handles)"
check 'a tree: containers' 10 "$(figure containers)"

# A container takes its characters and the terminator, rounded up to 16, and 32 bytes; a handle takes 8.
container()
{
    echo $(((${#1} + 16) / 16 * 16 + 32))
}
shared=$(($(container readme) + $(container stone.png) + $(container 'a file') + $(container "$longest")))
unshared=$((3 * $(container readme) + $(container stone.png) + $(container 'a file') + $(container "$longest")))
for folder in '' '/models' '/models/hulls' '/textures' '/a folder' '/a folder/with spaces'; do
    shared=$((shared + $(container "$tree$folder")))
    unshared=$((unshared + $(container "$tree$folder")))
done
# Every folder but "a folder" holds one file, and that file a handle on the folder's path.
for folder in '' '/models' '/models/hulls' '/textures' '/a folder/with spaces'; do
    unshared=$((unshared + $(container "$tree$folder")))
done
check 'a tree: bytes held' $((shared + 17 * 8)) "$(figure 'bytes held')"
check 'a tree: bytes without sharing' $((unshared + 17 * 8)) "$(figure 'without sharing')"

sed '/^  time /d' "$scratch/out" >"$scratch/first"
catalogue --no-progress "$tree"
sed '/^  time /d' "$scratch/out" >"$scratch/second"
check 'a tree: the same report again' '' "$(diff "$scratch/first" "$scratch/second")"

catalogue "$tree///"
check 'slashes at the end: longest path' "$longest" "$(note 'longest path')"

catalogue --follow-links "$tree"
check 'links followed: exit code' 0 "$code"
check 'links followed: a file behind one counts' 6 "$(figure files)"
check 'links followed: each folder once, a loop included' 6 "$(figure folders)"
check 'links followed: none left' 0 "$(figure links)"

(cd "$tree" && "$program" . >"$scratch/out" 2>&1)
check 'a relative folder: longest path' './a folder/with spaces/a file' "$(note 'longest path')"

# ---- Extremes ------------------------------------------------------------------------------------------------------

mkdir "$scratch/empty"
catalogue "$scratch/empty"
check 'an empty folder: exit code' 0 "$code"
check 'an empty folder: files' 0 "$(figure files)"
check 'an empty folder: folders' 1 "$(figure folders)"
check 'an empty folder: longest path' "$scratch/empty" "$(note 'longest path')"

# Folders are walked in order, so the first of several longest paths is always the same.
mkdir -p "$scratch/order/b" "$scratch/order/a" "$scratch/order/c"
: >"$scratch/order/c/file"
: >"$scratch/order/a/file"
: >"$scratch/order/b/file"
catalogue "$scratch/order"
check 'several longest paths: the first' "$scratch/order/a/file" "$(note 'longest path')"

long=$(printf '%0255d' 0)
mkdir "$scratch/long"
if : 2>/dev/null >"$scratch/long/$long"; then
    catalogue "$scratch/long"
    check 'a name of 255 characters' "$scratch/long/$long" "$(note 'longest path')"
else
    printf 'SKIP  a name of 255 characters: not on this file system\n'
fi

mkdir "$scratch/backslash"
: >"$scratch/backslash/plain"
: >"$scratch/backslash/back\\slash"
mkdir "$scratch/backslash/sub\\folder"
: >"$scratch/backslash/sub\\folder/the longest of all"
catalogue "$scratch/backslash"
check 'backslashes: exit code' 0 "$code"
check 'backslashes: nothing on stderr' '' "$(complaints)"
check 'backslashes: files' 3 "$(figure files)"
check 'backslashes: folders' 2 "$(figure folders)"
check 'backslashes: in a path' "$scratch/backslash/sub\\folder/the longest of all" "$(note 'longest path')"
catalogue "$scratch/backslash" --query 'back\slash' --top 1
check 'backslashes: in a name' "  1.000  [back\\slash]  $scratch/backslash/back\\slash" "$(sed -n 2p "$scratch/out")"

catalogue "$scratch/backslash/sub\\folder//"
check 'a folder with a backslash as the argument' 0 "$code"
check 'a folder with a backslash as the argument: its path' "$scratch/backslash/sub\\folder/the longest of all" \
    "$(note 'longest path')"

mkdir "$scratch/control"
: >"$scratch/control/$(printf 'two\nlines')"
catalogue "$scratch/control"
check 'a name of two lines is printed on one' "$scratch/control/two?lines" "$(note 'longest path')"

# ---- A folder that cannot be read ------------------------------------------------------------------------------------

# Nothing is unreadable for root, so root checks this as somebody else, where that is possible.
as_nobody()
{
    if [ "$(id -u)" -ne 0 ]; then
        "$@"
    elif command -v setpriv >/dev/null 2>&1; then
        setpriv --reuid=65534 --regid=65534 --clear-groups "$@"
    else
        # Arguments of sh -c, quoted by nobody but sh.
        # shellcheck disable=SC2016
        su nobody -s /bin/sh -c '"$0" "$@"' -- "$@"
    fi
}

mkdir -p "$scratch/locked/closed" "$scratch/locked/open"
: >"$scratch/locked/closed/unseen"
: >"$scratch/locked/open/seen"
chmod 000 "$scratch/locked/closed"
if ! as_nobody "$program" --help >/dev/null 2>&1 || ! as_nobody test -r "$scratch/locked/open" 2>/dev/null; then
    printf 'SKIP  an unreadable folder: cannot run as a user without privileges here\n'
elif as_nobody test -r "$scratch/locked/closed" 2>/dev/null; then
    printf 'SKIP  an unreadable folder: no folder can be closed here\n'
else
    as_nobody "$program" "$scratch/locked" >"$scratch/out" 2>"$scratch/err"
    check 'an unreadable folder: exit code' 0 "$?"
    check 'an unreadable folder: counted' 1 "$(figure unreadable)"
    check 'an unreadable folder: reported' "asset_finder: skipped $scratch/locked/closed: Permission denied" \
        "$(complaints)"
    check 'an unreadable folder: the other files' 1 "$(figure files)"
    check 'an unreadable folder: the other folders' 2 "$(figure folders)"

    as_nobody "$program" "$scratch/locked/closed" --query seen >"$scratch/out" 2>"$scratch/err"
    check 'an unreadable folder as the argument: exit code' 2 "$?"
    check 'an unreadable folder as the argument: message' \
        "asset_finder: \"$scratch/locked/closed\": Permission denied" "$(complaints)"
    check 'an unreadable folder as the argument: no results' '' "$(cat "$scratch/out")"
fi

# ---- Rules ---------------------------------------------------------------------------------------------------------

# Runs the program on a folder with the rules that stand on standard input, given to it as "rules.txt".
with_rules()
{
    cat >"$scratch/rules.txt"
    (cd "$scratch" && exec "$program" --rules rules.txt "$@") >"$scratch/out" 2>"$scratch/err"
    code=$?
}

# check_figures <what> <files> <rules> <mistakes> <excluded> <renamed> <recased>
check_figures()
{
    got="$(figure files) files, $(figure rules) rules, $(figure mistakes) mistakes"
    got="$got, $(figure excluded) excluded, $(figure renamed) renamed, $(figure recased) recased"
    check "$1" "$2 files, $3 rules, $4 mistakes, $5 excluded, $6 renamed, $7 recased" "$got"
}

# check_name <what> <name>: the catalogue's only file, in a folder of its own, has that name.
check_name()
{
    check "$1" "only/$2" "$(note 'longest path')"
}

# Makes "only", a folder with a single file.
only()
{
    rm -rf "$scratch/only"
    mkdir "$scratch/only"
    : >"$scratch/only/$1"
}

assets=$scratch/assets
mkdir -p "$assets/tex_folder" "$assets/b"
for name in tex_stone.png TEX_WOOD.PNG tex_stone.png.bak hull.mesh README; do
    : >"$assets/$name"
done
: >"$assets/tex_folder/hull.mesh"
: >"$assets/b/tex_stone.png"

catalogue "$assets"
check 'without rules: files' 7 "$(figure files)"
for label in rules mistakes excluded renamed recased; do
    check "without rules: no line for $label" '' "$(figure $label)"
done

with_rules assets </dev/null
check 'no rule in the file: exit code' 0 "$code"
check 'no rule in the file: nothing on stderr' '' "$(complaints)"
check_figures 'no rule in the file' 7 0 0 0 0 0
check 'the rules file is named' 'from rules.txt' "$(note rules)"

echo 'include prefix tex_' | with_rules assets
check_figures 'include prefix: the name counts, not the folder' 3 1 0 4 0 0
echo 'include prefix tex_ nocase' | with_rules assets
check_figures 'include prefix nocase' 4 1 0 3 0 0
echo 'include suffix .png' | with_rules assets
check_figures 'include suffix' 2 1 0 5 0 0
echo 'include suffix .png nocase' | with_rules assets
check_figures 'include suffix nocase' 3 1 0 4 0 0
echo 'exclude prefix tex_' | with_rules assets
check_figures 'exclude prefix' 4 1 0 3 0 0
echo 'exclude prefix tex_ nocase' | with_rules assets
check_figures 'exclude prefix nocase' 3 1 0 4 0 0
echo 'exclude suffix .png' | with_rules assets
check_figures 'exclude suffix' 5 1 0 2 0 0
echo 'exclude suffix .png nocase' | with_rules assets
check_figures 'exclude suffix nocase' 4 1 0 3 0 0
echo 'exclude suffix tex_' | with_rules assets
check_figures 'a prefix is no suffix' 7 1 0 0 0 0
echo 'include prefix README.and.more' | with_rules assets
check_figures 'a text longer than every name' 0 1 0 7 0 0

with_rules assets <<'END'
exclude suffix .bak
include prefix tex_
include suffix .mesh
exclude prefix hull
END
check_figures 'one include is enough, no exclude may match, in any order' 2 4 0 5 0 0

only nocase
echo 'exclude suffix nocase' | with_rules only
check_figures 'a text that reads like the option' 0 1 0 1 0 0

only a-b-c
echo 'rename - __' | with_rules only
check_name 'rename: every occurrence' a__b__c
check_figures 'rename: counted once for a name' 1 1 0 0 1 0
echo 'rename "-" ""' | with_rules only
check_name 'rename: to nothing' abc
echo 'rename -b- -' | with_rules only
check_name 'rename: shorter' a-c
printf 'rename a x\nrename x-b y\nrename a z\n' | with_rules only
check_name 'rename: in the order of the file' y-c
echo 'rename B x' | with_rules only
check_figures 'rename: case counts' 1 1 0 0 0 0
echo 'rename b b' | with_rules only
check_figures 'rename: to the same' 1 1 0 0 0 0
printf 'rename b x\nrename x b\n' | with_rules only
check_figures 'rename: there and back' 1 2 0 0 0 0
echo 'rename a-b-c ""' | with_rules only
check_name 'rename: a name that nothing would be left of' a-b-c
check_figures 'rename: such a name is not counted' 1 1 0 0 0 0
printf 'rename c D\nexclude suffix D\n' | with_rules only
check_name 'includes and excludes see the name on disk' a-b-D

only Hull.mesh
echo 'casing lower' | with_rules only
check_name 'casing lower' hull.mesh
check_figures 'casing lower: counted' 1 1 0 0 0 1
echo 'casing upper' | with_rules only
check_name 'casing upper' HULL.MESH
echo 'casing mixed' | with_rules only
check_name 'casing mixed' Hull.mesh
check_figures 'casing mixed: changes nothing' 1 1 0 0 0 0
printf 'casing upper\nrename u O\nrename U X\n' | with_rules only
check_name 'renaming comes before casing, wherever it stands' HOLL.MESH
check_figures 'a name both renamed and recased' 1 3 0 0 1 1
printf 'casing upper\ncasing lower\ncasing mixed\n' | with_rules only
check_name 'casing: the last one that changes letters holds' hull.mesh

# Letters of other alphabets are bytes like any other; these are an A and an a with two dots.
only "$(printf '\303\204.PNG')"
printf 'include prefix \303\244 nocase\n' | with_rules only
check_figures 'nocase knows ASCII letters only' 0 1 0 1 0 0
printf 'include prefix \303\204\nrename \303\204 a\n' | with_rules only
check_name 'texts may hold any byte' a.PNG

# ---- Rules and sharing

# Three of readme, one of README.
pool=$scratch/pool
mkdir -p "$pool/1" "$pool/2" "$pool/3"
: >"$pool/1/readme"
: >"$pool/2/readme"
: >"$pool/3/readme"
: >"$pool/3/README"

# Containers: 4 folders, the names, the longest path.
printf 'casing mixed\nrename x y\n' | with_rules pool
check 'unchanged names stay shared' 7 "$(figure containers)"
echo 'casing lower' | with_rules pool
check 'a name that becomes equal to another is shared with it' 6 "$(figure containers)"
check_figures 'of these, one is recased' 4 1 0 0 0 1
echo 'rename readme news' | with_rules pool
check 'changed names are shared with one another' 7 "$(figure containers)"
check_figures 'of these, three are renamed' 4 1 0 0 3 0
printf 'rename readme x\nrename x readme\ncasing lower\n' | with_rules pool
check 'a name changed there and back is shared with the others' 6 "$(figure containers)"

# ---- How a rules file is read

only 'a b'
echo 'exclude suffix "a b"' | with_rules only
check_figures 'quotes: a blank' 0 1 0 1 0 0
printf '\t  exclude\t "prefix"   "a "\t\n' | with_rules only
check_figures 'blanks around words, quotes where none are needed' 0 1 0 1 0 0

only 'say "it'"'"'s"'
with_rules only <<'END'
exclude suffix "it's\""
END
check_figures 'escapes: \" and a plain apostrophe' 0 1 0 1 0 0
with_rules only <<'END'
exclude suffix "it\'s\""
END
check_figures "escapes: \\'" 0 1 0 1 0 0
only "$(printf 'a\tb')"
with_rules only <<'END'
exclude prefix "a\tb"
END
check_figures 'escapes: \t' 0 1 0 1 0 0
with_rules only <<'END'
exclude prefix a\tb
END
check_figures 'escapes: \t without quotes' 0 1 0 1 0 0
with_rules only <<'END'
exclude prefix "a\\tb"
END
check_figures 'escapes: \\ is a backslash, not the start of \t' 1 1 0 0 0 0
only 'ab'
with_rules only <<'END'
rename "b\\" "c" // the quote behind the two backslashes closes
END
check 'escapes: \\ before the closing quote' '1 rules, 0 mistakes' "$(figure rules) rules, $(figure mistakes) mistakes"
only 'aqb'
with_rules only <<'END'
exclude suffix "\qb"
END
check_figures 'escapes: an unknown one stays as it is' 1 1 0 0 0 0

only ab
echo 'exclude /* in the middle */ prefix/**/a // and at the end' | with_rules only
check_figures 'comments in a line' 0 1 0 1 0 0
with_rules only <<'END'
// exclude prefix a
/* exclude prefix a
   exclude prefix a // */ exclude suffix x
END
check_figures 'rules in comments' 1 1 0 0 0 0
with_rules only <<'END'
// carried on by a backslash \
exclude prefix a
exclude suffix x
END
check_figures 'a comment that a backslash carries on' 1 1 0 0 0 0
with_rules only <<'END'
// don't: an apostrophe in a comment hides nothing
exclude prefix a // "
END
check_figures 'quotes in comments' 0 1 0 1 0 0
with_rules only <<'END'
rename "b" "* not /" // a comment
rename b "/* not // a comment */"
rename b "c" /* "//" */
END
check_figures 'comment signs in quotes' 1 1 2 0 1 0
check 'comment signs in quotes: part of the text' \
    'asset_finder: rules.txt:1: a slash is in no name: "* not /"
asset_finder: rules.txt:2: a slash is in no name: "/* not // a comment */"' "$(complaints)"

only ab
printf 'exclude suffix x\r\nexclude\tprefix "a"\r\n\r\n// c\r\nrenam\r\n' | with_rules only
check_figures 'CRLF line ends' 0 2 1 1 0 0
check 'CRLF line ends: numbers' 'asset_finder: rules.txt:5: unknown rule "renam"' "$(complaints)"
printf 'exclude suffix x\rwrong\rexclude prefix a // c\r' | with_rules only
check_figures 'CR line ends' 0 2 1 1 0 0
check 'CR line ends: numbers' 'asset_finder: rules.txt:2: unknown rule "wrong"' "$(complaints)"
printf '\357\273\277exclude prefix a' | with_rules only
check_figures 'a byte order mark, and no newline at the end' 0 1 0 1 0 0

# Longer than what is read at once.
{
    printf '/*%09000d*/\n' 0
    printf 'exclude prefix a // %09000d\nwrong\n' 0
} | with_rules only
check_figures 'a long file' 0 1 1 1 0 0
check 'a long file: numbers' 'asset_finder: rules.txt:3: unknown rule "wrong"' "$(complaints)"

# ---- Mistakes in rules

only ab
with_rules only <<'END'
/* The numbers
   count
   these, too. */
inculde prefix a
Exclude prefix a
exclude
exclude prefix
exclude prefix a nocase nocase
exclude infix a
exclude prefix a nocse
exclude prefix ""
exclude prefix a/ /* one more
   comment */
exclude prefix "a
exclude prefix "a\"
exclude prefix "a"b
exclude prefix don't // so
exclude prefix a"b
rename
rename a
rename a b c
rename "" b
rename a/b b
rename b "c/d"
casing
casing Lower
casing lower upper
"" prefix a
rename b c
END
check 'mistakes: exit code' 0 "$code"
check_figures 'mistakes: the other rules hold' 1 1 24 0 1 0
check_name 'mistakes: the other rules are applied' ac
wanted_test='wanted: exclude prefix|suffix TEXT [nocase]'
check 'mistakes: reported with their lines' "asset_finder: rules.txt:4: unknown rule \"inculde\"
asset_finder: rules.txt:5: unknown rule \"Exclude\"
asset_finder: rules.txt:6: $wanted_test
asset_finder: rules.txt:7: $wanted_test
asset_finder: rules.txt:8: $wanted_test
asset_finder: rules.txt:9: neither prefix nor suffix: \"infix\"
asset_finder: rules.txt:10: unknown option \"nocse\"
asset_finder: rules.txt:11: an empty text is in every name
asset_finder: rules.txt:12: a slash is in no name: \"a/\"
asset_finder: rules.txt:14: a quote is not closed
asset_finder: rules.txt:15: a quote is not closed
asset_finder: rules.txt:16: no blank behind a closing quote
asset_finder: rules.txt:17: a quote in a word without quotes around it: \"don't\"
asset_finder: rules.txt:18: a quote in a word without quotes around it: \"a\"b\"
asset_finder: rules.txt:19: wanted: rename FROM TO
asset_finder: rules.txt:20: wanted: rename FROM TO
asset_finder: rules.txt:21: wanted: rename FROM TO
asset_finder: rules.txt:22: an empty text is in every name
asset_finder: rules.txt:23: a slash is in no name: \"a/b\"
asset_finder: rules.txt:24: a slash is in no name: \"c/d\"
asset_finder: rules.txt:25: wanted: casing lower|upper|mixed
asset_finder: rules.txt:26: unknown casing \"Lower\"
asset_finder: rules.txt:27: wanted: casing lower|upper|mixed
asset_finder: rules.txt:28: unknown rule \"\"" "$(complaints)"

echo 'include prefx x' | with_rules only
check 'mistakes: an include with one is no include' \
    'asset_finder: rules.txt:1: neither prefix nor suffix: "prefx"' "$(complaints)"
check_figures 'mistakes: it excludes nothing' 1 0 1 0 0 0

printf 'exclude suffix x\n\n/* open\nexclude prefix a\n' | with_rules only
check 'a comment that is not closed' 'asset_finder: rules.txt:4: the file ends inside a comment' "$(complaints)"
check_figures 'a comment that is not closed: the rules before it' 1 1 1 0 0 0
printf 'exclude suffix x // closed \134' | with_rules only
check 'a line comment with a backslash at the very end' '' "$(complaints)"
printf '"\\a" x\n' | with_rules only
check 'mistakes: an unescaped control character is shown as a mark' 'asset_finder: rules.txt:1: unknown rule "?"' "$(complaints)"
printf 'a\tb\033[31m\n' | tr '\t' '\001' | with_rules only
check 'mistakes: control characters are shown as marks' 'asset_finder: rules.txt:1: unknown rule "a?b?[31m"' "$(complaints)"

# ---- Rules files that cannot be read

catalogue --rules "$scratch/missing.txt" "$tree"
check 'a missing rules file: exit code' 2 "$code"
check 'a missing rules file: message' \
    "asset_finder: rules file \"$scratch/missing.txt\": No such file or directory" "$(complaints)"
check 'a missing rules file: no report' '' "$(cat "$scratch/out")"

catalogue --rules '' "$tree"
check 'an empty name for a rules file: exit code' 2 "$code"

catalogue --rules "$tree" "$tree"
check 'a folder for a rules file: exit code' 2 "$code"
check 'a folder for a rules file: message' "asset_finder: rules file \"$tree\": Is a directory" "$(complaints)"

printf 'exclude prefix a\n\0' | with_rules only
check 'a rules file that is no text: exit code' 2 "$code"
check 'a rules file that is no text: message' 'asset_finder: rules file "rules.txt": is not a text file' \
    "$(complaints)"

awk 'BEGIN { for (i = 0; i < 300000; ++i) print "// a line of a file that is longer than any file of rules has to be" }' |
    with_rules only
check 'a rules file without measure: exit code' 2 "$code"
check 'a rules file without measure: message' 'asset_finder: rules file "rules.txt": is too large' "$(complaints)"

catalogue --rules
check 'no rules file behind --rules: exit code' 2 "$code"

# ---- The rules that come with the program

examples=$(cd "$(dirname "$0")/../../examples/asset_finder" && pwd)
game=$scratch/game
mkdir -p "$game/hidden.png"
for name in stone.png 'Stone Wall - 2.PNG' sky%20box.jpg photo.jpeg PHOTO.JPEG hull.mesh sans.ttf LICENSE.txt \
    notes.txt .cache.png 'copy OF stone.png' 'a (the "b").png' 'License'; do
    : >"$game/$name"
done
catalogue --rules "$examples/example_rules.txt" "$game"
check 'the example rules: exit code' 0 "$code"
check 'the example rules: nothing on stderr' '' "$(complaints)"
# Left out: notes.txt, License, .cache.png, the copy, and the name that ends in ").png.
# Renamed: the wall, the sky box, photo.jpeg. Recased: the wall, PHOTO.JPEG, LICENSE.txt.
check_figures 'the example rules' 8 14 0 5 3 3
only 'Stone Wall - 2%20.Jpeg'
(cd "$scratch" && exec "$program" --rules "$examples/example_rules.txt" only) >"$scratch/out" 2>"$scratch/err"
check_name 'the example rules: what becomes of a name' 'stone_wall-2_.jpeg'

# ---- Queries -------------------------------------------------------------------------------------------------------

found=$scratch/found
mkdir -p "$found/models/old" "$found/textures"
for name in textures/stone.png textures/Stone.png textures/stone_wall.png models/hull.mesh models/old/hull.mesh \
    models/engine.mesh; do
    : >"$found/$name"
done

# What the program left with. In a file: what runs behind a pipe has variables of its own.
exit_code()
{
    cat "$scratch/code"
}

# Runs the program on that folder.
find_there()
{
    (cd "$scratch" && exec "$program" found "$@") >"$scratch/out" 2>"$scratch/err" </dev/null
    echo $? >"$scratch/code"
}

# check_output <what> <wanted>: all of standard output; nothing on stderr, and success.
check_output()
{
    check "$1" "$2" "$(cat "$scratch/out")"
    check "$1: exit code, complaints" '0, ' "$(exit_code), $(complaints)"
}

# A weight is what the edit distance leaves of the sum of both lengths, where two letters that changed places are a
# distance of 2: 16/18, 15/18 (S is another letter than s), 16/23.
find_there --query stnoe.png --tolerance 0.65
check_output 'a query' '"stnoe.png": the best 3 of 5 names
  0.889  [st]on[e.png]         found/textures/stone.png
  0.833  S[t]on[e.png]         found/textures/Stone.png
  0.696  [st]o[n]e_wall[.png]  found/textures/stone_wall.png'

find_there --query hull.mesh --tolerance 1
check_output 'equal names: one line, with the first path and how many more there are' '"hull.mesh": the best 1 of 5 names
  1.000  [hull.mesh]  found/models/hull.mesh and 1 more'

find_there --query hull.mesh --query engin --top 1
check_output 'several queries, in their order' '"hull.mesh": the best 1 of 5 names
  1.000  [hull.mesh]  found/models/hull.mesh and 1 more
"engin": the best 1 of 5 names
  0.625  [engin]e.mesh  found/models/engine.mesh'

find_there --query STNOE.PNG --tolerance 0.9
check_output 'case counts' '"STNOE.PNG": nothing at 0.90 or more among 5 names'
find_there --query STNOE.PNG --tolerance 0.85 --ignore-case
check_output '--ignore-case' '"STNOE.PNG": the best 2 of 5 names
  0.889  [St]on[e.png]  found/textures/Stone.png
  0.889  [st]on[e.png]  found/textures/stone.png'

find_there --query hull.mesh --tolerance 0
check '--tolerance 0: every name, and the heading' 6 "$(wc -l <"$scratch/out" | tr -d ' ')"
find_there --query hull.mesh --tolerance 0 --top 4
check '--top: so many' 5 "$(wc -l <"$scratch/out" | tr -d ' ')"
mkdir "$scratch/many"
for number in 01 02 03 04 05 06 07 08 09 10 11 12; do
    : >"$scratch/many/file$number"
done
(cd "$scratch" && "$program" many --query file) >"$scratch/out" 2>"$scratch/err"
check '--top: 10 if nothing is said' 11 "$(wc -l <"$scratch/out" | tr -d ' ')"
check '--top: equal weights in the order of the catalogue' 'file]10  many/file10' \
    "$(sed -n '$s/.*\[//p' "$scratch/out")"

find_there --query hull.mesh --top 1 --time
sed 's/[0-9]*\.[0-9]* \(ms\|s\)\>/# \1/g' "$scratch/out" >"$scratch/timed"
check '--time' '6 files of found catalogued in # s, 5 names gathered in # s
"hull.mesh": the best 1 of 5 names, ranked in # ms
  1.000  [hull.mesh]  found/models/hull.mesh and 1 more' "$(cat "$scratch/timed")"
find_there --query hull.mesh --top 1 --time --ignore-case
check '--time: casing the names' 1 \
    "$(grep -c '^6 files of found .*, 5 names gathered and lower-cased in [0-9.]* s$' "$scratch/out")"

find_there --query hull.mesh --top 1 --report
check '--report: the figures first' "found,6,  1.000  [hull.mesh]  found/models/hull.mesh and 1 more" \
    "$(head -n 1 "$scratch/out"),$(figure files),$(tail -n 1 "$scratch/out")"
find_there --report
check '--report: alone' 6 "$(figure files)"

find_there --query stone.png --rules "$examples/example_rules.txt" --tolerance 0.9
check_output 'rules: queries see the names that they give' '"stone.png": the best 1 of 4 names
  1.000  [stone.png]  found/textures/stone.png and 1 more'

(cd "$scratch" && "$program" empty --query x) >"$scratch/out" 2>"$scratch/err"
check 'a query to an empty folder' '"x": nothing at 0.60 or more among 0 names' "$(cat "$scratch/out")"

# A query is no pattern and no list, and may begin with a dash.
printf '[a,b]\n-x-y\n' | "$program" - --query '[a,b]' --query=-x-y --top 1 >"$scratch/out" 2>"$scratch/err"
check 'queries with signs' '"[a,b]": the best 1 of 2 names
  1.000  [[a,b]]  [a,b]
"-x-y": the best 1 of 2 names
  1.000  [-x-y]  -x-y' "$(cat "$scratch/out")"

# An a and an o with two dots begin with the same byte: no character is marked in half, columns go by characters.
printf 'b\303\244r.png\nbar.png\n' | "$program" - --query "$(printf 'b\303\266r.png')" >"$scratch/out" 2>&1
check 'characters of several bytes stay whole' "$(printf '[b]\303\244[r.png]  b\303\244r.png\n[b]a[r.png]  bar.png')" \
    "$(sed -n 's/^  0\.[0-9]*  //p' "$scratch/out")"

printf 'bad\033[31mname\n' | "$program" - --query "$(printf 'bad\033[31mname')" >"$scratch/out" 2>&1
check 'control characters are shown as marks' '"bad?[31mname": the best 1 of 1 names
  1.000  [bad?[31mname]  bad?[31mname' "$(cat "$scratch/out")"

long_name=$(printf '%0300d' 7)
printf '%s\nx/%s\n' "$long_name" "$long_name" | "$program" - --query "$long_name" --top 1 >"$scratch/out" 2>&1
check 'names and queries of 300 characters' "  1.000  [$long_name]  $long_name and 1 more" "$(tail -n 1 "$scratch/out")"

# ---- Patterns ------------------------------------------------------------------------------------------------------

# check_kept <what> <files> <arguments...>
check_kept()
{
    what=$1
    wanted=$2
    shift 2
    find_there "$@"
    check "$what" "$wanted, $((6 - wanted)) left out, 0" \
        "$(figure files), $(figure 'left out') left out, $(exit_code)"
}

find_there
check 'without patterns: no line for left out' '' "$(figure 'left out')"
check_kept '--include: the name' 3 --include '*.mesh'
check_kept '--include: several' 4 --include '*.mesh' --include '*_wall*'
check_kept '--include: the whole of it' 0 --include 'hull'
check_kept '--include: ? is one character' 2 --include '?tone.png'
check_kept '--include: case counts' 1 --include 'S*'
check_kept '--include: --ignore-case' 3 --include 'S*' --ignore-case
check_kept '--include: no folder without a slash' 0 --include 'models*'
check_kept '--include: a slash asks for the path' 3 --include 'found/models/*'
check_kept '--include: stars pass over slashes' 1 --include '*/old/*'
check_kept '--include: the whole path' 0 --include 'models/*'
check_kept '--exclude: the name' 3 --exclude '*.png'
check_kept '--exclude: the path' 5 --exclude '*/old/*'
check_kept '--exclude: several' 2 --exclude '*.png' --exclude '*/old/*'
check_kept '--exclude: wins over an include' 2 --include '*.mesh' --exclude 'engine*'
check_kept 'a backslash: a literal star' 0 --include '\*.mesh'
check_kept 'a backslash: a literal letter' 2 --include '\hull.mesh'
check_kept 'a backslash: a literal slash asks for the path' 1 --include '*\/old\/*'
# Backslashes before a closing quote are meant.
# shellcheck disable=SC1003
check_kept 'a backslash: a literal one at the end' 0 --include 'hull\\'
check_kept 'brackets and commas are plain characters' 0 --include '[a,b]' --include '*,*'
find_there --query hull.mesh --exclude '*/old/*' --tolerance 0.9
check_output 'patterns and a query' '"hull.mesh": the best 1 of 5 names
  1.000  [hull.mesh]  found/models/hull.mesh'
find_there --include '*.png' --rules "$examples/example_rules.txt"
check 'patterns come before rules' '3 left out, 0 excluded' "$(figure 'left out') left out, $(figure excluded) excluded"

# ---- Standard input ------------------------------------------------------------------------------------------------

# Runs the program on the lines of standard input.
list()
{
    "$program" - "$@" >"$scratch/out" 2>"$scratch/err"
    echo $? >"$scratch/code"
}

printf 'a/stone.png\n/b/c/hull.mesh\n\nplain\n' | list --query stone.pgn --query plian --top 1
check_output 'lines: queries' '"stone.pgn": the best 1 of 3 names
  0.889  [stone.p]ng  a/stone.png
"plian": the best 1 of 3 names
  0.800  [pl]ai[n]  plain'

printf 'a/x\na/y\nb/x\nz\n/top\n' | list
check 'lines: exit code' 0 "$(exit_code)"
check 'lines: the report' 'standard input' "$(head -n 1 "$scratch/out")"
check 'lines: files and folders' '5 files, 3 folders' "$(figure files) files, $(figure folders) folders"
# Handles: 3 folders, 2 for each of 5 files, the longest path. Containers: 3 folders, 4 names, the longest path.
check 'lines: folders and names are shared' '14 handles, 8 containers' \
    "$(figure handles) handles, $(figure containers) containers"
printf '/top\n//x//y\n' | list --query top --query y --top 1
check 'lines: slashes' '/top //x/y' "$(sed -n 's/^  1.*  //p' "$scratch/out" | tr '\n' ' ' | sed 's/ $//')"
printf 'a/x\r\nlast' | list --query x --query last --tolerance 1
check_output 'lines: CRLF, and no newline at the end' '"x": the best 1 of 2 names
  1.000  [x]  a/x
"last": the best 1 of 2 names
  1.000  [last]  last'

printf 'a/x\na/x\n' | list
check 'lines: one given twice counts twice' 2 "$(figure files)"
list </dev/null
check 'no lines: exit code' 0 "$(exit_code)"
check 'no lines: files' 0 "$(figure files)"
printf 'x.c\nx.h\nd/y.h\n' | list --include '*.h' --exclude 'd/*'
check 'lines: patterns' '1 files, 2 left out' "$(figure files) files, $(figure 'left out') left out"
echo 'casing lower' >"$scratch/rules.txt"
printf 'One\none\n' | list --rules "$scratch/rules.txt"
check 'lines: rules' '2 files, 1 recased' "$(figure files) files, $(figure recased) recased"

{
    printf 'good\nfolder/\nback\\slash\nnul\000in it\nlong'
    printf '%09000d\n' 0
    printf 'good too\n'
} | list
check 'lines that are no paths: exit code' 0 "$(exit_code)"
check 'lines that are no paths: the others count' 3 "$(figure files)"
check 'lines that are no paths: counted' 3 "$(figure other)"
check 'lines that are no paths: reported' "asset_finder: skipped nul?in it: a NUL in the line
asset_finder: skipped long$(printf '%056d' 0)...: longer than any path" "$(complaints)"
longest_line=$(printf '%04095d' 0)
printf '%s\n%s0\n' "$longest_line" "$longest_line" | list
check 'the longest line' '1 files, 1 other' "$(figure files) files, $(figure other) other"

list <&-
check 'standard input is closed: exit code' 2 "$(exit_code)"
check 'standard input is closed: message' 'asset_finder: standard input: Bad file descriptor' "$(complaints)"
list <"$tree"
check 'standard input is a folder: exit code' 2 "$(exit_code)"
check 'standard input is a folder: message' 'asset_finder: standard input: Is a directory' "$(complaints)"
check 'standard input is a folder: no report' '' "$(cat "$scratch/out")"

# ---- Bad values of options -------------------------------------------------------------------------------------------

# check_refused <message> <arguments...>
check_refused()
{
    wanted=$1
    shift
    find_there "$@"
    check "refused: $*" "2, asset_finder: $wanted, " "$(exit_code), $(complaints), $(cat "$scratch/out")"
}

# shellcheck disable=SC1003
for pattern in --include --exclude; do
    check_refused "$pattern \"\": an empty pattern matches no file" "$pattern" ''
    check_refused "$pattern \"a\\\": a backslash at the end makes nothing literal" "$pattern" 'a\'
    check_refused "$pattern \"a/b\\\\\\\": a backslash at the end makes nothing literal" "$pattern" 'a/b\\\'
    check_refused "$pattern \"\": an empty pattern matches no file" "$pattern" 'good' "$pattern" ''
done
check_refused '--query "": an empty query finds nothing' --query ''
for number in 0 -1 +1 1.5 1e3 3x ' 3' ten 1000001 99999999999999999999999; do
    check_refused "--top \"$number\": wanted a whole number from 1 to 1000000" --top "$number"
done
for number in -0.1 1.1 nan inf 1e9 0.5x half ' '; do
    check_refused "--tolerance \"$number\": wanted a number from 0 to 1" --tolerance "$number"
done
for option in --query --include --exclude --top --tolerance; do
    find_there "$option"
    check "$option without a value" 2 "$(exit_code)"
done
# An option takes one value at a time: what follows is a folder too many.
find_there --query one two
check 'a query of two words without quotes' 2 "$(exit_code)"

# ---- At a terminal ---------------------------------------------------------------------------------------------------

# at_terminal <terminal> <command line>: types the lines of standard input, then waits for it to end.
at_terminal()
{
    {
        cat
        sleep 1
        printf '\004'
        sleep 1
    } | TERM=$1 script -qec "$2" /dev/null >"$scratch/raw" 2>&1
    echo $? >"$scratch/code"
    tr -d '\r' <"$scratch/raw" >"$scratch/out"
}

# Greps in what the terminal showed.
shown()
{
    grep -c -F -e "$1" "$scratch/out"
}

if ! (script -qec true /dev/null) </dev/null >/dev/null 2>&1; then
    printf 'SKIP  at a terminal: no script program that runs a command here\n'
else
    quoted="'$program' '$found'"
    printf 'hull.msh\n\nstone.png\n' | at_terminal dumb "$quoted --top 1"
    check 'prompt: exit code' 0 "$(exit_code)"
    check 'prompt: a greeting, and no report' '1, 0' \
        "$(shown '5 names. Type one, more or less; :help says what else.'), $(shown 'without sharing')"
    check 'prompt: is shown' 1 "$(($(shown 'find> ') > 0))"
    check 'prompt: answers' 1 "$(shown "  0.941  [hull.m]e[sh]  $found/models/hull.mesh")"
    check 'prompt: answers again' 1 "$(shown "  1.000  [stone.png]  $found/textures/stone.png")"
    check 'prompt: an empty line is passed over' 0 "$(shown '"":')"
    check 'prompt: the progress bar' 1 "$(($(shown ' folders') > 0))"
    printf 'hull.mesh\n' | at_terminal dumb "$quoted --no-progress --time"
    check 'prompt: no progress bar' 0 "$(shown ' of 4 folders')"
    check 'prompt: --time' 1 "$(($(shown ', ranked in ') > 0))"

    printf '*.mesh\n*/old/*\na\\\n\\*\n' | at_terminal dumb "$quoted --top 2"
    check 'prompt: a pattern' 1 "$(shown '"*.mesh": matches 3 of 6 files, the first 2')"
    check 'prompt: a pattern: paths' 1 "$(grep -c -x -F "  $found/models/engine.mesh" "$scratch/out")"
    check 'prompt: a pattern with a slash' 1 "$(shown '"*/old/*": matches 1 of 6 files')"
    check 'prompt: a pattern with a literal star' 1 "$(shown '"\*": matches 0 of 6 files')"
    printf 'stone.png\n:history\n:1\n:9\n:nonsense\n*\\\n:help\nexit\nengine.mesh\n' |
        at_terminal dumb "$quoted --top 1"
    check 'prompt: history' 1 "$(shown '    1  stone.png')"
    check 'prompt: asked again by its number' 2 "$(shown "  1.000  [stone.png]  $found/textures/stone.png")"
    check 'prompt: a number that was not asked' 1 \
        "$(shown 'asset_finder: ":9": nothing was asked under this number')"
    check 'prompt: an unknown command' 1 "$(shown 'asset_finder: ":nonsense": no such command; :help lists them')"
    check 'prompt: a pattern that is none' 1 \
        "$(shown 'asset_finder: "*\": a backslash at the end makes nothing literal')"
    check 'prompt: help' 1 "$(shown ':quit, exit')"
    check 'prompt: exit ends' 0 "$(shown '[engine.mesh]')"
    printf ':quit\nengine.mesh\n' | at_terminal dumb "$quoted --top 1"
    check 'prompt: :quit ends' "0, 0" "$(exit_code), $(shown '[engine.mesh]')"

    mark=$(printf '\033[1;32m')
    at_terminal xterm "$quoted --query hull.msh --top 1" </dev/null
    check 'a query at a terminal: no prompt' 0 "$(shown 'find> ')"
    check 'a query at a terminal: colours' 1 "$(shown "${mark}hull.m$(printf '\033[0m')e")"
    at_terminal xterm "NO_COLOR=1 $quoted --query hull.msh --top 1" </dev/null
    check 'a query at a terminal: NO_COLOR' '0, 1' "$(shown "$mark"), $(shown '[hull.m]e[sh]')"
    at_terminal dumb "$quoted --report" </dev/null
    check 'a report at a terminal: no prompt' '0, 1' "$(shown 'find> '), $(shown 'without sharing')"
    at_terminal dumb "$quoted | cat" </dev/null
    check 'output to a pipe: the report' '0, 1' "$(shown 'find> '), $(shown 'without sharing')"
    check 'output to a pipe: nothing but brackets' 0 "$(shown "$mark")"
fi

# ---- Arguments -----------------------------------------------------------------------------------------------------

catalogue "$scratch/missing"
check 'a missing folder: exit code' 2 "$code"
check 'a missing folder: message' "asset_finder: \"$scratch/missing\": no such folder" "$(complaints)"
check 'a missing folder: no report' '' "$(cat "$scratch/out")"

catalogue "$tree/readme"
check 'a file: exit code' 2 "$code"
check 'a file: message' "asset_finder: \"$tree/readme\": is not a folder" "$(complaints)"

catalogue ''
check 'an empty argument: exit code' 2 "$code"

catalogue --no-such-option
check 'an unknown option: exit code' 2 "$code"
check 'an unknown option: one line, in the form of all complaints' '1, 1' \
    "$(wc -l <"$scratch/err" | tr -d ' '), $(grep -c '^asset_finder: arguments: .*--no-such-option' "$scratch/err")"

catalogue --version
check 'the version: exit code' 0 "$code"
check 'the version' 1 "$(grep -c -x 'asset_finder [0-9]*\.[0-9]*\.[0-9]*' "$scratch/out")"

catalogue "$tree" "$tree"
check 'a folder too many: exit code' 2 "$code"

catalogue --help
check 'help: exit code' 0 "$code"
for word in source --include --exclude --query --top --tolerance --ignore-case --time --report --rules \
    'include prefix' 'rename FROM TO' --follow-links --no-progress --help --version /usr/share 'standard input' Patterns; do
    if grep -q -e "$word" "$scratch/out"; then
        pass "help: $word"
    else
        fail "help: $word" 'not mentioned'
    fi
done

if [ -w /dev/full ]; then
    "$program" "$tree" >/dev/full 2>"$scratch/err"
    check 'a full disk: exit code' 1 "$?"
    check 'a full disk: message' 'asset_finder: stdout: the output could not be written' "$(complaints)"
    "$program" "$found" --query hull >/dev/full 2>"$scratch/err"
    check 'a full disk, and a query: exit code' 1 "$?"
fi

if [ "$failed" -ne 0 ]; then
    printf '%d checks failed\n' "$failed"
    exit 1
fi
