// What a change of the configuration makes anew of what traffic is held against, and what it leaves: seen from the
// parts themselves, and by counting how often expressions are compiled.
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "manager/service/manager.h"
#include "manager/store/null_store.h"
#include "manager/traffic/explanation.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/policy_client.h"
#include "tests/manager/support/traffic_site.h"

namespace kvel::manager::testing::traffic_rebuild_test {
namespace {

const std::string kFlow =
    R"({"source":"192.168.7.9","destination":"10.1.1.1","protocol":"tcp","source_port":40000,"destination_port":80,)"
    R"("http":{"url":"/img/a.png"}})";

// A virtual address whose requests are balanced by "lb", on VLAN 10, and another policy-map on VLAN 20.
class Rebuild : public ::testing::Test {
 protected:
  void SetUp() override {
    site.class_map("web", ClassMapType::layer34, MatchMode::any,
                   {VirtualAddressRule{ipv4(10, 1, 1, 1), kHost, 6, 80, 80}});
    site.class_map("other", ClassMapType::layer34, MatchMode::any, {AnyRule{}});
    site.class_map("images", ClassMapType::http_load_balancing, MatchMode::any, {LbUrlRule{"/img/.*", ""}});
    site.class_map("outer", ClassMapType::http_load_balancing, MatchMode::any, {NestedClassMapRule{"images"}});
    site.policy_map("lb", PolicyMapType::http_load_balancing);
    site.add({"lb", "outer"}, {DropAction{}});
    site.add({"lb", "old"}, {}, LbUrlRule{"/old/.*", ""});
    LoadBalanceAction balance;
    balance.policy = "lb";
    site.policy_map("on-10", PolicyMapType::layer34, {false, {10}});
    site.add({"on-10", "web"}, {VipInServiceAction{}, balance});
    site.policy_map("on-20", PolicyMapType::layer34, {false, {20}});
    site.add({"on-20", "other"});
    remake();
  }

  // What was there before stays to be compared with.
  void remake() {
    before = std::move(now);
    now = std::make_unique<Classifier>(site.context(), site.statistics, before.get());
  }
  static AppliedPolicy* at(Classifier& classifier, int vlan) {
    Flow flow;
    flow.vlan = static_cast<std::uint32_t>(vlan);
    return classifier.policy_for(flow);
  }
  // Whether the applied policy-map of a VLAN, and whether what its flows are held against, is the same as before.
  bool is_kept(int vlan) { return at(*before, vlan) == at(*now, vlan); }
  bool is_match_kept(int vlan) { return at(*before, vlan)->match == at(*now, vlan)->match; }
  // What a class of the layer-7 policy-map is held against flows as.
  static SharedClassMatch balanced_class(Classifier& classifier, std::size_t place) {
    const auto decision = classifier.decide(flow_of(kFlow.substr(0, kFlow.size() - 1) + R"(,"vlan":10})"));
    return decision->traffic_class->consulted(*decision).front().policy->entries()[place].match;
  }
  SharedClassMatch first_class(const std::unique_ptr<Classifier>& classifier, int vlan) {
    return at(*classifier, vlan)->match->entries().front().match;
  }

