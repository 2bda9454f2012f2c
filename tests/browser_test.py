"""The HTML report in a real browser: what a person does with mouse, fingers and keyboard, that texts
of a file stay texts, that the page stays small with large nets, and that its numbers are right.

Arguments: the program lumo-import and the folder of samples. Ends with 77 (skipped) where the
browser or its driver is not installed.
"""
import atexit
import base64
import csv
import glob
import io
import json
import math
import os
import random
import subprocess
import sys
import tempfile
import time
import unittest

try:
    import numpy
    from selenium.webdriver.common.action_chains import ActionChains
    from selenium.webdriver.common.keys import Keys

    from browser import CHROMIUM, DRIVER, Browser
except ImportError:
    sys.exit(77)

MOST_ELEMENTS = 1500  # of a page, whatever the net

HOSTILE = [
    "<script>document.title='owned'</script>",
    "<img src=x onerror=\"document.title='owned'\">",
    "</script><script>document.title='owned'</script>",
    "\" onfocus=\"document.title='owned'\" autofocus x=\"",
    "]]>--><!--",
    "&lt;b&gt;&amp;",
    "javascript:document.title='owned'",
    "__proto__",
    "${document.title='owned'}",
    "turned \u202eexe.net",
]


# ---- Nets to look at


def hugin_text(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def hostile_net():
    parts = ["net\n{\n HR_Desc = %s;\n}\n" % hugin_text(HOSTILE[0])]
    for i, text in enumerate(HOSTILE):
        quoted = hugin_text(text)
        parts.append("node n%d\n{\n label = %s;\n HR_Desc = %s;\n my_field = %s;\n"
                     " position = (%d %d);\n states = (%s \"other\");\n bad field %s;\n}\n"
                     "potential ( n%d )\n{\n data = (0.5 0.5);\n}\n"
                     % (i, quoted, quoted, quoted, i % 3 * 200, i // 3 * 100, quoted, quoted, i))
    return "".join(parts)


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


def large_net(count):
    """A net in a grid of long names, with one node of 100,000 rows and 30 states."""
    side = int(count ** 0.5) + 1
    parts = ["net\n{\n}\n"]
    for i in range(count - 1):
        parts.append(node_text("n%d" % i, 10 if i < 5 else 2, " label = \"Number %d\";\n position = (%d %d);\n"
                               % (i, i % side * 130, i // side * 70)))
    parts.append(node_text("n%d" % (count - 1), 30, " label = \"Number %d\";\n" % (count - 1)))
    for i in range(5, count - 1):
        parts.append("potential ( n%d | n%d )\n{\n data = (0.1 0.9 0.7 0.3);\n}\n" % (i, max(5, i // 2 + 5)))
    row = " ".join(["0"] * 28)
    data = " ".join("%g %g %s" % (r / 1e5, 1 - r / 1e5, row) for r in range(100000))
    parts.append("potential ( n%d | n0 n1 n2 n3 n4 )\n{\n data = (%s);\n}\n" % (count - 1, data))
    return "".join(parts)


def random_net(chance):
    """A net of at most 15 nodes, some of them decisions, utilities, or without a table."""
    count = chance.randint(3, 15)
    states = [chance.choice((1, 2, 2, 2, 3)) for _ in range(count)]
    parts, tables = ["net\n{\n}\n"], []
    for i in range(count):
        kind = chance.choice(("node",) * 12 + ("decision",))
        parents = chance.sample(range(i), min(i, chance.randint(0, 3)))
        parts.append(node_text("n%d" % i, states[i], kind=kind))
        rows = math.prod(states[p] for p in parents)
        if kind == "node" and chance.random() < 0.95:
            numbers = [p for _ in range(rows) for p in distribution(states[i], chance)]
            tables.append(potential_text("n%d" % i, ["n%d" % p for p in parents], numbers))
    parents = chance.sample(range(count), 2)
    rows = math.prod(states[p] for p in parents)
    parts.append("utility u\n{\n}\n")
    tables.append(potential_text("u", ["n%d" % p for p in parents],
                                 [chance.randint(-9, 9) for _ in range(rows)]))
    return "".join(parts + tables)


def grid_net(side):
    """Binary nodes in a square, each below and beside others: its cliques grow with the side."""
    parts, tables = ["net\n{\n}\n"], []
    for y in range(side):
        for x in range(side):
            parents = [name for name, there in (("x%dy%d" % (x - 1, y), x), ("x%dy%d" % (x, y - 1), y)) if there]
            parts.append(node_text("x%dy%d" % (x, y), 2))
            tables.append(potential_text("x%dy%d" % (x, y), parents, [0.3, 0.7] * 2 ** len(parents)))
    return "".join(parts + tables)


def enumerated(net, evidence):
    """Distributions and expectations by the sum over every combination of the nodes' states."""
    nodes = [node for node in net["nodes"] if node["states"]]
    axis = {node["name"]: i for i, node in enumerate(nodes)}
    shape = [len(node["states"]) for node in nodes]

    def spread(names, table):
        order = sorted(range(len(names)), key=lambda i: axis[names[i]])
        table = numpy.transpose(table, order)
        return table.reshape([shape[i] if nodes[i]["name"] in names else 1 for i in range(len(nodes))])

    joint = numpy.ones(shape)
    for node in nodes:
        states, names = len(node["states"]), node["parents"] + [node["name"]]
        told = node["kind"] == "nature" and node["relation"]["table"]
        if told:
            rows = numpy.array(told).reshape(-1, states)
            table = (rows / rows.sum(1, keepdims=True)).reshape([shape[axis[name]] for name in names])
        else:
            names, table = [node["name"]], numpy.full(states, 1 / states)
        joint = joint * spread(names, table)
        if node["name"] in evidence:
            joint = joint * spread([node["name"]], numpy.eye(states)[evidence[node["name"]]])
    total = joint.sum()
    beliefs = {node["name"]: joint.sum(tuple(i for i in range(len(nodes)) if i != axis[node["name"]])) / total
               for node in nodes} if total > 0 else {}
    values = {node["name"]: (joint * spread(node["parents"], numpy.array(node["relation"]["table"]).reshape(
        [shape[axis[name]] for name in node["parents"]]))).sum() / total
        for node in net["nodes"] if node["kind"] == "utility"} if total > 0 else {}
    return total, beliefs, values


# ---- The tests


class Report(unittest.TestCase):
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

    # ---- Reading a net

    def test_click_shows_the_node_with_its_whole_table(self):
        sample = os.path.join(SAMPLES, "hugin", "asia.net")
        net = self.net(sample)["net"]
        self.open(sample)
        title = {node["name"]: node["title"] for node in net["nodes"]}
        for node in net["nodes"]:
            self.click_at(*self.place_of(node["name"]))
            self.assertEqual(self.heading(), node["title"])
            rows = self.rows()
            parents = node["parents"]
            self.assertEqual(rows[0][:len(parents)], [title[p] for p in parents])
            if node["relation"]["kind"] == "deterministic":
                self.assertEqual([row[-1] for row in rows[1:]], ["yes", "yes", "yes", "no"])
            else:
                numbers = [float(cell) for row in rows[1:] for cell in row[len(parents):]]
                self.assertEqual(numbers, node["relation"]["table"])
            expected = [["yes", "no"][row >> (len(parents) - 1 - i) & 1]
                        for row in range(2 ** len(parents)) for i in range(len(parents))]
            heads = [cell for row in rows[1:] for cell in row[:len(parents)]]
            self.assertEqual(heads, expected)
            self.assertTrue(self.driver.current_url.endswith("#" + node["name"]))
        self.click_at(*self.place_of("dysp", 60))
        self.assertEqual(self.heading(), "asia")
        self.driver.back()  # to the last node, and the one before
        self.driver.back()
        self.assertEqual(self.heading(), title[net["nodes"][-2]["name"]])
        self.driver.forward()
        self.assertEqual(self.heading(), title[net["nodes"][-1]["name"]])

    def test_real_and_noisy_max_tables(self):
        find = "select(nodes.findIndex((n) => n.relation.%s), 'list')"
        self.open_sample("hugin", "umbrella.net")
        self.script(find % "kind === 'real'")
        self.assertEqual(self.rows()[0][-1], "value")
        self.open_sample("dxpress", "alarm-bell.dxp")
        self.script(find % "kind === 'noisy-max'")
        rows = self.rows()
        causes = self.script("return nodes[selected].parents.map((p) => nodes[p]).flatMap("
                             "(p) => p.states.slice(1).map(() => titleOf(p)))")
        self.assertEqual(rows[0][:2], ["cause", "state"])
        self.assertEqual([row[0] for row in rows[1:]], causes + ["leak"])
        sums = [sum(map(float, row[2:])) for row in rows[1:]]
        self.assertTrue(all(abs(total - 1) < 1e-6 for total in sums), sums)

    def test_keyboard_alone(self):
        self.open_sample("hugin", "asia.net")
        order = []
        for _ in range(10):
            self.keys(Keys.TAB)
            order.append(self.focused_id())
            self.assertNotEqual(self.focused().value_of_css_property("outline-style"), "none")
        self.assertEqual(order, ["save-svg", "save-png", "help", "theme", "canvas", "beliefs", "closer", "farther", "fit", "layout"])
        # The list; a state is found too.
        self.keys("/")
        self.assertEqual(self.focused_id(), "search")
        self.keys("cancer", Keys.ARROW_DOWN)
        self.assertEqual(self.focused_id(), "list")
        self.assertEqual(len(self.texts("#rows .row")), 2)
        self.keys(Keys.ARROW_DOWN, Keys.ENTER)
        self.assertEqual(self.focused_id(), "heading")
        self.assertEqual(self.heading(), "Tuberculosis or cancer?")
        # Relatives: the rest is dimmed.
        for key, relatives in (("p", "lung tub"), ("c", "xray dysp"), ("b", "lung tub xray dysp bronc"),
                               ("a", "lung tub smoke asia"), ("d", "xray dysp")):
            self.keys(key)
            self.assertEqual(self.script("return [...lit].map((i) => nodes[i].name).sort()"),
                             sorted(relatives.split() + ["either"]))
            self.keys(key)
            self.assertIsNone(self.script("return lit"))
        # The panel fills the window, and is narrow again.
        widths = [self.id("details").size["width"]]
        for _ in range(3):
            self.keys("w")
            widths.append(self.id("details").size["width"])
        self.assertLess(widths[0] + 200, widths[1])
        self.assertGreater(widths[2], 1250)
        self.assertEqual(widths[3], widths[0])
        for name in ("tub", "either"):  # selected while the picture is hidden
            self.script("widen('full')")
            self.select(name)
        self.script("widen('')")
        self.frame()
        self.assertTrue(all(map(math.isfinite, self.view())))
        self.keys("3", "t")
        self.assertEqual([row[0] for row in self.rows()], ["Lung cancer?", "Tuberculosis?", "state"])
        self.keys(Keys.ESCAPE)
        self.assertEqual(self.focused_id(), "list")
        self.keys(Keys.ESCAPE)
        self.assertEqual(self.heading(), "asia")
        # The picture: from Smoker? down to a child, by what is drawn.
        self.select("smoke")
        self.keys("2", Keys.ARROW_DOWN)
        self.assertIn(self.heading(), ("Lung cancer?", "Bronchitis?"))
        self.keys(Keys.ENTER)
        self.assertEqual(self.focused_id(), "heading")
        # Evidence: the first bar after the buttons for relatives.
        self.keys(*[Keys.TAB] * 6, Keys.ENTER)
        self.browser.settled()
        self.assertEqual(self.focused().get_attribute("aria-pressed"), "true")
        self.assertEqual(self.texts("#distribution .part"), ["100%", "0%"])
        self.keys("x")
        self.browser.settled()
        self.assertEqual(self.focused().get_attribute("aria-pressed"), "false")
        self.keys(Keys.ESCAPE)
        self.assertEqual(self.focused_id(), "canvas")
        fitted = self.view()
        self.keys("+")
        self.assertGreater(self.view()[2], fitted[2])
        before = self.view()[0]
        ActionChains(self.driver).key_down(Keys.SHIFT).send_keys(Keys.ARROW_RIGHT).key_up(Keys.SHIFT).perform()
        self.assertGreater(self.view()[0], before)
        self.keys("0")
        self.assertEqual(self.view(), fitted)
        self.keys("?")
        self.assertIn("Markov blanket, the rest dimmed", self.texts("#keys td"))
        self.keys(Keys.ESCAPE, Keys.ESCAPE)
        self.assertEqual(self.heading(), "asia")

    def test_pointers_pan_and_zoom(self):
        self.open_sample("hugin", "asia.net")
        fitted = self.view()
        ActionChains(self.driver).move_to_element(self.id("canvas")).click_and_hold() \
            .move_by_offset(80, 40).release().perform()
        moved = self.view()
        self.assertAlmostEqual((fitted[0] - moved[0]) * moved[2], 80, delta=1)
        self.assertAlmostEqual((fitted[1] - moved[1]) * moved[2], 40, delta=1)
        self.id("closer").click()
        self.assertGreater(self.view()[2], fitted[2])
        self.id("fit").click()
        self.assertEqual(self.view(), fitted)
        places = "return nodes.map((n) => n.at)"
        own = self.script(places)
        self.id("layout").click()
        self.assertNotEqual(self.script(places), own)
        self.assertEqual(self.id("layout").get_attribute("aria-pressed"), "true")
        self.keys("l")
        self.assertEqual((self.script(places), self.view()), (own, fitted))
        for kind, apart in (("touchStart", 50), ("touchMove", 60), ("touchMove", 100)):  # two fingers
            self.browser.command("Input.dispatchTouchEvent", type=kind, touchPoints=[
                {"x": 600 - apart, "y": 400, "id": 1}, {"x": 600 + apart, "y": 400, "id": 2}])
        self.browser.command("Input.dispatchTouchEvent", type="touchEnd", touchPoints=[])
        self.assertAlmostEqual(self.view()[2] / fitted[2], 2, delta=0.05)
        self.assertEqual(self.heading(), "asia")

    def test_everything_to_operate_has_a_name(self):
        self.open_sample("hugin", "damaged.net")
        self.script("select(1, 'list'); document.querySelectorAll('summary').forEach((s) => s.click())")
        self.frame()
        for element in self.driver.find_elements(
                "css selector", "button, input, canvas:not([hidden]), summary, [tabindex='0'], [role=option]"):
            if element.is_displayed():
                self.assertTrue(element.accessible_name, element.get_attribute("outerHTML"))

    # ---- Widths and colours

    def test_every_width_shows_all_parts(self):
        sample = os.path.join(SAMPLES, "hugin", "damaged.net")
        measure = """
            const parts = ['header', '#picture', '#tabs', '#nodes', '#details', '#problems'].map((name) => {
                const {x, y, width, height} = document.querySelector(name).getBoundingClientRect();
                return {name, x, y, width, height};
            });
            return [parts.filter((part) => part.width > 0), document.documentElement.scrollWidth];"""
        colors = """
            const light = (color) => {
                const [r, g, b] = color.match(/[0-9.]+/g).map((c) => (c / 255 <= 0.04045 ? c / 255 / 12.92 : ((c / 255 + 0.055) / 1.055) ** 2.4));
                return 0.2126 * r + 0.7152 * g + 0.0722 * b;
            };
            const under = light(getComputedStyle(byId('details')).backgroundColor);
            return [...document.querySelectorAll('#details h2, #details h3, #details .faint, #details strong, #details button.link')].map((e) => {
                const own = light(getComputedStyle(e).color);
                return (Math.max(own, under) + 0.05) / (Math.min(own, under) + 0.05);
            });"""
        page = self.convert(sample, "html")
        canvases = set()
        for dark in (False, True):
            self.browser.look(1300, 760, dark)
            self.browser.open(page)
            for width, height in ((360, 740), (400, 800), (768, 1024), (900, 700), (1280, 800), (1920, 1000)):
                with self.subTest(width=width, dark=dark):
                    self.browser.look(width, height, dark)
                    self.script("select(1, 'list')")
                    seen = set()
                    for tab in ("problems", "nodes", "details"):
                        if width <= 900:
                            self.id("tab-" + tab).click()
                        self.frame()
                        parts, scrolled = self.script(measure)
                        self.assertLessEqual(scrolled, width)
                        seen |= {part["name"] for part in parts}
                        for i, a in enumerate(parts):
                            self.assertGreaterEqual(a["x"], 0)
                            self.assertLessEqual(a["x"] + a["width"], width + 0.5, a)
                            self.assertLessEqual(a["y"] + a["height"], height + 0.5, a)
                            if a["name"] in ("#picture", "#nodes", "#details"):
                                self.assertGreaterEqual(a["height"], 240, a)
                            for b in parts[:i]:
                                apart = a["x"] >= b["x"] + b["width"] or b["x"] >= a["x"] + a["width"] or \
                                    a["y"] >= b["y"] + b["height"] - 0.5 or b["y"] >= a["y"] + a["height"] - 0.5
                                self.assertTrue(apart, (a, b))
                    self.assertTrue({"#picture", "#nodes", "#details", "#problems"} <= seen, seen)
                    self.assertGreaterEqual(min(self.script(colors)), 4.5)
            canvases.add(self.script("return getComputedStyle(document.body).backgroundColor + colors.canvas"))
            self.id("theme").click()
            canvases.add(self.script("return getComputedStyle(document.body).backgroundColor + colors.canvas"))
        self.assertEqual(len(canvases), 2)  # the button gives what the system's setting gives

    # ---- Tables

    def test_a_wide_table_is_read(self):
        chance = random.Random(3)
        states, parents = 40, ["a", "b"]
        numbers = [p for _ in range(36) for p in distribution(states, chance)]
        self.open(self.write("net\n{\n}\n" + node_text("a", 6) + node_text("b", 6) + node_text("c", states)
                             + potential_text("c", parents, numbers), "wide.net"))
        table = self.net(os.path.join(self.folder.name, "wide.net"))["net"]["nodes"][2]["relation"]["table"]
        self.select("c")
        self.script("document.querySelector('.grid').scrollTo(1e6, 1e6)")
        rows = self.rows()
        self.assertEqual(rows[0][:2] + rows[0][-1:], ["a", "b", "s39"])  # the heads stay
        self.assertEqual(rows[-1][:2] + [float(rows[-1][-1])], ["s5", "s5", table[-1]])
        seen = self.script("""
            const grid = document.querySelector('.grid');
            grid.scrollIntoView({block: 'end'});
            const {left, top} = grid.getBoundingClientRect();
            const at = (x, y) => document.elementFromPoint(left + x, top + y).textContent;
            return [at(10, 10), at(10, grid.clientHeight - 10), at(grid.clientWidth - 10, 10)];""")
        self.assertEqual(seen, ["a", "s5", "s39"])
        bars = self.script("return [...document.querySelectorAll('.grid tbody tr:last-child td')].map("
                           "(e) => parseFloat(getComputedStyle(e).backgroundSize) / 100)")
        for bar, number in zip(bars, rows[-1][2:]):
            self.assertAlmostEqual(bar, float(number), places=4)
        again = self.script("return [...document.querySelectorAll('.grid tbody tr')].map((r) => r.cells[0].className)")
        self.assertGreater(again.count("again"), again.count(""))  # rows group by the first parent
        # By a state, downwards and upwards.
        self.button("s39").click()
        self.script("document.querySelector('.grid').scrollTo(1e6, 0)")
        self.assertEqual(float(self.rows()[1][-1]), max(table[39::40]))
        self.button("s39").click()
        self.assertEqual(float(self.rows()[1][-1]), min(table[39::40]))
        self.button("s39").click()
        # Out of the page.
        expected = [["a", "b"] + ["s%d" % s for s in range(states)]] + [
            ["s%d" % (r // 6), "s%d" % (r % 6)] + table[r * states:(r + 1) * states] for r in range(36)]
        self.script("navigator.clipboard.writeText = async (text) => { window.copied = text; }")
        for label, separator in (("Copy CSV", ","), ("Copy TSV", "\t")):
            self.button(label).click()
            read = list(csv.reader(io.StringIO(self.script("return window.copied")), delimiter=separator))
            self.assertEqual([row[:2] + [float(cell) for cell in row[2:]] for row in read[1:]], expected[1:])
            self.assertEqual(read[0], expected[0])
        self.button("Download").click()
        self.assertEqual(self.saved("c.csv").decode().count("\n"), 37)
        self.button("Transpose").click()
        rows = self.rows()
        self.assertEqual([row[0] for row in rows[:4]], ["a", "b", "s0", "s1"])
        self.assertEqual(float(rows[3][2]), table[states + 1])

    def test_a_large_net_keeps_the_page_small(self):
        count = 3000
        self.open(self.write(large_net(count)))
        self.assertEqual(self.id("found").text, "3,000 nodes")
        self.assertTrue(self.script("return byId('map').hidden"))
        self.assert_small()
        self.id("list").click()
        self.id("list").send_keys(Keys.END, Keys.ENTER)
        self.assertEqual(self.heading(), "Number 2999")
        self.assert_small()
        self.keys("w", "w")
        self.assertEqual(self.rows()[1][:7], ["s0"] * 5 + ["0", "1"])
        # 100,000 rows are scrolled through: every frame has all its rows, and they are few.
        frames, most = self.driver.execute_async_script("""
            const grid = document.querySelector('.grid'), done = arguments[0];
            let most = 0, frames = 0;
            const step = () => {
                const rows = [...grid.querySelectorAll('tbody tr')];
                const {top, bottom} = grid.getBoundingClientRect(), last = rows[rows.length - 1].getBoundingClientRect();
                const full = rows[0].getBoundingClientRect().top <= top + 25 && last.bottom >= top + grid.clientHeight - 1;
                if (!full) return done([-1, frames]);
                most = Math.max(most, rows.length);
                grid.scrollTop += frames < 30 ? 37 : 60000;
                if (++frames < 80) requestAnimationFrame(() => requestAnimationFrame(step)); else done([frames, most]);
            };
            step();""")
        self.assertEqual(frames, 80, most)
        self.assertLess(most, 60)
        self.assertEqual(self.rows()[-1][:6], ["s9"] * 5 + ["0.99999"])
        self.assert_small()
        self.keys("w", "/", "number 123")
        self.assertEqual(self.id("found").text, "11 of 3,000 nodes")
        # What the keyboard selects is in view, and a click finds it there; the map shows where.
        self.keys(Keys.ENTER)
        self.assertEqual(self.heading(), "Number 123")
        self.frame()
        self.assertFalse(self.script("return byId('map').hidden"))
        self.script("select(-1, 'picture')")
        self.click_at(*self.place_of("n123"))
        self.assertEqual(self.heading(), "Number 123")
        self.click_at(*self.script("const box = byId('map').getBoundingClientRect(); return [box.left + 20, box.top + 20]"))
        self.assertLess(self.script("return (view.x - frame.left) / frame.width"), 0.3)

    # ---- Distributions

    def test_inference_agrees_with_enumeration(self):
        chance = random.Random(11)
        impossible = 0
        for _ in range(8):
            path = self.write(random_net(chance))
            net = self.net(path)["net"]
            self.open(path)
            named = [node for node in net["nodes"] if node["states"]]
            for observed in (0, 1, 2, 4):
                chosen = chance.sample(named, min(observed, len(named)))
                evidence = {node["name"]: chance.randrange(len(node["states"])) for node in chosen}
                got = self.beliefs(evidence)
                total, beliefs, values = enumerated(net, evidence)
                self.assertEqual(got["possible"], total > 0)
                impossible += total == 0
                if total > 0:
                    self.assertAlmostEqual(math.exp(got["log"]), total, delta=1e-9)
                for name, belief in beliefs.items():
                    numpy.testing.assert_allclose(got["nodes"][name], belief, atol=1e-9)
                for name, value in values.items():
                    self.assertAlmostEqual(got["values"][name], value, places=9)

    def test_asia_as_published(self):
        self.open_sample("hugin", "asia.net")
        prior = {"asia": 0.01, "tub": 0.0104, "smoke": 0.5, "lung": 0.055, "bronc": 0.45,
                 "either": 0.064828, "xray": 0.11029, "dysp": 0.43597}
        for name, p in prior.items():
            self.assertAlmostEqual(self.beliefs({})["nodes"][name][0], p, places=5)
        # Set and taken back where a person does: in the panel, in the picture, at the picture's edge.
        self.select("dysp")
        self.driver.find_element("css selector", "#distribution .bar").click()
        self.browser.settled()
        self.select("lung")
        self.assertEqual(self.texts("#distribution .part"), ["10.3%", "89.7%"])
        self.id("beliefs").click()
        self.script("fit()")
        self.frame()
        bar = self.script("return 18 - boxes[0][3] + barHeight / 2")
        self.click_at(*self.place_of("smoke", bar + self.script("return barHeight")))
        self.browser.settled()
        self.assertEqual(self.script("return [...evidence]"), [[7, 0], [2, 1]])
        self.assertEqual(self.heading(), "Lung cancer?")
        self.click_at(*self.place_of("smoke", bar + self.script("return barHeight")))
        self.driver.find_element("css selector", "#evidence .chip").click()
        self.browser.settled()
        self.assertEqual(self.texts("#distribution .part"), ["5.5%", "94.5%"])
        self.beliefs({"either": 1, "tub": 0})
        self.assertIn("This evidence is impossible", self.texts("#evidence .error")[0])

    def test_what_is_taken_for_what_is_said(self):
        self.open(self.write("net\n{\n}\n" + node_text("d", 2, kind="decision") + node_text("z", 3) + node_text("y", 2)
                             + potential_text("y", ["d"], [0, 0, 0.25, 0.75]) + "utility u\n{\n}\n"
                             + potential_text("u", ["d"], [10, -4])))
        said = " ".join(self.texts("#distribution p"))
        for part in ("1 decision is taken as uniform.", "1 node without a table here is taken as uniform.",
                     "1 row of zeros is taken as uniform."):
            self.assertIn(part, said)
        for name, text in (("u", "Expected value: 3"), ("d", "A decision: taken as uniform."),
                           ("z", "No table here: taken as uniform.")):
            self.select(name)
            self.assertEqual(self.texts("#distribution p"), [text])
        self.open(self.write(grid_net(25)))
        self.assertRegex(self.texts("#distribution p")[0], "needs a table of (more than )?[0-9,]+ entries")
        self.assertFalse(self.id("beliefs").is_enabled())

    # ---- Problems, paper, files

    def test_problems_show_their_line_and_lead_to_their_node(self):
        sample = os.path.join(SAMPLES, "hugin", "damaged.net")
        reports = self.net(sample)["reports"]
        with open(sample, encoding="latin-1") as file:
            lines = file.read().split("\n")
        self.open(sample)
        self.assertTrue(self.id("facts").text.startswith("damaged.net, hugin"))
        self.assertEqual(self.texts("#problems li"), [])
        kinds = self.texts("#problems > details > summary")
        self.assertEqual(len(kinds), len({r["number"] for r in reports if r["kind"] != "notice"}) + 1)
        self.assertEqual(kinds[-1], "1 harmless")
        for _ in range(2):
            self.script("document.querySelectorAll('#problems details:not([open]) > summary').forEach((s) => s.click())")
            self.frame()
        items = self.texts("#problems li")
        self.assertEqual(len(items), len(reports))
        shown = {source.split("\n")[0]: len(source.split("\n")[1]) for source in self.texts("#problems li pre")}
        for report in reports:
            self.assertTrue(any(report["message"] in item for item in items))
            if report["line"]:
                self.assertEqual(shown[lines[report["line"] - 1].replace("\t", " ")], report["column"])
        self.assertTrue(any("Write name = value;." in text for text in self.texts("#problems .cure")))
        self.driver.find_element("css selector", "#problems li button.link").click()
        self.assertEqual(self.focused_id(), "heading")
        self.assertEqual(self.heading(), "Valve")
        repeated = "".join("node n%d\n{\n states = (\"a\" \"b\");\n HR_made_up_%d = 1;\n}\n" % (i, i) for i in range(7))
        self.open(self.write("net\n{\n}\n" + repeated))
        self.assertEqual(self.texts("#problems summary"), ["7 harmless"])

    def test_texts_of_the_file_stay_texts(self):
        self.open(self.write(hostile_net()))
        for i, text in enumerate(HOSTILE):
            text = text.replace("\u202e", "\\u202e")  # shown, so that it turns nothing round
            self.script("select(arguments[0], 'list')", i)
            self.assertEqual(self.heading(), text)
            self.assertEqual(self.texts("#details .text"), [text])
            self.frame()
            cells = self.texts("#details th, #details td, #details .bar span")
            self.assertGreaterEqual(cells.count(text), 3)  # column, user field, distribution
            self.id("search").clear()
            self.id("search").send_keys(text)
            self.assertIn(text, self.texts("#rows .row span"))
        self.assertEqual(self.driver.title, "made")
        self.id("save-svg").click()
        self.assertNotIn(b"<img", self.saved("made.svg"))
        self.assertEqual(self.script("return [document.scripts.length, document.images.length,"
                                     "document.querySelectorAll('[onfocus], b').length]"), [3, 0, 0])

    def test_policy_refuses_what_is_not_the_pages_own(self):
        self.open_sample("hugin", "asia.net")
        self.script("const made = document.createElement('script');"
                    "made.textContent = 'window.owned = 1'; document.body.append(made);"
                    "const image = new Image(); image.src = 'other.png'; document.body.append(image);")
        self.assertIsNone(self.script("return window.owned ?? null"))
        refused = self.driver.get_log("browser")
        self.assertTrue(refused and all("Content Security Policy" in e["message"] for e in refused))

    def test_paper_holds_every_table(self):
        states = 200
        numbers = [0.004] * 199 + [0.204]
        tall = [v for r in range(200) for v in (round(0.3 + r / 1000, 3), round(0.7 - r / 1000, 3))]
        self.open(self.write("net\n{\n}\n" + node_text("a", states) + node_text("b", 2)
                             + node_text("c", 3) + node_text("d", 2) + potential_text("a", [], numbers)
                             + potential_text("b", ["a"], tall) + potential_text("c", [], [0.2, 0.3, 0.5])
                             + potential_text("d", ["a", "c"], [0.123, 0.877] * 600)))
        pdf = base64.b64decode(self.browser.command("Page.printToPDF")["data"])
        text = subprocess.run(["pdftotext", "-layout", "-", "-"], input=pdf, stdout=subprocess.PIPE, check=True).stdout.decode()
        self.assertIn("made.net, hugin", text)
        self.assertRegex(text, r"s199 +0\.499 +0\.501")  # the last row of b
        self.assertRegex(text, r"s199 +0\.204")
        self.assertGreater(len([line for line in text.split("\n") if line.split() == ["a", "s0", "s1"]]), 2)  # its head, again
        self.assertIn("600 rows, not printed", text)
        self.assertNotIn("0.877", text)
        for word in ("Transpose", "Fit", "Widen"):
            self.assertNotIn(word, text)
        self.assertEqual(self.script("return byId('print').childElementCount"), 0)

    def test_pictures_are_saved(self):
        self.open_sample("hugin", "umbrella.net")
        self.id("beliefs").click()
        self.id("save-svg").click()
        svg = self.saved("umbrella.svg").decode()
        for text in self.script("return nodes.map(titleOf)") + ["70.0%", "63"]:  # titles, a belief, an expectation
            self.assertIn(">%s<" % text, svg)
        self.id("save-png").click()
        png = self.saved("umbrella.png")
        size = [int.from_bytes(png[at:at + 4], "big") for at in (16, 20)]
        frame = self.script("return [frame.width, frame.height].map((n) => Math.ceil(n * 2))")
        self.assertEqual((png[:4], size), (b"\x89PNG", frame))

    def test_nothing_read_shows_why(self):
        self.open(self.write("what is this?", "made.txt"))
        self.assertEqual(self.heading(), "Nothing could be read")
        self.assertEqual(len(self.texts("#problems summary")), 1)
        self.assertEqual(self.id("title").text, "made.txt")


if __name__ == "__main__":
    PROGRAM, SAMPLES = sys.argv[1:3]
    if not (os.path.exists(CHROMIUM) and os.path.exists(DRIVER)):
        sys.exit(77)
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
