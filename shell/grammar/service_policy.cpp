// Service policies: policy-maps applied to traffic, and what was counted there.
#include "shell/grammar/service_policy.h"

#include "kvel/keywords.h"
#include "shell/grammar/command_groups.h"
#include "shell/grammar/modes.h"
#include "shell/grammar/shell_commands.h"

namespace kvel::shell {

namespace {

using namespace pattern;

Pattern policy(KeywordId keyword) {
  return name("NAME", "Name of the policy-map", keyword, KVEL_HOOK(policymap_completionhook));
}

Pattern detail() {
  return word("detail", "Show the layer-7 classes and the description too", kw::service_policy_detail);
}

// Without a name the shell asks for each policy-map that is applied. There "detail" has to be typed in full: its
// beginnings are names.
void declare_show(GrammarBuilder& grammar) {
  const Pattern words =
      sequence(word("show", kShowHelp), word("service-policy", "Show the counters of applied policy-maps"));
  grammar.command_everywhere(sequence(words, policy(kw::service_policy_name), optional(detail())))
      .calls(KVEL_HANDLER(kvelpolicymap_show_servicepolicy))
      .fresh_module()
      .filterable();
  grammar.command_everywhere(sequence(words, optional(detail().in_full())))
      .runs(command::kShowServicePolicies)
      .fresh_module()
      .filterable();
}

void declare_clear(GrammarBuilder& grammar) {
  grammar
      .command_everywhere(sequence(word("clear", "Set counters to zero"),
                                   word("service-policy", "Counters of applied policy-maps"),
                                   optional(policy(kw::service_policy_clear_name))))
      .calls(KVEL_HANDLER(kvelpolicymap_clear_servicepolicy));
}

void declare_application(GrammarBuilder& grammar) {
  grammar
      .command(kConfigMode,
               sequence(word("service-policy", "Apply a policy-map to traffic"),
                        policy(command::kAppliedPolicy).binds(kAppliedPolicyMember),
                        choice(word("global", "To all traffic of the context"),
                               sequence(word("vlan", "To the traffic of a VLAN"),
                                        number(1, kHighestVlan, "Number of the VLAN", command::kAppliedVlan)
                                            .binds(kAppliedVlanMember)))))
      .runs(command::kServicePolicy)
      .negatable()
      .records(kApplicationRecord);
}

}  // namespace

void declare_service_policies(GrammarBuilder& grammar) {
  declare_show(grammar);
  declare_clear(grammar);
  declare_application(grammar);
}

}  // namespace kvel::shell
