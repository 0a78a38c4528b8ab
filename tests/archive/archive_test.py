"""Documents for the archive: the rules of PDF/A, read from finished files by programs that are not ours.

usage: archive_test.py QBREPORT SOURCES
"""

import collections
import hashlib
import http.server
import io
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import threading
import unittest

import pikepdf
from pikepdf import Name

import pdfa_rules
import ua_rules

PROGRAM, SOURCES = (pathlib.Path(word).resolve() for word in sys.argv[1:3])
SAMPLES = SOURCES / "samples/Samples"
GALLERY = SOURCES / "docs/gallery/templates"
SOFTHSM = "/usr/lib/softhsm/libsofthsm2.so"
FULL = os.environ.get("QBSVR_FULL_TESTS") == "1"
STANDARDS = ("a-1b", "a-2b", "a-2u", "a-3b", "a-3u")
TAGGED_STANDARDS = ("a-2a", "a-3a", "a-2u", "none")

# What a standard limits: pictures with alpha, in CMYK and of 16 bits, opacity, links, characters that no font has or that
# have no ink, several glyphs for a character and the reverse, texts that are known at the end.
HARD = f"""<Report version="1">
  <Info title="Ä &lt;b&gt; &amp; 年" author="A" subject="S" keywords="k, l" created="2026-03-01T09:30:00+08:00"/>
  <DefaultStyle font="Liberation Sans"/>
  <ReportHeader height="250mm">
    <Text width="180mm" height="8mm" text="office \u0378 AVA\u200bTAR e\u0301\u0323 one\u00adtwo \u2603 年 \ufeff \U00020BB7" link="https://example.org/ü"/>
    <Text y="9mm" width="180mm" height="8mm" font="SimSun" bold="true" text="年月\u2f00 \u0378\u0379 \u0627\u0644\u0639\u0631\u0628\u064a\u0651\u0629"/>
    <Picture y="20mm" width="30mm" height="30mm" source="{SAMPLES}/Data/Picture/Seal.png"/>
    <Picture y="20mm" x="40mm" width="30mm" height="30mm" source="{SOURCES}/fuzz/seeds/picture_fuzz/cmyk.jpg"/>
    <Picture y="20mm" x="80mm" width="30mm" height="30mm" source="{SOURCES}/fuzz/seeds/picture_fuzz/interlaced-alpha.png"/>
    <Chart y="60mm" width="150mm" height="80mm" kind="bubble">
      <Series label="A"><Point x="1" y="2" size="9"/><Point x="2" y="2" size="8"/></Series>
    </Chart>
    <Barcode y="150mm" width="60mm" height="30mm" type="50" text="12345"/>
  </ReportHeader>
  <PageFooter height="9mm"><Text width="90mm" height="9mm" text="[PageNumber] / [PageCount]"/></PageFooter>
</Report>
"""

# All that has tags: headings, groups with and without columns, figures, links, texts that are known at the end, what page
# breaks divide, columns on further pages, tables without rows and in cells, texts in another language.
TAGGED = f"""<Report version="1">
  <Info title="Sales" language="en"/>
  <Pdf ua="true"/>
  <Page width="120mm" height="90mm" margins="10mm"/>
  <DefaultStyle font="Liberation Sans"/>
  <PageHeader height="8mm"><Text width="60mm" height="6mm" text="Head" link="https://example.org/"/><Line y="7mm" width="90mm"/></PageHeader>
  <ReportHeader height="40mm" background="#eeeeee">
    <Text x="50mm" width="50mm" height="8mm" text="Right of it" bold="true"/>
    <Text width="50mm" height="10mm" text="Report of sales" fontSize="18pt" background="#ffff00"/>
    <Picture y="12mm" width="20mm" height="20mm" source="{SAMPLES}/Data/Picture/Seal.png" alternateText="The seal"/>
    <Picture x="22mm" y="12mm" width="8mm" height="8mm" source="{SAMPLES}/Data/Picture/Seal.png"/>
    <Barcode x="60mm" y="12mm" width="35mm" height="9mm" type="50" text="12345"/>
    <Text y="33mm" width="90mm" height="6mm" text="[PageCount] pages" link="https://example.org/a"/>
  </ReportHeader>
  <ReportHeader height="50mm">
    <Chart width="90mm" height="40mm" title="Bubbles" kind="bar"><Category name="A"/><Category name="B"/>
      <Series label="Year" values="1.5 2"/></Chart>
    <Text y="41mm" width="90mm" height="6mm" text="年月" fontSize="20pt"/>
  </ReportHeader>
  <Grid titleHeight="8mm" rowHeight="6mm" adapt="toNewPageRepeatFixed" fixedColumns="1">
    <Columns>
      <Column name="A" width="40mm"><Title text="Name"/><Content text="[Name]" link="https://example.org/[Name]"/></Column>
      <Column name="B" width="40mm"><Title text="Amount"/><Content text="[Amount]"/></Column>
      <Column name="C" width="40mm"><Title text=""/><Content><Barcode text="[Name]"/></Content></Column>
    </Columns>
    <Groups>
      <Group by="Region" repeatHeader="true">
        <Header height="16mm"><Text width="30mm" height="6mm" text="Region [Region]"/><Text x="50mm" width="20mm" height="6mm" text="more"/>
          <Text y="8mm" width="20mm" height="6mm" text="below"/></Header>
        <Footer height="7mm"><Text column="B" height="6mm" text="[Sum(Amount)]"/></Footer>
      </Group>
      <Group by="Name"><Header height="6mm"><Text column="A" toColumn="B" height="6mm" text="[Name]"/></Header></Group>
    </Groups>
  </Grid>
  <ReportFooter height="12mm" keepTogether="false">
    <Text width="60mm" height="6mm" text="{'long ' * 300}"/>
    <SubReport y="8mm" width="90mm" height="4mm"><Report>
      <ReportHeader height="8mm"><Text width="60mm" height="8mm" text="Inner" fontSize="15pt"/></ReportHeader>
      <Grid titleHeight="6mm" rowHeight="6mm"><Columns>
        <Column name="N" width="30mm"><Title text="N"/><Content text="[Name]"/></Column>
        <Column name="S" width="50mm"><Title text="S"/><Content><SubReport><Report>
          <Grid titleHeight="0mm" rowHeight="6mm" filter="Amount = 2"><Columns>
            <Column name="X" width="20mm"><Content text="[Amount]"/></Column><Column name="Y" width="20mm"><Content text="y"/></Column>
          </Columns></Grid></Report></SubReport></Content></Column>
      </Columns></Grid></Report></SubReport>
    <SubReport y="10mm" x="50mm" width="40mm" height="2mm"><Report>
      <Grid titleHeight="6mm" rowHeight="6mm" filter="false"><Columns>
        <Column name="E" width="30mm"><Title text="No rows"/><Content text="[Name]"/></Column></Columns></Grid></Report></SubReport>
  </ReportFooter>
  <PageFooter height="6mm"><Text width="90mm" height="6mm" text="[PageNumber] / [PageCount]"/></PageFooter>
</Report>
"""
TAGGED_ROWS = [{"Region": "NS"[i > 6], "Name": f"Item {i // 4}", "Amount": i} for i in range(12)]
# The report's title comes first, and rows before the footer of their group.
READ = ('H1 "Report of sales" P "Right of it" Figure "" Figure "" P Link "15 pages" Figure "BubblesYear012AB" "" P "年月" '
        'Table THead TR TH "Name" TH "Amount" TBody TR TD H2 "Region N" P "below" TD P "more" TR TD: /ColSpan 2 H3 "Item 0" '
        'TR TD Link "Item 0" TD "0" TR TD Link "Item 0" TD "1" ')


