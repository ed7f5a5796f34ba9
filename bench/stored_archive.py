"""Writes a gzip-compressed tar of an exact size quickly: the stand-in
"Install.exe" and one file of pseudo-random bytes, in stored (level 0)
deflate blocks, so that its size is what the ceiling trial asks for."""
import io
import os
import random
import tarfile
import zlib

_POOL = 16 << 20


class _Repeating(io.RawIOBase):
    """`size` bytes cycling through a pool of pseudo-random bytes."""

    def __init__(self, size):
        self.left = size
        self.pool = random.Random(1).randbytes(_POOL)
        self.at = 0

    def readable(self):
        return True

    def readinto(self, buffer):
        count = min(len(buffer), self.left, _POOL - self.at)
        buffer[:count] = self.pool[self.at:self.at + count]
        self.at = (self.at + count) % _POOL
        self.left -= count
        return count


def _overhead(install_exe):
    """Bytes the tar holds besides the random file's contents."""
    block = 512
    exe = -(-os.path.getsize(install_exe) // block) * block
    return -(-(4 * block + exe + 2 * block) // 10240) * 10240


# Stored deflate blocks add a few bytes per block (measured: under 0.005 %);
# 0.02 % keeps the archive below the size asked for.
_STORED_SHARE = 1.0002


def write(path, total, install_exe):
    """Writes at most `total` bytes (less by about 0.02 %) to `path`."""
    content = int(total / _STORED_SHARE) - _overhead(install_exe) - 18
    compressor = zlib.compressobj(0, zlib.DEFLATED, 31)
    with open(path, "wb") as raw:
        class Sink(io.RawIOBase):
            def writable(self):
                return True

            def write(self, data):
                raw.write(compressor.compress(data))
                return len(data)

        sink = Sink()
        with tarfile.open(fileobj=sink, mode="w|", format=tarfile.GNU_FORMAT) as archive:
            archive.add(install_exe, arcname="Install.exe")
            info = tarfile.TarInfo("blob.bin")
            info.size = content
            archive.addfile(info, io.BufferedReader(_Repeating(content), 1 << 20))
        raw.write(compressor.flush())
