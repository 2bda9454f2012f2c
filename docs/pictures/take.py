"""Takes the report's pictures from the samples: take.py lumo-import SAMPLES FOLDER."""
import base64
import os
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "tests"))
from browser import Browser  # noqa: E402

# The picture's name, its sample, the window, and what a person does first.
PICTURES = [
    ("report", "hugin/asia.net", (1100, 660), "choose('either')"),
    ("report-evidence", "hugin/greenhouse.net", (1100, 660),
     "toggleInPicture(); toggleEvidence(5, 7); choose('Yield'); fit()"),
    ("report-strength", "hugin/asia.net", (1100, 660), "toggleEvidence(7, 0); showStrength('information'); choose('dysp'); askTelling()"),
    ("report-trail", "hugin/asia.net", (1100, 660), "toggleEvidence(7, 0); choose('tub'); askTrail(); choose('smoke')"),
    ("report-part", "hugin/greenhouse.net", (1100, 660),
     "choose('Yield'); toggleRelation(relations[2]); togglePart(); toggleInPicture(); fit()"),
    ("report-groups", "hugin/press_groups.net", (900, 480), "toggleFold(1)"),
    ("report-table", "hugin/greenhouse.net", (1100, 600), "choose('Harvest'); widen('full')"),
    ("report-phone", "hugin/asia.net", (360, 700), "choose('dysp'); toggleEvidence(6, 0); fit()"),
    ("report-problems", "hugin/damaged.net", (1000, 640),
     "document.querySelectorAll('#problems summary')[3].click(); choose('Flow')"),
]


def main(program, samples, folder):
    with Browser() as browser:
        for name, sample, (width, height), actions in PICTURES:
            page = os.path.join(browser.folder, "page.html")
            subprocess.run([program, "convert", "--quiet", os.path.join(samples, sample), "-o", page],
                           stderr=subprocess.DEVNULL)
            browser.look(width, height)
            browser.open(page)
            browser.script("const choose = (name) => select(nodes.findIndex((n) => n.name === name), 'list');"
                           + actions + "; document.activeElement.blur()")
            browser.settled()
            browser.settled()
            shot = browser.command("Page.captureScreenshot", format="png", optimizeForSpeed=False)
            with open(os.path.join(folder, name + ".png"), "wb") as out:
                out.write(base64.b64decode(shot["data"]))


main(*sys.argv[1:])
