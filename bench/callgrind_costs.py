"""Reads a callgrind output file: the total instruction count and each
object's (program or shared library) own share of it."""
import os
import re
from collections import defaultdict

_COST = re.compile(r"^[0-9+\-*]")
_NAMED = re.compile(r"^\((\d+)\)(?: (.*))?$")


def _resolve(names, value):
    match = _NAMED.match(value)
    if not match:
        return value
    if match.group(2) is not None:
        names[match.group(1)] = match.group(2)
    return names.get(match.group(1), value)


def object_costs(path):
    """(total Ir, {object file name: self Ir})."""
    names = {}
    costs = defaultdict(int)
    current = "?"
    total = None
    after_call = False
    with open(path) as lines:
        for line in lines:
            line = line.rstrip("\n")
            if line.startswith("ob="):
                current = os.path.basename(_resolve(names, line[3:]))
            elif line.startswith("cob="):
                _resolve(names, line[4:])
            elif line.startswith("calls="):
                after_call = True
                continue
            elif line.startswith(("summary:", "totals:")):
                total = int(line.split()[1])
            elif _COST.match(line):
                if not after_call:
                    costs[current] += int(line.split()[-1])
            after_call = False
    if total is None:
        total = sum(costs.values())
    return total, dict(costs)
