#!/usr/bin/python3 -B
"""The Debian package: made twice, checked, installed in a fresh system and purged again.

    package_test.py FOLDER BUILD_DIR [TEST...]

FOLDER is where script/package has left the package, BUILD_DIR where the service simulator was built.
The fresh systems are of the same distribution, and come from where this machine gets its own
packages.
"""

import filecmp
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "FreshSystem"))

import fresh_system

FOLDER = pathlib.Path(sys.argv.pop(1)).resolve()
BUILD = pathlib.Path(sys.argv.pop(1)).resolve()
HERE = pathlib.Path(__file__).resolve().parent
SOURCE = HERE.parents[1]
WORLD = SOURCE / "Tests/World"
PROGRAM = "/usr/bin/ardentra-registration"

# In the package's own build log, for every source file.
PROTECTIONS = (
    "-D_FORTIFY_SOURCE=2",
    "-fstack-protector-strong",
    "-fstack-clash-protection",
    "-fcf-protection",
)

# What the compiler's own start-up code has of these is less.
LANDING_PADS = 50


def run(*command, **options):
    """What the command prints; it must not fail."""
    return subprocess.run(
        [str(argument) for argument in command],
        **({"check": True, "stdout": subprocess.PIPE, "text": True} | options),
    ).stdout


class Package(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        (cls.package,) = FOLDER.glob("*.deb")
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        run("dpkg-deb", "--extract", cls.package, cls.folder / "content")

    def programs(self):
        """The files of machine code in the package."""
        files = [path for path in (self.folder / "content").rglob("*") if path.is_file()]
        found = [path for path in files if path.read_bytes()[:4] == b"\x7fELF"]
        self.assertGreaterEqual(len(found), 2)
        return found

    def test_the_same_sources_make_the_same_package_elsewhere(self):
        elsewhere = self.folder / "another folder"
        environment = os.environ | {"TZ": "Asia/Tokyo", "LANG": "de_DE.UTF-8", "HOME": "/nowhere"}
        run(SOURCE / "script/package", elsewhere, env=environment, umask=0o077)
        other = elsewhere / self.package.name
        self.assertTrue(filecmp.cmp(self.package, other, shallow=False), "the packages differ")

    def test_the_linter_has_nothing_to_say(self):
        (changes,) = FOLDER.glob("*.changes")
        said = run("lintian", "--allow-root", "--fail-on", "error,warning", changes)
        self.assertEqual(said, "")

    def test_every_source_is_compiled_with_every_protection(self):
        log = (FOLDER / "build.log").read_text()
        commands = [line for line in log.splitlines() if re.search(r"/c\+\+ .* -c ", line)]
        self.assertGreater(len(commands), 20)
        for command in commands:
            words = shlex.split(command)
            for protection in PROTECTIONS:
                self.assertIn(protection, words)

    def test_every_program_is_linked_with_every_protection(self):
        for program in self.programs():
            with self.subTest(program.name):
                headers = run("readelf", "--wide", "--file-header", "--segments", program)
                self.assertRegex(headers, r"Type: +DYN ")
                self.assertIn("GNU_RELRO", headers)
                self.assertRegex(headers, r"GNU_STACK .* RW ")
                self.assertIn("BIND_NOW", run("readelf", "--wide", "--dynamic", program))
                code = run("objdump", "--disassemble", "--no-show-raw-insn", program)
                self.assertGreater(code.count("endbr64"), LANDING_PADS)

    def test_nothing_of_the_machine_that_built_it_is_in_it(self):
        for program in self.programs():
            self.assertNotIn(str(FOLDER).encode(), program.read_bytes())
            self.assertNotRegex(run("readelf", "--dynamic", program), "RPATH|RUNPATH")

    @unittest.skipUnless(fresh_system.may_be_made(), "nobody here may mount")
    def test_is_installed_in_a_fresh_system_and_purged_without_a_trace(self):
        self.make_system(
            ["appstream", "desktop-file-utils", "man-db"],
            f"{shlex.quote(str(HERE / 'in_fresh_system'))} \"$1\"",
        )

    @unittest.skipUnless(fresh_system.may_be_made(), "nobody here may mount")
    def test_the_whole_road_leads_through_a_fresh_desktop(self):
        """Nothing but the package is added to what a desktop has."""
        desktop = self.folder / "desktop"
        packages = (HERE / "desktop-packages").read_text()
        self.make_system(
            re.sub("#.*", "", packages).split(),
            f'chroot "$1" apt-get --quiet=2 --yes install /{self.package.name}',
            desktop,
        )
        environment = os.environ | {"VT_WORLD_ROOT": desktop, "VT_INSTALLED": PROGRAM}
        for test in ("whole_road_test.py", "installed_desktop_test.py", "stuck_browser_test.py"):
            with self.subTest(test):
                run(WORLD / "enter", BUILD, WORLD / test, BUILD, env=environment)

    def make_system(self, packages, step, folder=None):
        """Makes a system of these packages, puts the package in its root folder and takes the step,
        whose $1 is the system. It is left in the folder, if there is one."""
        fresh_system.make(
            folder or "/dev/null",
            packages,
            [
                f"--format={'directory' if folder else 'null'}",
                f"--customize-hook=copy-in {shlex.quote(str(self.package))} /",
                f"--customize-hook={step}",
            ],
        )


if __name__ == "__main__":
    unittest.main(verbosity=2)
