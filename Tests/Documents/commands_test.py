#!/usr/bin/python3 -B
"""Runs every command that a document shows, in a private desktop, or knows where else it is run.

    enter BUILD_DIR commands_test.py BUILD_DIR [TEST...]

A command that nothing here knows is a failure: add it to the table or to a test of its own.
"""

import os
import pathlib
import re
import sys
import tempfile
import unittest

import documents
from registered_session import ACCOUNT, REGISTRATION, SERVER, RegisteredSession

BUILD = pathlib.Path(sys.argv.pop(1))

DOCUMENTS = [
    "README.md",
    "CONTRIBUTING.md",
    "Service Simulator/README.md",
    "Tests/World/README.md",
    *sorted(str(path.relative_to(documents.SOURCE)) for path in documents.SOURCE.glob("docs/*.md")),
]

# Whose commands other tests run, and where; or why none does.
RUN_ELSEWHERE = {
    "script/demo": "script/test fresh",
    "script/test": "runs this test",
    "script/package": "script/test fresh, as README's other commands",
    "sudo apt install ./build/package/ardentra-registration_*.deb": "script/test package",
    "sudo cp authority.crt /usr/local/share/ca-certificates/": "NetworkTests, TrustStoreLayout",
    "sudo update-ca-certificates": "NetworkTests, TrustStoreLayout",
    "ctest --preset dev --tests-regex WholeRoad": "script/test runs all tests so",
    "Tests/World/enter build/dev Tests/World/whole_road_test.py build/dev "
    "WholeRoad.test_registers_through_the_browser": "the test WholeRoad",
}

# What is no command.
OTHER_LANGUAGES = {"python", "json", "http", "callback", "output"}


def commands_of(block):
    """The block's lines of shell, without comments, each with its continuation."""
    text = re.sub(r"\s*\\\n\s*", " ", block)
    lines = (re.sub(r"(^|\s+)#.*", "", line) for line in text.split("\n"))
    return [line for line in lines if line]


def all_blocks():
    for document in DOCUMENTS:
        for block in documents.blocks(document, "sh"):
            yield document, block


