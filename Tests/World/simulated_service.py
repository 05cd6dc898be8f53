"""The service simulator as a process, and what a client of it needs."""

import contextlib
import http.client
import json
import pathlib
import signal
import ssl
import urllib.parse

from session import wait_until


class SimulatedService:
    """Starts the simulator in a session. The hosts are what its certificate is for."""

    def __init__(self, session, build, authority, port, hosts, servers):
        self._authority = pathlib.Path(authority)
        self._address = f"{hosts[0]}:{port}"
        arguments = ["--authority", authority, "--port", port]
        for host in hosts:
            arguments += ["--host", host]
        for code, address in servers.items():
            arguments += ["--server", f"{code}={address}"]
        self._process = session.start(pathlib.Path(build) / "bin/service-simulator", *arguments)
        wait_until(lambda: "listening" in session.read_log("service-simulator"), "the service")

    def answer_once(self, path, status, message):
        """Lets the next request to the path fail."""
        body = {"error": {"message": message}}
        self.answer([{"path": path, "status": status, "body": body, "once": True}])

    def answer(self, answers):
        """Takes these answers, as in a script, for its own."""
        status, _, text = self._ask("PUT", "/simulator/script", json.dumps({"answers": answers}))
        assert status == 204, text

    @contextlib.contextmanager
    def paused(self):
        """Nothing is answered meanwhile; what is asked is answered afterwards."""
        self._process.send_signal(signal.SIGSTOP)
        try:
            yield
        finally:
            self._process.send_signal(signal.SIGCONT)

    def requests(self, path):
        """The requests to the path so far: each target's query, as a dictionary."""
        targets = [urllib.parse.urlsplit(request["target"]) for request in self.all_requests()]
        return [dict(urllib.parse.parse_qsl(target.query)) for target in targets
                if target.path == path]

    def all_requests(self):
        """Each with its method, target, headers and body."""
        _, _, text = self._ask("GET", "/simulator/requests")
        return json.loads(text)

    def sign_in(self, login_url):
        """Signs the user in on the page that the login URL names: the callback URL."""
        target = urllib.parse.urlsplit(login_url)
        status, headers, text = self._ask("GET", f"{target.path}?{target.query}&auto=1")
        assert status == 303, text
        return headers["Location"]

    def upload(self, method, url, data):
        target = urllib.parse.urlsplit(url)
        return self._ask(method, target.path, data)

    def download(self, target):
        """The status, and the bytes that the service holds there."""
        return self._ask_for_bytes("GET", target)[::2]

    def _ask(self, method, target, body=None):
        status, headers, data = self._ask_for_bytes(method, target, body)
        return status, headers, data.decode()

    def _ask_for_bytes(self, method, target, body=None):
        trust = ssl.create_default_context(cafile=self._authority / "authority.pem")
        connection = http.client.HTTPSConnection(self._address, context=trust)
        try:
            connection.request(method, target, body)
            answer = connection.getresponse()
            return answer.status, answer.headers, answer.read()
        finally:
            connection.close()
