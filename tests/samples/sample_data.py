"""The sample reports and their data, as far as tests of documents want to know them."""

import datetime
import decimal
import itertools
import json
import re
import shutil
import subprocess
import xml.etree.ElementTree as ElementTree

class Words(str):
    """A boolean as the report shows it, and as a table of data holds it."""

    def __new__(cls, words, as_data):
        text = super().__new__(cls, words)
        text.as_data = as_data
        return text


# Contents of columns that are more than a field of the data, and the texts of their cells.
CONTENTS = {
    "[RowNumber]": lambda row, number: number,
    "[Active:是:否]": lambda row, number: Words("是", "true") if row["Active"] else Words("否", "false"),
    "[Active:yes:no]": lambda row, number: Words("yes", "true") if row["Active"] else Words("no", "false"),
    "[Level:{1=低 low,2=中 mid,3=高 high}]": lambda row, number: {1: "低 low", 2: "中 mid", 3: "高 high"}[row["Level"]],
    "[Quarter:{1=第一季度,2=第二季度,3=第三季度,4=第四季度}]":
        lambda row, number: "第" + "一二三四"[row["Quarter"] - 1] + "季度",
    "[Stock * Price:#,##0.00]": lambda row, number: product(row["Stock"], row["Price"]),
    "[Quantity * Price:#,##0.00]": lambda row, number: product(row["Quantity"], row["Price"]),
    "[Actual - Plan:+#,##0;-#,##0]": lambda row, number: row["Actual"] - row["Plan"],
    "[Actual / Plan:0.0%]": lambda row, number: row["Actual"] / row["Plan"],
    "[Quantity:#,##0] [Unit]": lambda row, number: f"{row['Quantity']:,} {row['Unit']}",
    "¥[Price:#,##0.00]": lambda row, number: f"¥{row['Price']:,.2f}",
    "[Address]\n[Company]": lambda row, number: f"{row['Address']}\n{row['Company']}",
}


def product(left, right):
    """Of decimals, as they are written in the data."""
    return float(decimal.Decimal(str(left)) * decimal.Decimal(str(right)))


def length(text):
    return float(text.removesuffix("mm"))


def shown(value, form):
    """A value as the report shows it."""
    if value is None:
        return ""
    if isinstance(value, datetime.datetime):
        return re.sub("yyyy|MM|dd", lambda part: value.strftime({"yyyy": "%Y", "MM": "%m", "dd": "%d"}[part[0]]), form)
    if isinstance(value, str):
        return value
    parts = (form or "0").split(";")
    part = parts[-1] if value < 0 else parts[0]
    sign = "-" if value < 0 and len(parts) == 1 else ""
    number = re.search(r"[#,0.]+", part)[0]
    size = abs(decimal.Decimal(str(value))) * (100 if "%" in part else 1)
    size = size.quantize(decimal.Decimal(1).scaleb(-len(number.partition(".")[2])), decimal.ROUND_HALF_UP)
    digits = f"{size:,}" if "," in number else str(size)
    return sign + part.replace(number, digits)


def raw(value):
    """A value as a table of data holds it."""
    if isinstance(value, Words):
        return value.as_data
    if isinstance(value, datetime.datetime):
        return value.date().isoformat() if value.time() == datetime.time() else value.isoformat()
    if isinstance(value, float):
        return repr(value).removesuffix(".0")
    return str(value)


def pages_of(pdf):
    info = subprocess.run(["pdfinfo", pdf], check=True, capture_output=True).stdout.decode()
    return int(re.search(r"Pages: +(\d+)", info)[1])


