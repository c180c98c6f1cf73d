#!/bin/sh
# ./run platforms: builds the library and its tests for other machines, compilers and settings, runs the unit tests and the
# drivers, in an emulator where that is needed, and prints a table. What a platform is stands in CMakePresets.json, as the
# preset platform-<name>; here stands what it needs of this machine. With --publish, the last result of each platform goes
# into README.md, and why tests skipped themselves into docs/platforms.md. With --short, it takes the three that `./run test`
# takes, where tests fail most easily: where sizes and addresses, the order of bytes or the system's calls matter.
. "$(dirname "$0")/common.inc"
. "$root/scripts/needs.inc"
. "$root/scripts/build.inc"
. "$root/scripts/steps.inc"
. "$root/scripts/platforms.inc"

# The compiler of a configured build, with its version.
compiler_of()
{
    compiler=$(sed -n 's/^set(CMAKE_CXX_COMPILER "\(.*\)")/\1/p' "build/$1"/CMakeFiles/*/CMakeCXXCompiler.cmake)
    "$compiler" --version | sed -n '1s/ (.*) / /; 1s/^Debian //; 1p'
}

# The drivers of a built preset: prints "<passed> <failed> <skipped>".
run_drivers()
{
    ctest --test-dir "build/$1" -L '^driver$' -j "$jobs" --no-tests=error --output-on-failure \
        --output-junit "$root/build/$1/drivers.xml" >"build/$1/drivers.log" 2>&1 || cat "build/$1/drivers.log" >&2
    count_outcomes "build/$1/drivers.xml"
}

# Keeps how a platform ended for --publish, as a row of the table.
#   keep_result <name> <passed> <failed> <skipped> <start> <compiler or reason>
keep_result()
{
    mkdir -p "build/platform-$1"
    title=$(sed -n "/\"name\": \"platform-$1\"/,/displayName/s/.*\"displayName\": \"\(.*\)\",\{0,1\}/\1/p" CMakePresets.json)
    [ "$1" != extensions ] || title='x86-64, machines that lack extensions, tests of block kernels alone'
    # The backticks are the document's.
    # shellcheck disable=SC2016
    printf '| `%s` | %s | %s | %d | %d | %d | %s | %s |\n' "$1" "$title" "$6" "$2" "$3" "$4" "$(seconds_since "$5")" \
        "$(date -u +%Y-%m-%d)" >"build/platform-$1/result"
}

# The tests of the block kernels, as g++ 12 builds them, on machines without extensions. One failure is counted for each
# machine on which tests failed.
try_extensions()
{
    preset=platform-gcc-12
    set -- 0 1
    remark='the build failed'
    if build $preset qv_kernel_tests; then
        log=build/$preset/extensions.log
        sh tests/cross/extensions.sh build/$preset/tests/qv_kernel_tests >"$log" 2>&1 || cat "$log" >&2
        # shellcheck disable=SC2046
        set -- $(awk '
            /^extensions: -cpu .*: [0-9]+ tests, the / { sub(/.*: /, ""); passed += $1 }
            /^extensions: (-cpu .*: the tests failed|expected |skipped: )/ { ++failed }
            END { printf "%d %d\n", passed, failed }' "$log")
        remark=$(compiler_of $preset)
    fi
    record extensions "$1" "$2" 0 "$start" "$remark"
    keep_result extensions "$1" "$2" 0 "$start" "$remark"
}

# Builds and tests one platform, and records how it ended.
#   try_platform <name>
try_platform()
{
    preset=platform-$1
    start=$(date +%s)
    announce "$1"
    reason=$(reason_against "$1" | head -n 1)
    if [ -n "$reason" ]; then
        record "$1" 0 0 1 "$start" "not tried: $reason"
        keep_result "$1" 0 0 0 "$start" "not tried: $reason"
        return
    fi
    if [ "$1" = extensions ]; then
        try_extensions
        return
    fi
    if ! build "$preset" qv_kernel_tests drivers; then
        record "$1" 0 1 0 "$start" 'the build failed'
        keep_result "$1" 0 1 0 "$start" "$(compiler_of "$preset"), which does not build it"
        return
    fi
    run_units "$preset"
    list_reasons "$preset" | tee "build/$preset/reasons"
    drivers=$(run_drivers "$preset")
    # shellcheck disable=SC2086
    set -- "$1" $units $drivers
    record "$1" $(($2 + $5)) $(($3 + $6)) $(($4 + $7)) "$start" "$(compiler_of "$preset") $remark"
    keep_result "$1" $(($2 + $5)) $(($3 + $6)) $(($4 + $7)) "$start" "$(compiler_of "$preset")"
}

short_names=$(printf '%s' "$platforms" | sed -n 's/^\(short-[^ ]*\) .*/\1/p')
all_names=$(printf '%s' "$platforms" | sed '/^short-/d; s/ .*//')

# Puts standard input between the two markers of a document.
#   put_between_markers <document>
put_between_markers()
{
    cat >build/.published
    awk '
        /<!-- platforms: begin -->/ {
            print
            while ((getline line <"build/.published") > 0)
                print line
            skipping = 1
        }
        /<!-- platforms: end -->/ { skipping = 0 }
        !skipping' "$1" >build/.document && cat build/.document >"$1"
    rm -f build/.published build/.document
}

# The row of a platform in the table of README.md, and its section in docs/platforms.md.
row_of()
{
    sed -n '/<!-- platforms: begin -->/,/<!-- platforms: end -->/p' README.md | grep "^| \`$1\` |"
}

section_of()
{
    awk -v name="$1" '
        /<!-- platforms: begin -->/ { inside = 1 }
        /<!-- platforms: end -->/ { inside = 0 }
        /^### / { wanted = $2 == name; next }
        inside && wanted && /^- /' docs/platforms.md
}

# The last results of all platforms into the documents; what was not tried here stays as it is there.
publish()
{
    {
        printf '\n| name | platform | compiler | passed | failed | skipped | time | date |\n'
        printf '| --- | --- | --- | --- | --- | --- | --- | --- |\n'
        for name in $all_names; do
            cat "build/platform-$name/result" 2>/dev/null || row_of "$name"
        done
        printf '\n'
    } >build/.rows
    {
        for name in $all_names; do
            if [ -f "build/platform-$name/reasons" ]; then
                reasons=$(sed 's/^  \([0-9]*\) skipped: \(.*\)/- \1: \2/' "build/platform-$name/reasons")
            else
                reasons=$(section_of "$name")
            fi
            [ -z "$reasons" ] || printf '\n### %s\n\n%s\n' "$name" "$reasons"
        done
        printf '\n'
    } >build/.reasons
    put_between_markers README.md <build/.rows
    put_between_markers docs/platforms.md <build/.reasons
    rm -f build/.rows build/.reasons
}

publishes=
case ${1:-} in
    --publish)
        publishes=yes
        shift
        ;;
    --short)
        shift
        # The names are words.
        # shellcheck disable=SC2086
        set -- $short_names "$@"
        ;;
esac
chosen=$*
for name in $chosen; do
    [ -n "$(needs_of "$name")" ] || {
        complain "platforms: no platform is called $name; there are:"
        printf '%s' "$platforms" | sed -n 's/^\([^ ][^ ]*\) .*/  \1/p' >&2
        exit 2
    }
done
[ -n "$chosen" ] || chosen=$all_names

# The names are words.
# shellcheck disable=SC2046,SC2086
ensure g++ cmake ninja-build libgtest-dev -- $(needs_of_all $chosen)
# shellcheck disable=SC2086
set -- $chosen
expect_steps $#
for name in $chosen; do
    try_platform "$name"
done
[ -z "$publishes" ] || publish
summary
