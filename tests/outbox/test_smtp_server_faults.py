#!/usr/bin/python3
"""The scripted faults of the loopback SMTP server that the session's fault
tests lean on: a connection closed or stalled right after the STARTTLS 220,
TLS from the first byte on any port, a late answer to the final ".", and
DATA refused with 421 or 554.
"""

import base64
import os
import socket
import ssl
import smtplib
import sys
import time
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import test_smtp_server as base  # noqa: E402
from test_smtp_server import MESSAGE, ServerCase, cert_args, client_context  # noqa: E402


def setUpModule():
    base.setUpModule()


def tearDownModule():
    base.tearDownModule()


def starttls_reply(port):
    """Greeting, EHLO, STARTTLS by hand: the socket and the STARTTLS reply line."""
    s = socket.create_connection(("127.0.0.1", port), timeout=5)
    f = s.makefile("rb")
    assert f.readline().startswith(b"220")
    s.sendall(b"EHLO client.example\r\n")
    while True:
        line = f.readline()
        if line[3:4] == b" ":
            break
    s.sendall(b"STARTTLS\r\n")
    return s, f.readline()


class HandshakeFaultTests(ServerCase):
    def start_after_220(self, option):
        """A server with `option`, and a socket that has just read its 220 to STARTTLS."""
        server = self.start(option)
        s, reply = starttls_reply(server.port)
        self.addCleanup(s.close)
        self.assertEqual(reply, b"220 2.0.0 Ready to start TLS\r\n")
        return server, s

    def test_starttls_close_answers_220_then_closes(self):
        server, s = self.start_after_220("--starttls-close")
        s.settimeout(5)
        self.assertEqual(s.recv(100), b"")  # end of stream, nothing more
        self.assertEqual(server.transcript()[-1]["cmd"], "CLOSED")

    def test_starttls_stall_never_answers_the_handshake(self):
        server, s = self.start_after_220("--starttls-stall")
        s.settimeout(1.5)
        context = ssl.create_default_context()
        context.check_hostname = False
        context.verify_mode = ssl.CERT_NONE
        with self.assertRaises(socket.timeout):
            context.wrap_socket(s, server_hostname="localhost")
        stalled = [t for t in server.transcript() if t["cmd"] == "STALLED"]
        self.assertTrue(stalled)
        self.assertEqual(stalled[0]["line"][0], "\x16")  # a TLS handshake record

    def test_implicit_tls_on_a_port_other_than_465(self):
        server = self.start("--implicit-tls", *cert_args())
        self.assertNotEqual(server.port, 465)
        # A client that waits for a greeting in clear hears nothing: the
        # server is waiting for the TLS hello.
        s = socket.create_connection(("127.0.0.1", server.port), timeout=5)
        self.addCleanup(s.close)
        s.settimeout(1.0)
        with self.assertRaises(socket.timeout):
            s.recv(100)


class MechanismTests(ServerCase):
    def test_excluded_mechanism_is_neither_offered_nor_accepted(self):
        server = self.start("--user", "ann", "--password", "s3cret", "--exclude-auth", "plain")
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            c.ehlo()
            offered = c.esmtp_features["auth"].split()
            self.assertNotIn("PLAIN", offered)
            self.assertIn("LOGIN", offered)
            blob = base64.b64encode(b"\0ann\0s3cret").decode()
            self.assertEqual(c.docmd("AUTH", "PLAIN " + blob)[0], 504)


def open_envelope(client):
    """EHLO, MAIL and RCPT for one message from a@ to b@example.org."""
    client.ehlo()
    client.mail("a@example.org")
    client.rcpt("b@example.org")


class DataFaultTests(ServerCase):
    def test_data_end_delay_answers_late_and_stores_the_message(self):
        server = self.start("--data-end-delay", "2")
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            open_envelope(c)
            c.putcmd("DATA")
            self.assertEqual(c.getreply()[0], 354)
            c.send(MESSAGE + b".\r\n")
            start = time.monotonic()
            code, _ = c.getreply()
            waited = time.monotonic() - start
        self.assertEqual(code, 250)
        self.assertGreaterEqual(waited, 1.9)
        self.assertEqual(server.stored_count(), 1)

    def test_data_reply_421_answers_and_closes(self):
        server = self.start("--data-reply", "421")
        s = socket.create_connection(("127.0.0.1", server.port), timeout=5)
        self.addCleanup(s.close)
        f = s.makefile("rb")
        f.readline()
        for command in (b"HELO client.example", b"MAIL FROM:<a@example.org>",
                        b"RCPT TO:<b@example.org>"):
            s.sendall(command + b"\r\n")
            self.assertTrue(f.readline().startswith(b"250"))
        s.sendall(b"DATA\r\n")
        self.assertTrue(f.readline().startswith(b"421 4.3.2 "))
        self.assertEqual(f.readline(), b"")  # closed
        self.assertEqual(server.stored_count(), 0)

    def test_data_reply_554_refuses_and_stays_open(self):
        server = self.start("--data-reply", "554")
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            with self.assertRaises(smtplib.SMTPDataError) as e:
                c.sendmail("a@example.org", ["b@example.org"], MESSAGE)
            self.assertEqual(e.exception.smtp_code, 554)
            self.assertEqual(c.noop()[0], 250)

    def test_554_to_the_final_dot(self):
        server = self.start("--reject-rcpt", "b@example.org")
        with smtplib.SMTP("127.0.0.1", server.port, timeout=10) as c:
            open_envelope(c)
            code, _ = c.data(MESSAGE)
        self.assertEqual(code, 554)
        self.assertEqual(server.transcript()[-2]["cmd"], "DATA-END")


if __name__ == "__main__":
    unittest.main(verbosity=2)
