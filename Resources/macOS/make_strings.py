#!/usr/bin/env python3
"""Makes a table of texts for an application bundle of a gettext catalogue.

usage: make_strings.py CATALOGUE TABLE TOOL

TOOL is msgcat, or msgen for a catalogue without translations, in which then every text is its own.
The table is UTF-16, the one form that every version of the system has read. Texts without a
translation, or with one that is in doubt, are left out: the system shows the key then.
"""

import pathlib
import re
import subprocess
import sys

ENTRY = re.compile(r'(?P<comments>(?:/\*(?:[^*]|\*(?!/))*\*/\n)*)(?P<entry>"(?:[^"\\]|\\.)*" = '
                   r'"(?:[^"\\]|\\.)*";)\n')
# What only the catalogue says of itself has the empty key.
HEADER = '"" = '
NO_TRANSLATION = re.compile(r"/\* Flag: (untranslated|fuzzy)")


def table_of(catalogue, tool):
    command = [tool, "--no-wrap", "--stringtable-output", catalogue]
    text = subprocess.run(command, check=True, capture_output=True).stdout.decode("utf-8-sig")
    entries = [match["entry"] for match in ENTRY.finditer(text)
               if not match["entry"].startswith(HEADER)
               and not NO_TRANSLATION.search(match["comments"])]
    return "\n".join(entries) + "\n"


def main(catalogue, table, tool):
    pathlib.Path(table).write_bytes(table_of(catalogue, tool).encode("utf-16"))


if __name__ == "__main__":
    main(*sys.argv[1:])
