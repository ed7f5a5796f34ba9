"""Timed runs of Windows programs under Wine and of native programs, with the
peak resident memory of the Wine process sampled while it runs."""
import contextlib
import os
import shutil
import subprocess
import threading
import time


def wine_path(path):
    """The Wine (Z:) form of a Unix path."""
    return "Z:" + os.path.abspath(path).replace("/", "\\")


class PeakMemory(threading.Thread):
    """Samples RssAnon and RssFile of one Linux process until it ends."""

    def __init__(self, pid, period=0.002):
        super().__init__(daemon=True)
        self.pid = pid
        self.period = period
        self.anon = 0
        self.file = 0
        self.samples = 0

    def run(self):
        status = "/proc/%d/status" % self.pid
        while True:
            try:
                with open(status) as lines:
                    text = lines.read()
            except (FileNotFoundError, ProcessLookupError):
                return
            for line in text.splitlines():
                if line.startswith("RssAnon:"):
                    self.anon = max(self.anon, int(line.split()[1]) * 1024)
                elif line.startswith("RssFile:"):
                    self.file = max(self.file, int(line.split()[1]) * 1024)
            if "State:\tZ" in text:
                return
            self.samples += 1
            time.sleep(self.period)


class Run:
    """What one timed run gave."""

    def __init__(self, seconds, exit_code, anon=0, file=0, child_seconds=None, total_seconds=None):
        self.seconds = seconds
        self.exit_code = exit_code
        self.anon = anon
        self.file = file
        self.child_seconds = child_seconds
        self.total_seconds = total_seconds


class Wine:
    """Runs programs in one prefix whose server stays up between runs."""

    def __init__(self, prefix, log):
        self.env = dict(os.environ)
        self.env.update(WINEPREFIX=prefix, WINEDEBUG="-all", WINEDLLOVERRIDES="mscoree,mshtml=")
        self.env.pop("WINEARCH", None)
        self.log = log

    def start(self, arguments, cwd=None, env=None):
        with open(self.log, "ab") as log:
            return subprocess.Popen(["wine"] + arguments, cwd=cwd, env=env or self.env,
                                    stdin=subprocess.DEVNULL, stdout=log, stderr=log)

    def call(self, arguments, cwd=None, timeout=None):
        process = self.start(arguments, cwd=cwd)
        return process.wait(timeout=timeout)

    def timed(self, arguments, cwd=None, stamp=None, timeout=600):
        """Runs a program to its end. With `stamp` (a file the stand-in
        installer appends its start time to), also the time from this start
        to the child's start."""
        env = dict(self.env)
        if stamp:
            env["ORVIK_BENCH_STAMP"] = wine_path(stamp)
            if os.path.exists(stamp):
                os.remove(stamp)
        os.sync()
        started = time.time_ns()
        process = self.start(arguments, cwd=cwd, env=env)
        memory = PeakMemory(process.pid)
        memory.start()
        code = process.wait(timeout=timeout)
        ended = time.time_ns()
        memory.join()
        child = None
        if stamp and os.path.exists(stamp):
            with open(stamp) as lines:
                child = (int(lines.readline()) - started) / 1e9
        total = (ended - started) / 1e9
        return Run(child if stamp else total, code, memory.anon, memory.file, child, total)


def native_timed(arguments, cwd=None):
    os.sync()
    started = time.time_ns()
    code = subprocess.call(arguments, cwd=cwd, stdin=subprocess.DEVNULL)
    return Run((time.time_ns() - started) / 1e9, code)


def fresh_folder(path):
    if os.path.exists(path):
        shutil.rmtree(path)
    os.makedirs(path)


class FreshFileSystem:
    """Gives every timed unpack the same starting point: a new tmpfs mounted
    on the folder it writes into, unmounted after the run. On this disk (ext4
    without a journal) a new file skips every inode freed in the last minute,
    so a run that follows another's deletion pays for it and a series of runs
    slows down whatever the program. Without the right to mount, a run gets a
    fresh folder on the disk instead, and `mounts` is False."""

    def __init__(self, scratch):
        self.mounts = False
        if os.geteuid() == 0:
            fresh_folder(scratch)
            if self._mount(scratch):
                self._unmount(scratch)
                self.mounts = True
            shutil.rmtree(scratch, ignore_errors=True)

    @staticmethod
    def _mount(path):
        return subprocess.call(["mount", "-t", "tmpfs", "-o", "size=8g,mode=0755", "tmpfs", path],
                               stderr=subprocess.DEVNULL) == 0

    @staticmethod
    def _unmount(path):
        if subprocess.call(["umount", path], stderr=subprocess.DEVNULL) != 0:
            subprocess.check_call(["umount", "-l", path])

    @contextlib.contextmanager
    def at(self, path):
        """An empty folder at `path` for the duration of the block; on a tmpfs
        of its own when `mounts`, and gone (unmounted) afterwards."""
        fresh_folder(path)
        if not self.mounts:
            yield path
            return
        if not self._mount(path):
            raise SystemExit("mounting a tmpfs on %s failed" % path)
        try:
            yield path
        finally:
            self._unmount(path)
