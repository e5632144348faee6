"""What the documents show is true: their commands work, their examples convert as shown, what they name exists.

Installs what is built beside the tool into a scratch folder, to read the documents as they are installed.

usage: test_documents.py TOOL
"""
import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

project = Path(__file__).resolve().parent.parent.parent
documents = [project / name for name in ("README.md", "CONTRIBUTING.md", "CHANGELOG.md", "examples/README.md",
                                         "docs/architecture.md", "docs/work-file-format.md", "docs/migration.md",
                                         "tests/fuzz/README.md", "tests/companions/README.md",
                                         "tests/golden/README.md")]
tool = None


def indented_blocks(document):
    """The blocks of a document that are indented by four blanks, without the indentation."""
    text = document.read_text(encoding="utf-8")
    return [re.sub(r"^    ", "", block, flags=re.MULTILINE)
            for block in re.findall(r"(?:^    .*\n|^\n(?=    ))+", text, re.MULTILINE)]


class Readme(unittest.TestCase):
    blocks = indented_blocks(project / "README.md")

    def test_its_command_converts_the_example(self):
        command = next(block for block in self.blocks if "scripts/run" in block)
        output = Path(command.split()[2])
        self.addCleanup(output.unlink, missing_ok=True)
        subprocess.run(["sh", "-e", "-c", command], cwd=project, check=True, stdout=subprocess.DEVNULL)
        self.assertEqual(output.read_bytes(), (project / "examples" / "registry-export-v6.ldif").read_bytes())

    def test_the_user_it_shows_is_converted_as_it_shows(self):
        before, after = [block for block in self.blocks if "dn: " in block]
        with tempfile.TemporaryDirectory() as folder:
            (Path(folder) / "input.ldif").write_text(before + "\n")
            subprocess.run([project / "scripts" / "run", "input.ldif", "output.ldif", "1", "1"], cwd=folder, check=True,
                           stdout=subprocess.DEVNULL)
            self.assertEqual((Path(folder) / "output.ldif").read_text().strip(), after.strip())

    def test_it_shows_the_command_line_of_the_usage(self):
        usage = (project / "src" / "platform" / "message_catalogue.cpp").read_text()
        command = next(block for block in self.blocks if block.strip().startswith("tqldif2v6 "))
        self.assertIn(f"usage: {command.strip()}", usage)


class Installed(unittest.TestCase):
    """The documents as they are installed, where there are no sources."""

    @classmethod
    def setUpClass(cls):
        scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(scratch.cleanup)
        cls.root = Path(scratch.name)
        subprocess.run(["cmake", "--install", tool.parent], check=True, stdout=subprocess.DEVNULL,
                       env=os.environ | {"DESTDIR": scratch.name})
        cls.guide = next(cls.root.rglob("migration.md"))
        cls.manuals = list(cls.root.rglob("man1/*.1"))
        cls.documents = [*cls.guide.parent.rglob("*.md"), *cls.manuals]

    def test_they_name_no_file_of_the_sources(self):
        self.assertIn(self.guide.parent / "examples" / "README.md", self.documents)
        for document in self.documents:
            with self.subTest(document.name):
                named = re.findall(r"\b(?:scripts|tests|src|bench|docs|packaging)/\S*|\b(?:README|CONTRIBUTING)\.md",
                                   document.read_text(encoding="utf-8"))
                self.assertEqual(named, [])

    def test_they_link_only_to_what_is_installed(self):
        for document in self.documents:
            for target in re.findall(r"\]\(([^)#:]+)\)", document.read_text(encoding="utf-8")):
                with self.subTest(document=document.name, target=target):
                    self.assertTrue((document.parent / target).exists())

    def test_each_manual_page_tells_where_the_guide_is(self):
        self.assertIn("tqldif2v6.1", [page.name for page in self.manuals])
        place = "/" + str(self.guide.relative_to(self.root))
        for page in self.manuals:
            with self.subTest(page.name):
                self.assertIn(f".Pa {place} ", page.read_text())

    def test_the_commands_of_the_examples_find_no_difference(self):
        folder = self.guide.parent / "examples"
        command = next(block for block in indented_blocks(folder / "README.md") if "tqldif2v6 " in block)
        subprocess.run(["sh", "-e", "-c", command], cwd=folder, check=True, stdout=subprocess.DEVNULL,
                       env=os.environ | {"PATH": f"{tool.parent}:{os.environ['PATH']}", "TMPDIR": str(self.root)})