def render(template, *arguments, check=True):
    command = [PROGRAM, "render", "--allow-folder", "/", template, "-f", "pdf", "-o", "-", *arguments]
    result = subprocess.run([str(word) for word in command], capture_output=True, timeout=300)
    if check and result.returncode != 0:
        raise AssertionError(f"{command}: {result.stderr.decode()}")
    return result.stdout if check else result


def reports():
    """The samples and the templates of the gallery, each with its arguments."""
    groups = re.findall(r'"Name":"([^"]+)"(?:,"Data":"(\w+)")?', (SAMPLES / "Data/ReportListJson.txt").read_text("utf-8"))
    found = [(next(SAMPLES.glob(f"Reports/**/{name}.qbf")), data) for name, data in groups]
    gallery = re.findall(r'^    \("([\w-]+)", (?:"(\w+)"|None), \[', (SOURCES / "scripts/gallery").read_text("utf-8"), re.M)
    found += [(GALLERY / f"{name}.qbf", data) for name, data in gallery]
    assert len(found) > 25
    for template, data in found:
        own = template.with_suffix(".txt")
        file = SAMPLES / f"Data/json/json{data}.txt" if data else own if own.exists() else None
        yield template, ["-d", file] if file else []


def first(pdf, kind):
    return next(item for item in pdf.objects
                if isinstance(item, (pikepdf.Dictionary, pikepdf.Stream)) and item.get("/Subtype") == kind)


def font_of(pdf):
    return next(font for _, font in pdf.pages[0].Resources.Font.items() if font.Subtype == Name.Type0)


def replace(stream, old, new):
    data = stream.read_bytes()
    assert old in data, old
    stream.write(data.replace(old, new))


def write_plain(stream, change):
    stream.write(change(stream.read_bytes()))


