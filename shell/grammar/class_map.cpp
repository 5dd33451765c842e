// Class-maps: creation and deletion of each type, and the commands inside them.
#include "kvel/keywords.h"
#include "shell/grammar/class_map_types.h"
#include "shell/grammar/command_groups.h"
#include "shell/grammar/modes.h"

namespace kvel::shell {

namespace {

using namespace pattern;

Pattern match_mode(const ClassMapType& type) {
  Pattern any = word("match-any", "One matching rule is enough", type.match_any);
  if (type.match_all == kNoKeyword) return optional(any);
  return optional(choice(word("match-all", "Every rule must match", type.match_all), any));
}

Pattern class_map(const ClassMapType& type) {
  const Pattern class_map = word("class-map", "Class-map: which traffic to match");
  Pattern named = sequence(match_mode(type), name("NAME", "Name of the class-map", type.name, type.hook));
  if (type.word.empty()) return sequence(class_map, named);
  return sequence(class_map, word("type", "Type of the class-map"), word(type.word, type.help, type.type), named);
}

}  // namespace

void declare_class_maps(GrammarBuilder& grammar) {
  std::vector<std::string_view> modes;
  for (const ClassMapType& type : kClassMapTypes) {
    modes.push_back(type.mode);
    grammar.mode(type.mode, "config-class-map", "class-map mode", type.word);
    grammar.command(kConfigMode, class_map(type))
        .calls(KVEL_HANDLER(kvelclassmap_config))
        .negatable()
        .opens(type.mode, {type.name});
  }

  const Pattern description = word("description", "Description of the class-map");
  const Pattern words =
      text("TEXT", "Words up to the end of the line", kw::class_map_description, kMaxDescriptionBytes);
  grammar.command(modes, sequence(description, words))
      .calls(KVEL_HANDLER(kvelclassmap_config_desc))
      .negatable(sequence(description, optional(words)));
}

}  // namespace kvel::shell