  TrafficSite site;
  std::unique_ptr<Classifier> before;
  std::unique_ptr<Classifier> now;
};

TEST_F(Rebuild, NothingWithoutAChange) {
  remake();
  EXPECT_TRUE(is_kept(10));
  EXPECT_TRUE(is_kept(20));
}

TEST_F(Rebuild, ARuleOfAClassMap) {
  site.put_rule("web", 20, PortRule{6, 8080, 8080});
  remake();
  EXPECT_FALSE(is_match_kept(10));
  EXPECT_NE(first_class(before, 10), first_class(now, 10));
  EXPECT_TRUE(is_kept(20));
  site.erase_rule("web", 20);
  remake();
  EXPECT_NE(first_class(before, 10), first_class(now, 10));
  EXPECT_EQ(first_class(now, 10)->rules().size(), 1U);
}

TEST_F(Rebuild, TheModeOfAClassMap) {
  site.set_mode("web", MatchMode::all);
  remake();
  EXPECT_EQ(first_class(now, 10)->mode(), MatchMode::all);
  EXPECT_TRUE(is_kept(20));
}

TEST_F(Rebuild, WhatIsSetOfAClassMapButDecidesNothing) {
  for (const char* name : {"web", "other", "images", "outer"}) {
    site.describe(name, "in other words");
    remake();
    EXPECT_TRUE(is_kept(10)) << name;
    EXPECT_TRUE(is_kept(20)) << name;
  }
  // With the rules of another version it is made anew all the same.
  site.describe("web", "in few words");
  site.erase_rule("web", 10);
  remake();
  EXPECT_TRUE(first_class(now, 10)->rules().empty());
}

TEST_F(Rebuild, ActionsAndRuleOfAnInlineMatch) {
  const SharedClassMatch first = balanced_class(*now, 1);
  site.set_actions({"lb", "old"}, list_of({DropAction{}}));
  remake();
  EXPECT_EQ(balanced_class(*now, 1), first);
  EXPECT_FALSE(is_kept(10));
  site.set_rule({"lb", "old"}, LbUrlRule{"/older/.*", ""});
  remake();
  EXPECT_NE(balanced_class(*now, 1), first);
  EXPECT_EQ(balanced_class(*now, 1)->rules().front().rule(), MatchRule(LbUrlRule{"/older/.*", ""}));
}

TEST_F(Rebuild, ANestedClassMap) {
  site.erase_rule("images", 10);
  remake();
  EXPECT_TRUE(is_match_kept(10));  // the classes are the same; their actions ask another policy-map
  EXPECT_FALSE(is_kept(10));
  EXPECT_TRUE(is_kept(20));
  EXPECT_FALSE(now->decide(flow_of(kFlow.substr(0, kFlow.size() - 1) + R"(,"vlan":10})"))->is_dropped());
}

TEST_F(Rebuild, ALayer7PolicyMap) {
  site.set_actions({"lb", "outer"}, {});
  remake();
  EXPECT_FALSE(is_kept(10));
  EXPECT_TRUE(is_kept(20));
  EXPECT_FALSE(now->decide(flow_of(kFlow.substr(0, kFlow.size() - 1) + R"(,"vlan":10})"))->is_dropped());
}

TEST_F(Rebuild, ActionsOfAClass) {
  site.set_actions({"on-20", "other"}, {});
  remake();
  EXPECT_FALSE(is_kept(20));
  EXPECT_EQ(first_class(before, 20), first_class(now, 20));
  EXPECT_TRUE(is_kept(10));
}

TEST_F(Rebuild, PlacesAlone) {
  site.policy_map("on-20", PolicyMapType::layer34, {false, {30}});
  remake();
  EXPECT_TRUE(is_kept(10));
  EXPECT_EQ(at(*now, 20), nullptr);
  EXPECT_EQ(at(*now, 30), at(*before, 20));
}

TEST_F(Rebuild, WhatIsSetOfAPolicyMapButDecidesNothing) {
  PolicyMapSettings settings = *site.policy("on-20").settings;
  settings.description = "the second";
  settings.interval = 5;
  site.change([&](Candidate& candidate) { candidate.put<PolicyMap>("on-20", settings); });
  remake();
  EXPECT_TRUE(is_kept(20));
  EXPECT_TRUE(is_kept(10));
}

TEST_F(Rebuild, ClassesInAnotherOrder) {
  site.add({"on-20", "web"});
  remake();
  site.move_to_front({"on-20", "web"});
  remake();
  EXPECT_FALSE(is_match_kept(20));
  EXPECT_EQ(first_class(now, 20)->rules().size(), 1U);
  EXPECT_EQ(at(*now, 20)->match->entries()[0].policy_class, site.find({"on-20", "web"}));
}

// Objects of the same names that are others.
TEST_F(Rebuild, ObjectsThatWentAndCameAgain) {
  site.change([](Candidate& candidate) { candidate.erase<PolicyMap>("on-20"); });
  site.policy_map("on-20", PolicyMapType::layer34, {false, {20}});
  site.add({"on-20", "other"});
  remake();
  EXPECT_FALSE(is_match_kept(20));
  EXPECT_EQ(first_class(before, 20), first_class(now, 20));
  EXPECT_EQ(at(*now, 20)->match->entries()[0].policy_class, site.find({"on-20", "other"}));
  EXPECT_EQ(at(*now, 20)->match->entries()[1].policy_class, site.find({"on-20"}));
  EXPECT_TRUE(is_kept(10));
}

// A change concerns one context.
TEST(Classifiers, AreKeptWhileTheirContextDoesNotChange) {
  Configuration configuration;
  StatisticsTable statistics;
  Classifiers classifiers;
  const auto change = [&](std::uint16_t context, const char* description) {
    Candidate candidate(configuration, context);
    candidate.put<ClassMap>("web", {ClassMapType::layer34, MatchMode::any, description});
    configuration = candidate.configuration();
  };
  change(1, "one");
  const Classifier* const first = &classifiers.at(configuration, 0, statistics);
  change(1, "another");
  change(2, "one");
  EXPECT_EQ(&classifiers.at(configuration, 0, statistics), first);
  change(0, "one");
  const Classifier* const second = &classifiers.at(configuration, 0, statistics);
  EXPECT_NE(second, first);
  change(1, "a third");
  EXPECT_EQ(&classifiers.at(configuration, 0, statistics), second);
  change(0, "another");
  EXPECT_NE(&classifiers.at(configuration, 0, statistics), second);
}

// Whatever changes: what is taken over decides as what is made from nothing.
TEST_F(Rebuild, NoOtherDecisionThanWithoutAnythingTakenOver) {
  EXPECT_TRUE(rc::check([this] {
    const auto any_class = [](ClassMapType type) {
      return type == ClassMapType::layer34 ? *rc::gen::element<std::string>("web", "other")
                                           : *rc::gen::element<std::string>("images", "outer");
    };
    const auto any_rule = [](const std::string& class_map) -> MatchRule {
      if (class_map == "web" || class_map == "other")
        return PortRule{6, *rc::gen::element(80U, 81U), *rc::gen::element(81U, 82U)};
      return LbUrlRule{*rc::gen::element<std::string>("/img/.*", "/old/.*", ".*"), ""};
    };
    const auto change = [&] {
      const auto type = *rc::gen::element(ClassMapType::layer34, ClassMapType::http_load_balancing);
      const std::string name = any_class(type);
      const std::string policy = type == ClassMapType::http_load_balancing ? "lb"
                                 : *rc::gen::arbitrary<bool>()             ? "on-10"
                                                                           : "on-20";
      const ClassPlace place{policy, *rc::gen::arbitrary<bool>() ? name : "old"};
      const ClassPointer entry = site.find(place);
      switch (*rc::gen::inRange(0, 7)) {
        case 0: {
          const MatchRule rule = any_rule(name);
          const auto line = site.rules(name).next_line();
          if (!site.rules(name).line_of(rule)) site.put_rule(name, *line, rule);
          break;
        }
        case 1:
          site.erase_rule(name, *rc::gen::element(10U, 20U, 30U));
          break;
        case 2:
          site.set_mode(name, *rc::gen::element(MatchMode::any, MatchMode::all));
          break;
        case 3:
          if (site.find({policy, name}) == nullptr) site.add({policy, name});
          break;
        case 4:
          if (entry != nullptr && site.policy(policy).classes.size() > 1) site.erase(place);
          break;
        case 5:
          site.describe(name, *rc::gen::element<std::string>("", "in other words"));
          break;
        default:
          if (entry != nullptr && entry->content.rule) {
            site.set_rule(place, any_rule("images"));
          } else if (entry != nullptr) {
            ActionList actions;
            if (policy == "lb" && *rc::gen::arbitrary<bool>()) actions.put(DropAction{});
            if (policy != "lb" && *rc::gen::arbitrary<bool>()) actions.put(VipInServiceAction{});
            LoadBalanceAction balance;
            balance.policy = "lb";
            if (policy != "lb" && *rc::gen::arbitrary<bool>()) actions.put(balance);
            site.set_actions(place, std::move(actions));
          }
      }
    };
    for (int count = *rc::gen::inRange(1, 4); count > 0; --count)
      change();
    remake();
    Classifier fresh(site.context(), site.statistics);
    for (const std::string url : {"/img/a", "/old/b", "/"}) {
      for (const char* vlan : {"10", "20"}) {
        const std::string line =
            R"({"source":"192.168.7.9","destination":"10.1.1.1","protocol":"tcp","source_port":1,"destination_port":)" +
            std::to_string(*rc::gen::element(80, 81, 82)) + R"(,"vlan":)" + vlan + R"(,"http":{"url":")" + url + "\"}}";
        RC_ASSERT(explain(*now, flow_of(line)) == explain(fresh, flow_of(line)));
      }
    }
  }));
}

class Compilations : public ::testing::Test {
 protected:
  static constexpr std::uint64_t kMany = 3000;

