"""The live page in a browser. Called by scripts/test; takes the preset and prints as GoogleTest does."""
import hashlib
import os
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import time
import traceback

from browser import ROOT, Browser, Camhost
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

WIDTH, HEIGHT = 320, 240
CAMERA = """[[camera]]
id = "{0}"
model = "Known {1}"
serial = "{2}"
interface = "USB3"
width = 320
height = 240
pixel_formats = ["{1}"]
frame_rate = {3}
exposure_us = 1000.0
pictures = "pictures"
"""


def known(x, y):
    return (7 * x + 13 * y) % 256


def make_sdk(preset):
    """An SDK folder with a camera that shows a picture whose every pixel is known, in 8 and in 12 bits."""
    folder = tempfile.mkdtemp(prefix="camhost-sdk-")
    shutil.copytree(f"{ROOT}/build/{preset}/sdk/bin", folder + "/bin")
    os.mkdir(folder + "/pictures")
    with open(folder + "/pictures/known.pgm", "wb") as file:
        file.write(b"P5\n%d %d\n255\n" % (WIDTH, HEIGHT))
        file.write(bytes(known(x, y) for y in range(HEIGHT) for x in range(WIDTH)))
    with open(folder + "/cameras.toml", "w", encoding="utf-8") as file:
        file.write(CAMERA.format("KNOWN-8", "Mono8", "K-8", 20.0) + CAMERA.format("KNOWN-12", "Mono12Packed", "K-12", 10.0))
    return folder


class Page:
    """What all cases share: a camhost, and a browser that shows one of its cameras."""

    def __init__(self, preset):
        self.preset = preset
        self.windows = preset == "windows"
        self.sdk = make_sdk(preset)
        self.downloads = tempfile.mkdtemp(prefix="camhost-saved-")
        self.known = Camhost(windows=self.windows, preset=preset, sdk=self.wine(self.sdk))
        self.browser = Browser(downloads=self.downloads)
        self.usual = None

    def wine(self, path):
        return "Z:" + path.replace("/", "\\") if self.windows else path

    def show(self, host, channel):
        self.browser.open(host.url)
        self.browser.large(channel)
        return self.browser

    def simulated(self):
        if self.usual is None:
            self.usual = Camhost(windows=self.windows, preset=self.preset)
        return self.usual

    def close(self):
        self.browser.close()
        for host in (self.known, self.usual):
            if host:
                host.close()
        for folder in (self.sdk, self.downloads):
            shutil.rmtree(folder)


def same(expected, actual, what=""):
    assert expected == actual, f"{what}: expected {expected}, got {actual}"


def point_at(browser, x, y):
    """Moves the pointer over one pixel of the camera's and returns what the page says of it."""
    before = browser.one(".readout").text
    canvas = browser.one(".picture.large canvas")
    box = browser.script("const b = arguments[0].getBoundingClientRect(); return [b.width, b.height]", canvas)
    scale = min(box[0] / WIDTH, box[1] / HEIGHT)
    ActionChains(browser.driver, duration=0).move_to_element_with_offset(
        canvas, round((x + 0.5 - WIDTH / 2) * scale), round((y + 0.5 - HEIGHT / 2) * scale)).perform()
    start = f"x {x}  y {y}: "
    return browser.wait(lambda: (t := browser.one(".readout").text) != before and t.replace("x " + str(x) + " y",
                        "x " + str(x) + "  y").startswith(start) and t, 10, start).split(": ")[1]


def test_shows_the_value_under_the_pointer(page):
    browser = page.show(page.known, 0)
    for i in range(20):
        x, y = (37 + 61 * i) % WIDTH, (11 + 47 * i) % HEIGHT
        same(str(known(x, y)), point_at(browser, x, y), f"({x}, {y})")
    browser.script("document.querySelector('.picture.large canvas').dispatchEvent(new WheelEvent('wheel', "
                   "{deltaY: -1300, clientX: 400, clientY: 400, cancelable: true}))")
    browser.wait(lambda: "×" in browser.one(".picture.large .right").text.split("Mono8")[1], what="the zoom")
    browser.click(".tools button[title=F]")
    same(str(known(5, 200)), point_at(browser, 5, 200), "after zooming")


