"""The examples of docs/python.md, in their order and in one namespace."""

import pathlib
import re
import warnings

import pytest

DOCUMENT = pathlib.Path(__file__).parents[2] / "docs" / "python.md"


def test_every_example_runs(tmp_path, monkeypatch):
    pytest.importorskip("pandas")
    pytest.importorskip("PIL")
    monkeypatch.chdir(tmp_path)
    names = {}
    text = DOCUMENT.read_text()
    examples = list(re.finditer(r"^```python\n(.*?)^```", text, re.MULTILINE | re.DOTALL))
    assert len(examples) > 9
    for example in examples:
        line = text[: example.start(1)].count("\n")
        with warnings.catch_warnings():
            warnings.simplefilter("ignore")
            exec(compile("\n" * line + example[1], DOCUMENT, "exec"), names)
