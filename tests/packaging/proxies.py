#!/usr/bin/env python3
"""The recipes for reverse proxies, with the real programs: each is taken as it is but for ports and certificate, checked
by the program itself, and then carries a WebSocket to a relay that counts the client, not the proxy.

usage: proxies.py RELAY-PROGRAM"""

import base64
import json
import os
import pathlib
import shutil
import socket
import ssl
import struct
import subprocess
import sys
import tempfile
import time
import unittest

RELAY = None
RECIPES = pathlib.Path(__file__).resolve().parents[2] / "packaging/proxies"
TOKEN = "token-of-the-pairing"
PATIENCE = 30


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Client:
    """A TLS connection to the proxy from one of this machine's many addresses."""

    def __init__(self, port, address="127.0.0.1"):
        context = ssl.create_default_context()
        context.check_hostname = False
        context.verify_mode = ssl.CERT_NONE
        plain = socket.create_connection(("127.0.0.1", port), PATIENCE, source_address=(address, 0))
        self.socket = context.wrap_socket(plain, server_hostname="relay.example.org")
        self.received = b""

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()

    def ask(self, line, *headers, body=b""):
        lines = [f"{line} HTTP/1.1", "Host: relay.example.org", *headers, f"Content-Length: {len(body)}"]
        if not any(header.startswith("Upgrade") for header in headers):
            lines.append("Connection: close")
        self.socket.sendall("\r\n".join(lines).encode() + b"\r\n\r\n" + body)
        while b"\r\n\r\n" not in self.received:
            self.receive()
        head, self.received = self.received.split(b"\r\n\r\n", 1)
        return int(head.split(b" ")[1])

    def receive(self):
        more = self.socket.recv(65536)
        if not more:
            raise EOFError(self.received)
        self.received += more

    def upgrade(self, path, *headers):
        key = base64.b64encode(os.urandom(16)).decode()
        return self.ask(f"GET {path}", "Upgrade: websocket", "Connection: Upgrade", "Sec-WebSocket-Version: 13",
                        f"Sec-WebSocket-Key: {key}", *headers)

    def send(self, message):
        payload = json.dumps(message).encode()
        self.socket.sendall(struct.pack(">BBH", 0x81, 0x80 | 126, len(payload)) + bytes(4) + payload)

    def take(self, size):
        while len(self.received) < size:
            self.receive()
        taken, self.received = self.received[:size], self.received[size:]
        return taken

    def next(self):
        """The next text frame; the ones of this test are short and whole."""
        first, length = self.take(2)
        assert first == 0x81 and length < 127, (first, length)
        if length == 126:
            length = struct.unpack(">H", self.take(2))[0]
        return json.loads(self.take(length))


