#!/usr/bin/python3
"""The mailboxes of the From: and To: headers of received messages, as a
strict reader finds them.

Usage: mailbox_headers.py FOLDER
Reads every NNNN.eml of FOLDER (the test server's store) in arrival order
and prints one JSON array with an object per message:

  {"file": "0001.eml",
   "From": [[display name, address], ...],
   "To": [[display name, address], ...],
   "problems": ["To: ...", ...]}

The headers are parsed with email.policy.default made strict
(raise_on_defect): a header that does not parse cleanly is a problem, not
a guess. Each header must occur once.
"""
import email
import email.errors
import email.policy
import json
import os
import sys

STRICT = email.policy.default.clone(raise_on_defect=True)


def mailboxes(message, name, problems):
    found = message.get_all(name) or []
    if len(found) != 1:
        problems.append("%s: %d headers" % (name, len(found)))
        return []
    try:
        header = found[0]
        if header.defects:
            problems.append("%s: %s" % (name, [str(d) for d in header.defects]))
        return [[a.display_name, a.addr_spec] for a in header.addresses]
    except (email.errors.MessageError, ValueError, IndexError) as e:
        problems.append("%s: %s" % (name, e))
        return []


def main():
    folder = sys.argv[1]
    out = []
    for name in sorted(n for n in os.listdir(folder) if n.endswith(".eml")):
        problems = []
        with open(os.path.join(folder, name), "rb") as f:
            data = f.read()
        try:
            message = email.message_from_bytes(data, policy=STRICT)
            entry = {"file": name,
                     "From": mailboxes(message, "From", problems),
                     "To": mailboxes(message, "To", problems)}
        except (email.errors.MessageError, ValueError) as e:
            entry = {"file": name, "From": [], "To": []}
            problems.append("message: %s" % e)
        entry["problems"] = problems
        out.append(entry)
    json.dump(out, sys.stdout, ensure_ascii=False)


if __name__ == "__main__":
    main()
