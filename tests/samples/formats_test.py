"""Makes all samples as ODS, DOCX and JSON, and compares what other readers find in them with the workbooks, the CSV and
each other; and makes CSV and TXT with all of their options.

usage: formats_test.py QBREPORT SAMPLES SCHEMA
"""

import collections
import csv
import decimal
import itertools
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree
import zipfile

import docx
import openpyxl

PROGRAM, SAMPLES, SCHEMA = (pathlib.Path(word).resolve() for word in sys.argv[1:4])
FULL = os.environ.get("QBSVR_FULL_TESTS") == "1"
LAYOUTS = ("pages", "table", "grid")
DATA = {"1a": "Customer", "2a": "Customer", "3a": "Invoice", "4a": "SalesByMonth", "5a": "Statement", "6a": "Notice", "7a": None,
        "9a": "Label", "9b": "Order", "9c": "Product", "9d": "Business", "9e": "Certificate"}
WORD = "{http://schemas.openxmlformats.org/wordprocessingml/2006/main}"


def render(template, data, *outputs, options=()):
    words = [PROGRAM, "render", template, *(["-d", data] if data else []), "--allow-folder", SAMPLES, *options,
             *itertools.chain(*(("-o", output) for output in outputs))]
    return subprocess.run([str(word) for word in words], check=True, capture_output=True, timeout=300).stderr.decode()


def ods_cells(file):
    """Of each sheet, its name and its cells with a value, by row and column."""
    def name(of):
        prefix, _, local = of.partition(":")
        return "{urn:oasis:names:tc:opendocument:xmlns:" + prefix + ":1.0}" + local

    with zipfile.ZipFile(file) as package:
        if package.namelist()[0] != "mimetype" or package.infolist()[0].compress_type != zipfile.ZIP_STORED:
            raise ValueError("the type does not come first")
        root = ElementTree.fromstring(package.read("content.xml"))
        for part in package.namelist():
            if part.endswith(".xml"):
                ElementTree.fromstring(package.read(part))
    for table in root.iter(name("table:table")):
        cells = {}
        for row, element in enumerate(table.iter(name("table:table-row"))):
            column = 0
            for cell in element:
                kind = cell.get(name("office:value-type"))
                value = "\n".join(text_of(paragraph, name) for paragraph in cell.iter(name("text:p")))
                if kind in ("float", "percentage", "currency"):
                    value = float(cell.get(name("office:value")))
                elif kind == "date":
                    value = cell.get(name("office:date-value"))
                elif kind == "boolean":
                    value = cell.get(name("office:boolean-value")) == "true"
                if kind and cell.tag == name("table:table-cell"):
                    cells[row, column] = value
                column += int(cell.get(name("table:number-columns-repeated"), 1))
        yield table.get(name("table:name")), cells


def text_of(element, name):
    text = element.text or ""
    for child in element:
        if child.tag == name("text:s"):
            text += " " * int(child.get(name("text:c"), 1))
        elif child.tag == name("text:tab"):
            text += "\t"
        text += text_of(child, name) + (child.tail or "")
    return text


def xlsx_cells(file):
    def plain(value):
        if hasattr(value, "isoformat"):
            return value.isoformat().removesuffix("T00:00:00")
        return float(value) if isinstance(value, (int, float)) and not isinstance(value, bool) else value

    for sheet in openpyxl.load_workbook(file):
        yield sheet.title, {(cell.row - 1, cell.column - 1): plain(cell.value)
                            for row in sheet for cell in row if cell.value not in (None, "")}


def docx_rows(file):
    """The rows of all tables, the cells of each as text; python-docx finds no fault in the package."""
    document = docx.Document(str(file))
    rows = []
    for row in document.element.body.iter(WORD + "tr"):
        cells = []
        for cell in row.iter(WORD + "tc"):
            paragraphs = ["".join({WORD + "t": part.text or "", WORD + "br": "\n", WORD + "tab": "\t"}.get(part.tag, "")
                                  for part in paragraph.iter()) for paragraph in cell.iter(WORD + "p")]
            cells.append("\n".join(paragraphs))
        rows.append(cells)
    return rows


def json_texts(sections):
    """The texts that cells show, but for those of page headers and footers, and of pictures."""
    for section in sections:
        if section["kind"] in ("pageHeader", "pageFooter"):
            continue
        seen = []
        for column in section.get("columns", ()):
            for level, title in enumerate([*column.get("above", ()), column["title"]]):
                if column["title"] is title or seen[level:level + 1] != [title]:
                    yield title
            seen = column.get("above", [])
        for item in itertools.chain(section.get("items", ()), *(row.get("cells", row.get("items")) for row in section.get("rows", ()))):
            if item and item.get("kind") == "report":
                yield from json_texts(item["sections"])
            elif item and "kind" not in item and not item.get("merged"):
                yield item["text"]


