#!/usr/bin/env python3
"""Turns the examples in the comments of headers into functions of a C++ file.

    header_examples.py OUTPUT HEADER...

An example is a run of comment lines that are indented by five spaces. It becomes the body of
`void exampleN(tagQBReport* report)`; one that creates its own `report` takes no parameter.
"""
import pathlib
import sys

CODE = "//     "


def examples(header):
    """Pairs of the first line's number and the code."""
    found, first, code = [], 0, []
    for number, line in enumerate(header.splitlines() + [""], 1):
        if line.startswith(CODE) or (code and line == "//"):
            first = first if code else number
            code.append(line[len(CODE):])
        elif code:
            found.append((first, "\n".join(code).rstrip()))
            code = []
    return found


def main():
    output, *headers = (pathlib.Path(argument) for argument in sys.argv[1:])
    text = ['#include "tests/engine/header_examples.h"', "",
            *(f'#include "engine/{header.name}"' for header in headers), "",
            "#include <cstdio>", "", "namespace {"]
    rows = []
    for header in headers:
        for line, code in examples(header.read_text(encoding="utf-8")):
            creates = "tagQBReport* report =" in code
            name = f"{header.stem}AtLine{line}"
            text.append(f"\nvoid {name}(tagQBReport*{'' if creates else ' report'}) {{")
            text += ["    " + part if part else "" for part in code.splitlines()]
            text.append("}")
            rows.append(f'    {{"{header.name}", {line}, {name}}},')
    text += ["", "}  // namespace", "", "const std::vector<HeaderExample> kHeaderExamples = {", *rows, "};", ""]
    output.write_text("\n".join(text), encoding="utf-8")


if __name__ == "__main__":
    main()
