// The checks that the shell offers to handlers: which objects a session may configure.
#pragma once

#include <cstdint>
#include <string_view>

namespace kvel::shell {

// The rights of a session. The one implementation so far allows everything; a roles file will be another.
class RuleDomain {
 public:
  RuleDomain() = default;
  RuleDomain(const RuleDomain&) = delete;
  RuleDomain& operator=(const RuleDomain&) = delete;
  virtual ~RuleDomain() = default;

  // Whether an object of a kind (KVEL_DOMAIN_...) may be configured, or deleted when `negated`.
  [[nodiscard]] virtual bool may_configure(std::int32_t kind, std::string_view name, bool negated) const = 0;

  // Whether matched rules may be changed.
  [[nodiscard]] virtual bool may_modify_matched_rules(bool negated) const = 0;
};

class OpenRuleDomain final : public RuleDomain {
 public:
  [[nodiscard]] bool may_configure(std::int32_t, std::string_view, bool) const override { return true; }
  [[nodiscard]] bool may_modify_matched_rules(bool) const override { return true; }
};

// The domain that the platform functions ask from now on; the caller keeps it alive. Null restores the open one.
void set_rule_domain(const RuleDomain* domain);

}  // namespace kvel::shell
