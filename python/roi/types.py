"""Plain values that figures give."""

import typing


class Node(typing.NamedTuple):
    """A node of a figure, at the point (x, y) in image pixels."""

    node: typing.Union[int, str]
    meaning: str
    x: float
    y: float


class Outline(typing.NamedTuple):
    """Loops around a figure and around its holes: arrays of shape (n, 2)."""

    outer: typing.List[typing.Any]
    holes: typing.List[typing.Any]
