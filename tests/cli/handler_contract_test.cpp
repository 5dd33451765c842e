// What every handler does alike, tested on each row of the table of handlers: the session's identity, both forms, names
// and numbers, unlisted keywords, the bind, skipped execution, the rule domain and the statuses of the backend.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <limits>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>

#include "tests/cli/handler_table.h"
#include "tests/cli/plugin_test.h"
#include "tests/cli/unlisted_keywords.h"

namespace kvel::cli::test::handler_contract_test {
namespace {

// What stands at the places of a call or line; texts that are not given are empty, numbers 0.
using Values = std::map<std::string_view, std::string>;

const Values kNoForm = {{"<add>", "0"}, {"<negated>", "1"}};
const Values kLineName = {{"<name>", "web"}};  // as the rule domain is asked for it

Values with(Values values, const Values& others) {
  values.insert(others.begin(), others.end());
  return values;
}

std::string filled(const Handler& handler, std::string text, Values values) {
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

// What happens in front of the call.
Events asked(const Handler& handler, const Values& values) {
  Events events;
  if (handler.bind != Bind::none) events.emplace_back("bind 2");
  if (handler.asks != nullptr) events.push_back(filled(handler, handler.asks, values));
  return events;
}

Events called(const Handler& handler, const char* call, const Values& values) {
  Events events = asked(handler, values) + handler.opening;
  if (call != nullptr) events.push_back("call " + filled(handler, call, values));
  return events;
}

// A command that succeeds, with no more than single tokens or with its line.
Events sent(const Handler& handler, const Values& values = {}) {
  return called(handler, handler.call, values) + handler.closing + Events{"return 0"};
}
Events line_sent(const Handler& handler, const Values& values = {}) {
  return called(handler, handler.line_call, with(values, kLineName)) + handler.closing + Events{"return 0"};
}

struct Failure {
  std::int32_t status;
  const char* message;
};

// Every line of the printers, the statuses that some handler words itself, and their neighbours.
const std::array kFailures = {
    Failure{-999, "Error: Called API is invalid or non-existant\n"},
    Failure{-998, "Error: Called API timed out\n"},
    Failure{-997, "Error: Transport error\n"},
    Failure{-996, "Error: Incorrect argument(s)/type mismatch\n"},
    Failure{-1, "Error: Called API encountered error\n"},
    Failure{-2, "Error: text of 0xfffffffe, 100%d %s\n"},
    Failure{-995, "Error: text of 0xfffffc1d, 100%d %s\n"},
    Failure{-1000, "Error: text of 0xfffffc18, 100%d %s\n"},
    Failure{1, "Error: text of 0x00000001, 100%d %s\n"},
    Failure{255, "Error: text of 0x000000ff, 100%d %s\n"},
    Failure{256, "Error: text of 0x00000100, 100%d %s\n"},
    Failure{0x00010000, "Error: text of 0x00010000, 100%d %s\n"},
    Failure{0x40f2ffff, "Error: text of 0x40f2ffff, 100%d %s\n"},
    Failure{0x40f30001, "Error: text of 0x40f30001, 100%d %s\n"},
    Failure{0x40f30008, "Error: text of 0x40f30008, 100%d %s\n"},
    Failure{0x40f30009, "Error: text of 0x40f30009, 100%d %s\n"},
    Failure{0x40f3000a, "Error: text of 0x40f3000a, 100%d %s\n"},
    Failure{0x40f3000b, "Error: text of 0x40f3000b, 100%d %s\n"},
    Failure{0x40f3000e, "Error: text of 0x40f3000e, 100%d %s\n"},
    Failure{0x40f3000f, "Error: text of 0x40f3000f, 100%d %s\n"},
    Failure{0x40f30010, "Error: text of 0x40f30010, 100%d %s\n"},
    Failure{0x40f30011, "Error: text of 0x40f30011, 100%d %s\n"},
    Failure{0x40f3009a, "Error: text of 0x40f3009a, 100%d %s\n"},
    Failure{0x40f3009b, "Error: text of 0x40f3009b, 100%d %s\n"},
    Failure{0x40f3009c, "Error: text of 0x40f3009c, 100%d %s\n"},
    Failure{0x40f3009d, "Error: text of 0x40f3009d, 100%d %s\n"},
    Failure{0x40f300f1, "Error: text of 0x40f300f1, 100%d %s\n"},
    Failure{0x40f300f2, "Error: text of 0x40f300f2, 100%d %s\n"},
    Failure{0x40f300f3, "Error: text of 0x40f300f3, 100%d %s\n"},
    Failure{0x40f30105, "Error: text of 0x40f30105, 100%d %s\n"},
    Failure{0x40f30106, "Error: text of 0x40f30106, 100%d %s\n"},
    Failure{0x40f30107, "Error: text of 0x40f30107, 100%d %s\n"},
    Failure{0x40f3013b, "Error: text of 0x40f3013b, 100%d %s\n"},
    Failure{0x40f3013c, "Error: text of 0x40f3013c, 100%d %s\n"},
    Failure{0x40f3013d, "Error: text of 0x40f3013d, 100%d %s\n"},
    Failure{0x40f30140, "Error: text of 0x40f30140, 100%d %s\n"},
    Failure{0x40f30141, "Error: text of 0x40f30141, 100%d %s\n"},
    Failure{0x40f30142, "Error: text of 0x40f30142, 100%d %s\n"},
    Failure{0x40f40000, "Error: text of 0x40f40000, 100%d %s\n"},
    Failure{std::numeric_limits<std::int32_t>::max(), "Error: text of 0x7fffffff, 100%d %s\n"},
    Failure{std::numeric_limits<std::int32_t>::min(), "Error: text of 0x80000000, 100%d %s\n"},
};

constexpr std::array kAnyNonzero = {1U, 2U, 255U, 256U, 0x00010000U, 0x01000000U, 0x80000000U, 0xffffffffU};

class HandlerContract : public PluginTest {
 protected:
  // A command in a form in which the handler acts, with the tokens that it cannot do without behind the others.
  Events act(const Handler& handler, Tokens tokens, Form form = {}) {
    tokens.insert(tokens.end(), handler.needs.begin(), handler.needs.end());
    if (handler.only_in_the_no_form && form.negated == 0) form.negated = 1;
    if (handler.command_id != 0) form.command_id = handler.command_id;
    return run(handler.name, tokens, form);
  }

  void expect_failed_bind(const Handler& handler, const Events& events) {
    Tokens unreadable;
    for (const TextToken& token : handler.texts)
      unreadable.emplace_back(token.keyword_id);
    for (const NumberToken& token : handler.numbers)
      unreadable.emplace_back(token.keyword_id);
    for (const Tokens& tokens : {Tokens{}, handler.line, unreadable}) {
      EXPECT_EQ(act(handler, tokens), events);
      EXPECT_EQ(act(handler, tokens, kNo), events);
      if (handler.skip == Skip::before_the_bind) continue;
      EXPECT_EQ(act(handler, tokens, {.skip_execution = 1}), events);
    }
  }

  void expect_failed_call(const Handler& handler, const Tokens& tokens, const Values& values, const Failure& failure) {
    host.answer({.status = failure.status});
    EXPECT_EQ(act(handler, tokens), called(handler, handler.call, values) +
                                        Events{out(filled(handler, failure.message, values))} +
                                        handler.closing_after_failure + Events{handler.after_failure});
    host.answer({.status = failure.status});
    EXPECT_EQ(act(handler, tokens, kNo), called(handler, handler.call, with(values, kNoForm)) +
                                             Events{out(filled(handler, failure.message, values))} +
                                             handler.closing_after_failure + Events{handler.after_failure});
  }
};

// The exported functions of that shape.
std::set<std::string> declared_handlers() {
  std::ifstream header(std::string(KVEL_TEST_INCLUDE_DIR) + "/kvel/plugin.h");
  const std::string_view before = "KVEL_EXPORT int32_t ";
  const std::string_view after = "(const CliCommand* command);";
  std::set<std::string> names;
  for (std::string line; std::getline(header, line);) {
    if (line.starts_with(before) && line.ends_with(after))
      names.insert(line.substr(before.size(), line.size() - before.size() - after.size()));
  }
  return names;
}

std::set<std::uint32_t> listed_keywords(const Handler& handler) {
  std::set<std::uint32_t> listed;
  std::istringstream ranges(handler.keywords);
  for (std::string range; ranges >> range;) {
    char* end = nullptr;
    const unsigned long first = std::strtoul(range.c_str(), &end, 10);
    const unsigned long last = *end == '-' ? std::strtoul(end + 1, nullptr, 10) : first;
    for (unsigned long id = first; id <= last; ++id)
      listed.insert(static_cast<std::uint32_t>(id));
  }
  return listed;
}

TEST_F(HandlerContract, TheTableListsEveryHandler) {
  std::set<std::string> names;
  std::set<std::string> labels;
  for (const Handler& handler : all_handlers()) {
    names.insert(handler.name);
    EXPECT_TRUE(labels.insert(std::string(handler.name) + " " + handler.label).second) << handler.label;
  }
  EXPECT_EQ(names, declared_handlers());
  EXPECT_EQ(names.size(), 73U);
}

TEST_F(HandlerContract, WithoutTokens) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    EXPECT_EQ(act(handler, {}), sent(handler, handler.only_in_the_no_form ? kNoForm : Values{}));
    EXPECT_EQ(act(handler, {}, kNo), sent(handler, kNoForm));
  }
}

TEST_F(HandlerContract, WithAWholeLine) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    EXPECT_EQ(act(handler, handler.line), line_sent(handler));
    EXPECT_EQ(act(handler, handler.line, kNo), line_sent(handler, kNoForm));
  }
}

