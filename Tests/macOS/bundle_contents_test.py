#!/usr/bin/env python3
"""Reads what the build makes for the application bundle as the system will read it.

usage: bundle_contents_test.py SOURCE_DIR FOLDER

FOLDER is the build's own "macOS" folder.
"""

import pathlib
import plistlib
import re
import struct
import subprocess
import sys
import unittest

SOURCE = pathlib.Path()
BUNDLE = pathlib.Path()
NAMES_OF_LANGUAGES = {"pt_BR": "pt-BR", "zh_CN": "zh-Hans"}


def table(language):
    """The texts of a language, read by the grammar of such tables, of which nothing is left over."""
    folder = BUNDLE / "Resources" / f"{NAMES_OF_LANGUAGES.get(language, language)}.lproj"
    text = (folder / "Localizable.strings").read_bytes().decode("utf-16")
    entry = re.compile(r'"((?:[^"\\]|\\["\\n])*)" = "((?:[^"\\]|\\["\\n])*)";\n')
    assert entry.sub("", text) == "", entry.sub("", text)
    return {unescaped(key): unescaped(value) for key, value in entry.findall(text)}


def unescaped(text):
    return re.sub(r"\\(.)", lambda match: {"n": "\n"}.get(match[1], match[1]), text)


def catalogue(path):
    """The texts of a catalogue, as its own tools read it: keys and their translations."""
    text = subprocess.run(["msgcat", "--no-wrap", path], check=True,
                          capture_output=True).stdout.decode()
    pairs = re.findall(r'^msgid ((?:".*"\n)+)msgstr ((?:".*"\n)+)', text, re.MULTILINE)
    return {joined(key): joined(translation) for key, translation in pairs if joined(key)}


def joined(strings):
    return "".join(unescaped(line[1:-1]) for line in strings.splitlines())


def languages():
    return (SOURCE / "Resources/po/LINGUAS").read_text().split()


def keys():
    """What every language has to have a text for."""
    found = set(catalogue(SOURCE / "Resources/po/ardentra-registration.pot"))
    assert len(found) > 30, found
    return found


class BundleContents(unittest.TestCase):
    def test_the_information_is_the_programs(self):
        with open(BUNDLE / "Info.plist", "rb") as file:
            information = plistlib.load(file)
        version = re.search(r"project\(.* VERSION (\S+) ", (SOURCE / "CMakeLists.txt").read_text())[1]
        self.assertEqual(information["CFBundleIdentifier"], "com.norvale.tessor")
        self.assertEqual(information["CFBundleVersion"], version)
        self.assertEqual(information["CFBundlePackageType"], "APPL")
        self.assertEqual(information["CFBundleExecutable"], "Ardentra Registration")
        self.assertTrue(information["NSHumanReadableCopyright"].startswith("Copyright © "))
        self.assertTrue((BUNDLE / "Resources" / information["CFBundleIconFile"]).is_file())

    def test_the_schemes_are_the_three_of_the_callback(self):
        with open(BUNDLE / "Info.plist", "rb") as file:
            types = plistlib.load(file)["CFBundleURLTypes"]
        self.assertEqual([kind["CFBundleURLSchemes"] for kind in types],
                         [["zantiq", "veltora", "printdriverregistration"]])

    def test_the_rights_are_three_and_no_more(self):
        path = SOURCE / "Resources/macOS/Ardentra Registration.entitlements"
        with open(path, "rb") as file:
            self.assertEqual(plistlib.load(file), {
                "com.apple.security.app-sandbox": True,
                "com.apple.security.network.client": True,
                "com.apple.security.files.user-selected.read-only": True})

    def test_every_language_has_its_table_and_no_other_has(self):
        folders = {folder.name for folder in (BUNDLE / "Resources").glob("*.lproj")}
        names = {NAMES_OF_LANGUAGES.get(language, language) for language in languages()}
        self.assertEqual(folders, {f"{name}.lproj" for name in names | {"en"}})

    def test_every_key_has_its_text_in_every_language(self):
        for language in languages():
            with self.subTest(language):
                translations = catalogue(SOURCE / f"Resources/po/{language}.po")
                texts = table(language)
                self.assertEqual(set(texts), keys())
                self.assertEqual(texts, {key: translations[key] for key in texts})

    def test_english_is_the_keys_themselves(self):
        self.assertEqual(table("en"), {key: key for key in keys()})


class Icon(unittest.TestCase):
    def images(self):
        """The packed images, by type, with their width and height in pixels."""
        data = next((BUNDLE / "Resources").glob("*.icns")).read_bytes()
        self.assertEqual((data[:4], struct.unpack(">I", data[4:8])[0]), (b"icns", len(data)))
        found = {}
        at = 8
        while at < len(data):
            name, length = data[at:at + 4], struct.unpack(">I", data[at + 4:at + 8])[0]
            found[name.decode()] = data[at + 8:at + length]
            at += length
        return found

    def test_it_has_every_size(self):
        sizes = {"ic07": 128, "ic08": 256, "ic09": 512, "ic10": 1024, "ic11": 32, "ic12": 64,
                 "ic13": 256, "ic14": 512}
        images = self.images()
        for name, size in sizes.items():
            with self.subTest(name):
                image = images[name]
                self.assertEqual(image[:8], b"\x89PNG\r\n\x1a\n")
                self.assertEqual(struct.unpack(">II", image[16:24]), (size, size))
        self.assertTrue({"icp4", "ic04"} & set(images))
        self.assertTrue({"icp5", "ic05"} & set(images))


if __name__ == "__main__":
    SOURCE, BUNDLE = (pathlib.Path(argument) for argument in sys.argv[1:3])
    unittest.main(argv=sys.argv[:1])
