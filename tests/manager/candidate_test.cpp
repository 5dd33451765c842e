// The next configuration under way: objects and parts put and erased by their names.
#include "manager/configuration/candidate.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "manager/model/text.h"

namespace kvel::manager::testing::candidate_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint16_t kContext = 3;

PolicyClass new_class(std::string name, std::uint64_t position, std::optional<MatchRule> rule = {}) {
  return {0, position, {std::move(name), std::move(rule), {}}};
}

// A class-map with two rules, and a policy-map with two classes and an inline match.
class CandidateTest : public ::testing::Test {
 protected:
  CandidateTest() {
    Candidate candidate(Configuration(), kContext);
    candidate.put<ClassMap>("web", {});
    candidate.put_rule("web", 10, AnyRule{});
    candidate.put_rule("web", 20, NestedClassMapRule{"child"});
    candidate.put<PolicyMap>("site", {});
    candidate.put_class("site", new_class("a", 10));
    candidate.put_class("site", new_class("b", 11));
    candidate.put_class("site", new_class("-match", 20, MatchRule(LbValueRule{"x"})));
    base = candidate.configuration();
  }

  static const ClassMap* web(const Candidate& candidate) { return candidate.context().find<ClassMap>("web"); }
  static const PolicyMap* site(const Candidate& candidate) { return candidate.context().find<PolicyMap>("site"); }
  static std::vector<std::pair<std::string, std::uint64_t>> positions(const Candidate& candidate) {
    std::vector<std::pair<std::string, std::uint64_t>> found;
    for (const auto& [position, entry] : site(candidate)->classes) {
      EXPECT_EQ(position, entry->position);
      EXPECT_EQ(site(candidate)->classes.find(entry->content.name), entry);
      found.emplace_back(entry->content.name, position);
    }
    return found;
  }
  // The items of the records that the candidate changes, each as it comes, changes or goes.
  std::vector<std::string> changed(const Candidate& candidate) const {
    std::vector<std::string> words;
    for (const auto& [key, before, after] : difference(base, candidate.configuration())) {
      const bool came = std::holds_alternative<std::monostate>(before);
      const bool went = std::holds_alternative<std::monostate>(after);
      words.push_back((came   ? "+"
                       : went ? "-"
                              : "=") +
                      std::string(key.name.view()) + "#" + std::to_string(key.object) + "." + std::to_string(key.item));
    }
    return words;
  }

  Configuration base;
};

TEST_F(CandidateTest, IsItsBaseAtFirstAndLeavesThatAlone) {
  Candidate candidate(base, kContext);
  EXPECT_THAT(changed(candidate), IsEmpty());
  EXPECT_EQ(candidate.configuration().context(kContext), base.context(kContext));
  candidate.put<ClassMap>("web", {ClassMapType::layer34, MatchMode::any, {}});
  candidate.erase<PolicyMap>("site");
  EXPECT_EQ(base.context(kContext)->find<ClassMap>("web")->settings->mode, MatchMode::all);
  EXPECT_NE(base.context(kContext)->find<PolicyMap>("site"), nullptr);
  EXPECT_TRUE(base.context(kContext)->references.in_use(ObjectKind::class_map, "a"));
  EXPECT_NE(base.context(kContext)->hidden_classes.find("site-match"), nullptr);
  EXPECT_EQ(base.context(0)->class_maps.size(), 0U);
}

TEST_F(CandidateTest, AnObjectThatIsThereKeepsItsNumberAndItsParts) {
  Candidate candidate(base, kContext);
  const Number number = web(candidate)->number;
  candidate.put<ClassMap>("web", {ClassMapType::layer34, MatchMode::any, {}});
  EXPECT_EQ(web(candidate)->number, number);
  EXPECT_EQ(web(candidate)->rules.size(), 2U);
  EXPECT_THAT(changed(candidate), ElementsAre("=web#1.0"));
  candidate.put<ClassMap>("new", {});
  EXPECT_EQ(candidate.context().find<ClassMap>("new")->number, 6U);
}

TEST_F(CandidateTest, ErasesAnObjectWithItsPartsAndWhatIsDerivedFromThem) {
  Candidate candidate(base, kContext);
  candidate.erase<ClassMap>("web");
  EXPECT_EQ(web(candidate), nullptr);
  EXPECT_FALSE(candidate.context().references.in_use(ObjectKind::class_map, "child"));
  candidate.erase<PolicyMap>("site");
  EXPECT_EQ(site(candidate), nullptr);
  EXPECT_FALSE(candidate.context().references.in_use(ObjectKind::class_map, "a"));
  EXPECT_EQ(candidate.context().hidden_classes.find("site-match"), nullptr);
  EXPECT_THAT(changed(candidate),
              ElementsAre("-web#1.0", "-web#1.10", "-web#1.20", "-site#2.0", "-site#2.5", "-site#2.3", "-site#2.4"));
  candidate.put<ClassMap>("web", {});
  EXPECT_EQ(web(candidate)->number, 6U);
  EXPECT_TRUE(web(candidate)->rules.empty());
}

