"""A whole migration with a real directory server: a made-up registry is loaded into a server with the old layout,
exported, converted, and imported into a server with the version 6 layout. What that server then holds is compared with
what the maker of the registry says. The commands are those of docs/migration.md, taken from there.

Takes tqldif2v6-check and tqldif2v6-account from the folder of the tool.

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


def dn_of(record):
    """The DN of a record of the export, in lower case."""
    return value_of(record.replace(b"\n ", b"").partition(b"\n")[0])[1].strip().decode().lower()


def own_dn(user):
    return list(user.old_entries())[1][0].lower()


def map_dn(user):
    return list(user.old_entries())[2][0].lower()


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
    os.environ["PATH"] = f"{path}:{Path(tool).parent}:{os.environ['PATH']}"

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
        (self.folder / "export.ldif").write_bytes(export)
        (self.folder / "good.ldif").write_bytes(export)

    def new_directory(self, name="new"):
        directory = Directory(self.folder / name, "new")
        self.addCleanup(directory.stop)
        return directory

    def convert(self, users=1000, groups=1000):
        """Converts the export and accounts for it; returns the entries that are expected of it."""
        before = int(time.time())
        follow("Convert", self.folder, users=users, groups=groups)
        now = int(time.time())
        self.assertEqual((self.folder / "errors.txt").read_text(), "")
        # The one authority without an install date is given the local time, on the twelve-hour clock.
        dates = [time.strftime("%Y%m%d%I%M%S.0Z", time.localtime(second)) for second in range(before, now + 1)]
        follow("Account", self.folder)
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
    """The comparison notices what goes wrong with a converted file, and so does the account."""

    def found_after(self, damage):
        expected = self.convert()
        file = self.folder / "converted.ldif"
        records = file.read_text().removesuffix("\n\n").split("\n\n")
        file.write_text(damage(records))
        follow("Account", self.folder, check=False)
        self.assertIn("converted.ldif is not a complete conversion of good.ldif",
                      (self.folder / "account.txt").read_text())
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
        variables = {"old": old.config, "new": new.config, "url": new.url}
        for heading in ("Export", "Strip", "Check"):
            printed = follow(heading, self.folder, **variables)
        self.assertEqual(self.stopping(printed), [])
        variables["users"], variables["groups"] = re.search(r"^ *(\d+) +(\d+) .*recommended", printed, re.M).groups()
        for heading in ("Set aside", "Convert", "Account", "Split", "Dry run", "Import"):
            follow(heading, self.folder, **variables)
        size = (self.folder / "converted.ldif").stat().st_size
        self.assertIn(f"output {size} bytes", printed)
        new.start()
        policies = sum(user.policy is not None for user in registry.users) + 3
        self.assertEqual(follow("Verify", self.folder, **variables).splitlines(), [
            "people: 200 200", "users and groups: 220 220", "groups: 20 20", f"policies: {policies} {policies}",
            "credentials: 12 12"])
        follow("Clean up", self.folder, **variables)
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()),
                         ["account.txt", "check.txt", "errors.txt", "messages.txt", "new"])

    def test_a_user_set_aside_is_imported_later(self):
        user = next(user for user in registry.users if user.policy and user.users_entry)
        mapping = next(record for record in export.split(b"\n\n")
                       if record.startswith(b"dn: secuuid=%b," % dict(user.mapping)["secuuid"].encode()))
        (self.folder / "export.ldif").write_bytes(export.replace(mapping + b"\n\n", b""))
        self.assertEqual(self.stopping(follow("Check", self.folder)), ["user-without-map"])
        follow("Set aside", self.folder)
        expected = self.convert()
        directory = self.new_directory()
        found = self.imported(directory)
        dns = {dn.lower() for dn, _ in user.new_entries()} - {user.person[0].lower()}
        self.assertEqual(differences(expected, found), sorted(f"missing: {dn}" for dn in dns))

        rejected = (self.folder / "rejected.ldif").read_bytes()
        self.folder = self.folder / "later"
        self.folder.mkdir()
        (self.folder / "export.ldif").write_bytes(rejected + mapping + b"\n\n")
        for heading in ("Check", "Set aside", "Convert", "Account", "Import into a running server"):
            follow(heading, self.folder, users=1, groups=1, url=directory.url)
        self.assertEqual(differences(expected, directory.entries()), [])

    def test_five_broken_entries_take_one_check_one_split_one_conversion_and_one_account(self):
        broken = [user for user in registry.users if user.policy and not user.users_entry][:5]
        without_map, doubled, gone, nameless, without_colon = broken
        records = {dn_of(record): record for record in export.split(b"\n\n")[:-1]}
        del records[map_dn(without_map)]
        del records[map_dn(gone)], records[own_dn(gone)]
        records[own_dn(doubled)] += b"\n\n" + records[own_dn(doubled)]
        records[own_dn(nameless)] = re.sub(rb"\nprincipalName:.*", b"", records[own_dn(nameless)])
        records[own_dn(without_colon)] += b"\na line that is broken"
        (self.folder / "export.ldif").write_bytes(b"\n\n".join(records.values()) + b"\n\n")

        printed = follow("Check", self.folder)
        self.assertEqual(sorted(self.stopping(printed)), ["doubled-entry", "line-without-colon", "user-without-map",
                                                          "user-without-name", "user-without-own-entry"])
        follow("Set aside", self.folder)
        expected = self.convert()
        found = self.imported(self.new_directory())
        dns = {dn.lower() for user in broken for dn, _ in user.new_entries()}
        dns -= {user.person[0].lower() for user in broken}
        self.assertEqual(differences(expected, found), sorted(f"missing: {dn}" for dn in dns))

    def test_a_name_with_a_comma_can_be_escaped_after_the_account(self):
        user = next(user for user in registry.users if user.policy and user.authority == "Default")
        text = (self.folder / "good.ldif").read_text()
        (self.folder / "good.ldif").write_text(text.replace(f"principalName: {user.name}\n",
                                                            f"principalName: x,{user.name}\n"))
        self.convert()
        converted = (self.folder / "converted.ldif").read_text()
        (self.folder / "converted.ldif").write_text(
            re.sub(rf"^(dn: .*principalName=x),(?={user.name},)", r"\1\\2C", converted, flags=re.M))
        found = self.imported(self.new_directory())
        self.assertEqual(len([dn for dn in found if f"principalname=x\\2c{user.name}," in dn]), 3)

    def test_check_names_what_cannot_be_converted(self):
        dn = "dn: secAuthority=Default,cn=a"
        mapping = "dn: secuuid=1,cn=Users,secAuthority=Default\nobjectClass: secMap\nsecDN: cn=A\n\n"
        for finding, lines in {
            "entry-begins-with-continuation": ["principalName: a", "description: a", " " * 78, " b"],
            "base-64-in-new-dn": ["principalName:: asO8"],
            "special-character-in-new-dn": ["principalName: a,b"],
            "looks-like-bookkeeping": ["principalName: a", "description: see ACL: staff"],
            "too-many-lines": ["principalName: a", *[f"description: {number}" for number in range(47)]],
            "long-line": ["principalName: a", "description: " + "x" * 70] + [" " + "x" * 77] * 60,
        }.items():
            with self.subTest(finding):
                self.assertIn(finding, self.found("\n".join([dn, "objectClass: secUser", "secAuthority: Default",
                                                             *lines]) + "\n\n" + mapping))
        user = "\nobjectClass: secUser\nsecAuthority: Default\nprincipalName: a\n"
        for finding, text in {
            "user-without-map": f"{dn}{user}\n",
            "user-without-own-entry": mapping,
            "looks-like-bookkeeping": f"{dn}{user}\n{mapping}dn: cn=Policy,{dn[4:]}\nobjectClass: secPolicy\n"
                                      "description: Control: a\n\n",
        }.items():
            with self.subTest(finding):
                self.assertEqual(self.found(text), [finding])
        with self.subTest("comma written in two ways"):
            self.assertEqual(self.found(f"{dn}\\2C b{user}\n" + mapping.replace("cn=A", "cn=a\\, b")),
                             ["user-without-map", "user-without-own-entry"])
        with self.subTest("entry under cn=Users alone"):
            self.assertEqual(self.found(f"dn: principalName=a,cn=Users,secAuthority=Default{user}secDN: cn=a\n\n"
                                        + mapping), ["user-without-own-entry"])

    @staticmethod
    def stopping(printed):
        return re.findall(r"^([\w-]+) \(stops\)", printed, re.M)

    def found(self, text):
        (self.folder / "export.ldif").write_text(text)
        return re.findall(r"^([\w-]+) \(\w+\)", follow("Check", self.folder), re.M)


if __name__ == "__main__":
    if len(sys.argv) < 2 or sys.argv[1].startswith("-"):
        sys.exit(__doc__)
    tool = str(Path(sys.argv.pop(1)).resolve())
    unittest.main()
