"""Plants mistakes one at a time and tells which of them no test notices; see scripts/mutate.sh."""

import argparse
import os
import re
import subprocess
import sys
import time
from collections import Counter
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from records import Results, read_accepted
from trials import Prefix, Trial, in_parallel, list_tests, survey
from workspace import FOLDERS, NEAR, Workspace, trouble

ROOT = Path(__file__).resolve().parents[2]
ACCEPTED = ROOT / "scripts" / "mutate" / "accepted.txt"


def say(text):
    print(text, flush=True)


def git(*arguments):
    return subprocess.run(["git", *arguments], cwd=ROOT, capture_output=True, text=True,
                          check=True).stdout


def shipped(files):
    return [f for f in files if f.split("/")[0] in FOLDERS and f.endswith((".cpp", ".h"))]


def changed_lines(revision):
    """The lines of shipped files that differ from a revision, those of new files included."""
    lines = {}
    for new in shipped(git("ls-files", "-o", "--exclude-standard").splitlines()):
        lines[new] = None
    file = None
    for line in git("diff", "-U0", "--no-color", revision, "--", *FOLDERS).splitlines():
        if line.startswith("+++ "):
            file = line[6:] if line.startswith("+++ b/") else None
        elif line.startswith("@@") and file and shipped([file]):
            start, count = re.match(r"@@ -\S+ \+(\d+)(?:,(\d+))?", line).groups()
            numbers = range(int(start), int(start) + int(count or 1))
            lines.setdefault(file, set()).update(numbers)
    return lines


def choose(options):
    """The files to plant in, each with its lines or None for all."""
    if options.all:
        return {f: None for f in shipped(git("ls-files", *FOLDERS).splitlines())}
    if options.files:
        files = [os.path.relpath(os.path.realpath(f), ROOT) for f in options.files]
        wrong = [f for f in files if not shipped([f]) or not (ROOT / f).is_file()]
        if wrong:
            trouble(f"no source file of the shipped service: {', '.join(wrong)}")
        return {f: None for f in files}
    return changed_lines(options.against)


def parse(arguments):
    parser = argparse.ArgumentParser(prog="mutate.sh", add_help=False)
    parser.add_argument("files", nargs="*")
    parser.add_argument("--all", action="store_true")
    parser.add_argument("--against", default="HEAD")
    parser.add_argument("--list", action="store_true")
    parser.add_argument("--report", action="store_true")
    parser.add_argument("--fresh", action="store_true")
    parser.add_argument("--folded-only", action="store_true")
    parser.add_argument("--programs")
    parser.add_argument("--everywhere", action="store_true")
    parser.add_argument("--preset", default="checked")
    parser.add_argument("-j", type=int, default=os.cpu_count(), dest="jobs")
    return parser.parse_args(arguments)


