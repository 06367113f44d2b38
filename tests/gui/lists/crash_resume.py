"""A run of 50 to the loopback server, Tolvo killed with SIGKILL at random
points again and again (some kills while the server holds its reply to the
final "." of a message it has already stored), relaunched each time and the
run resumed, answering "Count as Mailed" whenever Tolvo asks about messages
in doubt. After every kill the journal must account for every message the
server took, and in the end every address is received exactly once and the
journal's accepted addresses are exactly the received ones.

Arguments: the Tolvo executable, the source folder, a folder for screenshots.
Runs under Xvfb with a fresh HOME. TOLVO_CRASH_SEED repeats a run's choices.
"""
import email
import email.policy
import glob
import json
import os
import random
import signal
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from desktop import configure_sender_and_server, press, press_send, run, wait_for, xdo  # noqa: E402
from session import import_csv_group, log_lines, main_window, window  # noqa: E402

tolvo, source, shots = sys.argv[1], sys.argv[2], sys.argv[3]
os.makedirs(shots, exist_ok=True)
home = os.environ["HOME"]
store = os.path.join(home, "outbox")
journal_path = os.path.join(home, "GNUstep/Library/ApplicationSupport/Sorvane Software/Tolvo/Tolvo.journal")
ADDRESSES = ["member%02d@example.com" % i for i in range(1, 51)]
TRIALS = 22
HOLD = 2.0
seed = int(os.environ.get("TOLVO_CRASH_SEED", str(int(time.time()))))
rng = random.Random(seed)
print("seed", seed, flush=True)


