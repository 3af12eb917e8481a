"""Runs the tests of the planted build, with no mistake to see which are reached, then with each one."""

import fnmatch
import json
import os
import queue
import re
import shutil
import subprocess
import tempfile
import threading
import time
from dataclasses import dataclass, field

from workspace import trouble

# Long, or of chance, or of other programs than the service.
NOT_RUN = {"soak", "storm", "fuzz", "package", "display", "guarded"}
# Tests of one process at most, so that its command line stays short.
MOST_TOGETHER = 150
SLOW_SECONDS = 1.0
PREFIX_FILE = "drive_c/orva-planted"


@dataclass
class Test:
    name: str
    command: list
    environment: dict
    seconds: float = 0.0
    reached: set = field(default_factory=set)
    # Whether it passes in one process with others of its program.
    sociable: bool = False

    @property
    def program(self):
        return self.command[1] if len(self.command) > 1 else self.command[0]

    @property
    def filter(self):
        found = [a for a in self.command if a.startswith("--gtest_filter=")]
        return found[0].removeprefix("--gtest_filter=") if found else None

    def has(self, name):
        return self.filter is not None and any(
            fnmatch.fnmatchcase(name, pattern) for pattern in self.filter.split(":"))


def list_tests(workspace):
    command = ["ctest", "--test-dir", str(workspace.build), "--show-only=json-v1"]
    for _ in range(3):  # On a busy machine a program may take too long to list its tests.
        done = subprocess.run(command, capture_output=True, text=True, check=False,
                              env=_prefix_environment(workspace, 0))
        if done.returncode == 0:
            break
    else:
        trouble(f"the tests cannot be listed:\n{done.stdout[-2000:]}{done.stderr[-2000:]}")
    tests = []
    for entry in json.loads(done.stdout)["tests"]:
        command = entry.get("command")
        properties = {p["name"]: p["value"] for p in entry.get("properties", [])}
        if not command or not command[0].endswith("wine.sh") or entry["name"].endswith("_NOT_BUILT"):
            continue
        if NOT_RUN & set(properties.get("LABELS", [])):
            continue
        environment = dict(v.split("=", 1) for v in properties.get("ENVIRONMENT", []))
        tests.append(Test(entry["name"], command, environment))
    return tests


def _prefix_environment(workspace, number):
    environment = dict(os.environ)
    environment["ORVA_WINEPREFIX"] = str(workspace.home / f"wine-{number}")
    return environment


class Prefix:
    """A Windows installation in which one test runs at a time, and its file that chooses a mistake."""

    def __init__(self, workspace, number, numbers):
        self._script = workspace.root / "scripts" / "prefix.sh"
        self._environment = _prefix_environment(workspace, number)
        self._home = workspace.home / f"wine-{number}"
        self._numbers = numbers
        self.renew()

    def renew(self):
        """As new: whatever a mistake has left is gone."""
        for word in (["remove"], ["start", "3600"]):
            subprocess.run([str(self._script), *word], env=self._environment, check=True,
                           capture_output=True)
        (self._home / PREFIX_FILE).write_bytes(bytes(4 + self._numbers + 1))

    def stop(self):
        subprocess.run([str(self._script), "stop"], env=self._environment, check=False,
                       capture_output=True)

    def choose(self, number):
        with open(self._home / PREFIX_FILE, "r+b") as file:
            file.write(number.to_bytes(4, "little") + bytes(self._numbers + 1))

    def reached(self):
        marks = (self._home / PREFIX_FILE).read_bytes()[4:]
        return {number for number, mark in enumerate(marks) if mark}

    def run(self, command, environment, most_seconds):
        """("ok" or "failed" or "hung", seconds, output)."""
        started = time.monotonic()
        with tempfile.TemporaryFile() as log:
            process = subprocess.Popen(command, env={**self._environment, **environment},
                                       stdin=subprocess.DEVNULL, stdout=log,
                                       stderr=subprocess.STDOUT, start_new_session=True)
            try:
                result = "ok" if process.wait(timeout=most_seconds) == 0 else "failed"
            except subprocess.TimeoutExpired:
                result = "hung"
                os.killpg(process.pid, 9)
                process.wait()
                self.stop()
                self.renew()
            log.seek(0)
            output = log.read().decode(errors="replace")
        return result, time.monotonic() - started, output


def together(tests):
    """The command of one process for tests of one program."""
    if len(tests) == 1:
        return tests[0].command
    return [*tests[0].command[:2], "--gtest_filter=" + ":".join(t.filter for t in tests),
            "--gtest_also_run_disabled_tests", "--gtest_fail_fast"]


