"""A browser and a camhost for the tests of the live page."""
import json
import os
import shutil
import subprocess
import sys
import tempfile
import time
import urllib.request

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


class Camhost:
    """camhost view with the simulated cameras; `windows`: the Windows program under Wine."""

    def __init__(self, *arguments, windows=False, preset="linux", sdk=None):
        self.folder = tempfile.mkdtemp(prefix="camhost-view-")
        self.environment = dict(os.environ, MARAVEL_PLATFORM_ROOT=self.folder)
        self.environment.pop("ZORVIK_HOME", None)
        command = [f"{ROOT}/build/{preset}/bin/camhost"]
        if windows:
            self.environment.update(WINEPREFIX=f"{ROOT}/build/wineprefix", WINEDEBUG="-all",
                                    WINEDLLOVERRIDES="mscoree,mshtml=")
            command = ["/usr/lib/wine/wine64", f"{ROOT}/build/windows/bin/camhost.exe"]
        if sdk:
            command += ["--sdk", sdk]
        self.command = command
        self.process = subprocess.Popen(command + ["view", "--no-browser", *arguments], env=self.environment,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.url = self.process.stdout.readline().strip()
        if not self.url.startswith("http"):
            raise RuntimeError("camhost view did not start: " + self.process.stderr.read())
        self.base, self.token = self.url.split("/#token=")
        self.log = f"{self.folder}/Documents/Halvane/AdapterZorvik/MaravelAdapterZorvik.log"

    def request(self, path, body=None, method=None):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(f"{self.base}/api/v1/{path}", data, {"Authorization": "Bearer " + self.token},
                                         method=method or ("GET" if data is None else "POST"))
        with urllib.request.urlopen(request, timeout=30) as answer:
            return answer.read()

    def json(self, path, body=None, method=None):
        return json.loads(self.request(path, body, method))

    def channel(self, index):
        return next(c for c in self.json("channels")["channels"] if c["index"] == index)

    def value(self, channel, feature):
        return self.json(f"channels/{channel}/features/{feature}")["value"]

    def close(self):
        self.process.terminate()
        try:
            self.process.wait(20)
        except subprocess.TimeoutExpired:
            self.process.kill()
            raise
        finally:
            self.process.stdout.close()
            self.process.stderr.close()
            shutil.rmtree(self.folder, ignore_errors=True)


class Browser:
    def __init__(self, width=1440, height=900, dark=False, downloads=None):
        self.profile = tempfile.mkdtemp(prefix="camhost-chromium-")
        options = Options()
        for flag in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                     "--disable-background-networking", "--disable-component-update", "--disable-sync",
                     "--hide-scrollbars", f"--window-size={width},{height}", f"--user-data-dir={self.profile}"):
            options.add_argument(flag)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        if downloads:
            options.add_experimental_option("prefs", {"download.default_directory": downloads})
        self.driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver", log_path=os.devnull), options=options)
        # The window has no frame in which a page would be narrower than 500 pixels.
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})
        if dark:
            self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {
                "features": [{"name": "prefers-color-scheme", "value": "dark"}]})

    def open(self, url):
        self.driver.get("about:blank")
        self.driver.get(url)

    def all(self, selector):
        return self.driver.find_elements("css selector", selector)

    def one(self, selector, seconds=20):
        return self.wait(lambda: (self.all(selector) or [None])[0], seconds, selector)

    def click(self, selector):
        self.wait(lambda: self.script("const e = document.querySelector(arguments[0]); e?.click(); return !!e", selector),
                  20, selector)

    def script(self, text, *arguments):
        return self.driver.execute_script(text, *arguments)

    def wait(self, condition, seconds=20, what="what was waited for"):
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            try:
                result = condition()
            except Exception as error:  # an element that was just drawn anew
                if "stale" not in str(error):
                    raise
                result = None
            if result:
                return result
            time.sleep(0.05)
        raise AssertionError(f"{what} did not come; the page shows: {self.one('body', 1).text[:600]}")

    def large(self, channel):
        """Shows one camera and waits for its picture."""
        self.click(f'.picture[data-channel="{channel}"] canvas')
        self.one(f'.picture.large[data-channel="{channel}"]')
        self.wait(lambda: self.painted(f'.picture.large[data-channel="{channel}"] canvas'), what="the picture")

    def painted(self, selector):
        """Whether the canvas shows a picture, that is: more than one colour."""
        return self.script("""const c = document.querySelector(arguments[0]); if (!c || !c.width) return false;
            const d = new Uint32Array(c.getContext('2d').getImageData(0, 0, c.width, c.height).data.buffer);
            return new Set(d).size > 2""", selector)

    def close(self):
        self.driver.quit()
        shutil.rmtree(self.profile, ignore_errors=True)


if __name__ == "__main__":  # the pictures of the README and for people who look at a change
    out = sys.argv[1]
    os.makedirs(out, exist_ok=True)
    host = Camhost(*sys.argv[2:])
    for name, width, height, dark, channel, tab in (
            ("wall-light", 1440, 900, False, None, None), ("wall-dark", 1440, 900, True, None, None),
            ("camera-light", 1440, 1000, False, 1, None), ("camera-dark", 1440, 1000, True, 2, None),
            ("features-dark", 1440, 900, True, 0, "features"), ("log-light", 1440, 900, False, 0, "log"),
            ("narrow-light", 360, 1900, False, 3, None), ("narrow-wall-dark", 360, 1600, True, None, None),
            ("wall-4k", 3840, 2160, False, None, None), ("camera-4k-dark", 3840, 2160, True, 1, "features")):
        browser = Browser(width, height, dark)
        browser.open(host.url)
        browser.wait(lambda: len(browser.all(".picture")) > 0 and browser.painted(".picture canvas"))
        if channel is not None:
            browser.large(channel)
        if tab:
            browser.click("#tab-" + tab)
            if tab == "features":
                browser.one(".category")
                browser.script("document.querySelectorAll('.category').forEach((c, i) => i < 2 && c.click())")
        time.sleep(4)
        browser.driver.save_screenshot(f"{out}/{name}.png")
        for entry in browser.driver.get_log("browser"):
            print(name, entry["level"], entry["message"])
        browser.close()
    host.close()
