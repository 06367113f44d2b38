"""The same-run baseline for bench_attachment_compose: Python's email
package composes the message the application sends (a plain-text part and
the file as a base64 attachment in multipart/mixed) and turns it into the
bytes for SMTP. Prints one JSON object: seconds (composition only), bytes,
rss_before_kb and peak_kb (VmRSS before, VmHWM after, the peak reset first),
and sha256, the digest of the attachment decoded back from those bytes.

    /usr/bin/python3 compose_baseline.py FILE
"""
import email
import email.message
import email.policy
import hashlib
import json
import sys
import time


def status_kb(key):
    with open("/proc/self/status") as f:
        for line in f:
            if line.startswith(key + ":"):
                return int(line.split()[1])
    return 0


path = sys.argv[1]
with open("/proc/self/clear_refs", "w") as f:
    f.write("5")  # resets VmHWM to the current VmRSS
before = status_kb("VmRSS")
start = time.perf_counter()
with open(path, "rb") as f:
    data = f.read()
message = email.message.EmailMessage(policy=email.policy.SMTP)
message["From"] = "Mia Sender <mia@example.com>"
message["To"] = "Ann Lee <ann@example.com>"
message["Subject"] = "The archive"
message.set_content("Hello Ann Lee, the archive is attached.")
message.add_attachment(data, maintype="application", subtype="zip", filename=path.rsplit("/", 1)[-1])
wire = message.as_bytes()
seconds = time.perf_counter() - start
peak = status_kb("VmHWM")

parsed = email.message_from_bytes(wire, policy=email.policy.default)
attachment = [p for p in parsed.walk() if not p.is_multipart()][-1]
print(json.dumps({"seconds": seconds, "bytes": len(wire), "rss_before_kb": before, "peak_kb": peak,
                  "sha256": hashlib.sha256(attachment.get_payload(decode=True)).hexdigest()}))
