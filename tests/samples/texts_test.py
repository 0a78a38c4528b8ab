"""Compares the HTM, RTF, TXT and CSV documents of all samples, in each of the three layouts, with the data that they were
made from, as readers that are not ours see them; with QBSVR_FULL_TESTS=1 as a browser and LibreOffice show them too.

usage: texts_test.py MAKE_DOCUMENTS SAMPLES
"""

import csv
import html
import html.parser
import io
import itertools
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

import sample_data

MAKE_DOCUMENTS, SAMPLES = (pathlib.Path(word) for word in sys.argv[1:3])
FULL = os.environ.get("QBSVR_FULL_TESTS") == "1"
KINDS = ("htm", "rtf", "txt", "csv")
LAYOUTS = {"printed": "", "continuous": "-one-table", "grid": "-only-detail"}


def squeezed(text):
    return re.sub(r"\s", "", text)


def output_of(*command):
    return subprocess.run([str(word) for word in command], check=True, capture_output=True).stdout.decode()


class Page(html.parser.HTMLParser):
    """The rows of an HTML file, each the list of its cells' texts, and what a reader with a screen reader would miss."""

    VOID = {"meta", "br", "col", "image", "use", "path"}

    def __init__(self, file):
        super().__init__()
        self.open, self.faults, self.rows, self.headings, self.sections, self.title = [], [], [], [], 0, None
        self.feed(file.read_text("utf-8"))
        self.close()
        self.faults += self.open

    def handle_startendtag(self, tag, attributes):
        if tag not in self.VOID:
            self.faults.append(f"<{tag}/>")

    def handle_starttag(self, tag, attributes):
        attributes = dict(attributes)
        self.open.append(tag)
        if tag == "html" and not attributes.get("lang"):
            self.faults.append("no language")
        elif tag == "section":
            self.sections += 1
        elif tag == "table" and attributes.get("role") != "presentation" and not attributes.get("aria-label"):
            self.faults.append("a table without a name")
        elif tag == "tr":
            self.rows.append([])
        elif tag in ("td", "th"):
            self.rows[-1].append("")
            if tag == "th":
                self.headings.append(attributes["scope"])
        elif tag == "svg":
            self.title = attributes.get("aria-hidden")
        elif tag == "script":
            self.faults.append("a script")

    def handle_endtag(self, tag):
        if not self.open or self.open.pop() != tag:
            self.faults.append(f"</{tag}>")
        if tag == "svg" and not self.title:
            self.faults.append("a drawing without a title")

    def handle_data(self, data):
        if "title" in self.open and "svg" in self.open:
            self.title = data
        if "svg" in self.open and "title" not in self.open:
            return  # a drawing's own labels
        if {"td", "th"} & set(self.open):
            self.rows[-1][-1] += data


def rows_of(file):
    """The rows of a document's tables, each a list of texts."""
    if file.suffix == ".htm":
        return Page(file).rows
    if file.suffix == ".rtf":
        text = re.sub("&#(5[56][0-9]{3});&#(5[67][0-9]{3});",  # the halves of a pair come out one by one
                      lambda pair: b"".join(int(unit).to_bytes(2, "little") for unit in pair.groups()).decode("utf-16-le"),
                      output_of("unrtf", "--html", "--nopict", file))
        return [[html.unescape(re.sub("<[^>]*>", "", cell)) for cell in row.split("<td>")[1:]]
                for row in text.split("<tr>")[1:]]
    text = file.read_bytes().decode("utf-8-sig")
    if file.suffix == ".csv":
        return list(csv.reader(io.StringIO(text, newline=""), strict=True))
    return [[line] for line in re.split("[\n\f]", text)]


