#!/usr/bin/python3
"""The local outbox that `./tolvo run` prepares when no server is configured.

Each test has its own home and GNUstep preferences, as tests/support/fresh-home
makes them, and a stand-in for the application: a `sleep` whose end must end
the outbox too.
"""

import json
import os
import re
import shutil
import signal
import smtplib
import socket
import subprocess
import tempfile
import time
import unittest

SOURCE = os.environ.get("TOLVO_SOURCE_DIR") or os.path.abspath(
    os.path.join(os.path.dirname(__file__), "..", ".."))
PREPARE_RUN = os.path.join(SOURCE, "tools", "outbox", "prepare-run")
OUTBOX_NAME = "Tolvo Outbox"


def fresh_home():
    """A new HOME whose GNUstep folders (defaults included) live inside it."""
    home = tempfile.mkdtemp(prefix="tolvo-outbox-home-")
    with open("/etc/GNUstep/GNUstep.conf") as f:
        conf = f.read()
    conf = re.sub(r"(?m)^GNUSTEP_USER_CONFIG_FILE=.*$",
                  "GNUSTEP_USER_CONFIG_FILE=%s/.GNUstep.conf" % home, conf)
    conf = re.sub(r"(?m)^(GNUSTEP_USER_[A-Z_]*)=(GNUstep/.*)$",
                  lambda m: "%s=%s/%s" % (m.group(1), home, m.group(2)), conf)
    with open(os.path.join(home, "GNUstep.conf"), "w") as f:
        f.write(conf)
    return home


class PrepareRunCase(unittest.TestCase):
    def setUp(self):
        self.home = fresh_home()
        self.env = dict(os.environ, HOME=self.home,
                        GNUSTEP_CONFIG_FILE=os.path.join(self.home, "GNUstep.conf"))
        self.application = subprocess.Popen(["sleep", "120"])
        self.env["TOLVO_OUTBOX_WATCH_PID"] = str(self.application.pid)
        self.outbox = os.path.join(self.home, OUTBOX_NAME)
        self.addCleanup(self.cleanup)

    def cleanup(self):
        self.stop_application()
        self.wait_for_outbox_to_end()
        shutil.rmtree(self.home, ignore_errors=True)

    def stop_application(self):
        if self.application.poll() is None:
            self.application.kill()
            self.application.wait()

    def server_pid(self):
        try:
            with open(os.path.join(self.outbox, ".smtp-server.pid")) as f:
                return int(f.read())
        except (OSError, ValueError):
            return None

    def server_alive(self, pid):
        try:
            with open("/proc/%d/stat" % pid) as f:
                return f.read().rsplit(") ", 1)[1][0] not in "ZX"
        except OSError:
            return False

    def wait_for_outbox_to_end(self, seconds=10):
        pid = self.server_pid()
        end = time.time() + seconds
        while pid and self.server_alive(pid) and time.time() < end:
            time.sleep(0.1)
        return not (pid and self.server_alive(pid))

    def defaults(self, *args):
        return subprocess.run(["defaults", *args], env=self.env, capture_output=True,
                              text=True, timeout=30)

    def write(self, key, value):
        self.defaults("write", "Tolvo", key, value)

    def read(self, key):
        out = self.defaults("read", "Tolvo", key)
        if out.returncode != 0:
            return None
        value = out.stdout.strip()[len("Tolvo %s " % key):]
        if len(value) >= 2 and value[0] == value[-1] == "'":
            value = value[1:-1].replace("''", "'")
        return value

    def prepare_run(self):
        p = subprocess.run([PREPARE_RUN], env=self.env, capture_output=True, text=True,
                           timeout=60)
        self.assertEqual(p.returncode, 0, p.stderr)
        return p.stdout

    def send(self, port, subject="First"):
        with smtplib.SMTP("127.0.0.1", port, timeout=10) as c:
            c.sendmail("you@localhost", ["ann@example.org"],
                       ("Subject: %s\r\n\r\nHello\r\n" % subject).encode())

    def messages(self):
        return sorted(n for n in os.listdir(self.outbox) if n.endswith(".eml"))


