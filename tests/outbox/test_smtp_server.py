#!/usr/bin/python3
"""The loopback SMTP test server, driven by Python's own SMTP client.

Every SMTP test of the application trusts this server to do what its options
say; these tests make a broken server fail loudly, before it misleads them.
"""

import base64
import hashlib
import hmac
import json
import os
import shutil
import signal
import smtplib
import socket
import ssl
import subprocess
import sys
import tempfile
import time
import unittest

SOURCE = os.environ.get("TOLVO_SOURCE_DIR") or os.path.abspath(
    os.path.join(os.path.dirname(__file__), "..", ".."))
OUTBOX = os.path.join(SOURCE, "tools", "outbox")
SERVER = os.path.join(OUTBOX, "smtp-server")
PYTHON = "/usr/bin/python3"
CERTS = None

MESSAGE = (b"From: Ann <ann@example.org>\r\n"
           b"To: Bob <bob@example.org>\r\n"
           b"Subject: Hello\r\n"
           b"\r\n"
           b"First line\r\n"
           b".starts with a dot\r\n")


def setUpModule():
    global CERTS
    CERTS = tempfile.mkdtemp(prefix="tolvo-certs-")
    subprocess.run([os.path.join(OUTBOX, "make-test-certificates"), CERTS], check=True,
                   timeout=60)


def tearDownModule():
    shutil.rmtree(CERTS, ignore_errors=True)


def cert_args(name="localhost"):
    return ["--cert", os.path.join(CERTS, name + ".pem"),
            "--key", os.path.join(CERTS, name + ".key")]


def client_context():
    return ssl.create_default_context(cafile=os.path.join(CERTS, "ca.pem"))


class Server:
    """One smtp-server process with its own store and transcript."""

    def __init__(self, *args, max_seconds=60):
        self.folder = tempfile.mkdtemp(prefix="tolvo-smtp-")
        self.store = os.path.join(self.folder, "store")
        self.transcript_path = os.path.join(self.folder, "transcript.jsonl")
        ready = os.path.join(self.folder, "port")
        self.log = open(os.path.join(self.folder, "server.log"), "w+")
        self.process = subprocess.Popen(
            [PYTHON, SERVER, "--port", "0", "--ready-file", ready, "--store", self.store,
             "--transcript", self.transcript_path, "--max-seconds", str(max_seconds),
             *args],
            stdout=subprocess.PIPE, stderr=self.log, text=True)
        first = self.process.stdout.readline()
        if not first.startswith("PORT "):
            self.process.wait(10)
            self.log.seek(0)
            raise AssertionError("server did not start: %r %s" % (first, self.log.read()))
        self.port = int(first.split()[1])
        with open(ready) as f:
            assert int(f.read()) == self.port

    def stop(self):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
            self.process.wait(10)
        self.process.stdout.close()
        self.log.close()
        return self.process.returncode

    def envelopes(self):
        names = sorted(n for n in os.listdir(self.store) if n.endswith(".json"))
        result = []
        for name in names:
            with open(os.path.join(self.store, name)) as f:
                result.append(json.load(f))
        return result

    def raw(self, number):
        with open(os.path.join(self.store, "%04d.eml" % number), "rb") as f:
            return f.read()

    def stored_count(self):
        if not os.path.isdir(self.store):
            return 0
        return len([n for n in os.listdir(self.store) if n.endswith(".eml")])

    def transcript(self):
        with open(self.transcript_path) as f:
            return [json.loads(line) for line in f]


def raw_dialogue(port, lines, wait=0.3, tls=False):
    """Sends each line and collects what the server answered; bounded in time."""
    s = socket.create_connection(("127.0.0.1", port), timeout=5)
    s.settimeout(wait)
    received = b""

    def drain():
        nonlocal received
        end = time.time() + wait
        while time.time() < end:
            try:
                chunk = s.recv(65536)
            except socket.timeout:
                break
            if not chunk:
                break
            received += chunk

    drain()
    for line in lines:
        s.sendall(line + b"\r\n")
        drain()
    s.close()
    return received


class ServerCase(unittest.TestCase):
    def start(self, *args, **kwargs):
        server = Server(*args, **kwargs)
        self.addCleanup(shutil.rmtree, server.folder, True)
        self.addCleanup(server.stop)
        return server


