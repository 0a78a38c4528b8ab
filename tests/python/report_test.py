"""Every shape of data, of results and of failure."""

import collections
import dataclasses
import datetime
import decimal
import enum
import io
import logging
import math
import pathlib
import pickle
import signal
import sqlite3
import threading
import tracemalloc
import uuid
import warnings

import pytest

import qbreport

LIST = b"""<Report version="1">
  <DefaultStyle font="Liberation Sans"/><Parameters><Parameter name="Year" type="number" value="2025"/></Parameters>
  <Grid><Columns>
    <Column name="i" width="30mm"><Title text="Item"/><Content text="[Item]"/></Column>
    <Column name="a" width="30mm"><Title text="[Year]"/><Content text="[Amount]"/></Column>
    <Column name="d" width="30mm"><Title text="Due"/><Content text="[Due:yyyy-MM-dd HH:mm]"/></Column>
  </Columns></Grid>
</Report>"""
PAGES = b"""<Report version="1"><Grid rowHeight="200mm"><Columns><Column name="n" width="60mm">
  <Content text="row [n] of [PageCount]"/></Column></Columns></Grid></Report>"""

Order = collections.namedtuple("Order", "Item Amount")


@dataclasses.dataclass
class Record:
    Item: str
    Amount: decimal.Decimal


class Colour(enum.Enum):
    RED = "red"


def rows_of(data, template=LIST, **options):
    """The rows as CSV, without the titles."""
    with qbreport.Report(template) as report:
        text = report.render(data, format="csv", layout="table", **options).decode("utf-8-sig")
    return text.splitlines()[1:]


def cursor():
    database = sqlite3.connect(":memory:")
    database.row_factory = sqlite3.Row
    return database.execute("select 'Chair' as Item, 120.5 as Amount union all select 'Tisch', null")


TWO = ["Chair,120.5,", "Tisch,,"]


@pytest.mark.parametrize("data, options, expected", [
    ([{"Item": "Chair", "Amount": 120.5}, {"Item": "Tisch"}], {}, TWO),
    ([{"Item": "Chair"}, {"Amount": 3, "Item": "椅子"}], {}, ["Chair,,", "椅子,3,"]),
    (({"Item": name, "Amount": amount} for name, amount in [("Chair", 120.5), ("Tisch", None)]), {}, TWO),
    (iter([("Chair", 120.5), ("Tisch", None)]), {"columns": ("Item", "Amount")}, TWO),
    ([Order("Chair", 120.5), Order("Tisch", math.nan)], {}, TWO),
    ([Record("Chair", decimal.Decimal("120.50"))], {}, ["Chair,120.50,"]),
    ([{"Amount": 120.5, "Item": "Chair"}, Order("Tisch", None)], {}, TWO),
    (iter([{"Amount": 120.5, "Item": "Chair"}, Record("Tisch", None)]), {}, TWO),
    ([Order("Chair", 120.5), Order("Tisch", None)], {"columns": ["Amount", "Item"]}, TWO),
    ([{"Item": "Chair", "Amount": 120.5}, "Tisch"], {}, ["Chair,120.5,", ",,"]),
    ([Record("Chair", [Order("Tisch", 1)])], {}, ["Chair,,"]),
    (cursor(), {}, TWO),
    (cursor().fetchall(), {}, TWO),
    ({"Rows": [{"Item": "Chair", "Amount": 120.5}, Order("Tisch", None)], "Year": 1}, {}, TWO),
    ({"Rows": ({"Item": name} for name in "ab")}, {}, ["a,,", "b,,"]),
    (b'[{"Item": "Chair", "Amount": 120.5}, {"Item": "Tisch"}]', {}, TWO),
    (io.StringIO('[{"Item": "椅子"}]'), {}, ["椅子,,"]),
    (io.BytesIO(b"<d><r><Item>a</Item></r><r><Item>b</Item></r></d>"), {"data_format": "xml"}, ["a,,", "b,,"]),
    (b"Item;Amount\nChair;120.5\n", {"data_format": "csv:separator=;"}, ["Chair,120.5,"]),
    ([{"Item": "Chair", "Lines": [{"n": 1}], "Amount": 2}], {}, ["Chair,2,"]),
    ([{"Item": "Chair", "Lines": iter([Order(1, 2)]), "Amount": 2}], {}, ["Chair,2,"]),
    ([], {}, []),
    (iter(()), {}, []),
], ids=lambda value: type(value).__name__)
def test_shapes_of_data(data, options, expected):
    assert rows_of(data, **options) == expected


