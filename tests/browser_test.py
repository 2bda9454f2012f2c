"""The HTML report in a real browser: what a person does with mouse and keyboard, that texts of a
file stay texts, and that the page stays small with large nets.

Arguments: the program lumo-import and the folder of samples. Ends with 77 (skipped) where the
browser or its driver is not installed.
"""
import json
import os
import subprocess
import sys
import tempfile
import unittest

try:
    from selenium import webdriver
    from selenium.webdriver.common.action_chains import ActionChains
    from selenium.webdriver.common.keys import Keys
except ImportError:
    sys.exit(77)

CHROMIUM, DRIVER = "/usr/bin/chromium", "/usr/bin/chromedriver"
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
]


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


def large_net(count):
    """A net in a grid, with one node of 12 parents: a table of 4,096 rows."""
    side = int(count ** 0.5) + 1
    parts = ["net\n{\n}\n"]
    for i in range(count):
        parts.append("node n%d\n{\n label = \"Number %d\";\n position = (%d %d);\n"
                     " states = (\"yes\" \"no\");\n}\n" % (i, i, i % side * 130, i // side * 70))
    for i in range(1, count - 1):
        parts.append("potential ( n%d | n%d )\n{\n data = (0.1 0.9 0.7 0.3);\n}\n" % (i, i // 2))
    parents = range(12)
    data = " ".join("%g %g" % (row / 4096, 1 - row / 4096) for row in range(4096))
    parts.append("potential ( n%d | %s )\n{\n data = (%s);\n}\n"
                 % (count - 1, " ".join("n%d" % p for p in parents), data))
    return "".join(parts)


class Report(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        options = webdriver.ChromeOptions()
        options.binary_location = CHROMIUM
        for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--window-size=1300,900",
                         "--disable-dev-shm-usage"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        service = webdriver.chrome.service.Service(DRIVER)
        self.browser = webdriver.Chrome(options=options, service=service)
        self.script = self.browser.execute_script

    def tearDown(self):
        """No page writes to the console, asks the network for anything, or grows."""
        try:
            self.assertEqual(self.browser.get_log("browser"), [])
            for entry in self.browser.get_log("performance"):
                message = json.loads(entry["message"])["message"]
                if message["method"] == "Network.requestWillBeSent":
                    url = message["params"]["request"]["url"]
                    self.assertTrue(url.startswith("file://" + self.folder.name), url)
            self.assert_small()
        finally:
            self.browser.quit()
            self.folder.cleanup()

    # ---- helpers

    def convert(self, file, kind):
        out = os.path.join(self.folder.name, "out." + kind)
        subprocess.run([PROGRAM, "convert", file, "-o", out], stderr=subprocess.DEVNULL)
        return out

    def open(self, file):
        self.browser.get("file://" + self.convert(file, "html"))

    def write(self, text, name="made.net"):
        path = os.path.join(self.folder.name, name)
        with open(path, "w", encoding="utf-8") as out:
            out.write(text)
        return path

    def id(self, name):
        return self.browser.find_element("id", name)

    def texts(self, selector):
        return self.script("return [...document.querySelectorAll(arguments[0])]"
                           ".map((e) => e.textContent)", selector)

    def rows(self, index=0):
        """The cells of a table in the details, by rows."""
        return self.script("return [...document.querySelectorAll('#details table')[arguments[0]]"
                           ".rows].map((r) => [...r.cells].map((c) => c.textContent))", index)

    def heading(self):
        return self.texts("#details h2")[0]

    def focused(self):
        return self.browser.switch_to.active_element

    def keys(self, *keys):
        ActionChains(self.browser).send_keys(*keys).perform()

    def place_of(self, name):
        """Where the node is on the page."""
        return self.script(
            "const node = nodes.find((n) => n.name === arguments[0]);"
            "const box = canvas.getBoundingClientRect();"
            "return [box.left + (node.at[0] - view.x) * view.zoom,"
            "        box.top + (node.at[1] - view.y) * view.zoom].map(Math.round)", name)

    def click_at(self, x, y):
        chain = ActionChains(self.browser)
        chain.w3c_actions.pointer_action.move_to_location(x, y)
        chain.w3c_actions.pointer_action.click()
        chain.perform()

    def assert_small(self):
        count = self.script("return document.querySelectorAll('*').length")
        self.assertLess(count, MOST_ELEMENTS)

    # ---- tests

    def test_click_shows_the_node_with_its_whole_table(self):
        sample = os.path.join(SAMPLES, "hugin", "asia.net")
        with open(self.convert(sample, "json"), encoding="utf-8") as file:
            net = json.load(file)["net"]
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
            self.assertTrue(self.browser.current_url.endswith("#" + node["name"]))
        self.click_at(*[place + 60 for place in self.place_of("dysp")])
        self.assertEqual(self.heading(), "asia")

    def test_real_and_noisy_max_tables(self):
        find = "select(nodes.findIndex((n) => n.relation.%s), 'list')"
        self.open(os.path.join(SAMPLES, "hugin", "umbrella.net"))
        self.script(find % "kind === 'real'")
        self.assertEqual(self.rows()[0][-1], "value")
        self.open(os.path.join(SAMPLES, "dxpress", "alarm-bell.dxp"))
        self.script(find % "kind === 'noisy-max'")
        rows = self.rows()
        causes = self.script("return nodes[selected].parents.map((p) => nodes[p]).flatMap("
                             "(p) => p.states.slice(1).map(() => titleOf(p)))")
        self.assertEqual(rows[0][:2], ["cause", "state"])
        self.assertEqual([row[0] for row in rows[1:]], causes + ["leak"])
        sums = [sum(map(float, row[2:])) for row in rows[1:]]
        self.assertTrue(all(abs(total - 1) < 1e-6 for total in sums), sums)

    def test_keyboard_alone(self):
        self.open(os.path.join(SAMPLES, "hugin", "asia.net"))
        order = []
        for _ in range(6):
            self.keys(Keys.TAB)
            order.append(self.focused().get_attribute("id"))
            self.assertNotEqual(self.focused().value_of_css_property("outline-style"), "none")
        self.assertEqual(order, ["theme", "search", "list", "canvas", "closer", "farther"])
        # The list.
        self.id("search").send_keys("cancer", Keys.ARROW_DOWN)
        self.assertEqual(self.focused().get_attribute("id"), "list")
        self.assertEqual(len(self.texts("#rows .row")), 2)
        self.keys(Keys.ARROW_DOWN, Keys.ENTER)
        self.assertEqual(self.focused().get_attribute("id"), "heading")
        self.assertEqual(self.heading(), "Tuberculosis or cancer?")
        self.keys(Keys.ESCAPE)
        self.assertEqual(self.focused().get_attribute("id"), "list")
        self.keys(Keys.ESCAPE)
        self.assertEqual(self.heading(), "asia")
        # The picture: from Smoker? down to a child, by what is drawn.
        self.script("select(nodes.findIndex((n) => n.name === 'smoke'), 'list'); canvas.focus()")
        self.keys(Keys.ARROW_DOWN)
        self.assertIn(self.heading(), ("Lung cancer?", "Bronchitis?"))
        self.keys(Keys.ENTER)
        self.assertEqual(self.focused().get_attribute("id"), "heading")
        self.keys(Keys.TAB, Keys.ENTER)  # its first parent
        self.assertEqual(self.heading(), "Smoker?")
        self.assertEqual(self.focused().get_attribute("id"), "heading")
        self.keys(Keys.ESCAPE)
        self.assertEqual(self.focused().get_attribute("id"), "canvas")
        fitted = self.script("return view.zoom")
        self.keys("+")
        self.assertGreater(self.script("return view.zoom"), fitted)
        before = self.script("return view.x")
        ActionChains(self.browser).key_down(Keys.SHIFT).send_keys(Keys.ARROW_RIGHT).key_up(
            Keys.SHIFT).perform()
        self.assertGreater(self.script("return view.x"), before)
        self.keys("0")
        self.assertEqual(self.script("return view.zoom"), fitted)
        self.keys(Keys.ESCAPE)
        self.assertEqual(self.heading(), "asia")

    def test_mouse_pans_and_zooms(self):
        self.open(os.path.join(SAMPLES, "hugin", "asia.net"))
        fitted = self.script("return [view.x, view.y, view.zoom]")
        ActionChains(self.browser).move_to_element(self.id("canvas")).click_and_hold() \
            .move_by_offset(80, 40).release().perform()
        moved = self.script("return [view.x, view.y, view.zoom]")
        self.assertAlmostEqual((fitted[0] - moved[0]) * moved[2], 80, delta=1)
        self.assertAlmostEqual((fitted[1] - moved[1]) * moved[2], 40, delta=1)
        self.id("closer").click()
        self.assertGreater(self.script("return view.zoom"), fitted[2])
        self.id("fit").click()
        self.assertEqual(self.script("return [view.x, view.y, view.zoom]"), fitted)

    def test_theme_switch_changes_page_and_picture(self):
        self.open(os.path.join(SAMPLES, "hugin", "asia.net"))
        look = "return [getComputedStyle(document.body).backgroundColor, colors.canvas]"
        light = self.script(look)
        self.assertEqual(self.id("theme").get_attribute("aria-pressed"), "false")
        self.id("theme").click()
        dark = self.script(look)
        self.assertEqual(self.id("theme").get_attribute("aria-pressed"), "true")
        self.assertNotEqual(light[0], dark[0])
        self.assertNotEqual(light[1], dark[1])
        self.id("theme").click()
        self.assertEqual(self.script(look), light)

    def test_everything_to_operate_has_a_name(self):
        self.open(os.path.join(SAMPLES, "hugin", "damaged.net"))
        self.script("select(1, 'list')")
        for element in self.browser.find_elements(
                "css selector", "button, input, canvas, [tabindex='0'], [role=option]"):
            self.assertTrue(element.accessible_name, element.get_attribute("outerHTML"))

    def test_problems_show_their_line_and_lead_to_their_node(self):
        sample = os.path.join(SAMPLES, "hugin", "damaged.net")
        with open(self.convert(sample, "json"), encoding="utf-8") as file:
            reports = json.load(file)["reports"]
        with open(sample, encoding="latin-1") as file:
            lines = file.read().split("\n")
        self.open(sample)
        items = self.texts("#problems li")
        self.assertEqual(len(items), len(reports))
        sources = self.texts("#problems li pre")
        placed = [report for report in reports if report["line"]]
        self.assertEqual(len(sources), len(placed))
        for report, source in zip(placed, sources):
            line, caret = source.split("\n")
            self.assertEqual(line, lines[report["line"] - 1].replace("\t", " "))
            self.assertEqual(len(caret), report["column"])
        for report, item in zip(reports, items):
            self.assertIn(report["message"], item)
        self.assertIn("Write name = value;.", self.texts("#problems li .cure")[2])
        self.browser.find_element("css selector", "#problems li button.link").click()
        self.assertEqual(self.focused().get_attribute("id"), "heading")
        self.assertEqual(self.heading(), "Valve")

    def test_texts_of_the_file_stay_texts(self):
        self.open(self.write(hostile_net()))
        self.assertEqual(len(self.texts("#problems li pre")), len(HOSTILE))
        for i, text in enumerate(HOSTILE):
            self.script("select(arguments[0], 'list')", i)
            self.assertEqual(self.heading(), text)
            self.assertEqual(self.texts("#details .text"), [text])
            cells = self.texts("#details th, #details td")
            self.assertGreaterEqual(cells.count(text), 3)  # column, state, user field
            self.id("search").clear()
            self.id("search").send_keys(text)
            self.assertIn(text, self.texts("#rows .row span"))
        self.assertEqual(self.browser.title, "made")
        self.assertEqual(self.script("return [document.scripts.length, document.images.length,"
                                     "document.querySelectorAll('[onfocus], b').length]"), [2, 0, 0])

    def test_policy_refuses_what_is_not_the_pages_own(self):
        self.open(os.path.join(SAMPLES, "hugin", "asia.net"))
        self.script("const made = document.createElement('script');"
                    "made.textContent = 'window.owned = 1'; document.body.append(made);"
                    "const image = new Image(); image.src = 'other.png'; document.body.append(image);")
        self.assertIsNone(self.script("return window.owned ?? null"))
        refused = self.browser.get_log("browser")
        self.assertTrue(refused and all("Content Security Policy" in e["message"] for e in refused))

    def test_a_large_net_keeps_the_page_small(self):
        count = 5000
        self.open(self.write(large_net(count)))
        self.assertEqual(self.id("found").text, "5,000 nodes")
        self.assert_small()
        self.id("list").click()
        self.id("list").send_keys(Keys.END, Keys.ENTER)
        self.assertEqual(self.heading(), "Number 4999")
        self.assert_small()
        rows = self.rows()
        self.assertEqual(rows[1][-2:], ["0", "1"])
        self.browser.find_element("xpath", "//button[@aria-label='Last Table: rows']").click()
        self.assertEqual(self.rows()[-1][-2], "0.99975586")
        self.assertEqual(self.rows()[-1][:12], ["no"] * 12)
        self.assertEqual(self.focused().text, "First")  # the button used has no more to do
        self.assert_small()
        self.id("search").send_keys("number 123")
        self.assertEqual(self.id("found").text, "11 of 5,000 nodes")
        # What the keyboard selects is in view, and a click finds it there.
        self.keys(Keys.ENTER)
        self.assertEqual(self.heading(), "Number 123")
        self.script("zoomBy(3); bringIntoView(selected); select(-1, 'picture')")
        self.click_at(*self.place_of("n123"))
        self.assertEqual(self.heading(), "Number 123")

    def test_nothing_read_shows_why(self):
        self.open(self.write("what is this?", "made.txt"))
        self.assertEqual(self.heading(), "Nothing could be read")
        self.assertEqual(len(self.texts("#problems li")), 1)


if __name__ == "__main__":
    PROGRAM, SAMPLES = sys.argv[1:3]
    if not (os.path.exists(CHROMIUM) and os.path.exists(DRIVER)):
        sys.exit(77)
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
