// What one client has made of the manager, step by step, known to the test itself: small class-maps with rules and
// descriptions, and policy-maps with classes in an order.
#pragma once

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "rpc/calls/service.h"

namespace kvel::faults {

struct Step {
  enum class Kind {
    make_class,
    drop_class,  // with all its rules
    describe_class,
    add_rule,
    drop_rule,
    make_policy,
    drop_policy,  // with all its classes
    put_class,    // at the end, or before another one; one that is there moves
    take_class,
  };
  Kind kind = Kind::make_class;
  std::string name;        // of the class-map or policy-map
  std::string other{};     // the class of a policy-map, the access list of a rule, the description
  std::string before{};    // a class of the policy-map, or empty
  std::uint32_t line = 0;  // of a rule that goes
};

class Inventory {
 public:
  // A step that is sure to succeed and changes something. Names begin with `prefix`.
  [[nodiscard]] Step choose(const std::string& prefix, std::mt19937& random);
  void apply(const Step& step);

  // The record of each object, class-maps before policy-maps, both by name.
  [[nodiscard]] std::vector<std::string> records() const;

 private:
  struct ClassMap {
    std::string description;
    std::map<std::uint32_t, std::string> rules;  // access lists by line
  };
  using Classes = std::vector<std::string>;

  [[nodiscard]] bool try_step(Step& step, std::mt19937& random);
  [[nodiscard]] bool is_in_use(const std::string& class_map) const;

  std::map<std::string, ClassMap> class_maps_;
  std::map<std::string, Classes> policy_maps_;
  std::uint32_t serial_ = 0;  // of texts, so that each is new
};

// Makes the call of a step.
[[nodiscard]] Status carry_out(rpc::Service& service, std::uint16_t context, const Step& step);

// The records of the objects whose names begin with `prefix`, as the manager shows them, page by page.
[[nodiscard]] std::vector<std::string> records_of(rpc::Service& service, std::uint16_t context,
                                                  const std::string& prefix);

}  // namespace kvel::faults
