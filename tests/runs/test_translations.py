"""Messages in another language: what a catalogue gives is used, text by text, when it takes the same arguments.

usage: test_translations.py TOOL   (needs gencat)
"""
import os
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


def values(text):
    return sorted(re.findall(r"\{\d+\}", text))


def texts_of(catalogue):
    """The texts of a catalogue's source, by the numbers of their set and of their own."""
    texts = {}
    for line in catalogue.splitlines():
        if line.startswith("$set "):
            number_of_set = int(line.split()[1])
        text = re.fullmatch(r'(\d+) "(.*)"', line)
        if text:
            texts[number_of_set, int(text[1])] = text[2]
    return texts


def embedded_texts():
    """The same of the texts that the tool brings along, as its source writes them: in pieces, some of them by name."""
    source = (project / "src" / "platform" / "message_catalogue.cpp").read_text(encoding="utf-8")
    messages = re.findall(r"\{3809283\d\d, \w+, \w+,([^{}]*(?:\{\d+\}[^{}]*)*)\}", source)
    details = re.search(r"detailTexts\[\] = \{\n(.*?)\n\};", source, re.DOTALL)[1]
    details = re.split(r",\n+ +(?=\")", details)
    return ({(1, number): text for number, text in enumerate(messages, 1)}
            | {(2, number): text for number, text in enumerate(details) if number > 0})


class Translation(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = Path(scratch.name)

    def messages(self, catalogue, *arguments, locale="C"):
        """Compiles the catalogue's source, runs the tool with it and returns its messages by code."""
        (self.folder / "source.msg").write_text(catalogue, encoding="utf-8")
        # As on a machine on which no language is set.
        subprocess.run(["gencat", "tqldif2v6.cat", "source.msg"], cwd=self.folder, check=True,
                       env={"PATH": os.environ["PATH"], "LC_ALL": "C"})
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
        messages = self.convert_nothing(german)
        self.assertEqual(messages[380928309],
                         "tqldif2v6: 380928309 NOTICE: Die Einträge der Eingabe werden auf Ausgabe und Arbeitsdatei "
                         "verteilt. Eine Arbeitsdatei eines früheren Laufs ist nicht vorhanden.")
        self.assertEqual(messages[380928315],
                         "tqldif2v6: 380928315 NOTICE: Die Umwandlung ist abgeschlossen. Geschrieben: Benutzer 0, "
                         "Gruppen 0, Richtlinien 0, Zugangsdaten 0, unverändert kopierte Einträge 0. Nicht geschrieben: "
                         "Richtliniendaten 0.")

    def test_german_failures_are_shown(self):
        german = (project / "catalogues" / "de.msg").read_text(encoding="utf-8")
        (self.folder / "input.ldif").write_text("\ndn: secAuthority=Default,cn=a\nobjectClass: secUser\n"
                                                "secAuthority: Default\nprincipalName: a\n")
        messages = self.messages(german, "input.ldif", "output.ldif", "1", "1")
        self.assertEqual(messages[380928302],
                         "tqldif2v6: 380928302 ERROR: Dem Benutzer secAuthority=Default,cn=a (Zeile 2) fehlt der Eintrag "
                         "secMap; die Umwandlung ist abgebrochen. Ergänzen Sie diesen Eintrag oder entfernen Sie den "
                         "Benutzer.")

    def test_missing_texts_are_shown_in_english(self):
        messages = self.convert_nothing("$set 1\n9 Los.\n")
        self.assertEqual(messages[380928308], "tqldif2v6: 380928308 NOTICE: Los.")
        self.assertEqual(messages[380928315], "tqldif2v6: 380928315 NOTICE: The conversion is complete. Written: users 0, groups 0, policies 0, "
                         "resource credentials 0, entries copied as they were 0. Not written: policy data 0.")

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

    def test_every_catalogue_translates_every_text_with_its_arguments_and_values(self):
        embedded = embedded_texts()
        self.assertEqual([sum(number_of_set == one for one, _ in embedded) for number_of_set in (1, 2)], [16, 35])
        for path in sorted((project / "catalogues").glob("*.msg")):
            texts = texts_of(path.read_text(encoding="utf-8"))
            self.assertEqual(texts.keys(), embedded.keys(), path.name)
            for number, text in texts.items():
                with self.subTest(catalogue=path.name, number=number):
                    self.assertEqual(conversions(text), conversions(embedded[number]))
                    self.assertEqual(values(text), values(embedded[number]))


if __name__ == "__main__":
    tool = str(Path(sys.argv.pop(1)).resolve())
    unittest.main()
