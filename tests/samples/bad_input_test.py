"""Gives qbsvrtest input that is wrong in one place at a time: it says what and where, and leaves nothing half done.

usage: bad_input_test.py QBSVRTEST
"""

import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

PROGRAM = pathlib.Path(sys.argv[1]).resolve()

LIST = '[{"Items":[{"Name":"t","Data":"d"}]}]'
TEMPLATE = """<?xml version="1.0" encoding="UTF-8"?>
<Report version="1"><Grid><Columns><Column name="a" width="50mm"><Content text="[Name]"/></Column></Columns></Grid></Report>
"""
DATA = '[{"Name":"张三"},{"Name":"Li"}]'
XML_DATA = '<?xml version="1.0" encoding="GBK"?><d><r Name="张三"/><r Name="Li"/></d>'


def in_report(content):
    return f'<Report version="1">\n{content}</Report>'


def in_header(content):
    return in_report(f'<ReportHeader height="9mm">{content}</ReportHeader>')


class BadInput(unittest.TestCase):
    def setUp(self):
        self.directory = pathlib.Path(tempfile.mkdtemp())
        os.chdir(self.directory)
        self.list = pathlib.Path("setup/Samples/Data/ReportListJson.txt")
        self.template = pathlib.Path("setup/Samples/Reports/t.qbf")
        self.data = pathlib.Path("setup/Samples/Data/json/jsond.txt")
        for file, text in ((self.list, LIST), (self.template, TEMPLATE), (self.data, DATA)):
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_text(text, "utf-8")

    def tearDown(self):
        os.chdir("/")
        shutil.rmtree(self.directory)

    def put(self, file, content):
        """Text, bytes, a link's target, a directory, or nothing at all in the place of a file."""
        if file.is_dir() and not file.is_symlink():
            shutil.rmtree(file)
        file.unlink(missing_ok=True)
        file.parent.mkdir(parents=True, exist_ok=True)
        if content is dir:
            file.mkdir()
        elif isinstance(content, pathlib.Path):
            file.symlink_to(content)
        elif content is not None:
            file.write_bytes(content.encode() if isinstance(content, str) else content)

    def run_program(self, *words, ends="well", warning=""):
        """Standard output, the log's new lines and standard error; `ends` by an exception that nobody caught, or well.

        A program that ends well writes nothing to standard error but a line that begins with `warning`."""
        log = pathlib.Path("setup/log/qbsvrl6.log")
        log.unlink(missing_ok=True)
        result = subprocess.run([PROGRAM, *words], capture_output=True, timeout=300)
        errors = result.stderr.decode()
        expected = (0, warning) if ends == "well" else (-signal.SIGABRT, "terminate called")
        self.assertEqual((result.returncode, errors[:len(warning) or 16]), expected, errors)
        return result.stdout.decode(), log.read_text("utf-8") if log.exists() else "", errors

    def generate(self, out, kind, **options):
        return self.run_program("-gen_full", "setup", self.template, self.data, out, kind, **options)

    def written(self, directory="out"):
        return sorted(str(file) for file in pathlib.Path(directory).rglob("*") if not file.is_dir())

    def test_report_lists(self):
        gbk = LIST.replace('"t"', '"表"').encode("gbk")
        well = {"": 0, "\ufeff \r\n": 0, "{}": 0, gbk: 0, "[]": 0, '[{"Items":[]}]': 0,
                LIST.encode("utf-16"): 1, "\ufeff" + LIST: 1, '[{"Items":[{}]}]': 1, '[{"Items":[{"Name":5}]}]': 1}
        for text, count in well.items():
            with self.subTest(list=str(text)[:200]):
                self.put(self.list, text)
                place = "qbsvrtest: setup/Samples/Data/ReportListJson.txt:1:21: "
                out, log, _ = self.run_program("-s", "setup", "out", warning=place if text == gbk else "")
                self.assertIn(f"Batch Export Load & Save Report Template finished, ReportCount={count}.\n", out)
        badly = ((None, "open file failed for read, hint text: setup/Samples/Data/ReportListJson.txt"),
                 (dir, "read file failed, hint text: setup/Samples/Data/ReportListJson.txt"),
                 (LIST[:-1], "此位置预料的 ']' 字符没有出现"), (LIST + " x", "数据尾部存在无法解析的数据"),
                 ("[" * 1000000, "phase json failed"), ("[5]", "a group is no object"),
                 ('[{"Dir":"x"}]', 'no "Items" array'), ('[{"Items":[null]}]', "an item is no object"))
        for text, cause in badly:
            with self.subTest(list=str(text)[:200]):
                self.put(self.list, text)
                out, _, errors = self.run_program("-a", "setup", "out", ends="badly")
                self.assertIn(cause, errors)
                self.assertNotIn("succeeded", out)

    def test_templates(self):
        for text, fault in (
                (None, ": No such file or directory"), (dir, ": not a regular file"), ("", ":1:1: not XML"),
                (b"<Report\xff/>", ":1:8: the text is not UTF-8"), ("{}", ":1:1: "), (TEMPLATE[:-12], ":2:111: not well-formed XML"),
                (TEMPLATE.encode("utf-16-be"), ":1:1: "), (in_report("<Page columns='101'/>"), ":2:7: columns=\"101\""),
                ('<Report version="2"/>', ":1:9: unknown version 2"), (in_report("<Foo/>"), ":2:1: unknown element <Foo>"),
                (in_header("<Text x='1e99mm'/>"), ":2:34: x=\"1e99mm\": out of range"),
                (in_report("<Grid filter='a +'/>"), ":2:7: filter=\"a +\": column 4"),
                (in_header("<Text text='[Nope(1)]'/>"), ":2:34: text=\"[Nope(1)]\": column 2"),
                (in_header("<Text text='[" + "(" * 500 + "]'/>"), ":2:34: text="),
                (in_report('<Fields><Field name="a" expression="b + 1"/><Field name="b" expression="a * 2"/></Fields>'),
                 ':2:25: expression="b + 1": the calculated field "b" needs itself')):
            with self.subTest(template=str(text)[:200]):
                self.put(self.template, text)
                out, log, _ = self.run_program("-s", "setup", "out")
                self.assertIn("load report 'setup/Samples/Reports/t.qbf' failed.\n", out)
                self.assertIn("ReportCount=1.", out)
                self.assertIn(f"QBReportLoadFromFile: setup/Samples/Reports/t.qbf{fault}", log)
                self.assertEqual(self.written(), [])

    def test_data(self):
        for text, fault in (
                (dir, ": not a regular file"), ("", ":1:1: the data is empty"), ("words", ":1:1: "), ("5", ":1:1: "),
                (DATA[:-1], ":1:29: the data ends early"), ('[{"a":1},\n]', ":2:1: "), ("<d>\n<r>", ":2:"), (DATA.encode("gbk"), ":1:11: "),
                (DATA.encode("utf-16-be"), ":1:"), ("[" * 100000, ":1:"), ("<a>" * 100000, ":1:")):
            with self.subTest(data=str(text)[:200]):
                self.put(self.data, text)
                out, log, _ = self.generate("out.pdf", "pdf")
                self.assertTrue(out.startswith("载入报表数据文件 setup/Samples/Data/json/jsond.txt 失败。\n"), out)
                self.assertIn(f"QBReportLoadDataFromURL: setup/Samples/Data/json/jsond.txt{fault}", log)
                document = pathlib.Path("out.pdf").read_bytes()  # of the report without rows
                self.assertTrue(document.startswith(b"%PDF-") and document.endswith(b"%%EOF\n"))
        # Where the template itself asks for the data, no document comes out at all.
        self.put(self.data, None)
        out, log, _ = self.run_program("-a", "setup", "out")
        self.assertNotIn("succeeded", out)
        self.assertEqual(out.count(" failed.\n"), 24, out)
        cause = "setup/Samples/Data/json/jsond.txt: No such file or directory"
        self.assertEqual(len([line for line in log.splitlines() if line.endswith(cause)]), 24, log)
        self.assertEqual(self.written(), [])

    def test_encodings(self):
        expected = "\ufeff张三\r\nLi\r\n".encode()
        gbk = TEMPLATE.replace("UTF-8", "GBK").encode("gbk")
        for template, data in ((TEMPLATE, DATA), (TEMPLATE.encode("utf-16"), DATA.encode("utf-16")), (gbk, "\ufeff" + DATA),
                               ("\ufeff" + TEMPLATE, b"\xfe\xff" + DATA.encode("utf-16-be")), (gbk, XML_DATA.encode("gbk"))):
            with self.subTest(template=template[:50], data=data[:20]):
                self.put(self.template, template)
                self.put(self.data, data)
                _, log, _ = self.generate("out.csv", "csv")
                self.assertEqual(pathlib.Path("out.csv").read_bytes(), expected, log)

    def test_outputs(self):
        full = pathlib.Path("/dev/full")
        pathlib.Path("file").touch()
        for out, cause in ((full, "write file failed, hint text: /dev/full"), ("", "file name null"),
                           ("file/x.pdf", "open file failed for write, hint text: file/x.pdf"),
                           ("setup", "open file failed for write, hint text: setup")):
            for kind in "pdf", "txt":
                with self.subTest(out=out, kind=kind):
                    lines, _, errors = self.generate(out, kind, ends="badly")
                    self.assertIn(cause, errors)
                    self.assertEqual(lines, "")
        saved = pathlib.Path("out/auto/qbf/t.qbf")
        for place, content in ((saved, full), (saved, dir), (saved.parent, "")):
            with self.subTest(saving=place, content=content):
                self.put(saved.parent, None)
                self.put(place, content)
                before = self.written()
                lines, log, _ = self.run_program("-s", "setup", "out")
                self.assertIn("保存报表模板文件 out/auto/qbf/t.qbf 失败\n", lines)
                self.assertIn("QBReportSaveToFile: out/auto/qbf/t.qbf: ", log)
                self.assertEqual(self.written(), before)
        # What was finished stays; what came to its end in the middle is told by name.
        self.put(saved.parent.parent / "pdf_adapt", "")
        lines, _, errors = self.run_program("-a", "setup", "out", ends="badly")
        self.assertEqual(lines.count("succeeded"), 2)
        self.assertIn("out/auto/pdf_adapt/tDiscard.pdf", errors)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
