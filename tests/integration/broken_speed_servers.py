"""Responsiveness servers that go wrong, on loopback: python3 broken_speed_servers.py PORT

Each fault has its own configuration document at /FAULT/config:
  /404/config    answers 404
  /500/config    answers 500
  /shape/config  JSON of the wrong shape
  /cut/config    a proper document whose large download stops after 1 MB
  /silent/...    reads the request and never answers
"""
import sys
import threading
import time
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

from stand_in_http import answer_json

port = int(sys.argv[1])


class Handler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def log_message(self, *args):
        pass

    def do_GET(self):
        fault, _, rest = self.path.strip("/").partition("/")
        if fault == "silent":
            time.sleep(3600)
        elif fault == "404":
            answer_json(self, 404, {"detail": "not found"})
        elif fault == "500":
            answer_json(self, 500, {"detail": "broken"})
        elif fault == "shape":
            answer_json(self, 200, {"version": 1, "urls": ["not", "an", "object"]})
        elif fault == "cut" and rest == "config":
            base = f"http://127.0.0.1:{port}/cut"
            answer_json(self, 200, {"version": 1, "urls": {
                "small_https_download_url": base + "/small",
                "large_https_download_url": base + "/large",
                "https_upload_url": base + "/upload"}})
        elif fault == "cut" and rest == "small":
            self.send_response(200)
            self.send_header("Content-Length", "1")
            self.end_headers()
            self.wfile.write(b"\0")
        elif fault == "cut" and rest == "large":
            self.send_response(200)
            self.send_header("Content-Length", str(8 << 30))
            self.end_headers()
            self.wfile.write(bytes(1 << 20))
            self.close_connection = True
        else:
            answer_json(self, 404, {"detail": "not found"})


ThreadingHTTPServer.daemon_threads = True
ThreadingHTTPServer(("127.0.0.1", port), Handler).serve_forever()
