"""Follows the instructions of docs/first-report.md and checks the results.

usage: first_report_test.py QBREPORT
"""

import json
import os
import pathlib
import subprocess
import sys
import tempfile

import openpyxl

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts"))
import first_report  # noqa: E402

PROGRAM = pathlib.Path(sys.argv[1]).resolve()
SIGNATURES = {
    "pdf": b"%PDF-1.7", "xlsx": b"PK\x03\x04", "xls": b"\xd0\xcf\x11\xe0", "html": b"<!DOCTYPE html>", "rtf": b"{\\rtf1",
    "txt": b"Sales in March", "csv": b"\xef\xbb\xbfSales in March", "tiff": b"II*\0", "png": b"\x89PNG",
}


def text_of(pdf):
    return subprocess.run(["pdftotext", "-layout", pdf, "-"], check=True, capture_output=True, text=True).stdout


with tempfile.TemporaryDirectory() as name:
    folder, pages = pathlib.Path(name), []
    for step in first_report.follow(folder, f"{PROGRAM.parent}:{os.environ['PATH']}"):
        if step <= 3:
            pages.append(text_of(folder / "sales.pdf"))

    rows = json.loads((folder / "sales.json").read_text("utf-8"))
    amounts = {}
    for row in rows:
        amounts.setdefault(row["City"], []).append(row["Quantity"] * row["Price"])
    totals = [f"{sum(city):,.2f}" for city in amounts.values()] + [f"{sum(map(sum, amounts.values())):,.2f}"]
    assert all(row["Product"] in pages[0] for row in rows) and not any(total in pages[0] for total in totals), pages[0]
    assert all(total in pages[1] for total in totals) and "Sales by city" not in pages[1], pages[1]
    assert "Sales by city" in pages[2] and "Page 1 of 1" in pages[2], pages[2]

    for source in ("csv", "odbc", "lines"):
        assert all(total in text_of(folder / f"from-{source}.pdf") for total in totals), source
    for city, product, other in (("Oslo", "Salmon", "Ham"), ("Lisbon", "Sardines", "Salmon")):
        text = text_of(folder / f"{city.lower()}.pdf")
        assert product in text and other not in text and f"{sum(amounts[city]):,.2f}" in text, text

    for kind, signature in SIGNATURES.items():
        assert (folder / f"sales.{kind}").read_bytes().startswith(signature), kind
    assert totals[-1] in (folder / "sales.txt").read_text("utf-8")
    values = [row[3] for row in openpyxl.load_workbook(folder / "sales.xlsx").worksheets[0].iter_rows(values_only=True)]
    assert [value for value in values if isinstance(value, (int, float))][-1] == sum(map(sum, amounts.values())), values
