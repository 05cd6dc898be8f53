"""The documents of the project, and what stands in them."""

import pathlib
import re
import sys

SOURCE = pathlib.Path(__file__).resolve().parents[2]

# The private desktop is there for these tests, too.
sys.path.insert(0, str(SOURCE / "Tests/World"))

_BLOCK = re.compile(r"^```(\S*)\n(.*?)^```$", re.MULTILINE | re.DOTALL)


def read(path):
    return (SOURCE / path).read_text(encoding="utf-8")


def blocks(path, language):
    """The fenced blocks of that language, in their order."""
    return [text for name, text in _BLOCK.findall(read(path)) if name == language]
