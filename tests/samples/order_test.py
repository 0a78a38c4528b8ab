"""Makes one report of sorted, grouped, looked-up and returned values in all nine formats, and compares each document with
figures that are computed here.

usage: order_test.py QBREPORT
"""

import collections
import decimal
import html
import json
import pathlib
import random
import re
import subprocess
import sys
import tempfile

import openpyxl
import xlrd
from PIL import Image

PROGRAM = pathlib.Path(sys.argv[1]).resolve()

ROW = '<Text column="A" height="6mm" text="{}"/><Text column="B" height="6mm" text="{}"/><Text column="C" height="6mm" text="{}"/>'
COLUMNS = """<Columns><Column name="A" width="60mm"><Content text="{}"/></Column><Column name="B" width="50mm"><Content
  text="{}"/></Column><Column name="C" width="50mm"><Content{}</Column></Columns>"""
LINES = """><SubReport><Parameter name="O" expression="Id"/><Return name="Lined" expression="Sum(Amount)"/><Report>
  <Data table="Lines"/><Grid filter="Order = O"/></Report></SubReport></Content>"""
TEMPLATE = f"""<Report version="1"><DefaultStyle font="Liberation Sans"/><Data table="Orders"/>
<Grid titleHeight="0mm" sort="Id">{COLUMNS.format("hidden", "hidden", LINES)}<Groups>
  <Group by="Region" sort="Sum(Amount) desc" top="2" others="Other regions"><Footer height="6mm">
    {ROW.format("[Region]", "[Sum(Amount):0.00]", "[Sum(Lined):0.00]")}</Footer></Group>
  <Group by="Customer" sort="Customer" showRows="false"><Footer height="6mm">
    {ROW.format("[Lookup(Customers, Id = Customer, Name)]", "[Sum(Amount):0.00]", "[Sum(Lined):0.00]")}</Footer></Group>
</Groups></Grid>
<ReportFooter height="6mm"><Text width="60mm" height="6mm" text="All"/>
  <Text x="60mm" width="50mm" height="6mm" text="[Sum(Amount):0.00]"/>
  <Text x="110mm" width="50mm" height="6mm" text="[Sum(Lined):0.00]"/></ReportFooter>
<ReportFooter height="6mm"><SubReport width="160mm" height="6mm" rows="section"><Report><Grid titleHeight="0mm">
  {COLUMNS.format("hidden", "hidden", "/>")}<Groups><Group by="Rate" sort="Rate" showRows="false"><Footer height="6mm">
    {ROW.format("VAT [Rate:0%]", "[Sum(Amount):0.00]", "[Sum(Amount * Rate):0.00]")}</Footer></Group></Groups>
</Grid></Report></SubReport></ReportFooter>
<ReportFooter height="6mm"><SubReport width="160mm" height="6mm"><Report><Data table="Orders"/>
  <Grid titleHeight="0mm" sort="Amount desc, Id">{COLUMNS.format("[Id]", "[Amount:0.00]",
    ' text="[Lookup(Customers, Id = Customer, Name)]"/>')}</Grid></Report></SubReport></ReportFooter>
</Report>"""

chance = random.Random(7)
amount = lambda: decimal.Decimal(chance.randrange(100, 99_999)) / 100
customers = {number: f"Customer {chance.randrange(1000)}.{number}" for number in range(8)}
orders = [{"Id": f"O{number:03}", "Region": chance.choice("NESWC"), "Customer": chance.randrange(8), "Amount": amount(),
           "Rate": decimal.Decimal(chance.choice(("0.00", "0.07", "0.19")))} for number in range(150)]
lines = [{"Order": chance.choice(orders)["Id"], "Amount": amount()} for _ in range(220)]


def rounded(number):
    return str(number.quantize(decimal.Decimal("0.01"), decimal.ROUND_HALF_UP))


