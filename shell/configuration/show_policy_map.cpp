// "show policy-map".
#include "shell/configuration/show_policy_map.h"

#include <fmt/format.h>

#include <cstdint>

#include "kvel/host.h"
#include "output/output.h"
#include "shell/configuration/document.h"
#include "shell/configuration/policy_map_commands.h"
#include "shell/configuration/show_objects.h"
#include "shell/matcher/lexer.h"

namespace kvel::shell {

namespace {

// What no command can create is shown as it is stored.
std::string render_or_dump(const Grammar& grammar, const ConfigCommand& command, const ObjectRecord& record) {
  return render(grammar, command).value_or(record.dump());
}

std::string title_of(const ObjectRecord& policy_map, const PolicyMapType& type) {
  const auto subtype = policy_map.at("subtype").get<std::uint64_t>();
  if (subtype == kUsualSubtype) return std::string(type.title);
  return fmt::format("{}, sub-type {}", type.title, subtype);
}

// "global", or "vlan 10, vlan 20".
std::string where_applied(const ObjectRecord& applied) {
  if (!applied.is_array()) return applied.is_string() ? applied.get<std::string>() : applied.dump();
  std::string applied_to;
  for (const ObjectRecord& vlan : applied) {
    if (!applied_to.empty()) applied_to += ", ";
    applied_to += "vlan " + vlan.dump();
  }
  return applied_to;
}

void print_text(const Grammar& grammar, const ObjectRecord& policy_map, const PolicyMapType& type) {
  output::text(fmt::format("policy-map {} ({})", quote_if_needed(policy_map.at("name").get<std::string>()),
                           title_of(policy_map, type)));
  if (const auto description = policy_map.find("description"); description != policy_map.end()) {
    output::text(fmt::format("  description: {}", description->get<std::string>()));
  }
  if (const auto applied = policy_map.find("applied"); applied != policy_map.end()) {
    output::text("  applied: " + where_applied(*applied));
  }
  for (const ObjectRecord& entry : entries_of(policy_map)) {
    output::text(fmt::format("{:5}  {}", entry.at("line").get<std::uint64_t>(),
                             render_or_dump(grammar, entry_command(grammar, type, entry), entry)));
    for (const ObjectRecord& action : actions_of(entry)) {
      output::text(
          fmt::format("{:9}{}", "", render_or_dump(grammar, action_command(grammar, type, entry, action), action)));
    }
  }
}

void print_entry(const Grammar& grammar, const PolicyMapType& type, const ObjectRecord& entry) {
  output::open_element("entry");
  for (const auto& [member, value] : entry.items()) {
    if (member == "rule") {
      print_part("rule", grammar, type.mode, value.at("match").get<std::string>(), value);
    } else if (member == "actions") {
      for (const ObjectRecord& action : value)
        print_member("action", action);
    } else {
      print_member(member, value);
    }
  }
  output::close_element("entry");
}

void print_document(const Grammar& grammar, const ObjectRecord& policy_map, const PolicyMapType& type) {
  output::open_element("policy-map");
  print_settings(policy_map, type.title, "classes");
  for (const ObjectRecord& entry : entries_of(policy_map))
    print_entry(grammar, type, entry);
  output::close_element("policy-map");
}

void print_policy_map(const Grammar& grammar, const ObjectRecord& policy_map) {
  const PolicyMapType& type = policy_type_of(policy_map);
  if (output::format() == output::Format::text) {
    print_text(grammar, policy_map, type);
  } else {
    print_document(grammar, policy_map, type);
  }
}

constexpr ShownKind kPolicyMaps{KVEL_DOMAIN_POLICY_MAP, "policy_maps", print_policy_map};

}  // namespace

tl::expected<void, CallFailure> show_policy_map(const Grammar& grammar, int context, const std::string& name) {
  return show_objects(grammar, context, name, kPolicyMaps);
}

}  // namespace kvel::shell
