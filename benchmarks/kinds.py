"""Kinds of processors: what the machine's is called, and the parts that a page keeps for each of them.

A page holds what was measured of a subject, say `measured`, between markers, and in it one part for each kind:

    <!-- measured: begin -->
    <!-- measured amd_epyc: begin -->
    ...
    <!-- measured amd_epyc: end -->
    <!-- measured: end -->
"""
import platform
import re

VENDORS = {"GenuineIntel": "intel", "AuthenticAMD": "amd"}
# What model names have besides the model.
NOISE = (r"\((R|TM|r|tm)\)", r"@.*$", r"\b(CPU|Processor)\b", r"\b\d+-Core\b")


def of_cpuinfo(text):
    """(a word for files and markers, a title) of the first processor that /proc/cpuinfo describes."""
    def value(key):
        found = re.search(r"^%s\s*:[ \t]*(.*)$" % re.escape(key), text, re.MULTILINE)
        return found.group(1).strip() if found else ""

    name = value("model name")
    for noise in NOISE:
        name = re.sub(noise, " ", name)
    name = " ".join(name.split())
    vendor, family, model = value("vendor_id"), value("cpu family"), value("model")
    if family and model:
        return ("_".join((VENDORS.get(vendor, vendor.lower() or "unknown"), family, model)),
                "%s, family %s model %s" % (name or vendor, family, model))
    implementer, part = value("CPU implementer"), value("CPU part")
    if implementer and part:
        return ("_".join((platform.machine(), implementer, part)),
                "%s, implementer %s part %s" % (name or platform.machine(), implementer, part))
    return platform.machine(), name or platform.machine()


def of_machine():
    try:
        with open("/proc/cpuinfo", encoding="utf-8", errors="replace") as stream:
            return of_cpuinfo(stream.read())
    except OSError:
        return of_cpuinfo("")


def markers(name):
    return "<!-- %s: begin -->" % name, "<!-- %s: end -->" % name


def split_at(page, name):
    """(what is before, between and behind the markers of the name); a RuntimeError where there is not one pair."""
    begin, end = markers(name)
    if page.count(begin) != 1 or page.count(end) != 1 or page.index(begin) > page.index(end):
        raise RuntimeError("has not one %s before one %s" % (begin, end))
    before, rest = page.split(begin)
    between, after = rest.split(end)
    return before, between, after


def with_text(page, name, text):
    """The page with the text between the markers of the name."""
    before, _, after = split_at(page, name)
    begin, end = markers(name)
    return "%s%s\n\n%s\n\n%s%s" % (before, begin, text.strip(), end, after)


def with_part(page, subject, kind, text):
    """The page with the text as the part that a kind has of the subject, behind the other parts where it had none."""
    name = "%s %s" % (subject, kind)
    if markers(name)[0] not in page:
        before, between, after = split_at(page, subject)
        begin, end = markers(subject)
        page = "%s%s\n\n%s\n%s%s" % (before, begin, "\n\n".join(part for part in (
            between.strip(), "\n".join(markers(name)) + "\n") if part), end, after)
    return with_text(page, name, text)
