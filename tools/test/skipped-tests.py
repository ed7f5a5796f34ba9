#!/usr/bin/env python3
"""Prints one line naming every test that the last CTest run of each given tree
(TREE/ctest-results.xml, if there is one) skipped, with the line after GoogleTest's
"...: Skipped", else its last line; --also TEXT ends the line with TEXT.
Usage: skipped-tests.py [--also TEXT] TREE..."""
import os
import sys
import xml.etree.ElementTree as ElementTree


def reason(output):
    lines = [line.strip() for line in output.splitlines() if line.strip()] or ["no reason given"]
    after = [line for before, line in zip(lines, lines[1:]) if before.endswith(": Skipped")]
    return (after or lines[-1:])[0]


arguments = sys.argv[1:]
skipped, also = [], arguments[1:2] if arguments[:1] == ["--also"] else []
for tree in arguments[2 if also else 0:]:
    results = os.path.join(tree, "ctest-results.xml")
    for case in ElementTree.parse(results).iter("testcase") if os.path.exists(results) else []:
        mark = case.find("skipped")
        if mark is not None and mark.get("message", "").startswith("SKIP_"):
            skipped.append(f"{case.get('name')} ({reason(case.findtext('system-out') or '')})")
print("Skipped: " + ("; ".join(skipped + also) or "none"))