class Commands(unittest.TestCase):
    """Each test takes the blocks that it runs; see test_are_all_run."""

    tried = set()

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.session = None

    def start_session(self):
        self.session = RegisteredSession(self.folder, BUILD)
        self.addCleanup(self.session.stop)
        programs = f"{BUILD.resolve() / 'bin'}:{self.session.environment['PATH']}"
        self.session.environment["PATH"] = programs

    def check_out(self):
        """A work tree like the project's own, to run commands in."""
        tree = self.folder / "tree"
        tree.mkdir()
        for entry in documents.SOURCE.iterdir():
            if entry.name not in ("build", ".git"):
                (tree / entry.name).symlink_to(entry)
        return tree

    def take(self, document, beginning):
        """The document's one block that begins so."""
        (block,) = [
            block
            for block in documents.blocks(document, "sh")
            if block.startswith(beginning)
        ]
        self.tried.add((document, block))
        return block

    def run_block(self, block, folder):
        """What a shell prints that runs the block in the folder, and stops where it fails."""
        result = self.session.run("env", "-C", folder, "sh", "-euc", block)
        self.assertEqual(result.returncode, 0, f"{block}{result.stderr}")
        return result.stdout

    def assert_target(self, output):
        method, url, account = output.splitlines()
        self.assertEqual((method, account), ("PUT", ACCOUNT))
        self.assertTrue(url.startswith(f"https://{SERVER}/uploads/"), url)

    def uploads(self):
        return [
            request["body"]
            for request in self.session.service.all_requests()
            if request["target"].startswith("/uploads/")
        ]

    def test_ask_for_an_upload_target(self):
        self.start_session()
        self.session.register()
        for document in ("README.md", "docs/calling-programs.md"):
            block = self.take(document, "ardentra-registration --generate-upload-url")
            self.assert_target(self.run_block(block, self.folder))

    def test_upload_a_file(self):
        self.start_session()
        self.session.register()
        tree = self.check_out()
        (tree / "report.pdf").write_text("A page to print.\n")
        for beginning in ("examples/upload-print-file", "if target=$(ardentra-registration"):
            self.run_block(self.take("docs/calling-programs.md", beginning), tree)
        self.assertEqual(self.uploads(), ["A page to print.\n"] * 2)

    def test_ask_for_an_upload_target_in_python(self):
        self.start_session()
        (block,) = documents.blocks("docs/calling-programs.md", "python")
        script = f"{block}\nprint(upload_target('gr\u00fcn.pdf'))"
        ask = ("/usr/bin/python3", "-c", script)
        self.assertEqual(self.session.run(*ask).stdout, "None\n")
        self.session.register()
        result = self.session.run(*ask)
        self.assertRegex(result.stdout, rf"^\('PUT', 'https://{SERVER}/.*', '{ACCOUNT}'\)$")
        self.session.register(token="unknown")
        self.assertIn("CalledProcessError", self.session.run(*ask).stderr)

    def test_remove_a_registration(self):
        self.start_session()
        self.session.register()
        code = REGISTRATION[3] + " (ephemeral code)"
        pending = [code if text == REGISTRATION[3] else text for text in REGISTRATION]
        self.session.run("secret-tool", "store", "--label=Test", *pending, given="code")
        every = ("secret-tool", "search", "--all", "creator", "NRVL")
        self.assertEqual(self.session.run(*every).stdout.count("secret = "), 2)
        self.run_block(self.take("docs/administrators.md", "secret-tool clear"), self.folder)
        self.assertEqual(self.session.run(*every).stdout, "")

    def test_read_the_journal(self):
        self.start_session()
        # There is no journal here: it is the options that are tried.
        self.run_block(self.take("docs/administrators.md", "journalctl"), self.folder)

    def test_install(self):
        self.start_session()
        tree = self.check_out()
        (tree / "build").mkdir()
        (tree / "build/release").symlink_to(BUILD.resolve())
        self.session.environment["DESTDIR"] = str(self.folder / "system")
        self.run_block(self.take("README.md", "cmake --install"), tree)
        self.assertTrue((self.folder / "system/usr/local/bin/ardentra-registration").exists())

    def test_choose_a_directory_server(self):
        self.start_session()
        tree = self.check_out()
        self.run_block(self.take("docs/administrators.md", "cmake --preset release"), tree)
        cache = (tree / "build/release/CMakeCache.txt").read_text()
        self.assertIn("\nVT_DIRECTORY_SERVER:STRING=directory.example\n", cache)

    def test_run_the_simulator_and_steer_it(self):
        self.start_session()
        document = "Service Simulator/README.md"
        (script, *_) = documents.blocks(document, "json")
        (self.folder / "script.json").write_text(script)
        # Of two authorities of the same name, curl knows the other one here.
        authority = pathlib.Path("/tmp/authority")
        authority.symlink_to(os.environ["VT_WORLD_AUTHORITY"])
        self.addCleanup(authority.unlink)
        start, _, asking = self.take(document, "service-simulator").partition("\n")
        # It runs until it is ended.
        block = f"""{start} > log & trap 'kill $!' EXIT
            until grep --quiet listening log; do sleep 0.05; done
            {asking}{self.take(document, "curl --capath")}"""
        block = block.replace("curl ", "curl --fail ")
        shown = re.findall(r"^# (\{.*\})$", asking, re.MULTILINE)
        output = self.run_block(block, self.folder)
        self.assertIn(shown[0], output)
        self.assertIn('"target": "/api/mobile/v2/registration_servers?"', output)

    @classmethod
    def tearDownClass(cls):
        """All tests have run, unless a few were chosen."""
        if len(sys.argv) == 1:
            cls().assert_all_are_run()

    def assert_all_are_run(self):
        for document, block in all_blocks():
            known = (document, block) in self.tried
            unknown = [line for line in commands_of(block) if line not in RUN_ELSEWHERE]
            self.assertTrue(known or not unknown, f"{document}: no test runs {unknown}")


class Documents(unittest.TestCase):
    def test_mark_every_command_as_one(self):
        for document in DOCUMENTS:
            languages = re.findall(r"^```(.*)$", documents.read(document), re.MULTILINE)[::2]
            self.assertLessEqual(set(languages), {"sh", *OTHER_LANGUAGES}, document)

    def test_do_not_leave_commands_of_other_tests_in_the_table(self):
        shown = {line for _, block in all_blocks() for line in commands_of(block)}
        self.assertEqual(set(RUN_ELSEWHERE) - shown, set())

    def test_link_to_what_is_there(self):
        for document in [*DOCUMENTS, "ARCHITECTURE.md", "CHANGELOG.md"]:
            for target in re.findall(r"\]\(([^)]+)\)", documents.read(document)):
                with self.subTest(document=document, target=target):
                    self.assert_is_there(document, target)

    def assert_is_there(self, document, target):
        if re.match(r"https?:", target):
            return
        path, _, heading = target.replace("%20", " ").partition("#")
        file = (documents.SOURCE / document).parent / path if path else documents.SOURCE / document
        self.assertTrue(file.exists())
        if heading:
            headings = re.findall(r"^#+ (.*)$", file.read_text(), re.MULTILINE)
            self.assertIn(heading, [text.lower().replace(" ", "-") for text in headings])


if __name__ == "__main__":
    unittest.main()
