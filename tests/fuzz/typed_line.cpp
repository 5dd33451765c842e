#include "tests/fuzz/typed_line.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <set>
#include <string_view>
#include <utility>

#include "shell/grammar/grammar.h"
#include "shell/matcher/generate.h"
#include "shell/matcher/match.h"
#include "tests/fuzz/invariant.h"

namespace kvel::fuzz {
namespace {

using shell::Command;
using shell::Grammar;
using shell::ModeId;

constexpr std::size_t kMostTyped = 1000;  // bytes
constexpr std::uint32_t kMostEdits = 4;

// What changes the meaning of a line when it comes in between.
constexpr const char* kPieces[] = {
    " ",          "\t",       "\"",          "\\",    ";", "no ",           "x",          "0",   "255",     "65535",
    "4294967296", "10.1.1.1", "255.255.0.0", "class", "p", "match-all",     "parameter-", "web", "\"a b\"", "\xC3\xA4",
    "\xFF",       "\x01",     "?",           "|",     "-", "insert-before",
};

bool is_of(const Command& command, ModeId mode) {
  return command.in_every_mode() || std::find(command.modes.begin(), command.modes.end(), mode) != command.modes.end();
}

// One stack for each mode, each opened by commands of the one outside.
std::vector<Modes> every_mode(const Grammar& grammar) {
  shell::LineGenerator lines(grammar, 1, [](const shell::Symbol&, std::mt19937&) { return std::string("web"); });
  std::vector<Modes> stacks{{{Grammar::kTopMode, {}}}};
  std::set<ModeId> reached{Grammar::kTopMode};
  for (std::size_t outer = 0; outer < stacks.size(); ++outer) {
    const ModeId mode = stacks[outer].back().mode;
    for (const Command& command : grammar.commands()) {
      if (!command.opens || reached.contains(*command.opens) || !is_of(command, mode)) continue;
      const std::string line = lines.line(command, mode, false).line;
      const auto opened = shell::match(grammar, stacks[outer], line);
      invariant(opened && opened->opens, "the line of a command that opens a mode opens it", line);
      reached.insert(*command.opens);
      Modes inner(stacks[outer].begin(), stacks[outer].begin() + static_cast<std::ptrdiff_t>(opened->level) + 1);
      inner.push_back(*opened->opens);
      stacks.push_back(std::move(inner));
    }
  }
  invariant(stacks.size() == grammar.modes().size(), "every mode can be reached");
  return stacks;
}

// Every command of a mode in its two senses.
std::vector<std::pair<const Command*, bool>> commands(const Grammar& grammar, ModeId mode) {
  std::vector<std::pair<const Command*, bool>> found;
  for (const Command& command : grammar.commands()) {
    if (!is_of(command, mode)) continue;
    if (command.positive) found.emplace_back(&command, false);
    if (command.negatable) found.emplace_back(&command, true);
  }
  return found;
}

void edit(std::string& line, FuzzedDataProvider& bytes) {
  const auto at = bytes.ConsumeIntegralInRange<std::size_t>(0, line.size());
  switch (bytes.ConsumeIntegralInRange<int>(0, 3)) {
    case 0:
      line.resize(at);
      break;
    case 1:
      line.insert(at, bytes.PickValueInArray(kPieces));
      break;
    case 2:
      line.erase(at, bytes.ConsumeIntegralInRange<std::size_t>(1, 8));
      break;
    default:
      if (at < line.size()) line[at] = bytes.ConsumeIntegral<char>();
  }
}

}  // namespace

TypedLine any_line(FuzzedDataProvider& bytes) {
  const Grammar& grammar = shell::shell_grammar();
  static const std::vector<Modes> kStacks = every_mode(grammar);
  TypedLine typed;
  typed.modes = &kStacks[bytes.ConsumeIntegralInRange<std::size_t>(0, kStacks.size() - 1)];
  if (bytes.ConsumeBool()) {
    typed.line = bytes.ConsumeRandomLengthString(kMostTyped);
    return typed;
  }
  // Of any mode of the stack: the outer ones are to be found too.
  const auto level = bytes.ConsumeIntegralInRange<std::size_t>(0, typed.modes->size() - 1);
  const ModeId mode = (*typed.modes)[level].mode;
  static std::vector<std::vector<std::pair<const Command*, bool>>> by_mode(grammar.modes().size());
  if (by_mode[mode].empty()) by_mode[mode] = commands(grammar, mode);
  const auto [command, negated] = by_mode[mode][bytes.ConsumeIntegralInRange<std::size_t>(0, by_mode[mode].size() - 1)];
  shell::LineGenerator lines(grammar, bytes.ConsumeIntegral<std::uint32_t>());
  typed.line = lines.line(*command, mode, negated).line;
  for (auto left = bytes.ConsumeIntegralInRange<std::uint32_t>(0, kMostEdits); left > 0; --left)
    edit(typed.line, bytes);
  return typed;
}

}  // namespace kvel::fuzz