class Run:
    def __init__(self, options, chosen):
        self._options = options
        self._workspace = Workspace(ROOT, options.preset, options.jobs)
        self._workspace.home.mkdir(parents=True, exist_ok=True)
        self._results = Results(self._workspace, options.fresh)
        self._accepted = read_accepted(ACCEPTED)
        self._planted = {}
        with ThreadPoolExecutor(options.jobs) as pool:
            all_found = list(pool.map(self._workspace.find, chosen))
        for (file, lines), found in zip(chosen.items(), all_found):
            self._planted[file] = [m for m in found if lines is None or m.line in lines]
        self._all = [m for mistakes in self._planted.values() for m in mistakes]
        for number, mistake in enumerate(self._all, 1):
            mistake.number = number

    def list(self):
        for mistake in self._all:
            mark = "accepted " if mistake.key in self._accepted else ""
            say(f"{mistake.file}:{mistake.line}: {mark}{mistake.shown}")
        say(f"{len(self._all)} mistakes")

    def _open(self, mistakes):
        return [m for m in mistakes if m.key not in self._accepted
                and self._results.noticed_before(m) is None]

    def run(self):
        started = time.monotonic()
        if not self._open(self._all):
            return
        say(f"{len(self._all)} mistakes, {len(self._open(self._all))} to be tried. Building ...")
        self._workspace.refresh()
        self._workspace.configure()
        wanted = self._programs_wanted()
        programs = [p for p in self._workspace.programs() if re.search(wanted, Path(p).name)]
        self._workspace.build_planted(self._planted, programs)
        say(f"Built {len(programs)} test programs in {time.monotonic() - started:.0f} s. "
            "Looking at what each test reaches ...")
        prefixes = [Prefix(self._workspace, n, len(self._all)) for n in range(self._options.jobs)]
        try:
            tests = [t for t in list_tests(self._workspace)
                     if any(t.program.endswith(p) for p in programs)]
            tests = survey(tests, prefixes, say)
            say(f"{len(tests)} tests, {sum(t.seconds for t in tests):.0f} s.")
            self._try_folded(prefixes, Trial(tests))
            if not self._options.folded_only:
                self._try_alone(prefixes, Trial(tests), programs)
        finally:
            for prefix in prefixes:
                prefix.stop()

    def _programs_wanted(self):
        if self._options.programs or self._options.everywhere:
            return self._options.programs or "."
        folders = {m.file.split("/")[0] for m in self._open(self._all)}
        return "^(" + "|".join(NEAR[folder] for folder in sorted(folders)) + ")"

    def _try_folded(self, prefixes, trial):
        waiting = self._open([m for m in self._all if m.fold])
        done = [0]

        def one(prefix, mistake):
            tests = trial.reaching(mistake)
            by, seconds = trial.notice(prefix, mistake, tests, mistake.number)
            self._settle(mistake, by, f"{len(tests)} tests reach it", seconds)
            done[0] += 1
            if done[0] % 25 == 0:
                say(f"  {done[0]} of {len(waiting)}")

        in_parallel(prefixes, waiting, one)

    def _try_alone(self, prefixes, trial, programs):
        """Those that must be compiled: what reaches any line of the file is asked."""
        for mistake in self._open([m for m in self._all if not m.fold]):
            started = time.monotonic()
            self._workspace.plant_alone(mistake)
            output = self._workspace.check(mistake.file)
            if output is not None:
                refused = "static assertion" in output
                self._settle(mistake, "the compiler (static assertion)" if refused else None,
                             "", time.monotonic() - started, compiles=refused)
                self._workspace.plant(mistake.file, [])
                continue
            near = {m.number for m in self._planted[mistake.file]}
            by = None
            tests = [t for t in trial.all() if near & t.reached] or trial.all()
            for program in sorted(programs):
                mine = [t for t in tests if t.program.endswith(program)]
                if not mine:
                    continue
                output = self._workspace.compile([program])
                if output is not None:
                    by = f"the build of {program}"
                    break
                by, _ = trial.notice(prefixes[0], mistake, mine, 0)
                if by:
                    break
            self._settle(mistake, by, "compiled alone", time.monotonic() - started)
            self._workspace.plant(mistake.file, [])

    def _settle(self, mistake, by, remark, seconds, compiles=True):
        outcome = "noticed" if by else "missed" if compiles else "not a program"
        self._results.note(mistake, outcome, by or remark, seconds)
        if outcome == "missed":
            say(f"missed: {mistake.file}:{mistake.line}: {mistake.shown} ({remark})")

    def report(self):
        """Prints the table, and returns how many mistakes nobody noticed."""
        rows, missed = [], []
        total = Counter()
        for file, mistakes in self._planted.items():
            row = Counter()
            for mistake in mistakes:
                outcome, by = self._results.outcome(mistake)
                if mistake.key in self._accepted:
                    outcome = "accepted"
                if outcome == "not a program":
                    continue
                row["planted"] += 1
                row[outcome or "not tried"] += 1
                if outcome == "missed":
                    missed.append(f"{file}:{mistake.line}: {mistake.shown} ({by})\n    {mistake.key}")
            rows.append((file, row))
            total += row
        columns = ("planted", "noticed", "accepted", "missed", "not tried")
        say("\n" + f"{'':44}" + "".join(f"{c:>10}" for c in columns))
        for file, row in [*rows, ("all", total)]:
            if row["planted"]:
                say(f"{file:44}" + "".join(f"{row[c]:10}" for c in columns))
        seen = total["noticed"] + total["missed"]
        if seen:
            say(f"\nNoticed: {100 * total['noticed'] / seen:.1f} % of those that can be.")
        if missed:
            say("\nNobody noticed:\n" + "\n".join(missed))
        return total["missed"]


def main():
    options = parse(sys.argv[1:])
    chosen = choose(options)
    if not chosen:
        say(f"Nothing of the shipped service has changed against {options.against}.")
        return 0
    run = Run(options, chosen)
    if options.list:
        run.list()
        return 0
    if not options.report:
        run.run()
    return 1 if run.report() else 0


if __name__ == "__main__":
    sys.exit(main())
