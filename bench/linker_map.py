"""Sums a GNU ld map file's input sections by where they came from, so that
the template's size can be split between its own code and each library."""
import re
from collections import defaultdict

# Output sections that take room in the stripped file (.bss takes none; the
# debugging sections are stripped).
KEPT = (".text", ".data", ".rdata", ".eh_frame", ".idata", ".CRT", ".tls", ".rsrc")

GROUPS = [
    ("message catalog (generated table)", r"ErrorCatalogTable\.cpp\.obj"),
    ("own code", r"orvik_bootstrapper\.dir|liborvik_\w+\.a|/delayimp/"),
    ("libarchive", r"libarchive_static\.a"),
    ("zstd", r"libzstd\.a"),
    ("zlib", r"libz\.a"),
    ("Boost", r"libboost_\w+"),
    ("pugixml", r"libpugixml\.a"),
    ("libstdc++", r"libstdc\+\+\.a|libsupc\+\+\.a"),
    ("libgcc", r"libgcc(_eh)?\.a|libgcc_s"),
    ("winpthreads", r"libwinpthread\.a|libpthread\.a"),
    ("mingw-w64 C runtime", r"crt\w*\.o|libmingw\w*\.a|libmsvcrt\w*\.a|libmoldname\.a"),
    ("resources (icon, manifest, texts)", r"\.res$|\.rc\.|\.res\b"),
    ("Windows import libraries", r"lib\w+\.a\("),
]

_OUTPUT = re.compile(r"^(\.\S+)\s+0x[0-9a-f]+\s+0x[0-9a-f]+")
_INPUT = re.compile(r"^ (\S+)\s+0x[0-9a-f]+\s+0x([0-9a-f]+)\s+(\S.*)$")
_NAME_ONLY = re.compile(r"^ (\S+)\s*$")
_CONTINUED = re.compile(r"^\s+0x[0-9a-f]+\s+0x([0-9a-f]+)\s+(\S.*)$")


def group_of(origin):
    for name, pattern in GROUPS:
        if re.search(pattern, origin):
            return name
    return "other"


def contributions(map_path):
    """Bytes per group, over the input sections of the kept output sections."""
    totals = defaultdict(int)
    section = None
    pending = False
    with open(map_path, encoding="utf-8", errors="replace") as lines:
        for line in lines:
            line = line.rstrip("\n")
            output = _OUTPUT.match(line)
            if output:
                section = output.group(1)
                pending = False
                continue
            if section not in KEPT:
                continue
            match = _INPUT.match(line)
            if match:
                size, origin = int(match.group(2), 16), match.group(3)
            elif pending and _CONTINUED.match(line):
                continued = _CONTINUED.match(line)
                size, origin = int(continued.group(1), 16), continued.group(2)
            else:
                pending = bool(_NAME_ONLY.match(line)) and not line.strip().startswith("*")
                continue
            pending = False
            if size:
                totals[group_of(origin)] += size
    return dict(totals)
