"""Runs qbsvrtest over the samples and opens the documents with independent programs.

usage: samples_test.py QBSVRTEST SAMPLES
"""

import csv
import html.parser
import io
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

import openpyxl

PROGRAM = pathlib.Path(sys.argv[1]).resolve()
SAMPLES = pathlib.Path(sys.argv[2]).resolve()
DATA = SAMPLES / "Samples" / "Data" / "json"

KINDS = {
    "pdf": ".pdf", "pdf_EmbeddingFont": ".pdf", "pdf_adapt": ".pdf", "xls": ".xls", "xlsx": ".xlsx",
    "xls-one-table": ".xls", "xls-only-detail": ".xls", "htm": ".htm", "htm-one-table": ".htm",
    "htm-only-detail": ".htm", "txt": ".txt", "txt-one-table": ".txt", "txt-only-detail": ".txt", "csv": ".csv",
    "csv-one-table": ".csv", "csv-only-detail": ".csv",
}


def output_of(*command):
    return subprocess.run([str(word) for word in command], check=True, capture_output=True).stdout


def run(action, out, setup=None):
    result = subprocess.run([PROGRAM, action, setup or SAMPLES, out], capture_output=True, timeout=600)
    assert result.returncode == 0, result.stderr.decode()
    return result.stdout.decode()


def report_names():
    groups = json.loads((SAMPLES / "Samples/Data/ReportListJson.txt").read_text("utf-8"))
    return [item["Name"] for group in groups for item in group["Items"]]


def rows_of(data, table=None):
    value = json.loads((DATA / f"json{data}.txt").read_text("utf-8"))
    return value[table] if table else value


class TableReader(html.parser.HTMLParser):
    """Collects the cells' texts and complains about elements that are left open."""

    VOID = {"meta", "link", "br", "img", "col", "hr", "input"}

    def __init__(self):
        super().__init__()
        self.open, self.faults, self.cells, self.text = [], [], [], None

    def handle_starttag(self, tag, attributes):
        if tag in ("td", "th"):
            self.text = ""
        if tag == "br" and self.text is not None:
            self.text += "\n"
        if tag not in self.VOID:
            self.open.append(tag)

    def handle_endtag(self, tag):
        if tag in self.VOID:
            return
        if not self.open or self.open.pop() != tag:
            self.faults.append(tag)
        if tag in ("td", "th"):
            self.cells.append(self.text.strip())
            self.text = None

    def handle_data(self, data):
        if self.text is not None:
            self.text += data


