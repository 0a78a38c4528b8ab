#!/usr/bin/env python3
"""Counts the instructions of qbsvrtest for inputs of n, 2n and 4n, as growth_test.cpp makes them: growth_test.py
GROWTH_TEST QBSVRTEST

Steps that allocate nothing are not visible in the counts of growth_test itself. The growth of a shape is the exponent
e of n^e, from the differences between the three counts: 1 if the instructions grow like the input, 2 if they grow like
its square. Valgrind counts, and needs a qbsvrtest without sanitizers. Fails if a shape grows faster than MOST_GROWTH.
"""
import math
import os
import pathlib
import re
import subprocess
import sys
import tempfile

MOST_GROWTH = 1.35


def instructions(program, template):
    """Of loading a template and its data, and exporting it to the format that its name ends with."""
    form = template.stem.rsplit(" ", 1)[1]
    output = template.with_suffix("." + form)
    run = subprocess.run(["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", program, "-gen_full", template.parent,
                          template, template.with_suffix(".txt"), output, form], capture_output=True, text=True, check=True)
    if not output.exists():
        raise SystemExit(f"{template.name}: no document")
    return int(re.search(r"Collected : (\d+)", run.stderr)[1])


def main():
    growth_test, program = sys.argv[1:]
    failed = False
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        subprocess.run([growth_test, "--gtest_filter=GrowthTest.WritesItsInputs"], env=os.environ | {"QBSVR_GROWTH_INPUTS": name},
                       stdout=subprocess.DEVNULL, check=True)
        shapes = {}
        for path in folder.glob("*.qbf"):
            name, size, _ = path.stem.rsplit(" ", 2)
            shapes.setdefault(name, []).append((int(size), path))
        if not shapes:
            raise SystemExit("growth_test has written no inputs")
        for shape, inputs in sorted(shapes.items()):
            counts = [instructions(program, path) for _, path in sorted(inputs)]
            growth = math.log2((counts[2] - counts[1]) / (counts[1] - counts[0]))
            wrong = growth > MOST_GROWTH
            failed |= wrong
            print(f"{shape:<55}{counts[0]:>14,}{counts[1]:>14,}{counts[2]:>14,}{growth:>7.2f}{'  grows too fast' * wrong}", flush=True)
    sys.exit(failed)


if __name__ == "__main__":
    main()
