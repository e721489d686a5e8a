#!/usr/bin/env python3
"""Runs the tests of a cross build on a whole emulated machine, which has a kernel of its own.

    tests/whole_machine.py BUILD MACHINE
    tests/whole_machine.py --run MACHINE PROGRAM [ARGUMENT...]    only runs a program, with all that lies around its directory

BUILD is the directory of the build. MACHINE is a directory that script/sysroot makes: "root" has a shell, its tools and the
libraries, "start" starts the machine with a first file system. What ctest would start here is started there, from files of
the same names; a test that compiles is started here, and what it has compiled there. What ctest prints at the end is
printed here, and the whole is in BUILD/tests.log.
"""
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import threading
import time

SOURCE = pathlib.Path(__file__).resolve().parent.parent
HERE = re.compile(r"^(shared_library$|package\.)")  # they need the compiler and its tools
SECONDS = 1800  # for all tests

INIT = """#!/bin/sh
mount -t proc proc /proc
mount -t sysfs sys /sys
mount -t devtmpfs dev /dev
ln -s /proc/self/fd /dev/fd
ln -s fd/0 /dev/stdin
ip link set lo up
unset TERM
export PATH=/bin LD_LIBRARY_PATH=/lib
for test in /tests/*; do
    echo "@begin"
    sh "$test" </dev/null 2>&1
    echo "@end $?"
done
echo "@through"
reboot -f
"""


def properties_of(test):
    return {one["name"]: one["value"] for one in test["properties"]}


def script_for(test, build):
    """What the machine's shell does for one test of ctest's: all but the emulator."""
    properties = properties_of(test)
    words = test["command"]
    while not words[0].startswith((build, str(SOURCE))):
        words = words[1:]
    variables = [one for one in properties.get("ENVIRONMENT", []) if not one.startswith(("BRINDLE_EMULATOR=", "LDFLAGS="))]
    variables += [f"{name}={value}" for name, value in os.environ.items() if name == "BRINDLE_STRESS_CHILDREN"]
    for change in properties.get("ENVIRONMENT_MODIFICATION", []):
        name, added = change.split("=path_list_prepend:")
        variables.append(f"{name}={added}:/bin")
    command = ["timeout", f"{properties['TIMEOUT']:.0f}", "env", *variables, *words]
    return f"cd {shlex.quote(properties['WORKING_DIRECTORY'])}\n{shlex.join(command)}\n"


def write_file_system(archive, base, files, scripts):
    with tempfile.TemporaryDirectory() as scratch:
        root = pathlib.Path(scratch, "root")
        shutil.copytree(base, root, symlinks=True)
        for file in files:
            copy = root / str(file).lstrip("/")
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy2(file, copy)
        (root / "init").write_text(INIT)
        (root / "init").chmod(0o755)
        (root / "tests").mkdir()
        for number, script in enumerate(scripts):
            (root / f"tests/{number:03}").write_text(script)
        with archive.open("wb") as out:
            subprocess.run("find . | cpio --quiet -o -H newc", cwd=root, shell=True, check=True, stdout=out)


def outcomes(machine, archive):
    """Starts the machine; gives each test's status, seconds and text."""
    with subprocess.Popen([machine, archive], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True,
                          errors="replace") as process:
        limit = threading.Timer(SECONDS, process.kill)
        limit.start()
        started, said = time.monotonic(), ""
        for line in process.stdout:
            if line.startswith("@through"):
                break
            if line.startswith("@begin"):
                started, said = time.monotonic(), ""
            elif match := re.search(r"@end (\d+)\s*$", line):
                yield int(match[1]), time.monotonic() - started, said + line[:match.start()]
                said = ""
            else:
                said += line
        limit.cancel()
        process.kill()
    yield -1, time.monotonic() - started, said  # of the test at which it came to its end, if there are more


def run(machine, program, *arguments):
    around = pathlib.Path(program).resolve().parent.parent
    with tempfile.TemporaryDirectory() as scratch:
        archive = pathlib.Path(scratch, "files")
        write_file_system(archive, pathlib.Path(machine, "root"), [one for one in around.rglob("*") if one.is_file()],
                          [shlex.join([program, *arguments])])
        (status, _, said), *_ = outcomes(f"{machine}/start", archive)  # to their end, or the machine would go on
    print(said, end="")
    sys.exit(status)


def files_of_tests(build):
    directories = [SOURCE / name for name in ("docs/guides", "examples", "tests/examples")]
    sources = [file for directory in directories for file in directory.rglob("*")]
    built = [file for pattern in ("src/*.so*", "tests/*", "examples/*") for file in pathlib.Path(build).glob(pattern)]
    return [file for file in sources + built if file.is_file()]


def ended_here(test, machine):
    """A test that needs the compiler; the machine runs what it has compiled."""
    properties = properties_of(test)
    variables = dict(one.split("=", 1) for one in properties.get("ENVIRONMENT", []))
    variables["BRINDLE_EMULATOR"] = shlex.join([str(pathlib.Path(__file__).resolve()), "--run", machine])
    return subprocess.run(["timeout", f"{properties['TIMEOUT']:.0f}", *test["command"]], env={**os.environ, **variables},
                          cwd=properties["WORKING_DIRECTORY"], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)


def main():
    build, machine = (str(pathlib.Path(one).resolve()) for one in sys.argv[1:])
    listed = subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"], check=True, stdout=subprocess.PIPE)
    tests = json.loads(listed.stdout)["tests"]
    there = [test for test in tests if not HERE.match(test["name"])]
    passed = 0
    with open(f"{build}/tests.log", "w") as log, tempfile.TemporaryDirectory() as scratch:
        def tell(text):
            print(text, flush=True)
            print(text, file=log, flush=True)

        archive = pathlib.Path(scratch, "files")
        write_file_system(archive, pathlib.Path(machine, "root"), files_of_tests(build),
                          [script_for(test, build) for test in there])
        for (status, seconds, said), test in zip(outcomes(f"{machine}/start", archive), there):
            good = status == 0 and "[  SKIPPED ]" not in said
            passed += good
            tell(f"{test['name']}: {'passed' if good else f'***FAILED with {status}'}, {seconds:.1f} s")
            if not good:
                tell(said)
        for test in tests:
            if HERE.match(test["name"]):
                ended = ended_here(test, machine)
                passed += ended.returncode == 0
                tell(f"{test['name']}, here: {'passed' if ended.returncode == 0 else '***FAILED'}")
                if ended.returncode != 0:
                    tell(ended.stdout)
        failed = len(tests) - passed
        tell(f"{100 * passed // len(tests)}% tests passed, {failed} tests failed out of {len(tests)}")
    sys.exit(1 if failed else 0)


if sys.argv[1:2] == ["--run"]:
    run(*sys.argv[2:])
main()