class Samples(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = pathlib.Path(tempfile.mkdtemp())
        cls.out = cls.directory / "out"
        cls.lines = run("-m", cls.out).splitlines()
        cls.auto = cls.out / "auto"

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.directory)

    def made(self, kind, name):
        return self.auto / kind / (name + KINDS[kind])

    def test_every_report_comes_out_in_every_kind(self):
        self.assertEqual([line for line in self.lines if "failed" in line], [])
        for kind in KINDS:
            files = sorted(self.auto.joinpath(kind).iterdir())
            empty = [file.stem for file in files if file.stat().st_size == 0]
            # The grid alone of a report that has none.
            self.assertEqual(empty, ["6a.通知", "9d.图表"] if kind == "txt-only-detail" else [], kind)
            if kind != "pdf_adapt":
                self.assertEqual(sorted(file.stem for file in files), sorted(report_names()), kind)
        # Nine ways each, but for the letter and the charts, which have no detail grid.
        self.assertEqual(len(list(self.auto.joinpath("pdf_adapt").iterdir())), 9 * (len(report_names()) - 2))
        self.assertEqual(len([line for line in self.lines if "ReportCount=" in line]), 16)

    def test_one_thread_makes_the_same_bytes(self):
        other = self.directory / "single"
        run("-a", other)
        for file in sorted(self.auto.rglob("*.*")):
            twin = other / "auto" / file.relative_to(self.auto)
            self.assertEqual(file.read_bytes(), twin.read_bytes(), file)

    def test_pdf_is_sound_and_its_fonts_are_inside(self):
        for file in sorted(self.auto.rglob("*.pdf")):
            with self.subTest(file=str(file.relative_to(self.auto))):
                output_of("qpdf", "--check", file)
                for line in output_of("pdffonts", file).decode().splitlines()[2:]:
                    embedded, _, unicode_map = line.split()[-5:-2]
                    self.assertEqual((embedded, unicode_map), ("yes", "yes"), line)

    def test_pdf_text_is_the_data(self):
        text = output_of("pdftotext", "-layout", self.made("pdf", "5a.对账单"), "-").decode()
        for row in rows_of("Statement", "Entries"):
            amount = f"{row['Income'] if row['Income'] is not None else row['Expense']:,.2f}"
            self.assertRegex(text, rf"{row['Date']}.*{re.escape(amount)} +{re.escape(format(row['Balance'], ',.2f'))}")
        pages = text.count("\f")
        self.assertGreater(pages, 10)
        for page in range(1, pages + 1):
            self.assertIn(f"第 {page} 页，共 {pages} 页", text)
        plain = re.sub(r"\s", "", output_of("pdftotext", self.made("pdf", "1a.简单表格"), "-").decode())
        for row in rows_of("Customer"):
            self.assertIn(re.sub(r"\s", "", row["CompanyName"]), plain)

    def test_workbook_holds_numbers_dates_and_texts(self):
        sheet = openpyxl.load_workbook(self.made("xlsx", "2a.客户名录")).worksheets[0]
        rows = {row[0].value: row for row in sheet.iter_rows() if isinstance(row[0].value, str)}
        for customer in rows_of("Customer"):
            cells = [cell for cell in rows[customer["CustomerID"]] if cell.value is not None]
            self.assertEqual(cells[4].value, customer["TaxNo"])
            self.assertEqual(cells[5].value.strftime("%Y-%m-%d"), customer["Since"])
            self.assertEqual(cells[6].value, customer["Credit"])
            self.assertEqual(cells[6].number_format, "#,##0.00")

    def test_csv_rows_are_the_data(self):
        raw = self.made("csv-only-detail", "1a.简单表格").read_bytes()
        self.assertTrue(raw.startswith(b"\xef\xbb\xbf"))
        rows = list(csv.reader(io.StringIO(raw.decode("utf-8-sig"), newline="")))
        customers = rows_of("Customer")
        self.assertEqual(len(rows), len(customers) + 1)
        for row, customer in zip(rows[1:], customers):
            self.assertEqual(row[:4], [customer[key] for key in ("CustomerID", "CompanyName", "ContactName", "City")])
            self.assertEqual(row[5:7], [f"{customer['Credit']:.15g}", str(customer["Active"]).lower()])

    def test_page_is_closed_and_holds_the_data(self):
        for file in sorted(self.auto.rglob("*.htm")):
            reader = TableReader()
            reader.feed(file.read_text("utf-8"))
            self.assertEqual((reader.faults, reader.open), ([], []), file)
        reader = TableReader()
        reader.feed(self.made("htm", "7a.stock").read_text("utf-8"))
        for product in json.loads((SAMPLES / "Samples/Reports/7a.stock.txt").read_text("utf-8")):
            self.assertIn(product["ProductName"], reader.cells)
            self.assertIn({1: "低 low", 2: "中 mid", 3: "高 high"}[product["Level"]], reader.cells)

    def test_saved_templates_give_the_same_report_from_their_own_folder(self):
        saved = self.directory / "saved"
        lines = run("-s", saved).splitlines()
        self.assertEqual(len([line for line in lines if line.endswith("成功")]), len(report_names()))
        for name in report_names():
            template, pdf = saved / "auto/qbf" / f"{name}.qbf", self.directory / "copy.pdf"
            subprocess.run([PROGRAM, "-gen_full", SAMPLES, template, "none.txt", pdf, "pdf"], check=True,
                           capture_output=True, cwd="/")
            self.assertEqual(self.made("pdf", name).read_bytes(), pdf.read_bytes(), name)

    def test_installed_programs_find_their_files(self):
        prefix = self.directory / "usr"
        output_of("cmake", "--install", PROGRAM.parent.parent, "--prefix", prefix)
        result = output_of(prefix / "bin/qbsvrtest", "-s", prefix / "qbsvr6", self.directory / "installed").decode()
        self.assertIn(f"ReportCount={len(report_names())}.", result)
        self.assertIn(b"pdf", output_of(prefix / "bin/qbreport", "formats"))
        (flags,) = prefix.rglob("qbsvrl6.pc")
        self.assertIn(f"prefix={prefix}\n", flags.read_text("utf-8"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
