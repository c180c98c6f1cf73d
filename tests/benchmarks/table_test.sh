#!/bin/sh
# The table of the benchmarks: the smallest of the repetitions counts, peers may be missing, limits are no peers, goals
# may name peers or groups of them, sizes ten times apart make a line of the growth table, several processes count as one.
#   table_test.sh <project>
set -u
project=${1:-$(dirname "$0")/../..}
command -v python3 >/dev/null 2>&1 || {
    echo 'skipped: python3 is missing'
    exit 77
}
scratch=$(mktemp -d) || exit 2
trap 'rm -rf "$scratch"' EXIT
failed=0

# One repetition as Google Benchmark writes it: name, family, time, further members.
repetition()
{
    printf '{"name": "%s", "family_index": %d, "run_type": "iteration", "cpu_time": %s, "real_time": 999, ' "$1" "$2" "$3"
    printf '"time_unit": "ns"%s},\n' "${4:-}"
}

{
    printf '{"context": {}, "benchmarks": [\n'
    # Shuffled, as they come.
    repetition join/2/ours 1 8
    repetition join/2/absl::StrCat 2 12
    repetition join/2/std::string 3 11
    repetition join/2/ours 1 5
    repetition join/2/absl::StrCat 2 10
    repetition join/2/limit:copy 4 4
    repetition append/10000/ours 6 130
    repetition append/1000/ours 5 10
    repetition append/10000/limit:copy 6 24
    repetition append/1000/limit:copy 5 2
    # Several threads: the clock counts. An aggregate is no repetition.
    repetition share/2/ours/real_time/threads:2 7 1
    repetition share/2/limit:atomic/real_time/threads:2 8 1
    # Another operation of ours is no peer, but a goal may name it.
    repetition rank/5/ours 12 6
    repetition rank/5/slow 13 12
    repetition rank/5/ours:Match 14 2
    repetition memory/9/ours/iterations:1 9 1 ', "bytes": 3000000'
    repetition memory/9/thin 10 1 ', "bytes": 2000000'
    repetition memory/9/fat 11 1 ', "bytes": 6000000'
    printf '{"name": "join/2/ours_mean", "run_type": "aggregate", "cpu_time": 1, "time_unit": "ns"},\n'
    printf '{"name": "nothing/0/baseline", "run_type": "iteration", "cpu_time": 0.25, "time_unit": "ns"}]}\n'
} >"$scratch/result.json"
cat >"$scratch/goals.txt" <<'END'
# comment
join    2  0.5
share   *  1.0  limit:atomic
memory  9  0.6  fat
group   sharers  fat,thin
memory  *  1.6  sharers
rank    5  4    ours:Match
rank    5  0.5
append  1000  1.0
growth  append  1000  11
END

python3 "$project/benchmarks/table.py" --goals "$scratch/goals.txt" "$scratch/result.json" >"$scratch/table" || failed=1
sed 's/  */ /g' "$scratch/table" >"$scratch/got"

wants()
{
    grep -q -x -e "$1" "$scratch/got" || {
        echo "no line: $1"
        failed=1
    }
}

wants 'join 2 5 ns 10 ns absl::StrCat 0\.50 4 ns copy 80 % <= 0\.5 yes'
wants 'append 1000 10 ns - - - 2 ns copy 20 % <= 1 ?'
wants 'share 2 999 ns - - - 999 ns atomic 100 % <= 1 of limit:atomic yes'
wants 'memory 9 3 MB 2 MB thin 1\.50 - - - <= 0\.6 of fat, <= 1\.6 of sharers yes'
wants 'rank 5 6 ns 12 ns slow 0\.50 - - - <= 4 of ours:Match, <= 0\.5 yes'
wants 'append 1000 10000 13\.0 - 12\.0 <= 11 no'
wants '4 goals met, 1 missed; an empty loop takes 0\.25 ns a turn'

# Rows stand as they were registered, not as they ran.
order=$(sed -n 's/^\(join\|append\|share\|memory\) .*/\1/p' "$scratch/got" | uniq | head -n 4 | tr '\n' ' ')
[ "$order" = 'join append share memory ' ] || {
    echo "rows out of order: $order"
    failed=1
}

python3 "$project/benchmarks/table.py" --markdown --goals "$scratch/goals.txt" "$scratch/result.json" >"$scratch/table.md"
grep -q -x -F '| join | 2 | 5 ns | 10 ns | absl::StrCat | 0.50 | 4 ns | copy | 80 % | <= 0.5 | yes |' "$scratch/table.md" || {
    echo 'no such line in Markdown'
    failed=1
}

# Several processes: their repetitions are put together, the smallest of all counts.
sed 's/"cpu_time": 5,/"cpu_time": 3,/' "$scratch/result.json" >"$scratch/second.json"
python3 "$project/benchmarks/merge.py" "$scratch/merged.json" "$scratch/result.json" "$scratch/second.json" || failed=1
python3 "$project/benchmarks/table.py" --goals "$scratch/goals.txt" "$scratch/merged.json" >"$scratch/table" || failed=1
sed 's/  */ /g' "$scratch/table" >"$scratch/got"
wants 'join 2 3 ns 10 ns absl::StrCat 0\.30 4 ns copy 133 % <= 0\.5 yes'
wants '4 goals met, 1 missed; an empty loop takes 0\.25 ns a turn'

# Over another allocator: a contestant of its own, in no process that counts.
sed -n -e 1p -e '/"join.2.std::string"/s/"cpu_time": 11,/"cpu_time": 2,/p' -e '$p' "$scratch/result.json" >"$scratch/over.json"
python3 "$project/benchmarks/merge.py" "$scratch/merged.json" "$scratch/result.json" "mimalloc=$scratch/over.json" || failed=1
python3 "$project/benchmarks/table.py" --goals "$scratch/goals.txt" "$scratch/merged.json" >"$scratch/table" || failed=1
sed 's/  */ /g' "$scratch/table" >"$scratch/got"
wants 'join 2 5 ns 2 ns std::string+mimalloc 2\.50 4 ns copy 80 % <= 0\.5 no'
grep -q '"processes": 1' "$scratch/merged.json" || {
    echo 'another allocator counts as a process'
    failed=1
}

# Which contestants run over other allocators: the quickest of the standard library where the limit takes memory.
(
    cd "$project/benchmarks" || exit 2
    PYTHONDONTWRITEBYTECODE=1 python3 - <<'END'
import allocator_peers
import table

figures = table.Figures()
for row, known in (("make", {"ours": 1, "std::string": 3, "std::string+": 2, "absl::StrCat": 1, "limit:malloc+copy": 1}),
                   ("read", {"std::string": 1, "limit:read": 1}), ("other", {"absl": 1, "limit:malloc+copy": 1})):
    figures.smallest[(row, 8)] = known
    figures.first_seen[row] = len(figures.first_seen)
names = allocator_peers.contestants(figures)
assert names == ["make/8/std::string+"], names
assert allocator_peers.filter_of(names) == r"^(make/8/std::string\+)(/|$)", allocator_peers.filter_of(names)
END
) || failed=1

[ $failed -eq 0 ] || cat "$scratch/table"
exit $failed