// The host is told what the command says, the backend one word for the "no" form.
TEST_F(HandlerContract, AnyNonzeroNegatedIsTheNoForm) {
  const std::array words = {"1", "2", "255", "256", "65536", "16777216", "2147483648", "4294967295"};
  static_assert(words.size() == kAnyNonzero.size());
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    for (std::size_t index = 0; index < words.size(); ++index) {
      EXPECT_EQ(act(handler, {}, {.negated = kAnyNonzero[index]}),
                sent(handler, {{"<add>", "0"}, {"<negated>", words[index]}}));
    }
  }
}

TEST_F(HandlerContract, SomeHaveNoPositiveForm) {
  host.bind_status = -997;
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    if (!handler.only_in_the_no_form) continue;
    EXPECT_EQ(run(handler.name, {}), Events{"return 1"});
    EXPECT_EQ(run(handler.name, handler.line), Events{"return 1"});
    EXPECT_EQ(run(handler.name, {{handler.texts.front().keyword_id}}), Events{"return 1"});
  }
}

TEST_F(HandlerContract, IdentityOfTheSession) {
  struct Row {
    std::int16_t context_id;
    std::uint32_t session_id;
    Values values;
  };
  const std::array rows = {
      Row{0, 0, {{"<context>", "0"}, {"<session>", "0x00000000"}}},
      Row{1, 1, {{"<context>", "1"}, {"<session>", "0x00000001"}}},
      Row{32767, 0x7fffffff, {{"<context>", "32767"}, {"<session>", "0x7fffffff"}}},
      Row{-1, 0xffffffff, {{"<context>", "65535"}, {"<session>", "0xffffffff"}}},
      Row{-32768, 0x80000000, {{"<context>", "32768"}, {"<session>", "0x80000000"}}},
      Row{-2, 0xfedcba98, {{"<context>", "65534"}, {"<session>", "0xfedcba98"}}},
  };
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    for (const Row& row : rows) {
      EXPECT_EQ(act(handler, {}, {.context_id = row.context_id, .session_id = row.session_id}),
                sent(handler, row.values));
      EXPECT_EQ(act(handler, handler.line, {.context_id = row.context_id, .session_id = row.session_id}),
                line_sent(handler, row.values));
    }
  }
}

