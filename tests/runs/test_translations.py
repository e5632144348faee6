"""Messages in another language: what a catalogue gives is used, text by text, when it takes the same arguments, in the
character set of the terminal.

usage: test_translations.py TOOL   (needs gencat, and localedef with its sources, as in Debian's package locales)
"""
import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

project = Path(__file__).resolve().parent.parent.parent
german = (project / "catalogues" / "de.msg").read_text(encoding="utf-8")
tool = ""
locales = ""

UTF8 = "de_DE.UTF-8"
LATIN1 = "de_DE.ISO-8859-1"


def setUpModule():
    """Makes the German locales, which this machine need not have."""
    global locales
    folder = tempfile.TemporaryDirectory()
    unittest.addModuleCleanup(folder.cleanup)
    locales = folder.name
    for name in (UTF8, LATIN1):
        subprocess.run(["localedef", "-i", "de_DE", "-f", name.split(".")[1], f"{locales}/{name}"], check=True)


def conversions(text):
    return re.findall(r"%[-+ #0-9.]*([a-z%])", text)


def values(text):
    return sorted(re.findall(r"\{\d+\}", text))


def texts_of(catalogue):
    """The texts of a catalogue's source, by the numbers of their set and of their own."""
    texts = {}
    for line in catalogue.replace("\\\n", "").splitlines():
        if line.startswith("$set "):
            number_of_set = int(line.split()[1])
        text = re.fullmatch(r'(\d+) "(.*)"', line)
        if text:
            texts[number_of_set, int(text[1])] = text[2]
    return texts


def embedded_texts():
    """The same of the texts that the tool brings along, as its source writes them: in pieces, some of them by name."""
    source = (project / "src" / "platform" / "message_catalogue.cpp").read_text(encoding="utf-8")
    source = re.sub(r"^ *//.*\n", "", source, flags=re.MULTILINE)
    messages = re.findall(r"\{3809283\d\d, \w+, \w+,([^{}]*(?:\{\d+\}[^{}]*)*)\}", source)
    details = re.search(r"detailTexts\[\] = \{\n(.*?)\n\};", source, re.DOTALL)[1]
    details = re.split(r",\n+ +(?=\")", details)
    return ({(1, number): text for number, text in enumerate(messages, 1)}
            | {(2, number): text for number, text in enumerate(details) if number > 0})


def names_of_details():
    """What the texts of the second set are called, by their numbers."""
    header = (project / "src" / "platform" / "detail_texts.h").read_text(encoding="utf-8")
    names = re.findall(r"^  ([A-Z_]+)", header[header.index("enum"):], re.MULTILINE)
    return names[1:names.index("NUMBER_OF_DETAIL_TEXTS")]


