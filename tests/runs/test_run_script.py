"""scripts/run builds where a compiler and cmake are, installs what is missing where it may, or names it in one line.

Each test has a copy of the scripts and a PATH of its own, in which cmake, the tool that it builds, dpkg-query and apt-get
are stubs that record how they are called.
"""
import os
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

project = Path(__file__).resolve().parent.parent.parent

COREUTILS = ("dirname", "find", "getconf", "head", "id", "mkdir", "mv", "sh", "env", "grep", "touch", "cat", "chmod")
RECORD = 'echo "${0##*/} $*" >>"$RECORDS"\n'
CMAKE = RECORD + """case $1 in
--preset) mkdir -p build/release && touch build/release/build.ninja ;;
--build)
  [ -z "${FAILING-}" ] || { echo "broken source"; exit 1; }
  printf '#!/bin/sh\\necho "converted $*"\\n' >build/release/tqldif2v6
  chmod +x build/release/tqldif2v6 ;;
esac
"""
APT_GET = RECORD + """case " $* " in
*" install "*) for program in $INSTALLS; do printf '%s' "$STUB" >"$STUBS/$program"; chmod +x "$STUBS/$program"; done ;;
esac
"""


class RunScript(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = Path(scratch.name)
        self.copy = self.folder / "project"
        self.stubs = self.folder / "stubs"
        self.records = self.folder / "records"
        self.stubs.mkdir()
        (self.copy / "src").mkdir(parents=True)
        shutil.copytree(project / "scripts", self.copy / "scripts")
        for name in ("CMakeLists.txt", "CMakePresets.json", "src/main.cpp"):
            (self.copy / name).touch()
            os.utime(self.copy / name, (1, 1))
        os.utime(self.copy / "src", (1, 1))
        for name in COREUTILS:
            (self.stubs / name).symlink_to(shutil.which(name))

    def stub(self, name, text=RECORD):
        (self.stubs / name).write_text("#!/bin/sh\n" + text)
        (self.stubs / name).chmod(0o755)

    def build_tools(self, *names):
        for name in names:
            self.stub(name, CMAKE if name == "cmake" else RECORD)

    def run_script(self, **settings):
        """Returns the exit status, the output, the lines on standard error, and the calls."""
        self.records.write_text("")
        environment = {"PATH": str(self.stubs), "RECORDS": str(self.records), "STUBS": str(self.stubs)} | settings
        run = subprocess.run([self.copy / "scripts" / "run", "in", "out", "1", "1"], env=environment,
                             capture_output=True, text=True, check=False)
        return run.returncode, run.stdout, run.stderr.splitlines(), self.records.read_text().splitlines()

    def test_builds_without_packages_where_the_tools_are(self):
        self.build_tools("g++", "cmake", "ninja")
        status, output, lines, calls = self.run_script()
        self.assertEqual((status, output), (0, "converted in out 1 1\n"))
        self.assertEqual(lines, ["scripts/run: step 1 of 2: configuring the build",
                                 "scripts/run: step 2 of 2: building the tool, which takes a minute or two the first "
                                 "time"])
        self.assertEqual(calls, ["cmake --preset release -DTQLDIF2V6_TESTS=OFF",
                                 "cmake --build --preset release --target tqldif2v6"])

    def test_says_and_calls_nothing_when_there_is_nothing_to_do(self):
        self.build_tools("c++", "cmake", "ninja")
        self.run_script()
        self.assertEqual(self.run_script(), (0, "converted in out 1 1\n", [], []))

    def test_builds_again_what_has_changed(self):
        self.build_tools("c++", "cmake", "ninja")
        self.run_script()
        os.utime(self.copy / "src" / "main.cpp")
        status, _, lines, calls = self.run_script()
        self.assertEqual((status, len(lines), calls), (0, 1, ["cmake --build --preset release --target tqldif2v6"]))

    def test_takes_make_where_ninja_is_missing(self):
        self.build_tools("clang++", "cmake", "make")
        _, _, _, calls = self.run_script()
        self.assertEqual(calls[0], "cmake --preset release -DTQLDIF2V6_TESTS=OFF -G Unix Makefiles")

    def test_names_in_one_line_what_is_missing_where_there_are_no_packages(self):
        status, output, lines, calls = self.run_script()
        self.assertEqual((status, output, calls), (1, "", []))
        self.assertEqual(lines, ["scripts/run: this system lacks a C++ compiler, cmake, ninja or make: install that and "
                                 "try again"])

    def test_names_the_command_where_it_may_not_install(self):
        self.build_tools("cmake", "ninja")
        self.stub("dpkg-query", "exit 1")
        self.stub("apt-get")
        (self.stubs / "id").unlink()
        self.stub("id", "echo 1000")
        status, _, lines, calls = self.run_script()
        self.assertEqual((status, calls), (1, []))
        self.assertEqual(lines, ["Debian packages are missing. Install them as root and try again: apt-get install g++"])

    def test_installs_what_is_missing_and_nothing_else(self):
        self.build_tools("cmake", "ninja")
        self.stub("dpkg-query", RECORD + "exit 1")
        self.stub("apt-get", APT_GET + "echo noise\n")
        (self.stubs / "id").unlink()
        self.stub("id", "echo 0")
        status, output, lines, calls = self.run_script(INSTALLS="g++", STUB="#!/bin/sh\n")
        self.assertEqual((status, output), (0, "converted in out 1 1\n"))
        self.assertEqual([call for call in calls if call.startswith("apt-get")],
                         ["apt-get -q update", "apt-get -q install -y --no-install-recommends g++"])
        self.assertEqual(lines[0], "Installing the missing Debian packages: g++")
        self.assertEqual(len(lines), 3)

    def test_tells_why_a_build_fails_and_converts_nothing(self):
        self.build_tools("c++", "cmake", "ninja")
        status, output, lines, _ = self.run_script(FAILING="1")
        self.assertEqual((status, output, lines[-1]), (1, "", "broken source"))
        self.assertEqual(self.run_script()[0], 0)


if __name__ == "__main__":
    unittest.main()
