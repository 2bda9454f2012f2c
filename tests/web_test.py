"""The page that reads files, in Chromium and in Firefox, from a file: its JSON is the program's, nothing is connected to,
nothing in a file takes it down.

Arguments: the page, the program lumo-import and the folder of samples. LUMO_PAGE_FILES names a folder of further
files. Ends with 77 (skipped) where the page or a browser is not there.
"""
import base64
import gzip
import http.server
import json
import os
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import zipfile

try:
    from browser import CHROMIUM, DRIVER, Browser
    from firefox import FIREFOX, Firefox
except ImportError:
    sys.exit(77)


class Chromium(Browser):
    """With the same commands as Firefox."""

    def open(self, path):
        self.driver.get("file://" + path)

    def choose(self, selector, paths):
        self.driver.find_element("css selector", selector).send_keys("\n".join(paths))

    def into_frame(self):
        self.driver.switch_to.frame(self.driver.find_element("css selector", "iframe"))

    def out_of_frame(self):
        self.driver.switch_to.default_content()


# Saves the file of that row.
SAVE = ("const select = document.querySelectorAll('tbody select')[%d]; select.value = '%s';"
        " select.dispatchEvent(new Event('change'));")


class Silent(http.server.BaseHTTPRequestHandler):
    """A server that nobody should speak to."""
    heard = []

    def do_GET(self):
        Silent.heard.append(self.path)
        self.send_response(204)
        self.end_headers()

    def log_message(self, *_):
        pass


def samples():
    found = []
    for top in filter(None, (SAMPLES, os.environ.get("LUMO_PAGE_FILES"))):
        for folder, _, names in os.walk(top):
            found += [os.path.join(folder, name) for name in names if not name.endswith((".expected", ".md"))]
    return sorted(found)


def program(*arguments, **options):
    return subprocess.run([PROGRAM, *arguments], capture_output=True, check=False, **options).stdout


def bytes_of(path):
    with open(path, "rb") as file:
        return file.read()


def hugin(nodes, numbers=""):
    """A net of separate nodes."""
    return "net\n{\n}\n" + "".join(
        'node n%d\n{\n states = ("a" "b");\n label = "Number %d%s";\n}\npotential ( n%d )\n{\n data = (0.25 0.75);\n}\n'
        % (i, i, numbers, i) for i in range(nodes))


