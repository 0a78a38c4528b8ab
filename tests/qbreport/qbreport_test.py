"""Runs qbreport with tables of command lines, and the examples of docs/qbreport.md.

usage: qbreport_test.py QBREPORT SOURCES
"""

import contextlib
import json
import os
import pathlib
import pty
import re
import select
import shlex
import shutil
import signal
import socket
import sqlite3
import ssl
import subprocess
import sys
import tempfile
import threading
import unittest

signal.signal(signal.SIGINT, signal.default_int_handler)  # what a shell runs in the background ignores it
PROGRAM, SOURCES = (pathlib.Path(word).resolve() for word in sys.argv[1:3])
KINDS = ("invoice", "list", "labels", "letter", "statement")

TEMPLATE = """<Report version="1">
  <DefaultStyle font="Liberation Sans"/>
  <Parameters><Parameter name="Year" type="number" value="2024"/></Parameters>
  <ReportHeader height="9mm"><Text width="90mm" height="9mm" text="[Year]"/></ReportHeader>
  <Grid>
    <Columns>
      <Column name="Item" width="60mm"><Title text="Item"/><Content text="[Item]"/></Column>
      <Column name="Amount" width="40mm"><Title text="Amount"/><Content text="[Amount:#,##0.00]"/></Column>
    </Columns>
  </Grid>
</Report>
"""
ROWS = [{"Item": "Tea", "Amount": 1250.5}, {"Item": "Caf\u00e9", "Amount": 3}]
CSV = '\ufeff2024,\r\nItem,Amount\r\nTea,"1,250.50"\r\nCaf\u00e9,3.00\r\n'
FILES = {
    "list.qbf": TEMPLATE,
    "typo.qbf": TEMPLATE.replace("[Amount:", "[Amout:"),
    "bad.qbf": TEMPLATE.replace('height="9mm" text', 'hieght="9mm" text').replace('width="60mm"', 'width="60"'),
    "plain.qbf": '<Report version="1"><DefaultStyle font="Liberation Sans"/><ReportHeader height="9mm"><Text width="9mm" height="9mm" text="Hi"/></ReportHeader></Report>',
    "query.qbf": TEMPLATE.replace("<ReportHeader", '<Data connection="xml" query="gone.json"/><ReportHeader'),
    "sql.qbf": TEMPLATE.replace("<ReportHeader", '<Data connection="sqlite:gone.db" query="select * from Sales where Region = :Region and Year = :Year"/><ReportHeader'),
    "web.qbf": '<Report version="1"><ReportHeader height="9mm"><Picture width="9mm" height="9mm" source="http://127.0.0.1:9/a.png"/></ReportHeader></Report>',
    "picture.qbf": '<Report version="1"><ReportHeader height="9mm"><Picture width="9mm" height="9mm" source="/etc/passwd"/></ReportHeader></Report>',
    "rows.json": json.dumps(ROWS),
    "rows.xml": "<d>" + "".join(f"<r Item='{row['Item']}' Amount='{row['Amount']}'/>" for row in ROWS) + "</d>",
    "rows.jsonl": "".join(json.dumps(row) + "\n" for row in ROWS),
    "rows.csv": "Item,Amount\n" + "".join(f"{row['Item']},{row['Amount']}\n" for row in ROWS),
    "rows.tsv": "Item\tAmount\n" + "".join(f"{row['Item']}\t{row['Amount']}\n" for row in ROWS),
    "semicolons.txt": "Item;Amount\n" + "".join(f"{row['Item']};{row['Amount']}\n" for row in ROWS),
    "broken.json": '[{"Item": 1,]',
}

