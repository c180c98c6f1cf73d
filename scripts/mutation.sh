#!/bin/sh
# ./run mutation: changes the library in ten thousand ways, one at a time, and says which changes no unit test notices.
. "$(dirname "$0")/common.inc"
. "$root/scripts/needs.inc"
. "$root/scripts/build.inc"

# Of the mutants' names a regular expression, as grep -E takes it.
pattern=${1:-.}
if [ $# -gt 1 ] || [ "${pattern#-}" != "$pattern" ]; then
    complain 'mutation: one pattern at most, as in string_path.cpp or "| relational |"'
    exit 2
fi
folder=build/mutation
program=$folder/build/tests/qv_kernel_tests
server="$program --gtest_filter=-$(grep -v '^#' tests/mutation/left_out_tests.txt | sed 's/ .*//' | paste -s -d :)"

# Runs what is given in the background of a progress line, and shows what it said only when it failed.
#   quietly <what is done> <command...>
quietly()
{
    show_progress "$1"
    shift
    "$@" >"$folder/log" 2>&1 || {
        end_progress
        tail -50 "$folder/log"
        exit 1
    }
    end_progress
}

# Tries a share of the mutants, as many as there are processors.
try_shares()
{
    share=0
    while [ "$share" -lt "$jobs" ]; do
        awk "NR % $jobs == $share" "$folder/chosen" >"$folder/chosen_$share"
        # The server's arguments are words.
        # shellcheck disable=SC2086
        nice $server --reach="$folder/reach" --mutants="$folder/chosen_$share" --results="$folder/results_$share" &
        share=$((share + 1))
    done
    wait
}

ensure g++ cmake ninja-build libgtest-dev python3 python3-clang-22 libclang-22-dev -- libfmt-dev locales
ensure_locales
mkdir -p "$folder"
quietly 'finding places' /usr/bin/python3 tests/mutation/mutate.py "$root" "$folder/tree" "$folder/mutants.tsv"
cat "$folder/log"
# The library's optimiser would take long over so much code, and the tests' longer.
quietly configuring cmake -G Ninja -S "$folder/tree" -B "$folder/build" -DCMAKE_CXX_COMPILER=g++ \
    -DCMAKE_BUILD_TYPE=Release '-DCMAKE_CXX_FLAGS_RELEASE=-O1 -w -fwrapv' -DCMAKE_UNITY_BUILD=ON \
    "-DCMAKE_CXX_FLAGS=-include $root/$folder/tree/tests/mutation/mutants.h" \
    -DQV_BUILD_EXAMPLES=OFF -DQV_BUILD_BENCHMARKS=OFF -DQV_INSTALL=OFF \
    -DQV_TEST_COMPILE_OPTIONS=-O0 -DQV_TEST_JOINED=8 -DQV_TEST_PRECOMPILE=ON
quietly 'building all mutants' cmake --build "$folder/build" --target qv_kernel_tests
# The server's arguments are words.
# shellcheck disable=SC2086
quietly 'running each test without a mutant' $server --reach="$folder/reach"

awk -F '\t' -v OFS='\t' '{ print $1, $4 }' "$folder/mutants.tsv" | grep -E -e "$pattern" | cut -f 1 >"$folder/chosen"
rm -f "$folder"/results_*
while_waiting "trying $(wc -l <"$folder/chosen") mutants" try_shares
all=
[ "$pattern" != . ] || all=--all
/usr/bin/python3 tests/mutation/report.py "$folder/mutants.tsv" tests/mutation/survivors.txt "$folder"/results_* $all
