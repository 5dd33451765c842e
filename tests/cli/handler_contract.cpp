// Commands and expectations of the rows of the table of handlers.
#include "tests/cli/handler_contract.h"

#include <utility>

namespace kvel::cli::test {

const HandlerContract::Values HandlerContract::kNoForm = {{"<add>", "0"}, {"<negated>", "1"}};

HandlerContract::Values HandlerContract::with(Values values, const Values& others) {
  values.insert(others.begin(), others.end());
  return values;
}

std::string HandlerContract::filled(const Handler& handler, std::string text, Values values) {
  for (const TextToken& token : handler.texts)
    values.try_emplace(token.place, "");
  for (const NumberToken& token : handler.numbers)
    values.try_emplace(token.place, "0");
  values.merge(Values{{"<context>", "7"}, {"<session>", "0x01020304"}, {"<add>", "1"}, {"<negated>", "0"}});
  for (const auto& [place, value] : values) {
    const std::size_t at = text.find(place);
    if (at != std::string::npos) text.replace(at, place.size(), value);
  }
  return text;
}

Events HandlerContract::act(const Handler& handler, Tokens tokens, Form form) {
  tokens.insert(tokens.end(), handler.needs.begin(), handler.needs.end());
  if (handler.only_in_the_no_form && form.negated == 0) form.negated = 1;
  if (handler.command_id != 0) form.command_id = handler.command_id;
  return run(handler.name, tokens, form);
}

Events HandlerContract::asked(const Handler& handler, const Values& values) {
  Events events;
  if (handler.bind != Bind::none) events.emplace_back("bind 2");
  if (handler.asks != nullptr) events.push_back(filled(handler, handler.asks, values));
  return events;
}

Events HandlerContract::called(const Handler& handler, const char* call, const Values& values) {
  Events events = asked(handler, values) + handler.opening;
  if (call != nullptr) events.push_back("call " + filled(handler, call, values));
  return events;
}

Events HandlerContract::sent(const Handler& handler, const Values& values) {
  return called(handler, handler.call, values) + handler.closing + Events{"return 0"};
}

Events HandlerContract::line_sent(const Handler& handler, const Values& values) {
  return called(handler, handler.line_call, with(values, {{"<name>", "web"}})) + handler.closing + Events{"return 0"};
}

}  // namespace kvel::cli::test