class Page:
    """What both browsers are tried with."""

    @classmethod
    def setUpClass(cls):
        cls.browser = cls.kind()
        cls.scratch = tempfile.TemporaryDirectory(prefix="lumo-page-")

    @classmethod
    def tearDownClass(cls):
        cls.browser.__exit__(None, None, None)
        cls.scratch.cleanup()

    def setUp(self):
        self.browser.open(PAGE)
        self.until("return document.body.dataset.ready === 'yes' && document.querySelectorAll('#format option').length > 5")

    def until(self, script, *arguments):
        """Waits for something; how long does not matter."""
        for _ in range(6000):
            got = self.script(script, *arguments)
            if got:
                return got
            time.sleep(0.05)
        self.fail("never: " + script)

    def script(self, text, *arguments):
        return self.browser.script(text, *arguments)

    def file(self, name, content):
        path = os.path.join(self.scratch.name, name)
        with open(path, "wb") as out:
            out.write(content if isinstance(content, bytes) else content.encode())
        return path

    def read(self, paths):
        """Chooses the files and waits until all of the list are read."""
        before = len(self.rows())
        self.browser.choose("#files", paths)
        self.settled(before + len(paths))

    def settled(self, count):
        self.until("return document.querySelectorAll('tbody').length === arguments[0] && document.getElementById('work').hidden", count)

    def rows(self):
        return self.script("return [...document.querySelectorAll('tbody')].map((b) => [...b.rows[0].cells].slice(0, 4).map((c) => c.textContent))")

    def saved(self, action):
        """The bytes of the file that an action of the page saves."""
        self.script("window.savedBlob = null; window.savedName = null; window.save = (blob, name) => {"
                    " const reader = new FileReader(); window.savedName = name;"
                    " reader.onload = () => { window.savedBlob = reader.result; }; reader.readAsDataURL(blob); };" + action)
        text = self.until("return window.savedBlob")
        return self.script("return window.savedName"), base64.b64decode(text.split(",", 1)[1])

    def zip(self, form):
        return self.saved("document.getElementById('all-as').value = '%s'; document.getElementById('all').click();" % form)[1]

    def test_json_is_the_programs(self):
        folders = {}
        for path in samples():
            folders.setdefault(os.path.dirname(path), []).append(os.path.basename(path))
        compared = 0
        for folder, names in folders.items():
            self.script("document.getElementById('clear').click()")
            for at in range(0, len(names), 40):
                self.read([os.path.join(folder, name) for name in names[at:at + 40]])
            with open(os.path.join(self.scratch.name, "all.zip"), "wb") as out:
                out.write(self.zip("json"))
            with zipfile.ZipFile(out.name) as archive:
                self.assertIsNone(archive.testzip())
                stored = {json.loads(archive.read(name))["file"]: archive.read(name) for name in archive.namelist()}
            for name in names:
                self.assertEqual(program("convert", name, "--to", "json", "-o", "-", cwd=folder), stored[name], name)
                compared += 1
        print("%s: the JSON of %d files is the program's" % (self.kind.__name__, compared))
        self.assertGreater(compared, 25)

    def test_lists_problems_with_place_caret_and_cure(self):
        self.read([os.path.join(SAMPLES, "hugin", "damaged.net"), os.path.join(SAMPLES, "hugin", "asia.net")])
        (_, form, nodes, problems), asia = self.rows()
        known = json.loads(program("convert", os.path.join(SAMPLES, "hugin", "damaged.net"), "--to", "json", "-o", "-"))
        self.assertEqual(("Hugin", str(len(known["net"]["nodes"]))), (form, nodes))
        errors = sum(report["kind"] == "error" for report in known["reports"])
        self.assertIn("%d error" % errors, problems)
        self.assertEqual(["asia.net", "Hugin", "8", "none"], asia)
        self.script("document.querySelector('tbody [aria-expanded]').click()")
        items = self.script("return [...document.querySelectorAll('li')].map((i) => i.innerText)")
        self.assertEqual(len(known["reports"]), len(items))
        for report, item in zip(known["reports"], items):
            self.assertIn(report["message"], item)
            self.assertIn("line %d, column %d" % (report["line"], report["column"]) if report["line"] else report["kind"], item)
        carets = self.script("return [...document.querySelectorAll('li pre')].map((p) => p.textContent)")
        lines = bytes_of(os.path.join(SAMPLES, "hugin", "damaged.net")).decode("latin-1").split("\n")
        placed = [report for report in known["reports"] if report["line"] and report["column"] < 60]
        for report, text in zip(placed, carets):
            source, caret = text.split("\n")
            self.assertEqual(lines[report["line"] - 1][:40].replace("\t", " "), source[:40])
            self.assertEqual(report["column"] - 1, len(caret) - 1)
        self.assertGreater(self.script("return document.querySelectorAll('li .cure').length"), 0)

    def test_opens_the_report(self):
        self.read([os.path.join(SAMPLES, "hugin", "asia.net")])
        self.script("document.querySelector('td.name button').click()")
        self.until("return document.querySelector('iframe') !== null && document.getElementById('work').hidden")
        self.browser.into_frame()
        try:
            self.until("return document.querySelectorAll('#rows > *').length >= 8 && document.getElementById('title').textContent !== ''")
            self.until("return !document.getElementById('beliefs').disabled")  # which they are once they are planned
            self.script("document.getElementById('beliefs').click()")
            self.until("return document.getElementById('beliefs').getAttribute('aria-pressed') === 'true'")
        finally:
            self.browser.out_of_frame()
        self.script("document.getElementById('back').click()")
        self.assertTrue(self.script("return document.querySelector('iframe') === null && !document.getElementById('reader').hidden"))

    def test_is_never_taken_down(self):
        hostile = "<img src=x onerror=\"document.title='owned'\">"
        asia = bytes_of(os.path.join(SAMPLES, "hugin", "asia.net"))
        self.read([self.file("noise.net", os.urandom(5000)), self.file("empty.xdsl", ""),
                   self.file("wide.net", "net {}".encode("utf-16")), self.file("cut.net.gz", gzip.compress(asia)[:-20]),
                   self.file("%s.bif" % hostile.replace("/", ""), "network x { } variable %s { }" % hostile),
                   self.file("deep.xml", "<a>" * 200000), self.file("asia.net.gz", gzip.compress(asia, mtime=0))])
        rows = self.rows()
        self.assertEqual(["asia.net.gz", "Hugin", "8", "none"], rows[-1])
        self.assertIn("cannot be unpacked to its end", rows[3][3])
        self.assertEqual("Lumo import", self.script("return document.title"))
        name, text = self.saved(SAVE % (6, "bif"))
        self.assertEqual("asia.bif", name)
        self.assertEqual(program("convert", os.path.join(SAMPLES, "hugin", "asia.net"), "--to", "bif", "-o", "-"), text)

    def test_strict_and_normalize(self):
        path = os.path.join(SAMPLES, "hugin", "damaged.net")
        loose = self.file("loose.net", "net {} node a { states = (\"x\" \"y\"); } potential (a) { data = (1 3); }")
        self.read([path, loose])
        for box, option in (("strict", "--strict"), ("normalize", "--normalize")):
            self.script("document.getElementById(arguments[0]).click()", box)
            self.settled(2)
            for at, file in enumerate((path, loose)):
                _, text = self.saved(SAVE % (at, "json"))
                wanted = program("convert", os.path.basename(file), option, "--to", "json", "-o", "-", cwd=os.path.dirname(file))
                self.assertEqual(wanted, text)
            self.script("document.getElementById(arguments[0]).click()", box)
            self.settled(2)

    def test_reads_a_large_file_with_progress_and_cancels(self):
        path = self.file("large.net", hugin(270000, ": a label that makes the file as large as it has to be"))
        self.assertGreater(os.path.getsize(path), 40 << 20)
        self.script("window.parts = new Set(); new MutationObserver(() => { window.parts.add(document.getElementById('bar').value); })"
                    ".observe(document.getElementById('bar'), {attributes: true});")
        self.read([path])
        self.assertEqual(["large.net", "Hugin", "270,000"], self.rows()[0][:3])
        self.assertGreater(self.script("return window.parts.size"), 10)
        self.script("window.readAgain()")
        self.until("return document.getElementById('bar').value > 0.05")
        self.script("document.getElementById('cancel').click()")
        self.settled(1)
        self.assertIn("cancelled", self.rows()[0][3])
        self.read([os.path.join(SAMPLES, "hugin", "asia.net")])
        self.assertEqual("8", self.rows()[1][2])

    def test_connects_to_nothing(self):
        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Silent)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        address = "http://127.0.0.1:%d/" % server.server_port
        self.script("""
            window.refused = [];
            addEventListener('securitypolicyviolation', (event) => window.refused.push(event.effectiveDirective));
            const address = arguments[0];
            fetch(address + 'fetch').catch(() => {});
            try { new WebSocket(address.replace('http', 'ws')); } catch (error) { /* so much the better */ }
            navigator.sendBeacon(address + 'beacon', 'x');
            new Image().src = address + 'image';
            document.head.append(Object.assign(document.createElement('script'), {src: address + 'script'}));
            document.body.append(Object.assign(document.createElement('iframe'), {src: address + 'frame'}));
            const code = `fetch('${address}worker').catch(() => postMessage('refused'))`;
            window.own = new Worker(URL.createObjectURL(new Blob([code])));
            window.own.onmessage = ({data}) => window.refused.push(data);
            """, address)
        for directive in ("connect-src", "img-src", "frame-src", "refused"):
            self.until("return window.refused.includes(arguments[0])", directive)
        self.assertEqual([], Silent.heard)
        server.shutdown()
        server.server_close()


