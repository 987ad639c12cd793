#!/usr/bin/env python3
"""Changes the code on purpose, one place at a time, and sees whether the tests notice.

    mutants.py TREE BUILD [--count N] [--seed N] [--jobs N] [--only TEXT]

TREE is the project, which is never changed: each job works on a copy below BUILD. A mutant that compiles meets the tests
that noticed others of its file, then the quick tests, then the slow ones, and the days and power cuts when it is in code that
they are about. What survives is printed, to be mended in the tests or to be recognised as code that means the same.
"""

import argparse
import collections
import os
import queue
import random
import re
import resource
import shutil
import subprocess
import sys
import threading

# The libraries' code; neither the platform of another system nor the headers that only declare.
FILES = re.compile(r"^(Platform/(?!Console|SystemWindows)\w+\.cpp"
                   r"|(MeterUtil|MeterDatabase)/(?!MeterIniFile\.h|MeterDatabase\.h)\w+\.(cpp|h))$")
DAYS = "PowerCut*:*WorkingDay*"
ABOUT_DAYS = re.compile(r"Platform/|MeterUtil/Ini|MeterDatabase/RawData")
SLOW = "*Model*:*Property*:*/MillionEmptyLines:*/ManySections*:*Speed*:*PlainDoubleArithmetic:*EveryCharacter*"
SECONDS = 40  # of the processor for the quick tests, and ten times that for the others; what hangs is noticed
MEMORY = 4 << 30
LAST_TEST = re.compile(r".*\[ RUN      \] ([^\n]*)", re.DOTALL)

# What is changed into what. The text around is that of clang-format: operators stand between blanks.
CHANGES = [(re.compile(pattern), new) for pattern, new in [
    (r" < ", " <= "), (r" <= ", " < "), (r" > ", " >= "), (r" >= ", " > "),
    (r" == ", " != "), (r" != ", " == "), (r" && ", " || "), (r" \|\| ", " && "),
    (r" \+ ", " - "), (r" - ", " + "), (r" \+ 1\b", ""), (r" - 1\b", ""),
    (r" \+= ", " -= "), (r" -= ", " += "), (r"\+\+", "--"), (r"(?<!-)--(?!-)", "++"),
    (r"\breturn true;", "return false;"), (r"\breturn false;", "return true;"),
    (r"\bif \(!", "if ("), (r"\bif \((?!!)", "if (!("), (r"\bcontinue;", "break;"), (r"\bbreak;", "continue;"),
    (r"(?<![\w.\"'])(\d+)(?![\w.\"'])", "+1"),
    (r"^\s+[\w.>-]+(\[[^]]*\])? = .*;$", "nothing"), (r"^\s+[\w:.>-]+\(.*\);$", "nothing"),
]]


def code_lines(text):
    """Numbers of the lines that can be changed: no comments, includes, declarations of templates or of constants."""
    for number, line in enumerate(text.split("\n")):
        plain = line.strip()
        if not plain.startswith(("//", "#", "template", "constexpr", "using", "namespace", "static_assert")):
            yield number, line


def inside_text(line, position):
    """Whether a place of a line is part of a string, a character or a comment."""
    quoted = re.sub(r"\\.", "..", line[:position])
    return quoted.count('"') % 2 == 1 or quoted.count("'") % 2 == 1 or "//" in quoted


def mutants_of(path, text):
    for number, line in code_lines(text):
        for pattern, new in CHANGES:
            for found in pattern.finditer(line):
                if inside_text(line, found.start()):
                    continue
                if new == "+1":
                    changed = line[:found.start()] + str(int(found[0]) + 1) + line[found.end():]
                elif new == "nothing":
                    changed = ""
                elif new == "if (!(":
                    end = line.rfind(")")
                    if line.count("(") != line.count(")"):
                        continue
                    changed = line[:found.start()] + new + line[found.end():end] + ")" + line[end:]
                else:
                    changed = line[:found.start()] + new + line[found.end():]
                yield path, number, line, changed


