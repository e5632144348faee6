#!/usr/bin/env python3
"""Checks of the model against cases worked out by hand."""

import time
import unittest

import generate
import model
from model import FREE, convert

NEW_YEAR = time.struct_time((2024, 3, 2, 15, 4, 5, 5, 62, 0))


def entry(*lines):
    return b"".join(line.encode("latin-1") + b"\n" for line in lines) + b"\n"


USER = entry("dn: secAuthority=Default,cn=jdoe,o=example", "objectClass: secUser", "secAuthority: Default",
             "principalName: jdoe")
USER_MAP = entry("dn: cn=m1,cn=Users,secAuthority=Default", "objectClass: secMap", "secdn: cn=jdoe,o=example")
USERS_ENTRY = entry("dn: principalName=jdoe,cn=Users,secAuthority=Default", "objectClass: secUser",
                    "secAuthority: Default", "principalName: jdoe", "secDN: cn=jdoe, o=example")
POLICY = entry("dn: cn=Policy,secAuthority=Default,cn=jdoe,o=example", "objectClass: secPolicy", "cn: Policy",
               "control: x")
GROUP = entry("dn: secAuthority=Default,cn=staff,o=example", "objectClass: secGroup", "cn: staff")
GROUP_MAP = entry("dn: cn=m2,cn=Groups,secAuthority=Default", "objectClass: secMap", "secDN: cn=staff,o=example")
USER_RECORD = (b"dn: principalName=jdoe,cn=Users,secAuthority=default\nobjectClass: secUser\nsecAuthority: Default\n"
               b"principalName: jdoe\nsecDomainId: Default%jdoe\nsecdn: cn=jdoe,o=example\n\n")
GROUP_RECORD = (b"dn: cn=staff,cn=Groups,secAuthority=default\nobjectClass: secGroup\ncn: staff\n"
                b"secDN: cn=staff,o=example\n\n")


def person(name, *more, domain="Default"):
    return (entry(f"dn: secAuthority={domain},cn={name}", "objectClass: secUser", f"secAuthority: {domain}",
                  f"principalName: {name}", *more)
            + entry(f"dn: cn=m-{name},cn=Users,secAuthority={domain}", "objectClass: secMap", f"secdn: cn={name}"))


def errors(result):
    return [message.code for message in result.messages if message.stream == "stderr"]


def codes(result):
    return [message.code - 380928000 for message in result.messages]


def echoed(result):
    return b"".join(item for item in result.stdout if isinstance(item, bytes))


def traceText(result):
    return b"".join(item for item in result.trace if isinstance(item, bytes))


class ModelTest(unittest.TestCase):
    def succeeds(self, text, output, *arguments, **more):
        result = convert(text, *arguments, **more)
        self.assertEqual(errors(result), [])
        self.assertEqual(result.output, output)
        self.assertEqual(result.status, 0)
        return result

    def fails(self, text, code, output=b"", *arguments, **more):
        result = convert(text, *arguments, **more)
        self.assertEqual(errors(result), [code])
        self.assertEqual(result.output, output)
        self.assertEqual(result.status, 255)
        return result


class RunTest(ModelTest):
    def test_empty_input_gives_empty_output_and_no_pass_messages(self):
        result = self.succeeds(b"", b"")
        self.assertEqual(codes(result), [308, 309, 310, 311, 315])
        self.assertIsNone(result.work)

    def test_slot_counts_of_one_take_several_passes(self):
        text = person("a") + person("b") + person("c") + GROUP + GROUP_MAP
        result = convert(text, None, 1, 1)
        self.assertEqual(result.status, 0)
        self.assertEqual(codes(result), [308, 309, 310, 311] + [312, 313] * 3 + [315])
        order = [line for line in result.output.split(b"\n") if line.startswith(b"dn:")]
        self.assertEqual([line[4:22] for line in order],
                         [b"principalName=a,cn", b"cn=staff,cn=Groups", b"principalName=b,cn", b"principalName=c,cn"])

    def test_a_slot_count_below_one_is_a_usage_error(self):
        self.assertEqual(codes(convert(b"", None, 0, 1)), [314])

    def test_tracing_keeps_the_work_file_and_a_copy_of_it(self):
        result = self.succeeds(USER + USER_MAP, USER_RECORD, tracing=True)
        self.assertEqual(len(result.copy), len(result.work))
        self.assertFalse(result.work.strip(b" \r\n"))
        self.assertTrue(result.copy.startswith(b"dn: secAuthority=Default,cn=jdoe"))

    def test_debug_error_shows_the_input_list_and_nothing_else_of_a_good_run(self):
        result = self.succeeds(USER + USER_MAP, USER_RECORD, debug_error=True)
        self.assertEqual(echoed(result),
                         b"DEBUG_ERROR flag is on................ \n"
                         b"main():  input_ldif_filename           = input.ldif \n"
                         b"main():  output_ldif_filename          = output.ldif \n"
                         b"main():  max_number_of_secuser_slots   = 2 \n"
                         b"main():  max_number_of_secgroup_slots  = 2 \n")

    def test_a_users_entry_with_blanks_in_its_dn_fills_the_users_row_only(self):
        text = USER + USER_MAP + entry("dn: principalName=jdoe, cn=Users, secAuthority=Default", "objectClass: secUser",
                                       "secDomainId: x", "principalName: jdoe")
        # It opens a slot of its own, whose secUser row stays empty.
        result = self.fails(text, 380928302, USER_RECORD, debug_error=True)
        self.assertIn(b"principalName for secUser: null  could not be determined\n", echoed(result))


class ReadingTest(ModelTest):
    def test_lines_are_unfolded_and_comments_and_blank_lines_dropped(self):
        self.succeeds(b"\n# first\n \r\ndn: o=x\r\ndescription: abc\r\n def\r\n#c\r\no: x",
                      b"dn: o=x\ndescription: abcdef\no: x\n\n")

    def test_a_line_of_a_tab_does_not_end_an_entry(self):
        self.succeeds(b"dn: o=x\n\t\no: x\n", b"dn: o=x\n\t\no: x\n\n")

    def test_a_long_line_is_read_in_pieces(self):
        self.succeeds(b"dn: o=x\nx: " + b"y" * 5000 + b"\n",
                      b"dn: o=x\nx: " + b"y" * 4092 + b"\n" + b"y" * 908 + b"\n\n")

    def test_a_line_of_4095_characters_ends_its_entry(self):
        self.succeeds(b"dn: o=x\nx: " + b"y" * 4092 + b"\no: x\n", b"dn: o=x\nx: " + b"y" * 4092 + b"\n\no: x\n\n")

    def test_what_follows_a_nul_is_lost(self):
        self.succeeds(b"dn: o=x\na: b\0c\n\0d: e\nf: g\n", b"dn: o=x\na: b\n\nf: g\n\n")

    def test_blanking_keeps_the_length_but_for_one_character(self):
        self.assertEqual(model.blankLine(b"abcde\n"), b"    \r\n")
        self.assertEqual(model.blankLine(b"a\n"), b"\r\n")
        self.assertEqual(model.blankLine(b"a"), b"\r\n")

    def test_blanks_around_commas(self):
        self.assertEqual(model.commaSpaceEater(b"a ,  b,\tc, d \\, e"), b"a,b,\tc,d \\,e")
        self.assertEqual(model.commaSpaceEater(b" a  "), b" a  ")
        self.assertEqual(model.commaSpaceEater(b"  , ,x"), b",,x")

    def test_an_entry_too_long_for_the_buffer_is_copied_as_it_stands(self):
        long = b"dn: o=x\n#c\nXOQ-ENTRYUUID: 1\nXoq-entryUUID: 2\naci: x\n" + b"a: b\n" * 249996
        expected = long.replace(b"#c\nXOQ-ENTRYUUID: 1\n", b"")
        self.succeeds(long + b"\n" + b"dn: o=y\n", expected + b"\ndn: o=y\n\n")
        self.succeeds(long, expected)


