#!/bin/sh
# The runner of mutants, on a source of some lines: which mutants it finds there, and what becomes of each.
#   runner_test.sh <project> <scratch folder> <compiler>
set -u
project=$1
scratch=$2
compiler=$3
here=$project/tests/mutation

if ! /usr/bin/python3 -c 'import clang.cindex' 2>/dev/null || ! [ -f /usr/lib/llvm-22/lib/libclang-22.so.1 ]; then
    echo 'skipped: no libclang of clang 22 for Python'
    exit 77
fi
rm -rf "$scratch"
mkdir -p "$scratch" || exit 2
/usr/bin/python3 "$here/mutate.py" "$here/sample" "$scratch/tree" "$scratch/mutants.tsv" || exit 1
"$compiler" -std=c++17 -O1 -w -include "$here/mutants.h" -I"$scratch/tree/Runtime/qv_kernel/include" -I"$here" \
    "$here/fork_server.cpp" "$here/sample/sample_tests.cpp" "$scratch"/tree/Runtime/qv_kernel/layer_0/*/*.cpp \
    -lgtest -pthread -o "$scratch/sample" || exit 1
"$scratch/sample" --reach="$scratch/reach" || exit 1
"$scratch/sample" --reach="$scratch/reach" --mutants="$scratch/mutants.tsv" --results="$scratch/results" || exit 1

failed=0
# What became of each, beside its name without the file.
awk -F '\t' 'NR == FNR { split($1, words, " "); outcome[words[1]] = words[2]; next }
    { sub(/^[^|]*\| /, "", $4); print outcome[$1], $4 }' "$scratch/results" "$scratch/mutants.tsv" | sort >"$scratch/given"
sort "$here/sample/expected.txt" | diff - "$scratch/given" || {
    echo 'FAILED: other mutants than expected, or another end'
    failed=1
}
# One mutant by the environment, as a person looks at it.
number=$(awk -F '\t' '/least <= value && value/ { print $1 }' "$scratch/mutants.tsv")
! QV_MUTANT=$number "$scratch/sample" >/dev/null 2>&1 || {
    echo 'FAILED: a mutant of the environment is not active'
    failed=1
}
"$scratch/sample" >/dev/null 2>&1 || {
    echo 'FAILED: without a mutant'
    failed=1
}
# Of the tests that were run together, the one is named that failed.
awk '$2 == "failed" { print $1, $3 }' "$scratch/results" >"$scratch/failed"
while read -r number test; do
    ! QV_MUTANT=$number "$scratch/sample" --gtest_filter="$test" >/dev/null 2>&1 || {
        echo "FAILED: $test is said to have failed with mutant $number"
        failed=1
    }
done <"$scratch/failed"
# Whole programs, which reach every mutant: one that answers otherwise has noticed it, and one that cannot run has not.
for answer in 1 77; do
    cat >"$scratch/answers_$answer" <<END
#!/bin/sh
[ -z "\$QV_MUTANT" ] || exit $answer
head -c 131072 /dev/zero | tr '\\0' '\\1' >"\$QV_MUTANT_REACHED"
END
    chmod +x "$scratch/answers_$answer"
    printf '1\t1\t-\tany\n' >"$scratch/one"
    /usr/bin/python3 "$here/programs.py" "$scratch/one" "$scratch/answer" "$scratch/answers_$answer"
    cut -d ' ' -f 2 "$scratch/answer"
done >"$scratch/answers"
[ "$(paste -s -d ' ' "$scratch/answers")" = 'failed survived' ] || {
    echo 'FAILED: what becomes of a mutant that a program notices, and of one with which it cannot run'
    failed=1
}
# A survivor that is not listed fails the report, and one that is listed and killed.
: >"$scratch/survivors.txt"
! /usr/bin/python3 "$here/report.py" "$scratch/mutants.tsv" "$scratch/survivors.txt" "$scratch/results" >/dev/null || {
    echo 'FAILED: a survivor passes'
    failed=1
}
awk -F '\t' '/value > most \| >=/ || /NobodyAsks/ { print $4 }' "$scratch/mutants.tsv" >"$scratch/survivors.txt"
echo '    equivalent because this test says so' >>"$scratch/survivors.txt"
/usr/bin/python3 "$here/report.py" "$scratch/mutants.tsv" "$scratch/survivors.txt" "$scratch/results" --all || {
    echo 'FAILED: a listed survivor does not pass'
    failed=1
}
awk -F '\t' '{ print $4 }' "$scratch/mutants.tsv" >"$scratch/survivors.txt"
echo '    equivalent because this test says so' >>"$scratch/survivors.txt"
! /usr/bin/python3 "$here/report.py" "$scratch/mutants.tsv" "$scratch/survivors.txt" "$scratch/results" >/dev/null || {
    echo 'FAILED: a mutant that is listed as a survivor and was killed passes'
    failed=1
}
exit $failed
