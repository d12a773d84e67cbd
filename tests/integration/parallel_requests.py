"""Fires HTTP requests at once, each from its own loopback address, as a crowd of clients
would: python3 parallel_requests.py < requests.json

The input is a JSON list of {"url", "method", "body", "source", "headers"}; every request
waits at a barrier until all are connected, so they reach the server together. Prints one
JSON line per request, in input order: {"status", "detail", "retry_after", "seconds"}.
"""
import http.client
import json
import sys
import threading
import time
import urllib.parse

requests = json.load(sys.stdin)
results = [None] * len(requests)
barrier = threading.Barrier(len(requests))


def fire(index, request):
    url = urllib.parse.urlsplit(request["url"])
    connection = http.client.HTTPConnection(url.hostname, url.port, timeout=60,
                                            source_address=(request.get("source", "127.0.0.1"), 0))
    connection.connect()
    barrier.wait()
    started = time.monotonic()
    body = request.get("body")
    headers = {"Content-Type": "application/json", **request.get("headers", {})}
    connection.request(request.get("method", "POST"), url.path + ("?" + url.query if url.query else ""),
                       body=body.encode() if body is not None else None, headers=headers)
    answer = connection.getresponse()
    text = answer.read().decode(errors="replace")
    seconds = time.monotonic() - started
    try:
        detail = json.loads(text).get("detail")
    except (ValueError, AttributeError):
        detail = None
    results[index] = {"status": answer.status, "detail": detail,
                      "retry_after": answer.getheader("Retry-After"), "seconds": seconds}
    connection.close()


threads = [threading.Thread(target=fire, args=(i, r)) for i, r in enumerate(requests)]
for thread in threads:
    thread.start()
for thread in threads:
    thread.join()
for result in results:
    print(json.dumps(result))