NEEDS_LIBRARIES = """<Report version="1">
  <ReportHeader height="60mm">
    <Text width="60mm" height="8mm" text="\u05e9\u05dc\u05d5\u05dd"/>
    <Picture y="10mm" width="30mm" height="20mm" source="a.jpg"/>
    <Barcode y="40mm" width="60mm" height="20mm" type="9" text="ABC-123"/>
  </ReportHeader>
</Report>
"""
# Library, Debian's package of it, what needs it
LIBRARIES = [
    ("libfribidi.so.0", "libfribidi0", "needs.qbf -f csv"),
    ("libzint.so.2.11", "libzint2.11", "needs.qbf -f csv"),
    ("libjpeg.so.62", "libjpeg62-turbo", "needs.qbf -f png"),
    ("libcairo.so.2", "libcairo2", "needs.qbf -f png"),
    ("libtiff.so.6", "libtiff6", "needs.qbf -f tiff"),
    ("libisal.so.2", "libisal2", "needs.qbf -f xlsx"),
    ("libcrypto.so.3", "libssl3", "plain.qbf -f pdf --option user-password=open"),
    ("libcurl.so.4", "libcurl4", "web.qbf -f csv"),
    ("libsqlite3.so.0", "libsqlite3-0", "list.qbf --connection sqlite:s.db --query 'select 1' -f csv"),
    ("libodbc.so.2", "libodbc2", "list.qbf --connection odbc:DSN=s --query 'select 1' -f csv"),
]

