"""Regions of interest on NumPy images: figures placed, edited, measured and drawn.

Images are arrays of shape (rows, columns) or (rows, columns, channels), points arrays of shape (n, 2) with x and y,
masks bool arrays of shape (rows, columns). The centre of the first pixel is the point (0, 0).
"""

from roi import notebook as _notebook
from roi._roi import Figure, FileTables, Set, classes, columns, read
from roi.errors import Error, FigureWarning, MissingFileError, UnknownNameError, UsageError
from roi.types import Node, Outline

for _public in (Figure, Set, FileTables):
    _public.__module__ = "roi"
Figure._repr_html_ = _notebook.figure_html
Figure._repr_png_ = _notebook.figure_png
Set._repr_html_ = _notebook.set_html

__all__ = [
    "Error",
    "Figure",
    "FigureWarning",
    "FileTables",
    "MissingFileError",
    "Node",
    "Outline",
    "Set",
    "UnknownNameError",
    "UsageError",
    "classes",
    "columns",
    "read",
]
