#!/bin/sh
# Some mutants, drawn by the date, against the unit tests that are built: those of the sources alone, linked with the tests'
# own objects. Names those that no test notices and survivors.txt does not list, and fails when they are too many. Tests that
# take long are not asked, and what only they reach stays undecided.
#   draw_test.sh <project> <build folder> <scratch folder> <compiler> [program of the unit tests, which must be built]
# QV_MUTATION_SEED repeats a draw; what fails prints it.
set -u
project=$1
build=$2
scratch=$3
compiler=$4
here=$project/tests/mutation
seed=${QV_MUTATION_SEED:-$(date +%Y%m%d)}
mutants=60
sources=6
flags='-std=c++17 -O1 -w -fwrapv -fPIC'

if ! /usr/bin/python3 -c 'import clang.cindex' 2>/dev/null || ! [ -f /usr/lib/llvm-22/lib/libclang-22.so.1 ]; then
    echo 'skipped: no libclang of clang 22 for Python'
    exit 77
fi
objects=$(find "$build/tests/CMakeFiles/qv_kernel_tests.dir" "$build/tests/CMakeFiles/qv_test_support.dir" \
    "$build/tests/CMakeFiles/qv_test_sanitizer_options.dir" -name '*.o' ! -name 'test_main*' 2>/dev/null)
if [ -z "$objects" ] || ! [ -f "$build/Runtime/qv_kernel/libqv_kernel.a" ]; then
    echo 'skipped: the unit tests are not built'
    exit 77
fi

rm -rf "$scratch"
mkdir -p "$scratch" || exit 2
echo "drawn by QV_MUTATION_SEED=$seed"
drawn=$(/usr/bin/python3 "$here/draw.py" "$project" "$scratch/tree" "$scratch/mutants.tsv" "$seed" $mutants $sources) || exit 1

# Compiles a source into an object of its own.
#   compile <source> <options...>
compile()
{
    source=$1
    shift
    # The options are words.
    # shellcheck disable=SC2086
    "$compiler" $flags "$@" -include "$here/mutants.h" "-fmacro-prefix-map=$scratch/tree/=" \
        -I"$scratch/tree/Runtime/include" -I"$scratch/tree/Runtime/qv_kernel/include" \
        -c "$source" -o "$scratch/$(basename "$source" .cpp).o" || touch "$scratch/broken"
}

# Two at a time.
running=
for source in $drawn; do
    compile "$source" &
    if [ -n "$running" ]; then
        wait
        running=
    else
        running=yes
    fi
done
compile "$here/fork_server.cpp"
compile "$here/switch.cpp"
wait
[ ! -f "$scratch/broken" ] || exit 1
cp "$build/Runtime/qv_kernel/libqv_kernel.a" "$scratch/others.a" || exit 1
for source in $drawn; do
    ar d "$scratch/others.a" "$(basename "$source").o" || exit 1
done
# shellcheck disable=SC2086
"$compiler" "$scratch"/*.o $objects "$scratch/others.a" -lgtest -pthread -o "$scratch/tests" || exit 1

left_out=$(grep -v '^#' "$here/left_out_tests.txt" | sed 's/ .*//' | paste -s -d :)
for share in 0 1; do
    "$scratch/tests" --gtest_filter="-$left_out" --reach="$scratch/reach_$share" --longest=0.1 --share=$share/2 ||
        touch "$scratch/broken" &
done
wait
[ ! -f "$scratch/broken" ] || exit 1
cat "$scratch/reach_0" "$scratch/reach_1" >"$scratch/reach"
for share in 0 1; do
    awk "NR % 2 == $share" "$scratch/mutants.tsv" >"$scratch/share_$share"
    "$scratch/tests" --reach="$scratch/reach" --mutants="$scratch/share_$share" --results="$scratch/results_$share" &
done
wait
# What nobody decided is no result.
grep -h -v ' budget ' "$scratch/results_0" "$scratch/results_1" >"$scratch/results"
echo "$(wc -l <"$scratch/results") of $mutants decided"
/usr/bin/python3 "$here/report.py" "$scratch/mutants.tsv" "$here/survivors.txt" "$scratch/results" --draw || {
    echo "QV_MUTATION_SEED=$seed repeats this draw"
    exit 1
}
