#!/bin/sh
# Checks what no debugger here reads: quorvane.natvis is XML, and the members and types that it names are in the headers;
# the Python files compile.
#
#   files.sh <project folder>
set -eu
root=$1
command -v python3 >/dev/null 2>&1 || {
    printf 'skipped: python3 is missing\n'
    exit 77
}
exec python3 - "$root" <<'END'
import pathlib
import re
import sys
import xml.etree.ElementTree

root = pathlib.Path(sys.argv[1])
failures = []
for file in sorted((root / "debug").glob("*.py")):
    compile(file.read_text(), file.name, "exec")

headers = "\n".join(file.read_text() for file in sorted((root / "Runtime").glob("**/include/**/*.h")))
views = xml.etree.ElementTree.parse(root / "debug" / "quorvane.natvis").getroot()
types = [element.get("Name") for element in views if element.tag.endswith("}Type")]
for name in types:
    plain = re.sub("<.*", "", name).split("::")[-1]
    if not re.search(r"\b(class|struct)\s+(QV_API\s+)?%s\b" % plain, headers):
        failures.append("no header has the type %s" % name)
members = set(re.findall(r"\bm_\w+", (root / "debug" / "quorvane.natvis").read_text()))
for member in sorted(members):
    if not re.search(r"\b%s\b[^\n]*;" % member, headers):
        failures.append("no header has the member %s" % member)

# The printers of gdb and lldb are for the same types.
adapters = ["quorvane_gdb.py", "quorvane_lldb.py"]
named = [set(re.findall(r'"((?:C|T|S)\w+(?:::\w+)?)(?:<\.\*>)?", (?:\w+Printer|"show_)', (root / "debug" / file).read_text()))
         for file in adapters]
natvis = {re.sub("<.*|Quorvane::", "", name) for name in types}
for file, found in zip(adapters, named):
    for name in sorted(found ^ natvis):
        failures.append("%s and quorvane.natvis do not both show %s" % (file, name))

for failure in failures:
    print("FAILED:", failure)
if not failures:
    print("%d types, %d members" % (len(types), len(members)))
sys.exit(1 if failures or not types or not members else 0)
END
