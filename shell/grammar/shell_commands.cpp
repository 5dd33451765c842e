// The top mode, and the commands that the shell carries out itself.
#include "shell/grammar/shell_commands.h"

#include "shell/grammar/command_groups.h"
#include "shell/grammar/modes.h"

namespace kvel::shell {

void declare_shell_commands(GrammarBuilder& grammar) {
  using namespace pattern;

  grammar.mode(kConfigMode, "config");

  grammar.command_everywhere(word("exit", "Leave this mode; at the top, leave the shell")).runs(command::kExit);
  grammar.command_everywhere(word("end", "Return to the top mode")).runs(command::kEnd);
  grammar.command_everywhere(word("quit", "Leave the shell")).runs(command::kQuit);
  grammar.command_everywhere(word("help", "Explain how to use the shell")).runs(command::kHelp);

  constexpr std::string_view kHistoryHelp = "List the commands typed so far";
  const Pattern show = word("show", kShowHelp);
  grammar.command_everywhere(word("history", kHistoryHelp)).runs(command::kHistory).filterable();
  grammar.command_everywhere(sequence(show, word("history", kHistoryHelp))).runs(command::kHistory).filterable();
  grammar.command_everywhere(sequence(show, word("running-config", "List the configuration as commands")))
      .runs(command::kShowRunningConfig)
      .filterable();
  grammar
      .command_everywhere(sequence(
          show, word("class-map", "Show class-maps and their rules"),
          optional(name("NAME", "Name of the class-map", command::kShownName, KVEL_HOOK(classmap_completionhook)))))
      .runs(command::kShowClassMap)
      .filterable();
  grammar
      .command_everywhere(sequence(
          show, word("policy-map", "Show policy-maps, their classes and the actions of these"),
          optional(name("NAME", "Name of the policy-map", command::kShownName, KVEL_HOOK(policymap_completionhook)))))
      .runs(command::kShowPolicyMap)
      .filterable();
  grammar
      .command_everywhere(sequence(show, word("parameter-map", "Show parameter-maps and their settings"),
                                   optional(name("NAME", "Name of the parameter-map", kw::param_map_show_name,
                                                 KVEL_HOOK(kvelparammap_completionhook)))))
      .runs(command::kShowParameterMap)
      .text_by(KVEL_HANDLER(kvelparammap_show_parammap))
      .filterable();
  grammar
      .command_everywhere(sequence(
          show, word("ssl-proxy", "Show SSL-proxy services and their members"),
          optional(name("NAME", "Name of the service", command::kShownName, KVEL_HOOK(sslproxy_completionhook)))))
      .runs(command::kShowSslProxy)
      .filterable();
}

}  // namespace kvel::shell
