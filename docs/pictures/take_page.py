"""Takes pictures of the page that reads files: take_page.py PAGE SAMPLES FOLDER."""
import base64
import os
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "tests"))
from browser import Browser  # noqa: E402

FILES = ["hugin/damaged.net", "hugin/greenhouse.net", "xdsl/features.xdsl", "xmlbif/classic.xml", "dxpress/copier.dxp"]


def main(page, samples, folder):
    with Browser() as browser:
        browser.look(1280, 800)
        browser.driver.get("file://" + os.path.realpath(page))
        paths = "\n".join(os.path.realpath(os.path.join(samples, name)) for name in FILES)
        while not browser.script("return document.body.dataset.ready"):
            time.sleep(0.05)
        browser.driver.find_element("css selector", "#files").send_keys(paths)
        while browser.script("return document.querySelectorAll('tbody').length < arguments[0]"
                             " || !document.getElementById('work').hidden", len(FILES)):
            time.sleep(0.05)
        browser.script("document.querySelector('tbody [aria-expanded]').click(); document.activeElement.blur()")
        for name, width, height in (("page", 1280, 800), ("page-phone", 360, 740)):
            browser.look(width, height)
            browser.script("scrollTo(0, 0)")
            shot = browser.command("Page.captureScreenshot", format="png", optimizeForSpeed=False)
            with open(os.path.join(folder, name + ".png"), "wb") as out:
                out.write(base64.b64decode(shot["data"]))


main(*sys.argv[1:])
