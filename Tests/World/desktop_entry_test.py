#!/usr/bin/python3 -B
"""What the demo changes in a person's desktop is as it was afterwards."""

import pathlib
import tempfile
import unittest

from desktop_entry import TemporaryDesktopEntry


class TemporaryDesktopEntryTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = pathlib.Path(folder.name)
        self.list = self.home / ".config/mimeapps.list"

    def add_entry(self):
        environment = {"HOME": str(self.home)}
        return TemporaryDesktopEntry(environment, "demo", "Demo", "/bin/true", ["veltora"])

    def write_list(self, text):
        self.list.parent.mkdir()
        self.list.write_text(text)

    def test_makes_itself_the_default(self):
        self.write_list("[Default Applications]\ntext/html=browser.desktop\n")
        self.add_entry()
        self.assertIn("x-scheme-handler/veltora=demo.desktop", self.list.read_text())
        self.assertIn("text/html=browser.desktop", self.list.read_text())
        entry = self.home / ".local/share/applications/demo.desktop"
        self.assertIn("Exec=/bin/true %u", entry.read_text())

    def test_leaves_nothing_in_an_empty_home(self):
        self.add_entry().remove()
        self.assertEqual(list(self.home.iterdir()), [])

    def test_gives_back_an_entry_of_the_same_name(self):
        entry = self.home / ".local/share/applications/demo.desktop"
        entry.parent.mkdir(parents=True)
        entry.write_text("[Desktop Entry]\nName=The real one\n")
        added = self.add_entry()
        self.assertIn("Exec=/bin/true %u", entry.read_text())
        added.remove()
        self.assertEqual(entry.read_text(), "[Desktop Entry]\nName=The real one\n")

    def test_leaves_the_list_as_it_was_to_the_byte(self):
        text = "\n[Default Applications]\nx-scheme-handler/veltora=other.desktop;\n\n[Group]"
        self.write_list(text)
        self.add_entry().remove()
        self.assertEqual(self.list.read_text(), text)

    def test_keeps_what_others_have_changed_meanwhile(self):
        self.write_list("[Default Applications]\nx-scheme-handler/veltora=other.desktop\n")
        entry = self.add_entry()
        with open(self.list, "a", encoding="utf-8") as defaults:
            defaults.write("text/html=browser.desktop\n")
        entry.remove()
        self.assertEqual(
            self.list.read_text(),
            "[Default Applications]\nx-scheme-handler/veltora=other.desktop\n"
            "text/html=browser.desktop\n",
        )

    def test_replaces_only_the_default_and_no_other_association(self):
        self.write_list("[Added Associations]\nx-scheme-handler/veltora=other.desktop;\n")
        self.add_entry()
        self.assertIn("x-scheme-handler/veltora=other.desktop;", self.list.read_text())
        self.assertIn("x-scheme-handler/veltora=demo.desktop", self.list.read_text())


if __name__ == "__main__":
    unittest.main(verbosity=2)
