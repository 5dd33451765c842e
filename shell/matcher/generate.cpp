// Random walks through the grammar, written as a user might type them: abbreviated, with stray blanks, in needless
// quotes.
#include "shell/matcher/generate.h"

#include <array>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "encoding/utf8.h"
#include "shell/matcher/match.h"
#include "shell/matcher/parameter.h"

namespace kvel::shell {

namespace {

// Whole values, and what random ones are made of.
constexpr std::array<std::string_view, 29> kNastyPieces{"web",
                                                        "{\"",
                                                        "{",
                                                        "}",
                                                        "a",
                                                        "\"",
                                                        "\\",
                                                        "\\\"",
                                                        " ",
                                                        "  ",
                                                        "\t",
                                                        "'",
                                                        ";",
                                                        "|",
                                                        "?",
                                                        "!",
                                                        "#",
                                                        "-",
                                                        "no",
                                                        "<cr>",
                                                        "0",
                                                        "255",
                                                        "10.0.0.1",
                                                        "\xC3\xBC",
                                                        "\xE6\x97\xA5\xE6\x9C\xAC",
                                                        "\xF0\x9F\x98\x80",
                                                        "e\xCC\x81",
                                                        "%s%n",
                                                        "$(x)"};

std::uint32_t below(std::mt19937& random, std::size_t bound) { return static_cast<std::uint32_t>(random() % bound); }

bool one_in(std::mt19937& random, std::uint32_t count) { return below(random, count) == 0; }

std::uint32_t mask_of(std::uint32_t ones) { return ones == 0 ? 0U : 0xFFFFFFFFU << (32U - ones); }

// That a network of this address is given.
std::uint32_t prefix_length(std::uint32_t address) { return address % 33; }

// Depth first from `node` to `target`; the path, `target` included, or nothing.
bool find_path(const Grammar& grammar, NodeId node, EdgeId target, std::set<NodeId>& visited,
               std::vector<EdgeId>& path) {
  if (!visited.insert(node).second) return false;
  for (const EdgeId edge : grammar.edges_from(node)) {
    path.push_back(edge);
    if (edge == target || find_path(grammar, grammar.edge(edge).target, target, visited, path)) return true;
    path.pop_back();
  }
  return false;
}

}  // namespace

LineGenerator::LineGenerator(const Grammar& grammar, std::uint32_t seed, StringSource strings)
    : grammar_(grammar), random_(seed), strings_(std::move(strings)) {
  if (strings_) return;
  strings_ = [&grammar](const Symbol& symbol, std::mt19937& random) {
    return nasty_string(grammar, symbol.high, random);
  };
}

std::string LineGenerator::nasty_string(const Grammar& grammar, std::uint32_t max_bytes, std::mt19937& random) {
  std::string value;
  switch (below(random, 4)) {
    case 0: {  // a word of the grammar, or its beginning
      const Symbol& symbol = grammar.edges()[below(random, grammar.edges().size())].symbol;
      if (symbol.is_word()) value = symbol.text.substr(0, 1 + below(random, symbol.text.size()));
      break;
    }
    case 1:  // as long as can be
      while (value.size() < max_bytes)
        value += one_in(random, 8) ? "\xC3\xBC" : "x";
      break;
    default:
      break;
  }
  if (value.empty()) {
    for (std::uint32_t pieces = 1 + below(random, 6); pieces > 0; --pieces) {
      value += kNastyPieces[below(random, kNastyPieces.size())];
    }
  }
  value.resize(encoding::beginning_of(value, max_bytes).size());
  return value.empty() ? "x" : value;
}

TokenValue LineGenerator::random_value(const Symbol& symbol) {
  switch (symbol.kind) {
    case SymbolKind::word:
      return std::monostate();
    case SymbolKind::number: {
      const std::uint64_t count = std::uint64_t{symbol.high} - symbol.low + 1;
      if (one_in(random_, 4)) return one_in(random_, 2) ? symbol.low : symbol.high;
      return static_cast<std::uint32_t>(symbol.low + random_() % count);
    }
    case SymbolKind::address:
    case SymbolKind::network:
      return static_cast<std::uint32_t>(random_());
    case SymbolKind::mask: {
      return mask_of(below(random_, 33));
    }
    case SymbolKind::name:
    case SymbolKind::string:
    case SymbolKind::text:
      break;
  }
  return strings_(symbol, random_);
}

std::vector<EdgeId> LineGenerator::random_path(NodeId start) {
  std::vector<EdgeId> path;
  for (NodeId node = start;;) {
    const auto edges = grammar_.edges_from(node);
    if (edges.empty() || (grammar_.node(node).can_end && one_in(random_, 3))) return path;
    path.push_back(edges[below(random_, edges.size())]);
    node = grammar_.edge(path.back()).target;
  }
}

std::string LineGenerator::blanks() {
  static constexpr std::array<std::string_view, 3> kUnusual{"  ", "\t", " \t "};
  return std::string(one_in(random_, 8) ? kUnusual[below(random_, kUnusual.size())] : " ");
}

// Tries from the most careless rendering to the most careful one, and takes the first that the matcher understands.
GeneratedLine LineGenerator::render(ModeId mode, bool negated, const std::vector<EdgeId>& path) {
  enum class Care : std::uint8_t { abbreviated, plain, quoted };
  GeneratedLine generated;
  std::vector<TokenValue> values;
  for (const EdgeId id : path) {
    const Symbol& symbol = grammar_.edge(id).symbol;
    values.push_back(random_value(symbol));
    if (symbol.keyword != kNoKeyword) generated.tokens.push_back({symbol.keyword, values.back()});
    if (symbol.mask_word != kNoKeyword) generated.tokens.push_back({symbol.mask_word, std::monostate()});
    if (symbol.mask_keyword != kNoKeyword) {
      const bool is_network = symbol.kind == SymbolKind::network;
      const std::uint32_t length = is_network ? prefix_length(std::get<std::uint32_t>(values.back())) : 32;
      generated.tokens.push_back({symbol.mask_keyword, mask_of(length)});
    }
  }
  const ModeLevel level{mode, {}};
  for (const Care care : {Care::abbreviated, Care::plain, Care::quoted}) {
    if (care == Care::abbreviated && !one_in(random_, 2)) continue;
    generated.line = one_in(random_, 16) ? blanks() : "";
    if (negated) generated.line += "no" + blanks();
    for (std::size_t i = 0; i < path.size(); ++i) {
      const Symbol& symbol = grammar_.edge(path[i]).symbol;
      if (i > 0) generated.line += blanks();
      if (symbol.is_word()) {
        const bool in_full = symbol.in_full || care != Care::abbreviated || one_in(random_, 2);
        generated.line += symbol.text.substr(0, in_full ? symbol.text.size() : 1 + below(random_, symbol.text.size()));
      } else if (symbol.is_string()) {
        const bool in_quotes = care == Care::quoted || one_in(random_, 8);
        generated.line += render_string(symbol, std::get<std::string>(values[i]), in_quotes);
      } else {
        const auto number = std::get<std::uint32_t>(values[i]);
        generated.line += render_number(symbol, number);
        if (symbol.kind == SymbolKind::network) generated.line += "/" + std::to_string(prefix_length(number));
      }
    }
    if (one_in(random_, 16)) generated.line += blanks();
    const LexedLine lexed = lex(generated.line);
    if (lexed.blank()) continue;
    const auto matched = match(grammar_, {&level, 1}, lexed);
    if (matched && matched->tokens == generated.tokens &&
        matched->command->index == grammar_.edge(path.front()).command)
      break;
  }
  return generated;
}

GeneratedLine LineGenerator::line(const Command& command, ModeId mode, bool negated) {
  return render(mode, negated, random_path(negated ? command.negated_start : command.start));
}

std::vector<GeneratedLine> LineGenerator::covering_lines(const Command& command, ModeId mode, bool negated) {
  const NodeId start = negated ? command.negated_start : command.start;
  std::vector<GeneratedLine> lines;
  std::set<EdgeId> covered;
  for (EdgeId target = 0; target < grammar_.edges().size(); ++target) {
    const Edge& edge = grammar_.edge(target);
    if (edge.command != command.index || edge.negated != negated || covered.contains(target)) continue;
    std::vector<EdgeId> path;
    std::set<NodeId> visited;
    if (!find_path(grammar_, start, target, visited, path)) continue;
    const std::vector<EdgeId> rest = random_path(edge.target);
    path.insert(path.end(), rest.begin(), rest.end());
    covered.insert(path.begin(), path.end());
    lines.push_back(render(mode, negated, path));
  }
  return lines;
}

}  // namespace kvel::shell