def test_shows_deep_values_in_the_cameras_depth(page):
    browser = page.show(page.known, 1)
    same(str(known(50, 60) * 4095 // 255), point_at(browser, 50, 60))


def test_counts_the_histogram_of_a_known_image(page):
    browser = page.show(page.known, 0)
    bins = browser.wait(lambda: browser.script("return JSON.parse(document.querySelector('.histogram').dataset.bins)"))
    expected = [0] * 256
    for y in range(HEIGHT):
        for x in range(WIDTH):
            expected[known(x, y)] += 1
    same([expected], bins)


def test_saves_what_grab_writes(page):
    for channel, name in ((0, "png"), (1, "pgm")):
        browser = page.show(page.known, channel)
        for old in os.listdir(page.downloads):
            os.remove(f"{page.downloads}/{old}")
        browser.click(".acquire button[title=S]")
        saved = browser.wait(lambda: [f for f in os.listdir(page.downloads) if f.endswith(name)], what="the file")[0]
        folder = tempfile.mkdtemp()
        subprocess.run(page.known.command + ["grab", str(channel), "--out", page.wine(folder)], check=True,
                       stdout=subprocess.DEVNULL, env=dict(page.known.environment, MARAVEL_PLATFORM_ROOT=folder))
        grabbed = next(f for f in os.listdir(folder) if f.endswith(name))
        same(saved.split("_")[0], grabbed.split("_")[0])
        sums = [hashlib.sha256(open(f, "rb").read()).hexdigest() for f in (f"{page.downloads}/{saved}", f"{folder}/{grabbed}")]
        shutil.rmtree(folder)
        same(sums[0], sums[1], name)


def feature(browser, name):
    browser.one("#tab-features").click()
    search = browser.one(".features input[type=search]")
    search.send_keys(Keys.CONTROL + "a")
    search.send_keys(name)
    return browser.one(f'.row[data-feature="{name}"] .edit :is(input, select, button)')


def test_edits_every_type_of_feature(page):
    host = page.simulated()
    browser = page.show(host, 0)
    for name, keys, value in (("Gain", "3.5" + Keys.ENTER, "3.500000"), ("GevHeartbeatTimeout", "4000" + Keys.ENTER, "4000"),
                              ("DeviceUserID", "front \u00e4" + Keys.ENTER, None), ("BlackLevel", "1" + Keys.ENTER, "1.000000")):
        editor = feature(browser, name)
        editor.send_keys(Keys.CONTROL + "a")
        editor.send_keys(keys)
        browser.one(f'[data-feature="{name}"] .note:is(.good, .clamped)')
        same(value or "front \u00e4", host.value(0, name), name)
    browser.script("arguments[0].value = 'Once'; arguments[0].dispatchEvent(new Event('change', {bubbles: true}))",
                   feature(browser, "GainAuto"))
    browser.one('[data-feature="GainAuto"] .note:is(.good, .clamped)')
    assert host.value(0, "GainAuto") in ("Once", "Off")
    browser.script("arguments[0].click()", feature(browser, "GammaEnable"))
    browser.one('[data-feature="GammaEnable"] .note.good')
    same("True", host.value(0, "GammaEnable"))
    feature(browser, "CounterReset")  # an expert's, found by its name
    browser.click('[data-feature="CounterReset"] .run')
    browser.one('[data-feature="CounterReset"] .note.good')
    for locked in ("DeviceModelName", "Width"):  # for ever, and while the camera runs
        same("true", feature(browser, locked).get_attribute("disabled"), locked)


def test_tells_what_the_camera_took_instead(page):
    host = page.simulated()
    browser = page.show(host, 3)
    editor = feature(browser, "ExposureTimeAbs")
    editor.send_keys(Keys.CONTROL + "a")
    editor.send_keys("-5" + Keys.ENTER)
    note = browser.one('[data-feature="ExposureTimeAbs"] .note.clamped').text
    assert host.value(3, "ExposureTimeAbs").rstrip("0").rstrip(".") in note, note


def test_places_every_simulated_feature(page):
    host = page.simulated()
    for channel in range(4):
        features = host.json(f"channels/{channel}/features")
        assert len(features) > 50
        same([], [f["name"] for f in features if f["category"] == "Other"])


def test_triggers_an_image_a_click(page):
    host = page.simulated()
    browser = page.show(host, 1)
    browser.script("const s = document.querySelector('.acquire select'); s.value = 'manual';"
                   "s.dispatchEvent(new Event('change', {bubbles: true}))")
    browser.one(".trigger")
    for i in range(19):
        browser.click(".trigger:not(:disabled)")
        browser.wait(lambda: host.channel(1)["triggers"] == i + 1)
        browser.wait(lambda: host.channel(1)["imagesOfTriggers"] == i + 1, what=f"image {i + 1}")
    browser.one("body").send_keys("t")
    for counter in ("triggers", "images"):
        browser.wait(lambda: browser.one(f'[data-counter="{counter}"]').text == "20", what=counter)
    host.json("channels/1/acquisition", {"trigger": "freerun"})


def test_says_when_the_camera_sets_its_exposure(page):
    host = page.simulated()
    browser = page.show(host, 2)
    assert "ExposureAuto is Continuous" in browser.one(".exposure .note").text
    browser.click(".exposure .note button")
    browser.wait(lambda: not browser.all(".exposure input:disabled"))
    same("Off", host.value(2, "ExposureAuto"))
    browser.script("const s = document.querySelector('.exposure input'); s.value = 0;"
                   "s.dispatchEvent(new Event('input', {bubbles: true}))")
    browser.wait(lambda: float(host.value(2, "ExposureTime")) == host.channel(2)["exposureMin"])


def test_counts_what_the_log_counts(page):
    host = Camhost("0", "--simulate", "incomplete 0 every 5", windows=page.windows, preset=page.preset,
                   sdk=page.wine(page.sdk))
    browser = page.browser
    browser.open(host.url)
    browser.wait(lambda: host.channel(0)["fetched"] > 40)
    host.json("channels/0/acquisition", {"state": "stopped"})
    time.sleep(1.5)  # the log is read twice a second
    c = host.channel(0)
    assert 0 <= c["complete"] - c["fetched"] <= 2, c  # what came between the last image and the stop
    assert abs(c["incomplete"] - (c["complete"] + c["incomplete"] + c["lost"]) // 5) <= 1, c
    for name in ("fetched", "lost", "incomplete"):
        browser.wait(lambda: browser.one(f'[data-counter="{name}"]').text.replace(",", "") == str(c[name]), what=name)
    host.close()


def test_tells_of_a_camera_that_was_unplugged(page):
    host = Camhost("0", "--simulate", "unplug 0 after 4s", windows=page.windows, preset=page.preset)
    browser = page.browser
    browser.open(host.url)
    browser.wait(lambda: browser.painted(".picture.large canvas"))
    begin = time.monotonic()
    while "AcquisitionStop command failed" not in open(host.log, errors="replace").read():
        assert time.monotonic() - begin < 30, "the log has no line of it"
        time.sleep(0.05)
    line = time.monotonic()
    browser.one('.banner[data-finding="unplugged"]')
    took = time.monotonic() - line
    print(f"the banner came {took:.1f} s after the line")
    assert took < 3 or os.getloadavg()[0] > 4, took
    browser.one(".veil.lost")
    host.close()


def test_asks_no_other_host_and_breaks_no_policy(page):
    browser = page.show(page.simulated(), 0)
    browser.driver.get_log("performance")
    browser.driver.get_log("browser")
    page.show(page.simulated(), 0)
    for tab in ("features", "log", "camera"):
        browser.click("#tab-" + tab)
        time.sleep(0.5)
    import json
    asked = [e["params"]["request"]["url"] for e in (json.loads(m["message"])["message"]
             for m in browser.driver.get_log("performance")) if e["method"] == "Network.requestWillBeSent"]
    assert len(asked) > 8
    same([], [u for u in asked if not u.startswith((page.simulated().base + "/", "blob:", "data:", "about:"))])
    same([], [e["message"] for e in browser.driver.get_log("browser") if e["level"] == "SEVERE"])
    same("", browser.script("return location.hash"), "the token stays out of the address")
    subprocess.run(["sha256sum", "--check", "--quiet", "SHA256SUMS"], cwd=ROOT + "/third_party/web", check=True)


def test_fits_narrow_and_wide_windows(page):
    browser = page.show(page.simulated(), 0)
    for width, height in ((360, 740), (900, 700), (3840, 2160)):
        browser.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})
        time.sleep(0.3)
        for tab in ("features", "log", "camera"):
            browser.click("#tab-" + tab)
            time.sleep(0.2)
            same(width, browser.script("return document.documentElement.scrollWidth"), f"{tab} at {width}")
        assert browser.painted(".picture.large canvas")
    browser.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
        "width": 1440, "height": 900, "deviceScaleFactor": 1, "mobile": False})


