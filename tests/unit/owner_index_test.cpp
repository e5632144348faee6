#include "cache/owner_index.h"

#include <cctype>

#include "rules/dn_hash.h"
#include "test_support.h"

namespace {

class Owners : public FreshRun {
 protected:
  static std::vector<std::string_view> viewsOf(const Lines& dns) { return {dns.begin(), dns.end()}; }
  int32_t find(const Lines& dns, std::string_view key) {
    return findOwner(index, viewsOf(dns).data(), static_cast<int32_t>(dns.size()), key, hashOfDn(key));
  }
  bool mayHold(const Lines& dns, std::string_view key) {
    return mayHoldOwner(index, viewsOf(dns).data(), static_cast<int32_t>(dns.size()), hashOfDn(key));
  }
  OwnerIndex index;
};

TEST_F(Owners, AreNotFoundInAnEmptySide) {
  Lines dns;
  EXPECT_EQ(find(dns, "a\n"), NO_SLOT);
}

TEST_F(Owners, AreFoundWithoutRegardToCase) {
  Lines dns = {"secAuthority=Default,cn=Other\n", "secAuthority=Default,cn=JDoe\n"};
  EXPECT_EQ(find(dns, "SECAUTHORITY=DEFAULT,CN=jdoe\n"), 1);
  EXPECT_EQ(find(dns, "SECAUTHORITY=DEFAULT,CN=jdoe"), NO_SLOT);
  EXPECT_EQ(find(dns, "SECAUTHORITY=DEFAULT, CN=jdoe\n"), NO_SLOT);
}

TEST_F(Owners, DifferInAllButAsciiLetters) {
  Lines dns = {"cn=\xC4[\n"};
  EXPECT_EQ(find(dns, "cn=\xE4[\n"), NO_SLOT);
  EXPECT_EQ(find(dns, "cn=\xC4{\n"), NO_SLOT);
}

TEST_F(Owners, AreFoundInTheFirstOfEqualSlots) {
  Lines dns = {"b\n", "A\n", "a\n"};
  EXPECT_EQ(find(dns, "a\n"), 1);
}

TEST_F(Owners, AreFoundAmongMany) {
  Lines dns;
  for (int i = 0; i < 3000; i++) {
    dns.push_back("cn=" + std::to_string(i) + "\n");
    EXPECT_EQ(find(dns, dns.back()), i);
  }
  for (int i = 0; i < 3000; i++) EXPECT_EQ(find(dns, "CN=" + std::to_string(i) + "\n"), i);
  EXPECT_EQ(find(dns, "cn=3000\n"), NO_SLOT);
}

TEST_F(Owners, OfAnEarlierPassAreForgotten) {
  Lines first = {"a\n", "b\n"};
  EXPECT_EQ(find(first, "b\n"), 1);
  index = {};
  Lines none;
  EXPECT_EQ(find(none, "b\n"), NO_SLOT);
  Lines second = {"b\n", "c\n"};
  EXPECT_EQ(find(second, "a\n"), NO_SLOT);
  EXPECT_EQ(find(second, "b\n"), 0);
}

TEST_F(Owners, AreNeverDeniedWhenTheyAreThere) {
  Lines dns;
  EXPECT_FALSE(mayHold(dns, "a\n"));
  for (int i = 0; i < 1000; i++) {
    dns.push_back("cn=" + std::to_string(i) + "\n");
    EXPECT_TRUE(mayHold(dns, "CN=" + std::to_string(i) + "\n"));
  }
  index = {};
  dns = {"cn=0\n"};
  EXPECT_FALSE(mayHold(dns, "cn=999\n"));
  EXPECT_TRUE(mayHold(dns, "cn=0\n"));
}

TEST_F(Owners, AreToldApartWhenTheirHashesAreEqual) {
  const std::vector<std::string_view> dns = {"cn=a\n", "cn=b\n"};
  index.slots = {{1, 0}, {1, 1}};
  index.indexed = 2;
  EXPECT_EQ(findOwner(index, dns.data(), 2, "CN=b\n", 1), 1);
  EXPECT_EQ(findOwner(index, dns.data(), 2, "cn=a\n", 1), 0);
  EXPECT_EQ(findOwner(index, dns.data(), 2, "cn=c\n", 1), NO_SLOT);
  EXPECT_TRUE(mayHoldOwner(index, dns.data(), 2, 1));
}

TEST_F(Owners, NeedMemory) {
  Lines dns = {"a\n"};
  EXPECT_FAILURE((failNextAllocation(), find(dns, "a\n")), MEMORY_EXHAUSTED);
}

TEST_F(Owners, OfASlotWithoutADnAreNotFound) {
  std::vector<std::string_view> dns = {"a\n", {}, "b\n"};
  EXPECT_EQ(findOwner(index, dns.data(), 3, "b\n", hashOfDn("b\n")), 2);
  EXPECT_EQ(findOwner(index, dns.data(), 3, "", hashOfDn("")), NO_SLOT);
}

TEST_F(Owners, HaveAHashOfTheirOwnCharactersOnly) {
  for (size_t length = 1; length <= 20; length++) {
    const std::string dn = repeated(length, "a");
    EXPECT_EQ(hashOfDn(std::string_view(dn + "bc").substr(0, length)),
              hashOfDn(std::string_view(dn + "xyz").substr(0, length)));
    EXPECT_NE(hashOfDn(dn), hashOfDn(dn + "a"));
    EXPECT_NE(hashOfDn(dn), hashOfDn(dn + " "));
    EXPECT_NE(hashOfDn(dn), hashOfDn(dn + std::string(1, '\0')));
  }
}

TEST_F(Owners, HaveAHashThatFoldsLettersOnly) {
  for (int one = 0; one < 256; one++) {
    for (int other = 0; other < one; other++) {
      const bool areCases = one < 128 && isalpha(one) != 0 && tolower(one) == tolower(other);
      for (const size_t place : {0u, 7u, 8u, 10u}) {
        std::string dn = "0123456789a";
        std::string otherDn = dn;
        dn[place] = static_cast<char>(one);
        otherDn[place] = static_cast<char>(other);
        ASSERT_EQ(hashOfDn(dn) == hashOfDn(otherDn), areCases) << one << " and " << other << " at " << place;
      }
    }
  }
}

TEST_F(Owners, HaveAHashThatEveryCharacterChangesButItsCase) {
  std::string dn = "secAuthority=Default,cn=someone,o=example\n";
  const uint64_t hash = hashOfDn(dn);
  for (char& character : dn) {
    const char former = character;
    character = 'z';
    if (former != 'z') {
      EXPECT_NE(hashOfDn(dn), hash) << former;
    }
    character = static_cast<char>(toupper(static_cast<unsigned char>(former)));
    EXPECT_EQ(hashOfDn(dn), hash) << former;
    character = former;
  }
}

}  // namespace