class ClassificationTest(unittest.TestCase):
    CASES = [
        ("all lower case", [b"dn: x", b"objectclass: secgroup"], model.SECGROUP),
        ("another case", [b"dn: x", b"objectClass: SecGroup"], model.UNINTERESTING),
        ("another case of the attribute", [b"dn: x", b"ObjectClass: secGroup"], model.UNINTERESTING),
        ("policy data", [b"dn: x", b"objectClass: secPolicyData"], model.SECPOLICYDATA),
        ("policy", [b"dn: x", b"objectClass: secPolicy"], model.SECPOLICY),
        ("credentials container", [b"dn: cn=ResCreds,o=x", b"objectClass: container"], model.RESCREDS),
        ("container", [b"dn: cn=RESCREDS,o=x", b"objectClass: container"], model.CONTAINER),
        ("credentials", [b"dn: x", b"objectClass: secResCreds"], model.SECRESCREDS),
        ("no blank", [b"dn: x", b"objectClass:secUser"], model.UNINTERESTING),
        ("longer name", [b"dn: x", b"objectClass: secUserX"], model.SECUSER),
        ("inside a value", [b"dn: x", b"description: my objectClass: secUser notes"], model.SECUSER),
        ("first line that names a class", [b"dn: x", b"objectClass: top", b"objectClass: secMap",
                                           b"objectClass: secUser"], model.SECMAP),
        ("empty", [], model.UNINTERESTING),
    ]

    def test_cases(self):
        for name, lines, code in self.CASES:
            with self.subTest(name):
                run = model.Conversion(b"", None, 1, 1, False, False, model.Names(), None)
                run.object = lines
                self.assertEqual(run.classOfEntry(), code)


class AdjustmentTest(ModelTest):
    def authority(self, *lines):
        return convert(entry("dn: secAuthority=x", "objectClass: secAuthorityInfo", *lines), now=NEW_YEAR).output

    def test_version_and_install_date(self):
        head = b"dn: secAuthority=x\nobjectClass: secAuthorityInfo\n"
        date = b"installDate: 20240302030405.0Z\n\n"
        self.assertEqual(self.authority("version: 5.0"), head + b"version: 6.0\n" + date)
        self.assertEqual(self.authority("version:   4.10"), head + b"version:   6.00\n" + date)
        self.assertEqual(self.authority("version: 5"), head + b"version: 6.0\n" + date)
        self.assertEqual(self.authority("version: "), head + b"version: 6.0\n" + date)
        self.assertEqual(self.authority("version: 5\rx"), head + b"version: 6.0\n" + date)
        self.assertEqual(self.authority("x: 1", "INSTALLDATE: y"), head + b"x: 1\nINSTALLDATE: y\n\n")

    def test_only_the_first_lowercase_uuid_line_is_renamed(self):
        text = GROUP[:-1] + b"secuuid: 1\nsecuuid: 2\n\n" + GROUP_MAP
        self.succeeds(text, GROUP_RECORD.replace(b"secDN", b"secUUID: 1\nsecuuid: 2\nsecDN"))

    def test_a_user_without_principal_name_stops_the_run(self):
        result = self.fails(USER.replace(b"principalName: jdoe\n", b""), 380928302, debug_error=True)
        self.assertTrue(echoed(result).endswith(
            b"tweekObjectInObjectArray():  obtainAttributeValueFromObjArray('principalName') failure.  EXITING. \n"
            b"tweekObjectInObjectArray():  secUser object is =dn: secAuthority=Default,cn=jdoe,o=example\n\n"))

    def test_a_domain_identifier_that_is_there_needs_no_attributes(self):
        result = convert(entry("dn: secAuthority=x,cn=y", "objectClass: secUser", "SECDOMAINID: z"))
        self.assertEqual(codes(result), [308, 309, 310, 311, 312, 313, 302])

    def test_an_entry_that_starts_with_a_continuation_line_stops_the_run(self):
        result = self.fails(entry("dn: o=x") + entry(" x"), 380928302, b"dn: o=x\n\n", debug_error=True)
        self.assertTrue(echoed(result).endswith(b"obtainAttributeFromObjectArray():  object =  x\n\n"))


class WorkFileTest(ModelTest):
    def test_credentials_are_copied_last_without_bookkeeping(self):
        text = entry("dn: cn=h", "objectClass: secResCreds", "ACI: x", "note: see Control: y", "cn: h")
        text += USER + USER_MAP
        self.succeeds(text, USER_RECORD + b"dn: cn=h\nobjectClass: secResCreds\ncn: h\n\n")

    def test_a_left_over_work_file_is_converted_too(self):
        self.succeeds(GROUP + GROUP_MAP, USER_RECORD + GROUP_RECORD,
                      USER[:-1] + b"secDomainId: Default%jdoe\n\n" + USER_MAP)

    def test_an_unknown_class_in_the_work_file_stops_the_run(self):
        result = self.fails(b"", 380928302, b"", b"dn: o=x\n\n", debug_error=True)
        self.assertIn(b"main():  ERROR:  The object class of this object was unrecognizable.  EXITING. \n",
                      echoed(result))

    def test_a_comment_before_a_blank_line_is_blanked_in_the_entrys_place(self):
        # The entry is read a second time, and its row is taken.
        result = self.fails(b"", 380928303, b"", b"#c\n\n" + GROUP, debug_error=True)
        self.assertEqual(result.work, b" \r\n\n" + GROUP)
        self.assertIn(b"moveSecGroupObjectFromObjectArrayToSecGroupMatrix():  Destination slot is already occupied."
                      b"  EXITING. \nsecGroup_matrix = dn: secAuthority=Default,cn=staff,o=example\n\n", echoed(result))

    def test_a_comment_before_a_blank_line_doubles_a_credentials_entry(self):
        credentials = b"dn: cn=h\nobjectClass: secResCreds\n\n"
        self.succeeds(b"", credentials * 2, b"#c\n\n" + credentials)

    def test_a_nul_ends_the_line_and_the_blanking_goes_on_behind_it(self):
        text = b"dn: o=x,secAuthority=y\nobjectClass: secGroup\ncn: a\0b\n\n" + GROUP_MAP
        result = self.fails(b"", 380928302, b"dn: cn=a,cn=Groups,o=x,cn=Subdomains,secAuthority=default\n", text,
                            tracing=True)
        # The rest of the line is blank to the reader and ends the entry.
        self.assertEqual(result.work, b" " * 21 + b"\r\n" + b" " * 20 + b"\r\n" + b"   \r\n\0b\n\n"
                         + b"".join(model.blankLine(line + b"\n") for line in GROUP_MAP.split(b"\n")[:3]) + b"\n")

    def test_a_single_character_at_the_end_grows(self):
        result = self.fails(b"", 380928302, b"", b"dn: a,b\nobjectClass: secGroup\nx", tracing=True)
        self.assertEqual(result.work, b" " * 6 + b"\r\n" + b" " * 20 + b"\r\n\r\n")

    def test_codes_before_the_resume_position_are_left_for_the_final_copy(self):
        result = convert(entry("dn: cn=h", "objectClass: secResCreds") + person("a") + person("b"), None, 1, 1)
        self.assertEqual(result.status, 0)
        self.assertTrue(result.output.endswith(b"\n\ndn: cn=h\nobjectClass: secResCreds\n\n"))


