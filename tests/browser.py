"""A headless browser that leaves nothing behind, for what is tested and pictured with it."""
import os
import shutil
import signal
import sys
import tempfile
import time

from selenium import webdriver

CHROMIUM, DRIVER = "/usr/bin/chromium", "/usr/bin/chromedriver"


class Browser:
    """Chromium with its profile and all its other files in one folder, removed at the end."""

    def __init__(self):
        self.folder = tempfile.mkdtemp(prefix="lumo-browser-")
        self.driver = None
        signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # ended from outside, it clears up too
        try:
            self.start()
        except BaseException:
            self.__exit__()
            raise

    def start(self):
        options = webdriver.ChromeOptions()
        options.binary_location = CHROMIUM
        for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--no-first-run",
                         "--disable-background-networking", "--disable-component-update",
                         "--disable-sync", "--disable-dev-shm-usage", "--window-size=1300,900",
                         "--user-data-dir=" + os.path.join(self.folder, "profile")):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        service = webdriver.chrome.service.Service(DRIVER, env={**os.environ, "TMPDIR": self.folder})
        self.driver = webdriver.Chrome(options=options, service=service)
        self.driver.set_script_timeout(300)  # what runs beside on a busy machine makes none fail
        self.command("Browser.setDownloadBehavior", behavior="allow", downloadPath=self.folder)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        try:
            if self.driver:
                self.driver.quit()
        finally:
            for _ in range(100):  # what is ending may still write
                shutil.rmtree(self.folder, ignore_errors=True)
                if not os.path.exists(self.folder):
                    break
                time.sleep(0.1)

    def command(self, name, **parameters):
        """A command of the browser's developer protocol."""
        return self.driver.execute_cdp_cmd(name, parameters)

    def look(self, width, height, dark=False, scale=1):
        """The window's size in pixels of the page, its colours, and no motion."""
        self.command("Emulation.setDeviceMetricsOverride", width=width, height=height,
                     deviceScaleFactor=scale, mobile=width < 700)
        self.command("Emulation.setEmulatedMedia", features=[
            {"name": "prefers-color-scheme", "value": "dark" if dark else "light"},
            {"name": "prefers-reduced-motion", "value": "reduce"}])

    def open(self, path):
        """Opens the page and waits for the first answer of its worker, if it gives one."""
        self.driver.get("about:blank")
        self.driver.get("file://" + path)
        self.settled()

    def settled(self):
        """Waits until the page's worker has answered all it was asked."""
        return self.driver.execute_async_script(
            "const done = arguments[0]; const look = () => {"
            " const busy = nodes.length > 0 && (!plan || (!plan.failed && (!beliefs || asked)));"
            " if (busy) setTimeout(look, 5); else requestAnimationFrame(() => done(null)); }; look();")

    def script(self, text, *arguments):
        return self.driver.execute_script(text, *arguments)
