#include "rules/merge.h"

#include <algorithm>
#include <random>

#include "test_support.h"

namespace {

// Two entries merged as the rule reads, line by line.
class PlainMerge {
 public:
  PlainMerge(const Lines& first, const Lines& second) : first_(first), second_(second) {
    isUsed_.resize(second.size(), false);
    for (size_t i = 0; i < first_.size(); i++)
      if (!takeOfFirst(i)) return;
    for (size_t i = 0; i < second_.size(); i++)
      if (!isUsed_[i] && !takeOfSecond(i)) return;
  }

  Lines merged;
  Lines leftOfFirst;
  Lines leftOfSecond;
  std::string problem;

 private:
  static bool holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }
  static std::string nameOf(const std::string& line) { return line.substr(0, line.find(':') + 1); }
  static bool isDn(const std::string& name) { return name == "dn:" || name == "DN:"; }
  static bool isLeftOut(const std::string& name) {
    const Lines leftOut = {
        "objectclass:",  "objectClass:", "XOQ-ENTRYUUID:", "xoq-entryuuid:", "control:", "Control:", "aclpropagate:",
        "aclPropagate:", "aclentry:",    "aclEntry:",      "acl:",           "ACL:",     "aci:",     "ACI:"};
    return std::find(leftOut.begin(), leftOut.end(), name) != leftOut.end();
  }

  bool takeOfFirst(size_t i) {
    const std::string& line = first_[i];
    if (holds(line, "objectclass:") || holds(line, "objectClass:")) {
      merged.push_back(line);
      return true;
    }
    if (!holds(line, ":")) {
      problem = "first " + std::to_string(i);
      return false;
    }
    const std::string name = nameOf(line);
    if (isDn(name)) {
      merged.push_back(line);
    } else if (isLeftOut(name)) {
      leftOfFirst.push_back(line);
    } else {
      mergeOfFirst(line, name);
    }
    return true;
  }

  void mergeOfFirst(const std::string& line, const std::string& name) {
    for (size_t i = 0; i < second_.size(); i++) {
      if (isUsed_[i] || !holds(inLowerCase(second_[i]), inLowerCase(name))) continue;
      isUsed_[i] = true;
      merged.push_back(holds(inLowerCase(line), "secauthority:") ? line : second_[i]);
      return;
    }
    merged.push_back(line);
  }

  bool takeOfSecond(size_t i) {
    const std::string& line = second_[i];
    if (!holds(line, ":")) {
      problem = "second " + std::to_string(i);
      return false;
    }
    if (isDn(nameOf(line)) || isLeftOut(nameOf(line)))
      leftOfSecond.push_back(line);
    else
      merged.push_back(line);
    return true;
  }

  const Lines& first_;
  const Lines& second_;
  std::vector<bool> isUsed_;
};

class Merging {
 public:
  Merging(const Lines& first, const Lines& second) : first_(scanned(first)), second_(scanned(second)) {
    room_.resize(first.size() + second.size());
    MergedEntry entry = {room_.data(), static_cast<int32_t>(room_.size())};
    const MergeProblem found = mergeEntries(first_, second_, entry);
    room_.resize(static_cast<size_t>(entry.count));
    if (found.line != nullptr)
      problem = found.isInFirst ? "first " + std::to_string(found.line - first_.data())
                                : "second " + std::to_string(found.line - second_.data());
  }

  Lines merged() const { return present(room_); }
  Lines leftOfFirst() const { return present(first_); }
  Lines leftOfSecond() const { return present(second_); }
  // Of each line, in its place, the line of the result that it has become or that stands for it; nothing where it is
  // left.
  Lines standInsOfFirst() const { return standIns(first_); }
  Lines standInsOfSecond() const { return standIns(second_); }
  std::string problem;

 private:
  static std::vector<Line> scanned(const Lines& texts) {
    std::vector<Line> lines;
    for (const std::string& text : texts) lines.push_back(scanLine(text));
    return lines;
  }
  static Lines present(const std::vector<Line>& lines) {
    Lines texts;
    for (const Line& line : lines)
      if (isLeft(line)) texts.emplace_back(line.view());
    return texts;
  }

  Lines standIns(const std::vector<Line>& lines) const {
    Lines texts;
    for (const Line& line : lines) texts.emplace_back(isLeft(line) ? std::string_view() : room_[line.endings].view());
    return texts;
  }

  std::vector<Line> first_;
  std::vector<Line> second_;
  std::vector<Line> room_;
};

void expectMerged(const Lines& first, const Lines& second) {
  const PlainMerge plain(first, second);
  const Merging merging(first, second);
  ASSERT_EQ(merging.problem, plain.problem);
  ASSERT_EQ(merging.merged(), plain.merged);
  if (!plain.problem.empty()) return;
  ASSERT_EQ(merging.leftOfFirst(), plain.leftOfFirst);
  ASSERT_EQ(merging.leftOfSecond(), plain.leftOfSecond);
}