// Only NAT has two forms of the grammar.
TEST_F(HandlerContract, TheCommandFormIsNotLookedAt) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    if (handler.command_id != 0) continue;
    for (std::uint32_t form : {1U, 362U, 364U, 0x80000000U, 0xffffffffU})
      EXPECT_EQ(act(handler, handler.line, {.command_id = form}), line_sent(handler));
  }
}

// A command that enters a mode and is not to be carried out; the tokens cannot be read.
TEST_F(HandlerContract, SkippedExecution) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    for (std::uint32_t skip : kAnyNonzero) {
      if (handler.skip == Skip::ignored) {
        EXPECT_EQ(act(handler, handler.line, {.skip_execution = skip}), line_sent(handler));
        EXPECT_EQ(act(handler, handler.line, {.negated = 1, .skip_execution = skip}), line_sent(handler, kNoForm));
        continue;
      }
      const Events events = handler.skip == Skip::after_the_bind ? Events{"bind 2", "return 0"} : Events{"return 0"};
      const std::uint32_t name = handler.texts.front().keyword_id;
      EXPECT_EQ(run(handler.name, {}, {.skip_execution = skip}), events);
      EXPECT_EQ(run(handler.name, {{name}}, {.skip_execution = skip}), events);
      EXPECT_EQ(run(handler.name, {{name, "#web"}}, {.skip_execution = skip}), events);
      EXPECT_EQ(run(handler.name, {{name}}, {.negated = 1, .skip_execution = skip}), events);
    }
  }
}

