"""A copy of the working tree, in which mistakes are planted and built. The tree itself is never touched."""

import json
import os
import re
import shlex
import subprocess
import sys
import threading

from fold import fold
from mistakes import Finder
from syntax import Tree

FOLDERS = ("win32", "sdk", "ipc", "handlers", "service")
# Programs that take whole copies of the shipped sources, by the targets of these.
COMPILED = ("orva_win32", "orva_sdk", "orva_ipc", "orva_handlers", "orva_service", "OrvaAcceleratorService",
            "orva_racing", "orva_fuzzed", "handlers_answer_test")

# The test programs in which what is wrong in a folder shows first.
NEAR = {"win32": r"win32_|ipc_tests|service_management_|sdk_binding_",
        "sdk": r"sdk_|handlers_(dispatcher|queries|query_allocation)_",
        "ipc": r"ipc_|race_|handlers_(dispatcher|acceleration)_test",
        "handlers": r"handlers_",
        "service": r"service_"}
# Programs that are long, of chance, or of other programs than the service.
NOT_BUILT = re.compile(r"^(soak|fuzz|display|installer|handlers_acceleration_storm|doctor|docs|orvactl|"
                       r"client_channel|samples|resources|simulator|support|.*_guarded)_")

ADDED_TO_BUILD = """
# Mistakes are planted in what is built here.
add_library(orva_planted STATIC ${CMAKE_SOURCE_DIR}/planted/planted.cpp)
target_include_directories(orva_planted PRIVATE ${CMAKE_SOURCE_DIR})
target_link_libraries(orva_build_options INTERFACE orva_planted)
function(orva_let_mistakes_pass)
  foreach(target IN ITEMS @targets@)
    if(TARGET ${target})
      target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-w;-fpermissive>)
    endif()
  endforeach()
endfunction()
cmake_language(DEFER DIRECTORY ${CMAKE_SOURCE_DIR} CALL orva_let_mistakes_pass)
"""


def trouble(text):
    """Ends the script for a reason that is no mistake that nobody noticed."""
    print(f"mutate.sh: {text}", file=sys.stderr)
    sys.exit(2)


