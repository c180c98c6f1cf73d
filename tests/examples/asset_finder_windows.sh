#!/bin/sh
# What the catalogue of asset_finder is where a backslash parts folders: on a folder and a list made here.
#   asset_finder_windows.sh <scratch folder> <command that runs the program...>
# Prints a line for each check; exits 1 when one failed.
set -u

mkdir -p "$1" || exit 2
scratch=$(cd "$1" && pwd) || exit 2
shift
failed=0

# check <what> <wanted> <got>
check()
{
    if [ "$2" = "$3" ]; then
        printf 'PASS  %s\n' "$1"
    else
        printf 'FAIL  %s: wanted "%s", got "%s"\n' "$1" "$2" "$3"
        failed=$((failed + 1))
    fi
}

# Runs the program; leaves $scratch/out, $scratch/err and $code. The system ends lines with two characters.
catalogue()
{
    (cd "$scratch" && exec "$@" >"$scratch/raw" 2>"$scratch/raw_err" <"$scratch/in")
    code=$?
    tr -d '\r' <"$scratch/raw" >"$scratch/out"
    tr -d '\r' <"$scratch/raw_err" >"$scratch/err"
}

# The figure of the report's line with that label.
figure()
{
    sed -n "s/^  $1  *\([0-9][0-9.,]*\).*/\1/p" "$scratch/out" | tr -d ,
}

rm -rf "$scratch/assets"
umlaut=$(printf '\303\266')
mkdir -p "$scratch/assets/models/hulls" "$scratch/assets/a folder"
: >"$scratch/assets/readme"
: >"$scratch/assets/models/hulls/hull.mesh"
: >"$scratch/assets/models/hulls/readme"
: >"$scratch/assets/a folder/b${umlaut}r.png"
: >"$scratch/in"

catalogue "$@" --help
check 'help: exit code' 0 "$code"

catalogue "$@" assets
check 'a folder: exit code' 0 "$code"
check 'a folder: nothing on stderr' '' "$(cat "$scratch/err")"
check 'a folder: files and folders' '4 4' "$(figure files) $(figure folders)"
# 4 folders, 2 for each of 4 files, the longest path.
check 'a folder: folders and names are shared' 13 "$(figure handles)"
longest=$(sed -n 's/^  longest path  *[0-9]*   //p' "$scratch/out")
check 'a folder: longest path' 'assets/models/hulls/hull.mesh' "$longest"

# A backslash before the closing quote is meant.
# shellcheck disable=SC1003
catalogue "$@" 'assets\models\' --query hull.msh --top 1
check 'backslashes: exit code' 0 "$code"
check 'backslashes: the file' '[hull.m]e[sh]  assets/models/hulls/hull.mesh' "$(sed -n 's/^  0\.[0-9]*  //p' "$scratch/out")"
catalogue "$@" '.\assets/models\hulls' --query hull.mesh --tolerance 1
check 'both signs: the file' '[hull.mesh]  ./assets/models/hulls/hull.mesh' "$(sed -n 's/^  1\.000  //p' "$scratch/out")"

catalogue "$@" assets --query "b${umlaut}r.png" --tolerance 1
check 'a letter of another code page: exit code' 0 "$code"
check 'a letter of another code page: the file' "[b${umlaut}r.png]  assets/a folder/b${umlaut}r.png" \
    "$(sed -n 's/^  1\.000  //p' "$scratch/out")"

printf 'C:\\assets\\stone.png\r\nassets\\models/hull.mesh\r\n' >"$scratch/in"
catalogue "$@" - --query stone.png --query hull.mesh --tolerance 1
check 'a list: exit code' 0 "$code"
check 'a list: the files' 'C:/assets/stone.png assets/models/hull.mesh ' \
    "$(sed -n 's/^  1\.000  .*  //p' "$scratch/out" | tr '\n' ' ')"
: >"$scratch/in"

catalogue "$@" 'assets\missing'
check 'a missing folder: exit code' 2 "$code"
check 'a missing folder: message' 'asset_finder: "assets\missing": no such folder' "$(cat "$scratch/err")"
catalogue "$@" 'assets\readme'
check 'a file: message' 'asset_finder: "assets\readme": is not a folder' "$(cat "$scratch/err")"

if [ "$failed" -ne 0 ]; then
    printf '%d checks failed\n' "$failed"
    exit 1
fi