class Sample:
    """A template and its data, as far as the detail grid goes."""

    def __init__(self, setup, name, directory, data):
        self.name = name
        template = next((setup / "Samples/Reports" / directory.replace("\\", "/")).glob(name + ".qbf"))
        self.root = ElementTree.parse(template).getroot()
        file = setup / f"Samples/Data/json/json{data}.txt" if data else template.with_suffix(".txt")
        document = json.loads(file.read_text("utf-8")) if file.exists() else []
        self.rows = document if isinstance(document, list) else next(
            (value for value in document.values() if isinstance(value, list)), [])
        if name == "9b.订单明细":
            self.rows = [line for order in document["Orders"] for line in document["Lines"]
                         if line["OrderID"] == order["OrderID"]]
        grids = list(self.root.iter("Grid"))
        self.grid = grids[-1] if grids else None
        self.columns = self.grid.findall("Columns/Column") if grids else []
        self.dates = {field.get("name") for field in self.root.iter("Field") if field.get("type") == "date"}
        self.has_titles = bool(grids) and self.grid.get("titleHeight") != "0mm"
        self.is_plain = bool(self.rows) and any(column.find("Content[@text]") is not None for column in self.columns)

    def expected_rows(self):
        """For each row of the data, its cells: value, the report's format, and whether the cell may be blank."""
        for number, row in enumerate(self.rows, 1):
            cells = []
            for column in self.columns:
                content = column.find("Content")
                text = content.get("text")
                if text is None:
                    cells.append((None, None, True))
                    continue
                field, colon, form = text.strip("[]").partition(":")
                if text in CONTENTS:
                    value = CONTENTS[text](row, number)
                else:
                    value = row[field]
                    if value is not None and field in self.dates:
                        value = datetime.datetime.fromisoformat(value)
                form = form if colon and not isinstance(value, str) and value is not None else None
                cells.append((value, form, content.get("suppressRepeated") == "true"))
            yield cells

    def group_runs(self):
        """For each group, the stretches of rows that it makes."""
        keys = []
        for group in self.grid.findall("Groups/Group"):
            by = group.get("by")
            keys.append((lambda index, row: row[by]) if by in self.rows[0] else
                        (lambda index, row: index) if by == "RowNumber" else (lambda index, row: 0))
            numbered = list(enumerate(self.rows))
            yield group, [[row for _, row in run] for _, run in itertools.groupby(
                numbered, lambda item, keys=tuple(keys): [key(*item) for key in keys])]

    def shown_rows(self, as_data=False):
        """The texts of each row, without those that may be blank."""
        for row in self.expected_rows():
            yield [raw(value) if as_data else shown(value, form)
                   for value, form, may_be_blank in row if not may_be_blank and value is not None]

    def shown_parts(self, as_data=False):
        """The lines of all texts of the rows."""
        if self.is_plain:
            for text in itertools.chain(*self.shown_rows(as_data)):
                yield from text.split("\n")

    def is_wide(self, layout):
        """Pages as printed show parts of rows that are wider than the page, or several rows side by side."""
        return layout == "printed" and (self.root.find("Page").get("columns") is not None or
                                        "newpage" in self.grid.get("adapt", "").lower())

    def fixed_texts(self):
        """Texts of the report's header and footer that hold no data."""
        return [text.get("text") for section in ("ReportHeader", "ReportFooter")
                for text in self.root.findall(f"{section}/Text") if "[" not in text.get("text")]

    def other_row_count(self):
        """How many rows the grid has beside the data: titles, and the headers and footers of groups."""
        return int(self.has_titles) + sum(len(runs) * len(group.findall("Header") + group.findall("Footer"))
                                          for group, runs in self.group_runs())


def make_documents(program, samples, directory, what):
    """Makes all documents of the samples, "texts" or "workbooks", in directory/out; gives the set-up directory."""
    setup = directory / "setup"
    shutil.copytree(samples / "Samples", setup / "Samples")
    made = subprocess.run([program, setup, directory / "out", what], capture_output=True, timeout=600)
    assert made.returncode == 0 and b"failed" not in made.stdout, made
    return setup


def read_samples(setup):
    groups = json.loads((setup / "Samples/Data/ReportListJson.txt").read_text("utf-8"))
    return [Sample(setup, item["Name"], group.get("Dir", ""), item.get("Data")) for group in groups for item in group["Items"]]