class StoringTests(ServerCase):
    def test_message_is_stored_with_its_envelope_and_crlf(self):
        server = self.start()
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            c.sendmail("ann@example.org", ["bob@example.org", "cy@example.org"], MESSAGE)
        self.assertEqual(server.raw(1), MESSAGE)  # dot-stuffing undone, CRLF kept
        envelope = server.envelopes()[0]
        self.assertEqual(envelope["mail_from"], "ann@example.org")
        self.assertEqual(envelope["rcpt_tos"], ["bob@example.org", "cy@example.org"])
        self.assertFalse(envelope["tls"])
        self.assertIsNone(envelope["auth_user"])
        self.assertTrue(envelope["peer"].startswith("127.0.0.1:"))

    def test_messages_are_numbered_in_arrival_order(self):
        server = self.start()
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            for n in range(3):
                c.sendmail("a@example.org", ["r%d@example.org" % n], MESSAGE)
        self.assertEqual([e["rcpt_tos"][0] for e in server.envelopes()],
                         ["r0@example.org", "r1@example.org", "r2@example.org"])

    def test_numbering_continues_after_messages_already_in_the_folder(self):
        server = self.start()
        os.makedirs(server.store, exist_ok=True)
        server.stop()
        with open(os.path.join(server.store, "0007.eml"), "wb") as f:
            f.write(MESSAGE)
        again = self.start("--store", server.store)
        with smtplib.SMTP("127.0.0.1", again.port, timeout=10) as c:
            c.sendmail("a@example.org", ["b@example.org"], MESSAGE)
        self.assertTrue(os.path.exists(os.path.join(server.store, "0008.eml")))

    def test_listens_on_loopback_only(self):
        server = self.start()
        out = subprocess.run(["ss", "-ltnH", "sport = :%d" % server.port],
                             capture_output=True, text=True).stdout
        if not out.strip():
            self.skipTest("ss is not available")
        local = [line.split()[3] for line in out.splitlines()]
        self.assertEqual(local, ["127.0.0.1:%d" % server.port])

    def test_port_search_takes_the_next_free_port(self):
        taken = socket.socket()
        taken.bind(("127.0.0.1", 0))
        taken.listen(1)
        self.addCleanup(taken.close)
        port = taken.getsockname()[1]
        folder = tempfile.mkdtemp(prefix="tolvo-smtp-")
        self.addCleanup(shutil.rmtree, folder, True)
        p = subprocess.run([PYTHON, SERVER, "--port", str(port), "--port-search", "1",
                            "--max-seconds", "1"], capture_output=True, text=True, timeout=20)
        self.assertNotEqual(p.returncode, 0)
        ready = os.path.join(folder, "port")
        p = subprocess.Popen([PYTHON, SERVER, "--port", str(port), "--port-search", "50",
                              "--ready-file", ready, "--max-seconds", "30"],
                             stdout=subprocess.PIPE, text=True)
        first = p.stdout.readline()
        p.terminate()
        p.wait(10)
        p.stdout.close()
        got = int(first.split()[1])
        self.assertGreater(got, port)
        self.assertLess(got, port + 50)


