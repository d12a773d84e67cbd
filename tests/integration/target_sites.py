"""Websites for ravo-server to check, on loopback: python3 target_sites.py STATE_DIR LISTEN...

Each LISTEN is PORT, or PORT:CERT:KEY for HTTPS, on 127.0.0.1, or either followed by @HOST
for another loopback address. Every port answers the same paths:
  /ok            200 "Welcome to the shop"
  /flap          the status written in STATE_DIR/flap (200 when the file is missing)
  /slow          200 after 5 s
  /protected     401, as a password-protected site answers
  /plain         200 "Nothing to see"
  /redirect?to=U 302 to U
Every request is appended to STATE_DIR/requests as "unix-time path", and to
STATE_DIR/requests-HOST as "unix-time path" for the address it came in on.
"""
import os
import ssl
import sys
import threading
import time
import urllib.parse
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

state = sys.argv[1]
lock = threading.Lock()


class Site(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_GET(self):
        host = self.server.server_address[0]
        with lock:
            for name in ("requests", f"requests-{host}"):
                with open(os.path.join(state, name), "a") as log:
                    log.write(f"{time.time():.3f} {self.path}\n")
        path = self.path.split("?")[0]
        status, body = 200, b"Welcome to the shop"
        if path == "/flap":
            try:
                with open(os.path.join(state, "flap")) as f:
                    status = int(f.read().strip() or 200)
            except FileNotFoundError:
                pass
        elif path == "/slow":
            time.sleep(5)
        elif path == "/protected":
            status, body = 401, b"Sign in first"
        elif path == "/plain":
            body = b"Nothing to see"
        elif path == "/redirect":
            target = urllib.parse.parse_qs(urllib.parse.urlsplit(self.path).query)["to"][0]
            status, body = 302, b"Moved"
        elif path != "/ok":
            status, body = 404, b"Not found"
        self.send_response(status)
        self.send_header("Content-Type", "text/html")
        if status == 302:
            self.send_header("Location", target)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def log_message(self, *args):
        pass


class Server(ThreadingHTTPServer):
    daemon_threads = True
    request_queue_size = 1024


def serve(listen):
    listen, _, host = listen.partition("@")
    parts = listen.split(":")
    server = Server((host or "127.0.0.1", int(parts[0])), Site)
    if len(parts) == 3:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(parts[1], parts[2])
        server.socket = context.wrap_socket(server.socket, server_side=True)
    server.serve_forever()


for listen in sys.argv[2:]:
    threading.Thread(target=serve, args=(listen,), daemon=True).start()
with open(os.path.join(state, "ready"), "w") as ready:
    ready.write("ready\n")
threading.Event().wait()
