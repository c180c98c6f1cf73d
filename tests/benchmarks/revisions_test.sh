#!/bin/sh
# Two builds of the benchmarks beside each other: what is slower in every process is told, what is only sometimes is not;
# rows of one build alone, and memory; by turns; the answer.
#   revisions_test.sh <project>
set -u
project=${1:-$(dirname "$0")/../..}
command -v python3 >/dev/null 2>&1 || {
    echo 'skipped: python3 is missing'
    exit 77
}
scratch=$(mktemp -d) || exit 2
trap 'rm -rf "$scratch"' EXIT
failed=0

# A benchmark program whose figures stand in a file, a line for each process: <row> <figure>, row after row; a figure
# with "B" behind it is memory.
#   make_program <build> <lines>
make_program()
{
    mkdir -p "$scratch/$1"
    cat >"$scratch/$1/lines"
    cat >"$scratch/$1/bench_topic" <<'END'
#!/bin/sh
folder=$(dirname "$0")
echo "$(basename "$folder")" >>"$folder/../order"
count=$(cat "$folder/count" 2>/dev/null || echo 0)
count=$((count + 1))
echo $count >"$folder/count"
# shellcheck disable=SC2046
set -- $(sed -n "${count}p" "$folder/lines")
printf '{"context": {}, "benchmarks": ['
separator=
while [ $# -gt 1 ]; do
    bytes=
    case $2 in *B) bytes=", \"bytes\": ${2%B}" ;; esac
    # The second repetition is slower, and counts for nothing.
    printf '%s{"name": "%s", "run_type": "iteration", "cpu_time": %s, "time_unit": "ns"%s},' "$separator" "$1" "${2%B}" "$bytes"
    printf '{"name": "%s", "run_type": "iteration", "cpu_time": 9999, "time_unit": "ns"%s}' "$1" "$bytes"
    separator=,
    shift 2
done
printf ']}\n'
END
    chmod +x "$scratch/$1/bench_topic"
}

# expect <what> <pattern>: a line of the output matches.
expect()
{
    grep -q -E -e "$2" "$scratch/output" && return
    echo "FAILED: $1"
    sed 's/^/    /' "$scratch/output"
    failed=1
}

make_program old <<'END'
slower/8/ours 100 noisy/8/ours 100 faster/8/ours 50 small/8/ours 1000 memory/8/ours 4096B gone/8/ours 1
slower/8/ours 104 noisy/8/ours 130 faster/8/ours 52 small/8/ours 1001 memory/8/ours 4096B gone/8/ours 1
slower/8/ours 102 noisy/8/ours 110 faster/8/ours 51 small/8/ours 1002 memory/8/ours 4096B gone/8/ours 1
END
make_program new <<'END'
slower/8/ours 110 noisy/8/ours 129 faster/8/ours 40 small/8/ours 1010 memory/8/ours 4112B
slower/8/ours 112 noisy/8/ours 140 faster/8/ours 41 small/8/ours 1011 memory/8/ours 4112B
slower/8/ours 105 noisy/8/ours 150 faster/8/ours 44 small/8/ours 1012 memory/8/ours 4112B
END
python3 "$project/benchmarks/revisions.py" --processes 3 "$scratch/old" "$scratch/new" topic >"$scratch/output" 2>&1
code=$?
[ $code -eq 1 ] || {
    echo "FAILED: answers $code where rows became slower"
    failed=1
}
expect 'a row that is slower in every process' '^slower/8/ours +102 +110 +\+7\.8%$'
expect 'a row that is faster in every process' '^faster/8/ours +51 +41 +-19\.6%$'
expect 'memory' '^memory/8/ours +4096 +4112 +\+0\.4%$'
expect 'a row of one build' '^gone/8/ours +only in the old build$'
expect 'the sum' '^5 rows in both: 2 slower or larger, 1 faster or smaller$'
if grep -q -E '^(noisy|small)/' "$scratch/output"; then
    echo 'FAILED: a row within the noise, or below 2 %, is called changed'
    cat "$scratch/output"
    failed=1
fi
[ "$(tr '\n' ' ' <"$scratch/order")" = 'old new new old old new ' ] || {
    echo "FAILED: not by turns: $(cat "$scratch/order")"
    failed=1
}

# The other way round nothing is slower but the row that was faster.
rm -f "$scratch"/*/count
printf 'a/1/ours 100\na/1/ours 101\n' >"$scratch/old/lines"
printf 'a/1/ours 90\na/1/ours 91\n' >"$scratch/new/lines"
python3 "$project/benchmarks/revisions.py" --processes 2 "$scratch/old" "$scratch/new" topic >"$scratch/output" 2>&1 || {
    echo 'FAILED: answers 1 where rows became faster only'
    failed=1
}
rm -f "$scratch/new/bench_topic"
python3 "$project/benchmarks/revisions.py" "$scratch/old" "$scratch/new" topic >"$scratch/output" 2>&1
[ $? -eq 2 ] || {
    echo 'FAILED: a program that is missing'
    failed=1
}
[ $failed -eq 0 ] && echo 'two builds are compared by turns'
exit $failed
