// Lays out parsed command records in guarded memory.
#include "tests/cli/command_record.h"

#include <cstring>
#include <new>

namespace kvel::cli::test {

CommandRecord::CommandRecord(const Tokens& tokens, const Form& form) : record_(sizeof(CliCommand)) {
  auto* command = new (record_.data()) CliCommand{};
  command->token_count = static_cast<std::uint8_t>(tokens.size());
  command->negated = form.negated;
  command->skip_execution = form.skip_execution;
  command->command_id = form.command_id;
  command->context_id = form.context_id;
  command->session_id = form.session_id;
  for (const CliToken*& token : command->tokens)
    token = static_cast<const CliToken*>(inaccessible());
  for (std::size_t index = 0; index < tokens.size(); ++index)
    command->tokens[index] = add(tokens[index]);
  record_.freeze();
}

const CliCommand* CommandRecord::get() const { return std::launder(reinterpret_cast<CliCommand*>(record_.data())); }

const CliToken* CommandRecord::add(const Token& token) {
  GuardedBlock block(sizeof(CliToken));
  // Reserved words that would do something if they were taken for keyword ids.
  auto* record = new (block.data()) CliToken{token.keyword_id_, {8, 9, 182}, add_value(token)};
  block.freeze();
  block.forbid(offsetof(CliToken, reserved), sizeof(CliToken::reserved));
  blocks_.push_back(std::move(block));
  return record;
}

const void* CommandRecord::add_value(const Token& token) {
  if (std::holds_alternative<Token::Untouchable>(token.value_)) return inaccessible();
  if (std::holds_alternative<std::nullptr_t>(token.value_)) return nullptr;
  const auto store = [this](const void* bytes, std::size_t size) {
    GuardedBlock block(size);
    std::memcpy(block.data(), bytes, size);
    block.freeze();
    blocks_.push_back(std::move(block));
    return blocks_.back().data();
  };
  if (const auto* number = std::get_if<std::uint32_t>(&token.value_)) return store(number, sizeof(*number));
  const auto& text = std::get<std::string>(token.value_);
  return store(text.c_str(), text.size() + 1);
}

HookCommandRecord::HookCommandRecord(const Form& form) : record_(sizeof(CliCommand), offsetof(CliCommand, context_id)) {
  auto* command = new (record_.data()) CliCommand{};
  command->context_id = form.context_id;
  command->session_id = form.session_id;
  record_.freeze();
  record_.forbid_head();
  record_.forbid(offsetof(CliCommand, session_id), sizeof(CliCommand::session_id));
}

const CliCommand* HookCommandRecord::get() const { return std::launder(reinterpret_cast<CliCommand*>(record_.data())); }

}  // namespace kvel::cli::test
