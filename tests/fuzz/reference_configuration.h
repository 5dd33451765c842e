// A reference model of the classification manager: maps of names to types, rules and references, and what
// each call must answer. It knows nothing of stores, records and indexes, and looks everything up anew.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "rpc/calls/status.h"

namespace kvel::fuzz {

struct Step {
  enum Kind : std::uint8_t {
    class_map,               // comes or goes: name, type, mode
    rule,                    // of a class-map: name, rule_type, text or number, line
    rule_line,               // of a class-map goes: name, line
    nesting,                 // of `other` in a class-map: name, other, line
    policy_map,              // name, type
    policy_class,            // name of the policy-map, class_name, type, before
    load_balance,            // an action: name, class_name, other: the policy-map that goes on
    ssl_proxy,               // likewise: the service, or none to take away whatever is there
    connection,              // likewise: the parameter-map
    application,             // likewise
    flag,                    // an action of load balancing
    deny,                    // an action of FTP inspection
    parameter_map,           // name, type
    service,                 // an SSL-proxy service: name
    key,                     // of a service: name, other
    parameters,              // of a service: name, other
    application_to_traffic,  // name, vlan
    kKinds,
  };
  Kind kind = class_map;
  bool add = true;
  std::string name;
  std::string class_name;
  std::string other;
  std::string before;
  std::uint32_t type = 0;
  std::uint32_t mode = 0;
  std::uint32_t number = 0;
  std::uint32_t line = 0;
  std::uint32_t vlan = 0;
};

// A rule as the model holds it: the kind of its record, and what makes it differ from others of its kind.
[[nodiscard]] std::string rule_of(const Step& step);

struct ReferenceConfiguration {
  using Actions = std::map<std::string, std::string>;  // kind to the name of its target, or nothing

  struct ClassMap {
    std::uint32_t type = 0;
    bool match_all = true;
    std::map<std::uint32_t, std::string> rules;
    friend bool operator==(const ClassMap&, const ClassMap&) = default;
  };
  struct Class {
    std::string name;
    Actions actions;
    friend bool operator==(const Class&, const Class&) = default;
  };
  struct PolicyMap {
    std::uint32_t type = 0;
    std::set<std::uint32_t> vlans;  // 0: all traffic
    std::vector<Class> classes;
    Actions default_actions;
    friend bool operator==(const PolicyMap&, const PolicyMap&) = default;
  };
  using Service = std::map<std::string, std::string>;  // its members

  std::map<std::string, ClassMap> class_maps;
  std::map<std::string, PolicyMap> policy_maps;
  std::map<std::string, std::uint32_t> parameter_maps;
  std::map<std::string, Service> services;

  // Carries a step out, and returns what the manager must answer. A step that is refused changes nothing.
  Status carry_out(const Step& step);

  // Reads the records of all objects, a JSON array.
  [[nodiscard]] static ReferenceConfiguration from_records(const std::string& records);

  friend bool operator==(const ReferenceConfiguration&, const ReferenceConfiguration&) = default;

 private:
  Status change_class_map(const Step& step);
  Status change_rule(const Step& step);
  Status add_rule(const Step& step, ClassMap& parent, const std::string& rule);
  Status remove_line(const Step& step);
  Status change_policy_map(const Step& step);
  Status change_class(const Step& step);
  Status change_action(const Step& step);
  Status find_target(const Step& step) const;
  Status change_parameter_map(const Step& step);
  Status change_service(const Step& step);
  Status change_member(const Step& step);
  Status change_application(const Step& step);

  [[nodiscard]] bool is_nested(const std::string& class_map) const;
  [[nodiscard]] bool is_target(const std::set<std::string>& kinds, const std::string& name) const;
};

}  // namespace kvel::fuzz
