#include "lifelike_entries.h"

#include <cctype>
#include <initializer_list>
#include <iterator>
#include <string_view>

#include "folded_entry.h"
#include "random_numbers.h"

using Text = std::string_view;

static constexpr Text firstNames[] = {"anna", "bernd", "carla", "dieter", "eva",  "franz",
                                      "grit", "hans",  "ina",   "jdoe",   "karl", "lena"};
static constexpr Text surnames[] = {"Abel", "Brandt", "Conrad", "Dorn", "Ebert",
                                    "Falk", "Gross",  "Haas",   "Iven", "Jung"};
static constexpr Text domains[] = {"Default", "Default", "Default", "default", "DEFAULT", "Sales", "Emea", "Labs2"};
static constexpr Text commas[] = {",", ",", ",", ", ", " , "};

// The spellings of each kind's class, in the order of the kinds.
static constexpr Text classNames[][2] = {
    {"secUser", "secuser"}, {"secUser", "secuser"},   {"secPolicy", "secpolicy"}, {"secPolicyData", "secpolicydata"},
    {"secMap", "secmap"},   {"secGroup", "secgroup"}, {"secMap", "secmap"},
};

static std::string joined(std::initializer_list<Text> parts) {
  std::string text;
  for (const Text part : parts) text += part;
  return text;
}

// In a letter case that still compares equal.
static std::string inAnyCase(RandomNumbers& random, std::string text) {
  const uint32_t choice = random.below(5);
  if (choice > 1) return text;
  for (char& letter : text)
    letter = static_cast<char>(choice == 0 ? tolower(static_cast<unsigned char>(letter))
                                           : toupper(static_cast<unsigned char>(letter)));
  return text;
}

// Where in the registry the entries of a domain stand.
static std::string registryDn(Text container, Text domain) {
  const bool isDefault = domain == "Default" || domain == "default" || domain == "DEFAULT";
  return joined({",cn=", container, ",secAuthority=", domain, isDefault ? "" : ",cn=Subdomains,secAuthority=Default"});
}

static constexpr uint64_t PERSONS = 1;  // parts the random numbers of users, groups and entries
static constexpr uint64_t TEAMS = 2;
static constexpr unsigned SEED_SHIFT = 56;

// What the entries of one user have in common.
struct Person {
  explicit Person(uint64_t number);

  std::string dn(Text between) const { return joined({commonName, between, unit, between, "o=example"}); }
  // The domain's letter case would show in the output, and be another one in another order of the entries.
  std::string ownDn(RandomNumbers& random, Text between) const {
    return joined({"secAuthority=", domain, between, inAnyCase(random, dn(between))});
  }

  std::string name;
  std::string commonName;
  Text domain;
  Text comma;  // as the directory has kept it, with the blanks beside it
  Text unit;
  std::string uuid;
  bool hasPolicy;
  bool hasPolicyData;
};

Person::Person(uint64_t number) {
  RandomNumbers random(PERSONS << SEED_SHIFT | number);
  name = joined({random.one(firstNames), std::to_string(number)});
  domain = random.one(domains);
  const bool isEscaped = random.inPercent(5);
  commonName = isEscaped ? joined({"cn=", random.one(surnames), "\\, ", name}) : joined({"cn=", name});
  comma = isEscaped ? Text(",") : random.one(commas);
  unit = random.inPercent(50) ? "ou=people" : "ou=staff";
  uuid = hexadecimal(random.bits());
  hasPolicy = random.inPercent(40);
  hasPolicyData = random.inPercent(30);
}

static void describeUser(Entry& entry, const Person& person) {
  RandomNumbers& random = entry.random;
  entry.add(random.inPercent(50) ? "secAuthority: " : "secauthority: ", {person.domain});
  entry.add(random.inPercent(67) ? "principalName: " : "principalname: ", {person.name});
  entry.add(random.inPercent(50) ? "secuuid: " : "secUUID: ", {person.uuid});
  entry.add("secLoginType: Default:LDAP", {});
  entry.add("secAcctValid: ", {random.inPercent(50) ? "TRUE" : "FALSE"});
  if (random.inPercent(10)) entry.add("userCertificate:: ", {base64(random, 4 * (130 + random.below(180)))});
}

