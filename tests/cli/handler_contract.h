// The fixture of the tests that run over the table of handlers: runs a row's command, and what that row expects.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "tests/cli/handler_table.h"
#include "tests/cli/plugin_test.h"

namespace kvel::cli::test {

class HandlerContract : public PluginTest {
 protected:
  // What is at the places of a call or line; texts that are not given are empty, numbers 0.
  using Values = std::map<std::string_view, std::string>;
  static const Values kNoForm;

  static Values with(Values values, const Values& others);
  static std::string filled(const Handler& handler, std::string text, Values values);

  // A command in a form in which the handler acts, with the tokens that it cannot do without after the others.
  Events act(const Handler& handler, Tokens tokens, Form form = {});

  // What happens up to the call, and up to and with it.
  static Events asked(const Handler& handler, const Values& values);
  static Events called(const Handler& handler, const char* call, const Values& values);
  // A command that succeeds, with no more than single tokens or with its line.
  static Events sent(const Handler& handler, const Values& values = {});
  static Events line_sent(const Handler& handler, const Values& values = {});
};

}  // namespace kvel::cli::test
