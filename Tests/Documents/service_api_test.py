#!/usr/bin/python3 -B
"""Plays the answers of docs/service-api.md to the real program, whose requests must be those of the
document.

    enter BUILD_DIR service_api_test.py BUILD_DIR
"""

import json

import documents
from road import Road, main

DOCUMENT = "docs/service-api.md"

# The transport library's own.
UNDOCUMENTED_HEADERS = {"accept", "accept-encoding"}


def documented_requests():
    return [_parse_request(text) for text in documents.blocks(DOCUMENT, "http")]


def _parse_request(text):
    head, _, body = text.rstrip("\n").partition("\n\n")
    line, *headers = head.split("\n")
    method, target, _ = line.split(" ")
    return {
        "method": method,
        "target": target,
        "headers": sorted(_named(*header.split(": ", 1)) for header in headers),
        "body": body,
    }


def _named(name, value):
    return name.lower(), value


def comparable(request):
    headers = [_named(name, value) for name, value in request["headers"]]
    kept = sorted(header for header in headers if header[0] not in UNDOCUMENTED_HEADERS)
    # The order of the parameters means nothing.
    path, _, query = request["target"].partition("?")
    target = path + "?" + "&".join(sorted(query.split("&")))
    return {**request, "target": target, "headers": kept}


class ServiceAPI(Road):
    def setUp(self):
        super().setUp()
        self.documented = documented_requests()
        answers = [json.loads(text) for text in documents.blocks(DOCUMENT, "json")]
        self.assertEqual(len(answers), len(self.documented))
        self.service.answer(
            [
                {"path": request["target"].partition("?")[0], "body": answer}
                for request, answer in zip(self.documented, answers)
            ]
        )

    def test_is_asked_and_answers_as_documented(self):
        page = self.begin_sign_in()
        self.assertIn(f'"{page}"', "".join(documents.blocks(DOCUMENT, "json")))
        (callback,) = documents.blocks(DOCUMENT, "callback")
        self.application.open_url(callback.strip())
        self.confirm_success()
        self.assert_ends(self.process)
        (output,) = documents.blocks(DOCUMENT, "output")
        self.assertEqual(self.application.upload_target("report.pdf"), output.splitlines())
        requests = [comparable(request) for request in self.service.all_requests()]
        self.assertEqual(requests, [comparable(request) for request in self.documented])


if __name__ == "__main__":
    main()
