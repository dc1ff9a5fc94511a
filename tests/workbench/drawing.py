"""Figures of every class drawn with the mouse, and measured as the command measures them."""
from browser import *


class Drawing(WorkbenchTest):
    # How each class is drawn, and what its parameters then are: of the points where the mouse went down and up.
    DRAGS = {
        "ROIRectangle": lambda a, b: {"CenterX": (a[0] + b[0]) / 2, "CenterY": (a[1] + b[1]) / 2,
                                      "Width": b[0] - a[0], "Height": b[1] - a[1]},
        "ROIParallelogram": lambda a, b: {"CenterX": (a[0] + b[0]) / 2, "CenterY": (a[1] + b[1]) / 2,
                                          "Width": b[0] - a[0], "Height": b[1] - a[1], "Shear": 20},
        "ROIEllipse": lambda a, b: {"CenterX": a[0], "CenterY": a[1], "RadiusX": b[0] - a[0], "RadiusY": b[1] - a[1]},
        "ROIDonut": lambda a, b: {"CenterX": a[0], "RadiusX2": b[0] - a[0], "RadiusY2": b[1] - a[1],
                                  "RadiusX1": (b[0] - a[0]) / 2, "RadiusY1": (b[1] - a[1]) / 2},
        "ROIArcDonut": lambda a, b: {"CenterX": a[0], "CenterY": a[1], "DeltaAngle": 120,
                                     "Radius2X": ((b[0] - a[0]) ** 2 + (b[1] - a[1]) ** 2) ** 0.5},
    }

    def added(self, before):
        (name,) = set(self.page.names()) - set(before)
        return name

    def choose(self, kind):
        self.page.push(f'[data-tool="{kind}"]')

    def check_measured(self, name):
        row = json.loads(roi("measure", self.set, self.image, "--format", "json"))
        (wanted,) = [one for one in row if one["name"] == name]
        for column in ("pixels", "mean", "cx"):
            shown = until(column, lambda: self.page.measured(name, column))
            self.assertAlmostEqual(shown, wanted[column], places=3)

    def test_drags(self):
        for kind, expected in self.DRAGS.items():
            with self.subTest(kind):
                before = self.page.names()
                self.choose(kind)
                start = (420.0, 260.0)
                self.page.move(start)
                begin = self.page.place()
                at = []
                self.page.changes(lambda: at.append(self.page.drag(start, (505.0, 318.0))))
                name = self.added(before)
                figure = parameters(self.set, name)
                self.assertEqual(figure["class"], kind)
                for key, value in expected(begin, at[0]).items():
                    self.assertAlmostEqual(figure["parameters"][key], value, places=6)
                self.check_measured(name)

    def test_points(self):
        for kind, finish in (("ROIProfile", "double click"), ("ROIShape", "Enter")):
            with self.subTest(kind):
                before = self.page.names()
                self.choose(kind)
                corners = [(480, 300), (560, 250), (570, 340)]
                at = [self.page.click(*corner) for corner in corners[:2]]

                def end():
                    if finish == "Enter":
                        at.append(self.page.click(*corners[2]))
                        self.page.press(Keys.ENTER)
                    else:
                        at.append(self.page.click(*corners[2], times=2))
                self.page.changes(end)
                name = self.added(before)
                shown = [tuple(float(self.page.value(f"Point {i}, {axis}")) for axis in "xy")
                         for i in range(3)]
                self.assertEqual(shown, at)
                self.check_measured(name)

    def test_mask_from_a_file(self):
        picture = self.folder / "stencil.png"
        convert("-size", "31x20", "xc:black", "-fill", "white", "-draw", "rectangle 4,3 22,11", picture)
        before = self.page.names()
        self.choose("ROIMask")
        self.page.click(450, 300)
        self.page.changes(lambda: self.page.use("#mask-file", lambda file: file.send_keys(str(picture))))
        name = self.added(before)
        self.check_measured(name)
        until("19 x 9 pixels", lambda: self.page.measured(name, "pixels") == 171)

    def test_escape_gives_up(self):
        before = self.page.names()
        self.choose("ROIEllipse")
        self.page.drag((420, 260), (500, 300), release=False)
        self.page.press(Keys.ESCAPE)
        self.page.release()
        self.assertEqual(self.page.names(), before)
        self.assertEqual(len(json.loads(roi("list", self.set, "--format", "json"))), len(before))


main()
