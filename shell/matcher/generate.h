// Random lines of a grammar, for round-trip tests: the same seed gives the same lines.
#pragma once

#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "shell/grammar/grammar.h"
#include "shell/matcher/token.h"

namespace kvel::shell {

struct GeneratedLine {
  std::string line;           // without line end
  std::vector<Token> tokens;  // what it yields, the carried tokens not included
};

class LineGenerator {
 public:
  // Gives the value of a name, string or text parameter: 1 to symbol.high bytes of printable UTF-8 (and tabs).
  using StringSource = std::function<std::string(const Symbol& symbol, std::mt19937& random)>;

  // Without a source, values are nasty on purpose: quotes, blanks, UTF-8, keywords and their beginnings.
  LineGenerator(const Grammar& grammar, std::uint32_t seed, StringSource strings = {});

  // A valid line of `command` as typed in `mode`, which must be one of its modes. Precondition: the command exists in
  // that sense.
  [[nodiscard]] GeneratedLine line(const Command& command, ModeId mode, bool negated);

  // A few lines that together use every word and parameter of the command.
  [[nodiscard]] std::vector<GeneratedLine> covering_lines(const Command& command, ModeId mode, bool negated);

  // A nasty string of 1 to max_bytes bytes, as the default source gives it.
  [[nodiscard]] static std::string nasty_string(const Grammar& grammar, std::uint32_t max_bytes, std::mt19937& random);

 private:
  [[nodiscard]] std::vector<EdgeId> random_path(NodeId start);
  [[nodiscard]] TokenValue random_value(const Symbol& symbol);
  [[nodiscard]] GeneratedLine render(ModeId mode, bool negated, const std::vector<EdgeId>& path);
  [[nodiscard]] std::string blanks();

  const Grammar& grammar_;
  std::mt19937 random_;
  StringSource strings_;
};

}  // namespace kvel::shell
