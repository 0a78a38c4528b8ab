#!/usr/bin/python3
"""Follows the examples of docs/data.md: their files and databases, their templates, and the CSV that these become.

data_page_test.py PROGRAM DOCS

A block "```csv orders.csv" is a file, "```sql shop.db" makes a database, "```xml" is a template, and "```output" is
what the template before it becomes.
"""

import pathlib
import re
import sqlite3
import subprocess
import sys
import tempfile

program, page = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]) / "data.md"
outputs, faults = 0, []

with tempfile.TemporaryDirectory() as name:
    folder = pathlib.Path(name)
    for kind, file, text in re.findall(r"^```(\w+) ?(\S*)\n(.*?)^```", page.read_text("utf-8"), re.M | re.S):
        if kind == "sql":
            (folder / file).unlink(missing_ok=True)
            with sqlite3.connect(folder / file) as database:
                database.executescript(text)
        elif file:
            (folder / file).write_text(text, "utf-8")
        elif kind == "xml" and text.startswith("<Report"):
            (folder / "example.qbf").write_text(text, "utf-8")
            (folder / "example.csv").unlink(missing_ok=True)
            (folder / "log/qbsvrl6.log").unlink(missing_ok=True)
            (folder / "log").mkdir(exist_ok=True)
            subprocess.run([program, "-gen_full", folder, "example.qbf", "no data", "example.csv", "csv"], cwd=folder,
                           stdout=subprocess.DEVNULL, timeout=120, check=True)
            log = (folder / "log/qbsvrl6.log").read_text("utf-8") if (folder / "log/qbsvrl6.log").exists() else ""
            if " error" in log or not (folder / "example.csv").exists():
                faults.append(f"{text}\n{log}")
        elif kind == "output":
            outputs += 1
            found = (folder / "example.csv").read_text("utf-8-sig").replace("\r\n", "\n")
            if found != text:
                faults.append(f"expected:\n{text}\nfound:\n{found}")

print("\n".join(faults))
sys.exit(bool(faults) or outputs == 0)