class CacheTest(ModelTest):
    def test_second_entry_of_a_kind_stops_the_run(self):
        result = self.fails(USER + USER + USER_MAP, 380928303, debug_error=True)
        self.assertIn(b"Destination slot is already occupied.  EXITING.\nsecUser_matrix = dn: ", echoed(result))

    def test_owners_compare_without_case_and_blanks_around_commas_on_the_user_side(self):
        text = USER.replace(b"Default,cn=jdoe,", b"DEFAULT , CN=Jdoe, ") + USER_MAP
        result = convert(text)
        self.assertEqual(result.status, 0)
        self.assertTrue(result.output.startswith(b"dn: principalName=jdoe,cn=Users,secAuthority=default\n"))

    def test_a_group_with_blanks_around_commas_finds_no_map(self):
        self.fails(GROUP.replace(b"Default,", b"Default, ") + GROUP_MAP, 380928302,
                   b"dn: cn=staff,cn=Groups,secAuthority=default\n")

    def test_trailing_blanks_in_a_users_dn_part_it_from_its_map(self):
        self.fails(USER.replace(b"o=example\n", b"o=example \n") + USER_MAP, 380928302,
                   b"dn: principalName=jdoe,cn=Users,secAuthority=default\n")

    def test_a_policy_with_a_blank_behind_its_first_comma_opens_a_slot_of_its_own(self):
        self.fails(USER + USER_MAP + POLICY.replace(b"Policy,", b"Policy, "), 380928302, USER_RECORD)

    def test_a_map_without_authority_stops_the_run(self):
        result = self.fails(entry("dn: cn=m,cn=Users", "objectClass: secMap", "secdn: x"), 380928302, debug_error=True)
        self.assertIn(b"learnIndexOfAssociatedSecUserDN(): Missing secAuthority in dn: cn=m,cn=Users\n", echoed(result))

    def test_a_group_map_without_secdn_stops_the_run_in_free_wording(self):
        result = self.fails(entry("dn: cn=m,secAuthority=x", "objectClass: secMap"), 380928302)
        self.assertIn(FREE, result.stdout)

    def test_a_row_of_fifty_lines_is_read_and_released_with_the_next_row(self):
        more = ["x%d: 1" % number for number in range(45)]    # with secDomainId fifty lines
        # The first record runs on into the second user's lines; the second user then has no row.
        expected = entry("dn: principalName=a,cn=Users,secAuthority=default", "objectClass: secUser",
                         "secAuthority: Default", "principalName: a", *more, "secDomainId: Default%a",
                         "dn: secAuthority=Default,cn=b", "objectClass: secUser", "secAuthority: Default",
                         "principalName: b", "secDomainId: Default%b", "secdn: cn=a")
        result = self.fails(person("a", *more) + person("b"), 380928302, expected, debug_error=True)
        self.assertIn(b"principalName for secUser: null", echoed(result))

    def test_a_row_longer_than_the_table_stops_the_run(self):
        self.fails(person("a", *["x%d: 1" % number for number in range(46)]), 380928303, b"", None, 1, 1)
        self.assertEqual(convert(person("a", *["x%d: 1" % number for number in range(45)]), None, 1, 1).status, 0)

    def test_a_policy_released_with_the_row_before_it_stays_counted(self):
        def policyOf(name, lines):
            return entry(f"dn: cn=Policy,secAuthority=Default,cn={name}", "objectClass: secPolicy",
                         *["x: 1"] * (lines - 2))
        text = person("a") + policyOf("a", 500) + person("b") + policyOf("b", 3)
        # The release of the first policy takes the second along, so that the counter stays at 1: the second pass has
        # room for one policy, the fourth user's opens a slot without its user in the third.
        result = convert(text + person("c") + policyOf("c", 3) + person("d") + policyOf("d", 3), None, 2, 1)
        self.assertEqual(codes(result), [308, 309, 310, 311] + [312, 313] * 3 + [302])
        records = [record.split(b",cn=Users")[0] for record in result.output.split(b"\n\n")]
        self.assertEqual(records, [
            b"dn: principalName=a", b"dn: cn=Policies,principalName=a", b"dn: cn=Policy,cn=Policies,principalName=a",
            b"dn: principalName=b", b"dn: cn=Policies,principalName=b",
            b"dn: principalName=c", b"dn: cn=Policies,principalName=c", b"dn: cn=Policy,cn=Policies,principalName=c",
            b"dn: principalName=d", b""])


