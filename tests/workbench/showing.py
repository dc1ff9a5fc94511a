"""Images: their pages, 16 bits, contrast, values under the mouse, and the size of their pixels."""
import struct

from browser import *

WIDTH, HEIGHT = 300, 200


def value(page, x, y):
    return 1000 * page + 20 * x + 5 * y


class Showing(WorkbenchTest):
    def setUp(self):
        super().setUp()
        raw = self.folder / "raw.pgm"
        for page in (1, 2, 3):
            raw.write_bytes(b"P5 %d %d 65535\n" % (WIDTH, HEIGHT) + b"".join(
                struct.pack(">H", value(page, x, y)) for y in range(HEIGHT) for x in range(WIDTH)))
            convert(raw, "-depth", "16", "-density", "5000x4000", "-units", "PixelsPerCentimeter",
                    self.folder / f"{page}.tif")
        self.stack = self.folder / "stack.tif"
        convert(*(self.folder / f"{page}.tif" for page in (1, 2, 3)), self.stack)
        self.page = Page(self.driver, self.start(self.set, self.image, self.stack).address)
        self.page.push("#image-after")
        until("the stack", lambda: "300 x 200" in self.page.text("#status-image"))

    def shade(self, x, y):
        """How bright the page shows a pixel, from 0 to 255."""
        return self.driver.execute_async_script("""
            const [x, y, done] = arguments;
            const found = [...document.querySelectorAll(".leaflet-tile-loaded")].find((tile) => {
                const box = tile.getBoundingClientRect();
                return x >= box.left && x < box.right && y >= box.top && y < box.bottom;
            });
            if (!found) { done(null); return; }
            const box = found.getBoundingClientRect();
            const canvas = document.createElement("canvas");
            canvas.width = canvas.height = 256;
            const context = canvas.getContext("2d");
            context.drawImage(found, 0, 0);
            const at = (place, from, size) => Math.floor((place - from) / size * 256);
            done(context.getImageData(at(x, box.left, box.width), at(y, box.top, box.height), 1, 1).data[0]);""",
            *self.page.screen(x, y))

    def check(self, page, x, y, low, high):
        """The pixel is shown as bright as its value lies between those that are black and white."""
        wanted = 255 * (value(page, x, y) - low) / (high - low)
        until(f"page {page} at {x}, {y} as {wanted}", lambda: abs((self.shade(x, y) or -9) - wanted) < 1.5)
        self.page.move((x, y))
        until("its value", lambda: self.page.text("#status-value") == f"L {value(page, x, y)}")

    def set_field(self, label, text):
        self.page.enter(f'#display [aria-label="{label}"]', text)

    def by_percentile(self, percent):
        self.page.push(f'#display [aria-label="Contrast by percentile"] option[value="{percent}"]')

    def test_pages_contrast_and_values(self):
        page = self.page
        span = lambda number: (value(number, 0, 0), value(number, WIDTH - 1, HEIGHT - 1))
        self.by_percentile(0)
        self.check(1, 210, 60, *span(1))
        self.set_field("Page of 3", "3")
        self.by_percentile(0)
        self.check(3, 70, 140, *span(3))
        self.by_percentile(5)
        low = until("5 %", lambda: self.end("Black from") > span(3)[0] + 200 and self.end("Black from"))
        high = self.end("White from")
        below = sum(value(3, x, y) < low for y in range(HEIGHT) for x in range(WIDTH)) / (WIDTH * HEIGHT)
        self.assertAlmostEqual(below, 0.05, places=2)
        self.check(3, 110, 90, low, high)
        self.set_field("Black from", "4000")
        self.set_field("White from", "8000")
        self.check(3, 120, 33, 4000, 8000)
        mean = self.command(f"{self.stack}:3", "mean")
        until(f"the mean {mean}", lambda: abs((page.measured("plate", "mean") or -9) - mean) < 1e-3)

    def command(self, image, column, *options):
        """What the command measures of the plate, which this image holds in part."""
        rows = json.loads(roi("measure", self.set, image, "--columns", f"name,{column}", "--format", "json", *options))
        (wanted,) = [row[column] for row in rows if row["name"] == "plate"]
        return wanted

    def end(self, label):
        return float(self.page.get(f'#display [aria-label="{label}"]', "value") or 0)

    def test_lengths_and_areas_are_in_the_unit_of_the_pixels(self):
        page = self.page
        area = lambda: page.run("return document.querySelector('#columns-choices [value=area]')")
        page.push("#columns-button")
        until("the choice", area).click()
        page.push("#columns-dialog .primary")

        def check(image, *options):
            wanted = self.command(image, "area", *options)
            until(f"the area {wanted}", lambda: abs((page.measured("plate", "area") or -9) - wanted) < 1e-3)

        check(f"{self.stack}:1")
        page.move((100, 40))
        x, y, *lengths = [float(text) for text in re.findall(r"[\d.]+", page.text("#status-place"))]
        self.assertEqual(lengths, [round(2 * x, 3), round(2.5 * y, 3)])
        self.assertIn("um)", page.text("#status-place"))
        self.set_field("Pixel size", "wide")
        self.assertIn("write a length", until("the reason", lambda: page.text("#display .problem:not(:empty)")))
        self.set_field("Pixel size", "0.25mm")
        check(f"{self.stack}:1", "--pixel-size", "0.25mm")
        self.driver.refresh()
        check(self.image, "--pixel-size", "0.25mm")


main()
