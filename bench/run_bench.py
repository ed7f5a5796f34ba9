#!/usr/bin/env python3
"""The bootstrapper's benchmarks: every figure beside a reference measured in
the same run (see bench/README.md). Prints one table and writes it, with the
raw figures, to OUT/table.txt and OUT/results.json.

Usage: run_bench.py BUILD_DIR [--out DIR] [--sizes MB,...] [--repeat N] [--parts LIST]
"""
import argparse
import atexit
import filecmp
import json
import os
import platform
import shutil
import statistics
import subprocess
import sys
import time
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)

import callgrind_costs  # noqa: E402
import linker_map  # noqa: E402
import make_payload  # noqa: E402
import measure  # noqa: E402
import pe_resource  # noqa: E402
import stored_archive  # noqa: E402

MB = 1000 * 1000
GIB = 1 << 30
PAYLOAD_RESOURCE = "ORVIKPKG_PAYLOAD"
CHECK_RESOURCE = "ORVIKPKG_PAYLOAD_CHECK"


def spread(values):
    """Median with the lowest and highest value."""
    return statistics.median(values), min(values), max(values)


def text_of(values, unit, scale=1.0, digits=1):
    median, low, high = (v * scale for v in spread(values))
    return "%.*f %s (%.*f-%.*f)" % (digits, median, unit, digits, low, digits, high)


