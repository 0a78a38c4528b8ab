"""Runs qbreport watch, asks it over HTTP, and, with QBSVR_FULL_TESTS=1, opens its page in Chromium.

usage: watch_test.py QBREPORT SOURCES
"""

import base64
import contextlib
import http.client
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

PROGRAM, SOURCES = (pathlib.Path(word).resolve() for word in sys.argv[1:3])
PICTURE = base64.b64decode("iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNk+M9QDwADhgGAWjR9awAAAABJRU5ErkJggg==")
TEMPLATE = """<Report version="1"><DefaultStyle font="Liberation Sans"/>
<Page width="100mm" height="60mm" margins="10mm 10mm 5mm 5mm"/>
<ReportHeader height="12mm">
  <Text x="5mm" y="2mm" width="40mm" height="8mm" text="Sold [Year]"/>
  <Picture x="60mm" width="10mm" height="10mm" source="logo.png"/>
</ReportHeader>
<Grid titleHeight="0mm" rowHeight="10mm"><Columns>
  <Column name="Item" width="30mm"><Content text="[Item]"/></Column>
  <Column name="Lines" width="30mm">
    <Content><SubReport><Report><ReportHeader height="5mm">
      <Text width="20mm" height="5mm" text="inner"/></ReportHeader></Report></SubReport></Content>
  </Column></Columns></Grid></Report>
"""
CHROMIUM = shutil.which("chromium")


class Watched(unittest.TestCase):
    def setUp(self):
        self.directory = pathlib.Path(tempfile.mkdtemp())
        os.chdir(self.directory)
        pathlib.Path("reports").mkdir()
        pathlib.Path("data").mkdir()
        self.template, self.data = pathlib.Path("reports/sold.qbf"), pathlib.Path("data/rows.json")
        self.replace(TEMPLATE)
        self.data.write_text(json.dumps([{"Item": f"Tea {i}", "Year": 2026} for i in range(6)]), "utf-8")

    def tearDown(self):
        os.chdir("/")
        shutil.rmtree(self.directory)

    def replace(self, text):
        """As editors do: a new file takes the name."""
        draft = pathlib.Path("reports/.sold.qbf.new")
        draft.write_text(text, "utf-8")
        draft.replace(self.template)

    @contextlib.contextmanager
    def watch(self):
        with subprocess.Popen([PROGRAM, "watch", self.template, "-d", self.data], stdout=subprocess.PIPE, text=True) as self.process:
            try:
                address = re.search(r"watching reports/sold.qbf at http://127.0.0.1:(\d+)(/[0-9a-f]{32})/\n", self.process.stdout.readline())
                self.port, self.folder = int(address[1]), address[2]
                yield
                self.process.send_signal(signal.SIGTERM)
                self.assertEqual(self.process.wait(60), 0)
            finally:
                self.process.kill()

    def connect(self):
        client = http.client.HTTPConnection("127.0.0.1", self.port, timeout=60)
        self.addCleanup(client.close)
        return client

    def get(self, target, method="GET", folder=None, **headers):
        client = self.connect()
        client.request(method, (self.folder if folder is None else folder) + target, headers={"Host": "localhost"} | {name.replace("_", "-"): value for name, value in headers.items()})
        answer = client.getresponse()
        return answer.status, answer.read(), answer.headers


