"""Compares the workbooks of all samples, as XLSX and as XLS and in each of the three layouts, with the data that they
were made from, as openpyxl and xlrd read them; with QBSVR_FULL_TESTS=1 as LibreOffice reads them too.

usage: workbooks_test.py MAKE_DOCUMENTS QBSVRTEST SAMPLES
"""

import datetime
import decimal
import itertools
import json
import math
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import zipfile

import openpyxl
import xlrd
from openpyxl.utils.escape import unescape

from sample_data import length, make_documents, pages_of, read_samples

MAKE_DOCUMENTS, PROGRAM, SAMPLES = (pathlib.Path(word) for word in sys.argv[1:4])
FULL = os.environ.get("QBSVR_FULL_TESTS") == "1"
FORMATS = ("xlsx", "xls")
LAYOUTS = {"printed": "", "continuous": "-one-table", "grid": "-only-detail"}
PAPERS = {"A4": 9, "A5": 11}

# Number formats of reports as spreadsheets write them; the others are the same in both.
NUMBER_FORMATS = {
    None: "General",
    "¥#,##0.00": '"¥"#,##0.00;"¥"-#,##0.00',
    "yyyy-MM-dd": "yyyy-mm-dd",
    "yyyy年MM月dd日": 'yyyy"年"mm"月"dd"日"',
}
HOSTILE = ["=1+1", "+1", "-1", "@SUM(A1)", "\t=1", "{=A1}", "'quoted", "<c t=\"s\">&amp;</c>]]>", "&#0;&lt;",
           "a\x01b\x1fc\x7f", "_x0041_", "long" * 10_000, "\ufffe\uffff", "😀\u200b\u202e", "line\nline", " space "]
# Pictures and drawings above the cells.
FLOATING = {"2a.客户名录": 1, "3a.发票": 1, "8a.季度汇总": 1, "9c.商品卡片": 20, "9d.图表": 5, "9e.结业证书": 9}


class Cell:
    def __init__(self, value, number_format):
        self.value, self.number_format = value, number_format


class Sheet:
    """The first sheet of a workbook: rows of cells by column, from 0, without those that are blank."""

    def __init__(self, path):
        (self.read_xls if path.suffix == ".xls" else self.read_xlsx)(path)

    def read_xlsx(self, path):
        sheet = openpyxl.load_workbook(path).worksheets[0]
        self.rows = [{cell.column - 1: Cell(unescape(cell.value) if isinstance(cell.value, str) else cell.value,
                                            cell.number_format)
                      for cell in row if cell.value is not None} for row in sheet.iter_rows()]
        self.heights = [sheet.row_dimensions[row + 1].height for row in range(len(self.rows))]
        letters = sorted(sheet.column_dimensions, key=openpyxl.utils.column_index_from_string)
        self.widths = [sheet.column_dimensions[letter].width for letter in letters]
        self.merged = {(area.min_row - 1, area.min_col - 1, area.max_row - 1, area.max_col - 1)
                       for area in sheet.merged_cells.ranges}
        self.breaks = [item.id for item in sheet.row_breaks.brk]
        self.frozen = int(sheet.freeze_panes[1:]) - 1 if sheet.freeze_panes else 0
        self.titles = sheet.print_title_rows
        page, margins = sheet.page_setup, sheet.page_margins
        self.page = (page.paperSize and int(page.paperSize), page.orientation == "landscape",
                     [25.4 * margin for margin in (margins.left, margins.top, margins.right, margins.bottom)])
        self.has_formula = any(cell.data_type == "f" for row in sheet.iter_rows() for cell in row)

    def read_xls(self, path):
        book = xlrd.open_workbook(path, formatting_info=True)
        sheet = book.sheet_by_index(0)

        def value_of(cell):
            if cell.ctype == xlrd.XL_CELL_DATE:
                return xlrd.xldate.xldate_as_datetime(cell.value, book.datemode)
            return bool(cell.value) if cell.ctype == xlrd.XL_CELL_BOOLEAN else cell.value

        self.rows = [{column: Cell(value_of(cell), book.format_map[book.xf_list[cell.xf_index].format_key].format_str)
                      for column, cell in enumerate(sheet.row(row))
                      if cell.ctype not in (xlrd.XL_CELL_EMPTY, xlrd.XL_CELL_BLANK)} for row in range(sheet.nrows)]
        self.heights = [sheet.rowinfo_map[row].height / 20 for row in range(sheet.nrows)]
        self.widths = [sheet.colinfo_map[column].width / 256 for column in sorted(sheet.colinfo_map)]
        self.merged = {(top, left, bottom - 1, right - 1) for top, bottom, left, right in sheet.merged_cells}
        self.breaks = [item[0] for item in sheet.horizontal_page_breaks]
        self.frozen = sheet.horz_split_pos if sheet.panes_are_frozen else 0
        titles = [name.area2d() for name in book.name_obj_list if name.builtin and name.name == "Print_Titles"]
        self.titles = f"${titles[0][1] + 1}:${titles[0][2]}" if titles else None
        self.page = None  # the reader leaves it out
        self.has_formula = False

    def widths_in_millimetres(self):
        return [width * 7 * 25.4 / 96 for width in self.widths]

    def texts(self):
        return {cell.value for row in self.rows for cell in row.values() if isinstance(cell.value, str)}


