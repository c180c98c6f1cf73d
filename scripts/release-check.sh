#!/bin/sh
# ./run release-check: looks through the checkout before a release, item by item; tests are ./run test's business.
. "$(dirname "$0")/common.inc"
. "$root/scripts/needs.inc"

ensure g++ cmake ninja-build -- pkg-config python3 doxygen lintian abigail-tools
version=$(sed -n 's/^project(Quorvane VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
failures=0

# An item of the list: what it is, and the command that sees to it.
#   check <title> <command...>
check()
{
    title=$1
    shift
    "$@" >build/release-check.log 2>&1
    case $? in
        0) say "ok      $title" ;;
        77) say "skipped $title: $(sed -n 's/^skipped: //p' build/release-check.log)" ;;
        *)
            say "FAILED  $title"
            sed 's/^/        /' build/release-check.log | tail -n 20
            failures=$((failures + 1))
            ;;
    esac
}

is_committed()
{
    status=$(git status --porcelain) || return 1
    [ -n "$status" ] || return 0
    say "$status"
    return 1
}

# A section with the version and a date, and nothing that waits for the next one.
has_section()
{
    grep -q "^## \[$version\] - [0-9][0-9][0-9][0-9]-[0-9][0-9]-[0-9][0-9]" CHANGELOG.md || {
        say "CHANGELOG.md has no section [$version] with a date"
        return 1
    }
    waiting=$(awk '/^## \[Unreleased\]/ { waits = 1; next } /^## / { waits = 0 } waits && /^- /' CHANGELOG.md)
    [ -z "$waiting" ] || {
        say 'CHANGELOG.md has entries under Unreleased'
        return 1
    }
}

# Nothing but CMakeLists.txt, and what the test of the packages compares with it, says the version.
version_has_one_place()
{
    found=$(git grep -l -F "\"$version\"" | grep -v -e '^packaging/vcpkg/' -e '^packaging/conan/') || return 0
    say "$found"
    return 1
}

reference_is_clean()
{
    sh docs/reference/build.sh "$root" build/docs && python3 docs/reference/check_links.py build/docs/html
}

shows_its_names()
{
    cmake -G Ninja -S . -B build/release-check -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=ON -DQV_BUILD_TESTS=OFF \
        -DQV_BUILD_EXAMPLES=OFF -DQV_BUILD_BENCHMARKS=OFF &&
        cmake --build build/release-check &&
        sh tests/consumer/symbols.sh "$root" build/release-check/Runtime/qv_kernel/libqv_kernel.so
}

# The shared library with what a debugger knows of its types.
#   build_with_types <source> <folder>
build_with_types()
{
    cmake -G Ninja -S "$1" -B "$2" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_UNITY_BUILD=ON -DBUILD_SHARED_LIBS=ON \
        -DQV_BUILD_TESTS=OFF -DQV_BUILD_EXAMPLES=OFF -DQV_BUILD_BENCHMARKS=OFF && cmake --build "$2"
}

# Names and types of the interface beside those of the last release: a patch release changes none.
keeps_its_interface()
{
    command -v abidiff >/dev/null 2>&1 || {
        say 'skipped: abidiff is missing'
        return 77
    }
    before=$(git describe --tags --abbrev=0 --match 'v[0-9]*' 'HEAD^' 2>/dev/null) || {
        say 'skipped: there is no release to compare with'
        return 77
    }
    folder=build/release-check/before
    rm -rf "$folder"
    mkdir -p "$folder/source"
    git archive "$before" | tar -x -C "$folder/source" && build_with_types "$folder/source" "$folder/build" &&
        build_with_types . build/release-check/after || return 1
    abidiff --no-added-syms "$folder/build/Runtime/qv_kernel/libqv_kerneld.so" build/release-check/after/Runtime/qv_kernel/libqv_kerneld.so
    changes=$?
    case $before in
        "v${version%.*}".*) return $changes ;;
    esac
}

mkdir -p build
say "Before the release of $version:"
check 'everything is committed' is_committed
check 'the changelog has the section, and nothing waits' has_section
check 'the version stands in one place' version_has_one_place
check 'the reference is made without a warning' reference_is_clean
check 'the shared library shows the names of the list' shows_its_names
check 'the interface is that of the last release, or the version says otherwise' keeps_its_interface
check 'the tests reach all that they should' sh scripts/coverage.sh
check 'packages for vcpkg and Conan' sh tests/packaging/packages.sh "$root" "$root/build/release-check/packages" g++
check 'packages for Debian' sh tests/packaging/debian.sh "$root" "$root/build/release-check/debian" g++
check 'one header and one source' sh tests/consumer/amalgamated.sh "$root" "$root/build/release-check/amalgamated" g++
[ $failures -eq 0 ] || {
    say "$failures of the list failed"
    exit 1
}