class Service(Watched):
    def states(self):
        client = self.connect()
        client.request("GET", self.folder + "/events", headers={"Host": "localhost"})
        answer = client.getresponse()
        self.assertEqual(answer.headers["Content-Type"], "text/event-stream")
        end = time.monotonic() + 60
        while (line := answer.readline()) and time.monotonic() < end:
            if line.startswith(b"data: "):
                yield json.loads(line[6:])

    def csv(self):
        return self.get("/document?format=csv")[1].decode("utf-8-sig")

    def test_changes(self):
        """Each change of an input gives a new state. With an error, the last good pages stay."""
        with self.watch():
            states = self.states()

            def until(is_good, pattern=""):
                for state in states:
                    if state["isGood"] == is_good and re.search(pattern, json.dumps(state["messages"])):
                        return state
                self.fail("the service has ended")

            state = until(True, "logo.png")
            self.assertEqual(state["pages"], [[100000, 60000]] * 2)
            first = self.get("/document?format=png&pages=2&resolution=50")[1]
            self.assertTrue(first.startswith(b"\x89PNG"))
            pathlib.Path("reports/logo.png").write_bytes(PICTURE)
            self.assertEqual(until(True, r"^\[\]$")["good"], 2)
            self.data.write_text('[{"Item": "Coffee", "Year": 2027}]', "utf-8")
            good = next(states)
            self.assertEqual((len(good["pages"]), self.csv()[:9]), (1, "Sold 2027"))
            self.replace(TEMPLATE.replace('height="8mm"', 'hieght="8mm"'))
            bad = until(False, "hieght")
            self.assertEqual((bad["messages"][0]["line"], bad["messages"][0]["file"], bad["good"], bad["pages"]), (4, "reports/sold.qbf", good["good"], good["pages"]))
            self.assertIn("Coffee", self.csv())
            self.replace(TEMPLATE.replace("Sold", "Bought"))
            until(True)
            self.assertEqual(self.csv()[:11], "Bought 2027")
            self.data.write_text("[{", "utf-8")
            self.assertEqual(until(False)["messages"][0]["file"], "data/rows.json")
            # Another folder takes the name of the one that has been watched.
            self.data.parent.rename("old")
            until(False)
            self.data.parent.mkdir()
            self.data.write_text('[{"Item": "Cocoa", "Year": 2028}]', "utf-8")
            until(True)
            shutil.rmtree(self.data.parent)
            until(False)
            self.data.parent.mkdir()
            # The process of the report dies: the next one loads it again.
            self.data.write_text('[{"Item": "Milk", "Year": 1}]', "utf-8")
            until(True)
            [spawner] = pathlib.Path(f"/proc/{self.process.pid}/task/{self.process.pid}/children").read_text().split()
            [worker] = pathlib.Path(f"/proc/{spawner}/task/{spawner}/children").read_text().split()
            os.kill(int(worker), signal.SIGKILL)
            answers = (self.csv() for _ in range(200))  # while it is dying, it may still be asked
            self.assertIn("Milk", next((answer for answer in answers if "has died" not in answer), "none"))
            self.template.unlink()
            until(False, "sold.qbf")
            self.replace(TEMPLATE)
            until(True)
            states.close()

    def test_items(self):
        with self.watch():
            next(self.states())
            found = json.loads(self.get("/items")[1])
            shown = {}
            for page, *box, control in found["items"]:
                line, _, kind, content = found["controls"][control]
                shown.setdefault((line, kind, content), []).append((page, *box))
            self.assertEqual(shown[4, "text", "Sold [Year]"], [(1, 15000, 12000, 40000, 8000)])
            self.assertEqual(shown[5, "picture", "logo.png"], [(1, 70000, 10000, 10000, 10000)])
            self.assertEqual(shown[8, "text", "[Item]"], [(1, 10000, 22000 + 10000 * i, 30000, 10000) for i in range(3)] + [(2, 10000, 10000 + 10000 * i, 30000, 10000) for i in range(3)])
            self.assertEqual(shown[11, "text", "inner"][0], (1, 40000, 22000, 20000, 5000))
            self.assertEqual(len(shown[11, "text", "inner"]), 6)

    def test_access(self):
        """The page runs its own scripts only; other sites get nothing, and neither does a document of HTML."""
        with self.watch():
            next(self.states())
            for target in ("/", "/watch.js", "/pages.js", "/documents.js", "/source.js", "/watch.css"):
                status, content, headers = self.get(target)
                self.assertEqual((status, content == (SOURCES / "qbreport/watch/page" / (target[1:] or "index.html")).read_bytes()), (200, True), target)
                self.assertRegex(headers["Content-Security-Policy"], "default-src 'none'; script-src 'self';")
            self.assertIn("sandbox;", self.get("/document?format=html")[2]["Content-Security-Policy"])
            for target in ("/", "/events", "/items", "/template", "/document?format=pdf"):
                for headers, status in ({"Host": "evil.example"}, 421), ({"Origin": "http://evil.example"}, 403), ({"Origin": f"http://localhost:{self.port}"}, 403), ({"Sec_Fetch_Site": "same-site"}, 403):
                    self.assertEqual(self.get(target, **headers)[0], status, (target, headers))
                self.assertEqual(self.get(target, "POST")[0], 405)
                for folder in ("", "/" + "0" * 32, self.folder[:-1], self.folder + "0"):
                    self.assertEqual(self.get(target, folder=folder)[0], 403, (target, folder))
            self.assertEqual([self.get(target)[0] for target in ("/etc/passwd", "/../index.html", "/document?format=doc", "/document?format=png&pages=99")], [404, 404, 400, 422])
        for words, expected in ((["--listen", "0.0.0.0:0"], "this machine only"), (["-d", "-"], "standard input does not change")):
            result = subprocess.run([PROGRAM, "watch", self.template, *words], capture_output=True, text=True, timeout=60, check=False)
            self.assertEqual(result.returncode, 2)
            self.assertIn(expected, result.stderr)


