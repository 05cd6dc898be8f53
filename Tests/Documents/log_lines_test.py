#!/usr/bin/python3 -B
"""Compares the log lines of the sources with those that docs/administrators.md explains."""

import re
import unittest

import documents

DOCUMENT = "docs/administrators.md"

# Lines whose text is put together elsewhere: of a status (see below), and of an error value.
STATUS_LINE = "%@: %@"
ERROR_LINE = "%@"
DOCUMENTED_ERROR_LINE = "Error Domain=com.norvale.tessor.api Code=4097 %@"

_LITERALS = r'((?:"(?:[^"\\]|\\.)*"\s*)+)'
_LOG_CALL = re.compile(r"\bNSLog\(\s*" + _LITERALS)
# The calls of the credential store that put a status behind a message, up to their end.
_STATUS_CALL = re.compile(r"\b(?:logStatus|reportSuccess)\([^;{\"]*" + _LITERALS)
_STATUS_MESSAGE = re.compile(r'"[^"]*the Ardentra [^"]*"')
_ROW = re.compile(r"^\| `([^`]+)` \|", re.MULTILINE)


def texts(pattern, source):
    for literals in pattern.findall(source):
        yield "".join(re.findall(r'"((?:[^"\\]|\\.)*)"', literals))


def sources():
    for folder in ("Desktop App", "Platform"):
        for path in sorted((documents.SOURCE / folder).rglob("*.cpp")):
            yield path, path.read_text(encoding="utf-8")


def lines_of_sources():
    lines = set()
    for _, source in sources():
        lines.update(texts(_LOG_CALL, source))
        lines.update(f"{message}: %@" for message in texts(_STATUS_CALL, source))
    assert {STATUS_LINE, ERROR_LINE} <= lines, "the sources changed: see the two lines above"
    return lines - {STATUS_LINE, ERROR_LINE} | {DOCUMENTED_ERROR_LINE}


def documented_lines():
    section = documents.read(DOCUMENT).partition("\n## Log lines\n")[2]
    return _ROW.findall(section)


class LogLines(unittest.TestCase):
    def test_are_all_explained_and_no_others(self):
        documented = documented_lines()
        self.assertEqual(len(documented), len(set(documented)), "explained twice")
        self.assertEqual(set(documented), lines_of_sources())

    def test_are_written_as_texts_in_the_call(self):
        """What is put together in another way would escape the comparison."""
        for path, source in sources():
            if path.name == "Log.cpp":
                continue
            calls = len(re.findall(r"\bNSLog\(", source))
            self.assertEqual(calls, len(list(texts(_LOG_CALL, source))), path)
        store = documents.read("Desktop App/VTTokenStore.cpp")
        messages = len(_STATUS_MESSAGE.findall(store))
        self.assertEqual(messages, len(list(texts(_STATUS_CALL, store))))


if __name__ == "__main__":
    unittest.main()
