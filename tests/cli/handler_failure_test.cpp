// How every handler fails, tested on each row of the table of handlers: the bind, the host's rules and the statuses of
// the backend.
#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "tests/cli/handler_contract.h"

namespace kvel::cli::test::handler_failure_test {
namespace {

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

class HandlerFailure : public HandlerContract {
 protected:
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

// ---- the bind

// The bind comes before the tokens are read, and its statuses name no object.
TEST_F(HandlerFailure, AFailedBind) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    if (handler.bind == Bind::none) continue;
    for (const Failure& failure : kFailures) {
      host.bind_status = failure.status;
      const Events lines = handler.bind == Bind::printed ? Events{out(failure.message)} : Events{};
      expect_failed_bind(handler, Events{"bind 2"} + lines + Events{handler.after_failed_bind});
    }
  }
}

// "More data" is no success of a bind, but most printers keep it silent.
TEST_F(HandlerFailure, ABindWithMoreData) {
  host.bind_status = 0x40f30000;
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    if (handler.bind == Bind::none) continue;
    const Events lines = handler.more_data_is_printed ? Events{out("Error: text of 0x40f30000, 100%d %s\n")} : Events{};
    expect_failed_bind(handler, Events{"bind 2"} + lines + Events{handler.after_failed_bind});
  }
}

TEST_F(HandlerFailure, ThoseWithoutABindDoNotMindItsFailure) {
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
TEST_F(HandlerFailure, ThoseThatDoNotAskAreNotRefused) {
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

TEST_F(HandlerFailure, ARefusedRuleDomainIsSilent) {
  host.rule_domain_answer = 0;
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    if (!asks_the_domain(handler)) continue;
    const auto refused = [&](const Values& values) { return asked(handler, values) + Events{"return 255"}; };
    EXPECT_EQ(act(handler, {}), refused({}));
    EXPECT_EQ(act(handler, handler.line), refused({{"<name>", "web"}}));
    EXPECT_EQ(act(handler, handler.line, kNo), refused(with({{"<name>", "web"}}, kNoForm)));
    for (const TextToken& token : handler.texts) {
      EXPECT_EQ(act(handler, {{token.keyword_id, std::string(70, 'x')}}), refused({{"<name>", std::string(64, 'x')}}));
    }
  }
}

TEST_F(HandlerFailure, AnyNonzeroRuleDomainAnswerAccepts) {
  for (const Handler& handler : all_handlers()) {
    SCOPED_TRACE(handler.label);
    for (std::int32_t answer : {1, 2, 256, 0x10000, -1, std::numeric_limits<std::int32_t>::min()}) {
      host.rule_domain_answer = answer;
      EXPECT_EQ(act(handler, handler.line), line_sent(handler)) << answer;
    }
  }
}

TEST_F(HandlerFailure, ANewNameMayNotBeginWithANumberSign) {
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

TEST_F(HandlerFailure, BackendSuccesses) {
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
TEST_F(HandlerFailure, BackendFailures) {
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
TEST_F(HandlerFailure, NamesInTheLinesOfFailures) {
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
}  // namespace kvel::cli::test::handler_failure_test