  Compilations() {
    // The policy-maps of a context, with one class that has many expressions.
    for (std::uint16_t context = 0; context < 2; ++context) {
      Client objects(*manager, context);
      RuleClient in_classes(*manager, context);
      PolicyClient in_policies(*manager, context);
      EXPECT_EQ(objects.create("web", 0, kMatchAny), Status::ok);
      EXPECT_EQ(in_classes.vip({"web"}, ip(10, 1, 1, 1)), Status::ok);
      EXPECT_EQ(objects.create("pages", 2, kMatchAny), Status::ok);
      EXPECT_EQ(objects.create("few", 2, kMatchAny), Status::ok);
      EXPECT_EQ(in_classes.lb_url({"few"}, "/few/.*"), Status::ok);
      EXPECT_EQ(in_policies.create("lb", 2), Status::ok);
      EXPECT_EQ(in_policies.put({"lb", "pages"}, 2), Status::ok);
      EXPECT_EQ(in_policies.put({"lb", "few"}, 2), Status::ok);
      EXPECT_EQ(in_policies.url_match({"lb", "old"}, "/old/.*"), Status::ok);
      EXPECT_EQ(in_policies.create("site"), Status::ok);
      EXPECT_EQ(in_policies.put({"site", "web"}), Status::ok);
      EXPECT_EQ(in_policies.vip({"site", "web"}, record(160, {{0, word(1)}, {85, "lb"}, {156, word(0x82000000)}})),
                Status::ok);
      EXPECT_EQ(call(*manager, "kvel_apply_policy", {u16(context), session(), string("site"), u32(0), u8(1)}),
                Status::ok);
    }
  }

