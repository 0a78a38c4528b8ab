"""Runs qbreport burst, collect and extract: the same documents whatever the workers, shards, kills and archives.

usage: burst_test.py QBREPORT SOURCES
"""

import base64
import csv
import decimal
import hashlib
import io
import json
import os
import pathlib
import random
import re
import shutil
import signal
import sqlite3
import subprocess
import sys
import tarfile
import tempfile
import time
import unittest
import zipfile
from xml.sax.saxutils import escape, quoteattr

PROGRAM, SOURCES = (pathlib.Path(word).resolve() for word in sys.argv[1:3])

PICTURE = base64.b64decode("iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNk+M9QDwADhgGAWjR9awAAAABJRU5ErkJggg==")
TEMPLATE = """<Report version="1"><DefaultStyle font="Liberation Sans"/>
  <ReportHeader height="9mm"><Text width="90mm" height="9mm" text="[Account] [Holder]"/></ReportHeader>
  <Grid titleHeight="0mm"><Columns>
    <Column name="Text" width="60mm"><Content text="[Text]"/></Column>
    <Column name="Amount" width="40mm"><Content text="[Amount]"/></Column>
  </Columns></Grid></Report>
"""

def rows(accounts):
    """Some rows per account, in the order of the accounts; texts that are hard to divide."""
    rnd = random.Random(7)
    for number in range(accounts):
        account = {"Branch": ("North", "South/East", "")[number % 3], "Account": f"A{number:04d}", "Holder": rnd.choice(["Ada", "In\u00eas \"M\"", "a,b"])}
        for _ in range(rnd.randint(1, 4)):
            yield account | {"Text": rnd.choice(["plain", "two\nlines", "quo\"te", "back\\slash {", "\u6c49\u5b57"]), "Amount": decimal.Decimal(rnd.randint(-99999, 99999)) / 100}


def as_json(row):
    return json.dumps(row | {"Amount": 0}, ensure_ascii=False).replace('"Amount": 0', f'"Amount": {row["Amount"]}')


def as_xml(table):
    lines = ("<row Branch={Branch} Account={Account}><Holder>{0}</Holder><Text>{1}</Text><Amount>{Amount}</Amount></row>".format(
        escape(row["Holder"]), escape(row["Text"]), **{name: quoteattr(str(row[name])) for name in ("Branch", "Account")}, Amount=row["Amount"]) for row in table)
    return "<?xml version='1.0' encoding='UTF-8'?>\n<bank><!-- <row Account='x'/> --><rows>\n" + "\n".join(lines) + "</rows><count>1</count></bank>"


def as_csv(table, end="\r\n"):
    text = io.StringIO()
    writer = csv.DictWriter(text, ["Branch", "Account", "Holder", "Text", "Amount"], lineterminator=end)
    writer.writeheader()
    writer.writerows(table)
    return text.getvalue()