class Bench:
    def __init__(self, build, out, repeats):
        self.build = os.path.abspath(build)
        self.bin = os.path.join(self.build, "bin")
        self.out = os.path.abspath(out)
        self.repeats = repeats
        os.makedirs(self.out, exist_ok=True)
        self.log = os.path.join(self.out, "wine.log")
        self.wine = measure.Wine(os.path.join(self.out, "wineprefix"), self.log)
        with open(os.path.join(self.build, "deps-prefix-i686.txt")) as line:
            self.bsdtar = os.path.join(line.read().strip(), "bin", "bsdtar.exe")
        self.stamp_exe = os.path.join(self.bin, "bench-StartStamp.exe")
        self.stamp = os.path.join(self.out, "stamp.txt")
        self.fresh = measure.FreshFileSystem(os.path.join(self.out, "mount-probe"))
        self.temp = None
        self.rows = []
        self.notes = []
        self.raw = {}

    # -- helpers -----------------------------------------------------------

    def row(self, figure, ours, reference="", theirs="", ratio=""):
        self.rows.append((figure, ours, reference, theirs, ratio))
        print("  %s: %s | %s %s | %s" % (figure, ours, reference, theirs, ratio), flush=True)

    def prepare_prefix(self):
        ready = os.path.join(self.out, "wineprefix", ".orvik-ready")
        if not os.path.exists(ready):
            self.wine.call(["wineboot", "--init"])
            self.wine.call(["winecfg", "-v", "win10"])
            # The virtual display has no window manager: a managed window
            # that is hidden would wait 2 s for one to confirm it.
            self.wine.call(["reg", "add", "HKCU\\Software\\Wine\\X11 Driver", "/v", "Managed",
                            "/t", "REG_SZ", "/d", "N", "/f"])
            # A crash ends the program instead of waiting at a debugger dialog.
            self.wine.call(["reg", "add", "HKCU\\Software\\Wine\\WineDbg", "/v",
                            "ShowCrashDialog", "/t", "REG_DWORD", "/d", "0", "/f"])
            subprocess.call(["wineserver", "-w"], env=self.wine.env)
            open(ready, "w").close()
        # One server for the whole run, as a user's machine has.
        subprocess.call(["wineserver", "-p"], env=self.wine.env)
        self.wine.call(["cmd", "/c", "exit", "0"])
        self.temp = self.unix_path_of("%TEMP%")

    def unix_path_of(self, windows_path):
        """The Unix path of a Windows path in the prefix, variables expanded."""
        answer = subprocess.run(["wine", "cmd", "/c", "winepath", "-u", windows_path],
                                env=self.wine.env, capture_output=True, check=True)
        return answer.stdout.decode("utf-8", "replace").strip().rstrip("/")

    def pack(self, installer, payload_dir=None, payload_file=None, threads=None, linux=False):
        """Packs with the Windows tool under Wine, or with `linux` the Linux tool."""
        path = (lambda unix: unix) if linux else measure.wine_path
        arguments = [os.path.join(self.bin, "orvikpkg-pack" if linux else "orvikpkg-pack.exe"),
                     "--template", path(os.path.join(self.bin, "preinstall.exe")),
                     "--output", path(installer)]
        if payload_dir:
            arguments += ["--payload-dir", path(payload_dir)]
        if payload_file:
            arguments += ["--payload", path(payload_file)]
        if threads:
            arguments += ["--threads", str(threads)]
        os.makedirs(os.path.dirname(installer), exist_ok=True)
        if os.path.exists(installer):
            os.remove(installer)
        started = time.monotonic()
        result = subprocess.run(arguments if linux else ["wine"] + arguments, env=self.wine.env,
                                capture_output=True, timeout=1800)
        message = (result.stdout + result.stderr).decode("utf-8", "replace").replace("\r", "")
        return result.returncode, time.monotonic() - started, message.strip()

    def bootstrap(self, installer, timeout=900):
        run = self.wine.timed([installer, "--passive"], cwd=os.path.dirname(installer),
                              stamp=self.stamp, timeout=timeout)
        return run

    def require(self, run, what, child=False):
        if run.exit_code != 0 or (child and run.child_seconds is None):
            raise SystemExit("%s failed with exit code %s; see %s" % (what, run.exit_code,
                                                                     self.log))

    # -- packing -----------------------------------------------------------

    def packing(self, label, folder, work, files, repeats):
        """Packs `folder` with the default threads, with --threads 1 and with the Linux tool on
        as many threads as the default, interleaved; returns the installer packed with the
        default."""
        installer = os.path.join(work, "installer", "OrvikSetup.exe")
        single = os.path.join(work, "installer-1", "OrvikSetup.exe")
        linux = os.path.join(work, "installer-linux", "OrvikSetup.exe")
        default_s, single_s, linux_s = [], [], []
        for _ in range(repeats):
            for path, threads, times in ((installer, None, default_s), (single, 1, single_s),
                                         (linux, os.cpu_count(), linux_s)):
                os.sync()
                code, seconds, message = self.pack(path, payload_dir=folder, threads=threads,
                                                   linux=path == linux)
                if code != 0:
                    raise SystemExit("packing %s failed: %s" % (label, message))
                times.append(seconds)
        archive = pe_resource.read_rcdata(installer, PAYLOAD_RESOURCE)
        single_bytes = len(pe_resource.read_rcdata(single, PAYLOAD_RESOURCE))
        same = filecmp.cmp(installer, linux, shallow=False)
        shutil.rmtree(os.path.dirname(single))
        shutil.rmtree(os.path.dirname(linux))
        reference = one_stream_gzip_size(archive)
        self.row("Packing %s (%d files), s, default threads (%d)" % (label, files, os.cpu_count()),
                 text_of(default_s, "s", digits=2), "--threads 1", text_of(single_s, "s", digits=2),
                 "%.2fx faster" % (statistics.median(single_s) / statistics.median(default_s)))
        self.row("Packed size %s, bytes" % label, "%d" % len(archive), "--threads 1",
                 "%d" % single_bytes, "same" if single_bytes == len(archive) else "DIFFERENT")
        self.row("", "", "one gzip stream, level 6 (the former packing)", "%d" % reference,
                 "%+.3f %%" % (100.0 * (len(archive) - reference) / reference))
        self.row("Packing %s, s, Linux tool, %d threads" % (label, os.cpu_count()),
                 text_of(linux_s, "s", digits=2), "the Windows tool under Wine, same threads",
                 text_of(default_s, "s", digits=2),
                 "%.2fx faster" % (statistics.median(default_s) / statistics.median(linux_s)))
        self.row("", "", "its installer against the Windows tool's", "",
                 "same bytes" if same else "DIFFERENT")
        self.raw["packing-%s" % label] = {
            "default_threads_s": default_s, "one_thread_s": single_s, "linux_tool_s": linux_s,
            "linux_tool_same_bytes": same,
            "archive_bytes": len(archive), "one_thread_archive_bytes": single_bytes,
            "one_stream_gzip_bytes": reference}
        return installer

    # -- extraction and memory ---------------------------------------------

    def payload(self, megabytes):
        """Makes the payload folder of `megabytes`: its label, work folder, folder, files,
        bytes and repetitions."""
        label = "%d MB" % megabytes if megabytes < 1000 else "%g GB" % (megabytes / 1000)
        work = os.path.join(self.out, "payload-%dMB" % megabytes)
        folder = os.path.join(work, "payload")
        files, payload_bytes = make_payload.make_payload_folder(
            folder, megabytes * MB, self.stamp_exe)
        repeats = self.repeats if megabytes < 1000 else max(3, self.repeats - 2)
        return label, work, folder, files, payload_bytes, repeats

    def packing_alone(self, megabytes):
        label, work, folder, files, _, repeats = self.payload(megabytes)
        print("Packing, %s payload" % label, flush=True)
        self.packing(label, folder, work, files, repeats)
        shutil.rmtree(work)

    def extraction(self, megabytes):
        label, work, folder, files, payload_bytes, repeats = self.payload(megabytes)
        print("Extraction, %s payload" % label, flush=True)
        installer = self.packing(label, folder, work, files, repeats)
        archive = os.path.join(work, "payload.tar.gz")
        with open(archive, "wb") as out:
            out.write(pe_resource.read_rcdata(installer, PAYLOAD_RESOURCE))
        archive_bytes = os.path.getsize(archive)
        shutil.rmtree(folder)
        # The same installer without its payload check in sight, as another
        # packing tool would make it: the check's cost.
        unverified = os.path.join(work, "installer", "OrvikSetupUnverified.exe")
        pe_resource.hide_rcdata(installer, unverified, CHECK_RESOURCE, CHECK_RESOURCE[:-1] + "X")

        ours, unchecked, bsdtar, native = [], [], [], []
        target = os.path.join(work, "out")
        for round_ in range(repeats):
            # The verified and the unverified installer take turns going first.
            pair = [(installer, ours, ""), (unverified, unchecked, "unverified ")]
            for path, runs, which in pair if round_ % 2 == 0 else reversed(pair):
                with self.fresh.at(self.temp):
                    run = self.bootstrap(path)
                self.require(run, "the %sbootstrapper (%s)" % (which, label), child=True)
                runs.append(run)
            with self.fresh.at(target):
                run = self.wine.timed([self.bsdtar, "-xzf", measure.wine_path(archive), "-C",
                                       measure.wine_path(target)])
            self.require(run, "bsdtar.exe (%s)" % label)
            bsdtar.append(run)
            with self.fresh.at(target):
                run = measure.native_timed(["tar", "-xzf", archive, "-C", target])
            self.require(run, "tar (%s)" % label)
            native.append(run)
        shutil.rmtree(target)
        self.phases(label, archive, repeats)

        rate = [payload_bytes / MB / r.seconds for r in ours]
        rate_bsdtar = [payload_bytes / MB / r.seconds for r in bsdtar]
        rate_native = [payload_bytes / MB / r.seconds for r in native]
        figure = "Extraction %s (%d files, %.0f MB gzip), MB/s to child start" % (
            label, files, archive_bytes / MB)
        self.row(figure, text_of(rate, "MB/s"), "bsdtar.exe, same Wine",
                 text_of(rate_bsdtar, "MB/s"),
                 "%.2f" % (statistics.median(rate) / statistics.median(rate_bsdtar)))
        self.row("", "", "tar -xzf, native", text_of(rate_native, "MB/s"),
                 "%.2f" % (statistics.median(rate) / statistics.median(rate_native)))
        checked_s = statistics.median(r.seconds for r in ours)
        unchecked_s = statistics.median(r.seconds for r in unchecked)
        self.row("Payload check %s: start to child start" % label,
                 text_of([r.seconds for r in ours], "s", digits=2), "the same, not verified",
                 text_of([r.seconds for r in unchecked], "s", digits=2),
                 "%+.1f %%" % (100 * (checked_s - unchecked_s) / unchecked_s))
        self.row("Memory %s: peak RssAnon of the Wine process" % label,
                 text_of([r.anon for r in ours], "MiB", 1 / (1 << 20)),
                 "bsdtar.exe, same Wine", text_of([r.anon for r in bsdtar], "MiB", 1 / (1 << 20)),
                 "%+.1f MiB" % ((statistics.median(r.anon for r in ours) -
                                 statistics.median(r.anon for r in bsdtar)) / (1 << 20)))
        self.row("Memory %s: peak RssFile (payload mapped by design)" % label,
                 text_of([r.file for r in ours], "MiB", 1 / (1 << 20)), "", "", "")
        self.raw["extraction-%dMB" % megabytes] = {
            "files": files, "payload_bytes": payload_bytes, "archive_bytes": archive_bytes,
            "bootstrapper_to_child_s": [r.seconds for r in ours],
            "bootstrapper_total_s": [r.total_seconds for r in ours],
            "unverified_to_child_s": [r.seconds for r in unchecked],
            "bootstrapper_rss_anon": [r.anon for r in ours],
            "bootstrapper_rss_file": [r.file for r in ours],
            "bsdtar_s": [r.seconds for r in bsdtar], "bsdtar_rss_anon": [r.anon for r in bsdtar],
            "tar_s": [r.seconds for r in native]}
        return archive

    def phases(self, label, archive, repeats):
        """Where the unpack's time goes: bench-UnpackPhases.exe under the same
        Wine, the median of each phase over the runs."""
        program = os.path.join(self.bin, "bench-UnpackPhases.exe")
        target = os.path.join(self.out, "phases")
        runs = []
        for _ in range(repeats):
            with self.fresh.at(target):
                os.sync()
                result = subprocess.run(["wine", program, measure.wine_path(archive),
                                         measure.wine_path(os.path.join(target, "unpack"))],
                                        env=self.wine.env, capture_output=True, timeout=1800)
            if result.returncode != 0:
                raise SystemExit("bench-UnpackPhases.exe (%s) failed: %s" % (
                    label, result.stderr.decode("utf-8", "replace")))
            runs.append(json.loads(result.stdout.decode("utf-8").strip().splitlines()[-1]))
        names = [("write_archive", "writing payload.tar.gz (one WriteFile)"),
                 ("crc32", "its CRC-32"),
                 ("read_inflate", "reading and inflating (headers and data)"),
                 ("create_entries", "creating files and folders (write_header)"),
                 ("write_data", "writing file data (write_data_block)"),
                 ("finish_entries", "closing, times and attributes (finish_entry)"),
                 ("remove", "removing the folder afterwards")]
        total = statistics.median(r["to_unpacked"] for r in runs)
        for key, text in names:
            values = [r[key] for r in runs]
            self.row("Phases %s (%d entries): %s" % (label, runs[0]["entries"], text),
                     text_of(values, "s", digits=2), "of writing and unpacking",
                     "%.2f s" % total, "%.0f %%" % (100 * statistics.median(values) / total))
        self.raw["phases-" + label] = runs

    # -- start-up ----------------------------------------------------------

    def startup(self):
        print("Start-up", flush=True)
        work = os.path.join(self.out, "startup")
        folder = os.path.join(work, "payload")
        measure.fresh_folder(folder)
        shutil.copyfile(self.stamp_exe, os.path.join(folder, "Install.exe"))
        installer = os.path.join(work, "installer", "OrvikSetup.exe")
        code, _, message = self.pack(installer, payload_dir=folder)
        if code != 0:
            raise SystemExit("packing the start-up installer failed: " + message)
        child = os.path.join(folder, "Install.exe")
        launcher = os.path.join(self.bin, "bench-MinimalLauncher.exe")
        ours, theirs = [], []
        for _ in range(self.repeats * 2):
            run = self.bootstrap(installer)
            self.require(run, "the bootstrapper (start-up)", child=True)
            ours.append(run.seconds)
            run = self.wine.timed([launcher, measure.wine_path(child)], stamp=self.stamp)
            self.require(run, "the minimal launcher", child=True)
            theirs.append(run.seconds)
        self.row("Start-up, payload of Install.exe only: start to child start",
                 text_of(ours, "ms", 1000, 0), "minimal launcher, same child",
                 text_of(theirs, "ms", 1000, 0),
                 "%+.0f ms" % ((statistics.median(ours) - statistics.median(theirs)) * 1000))
        self.raw["startup"] = {"bootstrapper_s": ours, "launcher_s": theirs}

    # -- ceiling -----------------------------------------------------------

    def ceiling(self, sizes=(1.0, 1.5, 2.0)):
        print("Ceiling", flush=True)
        work = os.path.join(self.out, "ceiling")
        measure.fresh_folder(work)
        results = {}
        for gib in sizes:
            archive = os.path.join(work, "payload.tar.gz")
            stored_archive.write(archive, int(gib * GIB), self.stamp_exe)
            archive_bytes = os.path.getsize(archive)
            installer = os.path.join(work, "installer", "OrvikSetup.exe")
            code, _, message = self.pack(installer, payload_file=archive)
            os.remove(archive)
            if code != 0:
                reason = message.splitlines()[-1]
                outcome = ("refused by the packing tool (past its ceiling)"
                           if "can carry at most" in reason else "packing failed: " + reason)
            else:
                run = self.bootstrap(installer, timeout=1200)
                if run.exit_code == 0 and run.child_seconds is not None:
                    outcome = "installs (child started after %.1f s)" % run.child_seconds
                else:
                    outcome = "does not start: exit code %d" % run.exit_code
            shutil.rmtree(os.path.dirname(installer), ignore_errors=True)
            results["%g GiB" % gib] = {"archive_bytes": archive_bytes, "outcome": outcome}
            self.row("Ceiling: %g GiB payload (archive of %d bytes)" % (gib, archive_bytes),
                     outcome, "", "", "")
        self.raw["ceiling"] = results

    # -- size --------------------------------------------------------------

    def size(self):
        print("Size", flush=True)
        template = os.path.join(self.bin, "preinstall.exe")
        symbols = os.path.join(self.bin, "preinstall-symbols.exe")
        stripped_bytes = os.path.getsize(template)
        self.row("Template size (shipped stripped)", "%d bytes" % stripped_bytes,
                 "linked image, with symbols", "%d bytes" % os.path.getsize(symbols),
                 "%.2f" % (stripped_bytes / os.path.getsize(symbols)))
        parts = linker_map.contributions(os.path.join(self.build, "preinstall.map"))
        for name, size in sorted(parts.items(), key=lambda item: -item[1]):
            self.row("  from %s" % name, "%d bytes" % size, "share of the stripped file", "",
                     "%.1f%%" % (100.0 * size / stripped_bytes))
        self.raw["size"] = {"stripped": stripped_bytes, "parts": parts}

    # -- instructions ------------------------------------------------------

    def instructions(self, archive):
        print("Instructions", flush=True)
        payload = self.raw["extraction-10MB"]["payload_bytes"]
        unpack = os.path.join(self.build, "bench-native", "bench", "archive_unpack")
        results = {}
        for name, command in (("archive manager", [unpack, archive]),
                              ("bsdtar", ["bsdtar", "-xzf", archive, "-C"])):
            target = os.path.join(self.out, "callgrind-out")
            measure.fresh_folder(target)
            output = os.path.join(self.out, "callgrind.%s" % name.replace(" ", "-"))
            subprocess.check_call(["valgrind", "--tool=callgrind", "--callgrind-out-file=" + output,
                                   ] + command + [target], stdout=subprocess.DEVNULL,
                                  stderr=subprocess.DEVNULL)
            total, objects = callgrind_costs.object_costs(output)
            results[name] = {"total": total, "objects": objects}
            shutil.rmtree(target)
        ours, theirs = results["archive manager"], results["bsdtar"]
        self.row("Instructions per payload byte, 10 MB (native, callgrind)",
                 "%.2f" % (ours["total"] / payload), "bsdtar, same libarchive",
                 "%.2f" % (theirs["total"] / payload), "%.2f" % (ours["total"] / theirs["total"]))
        for name, cost in sorted(ours["objects"].items(), key=lambda item: -item[1])[:4]:
            self.row("  in %s" % name, "%.2f" % (cost / payload), "", "",
                     "%.1f%%" % (100.0 * cost / ours["total"]))
        self.raw["instructions"] = results

    # -- output ------------------------------------------------------------

    def table(self):
        widths = [max(len(row[i]) for row in self.rows) for i in range(5)]
        header = ("Figure", "Bootstrapper", "Reference", "Reference figure", "Ratio")
        widths = [max(w, len(h)) for w, h in zip(widths, header)]
        lines = ["  ".join(cell.ljust(width) for cell, width in zip(line, widths)).rstrip()
                 for line in [header] + self.rows]
        lines.insert(1, "  ".join("-" * width for width in widths))
        return "\n".join(lines)