class Texts(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = pathlib.Path(tempfile.mkdtemp())
        setup = sample_data.make_documents(MAKE_DOCUMENTS, SAMPLES, cls.directory, "texts")
        cls.samples = sample_data.read_samples(setup)

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.directory)

    def path(self, sample, kind, layout):
        return self.directory / "out/auto" / (kind + LAYOUTS[layout]) / f"{sample.name}.{kind}"

    def pages_of(self, sample):
        return sample_data.pages_of(self.directory / f"out/auto/pdf/{sample.name}.pdf")

    def each(self, kinds=KINDS, layouts=tuple(LAYOUTS)):
        for sample, kind, layout in itertools.product(self.samples, kinds, layouts):
            yield sample, self.path(sample, kind, layout), layout

    def naming(self, file):
        return self.subTest(file=str(file.relative_to(self.directory)))

    def test_rows_are_the_data(self):
        for sample, file, layout in self.each():
            if not sample.is_plain:
                continue
            with self.naming(file):
                records = [squeezed("".join(row)) for row in rows_of(file)]
                # Records of several lines, and parts of records, may stand side by side.
                whole = "".join(records)
                as_data = file.suffix == ".csv" and layout == "grid"
                self.assertEqual([text for text in sample.shown_parts(as_data) if squeezed(text) not in whole], [])
                if sample.is_wide(layout) or any("\n" in text for texts in sample.shown_rows() for text in texts):
                    continue
                place = 0
                for texts in sample.shown_rows(as_data):
                    wanted = squeezed("".join(texts))
                    place = next((i for i in range(place, len(records)) if wanted in records[i]), None)
                    self.assertIsNotNone(place, f"{texts} isn't there, or not after the previous row")

    def test_other_texts_are_there(self):
        for sample, file, layout in self.each(layouts=("printed", "continuous")):
            with self.naming(file):
                whole = squeezed("".join(itertools.chain(*rows_of(file))))
                for text in sample.fixed_texts():
                    self.assertIn(squeezed(text), whole)

    def test_csv_has_real_rows_only(self):
        for sample, file, layout in self.each(("csv",)):
            with self.naming(file):
                self.assertTrue(file.read_bytes().startswith(b"\xef\xbb\xbf"))
                rows = rows_of(file)
                self.assertLessEqual(len({len(row) for row in rows}), 1)
                self.assertEqual([row for row in rows if not any(row)], [])
                if sample.is_plain and layout == "grid" and not sample.is_wide(layout) and sample.name != "9b.订单明细":
                    self.assertLessEqual(len(rows), len(sample.rows) + sample.other_row_count())
                    self.assertGreaterEqual(len(rows), len(sample.rows))

    def test_pages_are_those_of_the_report(self):
        breaks = {"htm": rb'<section class="page">', "rtf": rb"\\pagebb\b|\\sect\b", "txt": rb"\f"}
        for sample, file, layout in self.each(("htm", "rtf", "txt")):
            with self.naming(file):
                found = len(re.findall(breaks[file.suffix[1:]], file.read_bytes())) + (file.suffix != ".htm")
                self.assertEqual(found, self.pages_of(sample) if layout == "printed" else 1)

    def test_titles_stand_again_on_each_page(self):
        for sample, file, layout in self.each(("htm", "rtf"), ("continuous", "grid")):
            with self.naming(file):
                if sample.has_titles and sample.name != "9b.订单明细":
                    data = file.read_text("utf-8")
                    self.assertEqual(data.count("<thead>") + ("\\trhdr" in data), 1)

    def test_pages_are_accessible(self):
        for sample, file, layout in self.each(("htm",)):
            with self.naming(file):
                page = Page(file)
                self.assertEqual(page.faults, [])
                if sample.has_titles and sample.name != "9b.订单明细":
                    self.assertIn("col", page.headings)
                    self.assertLessEqual(set(page.headings), {"col", "colgroup"})
                self.assertEqual(subprocess.run(["tidy", "-q", "-e", file], capture_output=True).stderr.decode(), "")

    def test_hostile_texts_stay_data(self):
        words = ("par cell row page sect pard plain trowd intbl u65 'e9 field fldinst object objdata pict bin999 info header "
                 "footer listtext fonttbl colortbl stylesheet upr ud uc9 * ~ - _ | : ; emdash tab line lquote shppict")
        texts = ["=1+1", "@SUM(A1)", "-1+2", "</td></tr></table></main><script>alert(1)</script>", "<!-- x", "]]>&amp;&#60;",
                 "\" onclick=\"x", "{\\rtf1 x}", "}}}", "\\", *("\\" + word + " x" for word in words.split()),
                 "{\\*\\" + "\\".join(words.split()) + "}", "a\x01b\x1f\x7f", "a,b;\"c\"\td", "long" * 10_000, "长" * 9_000,
                 "😀\u200b", "\ufffe\uffff", "-5", "00012"]
        directory = self.directory / "hostile"
        directory.mkdir()
        (directory / "t.qbf").write_text(
            '<Report version="1"><Page size="A4"/><Grid titleHeight="0mm"><Columns>'
            '<Column name="Id" width="40mm"><Content text="[Id]"/></Column>'
            '<Column name="Text" width="120mm"><Content text="[Text]" fit="clip"/></Column></Columns></Grid></Report>', "utf-8")
        (directory / "t.txt").write_text(json.dumps([{"Text": text, "Id": f"#{i}#"} for i, text in enumerate(texts)]))
        made = subprocess.run([MAKE_DOCUMENTS, directory, directory / "out", directory / "t.qbf", directory / "t.txt"],
                              capture_output=True, timeout=600)
        self.assertEqual((made.returncode, made.stderr), (0, b""))
        for kind in KINDS:
            rows = rows_of(directory / f"out.{kind}")
            whole = squeezed("".join(itertools.chain(*rows)))
            for i, text in enumerate(texts):
                with self.subTest(kind=kind, text=text[:40]):
                    wanted = re.sub("[\ufffe\uffff]", "\ufffd", text)
                    if kind in ("htm", "rtf"):
                        wanted = re.sub("[\x00-\x08\x0b-\x1f\x7f]", "\ufffd", wanted)
                    if kind == "txt":
                        wanted = re.sub("[\x00-\x1f\x7f]", "", wanted)
                    self.assertTrue(f"#{i}#" + squeezed(wanted) in whole)
            if kind != "txt":
                records = [squeezed("".join(row)) for row in rows]
                self.assertEqual([record.split("#")[1] for record in records if record],
                                 [str(i) for i in range(len(texts))])

    def make(self, name, template, rows):
        """The documents of one report."""
        directory = self.directory / name
        directory.mkdir()
        (directory / "t.qbf").write_text(f'<Report version="1"><Page size="A5"/>{template}</Report>', "utf-8")
        (directory / "t.txt").write_text(json.dumps(rows))
        subprocess.run([MAKE_DOCUMENTS, directory, directory / "out", directory / "t.qbf", directory / "t.txt"], check=True,
                       capture_output=True, timeout=600)
        return directory / "out"

    def test_page_numbers_of_rtf_are_fields(self):
        field = r"{\\field{\\\*\\fldinst{ (\w+) }}{\\fldrslt{(\d+)}}}"
        header = ('<PageHeader height="9mm"><Text width="99mm" height="9mm" text="[PageNumber:00] [PageNumber + 4] '
                  'Page [PageNumber] of [PageCount], form 5"/></PageHeader>')
        grid = ('<Grid titleHeight="0mm"><Columns><Column name="A" width="9mm"><Content text="[A]"/></Column></Columns><Groups>'
                '<Group name="G" by="A" newPage="true" {}><Header height="9mm"/></Group></Groups></Grid>')
        plain = header.replace("[PageNumber:00] [PageNumber + 4] ", "")
        rows = [{"A": i} for i in range(5)]
        for name, template, sections, starts, text in (
                ("fields", plain + grid.format(""), 1, [], "Page <PAGE 1> of <NUMPAGES 5>, form 5"),
                ("formats", header + grid.format(""), 5, [], "01 5 Page <PAGE 1> of <NUMPAGES 5>, form 5"),
                ("restarts", plain + grid.format('restartPageNumber="true"'), 5, ["1"] * 4, "Page <PAGE 1> of 1, form 5")):
            with self.subTest(name=name):
                rtf = self.make(name, template, rows).with_suffix(".rtf").read_text("ascii")
                self.assertIn(text, re.sub(field, r"<\1 \2>", rtf))
                self.assertEqual(len(re.findall(r"\\sectd", rtf)), sections)
                self.assertEqual(re.findall(r"\\pgnrestart\\pgnstarts(\d+)", rtf), starts)

    def browse(self, *words):
        return output_of("chromium", "--headless", "--no-sandbox", "--disable-gpu", "--allow-file-access-from-files",
                         f"--user-data-dir={self.directory}/browser", *words)

    @unittest.skipUnless(FULL, "only with QBSVR_FULL_TESTS=1")
    def test_browser_shows_and_prints_the_pages(self):
        for sample, file, layout in self.each(("htm",), ("printed", "continuous")):
            with self.naming(file):
                # On a phone nothing moves sideways but tables and wide drawings in their own frames, nothing else is cut,
                # totals are as wide as the grid above them, and numbers are on one line.
                frame = self.directory / "frame.html"
                frame.write_text(
                    f'<iframe src="{file.as_uri()}" style="width:390px;height:844px;border:0" onload="'
                    "const d = this.contentDocument, all = words => [...d.querySelectorAll(words)];"
                    "const lines = cell => { const range = d.createRange(); range.selectNodeContents(cell);"
                    " return new Set([...range.getClientRects()].map(box => Math.round(box.top))).size };"
                    "document.title = [d.documentElement.scrollWidth <= 390,"
                    "all('.free td, .free svg').every(e => e.closest('.wide') || e.getBoundingClientRect().right <= 390),"
                    "all('.grid table + table').every(e => e.offsetWidth == e.parentNode.firstChild.offsetWidth),"
                    "all('.n').every(e => lines(e) <= 1)]\"></iframe>", "utf-8")
                shown = re.search(r"<title>([^<]*)</title>", self.browse("--dump-dom", frame.as_uri()))
                self.assertEqual(shown[1], "true,true,true,true")
                printed = self.directory / "printed.pdf"
                self.browse("--no-pdf-header-footer", f"--print-to-pdf={printed}", file.as_uri())
                pages = sample_data.pages_of(printed)
                if layout == "printed":
                    self.assertEqual(pages, self.pages_of(sample))
                shown = squeezed(output_of("pdftotext", printed, "-"))
                for text in sample.fixed_texts():
                    self.assertIn(squeezed(text), shown)

    @unittest.skipUnless(FULL, "only with QBSVR_FULL_TESTS=1")
    def test_word_processor_shows_the_pages(self):
        for layout in LAYOUTS:
            files = [self.path(sample, "rtf", layout) for sample in self.samples]
            out = self.directory / "office" / layout
            subprocess.run(["soffice", f"-env:UserInstallation=file://{self.directory}/profile", "--headless", "--convert-to",
                            "pdf", "--outdir", out, *files], check=True, capture_output=True, timeout=600)
            for sample, file in zip(self.samples, files):
                with self.subTest(sample=sample.name, layout=layout):
                    shown = out / (file.stem + ".pdf")
                    if layout == "printed":
                        self.assertEqual(sample_data.pages_of(shown), self.pages_of(sample))
                    whole = squeezed(output_of("pdftotext", shown, "-"))
                    self.assertEqual([text for text in sample.shown_parts() if squeezed(text) not in whole], [])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
