"""What the tests of the HTML report in a browser share: texts of nets, and a test case that opens pages."""
import atexit
import glob
import json
import os
import subprocess
import sys
import tempfile
import time
import unittest

try:
    from selenium.webdriver.common.action_chains import ActionChains

    from browser import CHROMIUM, DRIVER, Browser
except ImportError:
    sys.exit(77)

PROGRAM, SAMPLES = sys.argv[1:3]
MOST_ELEMENTS = 1500  # of a page, whatever the net


# ---- Texts of nets


def hugin_text(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def node_text(name, states, more="", kind="node"):
    listed = " ".join('"s%d"' % i for i in range(states))
    return "%s %s\n{\n%s states = (%s);\n}\n" % (kind, name, more, listed)


def potential_text(name, parents, numbers):
    given = " | " + " ".join(parents) if parents else ""
    return "potential ( %s%s )\n{\n data = (%s);\n}\n" % (
        name, given, " ".join("%.7g" % number for number in numbers))


def distribution(states, chance):
    weights = [chance.choice((0, 0.1, 1)) + chance.random() for _ in range(states)]
    return [weight / sum(weights) for weight in weights]


# ---- Pages


class ReportCase(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.browser = Browser()
        atexit.register(cls.browser.__exit__)  # when it ends within a test
        cls.driver, cls.script = cls.browser.driver, cls.browser.script

    @classmethod
    def tearDownClass(cls):
        folder = cls.browser.folder
        atexit.unregister(cls.browser.__exit__)
        cls.browser.__exit__()
        assert not os.path.exists(folder)

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.most_elements = MOST_ELEMENTS
        self.browser.look(1300, 760)
        for log in ("browser", "performance"):
            self.driver.get_log(log)

    def tearDown(self):
        """No page writes to the console, asks the network for anything, or grows."""
        self.addCleanup(self.folder.cleanup)
        self.assertEqual(self.driver.get_log("browser"), [])
        for entry in self.driver.get_log("performance"):
            message = json.loads(entry["message"])["message"]
            if message["method"] == "Network.requestWillBeSent":
                url = message["params"]["request"]["url"]
                self.assertRegex(url, "^(about:blank|blob:.*|file://%s/.*)$" % self.folder.name)
        self.assert_small()

    # ---- helpers

    def convert(self, file, kind):
        out = os.path.join(self.folder.name, "out." + kind)
        subprocess.run([PROGRAM, "convert", file, "-o", out], stderr=subprocess.DEVNULL)
        return out

    def net(self, file):
        with open(self.convert(file, "json"), encoding="utf-8") as json_file:
            return json.load(json_file)

    def open(self, file):
        self.browser.open(self.convert(file, "html"))

    def open_sample(self, *path):
        self.open(os.path.join(SAMPLES, *path))

    def write(self, text, name="made.net"):
        path = os.path.join(self.folder.name, name)
        with open(path, "w", encoding="utf-8") as out:
            out.write(text)
        return path

    def id(self, name):
        return self.driver.find_element("id", name)

    def button(self, text, within="body"):
        return self.driver.find_element("xpath", "//%s//button[normalize-space()='%s']" % (within, text))

    def texts(self, selector):
        return self.script("return [...document.querySelectorAll(arguments[0])]"
                           ".map((e) => e.textContent)", selector)

    def rows(self, index=0):
        """The cells of a table in the details, by rows."""
        self.frame()
        return self.script("return [...document.querySelectorAll('#details table')[arguments[0]]"
                           ".rows].map((r) => [...r.cells].map((c) => c.textContent))", index)

    def frame(self):
        """Waits until what was asked to be drawn is."""
        self.driver.execute_async_script(
            "const done = arguments[0]; requestAnimationFrame(() => requestAnimationFrame(() => setTimeout(done)));")

    def heading(self):
        return self.texts("#details h2")[0]

    def focused(self):
        return self.driver.switch_to.active_element

    def focused_id(self):
        return self.focused().get_attribute("id")

    def keys(self, *keys):
        ActionChains(self.driver).send_keys(*keys).perform()

    def select(self, name):
        self.script("select(nodes.findIndex((n) => n.name === arguments[0]), 'list')", name)
        self.frame()

    def place_of(self, name, dy=0):
        """Where the node is on the page."""
        return self.script(
            "const [x, y] = boxes[nodes.findIndex((n) => n.name === arguments[0])];"
            "const box = canvas.getBoundingClientRect();"
            "return [box.left + (x - view.x) * view.zoom,"
            "        box.top + (y + arguments[1] - view.y) * view.zoom].map(Math.round)", name, dy)

    def click_at(self, x, y):
        chain = ActionChains(self.driver)
        chain.w3c_actions.pointer_action.move_to_location(x, y)
        chain.w3c_actions.pointer_action.click()
        chain.perform()

    def view(self):
        return self.script("return [view.x, view.y, view.zoom]")

    def beliefs(self, evidence):
        """Sets the evidence, and gives what the page then believes, by the nodes' names."""
        self.script("evidence.clear(); for (const [name, state] of Object.entries(arguments[0]))"
                    " evidence.set(nodes.findIndex((n) => n.name === name), state); evidenceChanged();", evidence)
        self.browser.settled()
        return self.script(
            "return {possible: beliefs.possible, log: beliefs.log, nodes: beliefs.possible ? Object.fromEntries("
            "nodes.map((n, i) => [n.name, beliefOf(i) && [...beliefOf(i)]])) : {}, values: Object.fromEntries("
            "[...expectations].map(([i, values]) => [nodes[i].name, values[0]]))}")

    def saved(self, pattern):
        """The content of a file that the page saved."""
        for _ in range(1500):
            found = [name for name in glob.glob(os.path.join(self.browser.folder, pattern)) if os.path.getsize(name)]
            if found:
                with open(found[0], "rb") as file:
                    content = file.read()
                os.remove(found[0])
                return content
            time.sleep(0.02)
        self.fail("not saved: " + pattern)

    def assert_small(self):
        count = self.script("return document.querySelectorAll('*').length")
        self.assertLess(count, self.most_elements)


def main():
    if not (os.path.exists(CHROMIUM) and os.path.exists(DRIVER)):
        sys.exit(77)
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