class Burst(unittest.TestCase):
    def setUp(self):
        self.directory = pathlib.Path(tempfile.mkdtemp())
        os.chdir(self.directory)
        self.rows = list(rows(60))
        self.accounts = list(dict.fromkeys(row["Account"] for row in self.rows))
        pathlib.Path("s.qbf").write_text(TEMPLATE, "utf-8")
        pathlib.Path("rows.jsonl").write_text("\n\n".join(map(as_json, self.rows)), "utf-8")
        pathlib.Path("rows.json").write_text("\ufeff[" + ",\n".join(map(as_json, self.rows)).replace(": ", ":\n ") + "]\n", "utf-8")
        pathlib.Path("rows.csv").write_text("\ufeff" + as_csv(self.rows), "utf-8", newline="")
        pathlib.Path("rows.xml").write_text(as_xml(self.rows), "utf-8")
        pathlib.Path("rows.txt").write_text("sep=;\n" + as_csv(self.rows, "\n").replace(",", ";").replace('"a;b"', "a,b"), "utf-8", newline="")

    def tearDown(self):
        os.chdir("/")
        shutil.rmtree(self.directory)

    def words(self, *flags, data="rows.jsonl", output="out/{Account}.csv"):
        return [PROGRAM, "burst", "s.qbf", "-d", data, "--by", "Account", "--total", "Amount", "-o", output, *flags]

    def run_it(self, words, status=0, errors="", **options):
        result = subprocess.run(list(map(str, words)), capture_output=True, timeout=300, **options)
        shown = result.stderr.decode()
        self.assertEqual(result.returncode, status, shown)
        self.assertRegex(shown, errors or ".*")
        return result.stdout

    def burst(self, *flags, status=0, errors="", **options):
        self.run_it(self.words(*flags, **options), status, errors)

    @staticmethod
    def tree(folder="out"):
        """The files of a folder, with their bytes."""
        return {str(file.relative_to(folder)): file.read_bytes() for file in pathlib.Path(folder).rglob("*") if file.is_file()}

    def lines(self, path="out/manifest.jsonl"):
        return [json.loads(line) for line in pathlib.Path(path).read_text("utf-8").splitlines()]

    def whole(self, *flags, **options):
        """The files of a run in one go, which are then removed."""
        self.burst(*flags, **options)
        files = self.tree()
        shutil.rmtree("out")
        return files

    def check_manifest(self, files, name=lambda account: f"{account}.csv"):
        head, *lines = map(json.loads, files["manifest.jsonl"].decode().splitlines())
        self.assertEqual([line["key"] for line in lines], self.accounts)
        self.assertEqual((head["documents"], head["rows"]), (len(lines), len(self.rows)))
        self.assertEqual(decimal.Decimal(head["total"]), sum(row["Amount"] for row in self.rows))
        self.assertEqual(head["template"]["sha256"], hashlib.sha256(TEMPLATE.encode()).hexdigest())
        for line in lines:
            own = [row for row in self.rows if row["Account"] == line["key"]]
            self.assertEqual((line["rows"], decimal.Decimal(line["total"])), (len(own), sum(row["Amount"] for row in own)), line)
            self.assertEqual(line["file"], name(line["key"]))
        return head, lines

    def test_sources(self):
        """Each source gives the documents of its rows, and the bytes that render makes of them."""
        expected = None
        for data in ("rows.jsonl", "rows.json", "rows.csv", "rows.txt", "rows.xml", "-"):
            with self.subTest(data):
                source = pathlib.Path("rows.csv" if data == "-" else data).read_bytes()
                self.run_it(self.words("-j", "4", data=data), input=source)
                files = self.tree()
                shutil.rmtree("out")
                head, lines = self.check_manifest(files)
                self.assertEqual(head["data"]["sha256"], hashlib.sha256(source).hexdigest())
                documents = {name: bytes for name, bytes in files.items() if name != "manifest.jsonl"}
                for line in lines:
                    self.assertEqual((hashlib.sha256(documents[line["file"]]).hexdigest(), len(documents[line["file"]])), (line["sha256"], line["bytes"]))
                self.assertEqual(documents, expected or documents)
                expected = documents
        self.check_files()
        self.burst("--manifest", "own.jsonl")
        self.assertEqual(len(self.lines("own.jsonl")) - 1, len(self.accounts))
        for account in self.accounts[:3]:
            pathlib.Path("one.csv").write_text(as_csv(row for row in self.rows if row["Account"] == account), "utf-8", newline="")
            self.assertEqual(self.run_it([PROGRAM, "render", "s.qbf", "-d", "one.csv", "-f", "csv"]), expected[f"{account}.csv"])

    def check_files(self):
        """The head has every file besides the template; a run is not continued when one has changed."""
        pathlib.Path("logo.png").write_bytes(PICTURE)
        pathlib.Path("rates.csv").write_text("Rate\n7\n", "utf-8")
        inner = '<Text width="9mm" height="9mm" bold="true" text="b"/><Picture width="9mm" height="9mm" source="logo.png"/>' \
            '<SubReport width="40mm" height="9mm"><Report><Data connection="csv" query="rates.csv"/><Grid><Columns><Column name="R" width="9mm"><Content text="[Rate]"/></Column></Columns></Grid></Report></SubReport>'
        pathlib.Path("s.qbf").write_text(TEMPLATE.replace("</ReportHeader>", inner + "</ReportHeader>").replace("<ReportHeader", '<Data connection="csv" query="rows.csv"/><ReportHeader', 1), "utf-8")
        self.burst()
        head = self.lines()[0]
        self.assertEqual(head["files"], [{"file": file, "sha256": hashlib.sha256(pathlib.Path(file).read_bytes()).hexdigest()} for file in ("logo.png", "rates.csv")])
        fonts = [font["file"] for font in head["fonts"]]
        self.assertEqual(fonts, sorted(fonts))
        self.assertTrue({"LiberationSans-Regular.ttf", "LiberationSans-Bold.ttf", "LiberationSans-BoldItalic.ttf"} <= set(fonts), fonts)
        pathlib.Path("rates.csv").write_text("Rate\n8\n", "utf-8")
        self.burst("--resume", status=1, errors="it differs in files")
        pathlib.Path("s.qbf").write_text(TEMPLATE, "utf-8")
        shutil.rmtree("out")

    def test_nested_xml(self):
        """Rows within rows are tables in every document, also where a row has one of them, or none."""
        pathlib.Path("rows.xml").write_text("""<bank name="B&amp;B"><no.a>one</no.a><list><i Account="1"><line n="1">x</line></i>
            <i><Account>2</Account><line n="2"/><line n="3"><![CDATA[<y>]]></line><tag>a</tag><tag>b</tag><at><city>Lyon</city></at></i>
            <i Account="3"><line><n>4</n></line></i><i Account="4"/><other/></list></bank>""", "utf-8")
        pathlib.Path("s.qbf").write_text("""<Report version="1"><Data table="i"/><Grid titleHeight="0mm"><Columns>
            <Column name="A" width="90mm"><Content text="[name] [no.a] [Account] [tag] [at.city]"/></Column>
            <Column name="L" width="80mm"><Content><SubReport><Report><Data table="i.line"/><Grid titleHeight="0mm"><Columns>
              <Column name="N" width="80mm"><Content text="[n] [value]"/></Column></Columns></Grid></Report></SubReport></Content></Column>
            </Columns></Grid></Report>""", "utf-8")
        whole = self.run_it([PROGRAM, "render", "s.qbf", "-d", "rows.xml", "-f", "csv"])
        self.assertIn(b"B&B one 2 a, b Lyon", whole)
        words = [PROGRAM, "burst", "s.qbf", "-d", "rows.xml", "--by", "Account", "-o", "out/{Account}.csv"]
        self.run_it(words)
        self.assertEqual("".join(pathlib.Path(f"out/{key}.csv").read_text("utf-8-sig") for key in (1, 2, 3, 4)), whole.decode("utf-8-sig").replace("\r", ""))
        expected = self.tree()
        for number in (1, 2):
            self.run_it([*words, "--shard", f"{number}/2"])
        self.run_it([PROGRAM, "collect", "out"])
        self.assertEqual({name: bytes for name, bytes in self.tree().items() if "-of-" not in name}, expected)

    def test_workers_and_shards(self):
        """One worker, many, and shards that are collected: the same manifest and the same documents."""
        for data, output in (("rows.jsonl", "out/{Branch}/{Account}.csv"), ("rows.csv", "out/{Account}.pdf"), ("rows.json", "out/a.tar/{Account}.csv"),
                             ("rows.csv", "out/a.zip/{Branch}/{Account}.csv")):
            with self.subTest(output):
                options = {"data": data, "output": output}
                expected = self.whole("-j1", **options)
                self.assertEqual(self.whole("--workers", "5", **options), expected)
                shards = (3, 100) if data == "rows.jsonl" else (3,)
                for count in shards:
                    for number in range(1, count + 1):
                        self.burst("--shard", f"{number}/{count}", **options)
                    self.run_it([PROGRAM, "collect", "out"], errors="60 documents of .* each once")
                    self.assertEqual({name: bytes for name, bytes in self.tree().items() if "-of-" not in name}, expected)
                    shutil.rmtree("out")

    def test_shards_that_do_not_fit(self):
        for number in (1, 2, 3):
            self.burst("--shard", f"{number}/3")
        manifest = pathlib.Path("out/manifest.2-of-3.jsonl")
        good = manifest.read_text("utf-8")
        head, first, *rest = good.splitlines(keepends=True)
        other = pathlib.Path("out/manifest.1-of-3.jsonl").read_text("utf-8").splitlines(keepends=True)[1]
        collect = [PROGRAM, "collect", "out/"]
        document = pathlib.Path("out") / json.loads(first)["file"]
        for name, text, errors in (
                ("a gap", head + "".join(rest), "is missing: no shard has it next"),
                ("twice in two", head + other + first + "".join(rest), "is twice"),
                ("twice in one", head + first + first + "".join(rest), "no shard has it next"),
                ("one too many", good + first, "which is not in the data, or is there before"),
                ("another total", head + first.replace('"total":"', '"total":"1') + "".join(rest), "is not of the data"),
                ("another run", good.replace('"by":"Account"', '"by":"Holder"'), "is of another run"),
                ("none", None, "these are missing: 2;")):
            with self.subTest(name):
                manifest.unlink() if text is None else manifest.write_text(text, "utf-8")
                self.run_it(collect, 1, errors)
                self.assertFalse(pathlib.Path("out/manifest.jsonl").exists())
        manifest.write_text(good, "utf-8")
        content = document.read_bytes()
        document.write_bytes(content + b" ")
        self.run_it(collect, 1, "is not as its manifest says")
        document.write_bytes(content)
        pathlib.Path("rows.jsonl").write_text(pathlib.Path("rows.jsonl").read_text("utf-8").replace("plain", "PLAIN"), "utf-8")
        self.run_it(collect, 1, "is not of the data as it is now")
        self.burst("--shard", "2/3", status=1, errors="is finished, but would now be another document")
        self.assertEqual((document.read_bytes(), manifest.read_text("utf-8")), (content, good))

    def test_archives(self):
        self.burst("-f", "csv", output="out/a.tar")
        self.burst("-f", "csv", output="out/a.zip/{Branch}/" + "n" * 120 + "{Account}.csv", data="rows.csv")
        self.burst()
        expected = [pathlib.Path(f"out/{account}.csv").read_bytes() for account in self.accounts]
        with tarfile.open("out/a.tar") as tar:
            self.assertEqual([tar.extractfile(member).read() for member in tar], expected)
        with zipfile.ZipFile("out/a.zip") as archive:
            self.assertIsNone(archive.testzip())
            self.assertEqual([archive.read(name) for name in archive.namelist()], expected)
            self.assertTrue(archive.namelist()[1].startswith("South%2FEast/nnn"))
        for archive in ("a.tar", "a.zip"):
            for account, document in zip(self.accounts[::13], expected[::13]):
                self.assertEqual(self.run_it([PROGRAM, "extract", f"out/{archive}", account]), document)
            self.run_it([PROGRAM, "extract", f"out/{archive}", "A9"], 1, 'has no document of the key "A9"')
        long = "{Account}/" + "p" * 120 + "/{Account}.csv"
        self.burst("-f", "csv", output="out/b.tar/" + long)
        with tarfile.open("out/b.tar") as tar:
            self.assertEqual(tar.getnames()[1], long.replace("{Account}", self.accounts[1]))

    def test_passwords(self):
        """They protect every document, and nothing but the documents has them."""
        pathlib.Path("user.txt").write_text("hidden-user\n", "utf-8")
        self.burst("--option", "user-password=@user.txt", "--option", "owner-password=hidden-owner", output="out/{Account}.pdf")
        files = self.tree()
        self.assertEqual(json.loads(files["manifest.jsonl"].splitlines()[0])["options"]["option"], ["user-password", "owner-password"])
        self.assertFalse([name for name, data in files.items() if b"hidden" in data])
        for password, status in (("hidden-user", 0), ("hidden-owner", 0), ("@user.txt", 2)):
            self.run_it(["qpdf", f"--password={password}", "--check", f"out/{self.accounts[1]}.pdf"], status)

    def test_names(self):
        """Values that lead elsewhere or are no names; names that meet."""
        values = ("../up", "..", ".", "/etc/x", "a\\b", "nul", "tab\there", "-rf", "end.", "n" * 300, "n" * 299 + "m", "%41", "A", "\u6c49" * 100)
        table = [{"Branch": value, "Account": value, "Holder": "", "Text": "", "Amount": 0} for value in values]
        pathlib.Path("rows.jsonl").write_text("".join(as_json(row) + "\n" for row in table), "utf-8")
        self.burst(output="deep/out/{Branch}/{Account}.csv")
        files = [file for file in pathlib.Path("deep/out").glob("*/*.csv")]
        self.assertEqual(len(files), len(values))
        self.assertEqual([path for path in self.tree(".") if path.endswith(".csv") and path.count("/") != 3 and path != "rows.csv"], [])
        for name in ("%2E%2E/%2E%2E.csv", "%2Fetc%2Fx/%2Fetc%2Fx.csv", "%6Eul/%6Eul.csv", "%2541/%2541.csv", "A/A.csv"):
            self.assertTrue(pathlib.Path("deep/out", name).is_file(), name)
        self.burst(output="flat/{Holder}.csv", status=1, errors=r'rows.jsonl:2: the documents of "../up" and ".." would both be "flat/%empty.csv"; add {Account}')
        self.burst(output="flat/{Holdr}/{Account}.csv", status=1, errors='the rows have no column "Holdr"; did you mean "Holder"')
        pathlib.Path("rows.csv").write_text(as_csv([{**table[0], "Account": "rows"}]), "utf-8")
        self.burst(output="{Account}.csv", status=1, errors='would replace "rows.csv"', data="rows.csv")
        self.assertFalse(pathlib.Path("flat").exists())

    def test_data_that_cannot_be_divided(self):
        good = as_json(self.rows[0])
        for name, text, flags, errors in (
                ("a.jsonl", good + "\n" + as_json(self.rows[-1]) + "\n" + good, (), 'a.jsonl:3: the rows of the Account "A0000" are not together'),
                ("a.jsonl", good + "\n{\"Account\": \n", (), "a.jsonl:2: this row is no"),
                ("a.jsonl", good + "\n[1]\n", (), "a.jsonl:2: this row is no JSON object"),
                ("a.jsonl", '{"Acount": "1"}', (), 'a.jsonl:1: .*no value of "Account".*did you mean "Acount"'),
                ("a.jsonl", good + good, (), "a.jsonl:1: this row is not valid JSON"),
                ("a.jsonl", good + "\n" + re.sub('"Amount": [^}]*', '"Amount": "1.2.3"', good), (), 'a.jsonl:2: the Amount "1.2.3" is no decimal'),
                ("a.json", '{"rows": []}', (), "an array of objects is expected"),
                ("a.json", "[" + good, (), "an array of objects is expected"),
                ("a.csv", 'Account,Amount\nA,"1', (), "a.csv:2: a quote of this row has no closing quote"),
                ("a.csv", "Account,Amount\n", (), "has no rows"),
                ("a.xml", "<a Account='0'><r Acount='1'/></a>", (), 'has no rows with "Account".*did you mean "Acount"'),
                ("a.xml", "<a><r Account='1' Amount='1'/><r Amount='1'/></a>", (), 'a.xml, row 2: this row has no value of "Account"'),
                ("a.xml", "<a><r Account='1'/><r Account='2'></a>", (), "</a> cannot close <r>"),
                ("a.xml", "<a><r Account='1'/><r Account='2'/>", (), "the file ends within <a>"),
                ("a.xml", "<a><r Account='1' b='2'/><r Account=2/></a>", (), "byte 25: this row is not valid XML"),
                ("a.xml", "<a><b><r Account='1'/></b><b><r Account='2'/></b></a>", (), "this <r> is not with the others"),
                ("a.xml", "<?xml version='1.0' encoding='GBK'?><a><r Account='1'/></a>", (), "XML in gbk cannot be divided"),
                ("a.xml", "<a><r Account='1' n='x'><n b='1'/><n/></r><r Account='2' n='y'/></a>", (), 'a.xml": an attribute and a nested table of <n> have one name'),
                ("a.xml", "<a><r Account='1'><p q='x'><q b='1'/><q/></p></r></a>", (), 'a.xml": an attribute and a nested table of <q> have one name'),
                ("a.xml", "<a><r Account='1'>" + "".join(f"<n{i} b='1'/><n{i}/>" for i in range(1001)) + "</r></a>", (), "more than 1,000 nested tables"),
                ("a.xml", "<a>" * 300, (), "nested more than 200 deep"),
                ("a.csv", as_csv(self.rows), ("--shard", "0/3"), "is no shard"),
                ("a.csv", as_csv(self.rows), ("-f", "png"), "png has a file per page")):
            with self.subTest(errors):
                pathlib.Path(name).write_text(text, "utf-8")
                self.burst(*flags, data=name, status=2 if flags else 1, errors=errors)
                self.assertFalse(pathlib.Path("out").exists())
        self.burst(output="out/x.csv", status=2, errors='every document would be "out/x.csv"; name a column')

    def test_failed_documents(self):
        """A document that fails is reported with its data; the others are made."""
        bad = self.accounts[5]
        text = pathlib.Path("rows.jsonl").read_text("utf-8").replace(f'"{bad}"', f'"{bad}", "Holder": tru')
        pathlib.Path("rows.jsonl").write_text(text, "utf-8")
        made = len(self.accounts) - 1
        for output in ("out/a.tar/{Account}.csv", "out/{Account}.csv"):
            self.burst("--metrics", "metrics", status=1, output=output, errors="1 document failed; the causes and the data are in")
            failed, = self.lines("out/failed.jsonl")
            self.assertEqual((failed["key"], failed["data"].count("tru,")), (bad, sum(row["Account"] == bad for row in self.rows)))
            self.assertTrue(failed["cause"])
            self.assertEqual(len(self.lines()) - 1, made)
            self.assertIn(f"qbreport_burst_documents_total {made}\n", pathlib.Path("metrics").read_text())
            self.assertIn("qbreport_burst_failed_total 1\n", pathlib.Path("metrics").read_text())
        self.burst("--on-error", "stop", "-j1", status=1)
        self.assertFalse(pathlib.Path("out/manifest.jsonl").exists())
        self.assertEqual(len(self.lines("out/manifest.jsonl.part")) - 1, 5)

    def test_resume(self):
        """What is finished is verified and kept; the rest is made. Nothing of another run is kept."""
        expected = self.whole()
        lines = expected["manifest.jsonl"].splitlines(keepends=True)
        for name, spoil, made in (
                ("nothing", lambda: None, 0),
                ("a document", lambda: pathlib.Path("out/A0007.csv").write_bytes(b"x"), 1),
                ("same size", lambda: pathlib.Path("out/A0007.csv").write_bytes(bytes(len(expected["A0007.csv"]))), 1),
                ("missing", lambda: pathlib.Path("out/A0059.csv").unlink(), 1),
                ("a torn line", lambda: pathlib.Path("out/manifest.jsonl").rename("out/manifest.jsonl.part").write_bytes(b"".join(lines[:11]) + lines[11][:-9]), 50),
                ("a torn head", lambda: pathlib.Path("out/manifest.jsonl").rename("out/manifest.jsonl.part").write_bytes(lines[0][:40]), 60),
                ("twice interrupted", lambda: (pathlib.Path("out/manifest.jsonl").rename("out/manifest.jsonl.part").write_bytes(b"".join(lines[:11])),
                                               pathlib.Path("out/manifest.jsonl.earlier").write_bytes(b"".join(lines[:1] + lines[5:31]))), 30)):
            with self.subTest(name):
                self.burst()
                spoil()
                self.burst("--resume", errors=rf"manifest.jsonl: {made} documents?, {60 - made} kept" if made < 60 else "60 documents, ")
                self.assertEqual(self.tree(), expected)
        pathlib.Path("s.qbf").write_text(TEMPLATE + " ", "utf-8")
        self.burst("--resume", status=1, errors="is of another run: it differs in template; make all documents anew without --resume")
        self.assertEqual(self.tree(), {**expected, "manifest.jsonl.lock": b""})

    def test_kills(self):
        """Killed again and again, and resumed: the result of a quiet run."""
        table = list(rows(1500))
        pathlib.Path("rows.jsonl").write_text("".join(as_json(row) + "\n" for row in table), "utf-8")
        for output in ("out/{Branch}/{Account}.csv", "out/a.tar/{Account}.csv", "out/a.zip/{Account}.csv"):
            with self.subTest(output):
                started = time.monotonic()
                expected = self.whole("-j2", output=output)
                most = time.monotonic() - started
                rnd = random.Random(11)
                for _ in range(6):
                    process = subprocess.Popen(self.words("-j2", "--resume", output=output), stderr=subprocess.DEVNULL)
                    time.sleep(rnd.uniform(0, most / 2))
                    process.kill()
                    process.wait()
                    for name, bytes in self.tree("out").items() if pathlib.Path("out").exists() else ():
                        if not name.endswith((".part", ".lock", ".earlier", ".join")):
                            self.assertEqual(bytes, expected[name], name)
                self.burst("-j2", "--resume", output=output)
                self.assertEqual({name: bytes for name, bytes in self.tree().items() if not name.endswith(".part")}, expected)
                shutil.rmtree("out")

    def test_data_that_changes(self):
        pathlib.Path("rows.jsonl").write_text("".join(as_json(row) + "\n" for row in rows(2000)), "utf-8")
        process = subprocess.Popen(self.words("-j1"), stderr=subprocess.PIPE)
        while not list(pathlib.Path("out").glob("A*.csv")):
            self.assertIsNone(process.poll())
        process.send_signal(signal.SIGSTOP)
        with open("rows.jsonl", "r+b") as file:
            file.seek(-3, os.SEEK_END)
            digit = file.read(1)
            file.seek(-3, os.SEEK_END)
            file.write(b"2" if digit == b"1" else b"1")
        process.send_signal(signal.SIGCONT)
        self.assertIn("has changed while the documents were being made", process.communicate(timeout=300)[1].decode())
        self.assertEqual(process.returncode, 1)
        self.assertFalse(pathlib.Path("out/manifest.jsonl").exists())

    def test_interrupt(self):
        pathlib.Path("rows.jsonl").write_text("".join(as_json(row) + "\n" for row in rows(5000)), "utf-8")
        process = subprocess.Popen(self.words("--resume"), stderr=subprocess.PIPE)
        while not list(pathlib.Path("out").glob("A*.csv")):
            self.assertIsNone(process.poll())
        process.send_signal(signal.SIGTERM)
        errors = process.communicate(timeout=60)[1].decode()
        self.assertEqual(process.returncode, -signal.SIGTERM, errors)
        self.assertIn("interrupted; continue with --resume", errors)
        self.assertFalse(pathlib.Path("out/failed.jsonl").exists())

    def test_full_disk(self):
        if os.geteuid() != 0:
            self.skipTest("only root can mount a small disk")
        pathlib.Path("out").mkdir()
        if subprocess.run(["mount", "-t", "tmpfs", "-o", "size=800k", "none", "out"], stderr=subprocess.DEVNULL).returncode != 0:
            self.skipTest("no disk can be mounted here")
        try:
            for output in ("out/{Account}.csv", "out/a.tar/{Account}.csv"):
                ballast = pathlib.Path("out/ballast")
                ballast.write_bytes(bytes(790_000))
                self.burst(status=1, output=output, errors="No space left on device; free some space and continue with --resume")
                self.assertFalse(pathlib.Path("out/manifest.jsonl").exists())
                ballast.unlink()
                subprocess.run(["mount", "-o", "remount,ro", "out"], check=True)
                self.burst("--resume", status=1, output=output, errors="Read-only file system; allow writing there and continue with --resume")
                subprocess.run(["mount", "-o", "remount,rw", "out"], check=True)
                self.burst("--resume", output=output)
                self.check_manifest(self.tree())
                for file in pathlib.Path("out").iterdir():
                    file.unlink()
        finally:
            subprocess.run(["umount", "out"], check=True)

    def test_databases(self):
        """A query lists the keys, and the template's query has the key as its parameter."""
        odbc = "odbc:Driver=SQLite3;Database=bank.db"
        with sqlite3.connect("bank.db") as database:
            database.execute("create table Rows(Branch, Account, Holder, Text, Amount decimal)")
            database.executemany("insert into Rows values(?, ?, ?, ?, ?)", [(*list(row.values())[:4], float(row["Amount"])) for row in self.rows])
        database.close()
        self.burst()
        expected = {name: bytes for name, bytes in self.tree().items() if name != "manifest.jsonl"}
        shutil.rmtree("out")
        pathlib.Path("s.qbf").write_text(TEMPLATE.replace("<ReportHeader", '<Data connection="sqlite:no.db" query="select * from Rows where Account = :Account order by rowid"/><ReportHeader', 1), "utf-8")
        query = "select Account, sum(Amount) as Amount from Rows group by Account order by Account"
        words = [PROGRAM, "burst", "s.qbf", "--connection", "sqlite:bank.db", "--query", query, "--by", "Account", "--total", "Amount", "-o", "out/{Account}.csv"]
        for connection in ("sqlite:bank.db", odbc) if os.path.exists("/usr/lib/x86_64-linux-gnu/odbc/libsqlite3odbc.so") else ("sqlite:bank.db",):
            with self.subTest(connection):
                words[4] = connection
                self.run_it(words)
                files = self.tree()
                manifest = files.pop("manifest.jsonl")
                self.assertEqual(files, expected)
                self.assertNotIn(b"Driver=", manifest)
                shutil.rmtree("out")
                for number in (1, 2, 3):
                    self.run_it([*words, "--shard", f"{number}/3"])
                if connection == odbc:
                    self.run_it([PROGRAM, "collect", "out"], 2, "name the connection again")
                self.run_it([PROGRAM, "collect", "out", "--connection", connection, "--query", query])
                self.assertEqual(self.tree()["manifest.jsonl"], manifest)
                shutil.rmtree("out")
        words[4] = "sqlite:bank.db"
        self.run_it([*words[:6], query.replace("from Rows", "from Row"), *words[7:]], 1, "no such table: Row")
        self.run_it([*words[:6], "select Account from Rows", *words[7:9], "-o", "x/{Account}.csv"], 1, "the query has the Account .* twice")
        self.run_it([*words[:-1], "x/{Acount}.csv"], 1, 'the query has no column "Acount"')

    def test_page(self):
        """The examples of the page, in order."""
        page = (SOURCES / "docs/month-end.md").read_text("utf-8")
        environment = {**os.environ, "PATH": f"{PROGRAM.parent}:{os.environ['PATH']}", "SOURCES": str(SOURCES)}
        count = 0
        for language, block in re.findall(r"^```(.*)\n((?s:.*?))^```$", page, re.M):
            if language == "text":
                pattern = re.sub(r"\d[\d.,]*", r"[\\d.,]+", re.escape(block.strip()).replace(r"\.\.\.", ".*"))
                self.assertRegex(output, re.compile(pattern, re.S))
            if language != "sh":
                continue
            result = subprocess.run(["bash", "-e", "-c", block], capture_output=True, text=True, env=environment, timeout=300)
            output, count = result.stdout + result.stderr, count + 1
            self.assertEqual(result.returncode, 0, block + output)
        self.assertGreater(count, 4)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
