"""Runs qbreport serve, and asks it over HTTP.

usage: serve_test.py QBREPORT SOURCES
"""

import contextlib
import http.client
import itertools
import json
import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import unittest

PROGRAM, SOURCES = (pathlib.Path(word).resolve() for word in sys.argv[1:3])
STARTERS = SOURCES / "qbreport/starters"
JSON = {"Content-Type": "application/json"}
TOKEN = "0123456789abcdef"

PARAMETERS = """<Report version="1"><DefaultStyle font="Liberation Sans"/>
  <Parameters><Parameter name="Year" type="number" value="2024"/><Parameter name="pages" value="none"/></Parameters>
  <ReportHeader height="9mm"><Text width="150mm" height="9mm" text="[Year] [pages] [Note]"/></ReportHeader>
  <Grid titleHeight="0mm"><Columns><Column name="Item" width="60mm"><Content text="[Item]"/></Column></Columns></Grid></Report>"""
PICTURES = '<Report version="1"><ReportHeader height="9mm">%s</ReportHeader></Report>' % "".join(
    f'<Picture width="9mm" height="9mm" source="{source}"/>' for source in ("../secret.png", "/etc/passwd", "link.png"))
GBK = """<Report version="1"><Csv encoding="gbk"/><Grid titleHeight="0mm"><Columns><Column name="Item" width="60mm"><Content text="[Item]"/>
  </Column></Columns></Grid></Report>"""
# Its data come from an address that answers when the test wants it.
SLOW = """<Report version="1"><Data connection="xml" query="http://127.0.0.1:%d/"/>
  <Grid titleHeight="0mm"><Columns><Column name="Item" width="60mm"><Content text="[Item]"/></Column></Columns></Grid></Report>"""

