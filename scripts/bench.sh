#!/bin/sh
# ./run bench: measures all topics of benchmarks/, or those named; or what is compared as whole programs: programs,
# latency, allocators. With --compare, measures a revision beside the checkout.
. "$(dirname "$0")/common.inc"
. "$root/scripts/needs.inc"
. "$root/scripts/build.inc"
. "$root/scripts/revisions.inc"

# Runs one benchmark program into a JSON file, in as many processes as wanted: where memory lies is drawn anew in each,
# and a row may differ by a quarter with that. Rows that take memory have the standard library's strings over other
# allocators as well, but for a quick look. Its own words are shown only when it fails.
#   measure <program> <JSON file> <repetitions> <seconds for each> <processes>
measure()
{
    parts=
    process=0
    while [ "$process" -lt "$5" ]; do
        process=$((process + 1))
        part=${2%.json}.$process.json
        "$1" --benchmark_enable_random_interleaving=true --benchmark_repetitions="$3" --benchmark_min_time="$4" \
            --benchmark_context=seconds="$4" --benchmark_out="$part" --benchmark_out_format=json >"$2.log" 2>&1 || {
            cat "$2.log" >&2
            return 1
        }
        parts="$parts $part"
        if [ -z "$quick" ]; then
            over=$(python3 benchmarks/allocator_peers.py "$1" "$part" --benchmark_enable_random_interleaving=true \
                --benchmark_repetitions="$3" --benchmark_min_time="$4") || return 1
            parts="$parts $over"
        fi
    done
    # shellcheck disable=SC2086
    python3 benchmarks/merge.py "$2" $parts
}

# Builds and measures topics in a preset, and prints their table.
#   measure_topics <preset> <repetitions> <seconds for each> <processes> <topic...>
measure_topics()
{
    preset=$1
    repetitions=$2
    seconds=$3
    processes=$4
    shift 4
    # The topics are words.
    # shellcheck disable=SC2046
    build "$preset" $(printf 'bench_%s ' "$@") || return 1
    results=build/$preset/results
    mkdir -p "$results"
    files=
    failed=0
    for topic in "$@"; do
        say "measuring $topic"
        # A result that cannot be had leaves no older one behind.
        rm -f "$results/$topic.json"
        if measure "build/$preset/benchmarks/bench_$topic" "$results/$topic.json" "$repetitions" "$seconds" \
            "$processes"; then
            files="$files $results/$topic.json"
        else
            failed=1
        fi
    done
    [ -n "$files" ] || return 1
    say ''
    # shellcheck disable=SC2086
    python3 benchmarks/table.py $files >"$results/table.txt" || failed=1
    # shellcheck disable=SC2086
    python3 benchmarks/table.py --markdown $files >"$results/table.md" || failed=1
    cat "$results/table.txt"
    say ''
    say "In $results: the JSON of each topic, table.txt, table.md"
    return $failed
}

# Builds whole programs in ours and in other strings, and compares them.
#   compare_programs <preset> [arguments of the script]
compare_programs()
{
    preset=$1
    shift
    build "$preset" programs || return 1
    say 'comparing whole programs'
    python3 benchmarks/programs/compare.py "$@" "build/$preset/benchmarks/programs"
}

# Builds a program that runs over several allocators, and compares them.
#   compare_allocators <preset> <name> [arguments of its script]
compare_allocators()
{
    preset=$1
    name=$2
    shift 2
    build "$preset" "allocator_$name" || return 1
    say "measuring $name"
    python3 "benchmarks/allocators/$name.py" "$@" "build/$preset/benchmarks/allocators"
}

list_topics()
{
    for source in benchmarks/*.cpp; do
        name=${source##*/}
        printf '%s\n' "${name%.cpp}"
    done
}

presets=bench
repetitions=7
seconds=0.03
processes=2
publish=
topics=
compare=
quick=
short=
revision=
while [ $# -gt 0 ]; do
    case $1 in
        --quick)
            quick=--quick
            repetitions=3
            seconds=0.01
            processes=1
            ;;
        --short)
            # Enough to publish: the other allocators are in it, and where memory lies is drawn twice.
            short=--short
            repetitions=3
            seconds=0.015
            ;;
        --plain) presets=bench-plain ;;
        --publish) publish=--publish ;;
        --compare)
            revision=${2:-}
            [ -n "$revision" ] || {
                complain 'bench: --compare is followed by a revision'
                exit 2
            }
            shift
            ;;
        programs | latency) compare="$compare $1" ;;
        allocators) compare="$compare workloads" ;;
        -*)
            complain "bench: unknown argument $1"
            exit 2
            ;;
        *)
            if [ ! -f "benchmarks/$1.cpp" ]; then
                complain "bench: unknown topic $1; there are:"
                list_topics >&2
                say programs >&2
                say latency >&2
                say allocators >&2
                exit 2
            fi
            topics="$topics $1"
            ;;
    esac
    shift
done
case $publish:$topics:$compare in
    :* | *::' programs' | *::' latency' | *::' workloads') ;;
    *::) presets='bench bench-plain' ;;
    *)
        complain 'bench: --publish is for all topics, for programs, for latency, or for allocators'
        exit 2
        ;;
esac
case $short:$quick:$compare in
    :*:* | --short::) ;;
    *)
        complain 'bench: --short is for topics, and without --quick'
        exit 2
        ;;
esac
[ -n "$topics$compare" ] || topics=$(list_topics)

if [ -n "$revision" ]; then
    if [ -n "$compare$publish$short" ] || [ "$presets" != bench ]; then
        complain 'bench: --compare is for topics, with --quick or without'
        exit 2
    fi
    ensure g++ cmake ninja-build libbenchmark-dev python3
    # A quick look tells a change from chance in 251 of 252 rows, otherwise in 1715 of 1716.
    if [ -n "$quick" ]; then
        processes=5
    else
        processes=7
        repetitions=3
    fi
    # shellcheck disable=SC2086
    compare_with "$revision" $processes $repetitions $seconds $topics
    exit
fi
ensure g++ cmake ninja-build libbenchmark-dev python3 -- \
    libabsl-dev libboost-dev libfmt-dev libre2-dev qtbase5-dev gnuplot-nox
# A quick look at topics goes without other allocators.
case $compare:$quick in
    *latency* | *workloads* | *:) ensure -- libmimalloc2.0 libjemalloc2 libtcmalloc-minimal4 ;;
esac
for preset in $presets; do
    # shellcheck disable=SC2086
    [ -z "$topics" ] || measure_topics "$preset" $repetitions $seconds $processes $topics || exit 1
    for name in $compare; do
        if [ "$name" = programs ]; then
            # shellcheck disable=SC2086
            compare_programs "$preset" $quick $publish || exit 1
        else
            # shellcheck disable=SC2086
            compare_allocators "$preset" "$name" $quick $publish || exit 1
        fi
    done
done
[ -z "$publish" ] || [ -n "$compare" ] || python3 benchmarks/publish.py build/bench build/bench-plain