VALUES = [
    (True, "是"), (2**63, str(2**63)), (-(10**400), str(-(10**400))), (10**5000, "1" + 5000 * "0"),
    (decimal.Decimal("12345678901234567.2500"), "12345678901234567.2500"), (decimal.Decimal("1E+5"), "100000"),
    (decimal.Decimal("sNaN"), ""), (0.1, "0.1"), (-math.inf, ""), (None, ""), ("a\0b", "a\0b"), (b"PNG", "UE5H"),
    (Colour.RED, "red"), (uuid.UUID(int=1), "00000000-0000-0000-0000-000000000001"),
    (datetime.date(2026, 3, 5), "2026-03-05"),
    (datetime.datetime(2026, 3, 5, 14, 30, 0, 7, datetime.timezone.utc), "2026-03-05 14:30:00"),
    (datetime.time(14, 30), "14:30:00"),
]


@pytest.mark.parametrize("value, expected", VALUES, ids=lambda value: type(value).__name__)
def test_values_are_the_same_as_rows_and_as_json(value, expected):
    as_rows, as_json = ([line.strip(",") for line in rows_of(data)]
                        for data in ([{"Amount": value}], {"Rows": [{"Amount": value}]}))
    assert as_rows == as_json == [expected]


def test_dates_are_formatted():
    due = datetime.datetime(2026, 3, 5, 14, 30)
    for data in [{"Due": due}], {"Rows": [{"Due": due}]}:
        assert rows_of(data) == [",,2026-03-05 14:30"]


def test_queries(tmp_path):
    with sqlite3.connect(tmp_path / "shop.db") as database:
        database.execute("create table Orders (Item text, Amount decimal(9, 2))")
        database.execute("insert into Orders values ('Chair', 120.5), ('Tisch', 7)")
    query = qbreport.Query(f"sqlite:{tmp_path / 'shop.db'}", "select * from Orders where Item < :Until")
    assert rows_of(query, Until="D") == ["Chair,120.5,"]
    file = tmp_path / "orders.csv"
    file.write_text("Item;Amount\nChair;120.5\nTisch;\n", "utf-8")
    assert rows_of(file) == rows_of(str(file), data_format="csv:separator=;") == TWO


def test_data_frames():
    pandas = pytest.importorskip("pandas")
    frame = pandas.DataFrame({"Item": ["Chair", None], "Amount": pandas.array([3, None], dtype="Int64"),
                              "Due": [pandas.NaT, pandas.Timestamp("2026-03-05 14:30")]})
    assert rows_of(frame) == rows_of({"Rows": frame}) == ["Chair,3,", ",,2026-03-05 14:30"]


def test_results(tmp_path):
    text = "\ufeffItem,2026,Due\r\na,,\r\n"
    with qbreport.Report(LIST) as report:
        report.load([{"Item": "a"}])
        with open(tmp_path / "open.csv", "wb") as file, open(tmp_path / "raw.csv", "wb", buffering=0) as raw:
            targets = [tmp_path / "new/a.csv", str(tmp_path / "b.CSV"), file, raw, io.BytesIO()]
            formats = [None, None, None, None, "csv"]
            assert report.render(to=targets, format=formats, layout="table", Year=2026) is None
        made = [path.read_bytes().decode() for path in sorted(tmp_path.rglob("*.[cC]*"))]
        assert made + [targets[4].getvalue().decode()] == 5 * [text]
        assert [bytes[:4] for bytes in report.render(format=["pdf", "xlsx"])] == [b"%PDF", b"PK\3\4"]
        options = {"standard": "none", "created": datetime.date(2026, 3, 1), "permissions": ["print", "copy"]}
        document = report.render(format="pdf", pdf=options)
        assert b"/Encrypt" in document and b"PDF/A" not in document
        same = report.render(format="csv", layout="table", parameters={"year": None})
        assert same.decode() == text.replace("2026", "2025")
        assert report.page_count == 0 and report.render(format="txt") and report.page_count == 1

    class Partial:
        parts = []

        def write(self, data):
            self.parts.append(data[:1000])
            return 1000

    with qbreport.Report(PAGES) as report:
        report.render([{"n": n} for n in range(4)], to=Partial(), format="pdf")
        assert len(Partial.parts) > 1 and len(b"".join(Partial.parts)) == len(report.render(format="pdf"))
        report.render(to=tmp_path / "p.png", resolution=40, pages="2-3")
        assert [path.name for path in sorted(tmp_path.glob("p*"))] == ["p-2.png", "p.png"]


def endless():
    for n in range(10**9):
        yield {"n": n}


class Oops(Exception):
    pass


def failing(*arguments):
    raise Oops


