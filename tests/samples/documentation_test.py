#!/usr/bin/python3
"""Makes a document of every example in docs/template-format.md and docs/archive.md, and of the reports over nested tables
in docs/data.md.

documentation_test.py PROGRAM DOCS

An example that isn't a whole report is put where it belongs in one. Each must be what the schema allows, load and
become a PDF, with nothing in the engine's log but fonts that stand in for others.
"""

import base64
import json
import pathlib
import re
import subprocess
import sys
import tempfile

IN_REPORT = {"Info", "Pdf", "Workbook", "Csv", "Txt", "Page", "Styles", "Parameters", "Grid", "CrossTable", "Labels", "Background", "Watermark", "Printer", "DefaultStyle"}
IN_GRID = {"Recordset", "Columns", "Groups"}
RED_DOT = ("iVBORw0KGgoAAAANSUhEUgAAAAUAAAAFCAYAAACNbyblAAAAHElEQVQI12P4//8/w38GIAXDIBKE0DHxgljNBAAO9TXL0Y4OHwAAAABJ"
           "RU5ErkJggg==")
ROWS = [{"CompanyName": "蓝海", "Amount": 1250.5, "Price": 2, "Quantity": 3, "OrderDate": "2024-03-05", "Product": "茶",
         "Photo": RED_DOT, "City": "南京", "Id": 7, "OrderId": 9, "Order": 9, "Region": "华东", "Category": "饮料", "Stock": 12,
         "Customer": "蓝海", "Rate": 0.13}]


def examples(page):
    for block in re.findall(r"^```xml\n(.*?)^```", page.read_text("utf-8"), re.M | re.S):
        if block.startswith("<?xml"):
            yield block
            continue
        # Several elements of one name are as many examples, unless they may stand together.
        first = re.match(r"<(\w+)", block).group(1)
        parts = re.findall(r"^<Page .*?/>$", block, re.M) if first == "Page" else [block]
        for part in parts:
            if first == "Column":
                part = f"<Grid><Columns>{part}</Columns></Grid>"
            elif first in IN_GRID:
                part = f"<Grid>{part}</Grid>"
            elif first not in IN_REPORT and not first.startswith(("Report", "Page")):
                part = f'<ReportHeader height="100mm">{part}</ReportHeader>'
            # What an example refers to and another one defines.
            styles = "" if "<Styles>" in part else '<Styles><Style name="negative"/></Styles>'
            contents = "" if re.search("<(Grid|CrossTable|Report[HF]|Page[HF])", part) else '<ReportHeader height="1mm"/>'
            yield f'<Report version="1">{styles}{part}{contents}</Report>'


def faults(program, schema, directory, example):
    template = directory / "example.qbf"
    template.write_text(example, "utf-8")
    log = directory / "log" / "qbsvrl6.log"
    log.unlink(missing_ok=True)
    pdf = directory / "example.pdf"
    pdf.unlink(missing_ok=True)
    query = re.search(r'<Data [^>]*query="([^"]+)"', example)
    named = directory / query.group(1) if query else directory
    data = named if named.is_file() else directory / "customers.txt"
    subprocess.run([program, "-gen_full", directory, template, data, pdf, "pdf"],
                   cwd=directory, stdout=subprocess.DEVNULL, timeout=120, check=True)
    logged = log.read_text("utf-8").splitlines() if log.exists() else []
    found = [line for line in logged if "is not installed" not in line]
    if not pdf.exists():
        found.append("no document was made")
    checked = subprocess.run(["xmllint", "--noout", "--schema", schema, template], capture_output=True, text=True)
    if checked.returncode != 0:
        found.append(checked.stderr)
    return found


def main():
    program = pathlib.Path(sys.argv[1]).resolve()
    docs = pathlib.Path(sys.argv[2]).resolve()
    failures = 0
    with tempfile.TemporaryDirectory() as scratch:
        directory = pathlib.Path(scratch)
        for name in ("customers.txt", "orders.txt", "rows.txt"):
            (directory / name).write_text(json.dumps({"Rows": ROWS, "Orders": ROWS, "Customers": ROWS, "Lines": ROWS}), "utf-8")
        for name in ("paper.png", "shop.png"):
            (directory / name).write_bytes(base64.b64decode(RED_DOT))
        count = 0
        for name, data in re.findall(r"^```json (\S+)\n(.*?)^```", (docs / "data.md").read_text("utf-8"), re.M | re.S):
            (directory / name).write_text(data, "utf-8")
        nested = [example for example in examples(docs / "data.md") if example.startswith("<?xml")]
        for example in [*examples(docs / "template-format.md"), *examples(docs / "archive.md"), *nested]:
            count += 1
            if "<Library" in example:  # that the next one includes
                (directory / "house-style.qbf").write_text(example, "utf-8")
                continue
            for fault in faults(program, docs / "template-format.xsd", directory, example):
                failures += 1
                print(f"{fault}\n in {example}")
    if count < 20:
        failures += 1
        print(f"only {count} examples were found")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