class Workspace:
    def __init__(self, root, preset, jobs):
        self.root = root
        self.home = root / "build" / "mutate"
        self.source = self.home / "source"
        self.build = self.source / "build" / preset
        self.preset = preset
        self._jobs = jobs
        self._originals = {}
        self._flags = None
        self._lock = threading.Lock()

    # --- The copy.

    def refresh(self):
        """Makes the copy what the working tree is. A file that is the same is left alone."""
        listed = subprocess.run(["git", "ls-files", "-z", "-co", "--exclude-standard"], cwd=self.root,
                                capture_output=True, text=True, check=True).stdout.split("\0")
        wanted = {name for name in listed if name and (self.root / name).is_file()}
        for name in wanted:
            content = (self.root / name).read_bytes()
            if name == "cmake/BuildOptions.cmake":
                content += ADDED_TO_BUILD.replace("@targets@", " ".join(COMPILED)).encode()
            self._write(name, content, (self.root / name).stat().st_mode)
        for name in ("planted.h", "planted.cpp"):
            self._write(f"planted/{name}", (self.root / "scripts" / "mutate" / name).read_bytes())
        kept = self.source / "build"
        for path in self.source.rglob("*"):
            if kept in path.parents or path.is_dir() or path == kept:
                continue
            name = str(path.relative_to(self.source))
            if name not in wanted and not name.startswith("planted/"):
                path.unlink()

    def _write(self, name, content, mode=0o644):
        path = self.source / name
        if path.is_file() and path.read_bytes() == content:
            return
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        path.chmod(mode & 0o777)

    def configure(self):
        launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if _which("ccache") else []
        self._run(["cmake", "--preset", self.preset, "--log-level=WARNING", *launcher], self.source)

    # --- Mistakes.

    def find(self, file):
        """The mistakes of a file, in its order."""
        with self._lock:
            if self._flags is None:
                self._flags = self._clang_flags()
        tree = Tree(self.root, file, self._flags)
        # As it is now: somebody may work on the file while mistakes are tried.
        self._originals[file] = tree.text
        return Finder(tree).mistakes()

    def _clang_flags(self):
        folder = self.home / "clang"
        self._run(["cmake", "--preset", "clang", "-B", str(folder), "--log-level=WARNING"], self.root)
        commands = json.loads((folder / "compile_commands.json").read_text())
        command = next(c["command"] for c in commands if c["file"].endswith("/sdk/accel_sdk.cpp"))
        flags = shlex.split(command)
        return flags[:flags.index("-o")]

    def plant(self, file, mistakes):
        """Writes the folded mistakes of a file into the copy; none leaves it as it is."""
        original = self._originals[file]
        folded = [m for m in mistakes if m.fold]
        self._write(file, fold(original, folded, file.endswith(".h")) if folded else original)

    def plant_alone(self, mistake):
        original = self._originals[mistake.file]
        self._write(mistake.file, original[:mistake.begin] + mistake.text.encode() +
                    original[mistake.end:])

    # --- Building.

    def build_planted(self, planted, targets):
        """Builds with all folded mistakes. What does not compile that way is unfolded, that is to be
        compiled alone. `planted` are the mistakes by file."""
        for _ in range(12):
            for file, mistakes in planted.items():
                self.plant(file, mistakes)
            output = self.compile(targets)
            if output is None:
                return
            if not self._unfold(planted, output):
                trouble("the build fails, and not because of a mistake:\n" + output[-4000:])
        trouble("the build keeps failing:\n" + output[-4000:])

    def compile(self, targets):
        """None, or what the compiler said."""
        done = subprocess.run(["ninja", "-C", str(self.build), "-k", "0", "-j", str(self._jobs), *targets],
                              capture_output=True, text=True, check=False)
        return None if done.returncode == 0 else done.stdout + done.stderr

    def _unfold(self, planted, output):
        changed = False
        for name, line in set(re.findall(r"([\w/.\-]+):(\d+):\d+: (?:fatal )?error:", output)):
            file = next((f for f in planted if name.endswith("/" + f) or name == f), None)
            if file is None:
                continue
            text = self._originals[file]
            here = [m for m in planted[file] if m.fold and not m.constant and
                    m.line <= int(line) <= m.line + text.count(b"\n", m.begin, m.end)]
            # An error elsewhere comes from a constant that has to be one.
            concerned = here or [m for m in planted[file] if m.fold and m.constant]
            for mistake in concerned:
                mistake.fold = None
                changed = True
        return changed

    def programs(self):
        """The test programs, by their paths in the build."""
        listed = subprocess.run(["ninja", "-C", str(self.build), "-t", "targets", "all"],
                                capture_output=True, text=True, check=True).stdout
        names = re.findall(r"^bin/tests/(\w+_tests?\.exe):", listed, re.M)
        return [f"bin/tests/{name}" for name in sorted(set(names)) if not NOT_BUILT.search(name)]

    def check(self, file):
        """What the compiler says about one file of the copy; None if nothing."""
        command = [*self._flags, "-w", "-fsyntax-only", "-x", "c++", file]
        command = [c.replace(str(self.root), str(self.source)) for c in command]
        done = subprocess.run(command, cwd=self.source, capture_output=True, text=True, check=False)
        return None if done.returncode == 0 else done.stderr

    def _run(self, command, folder):
        done = subprocess.run(command, cwd=folder, capture_output=True, text=True, check=False)
        if done.returncode != 0:
            trouble(f"{shlex.join(command)} fails:\n{done.stdout}{done.stderr}")


def _which(name):
    return any(os.access(os.path.join(folder, name), os.X_OK)
               for folder in os.environ.get("PATH", "").split(os.pathsep))