class InChromium(Page, unittest.TestCase):
    kind = Chromium

    def test_reads_folders(self):
        self.browser.choose("#folder", [SAMPLES])
        known = [path for path in samples() if path.startswith(SAMPLES)]
        self.settled(len(known))
        self.assertTrue(all("/" in row[0] for row in self.rows()))

    def test_says_nothing_to_the_network(self):
        """All that the browser asked for in a whole use of the page."""
        for log in ("performance", "browser"):
            self.browser.driver.get_log(log)
        self.setUp()
        self.test_opens_the_report()
        asked = [message["params"]["request"]["url"] for message in
                 (json.loads(entry["message"])["message"] for entry in self.browser.driver.get_log("performance"))
                 if message["method"] == "Network.requestWillBeSent"]
        self.assertTrue(asked)
        self.assertEqual([], [url for url in asked if not url.startswith(("file:", "blob:", "data:", "about:"))])
        complaints = [entry["message"] for entry in self.browser.driver.get_log("browser") if "Security Policy" in entry["message"]]
        self.assertEqual([], complaints)


class InFirefox(Page, unittest.TestCase):
    kind = Firefox


if __name__ == "__main__":
    PAGE, PROGRAM, SAMPLES = map(os.path.realpath, sys.argv[1:4])
    if not os.path.exists(PAGE) or not os.path.exists(CHROMIUM) or not os.path.exists(DRIVER):
        sys.exit(77)
    if not os.path.exists(FIREFOX):
        del InFirefox
    del sys.argv[1:4]
    unittest.main()