def failing_rows():
    yield {"Item": 1}
    raise Oops


class File:
    write = failing


@pytest.mark.parametrize("call", [
    lambda report: report.render(failing_rows(), format="csv"),
    lambda report: report.render([{}], File(), format="csv"),
    lambda report: report.render(endless(), format="csv", progress=failing),
])
def test_exceptions_of_the_program_are_unchanged(call):
    with qbreport.Report(LIST) as report:
        with pytest.raises(Oops) as caught:
            call(report)
        assert any(entry.name.startswith("failing") for entry in caught.traceback)
        assert report.render([], format="csv")


def test_errors_have_a_place():
    with pytest.raises(qbreport.Error) as caught:
        qbreport.Report(b"<Report version='1'>\n  <Gird/>\n  <Grid colour='red'/>\n</Report>", name="t.qbf")
    error = pickle.loads(pickle.dumps(caught.value))
    assert (error.file, error.line, error.column) == ("t.qbf", 2, 3) and str(error).startswith("t.qbf:2:3: ")
    assert [message.line for message in error.messages if message.line] == [2, 3]
    with qbreport.Report(LIST) as report:
        for data, file, line in [(b'[{"a": 1},\n {"a": }]', "data", 2), ("no-such.json", "no-such.json", 0)]:
            with pytest.raises(qbreport.Error) as caught:
                report.load(data)
            assert (caught.value.file, caught.value.line) == (file, line), caught.value
            with pytest.raises(qbreport.Error, match="could not be loaded"):
                report.render(format="csv")
        with pytest.raises(qbreport.Error, match="doc.*pdf"):
            report.render([], to="a.doc")


def test_wrong_use(tmp_path):
    report = qbreport.Report(LIST)
    for wrong, kind, text in [
        (lambda: report.render([(1, 2)], format="csv"), TypeError, "columns"),
        (lambda: report.render([(1, 2)], columns=["a"], format="csv"), ValueError, "row 1 has 2 values for 1 columns"),
        (lambda: report.render(iter([{"a": 1}, {"b": 1}]), format="csv"), ValueError, "row 2 has 'b'"),
        (lambda: report.render(iter([{"a": [1]}]), format="csv"), TypeError, "rows within a row"),
        (lambda: report.render([{"a": 1j}], format="csv"), TypeError, "complex"),
        (lambda: report.render([{1: 2}], format="csv"), TypeError, "a text"),
        (lambda: report.render({"a\ud800": 1}, format="csv"), ValueError, "surrogates"),
        (lambda: report.render(7, format="csv"), TypeError, "int is no data"),
        (lambda: report.render([]), TypeError, "format"),
        (lambda: report.render([], to=tmp_path / "a"), ValueError, "format"),
        (lambda: report.render([], to=io.StringIO(), format="csv"), TypeError, "binary"),
        (lambda: report.render([], to=["a.csv"], format=["csv", "pdf"]), ValueError, "2 formats for 1"),
        (lambda: report.render([], to="a\0.csv"), ValueError, "zero"),
        (lambda: report.render([], format="csv", page=1), ValueError, "'page' is neither .* Year"),
        (lambda: qbreport.Report(None), TypeError, "None"),
        (lambda: report.render([], format="csv", Year=[1]), TypeError, "single"),
        (lambda: report.render([], format="csv", Year="x"), qbreport.Error, "x"),
        (lambda: report.render([], format="png", resolution=1), qbreport.Error, "resolution"),
        (lambda: report.render([], format="pdf", pdf={"sign": 1}), ValueError, "'sign'.* sign_key"),
        (lambda: report.render([], format="pdf", pdf={"standard": "a-9"}), qbreport.Error, "a-9"),
        (lambda: report.render([], format="csv", text_options={"sep": ";"}), ValueError, "'sep'.* separator"),
        (lambda: report.render([], format="csv", text_options={"encoding": "klingon"}), qbreport.Error, "klingon"),
        (lambda: qbreport.Report(LIST, budget=qbreport.Budget(pages=0)), ValueError, "pages"),
        (lambda: qbreport.Report(LIST, reach=qbreport.Reach(hosts="a")), TypeError, "hosts"),
        (lambda: qbreport.set_reach(qbreport.Reach(hosts=["1.2.3.4/99"])), qbreport.Error, "99"),
        (lambda: qbreport.add_font_folder(tmp_path / "none"), qbreport.Error, "none"),
        (lambda: qbreport.add_font_folder(tmp_path), qbreport.Error, "in use already"),
        (lambda: qbreport.configure("x"), RuntimeError, "first"),
    ]:
        with pytest.raises(kind, match=text):
            wrong()
    report.close()
    report.close()
    for use in report.info, lambda: report.render([], format="csv"), report.__enter__:
        with pytest.raises(ValueError, match="closed"):
            use()
    assert not report.cancel()