# Method, target, body, headers: status, and the answer as a regular expression.
CASES = [
    (("GET", "/health"), 200, r'{"status": "ok"}'),
    (("GET", "/templates"), 200, r'{"templates": \["eu/params", "gbk", "inner", "invoice", "params", "pictures", "slow"\]}'),
    (("GET", "/nothing"), 404, r'{"error": "there is nothing at this address"}'),
    (("GET", "/render/params"), 405, "POST"),
    (("DELETE", "/render/params"), 405, "DELETE"),
    (("POST", "/health"), 404, "/render/NAME"),
    (("POST", "/render/params?format=csv", '[{"Item": "Tea", "Note": 1}]'), 200, "\ufeff2024 none 1\r\nTea\r\n$"),
    (("POST", "/render/params.qbf?format=csv&Year=7&parameter.pages=x%2By", '{"Note": "\u00e9", "r": [{"Item": 1}]}'), 200, "\ufeff7 x\\+y \u00e9\r\n1\r\n$"),
    (("POST", "/render/eu/params?format=csv", "Item;Note\na;b\n", {"Content-Type": "text/csv"}), 200, "\ufeff2024 none \r\n|\ufeff2024 none b\r\na"),
    (("POST", "/render/params?format=csv&data-kind=csv:separator=comma", "Item,Note\na,b\n"), 200, "\ufeff2024 none b\r\na\r\n"),
    (("POST", "/render/params?format=csv", '{"Item":1,"Note":2}\n{"Item":3}', {"Content-Type": "application/x-ndjson; charset=utf-8"}), 200, "\ufeff2024 none 2\r\n1\r\n3\r\n"),
    (("POST", "/render/gbk?format=csv", '[{"Item": "茶"}]'), 200, "^茶\r\n$"),
    (("POST", "/render/params?format=csv", "a=b&c=d\n" * 2000, {"Content-Type": "application/x-www-form-urlencoded"}), 200, "\ufeff2024 none "),
    (("POST", "/render/inner?format=csv", '[{"Item": "in"}]'), 200, "\ufeff2024 none "),
    (("POST", "/render/params?format=csv"), 422, r'{"error": "the template needs data: it reads Note, Item; send them as the body", "messages": \[\]}'),
    (("POST", "/render/params", "[{,]", JSON), 422, r'{"error": "the document could not be made", "messages": \[{"severity": "error", "file": "body", "line": 1, "column": \d+, "code": "bad-data"'),
    (("POST", "/render/params?Yaer=1", "[]"), 400, r'params.qbf has no parameter \\"Yaer\\"; did you mean \\"Year\\"'),
    (("POST", "/render/params?Year=x", "[]"), 400, r'"text": ".*Year.*x'),
    (("POST", "/render/params?format=doc", "[]"), 400, "there is no such format"),
    (("POST", "/render/params?layout=wild", "[]"), 400, "layout"),
    (("POST", "/render/params?data-kind=yaml", "[]"), 400, "yaml"),
    (("POST", "/render/params?sign-key=/etc/passwd", "[]"), 400, "no parameter"),
    (("POST", "/render/pictures?format=csv", "[]"), 200, "^\ufeff"),
    *((("POST", f"/render/{name}", "[]"), 404, "there is no such template") for name in (
        "secret", "../secret", "..%2Fsecret", "eu/../../secret", "/secret", "%2Fetc%2Fpasswd", "link", "away/secret", ".hidden", "params.qbf.qbf", "", "a%00", "eu", "%5C..%5Csecret")),
    (("GET", "/health", None, {"Host": "evil.example"}), 421, "another name"),
    (("GET", "/health", None, {"Host": "reports.example:80"}), 200, "ok"),
    (("GET", "/health", None, {"Origin": "http://evil.example"}), 403, "another site"),
    (("GET", "/health", None, {"Origin": "null"}), 403, "another site"),
    (("GET", "/templates", None, {"Sec-Fetch-Site": "cross-site"}), 403, "another site"),
    (("GET", "/templates", None, {"Host": "reports.example:8443", "Origin": "https://reports.example"}), 403, "another site"),
    (("POST", "/render/params", "x" * 70_000), 413, "a body has at most 65 KB"),
    (("POST", "/render/params", iter([b"x" * 70_000])), 413, "a body has at most 65 KB"),
    (("POST", "/render/params", "[]", {"Content-Encoding": "gzip"}), 415, "not compressed"),
    (("GET", "/" + "a" * 5000), 414, "too long"),
]
# Requests that another reader could understand in another way, and what is no request at all.
RAW = {
    b"POST /render/params HTTP/1.1\r\nHost: localhost\r\nContent-Length: 2\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n": b"400",
    b"POST /render/params HTTP/1.1\r\nHost: localhost\r\nContent-Length: 2\r\nContent-Length: 3\r\n\r\n[] ": b"400",
    b"POST /render/params HTTP/1.1\r\nHost: localhost\r\nContent-Length: +2\r\n\r\n[]": b"400",
    b"POST /render/params HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: gzip, chunked\r\n\r\n0\r\n\r\n": b"400",
    b"POST /render/params HTTP/1.1\r\nHost: localhost\r\nContent-Length: 99999\r\nExpect: 100-continue\r\n\r\n": b"413",
    b"GET /health HTTP/1.1\r\nHost: localhost\r\nContent-Length: 4\r\n\r\nGET ": b"400",
    b"HEAD /health HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n": b"400",
    b"GET /health HTTP/1.1\r\n\r\n": b"400",
    b"GET /health HTTP/1.1\r\nHost: localhost\r\nHost: localhost\r\n\r\n": b"400",
    b"GET /health HTTP/1.1\r\nHost: localhost\r\nRange: bytes=" + b"1" * 7000 + b"-\r\nConnection: close\r\n\r\n": b"416",
    b"GET /health HTTP/1.1\r\nHost: localhost\r\n" + b"X: y\r\n" * 5000 + b"\r\n": b"431",
    b"POST /render/params HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n": b"422",
    b"\x16\x03\x01\r\n\r\n": b"400",
}


