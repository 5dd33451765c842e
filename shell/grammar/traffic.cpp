// Traffic that is counted at the applied policy-maps, and what happens to a flow there.
#include "shell/grammar/command_groups.h"
#include "shell/grammar/shell_commands.h"

namespace kvel::shell {

namespace {

using namespace pattern;

constexpr std::uint32_t kMaxPathBytes = 4095;
constexpr std::uint32_t kMaxFlowBytes = 16384;  // of a flow that is typed

}  // namespace

void declare_traffic(GrammarBuilder& grammar) {
  grammar
      .command_everywhere(sequence(word("traffic", "Classify recorded flows by the applied policy-maps and count them"),
                                   string("FILE", "File with one flow on each line, as JSON; - for standard input",
                                          command::kTrafficFile, kMaxPathBytes)))
      .runs(command::kTraffic);
  grammar
      .command_everywhere(sequence(word("explain", "Explain what the applied policy-maps do with a flow"),
                                   text("FLOW", "The flow as a JSON object", command::kExplainedFlow, kMaxFlowBytes)))
      .runs(command::kExplain)
      .filterable();
}

}  // namespace kvel::shell