TEST_F(CandidateTest, RulesComeChangeAndGo) {
  Candidate candidate(base, kContext);
  candidate.put_rule("web", 20, NestedClassMapRule{"other"});
  EXPECT_FALSE(candidate.context().references.in_use(ObjectKind::class_map, "child"));
  EXPECT_TRUE(candidate.context().references.in_use(ObjectKind::class_map, "other"));
  EXPECT_EQ(web(candidate)->rules.line_of(MatchRule(NestedClassMapRule{"child"})), std::nullopt);
  EXPECT_EQ(web(candidate)->rules.line_of(MatchRule(NestedClassMapRule{"other"})), 20U);
  candidate.erase_rule("web", 10);
  EXPECT_THAT(changed(candidate), ElementsAre("-web#1.10", "=web#1.20"));
  candidate.erase_rule("web", 20);
  EXPECT_FALSE(candidate.context().references.in_use(ObjectKind::class_map, "other"));
}

TEST_F(CandidateTest, AClassKeepsItsNumberAndANewOneGetsOne) {
  Candidate candidate(base, kContext);
  PolicyClass entry = *site(candidate)->classes.find("a");
  EXPECT_EQ(entry.number, 3U);
  entry.content.actions.put(SslProxyServerAction("front"));
  candidate.put_class("site", entry);
  EXPECT_TRUE(candidate.context().references.in_use(ObjectKind::ssl_proxy, "front"));
  EXPECT_THAT(changed(candidate), ElementsAre("=site#2.3"));
  candidate.put_class("site", new_class("c", 30));
  EXPECT_EQ(site(candidate)->classes.find("c")->number, 6U);
  candidate.erase_class("site", "a");
  EXPECT_FALSE(candidate.context().references.in_use(ObjectKind::ssl_proxy, "front"));
  EXPECT_FALSE(candidate.context().references.in_use(ObjectKind::class_map, "a"));
  candidate.erase_class("site", "-match");
  EXPECT_EQ(candidate.context().hidden_classes.find("site-match"), nullptr);
  EXPECT_THAT(positions(candidate), ElementsAre(std::pair("b", 11U), std::pair("c", 30U)));
}

TEST_F(CandidateTest, ClassDefaultHasTheNumberOfItsPolicyMap) {
  Candidate candidate(base, kContext);
  PolicyClass entry = *site(candidate)->classes.class_default();
  EXPECT_EQ(entry.number, 2U);
  entry.content.actions.put(SslProxyServerAction("front"));
  candidate.put_class("site", entry);
  EXPECT_EQ(site(candidate)->classes.size(), 3U);
  EXPECT_EQ(site(candidate)->classes.class_default()->content.actions.size(), 1U);
  EXPECT_THAT(changed(candidate), ElementsAre("+site#2.9223372036854775807"));
  entry.content.actions = {};
  candidate.put_class("site", entry);
  EXPECT_FALSE(candidate.context().references.in_use(ObjectKind::ssl_proxy, "front"));
  EXPECT_THAT(changed(candidate), IsEmpty());
}

TEST_F(CandidateTest, TheOrderIsAnotherOneWhenAClassMoves) {
  Candidate candidate(base, kContext);
  const Number order = site(candidate)->order;
  EXPECT_EQ(order, 2U);
  candidate.put_class("site", new_class("c", 30));
  PolicyClass entry = *site(candidate)->classes.find("c");
  entry.content.actions.put(DropAction{});
  candidate.put_class("site", entry);
  candidate.put<PolicyMap>("site", {});
  EXPECT_EQ(site(candidate)->order, order);
  entry.position = 5;
  candidate.put_class("site", entry);
  EXPECT_THAT(positions(candidate),
              ElementsAre(std::pair("c", 5U), std::pair("a", 10U), std::pair("b", 11U), std::pair("-match", 20U)));
  const Number moved = site(candidate)->order;
  EXPECT_GT(moved, order);
  candidate.space_out("site");
  EXPECT_GT(site(candidate)->order, moved);
}

// Also where a class comes to where another one stood.
TEST_F(CandidateTest, SpacesClassesOut) {
  Candidate candidate(base, kContext);
  PolicyClass last = *site(candidate)->classes.find("-match");
  last.position = 2 * ClassList::kStep;
  candidate.put_class("site", last);
  PolicyClass third = *site(candidate)->classes.find("b");
  third.position = ClassList::kStep;
  candidate.put_class("site", third);
  candidate.space_out("site");
  EXPECT_THAT(positions(candidate), ElementsAre(std::pair("a", ClassList::kStep), std::pair("b", 2 * ClassList::kStep),
                                                std::pair("-match", 3 * ClassList::kStep)));
  EXPECT_THAT(changed(candidate), ElementsAre("=site#2.5", "=site#2.3", "=site#2.4"));
  EXPECT_NE(candidate.context().hidden_classes.find("site-match"), nullptr);
}

}  // namespace
}  // namespace kvel::manager::testing::candidate_test
