"""`cmake --install` into a temporary prefix puts every file where it
belongs, and the installed `tolvo` launcher starts the installed
application: its main window opens, its activity log starts and stops, and
it prints nothing on standard error.

Arguments: the build folder, a folder for screenshots.
Runs under Xvfb with a fresh HOME (tests/support/fresh-home).
"""
import os
import re
import signal
import struct
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "gui"))
from desktop import main_window, run, wait_for  # noqa: E402

build, shots = sys.argv[1], sys.argv[2]
os.makedirs(shots, exist_ok=True)
prefix = tempfile.mkdtemp(prefix="tolvo-prefix.", dir=os.environ.get("TMPDIR"))
run("cmake", "--install", build, "--prefix", prefix)

APP = "lib/GNUstep/Applications/Tolvo.app"
ICON_SIZES = [16, 22, 24, 32, 48, 64, 128, 256, 512]
expected = {
    "bin/tolvo": "launcher",
    APP + "/Tolvo": "application",
    APP + "/Resources/Info-gnustep.plist": "wrapper",
    APP + "/Resources/English.lproj/LocalizedStrings.strings": "wrapper",
    APP + "/Resources/Tolvo.png": "wrapper icon",
    APP + "/Resources/Guide/index.html": "user guide",
    "share/applications/org.tolvo.Tolvo.desktop": "desktop entry",
    "share/metainfo/org.tolvo.Tolvo.metainfo.xml": "metainfo",
    "share/icons/hicolor/scalable/apps/org.tolvo.Tolvo.svg": "icon",
}
for size in ICON_SIZES:
    expected["share/icons/hicolor/%dx%d/apps/org.tolvo.Tolvo.png" % (size, size)] = "icon %d" % size
missing = [path for path in expected if not os.path.isfile(os.path.join(prefix, path))]
assert not missing, "missing from the prefix: %s" % missing
for path in ("bin/tolvo", APP + "/Tolvo"):
    assert os.access(os.path.join(prefix, path), os.X_OK), path + " is not executable"


def png_size(path):
    with open(path, "rb") as f:
        head = f.read(24)
    assert head[:8] == b"\x89PNG\r\n\x1a\n", path + " is not a PNG"
    return struct.unpack(">II", head[16:24])


for size in ICON_SIZES:
    path = os.path.join(prefix, "share/icons/hicolor/%dx%d/apps/org.tolvo.Tolvo.png" % (size, size))
    assert png_size(path) == (size, size), (path, png_size(path))

# The desktop entry starts the launcher on the path with the icon of the
# theme, handles mailto:, and passes the validator as installed.
entry = dict(line.split("=", 1) for line in
             open(os.path.join(prefix, "share/applications/org.tolvo.Tolvo.desktop")).read().splitlines()
             if "=" in line)
assert entry["Exec"].split()[0] == "tolvo", entry["Exec"]
assert entry["Icon"] == "org.tolvo.Tolvo", entry["Icon"]
assert "x-scheme-handler/mailto" in entry["MimeType"].split(";"), entry["MimeType"]
run("desktop-file-validate", os.path.join(prefix, "share/applications/org.tolvo.Tolvo.desktop"))
metainfo = open(os.path.join(prefix, "share/metainfo/org.tolvo.Tolvo.metainfo.xml")).read()
assert re.search(r'<launchable type="desktop-id">org.tolvo.Tolvo.desktop</launchable>', metainfo)
assert "<icon" not in metainfo or "org.tolvo.Tolvo" in metainfo

# The wrapper names its icon, and the application loads its libraries from
# the prefix, not from the build folder.
plist = open(os.path.join(prefix, APP, "Resources/Info-gnustep.plist")).read()
assert re.search(r'NSIcon = "Tolvo.png";', plist), plist
libraries = run("ldd", os.path.join(prefix, APP, "Tolvo"))
ours = [line for line in libraries.splitlines() if "libtolvo_" in line]
assert ours, libraries
for line in ours:
    loaded = os.path.realpath(line.split("=> ", 1)[1].rsplit(" (", 1)[0])
    assert loaded.startswith(os.path.join(os.path.realpath(prefix), "lib", "tolvo") + os.sep), \
        "not loaded from the prefix: " + line
assert "not found" not in libraries, libraries

# The launcher, as the desktop entry runs it.
stderr_path = os.path.join(os.environ["HOME"], "installed-stderr.txt")
with open(stderr_path, "wb") as stderr:
    app = subprocess.Popen([os.path.join(prefix, "bin/tolvo")], stdout=subprocess.DEVNULL, stderr=stderr)
try:
    wait_for("the installed Tolvo's main window", 30, main_window)
    log = os.path.join(os.environ["HOME"], "GNUstep/Library/ApplicationSupport",
                       "Sorvane Software/Tolvo/Tolvo.log")
    wait_for("the activity log", 15, lambda: os.path.isfile(log) and os.path.getsize(log) > 0)
    time.sleep(1.0)
    run("import", "-window", "root", os.path.join(shots, "installed-tolvo.png"))
finally:
    app.send_signal(signal.SIGTERM)
    status = app.wait(15)
lines = open(log, "rb").read().decode("utf-8", "replace").split("\r")
assert lines[0].startswith("[Logging starting at "), lines
assert any(line.startswith("[Logging stopping at ") for line in lines), lines
printed = open(stderr_path, "rb").read().decode("utf-8", "replace")
assert printed == "", "the installed Tolvo wrote on standard error:\n" + printed
assert status == 0, status
subprocess.run(["rm", "-rf", prefix])
print("1 passed, 0 failed")