def start_server(hold):
    """The loopback server on a fresh port, its store shared by all trials."""
    ready = os.path.join(home, "server.port")
    if os.path.exists(ready):
        os.unlink(ready)
    transcript = os.path.join(home, "transcript.jsonl")
    arguments = ["/usr/bin/python3", source + "/tools/outbox/smtp-server", "--port", "0",
                 "--ready-file", ready, "--store", store, "--transcript", transcript,
                 "--max-seconds", "120"]
    if hold:
        arguments += ["--hold-reply", str(HOLD)]
    server = subprocess.Popen(arguments, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    port = wait_for("the test server", 15, lambda: os.path.exists(ready) and open(ready).read().strip())
    run("defaults", "write", "Tolvo", "serverPort", port)
    return server


def holds():
    path = os.path.join(home, "transcript.jsonl")
    if not os.path.exists(path):
        return 0
    return sum(1 for line in open(path) if json.loads(line)["cmd"] == "HOLD-REPLY")


def received():
    """The recipient of every stored message, in arrival order."""
    out = []
    for path in sorted(glob.glob(os.path.join(store, "*.json"))):
        if os.path.exists(path[:-5] + ".eml"):
            out.extend(json.load(open(path))["rcpt_tos"])
    return out


def last_records():
    last = {}
    if os.path.exists(journal_path):
        for line in open(journal_path, "rb").read().decode("utf-8").split("\n")[:-1]:
            kind, _, address = line.partition(" ")
            if kind != "boot":
                last[address] = kind
    return last


def journal():
    """(accepted, in doubt) as a launch in this boot reads the journal: the
    last record of an address counts; "dot" without "accepted" is in doubt."""
    last, accepted = {}, set()
    if os.path.exists(journal_path):
        for line in open(journal_path, "rb").read().decode("utf-8").split("\n")[:-1]:
            kind, _, address = line.partition(" ")
            if kind == "boot":
                continue
            last[address] = kind
            if kind == "accepted":
                accepted.add(address)
    doubt = {a for a, k in last.items() if k == "dot" and a not in accepted}
    return accepted, doubt


def launch_and_send():
    """Launches Tolvo, picks the group (the first group of the Contacts
    window, Whole Group on) and presses Send; answers Count as Mailed when
    asked, after checking that the question lists exactly the doubtful."""
    _, doubt = journal()
    app = subprocess.Popen([tolvo], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    left, top, width, height = main_window()
    wait_for("the journal read at launch", 10,
             lambda: any(l.startswith("Mailed Recipients: ") for l in log_lines(home)))
    time.sleep(1.0)
    press(left + width - 12 - 64, top + 12 + 12)
    _, c_left, c_top, c_width, c_height = wait_for("the Contacts window", 10, lambda: window("Contacts"))
    time.sleep(0.5)
    column = (c_width - 2 * 12 - 2 * 6) // 3
    before = len(log_lines(home))
    # The Contacts window comes to the front without becoming key: a first
    # press on its background makes it key, then the press on the group counts.
    press(c_left + c_width // 2, c_top + c_height - 24)
    time.sleep(0.5)
    press(c_left + 12 + column // 2, c_top + 12 + 21 + 9 + 16)   # the group, below "All"
    time.sleep(1.0)
    # A first press on the main window's status line makes it key again;
    # then Send counts.
    press(left + 40, top + height - 12 - 14)
    time.sleep(0.5)
    press_send(left, top, width, height)
    if doubt:
        line = wait_for("the question about messages in doubt", 15, lambda: [
            l for l in log_lines(home)[before:] if l.startswith("Delivery not confirmed by the server: ")])
        listed = set(line[0][len("Delivery not confirmed by the server: "):].split(", "))
        assert listed == doubt, (listed, doubt)
        time.sleep(1.0)
        xdo("key", "Return")   # Count as Mailed, the default button
    wait_for("the run to start", 15, lambda: any(
        l.startswith("[Mailing started at ") for l in log_lines(home)[before:]))
    return app


def check_after_kill(trial):
    time.sleep(0.5)
    accepted, doubt = journal()
    got = received()
    assert accepted <= set(got), ("accepted but never received", trial, accepted - set(got))
    # A "dot" is recorded before the "." leaves: the server has the message.
    assert doubt <= set(got), ("in doubt but never received", trial, doubt - set(got))
    # Nothing reaches the server without the journal knowing of it.
    assert set(got) <= accepted | doubt, ("received unknown to the journal", trial, set(got) - accepted - doubt)
    assert len(got) == len(set(got)), ("received twice", trial, got)


server = None
app = None
try:
    configure_sender_and_server("1")
    for key, value in [("wholeGroup", "YES"), ("rememberMailedRecipients", "YES"),
                       ("messagesPerMinute", "120")]:
        run("defaults", "write", "Tolvo", key, value)
    csv = os.path.join(home, "Fifty.csv")
    with open(csv, "w") as f:
        f.write("Name,Email\n" + "".join("Member %d,%s\n" % (i + 1, a) for i, a in enumerate(ADDRESSES)))
    server = start_server(False)
    app = subprocess.Popen([tolvo], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    main_window()
    time.sleep(1.5)
    import_csv_group(csv)
    wait_for("the import", 30, lambda: "Imported 50 contacts from Fifty.csv into the group Fifty." in log_lines(home))
    time.sleep(1.0)
    xdo("key", "Return")
    time.sleep(0.5)
    # The book is saved as the import stores; nothing else is in flight.
    app.kill()
    app.wait(10)
    app = None

    kills = held_kills = 0
    for trial in range(TRIALS):
        hold = trial % 3 == 2
        server.terminate()
        server.wait(10)
        server = start_server(hold)
        holds_before = holds()
        app = launch_and_send()
        if hold:
            # Killed while the server holds its reply to a stored message.
            wait_for("a held reply", 30, lambda: holds() > holds_before)
            time.sleep(rng.uniform(0.0, HOLD * 0.8))
            held_kills += 1
        else:
            time.sleep(rng.uniform(0.0, 1.6))
        app.send_signal(signal.SIGKILL)
        app.wait(10)
        app = None
        kills += 1
        check_after_kill(trial)
        handed_over = sum(1 for k in last_records().values() if k == "sending")
        print("trial %d (%s): %d received, %d in doubt, %d handed over without their dot" % (
            trial, "held reply" if hold else "random point", len(received()), len(journal()[1]),
            handed_over), flush=True)

    # The last launch resumes without a pace and runs to the end.
    run("defaults", "write", "Tolvo", "messagesPerMinute", "0")
    server.terminate()
    server.wait(10)
    server = start_server(False)
    before = len(log_lines(home))
    app = launch_and_send()
    wait_for("the end of the run", 90, lambda: any(
        l.startswith("[Mailing completed at ") for l in log_lines(home)[before:]))
    run("import", "-window", "root", os.path.join(shots, "crash-resume-end.png"))
    got = received()
    accepted, doubt = journal()
    assert sorted(set(got)) == ADDRESSES, ("lost", sorted(set(ADDRESSES) - set(got)))
    assert len(got) == 50, ("received more than once", [a for a in set(got) if got.count(a) > 1])
    assert accepted == set(got), (accepted ^ set(got))
    assert doubt == set()
    for path in glob.glob(os.path.join(store, "*.eml")):
        with open(path, "rb") as f:
            message = email.message_from_bytes(f.read(), policy=email.policy.compat32)
        assert message["To"].endswith("<%s>" % json.load(open(path[:-4] + ".json"))["rcpt_tos"][0])
    assert kills >= 20 and held_kills >= 5, (kills, held_kills)
    print("%d kills (%d while a reply was held), seed %d" % (kills, held_kills, seed))
    print("1 passed, 0 failed")
except BaseException:
    run("import", "-window", "root", os.path.join(shots, "crash-resume-failed.png"))
    print("\n".join(log_lines(home)[-40:]))
    raise
finally:
    if app is not None:
        app.kill()
        app.wait(10)
    if server is not None:
        server.terminate()
        server.wait(10)
