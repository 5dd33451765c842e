#include "shell/configuration/kept_fields.h"

#include <algorithm>
#include <array>

#include "kvel/keywords.h"

namespace kvel::shell {

namespace {

struct FieldedSetting {
  KeywordId setting;
  std::array<KeywordId, 2> fields;  // in the order of its record
};

constexpr std::array kFieldedSettings{FieldedSetting{kw::conn_mss, {kw::conn_mss_min, kw::conn_mss_max}}};

}  // namespace

std::uint32_t kept_fields(std::span<const Token> tokens) {
  const auto has = [tokens](KeywordId keyword) {
    return std::any_of(tokens.begin(), tokens.end(),
                       [keyword](const Token& token) { return token.keyword == keyword; });
  };
  for (const FieldedSetting& row : kFieldedSettings) {
    if (!has(row.setting)) continue;
    std::uint32_t kept = 0;
    for (std::size_t field = 0; field < row.fields.size(); ++field)
      kept |= has(row.fields[field]) ? 0U : 1U << field;
    const bool gives_none = kept == (1U << row.fields.size()) - 1;
    return gives_none ? 0 : kept;
  }
  return 0;
}

}  // namespace kvel::shell