def in_batches(tests):
    """What is run in one process each, the quickest first."""
    programs, batches = {}, []
    for test in sorted(tests, key=lambda t: t.seconds):
        if test.sociable and test.seconds < SLOW_SECONDS:
            programs.setdefault(test.program, []).append(test)
        else:
            batches.append([test])
    for group in programs.values():
        batches += [group[at:at + MOST_TOGETHER] for at in range(0, len(group), MOST_TOGETHER)]
    # Tests of one process cost little more than one of them, most of whose time is the process's start.
    return sorted(batches, key=lambda batch: (len(batch) == 1, sum(t.seconds for t in batch)))


def survey(tests, prefixes, say):
    """Runs each test without a mistake: notes how long it takes and what it reaches. Returns the tests
    that passed."""
    passed = []

    def one(prefix, test):
        prefix.choose(0)
        result, test.seconds, output = prefix.run(test.command, test.environment, 180)
        test.reached = prefix.reached()
        if result == "ok":
            passed.append(test)
        else:
            say(f"not used, fails without a mistake: {test.name}\n{output[-600:]}")

    in_parallel(prefixes, tests, one)
    groups = {}
    for test in passed:
        if test.filter and not test.environment and test.seconds < SLOW_SECONDS:
            groups.setdefault(test.program, []).append(test)

    def sociable(prefix, group):
        prefix.choose(0)
        for _ in range(3):
            if len(group) < 2:
                return
            command = [c for c in together(group) if c != "--gtest_fail_fast"]
            result, _, output = prefix.run(command, {}, 60 + 3 * sum(t.seconds for t in group))
            if result == "ok":
                for test in group:
                    test.sociable = True
                return
            failed = set(re.findall(r"^\[  FAILED  \] ([\w/.]+)", output, re.M))
            if not failed:
                return
            group = [t for t in group if not any(t.has(name) for name in failed)]

    in_parallel(prefixes, list(groups.values()), sociable)
    return passed


def in_parallel(prefixes, items, work):
    """work(prefix, item) for each, as many at a time as there are prefixes."""
    waiting = queue.SimpleQueue()
    for item in items:
        waiting.put(item)
    errors = []

    def take(prefix):
        while not errors:
            try:
                item = waiting.get_nowait()
            except queue.Empty:
                return
            try:
                work(prefix, item)
            except BaseException as error:  # Told below, in the first thread.
                errors.append(error)

    threads = [threading.Thread(target=take, args=(prefix,)) for prefix in prefixes]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    if errors:
        raise errors[0]


class Trial:
    """Tries mistakes, one at a time on each prefix."""

    def __init__(self, tests):
        self._tests = tests
        # What noticed the last mistakes of a file is asked first.
        self._lately = {}
        self._lock = threading.Lock()

    def all(self):
        return self._tests

    def reaching(self, mistake):
        return [t for t in self._tests if mistake.number in t.reached]

    def notice(self, prefix, mistake, tests, number):
        """(the test that notices it and how, or None, seconds)."""
        started = time.monotonic()
        with self._lock:
            lately = [t for t in self._lately.get(mistake.file, []) if t in tests][:3]
        rest = [t for t in tests if t not in lately]
        for batch in [*([t] for t in lately), *in_batches(rest)]:
            how = self._try(prefix, batch, number)
            if how is None:
                continue
            with self._lock:
                known = self._lately.setdefault(mistake.file, [])
                test = how[2]
                if test in known:
                    known.remove(test)
                if test.seconds < 2 * SLOW_SECONDS:
                    known.insert(0, test)
            return f"{how[0]} ({how[1]})", time.monotonic() - started
        return None, time.monotonic() - started

    def _try(self, prefix, batch, number):
        """(name, how it ended, test) of the first test of the batch that notices the mistake, or None."""
        while len(batch) > 1:
            prefix.choose(number)
            result, _, output = prefix.run(together(batch), batch[0].environment, _patience(batch))
            if result == "ok":
                return None
            suspects = _suspects(batch, output)
            for test in suspects:
                how = self._try_alone(prefix, test, number)
                if how is not None:
                    return how
            # They have only disturbed each other. Those behind them have had no turn yet.
            batch = [test for test in batch if test not in suspects]
        return self._try_alone(prefix, batch[0], number) if batch else None

    def _try_alone(self, prefix, test, number):
        for attempt in (1, 2):  # Twice, so that neither chance nor a busy machine counts as noticed.
            prefix.choose(number)
            result, _, _ = prefix.run(test.command, test.environment, attempt * _patience([test]))
            if result == "ok":
                return None
        return test.name, result, test


def _patience(batch):
    return 20 + 6 * sum(t.seconds for t in batch)


def _suspects(batch, output):
    """The tests of a batch that may have failed: the one that says so, or in which the output ends."""
    names = re.findall(r"^\[  FAILED  \] ([\w/.]+)", output, re.M) or re.findall(
        r"^\[ RUN      \] ([\w/.]+)", output, re.M)[-1:]
    return [t for t in batch if names and t.has(names[0])] or batch


def clean(workspace):
    for prefix in workspace.home.glob("wine-*"):
        shutil.rmtree(prefix, ignore_errors=True)
