"""A headless Firefox, spoken to in its own remote protocol: the driver that others speak through is not packaged."""
import json
import os
import shutil
import socket
import subprocess
import tempfile
import time

FIREFOX = "/usr/bin/firefox-esr"
ELEMENT = "element-6066-11e4-a52e-4f735466cecf"  # the key of what stands for an element


class Firefox:
    """The browser with its profile in one folder, removed at the end."""

    def __init__(self):
        self.folder = tempfile.mkdtemp(prefix="lumo-firefox-")
        profile = os.path.join(self.folder, "profile")
        os.mkdir(profile)
        settings = {"marionette.port": 0, "browser.download.folderList": 2, "browser.download.dir": self.folder,
                    "browser.download.useDownloadDir": True, "browser.download.always_ask_before_handling_new_types": False,
                    "browser.helperApps.neverAsk.saveToDisk": "application/zip,application/json,text/plain",
                    "datareporting.policy.dataSubmissionEnabled": False, "browser.shell.checkDefaultBrowser": False,
                    "toolkit.telemetry.enabled": False, "app.update.enabled": False, "network.captive-portal-service.enabled": False,
                    "network.connectivity-service.enabled": False, "browser.startup.page": 0}
        with open(os.path.join(profile, "user.js"), "w", encoding="utf-8") as out:
            out.writelines("user_pref(%s, %s);\n" % (json.dumps(name), json.dumps(value)) for name, value in settings.items())
        self.process = subprocess.Popen([FIREFOX, "--headless", "--marionette", "--no-remote", "--profile", profile],
                                        env={**os.environ, "HOME": self.folder, "TMPDIR": self.folder, "MOZ_DISABLE_CONTENT_SANDBOX": "1"},
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.count = 0
        try:
            self.socket = socket.create_connection(("127.0.0.1", self.port(profile)))
            self.stream = self.socket.makefile("rb")
            self.answer()  # who it is
            self.command("WebDriver:NewSession", {"capabilities": {"alwaysMatch": {"acceptInsecureCerts": False}}})
            self.command("WebDriver:SetTimeouts", {"script": 300000, "pageLoad": 300000, "implicit": 0})
        except BaseException:
            self.__exit__()
            raise

    def port(self, profile):
        """That it chose, once it has."""
        for _ in range(600):
            try:
                with open(os.path.join(profile, "MarionetteActivePort"), encoding="utf-8") as chosen:
                    text = chosen.read()
                if text:
                    return int(text)
            except FileNotFoundError:
                pass
            if self.process.poll() is not None:
                break
            time.sleep(0.1)
        raise OSError("Firefox does not start")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait()
        shutil.rmtree(self.folder, ignore_errors=True)

    def answer(self):
        digits = b""
        while not digits.endswith(b":"):
            digits += self.stream.read(1)
        return json.loads(self.stream.read(int(digits[:-1])))

    def command(self, name, parameters=None):
        self.count += 1
        text = json.dumps([0, self.count, name, parameters or {}]).encode()
        self.socket.sendall(b"%d:%s" % (len(text), text))
        _, _, error, result = self.answer()
        if error:
            raise RuntimeError("%s: %s" % (error["error"], error["message"]))
        return result.get("value", result) if isinstance(result, dict) else result

    def open(self, path):
        self.command("WebDriver:Navigate", {"url": "file://" + path})

    def script(self, text, *arguments):
        return self.command("WebDriver:ExecuteScript", {"script": text, "args": list(arguments)})

    def choose(self, selector, paths):
        """Chooses files in an input of the page."""
        element = self.command("WebDriver:FindElement", {"using": "css selector", "value": selector})
        for path in paths:
            self.command("WebDriver:ElementSendKeys", {"id": element[ELEMENT], "text": path})

    def into_frame(self):
        self.command("WebDriver:SwitchToFrame", {"element": self.command(
            "WebDriver:FindElement", {"using": "css selector", "value": "iframe"})})

    def out_of_frame(self):
        self.command("WebDriver:SwitchToFrame", {})