TEST_F(HandlerContract, SkippedExecutionMayComeBeforeTheBind) {
  host.bind_status = -997;
  host.rule_domain_answer = 0;
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    if (handler.skip != Skip::before_the_bind) continue;
    EXPECT_EQ(run(handler.name, handler.line, {.skip_execution = 1}), Events{"return 0"});
  }
  host.bind_status = 0;
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    if (handler.skip != Skip::after_the_bind) continue;
    EXPECT_EQ(run(handler.name, handler.line, {.skip_execution = 1}), (Events{"bind 2", "return 0"}));
  }
}

TEST_F(HandlerContract, IgnoresUnlistedKeywords) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    for (const auto& [range, tokens] : unlisted_keywords({}, listed_keywords(handler)))
      EXPECT_EQ(act(handler, tokens), sent(handler)) << range;
  }
}

TEST_F(HandlerContract, IgnoresUnlistedKeywordsBehindAWholeLine) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    for (const auto& [range, tokens] : unlisted_keywords(handler.line, listed_keywords(handler)))
      EXPECT_EQ(act(handler, tokens), line_sent(handler)) << range;
  }
}

// Tokens set and select; none counts how often it was typed.
TEST_F(HandlerContract, ALineTypedTwiceIsTheSame) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    Tokens tokens = handler.line;
    tokens.insert(tokens.end(), handler.line.begin(), handler.line.end());
    EXPECT_EQ(act(handler, tokens), line_sent(handler));
  }
}

TEST_F(HandlerContract, EveryTextAndNumber) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    Tokens tokens;
    Values values;
    for (const TextToken& token : handler.texts) {
      const std::string text = "n-" + std::to_string(token.keyword_id);
      EXPECT_EQ(act(handler, {{token.keyword_id, text}}), sent(handler, {{token.place, text}})) << token.keyword_id;
      if (values.emplace(token.place, text).second) tokens.emplace_back(token.keyword_id, text);
    }
    for (const NumberToken& token : handler.numbers) {
      const std::string text = std::to_string(token.keyword_id);
      EXPECT_EQ(act(handler, {{token.keyword_id, token.keyword_id}}), sent(handler, {{token.place, text}})) << text;
      if (values.emplace(token.place, text).second) tokens.emplace_back(token.keyword_id, token.keyword_id);
    }
    EXPECT_EQ(act(handler, tokens), sent(handler, values));
    EXPECT_EQ(act(handler, tokens, kNo), sent(handler, with(values, kNoForm)));
    std::reverse(tokens.begin(), tokens.end());
    EXPECT_EQ(act(handler, tokens), sent(handler, values));
  }
}

