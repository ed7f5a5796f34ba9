#!/usr/bin/env python3
"""Writes the seed corpora of the fuzz targets into tests/fuzz/corpus.

Each target reads its own input layout (see tests/fuzz/*.cpp); the seeds are
small valid inputs of each kind, so that fuzzing starts from the paths that
matter. Reproducible: the same files every run.
"""
import gzip
import io
import os
import subprocess
import sys
import tarfile
import tempfile

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
CORPUS = os.path.join(ROOT, "tests", "fuzz", "corpus")


def write(target, name, data):
    folder = os.path.join(CORPUS, target)
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, name), "wb") as f:
        f.write(data)


def tar_bytes(entries):
    out = io.BytesIO()
    with tarfile.open(fileobj=out, mode="w", format=tarfile.PAX_FORMAT) as tar:
        for name, data in entries:
            info = tarfile.TarInfo(name)
            info.size = len(data)
            info.mtime = 0
            info.mode = 0o644
            tar.addfile(info, io.BytesIO(data))
        folder = tarfile.TarInfo("bin")
        folder.type = tarfile.DIRTYPE
        folder.mtime = 0
        tar.addfile(folder)
    return out.getvalue()


def ar_bytes(entries):
    out = b"!<arch>\n"
    for name, data in entries:
        header = f"{name + '/':<16}{0:<12}{0:<6}{0:<6}{644:<8}{len(data):<10}`\n".encode()
        out += header + data + (b"\n" if len(data) % 2 else b"")
    return out


def zstd(data):
    return subprocess.run(["zstd", "-q", "-c", "--no-check"], input=data,
                          stdout=subprocess.PIPE, check=True).stdout


def main():
    entries = [("bin/Install.exe", b"MZ" + bytes(range(64))), ("suite.dat", b"suite"),
               ("\u65e5\u672c.txt", "non-ascii".encode())]
    tar = tar_bytes(entries)
    # First byte: archive type (raw 0, ar 1, tar 2) + 3 * compression (none, gzip, zstd).
    write("ArchiveManagerFuzzer", "tar", bytes([2]) + tar)
    write("ArchiveManagerFuzzer", "tar-gzip", bytes([5]) + gzip.compress(tar, mtime=0))
    write("ArchiveManagerFuzzer", "tar-zstd", bytes([8]) + zstd(tar))
    write("ArchiveManagerFuzzer", "ar", bytes([1]) + ar_bytes([("a.txt", b"abc"), ("b", b"")]))
    write("ArchiveManagerFuzzer", "raw-gzip", bytes([3]) + gzip.compress(b"data", mtime=0))

    xml = ('<?xml version="1.0"?><orvikpkgOnlineInstall schemaVersion="26.5.0.49297">'
           '<downloadItem id="suite-2026" uri="https://example.invalid/suite.xml"/>'
           '<progressTitle value="Installing Suite"/></orvikpkgOnlineInstall>')
    write("OnlineInstallFuzzer", "valid.xml", xml.encode())
    write("OnlineInstallFuzzer", "utf16.xml", b"\xff\xfe" + xml.encode("utf-16-le"))
    write("OnlineInstallFuzzer", "newer.xml", xml.replace("26.5.0.49297", "27.0").encode())

    ini = b"; comment\r\n[Settings]\r\nlogs-directory=C:\\logs\r\nempty=\r\nsplit=a,b\r\n"
    for choice in (0, 1, 2, 3, 31):
        write("IniReaderFuzzer", f"options-{choice}", bytes([choice]) + ini +
              b"[settings]\nkey : value\nkey:=other\n[broken\n=novalue\n")
    write("IniReaderFuzzer", "byte-order-mark", b"\0\xef\xbb\xbf[Settings] ; main\r\nk=v\r\n")

    for i, (a, b) in enumerate([("1.2.3", "1.2.4"), ("26.5.0.49297", "26.5.0.49297"),
                                ("10.0", "9.99.1"), ("1.0-beta", "1.0"), ("", "0")]):
        write("VersionCompareFuzzer", f"pair-{i}", a.encode() + b"\0" + b.encode())

    for i, args in enumerate([["/passive", "/q", "--accept-eulas"],
                              ["/Q:A", "--config=C:\\x y.ini", "--", "rest"],
                              ["--install-mode", "suite", "\u00e9"]]):
        write("CommandLineFuzzer", f"args-{i}", "\0".join(args).encode("utf-16-le"))

    for i, text in enumerate(["Error '%1%' occurred while calling Windows function '%2%'.\0005"
                              "\0CreateFileW",
                              "%|-15| %|-1|: %4% %3% %2% %1%\0a\0b\0c\0d",
                              "100% of %5% and %%1%% %1\0x"]):
        write("FormatMessageFuzzer", f"text-{i}", text.encode())
    return 0


if __name__ == "__main__":
    sys.exit(main())
