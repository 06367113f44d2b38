"""A person chooses Website, then Tolvo Help: each time the desktop's opener
(xdg-open, replaced here by a recorder that notes what it was given) gets
the user guide's first page inside the application wrapper, and every link,
image and style sheet of the guide resolves to a file in the wrapper.

Arguments: the Tolvo executable, a folder for screenshots.
Runs under Xvfb with a fresh HOME (tests/support/fresh-home).
"""
import html.parser
import os
import subprocess
import sys
import time
import urllib.parse

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from desktop import main_window, press_menu_item, run, wait_for  # noqa: E402

tolvo, shots = sys.argv[1], sys.argv[2]
os.makedirs(shots, exist_ok=True)
home = os.environ["HOME"]
resources = os.path.realpath(os.path.join(os.path.dirname(tolvo), "Resources"))

# The recorder: first on the PATH, one line per call.
record = os.path.join(home, "opened.txt")
folder = os.path.join(home, "bin")
os.makedirs(folder)
with open(os.path.join(folder, "xdg-open"), "w") as f:
    f.write('#!/bin/sh\nprintf "%%s\\n" "$*" >> "%s"\n' % record)
os.chmod(os.path.join(folder, "xdg-open"), 0o755)
environment = dict(os.environ, PATH=folder + ":" + os.environ["PATH"])


def opened():
    try:
        with open(record) as f:
            return f.read().splitlines()
    except OSError:
        return []


class References(html.parser.HTMLParser):
    def __init__(self):
        super().__init__()
        self.references, self.ids = [], set()

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name == "id":
                self.ids.add(value)
            if (tag, name) in (("a", "href"), ("img", "src"), ("link", "href"), ("script", "src")):
                self.references.append(value)


def check_guide(url):
    parts = urllib.parse.urlparse(url)
    assert parts.scheme == "file", url
    page = urllib.parse.unquote(parts.path)
    assert os.path.isfile(page), page
    assert os.path.realpath(page).startswith(resources + os.sep), (page, resources)
    reader = References()
    with open(page, encoding="utf-8") as f:
        reader.feed(f.read())
    assert len(reader.references) > 10, reader.references
    for reference in reader.references:
        target = urllib.parse.urlparse(reference)
        assert target.scheme in ("", "https", "http", "mailto"), reference
        if target.scheme:
            continue
        if not target.path:
            assert target.fragment in reader.ids, "no anchor for " + reference
            continue
        path = os.path.realpath(os.path.join(os.path.dirname(page), urllib.parse.unquote(target.path)))
        assert os.path.isfile(path), "does not resolve: " + reference
        assert path.startswith(resources + os.sep), "outside the wrapper: " + reference


app = subprocess.Popen([tolvo], env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
try:
    wait_for("the main window", 30, main_window)
    time.sleep(1.5)
    press_menu_item("Website")
    wait_for("the opener", 15, lambda: len(opened()) >= 1)
    press_menu_item("Tolvo Help")
    wait_for("the opener again", 15, lambda: len(opened()) >= 2)
    run("import", "-window", "root", os.path.join(shots, "guide-opened.png"))
    calls = opened()
    assert len(calls) == 2 and calls[0] == calls[1], calls
    assert calls[0].endswith("/Resources/Guide/index.html"), calls
    check_guide(calls[0])
    print("1 passed, 0 failed")
finally:
    app.terminate()
    app.wait(15)
