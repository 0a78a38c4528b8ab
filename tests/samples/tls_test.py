#!/usr/bin/python3
"""A server whose certificate nobody trusts gives no data, and the log has the cause.

tls_test.py PROGRAM
"""

import http.server
import pathlib
import ssl
import subprocess
import sys
import tempfile
import threading

program = pathlib.Path(sys.argv[1]).resolve()


class Answer(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        self.send_response(200)
        self.end_headers()
        self.wfile.write(b'[{"a":1}]')

    def log_message(self, *words):
        pass


with tempfile.TemporaryDirectory() as name:
    folder = pathlib.Path(name)
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-days", "1",
                    "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost", "-keyout", folder / "key.pem",
                    "-out", folder / "certificate.pem"], check=True, capture_output=True)
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Answer)
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(folder / "certificate.pem", folder / "key.pem")
    server.socket = context.wrap_socket(server.socket, server_side=True)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    (folder / "log").mkdir()
    (folder / "qbsvrl6.conf").write_text("reach.hosts = any\n")
    (folder / "a.qbf").write_text(
        f'<Report version="1"><Data connection="xml" query="https://localhost:{server.server_port}/"/><Grid><Columns>'
        '<Column name="a" width="20mm"><Content text="[a]"/></Column></Columns></Grid></Report>')

    def run(environment):
        (folder / "a.csv").unlink(missing_ok=True)
        subprocess.run([program, "-gen_short", folder, folder, "a", "csv"], stdout=subprocess.DEVNULL, timeout=120,
                       env={"no_proxy": "*", **environment})
        return (folder / "log/qbsvrl6.log").read_text() if (folder / "log/qbsvrl6.log").exists() else ""

    refused = run({})
    assert "SSL certificate problem: self-signed certificate" in refused, refused
    assert not (folder / "a.csv").exists()
