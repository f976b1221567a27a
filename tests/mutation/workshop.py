"""A copy of the sources with a build folder of its own, where one mutant at a time is tried.

Tests run in a private world from the first step on: a mutant may write, signal and delete
where the daemon would not.
"""

import hashlib
import json
import os
import pathlib
import re
import shlex
import shutil
import signal
import subprocess
import time

from mutants import FOLDERS
from subjects import own_suites, patterns_of, system_tests

TARGETS = ("ruvo_unit_tests", "ruvo_world_tests", "ruvo-model-bridge", "ruvotcpd", "tests/all", "devkit/all")
PROGRAMS = {"unit": "tests/ruvo_unit_tests", "world": "tests/ruvo_world_tests",
            "model": "tests/model/ruvo-model-bridge", "system": "core/ruvotcpd"}
COMPILE_S = 600
# A test that takes so many times as long as with the plain sources hangs.
PATIENCE = 4
LEAST_LIMIT_S = 60
MODEL_CASES = 3300


class NotCompiled(Exception):
    """The compiler or the linker refuses the mutant."""


class Workshop:
    def __init__(self, root, folder):
        self.root = pathlib.Path(root)
        self.folder = pathlib.Path(folder)
        self.source = self.folder / "source"
        self.build_folder = self.folder / "build"
        self.environment = {
            **os.environ, "CCACHE_BASEDIR": str(self.folder), "CCACHE_NOHASHDIR": "1",
            "CCACHE_COMPILERCHECK": "content", "CCACHE_DEPEND": "1",
            "PYTHONDONTWRITEBYTECODE": "1"}
        self.process = None
        self.objects = None
        self.plain_objects = {}
        self.limits_s = dict.fromkeys(PROGRAMS, 3600)
        self.plain_system = {}

    # the copy

    def prepare(self):
        """Brings the copy up to date and builds it without a mutant."""
        self.copy_sources()
        if not (self.build_folder / "build.ninja").exists():
            subprocess.run(
                ["cmake", "-G", "Ninja", "-S", self.source, "-B", self.build_folder,
                 "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=", "-DCMAKE_CXX_FLAGS=-O0 -w",
                 "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld", "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache",
                 "-DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON", "-DRUVO_BUILD_CTL=OFF", "-DRUVO_BUILD_TESTS=ON"],
                check=True, stdout=subprocess.DEVNULL, env=self.environment)
        self.build(*TARGETS, limit_s=7200)
        self.plain = {stage: self.digest(stage) for stage in PROGRAMS}
        self.plain_daemon().parent.mkdir(exist_ok=True)
        shutil.copy(self.program("system"), self.plain_daemon())

    def copy_sources(self):
        listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                                cwd=self.root, check=True, capture_output=True).stdout
        names = {name for name in listed.decode().split("\0") if name and (self.root / name).is_file()}
        for old in self.source.rglob("*"):
            if not old.is_dir() and str(old.relative_to(self.source)) not in names:
                old.unlink()
        for name in sorted(names):
            there = self.source / name
            if not there.exists() or there.read_bytes() != (self.root / name).read_bytes():
                there.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(self.root / name, there)

    def check_plain(self):
        """The first failure of the sources without a mutant; sets the time limits."""
        for stage, run in (("unit", self.unit_tests), ("world", self.world_tests), ("model", self.model)):
            begin = time.monotonic()
            found = run("core/log.h")
            if found:
                return found
            self.limits_s[stage] = max(LEAST_LIMIT_S, PATIENCE * (time.monotonic() - begin))
        return None

    def build(self, *targets, limit_s=COMPILE_S):
        status, output = self.run(["ninja", "-j1", "-C", self.build_folder, *targets], limit_s)
        if status != 0:
            raise NotCompiled(output)

    def run(self, command, limit_s, folder=None):
        """The status and the output of a command; no status for one that is over its time."""
        # A run in the background ignores signals that the tests need.
        words = ["env", "--default-signal", *(str(word) for word in command)]
        with subprocess.Popen(words, cwd=folder or self.folder, env=self.environment,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              start_new_session=True) as self.process:
            try:
                output, _ = self.process.communicate(timeout=limit_s)
                return self.process.returncode, output.decode(errors="replace")
            except subprocess.TimeoutExpired:
                self.stop()
                self.process.communicate()
                return None, ""

    def stop(self):
        """Ends what runs; a private world ends with the process that made it."""
        if self.process and self.process.poll() is None:
            os.killpg(self.process.pid, signal.SIGKILL)

    def program(self, stage):
        return self.build_folder / PROGRAMS[stage]

    def plain_daemon(self):
        # The faults look at its name, and it looks for its library from where it stands.
        return self.build_folder / "plain/ruvotcpd"

    def digest(self, stage):
        return hashlib.sha256(self.program(stage).read_bytes()).hexdigest()

    # a trial

    def try_mutant(self, mutant, stages):
        """What becomes of the mutant: a dictionary with "result", and what tells why."""
        path = self.source / mutant.file
        original = path.read_bytes()
        begin = time.monotonic()
        path.write_bytes(mutant.apply(original))
        try:
            found = self.first_failure(mutant.file, stages)
        except NotCompiled:
            found = {"result": "not compiled"}
        finally:
            path.write_bytes(original)
        return {**found, "seconds": round(time.monotonic() - begin, 1)}

    def first_failure(self, file, stages):
        runs = {"unit": self.unit_tests, "world": self.world_tests, "model": self.model, "system": self.system}
        for stage in stages:
            self.build(PROGRAMS[stage])
            found = runs[stage](file) if self.digest(stage) != self.plain[stage] else None
            if found:
                return {"result": "killed", **found}
            if stage == "world" and self.same_objects(file):
                return {"result": "same object code"}
            if stage == "world" and not self.locks_are_held(file):
                return {"result": "killed", "by": "analysis", "test": "clang's thread-safety analysis"}
        return {"result": "survived"}

    # unit tests

    def unit_tests(self, file):
        return self.own_first("unit", file)

    def world_tests(self, file):
        return self.own_first("world", file)

    def own_first(self, stage, file):
        """First the tests of the source itself, else of its folder, then all of them."""
        own, folder = own_suites(self.source, file)
        return self.google_tests(stage, patterns_of(own or folder)) or self.google_tests(stage, ["*"])

    def google_tests(self, stage, patterns):
        status, output = self.in_world(stage, patterns)
        if status == 0:
            return None
        if status is None:
            return {"by": "time-out", "test": f"{stage} tests"}
        failed = re.search(r"^\[  FAILED  \] ([\w./]+)", output, re.MULTILINE)
        running = re.findall(r"^\[ RUN      \] ([\w./]+)", output, re.MULTILINE)
        test = failed[1] if failed else running[-1] if running else "the program's start"
        # A busy machine fails a test, too, but not again and again.
        if self.in_world(stage, [test])[0] == 0 and self.in_world(stage, patterns)[0] == 0:
            return None
        return {"by": stage, "test": test}

    def in_world(self, stage, patterns):
        return self.run(
            [self.build_folder / "devkit/ruvo-world", "--uptime", "5000", "--keep", self.folder, "--",
             self.program(stage), "--gtest_fail_fast",
             "--gtest_filter=" + ":".join(patterns)], self.limits_s[stage])

    # the second implementation

    def model(self, _):
        status, _ = self.run(
            ["/usr/bin/python3", "-B", "compare.py", "--cases", MODEL_CASES, "--seed", 1, "--",
             self.program("model")], self.limits_s["model"], self.source / "tests/model")
        return None if status == 0 else {"by": "model" if status is not None else "time-out", "test": "compare.py"}

    # system tests

    def system(self, file):
        for name in system_tests(file):
            if self.system_test(name) and self.plain_passes(name):
                failed = self.system_test(name)  # a busy machine fails a test, too
                if failed:
                    return {"by": "system", "test": failed}
        return None

    def plain_passes(self, name):
        if name not in self.plain_system:
            failed = self.system_test(name, self.plain_daemon())
            self.plain_system[name] = not failed
            if failed:
                print(f"not counted, since it fails without a mutant, too: {failed}", flush=True)
        return self.plain_system[name]

    def system_test(self, name, daemon=None):
        """The name of the file's first failing test, else nothing."""
        devkit = self.build_folder / "devkit"
        status, output = self.run(
            ["env", f"RUVO_DAEMON={daemon or self.program('system')}", f"RUVO_DEVKIT_DIR={devkit}",
             f"RUVO_FAULTS_DIR={self.build_folder}/tests/faults",
             devkit / "ruvo-world", "--uptime", "5000", "--keep", self.folder, "--",
             "/usr/bin/python3", "-B", "-m", "pytest", "-q", "-x", "-p", "no:cacheprovider", "--tb=no", "-rfE",
             f"test_{name}.py"], self.limits_s["system"], self.source / "tests/system")
        if status == 0:
            return None
        failed = re.search(r"^(?:FAILED|ERROR) (\S+)", output, re.MULTILINE)
        return failed[1] if failed else f"test_{name}.py"

    # object code

    def same_objects(self, file):
        """Whether an optimising compiler makes the same bytes of all the sources that use the file."""
        units = self.units_of(file)
        return bool(units) and all(self.same_object(unit, command, file) for unit, command in units)

    def same_object(self, unit, command, file):
        changed = self.object_code(unit, command)
        if unit not in self.plain_objects:
            path = self.source / file
            mutated = path.read_bytes()
            path.write_bytes((self.root / file).read_bytes())
            self.plain_objects[unit] = self.object_code(unit, command)
            path.write_bytes(mutated)
        return changed is not None and changed == self.plain_objects[unit]

    def object_code(self, unit, command):
        output = self.folder / "compared.o"
        output.unlink(missing_ok=True)
        status, _ = self.run([*command, "-O2", "-g0", "-c", unit, "-o", output], COMPILE_S, self.build_folder)
        return output.read_bytes() if status == 0 else None

    def locks_are_held(self, file):
        """What scripts/check asks clang: whether guarded values are used under their locks only."""
        for unit, command in self.units_of(file):
            words = ["clang++", *(word for word in command[1:] if not word.lower().startswith("-w"))]
            status, _ = self.run([*words, "-fsyntax-only", "-Wthread-safety", "-Werror", unit], COMPILE_S,
                                 self.build_folder)
            if status != 0:
                return False
        return True

    def units_of(self, file):
        """The daemon's sources that read the file, with their compiler's words."""
        if self.objects is None:
            self.objects = self.dependencies()
        changed = (self.source / file).resolve()
        return [(unit, command) for unit, (command, reads) in self.objects.items() if changed in reads]

    def dependencies(self):
        """Each source of the daemon: its compiler's words, and all the files that it reads."""
        compiled = json.loads((self.build_folder / "compile_commands.json").read_text())
        listed = subprocess.run(["ninja", "-t", "deps"], cwd=self.build_folder, check=True,
                                capture_output=True, text=True).stdout
        reads = {}
        target = None
        for line in listed.splitlines():
            if line.startswith(" "):
                reads[target].add((self.build_folder / line.strip()).resolve())
            elif ": #deps" in line:
                target = line.split(":")[0]
                reads[target] = set()
        found = {}
        for entry in compiled:
            unit = pathlib.Path(entry["file"])
            if unit.is_relative_to(self.source) and unit.relative_to(self.source).parts[0] in FOLDERS:
                words = shlex.split(entry["command"])
                output = words[words.index("-o") + 1]
                command = [word for word in words[: words.index("-o")] if not word.endswith("ccache")]
                found[unit] = (command, reads.get(output, set()))
        return found
