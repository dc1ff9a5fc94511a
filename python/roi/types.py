"""Plain values that figures give."""

from typing import Any, List, NamedTuple, Union


class Node(NamedTuple):
    """A node of a figure, at the point (x, y) in image pixels."""

    node: Union[int, str]
    meaning: str
    x: float
    y: float


class Outline(NamedTuple):
    """Loops around a figure and around its holes: arrays of shape (n, 2)."""

    outer: List[Any]
    holes: List[Any]
