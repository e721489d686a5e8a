#!/usr/bin/env python3
"""Tries every code block of every page (*.md), and the usage in the headers' comments. CONTRIBUTING.md has the rules.

    documents.py SOURCE BUILD COMPILER REPLAYED...

cpp is compiled; cmake is configured, and sh run, against a fresh install; console is for transcripts.bash, and its page
must be among those that this replays. Links to files of the tree must lead somewhere. Both changelogs begin with the
version that CMakeLists.txt has.
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from typing import NamedTuple

SOURCE, BUILD = (pathlib.Path(one).resolve() for one in sys.argv[1:3])
COMPILER, REPLAYED = sys.argv[3], [pathlib.Path(one).resolve() for one in sys.argv[4:]]
HEADERS = list((SOURCE / "include").rglob("*.hpp"))
# What stands in templates/ goes into other projects, and so does the daemon that Buildroot's example is made from.
PAGES = [page for page in SOURCE.rglob("*.md") if page.relative_to(SOURCE).parts[0] not in ("build", ".git", "templates")
         and SOURCE / "packaging/buildroot/package/pumpd/source" not in page.parents]

# What fragments are about without saying so.
PRELUDE = "".join(f"#include <{header.relative_to(SOURCE / 'include')}>\n" for header in HEADERS) + """
#include <unistd.h>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <iostream>
#include <queue>
#include <thread>
using namespace brindle;
using namespace brindle::threads;
using namespace brindle::time;
using namespace brindle::utility;
using namespace std::chrono_literals;
struct Job {};
std::queue<Job> queue;
std::vector<Job> jobs;
pthread_mutex_t mutex, queueMutex;
CondVar arrival;
int unattended;
std::string reportedByDevice;
Job job;
bool alive();
bool parsePort(const std::string& text, int& port);
void run(const Job&);
void work();
"""


class Block(NamedTuple):
    file: pathlib.Path
    number: int  # of its first line
    language: str
    comment: str  # the line before it
    text: str

    def quoted_from(self):
        return re.fullmatch(r"<!-- quoted from (\S+) -->", self.comment)

    def excuse(self):
        return re.fullmatch("<!-- not run: .+ -->", self.comment)

    def is_fragment(self):
        return self.language == "cpp" and "#include" not in self.text and not self.quoted_from() and not self.excuse()


def leads_nowhere(page, link):
    name, _, anchor = link.partition("#")
    target = page.parent / name if name else page
    headings = re.findall(r"(?m)^#+ (.+)$", target.read_text()) if anchor and target.is_file() else []
    anchors = [re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-") for heading in headings]
    return not target.exists() or anchor not in ["", *anchors]


def blocks_and_problems_of_page(page):
    lines, opened, blocks, problems = ["", *page.read_text().splitlines()], 0, [], []
    for number, line in enumerate(lines):
        if line.lstrip().startswith("```"):
            if opened:
                text = "".join(text + "\n" for text in lines[opened + 1:number])
                blocks.append(Block(page, opened + 1, lines[opened].strip("` "), lines[opened - 1].strip(), text))
            opened = 0 if opened else number
        elif not opened:
            links = re.findall(r"\]\(([^):]+)\)", line)
            problems += [f"{page}:{number}: {link} leads nowhere" for link in links if leads_nowhere(page, link)]
            if line.startswith("    ") and not lines[number - 1].strip():
                problems.append(f"{page}:{number}: code without a fence")
    return blocks, problems + [f"{page}:{opened}: this fence is not closed"] * (opened > 0)


def blocks_of_header(header):
    text = header.read_text()
    return [Block(header, text.count("\n", 0, found.start(1)) + 1, "cpp", "", re.sub(r"(?m)^ */// ?", "", found[1]))
            for found in re.finditer(r"/// @code\n(.*?\n) */// @endcode", text, re.S)]


def complaint(*command, **how):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace", **how)
    return "" if done.returncode == 0 else f"fails:\n{done.stdout}"


def compiling(file, text):
    file.write_text(text)
    return complaint(COMPILER, "-std=c++17", "-fsyntax-only", "-Wall", "-Wextra", "-Werror", "-Wno-unused",
                     f"-I{SOURCE / 'include'}", file)


def compiling_together(fragments, file):
    text = PRELUDE
    for index, block in enumerate(fragments):
        inside = "{}" if "int main(" in block.text else "int block()\n{{\n{}return 0;\n}}\n"
        text += f"namespace block_{index} {{\n" + inside.format(f'#line {block.number} "{block.file}"\n{block.text}') + "}\n"
    return compiling(file, text)


def what_is_gone(commands):
    """Of the scripts and presets that commands name."""
    presets = (SOURCE / "CMakePresets.json").read_text()
    gone = [name for name in re.findall(r"\bscript/[\w-]+", commands) if not (SOURCE / name).exists()]
    gone += [name for name in re.findall(r"--preset (\w+)", commands) if f'"name": "{name}"' not in presets]
    return f"there is no {gone[0]}" if gone else ""


def problem(block, prefix, directory):
    """What is wrong with a block; empty if nothing is."""
    if block.language not in ("cpp", "cmake", "sh", "console", "mermaid", "ini", "text"):
        return f"nothing is known of the language '{block.language}'"
    if block.quoted_from():
        name = block.quoted_from()[1]
        return "" if block.text in (SOURCE / name).read_text() else f"{name} does not hold this"
    if block.excuse():
        return what_is_gone(block.text)
    if block.language == "mermaid":  # script/docs draws it
        return ""
    if block.language == "console":
        return "" if block.file in REPLAYED else "tests/CMakeLists.txt does not have this page's transcripts replayed"
    directory.mkdir()
    (directory / "program.cpp").write_bytes((SOURCE / "examples/minimal.cpp").read_bytes())
    if block.language == "cpp":
        return compiling(directory / "block.cpp", f'#line {block.number} "{block.file}"\n{block.text}')
    if block.language == "cmake":
        (directory / "brindle").symlink_to(SOURCE)
        (directory / "CMakeLists.txt").write_text("cmake_minimum_required(VERSION 3.25)\nproject(block LANGUAGES CXX)\n"
                                                  "add_executable(program program.cpp)\n" + block.text)
        return complaint("cmake", "-G", "Ninja", "-S", directory, "-B", directory / "build",
                         f"-DCMAKE_CXX_COMPILER={COMPILER}", f"-DCMAKE_PREFIX_PATH={prefix}")
    if block.language == "sh":
        library, module = (next(prefix.rglob(name)).parent for name in ("libbrindle.so", "brindle.pc"))
        return complaint("bash", "-euo", "pipefail", "-c", block.text, cwd=directory,
                         env={**os.environ, "PKG_CONFIG_PATH": str(module), "LD_LIBRARY_PATH": str(library)})
    return "nothing can try this, so it needs <!-- quoted from FILE --> or <!-- not run: WHY --> before it"


def other_versions():
    version = re.search(r"(?m)^ +VERSION (\S+)$", (SOURCE / "CMakeLists.txt").read_text())[1]
    newest = {"CHANGELOG.md": r"(?m)^## \[([0-9.]+)\]", "debian/changelog": r"^brindle \((.+)\) "}
    found = {name: re.search(form, (SOURCE / name).read_text())[1] for name, form in newest.items()}
    return [f"{name} has version {one}, CMakeLists.txt has {version}" for name, one in found.items() if one != version]


def main():
    blocks, problems = [block for header in HEADERS for block in blocks_of_header(header)], []
    problems += other_versions()
    for page in PAGES:
        more, wrong = blocks_and_problems_of_page(page)
        blocks += more
        problems += wrong
    whole = [block for block in blocks if not block.is_fragment()]
    with tempfile.TemporaryDirectory() as name, ThreadPoolExecutor(os.cpu_count()) as pool:
        scratch = pathlib.Path(name)
        subprocess.run(["cmake", "--install", BUILD, "--prefix", scratch / "prefix"], check=True, stdout=subprocess.DEVNULL)
        fragments = pool.submit(compiling_together, [block for block in blocks if block.is_fragment()], scratch / "all.cpp")
        found = pool.map(lambda block: problem(block, scratch / "prefix", scratch / f"{id(block)}"), whole)
        problems += [f"{block.file}:{block.number}: {what}" for block, what in zip(whole, found) if what]
        problems += [fragments.result()] * (fragments.result() != "")
    print(f"{len(blocks)} blocks in {len(PAGES)} pages and the headers, {len(problems)} problems", *problems, sep="\n")
    sys.exit(1 if problems or not whole else 0)


main()
