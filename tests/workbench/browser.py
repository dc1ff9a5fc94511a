"""The workbench in a real browser: starting it, the mouse and the keys on its page, and what the page shows.

A test program imports everything and ends with `main()`. Without chromium, its driver or selenium it says so and
returns 77, which ctest takes for skipped."""
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

try:
    from selenium import webdriver
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys
    from selenium.webdriver.common.actions.action_builder import ActionBuilder
    from selenium.webdriver.common.actions.mouse_button import MouseButton
    from selenium.webdriver.chrome.service import Service
    from selenium.common.exceptions import StaleElementReferenceException
except ImportError:
    webdriver = None

BIN = Path(os.environ.get("ROI_BIN", Path(__file__).parents[2] / "build/bin"))
PATIENCE = 30.0
CTRL, SHIFT = "\ue009", "\ue008"

# A part with one figure of every class that can be made of numbers, none of them symmetric.
FIGURES = {
    "plate": ("ROIRectangle", "CenterX=320.5 CenterY=200 Width=180 Height=90 Angle=-12"),
    "slot": ("ROIParallelogram", "CenterX=600 CenterY=130 Width=176 Height=70 Roll=7 Shear=25"),
    "bore": ("ROIEllipse", "CenterX=160 CenterY=420 RadiusX=66 RadiusY=41.5"),
    "ring": ("ROIDonut", "CenterX=400 CenterY=430 RadiusX1=40 RadiusY1=52 RadiusX2=93 RadiusY2=75"),
    "fan": ("ROIArcDonut", "CenterX=660 CenterY=420 Radius1X=50 Radius1Y=50 Radius2X=110 Radius2Y=110"
                           " StartAngle=-150 DeltaAngle=120"),
}
SCAN = ("scan", "ROIProfile", "90,90 190,140 250,60")


def roi(*arguments, check=True):
    done = subprocess.run([BIN / "roi", *map(str, arguments)], capture_output=True, text=True)
    if check and done.returncode != 0:
        raise AssertionError(f"roi {arguments}: {done.stderr}")
    return done.stdout


def convert(*arguments):
    """ImageMagick, for pictures and what is in them."""
    return subprocess.run(["convert", *map(str, arguments)], capture_output=True, text=True, check=True).stdout


def parameters(path, name):
    """A figure as the command reads it from the file."""
    (figure,) = [one for one in json.loads(roi("list", path, "--format", "json")) if one["name"] == name]
    return figure


def nodes(path, name):
    return {one["node"]: (one["x"], one["y"]) for one in json.loads(roi("nodes", path, name, "--format", "json"))}


def make_part(folder):
    """A set and its image, in a folder."""
    path, image = folder / "part.roi", folder / "part.png"
    subprocess.run([BIN / "draw_part", image], check=True)
    for name, (kind, values) in FIGURES.items():
        roi("add", path, kind, "--name", name, *values.split())
    name, kind, points = SCAN
    roi("add", path, kind, "--name", name, "--points", *points.split())
    return path, image


class Server:
    """`roi open`, until it is stopped."""

    def __init__(self, *arguments):
        self.process = subprocess.Popen([BIN / "roi", "open", *map(str, arguments), "--no-browser"],
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.started = time.monotonic()
        line = self.process.stdout.readline()
        found = re.search(r"http://\S+", line)
        if not found:
            raise AssertionError(f"roi open printed no address: {line!r} {self.process.stderr.read()}")
        self.address = found.group()
        self.port = re.search(r":(\d+)", self.address).group(1)

    def stop(self):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGINT)
            self.process.wait(PATIENCE)
        self.process.stdout.close()
        self.process.stderr.close()


def start_browser(*flags):
    options = webdriver.ChromeOptions()
    options.binary_location = shutil.which("chromium")
    for flag in ("--headless=new", "--no-sandbox", "--window-size=1400,1000", "--disable-dev-shm-usage", *flags):
        options.add_argument(flag)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    driver = webdriver.Chrome(options=options, service=Service(shutil.which("chromedriver")))
    driver.set_script_timeout(PATIENCE)
    return driver


