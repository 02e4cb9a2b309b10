"""A server that nobody should talk to."""

import socketserver
import ssl
import threading

from . import processes


class UntrustedServer:
    """A server with a certificate that nobody signed but itself."""

    def __init__(self, folder):
        certificate, key = folder / "certificate.pem", folder / "key.pem"
        processes.output(
            ["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-days", "2",
             "-subj", "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", key, "-out", certificate]
        )  # fmt: skip
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(certificate, key)
        self._server = socketserver.ThreadingTCPServer(("127.0.0.1", 0), _Refused)
        self._server.socket = context.wrap_socket(self._server.socket, server_side=True, do_handshake_on_connect=False)
        self.address = f"https://127.0.0.1:{self._server.server_address[1]}"
        threading.Thread(target=self._server.serve_forever, daemon=True).start()

    def close(self):
        self._server.shutdown()
        self._server.server_close()


class _Refused(socketserver.BaseRequestHandler):
    def handle(self):
        try:
            self.request.do_handshake()
        except (OSError, ssl.SSLError):
            pass  # the client would not have this certificate
