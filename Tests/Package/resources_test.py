#!/usr/bin/python3 -B
"""What is shipped beside the program is what the desktop's own tools take for right.

    resources_test.py BUILD_DIR [TEST...]
"""

import json
import os
import pathlib
import re
import struct
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree

BUILD = pathlib.Path(sys.argv.pop(1))
SOURCE = pathlib.Path(__file__).resolve().parents[2]
RESOURCES = SOURCE / "Resources"

IDENTIFIER = "com.norvale.tessor"
METAINFO = BUILD / f"share/desktop/{IDENTIFIER}.metainfo.xml"
MANUAL = RESOURCES / "ardentra-registration.1"
ICON_SIZES = (16, 22, 24, 32, 48, 64, 128, 256, 512)

RIGHTS = [
    "--share=network",
    "--socket=wayland",
    "--socket=fallback-x11",
    "--share=ipc",
    "--talk-name=org.freedesktop.secrets",
]


class Resources(unittest.TestCase):
    def assert_silent(self, *command, **environment):
        """The command succeeds and has nothing to say."""
        result = subprocess.run(
            [str(argument) for argument in command],
            env=os.environ | environment,
            stdin=subprocess.DEVNULL,
            capture_output=True,
            text=True,
            check=False,
        )
        said = (result.stderr + result.stdout).strip()
        self.assertEqual((result.returncode, said), (0, ""))

    def test_the_desktop_entry_is_valid(self):
        self.assert_silent(
            "desktop-file-validate", BUILD / f"share/desktop/{IDENTIFIER}.desktop"
        )

    def test_the_metainfo_is_valid(self):
        command = ["appstreamcli", "validate", "--strict", "--no-net", METAINFO]
        result = subprocess.run(command, capture_output=True, text=True, check=False)
        self.assertEqual(result.returncode, 0, result.stdout)

    def test_the_manual_page_is_valid(self):
        # The two read it differently.
        self.assert_silent("mandoc", "-T", "lint", "-W", "warning", MANUAL)
        self.assert_silent("groff", "-mandoc", "-ww", "-Tutf8", "-z", MANUAL, LC_ALL="C.UTF-8")

    def test_there_is_an_icon_of_every_size(self):
        for size in ICON_SIZES:
            image = (BUILD / f"share/icons/{size}/{IDENTIFIER}.png").read_bytes()
            self.assertEqual(image[:8], b"\x89PNG\r\n\x1a\n")
            self.assertEqual(struct.unpack(">II", image[16:24]), (size, size))

    def test_the_version_is_one_everywhere(self):
        build = (SOURCE / "CMakeLists.txt").read_text()
        (version,) = re.findall(r"project\(.* VERSION ([0-9.]+) ", build)
        package = (SOURCE / "debian/changelog").read_text()
        releases = xml.etree.ElementTree.parse(METAINFO).findall("releases/release")
        self.assertEqual(re.findall(r"^\S+ \(([0-9.]+)\)", package)[:1], [version])
        self.assertEqual(releases[0].get("version"), version)

    def test_what_the_package_is_built_with_is_set_up(self):
        control = (SOURCE / "debian/control").read_text()
        (wanted,) = re.findall(r"^Build-Depends:\n((?: .*\n)+)", control, re.MULTILINE)
        set_up = (SOURCE / "script/packages").read_text().split()
        for line in wanted.replace("debhelper-compat (= 13)", "debhelper").splitlines():
            self.assertIn(line.strip(" ,"), set_up)

    def test_the_flatpak_has_the_rights_it_needs_and_no_others(self):
        manifest = self.flatpak_manifest()
        self.assertEqual(manifest["id"], IDENTIFIER)
        self.assertEqual(manifest["finish-args"], RIGHTS)
        for module in manifest["modules"]:
            self.assertNotIn("build-options", module)

    def test_the_flatpak_knows_each_foreign_source_by_its_checksum(self):
        for module in self.flatpak_manifest()["modules"]:
            for source in module["sources"]:
                if source["type"] != "dir":
                    self.assertRegex(source["sha256"], "^[0-9a-f]{64}$")

    def flatpak_manifest(self):
        manifest = RESOURCES / f"flatpak/{IDENTIFIER}.yml"
        command = ["flatpak-builder", "--show-manifest", manifest]
        # Whatever it does, it makes a folder of its own where it is started.
        with tempfile.TemporaryDirectory() as folder:
            result = subprocess.run(command, cwd=folder, capture_output=True, check=True)
        return json.loads(result.stdout)


if __name__ == "__main__":
    unittest.main(verbosity=2)