def test_messages_are_values_logged_and_warned_of(caplog):
    with qbreport.Report(LIST.replace(b"[Item]", b"[Itme]"), name="t.qbf", warn=True) as report:
        with caplog.at_level(logging.INFO, "qbreport"), pytest.warns(qbreport.ReportWarning, match="Itme") as caught:
            report.render([{"Item": 1, "Amount": 2, "Due": 3}], format="csv")
        message, = report.messages
        assert (message.severity, message.file, message.line) == (qbreport.Severity.WARNING, "t.qbf", 4)
        assert str(message) in caplog.text and caught[0].filename == __file__
        with warnings.catch_warnings():
            warnings.simplefilter("ignore")
            assert message in report.check()
            assert report.check([{"Itme": 1, "Amount": 2, "Due": 3}]) == ()


def test_contents(tmp_path):
    with qbreport.Report(LIST) as report:
        report.load({"Orders": [{"Item": 1, "x": 2}], "Rate": 19})
        info = report.info()
    parameters = [(each.name, each.type, each.default) for each in info.parameters]
    assert parameters == [("Year", "number", "2025"), ("Rate", "", "19")]
    assert [(each.name, each.line) for each in info.fields] == [("Item", 4), ("Amount", 5), ("Due", 6)]
    assert info.tables == (qbreport.Table("Orders", 1, ("Item", "x")),)
    assert all(pathlib.Path(font.file).exists() for font in info.fonts)
    assert [each.name for each in qbreport.formats()] == "pdf xlsx xls ods docx rtf html txt csv json tiff png".split()
    assert list(qbreport.fonts()) == sorted(qbreport.fonts()) and pathlib.Path(qbreport.library_path()).exists()


def test_limits_and_cancellation():
    budgets = {"pages": qbreport.Budget(pages=2), "wall-time": qbreport.Budget(wall_time=0.05, cells=math.inf)}
    for name, budget in budgets.items():
        with qbreport.Report(PAGES, budget=budget) as report, pytest.raises(qbreport.Error, match=name):
            report.render(endless() if name == "wall-time" else [{"n": n} for n in range(3)], format="pdf")
    with qbreport.Report(PAGES) as report:
        for end in (lambda _: report.cancel(), lambda _: False):
            with pytest.raises(qbreport.Cancelled):
                report.render(endless(), format="pdf", progress=end)
        with pytest.raises(RuntimeError, match="in use"):
            report.render(endless(), format="pdf", progress=lambda _: report.page_count)
        with pytest.raises(KeyboardInterrupt):
            report.render(endless(), format="pdf", progress=lambda _: signal.raise_signal(signal.SIGINT))
        assert report.render([{"n": 1}], format="txt")


def test_threads():
    made = {}

    def work(number):
        with qbreport.Report(LIST) as report:
            for _ in range(5):
                made[number] = report.render(({"Item": number, "Amount": n} for n in range(50)), format="csv")

    threads = [threading.Thread(target=work, args=[number]) for number in range(4)]
    shared = qbreport.Report(PAGES)
    threads.append(threading.Thread(target=pytest.raises, args=[qbreport.Cancelled, shared.render, endless()],
                                    kwargs={"format": "pdf"}))
    for thread in threads:
        thread.start()
    while not shared.cancel():
        pass
    for thread in threads:
        thread.join()
    assert {number: made[number].count(b"\n%d," % number) for number in made} == dict.fromkeys(range(4), 50)


def resident():
    return int(pathlib.Path("/proc/self/statm").read_text().split()[1]) * 4096


def test_nothing_leaks(monkeypatch):
    monkeypatch.setattr(logging.getLogger("qbreport"), "disabled", True)  # pytest keeps what is logged

    def use():
        with qbreport.Report(LIST, reach=qbreport.Reach(folders=["/"])) as report:
            report.render([{"Item": "x" * 1000, "Amount": n} for n in range(100)], format="csv", Year=1)
            report.render(format=["pdf", "csv"])
            report.info()
            with pytest.raises(qbreport.Error):
                report.load(b"{")
    for _ in range(5):
        use()
    tracemalloc.start()
    before = resident(), tracemalloc.get_traced_memory()[0]
    for _ in range(60):
        use()
    after = resident(), tracemalloc.get_traced_memory()[0]
    tracemalloc.stop()
    assert after[0] - before[0] < 8 << 20 and after[1] - before[1] < 64 << 10
