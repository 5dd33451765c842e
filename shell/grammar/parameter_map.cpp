// Parameter-maps: creation and deletion of each type. Their settings have files of their own.
#include "kvel/keywords.h"
#include "shell/grammar/command_groups.h"
#include "shell/grammar/modes.h"
#include "shell/grammar/parameter_map_types.h"

namespace kvel::shell {

namespace {

using namespace pattern;

// The default type may be left out. With it the line means the same wherever it is typed, while without it an SSL-proxy
// service would take it for a member; so it is the first, and the one that is written.
Pattern type_of(const ParameterMapType& type) {
  Pattern words = sequence(word("type", "Type of the parameter-map"), word(type.word, type.help, type.type));
  return type.type == kNoKeyword ? optional(words) : words;
}

}  // namespace

void declare_parameter_maps(GrammarBuilder& grammar) {
  for (const ParameterMapType& type : kParameterMapTypes) {
    grammar.mode(type.mode, "config-parameter-map", "parameter-map mode", type.word);
    grammar
        .command(kConfigMode, sequence(word("parameter-map", "Parameter-map: settings for connections, HTTP or SSL"),
                                       type_of(type), name("NAME", "Name of the parameter-map", type.name, type.hook)))
        .calls(KVEL_HANDLER(kvelparammap_config))
        .negatable()
        .opens(type.mode, {type.name});
  }
}

}  // namespace kvel::shell
