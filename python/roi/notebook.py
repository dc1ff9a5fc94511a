"""How sets and figures look in a notebook."""

import base64
import html


def _row(cells, tag="td"):
    return "<tr>" + "".join(f"<{tag}>{html.escape(str(cell))}</{tag}>" for cell in cells) + "</tr>"


def _line(figure):
    return ", ".join(f"{name}={value:g}" for name, value in dict(figure).items() if not isinstance(value, str))


def figure_html(self):
    """The parameters of a figure."""
    rows = "".join(_row(item) for item in dict(self).items())
    return f"<table><caption>{html.escape(repr(self))}</caption>{rows}</table>"


def set_html(self):
    """The figures of a set with their parameters, and a picture of them."""
    rows = "".join(_row((figure.name, figure.class_name, _line(figure))) for figure in self.values())
    table = f"<table>{_row(('name', 'class', 'parameters'), 'th')}{rows}</table>"
    picture = self._repr_png_()
    if picture is None:
        return table
    encoded = base64.b64encode(picture).decode("ascii")
    return f'{table}<img alt="figures" style="max-width: 100%" src="data:image/png;base64,{encoded}">'


def figure_png(self):
    """A picture of one figure alone."""
    from roi import Set

    alone = Set()
    alone.append(self)
    return alone._repr_png_()
