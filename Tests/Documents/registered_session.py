"""A session whose user is registered at a simulated service, without a window."""

import base64
import http.client
import json
import os
import pathlib
import ssl
import urllib.parse

from application import add_installed, install
from session import Session
from simulated_service import SimulatedService

SERVER = "registration.ardentra.example"
ACCOUNT = "ada@example.com"

# The attributes of the item in the keyring.
REGISTRATION = (
    *("class", "generic-password"),
    *("service", "Ardentra Registration"),
    *("creator", "NRVL"),
)


class RegisteredSession(Session):
    """With the program in PATH, a keyring and the service."""

    def __init__(self, folder, build):
        super().__init__(folder)
        self.make_home()
        program = install(build, pathlib.Path(folder) / "installed")
        add_installed(program, self.environment)
        self.start_bus()
        self.start_keyring()
        self.authority = os.environ["VT_WORLD_AUTHORITY"]
        self.service = SimulatedService(
            *(self, build, self.authority, 443), hosts=[SERVER], servers={}
        )

    def register(self, token=None):
        """Registers the user, with the token, or with one that the service takes."""
        token = token or self._obtain_token()
        record = {"value": _encoded(token), "account": ACCOUNT, "generic": _encoded(SERVER)}
        self.run("secret-tool", "store", "--label=Test", *REGISTRATION, given=json.dumps(record))

    def _obtain_token(self):
        query = {"provider": "google", "redirect": "false", "scheme": "zantiq"}
        login = self._ask("GET", "/api/desktop/v2/login", query)
        callback = urllib.parse.urlsplit(self.service.sign_in(login["login_url"]))
        callback_code = dict(urllib.parse.parse_qsl(callback.query))["code"]
        codes = {"code": login["code"], "code2": callback_code}
        return self._ask("POST", "/api/desktop/v2/token", codes)["token"]

    def _ask(self, method, path, query):
        trust = ssl.create_default_context(cafile=pathlib.Path(self.authority) / "authority.pem")
        connection = http.client.HTTPSConnection(SERVER, context=trust)
        headers = {"x-veltora-client-version": "test"}
        connection.request(method, f"{path}?{urllib.parse.urlencode(query)}", headers=headers)
        answer = json.load(connection.getresponse())
        connection.close()
        return answer["data"]


def _encoded(text):
    return base64.b64encode(text.encode()).decode()
