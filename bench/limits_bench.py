#!/usr/bin/python3
"""What an export takes at each limit of its budget, and how soon it ends beyond it: CPU time and peak memory.

usage: bench/limits_bench.py [LIBQBSVRL6] [LIMIT ...]     (build/bench/lib/libqbsvrl6.so; every limit)

Each document is made by a process of its own, from an input that needs exactly the figure and from one that needs one
more. The first must become a document, and the second must fail with the limit's name. Where the default figure would
take minutes, a lower one is set. Memory is the largest resident set, with 9 MiB of the Python that calls the engine.
"""

import http.server
import os
import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile
import threading
import time
import zlib

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from report_bench import ROOT, measured  # noqa: E402

MIB = 2**20

EXPORT = """
import ctypes, sys
library, folder, template, data, output, form = sys.argv[1:]
engine = ctypes.CDLL(library)
engine.QBReportCreate.restype = ctypes.c_void_p
class Message(ctypes.Structure):
    _fields_ = [("size", ctypes.c_uint64), ("severity", ctypes.c_int32), ("line", ctypes.c_int32),
                ("column", ctypes.c_int32), ("file", ctypes.c_char_p), ("text", ctypes.c_char_p)]
engine.QBInitConfig(ctypes.create_string_buffer(folder.encode("utf-16-le") + b"\\0\\0"))
report = ctypes.c_void_p(engine.QBReportCreate())
done = (engine.QBXReportLoadTemplateFile(report, template.encode())
        and (data == "-" or engine.QBXReportLoadDataFrom(report, b"xml", data.encode()))
        and engine.QBXReportPrepareExport(report, form.encode())
        and engine.QBXReportExportToFile(report, output.encode()))
if not done:
    error = Message(ctypes.sizeof(Message))
    engine.QBXReportGetLastError(report, ctypes.byref(error))
    open(output + ".error", "wb").write(error.text or b"")
"""


def report(content):
    return f"<Report version='1'>{content}</Report>".encode()


TABLE = report("<Grid><Columns><Column name='c' width='60mm'><Content text='[c]'/></Column></Columns></Grid>")
NOTHING = report("<ReportHeader><Text width='20mm' height='5mm' text='x'/></ReportHeader>")
PICTURES = report("<Grid rowHeight='40mm'><Columns><Column name='c' width='60mm'><Content><Picture source='[c]'/></Content></Column>"
                  "</Columns></Grid>")


def table(rows, between=b",\n"):
    return b"[" + between.join(rows) + b"]"


def png(width, height, shade=0):
    """An 8-bit RGBA picture, whose transparency has to be separated from its colours."""
    def chunk(kind, content):
        return struct.pack(">I", len(content)) + kind + content + struct.pack(">I", zlib.crc32(kind + content))
    packer = zlib.compressobj(1)
    row = b"\0" + bytes((shade, 0x40, 0x60, 0x80)) * width
    rows = b"".join(packer.compress(row) for _ in range(height)) + packer.flush()
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)) \
        + chunk(b"IDAT", rows) + chunk(b"IEND", b"")


def jpeg(folder, scans):
    """A progressive picture whose last scan is repeated."""
    from PIL import Image
    path = folder / "scans.jpg"
    Image.new("RGB", (2000, 2000), "teal").save(path, progressive=True)
    file = path.read_bytes()
    last = file.rfind(b"\xff\xda")
    return file[:last] + file[last:-2] * (scans - file.count(b"\xff\xda") + 1) + file[-2:]


def links(folder, count, content, ending):
    """The names of `count` files of this content, as rows."""
    pictures = folder / "pictures"
    shutil.rmtree(pictures, ignore_errors=True)
    pictures.mkdir()
    first = pictures / f"0{ending}"
    first.write_bytes(content)
    for number in range(1, count):
        os.link(first, pictures / f"{number}{ending}")
    return table(b'{"c":"pictures/%d%s"}' % (number, ending.encode()) for number in range(count))


# Each makes an input that needs `amount` of its limit: a template and data.

