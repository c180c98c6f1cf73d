"""Runs benchmark programs over each allocator that the machine has; what they print is read, and figures are put together.

The peers are the libraries of Debian's packages libmimalloc2.0, libjemalloc2 and libtcmalloc-minimal4, put in front of the
platform's malloc for one process with LD_PRELOAD. A program says whose malloc it has, or ends.
"""
import glob
import json
import os
import random
import statistics
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
import kinds  # noqa: E402  pylint: disable=wrong-import-position
import plots  # noqa: E402  pylint: disable=wrong-import-position,unused-import
import publish  # noqa: E402  pylint: disable=wrong-import-position
import table  # noqa: E402  pylint: disable=wrong-import-position

OURS = "ours"
LIBRARIES = {
    "mimalloc": "libmimalloc.so.2",
    "jemalloc": "libjemalloc.so.2",
    "tcmalloc": "libtcmalloc_minimal.so.4",
}
FOLDERS = ("/usr/lib/*-linux-gnu*", "/usr/lib64", "/usr/lib", "/usr/local/lib")
PACKAGES = ("libmimalloc2.0", "libjemalloc2", "libtcmalloc-minimal4", "libc6")


def library_of(allocator):
    """The file to put in front of the platform's malloc; None where it is missing."""
    for folder in FOLDERS:
        for path in glob.glob(os.path.join(folder, LIBRARIES[allocator])):
            return path
    return None


def allocators():
    """Ours, the platform's, and the peers that are installed."""
    return [OURS, "glibc"] + [name for name in LIBRARIES if library_of(name)]


def processors():
    return len(os.sched_getaffinity(0))


def become_realtime():
    """Nothing of lower priority interrupts the process that this runs in, where the system allows that."""
    try:
        os.sched_setscheduler(0, os.SCHED_FIFO, os.sched_param(1))
    except OSError:
        pass


def become_preferred():
    """The threads of the process share the processors with each other, and go before what else the machine does, where the
    system allows that. Some systems weigh sessions first, and the processes of a session among themselves."""
    try:
        os.setsid()
        os.setpriority(os.PRIO_PROCESS, 0, -20)
        with open("/proc/self/autogroup", "w", encoding="ascii") as stream:
            stream.write("-20")
    except OSError:
        pass


def may_become_realtime():
    """Whether that is so."""
    program = "import os; os.sched_setscheduler(0, os.SCHED_FIFO, os.sched_param(1))"
    return subprocess.run([sys.executable, "-c", program], stderr=subprocess.DEVNULL, check=False).returncode == 0


def run(program, allocator, arguments, realtime=False, ahead=True):
    """What one fresh process measures: the object that it prints. Unless `ahead` is false, it goes before what else the
    machine does: `realtime` for processes with no more threads than processors."""
    environment = dict(os.environ)
    environment.pop("LD_PRELOAD", None)
    if allocator in LIBRARIES:
        environment["LD_PRELOAD"] = library_of(allocator)
    before_it = (become_realtime if realtime else become_preferred) if ahead else None
    command = [program, allocator] + [str(argument) for argument in arguments]
    done = subprocess.run(command, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True,
                          preexec_fn=before_it, check=False)
    if done.returncode != 0:
        raise RuntimeError("%s: exit code %d" % (" ".join(command), done.returncode))
    return json.loads(done.stdout)


def interleaved(cases, repetitions, pause=0.0):
    """Runs every case, a function without arguments, that many times: each round has all of them, in an order of its own,
    so that a disturbance hits all alike. Gives the results of each case, in the order of the cases."""
    order = random.Random(1)
    results = [[] for _ in cases]
    for _ in range(repetitions):
        turns = list(range(len(cases)))
        order.shuffle(turns)
        for turn in turns:
            results[turn].append(cases[turn]())
            time.sleep(pause)
    return results


def percentile(histogram, share):
    """The smallest value that at least this share of the operations do not exceed; of [value, count] in ascending order."""
    total = sum(count for _, count in histogram)
    seen = 0
    for value, count in histogram:
        seen += count
        if seen >= share * total:
            return value
    return None


def merged(histograms):
    """One distribution of several. The processes have not quite the same ticks, so that their buckets lie between."""
    return sorted(pair for histogram in histograms for pair in histogram)


def median(values):
    return statistics.median(values)


def best_of(figures):
    """(name, figure) of the best peer: the smallest of a dictionary without ours; None where there is none."""
    peers = [(figure, name) for name, figure in figures.items() if name != OURS]
    return min(peers)[::-1] if peers else None


def facts(command, further=()):
    """A table of the machine, the peers' versions, the revision and the command, in Markdown."""
    load = os.getloadavg()
    known = [(what, value.rstrip(", ")) for what, value in publish.machine(
        {"num_cpus": processors(), "load_avg": load})]
    known.append(("allocators", publish.output_of("dpkg-query", "-W", "-f", "${Package} ${Version}, ", *PACKAGES).rstrip(
        ", ") or "not known"))
    revision = publish.output_of("git", "rev-parse", "--short=12", "HEAD")
    known += [("revision", revision)] if revision else []
    known += [("date", time.strftime("%Y-%m-%d %H:%M UTC", time.gmtime())), ("command", command)]
    return table.as_markdown([["what", "value"]] + [list(fact) for fact in known + list(further)])


def publish_between(page, word, text):
    """Puts the text into a page, between its markers for the word."""
    with open(page, encoding="utf-8") as stream:
        content = stream.read()
    with open(page, "w", encoding="utf-8") as stream:
        stream.write(kinds.with_text(content, word, text))