# Command line: exit status, standard output, standard error, as regular expressions that match from the beginning.
CASES = {
    # Results of commands
    "--version": (0, r"qbreport \d+\.\d+\.\d+, engine \d", "$"),
    "formats": (0, r"pdf +PDF document\n.*png .*\n$", "$"),
    "fonts": (0, r"(.+\n)+$", "$"),
    "info list.qbf -d rows.json": (
        0, r'Parameters\n  Year  number  default "2024"\n\nFields\n.*  Amount .*\nData\n  \(no name\)  2 rows  Item, Amount\n\nFonts\n', "$"),
    "info sql.qbf": (0, r'Parameters\n  Year    number  default "2024"\n  Region  query   required\n', "$"),
    "check list.qbf plain.qbf": (0, r"list.qbf: good\nplain.qbf: good\n$", "qbreport: without data, the names of fields are not checked"),
    "check plain.qbf": (0, r"plain.qbf: good\n$", "$"),
    # Data
    **{f"render list.qbf -d {file} -f csv": (0, re.escape(CSV) + "$", "$")
       for file in ("rows.json", "rows.xml", "rows.jsonl", "rows.csv", "rows.tsv", "semicolons.txt")},
    **{f"render list.qbf -d - -f csv < {file}": (0, re.escape(CSV) + "$", "$")
       for file in ("rows.json", "rows.xml", "rows.jsonl", "rows.csv")},
    "render list.qbf -d - --data-kind csv:separator=comma -f csv < rows.csv": (0, re.escape(CSV), "$"),
    "render list.qbf -d - --data-kind jsonl -f csv < <(cat rows.jsonl)": (0, re.escape(CSV), "$"),
    "render list.qbf -d - --data-kind jsonl -f csv < <(echo '{\"a\"')": (1, "$", "standard input:1:5: error: the data ends early: "),
    "render list.qbf --connection csv --query rows.csv -f csv": (0, re.escape(CSV), "$"),
    "render - -d rows.json -f csv -o - < list.qbf": (0, re.escape(CSV), "$"),
    "render list.qbf -d rows.json -f csv -P year=2031": (0, "\ufeff2031,", "$"),
    "render list.qbf -d rows.json -f csv --layout grid": (0, "\ufeffItem,Amount", "$"),
    "render list.qbf --data rows.json --format csv --parameter Year=-7 --option csv.defuse=yes --output - --quiet": (0, "\ufeff-7,", "$"),
    "render list.qbf -d rows.json -f txt --pages 1 --log text": (0, "2024", "$"),
    # Failures
    "render lst.qbf -d rows.json -f csv": (1, "$", r'qbreport: error: there is no file "lst.qbf"; did you mean "list.qbf"\? \(in this folder: bad.qbf, .*\)\n$'),
    "render no/list.qbf -f csv": (1, "$", r'qbreport: error: there is no folder "no"'),
    "render . -f csv": (1, "$", r'qbreport: error: "." is a folder'),
    "render rows.csv -d list.qbf -f csv": (1, "$", r'qbreport: error: "rows.csv" is data, not a template; name data with -d rows.csv'),
    "render list.qbf -d row.json -f csv": (1, "$", r'qbreport: error: there is no file "row.json"; did you mean "rows.json"\?'),
    "render list.qbf -f csv": (1, "$", r"qbreport: error: list.qbf needs data: it reads (Item, Amount|Amount, Item); name a file of data"),
    "render query.qbf -f csv": (1, "$", r".*: error: .*gone.json"),
    "render list.qbf -d broken.json -f csv": (1, "$", r"broken.json:1:\d+: error: "),
    "render bad.qbf -d rows.json -f csv": (1, "$", r'bad.qbf:4:\d+: error: unknown attribute "hieght" of <Text>; did you mean "height"\?.*\nbad.qbf:7:\d+: error: .*"60"'),
    "render list.qbf -d rows.json -f csv -P Yaer=1": (1, "$", r'qbreport: error: list.qbf has no parameter "Yaer"; did you mean "Year"\?'),
    "render list.qbf -d rows.json -f csv -P Year=x": (1, "$", r".*error: .*Year.*x"),
    "render list.qbf -d rows.json -o list.qbf -f csv": (1, "$", r'qbreport: error: "list.qbf" is an input'),
    "render list.qbf -d rows.json -o folder -f csv": (1, "$", r'qbreport: error: "folder" is a folder'),
    "render list.qbf -d rows.json -o /dev/full -f csv": (1, "$", r"/dev/full: error: .*[Nn]o space"),
    "render list.qbf -d rows.json -f csv > /dev/full": (1, "$", r"qbreport: error: standard output cannot be written: No space left on device\n$"),
    "formats > /dev/full": (1, "$", r"qbreport: error: standard output cannot be written"),
    "render list.qbf -d - -f csv --budget fetched-bytes=9 < rows.json": (1, "$", r"qbreport: error: standard input has more than 9 bytes; allow more with"),
    "render list.qbf -d rows.json -f csv --budget cells=1": (1, "$", r".*error: .*budget cells of 1 is used up"),
    "check bad.qbf typo.qbf -d rows.json": (1, r"bad.qbf: 2 errors, 0 warnings\ntypo.qbf: 0 errors, \d warnings?\n$", r'.*\ntypo.qbf:8:\d+: warning: unknown field "Amout" in \[Amout:#,##0.00\].*did you mean "Amount"\?'),
    "render sql.qbf -f csv -P Regoin=North": (1, "$", r'qbreport: error: sql.qbf has no parameter "Regoin"; did you mean "Region"\?'),
    "render list.qbf -f csv --setup-folder gone": (1, "$", r'qbreport: error: there is no folder "gone"\n$'),
    "fonts --font-folder gone": (1, "$", r'qbreport: error: there is no folder "gone"\n$'),
    "check list.qbf --allow-folder gone": (1, "$", r'qbreport: error: there is no folder "gone"\n$'),
    "render list.qbf -d rows.json -f txt --pages 7": (1, "$", r"list.qbf: error: none of the pages asked for exists; the document has 1"),
    "new list list": (1, "$", r'qbreport: error: "list.qbf" exists; choose another name, .*--force'),
    "new list no/list": (1, "$", r'qbreport: error: "no/list.qbf": No such file'),
    # Warnings and errors of documents that are made
    "render typo.qbf -d rows.json -f txt": (0, ".*Tea", r"typo.qbf:8:\d+: warning: "),
    "render typo.qbf -d rows.json -f txt --strict": (3, ".*Tea", r"typo.qbf:8:\d+: warning: "),
    "render typo.qbf -d rows.json -f txt -q --strict": (3, ".*Tea", "$"),
    "check typo.qbf -d rows.json --strict": (3, r"typo.qbf: 0 errors", r"typo.qbf:8:\d+: warning: "),
    "render web.qbf -f txt": (1, "", r"web.qbf:1:\d+: error: .*allow it with"),
    "render web.qbf -f txt --allow-host 127.0.0.1": (0, "", r"web.qbf:1:\d+: warning: .*left out"),
    "render picture.qbf -f txt": (1, "", r"picture.qbf:1:\d+: error: .*allow it with"),
    # Wrong use
    "": (2, "$", r"qbreport: error: a command is missing \(commands: render, burst"),
    "rendr": (2, "$", r'qbreport: error: there is no command "rendr"; did you mean "render"\?'),
    "render": (2, "$", r'qbreport: error: the argument "template" is missing; see qbreport render --help'),
    "render list.qbf --fromat pdf": (2, "$", r'qbreport: error: there is no flag "--fromat"; did you mean "--format"\?'),
    "render list.qbf other.qbf": (2, "$", r'qbreport: error: "other.qbf" is one argument too many; data has a flag: -d other.qbf; see qbreport render --help'),
    "render list.qbf -d a.json -d b.json -f csv": (2, "$", r"qbreport: error: --data is given more than once"),
    "render list.qbf -o": (2, "$", r"qbreport: error: --output needs a value"),
    "render list.qbf -o list": (2, "$", r'qbreport: error: the format of "list" is unknown: it has no extension'),
    "render list.qbf": (2, "$", r"qbreport: error: the format is unknown; name a file"),
    "render list.qbf -o list.doc": (2, "$", r'qbreport: error: there is no format "doc".*pdf, xlsx, xls'),
    "render list.qbf -f pdf -o a.pdf -o b.pdf": (2, "$", r"qbreport: error: -f names the format of one document"),
    "render list.qbf -o a.pdf -o a.pdf": (2, "$", r'qbreport: error: "a.pdf" is named twice'),
    "render list.qbf -f pdf --pages 3-1": (2, "$", r"qbreport: error: .*3-1"),
    "render list.qbf -f csv --option page-brakes=no": (2, "$", r'qbreport: error: there is no option "page-brakes"; did you mean "page-breaks"\?'),
    "render - -d - -f csv < list.qbf": (2, "$", "qbreport: error: standard input cannot be both template and data"),
    "render list.qbf -f csv -P Year": (2, "$", r'qbreport: error: "Year" is no parameter; write it as Name=value'),
    "render list.qbf -f csv --query x": (2, "$", r"qbreport: error: .*--connection"),
    "render list.qbf -f csv --time-limit 10y": (2, "$", r'qbreport: error: "10y" is no limit of wall-time.*\(ms, s, min, h\)'),
    "render list.qbf -f csv --budget page=9": (2, "$", r'qbreport: error: there is no limit "page"; did you mean "pages"\?'),
    "render list.qbf -f csv --log xml": (2, "$", r"qbreport: error: .*xml"),
    "render list.qbf -d rows.json --connection csv --query rows.csv -f csv": (2, "$", r"qbreport: error: --data excludes --query"),
    "render list.qbf --data-kind csv -f csv": (2, "$", r"qbreport: error: .*--data-kind.*--data"),
    "render '' -f csv": (2, "$", r"qbreport: error: the name of a file is empty"),
    "render list.qbf -f csv -o ''": (2, "$", r"qbreport: error: the name of an output is empty"),
    "render list.qbf -d rows.tsv --data-kind tsv -f csv": (2, "$", r'qbreport: error: there is no kind of data "tsv"; did you mean "csv"\?'),
    "render list.qbf -f csv --option page-headers": (2, "$", r'qbreport: error: "page-headers" is no option; write it as name=value'),
    "render list.qbf -f csv --option page-headers=maybe": (2, "$", r"qbreport: error: .*maybe"),
    "render list.qbf -f csv --layout tables": (2, "$", r"qbreport: error: .*tables"),
    "render list.qbf -f png --resolution 5": (2, "$", r"qbreport: error: .*36"),
    "render list.qbf -f csv --allow-host 'a b'": (2, "$", r'qbreport: error: "a b" is no list of hosts'),
    "render list.qbf -f csv --allow-folder a:b": (1, "$", r'qbreport: error: there is no folder "a:b"'),
    "new invoise": (2, "$", r'qbreport: error: there is no "invoise" to start from; did you mean "invoice"\?'),
}