def cells(_, amount):  # a row counts as one, and so does its value
    rows = [b'{"c":1}'] * (amount // 2) + [b"{}"] * (amount % 2)
    return TABLE, table(rows)


def name_length(_, amount):
    return NOTHING, b'[{"%s":1}]' % (b"n" * amount)


def fetches(folder, amount):
    return PICTURES, links(folder, amount, png(1, 1), ".png")


def fetched_bytes(_, amount):
    return NOTHING, b'[{"c":1}]'.ljust(amount)


def pages(_, amount):
    one = report("<Grid rowHeight='200mm'><Columns><Column name='c' width='60mm'><Content text='[c]'/></Column>"
                 "</Columns></Grid>")
    return one, table(b'{"c":%d}' % row for row in range(amount))


def page_items(_, amount):
    text = "<Text width='20mm' height='5mm' text='x'/>"
    return report(f"<ReportHeader>{text * amount}</ReportHeader>"), None


def pixels(folder, amount):
    whole, rest = divmod(amount, 10_000 * 10_000)
    sizes = [(10_000, 10_000)] * whole + [(rest, 1)] * (rest > 0)
    for number, size in enumerate(sizes):  # equal pictures are decoded once
        (folder / f"{number}.png").write_bytes(png(*size, number))
    return PICTURES, table(b'{"c":"%d.png"}' % number for number in range(len(sizes)))


def picture_scans(folder, amount):
    return PICTURES, links(folder, 1, jpeg(folder, amount), ".jpg")


def template_elements(_, amount):  # beside the report
    return report("<Styles>" + "<Style name='s%d'/>" % 0 + "".join(f"<Style name='t{n}' parent='s0'/>" for n in range(amount - 3))
                  + "</Styles>"), None


LIMITS = {  # name: the figure, null for its default; the default or this figure; the format; the input
    "cells": (20_000_000, "csv", cells),
    "name-length": (None, "csv", name_length),
    "fetches": (None, "pdf", fetches),
    "fetched-bytes": (256 * MIB, "csv", fetched_bytes),
    "pages": (100_000, "pdf", pages),
    "page-items": (200_000, "pdf", page_items),
    "pixels": (400_000_000, "pdf", pixels),
    "picture-scans": (None, "tiff", picture_scans),
    "template-elements": (None, "csv", template_elements),
}


class Bench:
    def __init__(self, library, folder):
        self.library, self.folder = library, folder

    def run(self, limit, figure, form, template, data):
        """CPU seconds, peak MiB, and the error: empty if there is a document."""
        settings = f"budget.{limit} = {figure}\n" if figure is not None else ""
        (self.folder / "qbsvrl6.conf").write_text(settings + "reach.hosts = any\n", "utf-8")
        for name, content in (("t.qbf", template), ("d.txt", data)):
            if content is not None:
                (self.folder / name).write_bytes(content)
        output = self.folder / "document"
        error = self.folder / "document.error"
        output.unlink(missing_ok=True)
        error.unlink(missing_ok=True)
        wall, cpu, peak = measured(["/usr/bin/python3", "-I", "-S", "-c", EXPORT, self.library, self.folder, self.folder / "t.qbf",
                                    self.folder / "d.txt" if data is not None else "-", output, form])
        message = error.read_text("utf-8", "replace") if error.exists() else ""
        assert output.exists() != error.exists(), f"{limit}: {message}"
        return wall, cpu, peak, message

    def show(self, limit, figure, form, at, beyond):
        fits = f"{at[1]:>9.2f}{at[2]:>9.0f}" if at else " " * 18
        assert beyond[3] and f"budget {limit} " in beyond[3], f"{limit}: {beyond[3] or 'a document'}"
        print(f"{limit:<18}{figure:>14,}  {form:<6}{fits}{beyond[1]:>9.2f}{beyond[2]:>9.0f}{beyond[0]:>9.2f}", flush=True)

    def counted(self, limit, default):
        """A limit that an input can need exactly."""
        figure, form, make = LIMITS[limit]
        needed = default if figure is None else figure
        at = self.run(limit, figure, form, *make(self.folder, needed))
        assert not at[3], f"{limit} of {needed}: {at[3]}"
        self.show(limit, needed, form, at, self.run(limit, figure, form, *make(self.folder, needed + 1)))

    def sized(self, limit, form, rows):
        """A limit of bytes: the least figure that is enough for an input, to a thousandth."""
        source = TABLE, table(b'{"c":"row %d of some thirty characters"}' % row for row in range(rows))
        least, most = 1, 2**31 - 1
        while most - least > most // 1000:
            figure = (least + most) // 2
            if self.run(limit, figure, form, *source)[3]:
                least = figure
            else:
                most = figure
        self.show(limit, most, form, self.run(limit, most, form, *source), self.run(limit, least, form, *source))

    def timed(self, limit):
        source = TABLE, table([b'{"c":1}'] * 10_000_000)
        if limit == "fetch-time":
            server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Slow)
            threading.Thread(target=server.serve_forever, daemon=True).start()
            source = PICTURES, table([b'{"c":"http://127.0.0.1:%d/a.png"}' % server.server_port])
        self.show(limit, 1000, "csv" if limit != "fetch-time" else "pdf", None,
                  self.run(limit, 1000, "csv" if limit != "fetch-time" else "pdf", *source))


class Slow(http.server.BaseHTTPRequestHandler):
    """Answers with a byte per tenth of a second."""

    def do_GET(self):
        self.send_response(200)
        self.end_headers()
        try:
            while True:
                self.wfile.write(b"x")
                time.sleep(0.1)
        except OSError:
            pass

    def log_message(self, *_):
        pass


DEFAULTS = {"name-length": 4_096, "fetches": 10_000, "picture-scans": 100, "template-elements": 250_000}
SIZES = {"data-memory": ("csv", 500_000), "document-size": ("csv", 500_000)}
TIMES = ("wall-time", "cpu-time", "fetch-time")


def main():
    words = sys.argv[1:]
    library = next((word for word in words if word.endswith(".so")), ROOT / "build/bench/lib/libqbsvrl6.so")
    chosen = [word for word in words if not word.endswith(".so")] or [*TIMES, *SIZES, *LIMITS]
    folder = pathlib.Path(tempfile.mkdtemp())
    bench = Bench(library, folder)
    print(f"{'':<40}{'at the limit':>18}{'beyond it':>27}")
    print(f"{'limit':<18}{'figure':>14}  {'format':<6}{'CPU s':>9}{'peak MiB':>9}{'CPU s':>9}{'peak MiB':>9}{'wall s':>9}")
    try:
        for limit in chosen:
            if limit in TIMES:
                bench.timed(limit)
            elif limit in SIZES:
                bench.sized(limit, *SIZES[limit])
            else:
                bench.counted(limit, DEFAULTS.get(limit))
    finally:
        shutil.rmtree(folder)


if __name__ == "__main__":
    main()
