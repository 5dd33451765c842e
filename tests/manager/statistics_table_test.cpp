// What was counted, through changes of the configuration: what stays, and what goes with its class or its action.
#include "manager/traffic/statistics_table.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "tests/manager/support/traffic_site.h"

namespace kvel::manager::testing::statistics_table_test {
namespace {

const CountedAction kAccessLists{ActionGroup::security_acl, {}};
const CountedAction kBalancing{ActionGroup::load_balance, {}};

CountedAction translation(const DynamicNatAction& nat) { return {ActionGroup::nat, PolicyAction(nat)}; }

// A policy-map with two classes and class-default, each with 5 connections and 7 of its access lists; and another one.
class StatisticsOfClasses : public ::testing::Test {
 protected:
  StatisticsOfClasses() {
    site.class_map("web", ClassMapType::layer34, MatchMode::any, {PortRule{6, 80, 80}});
    site.class_map("mail", ClassMapType::layer34, MatchMode::any, {PortRule{6, 25, 25}});
    site.class_map("more", ClassMapType::layer34, MatchMode::any, {AnyRule{}});
    site.global("site");
    site.policy_map("elsewhere", PolicyMapType::layer34, {false, {7}});
    site.add({"elsewhere", "web"}, {SecurityAclAction{}});
    site.add(web, {SecurityAclAction{}});
    site.add(mail, {SecurityAclAction{}});
    site.act(rest, {SecurityAclAction{}});
    for (const ClassPlace& each : {web, mail, rest, ClassPlace{"elsewhere", "web"}}) {
      ClassStatistics& statistics = counted(each);
      statistics.counters.connections = 5;
      statistics.at(kAccessLists).counters.connections = 7;
    }
  }

  // Whether nothing of the class was lost, and nothing moved in memory.
  class Kept {
   public:
    Kept(const TrafficSite& site, Number number) : site_(&site), number_(number), was_(site.statistics.find(number)) {
      if (was_ != nullptr) action_ = was_->find(kAccessLists);
    }
    explicit operator bool() const {
      const ClassStatistics* const now = site_->statistics.find(number_);
      return now != nullptr && now == was_ && now->counters.connections == 5 && now->find(kAccessLists) == action_ &&
             action_ != nullptr && action_->counters.connections == 7;
    }

   private:
    const TrafficSite* site_;
    Number number_;
    const ClassStatistics* was_;
    const ActionStatistics* action_ = nullptr;
  };
  // Made anew when it is gone, so that it is seen that nothing is left of it.
  ClassStatistics& counted(const ClassPlace& place) { return site.statistics.at(site.number_of(place)); }
  Kept kept(const ClassPlace& place) { return {site, site.number_of(place)}; }

