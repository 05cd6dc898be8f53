#!/usr/bin/python3 -B
"""Every text of the application is in every language, and what is wrong with a translation is noticed."""

import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

PROJECT = pathlib.Path(__file__).resolve().parents[2]
SOURCES = ("Desktop App", "Platform")


def check(project):
    """The complaints about the translations of a project; empty when there is none."""
    result = subprocess.run([project / "script/translations", "--check"], capture_output=True, text=True)
    return result.stderr if result.returncode else ""


class TranslationsTest(unittest.TestCase):
    def test_are_complete_and_up_to_date(self):
        self.assertEqual(check(PROJECT), "")

    def test_every_text_is_seen_where_it_is_looked_up(self):
        """A text that is not written where it is looked up would not get into the catalogue."""
        lookup = re.compile(r'\b(?:localized|localizedStringForKey|serviceError)\(\s*([^"\s][^,)]*)')
        # The parameters and properties by which the looking up itself is done.
        known = {"key", "key.toStdString(", "text.toString("}
        for folder in SOURCES:
            for source in (PROJECT / folder).rglob("*.cpp"):
                for argument in lookup.findall(source.read_text()):
                    if not argument.startswith("const "):
                        self.assertIn(argument, known, source.name)


class CheckTest(unittest.TestCase):
    """What the check of the translations notices, in a copy of what it looks at."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.project = pathlib.Path(folder.name)
        for part in (*SOURCES, "Resources"):
            shutil.copytree(PROJECT / part, self.project / part)
        (self.project / "script").mkdir()
        shutil.copy(PROJECT / "script/translations", self.project / "script")

    def change(self, file, old, new):
        path = self.project / file
        text = path.read_text()
        self.assertIn(old, text)
        path.write_text(text.replace(old, new, 1))

    def test_finds_nothing_where_nothing_is_wrong(self):
        self.assertEqual(check(self.project), "")

    def test_notices_a_text_without_a_translation(self):
        self.change("Resources/po/fr.po", 'msgstr "Quitter"', 'msgstr ""')
        self.assertIn('fr.po: these have no translation:\nmsgid "Quit"', check(self.project))

    def test_notices_a_doubtful_translation(self):
        self.change("Resources/po/pl.po", 'msgid "Quit"', '#, fuzzy\nmsgid "Quit"')
        self.assertIn('pl.po: these have no translation:\nmsgid "Quit"', check(self.project))

    def test_notices_a_lost_placeholder(self):
        self.change("Resources/po/ja.po", "バージョン %@", "バージョン")
        self.assertIn("ja.po", check(self.project))

    def test_notices_a_new_text(self):
        with open(self.project / "Desktop App/AppDelegate.cpp", "a") as source:
            source.write('std::string news() { return localized("Something new"); }\n')
        self.assertIn('+msgid "Something new"', check(self.project))

    def test_notices_a_new_text_of_an_interface_file(self):
        self.change("Desktop App/MainInterface.ui", "Register this computer", "Register it &amp;now")
        self.assertIn('+msgid "Register it &now"', check(self.project))

    def test_notices_a_new_text_of_the_desktop_entry(self):
        self.change("Resources/com.norvale.tessor.desktop.in", "Name=", "Name=New ")
        self.assertIn('+msgid "New Ardentra Registration"', check(self.project))

    def test_notices_a_new_text_of_the_metainfo(self):
        self.change("Resources/com.norvale.tessor.metainfo.xml.in", "<p>", "<p>New: ")
        self.assertIn('+msgid "New: ', check(self.project))

    def test_notices_a_language_that_is_not_listed(self):
        self.change("Resources/po/LINGUAS", "nl\n", "")
        self.assertIn("+nl", check(self.project))


if __name__ == "__main__":
    unittest.main()
