"""Makes the inputs of the programs: of a size that is asked for, and the same ones every time."""
import random

WORDS = ("hull", "keel", "mast", "anchor", "rudder", "sail", "deck", "bow", "stern", "bilge", "galley", "cabin", "hatch",
         "winch", "cleat", "boom", "jib", "spar", "tiller", "shroud", "capstan", "bulkhead", "porthole", "ballast")
SECTIONS = ("libs", "devel", "libdevel", "utils", "doc", "python", "net", "admin", "games", "fonts", "text", "x11")
ENDINGS = (".h", ".c", ".cpp", ".o", ".so", ".txt", ".md", ".png", ".PNG", ".json", ".py", ".html", "", "~", ".tar.gz")
FOLDERS = ("usr", "share", "src", "include", "doc", "Build", "Textures", "models", "SOUNDS", "third_party", ".git",
           "objects", "test", "build-release", "home", "projects", "assets", "lib", "x86_64-linux-gnu", "locale")
POOL = 20000  # different pieces, from which longer inputs are put together


class CSource:
    """Random choices that no version of the interpreter makes in another way."""

    def __init__(self, seed):
        self._random = random.Random(seed)

    def below(self, count):
        return int(self._random.random() * count)

    def one_of(self, choices):
        return choices[self.below(len(choices))]

    def words(self, least, most, separator):
        return separator.join(self.one_of(WORDS) for _ in range(least + self.below(most - least + 1)))


# So many look after the packages of a distribution.
MAINTAINERS = tuple("%s %s %d <%s.%d@example.org>" % (first.title(), last.title(), number, last, number)
                    for number in range(4) for first in WORDS for last in WORDS)


def stanza(source, number):
    """What the status file of a package manager has for one package: 15 lines, of 40 characters on average."""
    name = "%s-%d" % (source.words(1, 3, "-"), number % 1000)
    lines = ["Package: " + name, "Status: install ok installed", "Priority: " + source.one_of(("optional", "required")),
             "Section: " + source.one_of(SECTIONS), "Installed-Size: %d" % source.below(100000),
             "Maintainer: " + source.one_of(MAINTAINERS),
             "Architecture: " + source.one_of(("amd64", "all")), "Version: %d.%d-%d" % tuple(source.below(20) for _ in "123"),
             "Depends: " + source.words(2, 9, " (>= 1.0), "), "Description: " + source.words(3, 7, " ")]
    lines += [" %s" % source.words(12, 15, " ") for _ in range(3)] + [" .", ""]
    return "\n".join(lines) + "\n"


def path(source, number):
    """A path of some 50 characters; one of ten has backslashes."""
    names = [source.one_of(FOLDERS) for _ in range(2 + source.below(4))]
    names.append("%s_%d%s" % (source.words(1, 3, "_"), number, source.one_of(ENDINGS)))
    return (("\\" if source.below(10) == 0 else "/") + "/".join(names)).replace(
        "/", "\\" if source.below(10) == 0 else "/") + "\n"


def order(source, number):
    """An order of some 165 characters, with quotes and backslashes in its remark."""
    remark = source.words(8, 16, " ")
    if source.below(3) == 0:
        remark = '"%s" isn\'t in C:\\%s' % (remark, source.words(1, 1, ""))
    return "\t".join((str(number), source.words(1, 1, "") + "/", source.words(1, 3, "/"), source.words(1, 2, "-") + ".item",
                      str(source.below(500)), "%d.%02d" % (source.below(2000), source.below(100)), source.words(2, 5, ","),
                      remark)) + "\n"


def write(name, make, count, seed=1):
    """Writes so many pieces into a file."""
    source = CSource(seed)
    with open(name, "w", encoding="ascii", newline="") as stream:
        if count <= POOL:
            stream.write("".join(make(source, number) for number in range(count)))
            return
        pool = [make(source, number) for number in range(POOL)]
        for _ in range(count // 1000):
            stream.write("".join(source.one_of(pool) for _ in range(1000)))
