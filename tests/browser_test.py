"""The HTML report in a real browser: what a person does with mouse, fingers and keyboard, that texts
of a file stay texts, and that the page stays small with large nets.

Arguments: the program lumo-import and the folder of samples. Ends with 77 (skipped) where the
browser or its driver is not installed.
"""
import base64
import csv
import io
import math
import os
import random
import re
import subprocess
import sys

from report_case import SAMPLES, ReportCase, distribution, hugin_text, main, node_text, potential_text

try:
    from selenium.webdriver.common.action_chains import ActionChains
    from selenium.webdriver.common.keys import Keys
except ImportError:
    sys.exit(77)

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


# How many links end in their node's box, or arrive at it from within.
HEADS = """
    return linkStarts.filter((i) => {
        const end = i + 3 + 2 * links[i + 2], [x, y, w, h] = boxes[links[i + 1]];
        const at = ([a, b]) => Math.max(Math.abs(a - x) / w, Math.abs(b - y) / h);
        return at(links.slice(end - 2, end)) < 0.98 || at(links.slice(end - 4, end - 2)) < 1;
    }).length;"""

# ---- Nets to look at


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


def labelled_net():
    """60 nodes without places, whose labels take more room than there is from afar."""
    chance = random.Random(4)
    words = ["Pressure", "Left valve", "Temperature outside", "pH", "Flow", "Maintenance overdue \U0001f469\u200d\U0001f527"]
    parts = ["net\n{\n}\n"]
    for i in range(60):
        parts.append(node_text("n%d" % i, 3, " label = %s;\n" % hugin_text("%s %d" % (chance.choice(words), i))))
    for i in range(1, 60):
        parents = sorted(chance.sample(range(max(0, i - 12), i), min(i, chance.choice((1, 1, 2)))))
        parts.append("potential ( n%d | %s )\n{\n}\n" % (i, " ".join("n%d" % p for p in parents)))
    return "".join(parts)


# ---- The tests


