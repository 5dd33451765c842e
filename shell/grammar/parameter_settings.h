// How a grammar file declares the settings of one type of parameter-map.
#pragma once

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "shell/grammar/grammar.h"
#include "shell/grammar/parameter_map_types.h"

namespace kvel::shell {

inline constexpr std::uint32_t kHighestSetting = 4294967295;

class ParameterSettings {
 public:
  ParameterSettings(GrammarBuilder& grammar, const ParameterMapType& type) : grammar_(grammar), type_(type) {}

  // The words are the whole command.
  CommandDeclaration& command(Pattern words) {
    return grammar_.command(type_.mode, std::move(words)).calls(type_.settings_handler).negatable();
  }
  void setting(std::string_view kind, Pattern words, std::vector<MemberDefault> defaults = {}) {
    command(std::move(words)).records(kind, std::move(defaults));
  }

  // "words value": the words alone name the setting, which is enough to return it to its default.
  void valued(std::string_view kind, const Pattern& words, const Pattern& value,
              std::vector<MemberDefault> defaults = {}) {
    grammar_.valued_command(type_.mode, words, value).calls(type_.settings_handler).records(kind, std::move(defaults));
  }

  // A setting that is known by its number alone. Its value names it, so the value is always given.
  void numbered(std::string_view kind, Pattern what) { setting(kind, pattern::advanced(std::move(what))); }

 private:
  GrammarBuilder& grammar_;
  const ParameterMapType& type_;
};

}  // namespace kvel::shell