class Chromium:
    """A browser, and one page in it, by the DevTools protocol over pipes."""

    def __init__(self, profile):
        theirs_in, self.to = os.pipe()
        self.get, theirs_out = os.pipe()
        words = [CHROMIUM, "--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run", "--remote-debugging-pipe",
                 "--window-size=1400,900", f"--user-data-dir={profile}", "about:blank"]
        self.process = subprocess.Popen(["bash", "-c", f'exec "$@" 3<&{theirs_in} 4>&{theirs_out}', "bash", *words], pass_fds=(theirs_in, theirs_out),
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(theirs_in)
        os.close(theirs_out)
        self.received, self.count, self.session, self.complaints = b"", 0, None, []
        target = next(info for info in self.call("Target.getTargets")["targetInfos"] if info["type"] == "page")
        self.session = self.call("Target.attachToTarget", targetId=target["targetId"], flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Accessibility"):
            self.call(f"{domain}.enable")

    def call(self, method, **parameters):
        self.count += 1
        message = {"id": self.count, "method": method, "params": parameters} | ({"sessionId": self.session} if self.session else {})
        os.write(self.to, json.dumps(message).encode() + b"\0")
        while True:
            while b"\0" not in self.received:
                part = os.read(self.get, 1 << 20)
                if not part:
                    raise EOFError("the browser has ended")
                self.received += part
            text, self.received = self.received.split(b"\0", 1)
            answer = json.loads(text)
            if answer.get("method") == "Runtime.exceptionThrown" or (answer.get("method") == "Log.entryAdded" and answer["params"]["entry"]["level"] == "error"):
                self.complaints.append(answer["params"])
            if answer.get("id") == self.count:
                if "error" in answer:
                    raise RuntimeError(answer["error"])
                return answer["result"]

    def value(self, expression):
        result = self.call("Runtime.evaluate", expression=expression, awaitPromise=True, returnByValue=True)
        if "exceptionDetails" in result:
            raise RuntimeError(result["exceptionDetails"])
        return result["result"].get("value")

    def wait(self, condition):
        """The value of an expression as soon as it is true."""
        return self.value(f"new Promise((done, fail) => {{ const end = Date.now() + 60000; const look = () => {{ const found = ({condition}); if (found) done(found);"
                          f" else if (Date.now() > end) fail(new Error({json.dumps(condition)})); else setTimeout(look, 10); }}; look(); }})")

    def click(self, selector, right=0.5, down=0.5):
        x, y = self.value(f"(() => {{ const box = document.querySelector({json.dumps(selector)}).getBoundingClientRect(); return [box.left + box.width * {right}, box.top + box.height * {down}]; }})()")
        for kind in ("mousePressed", "mouseReleased"):
            self.call("Input.dispatchMouseEvent", type=kind, x=x, y=y, button="left", clickCount=1)

    def key(self, key):
        text = {"text": key} if len(key) == 1 else {}
        self.call("Input.dispatchKeyEvent", type="keyDown", key=key, **text)
        self.call("Input.dispatchKeyEvent", type="keyUp", key=key)

    def close(self):
        with contextlib.suppress(OSError, EOFError):
            self.session = None
            self.call("Browser.close")
        self.process.wait(60)
        os.close(self.to)
        os.close(self.get)


@unittest.skipUnless(os.environ.get("QBSVR_FULL_TESTS") == "1", "part of scripts/test --full")
class Page(Watched):
    def test_page(self):
        with self.watch():
            browser = Chromium(self.directory / "profile")
            try:
                self.use(browser)
                self.assertEqual(browser.complaints, [])
            finally:
                browser.close()

    def use(self, browser):
        text = lambda selector: browser.value(f"document.querySelector({json.dumps(selector)}).textContent")
        image = "document.querySelector('.page img')"
        pathlib.Path("reports/logo.png").write_bytes(PICTURE)
        browser.call("Page.navigate", url=f"http://127.0.0.1:{self.port}{self.folder}/")
        browser.wait(f"{image}?.complete && {image}.naturalWidth > 0 && document.querySelector('#source li')")
        self.assertEqual((text("#count"), text("#template"), text("#source li:nth-child(4)")), ("2", "sold.qbf", TEMPLATE.split("\n")[3]))
        # A click on a page, and on a line
        browser.click(".page", 35 / 100, 16 / 60)
        self.assertEqual(browser.wait("document.querySelector('.drawn') && document.querySelector('#origin').textContent"), "Line 4, column 3: text Sold [Year]")
        browser.click("#source li:nth-child(8)")
        self.assertEqual(browser.wait("document.querySelectorAll('.mark').length"), 6)
        self.assertIn("text [Item]", text("#origin"))
        box = browser.value("(() => { const page = document.querySelector('.page').getBoundingClientRect(), mark = document.querySelector('.mark.chosen').getBoundingClientRect();"
                            " return [(mark.left - page.left) / page.width * 100, (mark.top - page.top) / page.height * 60].map(Math.round); })()")
        self.assertEqual(box, [10, 22])
        # Keys
        browser.value("document.querySelector('#pages').focus()")
        browser.key("End")
        browser.wait("document.querySelector('#page').value === '2'")
        browser.key("PageUp")
        browser.wait("document.querySelector('#page').value === '1'")
        browser.key("+")
        self.assertEqual(text("#zoom"), "125 %")
        browser.wait(f"{image}.src.includes('resolution=120&') && {image}.naturalWidth > 470")
        browser.key("0")
        # An edit, an error, and its end; the place stays
        browser.key("+"), browser.key("+"), browser.key("+")
        browser.value("document.querySelector('#pages').scrollTop = 90")
        version = browser.value("Number(document.documentElement.dataset.version)")
        self.replace(TEMPLATE.replace("Sold", "Bought"))
        browser.wait(f"Number(document.documentElement.dataset.version) > {version} && {image}.src.includes('version=' + document.documentElement.dataset.version)")
        self.assertEqual(browser.value("document.querySelector('#pages').scrollTop"), 90)
        self.replace(TEMPLATE.replace('height="8mm"', 'hieght="8mm"'))
        browser.wait("document.querySelector('#messages .error') && document.querySelector('#source .wrong')")
        self.assertRegex(text("#messages"), r"error reports/sold.qbf:4:\d+ unknown attribute .hieght")
        self.assertEqual(browser.value("[...document.querySelectorAll('#source .wrong')].map(line => line.textContent.trim().slice(0, 5))"), ["<Text"])
        self.assertGreater(browser.value(f"{image}.naturalWidth"), 0)
        self.replace(TEMPLATE)
        browser.wait("!document.querySelector('#status.bad') && document.querySelector('#messages').textContent === 'None.'")
        # A request that fails once
        for address, word in ("items", "Lent"), ("template", "Given"):
            browser.value(f"{{ const get = window.fetch; window.fetch = (address) => {{ if (!address.startsWith('{address}')) return get(address); window.fetch = get; return Promise.reject(new TypeError('lost')); }}; }}")
            self.replace(TEMPLATE.replace("Sold", word))
            browser.wait(f"document.querySelector('#source').textContent.includes('{word}') && !document.querySelector('#status.bad') && document.querySelector('#status').textContent")
            browser.click(".page", 35 / 100, 16 / 60)
            browser.wait(f"document.querySelector('#origin').textContent.includes('{word} [Year]')")
        self.replace(TEMPLATE)
        browser.wait("document.querySelector('#source').textContent.includes('Sold')")
        # The other views, by keyboard
        browser.value("document.querySelector('#tab-pages').focus()")
        for condition in ("document.querySelector('#document iframe')?.src.includes('format=pdf')", "document.querySelector('#document iframe')?.getAttribute('sandbox') === ''",
                          "[...document.querySelectorAll('#document td')].some(cell => cell.textContent === 'Tea 5')", "document.querySelector('#document pre')?.textContent.includes('Tea 5')"):
            browser.key("ArrowRight")
            browser.wait(condition)
        browser.key("ArrowRight")
        browser.wait("document.querySelector('#document').hidden && !document.querySelector('#pages').hidden")
        # What a screen reader reads
        roles = {}
        for node in browser.call("Accessibility.getFullAXTree")["nodes"]:
            if not node.get("ignored"):
                roles.setdefault(node["role"]["value"], []).append(node.get("name", {}).get("value", ""))
        self.assertEqual(roles["tab"], ["Pages", "PDF", "HTML", "Sheet", "Text"])
        self.assertTrue({"Page 1", "Page 2", "Next page", "Zoom in"} <= set(roles["button"]), roles["button"])
        self.assertTrue({"banner", "main", "navigation", "complementary", "status", "toolbar"} <= set(roles), sorted(roles))
        for role in ("button", "image", "tab", "spinbutton", "navigation", "tabpanel"):
            self.assertNotIn("", roles[role], role)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
