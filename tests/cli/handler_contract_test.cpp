// What every handler does alike with its tokens and forms, tested on each row of the table of handlers: the session's
// identity, both forms, skipped execution, unlisted keywords, texts and numbers.
#include "tests/cli/handler_contract.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <string_view>

#include "tests/cli/unlisted_keywords.h"

namespace kvel::cli::test::handler_contract_test {
namespace {

constexpr std::array kAnyNonzero = {1U, 2U, 255U, 256U, 0x00010000U, 0x01000000U, 0x80000000U, 0xffffffffU};

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

// The host gets what the command carries, the backend one word for the "no" form.
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

TEST_F(HandlerContract, IgnoresUnlistedKeywordsAfterAWholeLine) {
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

}  // namespace
}  // namespace kvel::cli::test::handler_contract_test
