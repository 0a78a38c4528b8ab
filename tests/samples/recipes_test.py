"""Makes every recipe of docs/recipes.md in all formats, and compares the cells with figures that are computed here.

usage: recipes_test.py QBREPORT DOCS
"""

import collections
import csv
import html
import json
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree
import zipfile

import docx
import openpyxl
import xlrd
from PIL import Image

PROGRAM, DOCS = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
MONTHS = "Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec".split()
chance = random.Random(17)


def groups(rows, key):
    """Rows by key, in the order of their first rows."""
    found = {}
    for row in rows:
        found.setdefault(key(row), []).append(row)
    return found


def total(rows, field="Amount"):
    return sum(row[field] for row in rows)


def amount(rows, form=",.0f", field="Amount"):
    return (total(rows, field), format(total(rows, field), form)) if rows else ("-", "-")


# Each recipe has rows and what its cells are, row by row from the left: a text, or a number with its text.
# Covered and empty cells are left out.

def cross_table():
    rows = [{"Region": region, "City": city, "Day": f"{year}-{month:02}-{chance.randrange(1, 28):02}", "Amount": chance.randrange(10, 9000)}
            for region, city in (("North", "Oslo"), ("North", "Turku"), ("South", "Rome"), ("South", "Bari"), ("South", "Nice"))
            for year, month in ((2023, 11), (2023, 12), (2024, 1), (2024, 2)) for _ in range(chance.randrange(0, 4))]
    chance.shuffle(rows)
    years = [(year, sorted({row["Day"][5:7] for row in rows if row["Day"].startswith(year)})) for year in ("2023", "2024")]
    columns = [column for year, months in years for column in [*((year, month) for month in months), (year, None)]] + [(None, None)]

    def cells(own):
        return [amount([row for row in own if row["Day"].startswith(year or "") and month in (row["Day"][5:7], None)])
                for year, month in columns]

    expected = [[f"Sales: {total(rows):,} in {len(rows)} orders"], ["Region", "City", "2023", "2024", "Total"],
                [MONTHS[int(month) - 1] if month else year for year, month in columns if year]]
    for region, own in groups(rows, lambda row: row["Region"]).items():
        for position, (city, of_city) in enumerate(groups(own, lambda row: row["City"]).items()):
            expected.append([*([] if position else [region]), city, *cells(of_city)])
        expected.append([f"{region}, total", *cells(own)])
    return rows, expected + [["Total", *cells(rows)]]


def heat_map():
    rows = [{"Weekday": day, "Hour": hour, "Calls": chance.randrange(1, 60)}
            for day in ("Mon", "Tue", "Wed") for hour in (10, 9, 11) for _ in range(2)]
    expected = [["Day", "9:00", "10:00", "11:00", "Calls"], ["calls", "share", "so far"] * 4]
    for day, own in groups(rows, lambda row: row["Weekday"]).items():
        calls = {hour: total([row for row in own if row["Hour"] == hour], "Calls") for hour in (9, 10, 11)}
        line, so_far = [day], 0
        for value in [*calls.values(), None]:
            so_far += value or 0
            share = (value or so_far) / total(own, "Calls")
            line += [(value or so_far, str(value or so_far)), (share, f"{share:.1%}"), (so_far, str(so_far))]
        expected.append(line)
    return rows, expected


def largest():
    rows = [{"Region": region, "Customer": f"{region}{number}", "Amount": chance.randrange(100, 9000)}
            for region in ("A", "B") for number in range(5) for _ in range(chance.randrange(1, 4))]
    expected = [["Region", "Customer", "Amount", "of the region", "Orders", "Average"]]
    for region, own in groups(rows, lambda row: row["Region"]).items():
        ordered = sorted(groups(own, lambda row: row["Customer"]).items(), key=lambda item: -total(item[1]))
        shown = ordered[:2] + [("Others", [row for _, others in ordered[2:] for row in others])]
        for position, (customer, of_customer) in enumerate(shown):
            share, average = total(of_customer) / total(own), total(of_customer) / len(of_customer)
            expected.append([*([] if position else [region]), customer, amount(of_customer), (share, f"{share:.0%}"),
                             (len(of_customer), str(len(of_customer))), (average, f"{average:,.2f}")])
    return rows, expected