static void describeEntryBelowUsers(Entry& entry, const Person& person) {
  entry.add("secAuthority: ", {person.domain});
  entry.add("principalName: ", {person.name});
  entry.add(entry.random.inPercent(50) ? "secDN: " : "secdn: ", {person.dn(person.comma)});
  entry.add("cn: ", {person.name});
  entry.add("secPwdLastChanged: 20", {std::to_string(10 + entry.random.below(14)), "0102030405.0Z"});
}

static void describeMap(Entry& entry, Text uuid, Text ownerDn) {
  entry.add(entry.random.inPercent(50) ? "secDN: " : "secdn: ", {ownerDn});
  entry.add("secUUID: ", {uuid});
  entry.add("cn: ", {uuid});
}

static void describePolicy(Entry& entry) {
  entry.add("cn: Policy", {});
  entry.add("secMaxFailedLogins: ", {std::to_string(entry.random.below(10))});
  entry.add("secPwdMinLen: 8", {});
  if (entry.random.inPercent(20)) entry.add("control: 1.2.840.113556.1.4.805 true", {});
}

static void describePolicyData(Entry& entry) {
  entry.add("cn: PolicyData", {});
  entry.add("secPwdFailures: ", {std::to_string(entry.random.below(5))});
}

static void describeGroup(Entry& entry, Text name, Text uuid) {
  constexpr uint32_t memberCounts[] = {0, 1, 3, 8};
  entry.add("secuuid: ", {uuid});
  entry.add(entry.random.inPercent(67) ? "cn: " : "CN: ", {name});
  for (uint32_t members = entry.random.one(memberCounts); members > 0; --members)
    entry.add("member: cn=", {entry.random.one(firstNames), ",o=example"});
}

static void addClasses(Entry& entry, Kind kind) {
  const Text attribute = entry.random.inPercent(50) ? "objectClass: " : "objectclass: ";
  const uint32_t placeOfTop = entry.random.below(10);
  if (placeOfTop < 4) entry.add(attribute, {"top"});
  entry.add(attribute, {entry.random.one(classNames[kind])});
  if (placeOfTop > 6) entry.add(attribute, {"top"});
  if (entry.random.inPercent(30)) entry.add(attribute, {"cimManagedElement"});
}

static void addBeginning(Entry& entry, Kind kind, std::initializer_list<Text> dn) {
  entry.add("dn: ", dn);
  addClasses(entry, kind);
  entry.beginUnordered();
}

static void addOfUser(Entry& entry, Kind kind, uint64_t number) {
  const Person person(number);
  switch (kind) {
    case USER:
      addBeginning(entry, kind, {person.ownDn(entry.random, person.comma == ", " ? ", " : ",")});
      return describeUser(entry, person);
    case ENTRY_BELOW_USERS:
      addBeginning(entry, kind, {"principalName=", person.name, registryDn("Users", person.domain)});
      return describeEntryBelowUsers(entry, person);
    case POLICY:
      addBeginning(entry, kind, {"cn=Policy,", person.ownDn(entry.random, ",")});
      return describePolicy(entry);
    case POLICY_DATA:
      addBeginning(entry, kind, {"cn=PolicyData,", person.ownDn(entry.random, ",")});
      return describePolicyData(entry);
    default:
      addBeginning(entry, kind, {"cn=", person.uuid, registryDn("Users", person.domain)});
      return describeMap(entry, person.uuid, person.dn(person.comma));
  }
}

