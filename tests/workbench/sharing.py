"""Two windows, commands meanwhile, a server that is started anew, and images that are broken."""
from browser import *


class Sharing(WorkbenchTest):
    def second(self):
        self.driver.switch_to.new_window("window")
        other = Page(self.driver, self.server.address)
        self.addCleanup(lambda: (other.activate(), self.driver.close(), self.page.activate()))
        return other

    def test_two_windows_see_each_others_edits(self):
        other = self.second()
        other.select("bore")
        self.page.activate().select("bore")
        self.page.changes(lambda: self.page.type("RadiusY", "33.25"))
        other.activate()
        until("the other's edit", lambda: other.value("RadiusY") == "33.25")
        other.changes(lambda: other.press(CTRL, "z"))
        self.page.activate()
        until("what the other took back", lambda: self.page.value("RadiusY") == "41.5")

    def test_a_command_edits_meanwhile(self):
        self.page.select("plate")
        self.page.changes(lambda: roi("set", self.set, "plate", "Width=150.5"))
        until("the command's width", lambda: self.page.value("Width") == "150.5")
        self.page.changes(lambda: roi("add", self.set, "ROIEllipse", "--name", "late", "CenterX=300"))
        until("the command's figure", lambda: "late" in self.page.names())
        self.page.changes(lambda: roi("remove", self.set, "late"))
        until("its end", lambda: "late" not in self.page.names())

    def test_an_edit_of_what_changed_meanwhile_is_refused_with_a_message(self):
        page = self.page
        page.select("plate")
        # The page hears of the command's edit and fails to ask what it is.
        page.run("""window.held = window.fetch; window.fetch = (where, init) =>
            String(where).includes("since=") ? Promise.reject(new TypeError()) : window.held(where, init);""")
        roi("set", self.set, "plate", "Width=150.5")
        self.assertIn("does not answer", page.toast())
        page.run("window.fetch = window.held; document.getElementById('toasts').replaceChildren();")
        page.changes(lambda: page.type("Width", "99"))
        self.assertIn("plate", page.toast())
        until("the command's width", lambda: page.value("Width") == "150.5")
        self.assertEqual(parameters(self.set, "plate")["parameters"]["Width"], 150.5)

    def test_restart_of_the_server(self):
        self.page.select("bore")
        self.page.changes(lambda: self.page.type("RadiusX", "71.75"))
        self.server.stop()
        until("the loss", lambda: self.page.text("#set-state") == "not connected")
        anew = self.start(self.set, self.image, "--port", self.server.port)
        until("what happened", lambda: "started anew" in self.page.text("#toasts"))
        page = Page(self.driver, anew.address)
        page.select("bore")
        self.assertEqual(page.value("RadiusX"), "71.75")
        page.changes(lambda: page.press(CTRL, "z"))
        self.assertEqual(parameters(self.set, "bore")["parameters"]["RadiusX"], 66)


class Images(WorkbenchTest):
    def setUp(self):
        super().setUp()
        broken = self.folder / "broken.png"
        broken.write_bytes(self.image.read_bytes()[:300])
        self.server.stop()
        self.server = self.start(self.set, self.image, broken)
        self.page = Page(self.driver, self.server.address)

    def test_a_broken_image_says_why_and_the_others_go_on(self):
        page = self.page
        page.push("#image-after")
        until("the reason", lambda: page.shows("#broken") and "broken.png" in page.text("#broken"))
        page.push("#image-before")
        until("the image", lambda: not page.shows("#broken") and page.all(".leaflet-tile-loaded"))

    def test_pixels_are_squares_with_the_file_s_values(self):
        page = self.page
        page.run("return import('/static/js/viewport.js').then(({ map }) => void map.setView([412, 250], 5))")
        rendering = "return getComputedStyle(document.querySelector('.leaflet-tile')).imageRendering"
        until("squares", lambda: page.run(rendering) == "pixelated")
        page.move((250.4, 411.6))
        x, y = page.place()
        self.assertLess(abs(x - 250.4) + abs(y - 411.6), 0.05)
        value = convert(self.image, "-format", "%[fx:round(255*p{250,412}.r)]", "info:")
        until(f"value {value}", lambda: page.text("#status-value").split()[-1:] == [value])


main()