class Documents(unittest.TestCase):
    def test_name_only_what_exists(self):
        paths = r"(?:scripts|tests|src|bench|docs|packaging|catalogues|examples)/[\w./-]*\w"
        for document in documents:
            for path in re.findall(rf"(?<![\w/$])({paths})", document.read_text(encoding="utf-8")):
                with self.subTest(document=document.name, path=path):
                    self.assertTrue((project / path).exists() or (document.parent / path).exists())

    def test_link_only_to_what_exists(self):
        for document in documents:
            for target in re.findall(r"\]\(([^)#:]+)\)", document.read_text(encoding="utf-8")):
                with self.subTest(document=document.name, target=target):
                    self.assertTrue((document.parent / target).exists())

    def test_scripts_can_be_run(self):
        for name in ("scripts/run", "scripts/test", "scripts/lint", "scripts/coverage", "scripts/require-packages",
                     "bench/measure.py", "packaging/test-package", "packaging/test-rpm", "packaging/make-tarball",
                     "tests/golden/run_golden.py", "tests/model/differential.py", "tests/mutants/plant.py",
                     "tests/faults/under_valgrind.py"):
            with self.subTest(script=name):
                self.assertTrue(os.access(project / name, os.X_OK))


class GoldenRuns(unittest.TestCase):
    def test_every_chapter_is_described(self):
        golden = project / "tests" / "golden"
        described = re.findall(r"^\| \[([\w-]+)\]", (golden / "README.md").read_text(), re.MULTILINE)
        self.assertEqual(sorted(described), sorted(path.name for path in golden.glob("[a-z]*") if path.is_dir()))


class Migration(unittest.TestCase):
    def test_it_tells_of_every_finding_of_the_check(self):
        findings = re.findall(r'^    \{"([\w-]+)"', (project / "src" / "survey" / "findings.cpp").read_text(), re.MULTILINE)
        self.assertGreater(len(findings), 40)
        told = re.findall(r"`([\w-]+)`", (project / "docs" / "migration.md").read_text())
        self.assertEqual([finding for finding in findings if finding not in told], [])


class Contributing(unittest.TestCase):
    def test_it_names_the_files_with_placeholders(self):
        section = re.search(r"^## Placeholders$(.*?)^## ", (project / "CONTRIBUTING.md").read_text(),
                            re.MULTILINE | re.DOTALL).group(1)
        placeholder, *named = re.findall(r"`(.*?)`", section)
        folders = ("bench", "catalogues", "debian", "docs", "examples", "packaging", "src")
        files = [path for folder in folders for path in (project / folder).rglob("*") if path.is_file()]
        files += [project / name for name in ("CMakeLists.txt", "README.md", "CHANGELOG.md", "LICENSE")]
        found = [str(path.relative_to(project)) for path in files if placeholder.encode() in path.read_bytes()]
        # A release's tarball has no debian/.
        self.assertEqual(sorted(found), sorted(name for name in named if (project / name).exists()))

    commands = re.findall(r"`([^`]+)` *\|$|`([^`]+)`;", (project / "CONTRIBUTING.md").read_text(), re.MULTILINE)

    def test_its_scripts_know_their_options(self):
        """The commands themselves build, test or measure for minutes; their options are tried here."""
        for command in (first or second for first, second in self.commands):
            words = command.split()
            if not words[0].endswith(".py") or "faults" in words[0]:
                continue
            with self.subTest(command=command):
                usage = subprocess.run([project / words[0], "--help"], capture_output=True, text=True, check=True).stdout
                for option in (word for word in words[1:] if word.startswith("--")):
                    self.assertIn(option, usage)


if __name__ == "__main__":
    if len(sys.argv) < 2 or sys.argv[1].startswith("-"):
        sys.exit(__doc__)
    tool = Path(sys.argv.pop(1)).resolve()
    unittest.main()
