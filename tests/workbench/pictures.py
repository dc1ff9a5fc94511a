"""The pictures of README.md and docs/workbench.md: `ROI_PICTURES=docs tests/workbench/pictures.py` takes them anew."""
from browser import *

FOLDER = os.environ.get("ROI_PICTURES")

# What ./demo places.
DEMO = [
    "ROIEllipse --name bore CenterX=245 CenterY=215 RadiusX=66 RadiusY=66",
    "ROIDonut --name chamfer CenterX=245 CenterY=215 RadiusX1=76 RadiusY1=76 RadiusX2=93 RadiusY2=93",
    "ROIArcDonut --name washer CenterX=640 CenterY=365 Radius1X=64 Radius1Y=64 Radius2X=104 Radius2Y=104"
    " StartAngle=-150 DeltaAngle=120",
    "ROIRectangle --name rib CenterX=315 CenterY=430 Width=236 Height=42 Angle=-12",
    "ROIParallelogram --name slot CenterX=560 CenterY=130 Width=176 Height=38 Roll=7 Shear=25",
    "ROIProfile --name scan --points 480,540 560,470 690,290 825,235",
    "ROIShape --name corner --points 70,465 146,541",
]


class Pictures(WorkbenchTest):
    def setUp(self):
        super().setUp()
        self.server.stop()
        self.set.unlink()
        for figure in DEMO:
            roi("add", self.set, *figure.split())
        roi("set", self.set, "scan", "Thickness1=6", "Thickness2=6")
        stencil = self.folder / "stencil.png"
        convert("-size", "34x33", "xc:black", "-fill", "white", "-draw", "circle 17,16 17,0", stencil)
        place = "CenterX=791 CenterY=98 Width=34 Height=34"
        roi("add", self.set, "ROIMask", "--name", "stencil", "--mask", stencil, *place.split())
        self.server = self.start(self.set, self.image)
        self.page = Page(self.driver, self.server.address)

    def theme(self, name):
        if self.page.run("return document.documentElement.dataset.theme") != name:
            self.page.push("#theme")

    def take(self, name):
        path = Path(FOLDER or self.folder) / f"{name}.png"
        self.driver.save_screenshot(str(path))
        convert(path, "-dither", "None", "-colors", "255", f"PNG8:{path}")
        # How bright the panels are, from 0 to 1.
        return float(convert(path, "-crop", "200x60+1180+600", "-colorspace", "Gray", "-format", "%[fx:mean]", "info:"))

    def test_dark_and_light(self):
        page = self.page
        self.theme("dark")
        page.push("#show-names")
        page.select("slot")
        until("its histogram", lambda: "Histogram of slot" in page.get("#plot", "aria-label"))
        dark = self.take("workbench-dark")
        self.theme("light")
        page.select("scan")
        page.push("#plot-profile")
        until("its plot", lambda: "samples" in page.get("#plot", "aria-label"))
        page.move((600, 400), (614, 395))
        until("the mark", lambda: page.run("return Chart.getChart('plot')?.getActiveElements().length"))
        light = self.take("workbench-light")
        self.assertLess(dark, 0.35)
        self.assertGreater(light, 0.75)


main()
