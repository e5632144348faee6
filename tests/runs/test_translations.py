"""Messages in another language: what a catalogue gives is used, text by text, when it takes the same arguments.

usage: test_translations.py TOOL   (needs gencat)
"""
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

project = Path(__file__).resolve().parent.parent.parent
tool = ""


def conversions(text):
    return re.findall(r"%[-+ #0-9.]*([a-z%])", text)


class Translation(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = Path(scratch.name)

    def messages(self, catalogue, *arguments, locale="C"):
        """Compiles the catalogue's source, runs the tool with it and returns its messages by code."""
        (self.folder / "source.msg").write_text(catalogue, encoding="utf-8")
        subprocess.run(["gencat", "tqldif2v6.cat", "source.msg"], cwd=self.folder, check=True)
        run = subprocess.run([tool, *arguments], cwd=self.folder, capture_output=True, text=True, encoding="utf-8",
                             env={"NLSPATH": f"{self.folder}/%N", "LC_ALL": locale}, check=False)
        lines = (run.stdout + run.stderr).splitlines()
        return {int(line.split()[1]): line for line in lines if line.startswith("tqldif2v6: ")}

    def convert_nothing(self, catalogue):
        (self.folder / "input.ldif").write_text("")
        return self.messages(catalogue, "input.ldif", "output.ldif", "1", "1")

    def convert_missing(self, text):
        return self.messages(f"$set 1\n5 {text}\n", "missing", "output.ldif", "1", "1")[380928304]

    def test_german_messages_are_shown(self):
        german = (project / "catalogues" / "de.msg").read_text(encoding="utf-8")
        self.assertEqual(self.convert_nothing(german)[380928315],
                         "tqldif2v6: 380928315 NOTICE: Die Umwandlung ist abgeschlossen.")

    def test_missing_texts_are_shown_in_english(self):
        messages = self.convert_nothing("$set 1\n9 Los.\n")
        self.assertEqual(messages[380928308], "tqldif2v6: 380928308 NOTICE: Los.")
        self.assertEqual(messages[380928315], "tqldif2v6: 380928315 NOTICE: The conversion is complete.")

    def test_texts_with_the_same_arguments_are_used(self):
        for text in ("Datei %s fehlt", "100%% %s", "%1$s", "%-10s"):
            with self.subTest(text=text):
                shown = self.convert_missing(text)
                self.assertNotIn("could not be opened", shown)
                self.assertIn("missing", shown)

    def test_texts_with_other_arguments_are_refused(self):
        for text in ("keine", "%s %s", "%d", "%n", "%*s", "%2$s", "%1$s %s", "%ls", "%", "%10$s", "%s%n"):
            with self.subTest(text=text):
                self.assertEqual(self.convert_missing(text),
                                 "tqldif2v6: 380928304 ERROR: The file missing could not be opened: "
                                 "No such file or directory")

    def test_every_catalogue_takes_the_arguments_of_the_embedded_texts(self):
        source = (project / "src" / "platform" / "message_catalogue.cpp").read_text()
        embedded = re.findall(r"\{3809283\d\d, \w+, \w+,\s*\"((?:[^\"\\]|\\.)*)\"", source)
        self.assertEqual(len(embedded), 16)
        for path in sorted((project / "catalogues").glob("*.msg")):
            texts = dict(re.findall(r'^(\d+) "(.*)"$', path.read_text(encoding="utf-8"), re.MULTILINE))
            for number, text in texts.items():
                with self.subTest(catalogue=path.name, number=number):
                    self.assertEqual(conversions(text), conversions(embedded[int(number) - 1]))


if __name__ == "__main__":
    tool = str(Path(sys.argv.pop(1)).resolve())
    unittest.main()