class NoServerConfigured(PrepareRunCase):
    def test_first_run_points_the_preferences_at_a_local_outbox(self):
        out = self.prepare_run()
        self.assertEqual(len(out.splitlines()), 1, out)
        self.assertIn(self.outbox, out)
        self.assertEqual(self.read("serverAddress"), "127.0.0.1")
        port = int(self.read("serverPort"))
        self.assertTrue(2525 <= port < 2545, port)
        self.assertEqual(self.read("localOutbox"), "YES")
        self.assertEqual(self.read("senderEmail"), "you@localhost")
        self.assertEqual(self.read("senderName"), "Tolvo User")

    def test_a_sent_message_lands_in_the_outbox_folder(self):
        self.prepare_run()
        self.send(int(self.read("serverPort")), "Hello outbox")
        self.assertEqual(self.messages(), ["0001.eml"])
        with open(os.path.join(self.outbox, "0001.eml"), "rb") as f:
            self.assertIn(b"Subject: Hello outbox\r\n", f.read())

    def test_existing_sender_is_kept(self):
        self.write("senderEmail", "ann@example.org")
        self.write("senderName", "Ann O'Neil")
        self.prepare_run()
        self.assertEqual(self.read("senderEmail"), "ann@example.org")
        self.assertEqual(self.read("senderName"), "Ann O'Neil")

    def test_outbox_ends_with_the_application(self):
        self.prepare_run()
        pid = self.server_pid()
        self.assertTrue(pid and self.server_alive(pid))
        self.stop_application()
        self.assertTrue(self.wait_for_outbox_to_end(), "the outbox outlived the application")

    def test_a_taken_port_moves_the_outbox_to_the_next_free_one(self):
        taken = []
        for port in range(2525, 2545):
            s = socket.socket()
            try:
                s.bind(("127.0.0.1", port))
                s.listen(1)
                taken.append(s)
                break
            except OSError:
                s.close()
        self.assertTrue(taken)
        self.addCleanup(taken[0].close)
        self.prepare_run()
        self.assertNotEqual(int(self.read("serverPort")), taken[0].getsockname()[1])
        self.send(int(self.read("serverPort")))


class OutboxConfiguredBefore(PrepareRunCase):
    def test_later_run_restarts_it_on_the_recorded_port(self):
        self.prepare_run()
        port = int(self.read("serverPort"))
        self.send(port, "one")
        self.stop_application()
        self.assertTrue(self.wait_for_outbox_to_end())

        self.application = subprocess.Popen(["sleep", "120"])
        self.env["TOLVO_OUTBOX_WATCH_PID"] = str(self.application.pid)
        out = self.prepare_run()
        self.assertIn(":%d;" % port, out)
        self.assertEqual(int(self.read("serverPort")), port)
        self.send(port, "two")
        self.assertEqual(self.messages(), ["0001.eml", "0002.eml"])

    def test_recorded_port_taken_by_another_program_moves_the_outbox(self):
        other = socket.socket()
        other.bind(("127.0.0.1", 0))
        other.listen(1)
        self.addCleanup(other.close)
        self.write("serverAddress", "127.0.0.1")
        self.write("localOutbox", "YES")
        self.write("serverPort", str(other.getsockname()[1]))
        self.prepare_run()
        port = int(self.read("serverPort"))
        self.assertNotEqual(port, other.getsockname()[1])
        self.send(port)
        self.assertEqual(self.messages(), ["0001.eml"])

    def test_second_launch_reuses_the_running_outbox(self):
        self.prepare_run()
        pid = self.server_pid()
        out = self.prepare_run()
        self.assertIn("already running", out)
        self.assertEqual(self.server_pid(), pid)


class RealServerConfigured(PrepareRunCase):
    def assert_untouched(self, out):
        self.assertEqual(out, "")
        self.assertFalse(os.path.exists(self.outbox))
        self.assertIsNone(self.read("localOutbox"))
        self.assertIsNone(self.read("senderEmail"))

    def test_nothing_happens_when_a_server_is_configured(self):
        self.write("serverAddress", "smtp.example.org")
        self.write("serverPort", "587")
        self.assert_untouched(self.prepare_run())
        self.assertEqual(self.read("serverAddress"), "smtp.example.org")
        self.assertEqual(self.read("serverPort"), "587")

    def test_a_loopback_server_of_the_users_own_is_left_alone(self):
        self.write("serverAddress", "127.0.0.1")
        self.write("serverPort", "25")
        self.assert_untouched(self.prepare_run())
        self.assertEqual(self.read("serverPort"), "25")


if __name__ == "__main__":
    unittest.main(verbosity=2)
