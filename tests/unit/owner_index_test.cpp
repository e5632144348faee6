#include "cache/owner_index.h"

#include "test_support.h"

namespace {

class Owners : public FreshRun {
 protected:
  void TearDown() override {
    free(index.places);
    FreshRun::TearDown();
  }
  int32_t find(std::vector<std::string>& dns, const char* key) {
    std::vector<char*> pointers;
    for (std::string& dn : dns) pointers.push_back(dn.data());
    return findOwner(index, pointers.data(), static_cast<int32_t>(dns.size()), key, hashOfDn(key));
  }
  bool mayHold(std::vector<std::string>& dns, const char* key) {
    std::vector<char*> pointers;
    for (std::string& dn : dns) pointers.push_back(dn.data());
    return mayHoldOwner(index, pointers.data(), static_cast<int32_t>(dns.size()), hashOfDn(key));
  }
  OwnerIndex index = {};
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
    EXPECT_EQ(find(dns, dns.back().c_str()), i);
  }
  for (int i = 0; i < 3000; i++) EXPECT_EQ(find(dns, ("CN=" + std::to_string(i) + "\n").c_str()), i);
  EXPECT_EQ(find(dns, "cn=3000\n"), NO_SLOT);
}

TEST_F(Owners, OfAnEarlierPassAreForgotten) {
  Lines first = {"a\n", "b\n"};
  EXPECT_EQ(find(first, "b\n"), 1);
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
    EXPECT_TRUE(mayHold(dns, ("CN=" + std::to_string(i) + "\n").c_str()));
  }
  dns = {"cn=0\n"};
  EXPECT_FALSE(mayHold(dns, "cn=999\n"));
}

TEST_F(Owners, AreToldApartWhenTheirHashesAreEqual) {
  const char* one = "cn=@\n";
  const char* other = "cn=`\n";
  ASSERT_EQ(hashOfDn(one), hashOfDn(other));
  Lines dns = {one};
  EXPECT_EQ(find(dns, other), NO_SLOT);
  EXPECT_TRUE(mayHold(dns, other));
  dns.push_back(other);
  EXPECT_EQ(find(dns, one), 0);
  EXPECT_EQ(find(dns, other), 1);
}

TEST_F(Owners, NeedMemory) {
  Lines dns = {"a\n"};
  EXPECT_FAILURE((failNextAllocation(), failNextReallocation(), find(dns, "a\n")), MEMORY_EXHAUSTED);
}

TEST_F(Owners, AreInTheirSet) {
  std::vector<std::string> dns;
  for (int i = 0; i < 1000; i++) dns.push_back("cn=" + std::to_string(i) + "\n");
  std::vector<char*> pointers;
  for (std::string& dn : dns) {
    pointers.push_back(dn.data());
    const OwnerSet& owners = ownersIn(index, pointers.data(), static_cast<int32_t>(pointers.size()));
    EXPECT_TRUE(::mayHold(owners, hashOfDn(dn.c_str()))) << dn;
  }
  const OwnerSet& none = ownersIn(index, pointers.data(), 0);
  EXPECT_FALSE(::mayHold(none, hashOfDn("cn=0\n")));
}

TEST_F(Owners, HaveAHashOfTheirOwnCharactersOnly) {
  for (size_t length = 1; length <= 20; length++) {
    const std::string dn = repeated(length, "a");
    EXPECT_EQ(hashOfDn((dn + std::string("\0bc", 3)).c_str()), hashOfDn((dn + std::string("\0xyz", 4)).c_str()));
    EXPECT_NE(hashOfDn(dn.c_str()), hashOfDn((dn + "a").c_str()));
  }
}

TEST(SetOfOwners, HoldsEverybodyOrNobody) {
  for (uint32_t hash = 0; hash < OWNER_SET_BITS; hash++) {
    EXPECT_TRUE(mayHold(everybody, hash));
    EXPECT_FALSE(mayHold(nobody, hash));
  }
}

TEST(SetOfOwners, HoldsWhatWasPutIn) {
  OwnerSet set = {};
  for (uint32_t hash : {0u, 31u, 32u, 63u, 64u, 0xFFFFFFFFu}) {
    EXPECT_FALSE(mayHold(set, hash));
    putIn(set, hash);
    EXPECT_TRUE(mayHold(set, hash));
  }
}

}  // namespace