TEST_F(HandlerContract, TextsAreCutAtTheirBound) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    for (const auto& [keyword, place, bound] : handler.texts) {
      const std::string longest(bound, 'x');
      const std::string shorter(bound - 1, 'x');
      EXPECT_EQ(act(handler, {{keyword, ""}}), sent(handler)) << keyword;
      EXPECT_EQ(act(handler, {{keyword, "w"}}), sent(handler, {{place, "w"}})) << keyword;
      EXPECT_EQ(act(handler, {{keyword, shorter}}), sent(handler, {{place, shorter}})) << keyword;
      EXPECT_EQ(act(handler, {{keyword, longest}}), sent(handler, {{place, longest}})) << keyword;
      EXPECT_EQ(act(handler, {{keyword, longest + "y"}}), sent(handler, {{place, longest}})) << keyword;
      EXPECT_EQ(act(handler, {{keyword, longest + "yyyyyy"}}), sent(handler, {{place, longest}})) << keyword;
      EXPECT_EQ(act(handler, {{keyword, longest + std::string(65536, 'y')}}), sent(handler, {{place, longest}}))
          << keyword;
    }
  }
}

TEST_F(HandlerContract, EveryTextFullAtOnce) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    if (handler.names_fill_one) continue;
    Tokens tokens;
    Values values;
    char letter = 'a';
    for (const auto& [keyword, place, bound] : handler.texts) {
      if (!values.emplace(place, std::string(bound, letter)).second) continue;
      tokens.emplace_back(keyword, std::string(bound + 6, letter));
      ++letter;
    }
    EXPECT_EQ(act(handler, tokens), sent(handler, values));
    EXPECT_EQ(act(handler, tokens, kNo), sent(handler, with(values, kNoForm)));
  }
}

TEST_F(HandlerContract, ALaterTextReplacesTheWholeEarlierOne) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    for (const TextToken& first : handler.texts) {
      for (const TextToken& second : handler.texts) {
        if (first.place != second.place) continue;
        const Token long_one(first.keyword_id, std::string(first.bound + 6, 'x'));
        EXPECT_EQ(act(handler, {long_one, {second.keyword_id, "ab"}}), sent(handler, {{second.place, "ab"}}));
        EXPECT_EQ(act(handler, {{first.keyword_id, "ab"}, {second.keyword_id, ""}}), sent(handler));
        EXPECT_EQ(act(handler, {{first.keyword_id, "ab"}, {second.keyword_id, nullptr}}), sent(handler));
      }
    }
  }
}

TEST_F(HandlerContract, NullTextsAreEmptyAndNullNumbersZero) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    for (const TextToken& token : handler.texts)
      EXPECT_EQ(act(handler, {{token.keyword_id, nullptr}}), sent(handler)) << token.keyword_id;
    for (const NumberToken& token : handler.numbers) {
      EXPECT_EQ(act(handler, {{token.keyword_id, nullptr}}), sent(handler)) << token.keyword_id;
      EXPECT_EQ(act(handler, {{token.keyword_id, 10}, {token.keyword_id, nullptr}}), sent(handler)) << token.keyword_id;
    }
  }
}

TEST_F(HandlerContract, TextsTravelByteForByte) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    for (const auto& [keyword, place, bound] : handler.texts) {
      EXPECT_EQ(act(handler, {{keyword, "\x01\t %s%n\x7f\x80\xff"}}),
                sent(handler, {{place, "\\x01\\x09 %s%n\\x7f\\x80\\xff"}}))
          << keyword;
      EXPECT_EQ(act(handler, {{keyword, "gr\xc3\xbc\n"}}), sent(handler, {{place, "gr\\xc3\\xbc\\n"}})) << keyword;
      EXPECT_EQ(act(handler, {{keyword, " #"}}), sent(handler, {{place, " #"}})) << keyword;
      if (handler.number_sign != NumberSign::sent) continue;
      for (const char* text : {"#web", "#class_default_l3", "class-default"})
        EXPECT_EQ(act(handler, {{keyword, text}}), sent(handler, {{place, text}})) << keyword;
    }
  }
}

TEST_F(HandlerContract, NumbersAreNotChecked) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    for (const auto& [keyword, place] : handler.numbers) {
      struct Row {
        std::uint32_t number;
        const char* text;
      };
      for (const Row& row : std::array{Row{0, "0"}, Row{1, "1"}, Row{255, "255"}, Row{256, "256"}, Row{65535, "65535"},
                                       Row{65536, "65536"}, Row{0x7fffffff, "2147483647"},
                                       Row{0x80000000, "2147483648"}, Row{0xffffffff, "4294967295"}}) {
        EXPECT_EQ(act(handler, {{keyword, row.number}}), sent(handler, {{place, row.text}})) << keyword;
      }
      for (const NumberToken& later : handler.numbers) {
        if (later.place != place) continue;
        EXPECT_EQ(act(handler, {{keyword, 10}, {later.keyword_id, 20}}), sent(handler, {{place, "20"}})) << keyword;
        EXPECT_EQ(act(handler, {{keyword, 10}, {later.keyword_id, 0}}), sent(handler, {{place, "0"}})) << keyword;
      }
    }
  }
}

