#!/usr/bin/env python3
"""Writes seeds that are made from other files of the project: seeds.py FOLDER

engine_fuzz gets the samples, the golden reports and the examples of the docs, each in several kinds of document, and
api_fuzz calls for them; files_fuzz gets them with the files that they name; the other targets get their templates, data
and expressions. font_fuzz gets small parts of this machine's fonts, where hb-subset is installed, and files_fuzz a key,
where openssl is.
"""
import base64
import json
import pathlib
import re
import shutil
import sqlite3
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
SEEDS = ROOT / "fuzz" / "seeds"
GOLDEN = ROOT / "tests" / "qbsvrl6" / "golden"
KINDS = 16  # of engine_fuzz
TAGGED = 5  # the one that is a tagged PDF with further options


def reports():
    """Pairs of template and data, as bytes."""
    for template in sorted((ROOT / "samples" / "Samples" / "Reports").glob("*.qbf")):
        data = template.with_suffix(".txt")
        yield template.read_bytes(), data.read_bytes() if data.exists() else b"[]"
    for template in sorted(GOLDEN.glob("*/template.qbf")):
        yield template.read_bytes(), template.with_name("data.json").read_bytes()
    for cases in sorted([*(GOLDEN / "cases").glob("*.txt"), *(GOLDEN.parent / "layout" / "cases").glob("*.txt")]):
        for case in re.split(r"^=== .*\n", cases.read_text(encoding="utf-8"), flags=re.M)[1:]:
            parts = re.split(r"^--- (.*)\n", case, flags=re.M)
            template = parts[0] if "<Report" in parts[0] else f'<Report version="1">{parts[0]}</Report>'
            data = parts[2] if parts[1:2] == ["data"] else "[]"
            yield template.encode(), data.encode()
    yield from recipes()
    yield from starters()
    yield from examples()
    # The templates of the gallery read fields of these names.
    rows = [{"Region": "NS"[i // 10], "City": "ABC"[i // 4 % 3], "Day": f"2024-{i % 12 + 1:02}-03", "Amount": i, "Product": "xyz"[i % 3],
             "Customer": "pqrs"[i % 4], "Weekday": "MT"[i % 2], "Hour": i % 5, "Calls": i, "Stock": i * 7, "Category": "ab"[i // 10]}
            for i in range(20)]
    for path in sorted((ROOT / "docs/gallery/templates").glob("*.qbf")):
        yield path.read_bytes(), json.dumps(rows).encode()


def recipes():
    for name, template in re.findall(r"^```xml (\S+)\n(.*?)^```", (ROOT / "docs/recipes.md").read_text(encoding="utf-8"), flags=re.M | re.S):
        data = (ROOT / "docs/recipes" / name).with_suffix(".json")
        if data.exists():
            yield template.encode(), data.read_bytes()


def starters():
    for template in sorted((ROOT / "qbreport/starters").glob("*.qbf")):
        yield template.read_bytes(), template.with_suffix(".json").read_bytes()


# The fields that the examples of the docs read.
ROWS = [{"CompanyName": "蓝海", "Amount": 1250.5 - i, "Price": 2 + i, "Quantity": i + 1, "OrderDate": f"2024-0{i + 1}-05", "Product": "茶咖水"[i],
         "City": "南京", "Id": 7, "OrderId": 9, "Order": 9, "Region": "华东"[i % 2], "Category": "饮料", "Stock": 12 * i, "Customer": "蓝海"[i % 2],
         "Rate": 0.13} for i in range(3)]


def examples():
    """The examples of the docs, also parts of reports."""
    rows = json.dumps({"Rows": ROWS, "Orders": ROWS, "Customers": ROWS, "Lines": ROWS}, ensure_ascii=False)
    files = dict(re.findall(r"^```\w+ (\S+)\n(.*?)^```", (ROOT / "docs/data.md").read_text(encoding="utf-8"), re.M | re.S))
    for page in ("template-format", "archive", "data", "column-adapt"):
        for block in re.findall(r"^```xml\n(.*?)^```", (ROOT / f"docs/{page}.md").read_text(encoding="utf-8"), re.M | re.S):
            if not re.search("<(Report|Library) ", block):
                first = re.match(r"<(\w+)", block).group(1)
                if first in ("Column", "Span"):
                    block = f"<Grid><Columns>{block}</Columns></Grid>"
                elif first in ("Recordset", "Columns", "Groups"):
                    block = f"<Grid>{block}</Grid>"
                elif first in ("Text", "Line", "Box", "Picture", "Barcode", "Chart", "SubReport"):
                    block = f'<ReportHeader height="100mm">{block}</ReportHeader>'
                block = f'<Report version="1"><Styles><Style name="negative"/></Styles>{block}<ReportFooter height="1mm"/></Report>'
            query = re.search(r'<Data [^>]*query="([^"]+)"', block)
            yield block.encode(), files.get(query.group(1) if query else "", rows).encode()


def picture_report():
    """A grid of the pictures that picture_fuzz starts from, in each fit."""
    cells = "".join(f'<Column name="{fit}" width="30mm"><Content><Picture source="[p]" scale="{fit}" alternateText="[n]"/></Content></Column>'
                    for fit in ("contain", "stretch", "clip"))
    rows = [{"n": path.name, "p": base64.b64encode(path.read_bytes()).decode()} for path in sorted((SEEDS / "picture_fuzz").iterdir())]
    return f'<Report version="1"><Grid rowHeight="20mm"><Columns>{cells}</Columns></Grid></Report>'.encode(), json.dumps(rows).encode()


def write_engine_seeds(folder):
    folder.mkdir(parents=True)

    def write(name, letter, template, data):
        (folder / name).write_bytes(letter.encode() + template + b"\n=== data\n" + data)

    for number, (template, data) in enumerate(reports()):
        for kind in range(number % 3, KINDS, 3):
            write(f"{number}-{kind}", chr(ord("A") + kind), template, data)
        for kind in {TAGGED, number % KINDS}:
            write(f"{number}-{kind}-further", chr(ord("a") + kind), template, data)
    template, data = picture_report()
    for kind in range(KINDS):
        write(f"pictures-{kind}", chr(ord("A") + kind), template, data)


# Ways to export, for api_fuzz: formats with their options. Passwords are left to fuzz/seeds: their keys take milliseconds
# by design.
CALLS = ("Fpdf\nOstandard|a-3b", "Fpdf\nOstandard|a-1b", "Fpdf\nOstandard|a-2a\nOua|yes", "Fpdf\nOstandard|none\nOpages|2-\nOcreated|2026-03-01",
         "Fpng\nOresolution|36\nOall-in-one|yes", "Ftiff\nOresolution|36", "Fhtml\nOlayout|table", "Fhtml\nOlayout|grid",
         "Fxlsx\nOlayout|pages\nOpage-breaks|no", "Fxlsx\nOlayout|grid", "Fxlsx\nOlayout|table", "Fxls\nOlayout|table", "Fxls\nOlayout|grid",
         "Fods\nOlayout|pages", "Fods\nOlayout|table", "Fods\nOlayout|grid", "Frtf\nOpages|1", "Frtf\nOlayout|table", "Frtf\nOlayout|grid",
         "Fdocx\nOlayout|pages", "Fdocx\nOlayout|table\nOpage-headers|no", "Fdocx\nOlayout|grid", "Fjson", "Fjson\nOlayout|grid",
         "Fcsv\nOlayout|pages\nOcsv.separator|;\nOcsv.quotes|all", "Fcsv\nOlayout|grid\nOcsv.values|raw\nOcsv.defuse|yes",
         "Fcsv\nOlayout|grid\nOcsv.values|shown\nOtext.line-ends|lf\nOtext.encoding|gbk", "Ftxt\nOlayout|table\nOtxt.widths|10 20 8",
         "Ftxt\nOlayout|pages\nOtext.encoding|gb18030", "Ftxt\nOlayout|grid\nOtext.line-ends|crlf")
ENDS = ("X0", "X8", "X9")


def write_api_seeds(folder):
    folder.mkdir(parents=True)
    for number, (template, data) in enumerate(reports()):
        for turn in range(2):
            call = 2 * number + turn
            lines = [b"T" + template.replace(b"\n", b" "), b"Dxml|" + data.replace(b"\n", b" "), b"?" if turn else b"G%d" % (number % 10),
                     CALLS[call % len(CALLS)].encode(), ENDS[call % len(ENDS)].encode(), b"X%d" % (number % 7 + 1)]
            (folder / f"{number}-{turn}").write_bytes(b"\n".join(lines))


# Queries of a database.
QUERIES = ("SELECT * FROM Orders ORDER BY Id", "SELECT o.*, l.Product FROM Orders o JOIN Lines l ON l.OrderId = o.Id WHERE o.Id = :Id",
           "SELECT Customer, Sum(Amount) AS Total FROM Orders WHERE Paid OR Day < :Until GROUP BY 1", "SELECT 1; SELECT 2", "DELETE FROM Orders",
           "SELECT x'414200' AS b, 1e300 AS n, -9223372036854775808 AS i, NULL AS z, 'a''b' AS t -- comment\n/* more */")


SHOP = """CREATE TABLE Orders (Id INTEGER, Customer TEXT, Amount REAL, Day DATE, Paid BOOLEAN);
INSERT INTO Orders VALUES (1, '蓝海', 2.5, '2024-03-05', 1), (2, 'b', NULL, '2024-03-06 10:11:12', 0), (3, '', 1e9, '', 't');
CREATE TABLE Lines (OrderId, Product); INSERT INTO Lines VALUES (1, 'Tea'), (1, 'Jam'), (3, x'00ff');"""


def database(script):
    with tempfile.NamedTemporaryFile(suffix=".db") as file:
        with sqlite3.connect(file.name) as made:
            made.executescript("PRAGMA page_size = 512; VACUUM; " + script)
        return pathlib.Path(file.name).read_bytes()


def signing_key():
    """A key without slow rounds; empty if it cannot be made."""
    with tempfile.TemporaryDirectory() as folder:
        key, certificate = f"{folder}/key.pem", f"{folder}/certificate.pem"
        commands = (["req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-days", "9", "-subj", "/CN=Signer", "-keyout",
                     key, "-out", certificate],
                    ["pkcs12", "-export", "-inkey", key, "-in", certificate, "-out", f"{folder}/key.p12", "-passout", "pass:secret", "-iter", "1",
                     "-nomaciter"])
        for command in commands:
            if subprocess.run(["openssl", *command], check=False, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode != 0:
                return b"", b""
        return pathlib.Path(f"{folder}/key.p12").read_bytes(), pathlib.Path(certificate).read_bytes()


def template_files():
    """Templates with the files that they name."""
    library_folder = ROOT / "tests/qbsvrl6/template"
    libraries = {name: (library_folder / name).read_bytes() for name in ("house-style.qbf", "colours.qbf")}
    yield (library_folder / "letter.qbf").read_bytes(), {**libraries, "data": json.dumps({"Rows": [{"Name": "a", "Quantity": 2}], "First": 2}).encode()}
    picture = {path.name: path.read_bytes() for path in sorted((SEEDS / "picture_fuzz").iterdir())}
    for name, content in picture.items():
        template = f"""<Report version="1"><Pdf><Attachment name="a" source="{name}"/></Pdf><Background picture="{name}"/><ReportHeader height="30mm">
<Picture width="20mm" height="9mm" source="{name}"/><Picture y="9mm" width="20mm" height="9mm" folder="." source="{name}" scale="stretch"/></ReportHeader></Report>"""
        yield template.encode(), {name: content}
    grid = "<Grid><Columns><Column name='a' width='30mm'><Content text='[a] [b]'/></Column></Columns></Grid>"
    sources = {"csv": b"a,b\r\n1,x\r\n2,\"y, z\"\r\n", "csv:separator=;,header=no,encoding=gbk": "1;中\n2;文\n".encode("gbk"), "jsonl": b'{"a":1}\n{"a":2,"b":[1]}\n',
               "json": b'[{"a":1,"b":{"c":2}}]', "xml": b"<d><r a='1'/><r><b>x</b></r></d>", "nope": b""}
    for connection, data in sources.items():
        yield f'<Report version="1"><Data connection="{connection}" query="rows.data"/>{grid}</Report>'.encode(), {"rows.data": data}
    yield (f'<Report version="1">{grid}</Report>'.encode(),
           {"data": b'[{"a":1,"b":2},{"a":3}]', "qbsvrl6.conf": b"# settings\nbudget.pages = 3\nbudget.wall-time = 10 s\nbudget.data-memory = 2 MiB\n"
            b"reach.folders = /absent\nreach.hosts = none\ncsv.defuse = yes\ndata.memory = 1 KiB\n"})
    yield f'<Report version="1">{grid}</Report>'.encode(), {"qbsvrl6.conf": b"budget.pages = many\n"}
    shop = database(SHOP)
    for query in QUERIES:
        yield (f"""<Report version="1"><Parameters><Parameter name="Until" type="date" value="2025-01-01"/><Parameter name="Id" type="number" value="1"/></Parameters>
<Data connection="sqlite:shop.db"><Query>{query.replace("<", "&lt;")}</Query></Data><Grid><Columns><Column name="c" width="50mm"><Content text="[Id] [Amount] [t]"/></Column>
</Columns></Grid></Report>""".encode(), {"shop.db": shop})
    yield (b"""<Report version="1"><Data connection="sqlite:shop.db" query="SELECT * FROM Orders"/><Grid><Columns><Column name="c" width="50mm"><Content><SubReport>
<Parameter name="Id" expression="Id"/><Report><Data query="SELECT * FROM Lines WHERE OrderId = :Id"/><Grid titleHeight="0mm"><Columns><Column name="p" width="50mm">
<Content text="[Product]"/></Column></Columns></Grid></Report></SubReport></Content></Column></Columns></Grid></Report>""", {"shop.db": shop})
    signed = b"""<Report version="1"><ReportHeader height="30mm"><Text width="30mm" height="9mm" text="Signed"/><Box y="9mm" width="60mm" height="20mm" signature="true"/>
</ReportHeader></Report>"""
    key, certificate = signing_key()
    if key:
        yield signed, {"key.p12": key}
        yield signed, {"key.p12": key, "chain.pem": certificate}
        yield signed, {"key.p12": b"no key", "chain.pem": certificate}
    for xmp in re.findall(r"^```rdf\n(.*?)^```", (ROOT / "docs/archive.md").read_text(encoding="utf-8"), re.M | re.S):
        yield signed, {"page.xmp": xmp.encode()}
    yield signed, {"page.xmp": b"<x/>"}


def data_page():
    """The examples of docs/data.md with their files and databases."""
    files = {}
    for kind, name, text in re.findall(r"^```(\w+) ?(\S*)\n(.*?)^```", (ROOT / "docs/data.md").read_text(encoding="utf-8"), re.M | re.S):
        if kind == "sql":
            files[name] = database(text)
        elif name:
            files[name] = text.encode()
        elif text.startswith(("<Report", "<?xml")):
            yield text.encode(), {name: content for name, content in files.items() if name in text}


def write_file_seeds(folder):
    folder.mkdir(parents=True)
    for number, (template, files) in enumerate([*template_files(), *data_page()]):
        parts = b"".join(b"\n=== " + name.encode() + b"\n" + content for name, content in files.items())
        formats = range(12) if number < 1 else {0, number % 12}
        for kind in formats:
            (folder / f"{number}-{kind}").write_bytes(bytes([ord("H") + kind]) + template + parts)


def write_parts(folder):
    """Templates, data and expressions by themselves."""
    templates = [template for template, _ in reports()]
    templates += [fault.split(b"\n--- errors")[0].partition(b"\n")[2]
                  for fault in (ROOT / "tests/qbsvrl6/template/faults.txt").read_bytes().split(b"=== ")]
    templates += [(ROOT / "tests/qbsvrl6/template/everything.qbf").read_bytes()]
    lines = []
    for path in (ROOT / "tests/qbsvrl6/bind/cases").glob("*.txt"):
        for line in path.read_text(encoding="utf-8").splitlines():
            if " =>" in line:
                text = line.partition(" =>")[0]
                lines.append((text[2:] if path.name == "placeholders.txt" else f"[{text}]").encode())
    parts = {"template_fuzz": templates, "layout_fuzz": templates, "data_fuzz": {data for _, data in reports()}, "expression_fuzz": lines}
    for target, seeds in parts.items():
        (folder / target).mkdir(parents=True)
        for number, seed in enumerate(sorted(seeds)):
            (folder / target / str(number)).write_bytes(seed)


def write_font_seeds(folder):
    folder.mkdir(parents=True)
    fonts = subprocess.run(["fc-list", ":", "file"], capture_output=True, text=True).stdout.split(":")
    chosen = {pathlib.Path(font.strip()).suffix: font.strip() for font in fonts if font.strip()}
    for suffix, font in chosen.items():
        subprocess.run(["hb-subset", "--unicodes=41,61,67,20,31,2e,35,e9,4e2d", f"--output-file={folder}/font{suffix}", font],
                       check=False, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def main():
    folder = pathlib.Path(sys.argv[1])
    shutil.rmtree(folder, ignore_errors=True)
    write_engine_seeds(folder / "engine_fuzz")
    write_api_seeds(folder / "api_fuzz")
    write_file_seeds(folder / "files_fuzz")
    write_parts(folder)
    if shutil.which("hb-subset") and shutil.which("fc-list"):
        write_font_seeds(folder / "font_fuzz")


if __name__ == "__main__":
    main()
