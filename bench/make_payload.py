#!/usr/bin/env python3
"""Writes a reproducible payload folder of about TOTAL bytes, shaped like a
real one: the stand-in "Install.exe" at the root, many small compressible
files (sources, manifests, scripts) in nested folders, medium files that are
half compressible (program files), and a few large incompressible ones
(packages that are compressed already). The same seed and size give the same
bytes on every machine.

Usage: make_payload.py DIR TOTAL_BYTES INSTALL_EXE [--seed N]
Prints the number of files and the bytes written.
"""
import argparse
import os
import random
import shutil

# Shares of the total, by kind of file.
SMALL_SHARE = 0.20
MEDIUM_SHARE = 0.30
LARGE_SHARE = 0.50

POOL_BYTES = 64 << 20  # random bytes that incompressible content is sliced from
CHUNK = 1 << 20


class Content:
    """Byte sources drawn from one seeded generator."""

    def __init__(self, seed):
        self.rng = random.Random(seed)
        self.pool = b"".join(self.rng.randbytes(CHUNK) for _ in range(POOL_BYTES // CHUNK))
        words = ["".join(self.rng.choice("abcdefghijklmnopqrstuvwxyz_")
                         for _ in range(self.rng.randint(2, 10))) for _ in range(2000)]
        lines = []
        size = 0
        while size < (4 << 20):
            line = " " * (4 * self.rng.randint(0, 4)) + " ".join(
                self.rng.choice(words) for _ in range(self.rng.randint(1, 12))) + ";\n"
            lines.append(line)
            size += len(line)
        self.text = "".join(lines).encode("ascii")

    def _slice(self, source, count):
        out = bytearray()
        while len(out) < count:
            start = self.rng.randrange(len(source))
            out += source[start:start + min(count - len(out), len(source) - start)]
        return bytes(out)

    def text_bytes(self, count):
        return self._slice(self.text, count)

    def random_bytes(self, count):
        return self._slice(self.pool, count)

    def mixed_bytes(self, count):
        """Alternating 4 KiB stretches of random and text bytes."""
        parts = []
        done = 0
        while done < count:
            step = min(4096, count - done)
            parts.append(self.random_bytes(step) if (done // 4096) % 2 == 0
                         else self.text_bytes(step))
            done += step
        return b"".join(parts)


def write(path, data):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as out:
        out.write(data)


def write_large(path, count, content):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as out:
        left = count
        while left > 0:
            step = min(CHUNK * 8, left)
            out.write(content.random_bytes(step))
            left -= step


def make_payload(folder, total, install_exe, seed):
    content = Content(seed)
    rng = content.rng
    shutil.copyfile(install_exe, os.path.join(folder, "Install.exe"))
    files = 1
    written = os.path.getsize(install_exe)

    budget = int(total * SMALL_SHARE)
    while budget > 0:
        size = min(budget, int(2 ** rng.uniform(9, 16)))  # 512 B to 64 KiB
        path = os.path.join(folder, "packages", "pkg%03d" % rng.randrange(40),
                            rng.choice(["lib", "content", "tools", "docs"]),
                            "file%05d.%s" % (files, rng.choice(["cs", "xml", "ps1", "json", "txt"])))
        write(path, content.text_bytes(size))
        budget -= size
        written += size
        files += 1

    budget = int(total * MEDIUM_SHARE)
    while budget > 0:
        size = min(budget, int(2 ** rng.uniform(18, 23)))  # 256 KiB to 8 MiB
        write(os.path.join(folder, "bin", "module%04d.dll" % files), content.mixed_bytes(size))
        budget -= size
        written += size
        files += 1

    budget = int(total * LARGE_SHARE)
    count = max(2, min(8, budget // (64 << 20)))
    for index in range(count):
        size = budget // (count - index)
        write_large(os.path.join(folder, "feeds", "package%d.nupkg" % index), size, content)
        budget -= size
        written += size
        files += 1
    return files, written


def make_payload_folder(folder, total, install_exe, seed=20261122):
    """Replaces `folder` with a fresh payload; returns (files, bytes)."""
    if os.path.exists(folder):
        shutil.rmtree(folder)
    os.makedirs(folder)
    return make_payload(folder, total, install_exe, seed)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("folder")
    parser.add_argument("total", type=int)
    parser.add_argument("install_exe")
    parser.add_argument("--seed", type=int, default=20261122)
    args = parser.parse_args()
    files, written = make_payload_folder(args.folder, args.total, args.install_exe, args.seed)
    print(files, written)


if __name__ == "__main__":
    main()