def one_stream_gzip_size(archive):
    """Bytes of the tar inside `archive` compressed as one gzip stream at level 6, as libarchive's
    gzip filter writes it: the reference for the packed size."""
    unpacked = zlib.decompressobj(31)
    packed = zlib.compressobj(6, zlib.DEFLATED, 31)
    size = 0
    for start in range(0, len(archive), 1 << 20):
        size += len(packed.compress(unpacked.decompress(archive[start:start + (1 << 20)])))
    return size + len(packed.flush())


def machine():
    cpu = "?"
    with open("/proc/cpuinfo") as lines:
        for line in lines:
            if line.startswith("model name"):
                cpu = line.split(":", 1)[1].strip()
                break
    wine = subprocess.run(["wine", "--version"], capture_output=True, text=True).stdout.strip()
    return "%s, %d cores, %.0f GiB, Linux %s, %s" % (
        cpu, os.cpu_count(), os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / GIB,
        platform.release(), wine)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("--out")
    parser.add_argument("--sizes", default="10,100,1000", help="payload sizes in MB")
    parser.add_argument("--repeat", type=int, default=5)
    parser.add_argument("--parts", default="startup,extraction,ceiling,size,instructions",
                        help="which measurements to take (packing: only the packing rows of "
                        "extraction)")
    args = parser.parse_args()
    parts = args.parts.split(",")
    bench = Bench(args.build, args.out or os.path.join(args.build, "bench"), args.repeat)
    started = time.monotonic()
    # The prefix's server is stopped however the run ends, so that no
    # server of a prefix under --out holds the caller's output open.
    atexit.register(subprocess.call, ["wineserver", "-k"], env=bench.wine.env)
    bench.prepare_prefix()
    if "startup" in parts:
        bench.startup()
    archives = {}
    if "extraction" in parts:
        for megabytes in [int(size) for size in args.sizes.split(",")]:
            archives[megabytes] = bench.extraction(megabytes)
    elif "packing" in parts:
        for megabytes in [int(size) for size in args.sizes.split(",")]:
            bench.packing_alone(megabytes)
    if "ceiling" in parts:
        bench.ceiling()
    if "size" in parts:
        bench.size()
    if "instructions" in parts and 10 in archives:
        bench.instructions(archives[10])
    table = bench.table()
    unpacks = ("each on a tmpfs of its own" if bench.fresh.mounts
               else "each into a fresh folder on the disk (no right to mount a tmpfs)")
    summary = ("Machine: %s\nRepetitions: %d (3 for 1 GB), median (lowest-highest)\n"
               "Unpacks timed: %s\nTook %.0f s" % (
                   machine(), args.repeat, unpacks, time.monotonic() - started))
    print("\n" + table + "\n\n" + summary)
    with open(os.path.join(bench.out, "table.txt"), "w") as out:
        out.write(table + "\n\n" + summary + "\n")
    with open(os.path.join(bench.out, "results.json"), "w") as out:
        json.dump({"machine": machine(), "unpacks": unpacks, "raw": bench.raw,
                   "rows": bench.rows}, out, indent=1)


if __name__ == "__main__":
    main()
