#!/usr/bin/env python3
"""Puts small faults into the portable library, one at a time, and tells which of them no test sees.

    faults.py ROOT [--jobs N] [TABLE...]

A TABLE is a file of tests/faults without its ending, or a path; without any, all are run. Its lines:

    test PROGRAM [ARGUMENT...]   what judges its faults, in this order; a path is one of the checkout
    in FILE                      the faults that follow are put into this source
    fault NAME                   in words
    - SNIPPET                    stands in the source exactly once
    + SNIPPET                    what stands there instead
    lives REASON                 no test can see this one, because ...

Sources are copied to build/faults and built there for this machine, without sanitizers; the
checkout itself is never touched. A test that crashes, fails, or takes far longer than it does
without a fault has seen the fault. Fails when a fault lives without a reason, when a reason is
given for one that is seen, and when 15 of 100 faults or more live.
"""
import argparse
import contextlib
import os
import pathlib
import queue
import resource
import shutil
import signal
import subprocess
import sys
import threading
import time

LIVING_PERCENT = 15
MEMORY = 4 << 30


class Broken(Exception):
    """A mistake of a table, or a tree that does not build or pass without any fault."""


class Fault:
    def __init__(self, table, source, name):
        self.table, self.source, self.name = table, source, name
        self.before = self.after = self.reason = None


def read_table(path):
    tests, faults, source = [], [], None
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        word, _, rest = line.partition(" ")
        if not line.strip() or word == "#":
            continue
        last = faults[-1] if faults else None
        if word == "test":
            tests.append(rest.split())
        elif word == "in":
            source = rest.strip()
        elif word == "fault" and source:
            faults.append(Fault(path.stem, source, rest.strip()))
        elif word == "-" and last and last.before is None:
            last.before = rest
        elif word == "+" and last and last.before is not None and last.after is None:
            last.after = rest
        elif line == "+" and last and last.before is not None and last.after is None:
            last.after = ""
        elif word == "lives" and last and rest.strip():
            last.reason = rest.strip()
        else:
            raise Broken(f"{path}:{number}: not understood: {line}")
    for fault in faults:
        if fault.before is None or fault.after is None:
            raise Broken(f"{path}: \"{fault.name}\" needs a line with - and one with +")
    if not tests or not faults:
        raise Broken(f"{path}: no test, or no fault")
    return tests, faults


def faulty_text(root, fault):
    try:
        text = (root / fault.source).read_text(encoding="utf-8")
    except OSError as error:
        raise Broken(f"{fault.table}: {error}") from error
    times = text.count(fault.before)
    if times != 1:
        raise Broken(f"{fault.table}: \"{fault.name}\": its snippet stands in {fault.source} "
                     f"{times} times: {fault.before}")
    return text.replace(fault.before, fault.after)


class Tree:
    """A copy of the sources with a build of its own."""

    def __init__(self, root, folder):
        self.root, self.sources, self.build = root, folder / "sources", folder / "tree"
        self.environment = dict(os.environ, CCACHE_BASEDIR=str(folder), CCACHE_NOHASHDIR="1",
                                LC_ALL="C.UTF-8")
        self.seconds = {}

    def prepare(self, targets):
        listed = subprocess.run(["git", "ls-files", "-z", "-co", "--exclude-standard"],
                                cwd=self.root, check=True, capture_output=True).stdout
        wanted = {name for name in listed.decode().split("\0")
                  if name and (self.root / name).is_file()}
        for name in wanted:
            source, copy = self.root / name, self.sources / name
            if not copy.is_file() or copy.read_bytes() != source.read_bytes():
                copy.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(source, copy)
        for copy in self.sources.rglob("*"):
            if copy.is_file() and str(copy.relative_to(self.sources)) not in wanted:
                copy.unlink()
        command = ["cmake", "-S", self.sources, "-B", self.build, "-G", "Ninja", "-DKEL_HOST=ON",
                   "-DCMAKE_BUILD_TYPE=None", "-DKEL_ONE_BY_ONE=ON",
                   "-DCMAKE_CXX_FLAGS=-w -O1 -D_GLIBCXX_ASSERTIONS"]
        if shutil.which("ccache"):
            command += [f"-DCMAKE_{language}_COMPILER_LAUNCHER=ccache" for language in ("C", "CXX")]
        self.check(subprocess.run(command, capture_output=True, text=True, env=self.environment))
        self.check(self.compile(targets))

    def check(self, done):
        if done.returncode != 0:
            # Without the progress of what was built.
            told = [line for line in done.stdout.splitlines() if not line.startswith("[")]
            raise Broken("\n".join([f"{self.sources} does not build:", *told, done.stderr]))

    def compile(self, targets):
        return subprocess.run(["ninja", "-C", self.build, *targets], capture_output=True, text=True,
                              env=self.environment)

    def passes(self, test, limit):
        """Whether the test passes within the seconds given."""
        program = self.build / "tests" / test[0]
        if not program.exists():
            program = self.build / "bin" / test[0]
        arguments = [str(self.sources / a) if (self.sources / a).exists() else a for a in test[1:]]
        process = subprocess.Popen(
            [program, *arguments], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL, start_new_session=True, env=self.environment,
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY)))
        try:
            return process.wait(limit) == 0
        except subprocess.TimeoutExpired:
            return False
        finally:
            with contextlib.suppress(ProcessLookupError):
                os.killpg(process.pid, signal.SIGKILL)
            process.wait()

    def measure(self, test):
        started = time.monotonic()
        if not self.passes(test, 600):
            raise Broken(f"{' '.join(test)} fails without any fault")
        self.seconds[tuple(test)] = time.monotonic() - started

    def sees(self, fault, tests):
        """The test that sees the fault, or None."""
        source = self.sources / fault.source
        whole = source.read_text(encoding="utf-8")
        source.write_text(faulty_text(self.sources, fault), encoding="utf-8")
        try:
            for test in tests:
                if self.compile([test[0]]).returncode != 0:
                    raise Broken(f"{fault.table}: \"{fault.name}\" does not compile")
                if not self.passes(test, 20 + 10 * self.seconds[tuple(test)]):
                    return test[0]
            return None
        finally:
            source.write_text(whole, encoding="utf-8")