class Serve(unittest.TestCase):
    def setUp(self):
        self.directory = pathlib.Path(tempfile.mkdtemp())
        os.chdir(self.directory)
        self.web = socket.create_server(("127.0.0.1", 0))
        self.web.settimeout(60)
        folder = pathlib.Path("reports")
        (folder / "eu").mkdir(parents=True)
        shutil.copy(STARTERS / "invoice.qbf", folder)
        for name, text in {"reports/params": PARAMETERS, "reports/eu/params": PARAMETERS, "reports/.hidden": PARAMETERS, "secret": PARAMETERS,
                           "reports/gbk": GBK, "reports/pictures": PICTURES, "reports/slow": SLOW % self.web.getsockname()[1]}.items():
            pathlib.Path(name + ".qbf").write_text(text, "utf-8")
        (folder / "inner.qbf").symlink_to("eu/params.qbf")
        (folder / "link.qbf").symlink_to("../secret.qbf")
        (folder / "link.png").symlink_to("/etc/passwd")
        (folder / "away").symlink_to("..")

    def tearDown(self):
        os.chdir("/")
        self.web.close()
        shutil.rmtree(self.directory)

    @contextlib.contextmanager
    def service(self, *flags, end=signal.SIGTERM, **environment):
        words = [PROGRAM, "serve", "--templates", "reports", "--listen", "127.0.0.1:0", *flags]
        with subprocess.Popen(list(map(str, words)), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, env=os.environ | environment) as process:
            try:
                self.port = int(re.search(r":(\d+)\n", process.stdout.readline())[1])
                yield process
                if end is not None:
                    process.send_signal(end)
                self.assertEqual(process.wait(60), 0)
                self.log = process.stderr.read()
            finally:
                process.kill()

    def connect(self):
        client = http.client.HTTPConnection("127.0.0.1", self.port, timeout=60)
        self.addCleanup(client.close)
        return client

    def ask(self, method, target, body=None, headers=None, connection=None):
        client = connection or self.connect()
        if isinstance(body, str):
            body = body.encode()
        client.request(method, target, body, {"Host": "localhost"} | (headers or {}), encode_chunked=not isinstance(body, (bytes, type(None))))
        answer = client.getresponse()
        return answer.status, answer.read(), answer.headers

    def ask_slowly(self):
        """Asks for a document that takes until the returned connection, that of its data, is answered."""
        client = self.connect()
        client.request("POST", "/render/slow?format=csv", headers={"Host": "localhost"})
        return client, self.web.accept()[0]

    @staticmethod
    def answer_data(data):
        with data:
            data.recv(65536)
            data.sendall(b'HTTP/1.1 200 OK\r\nContent-Length: 18\r\nConnection: close\r\n\r\n[{"Item": "late"}]')

    def metric(self, name):
        return int(re.search(rf"^qbreport_{re.escape(name)} (\d+)$", self.ask("GET", "/metrics")[1].decode(), re.M)[1])

    def test_requests(self):
        with self.service("--server-name", "reports.example", "--body-limit", "65536"):
            for request, status, expected in CASES:
                with self.subTest(request=request[:2]):
                    got, answer, headers = self.ask(*request)
                    type = headers["Content-Type"]
                    text = answer.decode("gbk" if type == "text/csv" else "utf-8")
                    self.assertEqual(got, status, text)
                    self.assertRegex(text, expected)
                    self.assertNotIn(str(self.directory), text)
                    self.assertEqual(headers["X-Content-Type-Options"], "nosniff")
                    self.assertIn("default-src 'none'", headers["Content-Security-Policy"])
                    if status >= 400:
                        json.loads(text)
            for request, status in RAW.items():
                with self.subTest(request=request[:90]), socket.create_connection(("127.0.0.1", self.port)) as client:
                    client.sendall(request)
                    answer = b"".join(iter(lambda: client.recv(65536), b""))
                    self.assertTrue(answer.startswith(b"HTTP/1.1 " + status), answer)
                    self.assertEqual(answer.count(b"HTTP/1.1"), 1, answer)
        self.assertEqual(self.log, "")

    def test_proxies(self):
        """A page of the public site may ask through each proxy of docs/serve.md."""
        guide = (SOURCES / "docs/serve.md").read_text("utf-8")
        flags = re.search(r"--server-name \S+(?=`\.)", guide)[0].split()
        proxies = re.findall(r"^```(?:nginx|haproxy)\n(.*?)^```", guide, re.M | re.S)
        self.assertEqual(len(proxies), 2)
        with self.service(*flags):
            for proxy, public in itertools.product(proxies, ("reports.example", "reports.example:8443")):
                rewritten = re.search(r"proxy_set_header Host (\S+);|http-request set-header Host (\S+)", proxy)
                host = next(filter(None, rewritten.groups())).replace("$http_host", public) if rewritten else public
                headers = {"Host": host, "Origin": f"https://{public}", "Sec-Fetch-Site": "same-origin"}
                self.assertEqual(self.ask("POST", "/render/params?format=csv", "[]", headers)[0], 200, headers)

    def test_documents(self):
        """One connection gets the bytes of render in every format; nothing of a request is left for the next one."""
        data = (STARTERS / "invoice.json").read_bytes()
        with self.service("-j", "1"):
            client = self.connect()
            for form in "pdf xlsx xls ods docx rtf html txt csv json tiff png".split():
                expected = subprocess.run([PROGRAM, "render", "reports/invoice.qbf", "-d", STARTERS / "invoice.json", "-f", form], capture_output=True, check=True).stdout
                status, answer, headers = self.ask("POST", f"/render/invoice?format={form}", data, connection=client)
                self.assertEqual((status, headers["Report-Pages"]), (200, "0" if form == "json" else "1"))
                self.assertTrue(answer == expected, form)
                self.assertEqual(headers["Content-Disposition"], f'inline; filename="invoice.{form}"')
            for target, body, expected in (("?Year=1999", '{"Note": "secret"}', "1999 none secret"), ("", "[{}]", "2024 none "), ("", None, None),
                                           ("?Year=1", "[", None), ("", "[{}]", "2024 none ")):
                status, answer, _ = self.ask("POST", f"/render/params{target}{'&' if target else '?'}format=csv", body, connection=client)
                self.assertEqual(answer.decode("utf-8-sig").split("\r")[0] if status == 200 else None, expected)
            pathlib.Path("reports/params.qbf").write_text(PARAMETERS.replace("2024", "2025"), "utf-8")
            self.assertIn(b"2025", self.ask("POST", "/render/params?format=csv", "[{}]", connection=client)[1])
            self.assertEqual(self.metric('documents_total{format="csv"}'), 5)
            self.assertEqual(self.metric('failures_total{reason="report"}'), 2)

    def test_bad_moments(self):
        """Full queues, clients that leave, processes that hang or die, and the end of the service."""
        with self.service("-j", "1", "--queue", "1", "--time-limit", "20 s", "--allow-host", "any", end=None) as process:
            idle = [socket.create_connection(("127.0.0.1", self.port)) for _ in range(100)]
            for client in idle:
                self.addCleanup(client.close)
            for client in idle[::2]:
                client.sendall(b"POST /render/params HTTP/1.1\r\nHost: localhost\r\nContent-Length: 9\r\n\r\n[")
            first, data = self.ask_slowly()
            second = self.connect()
            second.request("POST", "/render/params?format=csv", b"[{}]", {"Host": "localhost"})
            while self.metric("queue") == 0:
                pass
            status, answer, headers = self.ask("POST", "/render/params", "[]")
            self.assertEqual((status, headers["Retry-After"], self.metric("workers_busy")), (503, "1", 1), answer)
            first.close()  # its process is killed, and the next one gets the other request
            self.assertEqual(data.recv(65536)[:4] and data.recv(1), b"")
            self.assertEqual(second.getresponse().status, 200)
            self.assertEqual((self.metric("workers_lost_total"), self.metric('failures_total{reason="client_gone"}')), (1, 1))
            client, data = self.ask_slowly()
            for worker in self.workers(process):
                os.kill(worker, signal.SIGKILL)
            self.assertEqual((client.getresponse().status, self.ask("POST", "/render/params", "[{}]")[0]), (500, 200))
            client, data = self.ask_slowly()
            ended = threading.Thread(target=lambda: (process.send_signal(signal.SIGTERM), self.answer_data(data)))
            ended.start()
            answer = client.getresponse()
            self.assertEqual((answer.status, answer.read().decode("utf-8-sig")), (200, "late\r\n"))
            ended.join()
        with self.service("-j", "1", "--time-limit", "1 s", end=signal.SIGINT) as process:
            for worker in self.workers(process):
                os.kill(worker, signal.SIGSTOP)
            self.assertEqual([self.ask("POST", "/render/params", "[{}]")[0] for _ in range(2)], [504, 200])
            self.assertEqual(len(self.workers(process)), 1)
        self.assertRegex(self.log, "^params: warning: a worker process was killed: the document took too long\n$")

    def test_memory(self):
        """A document that needs too much is refused; the process that made it goes on. (Sanitizers allow no such limit.)"""
        texts = json.dumps([{"Item": f"{i:032}"} for i in range(300_000)])
        with self.service("-j", "1", "--memory", "128MB") as process:
            [worker] = self.workers(process)
            if "128000000" not in pathlib.Path(f"/proc/{worker}/limits").read_text():
                self.skipTest("no limit of memory")
            for form, status in ("xls", 422), ("csv", 200):
                got, answer, _ = self.ask("POST", f"/render/params?format={form}", texts, JSON)
                self.assertEqual((got, b"out of memory" in answer, self.workers(process)), (status, status == 422, [worker]), answer[:99])

    @staticmethod
    def workers(process):
        children = lambda number: list(map(int, pathlib.Path(f"/proc/{number}/task/{number}/children").read_text().split()))
        return [worker for spawner in children(process.pid) for worker in children(spawner)
                if not re.search(r"\nState:\s+Z", pathlib.Path(f"/proc/{worker}/status").read_text())]

    def test_access(self):
        words = [PROGRAM, "serve", "--templates", "reports", "--listen"]
        for address, flags, status, expected in (("0.0.0.0:0", [], 2, "needs a token"), ("[::]:0", ["--token-file", "/dev/null"], 1, "has no token"), ("nowhere:1", [], 2, "no IP address"),
                                                 ("127.0.0.1:x", [], 2, "no address"), (f"127.0.0.1:{self.web.getsockname()[1]}", [], 1, "in use"), ("0", ["--memory", "much"], 2, "--memory")):
            with self.subTest(address):
                result = subprocess.run([*words, address, *flags], capture_output=True, text=True, timeout=60, check=False)
                self.assertEqual((result.returncode, bool(re.search(expected, result.stderr))), (status, True), result.stderr)
        pathlib.Path("token").write_text(TOKEN + "\n", "utf-8")
        for flags, environment in (["--token-file", "token"], {}), ([], {"QBREPORT_TOKEN": TOKEN}):
            with self.service(*flags, **environment):
                for headers, status in ({}, 401), ({"Authorization": "Bearer " + TOKEN[:-1] + "x"}, 401), ({"Authorization": "Bearer "}, 401), ({"Authorization": "Bearer " + TOKEN}, 200):
                    for target in ("/templates", "/metrics"):
                        self.assertEqual(self.ask("GET", target, headers=headers)[0], status, headers)
                self.assertEqual(self.ask("GET", "/health")[0], 200)
                self.assertEqual(self.ask("POST", "/render/params", "[]")[2]["WWW-Authenticate"], "Bearer")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
