#!/usr/bin/python3 -B
"""The Debian package: made twice, checked, installed in a fresh system and purged again.

    package_test.py FOLDER [TEST...]

FOLDER is where script/package has left the package. The fresh system is of the same distribution,
and comes from where this machine gets its own packages.
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

FOLDER = pathlib.Path(sys.argv.pop(1)).resolve()
SOURCE = pathlib.Path(__file__).resolve().parents[2]

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

    def test_is_installed_in_a_fresh_system_and_purged_without_a_trace(self):
        sources = self.folder / "sources.list"
        sources.write_text(package_sources())
        steps = pathlib.Path(__file__).with_name("in_fresh_system")
        run(
            *("mmdebstrap", "--quiet", "--variant=minbase", "--format=null"),
            *("--include=appstream,desktop-file-utils,man-db", "--dpkgopt=force-unsafe-io"),
            '--aptopt=APT::Install-Recommends "false"',
            *proxy_settings(),
            f"--customize-hook=copy-in {shlex.quote(str(self.package))} /",
            f"--customize-hook={shlex.quote(str(steps))} \"$1\"",
            *(distribution(), "/dev/null", sources),
        )


def distribution():
    release = dict(re.findall(r'^(\w+)="?(.*?)"?$', read("/etc/os-release"), re.MULTILINE))
    return release["VERSION_CODENAME"]


def package_sources():
    """Where this machine has the packages of its own distribution from."""
    line = "deb $(SITE) $(RELEASE) $(COMPONENT)"
    targets = ("Created-By: Packages", "Origin: Debian")
    found = run("apt-get", "indextargets", "--format", line, *targets).splitlines()
    assert found, "apt knows no packages of the distribution: apt-get update"
    return "".join(f"{line}\n" for line in sorted(set(found)))


def proxy_settings():
    """What this machine needs to get there, as options."""
    settings = re.findall(r'^Acquire::https?::Proxy ".+";$', run("apt-config", "dump"), re.MULTILINE)
    return [f"--aptopt={setting}" for setting in settings]


def read(path):
    return pathlib.Path(path).read_text()


if __name__ == "__main__":
    unittest.main(verbosity=2)
