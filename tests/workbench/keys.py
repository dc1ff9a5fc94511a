"""Everything without a mouse: drawing, choosing nodes, moving, properties; and names for screen readers."""
from browser import *


class Keyboard(WorkbenchTest):
    def test_draw_choose_and_edit(self):
        page = self.page
        page.press("r")
        page.changes(lambda: page.press(Keys.ENTER))
        name = until("the new figure", lambda: page.names()[5:])[-1]
        until("its name", lambda: page.run("return document.getElementById('figure-name')?.value") == name)
        before = parameters(self.set, name)["parameters"]
        page.changes(lambda: page.press(Keys.ARROW_RIGHT))
        page.changes(lambda: page.press(SHIFT, Keys.ARROW_DOWN))
        after = parameters(self.set, name)["parameters"]
        self.assertEqual((after["CenterX"] - before["CenterX"], after["CenterY"] - before["CenterY"]), (1, 10))
        # Node 7, the right edge: it moves alone, and with Ctrl both edges do.
        copy = self.copy()
        for _ in range(7):
            page.press("n")
        page.changes(lambda: page.press(SHIFT, Keys.ARROW_RIGHT))
        x, y = nodes(copy, name)["7"]
        roi("drag", copy, name, "7", f"{x + 10},{y}")
        self.assert_same(copy, name)
        page.changes(lambda: page.press(CTRL, Keys.ARROW_RIGHT))
        roi("drag", copy, name, "7", f"{x + 11},{y}", "--center")
        self.assert_same(copy, name)
        page.press(Keys.ESCAPE)
        page.changes(lambda: page.press(Keys.DELETE))
        self.assertNotIn(name, page.names())

    def test_lists_and_fields(self):
        page = self.page
        page.press(Keys.END, on="#figure-list")
        until("the last figure", lambda: page.run("return document.getElementById('figure-name')?.value") == "scan")
        page.press(Keys.PAGE_UP)
        until("the one before", lambda: page.run("return document.getElementById('figure-name')?.value") == "fan")
        page.changes(lambda: page.press(Keys.ARROW_UP, on='#properties [aria-label="DeltaAngle"]'))
        self.assertAlmostEqual(parameters(self.set, "fan")["parameters"]["DeltaAngle"], 121)

    def test_everything_is_reached_and_named(self):
        self.page.select("slot")
        unnamed = self.page.run("""
            return [...document.querySelectorAll("button, input, select, canvas[tabindex], [tabindex='0']")]
                .filter((one) => one.checkVisibility() && !one.getAttribute("aria-label") && !one.labels?.length
                    && !one.getAttribute("aria-labelledby") && !one.textContent.trim()).map((one) => one.outerHTML);""")
        self.assertEqual(unnamed, [])
        reached = set()
        self.page.run("document.activeElement.blur()")
        for _ in range(120):
            webdriver.ActionChains(self.driver).send_keys(Keys.TAB).perform()
            reached.add(self.page.run("const a = document.activeElement; return a.id || a.ariaLabel || a.textContent"))
        for wanted in ("undo", "image", "zoom-in", "import", "export", "theme", "view", "figure-list", "filter",
                       "figure-name", "measurements", "columns-button", "csv", "plot-histogram", "Draw: ellipse",
                       "Shear"):
            self.assertIn(wanted, reached)

    def test_readable_at_twice_the_size(self):
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                    {"width": 700, "height": 500, "deviceScaleFactor": 2, "mobile": False})
        self.addCleanup(self.driver.execute_cdp_cmd, "Emulation.clearDeviceMetricsOverride", {})
        self.page.select("slot")
        self.assertLessEqual(self.page.run("return document.documentElement.scrollWidth"), 700)
        cut = self.page.run("""
            return [...document.querySelectorAll("button, h2, .property .label")]
                .filter((one) => one.checkVisibility() && one.scrollWidth > one.clientWidth + 1
                    && getComputedStyle(one).overflow !== "visible").map((one) => one.outerHTML);""")
        self.assertEqual(cut, [])


main()