def two_levels():
    rows = [{"Region": region, "City": city, **{f"Q{number}": chance.randrange(1000, 99_999) for number in (1, 2, 3)}, "Q4": 0}
            for region, city in (("South", "Rome"), ("North", "Oslo"), ("South", "Bari"), ("North", "Turku"), ("North", "Bergen"))]
    expected = [["Region", "City", "First half", "Second half"], ["Q1", "Q2", "Q3"]]
    for region, own in sorted(groups(rows, lambda row: row["Region"]).items()):
        for position, row in enumerate(sorted(own, key=lambda row: row["City"])):
            quarters = [(row[f"Q{number}"], f"{row[f'Q{number}']:,}") for number in (1, 2, 3)]
            expected.append([*([] if position else [region]), row["City"], *quarters])
    return rows, expected + [["Total", *(amount(rows, ",", f"Q{number}") for number in (1, 2, 3))]]


def sheets():
    rows = [{"Customer": customer, "Day": f"2024-03-{number + 1:02}", "Amount": chance.randrange(-500, 9000)}
            for customer in ("Fish & Co", "fish & co", "North/South", "\u4e2d\u56fd") for number in range(chance.randrange(2, 6))]
    expected = []
    for customer, own in sorted(groups(rows, lambda row: row["Customer"]).items()):
        expected += [[customer], ["Day", "Amount"], *([row["Day"], amount([row], ",")] for row in own), ["Total", amount(own, ",")]]
    return rows, expected


def workbook():
    rows = [{"Region": region, "Product": f"Product {number}", "Price": chance.randrange(1, 99_999) / 100, "Quantity": chance.randrange(-9, 99)}
            for region in ("South", "North", "East") for number in range(chance.randrange(2, 7))]
    for row in rows:
        row["Amount"] = round(row["Price"] * row["Quantity"], 2)

    def totals(own):
        return [amount(own, "", "Quantity"), (round(total(own), 2), f"{total(own):,.2f}")]

    expected = [["Region", "Product", "Price", "Quantity", "Amount"]]
    for region, own in sorted(groups(rows, lambda row: row["Region"]).items()):
        expected += [[region, row["Product"], (row["Price"], f"${row['Price']:,.2f}"), *totals([row])]
                     for row in sorted(own, key=lambda row: row["Product"])]
        expected.append([f"{region}, total", *totals(own)])
    return rows, expected + [["Total", *totals(rows)]]


def carry_over():
    rows = [{"Text": f"Entry {number}", "Amount": chance.randrange(-500_000, 900_000) / 100} for number in range(60)]
    return rows, None


def labels():
    rows = [{"Name": f"Person{number}", "City": f"City{number}", "Parcels": chance.randrange(0, 4)} for number in range(9)]
    places = [None, None] + [row for row in rows for _ in range(row["Parcels"])]
    expected = []
    for line in range(0, len(places), 3):
        expected += [[row[field] for row in places[line:line + 3] if row] for field in ("Name", "City")]
    return rows, expected


def months():
    rows = [{"Customer": customer, "Day": f"2024-{month:02}-{chance.randrange(1, 28):02}", "Amount": chance.randrange(10, 9000)}
            for customer in ("B", "A", "C") for month in (4, 2, 11) for _ in range(chance.randrange(1, 4))]
    chance.shuffle(rows)
    columns = ["02", "04", "11"]

    def cells(own, make):
        return [make([row for row in own if row["Day"][5:7] == month]) for month in columns] + [make(own)]

    expected = [["Customer", "Year 2024", "All"], ["Feb", "Apr", "Nov"]]
    for customer, own in sorted(groups(rows, lambda row: row["Customer"]).items()):
        expected.append([customer, *cells(own, lambda some: amount(some))])
    averages = cells(rows, lambda some: (total(some) / len(some), format(total(some) / len(some), ",.1f")))
    return rows, expected + [["Average", *averages]]


