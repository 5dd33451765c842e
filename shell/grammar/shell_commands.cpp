// The top mode, and the commands that the shell carries out itself.
#include "shell/grammar/shell_commands.h"

#include <array>

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
  static constexpr std::array kOtherObjects{KVEL_HOOK(policymap_completionhook), KVEL_HOOK(kvelparammap_completionhook),
                                            KVEL_HOOK(sslproxy_completionhook)};
  const auto part = [](std::string_view kind, std::string_view help, KeywordId keyword, std::string_view hook) {
    return sequence(word(kind, help, keyword),
                    optional(name("NAME", "Name of one of them", command::kShownName, hook)));
  };
  grammar
      .command_everywhere(sequence(
          show, word("running-config", "List the configuration as commands"),
          optional(choice(
              part("class-map", "Only class-maps", command::kShownClassMaps, KVEL_HOOK(classmap_completionhook)),
              part("policy-map", "Only policy-maps", command::kShownPolicyMaps, KVEL_HOOK(policymap_completionhook)),
              part("parameter-map", "Only parameter-maps", command::kShownParameterMaps,
                   KVEL_HOOK(kvelparammap_completionhook)),
              part("ssl-proxy", "Only SSL-proxy services", command::kShownSslProxies,
                   KVEL_HOOK(sslproxy_completionhook))))))
      .runs(command::kShowRunningConfig)
      .filterable();
  grammar
      .command_everywhere(sequence(
          show, word("uses", "Show what refers to an object"),
          name("NAME", "Name of the object, whatever its kind", command::kUsedName, KVEL_HOOK(classmap_completionhook))
              .or_of(kOtherObjects)))
      .runs(command::kShowUses)
      .filterable();
  grammar.command_everywhere(sequence(show, word("version", "Show the version of the shell")))
      .runs(command::kShowVersion)
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