class AuthTests(ServerCase):
    def test_cram_md5_with_the_right_password(self):
        server = self.start("--user", "ann", "--password", "s3cret", "--auth-required")
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            c.ehlo()
            self.assertIn("CRAM-MD5", c.esmtp_features["auth"].split())
            c.user, c.password = "ann", "s3cret"
            code, _ = c.auth("CRAM-MD5", c.auth_cram_md5)
            self.assertEqual(code, 235)
            c.sendmail("ann@example.org", ["bob@example.org"], MESSAGE)
        self.assertEqual(server.envelopes()[0]["auth_user"], "ann")

    def test_cram_md5_with_a_wrong_password_is_refused(self):
        server = self.start("--user", "ann", "--password", "s3cret")
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            c.ehlo()
            c.user, c.password = "ann", "wrong"
            with self.assertRaises(smtplib.SMTPAuthenticationError) as e:
                c.auth("CRAM-MD5", c.auth_cram_md5)
            self.assertEqual(e.exception.smtp_code, 535)

    def test_cram_md5_with_non_ascii_credentials(self):
        server = self.start("--user", "jörg", "--password", "pässwörd")
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            c.ehlo()
            code, challenge = c.docmd("AUTH", "CRAM-MD5")
            self.assertEqual(code, 334)
            challenge = base64.b64decode(challenge)
            digest = hmac.new("pässwörd".encode(), challenge, hashlib.md5).hexdigest()
            code, _ = c.docmd(base64.b64encode("jörg ".encode() + digest.encode()).decode())
            self.assertEqual(code, 235)

    def test_plain_and_login_with_non_ascii_credentials(self):
        server = self.start("--user", "jörg", "--password", "pässwörd")
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            c.ehlo()
            blob = base64.b64encode("\0jörg\0pässwörd".encode()).decode()
            self.assertEqual(c.docmd("AUTH", "PLAIN " + blob)[0], 235)
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            c.ehlo()
            self.assertEqual(c.docmd("AUTH", "LOGIN")[0], 334)
            self.assertEqual(c.docmd(base64.b64encode("jörg".encode()).decode())[0], 334)
            self.assertEqual(c.docmd(base64.b64encode("pässwörd".encode()).decode())[0], 235)

    def test_plain_with_a_truncated_password_is_refused(self):
        server = self.start("--user", "jörg", "--password", "pässwörd")
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            c.ehlo()
            blob = base64.b64encode("\0jörg\0pässwö".encode()).decode()
            self.assertEqual(c.docmd("AUTH", "PLAIN " + blob)[0], 535)

    def test_mail_before_auth_is_refused_with_530(self):
        server = self.start("--user", "ann", "--password", "s3cret", "--auth-required")
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            c.ehlo()
            self.assertEqual(c.mail("ann@example.org")[0], 530)

    def test_auth_over_tls_only_is_not_offered_in_clear(self):
        server = self.start("--user", "ann", "--password", "s3cret", "--auth-over-tls-only",
                            "--starttls", *cert_args())
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            c.ehlo()
            self.assertNotIn("auth", c.esmtp_features)
            c.starttls(context=client_context())
            c.ehlo()
            self.assertIn("PLAIN", c.esmtp_features["auth"])


class TLSTests(ServerCase):
    def test_starttls_then_auth_marks_the_transcript_and_envelope(self):
        server = self.start("--user", "ann", "--password", "s3cret", "--starttls", *cert_args())
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            c.starttls(context=client_context())
            c.login("ann", "s3cret")
            c.sendmail("ann@example.org", ["bob@example.org"], MESSAGE)
        self.assertTrue(server.envelopes()[0]["tls"])
        flags = [(t["cmd"], t["tls"]) for t in server.transcript()]
        self.assertEqual(flags[:3], [("EHLO", False), ("STARTTLS", False), ("EHLO", True)])
        after = [f for f in flags if f[0] in ("AUTH", "AUTH-DATA", "MAIL", "DATA-END")]
        self.assertEqual([f[0] for f in after][0], "AUTH")
        self.assertEqual([f[0] for f in after][-2:], ["MAIL", "DATA-END"])
        self.assertTrue(all(tls for _, tls in after), after)

    def test_auth_continuation_lines_are_recorded(self):
        server = self.start("--user", "ann", "--password", "s3cret")
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            c.ehlo()
            c.user, c.password = "ann", "s3cret"
            c.auth("LOGIN", c.auth_login, initial_response_ok=False)
        data = [t["line"] for t in server.transcript() if t["cmd"] == "AUTH-DATA"]
        self.assertEqual([base64.b64decode(d) for d in data], [b"ann", b"s3cret"])

    def test_implicit_tls_from_the_first_byte(self):
        server = self.start("--implicit-tls", *cert_args())
        with smtplib.SMTP_SSL("127.0.0.1", server.port, timeout=10,
                              context=client_context()) as c:
            c.sendmail("ann@example.org", ["bob@example.org"], MESSAGE)
        self.assertTrue(server.envelopes()[0]["tls"])
        self.assertTrue(all(t["tls"] for t in server.transcript()))

    def test_certificate_is_verified_by_the_test_authority_for_localhost(self):
        server = self.start("--implicit-tls", *cert_args())
        context = client_context()
        with socket.create_connection(("127.0.0.1", server.port), timeout=5) as raw:
            with context.wrap_socket(raw, server_hostname="localhost") as s:
                self.assertTrue(s.recv(100).startswith(b"220"))

    def test_wrong_host_and_self_signed_certificates_fail_verification(self):
        for name in ("wrong-host", "selfsigned"):
            server = self.start("--implicit-tls", *cert_args(name))
            with socket.create_connection(("127.0.0.1", server.port), timeout=5) as raw:
                with self.assertRaises(ssl.SSLCertVerificationError, msg=name):
                    client_context().wrap_socket(raw, server_hostname="localhost")

    def test_starttls_reply_454(self):
        server = self.start("--starttls-reply", "454")
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            c.ehlo()
            self.assertTrue(c.has_extn("starttls"))
            self.assertEqual(c.docmd("STARTTLS")[0], 454)

    def test_starttls_injection_arrives_in_the_same_write(self):
        server = self.start("--starttls", *cert_args(),
                            "--starttls-inject", "250-INJECTED\n250 AUTH PLAIN")
        s = socket.create_connection(("127.0.0.1", server.port), timeout=5)
        self.addCleanup(s.close)
        f = s.makefile("rb")
        self.assertTrue(f.readline().startswith(b"220"))
        s.sendall(b"STARTTLS\r\n")
        self.assertEqual(f.readline(), b"220 2.0.0 Ready to start TLS\r\n")
        self.assertEqual(f.readline(), b"250-INJECTED\r\n")
        self.assertEqual(f.readline(), b"250 AUTH PLAIN\r\n")

    def test_starttls_handshake_garbage_fails_the_handshake(self):
        server = self.start("--starttls", *cert_args(), "--tls-handshake-garbage")
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            c.ehlo()
            with self.assertRaises((ssl.SSLError, ConnectionError)):
                c.starttls(context=client_context())

    def test_failed_handshake_is_recorded(self):
        server = self.start("--starttls", *cert_args("selfsigned"))
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            c.ehlo()
            with self.assertRaises(ssl.SSLError):
                c.starttls(context=client_context())
        time.sleep(0.3)
        self.assertIn("TLS-FAILED", [t["cmd"] for t in server.transcript()])


