"""A stand-in for Sign in with Apple's servers on loopback (the real ones are out of reach):
python3 apple_stand_in.py PORT RSA_KEY CLIENT_PUBLIC_KEY CLIENT_ID TEAM_ID EMAIL

GET  /auth/authorize  what the browser would post back: {"code", "state", "redirect_uri"}
POST /auth/token      checks the client secret (an ES256 JWT by the client's key) and the
                      code, and answers an RS256 identity token for EMAIL
GET  /auth/keys       the JWKS with the RSA key's public half
Signing and checking go through the openssl tool, as Python has no crypto of its own here.
"""
import base64, json, os, secrets, subprocess, sys, tempfile, time, urllib.parse
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

from stand_in_http import answer_json

port, rsa_key, client_public, client_id, team_id, email = sys.argv[1:7]
base = f"http://127.0.0.1:{port}"
codes = set()


def b64url(data):
    return base64.urlsafe_b64encode(data).rstrip(b"=").decode()


def unb64url(text):
    return base64.urlsafe_b64decode(text + "=" * (-len(text) % 4))


def openssl(*args, data=b""):
    return subprocess.run(["openssl", *args], input=data, capture_output=True).stdout


def der_integer(value):
    value = value.lstrip(b"\0") or b"\0"
    if value[0] & 0x80:
        value = b"\0" + value
    return b"\x02" + bytes([len(value)]) + value


def es256_valid(token):
    head, claims, signature = token.split(".")
    raw = unb64url(signature)
    body = der_integer(raw[:32]) + der_integer(raw[32:])
    with tempfile.NamedTemporaryFile(delete=False) as f:
        f.write(b"\x30" + bytes([len(body)]) + body)
    try:
        out = openssl("dgst", "-sha256", "-verify", client_public, "-signature", f.name,
                      data=f"{head}.{claims}".encode())
    finally:
        os.unlink(f.name)
    return b"Verified OK" in out, json.loads(unb64url(claims))


modulus = bytes.fromhex(openssl("rsa", "-in", rsa_key, "-noout", "-modulus").decode()
                        .strip().split("=")[1])
jwks = {"keys": [{"kty": "RSA", "kid": "stand-in", "use": "sig", "alg": "RS256",
                  "n": b64url(modulus), "e": b64url((65537).to_bytes(3, "big"))}]}


class Apple(BaseHTTPRequestHandler):
    def do_GET(self):
        url = urllib.parse.urlparse(self.path)
        query = dict(urllib.parse.parse_qsl(url.query))
        if url.path == "/auth/keys":
            return self.answer(200, jwks)
        if url.path == "/auth/authorize" and query.get("client_id") == client_id:
            code = "c" + secrets.token_hex(16)
            codes.add(code)
            return self.answer(200, {"code": code, "state": query.get("state"),
                                     "redirect_uri": query.get("redirect_uri")})
        self.answer(400, {"error": "invalid_request"})

    def do_POST(self):
        form = dict(urllib.parse.parse_qsl(
            self.rfile.read(int(self.headers.get("Content-Length", 0))).decode()))
        if self.path != "/auth/token":
            return self.answer(404, {})
        valid, claims = es256_valid(form.get("client_secret", "..."))
        if not valid or claims.get("iss") != team_id or claims.get("sub") != client_id \
                or claims.get("aud") != base or claims.get("exp", 0) < time.time():
            return self.answer(400, {"error": "invalid_client"})
        if form.get("code") not in codes:
            return self.answer(400, {"error": "invalid_grant"})
        codes.discard(form["code"])
        head = b64url(json.dumps({"alg": "RS256", "kid": "stand-in"}).encode())
        body = b64url(json.dumps({"iss": base, "aud": client_id, "sub": "001234.stand-in",
                                  "email": email, "iat": int(time.time()),
                                  "exp": int(time.time()) + 600}).encode())
        signature = openssl("dgst", "-sha256", "-sign", rsa_key, data=f"{head}.{body}".encode())
        self.answer(200, {"access_token": "a", "token_type": "Bearer", "expires_in": 3600,
                          "id_token": f"{head}.{body}.{b64url(signature)}"})

    def answer(self, status, document):
        answer_json(self, status, document)

    def log_message(self, *args):
        pass


ThreadingHTTPServer(("127.0.0.1", int(port)), Apple).serve_forever()
