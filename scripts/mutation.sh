#!/bin/sh
# ./run mutation: changes the library in ten thousand ways, one at a time, and says which changes no test notices.
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
left_out=$(grep -v '^#' tests/mutation/left_out_tests.txt | sed 's/ .*//' | paste -s -d :)
# How long one mutant is put to the tests of a program, in the seconds that they take without it: those of its own file and
# folder come first, and who lives on for so long is seldom caught by the rest.
budget=5

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

# Builds programs with all mutants in them.
#   build <copy's folder> <CMake's arguments> <target...>
build()
{
    copy=$1
    arguments=$2
    shift 2
    # The library's optimiser would take long over so much code, and the tests' longer. The arguments are words.
    # shellcheck disable=SC2086
    quietly configuring cmake -G Ninja -S "$copy/tree" -B "$copy/build" -DCMAKE_CXX_COMPILER=g++ \
        -DCMAKE_BUILD_TYPE=Release '-DCMAKE_CXX_FLAGS_RELEASE=-O1 -w -fwrapv' -DCMAKE_UNITY_BUILD=ON \
        "-DCMAKE_CXX_FLAGS=-include $root/$copy/tree/tests/mutation/mutants.h" \
        -DQV_BUILD_EXAMPLES=OFF -DQV_BUILD_BENCHMARKS=OFF -DQV_INSTALL=OFF \
        -DQV_TEST_COMPILE_OPTIONS=-O0 -DQV_TEST_JOINED=8 -DQV_TEST_PRECOMPILE=ON $arguments
    quietly 'building all mutants' cmake --build "$copy/build" --target "$@"
}

# Asks the tests of a program about the mutants in $chosen, of which a share each is for as many copies of it as there are
# processors.
#   try_tests <program> <name of the results>
try_tests()
{
    quietly 'running each test without a mutant' "$1" "--gtest_filter=-$left_out" --reach="$folder/reach"
    while_waiting "trying $(wc -l <"$chosen") mutants" try_shares "$1" "$2"
}

try_shares()
{
    share=0
    while [ "$share" -lt "$jobs" ]; do
        awk "NR % $jobs == $share" "$chosen" >"${chosen}_$share"
        nice "$1" --reach="$folder/reach" --mutants="${chosen}_$share" --results="$folder/results_$2_$share" \
            --budget=$budget &
        share=$((share + 1))
    done
    wait
}

# The same of drivers, one after the other.
#   try_drivers <copy's folder> <name of the results>
try_drivers()
{
    nice /usr/bin/python3 tests/mutation/programs.py "$chosen" "$folder/results_$2" "$1"/build/tests/qv_driver_*
}

# Leaves in $chosen, of those of a list, the mutants that nothing has killed and that are not known to be equivalent.
choose_survivors()
{
    /usr/bin/python3 tests/mutation/report.py "$1" tests/mutation/survivors.txt "$folder"/results_* --alive >"$chosen.new"
    mv "$chosen.new" "$chosen"
}

ensure g++ cmake ninja-build libgtest-dev python3 python3-clang-22 libclang-22-dev -- libfmt-dev locales
ensure_locales
mkdir -p "$folder/tracking"
rm -f "$folder"/results_*
chosen=$folder/chosen
mutants=$folder/mutants.tsv
all_mutants=$folder/tracking/mutants.tsv
quietly 'finding places' /usr/bin/python3 tests/mutation/mutate.py "$root" "$folder/tree" "$mutants"
cat "$folder/log"
# What the default allocator's other form compiles has places of its own.
quietly 'finding places of the tracking build' /usr/bin/python3 tests/mutation/mutate.py "$root" \
    "$folder/tracking/tree" "$all_mutants" "$mutants" QV_MEM_TRACKING=1
cat "$folder/log"

build "$folder" '' qv_kernel_tests qv_kernel_thread_tests drivers qv_kernel_exhaustive_tests
grep -E -e "$pattern" "$mutants" >"$chosen"
try_tests "$folder/build/tests/qv_kernel_tests" units
choose_survivors "$chosen"
for program in thread exhaustive; do
    try_tests "$folder/build/tests/qv_kernel_${program}_tests" $program
    choose_survivors "$chosen"
done
while_waiting "asking the drivers about $(wc -l <"$chosen") mutants" try_drivers "$folder" drivers

build "$folder/tracking" -DQV_MEM_TRACKING=ON qv_kernel_tests drivers
grep -E -e "$pattern" "$all_mutants" >"$chosen"
choose_survivors "$chosen"
try_tests "$folder/tracking/build/tests/qv_kernel_tests" tracking
choose_survivors "$chosen"
while_waiting "asking the drivers about $(wc -l <"$chosen") mutants" try_drivers "$folder/tracking" tracking_drivers

all=
[ "$pattern" != . ] || all=--all
/usr/bin/python3 tests/mutation/report.py "$all_mutants" tests/mutation/survivors.txt "$folder"/results_* $all