def run(root, tables, jobs):
    """(fault, the test that saw it or None) for each, and the mistakes found on the way."""
    folder = root / "build" / "faults"
    trees = [Tree(root, folder / str(i + 1)) for i in range(jobs)]
    programs = sorted({test[0] for tests, _ in tables for test in tests})
    work = queue.Queue()
    for tests, faults in tables:
        for fault in sorted(faults, key=lambda f: f.source):
            faulty_text(root, fault)
            work.put((tests, fault))
    for tree in trees:
        print(f"faults: building {tree.build}", flush=True)
        tree.prepare(programs)
    for tests, _ in tables:
        for test in tests:
            for tree in trees:
                tree.measure(test)
    results, mistakes, talk = [], [], threading.Lock()

    def go_on(tree):
        while True:
            try:
                tests, fault = work.get_nowait()
            except queue.Empty:
                return
            try:
                seen = tree.sees(fault, tests)
            except Broken as error:
                with talk:
                    mistakes.append(str(error))
                    print(error, flush=True)
                continue
            with talk:
                results.append((fault, seen))
                if seen is None:
                    print(f"lives: {fault.table}: {fault.source}: {fault.name}"
                          + (f" ({fault.reason})" if fault.reason else ""), flush=True)
                elif fault.reason:
                    mistakes.append(f"{fault.table}: \"{fault.name}\" is seen by {seen}, "
                                    "though the table says that it lives")

    workers = [threading.Thread(target=go_on, args=(tree,)) for tree in trees]
    for worker in workers:
        worker.start()
    for worker in workers:
        worker.join()
    return results, mistakes


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("root", type=pathlib.Path)
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("tables", nargs="*")
    options = parser.parse_intermixed_args()
    root = options.root.resolve()
    tables = root / "tests" / "faults"
    paths = [pathlib.Path(t) if "/" in t else tables / f"{t}.faults" for t in options.tables]
    paths = paths or sorted(tables.glob("*.faults"))
    for path in paths:
        if not path.is_file():
            known = ", ".join(sorted(p.stem for p in tables.glob("*.faults")))
            parser.error(f"no table {path.stem}; there are {known}")
    try:
        results, mistakes = run(root, [read_table(path) for path in paths], options.jobs)
    except Broken as error:
        sys.exit(f"faults: {error}")
    for path in paths:
        own = [(fault, seen) for fault, seen in results if fault.table == path.stem]
        living = sum(1 for _, seen in own if seen is None)
        print(f"{path.stem}: {len(own)} faults, {len(own) - living} seen, {living} live")
    living = [fault for fault, seen in results if seen is None]
    print(f"total: {len(results)} faults, {len(results) - len(living)} seen, {len(living)} live")
    mistakes += [f"{fault.table}: \"{fault.name}\" lives and no reason is given"
                 for fault in living if not fault.reason]
    if 100 * len(living) >= LIVING_PERCENT * max(len(results), 1):
        mistakes.append(f"{LIVING_PERCENT} of 100 faults or more live")
    for mistake in mistakes:
        print(f"faults: {mistake}", file=sys.stderr)
    return 1 if mistakes else 0


if __name__ == "__main__":
    sys.exit(main())