class FailureTests(ServerCase):
    def test_rejected_recipient_is_refused_at_data_with_554(self):
        server = self.start("--reject-rcpt", "bob@example.org")
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            c.sendmail("a@example.org", ["cy@example.org"], MESSAGE)
            with self.assertRaises(smtplib.SMTPDataError) as e:
                c.sendmail("a@example.org", ["Bob@example.org"], MESSAGE)
            self.assertEqual(e.exception.smtp_code, 554)
            self.assertIn(b"Bob@example.org", e.exception.smtp_error)
            c.sendmail("a@example.org", ["dee@example.org"], MESSAGE)
        self.assertEqual([e["rcpt_tos"] for e in server.envelopes()],
                         [["cy@example.org"], ["dee@example.org"]])

    def test_drop_after_mail(self):
        server = self.start("--drop-after", "MAIL")
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            c.ehlo()
            with self.assertRaises((smtplib.SMTPServerDisconnected, ConnectionError)):
                c.mail("a@example.org")
        self.assertEqual(server.transcript()[-1]["cmd"], "MAIL")

    def test_drop_after_the_final_dot_stores_nothing(self):
        server = self.start("--drop-after", "DATA-END")
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            with self.assertRaises((smtplib.SMTPServerDisconnected, ConnectionError)):
                c.sendmail("a@example.org", ["b@example.org"], MESSAGE)
        self.assertEqual(server.stored_count(), 0)

    def test_silent_server_sends_nothing(self):
        server = self.start("--silent")
        self.assertEqual(raw_dialogue(server.port, [b"EHLO x"], wait=0.5), b"")
        self.assertEqual(server.transcript()[0]["cmd"], "EHLO")

    def test_greeting_554_refuses_everything_but_quit(self):
        server = self.start("--greeting-554")
        answer = raw_dialogue(server.port, [b"EHLO x", b"MAIL FROM:<a@b>", b"QUIT"])
        lines = answer.split(b"\r\n")
        self.assertTrue(lines[0].startswith(b"554 "))
        self.assertTrue(lines[1].startswith(b"503 "))
        self.assertTrue(lines[2].startswith(b"503 "))
        self.assertTrue(lines[3].startswith(b"221 "))

    def test_garbage_after_greeting(self):
        server = self.start("--garbage-after-greeting")
        answer = raw_dialogue(server.port, [])
        self.assertTrue(answer.startswith(b"220 "))
        self.assertIn(b"this is not SMTP", answer)

    def test_silent_after_data(self):
        server = self.start("--silent-after-data")
        with smtplib.SMTP("127.0.0.1", server.port, timeout=1) as c:
            with self.assertRaises((socket.timeout, smtplib.SMTPServerDisconnected)):
                c.sendmail("a@example.org", ["b@example.org"], MESSAGE)
        self.assertEqual(server.transcript()[-1]["cmd"], "DATA-END")
        self.assertEqual(server.stored_count(), 0)

    def test_greeting_delay(self):
        server = self.start("--greeting-delay", "1")
        start = time.monotonic()
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10):
            pass
        self.assertGreaterEqual(time.monotonic() - start, 0.9)


