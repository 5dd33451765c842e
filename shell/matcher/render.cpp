// Tokens to lines.
#include "shell/matcher/render.h"

#include <algorithm>
#include <vector>

#include "shell/matcher/match.h"
#include "shell/matcher/parameter.h"

namespace kvel::shell {

namespace {

class Renderer {
 public:
  Renderer(const Grammar& grammar, ModeId mode, std::string_view action, bool negated, std::span<const Token> tokens)
      : grammar_(grammar), mode_(mode), action_(action), negated_(negated), tokens_(tokens) {}

  tl::expected<std::string, RenderError> run() {
    bool known = false;
    for (const CommandIndex id : grammar_.commands_of(action_)) {
      const Command& command = grammar_.command(id);
      const bool in_mode = command.in_every_mode() ||
                           std::find(command.modes.begin(), command.modes.end(), mode_) != command.modes.end();
      if (!in_mode || !(negated_ ? command.negatable : command.positive)) continue;
      known = true;
      path_.clear();
      if (follow(negated_ ? command.negated_start : command.start, 0)) return std::move(line_);
    }
    if (!known) return tl::unexpected(RenderError::unknown_action);
    return tl::unexpected(yielded_ ? RenderError::no_line : RenderError::no_command);
  }

 private:
  // Extends path_ to one that yields the tokens from `next` on, ends there and reads back. Shorter paths come first.
  bool follow(NodeId node, std::size_t next) {
    if (next == tokens_.size() && grammar_.node(node).can_end && render_path()) return true;
    for (const EdgeId id : grammar_.edges_from(node)) {
      const Edge& edge = grammar_.edge(id);
      const bool silent = edge.symbol.keyword == kNoKeyword;
      if (silent ? !edge.symbol.is_word() : !yields(edge.symbol, next)) continue;
      path_.push_back(id);
      if (follow(edge.target, next + (silent ? 0 : 1))) return true;
      path_.pop_back();
    }
    return false;
  }

  bool yields(const Symbol& symbol, std::size_t next) const {
    if (symbol.mask_keyword != kNoKeyword) return false;  // the mask is written out
    if (next == tokens_.size() || tokens_[next].keyword != symbol.keyword) return false;
    const TokenValue& value = tokens_[next].value;
    if (symbol.is_word()) return std::holds_alternative<std::monostate>(value);
    if (symbol.is_string()) {
      const auto* string = std::get_if<std::string>(&value);
      return string != nullptr && !string->empty() && string->size() <= symbol.high;
    }
    const auto* number = std::get_if<std::uint32_t>(&value);
    if (number == nullptr) return false;
    return symbol.kind != SymbolKind::number || (*number >= symbol.low && *number <= symbol.high);
  }

  // First with the quotes that the lexer needs; then, where a value would be taken for a word, with all of them.
  bool render_path() {
    yielded_ = true;
    return render_path(false) || render_path(true);
  }

  bool render_path(bool quoted) {
    line_ = negated_ ? "no" : "";
    std::size_t token = 0;
    for (const EdgeId id : path_) {
      const Symbol& symbol = grammar_.edge(id).symbol;
      if (!line_.empty()) line_ += ' ';
      if (symbol.is_word()) {
        line_ += symbol.text;
      } else if (symbol.is_string()) {
        line_ += render_string(symbol, std::get<std::string>(tokens_[token].value), quoted);
      } else {
        line_ += render_number(symbol, std::get<std::uint32_t>(tokens_[token].value));
      }
      if (symbol.keyword != kNoKeyword) ++token;
    }
    return reads_back();
  }

  bool reads_back() const {
    const ModeLevel level{mode_, {}};
    const LexedLine lexed = lex(line_);
    if (lexed.blank()) return false;
    const auto matched = match(grammar_, {&level, 1}, lexed);
    if (!matched || matched->negated != negated_) return false;
    return matched->command->action() == action_ &&
           std::equal(matched->tokens.begin(), matched->tokens.end(), tokens_.begin(), tokens_.end());
  }

  const Grammar& grammar_;
  ModeId mode_;
  std::string_view action_;
  bool negated_;
  std::span<const Token> tokens_;
  std::vector<EdgeId> path_;
  std::string line_;
  bool yielded_ = false;
};

}  // namespace

tl::expected<std::string, RenderError> render(const Grammar& grammar, ModeId mode, std::string_view action,
                                              bool negated, std::span<const Token> tokens) {
  return Renderer(grammar, mode, action, negated, tokens).run();
}

}  // namespace kvel::shell
