#!/usr/bin/python3
"""Whole reports, from template and data to a document: time and memory of qbsvrtest beside other programs.

usage: bench/report_bench.py [QBSVRTEST] [ROWS ...]     (build/bench/bin/qbsvrtest; 50 5000 50000)

The report is the usual one (sales.qbf): eight columns of Chinese and Latin text, numbers and dates, grouped with
sub-totals, page x of y. Each document is checked (pages, the last row's text) before its time counts. CPU seconds are
user and system of the whole process and its children; memory is the largest resident set. Peers run where they are
installed: python3-reportlab, wkhtmltopdf, weasyprint, Chromium, LibreOffice; they draw a plain table of the same rows,
without groups and page numbers. "deflate" is the floor: compressing the page streams alone.
"""

import html
import json
import pathlib
import random
import re
import shutil
import subprocess
import sys
import tempfile
import time
import zlib

ROOT = pathlib.Path(__file__).resolve().parent.parent
RUNS = 5  # the best counts
TEMPLATE = ROOT / "bench/sales.qbf"
NAMES = ["No", "Date", "Customer", "Product", "Quantity", "Price", "Amount", "Note"]


def rows(count):
    rnd = random.Random(count)
    heads, products = ["东方贸易公司", "恒信科技", "Bluewater Foods", "瑞丰物流集团", "明远文化"], ["龙井绿茶", "Espresso Beans", "五常大米", "东海带鱼", "Olive Oil"]
    for number in range(1, count + 1):
        quantity, price = rnd.randint(1, 400), round(rnd.uniform(1, 900), 2)
        yield {"Region": f"地区 {(number - 1) * 12 // count + 1}", "No": f"R{number:06d}", "Date": f"2026-{rnd.randint(1, 12):02d}-{rnd.randint(1, 28):02d}",
               "Customer": rnd.choice(heads), "Product": rnd.choice(products), "Quantity": quantity, "Price": price,
               "Amount": round(quantity * price, 2), "Note": rnd.choice(["", "急", "ok", "退货"])}


# In a process of its own: what the largest resident set starts from is that of the process that starts the command.
MEASURE = """
import os, subprocess, sys, time
started = time.perf_counter()
child = subprocess.Popen(sys.argv[1:], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
usage = os.wait4(child.pid, 0)[2]
print(time.perf_counter() - started, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024)
"""


def measured(command):
    """Runs a command: seconds of wall clock, CPU seconds, peak MiB."""
    words = ["/usr/bin/python3", "-I", "-S", "-c", MEASURE] + [str(word) for word in command]
    return [float(word) for word in subprocess.run(words, capture_output=True, check=True).stdout.split()]


def pdf_check(path, last):
    text = subprocess.run(["pdftotext", "-layout", path, "-"], capture_output=True, check=True).stdout.decode()
    assert last in text, f"{path}: the last row is missing"
    return text.count("\f")


def floor(path):
    """CPU seconds of deflating the document's page streams alone, as zlib does it by default."""
    plain = path.with_suffix(".plain.pdf")
    subprocess.run(["qpdf", "--qdf", "--object-streams=disable", path, plain], check=True)
    pages = re.findall(rb"%% Contents for page \d+\n.*?\nstream\n(.*?)\nendstream", plain.read_bytes(), re.S)
    assert len(pages) > 0, f"{path}: no page streams found"
    best = float("inf")
    for _ in range(3):
        started = time.process_time()
        for page in pages:
            zlib.compress(page)
        best = min(best, time.process_time() - started)
    return best


REPORTLAB = """
import json, sys
from reportlab.lib import colors
from reportlab.lib.pagesizes import A4
from reportlab.pdfbase import pdfmetrics
from reportlab.pdfbase.cidfonts import UnicodeCIDFont
from reportlab.platypus import LongTable, SimpleDocTemplate
pdfmetrics.registerFont(UnicodeCIDFont('STSong-Light'))
names = sys.argv[3].split(',')
rows = json.load(open(sys.argv[1]))
table = LongTable([names] + [[str(row[name]) for name in names] for row in rows], repeatRows=1,
                  style=[('FONT', (0, 0), (-1, -1), 'STSong-Light', 8.5), ('GRID', (0, 0), (-1, -1), 0.3, colors.grey)])
SimpleDocTemplate(sys.argv[2], pagesize=A4).build([table])
"""


def peers(directory, data, count):
    if subprocess.run(["/usr/bin/python3", "-c", "import reportlab"], capture_output=True).returncode == 0:
        yield "reportlab", ["/usr/bin/python3", "-c", REPORTLAB, data, directory / "reportlab.pdf", ",".join(NAMES)], directory / "reportlab.pdf"
    page = directory / "page.html"
    body = "".join("<tr>" + "".join(f"<td>{html.escape(str(row[name]))}</td>" for name in NAMES) + "</tr>" for row in rows(count))
    page.write_text(f"<meta charset=utf-8><style>td{{border:1px solid #888;font-size:9px}}</style><table><thead><tr>"
                    + "".join(f"<th>{name}</th>" for name in NAMES) + f"</tr></thead>{body}</table>", "utf-8")
    if count > 5000:
        return  # minutes each
    for program in ("wkhtmltopdf", "weasyprint"):
        if shutil.which(program):
            yield program, [program, page, directory / f"{program}.pdf"], directory / f"{program}.pdf"
    if shutil.which("chromium"):
        out = directory / "chromium.pdf"
        yield "Chromium", ["chromium", "--headless", "--no-sandbox", "--disable-gpu", f"--user-data-dir={directory}/chromium",
                           f"--print-to-pdf={out}", page.as_uri()], out
    if shutil.which("soffice"):
        yield "LibreOffice", ["soffice", f"-env:UserInstallation=file://{directory}/profile", "--headless", "--convert-to", "pdf",
                              "--outdir", directory, page], directory / "page.pdf"


def main():
    words = sys.argv[1:]
    program = pathlib.Path(words.pop(0)) if words and not words[0].isdigit() else ROOT / "build/bench/bin/qbsvrtest"
    counts = [int(word) for word in words] or [50, 5000, 50000]
    directory = pathlib.Path(tempfile.mkdtemp())
    print(f"{'rows':>6}  {'program':<14}{'wall s':>9}{'CPU s':>9}{'peak MiB':>10}{'pages':>7}{'rows/s':>10}")

    def show(count, name, wall, cpu, peak, pages=""):
        print(f"{count:>6}  {name:<14}{wall:>9.3f}{cpu:>9.3f}{peak:>10.1f}{pages:>7}{count / max(cpu, 1e-9):>10.0f}", flush=True)

    try:
        for count in counts:
            data = directory / "r.txt"
            data.write_text(json.dumps(list(rows(count)), ensure_ascii=False), "utf-8")
            last = f"R{count:06d}"
            for kind in ("pdf", "xlsx", "xls", "csv", "txt"):
                out = directory / f"ours.{kind}"
                best = min((measured([program, "-gen_full", directory, TEMPLATE, data, out, kind]) for _ in range(RUNS)), key=lambda m: m[1])
                if not out.exists():
                    print(f"{count:>6}  qbsvrtest {kind}: no document")
                    continue
                pages = pdf_check(out, last) if kind == "pdf" else ""
                show(count, f"qbsvrtest {kind}", *best, pages)
                if kind == "pdf":
                    show(count, "deflate", 0, floor(out), 0)
            for name, command, out in peers(directory, data, count):
                result = measured(command)
                show(count, name, *result, pdf_check(out, last) if out.exists() else "none")
    finally:
        shutil.rmtree(directory)


if __name__ == "__main__":
    main()