def letterhead():
    rows = [{"Name": f"Name{number}", "Amount": chance.randrange(10, 9000)} for number in range(5)]
    return rows, [["Example and Sons"], ["Name", "Amount"], *([row["Name"], amount([row])] for row in rows), ["Total in EUR", amount(rows)]]


def appendix():
    rows = [{"Id": f"N{number}", "Amount": chance.randrange(10, 9000), "Note": f"note{number}"} for number in range(70)]
    largest = sorted(rows, key=lambda row: -row["Amount"])
    return rows, [["Orders"], ["Order", "Amount"], *([row["Id"], amount([row])] for row in rows),
                  ["Largest first", "Note"], *([amount([row]), row["Note"]] for row in largest)]


def papers_are_right(folder):
    """Pages have the sizes of their papers, and the wide margin of left pages is on the right."""
    pages = re.findall(r"Page +\d+ size: +(\d+)\.?\d* x (\d+)", output_of("pdfinfo", "-l", "99", folder / "d.pdf"))
    texts = output_of("pdftotext", "-layout", folder / "d.pdf", "-").split("\f")[:-1]
    faults = []
    for number, (size, text) in enumerate(zip(pages, texts), 1):
        header = re.search(r"(Orders|Appendix), page (\d+) of (\d+)", text)
        wide = header is not None and header[1] == "Appendix"
        if size != (("841", "595") if wide else ("419", "595")):
            faults.append(f"page {number} has the size {size}")
        if (header and header.groups()[1:]) != (None if number == 1 else (str(number), str(len(pages)))):
            faults.append(f"page {number} has the header {header}")
    with Image.open(folder / "d.tiff") as tiff:
        sizes = {(tiff.seek(frame), tiff.size)[1] for frame in range(tiff.n_frames)}
    lefts = re.findall(r'xMin="([\d.]+)"[^>]*>Order</word>', output_of("pdftotext", "-bbox", folder / "d.pdf", "-"))
    if len(sizes) != 2 or len(set(lefts)) != 2:
        faults.append(f"tiff has pages of {sizes}, titles begin at {lefts}")
    subprocess.run([PROGRAM, "render", folder / "t.qbf", "-d", folder / "rows.json", "-o", folder / "d.html", "-o", folder / "d.rtf"], check=True)
    for format, mark in (("html", "@page paper3{size:297mm 210mm"), ("rtf", "\\pgwsxn16838\\pghsxn11906")):
        if mark not in (folder / f"d.{format}").read_text("utf-8"):
            faults.append(f"{format} has no {mark}")
    return faults


def balances_are_right(rows, folder):
    """Page by page, what is brought and carried forward is the sum of the rows so far."""
    reached, faults, position = 0, [], 0
    pages = output_of("pdftotext", "-layout", folder / "d.pdf", "-").split("\f")[:-1]
    for page, text in enumerate(pages):
        brought = re.findall(r"Brought forward +(\S+)", text)
        expected = [f"{reached:,.2f}"] if page else []
        if brought != expected:
            faults.append(f"page {page + 1} brings {brought}, expected {expected}")
        entries = len(re.findall(r"Entry \d+", text))
        reached = round(reached + total(rows[position:position + entries]), 2)
        position += entries
        word = "Balance" if page + 1 == len(pages) else "Carried forward"
        if re.findall(word + r" +(\S+)", text) != [f"{reached:,.2f}"]:
            faults.append(f"page {page + 1} carries something other than {reached}: {text}")
    return faults + ([] if len(pages) > 2 and position == len(rows) else [f"{len(pages)} pages, {position} rows"])


RECIPES = {"cross-table": cross_table, "heat-map": heat_map, "largest": largest, "two-levels": two_levels, "sheets": sheets, "carry-over": carry_over,
           "labels": labels, "months": months, "letterhead": letterhead, "workbook": workbook,
           "appendix": appendix}


