"""Properties, history, and the table of measurements."""
import csv
import math

from browser import *


class Editing(WorkbenchTest):
    def test_parameters_by_kind(self):
        page = self.page
        page.select("slot")
        page.changes(lambda: page.type("Width", "201.25"))
        page.changes(lambda: page.push(page.field("LockA")))
        page.changes(lambda: page.type("Shear", "-11.5"))
        values = parameters(self.set, "slot")["parameters"]
        self.assertEqual((values["Width"], values["LockA"], round(values["Shear"], 9)), (201.25, 1, -11.5))
        side = until("side A", lambda: page.text(page.field("A")))
        self.assertAlmostEqual(float(side), 201.25 - 70 * math.tan(math.radians(-11.5)), places=4)
        page.select("scan")
        page.changes(lambda: page.push("#properties .action button"))
        self.assertIn("1:3", nodes(self.set, "scan"))

    def test_a_refused_value_says_so_at_its_field(self):
        self.page.select("bore")
        self.page.type("RadiusX", "wide")
        problem = until("the reason", lambda: self.page.text("#properties .problem:not(:empty)"))
        self.assertIn("RadiusX", problem)
        self.assertEqual(self.page.get(self.page.field("RadiusX"), "aria-invalid"), "true")
        self.page.changes(lambda: self.page.type("RadiusX", "70.5"))
        self.assertEqual(parameters(self.set, "bore")["parameters"]["RadiusX"], 70.5)

    def test_every_step_is_taken_back_and_done_again(self):
        page, steps = self.page, 6
        page.select("bore")
        for step in range(steps):
            page.changes(lambda: page.type("RadiusX", str(50 + step)))
        for keys, expected in (((CTRL, "z"), [54, 53, 52, 51, 50, 66]), ((CTRL, SHIFT, "z"), [50, 51, 52, 53, 54, 55])):
            for radius in expected:
                page.changes(lambda: page.press(*keys))
                self.assertEqual(parameters(self.set, "bore")["parameters"]["RadiusX"], radius)
        self.assertEqual(page.run("return document.getElementById('redo').disabled"), True)

    def test_rename_duplicate_order_hide_delete(self):
        page = self.page
        page.select("bore")
        page.changes(lambda: page.type("Name", "bore é, \"1\""))
        page.changes(lambda: page.press(CTRL, "d"))
        names = page.names()
        self.assertEqual(len(names), 7)
        self.assertIn('bore é, "1"', names)
        page.select("plate")
        page.changes(lambda: page.press(CTRL, Keys.PAGE_UP))
        until("the plate in front", lambda: page.names()[-1] == "plate")
        order = page.names()
        # The second row is dragged below the fifth, and with the keys one up again.
        actions = ActionBuilder(self.driver, duration=60)
        for row, act in ((1, "pointer_down"), (3, "pause"), (4.4, "pointer_up")):
            getattr(actions.pointer_action.move_to_location(*page.run("""
                const { left, top, height } = document.querySelector('.figure-list .item').getBoundingClientRect();
                return [left + 60, top + height * (0.5 + arguments[0])].map(Math.round);""", row)), act)()
        page.changes(actions.perform)
        self.assertEqual(page.names(), [order[0], *order[2:5], order[1], *order[5:]])
        page.select(order[1])
        page.changes(lambda: page.press(Keys.ALT, Keys.ARROW_UP, on="#figure-list"))
        self.assertEqual(page.names(), [order[0], *order[2:4], order[1], order[4], *order[5:]])
        self.assertEqual([one["name"] for one in json.loads(roi("list", self.set, "--format", "json"))], page.names())
        page.select("plate")
        page.press("h")
        until("it to be hidden", lambda: "plate" in page.text(".hidden-figure"))
        self.driver.refresh()
        until("it to be hidden still", lambda: "plate" in page.text(".hidden-figure"))
        page.select("plate")
        page.press("h")
        page.changes(lambda: page.press(Keys.DELETE))
        self.assertNotIn("plate", page.names())

    def test_the_table_is_that_of_the_command(self):
        page = self.page
        for exact in ([], ["--exact"]):
            if exact:
                page.push("#exact")
            wanted = json.loads(roi("measure", self.set, self.image, "--format", "json", *exact))
            for row in wanted:
                for column in ("pixels", "mean", "std", "cx", "cy"):
                    until(f"{row['name']} {column} {row[column]}", lambda: abs(
                        (page.measured(row["name"], column) or 1e9) - row[column]) < 1e-3)
        page.run("""window.saved = ''; URL.createObjectURL = (blob) => { blob.text().then((t) => { window.saved = t; });
                    return 'data:,'; };""")
        page.run("""[...document.querySelectorAll("#measurements .head-row button")]
            .find((one) => one.textContent === "mean").click();""")
        page.push("#csv")
        lines = list(csv.DictReader(until("the file", lambda: page.run("return window.saved")).splitlines()))
        means = [float(line["mean"]) for line in lines]
        self.assertEqual(means, sorted(row["mean"] for row in wanted))

    def test_files_in_and_out(self):
        page, table = self.page, self.folder / "figures.csv"
        roi("export", self.set, table)
        page.changes(lambda: page.use("#import-file", lambda file: file.send_keys(str(table))))
        self.assertEqual(len(page.names()), 12)
        page.changes(lambda: page.press(CTRL, "z"))
        page.push("#export")
        files = self.driver.execute_async_script("""
            const done = arguments[0];
            Promise.all([...document.querySelectorAll(".choice")].map(async (one) =>
                [one.getAttribute("href"), await (await fetch(one.href)).text()]))
                .then(Object.fromEntries).then(done);""")
        # The grip's length grows whenever somebody asks where the grip is.
        ours, theirs = (re.sub(r"RollGripLength=[^, ]+", "", text)
                        for text in (files["/api/export?as=csv"], table.read_text()))
        self.assertEqual(ours, theirs)
        self.assertIn("<svg", files["/api/overlay.svg?image=0&page=1"])
        page.push("#export-dialog footer button")
        until("the dialog to close", lambda: not page.shows("#export-dialog"))

    def test_plots_and_the_image_point_at_each_other(self):
        page = self.page
        page.select("scan")
        page.push("#plot-profile")
        until("the plot", lambda: "samples" in page.get("#plot", "aria-label"))
        page.move((190, 140), (188, 139))
        marked = "return import('/static/js/state.js').then(({ state }) => state.mark && [state.mark.x, state.mark.y]);"
        mark = until("a mark", lambda: page.run(marked))
        self.assertLess(abs(mark[0] - 190) + abs(mark[1] - 140), 6)
        self.assertEqual(page.run("return Chart.getChart('plot').getActiveElements().length"), 1)
        page.press(Keys.ARROW_RIGHT, on="#plot")
        self.assertNotEqual(page.run(marked), mark)


main()
