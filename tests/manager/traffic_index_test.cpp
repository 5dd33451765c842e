// The index of an applied policy-map against the plain walk over its classes, on random class-maps and flows; and what
// is explained against what is decided.
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "manager/traffic/explanation.h"
#include "tests/manager/support/traffic_site.h"

namespace kvel::manager::testing::traffic_index_test {
namespace {

// Few values that meet and nest often.
rc::Gen<Ipv4> any_address() {
  return rc::gen::map(rc::gen::element<std::uint32_t>(ip(10, 1, 1, 1), ip(10, 1, 1, 2), ip(10, 1, 2, 1),
                                                      ip(10, 2, 1, 1), ip(192, 168, 0, 1), 0, 0xffffffffU),
                      [](std::uint32_t word) { return Ipv4{word}; });
}
rc::Gen<Ipv4> any_mask() {
  return rc::gen::map(
      rc::gen::element<std::uint32_t>(0, 0x80000000U, 0xff000000U, 0xffff0000U, 0xffffff00U, 0xfffffffeU, 0xffffffffU),
      [](std::uint32_t word) { return Ipv4{word}; });
}
rc::Gen<std::uint32_t> any_protocol() { return rc::gen::element<std::uint32_t>(0, 1, 6, 6, 6, 17, 132); }
rc::Gen<std::uint32_t> any_port() {
  return rc::gen::element<std::uint32_t>(0, 1, 79, 80, 81, 443, 1023, 1024, 32767, 32768, 65534, 65535);
}
rc::Gen<std::pair<std::uint32_t, std::uint32_t>> any_range() {
  return rc::gen::map(rc::gen::pair(any_port(), any_port()), [](auto ends) {
    return std::pair(std::min(ends.first, ends.second), std::max(ends.first, ends.second));
  });
}

MatchRule any_layer34_rule() {
  const auto [lower, upper] = *any_range();
  switch (*rc::gen::inRange(0, 10)) {
    case 0:
    case 1:
    case 2:
      return VirtualAddressRule{*any_address(), *any_mask(), *any_protocol(), lower, upper};
    case 3:
    case 4:
      return SourceAddressRule{*any_address(), *any_mask()};
    case 5:
    case 6:
      return DestinationAddressRule{*any_address(), *any_mask()};
    case 7:
      return AccessListRule{*rc::gen::element<std::string>("a", "b")};
    case 8:
      if (*rc::gen::inRange(0, 10) == 0) return AnyRule{};
      [[fallthrough]];
    default:
      return PortRule{*any_protocol(), lower, upper};
  }
}

MatchRule any_management_rule() {
  const auto [lower, upper] = *any_range();
  return ManagementRule{*any_protocol(), lower, upper, *any_address(), *any_mask()};
}

MatchRule any_lb_rule() {
  switch (*rc::gen::inRange(0, 4)) {
    case 0:
      return LbUrlRule{*rc::gen::element<std::string>("/a", "/b", "/.*", "x"), ""};
    case 1:
      return LbHeaderRule{"Host", *rc::gen::element<std::string>("", "h", "g")};
    case 2:
      return LbSourceAddressRule{*any_address(), *any_mask(), true};
    default:
      return LbCookieRule{"c", *rc::gen::element<std::string>("", "1", "2"), false};
  }
}

Flow any_flow() {
  Flow flow;
  flow.source = *any_address();
  flow.destination = *any_address();
  flow.protocol = static_cast<std::uint8_t>(*any_protocol());
  flow.destination_port = static_cast<std::uint16_t>(*any_port());
  flow.source_port = static_cast<std::uint16_t>(*any_port());
  flow.management = *rc::gen::inRange(0, 5) == 0;
  if (*rc::gen::arbitrary<bool>()) flow.vlan = *rc::gen::inRange<std::uint32_t>(1, 4);
  if (*rc::gen::arbitrary<bool>()) flow.access_lists = {*rc::gen::element<std::string>("a", "b")};
  if (*rc::gen::arbitrary<bool>()) {
    flow.http.emplace();
    flow.http->url = *rc::gen::element<std::string>("/a", "/b", "/c");
    flow.http->headers = {{"host", *rc::gen::element<std::string>("h", "g", "f")},
                          {"Cookie", *rc::gen::element<std::string>("c=1", "d=1; c=2", "")}};
  }
  flow.event = *rc::gen::element(FlowEvent::whole, FlowEvent::open, FlowEvent::close);
  return flow;
}

// Class-maps of a type, with nought to four rules each, as the classes of the policy-map.
template <class AnyRuleOf>
void add_classes(TrafficSite& site, const std::string& policy, const std::string& prefix, ClassMapType type,
                 const AnyRuleOf& any_rule, int most) {
  const int classes = *rc::gen::inRange(0, most);
  for (int number = 0; number < classes; ++number) {
    const int count = *rc::gen::weightedElement<int>({{1, 0}, {8, 1}, {6, 2}, {3, 3}, {1, 4}});
    const std::string name = prefix + std::to_string(number);
    site.class_map(name, type, *rc::gen::arbitrary<bool>() ? MatchMode::all : MatchMode::any, {});
    for (int line = 1; line <= count; ++line) {
      const MatchRule rule = any_rule();
      if (!site.rules(name).line_of(rule)) site.put_rule(name, static_cast<std::uint32_t>(line), rule);
    }
    site.add({policy, name});
  }
}

// The classes of a policy-map but class-default, in their order.
std::vector<ClassPlace> places_in(const TrafficSite& site, const std::string& policy) {
  std::vector<ClassPlace> places;
  for (const auto& [position, entry] : site.policy(policy).classes)
    places.push_back({policy, entry->content.name});
  return places;
}

// Two policy-maps for traffic, one for management, and one of load balancing that some classes hand traffic to.
void fill(TrafficSite& site, int most) {
  site.policy_map("lb", PolicyMapType::http_load_balancing);
  add_classes(site, "lb", "l", ClassMapType::http_load_balancing, any_lb_rule, 5);
  for (const ClassPlace& place : places_in(site, "lb")) {
    if (*rc::gen::inRange(0, 4) == 0) site.act(place, {DropAction{}});
  }
  site.global("everywhere");
  add_classes(site, "everywhere", "g", ClassMapType::layer34, any_layer34_rule, most);
  site.policy_map("vlans", PolicyMapType::layer34, {false, {2, 3}});
  add_classes(site, "vlans", "v", ClassMapType::layer34, any_layer34_rule, most);
  for (const char* policy : {"everywhere", "vlans"}) {
    for (const ClassPlace& place : places_in(site, policy)) {
      LoadBalanceAction balance;
      balance.policy = "lb";
      if (*rc::gen::arbitrary<bool>()) site.act(place, {balance});
      if (*rc::gen::arbitrary<bool>()) site.act(place, {VipInServiceAction{}});
    }
  }
  site.policy_map("management", PolicyMapType::management, {false, {1, 2}});
  add_classes(site, "management", "m", ClassMapType::management, any_management_rule, 5);
}

// The walk that the index saves.
std::size_t first_match(const PolicyMatch& policy, const Flow& flow) {
  std::size_t place = 0;
  while (!policy.entries()[place].matches(flow))
    ++place;
  return place;
}

TEST(TrafficIndex, FindsWhatThePlainWalkFinds) {
  EXPECT_TRUE(rc::check([] {
    TrafficSite site;
    fill(site, 30);
    Classifier classifier(site.context(), site.statistics);
    for (int count = 0; count < 50; ++count) {
      const Flow flow = any_flow();
      const AppliedPolicy* policy = classifier.policy_for(flow);
      if (policy == nullptr) continue;
      RC_ASSERT(policy->match->find(flow) == first_match(*policy->match, flow));
    }
  }));
}

// The same question answered from the explanation alone.
TEST(TrafficIndex, WhatIsExplainedIsWhatIsDecided) {
  using nlohmann::json;
  EXPECT_TRUE(rc::check([] {
    TrafficSite site;
    fill(site, 8);
    Classifier classifier(site.context(), site.statistics);
    for (int count = 0; count < 20; ++count) {
      const Flow flow = any_flow();
      const json explained = json::parse(explain(classifier, flow));
      const auto decision = classifier.decide(flow);
      RC_ASSERT(explained["policies"].empty() == !decision);
      RC_ASSERT(explained.contains("why") == !decision);
      if (!decision) continue;

      // All classes but the last are passed over, and their rules show it.
      const auto check_classes = [](const json& classes) {
        for (std::size_t place = 0; place < classes.size(); ++place)
          RC_ASSERT(classes[place]["matched"] == (place + 1 == classes.size()));
      };
      const json& policy = explained["policies"][0];
      check_classes(policy["classes"]);
      const AppliedPolicy& applied = *classifier.policy_for(flow);
      RC_ASSERT(policy["policy"] == std::string(applied.match->name()));
      RC_ASSERT(policy["classes"].size() ==
                static_cast<std::size_t>(decision->traffic_class - applied.classes.data()) + 1);

      const json& matched = policy["classes"].back();
      RC_ASSERT(matched.contains("dropped") == decision->is_dropped());
      RC_ASSERT(matched["policies"].size() == (decision->balanced ? 1U : 0U));
      if (!decision->balanced) continue;
      const json& balanced = matched["policies"][0];
      check_classes(balanced["classes"]);
      RC_ASSERT(balanced["classes"].size() == *decision->balanced + 1);

      // And it is that class which counts.
      const std::string name = balanced["classes"].back()["class"];
      const Number number = site.number_of({"lb", name});
      const ActionStatistics& statistics =
          *site.counted({policy["policy"], matched["class"]}).find({ActionGroup::load_balance, {}});
      const std::uint64_t before = statistics.layer7.at(number).matched;
      Classifier::count(*decision);
      RC_ASSERT(statistics.layer7.at(number).matched == before + (flow.event == FlowEvent::close ? 0 : 1));
    }
  }));
}

// Ports that no flow can have together keep only flows with ports away.
TEST(TrafficIndex, PortsThatExcludeEachOther) {
  TrafficSite site;
  const MatchRule web = VirtualAddressRule{ipv4(10, 1, 1, 1), kHost, 0, 80, 80};
  site.class_map("any-protocol", ClassMapType::layer34, MatchMode::all,
                 {web, VirtualAddressRule{ipv4(10, 1, 1, 1), kHost, 0, 443, 443}});
  site.class_map("tcp", ClassMapType::layer34, MatchMode::all, {web, PortRule{6, 443, 443}});
  site.global("p");
  site.add({"p", "tcp"});
  site.add({"p", "any-protocol"});
  Classifier classifier(site.context(), site.statistics);
  Flow flow;
  flow.destination = ipv4(10, 1, 1, 1);
  flow.protocol = kIcmp;
  const PolicyMatch& match = *classifier.policy_for(flow)->match;
  EXPECT_EQ(match.find(flow), 1U);
  flow.protocol = kTcp;
  flow.destination_port = 80;
  EXPECT_EQ(match.find(flow), 2U);
}

// Every range of ports is cut into blocks that hold each of its ports and no other.
TEST(TrafficIndex, RangesOfPorts) {
  for (const auto& [lower, upper] : std::vector<std::pair<std::uint32_t, std::uint32_t>>{
           {0, 65535}, {0, 0}, {65535, 65535}, {1, 65534}, {80, 443}, {32767, 32768}, {1024, 65535}}) {
    TrafficSite site;
    site.class_map("ports", ClassMapType::layer34, MatchMode::any, {PortRule{6, lower, upper}});
    site.global("p");
    site.add({"p", "ports"});
    Classifier classifier(site.context(), site.statistics);
    Flow flow;
    flow.protocol = kTcp;
    const PolicyMatch& policy = *classifier.policy_for(flow)->match;
    for (std::uint32_t port = 0; port <= 65535; ++port) {
      flow.destination_port = static_cast<std::uint16_t>(port);
      ASSERT_EQ(policy.find(flow), port >= lower && port <= upper ? 0U : 1U) << lower << " " << upper << " " << port;
    }
  }
}

}  // namespace
}  // namespace kvel::manager::testing::traffic_index_test