class Translation(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = Path(scratch.name)

    def environment(self, locale):
        settings = locale if isinstance(locale, dict) else {"LC_ALL": locale}
        # Where LOCPATH is set, the C library's newlocale does not give all of its memory back.
        return {"NLSPATH": f"{self.folder}/%N", "LOCPATH": locales, "ASAN_OPTIONS": "detect_leaks=0"} | settings

    def output(self, *arguments, locale, catalogue=german):
        """Compiles the catalogue's source, runs the tool with it and returns all the bytes that it shows."""
        (self.folder / "source.msg").write_text(catalogue, encoding="utf-8")
        # As on a machine on which no language is set.
        subprocess.run(["gencat", "tqldif2v6.cat", "source.msg"], cwd=self.folder, check=True,
                       env={"PATH": os.environ["PATH"], "LC_ALL": "C"})
        run = subprocess.run([tool, *arguments], cwd=self.folder, capture_output=True, check=False,
                             env=self.environment(locale))
        return run.stdout + run.stderr

    def messages(self, catalogue, *arguments, locale="C.UTF-8"):
        """The messages by code."""
        lines = self.output(*arguments, locale=locale, catalogue=catalogue).decode().splitlines()
        return {int(line.split()[1]): line for line in lines if line.startswith("tqldif2v6: ")}

    def convert_nothing(self, catalogue, locale="C.UTF-8"):
        (self.folder / "input.ldif").write_text("")
        return self.messages(catalogue, "input.ldif", "output.ldif", "1", "1", locale=locale)

    def convert_missing(self, text):
        return self.messages(f"$set 1\n5 {text}\n", "missing", "output.ldif", "1", "1")[380928304]

    def test_german_messages_are_shown(self):
        messages = self.convert_nothing(german, UTF8)
        self.assertEqual(messages[380928309],
                         "tqldif2v6: 380928309 NOTICE: Die Einträge der Eingabe werden auf Ausgabe und Arbeitsdatei "
                         "verteilt. Eine Arbeitsdatei eines früheren Laufs ist nicht vorhanden.")
        self.assertEqual(messages[380928315],
                         "tqldif2v6: 380928315 NOTICE: Die Umwandlung ist abgeschlossen. Geschrieben: Benutzer 0, "
                         "Gruppen 0, Richtlinien 0, Zugangsdaten 0, unverändert kopierte Einträge 0. Nicht geschrieben: "
                         "Richtliniendaten 0.")

    def test_german_failures_are_shown(self):
        (self.folder / "input.ldif").write_text("\ndn: secAuthority=Default,cn=a\nobjectClass: secUser\n"
                                                "secAuthority: Default\nprincipalName: a\n")
        messages = self.messages(german, "input.ldif", "output.ldif", "1", "1", locale=UTF8)
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
        self.assertEqual([sum(number_of_set == one for one, _ in embedded) for number_of_set in (1, 2)],
                         [16, len(names_of_details())])
        for path in sorted((project / "catalogues").glob("*.msg")):
            texts = texts_of(path.read_text(encoding="utf-8"))
            missing = [name for number, name in enumerate(names_of_details(), 1) if not texts.get((2, number))]
            self.assertEqual(missing, [], path.name)
            self.assertEqual(texts.keys(), embedded.keys(), path.name)
            for number, text in texts.items():
                with self.subTest(catalogue=path.name, number=number):
                    self.assertEqual(conversions(text), conversions(embedded[number]))
                    self.assertEqual(values(text), values(embedded[number]))
                    english = "".join(re.findall(r'"(.*?)(?<!\\)"', embedded[number]))
                    self.assertNotEqual(text, english)

    def test_no_reason_of_a_failure_stands_apart_from_the_texts_that_are_translated(self):
        for path in sorted((project / "src").rglob("*.cpp")):
            if path.parent.name not in ("survey", "check", "account"):
                with self.subTest(source=path.name):
                    self.assertNotRegex(path.read_text(encoding="utf-8"), r'failWith\("|messageReason[^;]*" *[A-Za-z]')

    def test_reasons_of_the_system_are_told_by_the_c_library(self):
        """In its own words, of which a machine may have no German ones."""
        ask = "import locale, os; locale.setlocale(locale.LC_ALL, ''); print(os.strerror(2))"
        reason = subprocess.run([sys.executable, "-c", ask], env=os.environ | self.environment(UTF8), check=True,
                                capture_output=True, encoding="utf-8").stdout.strip()
        self.assertEqual(self.messages(german, "missing", "output.ldif", "1", "1", locale=UTF8)[380928304],
                         f"tqldif2v6: 380928304 ERROR: Die Datei missing konnte nicht geöffnet werden: {reason}")

    def test_reasons_of_the_tool_are_told_in_german(self):
        os.mkfifo(self.folder / "pipe")
        self.assertTrue(self.messages(german, "pipe", "output.ldif", "1", "1", locale=UTF8)[380928304]
                        .endswith("geöffnet werden: es ist keine gewöhnliche Datei"))
        (self.folder / "input{1}").write_text("")
        self.assertTrue(self.messages(german, "input{1}", "input{1}", "1", "1", locale=UTF8)[380928314]
                        .endswith("brauchbar: zwei Namen führen zu derselben Datei: input{1} und input{1}"))

    def test_usage_is_german(self):
        lines = self.output(locale=UTF8).decode().splitlines()
        self.assertEqual(lines[:2], ["tqldif2v6: 380928314 ERROR: Die Befehlszeile ist nicht brauchbar: vier oder fünf "
                                     "Argumente werden erwartet",
                                     "Aufruf: tqldif2v6 Eingabe Ausgabe Benutzerplätze Gruppenplätze [Tracedatei]"])
        self.assertEqual(lines[-1], "Rückgabewert: 0, wenn die Umwandlung vollständig ist, 255 bei jedem Fehler")

    def test_interruption_is_told_in_german(self):
        self.output(locale=UTF8)  # makes the catalogue
        # More than the pipe holds, and nobody reads it.
        (self.folder / "input.ldif").write_text("dn: o=x\nobjectclass: organization\no: x\n\n" * 50_000)
        os.mkfifo(self.folder / "pipe")
        run = subprocess.Popen([tool, "input.ldif", "pipe", "1", "1"], cwd=self.folder, stderr=subprocess.PIPE,
                               env=self.environment(UTF8))
        with open(self.folder / "pipe", "rb"):  # from here on the run has named its files, and waits
            run.terminate()
            shown = run.communicate()[1].decode()
        self.assertEqual(shown, "tqldif2v6: SIGTERM hat die Umwandlung von input.ldif beendet: die Ausgabe pipe ist "
                                "nicht vollständig.\n")

    def test_umlauts_come_in_the_character_set_of_the_terminal(self):
        (self.folder / "input.ldif").write_text("")
        shown = {locale: self.output("input.ldif", "output.ldif", "1", "1", locale=locale) for locale in (UTF8, LATIN1)}
        self.assertIn("Die Einträge der Eingabe werden".encode(), shown[UTF8])
        self.assertEqual(shown[LATIN1], shown[UTF8].decode().encode("latin-1"))
        for locale in ({"LC_CTYPE": LATIN1, "LANG": UTF8}, {"LC_CTYPE": LATIN1, "LC_MESSAGES": UTF8}):
            self.assertEqual(self.output("input.ldif", "output.ldif", "1", "1", locale=locale), shown[LATIN1])

    def test_message_with_a_character_that_the_terminal_lacks_stays_english(self):
        for locale in ("C", {"LANG": "C", "LC_MESSAGES": UTF8, "LANGUAGE": "de"}, {"LC_MESSAGES": LATIN1}):
            with self.subTest(locale=locale):
                messages = self.convert_nothing(german, locale)
                self.assertEqual(messages[380928308], "tqldif2v6: 380928308 NOTICE: Die Umwandlung beginnt.")
                self.assertEqual(messages[380928309],
                                 "tqldif2v6: 380928309 NOTICE: The entries of the input are being sorted into the "
                                 "output and the work file. There is no work file from an earlier run.")
                # The first part could be shown, the reason and the usage cannot.
                lines = self.output(locale=locale).decode("ascii").splitlines()
                self.assertEqual(lines[0], "tqldif2v6: 380928314 ERROR: The command line cannot be used: four or five "
                                           "arguments are expected")
                self.assertEqual(lines[-1], "exit status: 0 when the conversion is complete, 255 on any failure")

    def test_locale_that_is_not_there_leaves_the_messages_english(self):
        self.assertIn(b"The entries of the input", self.output("input.ldif", "o", "1", "1", locale="de_AT.ISO-8859-15"))

    def fail_for(self, dn, locale):
        """The message of a user without a map, as bytes."""
        (self.folder / "input.ldif").write_bytes(b"dn: secAuthority=Default,cn=" + dn + b"\nobjectClass: secUser\n"
                                                 b"secAuthority: Default\nprincipalName: a\n")
        shown = self.output("input.ldif", "output.ldif", "1", "1", locale=locale)
        (self.folder / "input.ldif.tmp").unlink()
        return next(line for line in shown.splitlines() if b"380928302" in line)

    def test_values_are_neither_lost_nor_in_the_way(self):
        dn = "ä€".encode() + b"\xe4"
        start = "tqldif2v6: 380928302 ERROR: Dem Benutzer secAuthority=Default,cn="
        end = (" (Zeile 1) fehlt der Eintrag secMap; die Umwandlung ist abgebrochen. Ergänzen Sie diesen Eintrag oder "
               "entfernen Sie den Benutzer.")
        self.assertEqual(self.fail_for(dn, UTF8), f"{start}ä€\\xE4{end}".encode())
        self.assertEqual(self.fail_for(dn, LATIN1), f"{start}ä\\xE2\\x82\\xAC\\xE4{end}".encode("latin-1"))
        english = self.fail_for(dn, "C")
        self.assertIn("The user secAuthority=Default,cn=ä€\\xE4 (line 1) has no secMap".encode(), english)


if __name__ == "__main__":
    tool = str(Path(sys.argv.pop(1)).resolve())
    unittest.main()