def until(what, ready, patience=PATIENCE):
    """Waits for something to be true, and gives it."""
    end = time.monotonic() + patience
    while True:
        answer = ready()
        if answer:
            return answer
        if time.monotonic() > end:
            raise AssertionError(f"waited in vain for {what}")
        time.sleep(0.02)


class Page:
    """A window with the page in it."""

    def __init__(self, driver, address):
        self.driver = driver
        self.window = driver.current_window_handle
        driver.get(address)
        until("the page", lambda: self.text("#set-state"))

    def activate(self):
        self.driver.switch_to.window(self.window)
        return self

    def run(self, script, *arguments):
        return self.driver.execute_script(script, *arguments)

    def all(self, selector):
        return self.driver.find_elements(By.CSS_SELECTOR, selector)

    def use(self, selector, action):
        """Does something with an element; once more when the page put another one in its place before."""
        def tried():
            for element in self.all(selector)[:1]:
                try:
                    return [action(element)]
                except StaleElementReferenceException:
                    pass
        return until(selector, tried)[0]

    def push(self, selector):
        self.use(selector, lambda element: element.click())

    def shows(self, selector):
        return self.use(selector, lambda element: element.is_displayed())

    def get(self, selector, attribute):
        return self.use(selector, lambda element: element.get_attribute(attribute)) or ""

    def enter(self, selector, text):
        """Types over what stands in a field."""
        self.use(selector, lambda field: field.send_keys(Keys.CONTROL, "a", Keys.NULL, text, Keys.ENTER))

    def text(self, selector):
        return self.run("return document.querySelector(arguments[0])?.textContent ?? ''", selector)

    def names(self):
        # At one moment: the list is made anew while it is read.
        script = "return [...document.querySelectorAll('.figure-list .item .name')].map(name => name.textContent.trim())"
        return self.run(script)

    def revision(self):
        return int(self.run("return document.documentElement.dataset.revision ?? 0"))

    def changes(self, action):
        """Does something and waits until the page shows the set that came of it."""
        before = self.revision()
        action()
        until("a change of the set", lambda: self.revision() > before)

    def field(self, label):
        return f'#properties [aria-label="{label}"]'

    def value(self, label):
        return self.get(self.field(label), "value")

    def type(self, label, text):
        self.enter(self.field(label), text)

    def row(self, name):
        """Where a figure's row in the list is: rows are made anew at any time, and scrolled."""
        return until(name, lambda: self.run("""
            const row = [...document.querySelectorAll(".figure-list .item")].find(
                (one) => one.querySelector(".name").textContent === arguments[0]);
            row?.scrollIntoView({ block: "center" });
            const box = row?.getBoundingClientRect();
            return box && [box.left + 60, box.top + box.height / 2].map(Math.round);""", name))

    def select(self, name, keys=()):
        actions = ActionBuilder(self.driver, duration=20)
        actions.pointer_action.move_to_location(*self.row(name))
        for key in keys:
            actions.key_action.key_down(key)
        actions.pointer_action.pointer_down(MouseButton.LEFT)
        actions.perform()
        self.release(keys)
        until("its properties", lambda: self.run("return document.getElementById('figure-name')?.value") == name)

    def measured(self, name, column):
        """What the table of measurements says, read as a number."""
        cells = self.run("""
            const texts = (all) => [...all].map((one) => one.textContent.replace(/ [▴▾]$/, ""));
            return [texts(document.querySelectorAll("#measurements [role=columnheader]")),
                ...[...document.querySelectorAll("#measurements .item")].map((row) => texts(row.children))];""")
        for row in cells[1:]:
            if name in row and column in cells[0]:
                return float(row[cells[0].index(column)])
        return None

    # The mouse, in coordinates of the image

    def screen(self, x, y):
        return tuple(self.driver.execute_async_script("""
            const [x, y, done] = arguments;
            import("/static/js/viewport.js").then(({ screenPoint, map }) => {
                const at = screenPoint({ x, y });
                const box = map.getContainer().getBoundingClientRect();
                done([Math.round(at.x + box.left), Math.round(at.y + box.top)]);
            });""", x, y))

    def move(self, *places):
        actions = ActionBuilder(self.driver, duration=20)
        for x, y in places:
            actions.pointer_action.move_to_location(*self.screen(x, y))
        actions.perform()

    def place(self):
        """Where the page says that the mouse is."""
        return tuple(float(one) for one in self.text("#status-place").split(","))

    def drag(self, start, end, keys=(), release=True):
        """Drags with the left button and modifiers; gives the point of the image that it ends at."""
        actions = ActionBuilder(self.driver, duration=20)
        actions.pointer_action.move_to_location(*self.screen(*start))
        actions.pointer_action.pointer_down(MouseButton.LEFT)
        for key in keys:
            actions.key_action.key_down(key)
        middle = tuple((a + b) / 2 for a, b in zip(start, end))
        for at in (middle, end):
            actions.pointer_action.move_to_location(*self.screen(*at))
        actions.perform()
        at = self.place()
        if release:
            self.release(keys)
        return at

    def release(self, keys=()):
        actions = ActionBuilder(self.driver, duration=20)
        actions.pointer_action.pointer_up(MouseButton.LEFT)
        for key in keys:
            actions.key_action.key_up(key)
        actions.perform()

    def click(self, x, y, times=1):
        actions = ActionBuilder(self.driver, duration=20)
        actions.pointer_action.move_to_location(*self.screen(x, y))
        for _ in range(times):
            actions.pointer_action.pointer_down(MouseButton.LEFT).pointer_up(MouseButton.LEFT)
        actions.perform()
        return self.place()

    def press(self, *keys, on="#view"):
        self.run("document.querySelector(arguments[0]).focus()", on)
        actions = ActionBuilder(self.driver, duration=20)
        for key in keys:
            actions.key_action.key_down(key)
        for key in reversed(keys):
            actions.key_action.key_up(key)
        actions.perform()

    def toast(self):
        return until("a message", lambda: self.text(".toast span"))


