"""What is known of each mistake: results of earlier runs, and the list of those that change nothing."""

import hashlib
import json


class Results:
    """Kept as the run goes on, so that an interrupted one is continued. A result counts as long as the
    file that the mistake is planted in is the same; what nobody noticed is tried again."""

    def __init__(self, workspace, fresh):
        self._path = workspace.home / "results.jsonl"
        self._root = workspace.root
        self._versions = {}
        self._known = {}
        if fresh:
            self._path.unlink(missing_ok=True)
        if self._path.is_file():
            for line in self._path.read_text().splitlines():
                entry = json.loads(line)
                self._known[entry["key"]] = entry

    def version(self, file):
        if file not in self._versions:
            content = (self._root / file).read_bytes()
            self._versions[file] = hashlib.sha256(content).hexdigest()[:16]
        return self._versions[file]

    def noticed_before(self, mistake):
        entry = self._known.get(mistake.key)
        known = entry and entry["version"] == self.version(mistake.file)
        return entry["by"] if known and entry["outcome"] in ("noticed", "not a program") else None

    def outcome(self, mistake):
        entry = self._known.get(mistake.key)
        if entry is None or entry["version"] != self.version(mistake.file):
            return None, ""
        return entry["outcome"], entry["by"]

    def note(self, mistake, outcome, by, seconds):
        entry = {"key": mistake.key, "version": self.version(mistake.file), "line": mistake.line,
                 "outcome": outcome, "by": by, "seconds": round(seconds, 1)}
        self._known[mistake.key] = entry
        with self._path.open("a") as file:
            file.write(json.dumps(entry) + "\n")


def read_accepted(path):
    """Mistakes that change nothing or cannot be seen: their keys, with the reason for each.

    A block of lines is a reason, indented, below the mistakes that it is for:

        file | line of code | mistake
            why it changes nothing
    """
    accepted, waiting, reason = {}, [], []

    def close():
        for key in waiting:
            accepted[key] = " ".join(reason)
        waiting.clear()
        reason.clear()

    if path.is_file():
        for line in path.read_text().splitlines():
            if not line.strip() or line.startswith("#"):
                continue
            if line[0].isspace():
                reason.append(line.strip())
                continue
            if reason:
                close()
            waiting.append(line.strip())
        close()
    return accepted
