"""The attributes that a conversion drops are the same wherever they are named: in the rules, in what the rules are
tested against, in the manual.

usage: test_dropped_names.py
"""
import re
import sys
import unittest
from pathlib import Path

project = Path(__file__).resolve().parents[2]
DROPPED_LINES = "src/rules/dropped_lines.h"
sys.path[:0] = [str(project / "tests" / "model"), str(project / "tests" / "companions")]
import account_agreement  # noqa: E402  (beside the other companion runs)
import model  # noqa: E402  (one folder aside)


def source(name):
    return (project / name).read_text(encoding="utf-8")


def quoted(text):
    return set(re.findall(r'"([^"]*)"', text))


def decoded(texts):
    return {text.decode() for text in texts}


def part(text, begin, end):
    """What stands behind the first text and before the second one that follows."""
    return text.partition(begin)[2].partition(end)[0]


def dropped_texts():
    """The texts that are looked for on each road."""
    header = source(DROPPED_LINES)
    roads = re.findall(r"^  ([A-Z_]+)", part(header, "enum Road", "}"), re.MULTILINE)
    texts = {road: set() for road in roads}
    for text, cases in re.findall(r'\{"([^"]*)", \{([A-Z_, ]+)\}\}', header):
        for road, case in zip(roads, cases.split(", "), strict=False):
            if case != "NEVER":
                texts[road].add(text)
    return texts


def names(texts):
    return {text.rstrip(": ").lower() for text in texts}


class DroppedNames(unittest.TestCase):
    dropped = dropped_texts()
    excluded = quoted(part(source("src/rules/merge.cpp"), "excludedNames[] = {", "};"))

    def setUp(self):
        self.names = names(set().union(*self.dropped.values()) | self.excluded) - {"objectclass"}

    def test_the_tables_of_the_rules_are_read(self):
        table = part(source(DROPPED_LINES), "droppedTexts[] = {", "};")
        self.assertEqual(set().union(*self.dropped.values()), quoted(table))
        self.assertIn("aclentry", self.names)
        self.assertIn("aclpropagate", self.names)

    def test_the_model_has_the_same(self):
        self.assertEqual(decoded(model.NOT_COPIED), self.dropped["STRAIGHT_THROUGH"])
        self.assertEqual(decoded(model.NOT_COPIED_OF_OVERSIZED), self.dropped["OVERSIZED"])
        self.assertEqual(decoded(model.NOT_WRITTEN), self.dropped["MERGED"])
        self.assertEqual(decoded(model.NOT_WRITTEN_WITH_CONTROL), self.dropped["POLICY"])
        self.assertEqual(decoded(model.NOT_WRITTEN_WITH_CONTROL), self.dropped["REMAINING"])
        self.assertEqual(decoded(model.EXCLUDED_FROM_MERGE), self.excluded)

    def test_the_plain_rules_of_the_fuzzers_have_the_same(self):
        rules = source("tests/fuzz/plain_rules.cpp")
        left_out = part(rules, "bool isLeftOut(", "\n}")
        straight, oversized, *rest = [quoted(statement) for statement in left_out.split(";") if '"' in statement]
        self.assertEqual(straight, self.dropped["STRAIGHT_THROUGH"])
        self.assertEqual(oversized, self.dropped["OVERSIZED"])
        control, others = rest
        self.assertEqual(others, self.dropped["MERGED"])
        self.assertEqual(others | control, self.dropped["POLICY"])
        self.assertEqual(quoted(part(rules, "bool isLeftOutOfMerge(", "\n}")), self.excluded | {"dn:", "DN:"})

    def test_the_fuzzers_know_the_names(self):
        words = quoted(source("tests/fuzz/attributes.dict"))
        self.assertLessEqual(self.names, names(words))

    def test_the_account_takes_the_same_for_bookkeeping(self):
        # The dropped ones come from the table; those that only the merge leaves out are named besides.
        fates = source("src/survey/line_fates.cpp")
        besides = names(self.excluded) - names(set().union(*self.dropped.values())) - {"objectclass"}
        self.assertEqual(quoted(part(fates, "bool isBookkeeping(", "\n}")), besides)
        self.assertEqual(quoted(part(fates, "NAMES = namesOfDropped()", ";")), besides)
        self.assertEqual(decoded(account_agreement.BOOKKEEPING), self.names)

    def test_the_manual_names_them(self):
        manual = source("packaging/man/tqldif2v6.1")
        listing = part(manual, "Lines of these attributes are dropped", ".El")
        listed = re.findall(r"^\.It Li (.*)$", listing, re.MULTILINE)
        self.assertEqual({name.lower() for line in listed for name in line.split(" , ")}, self.names)

    def test_the_migration_names_no_others(self):
        paragraph = next(text for text in source("docs/migration.md").split("\n\n") if "may stay" in text)
        self.assertLessEqual(names(re.findall(r"`([\w-]+)`", paragraph)), self.names)


if __name__ == "__main__":
    unittest.main()