class LifetimeTests(unittest.TestCase):
    def test_stops_by_itself_after_max_seconds(self):
        p = subprocess.Popen([PYTHON, SERVER, "--max-seconds", "1"], stdout=subprocess.DEVNULL)
        self.assertEqual(p.wait(20), 0)

    def test_stops_cleanly_on_sigterm_and_sigint(self):
        for sig in (signal.SIGTERM, signal.SIGINT):
            p = subprocess.Popen([PYTHON, SERVER], stdout=subprocess.PIPE, text=True)
            p.stdout.readline()
            p.send_signal(sig)
            self.assertEqual(p.wait(10), 0)
            p.stdout.close()

    def test_stops_when_the_watched_process_ends(self):
        sleeper = subprocess.Popen(["sleep", "30"])
        p = subprocess.Popen([PYTHON, SERVER, "--max-seconds", "0",
                              "--watch-pid", str(sleeper.pid)], stdout=subprocess.PIPE, text=True)
        p.stdout.readline()
        sleeper.kill()
        sleeper.wait()
        self.assertEqual(p.wait(10), 0)
        p.stdout.close()

    def test_refuses_to_run_without_any_limit(self):
        p = subprocess.run([PYTHON, SERVER, "--max-seconds", "0"], capture_output=True,
                           timeout=20)
        self.assertNotEqual(p.returncode, 0)


class MimeSummaryTests(unittest.TestCase):
    def test_multipart_message_part_by_part(self):
        message = (
            "From: =?UTF-8?Q?J=C3=B6rg?= <j@example.org>\r\n"
            "To: ann@example.org\r\n"
            "Subject: =?UTF-8?B?R3LDvMOfZQ==?=\r\n"
            "MIME-Version: 1.0\r\n"
            "Content-Type: multipart/mixed; boundary=\"XX\"\r\n"
            "\r\n"
            "--XX\r\n"
            "Content-Type: text/plain; charset=iso-8859-1\r\n"
            "Content-Transfer-Encoding: quoted-printable\r\n"
            "\r\n"
            "Gr=FC=DFe\r\n"
            "--XX\r\n"
            "Content-Type: application/octet-stream\r\n"
            "Content-Disposition: attachment; filename=\"data.bin\"\r\n"
            "Content-Transfer-Encoding: base64\r\n"
            "\r\n"
            "AAEC/w==\r\n"
            "--XX--\r\n").encode("ascii")
        folder = tempfile.mkdtemp(prefix="tolvo-smtp-")
        self.addCleanup(shutil.rmtree, folder, True)
        path = os.path.join(folder, "m.eml")
        with open(path, "wb") as f:
            f.write(message)
        out = subprocess.run([PYTHON, os.path.join(OUTBOX, "mime-summary"), path],
                             capture_output=True, check=True, timeout=20)
        summary = json.loads(out.stdout)
        headers = {h["name"]: h for h in summary["headers"]}
        self.assertEqual(headers["Subject"]["raw"], "=?UTF-8?B?R3LDvMOfZQ==?=")
        self.assertEqual(headers["Subject"]["decoded"], "Grüße")
        self.assertEqual(headers["From"]["decoded"], "Jörg <j@example.org>")
        parts = summary["parts"]
        self.assertEqual([p["content_type"] for p in parts],
                         ["multipart/mixed", "text/plain", "application/octet-stream"])
        self.assertEqual([p["path"] for p in parts], ["", "1", "2"])
        self.assertEqual(parts[1]["charset"], "iso-8859-1")
        self.assertEqual(parts[1]["transfer_encoding"], "quoted-printable")
        self.assertEqual(parts[1]["text"], "Grüße")
        self.assertEqual(base64.b64decode(parts[1]["payload_base64"]), "Grüße".encode("latin-1"))
        self.assertEqual(parts[2]["filename"], "data.bin")
        self.assertEqual(parts[2]["disposition"], "attachment")
        self.assertEqual(base64.b64decode(parts[2]["payload_base64"]), b"\x00\x01\x02\xff")
        self.assertNotIn("text", parts[2])
        self.assertEqual(summary["defects"], [])


if __name__ == "__main__":
    unittest.main(verbosity=2)