def test_does_not_wait_for_slow_pages(page):
    """Pages that are killed, stall, or read little: the cameras go on, and the server drops what hangs."""
    host = page.known
    port = int(host.base.rsplit(":", 1)[1])
    lost = sum(c["lost"] for c in host.json("channels")["channels"])
    ask = f"GET /api/v1/stream HTTP/1.1\r\nHost: 127.0.0.1:{port}\r\nAuthorization: Bearer {host.token}\r\n\r\n".encode()
    page.browser.open("about:blank")
    clients = [socket.create_connection(("127.0.0.1", port)) for _ in range(6)]
    for client in clients:
        client.sendall(ask)
        client.recv(1)
    clients[0].close()
    fetched = [c["fetched"] for c in host.json("channels")["channels"]]
    for _ in range(30):
        clients[1].recv(1)
        time.sleep(0.1)
    after = host.json("channels")["channels"]
    assert all(c["fetched"] - f >= c["rate"] for c, f in zip(after, fetched) if c["state"] == "running"), after
    assert lost == sum(c["lost"] for c in after) or os.getloadavg()[0] > 4, after
    idle = [socket.create_connection(("127.0.0.1", port)) for _ in range(40)]  # more than are served
    time.sleep(0.5)
    idle[39].settimeout(5)
    same(b"", idle[39].recv(1), "the connection beyond the limit")
    for s in clients[1:] + idle:
        s.close()
    page.browser.wait(lambda: host.json("channels")["viewers"] == 0, 30, "the end of the viewers")


