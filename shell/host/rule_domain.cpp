// The platform functions of kvel/host.h, asked of the session's rule domain.
#include "shell/host/rule_domain.h"

#include "kvel/host.h"

namespace kvel::shell {

namespace {

const OpenRuleDomain kOpenDomain;
const RuleDomain* current_domain = &kOpenDomain;

}  // namespace

void set_rule_domain(const RuleDomain* domain) { current_domain = domain == nullptr ? &kOpenDomain : domain; }

}  // namespace kvel::shell

int32_t vsh_platform_specific_rule_domain_check_valid(int32_t domain, const char* name, uint32_t negated) {
  return kvel::shell::current_domain->may_configure(domain, name == nullptr ? "" : name, negated != 0) ? 1 : 0;
}

// Zero is the answer that lets the action pass.
int32_t vsh_platform_matched_rule_modify_check(uint32_t negated) {
  return kvel::shell::current_domain->may_modify_matched_rules(negated != 0) ? 0 : 1;
}
