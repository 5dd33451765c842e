// Policy-maps: creation and deletion of each type, and their classes. The actions of a class have files of their own.
#include <vector>

#include "kvel/keywords.h"
#include "shell/grammar/command_groups.h"
#include "shell/grammar/modes.h"
#include "shell/grammar/policy_map_types.h"

namespace kvel::shell {

namespace {

using namespace pattern;

constexpr std::uint32_t kHighestInterval = 4294967295;

Pattern policy_map(const PolicyMapType& type) {
  const Pattern policy_map = word("policy-map", "Policy-map: what to do with each class of traffic");
  Pattern named = sequence(optional(advanced(word(type.subtype_word, "The sub-type of that number", type.subtype))),
                           name("NAME", "Name of the policy-map", type.name, type.hook));
  if (type.word.empty()) return sequence(policy_map, named);
  return sequence(policy_map, word("type", "Type of the policy-map"), word(type.word, type.help, type.type), named);
}

Pattern insert_before(const PolicyMapType& type) {
  return optional(word("insert-before", "Place it before another class or match of the policy-map"),
                  name("OTHER", "Name of that class or match", type.insert_before, type.class_hook));
}

void declare_modes(GrammarBuilder& grammar, const PolicyMapType& type) {
  grammar.mode(type.mode, "config-policy-map", "policy-map mode", type.word);
  grammar.mode(type.class_mode, "config-policy-map-class", "class mode of a policy-map", type.word);
  if (!type.match_mode.empty()) {
    grammar.mode(type.match_mode, "config-policy-map-match", "match mode of a policy-map", type.word);
  }
}

// The policy-map; the type goes with its name wherever a class is placed.
void declare_creation(GrammarBuilder& grammar, const PolicyMapType& type) {
  std::vector<KeywordId> carried{type.name};
  if (type.type != kNoKeyword) carried.insert(carried.begin(), type.type);
  grammar.command(kConfigMode, policy_map(type))
      .calls(KVEL_HANDLER(kvelpolicymap_config))
      .negatable()
      .opens(type.mode, carried);
}

void declare_description(GrammarBuilder& grammar, const PolicyMapType& type) {
  const Pattern description = word("description", "Description of the policy-map");
  const Pattern words = text("TEXT", "Words up to the end of the line", type.description, kMaxDescriptionBytes);
  grammar.command(type.mode, sequence(description, words))
      .calls(KVEL_HANDLER(kvelpolicymap_configdescr))
      .negatable(sequence(description, optional(words)));
}

void declare_classes(GrammarBuilder& grammar, const PolicyMapType& type) {
  const Pattern placed = word("class", "A class of traffic, and what to do with it");
  grammar
      .command(type.mode, sequence(placed, name("NAME", "Name of the class-map", type.class_name, type.class_hook),
                                   insert_before(type)))
      .calls(KVEL_HANDLER(kvelpolicymap_configclass))
      .negatable()
      .opens(type.class_mode, {type.class_name});

  std::vector<KeywordId> carried;
  if (type.default_class_has_keyword) carried.push_back(type.class_default);
  // Shortened it would shadow classes of short names.
  grammar
      .command(
          type.mode,
          sequence(placed,
                   word(kClassDefault, "What no other class of the policy-map matches", type.class_default).in_full()))
      .calls(KVEL_HANDLER(kvelpolicymap_configclass))
      .negatable()
      .opens(type.class_mode, carried, {{type.class_name, type.default_class, kClassDefault}});
}

}  // namespace

void declare_policy_maps(GrammarBuilder& grammar) {
  for (const PolicyMapType& type : kPolicyMapTypes) {
    declare_modes(grammar, type);
    declare_creation(grammar, type);
    declare_description(grammar, type);
    declare_classes(grammar, type);
  }
  grammar
      .command(kPolicyMapL3Mode,
               sequence(word("renumber", "Renumber the lines of the classes"),
                        number(0, kHighestInterval, "Step between lines; 0 for the default", kw::policy_map_interval)))
      .calls(KVEL_HANDLER(kvelpolicymap_configsequence));
}

}  // namespace kvel::shell
