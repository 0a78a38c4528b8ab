#!/usr/bin/python3
"""Reports of ten thousand to ten million rows: CPU time and peak memory per source and format.

usage: bench/rows_bench.py [LIBQBSVRL6] [ROWS ...] [SOURCE ...] [FORMAT ...]
       (build/bench/lib/libqbsvrl6.so; 10000 100000 1000000 10000000; json xml; pdf xlsx csv)

The report is sales.qbf: groups with sub-totals, and "page x of y". Each document is made by a process of its own, which
loads the data from a file and exports to a file; the size of the document and its last row are checked. Memory is the
largest resident set, with 9 MiB of the Python that calls the engine. Temporary files go to TMPDIR: if it is in memory
(tmpfs), the measured process does not show them.
"""

import json
import pathlib
import shutil
import subprocess
import sys
import tempfile
import zipfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from report_bench import ROOT, TEMPLATE, measured, rows  # noqa: E402

KINDS = {"xls": 1, "xlsx": 1, "txt": 2, "htm": 3, "rtf": 4, "pdf": 5, "csv": 6}
SOURCES = ("json", "xml")
REPEATED = 10_000  # rows that are made once; the others repeat them with their own numbers

EXPORT = """
import ctypes, sys
library, folder, template, data, output, kind, xlsx = sys.argv[1:]
engine = ctypes.CDLL(library)
text = lambda s: ctypes.create_string_buffer(s.encode("utf-16-le") + b"\\0\\0")
def call(name, *arguments, result=ctypes.c_int):
    function = getattr(engine, name)
    function.restype = result
    return function(*arguments)
handle = lambda pointer: ctypes.c_void_p(pointer)
call("QBInitConfig", text(folder))
report = handle(call("QBReportCreate", result=ctypes.c_void_p))
assert call("QBReportLoadFromFile", report, text(template)) and call("QBReportLoadDataFromURL", report, text(data))
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
    encode = json.JSONEncoder(ensure_ascii=False).encode
    with open(path, "w", encoding="utf-8") as file:
        if source == "json":
            for number, row in enumerate(records(count)):
                file.write(("," if number else "[") + "\n" + encode(row))
            file.write("]\n")
        else:
            file.write("<rows>\n")
            for row in records(count):
                file.write("<row " + " ".join(f'{name}="{value}"' for name, value in row.items()) + "/>\n")
            file.write("</rows>\n")


def has_last_row(path, kind, count):
    """Whether the document ends with the last row; text is looked for at its end."""
    if kind == "pdf":
        last = subprocess.run(["pdfinfo", path], capture_output=True, check=True).stdout.decode().split("Pages:")[1].split()[0]
        text = subprocess.run(["pdftotext", "-f", last, path, "-"], capture_output=True, check=True).stdout
    elif kind == "xlsx":
        with zipfile.ZipFile(path) as archive:
            last = max((name for name in archive.namelist() if name.startswith("xl/worksheets/sheet")), key=lambda n: (len(n), n))
            text = b""
            with archive.open(last) as sheet:
                while block := sheet.read(1 << 20):
                    text = text[-(1 << 16):] + block
    else:
        with open(path, "rb") as file:
            file.seek(max(path.stat().st_size - (1 << 20), 0))
            text = file.read()
        if kind == "xls":
            text = text.replace(b"\0", b"")
    return f"R{count:08d}".encode() in text


def main():
    words = sys.argv[1:]
    library = next((word for word in words if word.endswith(".so")), ROOT / "build/bench/lib/libqbsvrl6.so")
    counts = [int(word) for word in words if word.isdigit()] or [10**4, 10**5, 10**6, 10**7]
    sources = [word for word in words if word in SOURCES] or SOURCES
    kinds = [word for word in words if word in KINDS] or ["pdf", "xlsx", "csv"]
    folder = pathlib.Path(tempfile.mkdtemp(dir=tempfile.gettempdir()))
    print(f"{'rows':>9}  {'source':<7}{'MiB':>7}  {'format':<6}{'MiB':>7}{'wall s':>9}{'CPU s':>9}{'peak MiB':>10}{'rows/s':>10}")
    try:
        for count in counts:
            for source in sources:
                data = folder / "data.txt"
                write_data(data, source, count)
                size = data.stat().st_size / 2**20
                for kind in kinds:
                    output = folder / f"document.{kind}"
                    output.unlink(missing_ok=True)
                    command = ["/usr/bin/python3", "-I", "-S", "-c", EXPORT, library, folder, TEMPLATE, data, output, KINDS[kind], int(kind == "xlsx")]
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