def output_of(*command):
    return subprocess.run([str(word) for word in command], check=True, capture_output=True).stdout.decode()


def marked_up(text):
    return [[html.unescape(re.sub("<[^>]*>", "", cell)).strip() for cell in re.split("<t[dh][^>]*>", row)[1:]]
            for row in re.split("<tr[^>]*>", text)[1:]]


def ods_rows(file):
    name = "{urn:oasis:names:tc:opendocument:xmlns:%s:1.0}%s"
    with zipfile.ZipFile(file) as package:
        root = ElementTree.fromstring(package.read("content.xml"))
    for row in root.iter(name % ("table", "table-row")):
        cells = [cell for cell in row if cell.get(name % ("office", "value-type"))]
        yield [float(cell.get(name % ("office", "value"))) if cell.get(name % ("office", "value")) else
               " ".join("".join(text.itertext()) for text in cell.iter(name % ("text", "p"))) for cell in cells]


def docx_rows(file):
    word = "{http://schemas.openxmlformats.org/wordprocessingml/2006/main}"
    for row in docx.Document(str(file)).element.body.iter(word + "tr"):
        yield ["".join(text.text for text in cell.iter(word + "t")) for cell in row.iter(word + "tc")]


def json_rows(sections):
    """The titles of a table, level by level, and its rows; a number as itself."""
    for section in sections:
        yield [item["text"] for item in section.get("items", ()) if "text" in item]
        for item in section.get("items", ()):
            yield from json_rows(item.get("sections", ()))
        titles = [[*column.get("above", ()), column["title"]] for column in section.get("columns", ())]
        rows = section.get("rows", ())
        shows_groups = any(row["kind"] == "groupHeader" for row in rows)
        heads = [[own[level] for own, before in zip(titles, [None, *titles])
                  if level < len(own) and (before is None or level + 1 == len(own) or before[:level + 1] != own[:level + 1])]
                 for level in range(max(map(len, titles), default=0))]
        if not shows_groups:
            yield from heads
        for row in rows:
            cells = [cell for cell in row.get("cells", row.get("items")) if cell and not cell.get("merged")]
            yield [cell["value"] if isinstance(cell.get("value"), (int, float)) else cell.get("text") for cell in cells]
            if shows_groups and row["kind"] == "groupHeader":
                yield from heads


READERS = {
    "ods": ods_rows,
    "docx": docx_rows,
    "json": lambda file: json_rows(json.loads(file.read_text("utf-8"))["sections"]),
    "csv": lambda file: list(csv.reader(file.read_text("utf-8-sig").splitlines())),
    "html": lambda file: marked_up(file.read_text("utf-8")),
    "rtf": lambda file: marked_up(output_of("unrtf", "--html", "--nopict", file)),
    "xlsx": lambda file: [row for sheet in openpyxl.load_workbook(file, data_only=True) for row in sheet.values],
    "xls": lambda file: [[cell.value for cell in row] for sheet in xlrd.open_workbook(file).sheets() for row in sheet.get_rows()],
}


def is_same(cell, wanted):
    value, text = wanted if isinstance(wanted, tuple) else (wanted, wanted)
    return abs(cell - value) < 1e-9 if isinstance(cell, (int, float)) and not isinstance(value, str) else str(cell) == text


def sheet_faults(folder):
    wanted = ["Fish & Co", "North South", "fish & co (2)", "\u4e2d\u56fd"]
    named = {"xlsx": openpyxl.load_workbook(folder / "d.xlsx").sheetnames, "xls": xlrd.open_workbook(folder / "d.xls").sheet_names()}
    return [f"{format} has the sheets {names}" for format, names in named.items() if names != wanted]