class Report(ReportCase):
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
        for _ in range(12):
            self.keys(Keys.TAB)
            order.append(self.focused_id())
            self.assertNotEqual(self.focused().value_of_css_property("outline-style"), "none")
        self.assertEqual(order, ["save-svg", "save-png", "share", "help", "theme", "canvas", "beliefs", "strength", "closer", "farther", "fit", "layout"])
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
        for key, found in (("/", "search"), ("1", "list"), ("2", "canvas"), ("4", "problems")):  # what is gone to is seen
            for width in ("wide", "full"):
                self.script("focusDetails(); widen(arguments[0])", width)
                self.keys(key)
                self.assertTrue(self.id(found).is_displayed() and (key == "4" or self.focused_id() == found), (key, width))
                self.script("widen('')")
        # What a key asks is answered where it is seen.
        self.browser.look(1000, 500)
        self.select("dysp")
        self.keys("i")
        self.driver.execute_async_script("const done = arguments[0], wait = () => (document.querySelector('#answer li') ? done() : setTimeout(wait, 5)); wait();")
        self.frame()
        edges = self.script("return ['answer', 'details'].map((name) => byId(name).getBoundingClientRect()).map(({top, bottom}) => [top, bottom])")
        self.assertTrue(edges[0][0] >= edges[1][0] and edges[0][1] <= edges[1][1] + 1, edges)
        self.browser.look(1300, 760)
        # The picture: from Smoker? down to a child, by what is drawn.
        self.select("smoke")
        self.keys("2", Keys.ARROW_DOWN)
        self.assertIn(self.heading(), ("Lung cancer?", "Bronchitis?"))
        self.keys(Keys.ENTER)
        self.assertEqual(self.focused_id(), "heading")
        # Evidence: the first bar after the buttons for relatives.
        self.keys(*[Keys.TAB] * 7, Keys.ENTER)
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

    def test_state_is_in_the_address_and_travels(self):
        self.open_sample("hugin", "asia.net")
        state = "return [selected < 0 ? '' : nodes[selected].name, [...evidence].map(([i, t]) => [nodes[i].name, t]), inPicture, strength, switched]"
        self.id("beliefs").click()
        self.script("select(7, 'list'); toggleEvidence(7, 0); setEvidence(6, [0.2, 1]); switchLayout()")
        self.driver.find_element("css selector", "#strength option[value=distance]").click()
        made = self.script(state)
        self.assertEqual(made, ["dysp", [["dysp", 0], ["xray", [0.2, 1]]], True, "distance", True])
        self.browser.settled()
        address = self.script("return location.hash")
        self.script("navigator.clipboard.writeText = async (text) => { window.copied = text; }")
        self.keys("k")
        self.button("Copy link", "dialog").click()
        self.assertEqual(self.script("return window.copied"), self.driver.current_url)
        self.button("Save the page", "dialog").click()
        page = self.saved("asia.html")
        self.keys(Keys.ESCAPE)
        # Back, step by step, and forward again.
        steps = [made]
        for _ in range(6):
            self.driver.back()
            self.browser.settled()
            steps.append(self.script(state))
        self.assertEqual(steps[3][1], [["dysp", 0]])
        self.assertEqual(steps[-1], ["", [], False, "", False])
        self.assertEqual(len({str(step) for step in steps}), len(steps))
        for expected in steps[-2::-1]:
            self.driver.forward()
            self.browser.settled()
            self.assertEqual(self.script(state), expected)
        # A view that was chosen is part of it; one that follows from the rest is not.
        self.assertNotIn("view=", self.script("return location.hash"))
        self.id("closer").click()
        self.driver.execute_async_script("setTimeout(arguments[0], settleView + 100)")
        self.assertIn("view=", self.script("return location.hash"))
        seen, link = self.view(), self.driver.current_url
        # The link, and the page that was saved, open as they were.
        believed = self.script("return beliefOf(3)[0]")
        self.driver.get("about:blank")
        self.driver.get(link)
        self.browser.settled()
        self.browser.settled()
        self.assertEqual(self.script(state), made)
        self.assertAlmostEqual(self.script("return beliefOf(3)[0]"), believed, places=12)
        for a, b in zip(self.view(), seen):
            self.assertAlmostEqual(a, b, delta=0.01 * abs(b) + 0.1)
        path = os.path.join(self.folder.name, "saved.html")
        with open(path, "wb") as out:
            out.write(page)
        self.browser.open(path)
        self.browser.settled()
        self.assertEqual([self.script(state), self.script("return location.hash")], [made, address])
        self.id("share").click()
        self.button("Save the page", "dialog").click()
        self.assertEqual(self.saved("asia.html"), page)
        # An address that means nothing here is passed over.
        for text in ("#nobody", "#dysp?evidence=dysp:9;nobody:1;asia:-1;xray:1,2,3;tub:NaN,1&strength=constructor&view=1,2&beliefs", "#%E0%A4?==&&"):
            self.driver.get("about:blank")
            self.driver.get("file://" + path + text)
            self.browser.settled()
            self.assertEqual(self.script("return evidence.size + strength"), "0")

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
            for width, height in ((360, 740), (400, 800), (768, 1024), (900, 700), (1000, 640), (1280, 800), (1920, 1000)):
                with self.subTest(width=width, dark=dark):
                    self.browser.look(width, height, dark)
                    self.assertLess(*self.script("return ['#strength', '#tools'].map((name) => document.querySelector(name)"
                                                 ".getBoundingClientRect()).flatMap((box, i) => i ? box.left : box.right)"))
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

    def test_fingers_and_magnified_pages(self):
        """What fingers touch is 44 pixels wide and high, the picture has half of the screen, the map hides no selected node;
        at four times the size the page is scrolled and nothing lies on another."""
        targets = """
            return [...document.querySelectorAll('button:not(.link):not(.sort), select, input, summary, .row')]
                .filter((e) => e.getClientRects().length > 0).map((e) => [e.textContent.slice(0, 20), e.getBoundingClientRect()])
                .filter(([, box]) => box.width < 44 || box.height < 44).map(([text, {width, height}]) => [text, width, height]);"""
        self.browser.look(360, 740)
        self.open(self.write(large_net(60)))
        self.script("select(50, 'list'); toggleEvidence(50, 0); toggleEvidence(40, 0); toggleEvidence(30, 0)")
        self.browser.settled()
        for tab in ("nodes", "problems", "details"):
            self.id("tab-" + tab).click()
            self.frame()
            self.assertEqual(self.script(targets), [])
        self.assertGreaterEqual(self.id("picture").size["height"], 370)
        for corner in (0, 0.5, 1):  # the selected node goes over the picture's lower edge
            self.script("const [x, y] = boxes[50], {clientWidth: w, clientHeight: h} = canvas;"
                        "moveTo({zoom: 0.8, x: x - (30 + (w - 60) * arguments[0]) / 0.8, y: y - (h - 30) / 0.8})", corner)
            self.frame()
            free = self.script("""
                if (map.hidden) return true;
                const a = map.getBoundingClientRect(), c = canvas.getBoundingClientRect(), [x, y, w, h] = boxes[50];
                const at = [x - w, y - h, x + w, y + h].map((v, i) => (v - (i % 2 ? view.y : view.x)) * view.zoom + (i % 2 ? c.top : c.left));
                return at[0] >= a.right || at[2] <= a.left || at[1] >= a.bottom || at[3] <= a.top;""")
            self.assertTrue(free, corner)
        chips = self.script("const e = byId('evidence'); return [e.scrollWidth > e.clientWidth, getComputedStyle(e).scrollbarWidth]")
        self.assertEqual(chips, [True, "thin"])
        self.browser.look(320, 200)
        self.frame()
        self.assertEqual(self.script("return document.documentElement.scrollWidth"), 320)
        for tab in ("nodes", "problems", "details"):
            self.script("byId(arguments[0]).click()", "tab-" + tab)
            self.frame()
            heights = self.script("return ['picture', arguments[0]].map((name) => byId(name).getBoundingClientRect().height)", tab)
            self.assertGreaterEqual(min(heights), 180)
        apart = self.script("""
            const all = ['shown', 'tools', 'evidence'].map((name) => byId(name).getBoundingClientRect());
            const cross = (a, b) => a.right > b.left && b.right > a.left && a.bottom > b.top && b.bottom > a.top;
            return all.flatMap((a, i) => all.slice(0, i).filter((b) => cross(a, b)).map((b) => [a, b]));""")
        self.assertEqual(apart, [])

    def test_buttons_and_evidence_cover_neither_nodes_nor_names(self):
        covered = """
            const tools = [...document.querySelectorAll('#tools button, #evidence > *, #scene > *')].map((e) => e.getBoundingClientRect()), {left, top} = canvas.getBoundingClientRect();
            const visible = {left: view.x, top: view.y, right: view.x + canvas.clientWidth / view.zoom, bottom: view.y + canvas.clientHeight / view.zoom, zoom: view.zoom};
            const names = namesFor(visible).map(({lines, size, x, y, align}) => {
                const width = Math.max(...lines.map(textUnits)) * size;
                return [x + width * {left: 0.5, center: 0, right: -0.5}[align], y, width / 2, lines.length * size / 2];
            });
            return [...boxes, ...names].filter(([x, y, w, h]) => tools.some((tool) =>
                (x + w - view.x) * view.zoom + left > tool.left && (x - w - view.x) * view.zoom + left < tool.right &&
                (y + h - view.y) * view.zoom + top > tool.top && (y - h - view.y) * view.zoom + top < tool.bottom)).length;"""
        pages = [self.convert(os.path.join(SAMPLES, *path), "html") for path in (("hugin", "asia.net"), ("hugin", "umbrella.net"))]
        pages.append(self.convert(self.write(labelled_net()), "html"))
        for page in pages:
            for size in ((320, 200), (320, 568), (360, 740), (768, 1024), (1280, 800)):
                self.browser.look(*size)
                self.browser.open(page)
                for step in ("", "byId('beliefs').click(); fit()", "picture.insteadOf = 'they are'; showPart(new Set([0, 1])); fit()", "showPart(null); fit(); toggleEvidence(0, 0)"):
                    self.script(step)
                    self.browser.settled()
                    self.frame()
                    self.assertEqual(self.script(covered), 0, (page, size, step))
                    zoom = self.script("return [view.zoom, canvas.clientWidth / frame.width]")
                    if size[1] > 200:
                        self.assertGreater(zoom[0], 0.4 * min(zoom[1], 1))  # the room costs little

    def test_the_systems_own_colours(self):
        self.open_sample("hugin", "umbrella.net")
        own = self.script("return [colors.canvas, colors.text, fillOf(nodes[0])]")
        self.browser.command("Emulation.setEmulatedMedia", features=[{"name": "forced-colors", "value": "active"},
                                                                     {"name": "prefers-color-scheme", "value": "dark"}])
        self.frame()
        used = self.script("return [colors.canvas, colors.text, fillOf(nodes[0])]")
        system = self.script("const e = byId('probe'); return ['Canvas', 'CanvasText'].map((c) => { e.style.color = c; return getComputedStyle(e).color; })")
        self.assertEqual(used, system + system[:1])
        self.assertNotEqual(used, own)
        self.assertFalse(self.id("theme").is_displayed())
        self.script("select(0, 'list')")
        bars = self.script("return [...document.querySelectorAll('.bar')].map((e) => getComputedStyle(e).backgroundImage)")
        self.assertTrue(bars and all("gradient" in image for image in bars), bars)
        self.id("save-svg").click()  # paper stays paper
        self.assertIn(own[2].encode(), self.saved("umbrella.svg"))

    def test_names_from_afar_hide_nothing(self):
        """Every node with room has its name, none over a node or cut at the edge; distributions keep the title and a bar."""
        page = self.convert(self.write(labelled_net()), "html")
        look = """
            const visible = {left: view.x, top: view.y, right: view.x + canvas.clientWidth / view.zoom,
                bottom: view.y + canvas.clientHeight / view.zoom, zoom: view.zoom};
            const names = namesFor(visible), slack = 0.1 / view.zoom;
            const at = names.map(({lines, size, x, y, align}) => {
                const width = Math.max(...lines.map(textUnits)) * size, left = x - width * {left: 0, center: 0.5, right: 1}[align];
                return [left + slack, y - size / 2, left + width - slack, y + size / 2];
            });
            const cross = ([l, t, r, b], [L, T, R, B]) => l < R && r > L && t < B && b > T;
            const nodeBoxes = boxes.map(([x, y, w, h]) => [x - w, y - h, x + w, y + h]);
            return {
                read: isReadable(view.zoom), named: new Set(names.map((name) => name.index)).size,
                rows: nodes.filter((_, i) => inPicture && beliefRows(i, view.zoom) > 0).length,
                small: Math.min(...names.map((name) => name.size * view.zoom)),
                cut: at.filter(([l, t, r, b]) => l < visible.left || r > visible.right || t < visible.top || b > visible.bottom).length,
                over: names.filter((name, i) => name.beside && nodeBoxes.some((box) => cross(box, at[i]))).length,
                crossed: at.filter((a, i) => at.some((b, j) => j < i && cross(a, b))).length,
                without: boxes.filter(([, , w, h], i) => 2 * w * view.zoom > 60 && 2 * h * view.zoom > 12 && !inPicture
                    && !names.some((name) => name.index === i)).length,
                halves: names.flatMap((name) => name.lines).filter((line) => !line.isWellFormed() || line.includes('\u200d…')).length,
            };"""
        for dark, (width, height), least in ((False, (1280, 800), 58), (True, (360, 740), 30)):
            self.browser.look(width, height, dark)
            self.browser.open(page)
            self.frame()
            got = self.script(look)
            self.assertEqual([got[key] for key in ("read", "cut", "over", "crossed", "without", "halves")], [False] + [0] * 5, got)
            self.assertGreaterEqual(got["named"], least)
            self.assertGreaterEqual(got["small"], 7.9)
            self.id("beliefs").click()
            self.frame()
            got = self.script(look)
            self.assertEqual([got[key] for key in ("cut", "over", "crossed")], [0] * 3, got)
            self.assertGreaterEqual(got["named"] + got["rows"], least - 8)
        # The title and the leading states of a node, in letters that can be read, and the click still meets its bar.
        self.browser.look(1280, 800)
        self.browser.open(page)
        self.script("toggleInPicture(); moveTo({...view, zoom: 0.45, x: boxes[5][0] - 400, y: boxes[5][1] - 400})")
        shape = self.script("return beliefShape(5, view.zoom)")
        self.assertTrue(shape["named"] and 1 <= shape["states"] < 3, shape)
        self.assertGreaterEqual(min(shape["title"], shape["letters"]) * 0.45, 7.9)
        below = self.script("setFont(100); const {actualBoundingBoxDescent: g} = pen.measureText('gjpqy');"
                            "return [0.45, 1.2].map((zoom) => { const s = beliefShape(5, zoom); return s.base + g / 100 * s.title - s.top; })")
        self.assertLess(max(below), 0.01)  # letters hang down to the bars, not under them
        self.click_at(*self.place_of("n5", self.script("const s = beliefShape(5, view.zoom); return s.top + s.bar / 2 - boxes[5][3]")))
        self.assertEqual(self.script("return [...evidence.keys()]"), [5])
        # A name stands where it covers no arrow head.
        parts = "net\n{\n}\n"
        for name, x, y in (("a", 0, 0), ("b", 150, 0), ("c", 300, 0), ("p", 150, -150)):
            parts += node_text(name, 2, " label = \"Pressure at %s\";\n position = (%d %d);\n" % (name, x, y))
        self.open(self.write(parts + "potential ( b | p )\n{\n}\n"))
        above = self.script("""
            moveTo({zoom: 0.4, x: boxes[1][0] - 500, y: boxes[1][1] - 300});
            const name = namesFor({left: view.x, top: view.y, right: view.x + 2000, bottom: view.y + 1500, zoom: view.zoom}).find((name) => name.index === 1);
            const tip = links.slice(-2), high = name.size * 0.6;
            return [name.beside, name.align, Math.abs(tip[1] - name.y) < high + picture.arrow[0], tip[1] > boxes[1][1]];""")
        self.assertEqual(above, [True, "center", False, True])
        self.open_sample("hugin", "umbrella.net")
        titled = self.script("""
            toggleInPicture();
            nodes[1].states = 0;
            return nodes.flatMap((n, i) => n.kind === 'utility' || i === 1 ? [beliefShape(i, 12 / 2 / boxes[i][3]).named] : []);""")
        self.assertTrue(len(titled) > 1 and all(titled), titled)  # within the box, where there is room for it
        self.script("toggleInPicture()")
        self.browser.settled()
        self.select(self.script("return nodes[[...policies.values()].find((policy) => policy.given.length > 0).node].name"))
        self.script("widen('full')")
        self.frame()
        widths = self.script("return [content.clientWidth, document.querySelector('#distribution').clientWidth]")
        self.assertGreater(widths[1], widths[0] / 2)  # the policy has the room that a table has

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

    def test_long_texts_and_titles_that_say_nothing(self):
        states = ["The pressure of the water in the second tank is %s than it should be" % w for w in ("much lower", "a little lower", "higher")]
        listed = " ".join(map(hugin_text, states))
        parts = "net\n{\n name = \"unknown\";\n}\n" + "".join("node %s\n{\n states = (%s);\n}\n" % (n, listed) for n in "abc") \
            + "node g\n{\n states = (\"%s\" \"%s\");\n}\n" % ("Well below what is normal", "Well above what is normal") \
            + node_text("h", 2).replace("s1", "A state of a long name") + "node f\n{\n states = (\"=1+1\" \"@x\" \"-3\");\n}\n" \
            + "potential ( c | a b )\n{\n data = (%s);\n}\n" % ("0.2345678901234567 0.2654321098765432 0.5000000000000001 " * 9) \
            + potential_text("f", [], [0.2, 0.3, 0.5]) + potential_text("g", [], [0.2, 0.8]) \
            + "potential ( h )\n{\n data = (0.2345678901234567 0.7654321098765433);\n}\n"
        for width, height in ((1280, 800), (360, 740)):
            self.browser.look(width, height)
            self.open(self.write(parts, "tanks.net"))
            self.assertEqual([self.id("title").text, self.driver.title], [self.heading()] * 2)
            self.assertNotEqual(self.heading(), "unknown")
            self.select("c")
            room = self.script("const right = byId('details').clientWidth + byId('details').getBoundingClientRect().left;"
                               "return [...document.querySelectorAll('#distribution .part')].map((e) => right - e.getBoundingClientRect().right)")
            self.assertTrue(room and min(room) >= 0, room)
            self.assertEqual(self.script("return [...document.querySelectorAll('.grid td')].filter((e) => e.scrollWidth > e.clientWidth)"
                                         ".map((e) => e.textContent)"), [])  # no number is cut
            rows = self.rows()
            heads = [tuple(self.script("return [...document.querySelectorAll('.grid tbody tr')[arguments[0]].querySelectorAll('th')].map("
                                       "(e) => e.textContent)", i)) for i in range(len(rows) - 1)]
            self.assertEqual(len(set(heads)), len(heads), heads)  # no two that look alike
        self.assertTrue(self.button("Fill the window").is_displayed())
        self.button("Fill the window").click()
        self.frame()
        self.assertEqual(self.script("return document.body.dataset.panel"), "full")
        self.select("h")
        self.button("Transpose").click()
        self.frame()
        edges = self.script("return ['.grid td', '.grid'].map((e) => document.querySelector(e).getBoundingClientRect().right)")
        self.assertLessEqual(*edges)  # one column is seen whole, beside its labels
        self.browser.look(1280, 800)
        self.select("g")
        self.assertEqual(len(self.rows()), 2)
        for turn in range(2):
            self.assertEqual(self.script("return [...document.querySelectorAll('.grid th')].filter((e) => /…/.test(e.textContent)"
                                         " || e.scrollWidth > e.clientWidth).map((e) => e.textContent)"), [], turn)  # where there is room
            self.button("Transpose").click()
            self.frame()
        self.script("widen('')")
        self.select("f")
        self.script("navigator.clipboard.writeText = async (text) => { window.copied = text; }")
        self.button("Copy CSV").click()
        self.assertEqual(self.script("return window.copied").split("\n")[0].split(",")[-3:], ["'=1+1", "'@x", "-3"])
        self.open(self.write("net\n{\n}\n", "empty.net"))
        self.assertIn("This net has no nodes.", self.texts("#details p"))

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
        self.assertEqual(self.id("tab-problems").get_attribute("textContent"), "Problems %d" % (len(reports) - 1))
        self.open(self.write("net\n{\n}\n" + repeated))
        self.assertEqual(self.id("tab-problems").get_attribute("textContent"), "Problems")  # harmless ones do not count
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
                                     "document.querySelectorAll('[onfocus], b').length]"), [4, 0, 0])

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
                             + node_text("c", 3) + node_text("d", 2) + node_text("e", 120) + node_text("f", 3)
                             + potential_text("a", [], numbers) + "potential ( f )\n{\n data = (0.2345678901234567 0.2654321098765432 0.5000000000000001);\n}\n"
                             + potential_text("e", ["c"], ([0.25, 0.75] + [0] * 118) * 2 + [0] * 119 + [1])
                             + potential_text("b", ["a"], tall) + potential_text("c", [], [0.2, 0.3, 0.5])
                             + potential_text("d", ["a", "c"], [0.123, 0.877] * 600)))
        self.script("toggleEvidence(2, 1)")
        self.browser.settled()
        pdf = base64.b64decode(self.browser.command("Page.printToPDF")["data"])
        text = subprocess.run(["pdftotext", "-layout", "-", "-"], input=pdf, stdout=subprocess.PIPE, check=True).stdout.decode()
        self.assertIn("made.net, hugin", text)
        self.assertIn("Evidence: c: s1. probability 0.3", text)
        self.assertRegex(text, r"s0 \d+\.\d%, s1 \d+\.\d%")  # what is believed
        self.assertRegex(text, r"s199 +0\.499 +0\.501")  # the last row of b
        self.assertRegex(text, r"s199 +0\.204")
        self.assertGreater(len([line for line in text.split("\n") if line.split() == ["a", "s0", "s1"]]), 2)  # its head, again
        self.assertRegex(text, r"c +all that is not 0\s+s0 +s0\s0.25, s1\s0.75\s+s1 +s0\s0.25, s1\s0.75\s+s2 +s119\s1\s")
        self.assertRegex(text, r"0\.2345678901234567 +0\.2654321098765432 +0\.5000000000000001")  # side by side
        self.assertIn("600 rows, not printed", text)
        self.assertNotIn("0.877", text)
        for word in ("Transpose", "Fit", "Widen"):
            self.assertNotIn(word, text)
        self.assertEqual(self.script("return byId('print').childElementCount"), 0)

    def test_links_go_round_distributions(self):
        """No link runs through a node's box, and every head stands above its node's border, not in it."""
        chance = random.Random(21)
        for count, parents in ((12, 2), (37, 3), (80, 2)):
            parts = ["net\n{\n}\n"] + [node_text("n%d" % i, chance.choice((2, 4))) for i in range(count)]
            for i in range(1, count):
                given = chance.sample(range(max(0, i - 14), i), min(i, chance.randint(1, parents)))
                parts.append("potential ( n%d | %s )\n{\n}\n" % (i, " ".join("n%d" % p for p in given)))
            self.open(self.write("".join(parts)))
            self.id("beliefs").click()
            self.assertEqual([self.links_through_nodes(), self.script(HEADS)], [[], 0])
            self.id("save-svg").click()
            self.assertEqual(self.saved("made.svg").count(b'text-anchor="start"'), self.script("return nodes.reduce((n, _, i) => n + shownStates(i).length, 0)"))
            self.id("beliefs").click()
            self.assertTrue(self.script("return boxes.every((b, i) => b === nodes[i].at)"))

    def test_a_layout_of_the_file_that_is_hard_to_read_comes_second(self):
        """The page says so, has the file's a press away, and links go round distributions in both."""
        chance = random.Random(3)
        places = chance.sample(range(40), 40)
        parts = ["net\n{\n}\n"] + [node_text("n%d" % i, 3, " position = (%d %d);\n" % (p % 8 * 110, p // 8 * 70)) for i, p in enumerate(places)]
        parts += ["potential ( n%d | n%d )\n{\n}\n" % (i, i - 1) for i in range(1, 40)]
        self.open(self.write("".join(parts)))
        self.assertEqual([self.script("return picture.laidOut"), self.texts("#scene button")], [True, ["× automatic layout"]])
        self.id("beliefs").click()
        self.assertEqual([self.links_through_nodes(), self.script(HEADS)], [[], 0])
        self.button("× automatic layout").click()
        self.assertEqual([self.script("return picture.laidOut"), self.texts("#scene button")], [False, []])
        self.assertEqual([self.links_through_nodes(), self.script(HEADS)], [[], 0])
        self.id("layout").click()
        self.assertTrue(self.script("return picture.laidOut"))

    def links_through_nodes(self):
        """Links whose course meets a box that is not an end of theirs, of what is shown."""
        return self.script("""
            const through = [];
            for (const i of linkStarts) {
                const p = links.slice(i + 3, i + 3 + 2 * links[i + 2]), met = new Set();
                for (let at = 0; at + 6 < p.length; at += 6) for (let s = 0; s <= 20; ++s) {
                    const t = s / 20, u = 1 - t, b = [u * u * u, 3 * u * u * t, 3 * u * t * t, t * t * t];
                    const x = b.reduce((sum, v, k) => sum + v * p[at + 2 * k], 0), y = b.reduce((sum, v, k) => sum + v * p[at + 2 * k + 1], 0);
                    boxes.forEach(([X, Y, w, h], n) => { if (Math.abs(x - X) < w - 1 && Math.abs(y - Y) < h - 1) met.add(n); });
                }
                met.delete(links[i]);
                met.delete(links[i + 1]);
                if (met.size > 0) through.push([links[i], links[i + 1], [...met]]);
            }
            return through;""")

    def test_a_part_alone_and_groups_folded(self):
        shown = "return nodes.flatMap((n, i) => (Number.isFinite(boxes[i][0]) ? [n.name] : [])).sort()"
        linked = "return linkStarts.map((i) => [links[i], links[i + 1]].map((b) => b < nodes.length ? nodes[b].name : clusterText(clusters[b - nodes.length])).join(' ')).sort()"
        apart = """const placed = boxes.filter(([x]) => Number.isFinite(x));
            return placed.every(([x, y, w, h], i) => placed.every(([X, Y, W, H], j) => i === j || Math.abs(x - X) >= w + W || Math.abs(y - Y) >= h + H));"""
        self.open_sample("hugin", "asia.net")
        self.select("either")
        self.keys("b", "n")
        blanket = sorted("lung tub xray dysp bronc either".split())
        self.assertEqual(self.script(shown), blanket)
        self.assertEqual(self.script(linked), ["bronc dysp", "either dysp", "either xray", "lung either", "tub either"])
        self.assertEqual([self.links_through_nodes(), self.script(apart)], [[], True])
        self.assertEqual(self.id("scene").text, "× 6 of 8 nodes")
        self.id("save-svg").click()
        svg = self.saved("asia.svg").decode()
        self.assertIn("Bronchitis?", svg)
        self.assertNotIn("Smoker?", svg)
        # For print: so wide, letters of that size, grey; where that is too wide the page says so.
        self.keys("k")
        for label, text in (("Width in mm", "85"), ("Letters in pt", "5")):
            field = self.driver.find_element("css selector", "[aria-label='%s']" % label)
            field.send_keys(Keys.CONTROL + "a")
            field.send_keys(text, Keys.TAB)
        self.driver.find_element("css selector", "dialog [type=checkbox]").click()
        self.assertEqual(self.texts("#sharing [role=status]"), [""])
        self.button("Save SVG", "dialog").click()
        svg = self.saved("asia-85mm.svg").decode()
        self.assertIn('width="85mm"', svg)
        wide = float(re.search(r'viewBox="\S+ \S+ (\S+) ', svg)[1])
        self.assertEqual({round(float(size) * 85 / wide / 25.4 * 72, 2) for size in re.findall(r'font-size="(\S+)"', svg)}, {5})
        colors = re.findall(r'(?:fill|stroke)="rgb\((\d+), (\d+), (\d+)\)"', svg)
        self.assertTrue(colors and all(len(set(color)) == 1 for color in colors), colors)
        self.assertNotIn('"#', svg)
        field.send_keys(Keys.CONTROL + "a")
        field.send_keys("20", Keys.TAB)
        self.assertIn("Too wide for letters of 20 pt", self.texts("#sharing [role=status]")[0])
        self.keys(Keys.ESCAPE)
        # With distributions, through the address, and until a node outside is selected.
        self.keys("m")
        self.assertEqual([self.links_through_nodes(), self.script(apart)], [[], True])
        link = self.driver.current_url
        self.select("smoke")
        self.assertEqual(len(self.script(shown)), 8)
        self.driver.get("about:blank")
        self.driver.get(link)
        self.browser.settled()
        self.assertEqual(self.script(shown), blanket)
        # Groups: one box each, links joined once; a click, a key and a node in them unfold.
        self.open_sample("hugin", "press_groups.net")
        own = self.view()
        self.keys("g")
        self.assertEqual(self.script(shown), [])
        self.assertEqual(self.script(linked), ["Causes (1) Machine_parts (2)", "Machine_parts (2) Observations (1)"])
        self.assertTrue(self.script(apart))
        self.click_at(*self.script("const [x, y] = boxes[nodes.length + 1], c = canvas.getBoundingClientRect();"
                                   "return [c.left + (x - view.x) * view.zoom, c.top + (y - view.y) * view.zoom].map(Math.round)"))
        self.assertEqual(self.script(shown), ["Ink", "Roller"])
        self.assertIn("folded=", self.driver.current_url)
        self.select("Humidity")
        self.assertEqual(self.script(shown), ["Humidity", "Ink", "Roller"])
        self.keys("2", Keys.ESCAPE, "g")
        self.assertEqual([len(self.script(shown)), self.view()], [4, own])
        # Nets of many shapes, and more than is laid out.
        chance = random.Random(9)
        for count, parents in ((30, 2), (60, 3), (550, 2)):
            parts = ["net\n{\n}\n"] + [node_text("n%d" % i, chance.choice((2, 5))) for i in range(count)]
            for i in range(1, count):
                given = chance.sample(range(i), min(i, chance.randint(0, parents)))
                parts.append("potential ( n%d%s )\n{\n}\n" % (i, " | " + " ".join("n%d" % p for p in given) if given else ""))
            self.open(self.write("".join(parts)))
            for beliefs in (False, True):
                self.script("if (inPicture !== arguments[0]) toggleInPicture(); showPart(new Set([...nodes.keys()].slice(1)))", beliefs)
                self.assertEqual(len(self.script(shown)), count - 1)
                if count <= 500:
                    self.assertEqual([self.links_through_nodes(), self.script(apart)], [[], True])

    def test_the_page_is_small(self):
        self.open_sample("hugin", "asia.net")
        with open(os.path.join(self.folder.name, "out.html"), encoding="utf-8") as file:
            page = file.read()
        self.assertLess(len(page.encode()) - self.script(
            "return byId('data').textContent.length + byId('net').textContent.length"), 200000)

    def test_pictures_are_saved(self):
        self.open_sample("hugin", "umbrella.net")
        self.id("beliefs").click()
        self.id("save-svg").click()
        svg = self.saved("umbrella.svg").decode()
        for text in self.script("return nodes.map(titleOf)") + ["70.0%", "79.1"]:  # titles, a belief, an expectation
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
    main()