def handshake(listener, context):
    """Offers one client a connection with TLS."""
    client = listener.accept()[0]
    with contextlib.suppress(OSError):
        context.wrap_socket(client, server_side=True).close()
    client.close()


class Qbreport(unittest.TestCase):
    def setUp(self):
        self.directory = pathlib.Path(tempfile.mkdtemp())
        self.environment = {"PATH": f"{PROGRAM.parent}:{os.environ['PATH']}", "HOME": str(self.directory / "home"), "TERM": "xterm"}
        os.chdir(self.directory)
        for name, text in FILES.items():
            pathlib.Path(name).write_text(text, "utf-8")
        for name in ("folder", "home"):
            pathlib.Path(name).mkdir()
        self.inputs = self.files()

    def tearDown(self):
        os.chdir("/")
        shutil.rmtree(self.directory)

    def files(self):
        return {str(file) for file in pathlib.Path().rglob("*") if not file.is_dir()}

    def shell(self, line, **environment):
        return subprocess.run(["bash", "-c", f"qbreport {line}"], capture_output=True, timeout=300,
                              stdin=subprocess.DEVNULL, env={**self.environment, **environment})

    def check(self, line, status, output, errors, **environment):
        result = self.shell(line, **environment)
        shown = result.stdout.decode("utf-8", "replace"), result.stderr.decode()
        self.assertEqual(result.returncode, status, shown)
        self.assertRegex(shown[0], re.compile(r"\A(?:" + output + ")", re.S))
        self.assertRegex(shown[1], re.compile(r"\A(?:" + errors + ")", re.S))

    def test_cases(self):
        for line, (status, output, errors) in CASES.items():
            with self.subTest(line):
                self.check(line, status, output, errors)
        self.assertEqual(self.files(), self.inputs, "a command has left a file")

    def test_documents(self):
        names = [f"out/list.{extension}" for extension in "pdf xlsx xls ods docx rtf html txt csv json tiff png".split()]
        signatures = (b"%PDF-", b"PK", b"\xd0\xcf", b"PK", b"PK", b"{\\rtf", b"<!DOC", b"2024", b"\xef\xbb\xbf2024", b"{\"qbreport\"", b"II*\0", b"\x89PNG")
        errors = "".join(f"{name}: .*\n" for name in names) + "$"
        self.check("render list.qbf -d rows.json --resolution 40 -o " + " -o ".join(names), 0, "$", errors)
        for name, signature in zip(names, signatures):
            self.assertTrue(pathlib.Path(name).read_bytes().startswith(signature), name)
        self.assertEqual(self.files() - self.inputs, set(names))
        self.check("render list.qbf -d rows.json -q -o list.pdf", 0, "$", "$")
        self.check("render picture.qbf -q -f txt --allow-folder any", 0, "", "$")

    def test_help(self):
        for command in ("", "render", "burst", "collect", "extract", "check", "info", "new", "fonts", "formats"):
            with self.subTest(command):
                result = self.shell(f"{command} --help")
                text = result.stdout.decode()
                self.assertEqual((result.returncode, result.stderr), (0, b""))
                self.assertLessEqual(max(map(len, text.splitlines())), 80, text)
                self.assertGreaterEqual(text.count("\n  qbreport "), 2, text)

    def test_flags(self):
        """Every flag is used by a test, and described on the page, in the manual and in the completions."""
        flags = set()
        for command in ("", "render", "burst", "collect", "extract", "check", "info", "new", "fonts", "formats"):
            flags |= set(re.findall(r"(?<=[\s,])--?[a-zA-Z-]+", self.shell(f"{command} --help").stdout.decode()))
        self.assertGreater(len(flags), 25)
        texts = {name: (SOURCES / name).read_text("utf-8").replace("\\-", "-") for name in
                 ("docs/qbreport.md", "docs/man/qbreport.1", "qbreport/completion/_qbreport", "qbreport/completion/qbreport.bash")}
        texts["docs/qbreport.md"] += (SOURCES / "docs/month-end.md").read_text("utf-8")
        texts["the tests"] = "".join((SOURCES / "tests/qbreport" / name).read_text("utf-8") for name in ("qbreport_test.py", "burst_test.py"))
        for name, text in texts.items():
            self.assertFalse({flag for flag in flags - {"-h"} if not re.search(flag + r"(?![\w-])", text)}, name)

    def test_settings(self):
        pathlib.Path("folder/qbsvrl6.conf").write_text("budget.cells = 1\n", "utf-8")
        self.check("render list.qbf -d rows.json -f csv --setup-folder folder", 1, "$", ".*budget cells of 1 is used up")
        self.assertIn("budget cells", pathlib.Path("folder/log/qbsvrl6.log").read_text("utf-8"))
        pathlib.Path("no-fonts.conf").write_text("<fontconfig/>", "utf-8")
        no_fonts = {"FONTCONFIG_FILE": str(self.directory / "no-fonts.conf")}
        self.check("fonts", 1, "$", "qbreport: error: no font is installed", **no_fonts)
        folder = "/usr/share/fonts/truetype/liberation"
        self.check(f"fonts --font-folder {folder}", 0, "(Liberation .*\n)+$", "$", **no_fonts)

    def test_sources_that_fail(self):
        """A certificate that nobody has signed, a database that stays locked."""
        subprocess.run("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout key.pem -out cert.pem -subj /CN=localhost -days 9".split(), check=True, capture_output=True)
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain("cert.pem", "key.pem")
        database = sqlite3.connect("s.db", isolation_level=None)
        database.executescript("create table S(Item, Amount); begin exclusive")
        with socket.create_server(("127.0.0.1", 0)) as listener:
            server = threading.Thread(target=handshake, args=(listener, context))
            server.start()
            sqlite, web = "--connection sqlite:s.db --query 'select * from S'", f"-d https://localhost:{listener.getsockname()[1]}/a.json"
            runs = [(error, subprocess.Popen(["bash", "-c", f"qbreport render list.qbf {source} -o a.csv"], stderr=subprocess.PIPE, env=self.environment))
                    for source, error in ((sqlite, "database is locked"), (web, "certificate"))]
            for error, run in runs:
                shown = run.communicate(timeout=120)[1].decode()
                self.assertEqual((run.returncode, error in shown), (1, True), shown)
            server.join()
        database.close()
        self.assertFalse(pathlib.Path("a.csv").exists())

    def test_missing_libraries(self):
        """A report that needs a missing library fails, also where a bad picture or barcode is only left out."""
        shutil.copy(SOURCES / "samples/Samples/Data/Picture/Butterfly.jpg", "a.jpg")
        pathlib.Path("needs.qbf").write_text(NEEDS_LIBRARIES, "utf-8")
        pathlib.Path("s.db").touch()
        for library, package, line in LIBRARIES:
            with self.subTest(library):
                folder = pathlib.Path("folder", package)
                folder.mkdir()
                (folder / library).touch()  # the loader looks no further
                self.check(f"render {line}", 1, "$", rf".*: error: .*{re.escape(library)}: .*; install the package {re.escape(package)} \(", LD_LIBRARY_PATH=str(folder))

    def test_json_messages(self):
        lines = self.shell("render bad.qbf -f csv --log json").stderr.decode().splitlines()
        first = json.loads(lines[0])
        self.assertEqual([len(lines), *map(first.get, ("severity", "file", "line", "code"))], [2, "error", "bad.qbf", 4, "bad-template"])
        codes = {"picture.qbf": None, "list.qbf -d broken.json": "bad-data", "list.qbf -d rows.json --budget cells=1": "budget"}
        for line, code in codes.items():
            self.assertEqual(json.loads(self.shell(f"render {line} -f csv --log json").stderr).get("code"), code, line)
        self.assertEqual(json.loads(self.shell("rendr --log=json").stderr)["severity"], "error")
        hostile = '\x1b[31m"\u0085\u2028'
        result = self.shell(f"render {shlex.quote(hostile)} -f csv --log=json")
        self.assertIn(hostile, json.loads(result.stderr.decode())["text"])
        self.assertNotRegex(self.shell(f"render {shlex.quote(hostile)} -f csv").stderr.decode(), "[\x1b\u0085\u2028]")

    def test_json_info(self):
        info = json.loads(self.shell("info list.qbf -d rows.csv --json").stdout)
        self.assertEqual(info["parameters"], [{"name": "Year", "type": "number", "value": "2024", "required": False}])
        self.assertEqual(info["tables"], [{"name": "", "rows": 2, "columns": ["Item", "Amount"]}])
        self.assertEqual([field["line"] for field in info["fields"]], [7, 8])
        self.assertEqual([font["name"] for font in info["fonts"]], ["Liberation Sans"])
        self.assertEqual(json.loads(self.shell("info plain.qbf --json").stdout)["tables"], [])

    def test_new(self):
        for kind in KINDS:
            with self.subTest(kind):
                self.check(f"new {kind} folder/{kind}", 0, rf"folder/{kind}.qbf\nfolder/{kind}.json\n$", "$")
                self.check(f"check --strict folder/{kind}.qbf -d folder/{kind}.json", 0, f"folder/{kind}.qbf: good\n$", "$")
                schema = SOURCES / "docs/template-format.xsd"
                subprocess.run(["xmllint", "--noout", "--schema", schema, f"folder/{kind}.qbf"], check=True, stderr=subprocess.DEVNULL)
        pathlib.Path("folder/list.qbf").write_text("mine", "utf-8")
        self.check("new list folder/list.qbf --force", 0, "folder/list.qbf\n", "$")
        self.assertNotEqual(pathlib.Path("folder/list.qbf").read_text("utf-8"), "mine")

    def test_places(self):
        """The same bytes and messages in every zone and locale."""
        line = "render list.qbf -d rows.json -f pdf"
        expected = self.shell(line)
        self.assertEqual(expected.returncode, 0)
        for zone, locale in (("America/Caracas", "de_DE.UTF-8"), ("Asia/Kathmandu", "C")):
            self.assertEqual(self.shell(line, TZ=zone, LC_ALL=locale).stdout, expected.stdout, zone)
        self.check("render list.qbf -f csv > /dev/full", 1, "$", "qbreport: error: list.qbf needs", LANG="de_DE.UTF-8")

    def test_rights(self):
        if os.geteuid() == 0:
            as_user = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"]
        else:
            as_user = []
        self.directory.chmod(0o755)
        pathlib.Path("folder").chmod(0o555)
        result = subprocess.run([*as_user, PROGRAM, *"render list.qbf -d rows.json -o folder/a.pdf".split()], capture_output=True)
        if b"error while loading" in result.stderr or result.returncode in (126, 127):
            self.skipTest("another user cannot run the program")
        self.assertRegex(result.stderr.decode(), r"\Afolder/a.pdf: error: .*[Pp]ermission denied")
        self.assertEqual((result.returncode, self.files()), (1, self.inputs))

    def test_closed_pipe(self):
        pathlib.Path("many.json").write_text(json.dumps(ROWS * 20000), "utf-8")
        for line in ("render list.qbf -d many.json -f csv", "render list.qbf -d many.json --log=json -f txt"):
            result = subprocess.run(["bash", "-c", f"qbreport {line} | head -c 1; echo ${{PIPESTATUS[0]}}"],
                                    capture_output=True, env=self.environment, timeout=300)
            self.assertEqual((result.stdout[1:].split()[-1], result.stderr), (b"1", b""), line)

    @contextlib.contextmanager
    def terminal(self, *words, **environment):
        """A process whose output is a terminal, and a function that reads until a text appears or the process ends."""
        ours, theirs = pty.openpty()
        process = subprocess.Popen([PROGRAM, *words], stdin=subprocess.DEVNULL, stdout=theirs, stderr=theirs,
                                   env={**self.environment, **environment})
        os.close(theirs)
        shown = bytearray()

        def read_until(text=None):
            while text is None or text not in shown:
                if not select.select([ours], [], [], 120)[0]:
                    self.fail(f"no {text} in {shown}")
                try:
                    shown.extend(os.read(ours, 4096))
                except OSError:  # the process has ended
                    break
            return shown.decode()

        yield process, read_until
        process.wait(60)
        os.close(ours)

    def test_terminal(self):
        for environment, expected in (({}, True), ({"NO_COLOR": "1"}, False), ({"TERM": "dumb"}, False)):
            with self.terminal("check", "typo.qbf", "-d", "rows.json", **environment) as (_, read_until):
                self.assertEqual("\x1b[1;35mwarning:" in read_until(), expected, environment)
        with self.terminal("render", "list.qbf", "-d", "rows.json", "-f", "pdf") as (process, read_until):
            self.assertIn("a terminal cannot show pdf; name a file", read_until())
            self.assertEqual(process.wait(), 2)

    def test_interrupts(self):
        """A report that is interrupted shows its progress before, and leaves nothing."""
        pathlib.Path("many.json").write_text(json.dumps(ROWS * 750_000), "utf-8")
        inputs = self.files()
        for number in (signal.SIGINT, signal.SIGTERM):
            with self.terminal("render", "list.qbf", "-d", "many.json", "-o", "many.pdf") as (process, read_until):
                read_until(b" of 1,500,000 rows, ")
                process.send_signal(number)
                self.assertTrue(read_until().rstrip().endswith("cancelled"))
                self.assertEqual(process.wait(60), -number)
            self.assertEqual(self.files(), inputs)
        reading = subprocess.Popen([PROGRAM, *"render list.qbf -d - -o a.pdf".split()], stdin=subprocess.PIPE, stderr=subprocess.PIPE)
        reading.stdin.write(b"[")
        reading.stdin.flush()
        with self.assertRaises(subprocess.TimeoutExpired):
            reading.wait(1)
        reading.send_signal(signal.SIGTERM)
        self.assertEqual(reading.wait(60), -signal.SIGTERM)
        reading.communicate()
        self.assertEqual(self.files(), inputs)

    def test_page(self):
        """Runs the examples of the page in order; the text after an example is its output."""
        os.chdir("folder")
        page = (SOURCES / "docs/qbreport.md").read_text("utf-8")
        outputs, count = (), 0
        for language, block in re.findall(r"^```(.*)\n((?s:.*?))^```$", page, re.M):
            if language == "text":
                # "..." is any text, and numbers may differ.
                pattern = re.sub(r"\d+(\\\.\d+)?", r"[\\d.]+", re.escape(block.strip()).replace(r"\.\.\.", ".*"))
                self.assertTrue(any(re.match(pattern, output, re.S) for output in outputs), block + "".join(outputs))
                continue
            result = subprocess.run(["bash", "-e", "-c", block], capture_output=True, text=True, env=self.environment, timeout=300)
            outputs, count = (result.stdout, result.stderr + result.stdout), count + 1
            self.assertEqual(result.returncode != 0, language == "sh fails", block + "".join(outputs))
        self.assertGreater(count, 9)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
