// Builders of patterns, and the names that help and messages give to symbols.
#include "shell/grammar/pattern.h"

#include <string>

namespace kvel::shell {

std::string Symbol::label() const {
  if (kind != SymbolKind::number) return std::string(text);
  return "<" + std::to_string(low) + "-" + std::to_string(high) + ">";
}

std::string Symbol::full_help() const {
  std::string result(help);
  if (!unit.empty()) result.append(" (").append(unit).append(")");
  if (unsupported) result.append(" (not supported)");
  return result;
}

namespace pattern {
namespace {

Pattern leaf(const Symbol& symbol) {
  Pattern result;
  result.kind = Pattern::Kind::symbol;
  result.symbol = symbol;
  return result;
}

}  // namespace

Pattern word(std::string_view text, std::string_view help, KeywordId keyword) {
  return leaf({.kind = SymbolKind::word, .keyword = keyword, .text = text, .help = help});
}

Pattern name(std::string_view label, std::string_view help, KeywordId keyword, std::string_view hook) {
  return leaf(
      {.kind = SymbolKind::name, .keyword = keyword, .text = label, .help = help, .hook = hook, .high = kMaxNameBytes});
}

Pattern string(std::string_view label, std::string_view help, KeywordId keyword, std::uint32_t max_bytes) {
  return leaf({.kind = SymbolKind::string, .keyword = keyword, .text = label, .help = help, .high = max_bytes});
}

Pattern text(std::string_view label, std::string_view help, KeywordId keyword, std::uint32_t max_bytes) {
  return leaf({.kind = SymbolKind::text, .keyword = keyword, .text = label, .help = help, .high = max_bytes});
}

Pattern number(std::uint32_t low, std::uint32_t high, std::string_view help, KeywordId keyword, std::string_view unit) {
  return leaf({.kind = SymbolKind::number, .keyword = keyword, .help = help, .unit = unit, .low = low, .high = high});
}

Pattern address(std::string_view label, std::string_view help, KeywordId keyword) {
  return leaf({.kind = SymbolKind::address, .keyword = keyword, .text = label, .help = help});
}

Pattern mask(std::string_view label, std::string_view help, KeywordId keyword) {
  return leaf({.kind = SymbolKind::mask, .keyword = keyword, .text = label, .help = help});
}

Pattern network(std::string_view help, KeywordId address_keyword, KeywordId mask_keyword, KeywordId mask_word) {
  return leaf({.kind = SymbolKind::network,
               .keyword = address_keyword,
               .text = "ADDRESS/LENGTH",
               .help = help,
               .mask_keyword = mask_keyword,
               .mask_word = mask_word});
}

Pattern host(std::string_view label, std::string_view help, KeywordId address_keyword, KeywordId mask_keyword) {
  return leaf({.kind = SymbolKind::address,
               .keyword = address_keyword,
               .text = label,
               .help = help,
               .mask_keyword = mask_keyword});
}

Pattern choice_of(std::span<const WordRow> rows) {
  Pattern result;
  result.kind = Pattern::Kind::choice;
  result.parts.reserve(rows.size());
  for (const WordRow& row : rows)
    result.parts.push_back(word(row.text, row.help, row.keyword));
  return result;
}

Pattern choice_of(std::span<const WordRow> rows, std::string_view member, const kw::CodedKeywords& codes) {
  Pattern result;
  result.kind = Pattern::Kind::choice;
  result.parts.reserve(rows.size());
  for (const WordRow& row : rows) {
    result.parts.push_back(word(row.text, row.help, row.keyword).binds_code(member, row.keyword - codes.base()));
  }
  return result;
}

}  // namespace pattern
}  // namespace kvel::shell