class Proxies(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="tallyfox-proxies-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
                        "-days", "2", "-subj", "/CN=relay.example.org", "-keyout", self.folder / "key.pem", "-out",
                        self.folder / "certificate.pem"], check=True, capture_output=True, timeout=PATIENCE)
        self.relay_port = self.started_relay()
        self.port = free_port()

    def start(self, *command, **options):
        process = subprocess.Popen([str(word) for word in command], stdin=subprocess.DEVNULL, **options)

        def end():
            process.terminate()
            try:
                process.wait(PATIENCE)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
        self.addCleanup(end)
        return process

    def started_relay(self):
        log = open(self.folder / "relay.log", "wb")
        self.addCleanup(log.close)
        relay = self.start(RELAY, "--listen", "127.0.0.1:0", "--data", self.folder / "data", "--trusted-proxy",
                           "127.0.0.1", stdout=subprocess.PIPE, stderr=log)
        self.addCleanup(relay.stdout.close)
        return int(relay.stdout.readline().decode().rstrip(".\n").rsplit(":", 1)[1])

    def recipe(self, name, *changes):
        """The recipe with this test's ports and files; each change must find its place."""
        text = (RECIPES / name).read_text(encoding="utf-8")
        for old, new in (("127.0.0.1:8080", f"127.0.0.1:{self.relay_port}"), *changes):
            self.assertIn(old, text)
            text = text.replace(old, str(new))
        (self.folder / name).write_text(text, encoding="utf-8")
        return self.folder / name

    def checked(self, *command):
        outcome = subprocess.run([str(word) for word in command], text=True, capture_output=True, timeout=PATIENCE)
        self.assertEqual(0, outcome.returncode, outcome.stdout + outcome.stderr)
        self.assertNotIn("warn", (outcome.stdout + outcome.stderr).lower())

    def await_proxy(self, process):
        deadline = time.monotonic() + PATIENCE
        while True:
            self.assertIsNone(process.poll(), "the proxy ended")
            try:
                with Client(self.port) as client:
                    if client.ask("GET /healthz") == 200:
                        return
            except OSError:
                pass
            self.assertLess(time.monotonic(), deadline, "the proxy does not answer")
            time.sleep(0.05)

    def carries_a_session(self):
        with Client(self.port) as client:
            self.assertEqual(204, client.ask("PUT /api/pairings/P1/relay-token", f"Authorization: Bearer {TOKEN}",
                                             body=b'{"client":"mac","version":1}'))
        with Client(self.port) as agent, Client(self.port) as phone:
            self.assertEqual(101, agent.upgrade("/", f"Authorization: Bearer {TOKEN}"))
            self.assertEqual("phone.status", agent.next()["type"])
            self.assertEqual(101, phone.upgrade("/phone", "Origin: https://relay.example.org"))
            phone.send({"type": "phone.hello", "version": 1, "pairingID": "P1", "relaySecret": TOKEN,
                        "deviceID": "D1", "deviceName": "Kim's phone"})
            self.assertEqual({"type": "relay.welcome", "version": 1, "agentConnected": True}, phone.next())
            self.assertTrue(agent.next()["phoneConnected"])

    def counts_the_client(self):
        def asked(address, *headers):
            with Client(self.port, address) as client:
                return client.ask("GET /other", *headers)
        def asked_until_refused(most, *headers):
            answers = []
            while len(answers) < most and 429 not in answers:
                answers.append(asked("127.0.0.2", *headers))
            return answers

        self.assertEqual({404, 429}, set(answers := asked_until_refused(2000)))
        self.assertGreaterEqual(len(answers), 200)
        # An invented client would have 200 requests of its own.
        for header in ("X-Forwarded-For: 192.0.2.1", "Forwarded: for=192.0.2.1"):
            self.assertIn(429, asked_until_refused(150, header), "a client that invents another one")
        self.assertEqual(404, asked("127.0.0.3"), "another client")

    def refuses_other_sites(self):
        with Client(self.port) as phone:
            self.assertEqual(403, phone.upgrade("/phone", "Origin: https://other.example.org"))
        with Client(self.port) as phone:
            self.assertEqual(403, phone.upgrade("/phone", "Origin: https://other.example.org",
                                                "X-Forwarded-Host: other.example.org"))

    def serves(self, process):
        self.await_proxy(process)
        self.carries_a_session()
        self.refuses_other_sites()
        self.counts_the_client()

    def test_nginx(self):
        site = self.recipe("nginx.conf", ("listen 443 ssl;", f"listen 127.0.0.1:{self.port} ssl;"),
                           ("    listen [::]:443 ssl;\n", ""),
                           ("/etc/letsencrypt/live/relay.example.org/fullchain.pem", self.folder / "certificate.pem"),
                           ("/etc/letsencrypt/live/relay.example.org/privkey.pem", self.folder / "key.pem"))
        whole = self.folder / "whole.conf"
        places = "".join(f"  {kind}_temp_path {self.folder}/{kind};\n"
                         for kind in ("client_body", "proxy", "fastcgi", "uwsgi", "scgi"))
        whole.write_text(f"pid {self.folder}/nginx.pid;\ndaemon off;\nmaster_process off;\nerror_log stderr;\n"
                         f"events {{}}\nhttp {{\n  access_log off;\n{places}  include {site};\n}}\n", encoding="utf-8")
        command = [shutil.which("nginx", path=f"{os.environ['PATH']}:/usr/sbin"), "-p", self.folder, "-c", whole, "-e",
                   "stderr"]
        self.checked(*command, "-t", "-q")
        self.serves(self.start(*command))

    def test_haproxy(self):
        (self.folder / "both.pem").write_bytes((self.folder / "certificate.pem").read_bytes() +
                                               (self.folder / "key.pem").read_bytes())
        config = self.recipe("haproxy.cfg", ("bind :443,[::]:443 ssl", f"bind 127.0.0.1:{self.port} ssl"),
                             ("/etc/haproxy/relay.example.org.pem", self.folder / "both.pem"), ("maxconn 20000", "maxconn 200"))
        command = [shutil.which("haproxy", path=f"{os.environ['PATH']}:/usr/sbin"), "-f", config]
        self.checked(*command, "-c", "-q")
        self.serves(self.start(*command, "-db"))


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    RELAY = sys.argv.pop(1)
    unittest.main()