class NewDNTest(ModelTest):
    def firstLine(self, text):
        return convert(text).output.split(b"\n")[0]

    def test_domains(self):
        self.assertEqual(self.firstLine(person("a", domain="Sales")),
                         b"dn: principalName=a,cn=Users,secAuthority=Sales,cn=Subdomains,secAuthority=default")
        self.assertEqual(self.firstLine(person("a", domain="DEFAULT")),
                         b"dn: principalName=a,cn=Users,secAuthority=default")
        self.assertEqual(self.firstLine(person("a").replace(b"cn=a", b"cn=subdomains,cn=a")),
                         b"dn: principalName=a,cn=Users,secAuthority=Default,cn=Subdomains,secAuthority=default")

    def test_names(self):
        self.assertEqual(self.firstLine(person("a").replace(b"principalName: a\n", b"principalname:   jd \r\n")),
                         b"dn: principalName=jd ,cn=Users,secAuthority=default")
        self.assertEqual(self.firstLine(person("a").replace(b"principalName: a", b"principalName:\ta")),
                         b"dn: principalName=\ta,cn=Users,secAuthority=default")
        self.assertEqual(self.firstLine(GROUP.replace(b"cn: staff", b"note: the cn: x\ncn: staff") + GROUP_MAP),
                         b"dn: cn=x,cn=Groups,secAuthority=default")

    def test_an_unknown_spelling_of_the_name_fails_the_flush(self):
        result = self.fails(USER.replace(b"principalName", b"PrincipalName") + USER_MAP, 380928302, debug_error=True)
        self.assertTrue(echoed(result).endswith(
            b"learnPrincipalNameFromSecUserObject(): ERROR: secUser principal name could not be found. \n"
            b"secUser is: dn: secAuthority=Default,cn=jdoe,o=example\n\n"
            b"createNewSecUserDN():  principalName for secUser: dn: secAuthority=Default,cn=jdoe,o=example\n"
            b"  could not be determined\n"
            b"copyAllAccumulatedDataToOutputFile() - createNewSecUserDN() failure.  RETURNING. \n"
            b"secUser_dn = secAuthority=Default,cn=jdoe,o=example\n\n"
            b"main():  ERROR:  Failed to copy all accumulated data to the temporary output LDIF file.  EXITING.  \n"))

    def test_a_group_without_cn_is_told_always(self):
        result = self.fails(GROUP.replace(b"cn: ", b"Cn: ") + GROUP_MAP, 380928302)
        self.assertEqual(echoed(result), b"createNewSecGroupDN():  learnCNFromSecGroupObject FAILED.\n"
                         b"createNewSecGroupDN():  secGroup:  secAuthority=Default,cn=staff,o=example\n\n")

    def test_length_limits(self):
        for length, status in ((1022, 0), (1023, 255)):
            text = person("a").replace(b"principalName: a\n", b"principalName: " + b"n" * length + b"\n")
            self.assertEqual(convert(text).status, status, length)
        # "dn: principalName=a,cn=Users,secAuthority=" + domain + ",cn=Subdomains,secAuthority=default\n"
        for length, status in ((4095 - 42 - 36, 0), (4096 - 42 - 36, 255)):
            self.assertEqual(convert(person("a").replace(b"Default", b"D" * length)).status, status, length)


class MergeTest(ModelTest):
    def merged(self, first, second):
        run = model.Conversion(b"", None, 1, 1, False, False, model.Names(), None)
        run.mergeObjects([line + b"\n" for line in first], [line + b"\n" for line in second])
        return [line[:-1] for line in run.object]

    def test_cases(self):
        for name, first, second, merged in [
            ("second wins in the first's place", [b"cn: a", b"x: 1"], [b"cn: b"], [b"cn: b", b"x: 1"]),
            ("first wins for the authority", [b"secAuthority: a"], [b"secauthority: b", b"x: 1"],
             [b"secAuthority: a", b"x: 1"]),
            ("case is ignored", [b"mail: x"], [b"MAIL: y"], [b"MAIL: y"]),
            ("part of a name matches", [b"cn: a"], [b"seccn: z", b"cn: b"], [b"seccn: z", b"cn: b"]),
            ("surplus of the first stays", [b"m: 1", b"m: 2"], [b"m: 3"], [b"m: 3", b"m: 2"]),
            ("surplus of the second is added", [b"m: 1"], [b"m: 2", b"m: 3"], [b"m: 2", b"m: 3"]),
            ("excluded and class lines go", [b"dn: a", b"aclEntry: x", b"ACLEntry: y"],
             [b"dn: b", b"objectclass: z", b"control: 1"], [b"dn: a", b"ACLEntry: y"]),
            ("class text in a value", [b"description: objectclass: x"], [b"description: y"],
             [b"description: objectclass: x", b"description: y"]),
        ]:
            with self.subTest(name):
                self.assertEqual(self.merged(first, second), merged)

    def test_a_line_without_a_colon_stops_the_run(self):
        result = self.fails(USER[:-1] + b"nocolon\n\n" + USER_MAP, 380928302,
                            b"dn: principalName=jdoe,cn=Users,secAuthority=default\n", debug_error=True)
        self.assertTrue(echoed(result).endswith(
            b"mergeObjects():  Colon missing from attribute definition. EXITING. \n"
            b"mergeObjects():  attributeClone = nocolon\n\n"))


class RecordTest(ModelTest):
    def test_user_with_all_entries(self):
        data = entry("dn: cn=data,secAuthority=Default,cn=jdoe,o=example", "objectClass: secPolicyData", "x: 1")
        self.succeeds(data + POLICY + USERS_ENTRY + USER + USER_MAP,
                      b"dn: principalName=jdoe,cn=Users,secAuthority=default\nobjectClass: secUser\n"
                      b"secAuthority: Default\nprincipalName: jdoe\nsecdn: cn=jdoe,o=example\n"
                      b"secDomainId: Default%jdoe\n\n"
                      b"dn: cn=Policies,principalName=jdoe,cn=Users,secAuthority=default\nobjectclass: container\n"
                      b"objectclass: top\ncn: Policies\n\n"
                      b"dn: cn=Policy,cn=Policies,principalName=jdoe,cn=Users,secAuthority=default\n"
                      b"objectClass: secPolicy\ncn: Policy\n\n")

    def test_changetype_seen_adds_a_line_to_the_container(self):
        result = convert(POLICY + USER + USER_MAP.replace(b"secdn", b"note: changetype: x\nsecdn"))
        self.assertIn(b"secAuthority=default\nchangetype: add\nobjectclass: container\n", result.output)

    def test_left_out_lines(self):
        text = USER[:-1] + b"description: see ACL: x\nCONTROL: y\nXoq-entryuuid: z\n\n" + USER_MAP
        self.succeeds(text, USER_RECORD.replace(b"secDomainId", b"CONTROL: y\nsecDomainId"))

    def test_a_user_without_map_stops_behind_its_dn(self):
        result = self.fails(USER, 380928302, b"dn: principalName=jdoe,cn=Users,secAuthority=default\n",
                            debug_error=True)
        self.assertTrue(echoed(result).endswith(
            b"writeSecUserAddToOutputFile():  ERROR:  Passing a NULL pointer to mergeObjects() \n"
            b"secUser_matrix = dn: secAuthority=Default,cn=jdoe,o=example\n\nsecMap_for_secUser_matrix = NULL\n"))


