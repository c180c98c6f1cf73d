#!/bin/sh
# What the words of ./run stand on: the help and the words themselves, how outcomes are counted, how progress is told, and
# what is installed where the distribution lacks a package.
#   run_test.sh <project>
set -u
project=${1:-$(dirname "$0")/../..}
scratch=$(mktemp -d) || exit 2
trap 'rm -rf "$scratch"' EXIT
failed=0

fail()
{
    echo "FAILED: $*"
    failed=1
}

# expect <what> <expected> <given>
expect()
{
    [ "$2" = "$3" ] || fail "$1: expected \"$2\", got \"$3\""
}

# Runs a line of shell behind the parts that it names.
#   with <parts> <line>
with()
{
    parts=
    for part in $1; do
        parts="$parts . \"$project/scripts/$part.inc\";"
    done
    sh -c "root=$project; jobs=2; say() { printf '%s\n' \"\$*\"; }; complain() { say \"run: \$*\" >&2; }; $parts $2" "$project/scripts/test.sh" 2>&1
}

# ---- The words -------------------------------------------------------------------------------------------------------

"$project/run" help >"$scratch/help" || fail 'help answers other than 0'
for script in "$project"/scripts/*.sh; do
    word=$(basename "$script" .sh)
    grep -q "^  $word\( \|\$\)" "$scratch/help" || fail "help says nothing of $word"
    grep -q "[(|] $word [)|]\|[(|] $word)\|  *$word |" "$project/run" || fail "run does not know $word"
    grep -q -F "\`./run $word" "$project/CONTRIBUTING.md" || fail "CONTRIBUTING.md says nothing of ./run $word"
done
"$project/run" nonsense >"$scratch/said" 2>&1
expect 'the answer to an unknown word' 2 $?
grep -q '^run: unknown word: nonsense$' "$scratch/said" || fail 'an unknown word is not named'

# ---- Outcomes --------------------------------------------------------------------------------------------------------

cat >"$scratch/junit.xml" <<'END'
<testsuite name="x" tests="6">
	<testcase name="a" classname="a" time="0.1" status="run">
	</testcase>
	<testcase name="b" classname="b" time="0.1" status="fail">
		<failure message=""/>
	</testcase>
	<testcase name="c" classname="c" time="0.1" status="notrun">
		<skipped message="SKIP_RETURN_CODE=77"/>
	</testcase>
	<testcase name="d" classname="d" time="0" status="disabled">
		<skipped message="Disabled"/>
	</testcase>
	<testcase name="e" classname="e" time="0" status="notrun">
		<skipped message="Unable to find executable"/>
	</testcase>
	<testcase name="f" classname="f" time="0" status="run">
	</testcase>
</testsuite>
END
expect 'outcomes of CTest: a program that is missing has failed' '2 2 2' \
    "$(with 'progress steps' "count_outcomes '$scratch/junit.xml'")"

for shard in 0 1; do
    cat >"$scratch/units_$shard.xml" <<'END'
<?xml version="1.0" encoding="UTF-8"?>
<testsuites tests="5" failures="1" disabled="1" errors="0" time="0.1" name="AllTests">
  <testsuite name="A" tests="5">
    <testcase name="x" status="run" result="completed" time="0." classname="A" />
    <testcase name="y" status="run" result="skipped" time="0." classname="A">
      <skipped message="a_test.cpp:12&#x0A;the machine&apos;s reason&#x0A;" />
    </testcase>
  </testsuite>
</testsuites>
END
done
expect 'outcomes of GoogleTest, of two processes' '4 2 4' \
    "$(with 'progress steps' "count_units '$scratch/units_0.xml' '$scratch/units_1.xml'")"
mkdir -p "$scratch/build/preset"
cp "$scratch"/units_*.xml "$scratch/build/preset"
expect 'reasons, a line each' "  2 skipped: the machine's reason" \
    "$(with 'progress steps' "cd '$scratch'; list_reasons preset")"

# What no test passed in is no success, nor is what one failed in.
for figures in '0 0 5,1' '3 1 0,1' '3 0 1,0'; do
    with 'progress steps' "record title ${figures%,*} \$(date +%s); summary >/dev/null"
    expect "the answer to ${figures%,*}" "${figures#*,}" $?
done

# ---- Progress --------------------------------------------------------------------------------------------------------

expect 'steps are numbered where their count is known' '== one (1 of 2)
== two (2 of 2)' "$(with 'progress steps' 'expect_steps 2; announce one; announce two')"
expect 'what a build says of its progress becomes a line now and then, all else stays' 'warning: x
  building y: 2/3' "$(with progress "silence=0; printf 'warning: x\n[2/3] Building z\n' | follow 'building y'" | sort -r)"
expect 'the answer of what is waited for' 7 "$(with progress "while_waiting something sh -c 'exit 7'; echo \$?")"

# ---- What is installed -----------------------------------------------------------------------------------------------

# An archive that has g++ alone.
mkdir -p "$scratch/bin"
# The argument is the program's own.
# shellcheck disable=SC2016
printf '#!/bin/sh\n[ "$2" = g++ ]\n' >"$scratch/bin/apt-cache"
chmod +x "$scratch/bin/apt-cache"
expect 'a package that the distribution lacks keeps no other from being installed' 'g++ ' \
    "$(PATH=$scratch/bin:$PATH with 'progress needs' 'installable nonsense g++ more-nonsense')"
expect 'a need that nothing meets' 'nonsense ' "$(with 'progress needs' 'unmet nonsense')"
expect 'the needs of platforms, each once' 'clang-22 g++-i686-linux-gnu googletest ' \
    "$(with 'progress needs steps platforms' 'needs_of_all i386 i386-sse2 clang-22' | tr '\n' ' ')"
expect 'a platform whose compiler runs no programs' 1 \
    "$(cd "$scratch" && with 'progress needs steps platforms' "runs_programs_of false; echo \$?")"

[ $failed -eq 0 ] && echo 'the words of ./run: help, outcomes, progress, packages'
exit $failed
