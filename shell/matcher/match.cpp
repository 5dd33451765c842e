// From a line to its command and tokens.
#include "shell/matcher/match.h"

#include <algorithm>
#include <span>
#include <string>

#include "shell/matcher/refusal.h"
#include "shell/matcher/walk.h"

namespace kvel::shell {

namespace {

Mismatch ambiguous(const Grammar& grammar, const LexedLine& line, const Walk::Ambiguity& ambiguity) {
  Mismatch mismatch(MismatchKind::ambiguous);
  mismatch.column = line.words[ambiguity.word].column;
  mismatch.word = line.words[ambiguity.word].text;
  for (const EdgeId edge : ambiguity.edges) {
    mismatch.expected.push_back(expected_symbol(grammar.edge(edge).symbol));
  }
  arrange(mismatch.expected);
  return mismatch;
}

Mismatch incomplete(const Grammar& grammar, const LexedLine& line, Walk& walk) {
  const std::size_t level = walk.innermost();
  const Parse* best = walk.best([level](const Parse& parse) { return parse.level == level; });
  if (const auto* ambiguity = walk.ambiguity(*best)) return ambiguous(grammar, line, *ambiguity);
  Mismatch mismatch(MismatchKind::incomplete);
  mismatch.column = line.line.find_last_not_of(" \t") + 2;  // one blank after the last word
  if (line.words.empty()) mismatch.column = 0;
  mismatch.expected = expected_at(grammar, walk, level);
  return mismatch;
}

TokenValue token_value(const Walk& walk, const Symbol& symbol, const Step& step, const Word& word) {
  if (symbol.is_word()) return std::monostate();
  if (symbol.is_string()) return std::string(walk.string_value(symbol, word));
  return step.number;
}

// The level that a command opens on `outer`, by the tokens of its line.
ModeLevel opened_by(const Command& command, const ModeLevel& outer, std::span<const Token> tokens) {
  ModeLevel opened{*command.opens, outer.carried, outer.names};
  for (const Token& token : tokens) {
    if (std::find(command.carries.begin(), command.carries.end(), token.keyword) == command.carries.end()) continue;
    opened.carried.push_back(token);
    if (const auto* name = std::get_if<std::string>(&token.value)) opened.names.push_back(*name);
  }
  for (const FixedToken& token : command.fixed) {
    opened.carried.push_back({token.keyword, std::string(token.text)});
    opened.names.emplace_back(token.shown);
  }
  return opened;
}

Match build(const Grammar& grammar, ModeStack stack, const LexedLine& line, const Walk& walk, const Parse& parse) {
  const std::vector<Step> steps = walk.steps(parse);
  const Edge& last = grammar.edge(steps.back().edge);
  Match match;
  match.command = &grammar.command(last.command);
  match.level = parse.level;
  match.negated = last.negated;
  match.tokens = stack[parse.level].carried;
  match.carried_count = match.tokens.size();
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const Symbol& symbol = grammar.edge(steps[i].edge).symbol;
    if (symbol.keyword == kNoKeyword) continue;
    match.tokens.push_back({symbol.keyword, token_value(walk, symbol, steps[i], line.words[i])});
    if (symbol.mask_word != kNoKeyword) match.tokens.push_back({symbol.mask_word, std::monostate()});
    if (symbol.mask_keyword != kNoKeyword) match.tokens.push_back({symbol.mask_keyword, steps[i].mask});
  }
  if (match.command->opens && !match.negated) {
    match.opens = opened_by(*match.command, stack[parse.level], std::span(match.tokens).subspan(match.carried_count));
  }
  return match;
}

}  // namespace

tl::expected<Match, Mismatch> match(const Grammar& grammar, ModeStack stack, const LexedLine& line) {
  Walk walk(grammar, stack, line.line);
  for (const Word& word : line.words) {
    if (!walk.advance(word)) return tl::unexpected(refuse_word(grammar, stack, walk, line, word));
  }
  const auto completes = [&](const Parse& parse) {
    return (parse.in_text || !line.error) && grammar.node(parse.node).can_end;
  };
  std::optional<std::size_t> level;
  for (const Parse& parse : walk.parses()) {
    if (completes(parse)) level = std::max(level.value_or(0), parse.level);
  }
  if (!level) return tl::unexpected(line.error ? Mismatch(*line.error) : incomplete(grammar, line, walk));
  const Parse* best = walk.best([&](const Parse& parse) { return parse.level == *level && completes(parse); });
  if (const auto* ambiguity = walk.ambiguity(*best)) return tl::unexpected(ambiguous(grammar, line, *ambiguity));
  return build(grammar, stack, line, walk, *best);
}

tl::expected<Match, Mismatch> match(const Grammar& grammar, ModeStack stack, std::string_view line) {
  return match(grammar, stack, lex(line));
}

}  // namespace kvel::shell