# For each rule, what breaks it.
PLANTED = [
    ("6.2.2", lambda pdf: pdf.pages[0].obj.__delitem__("/Resources")),
    ("6.2.2", lambda pdf: pdf.pages[0].Resources.Font.__delitem__(next(iter(pdf.pages[0].Resources.Font.keys())))),
    ("6.2.3", lambda pdf: pdf.Root.__delitem__("/OutputIntents")),
    ("6.2.3", lambda pdf: write_plain(pdf.Root.OutputIntents[0].DestOutputProfile, lambda data: data[:-4])),
    ("6.2.4.3", lambda pdf: first(pdf, Name.Image).__setitem__("/ColorSpace", Name.DeviceCMYK)),
    ("6.2.5", lambda pdf: pdf.pages[0].Resources.ExtGState.__setitem__("/X", pikepdf.Dictionary(TR=Name.Identity))),
    ("6.2.8", lambda pdf: first(pdf, Name.Image).__setitem__("/Interpolate", True)),
    ("6.1.7.1", lambda pdf: first(pdf, Name.Image).__setitem__("/F", pikepdf.String("a"))),
    ("6.1.7.2", lambda pdf: first(pdf, Name.Image).write(b"00>", filter=Name.ASCIIHexDecode)),
    ("6.1.13", lambda pdf: pdf.Root.__setitem__("/X", pikepdf.String("x" * 40000))),
    ("6.1.13", lambda pdf: pdf.pages[0].obj.__setitem__("/MediaBox", [0, 0, 15000, 100])),
    ("6.2.11.4.1", lambda pdf: font_of(pdf).DescendantFonts[0].__delitem__("/CIDToGIDMap")),
    ("6.2.11.4.1", lambda pdf: write_plain(font_of(pdf).DescendantFonts[0].CIDToGIDMap, lambda data: data[:6])),
    ("6.2.11.5", lambda pdf: font_of(pdf).DescendantFonts[0].__setitem__("/W", [1, [300, 301, 302]])),
    ("6.2.11.7.2", lambda pdf: font_of(pdf).__delitem__("/ToUnicode")),
    ("6.2.11.7.2", lambda pdf: write_plain(font_of(pdf).ToUnicode, lambda data: re.sub(rb"><[0-9A-F]+>", b"><FEFF>", data))),
    ("6.2.11.8", lambda pdf: write_plain(pdf.pages[0].Contents[0], lambda data: re.sub(rb"(Td\(|\[\()..", rb"\1" + b"\0\0", data, 1, re.S))),
    ("6.3.2", lambda pdf: first(pdf, Name.Link).__delitem__("/F")),
    ("6.5.1", lambda pdf: first(pdf, Name.Link).A.__setitem__("/S", Name.Launch)),
    ("6.6.2.1", lambda pdf: pdf.Root.__delitem__("/Metadata")),
    ("6.6.2.1", lambda pdf: replace(pdf.Root.Metadata, b"?>\n<x:", b' encoding="UTF-8"?>\n<x:')),
    ("6.6.2.3", lambda pdf: replace(pdf.Root.Metadata, b"<dc:format>", b'<fx:a xmlns:fx="urn:x"/><dc:format>')),
    ("6.6.3", lambda pdf: pdf.trailer.Info.__setitem__("/Title", pikepdf.String("other"))),
    ("6.6.3", lambda pdf: pdf.trailer.Info.__setitem__("/CreationDate", pikepdf.String("D:20200101000000Z"))),
    ("6.6.4", lambda pdf: replace(pdf.Root.Metadata, b"<pdfaid:part>", b"<pdfaid:part>1")),
    ("6.7.4", lambda pdf: pdf.Root.__setitem__("/Lang", pikepdf.String("?"))),
    ("6.8", lambda pdf: pdf.Root.__setitem__("/X", pdf.make_indirect(pikepdf.Dictionary(EF=pikepdf.Dictionary())))),
]
PLANTED_IN_1 = [
    ("6.3.5", lambda pdf: font_of(pdf).DescendantFonts[0].FontDescriptor.__delitem__("/CIDSet")),
    ("6.3.5", lambda pdf: write_plain(font_of(pdf).DescendantFonts[0].FontDescriptor.CIDSet, lambda data: b"\xff" + data[1:] + b"\1")),
    ("6.4", lambda pdf: first(pdf, Name.Image).__setitem__("/SMask", first(pdf, Name.Image))),
    ("6.4", lambda pdf: pdf.pages[0].Resources.ExtGState.__setitem__("/X", pikepdf.Dictionary(ca=0.5))),
]
PLANTED_IN_BYTES = [
    ("a-2u", "6.1.2", lambda data: data.replace(b"%\xe2\xe3", b"%ab", 1)),
    ("a-2u", "6.1.3", lambda data: data + b"more\n"),
    ("a-1b", "6.1.4", lambda data: data.replace(b"%PDF-1.4", b"%PDF-1.5", 1)),
]