class ShownTest(ModelTest):
    def test_characters(self):
        for text, shown in [
            (b"cn=a b~", b"cn=a b~"),
            (b"\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80\xc2\xa0", b"\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80\xc2\xa0"),
            (b"\x1b[2J\t\n\r\x00\x7f", b"\\x1B[2J\\x09\\x0A\\x0D\\x00\\x7F"),
            (b"a\xc2\x9bb\xc2\x80\xc2\x9f", b"a\\xC2\\x9Bb\\xC2\\x80\\xC2\\x9F"),
            (b"a\x9bb\xe4\xff", b"a\\x9Bb\\xE4\\xFF"),
            (b"\xc0\xaf\xe0\x80\xaf", b"\\xC0\\xAF\\xE0\\x80\\xAF"),
            (b"\xed\xa0\x80\xed\xb2\x80", b"\\xED\\xA0\\x80\\xED\\xB2\\x80"),
            (b"\xf4\x8f\xbf\xbf\xf4\x90\x80\x80", b"\xf4\x8f\xbf\xbf\\xF4\\x90\\x80\\x80"),
            (b"\xe2\x82A\xc3", b"\\xE2\\x82A\\xC3"),
        ]:
            with self.subTest(text=text):
                self.assertEqual(model.shown(text), shown)
        # In the echo newlines stay.
        self.assertEqual(model.shownLines(b"a\r\n\tb\n"), b"a\\x0D\n\\x09b\n")

    def test_dns(self):
        for dn in (b"cn=a,o=b", b"cn = a , o = b", b"cn=a;o=b", b"cn=a+sn=b,o=c", b"cn=a\\,b", b"cn=a\\=,o=b",
                   b"2.5.4.3=a", b"c-n1=a", b"cn=a=", b"cn=a==,o=b", b"  cn=a", b"cn=\xc3\xa4"):
            with self.subTest(dn=dn):
                for line in (b"dn: " + dn + b"\n", b"DN:" + dn + b" \t\r\n", b"Dn:   " + dn):
                    self.assertEqual(model.shownDN(line), dn.lstrip(b" "))
        for line in (b"dn: UzNjcmV0UGFzc3dvcmQ=", b"dn: UzNjcmV0UGFzc3dvcmQ==", b"dn:: Y249YQ==", b"dn:: cn=a",
                     b"dn: secret", b"dn: ", b"dn:", b"d", b"description: cn=a", b" cn=a", b"cn=a", b"dn: cn=a,",
                     b"dn: cn=a,,o=b", b"dn: cn=,o=b", b"dn: cn= ,o=b", b"dn: cn=a\\\\,b", b'dn: cn="a,b",o=c',
                     b"dn: .5=a", b"dn: 2a=b", b"dn: c_n=a", b"dn: -n=a", b"dn: cn= =a", b"dn: =a", b"dn: \tcn=a",
                     b"dn: c\xc3\xa4=a"):
            with self.subTest(line=line):
                self.assertIsNone(model.shownDN(line + b"\n"))
        self.assertEqual(model.shownDN(b"dn: cn=\ta\x1b,o=\xc2\x9b\xc3\xa4\x9b\n"),
                         b"cn=\\x09a\\x1B,o=\\xC2\\x9B\xc3\xa4\\x9B")

    def test_the_echo_is_shown_harmless(self):
        text = USER.replace(b"principalName: jdoe\n", b"").replace(b"o=example\n", b"o=\x1b\te\xe4\r\n")
        result = self.fails(text, 380928302, debug_error=True)
        self.assertTrue(echoed(result).endswith(
            b"secUser object is =dn: secAuthority=Default,cn=jdoe,o=\\x1B\\x09e\\xE4\\x0D\n\n"))

    def test_a_group_without_cn_is_shown_harmless_and_the_trace_is_raw(self):
        text = (GROUP.replace(b"cn: ", b"Cn: ") + GROUP_MAP).replace(b"example", b"\x9b")
        result = self.fails(text, 380928302, tracing=True)
        self.assertEqual(echoed(result), b"createNewSecGroupDN():  learnCNFromSecGroupObject FAILED.\n"
                         b"createNewSecGroupDN():  secGroup:  secAuthority=Default,cn=staff,o=\\x9B\n\n")
        self.assertIn(b"secGroup_dn[0] = secAuthority=Default,cn=staff,o=\x9b\n", traceText(result))


LEFT_OVER = b" A work file from an earlier run was converted as well and can be the cause."


class MessageTest(ModelTest):
    def tells(self, expected, text, *arguments, **more):
        """`expected` is the text of the only error; three dots stand for what every failure says in its middle."""
        result = convert(text, *arguments, **more)
        self.assertEqual([message.text for message in result.messages if message.stream == "stderr"],
                         [expected.replace(b"...", b", and the conversion has stopped. ")])