TEST_F(HandlerContract, ReadsAll255Tokens) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    Tokens tokens(255 - handler.line.size() - handler.needs.size(), Token(4711));
    tokens.insert(tokens.end(), handler.line.begin(), handler.line.end());
    EXPECT_EQ(act(handler, tokens), line_sent(handler));
  }
}

TEST_F(HandlerContract, NothingIsRememberedBetweenCommands) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    EXPECT_EQ(act(handler, handler.line, kNo), line_sent(handler, kNoForm));
    EXPECT_EQ(act(handler, {}, kNo), sent(handler, kNoForm));
    EXPECT_EQ(act(handler, handler.line), line_sent(handler));
    EXPECT_EQ(act(handler, {}), sent(handler));
  }
}

TEST_F(HandlerContract, NothingIsAllocated) {
  heap.fail_from(1);
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    EXPECT_EQ(act(handler, {}), sent(handler));
    EXPECT_EQ(act(handler, handler.line), line_sent(handler));
  }
  EXPECT_EQ(heap.allocations(), 0U);
}

// ---- the bind

// The bind comes before the tokens are read, and its statuses name no object.
TEST_F(HandlerContract, AFailedBind) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    if (handler.bind == Bind::none) continue;
    for (const Failure& failure : kFailures) {
      host.bind_status = failure.status;
      const Events said = handler.bind == Bind::printed ? Events{out(failure.message)} : Events{};
      expect_failed_bind(handler, Events{"bind 2"} + said + Events{handler.after_failed_bind});
    }
  }
}

// "More data" is no success of a bind, but most printers keep it silent.
TEST_F(HandlerContract, ABindWithMoreData) {
  host.bind_status = 0x40f30000;
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    if (handler.bind == Bind::none) continue;
    const Events said = handler.more_data_is_printed ? Events{out("Error: text of 0x40f30000, 100%d %s\n")} : Events{};
    expect_failed_bind(handler, Events{"bind 2"} + said + Events{handler.after_failed_bind});
  }
}

TEST_F(HandlerContract, ThoseWithoutABindDoNotMindItsFailure) {
  host.bind_status = -997;
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    if (handler.bind != Bind::none) continue;
    EXPECT_EQ(act(handler, handler.line), line_sent(handler));
    EXPECT_EQ(act(handler, handler.line, kNo), line_sent(handler, kNoForm));
  }
}

// ---- the host's rules

// A host that refuses everything refuses only those that ask it.
TEST_F(HandlerContract, ThoseThatDoNotAskAreNotRefused) {
  host.rule_domain_answer = 0;
  host.rule_modify_answer = 1;
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    if (handler.asks != nullptr) continue;
    EXPECT_EQ(act(handler, handler.line), line_sent(handler));
    EXPECT_EQ(act(handler, handler.line, kNo), line_sent(handler, kNoForm));
  }
}

bool asks_the_domain(const Handler& handler) {
  return handler.asks != nullptr && std::string_view(handler.asks).starts_with("domain ");
}

TEST_F(HandlerContract, ARefusedRuleDomainIsSilent) {
  host.rule_domain_answer = 0;
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    if (!asks_the_domain(handler)) continue;
    const auto refused = [&](const Values& values) { return asked(handler, values) + Events{"return 255"}; };
    EXPECT_EQ(act(handler, {}), refused({}));
    EXPECT_EQ(act(handler, handler.line), refused(kLineName));
    EXPECT_EQ(act(handler, handler.line, kNo), refused(with(kLineName, kNoForm)));
    for (const TextToken& token : handler.texts) {
      EXPECT_EQ(act(handler, {{token.keyword_id, std::string(70, 'x')}}), refused({{"<name>", std::string(64, 'x')}}));
    }
  }
}