static void addOfGroup(Entry& entry, Kind kind, uint64_t number) {
  RandomNumbers random(TEAMS << SEED_SHIFT | number);
  const std::string name = joined({"staff", std::to_string(number)});
  const std::string uuid = hexadecimal(random.bits());
  const Text domain = random.one(domains);
  if (kind == GROUP) {
    addBeginning(entry, kind,
                 {"secAuthority=", domain, ",", inAnyCase(entry.random, joined({"cn=", name, ",o=example"}))});
    describeGroup(entry, name, uuid);
  } else {
    addBeginning(entry, kind, {"cn=", uuid, registryDn("Groups", domain)});
    describeMap(entry, uuid, joined({"cn=", name, entry.random.one(commas), "o=example"}));
  }
}

static void addOfRegistry(Entry& entry, uint64_t number) {
  struct Fixed {
    Text dn;
    Text objectClass;
    Text line;
  };
  static constexpr Fixed fixed[] = {
      {"o=example", "organization", "o: example"},
      {"secAuthority=Default", "secAuthorityInfo", "version: 5.0"},
      {"cn=Users,secAuthority=Default", "container", "cn: Users"},
      {"cn=Groups,secAuthority=Default", "container", "cn: Groups"},
      {"cn=ResCreds,secAuthority=Default", "container", "cn: ResCreds"},
      {"cn=Policies,secAuthority=Default", "container", "cn: Policies"},
      {"cn=Policy,cn=Policies,secAuthority=Default", "secPolicy", "secPwdMinLen: 8"},
  };
  const std::string host = joined({"host", std::to_string(number)});
  const std::string hostDn = joined({"cn=", host, ",cn=ResCreds,secAuthority=Default"});
  const std::string hostLine = joined({"cn: ", host});
  const Fixed one = number < std::size(fixed) ? fixed[number] : Fixed{hostDn, "secResCreds", hostLine};
  entry.add("dn: ", {one.dn});
  entry.add("objectClass: ", {one.objectClass});
  entry.beginUnordered();
  entry.add(one.line, {});
}

static void addDescriptions(Entry& entry) {
  RandomNumbers& random = entry.random;
  for (uint32_t count = random.below(3); count > 0; --count) {
    std::string text(random.one(firstNames));
    switch (random.below(4)) {
      case 0:
        entry.add("description:: ", {base64(random, 4 * (5 + random.below(35)))});
        break;
      case 1:
        entry.add("mail: ", {text, "@example.org"});
        break;
      case 2:
        entry.add("telephoneNumber: +49 ", {std::to_string(random.below(1000000))});
        break;
      default:
        for (uint32_t words = random.below(24); words > 0; --words) text += joined({" ", random.one(surnames)});
        entry.add("description: ", {text});
    }
  }
}

// What the directory server adds.
static void addBookkeeping(Entry& entry) {
  RandomNumbers& random = entry.random;
  if (random.inPercent(50))
    entry.add(random.inPercent(50) ? "xoq-entryuuid: " : "XOQ-ENTRYUUID: ", {hexadecimal(random.bits())});
  if (random.inPercent(30)) entry.add("aclentry: group:CN=ADMINS:normal:rwsc:sensitive:rwsc", {});
  if (random.inPercent(20)) entry.add(random.inPercent(50) ? "aclpropagate: TRUE" : "aclPropagate: FALSE", {});
  if (random.inPercent(10)) entry.add(random.inPercent(50) ? "aci: (target=x)" : "acl: none", {});
}

bool isThere(Kind kind, uint64_t number) {
  if (kind != POLICY && kind != POLICY_DATA) return true;
  const Person person(number);
  return kind == POLICY ? person.hasPolicy : person.hasPolicyData;
}

void appendEntry(std::string& text, Kind kind, uint64_t number) {
  Entry entry(mixed(number) + kind);
  if (kind == REGISTRY)
    addOfRegistry(entry, number);
  else if (kind == GROUP || kind == MAP_OF_GROUP)
    addOfGroup(entry, kind, number);
  else
    addOfUser(entry, kind, number);
  if (kind != REGISTRY) addDescriptions(entry);
  addBookkeeping(entry);
  entry.appendTo(text);
}