class FailureTextTest(MessageTest):
    def test_users(self):
        dn = b"secAuthority=Default,cn=jdoe,o=example (line 1)"
        add = b"...Add the attribute or remove the user."
        without_name = USER.replace(b"principalName: jdoe\n", b"")
        self.tells(b"The user " + dn + b" has no principalName" + add, without_name)
        self.tells(b"The user " + dn + b" has no secAuthority" + add,
                   without_name.replace(b"secAuthority: Default\n", b""))
        self.tells(b"The user " + dn + b" has no principalName" + add,
                   without_name[:-1] + b"secDomainId: x\n\n" + USER_MAP)
        self.tells(b"The user " + dn + b" has no principalName" + add,
                   USER.replace(b"Name: jdoe", b"Name:") + USER_MAP)
        self.tells(b"The user " + dn + b" has no secMap entry...Add its secMap entry or remove the user.", USER)
        for length in (1023, 4000):
            self.tells(b"The entry secAuthority=Default,cn=a (line 1) has too long a name...Shorten it to 1,022"
                       b" characters at most.", person("a").replace(b"Name: a\n", b"Name: " + b"n" * length + b"\n"))
        domain = b"D" * (4096 - 42 - 36)
        self.tells(b"The entry secAuthority=" + domain + b",cn=a (line 1) has too long a DN, old or new...Shorten it to"
                   b" 4,094 characters at most.", person("a").replace(b"Default", domain))

    def test_a_user_without_an_own_entry(self):
        data = entry("dn: cn=data,secAuthority=Default,cn=jdoe,o=example", "objectClass: secPolicyData")   # 3 lines
        end = b" belongs to a user without a secUser entry of its own...Add that entry or remove this one."
        self.tells(b"The entry cn=data,secAuthority=Default,cn=jdoe,o=example (line 1)" + end, data)
        self.tells(b"The entry cn=Policy,secAuthority=Default,cn=jdoe,o=example (line 4)" + end, data + POLICY)
        self.tells(b"The entry principalName=jdoe,cn=Users,secAuthority=Default (line 9)" + end,
                   data + POLICY + USERS_ENTRY)
        self.tells(b"The entry cn=m1,cn=Users,secAuthority=Default (line 15)" + end,
                   data + POLICY + USERS_ENTRY + USER_MAP)

    def test_groups(self):
        dn = b"secAuthority=Default,cn=staff,o=example (line 1)"
        self.tells(b"The group " + dn + b" has no secMap entry...Add its secMap entry or remove the group.", GROUP)
        self.tells(b"The group " + dn + b" has no cn...Add the attribute or remove the group.",
                   GROUP.replace(b"cn: ", b"Cn: ") + GROUP_MAP)
        self.tells(b"The map cn=m2,cn=Groups,secAuthority=Default (line 1) belongs to a group without a secGroup"
                   b" entry...Add that entry or remove this one.", GROUP_MAP)
        self.tells(b"The entry " + dn + b" has too long a name...Shorten it to 1,022 characters at most.",
                   GROUP.replace(b"cn: staff", b"cn: " + b"s" * 1023) + GROUP_MAP)

    def test_entries_whose_owner_cannot_be_told(self):
        users_entry = [b"The entry principalName=jdoe,cn=Users,secAuthority=Default (line 1) under cn=Users has no ",
                       b"...Add the attribute or remove the entry."]
        lines = ["dn: principalName=jdoe,cn=Users,secAuthority=Default", "objectClass: secUser", "secDomainId: x"]
        self.tells(b"secAuthority".join(users_entry), entry(*lines))
        self.tells(b"secAuthority".join(users_entry), entry(*lines, "secDN: cn=jdoe"))
        self.tells(b"secDN".join(users_entry), entry(*lines, "secAuthority: Default"))
        for container in (b"Users", b"Groups"):
            self.tells(b"The map cn=m,cn=" + container + b" (line 1) has no secAuthority in its DN...Mend its DN or"
                       b" remove it.", b"dn: cn=m,cn=" + container + b"\nobjectClass: secMap\n")
            self.tells(b"The map cn=m,cn=" + container + b",secAuthority=x (line 1) has no secDN...Add the attribute or"
                       b" remove the map.", b"dn: cn=m,cn=" + container + b",secAuthority=x\nobjectClass: secMap\n")
        for kind in ("secPolicy", "secPolicyData"):
            self.tells(b"The entry cn=loose (line 1) has a DN without a comma and so belongs to no user...Mend its DN"
                       b" or remove it.", entry("dn: cn=loose", "objectClass: " + kind))
        incomplete = b" does not begin with a complete dn: line...Mend its first line."
        self.tells(b"The entry whose DN cannot be shown (line 1)" + incomplete, entry("ab", "objectClass: secGroup"))
        self.tells(b"The entry whose DN cannot be shown (line 1)" + incomplete, entry("cn: m", "objectClass: secMap"))
        self.tells(b"The entry cn=a" + incomplete + LEFT_OVER, b"", b"dn: cn=a\0\nobjectClass: secGroup\n\n")
        owner = b"cn=a,\n " + b"\n ".join([b"x" * 4000] * 5)
        self.tells(b"The entry cn=m,cn=Users,secAuthority=x names too long an owner DN...Shorten it to 19,998"
                   b" characters at most." + LEFT_OVER, b"",
                   b"dn: cn=m,cn=Users,secAuthority=x\nobjectClass: secMap\nsecdn: " + owner + b"\n\n")

    def test_entries_out_of_place(self):
        unknown = (b" of the work file is of an unknown class...It may be the rest of an entry with a line of 4,095"
                   b" characters or more.")
        self.tells(b"The entry o=x" + unknown + LEFT_OVER, b"", b"dn: o=x\n\n")
        self.tells(b"The entry o=x (line 2)" + unknown + LEFT_OVER, b"\ndn: o=x\n", b"dn: o=x\n\n")
        # A line of 4,095 characters ends its entry in the work file.
        self.tells(b"The entry whose DN cannot be shown" + unknown,
                   USER[:-1] + b"x: " + b"y" * 4093 + b"\nz: 1\n\n" + USER_MAP)
        folded = (b" begins with the continuation of another line, such as a folded comment...Write the comment on one"
                  b" line or remove it.")
        self.tells(b"The entry whose DN cannot be shown (line 3)" + folded, entry("dn: o=x") + b" x\no: y\n")
        self.tells(b"The entry whose DN cannot be shown (line 2)" + folded, b"# a comment\n  folded\n" + USER)
        self.tells(b"The entry o=x has more than 250,000 lines...Remove lines from it." + LEFT_OVER, b"",
                   b"dn: o=x\n" + b"a: b\n" * 250000)

    def test_lines_without_a_colon(self):
        end = b" has a line without a colon...Mend the line; one that continues another begins with a blank."
        self.tells(b"The entry secAuthority=Default,cn=jdoe,o=example (line 1)" + end,
                   USER[:-1] + b"nocolon\n\n" + USER_MAP + USERS_ENTRY)
        self.tells(b"The entry cn=m1,cn=Users,secAuthority=Default (line 6)" + end,
                   USER + USER_MAP[:-1] + b"nocolon\n\n" + USERS_ENTRY)
        self.tells(b"The entry principalName=jdoe,cn=Users,secAuthority=Default (line 10)" + end,
                   USER + USER_MAP + USERS_ENTRY[:-1] + b"nocolon\n\n")

    def test_a_dn_is_shown_only_if_it_is_one(self):
        hidden = b"whose DN cannot be shown"
        for dn, shown in [(b" UzNjcmV0UGFzc3dvcmQ=", hidden), (b": Y249YQ==", hidden),
                          (b" cn=\x1b[2J,o=\xc3\xa4", b"cn=\\x1B[2J,o=\xc3\xa4"),
                          (b" cn=\xc2\x9bx,o=y\x9b", b"cn=\\xC2\\x9Bx,o=y\\x9B"), (b" cn=a\tb", b"cn=a\\x09b")]:
            with self.subTest(dn=dn):
                self.tells(b"The user " + shown + b" (line 1) has no secAuthority...Add the attribute or remove the"
                           b" user.", b"dn:" + dn + b"\nobjectClass: secUser\n")
                self.tells(b"The group " + shown + b" (line 1) has no secMap entry...Add its secMap entry or remove the"
                           b" group.", b"dn:" + dn + b"\nobjectClass: secGroup\ncn: a\n")

    def test_lines_are_counted_as_they_stand_in_the_input(self):
        for name, before, line in [
            ("nothing", b"", 1),
            ("line ends of two characters", b"version: 1\r\n\r\n \r\n", 4),
            ("comments", b"# a\n\n# b\n# c\n", 5),
            ("a folded line", b"dn: o=x\nx: a\n b\n\n", 5),
            ("a long line in pieces", b"dn: o=x\nx: " + b"y" * 9000 + b"\n\n", 4),
            ("a line whose newline is a piece of its own", b"dn: o=x\nx: " + b"y" * 4092 + b"\n", 3),
            ("a carriage return alone", b"dn: o=x\nx: a\rb\n\n", 4),
            ("lines behind a NUL", b"dn: o=x\0y\n\0z\n", 3),
            ("an entry too long to be gathered", b"dn: o=x\n" + b"a: b\n" * 250000 + b"\n", 250003),
        ]:
            with self.subTest(name):
                dn = b"secAuthority=Default,cn=jdoe,o=example (line %d)" % line
                self.tells(b"The user " + dn + b" has no principalName...Add the attribute or remove the user.",
                           before + USER.replace(b"principalName: jdoe\n", b""))
                self.tells(b"The user " + dn + b" has no secMap entry...Add its secMap entry or remove the user.",
                           before + USER)

    def test_an_entry_that_begins_within_a_line(self):
        # 4,095 characters of the comment are one piece, the rest begins the entry.
        self.tells(b"The user whose DN cannot be shown (line 2) has no secAuthority...Add the attribute or remove the"
                   b" user.", b"\n#" + b"c" * 5000 + b"\nobjectClass: secUser\n")

    def test_spellings_of_the_first_line(self):
        for name, first_line in [
            ("folded", b"dn: secAuthority=Default,\n cn=jdoe\n ,o=example\n"),
            ("folded around a comment", b"dn: secAuthority=Default,cn=jd\n# c\n oe,o=example\n"),
            ("carriage returns", b"dn: secAuthority=Default,cn=jdoe,\r\n o=example\r\n"),
            ("blanks around commas", b"dn: secAuthority=Default ,  cn=jdoe , o=example\n"),
            ("trailing white space", b"dn: secAuthority=Default,cn=jdoe,o=example \t \n"),
        ]:
            with self.subTest(name):
                self.tells(b"The user secAuthority=Default,cn=jdoe,o=example (line 3) has no secMap entry...Add its"
                           b" secMap entry or remove the user.",
                           b"# a comment\n\n" + first_line + USER[USER.index(b"\n") + 1:])

    def test_an_entry_of_an_earlier_run_has_no_line(self):
        own = USER[:-1] + b"secDomainId: x\n\n"
        text = (b"The user secAuthority=Default,cn=jdoe,o=example%s has no secMap entry...Add its secMap entry or"
                b" remove the user." + LEFT_OVER)
        self.tells(text % b"", b"", own)
        self.tells(text % b"", entry("dn: secAuthority=default,cn=jdoe,o=example"), own)
        self.tells(text % b" (line 1)", entry("dn: secAuthority=Default,cn=jdoe, o=example"), own)
        # An empty file can be the cause of nothing.
        self.tells((text % b" (line 1)").replace(LEFT_OVER, b""), USER, b"")