class WorkbenchTest(unittest.TestCase):
    """One browser and one part for all tests of a program, and for each test a folder, a copy, a server and a page."""

    arguments = ()

    @classmethod
    def setUpClass(cls):
        cls.driver = start_browser()
        cls.addClassCleanup(cls.driver.quit)
        cls.parts = Path(tempfile.mkdtemp())
        cls.addClassCleanup(shutil.rmtree, cls.parts)
        cls.part = make_part(cls.parts)

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)
        self.set, self.image = (Path(shutil.copy(file, self.folder)) for file in self.part)
        self.driver.get("about:blank")
        self.driver.get_log("browser")
        self.server = self.start(self.set, self.image, *self.arguments)
        self.page = Page(self.driver, self.server.address)
        self.addCleanup(self.look_for_errors)

    def start(self, *arguments):
        server = Server(*arguments)
        self.addCleanup(server.stop)
        return server

    def look_for_errors(self):
        """Errors that no test expects are faults: scripts that fail, files that the policy refuses."""
        if not self._outcome.success:
            print("messages:", self.page.text("#toasts"))
            return
        errors = [one["message"] for one in self.driver.get_log("browser") if one["level"] == "SEVERE"
                  and not re.search(r"status of 4|/api/events|ERR_", one["message"])]
        self.assertEqual(errors, [])

    def copy(self):
        """The set as it is now, for the command to do the same to."""
        path = self.folder / "copy.roi"
        shutil.copy(self.set, path)
        return path

    def assert_same(self, path, name):
        """The figure in the set is, to the last digit, that in the file."""
        ours, theirs = parameters(self.set, name), parameters(path, name)
        for figure in (ours, theirs):
            # It grows when the grip is asked for, which the command does once more after a drag.
            figure["parameters"].pop("RollGripLength", None)
        self.assertEqual(ours, theirs)
        if "points" in str(ours.get("holds")):
            self.assertEqual(nodes(self.set, name), nodes(path, name))


def main():
    missing = [name for name in ("chromium", "chromedriver") if not shutil.which(name)]
    if webdriver is None:
        missing.append("python3-selenium")
    if missing:
        print(f"skipped: the workbench is tried in a browser, and {', '.join(missing)} cannot be found")
        sys.exit(77)
    unittest.main(verbosity=2)
