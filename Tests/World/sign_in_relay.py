"""A sign-in page without a certificate: plain HTTP on the loopback, handed on to the service.

A browser warns of a certificate whose authority it does not know, and there is no way past that
which leaves nothing behind in the browser. Pages of the machine itself need no certificate.
"""

import http.client
import http.server
import ssl
import threading


class SignInRelay:
    """Serves as long as it is not stopped."""

    def __init__(self, service, authority):
        class Handler(_Handler):
            server_address = service
            trust = ssl.create_default_context(cafile=authority / "authority.pem")

        self._server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.origin = f"http://localhost:{self._server.server_port}"
        threading.Thread(target=self._server.serve_forever, daemon=True).start()

    def stop(self):
        self._server.shutdown()
        self._server.server_close()


class _Handler(http.server.BaseHTTPRequestHandler):
    server_address = None
    trust = None

    def do_GET(self):
        self._hand_on(None)

    def do_POST(self):
        self._hand_on(self.rfile.read(int(self.headers.get("Content-Length", 0))))

    def _hand_on(self, body):
        connection = http.client.HTTPSConnection(self.server_address, context=self.trust)
        try:
            connection.request(self.command, self.path, body)
            answer = connection.getresponse()
            content = answer.read()
        finally:
            connection.close()
        self.send_response(answer.status)
        for name in ("Content-Type", "Cache-Control", "Location"):
            if name in answer.headers:
                self.send_header(name, answer.headers[name])
        self.send_header("Content-Length", str(len(content)))
        self.end_headers()
        self.wfile.write(content)

    def log_message(self, format, *arguments):
        """The service keeps the log."""
