"""A whole migration with a real directory server: a made-up registry is loaded into a server with the old layout,
exported, converted, and imported into a server with the version 6 layout. What that server then holds is compared with
what the maker of the registry says. The commands are those of docs/migration.md, taken from there.

Needs slapd, slapadd, slapcat, ldapadd and ldapsearch. The servers are private: a copy of the program, its own
configuration, databases and socket, all in a scratch folder. Where slapd is not installed the tests fail, or are
skipped if TQLDIF2V6_SKIP_WITHOUT_SLAPD is set.

usage: test_acceptance.py TOOL
"""
import base64
import os
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path
from urllib.parse import quote

from make_registry import PEOPLE, REGISTRY, as_bytes, make_registry, write_old_registry

here = Path(__file__).resolve().parent
guide_text = (here.parent.parent / "docs" / "migration.md").read_text()

SCHEMA_FOLDER = "/etc/ldap/schema"
MODULE_FOLDER = "/usr/lib/ldap"
SLOT_COUNTS = ((1000, 1000), (17, 5), (1, 1))

tool = ""


class Directory:
    """A private server of its own, with an empty database for each of the two naming contexts."""

    def __init__(self, folder, layout):
        self.folder = folder
        self.config = folder / "slapd.conf"
        self.socket = folder / "socket"
        self.url = "ldapi://" + quote(str(self.socket), safe="")
        self.process = None
        folder.mkdir()
        schemas = [f"{SCHEMA_FOLDER}/{name}.schema" for name in ("core", "cosine", "inetorgperson")]
        lines = [f'include "{schema}"' for schema in schemas + [here / f"{layout}-layout.schema"]]
        lines += [f"modulepath {MODULE_FOLDER}", "moduleload back_mdb", f'pidfile "{folder}/pid"']
        for number, suffix in enumerate((PEOPLE, REGISTRY)):
            database = folder / f"database{number}"
            database.mkdir()
            lines += ["database mdb", f'suffix "{suffix}"', f'directory "{database}"', "maxsize 67108864", "dbnosync",
                      f'rootdn "gidNumber={os.getegid()}+uidNumber={os.geteuid()},cn=peercred,cn=external,cn=auth"']
        self.config.write_text("\n".join(lines) + "\n")

    def start(self):
        self.process = subprocess.Popen(["slapd", "-d", "0", "-f", self.config, "-h", self.url],
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        deadline = time.monotonic() + 20
        while time.monotonic() < deadline and self.process.poll() is None:
            with socket.socket(socket.AF_UNIX) as connection:
                if connection.connect_ex(str(self.socket)) == 0:
                    return
            time.sleep(0.01)
        raise RuntimeError(f"the server in {self.folder} does not start")

    def stop(self):
        if self.process:
            self.process.terminate()
            self.process.wait(timeout=20)
            self.process = None

    def entries(self):
        """All entries, by DN in lower case; of each its values, sorted, by attribute name in lower case."""
        entries = {}
        for context in (PEOPLE, REGISTRY):
            ldif = subprocess.run(["ldapsearch", "-Q", "-LLL", "-Y", "EXTERNAL", "-H", self.url, "-o", "ldif_wrap=no",
                                   "-b", context], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
            for record in ldif.split(b"\n\n"):
                if record.strip():
                    pairs = [value_of(line) for line in record.strip().split(b"\n")]
                    entries[pairs[0][1].decode().lower()] = sorted_values(pairs[1:])
        return entries


def value_of(line):
    name, _, value = line.partition(b":")
    return name.decode(), base64.b64decode(value[2:]) if value.startswith(b":") else value[1:]


def sorted_values(pairs):
    values = {}
    for name, value in pairs:
        values.setdefault(name.lower(), []).append(as_bytes(value))
    return {name: sorted(several) for name, several in values.items()}


def differences(expected, found):
    """What is wrong with the entries found, a line each."""
    wrong = [f"missing: {dn}" for dn in expected.keys() - found.keys()]
    wrong += [f"unexpected: {dn}" for dn in found.keys() - expected.keys()]
    for dn in expected.keys() & found.keys():
        for name in sorted(expected[dn].keys() | found[dn].keys()):
            wanted, given = expected[dn].get(name), found[dn].get(name)
            if wanted != given:
                wrong.append(f"{dn}: {name} is {given}, not {wanted}")
    return sorted(wrong)


def expected_entries(install_date):
    return {dn.lower(): sorted_values(attributes) for dn, attributes in registry.new_entries(install_date)}


def guide_commands(heading):
    section = re.search(rf"^## {heading}$(.*?)(?=^## |\Z)", guide_text, re.MULTILINE | re.DOTALL).group(1)
    return "".join(re.findall(r"^```sh\n(.*?)^```$", section, re.MULTILINE | re.DOTALL))


def follow(heading, folder, check=True, **variables):
    """Runs the guide's commands under the heading in the folder; returns what they print on standard output."""
    environment = os.environ | {name: str(value) for name, value in variables.items()}
    run = subprocess.run(["sh", "-euc", guide_commands(heading)], cwd=folder, env=environment,
                         stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    if check and run.returncode != 0:
        raise AssertionError(f"{heading}: exit status {run.returncode}\n{run.stdout}{run.stderr}")
    return run.stdout


def setUpModule():
    global scratch, registry, old, export
    programs = {name: shutil.which(name, path=os.environ["PATH"] + ":/usr/sbin:/sbin")
                for name in ("slapd", "ldapadd", "ldapsearch")}
    missing = [name for name, path in programs.items() if path is None]
    if missing:
        if "TQLDIF2V6_SKIP_WITHOUT_SLAPD" in os.environ:
            print(f"skipped, since these are not installed: {', '.join(missing)}", file=sys.stderr)
            raise unittest.SkipTest
        raise RuntimeError(f"not installed: {', '.join(missing)} (Debian packages slapd and ldap-utils); "
                           "set TQLDIF2V6_SKIP_WITHOUT_SLAPD to skip these tests")

    # The name of a socket must be short.
    scratch = Path(tempfile.mkdtemp(prefix="acceptance", dir="/tmp"))
    unittest.addModuleCleanup(shutil.rmtree, scratch)
    # A copy, under the names that it goes by, so that rules bound to the path of the installed one do not apply.
    path = scratch / "bin"
    path.mkdir()
    shutil.copy2(programs["slapd"], path / "slapd")
    for name in ("slapadd", "slapcat"):
        (path / name).symlink_to("slapd")
    os.environ["PATH"] = f"{path}:{os.environ['PATH']}"

    registry = make_registry()
    old = Directory(scratch / "old", "old")
    write_old_registry(registry, scratch)
    for context, file in ((PEOPLE, "people.ldif"), (REGISTRY, "registry.ldif")):
        subprocess.run(["slapadd", "-f", old.config, "-o", "value-check=yes", "-b", context, "-l", scratch / file],
                       check=True)
    follow("Export", scratch, old=old.config)
    follow("Strip", scratch)
    export = (scratch / "export.ldif").read_bytes()


class Migration(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(dir=scratch))
        (self.folder / "scripts").mkdir()
        (self.folder / "scripts" / "run").symlink_to(tool)
        (self.folder / "export.ldif").write_bytes(export)

    def new_directory(self, name="new"):
        directory = Directory(self.folder / name, "new")
        self.addCleanup(directory.stop)
        return directory

    def convert(self, users=1000, groups=1000):
        """Converts the export; returns the entries that are expected of it."""
        before = int(time.time())
        follow("Convert", self.folder, users=users, groups=groups)
        now = int(time.time())
        self.assertEqual((self.folder / "errors.txt").read_text(), "")
        # The one authority without an install date is given the local time, on the twelve-hour clock.
        dates = [time.strftime("%Y%m%d%I%M%S.0Z", time.localtime(second)) for second in range(before, now + 1)]
        converted = (self.folder / "converted.ldif").read_text()
        return expected_entries(next((date for date in dates if f"installDate: {date}\n" in converted), dates[0]))

    def imported(self, directory, check=True):
        """Splits and imports the converted file; returns the entries that the server then holds."""
        follow("Split", self.folder)
        follow("Dry run", self.folder, check, new=directory.config)
        follow("Import", self.folder, check, new=directory.config)
        directory.start()
        return directory.entries()


class Acceptance(Migration):
    def test_imported_entries_are_the_expected_ones(self):
        for users, groups in SLOT_COUNTS:
            with self.subTest(users=users, groups=groups):
                expected = self.convert(users, groups)
                found = self.imported(self.new_directory(f"new{users}"))
                self.assertEqual(differences(expected, found), [])

    def test_entries_added_to_a_running_server_are_the_expected_ones(self):
        for users, groups in SLOT_COUNTS:
            with self.subTest(users=users, groups=groups):
                expected = self.convert(users, groups)
                directory = self.new_directory(f"new{users}")
                directory.start()
                follow("Import into a running server", self.folder, url=directory.url)
                self.assertEqual(differences(expected, directory.entries()), [])

    def test_registry_holds_what_is_to_be_tried(self):
        everything = list(registry.new_entries("date"))
        for name in ("folded lines", "base-64 values"):
            with self.subTest(name):
                self.assertGreater(len(re.findall({"folded lines": rb"\n ", "base-64 values": rb"\n\w+:: "}[name],
                                                  export)), 100)
        for name, some in {
            "with an entry under cn=Users": [user for user in registry.users if user.users_entry],
            "without one": [user for user in registry.users if not user.users_entry],
            "with a policy": [user for user in registry.users if user.policy],
            "with policy data": [user for user in registry.users if user.policy_data],
            "with a comma in the DN": [user for user in registry.users if r"\2C" in user.person[0]],
            "of a subdomain": [user for user in registry.users if user.authority != "Default"],
        }.items():
            with self.subTest(name):
                self.assertGreater(len(some), 10)
        self.assertEqual(len({dn.lower() for dn, _ in everything}), len(everything))


class Sabotage(Migration):
    """The comparison notices what goes wrong with a converted file."""

    def found_after(self, damage):
        expected = self.convert()
        file = self.folder / "converted.ldif"
        records = file.read_text().removesuffix("\n\n").split("\n\n")
        file.write_text(damage(records))
        return expected, self.imported(self.new_directory(), check=False)

    @staticmethod
    def name_of(record):
        return record.partition("\n")[0].removeprefix("dn: ").lower()

    def test_lost_user_is_missed(self):
        def lose(records):
            self.lost = next(record for record in records if record.startswith("dn: principalName="))
            return "\n\n".join(record for record in records if self.name_of(self.lost) not in record.lower()) + "\n\n"

        expected, found = self.found_after(lose)
        lost = [dn for dn in expected if dn.endswith(self.name_of(self.lost))]
        self.assertEqual(differences(expected, found), sorted(f"missing: {dn}" for dn in lost))

    def test_changed_value_is_noticed(self):
        def change(records):
            text = "\n\n".join(records) + "\n\n"
            return text.replace("secPwdValid: FALSE", "secPwdValid: TRUE", 1)

        expected, found = self.found_after(change)
        self.assertRegex("\n".join(differences(expected, found)),
                         r"\Aprincipalname=.*: secpwdvalid is \[b'TRUE'\], not \[b'FALSE'\]\Z")

    def test_lost_value_is_noticed(self):
        expected, found = self.found_after(
            lambda records: ("\n\n".join(records) + "\n\n").replace("\nsecLoginType: Default:LDAP\n", "\n", 1))
        self.assertRegex("\n".join(differences(expected, found)),
                         r"\Aprincipalname=.*: seclogintype is None, not \[b'Default:LDAP'\]\Z")

    def test_cut_between_records_is_noticed(self):
        expected, found = self.found_after(lambda records: "\n\n".join(records[:-1]) + "\n\n")
        self.assertRegex("\n".join(differences(expected, found)), r"\Amissing: cn=resource.*\Z")

    def test_cut_inside_a_value_is_noticed(self):
        expected, found = self.found_after(lambda records: "\n\n".join(records)[:-1] + "\n\n")
        self.assertEqual(len(differences(expected, found)), 1)


class Guide(Migration):
    def test_every_step_in_order_ends_with_equal_counts_and_a_clean_folder(self):
        new = self.new_directory()
        variables = {"old": old.config, "new": new.config, "url": new.url, "users": 1000, "groups": 1000}
        for heading in ("Export", "Strip", "Check", "Convert", "Split", "Dry run", "Import"):
            printed = follow(heading, self.folder, **variables)
            if heading == "Check":
                self.assertEqual(printed, "")
        new.start()
        policies = sum(user.policy is not None for user in registry.users) + 3
        self.assertEqual(follow("Verify", self.folder, **variables).splitlines(), [
            "people: 200 200", "users and groups: 220 220", "groups: 20 20", f"policies: {policies} {policies}",
            "credentials: 12 12"])
        follow("Clean up", self.folder, **variables)
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()),
                         ["errors.txt", "messages.txt", "new", "scripts"])

    def test_check_names_what_cannot_be_converted(self):
        dn = "dn: secAuthority=Default,cn=a"
        mapping = "dn: secuuid=1,cn=Users,secAuthority=Default\nobjectClass: secMap\nsecDN: cn=A\n\n"
        for warning, lines in {
            "folded line of blanks alone": ["description: a", " " * 78, " b"],
            "name in base 64": ["principalName:: asO8"],
            "name that needs escapes in a DN": ["principalName: a,b"],
            "value that looks like an access list": ["description: see ACL: staff"],
            "too many lines": [f"description: {number}" for number in range(47)],
            "line too long": ["description: " + "x" * 70] + [" " + "x" * 77] * 60,
        }.items():
            with self.subTest(warning):
                self.assertEqual(self.check("\n".join([dn, "objectClass: secUser", *lines]) + "\n\n" + mapping),
                                 f"{warning}: {dn}\n")
        for warning, text in {
            "DN in base 64: dn:: Y249w7w=": "dn:: Y249w7w=\nobjectClass: person\n\n",
            "value that looks like a control: dn: cn=a":
                "dn: cn=a\nobjectClass: secPolicy\ndescription: Control: a\n\n",
            "no secMap entry: secauthority=default,cn=b": "dn: secAuthority=Default,cn=b\nobjectClass: secUser\n\n",
            "secMap entry of nobody: secauthority=default,cn=a": mapping,
        }.items():
            with self.subTest(warning):
                self.assertEqual(self.check(text), warning + "\n")
        with self.subTest("comma written in two ways"):
            text = f"{dn}\\2C b\nobjectClass: secUser\n\n" + mapping.replace("cn=A", "cn=a\\, b")
            self.assertEqual(self.check(text), "no secMap entry: secauthority=default,cn=a\\2c b\n"
                             "secMap entry of nobody: secauthority=default,cn=a\\,b\n")
        with self.subTest("entry under cn=Users alone"):
            text = ("dn: principalName=a,cn=Users,secAuthority=Default\nobjectClass: secUser\nsecAuthority: Default\n"
                    "secDN: cn=a\n\n" + mapping)
            self.assertEqual(self.check(text), "no secUser entry of its own: secauthority=default,cn=a\n")

    def check(self, text):
        (self.folder / "export.ldif").write_text(text)
        return follow("Check", self.folder)


if __name__ == "__main__":
    if len(sys.argv) < 2 or sys.argv[1].startswith("-"):
        sys.exit(__doc__)
    tool = str(Path(sys.argv.pop(1)).resolve())
    unittest.main()