def schema_faults(value, schema, place="$"):
    """What a document has that its schema forbids, of those words of JSON Schema that ours uses."""
    if "$ref" in schema:
        schema = ROOT["$defs"][schema["$ref"].rpartition("/")[2]]
    types = {"object": dict, "array": list, "string": str, "number": (int, float), "integer": int, "null": type(None), "boolean": bool}
    if "oneOf" in schema:
        faults = [schema_faults(value, one, place) for one in schema["oneOf"]]
        return [] if faults.count([]) == 1 else min(faults, key=len) or [f"{place} fits several"]
    if value not in schema.get("enum", [value]) or value != schema.get("const", value):
        return [f"{place} is {value!r}"]
    allowed = schema.get("type", list(types))
    allowed = [allowed] if isinstance(allowed, str) else allowed
    if not any(isinstance(value, types[one]) and (one == "boolean" or not isinstance(value, bool)) for one in allowed):
        return [f"{place} is a {type(value).__name__}"]
    faults = []
    if isinstance(value, dict):
        faults += [f"{place} lacks {name}" for name in schema.get("required", ()) if name not in value]
        known = schema.get("properties", {})
        for name, inner in value.items():
            faults += schema_faults(inner, known[name], f"{place}.{name}") if name in known else [f"{place} has {name}"]
    if isinstance(value, list):
        for index, inner in enumerate(value):
            faults += schema_faults(inner, schema["items"], f"{place}[{index}]")
    return faults


ROOT = json.loads(SCHEMA.read_text("utf-8"))


