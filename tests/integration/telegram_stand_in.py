"""A stand-in for the Telegram Bot API on loopback: the real one is out of reach here.

POST /bot<token>/sendMessage is answered like Telegram does and appended, as one JSON line,
to the file given as the second argument. The token decides the answer, so a test picks
the behaviour by the token it saves:
  ...ok...       {"ok": true}
  ...slow429...  429 with retry_after 2 on the first message of a chat, then ok
  ...blocked...  403 "Forbidden: bot was blocked by the user"
"""
import json
import sys
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

from stand_in_http import answer_json

port, log_path = int(sys.argv[1]), sys.argv[2]
limited_once = set()


class BotApi(BaseHTTPRequestHandler):
    def do_POST(self):
        body = self.rfile.read(int(self.headers.get("Content-Length", 0)))
        parts = self.path.strip("/").split("/")
        token = parts[0][3:] if parts and parts[0].startswith("bot") else ""
        method = parts[1] if len(parts) > 1 else ""
        try:
            message = json.loads(body)
        except ValueError:
            return self.answer(400, {"ok": False, "error_code": 400,
                                     "description": "Bad Request: invalid JSON"})
        with open(log_path, "a") as log:
            log.write(json.dumps({"token": token, "method": method, "body": message}) + "\n")
        if "blocked" in token:
            return self.answer(403, {"ok": False, "error_code": 403,
                                     "description": "Forbidden: bot was blocked by the user"})
        if "slow429" in token and message.get("chat_id") not in limited_once:
            limited_once.add(message.get("chat_id"))
            return self.answer(429, {"ok": False, "error_code": 429,
                                     "description": "Too Many Requests: retry after 2",
                                     "parameters": {"retry_after": 2}})
        self.answer(200, {"ok": True, "result": {"message_id": 1}})

    def answer(self, status, document):
        answer_json(self, status, document)

    def log_message(self, *args):
        pass


ThreadingHTTPServer(("127.0.0.1", port), BotApi).serve_forever()