def cross_faults(folder):
    """Months fold into years, and years into the total; the titles of rows and columns stay in view."""
    sheet, old = openpyxl.load_workbook(folder / "d.xlsx").active, xlrd.open_workbook(folder / "d.xls", formatting_info=True).sheet_by_index(0)
    titles = [cell.value for cell in sheet[3]]
    wanted = [0 if position < 2 or position + 1 == len(titles) else 2 if title in MONTHS else 1 for position, title in enumerate(titles)]
    found = {"xlsx": [sheet.column_dimensions[openpyxl.utils.get_column_letter(position + 1)].outlineLevel for position in range(len(wanted))], "freeze": sheet.freeze_panes,
             "xls": [old.colinfo_map[column].outline_level for column in range(len(wanted))]}
    expected = {"xlsx": wanted, "freeze": "C4", "xls": wanted}
    return [f"{name}: {value}, expected {expected[name]}" for name, value in found.items() if value != expected[name]]


def workbook_faults(folder):
    """The formulas, which calculated again give the values that are stored, and what else makes a sheet easy to work in."""
    book, old = openpyxl.load_workbook(folder / "d.xlsx"), xlrd.open_workbook(folder / "d.xls", formatting_info=True)
    sheet, stored = book.active, openpyxl.load_workbook(folder / "d.xlsx", data_only=True).active
    ends = [row for row in range(2, sheet.max_row + 1) if "otal" in sheet.cell(row, 1).value]
    wanted = {}
    for column, letter in ((4, "D"), (5, "E")):
        first = 2
        for row in ends[:-1]:
            wanted[f"{letter}{row}"] = f"=SUBTOTAL(9,{letter}{first}:{letter}{row - 1})"
            first = row + 1
        wanted[f"{letter}{ends[-1]}"] = f"=SUBTOTAL(9,{letter}2:{letter}{ends[-2] - 1})"
    found = {cell.coordinate: cell.value for row in sheet.iter_rows() for cell in row if cell.data_type == "f"}
    facts = [("formulas", found, wanted), ("formulas of ODS", ods_formulas(folder / "d.ods"), wanted), ("freeze", sheet.freeze_panes, "B2"), ("filter", sheet.auto_filter.ref, f"A1:E{ends[-2] - 1}"),
             ("print area", sheet.print_area, [f"$A$1:$E${ends[-1]}"]),
             ("outline", [row for row in range(1, sheet.max_row + 1) if sheet.row_dimensions[row].outlineLevel != (row > 1 and row not in ends)], []),
             ("price", sheet["C2"].number_format, '"$"#,##0.00;"$"-#,##0.00'), ("amount", sheet["E2"].number_format, "#,##0.00;[Red]-#,##0.00"),
             ("frozen", (old.sheet_by_index(0).horz_split_pos, old.sheet_by_index(0).vert_split_pos), (1, 1))]
    faults = [f"{name}: {value}, expected {expected}" for name, value, expected in facts if value != expected]
    return faults + (recalculated_faults(folder, wanted, stored) if os.environ.get("QBSVR_FULL_TESTS") == "1" else [])


def ods_formulas(file):
    """The formulas of the first sheet by their cells, in the words of the other workbooks."""
    formulas = {}
    with zipfile.ZipFile(file) as package:
        content = package.read("content.xml").decode()
    for row, cells in enumerate(re.findall("<table:table-row.*?</table:table-row>", content.partition("</table:table>")[0], re.S), 1):
        column = 0
        for cell in re.findall("<table:(?:covered-)?table-cell[^>]*>", cells):
            column += 1
            for formula in re.findall(' table:formula="of:([^"]*)"', cell):
                formulas[f"{openpyxl.utils.get_column_letter(column)}{row}"] = re.sub(r"[\[\].]", "", formula).replace(";", ",")
            column += int((re.findall('columns-repeated="(\\d+)"', cell) or [1])[0]) - 1
    return formulas


def without_values(file, bare, pattern, replacement):
    with zipfile.ZipFile(file) as package, zipfile.ZipFile(bare, "w") as written:
        for name in package.namelist():
            written.writestr(name, re.sub(pattern, replacement, package.read(name)))


