// Random streams, in any number of pages: always a document that keeps to the schema, and the same values in JSON.
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "tests/cli/statistics_stream.h"
#include "tests/output/schema.h"
#include "tests/output/service_policy.h"
#include "tests/output/support.h"

namespace kvel::output::testing::service_policy_random_test {
namespace {

namespace stream = cli::test::stream;

constexpr char kAnyNameBytes[] = {'a', 'b', '<', '&', '"', '\n', ' ', '\x01', '\x7f', '\xC3', '\xA9', '\xFF'};

// Few names, so that a class often goes on; some of them nasty.
std::string any_name() {
  if (*rc::gen::arbitrary<bool>()) return *rc::gen::element<std::string>("web", "mail", "");
  return *rc::gen::resize(20, rc::gen::container<std::string>(
                                  rc::gen::elementOf(std::string(std::begin(kAnyNameBytes), std::end(kAnyNameBytes)))));
}

std::uint32_t up_to(std::uint32_t most) { return *rc::gen::inRange<std::uint32_t>(0, most + 1); }

stream::Counters any_counters() {
  return {.current_connections = *rc::gen::arbitrary<std::uint32_t>(),
          .client_bytes = *rc::gen::arbitrary<std::uint64_t>()};
}

std::string any_record(std::uint32_t type) {
  const stream::Counters counters = any_counters();
  switch (type) {
    case stream::kNat:
      return stream::nat({.kind = up_to(1),
                          .address_or_vlan = *rc::gen::arbitrary<std::uint32_t>(),
                          .port = static_cast<std::uint16_t>(up_to(2)),
                          .counters = counters});
    case stream::kLoadBalance:
      return stream::load_balance({.vip_inservice = up_to(1),
                                   .icmp_reply_state = up_to(4),
                                   .rhi_state = up_to(4),
                                   .l7_policy_name = any_name(),
                                   .counters = counters});
    case stream::kInspectHttp:
      return stream::http({.url_logging = up_to(1), .l7_policy_name = any_name(), .counters = counters});
    case stream::kInspectFtp:
      return stream::ftp({.strict = up_to(1), .l7_policy_name = any_name(), .counters = counters});
    case stream::kInspectDns:
      return stream::dns({.max_length = *rc::gen::arbitrary<std::uint32_t>(), .counters = counters});
    case stream::kInspectIcmp:
      return stream::icmp({.icmp_error = up_to(1), .counters = counters});
    case stream::kInspectRtsp:
      return stream::rtsp(counters);
    default:
      return {};
  }
}

// A class group, well-formed as the display reads it: load balancing and HTTP inspection of a class that goes on come
// without records.
std::string any_class(bool detail, std::string& last_with_actions) {
  const std::string name = any_name();
  const std::uint32_t groups = up_to(4);
  std::string bytes = stream::class_map({.entry_count = groups, .name = name});
  const bool goes_on = name == last_with_actions;
  for (std::uint32_t group = 0; group < groups; ++group) {
    const std::uint32_t type = up_to(9);
    const std::uint32_t count = up_to(2);
    const bool has_rules = type == stream::kLoadBalance || type == stream::kInspectHttp;
    const bool has_l7 = *rc::gen::arbitrary<bool>();
    bytes += stream::action({.has_l7 = has_l7 ? 1U : 0U, .count = count, .type = type});
    if (count == 0) continue;
    for (std::uint32_t index = 0; index < count && !(goes_on && has_rules); ++index)
      bytes += any_record(type);
    if (group + 1 == groups) last_with_actions = name;
    if (!has_rules || !has_l7 || !detail) continue;
    const std::uint32_t rules = up_to(2);
    bytes += stream::rules({.rule_count = rules, .l7_policy_name = any_name()});
    for (std::uint32_t index = 0; index < rules; ++index) {
      bytes += type == stream::kLoadBalance
                   ? stream::load_balance_rule({.match_name = any_name(), .drop = up_to(1), .serverfarm = any_name()})
                   : stream::inspect_rule({.match_name = any_name(), .inspect_action = up_to(5)});
    }
  }
  return bytes;
}

std::string any_page(bool active, bool detail, std::string& last_with_actions) {
  if (up_to(9) == 0) return up_to(1) == 0 ? std::string() : stream::policy({.record_type = 3});
  const std::uint32_t classes = up_to(3);
  const bool broken = up_to(9) == 0;
  std::string bytes =
      stream::policy({.class_count = classes + (broken ? 1 : 0),
                      .active = active ? 1U : 0U,
                      .description = any_name(),
                      .vlans = active ? *rc::gen::resize(3, rc::gen::arbitrary<std::vector<std::uint32_t>>())
                                      : std::vector<std::uint32_t>{}});
  for (std::uint32_t index = 0; index < classes; ++index)
    bytes += any_class(detail, last_with_actions);
  if (broken) bytes += stream::class_map({.record_type = 7});
  return bytes;
}

// A value and the elements around it.
using Placed = std::pair<std::string, std::string>;

void collect(const xmlNode* element, const std::string& around, std::vector<Placed>& placed) {
  const std::string path = around + "/" + reinterpret_cast<const char*>(element->name);
  // An empty element is a leaf without text, or one that holds nothing: JSON distinguishes them, XML does not.
  if (xmlChildElementCount(const_cast<xmlNode*>(element)) == 0) {
    if (const std::string value = content(element); !value.empty()) placed.emplace_back(path, value);
  }
  for (const xmlNode* child = element->children; child != nullptr; child = child->next) {
    if (child->type == XML_ELEMENT_NODE) collect(child, path, placed);
  }
}

void collect(const nlohmann::json& node, const std::string& path, std::vector<Placed>& placed) {
  if (node.is_array()) {
    for (const nlohmann::json& item : node)
      collect(item, path, placed);
  } else if (node.is_object()) {
    for (const auto& [name, member] : node.items())
      collect(member, path + "/" + name, placed);
  } else {
    const std::string value = node.is_string() ? node.get<std::string>() : node.dump();
    if (!value.empty()) placed.emplace_back(path, value);
  }
}

TEST(ServicePolicyRandom, IsAlwaysADocumentOfTheSchema) {
  EXPECT_TRUE(rc::check([] {
    const bool active = *rc::gen::arbitrary<bool>();
    const bool detail = *rc::gen::arbitrary<bool>();
    std::string last_with_actions;
    Answers answers;
    for (std::uint32_t left = 1 + up_to(3); left > 0; --left)
      answers.pages.push_back(any_page(active, detail, last_with_actions));

    const std::string xml = show_service_policy(Format::xml, answers, detail).document;
    const std::string faults = schema_faults(xml);
    if (!faults.empty()) RC_FAIL(faults + xml);

    const std::string json = show_service_policy(Format::json, answers, detail).document;
    RC_ASSERT(nlohmann::json::accept(json));
    std::vector<Placed> in_xml;
    std::vector<Placed> in_json;
    collect(xmlDocGetRootElement(parse_xml(xml).get()), "", in_xml);
    collect(nlohmann::json::parse(json), "", in_json);
    // Arrays gather values of one name, so that only each path keeps its order.
    const auto by_path = [](const Placed& one, const Placed& other) { return one.first < other.first; };
    std::stable_sort(in_xml.begin(), in_xml.end(), by_path);
    std::stable_sort(in_json.begin(), in_json.end(), by_path);
    RC_ASSERT(in_xml == in_json);
  }));
}

}  // namespace
}  // namespace kvel::output::testing::service_policy_random_test
