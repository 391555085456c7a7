#!/usr/bin/env python3
"""Kills bvhost at random moments, and looks at what it leaves: each file whole, old or new, and each registry whole,
with every module in it or not in it. kill9.py [COUNT] [--bin FOLDER] [--workers N] [--seed N]

COUNT (1000) kills are divided among `cuts save`, `job --output`, `register`, `unregister`, and several processes that
register and unregister at once, of which some are killed. The exit code is 1 when something was lost."""

import argparse
import collections
import os
import pathlib
import random
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import threading
import time

MEDIA = ["--input", "in.avi", "--duration", "100", "--streams", "video"]
FOLDERS = ("/dev/shm", None)  # a memory disk doesn't make the runs wait


def registry_of(path):
    """All keys and values; what SQLite says of the file if that isn't good."""
    base = sqlite3.connect(path, timeout=60)
    try:
        found = base.execute("PRAGMA integrity_check").fetchall()
        if found != [("ok",)]:
            return f"damaged: {found[:3]}"
        names = {0: ""}
        rows = base.execute("SELECT id, parent, folded FROM keys").fetchall()
        parents = {key: (parent, name) for key, parent, name in rows}

        def path_of(key):
            if key not in names:
                parent, name = parents[key]
                names[key] = path_of(parent) + "\\" + name
            return names[key]

        keys = {path_of(key) for key in parents}
        values = {
            (path_of(key), name, kind, data)
            for key, name, kind, data in base.execute("SELECT key, folded, type, data FROM entries")
        }
        return frozenset(keys), frozenset(values)
    except (sqlite3.Error, KeyError) as problem:
        return f"unreadable: {problem!r}"
    finally:
        base.close()