def recalculated_faults(folder, formulas, stored):
    """LibreOffice calculates the workbooks without the stored values of their formulas."""
    without_values(folder / "d.xlsx", folder / "bare.xlsx", rb"</f><v>[^<]*</v>", b"</f>")
    without_values(folder / "d.ods", folder / "open.ods", rb'( table:formula="[^"]*") office:value-type="[a-z]*" office:value="[^"]*">.*?</table:table-cell>', rb"\1/>")
    shutil.copy(folder / "d.xls", folder / "old.xls")
    faults = []
    for file in ("bare.xlsx", "open.ods", "old.xls"):
        output_of("soffice", f"-env:UserInstallation=file://{folder}/profile", "--headless", "--convert-to", "xlsx:Calc MS Excel 2007 XML",
                  "--outdir", folder / "office", folder / file)
        made = folder / "office" / (file.split(".")[0] + ".xlsx")
        sheet, values = openpyxl.load_workbook(made).active, openpyxl.load_workbook(made, data_only=True).active
        faults += [f"{file}, {cell}: {sheet[cell].value} is {values[cell].value}" for cell, formula in formulas.items()
                   if sheet[cell].value != formula or abs(values[cell].value - stored[cell].value) > 1e-9]
    return faults


def words(rows):
    return collections.Counter(word for row in rows for cell in row for word in (cell[1] if isinstance(cell, tuple) else cell).split())


def check(name, template, folder):
    rows, expected = RECIPES[name]()
    for file, text in {**LIBRARIES, "t.qbf": template}.items():
        (folder / file).write_text(text, "utf-8")
    (folder / "rows.json").write_text(json.dumps(rows), "utf-8")
    outputs = [word for format in (*READERS, "pdf", "txt", "tiff", "png") for word in ("-o", folder / f"d.{format}")]
    subprocess.run([PROGRAM, "render", folder / "t.qbf", "-d", folder / "rows.json", "--layout", "table", *outputs],
                   check=True, timeout=300)
    if expected is None:
        return balances_are_right(rows, folder)
    faults = {"sheets": sheet_faults, "cross-table": cross_faults, "workbook": workbook_faults}.get(name, lambda _: [])(folder)
    for format, read in READERS.items():
        found = [[cell for cell in row if cell not in ("", None)] for row in read(folder / f"d.{format}")]
        found = [row for row in found if row and "page 1 of" not in str(row[0])]  # workbooks have it in print only
        cells = expected
        if format == "json" and name == "labels":  # one after the other
            cells = [[row["Name"], row["City"]] for row in rows for _ in range(row["Parcels"])]
        for position, (row, wanted) in enumerate(zip(found + [[]], cells + [[]])):
            if len(row) != len(wanted) or not all(map(is_same, row, wanted)):
                faults.append(f"{format}, row {position}: {row}, expected {wanted}")
                break
        if len(found) != len(cells):
            faults.append(f"{format}: {len(found)} rows, expected {len(cells)}")
    wanted = words(expected)
    for format, text in (("pdf", output_of("pdftotext", "-layout", folder / "d.pdf", "-")), ("txt", (folder / "d.txt").read_text("utf-8-sig"))):
        missing = wanted - collections.Counter(text.split())
        if missing:
            faults.append(f"{format} lacks {missing}")
    if Image.open(folder / "d.tiff").n_frames != int(re.search(r"Pages: +(\d+)", output_of("pdfinfo", folder / "d.pdf"))[1]):
        faults.append("tiff and pdf have different pages")
    return faults + (papers_are_right(folder) if name == "appendix" else [])


faults, found = [], dict(re.findall(r"^```xml (\S+)\n(.*?)^```", (DOCS / "recipes.md").read_text("utf-8"), re.M | re.S))
LIBRARIES = {name: found.pop(name) for name in list(found) if name.endswith(".qbf")}
if found.keys() != RECIPES.keys():
    faults.append(f"recipes on the page: {sorted(found)}")
for name, template in found.items():
    with tempfile.TemporaryDirectory() as scratch:
        faults += [f"{name}: {fault}" for fault in check(name, template, pathlib.Path(scratch))]
print("\n".join(faults))
sys.exit(bool(faults))