TEST_F(HandlerContract, AnyNonzeroRuleDomainAnswerAccepts) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    for (std::int32_t answer : {1, 2, 256, 0x10000, -1, std::numeric_limits<std::int32_t>::min()}) {
      host.rule_domain_answer = answer;
      EXPECT_EQ(act(handler, handler.line), line_sent(handler)) << answer;
    }
  }
}

TEST_F(HandlerContract, ANewNameMayNotBeginWithANumberSign) {
  const std::string cut = "#" + std::string(63, 'x');
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    if (handler.number_sign == NumberSign::sent) continue;
    const bool domain_first = handler.number_sign == NumberSign::refused_after_the_domain;
    const Events bound = {"bind 2"};
    const Events refused = {out("Error: Object Name cannot start with character #\n"), handler.after_number_sign};
    for (std::int32_t answer : {1, 0}) {
      host.rule_domain_answer = answer;
      const auto expected = [&](const Values& values) {
        if (!domain_first) return bound + refused;
        return asked(handler, values) + (answer != 0 ? refused : Events{"return 255"});
      };
      for (const TextToken& token : handler.texts) {
        const std::uint32_t keyword = token.keyword_id;
        for (const char* name : {"#x", "#", "##", "#class_default_l3"}) {
          EXPECT_EQ(act(handler, {{keyword, name}}), expected({{"<name>", name}})) << keyword;
          EXPECT_EQ(act(handler, {{keyword, name}}, kNo), expected(with(kNoForm, {{"<name>", name}}))) << keyword;
        }
        EXPECT_EQ(act(handler, {{keyword, "web"}, {keyword, cut + "yyyyyy"}}), expected({{"<name>", cut}})) << keyword;
      }
    }
    const std::uint32_t keyword = handler.texts.front().keyword_id;
    host.rule_domain_answer = 1;
    EXPECT_EQ(act(handler, {{keyword, "x#"}}), sent(handler, {{"<name>", "x#"}}));
    EXPECT_EQ(act(handler, {{keyword, "#x"}, {keyword, "web"}}), sent(handler, {{"<name>", "web"}}));
  }
}

// ---- the backend

TEST_F(HandlerContract, BackendSuccesses) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    if (handler.call == nullptr) continue;
    for (std::int32_t status : {0, 0x40f30000}) {
      host.answer({.status = status});
      EXPECT_EQ(act(handler, handler.line), line_sent(handler)) << status;
      host.answer({.status = status});
      EXPECT_EQ(act(handler, handler.line, kNo), line_sent(handler, kNoForm)) << status;
    }
  }
}

// A status has the printer's line or, in some handlers, one of its own.
TEST_F(HandlerContract, BackendFailures) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    if (handler.call == nullptr) continue;
    Tokens tokens;
    Values values;
    for (const TextToken& token : handler.texts) {
      const std::string text = "n-" + std::to_string(token.keyword_id);
      if (values.emplace(token.place, text).second) tokens.emplace_back(token.keyword_id, text);
    }
    for (const Failure& failure : kFailures) {
      const auto worded = std::find_if(handler.worded.begin(), handler.worded.end(),
                                       [&](const WordedStatus& own) { return own.status == failure.status; });
      const char* message = worded == handler.worded.end() ? failure.message : worded->line;
      expect_failed_call(handler, tokens, values, {failure.status, message});
    }
  }
}

// Lines show the names as they were sent.
TEST_F(HandlerContract, NamesInTheLinesOfFailures) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    for (const auto& [status, line] : handler.worded) {
      EXPECT_TRUE(std::any_of(kFailures.begin(), kFailures.end(),
                              [status = status](const Failure& failure) { return failure.status == status; }));
      expect_failed_call(handler, {}, {}, {status, line});
      for (const auto& [keyword, place, bound] : handler.texts) {
        expect_failed_call(handler, {{keyword, "100%s%n"}}, {{place, "100%s%n"}}, {status, line});
        expect_failed_call(handler, {{keyword, std::string(bound + 6, 'x')}}, {{place, std::string(bound, 'x')}},
                           {status, line});
      }
    }
  }
}

}  // namespace
}  // namespace kvel::cli::test::handler_contract_test
