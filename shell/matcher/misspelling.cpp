// Near words, and words of other modes.
#include "shell/matcher/misspelling.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace kvel::shell {

namespace {

constexpr std::size_t kMostTypesNamed = 2;

// Insertions, deletions, replacements and swaps of neighbours that turn one word into the other.
std::size_t edit_distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> before(b.size() + 1);
  std::vector<std::size_t> above(b.size() + 1);
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(above.begin(), above.end(), 0U);
  for (std::size_t i = 1; i <= a.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      row[j] = std::min({above[j] + 1, row[j - 1] + 1, above[j - 1] + (a[i - 1] == b[j - 1] ? 0U : 1U)});
      const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (swapped) row[j] = std::min(row[j], before[j - 2] + 1);
    }
    std::swap(before, above);
    std::swap(above, row);
  }
  return above[b.size()];
}

bool begins_with(const Grammar& grammar, NodeId node, bool negated, std::string_view word) {
  for (const EdgeId id : grammar.edges_from(node)) {
    const Edge& edge = grammar.edge(id);
    const bool is_no = edge.command == kNoCommand;
    if (is_no && negated) return begins_with(grammar, edge.target, false, word);
    if (!negated && edge.symbol.is_word() && edge.symbol.text == word) return true;
  }
  return false;
}

std::string joined(const std::vector<std::string_view>& parts) {
  std::string text;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i > 0) text += i + 1 == parts.size() ? " or " : ", ";
    text += parts[i];
  }
  return text;
}

// Modes of one title, by the types of their objects.
struct Titled {
  std::string_view title;
  std::vector<std::string_view> types;
  bool of_every_type = false;

  [[nodiscard]] std::string text() const {
    std::string text(title);
    if (!of_every_type && types.size() <= kMostTypesNamed) text += " (type " + joined(types) + ")";
    return text;
  }
};

}  // namespace

bool is_misspelling(std::string_view typed, std::string_view word) {
  if (typed.size() > word.size() + 2) return false;
  return edit_distance(typed, word) <= (word.size() <= 4 ? 1U : 2U);
}

std::vector<std::string> nearby_words(const Grammar& grammar, const Walk& walk, std::string_view typed) {
  std::vector<std::string> nearest;
  std::size_t distance = std::numeric_limits<std::size_t>::max();
  for (const Parse& parse : walk.parses()) {
    if (parse.in_text) continue;
    for (const EdgeId edge : grammar.edges_from(parse.node)) {
      const Symbol& symbol = grammar.edge(edge).symbol;
      if (!symbol.is_word() || !is_misspelling(typed, symbol.text)) continue;
      const std::size_t differing = edit_distance(typed, symbol.text);
      if (differing >= typed.size() || differing > distance) continue;
      if (differing < distance) nearest.clear();
      distance = differing;
      nearest.emplace_back(symbol.text);
    }
  }
  std::sort(nearest.begin(), nearest.end());
  nearest.erase(std::unique(nearest.begin(), nearest.end()), nearest.end());
  return nearest;
}

std::string modes_that_know(const Grammar& grammar, const Walk& walk, std::string_view word) {
  bool negated = false;
  if (walk.words_taken() > 0) {
    const bool after_no = walk.words_taken() == 1 && !walk.parses().empty() &&
                          grammar.edge(walk.steps(walk.parses().front()).front().edge).command == kNoCommand;
    if (!after_no) return {};
    negated = true;
  }
  std::vector<Titled> known;
  for (const Mode& mode : grammar.modes()) {
    if (!begins_with(grammar, mode.start, negated, word)) continue;
    const std::string_view title = mode.title.empty() ? mode.name : mode.title;
    auto same = std::find_if(known.begin(), known.end(), [&](const Titled& other) { return other.title == title; });
    if (same == known.end()) same = known.insert(known.end(), Titled{title, {}, false});
    same->of_every_type = same->of_every_type || mode.type.empty();
    same->types.push_back(mode.type);
  }
  std::vector<std::string> texts;
  for (const Titled& titled : known)
    texts.push_back(titled.text());
  return joined({texts.begin(), texts.end()});
}

}  // namespace kvel::shell
