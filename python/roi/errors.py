"""What goes wrong, in the words of the command: WHAT: SUBJECT: WHY."""


class Error(Exception):
    """The work failed. The base of all errors of this package."""


class UsageError(Error, ValueError):
    """An argument that does not exist or makes no sense."""


class UnknownNameError(Error, KeyError):
    """A set has no figure, or a figure no parameter, of that name."""

    # A KeyError shows its argument in quotes.
    __str__ = Exception.__str__


class MissingFileError(Error, FileNotFoundError):
    """There is no such file."""


class FigureWarning(UserWarning):
    """What is no failure but should be known, such as what a file format does not keep of a figure."""
