"""What the loopback stand-ins share: a JSON answer."""
import json


def answer_json(handler, status, document):
    data = json.dumps(document).encode()
    handler.send_response(status)
    handler.send_header("Content-Type", "application/json")
    handler.send_header("Content-Length", str(len(data)))
    handler.end_headers()
    handler.wfile.write(data)