class OccupiedTest(MessageTest):
    DN = b"secAuthority=Default,cn=jdoe,o=example"

    def doubled(self, later, earlier, text, *arguments):
        end = LEFT_OVER if arguments and arguments[0] else b""
        self.tells(b"The entry " + later + b" is of the same kind and owner as the entry " + earlier
                   + b"...Remove one of them." + end, text, *arguments)

    def test_equal_spelling(self):
        self.doubled(self.DN + b" (line 6)", self.DN + b" (line 1)", USER + USER + USER_MAP)
        self.doubled(self.DN + b" (line 6)", self.DN + b" (line 1)", USER.replace(b",", b", ") + USER)
        # The first two entries of the input that begin alike are named, whatever their class.
        self.doubled(self.DN + b" (line 3)", self.DN + b" (line 1)",
                     b"dn: " + self.DN + b"\n\n" + USER + USER)

    def test_different_spelling(self):
        other = self.DN.replace(b"jdoe", b"JDOE")
        self.doubled(other + b" (line 6)", self.DN + b" (line 1)", USER + USER.replace(self.DN, other))
        self.doubled(self.DN + b" (line 6)", other + b" (line 1)", USER.replace(self.DN, other) + USER)

    def test_maps_of_one_owner(self):
        self.doubled(b"cn=m3,cn=Users,secAuthority=Default (line 5)", b"cn=m1,cn=Users,secAuthority=Default (line 1)",
                     USER_MAP + USER_MAP.replace(b"m1", b"m3"))

    def test_one_of_an_earlier_run(self):
        own = USER[:-1] + b"secDomainId: x\n\n"
        other = self.DN.replace(b"jdoe", b"JDOE")
        self.doubled(self.DN + b" (line 2)", self.DN, b"\n" + USER, own)
        self.doubled(other + b" (line 1)", self.DN, USER.replace(self.DN, other), own)
        self.doubled(self.DN, self.DN, b"", own + own)
        self.doubled(self.DN + b" (line 6)", self.DN + b" (line 1)", USER + USER, USER_MAP)
        self.doubled(self.DN + b" (line 6)", self.DN + b" (line 1)", USER + USER, b"")

    def overrun(self, entry, lines, text, *arguments):
        self.tells(b"The entry " + entry + b" has more than the " + lines + b" lines that can be gathered of it..."
                   b"Remove lines from it.", text, *arguments)

    def test_an_entry_that_runs_past_its_table(self):
        more = ["x: 1"] * 46                                   # with secDomainId 51 lines
        self.overrun(b"secAuthority=Default,cn=a (line 1)", b"49", person("a", *more), None, 1, 1)
        # The user b takes the last row.
        self.overrun(b"secAuthority=Default,cn=a (line 10)", b"49", person("b") + person("a", *more), None, 2, 1)
        policy = entry("dn: cn=Policy,secAuthority=Default,cn=a", "objectClass: secPolicy", *["x: 1"] * 499)
        self.overrun(b"cn=Policy,secAuthority=Default,cn=a (line 1)", b"499", policy, None, 1, 1)

    def test_an_entry_in_whose_row_the_tail_of_another_stands(self):
        long = person("a", *["x: 1"] * 46)
        self.overrun(b"secAuthority=Default,cn=a (line 1)", b"49", long + person("b"), None, 2, 1)
        # 101 lines reach into the third row, which is the user c's.
        text = person("a", *["x: 1"] * 96) + person("b").split(b"\n\n")[1] + b"\n\n" + person("c")
        self.overrun(b"secAuthority=Default,cn=a (line 1)", b"49", text, None, 3, 1)
        # The same behind a row of a user z, whose entry is not the one that is too long.
        self.overrun(b"secAuthority=Default,cn=a (line 10)", b"49", person("z") + text, None, 4, 1)
        # A full row before an entry's own is no tail.
        self.doubled(b"secAuthority=Default,cn=b (line 64)", b"secAuthority=Default,cn=b (line 55)",
                     person("a", *["x: 1"] * 45) + person("b") * 2, None, 3, 1)