def expected():
    lined = collections.Counter()
    for line in lines:
        lined[line["Order"]] += line["Amount"]

    def total(name, rows):
        return [name, rounded(sum(row["Amount"] for row in rows)), rounded(sum((lined[row["Id"]] for row in rows), decimal.Decimal()))]

    def grouped(rows, key):
        groups = collections.defaultdict(list)
        for row in rows:
            groups[row[key]].append(row)
        return groups

    regions = sorted(grouped(orders, "Region").items(), key=lambda group: -sum(row["Amount"] for row in group[1]))
    regions[2:] = [("Other regions", [row for _, rows in regions[2:] for row in rows])]
    result = []
    for region, rows in regions:
        result += [total(customers[number], rows) for number, rows in sorted(grouped(rows, "Customer").items())]
        result.append(total(region, rows))
    result.append(total("All", orders))
    for rate, rows in sorted(grouped(orders, "Rate").items()):
        result.append([f"VAT {rate * 100:.0f}%", rounded(sum(row["Amount"] for row in rows)),
                       rounded(sum(row["Amount"] * rate for row in rows))])
    result += [[order["Id"], rounded(order["Amount"]), customers[order["Customer"]]]
               for order in sorted(orders, key=lambda order: (-order["Amount"], order["Id"]))]
    return result


def output_of(*command):
    return subprocess.run([str(word) for word in command], check=True, capture_output=True).stdout.decode()


def split(text):
    return [re.split(r" {2,}", line.strip()) for line in re.split("[\n\f]", text)]


def marked_up(text):
    return [[html.unescape(re.sub("<[^>]*>", "", cell)).strip() for cell in re.split("<td[^>]*>", row)[1:]]
            for row in re.split("<tr[^>]*>", text)[1:]]


def shown(value):
    return rounded(decimal.Decimal(repr(value))) if isinstance(value, (int, float)) else str(value or "")


READERS = {
    "pdf": lambda file: split(output_of("pdftotext", "-layout", file, "-")),
    "txt": lambda file: split(file.read_text("utf-8-sig")),
    "csv": lambda file: [line.split(",") for line in file.read_text("utf-8-sig").splitlines()],
    "html": lambda file: marked_up(file.read_text("utf-8")),
    "rtf": lambda file: marked_up(output_of("unrtf", "--html", "--nopict", file)),
    "xlsx": lambda file: [map(shown, row) for row in openpyxl.load_workbook(file).active.values],
    "xls": lambda file: [map(shown, row) for row in xlrd.open_workbook(file).sheet_by_index(0).get_rows() for row in [[cell.value for cell in row]]],
}

faults = []
with tempfile.TemporaryDirectory() as name:
    folder = pathlib.Path(name)
    (folder / "t.qbf").write_text(TEMPLATE)
    data = {"Orders": orders, "Customers": [{"Id": number, "Name": name} for number, name in customers.items()], "Lines": lines}
    (folder / "d.json").write_text(json.dumps(data, default=float))
    outputs = [word for format in (*READERS, "tiff", "png") for word in ("-o", folder / f"d.{format}")]
    subprocess.run([PROGRAM, "render", folder / "t.qbf", "-d", folder / "d.json", *outputs], check=True, timeout=300)
    for format, read in READERS.items():
        found = [[cell for cell in row if cell] for row in read(folder / f"d.{format}")]
        found = [row for row in found if row]
        for position, (row, wanted) in enumerate(zip(found + [None], expected() + [None])):
            if row != wanted:
                faults.append(f"{format}, row {position}: {row}, expected {wanted}")
                break
        if len(found) != len(expected()):
            faults.append(f"{format}: {len(found)} rows, expected {len(expected())}")
    pages = int(re.search(r"Pages: +(\d+)", output_of("pdfinfo", folder / "d.pdf"))[1])
    counts = {"tiff": Image.open(folder / "d.tiff").n_frames, "png": len(list(folder.glob("d*.png")))}
    faults += [f"{format}: {count} pages, PDF has {pages}" for format, count in counts.items() if count != pages or pages < 3]

print("\n".join(faults))
sys.exit(bool(faults))
