#!/usr/bin/python3 -B
"""Runs examples/upload-print-file as a calling program is meant to do it.

    enter BUILD_DIR upload_example_test.py BUILD_DIR [TEST...]
"""

import json
import os
import pathlib
import sys
import tempfile
import unittest

import documents
from registered_session import SERVER, RegisteredSession

BUILD = pathlib.Path(sys.argv.pop(1))
EXAMPLE = documents.SOURCE / "examples/upload-print-file"
TARGET = "/api/my_prints/v1/upload_target"

# Every byte, so that nothing may touch the contents.
CONTENTS = bytes(range(256)) * 300


class UploadExample(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.session = RegisteredSession(folder.name, BUILD)
        self.addCleanup(self.session.stop)
        self.service = self.session.service

    def upload(self, name="report.pdf"):
        """Runs the example for a file of that name."""
        path = os.path.join(os.fsencode(self.folder), os.fsencode(name))
        with open(path, "wb") as file:
            file.write(CONTENTS)
        return self.session.run(EXAMPLE, path)

    def assert_failed(self, result, status, *texts):
        self.assertEqual(result.returncode, status, result.stderr)
        self.assertEqual(result.stdout, "")
        self.assertRegex(result.stderr, r"(?m)^upload-print-file: ")
        for text in texts:
            self.assertIn(text, result.stderr)

    def names_asked_for(self):
        return [
            json.loads(request["body"])["file_name"]
            for request in self.service.all_requests()
            if request["target"] == f"{TARGET}?"
        ]

    def uploads(self):
        return [
            request
            for request in self.service.all_requests()
            if request["target"].startswith("/uploads/")
        ]

    def answer_target(self, others=(), **changes):
        data = {"type": "url", "url": f"https://{SERVER}/uploads/1", "method": "PUT"} | changes
        self.service.answer([{"path": TARGET, "body": {"data": data}}, *others])

    def test_uploads_the_file_and_says_nothing(self):
        self.session.register()
        result = self.upload()
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))
        (upload,) = self.uploads()
        self.assertEqual(upload["method"], "PUT")
        self.assertIn(["Content-Length", str(len(CONTENTS))], upload["headers"])
        status, contents = self.service.download(upload["target"])
        self.assertEqual(status, 200)
        self.assertEqual(contents, CONTENTS)

    def test_keeps_every_character_of_the_name(self):
        self.session.register()
        names = [
            "two words.pdf",
            'it\'s "quoted" $(echo) `x` \\n %s;&|*?.pdf',
            "line\nfeed\n",
            "-request",
            "gr\u00fcn \u5370\u5237 \U0001f5a8.pdf",
            "{a,b}[1-2].pdf",
        ]
        for name in names:
            result = self.upload(name)
            self.assertEqual((result.returncode, result.stderr), (0, ""), name)
        self.assertEqual(self.names_asked_for(), names)
        self.assertEqual(len(self.uploads()), len(names))

    def test_takes_a_name_in_the_current_folder(self):
        self.session.register()
        for name in ("-d", "@file", "report.pdf"):
            (self.folder / name).write_bytes(CONTENTS)
            command = ("env", "-C", self.folder, EXAMPLE, name)
            self.assertEqual(self.session.run(*command).returncode, 0, name)
        self.assertEqual(self.names_asked_for(), ["-d", "@file", "report.pdf"])

    def test_uploads_to_the_very_url_with_the_very_method(self):
        self.session.register()
        self.answer_target(url=f"https://{SERVER}/uploads/[1-3]/{{a,b}}/?x=1", method="POST")
        self.assert_failed(self.upload(), 3)
        targets = [(upload["method"], upload["target"]) for upload in self.uploads()]
        self.assertEqual(targets, [("POST", "/uploads/[1-3]/{a,b}/?x=1")])

    def test_tells_that_nobody_is_registered(self):
        self.assert_failed(self.upload(), 1, "not registered")
        self.assertEqual(self.names_asked_for(), [])

    def test_tells_that_the_keyring_is_out_of_reach(self):
        self.session.register()
        self.session.environment["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=/nowhere"
        self.assert_failed(self.upload(), 1, "There is no session bus to reach a keyring on.")

    def test_tells_that_the_service_refuses(self):
        self.session.register(token="unknown")
        self.assert_failed(self.upload(), 2, "Error Domain=com.norvale.tessor.api Code=4097")

    def test_tells_that_a_name_is_not_utf8(self):
        self.session.register()
        self.assert_failed(self.upload(b"bad\xff.pdf"), 2, "The upload could not be completed.")
        self.assertEqual(self.names_asked_for(), [])

    def test_tells_that_the_upload_is_refused(self):
        self.session.register()
        self.answer_target(others=[{"path": "/uploads/1", "status": 403}])
        self.assert_failed(self.upload(), 3, "403", "the upload failed")

    def test_uploads_to_nothing_but_https(self):
        self.session.register()
        for url in (f"http://{SERVER}/uploads/1", f"file://{self.folder}/written", "--help", ""):
            self.answer_target(url=url)
            self.assert_failed(self.upload(), 3, "the upload failed")
        self.assertFalse((self.folder / "written").exists())

    def test_tells_that_there_is_no_such_file(self):
        self.session.register()
        for path in (self.folder / "missing", self.folder):
            self.assert_failed(self.session.run(EXAMPLE, path), 4, "cannot read the file")
        self.assertEqual(self.names_asked_for(), [])

    def test_tells_that_a_program_is_missing(self):
        self.session.environment["PATH"] = "/nowhere"
        self.assert_failed(self.upload(), 5)

    def test_tells_how_it_is_used(self):
        for arguments in ((), ("one", "two")):
            self.assert_failed(self.session.run(EXAMPLE, *arguments), 64, "usage: ")


if __name__ == "__main__":
    unittest.main()
