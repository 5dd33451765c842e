// How a family file declares the settings of one type of parameter-map.
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

  // All there is to say is in the words.
  FormDraft& command(Pattern words) {
    return grammar_.form(type_.mode, std::move(words)).calls(type_.settings_handler).negatable();
  }
  void setting(std::string_view kind, Pattern words, std::vector<UnsaidMember> unsaid = {}) {
    command(std::move(words)).records(kind, std::move(unsaid));
  }

  // "words value": the words alone name the setting, which is enough to return it to its default.
  void valued(std::string_view kind, const Pattern& words, const Pattern& value,
              std::vector<UnsaidMember> unsaid = {}) {
    grammar_.valued_form(type_.mode, words, value).calls(type_.settings_handler).records(kind, std::move(unsaid));
  }

  // A setting that is known by its number alone. Its value names it, so the value is always said.
  void numbered(std::string_view kind, Pattern what) { setting(kind, pattern::sequence(advanced(), std::move(what))); }

  [[nodiscard]] static Pattern advanced() { return pattern::word("advanced", "Settings known by their number alone"); }

 private:
  GrammarBuilder& grammar_;
  const ParameterMapType& type_;
};

}  // namespace kvel::shell
