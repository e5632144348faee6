"""Whole conversions of larger inputs: the worked example, and the same export with large and with small caches.

usage: test_conversion.py TOOL
"""
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

tests = Path(__file__).resolve().parent.parent
examples = tests.parent / "examples"
sys.path.insert(0, str(tests / "model"))
import generate  # noqa: E402  (beside the model)

tool = ""


def convert(export, users, groups, folder):
    """Converts the bytes of an export; returns those of the output."""
    (folder / "input.ldif").write_bytes(export)
    subprocess.run([tool, "input.ldif", "output.ldif", str(users), str(groups)], cwd=folder, check=True,
                   stdout=subprocess.DEVNULL)
    return (folder / "output.ldif").read_bytes()


def records(output):
    """The records of an output, in no order, without the time of the conversion."""
    output = re.sub(rb"^installDate: \d{14}\.0Z$", b"installDate: now", output, flags=re.MULTILINE)
    return sorted(record for record in output.split(b"\n\n") if record)


def dn_lines(output):
    return [line.decode() for line in output.splitlines() if line.startswith(b"dn: ")]


class InScratchFolder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)


class WorkedExample(InScratchFolder):
    export = (examples / "registry-export.ldif").read_bytes()
    expected = (examples / "registry-export-v6.ldif").read_bytes()

    def test_one_pass_gives_the_expected_output(self):
        self.assertEqual(convert(self.export, 100, 100, self.folder), self.expected)

    def test_small_caches_give_the_same_records(self):
        for users, groups in ((1, 1), (4, 2), (7, 3), (1, 100), (100, 1)):
            with self.subTest(users=users, groups=groups):
                self.assertEqual(records(convert(self.export, users, groups, self.folder)), records(self.expected))

    def test_each_pass_writes_its_users_and_then_its_groups(self):
        in_default = "secAuthority=default"
        in_sales = "secAuthority=Sales,cn=Subdomains,secAuthority=default"

        def user(name, domain=in_default, policy=False):
            own = f"principalName={name},cn=Users,{domain}"
            return [f"dn: {own}"] + [f"dn: {rdns},{own}" for rdns in ("cn=Policies", "cn=Policy,cn=Policies") if policy]

        def group(name, domain=in_default):
            return [f"dn: cn={name},cn=Groups,{domain}"]

        expected = (
            user("aberg", policy=True) + user("bcosta") + user("cdahl") + user("devans", policy=True)
            + group("staff") + group("admins")
            + user("efarkas") + user("fgrant") + user("ghughes") + user("hito")
            + group("auditors") + group("field-team", in_sales)
            + user("ijansen") + user("jkovac", policy=True) + user("klind") + user("rsilva", in_sales)
            + group("helpdesk") + group("contractors")
            + user("lmoreau") + user("stanaka", in_sales, policy=True) + user("mnovak", policy=True) + user("nolsen")
            + user("opatel") + user("tullman", in_sales, policy=True) + user("pquinn") + user("uvega", in_sales))
        gathered = [dn for dn in dn_lines(convert(self.export, 4, 2, self.folder)) if dn in set(expected)]
        self.assertEqual(gathered, expected)


class LargeAndSmallCaches(InScratchFolder):
    def test_give_the_same_records(self):
        for order in ("grouped", "class", "shuffled"):
            with self.subTest(order=order):
                export = b"".join(generate.lifelikePieces(7, 1000, 40, order))
                self.assertEqual(records(convert(export, 1000, 40, self.folder)),
                                 records(convert(export, 7, 3, self.folder)))


if __name__ == "__main__":
    tool = str(Path(sys.argv.pop(1)).resolve())
    unittest.main()