class Rules(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.template = pathlib.Path(cls.folder.name) / "hard.qbf"
        cls.template.write_text(HARD, "utf-8")
        cls.hard = {standard: render(cls.template, "--option", f"standard={standard}") for standard in STANDARDS}

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def test_hard_content_keeps_every_standard(self):
        for standard, data in self.hard.items():
            with self.subTest(standard):
                self.assertEqual(pdfa_rules.faults(data, standard), [])
        self.assertEqual(render(self.template), self.hard["a-2u"])

    def test_its_text_is_complete(self):
        text = subprocess.run(["pdftotext", "-", "-"], input=self.hard["a-2u"], capture_output=True, check=True).stdout.decode()
        for part in ("office\u0378", "\u0378\u0379", "\u2603", "1/1"):
            self.assertIn(part, text.replace(" ", ""))

    def test_every_rule_finds_its_fault(self):
        def mutated(standard, plant):
            with pikepdf.open(io.BytesIO(self.hard[standard])) as pdf:
                plant(pdf)
                out = io.BytesIO()
                modes = pikepdf.ObjectStreamMode
                pdf.save(out, force_version=pdf.pdf_version, fix_metadata_version=False,
                         object_stream_mode=modes.disable if standard == "a-1b" else modes.preserve,
                         compress_streams=False, stream_decode_level=pikepdf.StreamDecodeLevel.none)
                return out.getvalue()

        cases = [("a-2u", clause, mutated("a-2u", plant)) for clause, plant in PLANTED]
        cases += [("a-1b", clause, mutated("a-1b", plant)) for clause, plant in PLANTED_IN_1]
        cases += [(standard, clause, change(self.hard[standard])) for standard, clause, change in PLANTED_IN_BYTES]
        for number, (standard, clause, data) in enumerate(cases):
            with self.subTest(f"{number}: {clause}"):
                self.assertTrue(any(fault.startswith(clause + " ") for fault in pdfa_rules.faults(data, standard)))
        self.assertEqual({clause for _, clause, _ in cases}, {clause for clause, _, _ in pdfa_rules.RULES})

    def test_tags_are_refused_in_pdf_1_4(self):
        self.template.with_name("a.qbf").write_text('<Report version="1">\n  <Pdf standard="a-1b" ua="true"/></Report>', "utf-8")
        refused = render(self.template.with_name("a.qbf"), check=False)
        self.assertNotEqual(refused.returncode, 0)
        self.assertIn("a.qbf:2:3: ", refused.stderr.decode())


def element(pdf, *kinds):
    def search(node):
        if node.get("/S") in [Name("/" + kind) for kind in kinds]:
            return node
        kids = node.get("/K", [])
        for kid in kids if isinstance(kids, pikepdf.Array) else [kids]:
            found = search(kid) if isinstance(kid, pikepdf.Dictionary) and "/S" in kid else None
            if found is not None:
                return found
        return None
    return search(pdf.Root.StructTreeRoot.K[0])


def replace_content(old, new):
    def change(pdf):
        pdf.pages[0].contents_coalesce()
        replace(pdf.pages[0].Contents, old, new)
    return change


PLANTED_IN_TAGS = [
    ("5", lambda pdf: replace(pdf.Root.Metadata, b"<pdfuaid:part>1", b"<pdfuaid:part>2")),
    ("6.7.2.2", lambda pdf: pdf.Root.MarkInfo.__setitem__("/Suspects", True)),
    ("6.7.3.3", lambda pdf: pdf.Root.__delitem__("/StructTreeRoot")),
    ("6.7.3.3", lambda pdf: element(pdf, "P").__setitem__("/P", element(pdf, "TR"))),
    ("6.7.3.4", lambda pdf: element(pdf, "P").__setitem__("/S", Name.Paragraph)),
    ("7.1", replace_content(b"/H1<<", b"/P<<")),
    ("7.1", replace_content(b"/Artifact<</Type/Layout>>BDC", b"/Span<</E(a)>>BDC")),
    ("7.1", replace_content(b"/MCID 0>>", b"/MCID 99>>")),
    ("7.1", replace_content(b"ET\n", b"EMC ET /Artifact BMC\n")),
    ("7.1", lambda pdf: element(pdf, "H1").__delitem__("/K")),
    ("7.1", lambda pdf: pdf.pages[0].__delitem__("/StructParents")),
    ("7.1", lambda pdf: pdf.Root.ViewerPreferences.__delitem__("/DisplayDocTitle")),
    ("7.2", lambda pdf: element(pdf, "P").__setitem__("/Lang", pikepdf.String("?"))),
    ("7.2", lambda pdf: element(pdf, "TR").K.__delitem__(0)),
    ("7.2", lambda pdf: element(pdf, "TBody").__setitem__("/S", Name.Sect)),
    ("7.3", lambda pdf: element(pdf, "Figure").__delitem__("/Alt")),
    ("7.3", lambda pdf: element(pdf, "Figure").__delitem__("/A")),
    ("7.4.2", lambda pdf: element(pdf, "H2").__setitem__("/S", Name.H3)),
    ("7.5", lambda pdf: element(pdf, "TH").__delitem__("/A")),
    ("7.8", replace_content(b"/Subtype/Header", b"/Subtype/Top")),
    ("7.11", lambda pdf: pdf.Root.__setitem__("/X", pdf.make_indirect(pikepdf.Dictionary(EF=1, F=pikepdf.String("a"))))),
    ("7.15", lambda pdf: pdf.Root.__setitem__("/AcroForm", pikepdf.Dictionary(XFA=1))),
    ("7.18.1", lambda pdf: first(pdf, Name.Link).__delitem__("/StructParent")),
    ("7.18.3", lambda pdf: pdf.pages[1].__delitem__("/Tabs")),
    ("7.18.4", lambda pdf: first(pdf, Name.Link).__setitem__("/Subtype", Name.Widget)),
    ("7.18.5", lambda pdf: first(pdf, Name.Link).__delitem__("/Contents")),
    ("7.21.4.1", lambda pdf: font_of(pdf).DescendantFonts[0].__delitem__("/CIDToGIDMap")),
    ("7.21.5", lambda pdf: font_of(pdf).DescendantFonts[0].__setitem__("/W", [1, [300, 301, 302]])),
    ("7.21.7", lambda pdf: font_of(pdf).__delitem__("/ToUnicode")),
    ("7.21.8", lambda pdf: write_plain(pdf.pages[0].Contents, lambda data: re.sub(rb"(Td\(|\[\()..", rb"\1" + b"\0\0", data, 1, re.S))),
]


class Tags(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.template = pathlib.Path(cls.folder.name) / "tagged.qbf"
        cls.template.write_text(TAGGED, "utf-8")
        cls.rows = cls.template.with_name("rows.json")
        cls.rows.write_text(json.dumps(TAGGED_ROWS), "utf-8")
        cls.tagged = render(cls.template, "-d", cls.rows)

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def test_all_content_is_tagged_in_every_standard(self):
        for standard in TAGGED_STANDARDS:
            for accessible in ("yes", "no") if standard.endswith("a") else ("yes",):
                with self.subTest(f"{standard} {accessible}"):
                    data = render(self.template, "-d", self.rows, "--option", f"standard={standard}", "--option", f"ua={accessible}")
                    self.assertEqual(ua_rules.faults(data, standard, accessible == "yes"), [])
                    self.assertEqual([] if standard == "none" else pdfa_rules.faults(data, standard), [])

    def test_readers_get_the_document_in_its_order(self):
        file = self.template.with_suffix(".pdf")
        file.write_bytes(self.tagged)
        shown = output_of("pdfinfo", "-struct-text", file).decode()
        shown = re.sub(r"\s+", " ", re.sub(r"P \(block\)\s+Link \(inline\)\s+Object \d+ 0\s+", "", shown))  # of page headers
        self.assertIn(READ, re.sub(r" Object \d+ 0| \(\w+\)|: /Scope /Column|: /Placement[^]]*\]", "", shown))
        document = ua_rules.Tagged(self.tagged, "a-2u")
        counts = collections.Counter(element.type for element in document.elements)
        self.assertEqual({kind: counts[kind] for kind in ("H1", "H2", "H3", "Table", "THead")},
                         {"H1": 1, "H2": 3, "H3": 4, "Table": 16, "THead": 3})
        self.assertEqual([str(figure.node.Alt) for figure in document.of("Figure")[:4]],
                         ["The seal", "12345", "Bubbles. Year: A 1.5, B 2", "Item 0"])

    def test_cross_tables_and_merged_cells(self):
        rows = [{"Region": "NS"[i // 40], "City": "ABC"[i // 9 % 3], "Day": f"2024-{i % 12 + 1:02}-03", "Amount": i, "Product": "xyz"[i % 3],
                 "Customer": "pqrs"[i % 4], "Month": "JF"[i % 2], "Name": f"n{i // 3}", "Weekday": "MT"[i % 2], "Hour": i % 5, "Calls": i, "Parcels": 1} for i in range(80)]
        self.rows.with_name("cross.json").write_text(json.dumps(rows), "utf-8")
        page = (SOURCES / "docs/recipes.md").read_text("utf-8")
        for name, library in re.findall(r"```xml ([\w-]+\.qbf)\n(.*?)```", page, re.S):
            self.template.with_name(name).write_text(library, "utf-8")
        recipes = re.findall(r"```xml [\w-]+\n(.*?)```", page, re.S)
        self.assertGreater(len(recipes), 4)
        for recipe in recipes:
            with self.subTest(recipe):
                self.template.with_name("cross.qbf").write_text(recipe, "utf-8")
                data = render(self.template.with_name("cross.qbf"), "-d", self.rows.with_name("cross.json"), "--option", "standard=a-2a")
                self.assertEqual(pdfa_rules.faults(data, "a-2a") + ua_rules.faults(data, "a-2a", False), [])
                scopes = {str(cell.attribute("/Scope")) for cell in ua_rules.Tagged(data, "a-2a").of("TH")}
                self.assertEqual(scopes, {"/Column", "/Row"} if "<CrossTable" in recipe else {"/Column"} if "<Grid" in recipe else set())

    def test_merged_cells_across_pages(self):
        """A merged cell is read once, in the first of its rows."""
        rows = [{"Region": "NS"[i > 69], "City": f"c{i // 7}", "Name": "same" if i < 3 else f"n{i}"} for i in range(100)]
        columns = "".join(f'<Column name="{name}" width="30mm" mergeBy="{name}"><Title text="{name}"/><Content text="[{name}]"/></Column>' for name in rows[0])
        self.template.with_name("merged.qbf").write_text(f'<Report version="1"><Info title="M" language="en"/><Page size="A5"/><DefaultStyle font="Liberation Sans"/>'
                                                         f'<Grid><Columns>{columns}</Columns></Grid></Report>', "utf-8")
        self.rows.with_name("merged.json").write_text(json.dumps(rows), "utf-8")
        data = render(self.template.with_name("merged.qbf"), "-d", self.rows.with_name("merged.json"), "--option", "standard=a-2a", "--option", "ua=yes")
        self.assertEqual(ua_rules.faults(data, "a-2a"), [])
        document = ua_rules.Tagged(data, "a-2a")
        self.assertGreater(len(document.pages), 2)
        spans = collections.Counter(int(cell.attribute("/RowSpan") or 1) for cell in document.of("TD"))
        # The first three rows are all the same: one row is left of them.
        self.assertEqual(spans, {68: 1, 30: 1, 5: 1, 7: 13, 2: 1, 1: 98})

    def test_every_rule_finds_its_fault(self):
        for number, (clause, plant) in enumerate(PLANTED_IN_TAGS):
            with self.subTest(f"{number}: {clause}"), pikepdf.open(io.BytesIO(self.tagged)) as pdf:
                pdf.pages[0].contents_coalesce()
                plant(pdf)
                out = io.BytesIO()
                pdf.save(out, fix_metadata_version=False)
                self.assertTrue(any(fault.startswith(clause + " ") for fault in ua_rules.faults(out.getvalue(), "a-2u")))
        self.assertEqual({clause for clause, _ in PLANTED_IN_TAGS} | {"7.16"}, {clause for clause, _ in ua_rules.RULES})

    def test_pictures_without_a_text_are_a_warning(self):
        for options, is_told in (([], True), (["--option", "ua=no"], False)):
            result = render(self.template, "-d", self.rows, "--strict", *options, check=False)
            self.assertEqual(b"tagged.qbf:11:5: warning" in result.stderr, is_told, result.stderr)


def output_of(*command, check=True, data=None):
    return subprocess.run([str(word) for word in command], check=check, input=data, capture_output=True,
                          cwd=tempfile.gettempdir()).stdout


def value_at(data, at):
    """The start of the content and the end of a value in DER."""
    size, head = data[at + 1], 2
    if size >= 0x80:
        head += size - 0x80
        size = int.from_bytes(data[at + 2:at + head], "big")
    return at + head, at + head + size


def values_in(data, at=0):
    start, end = value_at(data, at)
    while start < end:
        yield start
        start = value_at(data, start)[1]


class TimeServer(http.server.BaseHTTPRequestHandler):
    def do_POST(self):
        query = self.folder / "query.tsq"
        query.write_bytes(self.rfile.read(int(self.headers["Content-Length"])))
        answer = output_of("openssl", "ts", "-reply", "-config", self.folder / "time.cnf", "-queryfile", query)
        self.send_response(200)
        self.send_header("Content-Length", str(len(answer)))
        self.end_headers()
        self.wfile.write(answer)

    def log_message(self, *arguments):
        pass


class Files(unittest.TestCase):
    """Attached files, passwords, signatures and the examples of the page about them, in one folder."""

    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory()
        cls.folder = folder = pathlib.Path(cls.scratch.name)
        page = (SOURCES / "docs/archive.md").read_text("utf-8")
        cls.commands = re.findall(r"^qbreport .*$", page, re.M)
        stock, invoice = re.findall(r'<Report version="1">.*?</Report>', page, re.S)
        cls.files = {
            "stock.qbf": stock, "invoice.qbf": invoice,
            "stock.json": '[{"Category": "Hot", "Product": "Tea", "Stock": 3}, {"Category": "Sweet", "Product": "Jam", "Stock": 4}]',
            "list.qbf": '<Report version="1"><ReportHeader height="30mm"><Text width="90mm" height="9mm" text="[Secret]"/>'
                        '<Box y="9mm" width="60mm" height="20mm" signature="true"/></ReportHeader></Report>',
            "rows.json": '{"Secret": "Only for you"}',
            "factur-x.xml": (SAMPLES / "Reports/3a.factur-x.xml").read_text("utf-8"),
            "user.txt": "usér\n", "owner.txt": "owner\n", "key.txt": "hidden-word\n", "pin.txt": "hidden-pin\n",
            "softhsm2.conf": f"directories.tokendir={folder}\nobjectstore.backend=file\nlog.level=ERROR\n",
            "time.cnf": f"[tsa]\ndefault_tsa=one\n[one]\nserial={folder}/serial\nsigner_cert={folder}/ts.pem\n"
                        f"signer_key={folder}/tskey.pem\nsigner_digest=sha256\ndigests=sha256\ndefault_policy=1.2.3\n"
                        "ess_cert_id_alg=sha256\n",
        }
        for name, text in cls.files.items():
            (folder / name).write_text(text, "utf-8")
        (folder / "shop.png").write_bytes((SAMPLES / "Data/Picture/Seal.png").read_bytes())
        for kind, name, extra in (("rsa:2048", "key", []), ("rsa:2048", "ts", ["-addext", "extendedKeyUsage=critical,timeStamping"]),
                                  ("ec", "ec", ["-pkeyopt", "ec_paramgen_curve:P-256"])):
            output_of("openssl", "req", "-x509", "-newkey", kind, "-nodes", "-days", "9", "-subj", f"/CN=Signer {name}",
                      "-keyout", folder / f"{name}key.pem", "-out", folder / f"{name}.pem", *extra)
            output_of("openssl", "pkcs12", "-export", "-inkey", folder / f"{name}key.pem", "-in", folder / f"{name}.pem",
                      "-out", folder / f"{name}.p12", "-passout", "pass:hidden-word")
        os.environ["SOFTHSM2_CONF"] = str(folder / "softhsm2.conf")
        output_of("softhsm2-util", "--init-token", "--free", "--label", "Office", "--so-pin", "0000", "--pin", "hidden-pin")
        for number, (label, key) in enumerate((("seal", "key"), ("curve", "ec"))):
            output_of("softhsm2-util", "--import", folder / f"{key}key.pem", "--token", "Office", "--label", label, "--id", f"A{number}",
                      "--pin", "hidden-pin")
        output_of("p11tool", "--provider", SOFTHSM, "--login", "--set-pin", "hidden-pin", "--write", "--load-certificate", folder / "ec.pem",
                  "--label", "curve", "--id", "A1", "pkcs11:token=Office")
        (folder / "seal.pem").write_bytes((folder / "key.pem").read_bytes())

    @classmethod
    def tearDownClass(cls):
        cls.scratch.cleanup()

    def render(self, *arguments, check=True):
        result = subprocess.run([PROGRAM, "render", "list.qbf", "-d", "rows.json", "-f", "pdf", "-o", "-",
                                 *(word for option in arguments for word in ("--option", option))],
                                capture_output=True, cwd=self.folder, timeout=60)
        if check:
            self.assertEqual(result.returncode, 0, result.stderr.decode())
        return result

    def test_the_examples_of_the_page_run(self):
        self.assertGreaterEqual(len(self.commands), 3)
        for command in self.commands:
            with self.subTest(command):
                result = subprocess.run(["bash", "-c", command.replace("qbreport", str(PROGRAM), 1)], cwd=self.folder,
                                        capture_output=True, timeout=60)
                self.assertEqual(result.returncode, 0, result.stderr.decode())
        stock = (self.folder / "stock.pdf").read_bytes()
        self.assertEqual(pdfa_rules.faults(stock, "a-2a") + ua_rules.faults(stock, "a-2a"), [])

    def test_an_invoice_carries_its_xml(self):
        sample = next(SAMPLES.glob("Reports/3a.*.qbf"))
        document = render(sample, "-d", SAMPLES / "Data/json/jsonInvoice.txt")
        self.assertEqual(pdfa_rules.faults(document, "a-3u"), [])
        (self.folder / "invoice.pdf").write_bytes(document)
        output_of("pdfdetach", "-saveall", "-o", self.folder, self.folder / "invoice.pdf")
        self.assertEqual((self.folder / "factur-x.xml").read_bytes(), (SAMPLES / "Reports/3a.factur-x.xml").read_bytes())
        with pikepdf.open(io.BytesIO(document)) as pdf:
            stream = pdf.Root.AF[0].EF.F
            self.assertEqual(bytes(stream.Params.CheckSum), hashlib.md5(stream.read_bytes()).digest())
        plants = [("6.8", lambda pdf: pdf.Root.AF[0].__delitem__("/AFRelationship")),
                  ("6.8", lambda pdf: pdf.Root.__delitem__("/AF")),
                  ("6.8", lambda pdf: pdf.Root.AF[0].EF.F.__delitem__("/Subtype")),
                  ("6.6.2.3", lambda pdf: replace(pdf.Root.Metadata, b"namespaceURI>urn:", b"namespaceURI>x:"))]
        for clause, plant in plants:
            with self.subTest(clause), pikepdf.open(io.BytesIO(document)) as pdf:
                plant(pdf)
                out = io.BytesIO()
                pdf.save(out, fix_metadata_version=False)
                self.assertTrue(any(fault.startswith(clause + " ") for fault in pdfa_rules.faults(out.getvalue(), "a-3u")))

    def test_attachments_are_refused_where_they_are_wrong(self):
        attachment = '<Report version="1">\n <Pdf{}>\n  <Attachment {}name="a.xml"/></Pdf></Report>'
        for pdf, attributes, option, cause in (
                (' standard="a-2b"', 'source="rows.json" ', "", ":2:"), ("", 'source="rows.json" ', "standard=a-1b", ":3:"),
                ("", 'source="gone.xml" ', "", ":3:"), ("", "", "", ":3:"), ("", 'source="/etc/passwd" ', "", "a.xml")):
            with self.subTest(f"{pdf} {attributes} {option}"):
                (self.folder / "a.qbf").write_text(attachment.format(pdf, attributes), "utf-8")
                result = subprocess.run([PROGRAM, "render", "a.qbf", "-o", "a.pdf", *(["--option", option] if option else [])],
                                        cwd=self.folder, capture_output=True, timeout=60)
                self.assertNotEqual(result.returncode, 0)
                self.assertIn(cause, result.stderr.decode())

    def test_metadata_of_a_program(self):
        page = (SOURCES / "docs/archive.md").read_text("utf-8")
        house = re.search(r"<rdf:RDF.*?</rdf:RDF>", page, re.S)[0]
        further = house.replace("<ex:Dep", '<dc:rights xmlns:dc="http://purl.org/dc/elements/1.1/"><rdf:Alt><rdf:li xml:lang="x-default">&lt;A&gt;'
                                "</rdf:li></rdf:Alt></dc:rights><ex:Dep").replace("<rdf:RDF", '<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF') + "</x:xmpmeta>"
        for text in (house, further):
            (self.folder / "house.xmp").write_text(text, "utf-8")
            for standard in STANDARDS + ("none",):
                with self.subTest(standard), pikepdf.open(io.BytesIO(data := self.render("xmp=house.xmp", f"standard={standard}").stdout)) as pdf:
                    self.assertEqual([] if standard == "none" else pdfa_rules.faults(data, standard), [])
                    metadata = pdf.open_metadata()
                    self.assertEqual(metadata["{https://example.org/terms/}Order"], "4711")
                    self.assertEqual(metadata["{https://example.org/terms/}Departments"], {"Sales", "Store"})
                    self.assertEqual(metadata.get("dc:rights"), "<A>" if text is further else None)
        for old, new, cause in (("ex:Order=", "Order=", None), ("ex:Order=", "gone:Order=", "gone:Order"), ("</rdf:RDF>", "", "XML"),
                                ("https://example.org/terms/", "http://www.aiim.org/pdfa/ns/id/", "ex:Order"), ("rdf:RDF", "rdf:R", "rdf:RDF"),
                                ("https://example.org/terms/", "http://purl.org/dc/elements/1.1/", "dc:Order"), ("rdf:Bag", "ex:Bag", "ex:Departments"),
                                ("<rdf:li>Sales</rdf:li>", "<rdf:li><ex:A/></rdf:li>", "ex:Departments"), ("ex:Departments", "ex:Order", "twice"),
                                ("<rdf:li>Sales</rdf:li><rdf:li>Store</rdf:li>", "", "empty")):
            with self.subTest(new):
                (self.folder / "house.xmp").write_text(house.replace(old, new), "utf-8")
                result = self.render("xmp=house.xmp", check=False)
                self.assertEqual(result.returncode != 0, cause is not None)
                self.assertIn(cause or "", result.stderr.decode())

    def test_passwords(self):
        options = ("user-password=usér", "owner-password=owner", "permissions=print,copy")
        file = self.folder / "locked.pdf"
        file.write_bytes(self.render(*options).stdout)
        for password, status in (("usér", 0), ("owner", 0), ("user", 2), ("", 2)):
            with self.subTest(password):
                self.assertEqual(subprocess.run(["qpdf", f"--password={password}", "--check", file],
                                                capture_output=True).returncode, status)
        shown = output_of("qpdf", "--password=usér", "--show-encryption", file).decode()
        for line in ("R = 6", "extract for any purpose: allowed", "print high resolution: allowed", "modify anything: not allowed"):
            self.assertIn(line, shown)
        self.assertIn("Only for you", output_of("pdftotext", "-upw", "usér", file, "-").decode())
        self.assertIn(b"PDF/A", self.render(*options, "standard=a-2u", check=False).stderr)
        self.assertIn(b"signature", self.render(*options, "sign-key=key.p12", "sign-password=hidden-word", check=False).stderr)
        # What is asked for and would not be done
        for options, cause in ((("sign-password=hidden-word",), b"there is no key to sign"), (("user-password=",), b"user-password is empty")):
            refused = self.render(*options, check=False)
            self.assertNotEqual(refused.returncode, 0)
            self.assertIn(cause, refused.stderr)

    def signed(self, file):
        data = file.read_bytes()
        with pikepdf.open(file) as pdf:
            start, first, second, size = (int(number) for number in pdf.Root.AcroForm.Fields[0].V.ByteRange)
            rect = [float(edge) for edge in pdf.Root.AcroForm.Fields[0].Rect]
        self.assertEqual((start, second + size), (0, len(data)))
        contents = bytes.fromhex(data[first + 1:second - 1].decode())
        (self.folder / "signed").write_bytes(data[:first] + data[second:])
        (self.folder / "signature").write_bytes(contents[:value_at(contents, 0)[1]])
        return contents, rect

    def test_signatures(self):
        server = http.server.HTTPServer(("127.0.0.1", 0), type("Server", (TimeServer,), {"folder": self.folder}))
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        file = self.folder / "signed.pdf"
        on_token = "sign-key=pkcs11:token=Office;object={}?module-path=" + SOFTHSM
        for name, options in (("key", []), ("ec", ["standard=a-1b"]), ("key", ["standard=none"]),
                              ("key", [f"sign-time-server=http://127.0.0.1:{server.server_port}/"]),
                              ("key", [on_token.format("seal"), "sign-password=hidden-pin", "sign-certificates=seal.pem"]),
                              ("ec", [on_token.format("curve"), "sign-password=hidden-pin", "standard=a-1b"])):
            with self.subTest(f"{name} {options}"):
                file.write_bytes(self.render(f"sign-key={name}.p12", "sign-password=hidden-word", "sign-reason=Ä", *options).stdout)
                shown = output_of("pdfsig", file).decode()
                for part in ("Signature is Valid.", "Total document signed", "ETSI.CAdES.detached", f"Signer {name}"):
                    self.assertIn(part, shown)
                if "standard=none" not in options:
                    self.assertEqual(pdfa_rules.faults(file.read_bytes(), "a-1b" if name == "ec" else "a-2u"), [])
                contents, rect = self.signed(file)
                self.assertAlmostEqual(rect[2] - rect[0], 170.08, 1)
                output_of("openssl", "cms", "-verify", "-cades", "-CAfile", self.folder / f"{name}.pem", "-purpose", "any", "-binary", "-inform", "DER", "-in",
                          self.folder / "signature", "-content", self.folder / "signed")
                data = file.read_bytes()
                file.write_bytes(data.replace(b"endobj\n", b"endobj ", 1))
                self.assertNotIn("Signature is Valid.", output_of("pdfsig", file, check=False).decode())
                if options and "server" in options[0]:
                    self.check_time(contents)
        for key, password, cause in (("key.p12", "wrong-word", b"password"), (on_token[9:].format("seal"), "wrong-word", b"PIN"),
                                     (on_token[9:].format("none"), "hidden-pin", b"no such key"),
                                     (on_token[9:].format("seal"), "hidden-pin", b"sign-certificates"),
                                     ("pkcs11:object=seal?pin-value=wrong-word", "", b"sign-password"),
                                     ("pkcs11:object=seal?module-path=/gone.so", "hidden-pin", b"/gone.so")):
            with self.subTest(f"{key} {password}"):
                wrong = self.render(f"sign-key={key}", f"sign-password={password}", check=False)
                self.assertNotEqual(wrong.returncode, 0)
                self.assertIn(cause, wrong.stderr)
                self.assertNotIn(b"wrong-word", wrong.stderr)

    def check_time(self, contents):
        signed = list(values_in(contents, list(values_in(contents))[1]))[0]
        signer = list(values_in(contents, list(values_in(contents, signed))[-1]))[0]
        *_, value, attributes = values_in(contents, signer)
        values = list(values_in(contents, list(values_in(contents, attributes))[0]))[1]
        token = list(values_in(contents, values))[0]
        (self.folder / "value").write_bytes(contents[slice(*value_at(contents, value))])
        (self.folder / "token").write_bytes(contents[token:value_at(contents, token)[1]])
        verified = output_of("openssl", "ts", "-verify", "-token_in", "-in", self.folder / "token", "-data",
                             self.folder / "value", "-CAfile", self.folder / "ts.pem")
        self.assertIn(b"OK", verified)


class Samples(unittest.TestCase):
    def test_all_keep_their_standard(self):
        with tempfile.TemporaryDirectory() as folder:
            files = []
            for template, data in reports():
                has_files = "<Attachment" in template.read_text("utf-8")
                for standard in ("a-3a",) if has_files else ("a-1b", "a-2a", "a-2u") if FULL else ("a-2a",):
                    with self.subTest(f"{template.stem} {standard}"):
                        is_tagged = accessible = standard.endswith("a")
                        options = ["--option", f"standard={standard}", *data]
                        result = render(template, *options, "--option", f"ua={'yes' if is_tagged else 'no'}", check=False)
                        if b"needs a title" in result.stderr:
                            result, accessible = render(template, *options, check=False), False
                        self.assertEqual(result.returncode, 0, result.stderr.decode())
                        document = result.stdout
                        self.assertEqual(pdfa_rules.faults(document, standard), [])
                        self.assertEqual(ua_rules.faults(document, standard, accessible) if is_tagged else [], [])
                        if standard == "a-1b":
                            files.append(pathlib.Path(folder) / f"{len(files)}.pdf")
                            files[-1].write_bytes(document)
            if FULL:
                self.assertEqual(self.preflight(files), [])

    def preflight(self, files):
        """The files that Debian's validator for PDF/A-1b does not accept, with its messages."""
        jars = ":".join(f"/usr/share/java/{name}.jar" for name in (
            "preflight", "pdfbox2", "fontbox2", "xmpbox", "commons-logging", "commons-io", "jaxb-api",
            "javax.activation"))
        rejected = []
        for file in files:
            result = subprocess.run(["java", "-cp", jars, "org.apache.pdfbox.preflight.Validator_A1b", file],
                                    capture_output=True, text=True)
            if "is a valid PDF/A-1b file" not in result.stdout:
                rejected.append(f"{file.name}: {result.stdout}{result.stderr[-400:]}")
        return rejected


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