// Names that end in others, equal names in several cases, a colon alone, and those that have rules of their own.
std::string anyName(std::mt19937& random) {
  static const Lines names = {"dn",          "DN",          "Dn",      "secAuthority", "SECAUTHORITY",
                              "objectclass", "objectClass", "acl",     "ACL",          "aci",
                              "aclentry",    "control",     "CONTROL", "entry",        "cn",
                              "CN",          "seccn",       "n",       "authority",    "",
                              "class",       "mail",        "m",       "xyzmail",      "aclPropagate",
                              "propagate"};
  if (random() % 2 == 0) return names[random() % names.size()];
  std::string name;
  for (size_t length = random() % 5; length > 0; length--) name += "abA"[random() % 3];
  return name;
}

Lines anyEntry(std::mt19937& random, size_t size, bool mayLackColons) {
  Lines lines;
  while (lines.size() < size) {
    std::string line = anyName(random) + (mayLackColons && random() % 500 == 0 ? "" : ":");
    if (random() % 8 == 0 && line.ends_with(':')) line += " see " + anyName(random) + ": x";
    lines.push_back(line + " " + std::to_string(lines.size()) + "\n");
  }
  return lines;
}

TEST(MergeOfShortEntries, IsThatOfThePlainRule) {
  std::mt19937 random(4);
  for (int round = 0; round < 3000; round++)
    expectMerged(anyEntry(random, 1 + random() % 30, true), anyEntry(random, 1 + random() % 30, true));
}

// More than 10,000 comparisons.
TEST(MergeOfLongEntries, IsThatOfThePlainRule) {
  std::mt19937 random(5);
  for (int round = 0; round < 150; round++)
    expectMerged(anyEntry(random, 101 + random() % 200, round % 2 == 0),
                 anyEntry(random, 100 + random() % 200, round % 2 == 0));
}

TEST(MergeOfLongEntries, IsThatOfThePlainRuleWhereOneIsShort) {
  std::mt19937 random(6);
  for (int round = 0; round < 20; round++) {
    const Lines few = anyEntry(random, 1 + random() % 4, false);
    const Lines many = anyEntry(random, 10001, false);
    expectMerged(few, many);
    expectMerged(many, few);
  }
}

// The lines come in both entries in such an order that every name meets its match at the other end.
TEST(MergeOfLongEntries, TakesTheFirstMatchThatIsLeft) {
  Lines first;
  Lines second;
  for (int i = 0; i < 300; i++) {
    first.push_back("n" + std::to_string(i % 50) + ": first " + std::to_string(i) + "\n");
    second.push_back("N" + std::to_string(49 - i % 50) + ": second " + std::to_string(i) + "\n");
  }
  const Merging merging(first, second);
  EXPECT_EQ(merging.merged()[0], "N0: second 49\n");
  EXPECT_EQ(merging.merged()[50], "N0: second 99\n");
  EXPECT_EQ(merging.merged()[49], "N49: second 0\n");
  EXPECT_EQ(merging.merged().size(), 300u);
  expectMerged(first, second);
}

// A comparison of every line with every other one would take hours.
TEST(MergeOfLongEntries, TakesTimeInProportion) {
  Lines first;
  Lines second;
  for (int i = 0; i < 200000; i++) {
    first.push_back("name" + std::to_string(i) + ": 1\n");
    second.push_back("other" + std::to_string(i) + ": 2\n");
  }
  EXPECT_EQ(Merging(first, second).merged().size(), 400000u);
}

TEST(MergeOfLongEntries, TakesTimeInProportionWithOneNameThroughout) {
  const Lines lines(100000, "m: 1\n");
  EXPECT_EQ(Merging(lines, lines).merged().size(), 100000u);
}

TEST(Merge, SaysWhichLineStandsForOneThatIsGone) {
  const Lines first = {"dn: cn=a\n", "cn: a\n", "mail: x\n", "secauthority: A\n", "acl: 1\n"};
  const Lines second = {"dn: cn=b\n", "MAIL: y\n", "secAuthority: B\n", "objectclass: c\n", "sn: q\n"};
  const Merging merging(first, second);
  EXPECT_EQ(merging.merged(), Lines({"dn: cn=a\n", "cn: a\n", "MAIL: y\n", "secauthority: A\n", "sn: q\n"}));
  EXPECT_EQ(merging.standInsOfFirst(), Lines({"dn: cn=a\n", "cn: a\n", "MAIL: y\n", "secauthority: A\n", ""}));
  EXPECT_EQ(merging.standInsOfSecond(), Lines({"", "MAIL: y\n", "secauthority: A\n", "", "sn: q\n"}));
}

TEST(Merge, CountsWhatHasNoRoom) {
  const std::string texts[] = {"a: 1\n", "b: 1\n"};
  Line first[] = {scanLine(texts[0])};
  Line second[] = {scanLine(texts[1])};
  Line room[] = {{}, scanLine("untouched")};
  MergedEntry merged = {room, 1};
  EXPECT_EQ(mergeEntries(first, second, merged).line, nullptr);
  EXPECT_EQ(merged.count, 2);
  EXPECT_EQ(room[0].view(), "a: 1\n");
  EXPECT_EQ(room[1].view(), "untouched");
}

}  // namespace