def test_gives_pictures_to_other_programs(page):
    import urllib.request
    import urllib.error
    host = page.simulated()
    token = host.json("picture-token")["token"]
    base = f"{host.base}/api/v1/channels/3/"
    with urllib.request.urlopen(f"{base}mjpeg?rate=20&token={token}") as stream:
        same("multipart/x-mixed-replace; boundary=frame", stream.headers["Content-Type"])
        for _ in range(3):
            same(b"--frame\r\n", stream.readline())
            stream.readline()
            length = int(stream.readline().split(b":")[1])
            stream.readline()
            jpeg = stream.read(length)
            stream.readline()
            same((b"\xff\xd8", b"\xff\xd9"), (jpeg[:2], jpeg[-2:]))
    for kind, start in (("png", b"\x89PNG"), ("pgm", b"P5\n640 480\n255\n"), ("jpg", b"\xff\xd8")):
        with urllib.request.urlopen(f"{base}image.{kind}?token={token}") as answer:
            assert answer.read().startswith(start), kind
    same(640 * 480, len(host.request("channels/3/image.raw")))
    metrics = urllib.request.urlopen(host.base + "/metrics").read().decode()
    assert re.search(r'^camhost_frames_lost_total{channel="3",serial="03-0004"} \d+$', metrics, re.M), metrics


def test_limits_what_a_peer_can_take(page):
    host = Camhost(windows=page.windows, preset=page.preset)
    port = int(host.base.rsplit(":", 1)[1])

    def ask(path, end="\r\n"):
        peer = socket.create_connection(("127.0.0.1", port), timeout=60)
        peer.sendall(f"GET {path} HTTP/1.1\r\nHost: 127.0.0.1:{port}\r\nAuthorization: Bearer {host.token}\r\n{end}".encode())
        return peer

    def status(peer):
        try:
            answer = peer.recv(100)
        except ConnectionError:
            return None
        return int(answer.split()[1]) if answer else None

    def becomes_free(path):
        deadline = time.monotonic() + 60
        while status(ask(path)) != 200:
            assert time.monotonic() < deadline, path
            time.sleep(0.1)

    try:
        for path, cached in (("/", False), ("/api/v1/channels", True), ("/nothing", False)):
            head = ask(path).recv(2000).decode().lower()
            for wanted in ("content-security-policy: default-src 'none'", "frame-ancestors 'none'",
                           "x-content-type-options: nosniff", "referrer-policy: no-referrer",
                           "cross-origin-resource-policy: same-origin") + (("cache-control: no-store",) if cached else ()):
                assert wanted in head, (path, wanted, head)
            assert "access-control" not in head, head
        viewers = [ask("/api/v1/stream") for _ in range(8)]
        same([200] * 8, [status(peer) for peer in viewers])
        same(503, status(ask("/api/v1/stream")))
        viewers.pop().close()
        becomes_free("/api/v1/stream")
        slow = ask("/", end="")  # a head without an end: the server ends the connection, after whatever time
        same(b"", slow.recv(100))
        idle = [ask("/", end="") for _ in range(32)]
        same(None, status(ask("/")))
        for peer in idle + viewers:
            peer.close()
        becomes_free("/")
    finally:
        host.close()


def main():
    preset = sys.argv[1] if len(sys.argv) > 1 else "linux"
    wanted = sys.argv[2] if len(sys.argv) > 2 else ""
    cases = [(n, f) for n, f in globals().items() if n.startswith("test_") and wanted in n]
    if preset == "windows":  # the page is the same one; what differs is the server
        cases = [(n, f) for n, f in cases if f in (test_shows_the_value_under_the_pointer, test_saves_what_grab_writes,
                                                   test_triggers_an_image_a_click, test_limits_what_a_peer_can_take)]
    page = Page(preset)
    failed = []
    for name, case in cases:
        begin = time.monotonic()
        try:
            case(page)
            print(f"[       OK ] {name} ({1000 * (time.monotonic() - begin):.0f} ms)", flush=True)
        except Exception:
            failed.append(name)
            traceback.print_exc(file=sys.stdout)
            print(f"[  FAILED  ] {name}", flush=True)
    page.close()
    print(f"[  PASSED  ] {len(cases) - len(failed)} tests.")
    if failed:
        print(f"[  FAILED  ] {len(failed)} tests, listed below:")
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
