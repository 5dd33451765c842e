// Lays out parsed command records in guarded memory.
#include "tests/cli/command_record.h"

#include <cstring>
#include <new>
#include <utility>

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
  std::size_t keywords = 0;
  for (const Token& token : tokens)
    keywords += is_keyword(token) ? 1 : 0;
  GuardedBlock keyword_block(keywords * sizeof(CliToken));
  std::size_t next_keyword = 0;
  for (std::size_t index = 0; index < tokens.size(); ++index)
    command->tokens[index] =
        is_keyword(tokens[index]) ? put(tokens[index], keyword_block, next_keyword++) : add(tokens[index]);
  keyword_block.freeze();
  blocks_.push_back(std::move(keyword_block));
  record_.freeze();
}

const CliCommand* CommandRecord::get() const { return std::launder(reinterpret_cast<CliCommand*>(record_.data())); }

bool CommandRecord::is_keyword(const Token& token) { return std::holds_alternative<Token::Untouchable>(token.value_); }

const CliToken* CommandRecord::add(const Token& token) {
  GuardedBlock block(sizeof(CliToken));
  const CliToken* record = put(token, block, 0);
  block.freeze();
  blocks_.push_back(std::move(block));
  return record;
}

const CliToken* CommandRecord::put(const Token& token, GuardedBlock& block, std::size_t index) {
  const std::size_t offset = index * sizeof(CliToken);
  // Reserved words that would do something if they were taken for keyword ids.
  auto* record = new (block.data() + offset) CliToken{token.keyword_id_, {8, 9, 182}, add_value(token)};
  block.forbid(offset + offsetof(CliToken, reserved), sizeof(CliToken::reserved));
  return record;
}

const void* CommandRecord::add_value(const Token& token) {
  if (is_keyword(token)) return inaccessible();
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
