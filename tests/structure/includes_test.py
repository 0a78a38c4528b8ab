#!/usr/bin/env python3
"""Checks every include of the sources against the table of permitted includes in qbsvrl6/README.md.

    includes_test.py SOURCE_DIRECTORY

A row names a folder and the folders whose headers its files may include; a folder may always include its own
headers. Folders of tests and benchmarks are not checked. Nor may two headers of the engine define types of the same
name: its folders share a namespace, and the linker would mix their functions. The checks are tested as well: planted
violations must fail.
"""
import pathlib
import re
import subprocess
import sys

FREE = {"tests", "bench", "fuzz", "docs", "samples"}
ROW = re.compile(r"^\| `([^`]+)/` \|[^|]*\| (.*) \|$", re.MULTILINE)
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)

TYPE = re.compile(r"^(?:class|struct|enum(?: class)?) (\w+)[^;{]*\{", re.MULTILINE)


def read_table(root):
    """Folder -> folders that it may include, as paths from the root."""
    page = (root / "qbsvrl6/README.md").read_text(encoding="utf-8")
    path = lambda name: f"qbsvrl6/{name}" if (root / "qbsvrl6" / name).is_dir() else name
    table = {}
    for folder, allowed in ROW.findall(page):
        names = re.findall(r"`([^`]+)/`", allowed)
        if not names and allowed != "nothing":
            raise SystemExit(f"the row of {folder}/ names neither folders nor \"nothing\"")
        table[path(folder)] = {path(name) for name in names}
    return table


def room_of(path, table):
    """The longest folder of the table that holds the path; none for a header at the root."""
    parts = path.split("/")[:-1]
    while parts and "/".join(parts) not in table:
        parts.pop()
    return "/".join(parts)


def violations(sources, table):
    """Pairs of path and text in; one line for each include that the table doesn't allow."""
    found = []
    for path, text in sources:
        if path.split("/")[0] in FREE or "/" not in path:
            continue
        room = room_of(path, table)
        if not room:
            found.append(f"{path}: its folder has no row in the table")
            continue
        for included in INCLUDE.findall(text):
            target = room_of(included, table)
            if target not in table[room] | {room}:
                found.append(f"{path}: includes {included}, but {room}/ may not include {target or 'that'}")
    return found


def defined_twice(sources):
    """One line for each type of the engine that two headers define."""
    headers = {}
    for path, text in sources:
        if path.startswith("qbsvrl6/") and path.endswith(".h"):
            for name in TYPE.findall(text):
                headers.setdefault(name, []).append(path)
    return [f"{name} is defined in {' and '.join(paths)}" for name, paths in headers.items() if len(paths) > 1]


def cycles(table):
    """Folders that reach themselves over other folders."""
    def reaches(start, goal, seen):
        return any(
            step == goal or (step not in seen and reaches(step, goal, seen | {step})) for step in table.get(start, ())
        )
    return [folder for folder in table if reaches(folder, folder, {folder})]


def main():
    root = pathlib.Path(sys.argv[1])
    table = read_table(root)
    names = subprocess.run(
        ["git", "-C", root, "ls-files", "-co", "--exclude-standard", "*.h", "*.cpp"],
        check=True, capture_output=True, text=True).stdout.split()
    sources = [(name, (root / name).read_text(encoding="utf-8")) for name in names if (root / name).exists()]
    faults = violations(sources, table) + defined_twice(sources)
    faults += [f"{name}/ has a row in the table, but no sources" for name in table
               if not any(path.startswith(name + "/") for path, _ in sources)]
    faults += [f"{name}/ includes itself over other folders" for name in cycles(table)]
    planted = [("common/planted.cpp", '#include "driver/actions.h"\n'),
               ("qbsvrl6/support/planted.h", '  # include "qbsvrl6/api/export.h"\n'),
               ("qbsvrl6/nowhere/planted.cpp", "")]
    faults += [f"the planted violation {path} passes" for path, text in planted if not violations([(path, text)], table)]
    if not defined_twice([(f"qbsvrl6/{folder}/planted.h", "class Planted final : public Other {\n") for folder in ("data", "sheet")]):
        faults.append("a planted type with two definitions passes")
    for fault in faults:
        print(fault)
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
