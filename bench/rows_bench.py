#!/usr/bin/python3
"""Reports of ten thousand to ten million rows: CPU time and peak memory per source and format.

usage: bench/rows_bench.py [--library FILE] [--rows N ...] [--sources WORD ...] [--formats WORD ...]

The report is sales.qbf: groups with sub-totals, and "page x of y". Each document is made by a process of its own, which
loads the data from a file and exports to a file; the size of the document and its last row are checked. Memory is the
largest resident set, with some 14 MiB of the Python that calls the engine. Temporary files go to TMPDIR: if it is in memory
(tmpfs), the measured process does not show them.
"""

import argparse
import csv
import json
import pathlib
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import zipfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from report_bench import ROOT, TEMPLATE, measured, rows  # noqa: E402

KINDS = {"xls": 1, "xlsx": 1, "txt": 2, "htm": 3, "rtf": 4, "pdf": 5, "csv": 6}
SOURCES = ("json", "csv", "jsonl", "sqlite", "xml")
COLUMNS = {"Region": "TEXT", "No": "TEXT", "Date": "DATE", "Customer": "TEXT", "Product": "TEXT", "Quantity": "INTEGER",
           "Price": "DECIMAL(10,2)", "Amount": "DECIMAL(12,2)", "Note": "TEXT"}
REPEATED = 10_000  # rows that are made once; the others repeat them with their own numbers

EXPORT = """
import ctypes, sys
library, folder, template, source, data, output, kind, xlsx = sys.argv[1:]
engine = ctypes.CDLL(library)
text = lambda s: ctypes.create_string_buffer(s.encode("utf-16-le") + b"\\0\\0")
def call(name, *arguments, result=ctypes.c_int):
    function = getattr(engine, name)
    function.restype = result
    return function(*arguments)
handle = lambda pointer: ctypes.c_void_p(pointer)
call("QBInitConfig", text(folder))
report = handle(call("QBReportCreate", result=ctypes.c_void_p))
assert call("QBReportLoadFromFile", report, text(template))
if source == "json" or source == "xml":
    assert call("QBReportLoadDataFromURL", report, text(data))
else:
    call("QBReportSetConnectionString", report, text("sqlite:" + data if source == "sqlite" else source))
    call("QBReportSetQuerySQL", report, text("SELECT * FROM Sales" if source == "sqlite" else data))
option = handle(call("QBReportPrepareExport", report, int(kind), result=ctypes.c_void_p))
call("QBExportOptionSetFileName", option, text(output))
if xlsx == "1":
    sheets = handle(call("QBExportOptionGetAsE2XLSOption", option, result=ctypes.c_void_p))
    call("QBE2XLSOptionSetToXlsxFormat", sheets, 1)
sys.exit(0 if call("QBReportExport", report, 0) else 1)
"""


def records(count):
    pattern = list(rows(min(count, REPEATED)))
    for number in range(1, count + 1):
        row = pattern[(number - 1) % len(pattern)]
        row["Region"], row["No"] = f"地区 {(number - 1) * 12 // count + 1}", f"R{number:08d}"
        yield row


def write_data(path, source, count):
    path.unlink(missing_ok=True)
    if source == "sqlite":
        with sqlite3.connect(path) as database:
            database.execute("CREATE TABLE Sales (" + ", ".join(f"{name} {kind}" for name, kind in COLUMNS.items()) + ")")
            database.executemany(f"INSERT INTO Sales VALUES ({', '.join('?' * len(COLUMNS))})",
                                 ([row[name] for name in COLUMNS] for row in records(count)))
        return
    encode = json.JSONEncoder(ensure_ascii=False).encode
    with open(path, "w", encoding="utf-8", newline="") as file:
        if source == "csv":
            table = csv.DictWriter(file, COLUMNS)
            table.writeheader()
            table.writerows(records(count))
        elif source == "xml":
            file.write("<rows>\n")
            for row in records(count):
                file.write("<row " + " ".join(f'{name}="{value}"' for name, value in row.items()) + "/>\n")
            file.write("</rows>\n")
        else:
            for number, row in enumerate(records(count)):
                file.write(("" if source == "jsonl" else ",\n" if number else "[\n") + encode(row) + ("\n" if source == "jsonl" else ""))
            file.write("" if source == "jsonl" else "]\n")


def has_last_row(path, kind, count):
    """Whether the document has the last row, at its end if the format has it there."""
    if kind == "pdf":
        last = subprocess.run(["pdfinfo", path], capture_output=True, check=True).stdout.decode().split("Pages:")[1].split()[0]
        text = subprocess.run(["pdftotext", "-f", last, path, "-"], capture_output=True, check=True).stdout
    elif kind == "xlsx":
        with zipfile.ZipFile(path) as archive:
            last = max((name for name in archive.namelist() if name.startswith("xl/worksheets/sheet")), key=lambda n: (len(n), n))
            text = b""
            with archive.open(last) as sheet:
                while block := sheet.read(1 << 20):
                    text = text[-(1 << 22):] + block  # page breaks follow the rows
    elif kind == "xls":  # its texts are before its rows
        text = path.read_bytes().replace(b"\0", b"")
    else:
        with open(path, "rb") as file:
            file.seek(max(path.stat().st_size - (1 << 20), 0))
            text = file.read()
    return f"R{count:08d}".encode() in text


def main():
    words = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    words.add_argument("--library", default=ROOT / "build/bench/lib/libqbsvrl6.so")
    words.add_argument("--rows", nargs="+", type=int, default=[10**4, 10**5, 10**6])
    words.add_argument("--sources", nargs="+", choices=SOURCES, default=SOURCES[:4])
    words.add_argument("--formats", nargs="+", choices=KINDS, default=["pdf", "xlsx", "csv"])
    options = words.parse_args()
    folder = pathlib.Path(tempfile.mkdtemp(dir=tempfile.gettempdir()))
    print(f"{'rows':>9}  {'source':<7}{'MiB':>7}  {'format':<6}{'MiB':>7}{'wall s':>9}{'CPU s':>9}{'peak MiB':>10}{'rows/s':>10}")
    try:
        for count in options.rows:
            for source in options.sources:
                data = folder / "data"
                write_data(data, source, count)
                size = data.stat().st_size / 2**20
                for kind in options.formats:
                    output = folder / f"document.{kind}"
                    output.unlink(missing_ok=True)
                    command = ["/usr/bin/python3", "-I", "-S", "-c", EXPORT, options.library, folder, TEMPLATE, source, data, output, KINDS[kind], int(kind == "xlsx")]
                    wall, cpu, peak = measured(command)
                    if not output.exists() or not has_last_row(output, kind, count):
                        print(f"{count:>9}  {source:<7}{size:>7.0f}  {kind:<6} no document: see {folder}/log", flush=True)
                        continue
                    print(f"{count:>9}  {source:<7}{size:>7.0f}  {kind:<6}{output.stat().st_size / 2**20:>7.1f}{wall:>9.2f}{cpu:>9.2f}{peak:>10.1f}"
                          f"{count / max(cpu, 1e-9):>10.0f}", flush=True)
                    output.unlink()
    finally:
        shutil.rmtree(folder)


if __name__ == "__main__":
    main()
