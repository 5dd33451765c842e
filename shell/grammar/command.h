// A command of the grammar: one pattern of words with what it means. CommandDeclaration is how a grammar file declares
// it, Command what the compiled grammar offers to matcher and session.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "kvel/plugin.h"
#include "shell/grammar/pattern.h"

// The names of plug-in functions in the grammar, checked at compile time against include/kvel/plugin.h.
#define KVEL_HANDLER(symbol) (::kvel::shell::detail::handler_name<decltype(symbol)>(#symbol))
#define KVEL_HOOK(symbol) (::kvel::shell::detail::hook_name<decltype(symbol)>(#symbol))

namespace kvel::shell {

// The position of a command in the compiled grammar; not CliCommand::command_id.
using CommandIndex = std::uint16_t;
using ModeId = std::uint16_t;

// A node of the compiled grammar (see grammar.h).
using NodeId = std::uint32_t;

namespace detail {
template <typename Function>
constexpr std::string_view handler_name(const char* name) {
  static_assert(std::is_same_v<Function, KvelHandler>, "not a command handler");
  return name;
}
template <typename Function>
constexpr std::string_view hook_name(const char* name) {
  static_assert(std::is_same_v<Function, KvelCompletionHook>, "not a completion hook");
  return name;
}
}  // namespace detail

// Commands without a command id of their own are numbered from here, in the order of their declaration.
inline constexpr std::uint32_t kFirstAssignedCommandId = 1000;

// A token that a command hands to the mode it opens without a word of its own: what the command means, spelled out for
// the handlers of that mode.
struct FixedToken {
  KeywordId keyword = kNoKeyword;
  std::string_view text;
  std::string_view shown;  // what a prompt shows for it
};

// A command of the compiled grammar.
struct Command {
  CommandIndex index = 0;
  std::vector<ModeId> modes;            // the modes it belongs to; empty: every mode
  std::string_view handler;             // the plug-in's handler; empty for a command of the shell's own
  std::string_view shell_command;       // the id of the shell's own command (shell_commands.h); empty for a handler
  std::string_view text_handler;        // of a shell command: the handler that prints it instead where no filter asks
                                        // for a document; may be empty
  std::uint32_t command_id = 0;         // CliCommand::command_id
  bool positive = true;                 // may be typed without "no"
  bool negatable = false;               // may be typed with "no"
  std::optional<ModeId> opens;          // the mode that the positive form enters
  std::vector<KeywordId> carries;       // its tokens that precede those of every command in that mode
  std::vector<FixedToken> fixed;        // and after these
  bool fresh_module = false;            // the plug-in is loaded anew before the handler runs
  bool filterable = false;              // its output may go through filters ("| ...")
  std::string_view record;              // the kind of record that the positive form creates; empty: none
  std::vector<MemberDefault> defaults;  // of the members of it that the line may leave out
  NodeId start = 0;                     // where its words begin; kNoNode unless positive
  NodeId negated_start = 0;             // the same after "no"; kNoNode unless negatable

  [[nodiscard]] bool in_every_mode() const { return modes.empty(); }
  // What it does: the handler, or the shell's own command.
  [[nodiscard]] std::string_view action() const { return handler.empty() ? shell_command : handler; }
};

// A command as it is declared. Every setter returns the declaration, so that a declaration reads as one sentence.
class CommandDeclaration {
 public:
  CommandDeclaration(std::vector<std::string_view> modes, Pattern pattern)
      : modes_(std::move(modes)), pattern_(std::move(pattern)) {}

  // What it does: exactly one of these two.
  CommandDeclaration& calls(std::string_view handler) { return handler_ = handler, *this; }
  CommandDeclaration& runs(std::string_view shell_command) { return shell_command_ = shell_command, *this; }

  // What it prints as text is printed by this handler instead; as a document by the shell command. With runs() alone.
  CommandDeclaration& text_by(std::string_view handler) { return text_handler_ = handler, *this; }

  // It exists with "no" in front too, by the same pattern or by another one.
  CommandDeclaration& negatable() { return negatable_ = true, *this; }
  CommandDeclaration& negatable(Pattern no_pattern) { return no_pattern_ = std::move(no_pattern), negatable(); }
  // It exists only with "no" in front.
  CommandDeclaration& only_negated() { return positive_ = false, negatable(); }

  // The positive form enters `mode`, whose commands get these tokens of the command, and then the fixed ones, in front
  // of their own.
  CommandDeclaration& opens(std::string_view mode, std::vector<KeywordId> carried, std::vector<FixedToken> fixed = {}) {
    return opens_ = mode, carries_ = std::move(carried), fixed_ = std::move(fixed), *this;
  }

  CommandDeclaration& command_id(std::uint32_t id) { return command_id_ = id, *this; }
  CommandDeclaration& fresh_module() { return fresh_module_ = true, *this; }
  CommandDeclaration& filterable() { return filterable_ = true, *this; }

  // The positive form creates a record of this kind, whose members its words bind (Pattern::binds); those that no word
  // binds have the defaults given here.
  CommandDeclaration& records(std::string_view kind, std::vector<MemberDefault> defaults = {}) {
    return record_ = kind, defaults_ = std::move(defaults), *this;
  }

 private:
  friend class GrammarCompiler;
  std::vector<std::string_view> modes_;  // empty: every mode
  Pattern pattern_;
  std::optional<Pattern> no_pattern_;
  std::string_view handler_;
  std::string_view shell_command_;
  std::string_view text_handler_;
  std::string_view opens_;
  std::vector<KeywordId> carries_;
  std::vector<FixedToken> fixed_;
  std::optional<std::uint32_t> command_id_;
  bool positive_ = true;
  bool negatable_ = false;
  bool fresh_module_ = false;
  bool filterable_ = false;
  std::string_view record_;
  std::vector<MemberDefault> defaults_;
};

}  // namespace kvel::shell
