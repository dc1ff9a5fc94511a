"""Nodes dragged with and without modifiers, to the last digit as by `roi drag`, and what else the mouse does."""
from browser import *

# Every class with a node of each kind, and the modifiers that it knows.
DRAGS = [
    ("plate", "4", (12, 25), ["", CTRL, SHIFT, CTRL + SHIFT]),
    ("plate", "7", (31, -9), ["", CTRL]),
    ("plate", "10", (-8, 40), ["", CTRL]),
    ("slot", "3", (-22, 17), ["", CTRL, SHIFT]),
    ("slot", "11", (14, -6), [""]),
    ("bore", "2", (21, 13), ["", SHIFT]),
    ("ring", "5", (9, -18), ["", SHIFT]),
    ("fan", "6", (15, 30), [""]),
    ("fan", "3", (-12, 8), ["", CTRL]),
    ("scan", "1:1", (7, 22), [""]),
    ("scan", "4:0", (-6, -11), [""]),
]


class Dragging(WorkbenchTest):
    def test_nodes_are_dragged_as_by_the_command(self):
        for name, node, (dx, dy), modifiers in DRAGS:
            for keys in modifiers:
                with self.subTest(name=name, node=node, keys=[{CTRL: "ctrl", SHIFT: "shift"}[key] for key in keys]):
                    self.page.select(name)
                    copy = self.copy()
                    x, y = nodes(self.set, name)[node]
                    at = []
                    self.page.changes(lambda: at.append(self.page.drag((x, y), (x + dx, y + dy), keys=keys)))
                    flags = [{CTRL: "--center", SHIFT: "--square"}[key] for key in keys]
                    roi("drag", copy, name, node, "{},{}".format(*at[0]), *flags)
                    self.assert_same(copy, name)

    def test_values_follow_the_mouse_before_it_is_let_go(self):
        self.page.select("bore")
        before = until("pixels", lambda: self.page.measured("bore", "pixels"))
        x, y = nodes(self.set, "bore")["2"]
        self.page.drag((x, y), (x + 60, y), release=False)
        until("more pixels", lambda: self.page.measured("bore", "pixels") > before * 1.5)
        self.page.press(Keys.ESCAPE)
        until("the pixels of before", lambda: self.page.measured("bore", "pixels") == before)
        self.page.release()
        self.assertEqual(parameters(self.set, "bore")["parameters"]["RadiusX"], 66)

    def test_figures_move_together(self):
        centers = {name: parameters(self.set, name)["parameters"] for name in ("plate", "ring")}
        self.page.select("plate")
        self.page.select("ring", keys=[CTRL])
        # On the plate, away from its nodes.
        self.page.changes(lambda: self.page.drag((350, 180), (371, 191)))
        moved = {name: parameters(self.set, name)["parameters"] for name in centers}
        steps = {name: [round(moved[name][key] - centers[name][key], 6) for key in ("CenterX", "CenterY")]
                 for name in centers}
        self.assertEqual(steps["plate"], steps["ring"])
        self.assertLess(abs(steps["plate"][0] - 21) + abs(steps["plate"][1] - 11), 4)

    def test_a_frame_selects_what_lies_in_it(self):
        self.page.drag((40, 330), (520, 560), keys=[SHIFT])
        until("two figures", lambda: len(self.page.all('.figure-list [aria-selected="true"]')) == 2)


main()