class Formats(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory()
        cls.directory = pathlib.Path(cls.scratch.name)
        cls.samples = []
        for template in sorted((SAMPLES / "Samples/Reports").glob("*.qbf")):
            kind = DATA[template.name[:2]]
            data = SAMPLES / f"Samples/Data/json/json{kind}.txt" if kind else template.with_suffix(".txt")
            cls.samples.append(template.stem)
            for layout in LAYOUTS:
                render(template, data, *(cls.path(template.stem, layout, ending) for ending in ("xlsx", "ods", "docx", "json", "csv")),
                       options=("--layout", layout))

    @classmethod
    def tearDownClass(cls):
        cls.scratch.cleanup()

    @classmethod
    def path(cls, sample, layout, ending):
        return cls.directory / f"{sample}-{layout}.{ending}"

    def each(self, layouts=LAYOUTS):
        for sample, layout in itertools.product(self.samples, layouts):
            with self.subTest(sample=sample, layout=layout):
                yield sample, layout

    def test_ods_has_the_cells_of_xlsx(self):
        for sample, layout in self.each():
            wanted = list(xlsx_cells(self.path(sample, layout, "xlsx")))
            found = list(ods_cells(self.path(sample, layout, "ods")))
            self.assertEqual([name for name, _ in found], [name for name, _ in wanted])
            for (_, cells), (_, others) in zip(found, wanted):
                self.assertEqual(cells, others)

    def test_json_complies_with_its_schema_and_has_the_records_of_csv(self):
        for sample, layout in self.each():
            document = json.loads(self.path(sample, layout, "json").read_text("utf-8"), parse_float=decimal.Decimal)
            self.assertEqual(schema_faults(json.loads(json.dumps(document, default=float)), ROOT), [])
            if layout != "grid" or any(item and "sections" in item for section in document["sections"]
                                       for row in section.get("rows", ()) for item in row.get("cells", ())):
                continue
            records = list(csv.reader(self.path(sample, layout, "csv").read_text("utf-8-sig").splitlines(True)))
            words = {True: "true", False: "false"}
            for row in itertools.chain(*(section.get("rows", ()) for section in document["sections"])):
                if "cells" not in row or any(cell and "kind" in cell for cell in row["cells"]):
                    continue
                values = [cell["value"] for cell in row["cells"] if cell and cell["value"] is not None]
                wanted = [words.get(value, str(value)) if isinstance(value, bool) else str(value) for value in values]
                if not wanted:
                    continue
                record = next((i for i, record in enumerate(records) if [field for field in record if field] == wanted), None)
                self.assertIsNotNone(record, wanted)
                del records[:record + 1]

    def test_docx_has_the_texts_of_json(self):
        for sample, layout in self.each(("table", "grid")):
            shown = collections.Counter(text for row in docx_rows(self.path(sample, layout, "docx")) for text in row if text)
            document = json.loads(self.path(sample, layout, "json").read_text("utf-8"))
            wanted = collections.Counter(re.sub("\r\n?", "\n", text) for text in json_texts(document["sections"]) if text)
            self.assertEqual(shown - wanted, collections.Counter())
            self.assertEqual(wanted - shown, collections.Counter())

    def test_docx_has_the_parts_of_a_document(self):
        file = docx.Document(str(self.path("2a.客户名录", "pages", "docx")))
        self.assertEqual((file.core_properties.title, file.sections[0].orientation), ("客户名录 Customer directory", 1))
        self.assertIn("region", [style.name for style in file.styles])
        header = file.sections[0].header._element.xml + file.sections[0].footer._element.xml
        self.assertEqual([field in header for field in (" PAGE ", " NUMPAGES ")], [True, True])
        titles = [row for row in file.element.body.iter(WORD + "tr") if row.find(f"{WORD}trPr/{WORD}tblHeader") is not None]
        self.assertEqual(len(titles), 3)
        names = {paragraph.style.name for table in file.tables for row in table.rows for cell in row.cells for paragraph in cell.paragraphs}
        self.assertTrue({"heading", "region"} <= names, names)

    # Settings, as options and as attributes of a template, and the bytes of the document.
    TEXTS = [
        ((), "", "\ufeff1.5,05.03,\"a,b\"\r\n-2,,\"é;\"\"😀\"\r\n".encode()),
        (("csv.values=raw",), 'values="raw"', "\ufeff1.5,2026-03-05,\"a,b\"\r\n-2,,\"é;\"\"😀\"\r\n".encode()),
        (("csv.separator=;", "text.line-ends=lf"), 'separator=";" lineEnds="lf"', "\ufeff1.5;05.03;a,b\n-2;;\"é;\"\"😀\"\n".encode()),
        (("csv.separator=tab", "csv.quotes=all", "text.encoding=utf-8"), 'separator="tab" quotes="all" encoding="utf-8"',
         "\"1.5\"\t\"05.03\"\t\"a,b\"\r\n\"-2\"\t\t\"é;\"\"😀\"\r\n".encode()),
        (("text.encoding=gb18030",), 'encoding="gb18030"', "1.5,05.03,\"a,b\"\r\n-2,,\"é;\"\"😀\"\r\n".encode("gb18030")),
        (("text.encoding=gbk",), 'encoding="gbk"', "1.5,05.03,\"a,b\"\r\n-2,,\"é;\"\"?\"\r\n".encode("gbk")),
    ]
    WIDE = "1.5  05.03   a,b\r\n-2           é;\"😀\r\n".encode()

    def text(self, name, settings="", options=()):
        """A document of two rows, and what its export says."""
        template, data = self.directory / "t.qbf", self.directory / "t.json"
        columns = "".join(f'<Column name="{name}" width="30mm"><Content text="[{text}]"/></Column>'
                          for name, text in (("N", "N"), ("D", "D:dd.MM"), ("T", "T")))
        template.write_text(f'<Report version="1">{settings}<Fields><Field name="D" type="date"/></Fields>'
                            f'<Grid titleHeight="0mm"><Columns>{columns}</Columns></Grid></Report>', "utf-8")
        data.write_text(json.dumps([{"N": 1.5, "D": "2026-03-05", "T": "a,b"}, {"N": -2, "D": None, "T": "é;\"😀"}]), "utf-8")
        words = [word for option in options for word in ("--option", option)]
        said = render(template, data, self.directory / name, options=("--layout", "table", *words))
        return (self.directory / name).read_bytes(), said

    def test_settings_of_texts(self):
        for options, attributes, expected in self.TEXTS:
            for settings, own in (("", options), (f"<Csv {attributes}/>", ())):
                with self.subTest(options=own, settings=settings):
                    found, said = self.text("t.csv", settings, own)
                    self.assertEqual(found, expected)
                    self.assertEqual("1 characters do not exist in gbk and are question marks: 😀" in said, "gbk" in attributes, said)
        self.assertEqual(self.text("t.txt", options=("txt.widths=5 8", "text.line-ends=crlf"))[0], self.WIDE)
        self.assertEqual(self.text("t.txt", '<Csv separator=";"/><Txt widths="5, 8" lineEnds="crlf"/>')[0], self.WIDE)
        for option in ("csv.separator=ab", "csv.separator=\"", "csv.values=typed", "text.encoding=gbk//TRANSLIT", "txt.widths=0", "txt.widths=9999"):
            with self.subTest(option=option), self.assertRaises(subprocess.CalledProcessError):
                self.text("t.csv", options=(option,))

    def test_options_win_over_the_template(self):
        other = '<Csv values="raw" separator="|" quotes="all" lineEnds="lf" encoding="utf-16"/><Txt widths="30 3" lineEnds="lf" encoding="gbk"/>'
        options = ("csv.values=shown", "csv.separator=tab", "csv.quotes=needed", "text.line-ends=crlf", "text.encoding=gb18030")
        self.assertEqual(self.text("t.csv", other, options)[0], "1.5\t05.03\ta,b\r\n-2\t\t\"é;\"\"😀\"\r\n".encode("gb18030"))
        self.assertEqual(self.text("t.txt", other, ("txt.widths=5 8", "text.line-ends=crlf", "text.encoding=utf-8"))[0], self.WIDE)

    @unittest.skipUnless(FULL, "only with QBSVR_FULL_TESTS=1")
    def test_office_opens_all(self):
        profile = f"-env:UserInstallation=file://{self.directory}/profile"
        for ending in ("ods", "docx"):
            files = [self.path(sample, layout, ending) for sample in self.samples for layout in LAYOUTS]
            subprocess.run(["soffice", profile, "--headless", "--convert-to", "pdf", "--outdir", self.directory / ending, *files],
                           check=True, capture_output=True, timeout=900)
            for file in files:
                self.assertTrue((self.directory / ending / f"{file.stem}.pdf").exists(), file.name)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