  TrafficSite site;
  const ClassPlace web{"site", "web"};
  const ClassPlace mail{"site", "mail"};
  const ClassPlace rest{"site"};  // class-default
};

TEST_F(StatisticsOfClasses, NothingIsThereBeforeItIsAskedFor) {
  StatisticsTable table;
  EXPECT_EQ(table.find(1), nullptr);
  table.clear(1);
  EXPECT_EQ(table.find(1), nullptr);
  const ClassStatistics* const made = &table.at(1);
  EXPECT_EQ(table.find(1), made);
  EXPECT_EQ(&table.at(1), made);
  EXPECT_EQ(table.find(2), nullptr);
}

TEST_F(StatisticsOfClasses, StayWhenTheClassMoves) {
  const auto of_web = kept(web);
  const auto of_mail = kept(mail);
  const auto of_rest = kept(rest);
  const std::uint64_t position = site.find(mail)->position;
  site.move_to_front(mail);
  EXPECT_NE(site.find(mail)->position, position);
  EXPECT_TRUE(of_mail);
  EXPECT_TRUE(of_web);
  const std::uint64_t position_of_web = site.find(web)->position;
  site.change([](Candidate& candidate) { candidate.space_out("site"); });
  EXPECT_NE(site.find(web)->position, position_of_web);
  EXPECT_TRUE(of_mail);
  EXPECT_TRUE(of_web);
  EXPECT_TRUE(of_rest);
}

TEST_F(StatisticsOfClasses, StayWhenAnEqualClassComesInTheirClassesPlace) {
  const auto of_web = kept(web);
  const ClassPointer before = site.find(web);
  site.set_actions(web, list_of({SecurityAclAction{}}));
  EXPECT_NE(site.find(web), before);
  EXPECT_TRUE(of_web);
  // Also where it is said as a change.
  const RecordKey key{ObjectKind::policy_map, TrafficSite::kContext, Name("site"), site.policy("site").number,
                      before->number};
  site.statistics.apply({key, before, std::make_shared<const PolicyClass>(*before)});
  EXPECT_TRUE(of_web);
}

TEST_F(StatisticsOfClasses, StayWhateverChangesBesideTheClass) {
  const auto of_web = kept(web);
  const auto of_rest = kept(rest);
  const auto stay = [&] { return of_web && of_rest; };
  site.policy_map("site", PolicyMapType::layer34, {false, {10, 20}});
  EXPECT_TRUE(stay()) << "another application";
  site.policy_map("site", PolicyMapType::layer34);
  EXPECT_TRUE(stay()) << "no application";
  site.put_rule("web", 20, PortRule{6, 8080, 8080});
  site.set_mode("web", MatchMode::all);
  site.erase_rule("web", 10);
  EXPECT_TRUE(stay()) << "the class-map";
  site.add({"site", "more"}, {SecurityAclAction{}});
  EXPECT_TRUE(stay()) << "another class comes";
  site.set_actions(mail, {});
  EXPECT_TRUE(stay()) << "another class changes";
  site.erase(mail);
  site.erase({"site", "more"});
  EXPECT_TRUE(stay()) << "other classes go";
  site.change([](Candidate& candidate) { candidate.erase<PolicyMap>("elsewhere"); });
  EXPECT_TRUE(stay()) << "another policy-map goes";
}

// A rule is known by its line, a class by its number: the one may be as great as the other.
TEST_F(StatisticsOfClasses, StayWhenALineGoesThatIsAsTheirNumber) {
  const auto of_web = kept(web);
  const auto line = static_cast<std::uint32_t>(site.number_of(web));
  site.put_rule("web", line, PortRule{6, 8080, 8080});
  site.erase_rule("web", line);
  EXPECT_TRUE(of_web);
}

TEST_F(StatisticsOfClasses, StayWhenTheSameNamesGoInAnotherContext) {
  const auto of_web = kept(web);
  const auto of_rest = kept(rest);
  Candidate made(site.configuration, 1);
  made.put<ClassMap>("web", {ClassMapType::layer34, MatchMode::any, {}});
  made.put<PolicyMap>("site", {});
  made.put_class("site", {0, ClassList::kStep, {"web", std::nullopt, {}}});
  Candidate gone(made.configuration(), 1);
  gone.erase_class("site", "web");
  gone.erase<PolicyMap>("site");
  const Changes changes = difference(made.configuration(), gone.configuration());
  EXPECT_EQ(changes.size(), 2U);
  for (const Change& change : changes)
    site.statistics.apply(change);
  EXPECT_TRUE(of_web);
  EXPECT_TRUE(of_rest);
}

TEST_F(StatisticsOfClasses, GoWithTheirClass) {
  const Number gone = site.number_of(web);
  const auto of_mail = kept(mail);
  const auto of_rest = kept(rest);
  const auto of_the_same_class_map = kept({"elsewhere", "web"});
  site.erase(web);
  EXPECT_EQ(site.statistics.find(gone), nullptr);
  EXPECT_TRUE(of_mail);
  EXPECT_TRUE(of_rest);
  EXPECT_TRUE(of_the_same_class_map);
}

TEST_F(StatisticsOfClasses, BeginAtNothingWhenTheClassComesAgain) {
  const Number gone = site.number_of(web);
  const PolicyClassContent content = site.find(web)->content;
  const std::uint64_t position = site.find(web)->position;
  site.change([&](Candidate& candidate) {
    candidate.erase_class("site", "web");
    candidate.put_class("site", {0, position, content});
  });
  ASSERT_NE(site.find(web), nullptr);
  EXPECT_NE(site.number_of(web), gone);
  EXPECT_EQ(site.statistics.find(gone), nullptr);
  EXPECT_EQ(site.statistics.find(site.number_of(web)), nullptr);
}

TEST_F(StatisticsOfClasses, GoWithTheirPolicyMap) {
  const Number of_web = site.number_of(web);
  const Number of_mail = site.number_of(mail);
  const Number of_rest = site.number_of(rest);
  const auto elsewhere = kept({"elsewhere", "web"});
  site.change([](Candidate& candidate) { candidate.erase<PolicyMap>("site"); });
  EXPECT_EQ(site.statistics.find(of_web), nullptr);
  EXPECT_EQ(site.statistics.find(of_mail), nullptr);
  EXPECT_EQ(site.statistics.find(of_rest), nullptr);
  EXPECT_TRUE(elsewhere);
}

// In one step, so that the name is never free.
TEST_F(StatisticsOfClasses, GoWhenAnotherPolicyMapTakesTheName) {
  const Number of_web = site.number_of(web);
  const Number of_rest = site.number_of(rest);
  site.change([](Candidate& candidate) {
    candidate.erase<PolicyMap>("site");
    candidate.put<PolicyMap>("site", {});
  });
  EXPECT_EQ(site.statistics.find(of_web), nullptr);
  EXPECT_EQ(site.statistics.find(of_rest), nullptr);
  EXPECT_NE(site.number_of(rest), of_rest);
  EXPECT_EQ(site.statistics.find(site.number_of(rest)), nullptr);
}

TEST_F(StatisticsOfClasses, OfAnActionGoWithIt) {
  site.act(web, {InspectRtspAction{}});
  counted(web).at({ActionGroup::inspect_rtsp, {}}).counters.connections = 3;
  EXPECT_TRUE(kept(web));

  site.set_actions(web, list_of({InspectRtspAction{}}));
  EXPECT_EQ(counted(web).find(kAccessLists), nullptr);
  EXPECT_EQ(counted(web).counters.connections, 5U);
  ASSERT_NE(counted(web).find({ActionGroup::inspect_rtsp, {}}), nullptr);
  EXPECT_EQ(counted(web).find({ActionGroup::inspect_rtsp, {}})->counters.connections, 3U);
  EXPECT_TRUE(kept(mail));

  site.set_actions(web, {});
  EXPECT_EQ(counted(web).find({ActionGroup::inspect_rtsp, {}}), nullptr);
  EXPECT_EQ(counted(web).counters.connections, 5U);
}

TEST_F(StatisticsOfClasses, OfAnActionStayWhenItIsSetToSomethingElse) {
  site.act(web, {InspectDnsAction{512}});
  counted(web).at({ActionGroup::inspect_dns, {}}).counters.connections = 3;
  site.act(web, {InspectDnsAction{1024}});
  ASSERT_NE(counted(web).find({ActionGroup::inspect_dns, {}}), nullptr);
  EXPECT_EQ(counted(web).find({ActionGroup::inspect_dns, {}})->counters.connections, 3U);
}

// Actions that are counted together, until the last of them goes.
TEST_F(StatisticsOfClasses, OfAGroupStayWithOneOfItsActions) {
  site.set_actions(web, list_of({VipInServiceAction{}, VipAdvertiseAction{}}));
  counted(web).at(kBalancing).counters.connections = 3;
  site.set_actions(web, list_of({VipAdvertiseAction{}}));
  ASSERT_NE(counted(web).find(kBalancing), nullptr);
  EXPECT_EQ(counted(web).find(kBalancing)->counters.connections, 3U);
  site.set_actions(web, list_of({SecurityAclAction{}}));
  EXPECT_EQ(counted(web).find(kBalancing), nullptr);
}

TEST_F(StatisticsOfClasses, OfATranslationGoWithThatTranslation) {
  const DynamicNatAction one{7, 10};
  const DynamicNatAction other{8, 10};
  site.act(web, {one, other});
  counted(web).at(translation(one)).counters.connections = 3;
  counted(web).at(translation(other)).counters.connections = 4;
  site.set_actions(web, list_of({SecurityAclAction{}, other}));
  EXPECT_EQ(counted(web).find(translation(one)), nullptr);
  ASSERT_NE(counted(web).find(translation(other)), nullptr);
  EXPECT_EQ(counted(web).find(translation(other))->counters.connections, 4U);
  EXPECT_TRUE(kept(web));
}

// It cannot go but with its policy-map; without actions there is no record of it.
TEST_F(StatisticsOfClasses, OfClassDefaultLoseActionsOnly) {
  site.act(rest, {InspectRtspAction{}});
  EXPECT_TRUE(kept(rest));
  counted(rest).at({ActionGroup::inspect_rtsp, {}}).counters.connections = 3;
  site.set_actions(rest, list_of({InspectRtspAction{}}));
  EXPECT_EQ(counted(rest).find(kAccessLists), nullptr);
  ASSERT_NE(counted(rest).find({ActionGroup::inspect_rtsp, {}}), nullptr);
  EXPECT_EQ(counted(rest).find({ActionGroup::inspect_rtsp, {}})->counters.connections, 3U);

  const ClassStatistics* const before = site.statistics.find(site.number_of(rest));
  site.set_actions(rest, {});
  EXPECT_EQ(site.statistics.find(site.number_of(rest)), before);
  EXPECT_EQ(counted(rest).find({ActionGroup::inspect_rtsp, {}}), nullptr);
  EXPECT_EQ(counted(rest).counters.connections, 5U);
  EXPECT_TRUE(kept(web));
  EXPECT_TRUE(kept(mail));
}

TEST_F(StatisticsOfClasses, AreClearedClassByClass) {
  counted(web).counters.current_connections = 2;
  counted(web).at(kAccessLists).counters.current_connections = 1;
  site.statistics.clear(site.number_of(web));
  EXPECT_EQ(counted(web).counters.connections, 0U);
  EXPECT_EQ(counted(web).counters.current_connections, 2U);
  ASSERT_NE(counted(web).find(kAccessLists), nullptr);
  EXPECT_EQ(counted(web).find(kAccessLists)->counters.connections, 0U);
  EXPECT_EQ(counted(web).find(kAccessLists)->counters.current_connections, 1U);
  EXPECT_TRUE(kept(mail));
  EXPECT_TRUE(kept(rest));
}

}  // namespace
}  // namespace kvel::manager::testing::statistics_table_test