  void add_pages(std::uint16_t context) {
    RuleClient in_classes(*manager, context);
    for (std::uint64_t number = 0; number < kMany; ++number)
      ASSERT_EQ(in_classes.lb_url({"pages"}, "/page-" + std::to_string(number) + "/.*"), Status::ok);
  }
  void count_flow(std::uint16_t context = 0) {
    EXPECT_EQ(
        call(*manager, "kvel_count_flows", {u16(context), u32(1), string(kFlow), Value{rpc::ArgType::response, 0, {}}}),
        Status::ok);
  }
  // What has been compiled since it was asked the last time.
  std::uint64_t compiled() { return expressions_compiled() - std::exchange(last, expressions_compiled()); }

  std::unique_ptr<Manager> manager = Manager::open(std::make_unique<NullStore>()).value();
  Client client{*manager};
  RuleClient rules{*manager};
  PolicyClient policies{*manager};
  std::uint64_t last = 0;
};

// An expression is compiled twice: when it is checked, and when traffic is held against it for the first time.
TEST_F(Compilations, AChangeCompilesWhatItBringsAndNothingElse) {
  (void)compiled();
  add_pages(0);
  EXPECT_EQ(compiled(), kMany);
  count_flow();
  EXPECT_EQ(compiled(), kMany + 2);
  count_flow();
  EXPECT_EQ(compiled(), 0U);

  const auto after = [&](Status status) {
    EXPECT_EQ(status, Status::ok);
    count_flow();
    return compiled();
  };
  EXPECT_EQ(after(client.create("new", 0)), 0U);
  EXPECT_EQ(after(client.describe("pages", "all of them")), 0U);
  EXPECT_EQ(after(rules.vip({"web"}, ip(10, 1, 1, 2))), 0U);
  EXPECT_EQ(after(rules.lb_url({"few"}, "/one/more")), 2U);
  EXPECT_EQ(after(rules.lb_url({"pages"}, "/one/more")), 2U);
  EXPECT_EQ(after(policies.url_match({"lb", "old"}, "/older/.*")), 2U);
  EXPECT_EQ(after(policies.put({"lb", "few", 0}, 2)), 0U);
  EXPECT_EQ(after(client.create("pages", 2, kMatchAll)), 0U);
  EXPECT_EQ(after(policies.options({"site", "web"}, 0x80000000U)), 0U);
  EXPECT_EQ(after(call(*manager, "kvel_apply_policy", {u16(0), session(), string("site"), u32(0), u8(0)})), 0U);
  EXPECT_EQ(after(call(*manager, "kvel_apply_policy", {u16(0), session(), string("site"), u32(7), u8(1)})), 0U);
}

TEST_F(Compilations, AnotherContextIsLeftAlone) {
  add_pages(1);
  count_flow(1);
  count_flow(0);
  (void)compiled();
  ASSERT_EQ(rules.lb_url({"few"}, "/one/more"), Status::ok);
  count_flow(1);
  EXPECT_EQ(compiled(), 1U);  // it was checked
  count_flow(0);
  EXPECT_EQ(compiled(), 1U);
}

}  // namespace
}  // namespace kvel::manager::testing::traffic_rebuild_test
