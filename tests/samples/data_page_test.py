#!/usr/bin/python3
"""Follows the examples of docs/data.md: their files and databases, their templates, and the CSV that these become.

data_page_test.py PROGRAM DOCS

A block "```csv orders.csv" is a file, "```sql shop.db" makes a database, "```xml" is a template, "```output" is what
the template before it becomes, and "```log" what its export logs.
"""

import pathlib
import re
import sqlite3
import subprocess
import sys
import tempfile

# What provokes the first messages of the page's last table: a connection, a query, and the bytes of orders.csv.
CAUSES = [
    ("csv", "orders.csv", b'A,B\n1,2\n12345,"x'),
    ("csv", "orders.csv", b"A,B,C,D,\xc4\xcf\n"),
    ("sqlite:shop.db", "SELECT * FROM [Order]", b""),
    ("sqlite:shop.db", "SELECT * FROM Orders WHERE Customer = :Region", b""),
]

program, page = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]) / "data.md"
outputs, faults = 0, []


def export(folder, template):
    """Makes example.csv; returns the log."""
    (folder / "example.qbf").write_text(template, "utf-8")
    (folder / "example.csv").unlink(missing_ok=True)
    log = folder / "log/qbsvrl6.log"
    log.unlink(missing_ok=True)
    log.parent.mkdir(exist_ok=True)
    subprocess.run([program, "-gen_full", folder, "example.qbf", "no data", "example.csv", "csv"], cwd=folder,
                   stdout=subprocess.DEVNULL, timeout=120, check=True)
    return log.read_text("utf-8") if log.exists() else ""


with tempfile.TemporaryDirectory() as name:
    folder = pathlib.Path(name)
    for kind, file, text in re.findall(r"^```(\w+) ?(\S*)\n(.*?)^```", page.read_text("utf-8"), re.M | re.S):
        if kind == "sql":
            (folder / file).unlink(missing_ok=True)
            with sqlite3.connect(folder / file) as database:
                database.executescript(text)
        elif file:
            (folder / file).write_text(text, "utf-8")
        elif kind == "xml" and text.startswith(("<Report", "<?xml")):
            log = export(folder, text)
            if " error" in log or not (folder / "example.csv").exists():
                faults.append(f"{text}\n{log}")
        elif kind == "log" and text.strip() not in log:
            faults.append(f"expected:\n{text}\nfound:\n{log}")
        elif kind == "output":
            outputs += 1
            found = (folder / "example.csv").read_text("utf-8-sig").replace("\r\n", "\n")
            if found != text:
                faults.append(f"expected:\n{text}\nfound:\n{found}")
    messages = re.findall(r"^\| `(.*?)` \|", page.read_text("utf-8").split("## When something is wrong")[1], re.M)
    for message, (connection, query, file) in zip(messages, CAUSES):
        (folder / "orders.csv").write_bytes(file)
        log = export(folder, f'<Report version="1"><Data connection="{connection}" query="{query}"/><Grid><Columns>'
                             f'<Column name="A" width="9mm"/></Columns></Grid></Report>')
        if message not in log or (folder / "example.csv").exists():
            faults.append(f"expected in the log:\n{message}\nfound:\n{log}")

print("\n".join(faults))
sys.exit(bool(faults) or outputs == 0)
