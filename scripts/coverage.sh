#!/bin/sh
# ./run coverage: lines, branches and conditions (MC/DC) of Runtime/ that the tests reach; fails unless all of them are
# reached that tests/coverage/exclusions.txt does not name.
. "$(dirname "$0")/common.inc"
. "$root/scripts/needs.inc"
. "$root/scripts/build.inc"

ensure g++ cmake ninja-build libgtest-dev clang-22 libclang-rt-22-dev llvm-22 python3 qemu-user -- locales libfmt-dev
ensure_locales
results=build/coverage-results
rm -rf "$results"
mkdir -p "$results"
failed=0

# Runs a program of a build with further settings of the environment, and keeps what it has covered. Counters are written
# while it runs, those of copies of the process and of what signals end as well, and added to those of earlier runs.
#   run_program <preset> <program> [NAME=value...] [emulator and its arguments]
run_program()
{
    mkdir -p "$results/$1"
    profile=$root/$results/$1/$2-%1m%c.profraw
    folder=build/$1/tests
    executable=./$2
    shift 2
    show_progress "running $folder/${executable#./} $*"
    (cd "$folder" && env LLVM_PROFILE_FILE="$profile" "$@" "$executable" ${arguments:+"$arguments"}) >"$results/log" 2>&1
    code=$?
    [ $code -eq 0 ] || [ $code -eq 77 ] || {
        failed=1
        cat "$results/log"
    }
}

is_there()
{
    [ -e "$1" ]
}

# Each program has its own: functions of one name may be others in another program. One that cannot run in this build may
# have reached nothing of the library, and leaves no counters. Lines count in what is named alone, if anything is.
#   export_program <preset> <program> [folder]
export_program()
{
    stem=$results/$1/$2
    is_there "$stem"-*.profraw || return 0
    llvm-profdata-22 merge -sparse "$stem"-*.profraw -o "$stem.profdata" || exit 1
    llvm-cov-22 export "build/$1/tests/$2" -instr-profile="$stem.profdata" ${3:+"$root/$3"} >"$stem.json" || exit 1
    llvm-cov-22 show "build/$1/tests/$2" -instr-profile="$stem.profdata" -show-branches=count -show-expansions \
        -ignore-filename-regex='/(tests|examples|benchmarks)/|^/usr/' >"$stem.txt" || exit 1
}

# As under valgrind, which is told by what the environment preloads: the platform serves all blocks. And with another
# library that is preloaded.
run_preloaded()
{
    run_program coverage "$1" LD_PRELOAD=vgpreload_none.so
    run_program coverage "$1" LD_PRELOAD=libm.so.6
}

# What narrower machines choose, and what a machine has found of its own: the first by leave of this one, the second in an
# emulator of machines that lack one extension each.
run_on_narrower_machines()
{
    run_program coverage qv_kernel_tests QV_TEST_NO_WIDE=1
    run_program coverage qv_kernel_tests QV_TEST_NO_WIDEST=1
    arguments='--gtest_filter=SimdMachine*'
    for machine in Haswell Haswell,-avx2 Haswell,-bmi2 Haswell,-popcnt; do
        run_program coverage qv_kernel_tests qemu-x86_64 -cpu "$machine"
    done
    arguments=
}

# Builds programs of a preset, and all its drivers, and runs them.
#   cover <preset> <program...>
cover()
{
    preset=$1
    shift
    build "$preset" "$@" drivers || exit 1
    for program in "$@" "build/$preset/tests"/qv_driver_*; do
        program=${program##*/}
        is_program "build/$preset/tests/$program" || continue
        run_program "$preset" "$program"
        case "$preset $program" in
            'coverage qv_kernel_tests') run_on_narrower_machines ;;
            'coverage qv_driver_'*) run_preloaded "$program" ;;
        esac
        export_program "$preset" "$program" "$counted"
    done
}

arguments=
counted=
for preset in coverage coverage-tracking coverage-portable; do
    cover $preset qv_kernel_tests qv_kernel_thread_tests qv_kernel_cxx20_tests
done
# Of what these tests do not reach, no program of the build knows which lines have code.
counted=Runtime/qv_kernel/layer_0/kr_mem
cover coverage-wipe qv_kernel_tests
end_progress
python3 scripts/coverage_report.py "$root" tests/coverage/exclusions.txt "$results/open.txt" "$results"/*/*.json || failed=1
exit $failed