class NoticeTest(ModelTest):
    def texts(self, code, *arguments):
        result = convert(*arguments)
        self.assertEqual(result.status, 0)
        return [message.text for message in result.messages if message.code == 380928000 + code]

    def test_fixed_texts(self):
        self.assertEqual(self.texts(308, b""), [b"The conversion begins."])
        self.assertEqual(self.texts(311, b"", None, 3, 4),
                         [b"The passes over the work file begin, with slots for 3 users and 4 groups."])

    def test_left_over_work_file(self):
        beginning = b"The entries of the input are being sorted into the output and the work file. "
        self.assertEqual(self.texts(309, b""), [beginning + b"There is no work file from an earlier run."])
        for work, size in ((b"", b"0"), (b"\n\n", b"2"), (GROUP + GROUP_MAP, b"165")):
            self.assertEqual(self.texts(309, USER + USER_MAP, work),
                             [beginning + b"A work file from an earlier run is there, and its " + size
                              + b" bytes will be converted as well."])

    def test_counts(self):
        text = (USER + USERS_ENTRY + USER_MAP + POLICY
                + entry("dn: cn=data,secAuthority=Default,cn=jdoe,o=example", "objectClass: secPolicyData")
                + GROUP + GROUP_MAP
                + entry("dn: cn=ResCreds,o=x", "objectClass: container") + entry("dn: cn=h", "objectClass: secResCreds")
                + entry("dn: secAuthority=Default", "objectClass: secAuthorityInfo")
                + entry("dn: cn=P,cn=Policies,secAuthority=Default", "objectClass: secPolicy")
                + entry("dn: cn=c,o=x", "objectClass: container") + entry("dn: o=x") + entry("dn: o=y")
                + b"dn: o=long\n" + b"a: b\n" * 249999 + b"\n")
        self.assertEqual(self.texts(310, text), [
            b"The work file is ready. Entries in it: users 2, groups 1, policies 1, policy data 1, maps 2,"
            b" resource credentials 2. Entries copied to the output: authority information 1, policies 1, containers 1,"
            b" others 3."])
        self.assertEqual(self.texts(315, text), [
            b"The conversion is complete. Written: users 1, groups 1, policies 1, resource credentials 2, entries"
            b" copied as they were 6. Not written: policy data 1."])
        self.assertEqual(self.texts(312, text), [b"Pass 1 of about 2 over the work file is under way.",
                                                 b"Pass 2 of about 2 over the work file is under way."])

    def test_an_earlier_run_counts_at_the_end_only(self):
        credentials = entry("dn: cn=h", "objectClass: secResCreds")
        self.assertEqual(self.texts(310, GROUP + GROUP_MAP, person("a") + credentials), [
            b"The work file is ready. Entries in it: users 0, groups 1, policies 0, policy data 0, maps 1,"
            b" resource credentials 0. Entries copied to the output: authority information 0, policies 0, containers 0,"
            b" others 0."])
        self.assertEqual(self.texts(315, GROUP + GROUP_MAP, person("a") + credentials), [
            b"The conversion is complete. Written: users 1, groups 1, policies 0, resource credentials 1, entries"
            b" copied as they were 0. Not written: policy data 0."])

    def passes(self, *arguments):
        numbers = []
        for text in self.texts(312, *arguments):
            self.assertTrue(text.startswith(b"Pass ") and text.endswith(b" over the work file is under way."))
            numbers.append(text[5:-len(b" over the work file is under way.")].replace(b" of about ", b"/"))
        return numbers

    def test_estimate_of_the_passes(self):
        three = person("a") + person("b") + person("c")
        credentials = entry("dn: cn=h", "objectClass: secResCreds")
        self.assertEqual(self.passes(b""), [])
        self.assertEqual(self.passes(credentials), [b"1/1"])
        self.assertEqual(self.passes(three, None, 1, 1), [b"1/3", b"2/3", b"3/3"])
        self.assertEqual(self.passes(three, None, 2, 1), [b"1/2", b"2/2"])
        self.assertEqual(self.passes(three, None, 3, 1), [b"1/1"])
        self.assertEqual(self.passes(three + credentials, None, 2, 1), [b"1/3", b"2/3", b"3/3"])
        other = (GROUP + GROUP_MAP).replace(b"staff", b"other")
        self.assertEqual(self.passes(person("a") + GROUP + GROUP_MAP + other, None, 1, 1), [b"1/2", b"2/2"])
        self.assertEqual(self.passes(person("a") + GROUP + GROUP_MAP + other, None, 1, 2), [b"1/1"])
        # Users entries need no slot of their own, in whatever way they are folded.
        self.assertEqual(self.passes(USERS_ENTRY.replace(b"cn=Users", b"CN=\n USERS") + USER + USER_MAP, None, 1, 1),
                         [b"1/1"])
        # The entries of an earlier run are not known in advance.
        self.assertEqual(self.passes(person("c"), person("a") + person("b"), 1, 1), [b"1/1", b"2/2", b"3/3"])

    def gathered(self, *arguments):
        return [text.replace(b"The users and groups gathered in this pass are being written: ", b"")
                for text in self.texts(313, *arguments)]

    def test_percent(self):
        # A user's entry takes 30 + 21 + 22 + 17 + 23 + 1 = 114 bytes of the work file, its map 41 + 20 + 12 + 1 = 74.
        self.assertEqual(self.gathered(person("a") + person("b") + person("c"), None, 1, 1), [
            b"users 1, groups 0. 33 percent of the work file is done.",
            b"users 1, groups 0. 66 percent of the work file is done.",
            b"users 1, groups 0. 100 percent of the work file is done."])
        # The credentials take 9 + 25 + 1 = 35 bytes: 188 of 223.
        self.assertEqual(self.gathered(entry("dn: cn=h", "objectClass: secResCreds") + person("a")),
                         [b"users 1, groups 0. 84 percent of the work file is done."])
        # A group and its map take 77 + 88 bytes. The comment is its entry's, the blank lines are nobody's: 171 of 173.
        self.assertEqual(self.gathered(b"", b"\n\n# old\n" + GROUP + GROUP_MAP),
                         [b"users 0, groups 1. 98 percent of the work file is done."])
        # Without the last empty line.
        self.assertEqual(self.gathered(b"", GROUP + GROUP_MAP[:-1]),
                         [b"users 0, groups 1. 100 percent of the work file is done."])
        # In two passes: 188 + 165 = 353 of 518, then the rest.
        other = (GROUP + GROUP_MAP).replace(b"staff", b"other")
        self.assertEqual(self.gathered(person("a") + GROUP + GROUP_MAP + other, None, 1, 1), [
            b"users 1, groups 1. 68 percent of the work file is done.",
            b"users 0, groups 1. 100 percent of the work file is done."])


class TraceTest(ModelTest):
    def test_nothing_of_the_preparation_pass_is_traced(self):
        text = traceText(convert(USER + USER_MAP, tracing=True))
        self.assertIn(b"The temporary input file name = input.ldif.tmp \n"
                      b"copyOriginalInputFileToTempInputFile():  TURNING DEBUG TRACING BACK ON \n"
                      b"\nmain():  The temporary input ldif file has been created.  \n", text)

    def test_counters_line_up(self):
        text = traceText(convert(b"", tracing=True))
        columns = {line.index(b"=") for line in text.split(b"\n")
                   if line.startswith(b"dumpData() - ") and b"= 0" in line}
        self.assertEqual(columns, {13 + 45, 13 + 46})


class GeneratorTest(unittest.TestCase):
    def test_lifelike_cases_convert(self):
        for seed in range(1, 60):
            case = generate.lifelikeCase(seed)
            self.assertEqual(convert(*case).status, 0, seed)

    def test_a_case_depends_on_its_seed_only(self):
        self.assertEqual(generate.hostileCase(7), generate.hostileCase(7))


if __name__ == "__main__":
    unittest.main()
