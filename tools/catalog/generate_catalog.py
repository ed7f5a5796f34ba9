#!/usr/bin/env python3
"""Turns the reviewable message catalog (a UTF-8 TSV file: code and six texts
per line) into the C++ constant table of the program.

Usage: generate_catalog.py CATALOG.tsv OUTPUT.cpp

The catalog is refused, with every problem listed, when a line does not have
seven fields, a code repeats or breaks the falling order, a text is empty,
a text has a '%' that is not a %1%..%4% placeholder, or a translation's
placeholders differ from the English text's.
"""
import re
import sys

LANGUAGES = ["en", "fr", "de", "ja", "ko", "zh-Hans"]
PLACEHOLDER = re.compile(r"%([1-4])%")


def read_catalog(path):
    records, problems = [], []
    with open(path, encoding="utf-8") as f:
        lines = f.read().split("\n")
    header_seen = False
    for number, line in enumerate(lines, 1):
        if not line.strip() or line.startswith("#"):
            continue
        fields = line.split("\t")
        if not header_seen:
            header_seen = True
            if fields != ["code"] + LANGUAGES:
                problems.append(f"{path}:{number}: header must be: code, " + ", ".join(LANGUAGES))
            continue
        if len(fields) != 1 + len(LANGUAGES):
            problems.append(f"{path}:{number}: {len(fields)} fields, expected {1 + len(LANGUAGES)}")
            continue
        try:
            code = int(fields[0])
        except ValueError:
            problems.append(f"{path}:{number}: code {fields[0]!r} is not a number")
            continue
        records.append((number, code, fields[1:]))
    return records, problems


def check(records, path):
    problems = []
    previous = None
    for number, code, texts in records:
        where = f"{path}:{number} ({code})"
        if previous is not None and code >= previous:
            problems.append(f"{where}: codes must fall strictly (previous {previous})")
        previous = code
        english = set(PLACEHOLDER.findall(texts[0]))
        for language, text in zip(LANGUAGES, texts):
            if not text.strip():
                problems.append(f"{where}: empty {language} text")
                continue
            if "%" in PLACEHOLDER.sub("", text):
                problems.append(f"{where}: stray '%' in the {language} text")
            if set(PLACEHOLDER.findall(text)) != english:
                problems.append(f"{where}: {language} placeholders differ from English")
    return problems


def wide_literal(text):
    out = []
    for ch in text:
        cp = ord(ch)
        if ch == "\\":
            out.append("\\\\")
        elif ch == '"':
            out.append('\\"')
        elif 0x20 <= cp < 0x7F:
            out.append(ch)
        elif cp <= 0xFFFF:
            out.append(f"\\u{cp:04X}")
        else:
            out.append(f"\\U{cp:08X}")
    return 'L"' + "".join(out) + '"'


def render(records):
    rows = []
    for _, code, texts in records:
        body = ",\n      ".join(wide_literal(t) for t in texts)
        rows.append(f"    {{{code},\n     {{{body}}}}},")
    return (
        "// Generated from ErrorCatalog.tsv by tools/catalog/generate_catalog.py. Do not edit.\n"
        '#include "shared/ErrorCatalog.h"\n\n'
        "namespace orvik::pkgshared {\n\n"
        "const CatalogRecord kErrorCatalog[] = {\n"
        + "\n".join(rows)
        + "\n    {0, {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr}},\n};\n\n"
        f"const size_t kErrorCatalogSize = {len(records)};\n\n"
        "}  // namespace orvik::pkgshared\n"
    )


def main(argv):
    if len(argv) != 3:
        print(__doc__, file=sys.stderr)
        return 2
    records, problems = read_catalog(argv[1])
    problems += check(records, argv[1])
    if problems:
        print("\n".join(problems), file=sys.stderr)
        return 1
    output = render(records)
    try:
        with open(argv[2], encoding="utf-8") as f:
            if f.read() == output:
                return 0
    except OSError:
        pass
    with open(argv[2], "w", encoding="utf-8") as f:
        f.write(output)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