class Worker:
    """A folder and a registry of its own, in which one run after the other is killed."""

    def __init__(self, options, seed, results):
        self.bin = pathlib.Path(options.bin).resolve()
        self.random = random.Random(seed)
        self.results = results
        self.folder = pathlib.Path(
            tempfile.mkdtemp(prefix="kill9.", dir=next((f for f in FOLDERS if f and os.path.isdir(f)), None))
        )
        self.registry = self.folder / "registry.db"
        # Jobs have a registry that nobody takes away.
        self.registries = {"job": self.folder / "jobs.db", "cuts": self.folder / "jobs.db"}
        (self.folder / "in.avi").write_bytes(b"s" * 1000)
        self.times = {}
        modules = [str(self.bin / name) for name in ("BVSchema.so", "BVSamples.so")]
        # Registrations of two modules are two steps, so one of them may be there without the other.
        self.states = {}
        self.run("registry")
        self.note_state("neither")
        for order in (modules, modules[::-1]):
            for verb in ("register", "unregister"):
                for module in order:
                    self.start(verb, module).communicate()  # the samples alone can't be used: it says so
                    self.note_state(f"{verb} {module}")
        self.run("register")
        self.start("register", registry=self.registries["job"]).communicate()
        self.runs = {
            "cuts save": ("cuts.tlc", lambda n: self.cuts(n)),
            "job": ("job.xml", lambda n: ["job", *MEDIA, "--set", f"FileNamePattern=pattern {n}", "--output", "job.xml"]),
        }
        for name, (file, command) in self.runs.items():
            self.file_versions = getattr(self, "file_versions", {})
            versions = []
            for n in range(2):
                self.run(*command(n))
                versions.append((self.folder / file).read_bytes())
            assert versions[0] != versions[1], f"{name} writes the same file each time"
            self.file_versions[name] = versions

    def cuts(self, n):
        job = f"from{n}.xml"
        if not (self.folder / job).exists():
            cuts = [word for i in range(60) for word in ("--cut", f"{i * 10}-{i * 10 + 5 + n}")]
            self.run("job", *MEDIA, *cuts, "--output", job)
        return ["cuts", "save", "cuts.tlc", "--from", job]

    def start(self, *arguments, registry=None):
        registry = registry or self.registries.get(arguments[0], self.registry)
        return subprocess.Popen(
            [self.bin / "bvhost", *arguments],
            cwd=self.folder,
            env=dict(os.environ, LC_ALL="C.UTF-8", BV_REGISTRY=str(registry)),
            stdout=subprocess.DEVNULL,
            stderr=subprocess.PIPE,
        )

    def run(self, *arguments):
        begin = time.monotonic()
        process = self.start(*arguments)
        _, errors = process.communicate()
        if process.returncode not in (0, 3):
            raise RuntimeError(f"bvhost {' '.join(map(str, arguments))}: {errors.decode(errors='replace')}")
        self.times[arguments[0]] = time.monotonic() - begin

    def note_state(self, name):
        self.states[registry_of(self.registry)] = name

    def look(self):
        """Names and sizes of all files here."""
        found = set()
        for entry in os.scandir(self.folder):
            try:
                found.add((entry.name, entry.stat().st_size))
            except OSError:
                pass
        return found

    def kill_during(self, *arguments):
        """False: it had ended by then."""
        before = self.look()
        process = self.start(*arguments)
        if self.random.random() < 0.5:
            time.sleep(self.random.random() * self.times.get(arguments[0], 0.1) * 1.1)
        else:  # soon after it has begun to write
            while process.poll() is None and self.look() == before:
                pass
            time.sleep(self.random.random() ** 2 * 0.05)
        alive = process.poll() is None
        process.kill()
        process.communicate()
        return alive

    def report(self, kind, killed, problem):
        with self.results["lock"]:
            counts = self.results["counts"][kind]
            counts["runs"] += 1
            counts["killed"] += killed
            if problem:
                counts["lost"] += 1
                print(f"{kind}: {problem}", flush=True)

    def one_file(self, name):
        file, command = self.runs[name]
        before = (self.folder / file).read_bytes()
        versions = self.file_versions[name]
        wanted = 1 - versions.index(before) if before in versions else 0
        arguments = command(wanted)
        killed = self.kill_during(*arguments)
        after = (self.folder / file).read_bytes() if (self.folder / file).exists() else None
        problem = None
        if after not in versions:
            problem = "the file is gone" if after is None else f"a file of {len(after)} bytes that nobody wrote"
        elif not killed and after != versions[wanted]:
            problem = "it ended, and the file is the old one"
        self.report(name, killed, problem)
        if problem or self.random.random() < 0.05:  # it works afterwards, too
            self.run(*arguments)
            if (self.folder / file).read_bytes() != versions[wanted]:
                self.report(name, False, "afterwards it can't be written")

    def look_at_registry(self, kind, killed):
        found = registry_of(self.registry)
        problem = None
        if isinstance(found, str):
            problem = found
        elif found not in self.states:
            nearest = min(self.states, key=lambda s: len(s[0] ^ found[0]) + len(s[1] ^ found[1]))
            problem = f"half a registration: {len(nearest[0] ^ found[0])} keys from '{self.states[nearest]}'"
        self.report(kind, killed, problem)
        if problem or self.random.random() < 0.05:
            self.run("register")
            if registry_of(self.registry) not in self.states:
                self.report(kind, False, "afterwards a registration isn't whole")

    def one_registration(self, verb):
        if self.random.random() < 0.5:
            self.run("unregister" if verb == "register" else "register")
        self.look_at_registry(verb, self.kill_during(verb))

    def several_at_once(self):
        verbs = [self.random.choice(("register", "unregister")) for _ in range(4)]
        processes = [self.start(verb) for verb in verbs]
        time.sleep(self.random.random() * self.times.get("register", 0.1) * 2)
        killed = 0
        for process in self.random.sample(processes, 2):
            killed += process.poll() is None
            process.kill()
        for process in processes:
            process.communicate()
        self.look_at_registry("several at once", killed)

    def work(self, kinds):
        try:
            for kind in kinds:
                if kind in self.runs:
                    self.one_file(kind)
                elif kind == "several at once":
                    self.several_at_once()
                else:
                    self.one_registration(kind)
        except Exception as problem:
            self.report("the script itself", 0, repr(problem))
        finally:
            shutil.rmtree(self.folder, ignore_errors=True)


def main():
    root = pathlib.Path(__file__).resolve().parent.parent
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("count", nargs="?", type=int, default=1000)
    parser.add_argument("--bin", default=root / "build/native/bin")
    parser.add_argument("--workers", type=int, default=os.cpu_count())
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()
    results = {"lock": threading.Lock(), "counts": collections.defaultdict(collections.Counter)}
    kinds = ["cuts save", "job", "register", "unregister", "several at once"] * (options.count // 5 + 1)
    workers = [Worker(options, options.seed + n, results) for n in range(options.workers)]
    threads = [
        threading.Thread(target=worker.work, args=(kinds[n : options.count : options.workers],))
        for n, worker in enumerate(workers)
    ]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    runs = lost = 0
    for kind, counts in sorted(results["counts"].items()):
        print(f"{kind}: {counts['runs']} runs, {counts['killed']} killed, {counts['lost']} lost")
        runs += counts["runs"]
        lost += counts["lost"]
    print(f"all: {runs} runs, {lost} lost")
    return 1 if lost or runs < options.count else 0


if __name__ == "__main__":
    sys.exit(main())