class Job(threading.Thread):
    def __init__(self, tree, folder, work, results):
        super().__init__()
        self.tree, self.folder, self.work, self.results = tree, folder, work, results
        self.scratch = os.path.join(os.environ.get("TMPDIR", "/tmp"), f"mutants-{os.getpid()}-{os.path.basename(folder)}")
        self.noticed_by = {}  # by the name of a file: the tests that noticed its mutants, the latest first

    def run(self):
        self.copy()
        while True:
            try:
                mutant = self.work.get_nowait()
            except queue.Empty:
                return
            self.results.put((mutant, self.verdict(*mutant)))

    def command(self, *words):
        return subprocess.run(words, cwd=self.folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0

    def copy(self):
        names = subprocess.check_output(["git", "ls-files"], cwd=self.tree, text=True).split("\n")
        for name in filter(None, names):
            target = os.path.join(self.folder, name)
            os.makedirs(os.path.dirname(target), exist_ok=True)
            source = os.path.join(self.tree, name)
            if not os.path.exists(target) or open(target, "rb").read() != open(source, "rb").read():
                shutil.copyfile(source, target)
        if not (self.command("cmake", "-S", ".", "-B", "build", "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                             "-DCMAKE_CXX_FLAGS_DEBUG=-O1", "-DMETERDB_TERMINAL=OFF", "-DMETERDB_INSTALL=OFF",
                             "-DMETERDB_WARNINGS_AS_ERRORS=OFF") and self.build() and self.failing(f"-{SLOW}:{DAYS}") is None):
            print("the tests do not pass without a mutant", file=sys.stderr, flush=True)
            os._exit(1)  # all jobs

    def build(self):
        return self.command("ninja", "-C", "build", "-j1", "meterdb_tests")

    def failing(self, chosen, seconds=SECONDS):
        """The test that fails, crashes or hangs, or None."""
        def limited():
            resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds))
            resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        os.makedirs(self.scratch, exist_ok=True)
        environment = dict(os.environ, TMPDIR=self.scratch, GTEST_FAIL_FAST="1", GTEST_CATCH_EXCEPTIONS="0")
        log = os.path.join(self.folder, "tests.log")
        try:
            with open(log, "wb") as output:
                code = subprocess.run(["build/tests/meterdb_tests", "--gtest_filter=" + chosen], cwd=self.folder,
                                      env=environment, stdout=output, stderr=subprocess.DEVNULL, preexec_fn=limited,
                                      timeout=5 * seconds).returncode
        except subprocess.TimeoutExpired:
            code = 1
        finally:
            shutil.rmtree(self.scratch, ignore_errors=True)
        if code == 0:
            return None
        with open(log, encoding="utf-8", errors="replace") as output:
            last = LAST_TEST.match(output.read())
        return last[1] if last else ""

    def passes(self, path):
        known = self.noticed_by.setdefault(path, [])
        test = self.failing(":".join(known)) if known else None
        if test is None:
            test = self.failing(f"-{SLOW}:{DAYS}")
        if test is None:
            test = self.failing(f"{SLOW}:{DAYS}" if ABOUT_DAYS.match(path) else SLOW, 10 * SECONDS)
        if test:
            known[:] = [test] + [name for name in known if name != test]
        return test is None

    def verdict(self, path, number, _, changed):
        name = os.path.join(self.folder, path)
        with open(name, encoding="utf-8") as file:
            text = file.read()
        lines = text.split("\n")
        lines[number] = changed
        try:
            with open(name, "w", encoding="utf-8") as file:
                file.write("\n".join(lines))
            if not self.build():
                return "no program"
            return "survives" if self.passes(path) else "noticed"
        finally:
            with open(name, "w", encoding="utf-8") as file:
                file.write(text)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("tree")
    parser.add_argument("build")
    parser.add_argument("--count", type=int, default=200, help="mutants to try")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--only", default="", help="regular expression of the files to change")
    options = parser.parse_args()

    every = []
    for name in subprocess.check_output(["git", "ls-files"], cwd=options.tree, text=True).split("\n"):
        if FILES.match(name) and re.search(options.only, name):
            with open(os.path.join(options.tree, name), encoding="utf-8") as file:
                every.extend(mutants_of(name, file.read()))
    chosen = random.Random(options.seed).sample(every, min(options.count, len(every)))
    work, results = queue.Queue(), queue.Queue()
    for mutant in sorted(chosen, key=lambda mutant: mutant[:2]):  # so that one file is compiled for a mutant, not two
        work.put(mutant)
    jobs = [Job(options.tree, os.path.join(options.build, f"tree{n}"), work, results) for n in range(options.jobs)]
    for job in jobs:
        job.start()

    counts, units = collections.Counter(), {}
    while any(job.is_alive() for job in jobs) or not results.empty():
        try:
            (path, number, line, changed), verdict = results.get(timeout=1)
        except queue.Empty:
            continue
        counts[verdict] += 1
        units.setdefault(path, collections.Counter())[verdict] += 1
        print(f"{sum(counts.values())} of {len(chosen)}: {path}:{number + 1} {verdict}", file=sys.stderr, flush=True)
        if verdict == "survives":
            print(f"{path}:{number + 1}\n  - {line.strip()}\n  + {changed.strip()}", flush=True)
    for path, verdicts in sorted(units.items()):
        print(f"{path}: {verdicts['noticed']} noticed, {verdicts['survives']} survive")
    tried = counts["noticed"] + counts["survives"]
    print(f"{tried} mutants of {len(every)} tried: {counts['noticed']} noticed, {counts['survives']} survive "
          f"({counts['no program']} more did not compile)")


main()