def same(value, expected):
    if isinstance(expected, (int, float)) and not isinstance(expected, bool):
        return isinstance(value, (int, float)) and math.isclose(value, expected, rel_tol=1e-9, abs_tol=1e-9)
    if isinstance(expected, str) and isinstance(value, (int, float)):
        return expected == f"¥{value:,.2f}"  # the currency is in the format
    return isinstance(expected, type(value)) and value == expected


class Workbooks(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = pathlib.Path(tempfile.mkdtemp())
        setup = make_documents(MAKE_DOCUMENTS, SAMPLES, cls.directory, "workbooks")
        cls.log = (setup / "log/qbsvrl6.log").read_text("utf-8") if (setup / "log/qbsvrl6.log").exists() else ""
        cls.samples = read_samples(setup)
        cls.sheets = {}

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.directory)

    def path(self, sample, kind, layout):
        return self.directory / "out/auto" / (kind + LAYOUTS[layout]) / f"{sample.name}.{kind}"

    def for_each(self, layouts, check):
        """Calls check(sample, sheet, layout) for all samples."""
        for sample, kind, layout in itertools.product(self.samples, FORMATS, layouts):
            key = (sample.name, kind, layout)
            if key not in self.sheets:
                self.sheets[key] = Sheet(self.path(sample, kind, layout))
            with self.subTest(sample=sample.name, kind=kind, layout=layout):
                check(sample, self.sheets[key], layout)

    def place_of_grid(self, sample, sheet):
        """The sheet's column where the grid begins: each column of the grid is one of the sheet's, as wide."""
        wanted = [length(column.get("width")) for column in sample.columns]
        widths = sheet.widths_in_millimetres()
        for start in range(len(widths) - len(wanted) + 1):
            if all(abs(a - b) < 0.3 for a, b in zip(widths[start:], wanted)):
                return start
        return self.fail(f"no columns of {wanted} in {widths}")

    def match(self, sample, sheet):
        """The rows of the sheet that are not rows of the data, which must all be there, in order and at their place."""
        start = self.place_of_grid(sample, sheet)
        width = len(sample.columns)
        expected = [[(value, form_of(value, form), may_be_blank) for value, form, may_be_blank in row]
                    for row in sample.expected_rows()]
        others, found = [], 0

        def is_row(row):
            return all((cell is None and (value is None or may_be_blank)) or
                       (cell is not None and same(cell.value, value) and (form is None or cell.number_format == form))
                       for (value, form, may_be_blank), cell in
                       zip(expected[found], (row.get(start + i) for i in range(width))))

        for index, row in enumerate(sheet.rows):
            if found < len(expected) and row and is_row(row):
                found += 1
                spans = [area for area in sheet.merged if area[0] <= index <= area[2]]
                self.assertEqual(spans, [], f"row {index + 1}")
            else:
                others.append((index, row))
        if found < len(expected):
            self.fail(f"row {found + 1} of the data isn't there: {expected[found]}")
        return others

    def test_rows_are_the_data(self):
        def check(sample, sheet, layout):
            if not sample.is_plain or sample.is_wide(layout):
                return
            others = self.match(sample, sheet)
            if layout != "grid" or sample.name == "9b.订单明细":
                return
            # Beside the data there are titles and the groups' own rows, nothing else.
            self.assertLessEqual(len(others), sample.other_row_count())

        self.for_each(LAYOUTS, check)

    def test_parts_of_wide_rows_are_the_data(self):
        def check(sample, sheet, layout):
            if not sample.is_plain or not sample.is_wide(layout):
                return
            cells = [cell for row in sheet.rows for cell in row.values()]
            if sample.grid.get("adapt", "").startswith("toNewPage"):
                # The columns of all pages share those of the sheet.
                used = {column for row in sheet.rows for column in row}
                self.assertEqual(sorted(used), [*range(len(sheet.widths))])
            for row in sample.expected_rows():
                for value, form, may_be_blank in row:
                    if value is None or may_be_blank:
                        continue
                    self.assertTrue(any(same(cell.value, value) and form_of(value, form) in (None, cell.number_format)
                                        for cell in cells), value)

        self.for_each(("printed",), check)

    def test_sums_are_of_the_data(self):
        sums = re.compile(r"\[Sum\((\w+)\):(.*)\]")
        def check(sample, sheet, layout):
            if not sample.is_plain or sample.is_wide(layout):
                return
            others = [cell for _, row in self.match(sample, sheet) for cell in row.values()]
            for group, runs in sample.group_runs():
                for field, form in (found.groups() for text in group.iter("Text")
                                    if (found := sums.fullmatch(text.get("text")))):
                    for run in runs:
                        total = sum(row[field] or 0 for row in run)
                        self.assertTrue(any(same(cell.value, total) and cell.number_format == form
                                            for cell in others), (field, total))

        self.for_each(("continuous", "grid"), check)

    def test_texts_of_groups_span_their_columns(self):
        def check(sample, sheet, layout):
            if not sample.is_plain or sample.is_wide(layout):
                return
            start = self.place_of_grid(sample, sheet)
            names = [column.get("name") for column in sample.columns]
            ranges = {(start + names.index(text.get("column")),
                       start + names.index(text.get("toColumn") or text.get("column")))
                      for text in sample.grid.iter("Text") if text.get("column")}
            grid_end = start + len(names)
            spans = {(left, right) for top, left, bottom, right in sheet.merged if layout == "grid"}
            if sample.name != "9b.订单明细":
                self.assertEqual(spans, {(left, right) for left, right in ranges if left < right and layout == "grid"})
            self.assertLessEqual(grid_end, len(sheet.widths))

        self.for_each(("continuous", "grid"), check)

    def test_other_texts_are_there_once_a_document(self):
        def check(sample, sheet, layout):
            texts = sheet.texts()
            for text in sample.fixed_texts():
                self.assertIn(text, texts)
            if layout == "continuous" and sample.has_titles and sample.name != "9b.订单明细":
                title = sample.columns[-1].find("Title").get("text")
                count = sum(cell.value == title for row in sheet.rows for cell in row.values())
                self.assertEqual(count, 1, title)

        self.for_each(("printed", "continuous"), check)

    def test_no_row_or_column_is_empty(self):
        def check(sample, sheet, layout):
            covered = {row for top, _, bottom, _ in sheet.merged for row in range(top, bottom + 1)}
            empty = [row + 1 for row, cells in enumerate(sheet.rows) if not cells and row not in covered]
            if sample.name not in FLOATING:
                self.assertEqual(empty, [])
            self.assertGreater(min(sheet.widths_in_millimetres()), 0.9)
            self.assertFalse(sheet.has_formula)

        self.for_each(LAYOUTS, check)

    def test_pages_are_those_of_the_report(self):
        def check(sample, sheet, layout):
            page = sample.root.find("Page")
            if sheet.page is not None and page.get("size"):
                margins = [length(text) for text in page.get("margins").split()]
                paper, landscape, found = sheet.page
                self.assertEqual(paper, PAPERS[page.get("size")])
                self.assertEqual(landscape, page.get("orientation") == "landscape")
                for a, b in zip(found, margins * 4 if len(margins) == 1 else margins):
                    self.assertAlmostEqual(a, b, delta=0.1)
            if layout == "printed":
                self.assertEqual(len(sheet.breaks) + 1, pages_of(self.directory / f"out/auto/pdf/{sample.name}.pdf"))
                self.assertIsNone(sheet.titles)
            elif sample.is_plain and sample.has_titles and sample.name != "9b.订单明细":
                self.assertEqual(sheet.breaks, [])
                title = sample.columns[-1].find("Title").get("text")
                row = next(i for i, cells in enumerate(sheet.rows) if title in [cell.value for cell in cells.values()])
                self.assertEqual((sheet.frozen, sheet.titles), (row + 1, f"${row + 1}:${row + 1}"))

        self.for_each(LAYOUTS, check)

    def test_pictures_and_drawings_float(self):
        for sample in self.samples:
            with zipfile.ZipFile(self.path(sample, "xlsx", "continuous")) as package:
                drawings = [name for name in package.namelist() if name.startswith("xl/drawings/drawing")]
                count = sum(package.read(name).count(b"<xdr:oneCellAnchor>") for name in drawings)
            if sample.name in FLOATING:
                self.assertEqual(count, FLOATING[sample.name], sample.name)

    def test_nothing_overlaps(self):
        self.assertNotIn("overlap", self.log)

    def book(self, kind, columns, rows):
        """A workbook of the columns, as XML, and rows."""
        directory = self.directory / "books"
        directory.mkdir(exist_ok=True)
        (directory / "t.qbf").write_text(
            '<Report version="1"><Page size="A4"/><Grid titleHeight="0mm"><Columns>' + columns +
            "</Columns></Grid></Report>", "utf-8")
        (directory / "t.txt").write_text(json.dumps(rows))
        book = directory / f"t.{kind}"
        subprocess.run([PROGRAM, "-gen_full", directory, directory / "t.qbf", directory / "t.txt", book, kind],
                       check=True, capture_output=True)
        return book

    def hostile_book(self, kind):
        return self.book(kind, '<Column name="Text" width="90mm"><Content text="[Text]" fit="clip"/></Column>'
                               '<Column name="Id" width="60mm"><Content text="[Id]"/></Column>',
                         [{"Text": text, "Id": f"00{i}"} for i, text in enumerate(HOSTILE)])

    def test_hostile_texts_stay_data(self):
        for kind in FORMATS:
            sheet = Sheet(self.hostile_book(kind))
            self.assertEqual([row[1].value for row in sheet.rows], [f"00{i}" for i in range(len(HOSTILE))])
            self.assertFalse(sheet.has_formula)
            if kind == "xlsx":  # comments have the rest of long texts
                cells = openpyxl.load_workbook(self.hostile_book(kind)).worksheets[0]["A"]
                self.assertEqual([cell.comment.text if cell.comment else "" for cell in cells], [text[32_767:] for text in HOSTILE])
            for row, text in zip(sheet.rows, HOSTILE):
                # What is no character becomes one that says so.
                expected = re.sub("[\ufffe\uffff]", "\ufffd", text[:32_767])
                with self.subTest(kind=kind, text=text[:20]):
                    self.assertEqual(row[0].value, expected)

    def test_numbers_are_the_nearest_to_their_decimals(self):
        expressions = ["[Sum(N, Running)]", "[N * 100]", "[If(Sum(N, Running) = 0.3, 1, 0)]", "[Round(N, 2):0.00]"]
        columns = "".join(f'<Column name="{i}" width="30mm"><Content text="{text}"/></Column>'
                          for i, text in enumerate(expressions))
        numbers = ["0.1", "0.2", "1.005", "103018.95", "0.07"]
        for kind in FORMATS:
            sheet = Sheet(self.book(kind, columns, [{"N": float(number)} for number in numbers]))
            total = decimal.Decimal()
            self.assertEqual(len(sheet.rows), len(numbers))
            for row, number in zip(sheet.rows, map(decimal.Decimal, numbers)):
                total += number
                rounded = number.quantize(decimal.Decimal("0.01"), decimal.ROUND_HALF_UP)
                expected = [total, number * 100, total == decimal.Decimal("0.3"), rounded]
                with self.subTest(kind=kind, number=number):
                    self.assertEqual([cell.value for cell in row.values()], [float(value) for value in expected])

    def test_paddings_dashes_and_slanted_lines_show(self):
        columns = ('<Column name="A" width="40mm"><Content text="[A]" padding="6mm 0mm 0mm 0mm"/></Column>'
                   '<Column name="B" width="40mm"><Content text="[A]" align="right" padding="0mm 0mm 11mm 0mm"/></Column>'
                   '<Column name="C" width="40mm"><Content><SubReport padding="0mm"><Report><ReportHeader height="9mm">'
                   '<Line width="40mm" dashed="true"/><Line y="2mm" width="30mm" height="5mm" rising="true"/>'
                   '<Text y="1mm" width="40mm" height="6mm" text="text"/></ReportHeader></Report></SubReport></Content></Column>')
        book = self.book("xlsx", columns, [{"A": "text"}])
        cells = openpyxl.load_workbook(book).worksheets[0][1]
        self.assertEqual([cell.alignment.indent for cell in cells[:2]], [2, 4])
        self.assertEqual(cells[2].border.top.style, "dashed")
        with zipfile.ZipFile(book) as package:
            drawing = package.read("xl/drawings/drawing1.xml")
        self.assertEqual(drawing.count(b"<xdr:cxnSp>"), 1)
        self.assertIn(b'flipV="1"', drawing)
        book = xlrd.open_workbook(self.book("xls", columns, [{"A": "text"}]), formatting_info=True)
        looks = [book.xf_list[cell.xf_index] for cell in book.sheet_by_index(0).row(0)]
        self.assertEqual([look.alignment.indent_level for look in looks[:2]], [2, 4])
        self.assertEqual(looks[2].border.top_line_style, 3)

    @unittest.skipUnless(FULL, "only with QBSVR_FULL_TESTS=1")
    def test_office_reads_the_same(self):
        profile = f"-env:UserInstallation=file://{self.directory}/profile"
        for kind in FORMATS:
            books = [self.path(sample, kind, layout) for sample in self.samples for layout in LAYOUTS]
            for directory, files in itertools.groupby(sorted(books + [self.hostile_book(kind)]),
                                                      lambda path: path.parent):
                out = self.directory / "office" / kind / directory.name
                files = list(files)
                subprocess.run(["soffice", profile, "--headless", "--convert-to", "xlsx", "--outdir", out, *files],
                               check=True, capture_output=True, timeout=600)
                for file in files:
                    with self.subTest(file=str(file)):
                        ours, theirs = Sheet(file), Sheet(out / (file.stem + ".xlsx"))
                        self.assertEqual(sum(map(len, ours.rows)), sum(map(len, theirs.rows)))
                        for row, other in zip(ours.rows, theirs.rows):
                            for column, cell in row.items():
                                value = cell.value
                                if isinstance(value, datetime.datetime):
                                    self.assertEqual(other[column].value, value)
                                elif isinstance(value, str):
                                    self.assertEqual(clean(other[column].value), clean(value))
                                else:
                                    self.assertTrue(same(other[column].value, value), value)
                        self.assertEqual(ours.merged, theirs.merged)


def form_of(value, form):
    """The number format that a spreadsheet shows the value in; none for texts."""
    return None if value is None or isinstance(value, str) else NUMBER_FORMATS.get(form, form)


def clean(text):
    """Without control characters, which LibreOffice keeps or drops, and with escapes resolved, which it doesn't mask."""
    return re.sub("[\x00-\x08\x0b-\x1f\x7f\ufffd]", "", unescape(text))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
