// The names of inline matches, in all three kinds of policy-maps that take them: policy-map and match together name the
// class of the match, and no match is inserted before itself.
#include <array>
#include <cstdint>
#include <string>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::policy_inline_names_test {
namespace {

struct InlineMatch {
  const char* handler;
  std::uint32_t policy;
  std::uint32_t match;
  std::uint32_t before;  // 0: it takes no place
  Token refused_alone;   // a token that is refused where it is
  const char* refusal;
};

const InlineMatch kBalancing = {"kvelpolicymap_config_inline_lb", 503, 505, 610, {571, 0}, "Error: Invalid IP mask\n"};
const InlineMatch kHttp = {"kvelpolicymap_configinspect_l7http",
                           603,
                           605,
                           595,
                           {133, 0},
                           "Error: Incorrect content length match, supported range 0-4294967295\n"};
const InlineMatch kFtp = {"kvelpolicymap_configmatch_insftpreq", 652, 656, 0, {0}, ""};

const std::array kAll = {kBalancing, kHttp, kFtp};
const std::array kPlaced = {kBalancing, kHttp};

std::string call(const InlineMatch& kind, const std::string& policy, const std::string& match,
                 const std::string& before, const std::string& add) {
  if (kind.handler == kFtp.handler) {
    return "call cm_update_l7_inline_ftp_insp_match(u16 7, session 0x01020304, '" + policy + "', '" + match +
           "', u8 0, u8 " + add + ")";
  }
  const bool http = kind.handler == kHttp.handler;
  return std::string("call ") + (http ? "cm_update_l7_inline_http_insp_match" : "cm_update_l7_inline_lb_match") +
         "(u16 7, session 0x01020304, u8 " + add + ", '" + policy + "', '" + match + "', '" + before + "', " +
         (http ? "buffer[328] 00*328" : "buffer[332] 00*332") + ")";
}

Events sent(const InlineMatch& kind, const std::string& policy, const std::string& match,
            const std::string& before = "", const std::string& add = "1") {
  return {"bind 2", call(kind, policy, match, before, add), "return 0"};
}

Events refused(const std::string& message) { return {"bind 2", out(message), "return 255"}; }

Events too_long(const std::string& match_length, const std::string& policy_length) {
  return refused("Error: inline classname length should be less than or equal to 64; current length match_name " +
                 match_length + " + policyname " + policy_length + "\n");
}

const Events kSameName = refused("Error: match name cannot be same as insert-before class name\n");

std::string p(std::size_t length) { return std::string(length, 'p'); }
std::string m(std::size_t length) { return std::string(length, 'm'); }

class PolicyMapInlineNames : public PluginTest {
 protected:
  Events name(const InlineMatch& kind, const std::string& policy, const std::string& match, const Form& form = {}) {
    return run(kind.handler, {{kind.policy, policy}, {kind.match, match}}, form);
  }
  Events place(const InlineMatch& kind, const std::string& match, const std::string& before, const Form& form = {}) {
    return run(kind.handler, {{kind.match, match}, {kind.before, before}}, form);
  }
};

// ---- the length of both names

TEST_F(PolicyMapInlineNames, TogetherTheyReach64Characters) {
  for (const InlineMatch& kind : kAll) {
    EXPECT_EQ(name(kind, p(30), m(34)), sent(kind, p(30), m(34))) << kind.handler;
    EXPECT_EQ(name(kind, p(40), m(24)), sent(kind, p(40), m(24))) << kind.handler;
    EXPECT_EQ(name(kind, p(1), m(63)), sent(kind, p(1), m(63))) << kind.handler;
    EXPECT_EQ(name(kind, p(63), m(1)), sent(kind, p(63), m(1))) << kind.handler;
    EXPECT_EQ(name(kind, p(64), m(0)), sent(kind, p(64), m(0))) << kind.handler;
    EXPECT_EQ(name(kind, p(0), m(64)), sent(kind, p(0), m(64))) << kind.handler;
    EXPECT_EQ(name(kind, p(32), m(32), kNo), sent(kind, p(32), m(32), "", "0")) << kind.handler;
  }
}

TEST_F(PolicyMapInlineNames, From65CharactersOnTheyAreRefused) {
  for (const InlineMatch& kind : kAll) {
    EXPECT_EQ(name(kind, p(30), m(35)), too_long("35", "30")) << kind.handler;
    EXPECT_EQ(name(kind, p(31), m(34)), too_long("34", "31")) << kind.handler;
    EXPECT_EQ(name(kind, p(40), m(25)), too_long("25", "40")) << kind.handler;
    EXPECT_EQ(name(kind, p(1), m(64)), too_long("64", "1")) << kind.handler;
    EXPECT_EQ(name(kind, p(64), m(1)), too_long("1", "64")) << kind.handler;
    EXPECT_EQ(name(kind, p(64), m(64)), too_long("64", "64")) << kind.handler;
  }
}

TEST_F(PolicyMapInlineNames, TheNoFormIsMeasuredToo) {
  for (const InlineMatch& kind : kAll) {
    EXPECT_EQ(name(kind, p(30), m(35), kNo), too_long("35", "30")) << kind.handler;
  }
}

TEST_F(PolicyMapInlineNames, TheCutNamesAreMeasured) {
  for (const InlineMatch& kind : kAll) {
    EXPECT_EQ(name(kind, p(100), m(0)), sent(kind, p(64), m(0))) << kind.handler;
    EXPECT_EQ(name(kind, p(0), m(100)), sent(kind, p(0), m(64))) << kind.handler;
    EXPECT_EQ(name(kind, p(100), m(65536)), too_long("64", "64")) << kind.handler;
    EXPECT_EQ(name(kind, p(1), m(100)), too_long("64", "1")) << kind.handler;
  }
}

// The lengths count when all tokens are read.
TEST_F(PolicyMapInlineNames, LaterNamesAreMeasured) {
  for (const InlineMatch& kind : kAll) {
    EXPECT_EQ(run(kind.handler, {{kind.policy, p(30)}, {kind.match, m(35)}, {kind.match, "m1"}}),
              sent(kind, p(30), "m1"))
        << kind.handler;
    EXPECT_EQ(run(kind.handler, {{kind.match, m(35)}, {kind.policy, p(30)}}), too_long("35", "30")) << kind.handler;
  }
}

TEST_F(PolicyMapInlineNames, TheInsertBeforeNameIsNotMeasured) {
  for (const InlineMatch& kind : kPlaced) {
    const Tokens tokens = {{kind.policy, p(30)}, {kind.match, m(34)}, {kind.before, std::string(64, 'b')}};
    EXPECT_EQ(run(kind.handler, tokens), sent(kind, p(30), m(34), std::string(64, 'b'))) << kind.handler;
  }
}

// ---- a match before itself

TEST_F(PolicyMapInlineNames, AMatchIsNotInsertedBeforeItself) {
  for (const InlineMatch& kind : kPlaced) {
    EXPECT_EQ(place(kind, "m1", "m1"), kSameName) << kind.handler;
    EXPECT_EQ(place(kind, m(64), m(64)), kSameName) << kind.handler;
    EXPECT_EQ(run(kind.handler, {{kind.before, "m1"}, {kind.match, "m1"}}), kSameName) << kind.handler;
    EXPECT_EQ(run(kind.handler, {{kind.policy, "p1"}, {kind.before, "m1"}, {kind.match, "m1"}}), kSameName)
        << kind.handler;
  }
}

TEST_F(PolicyMapInlineNames, TheCutNamesAreCompared) {
  for (const InlineMatch& kind : kPlaced) {
    EXPECT_EQ(place(kind, m(64) + "a", m(64) + "b"), kSameName) << kind.handler;
    EXPECT_EQ(place(kind, m(64), m(65)), kSameName) << kind.handler;
    EXPECT_EQ(place(kind, m(63) + "a", m(63) + "b"), sent(kind, "", m(63) + "a", m(63) + "b")) << kind.handler;
    EXPECT_EQ(place(kind, m(64), m(63)), sent(kind, "", m(64), m(63))) << kind.handler;
  }
}

TEST_F(PolicyMapInlineNames, OtherNamesAreAccepted) {
  for (const InlineMatch& kind : kPlaced) {
    EXPECT_EQ(place(kind, "m1", "m"), sent(kind, "", "m1", "m")) << kind.handler;
    EXPECT_EQ(place(kind, "m", "m1"), sent(kind, "", "m", "m1")) << kind.handler;
    EXPECT_EQ(place(kind, "m1", "M1"), sent(kind, "", "m1", "M1")) << kind.handler;
    EXPECT_EQ(place(kind, "m1", ""), sent(kind, "", "m1", "")) << kind.handler;
    EXPECT_EQ(place(kind, "", "m1"), sent(kind, "", "", "m1")) << kind.handler;
    EXPECT_EQ(place(kind, "", ""), sent(kind, "", "", "")) << kind.handler;  // no name equals none
    EXPECT_EQ(run(kind.handler, {{kind.policy, "p1"}, {kind.match, "m1"}, {kind.before, "p1"}}),
              sent(kind, "p1", "m1", "p1"))
        << kind.handler;
    EXPECT_EQ(run(kind.handler, {{kind.match, "m1"}, {kind.before, "m1"}, {kind.before, "b1"}}),
              sent(kind, "", "m1", "b1"))
        << kind.handler;
  }
}

TEST_F(PolicyMapInlineNames, TheNoFormSendsEqualNames) {
  for (const InlineMatch& kind : kPlaced) {
    for (std::uint32_t negated : {1U, 2U, 256U, 0x80000000U}) {
      EXPECT_EQ(place(kind, "m1", "m1", {.negated = negated}), sent(kind, "", "m1", "m1", "0")) << kind.handler;
    }
  }
}

// ---- the order of the checks

TEST_F(PolicyMapInlineNames, TheLengthIsCheckedBeforeThePlace) {
  for (const InlineMatch& kind : kPlaced) {
    const Tokens tokens = {{kind.policy, p(1)}, {kind.match, m(64)}, {kind.before, m(64)}};
    EXPECT_EQ(run(kind.handler, tokens), too_long("64", "1")) << kind.handler;
    EXPECT_EQ(run(kind.handler, tokens, kNo), too_long("64", "1")) << kind.handler;
  }
}

TEST_F(PolicyMapInlineNames, ATokenThatIsRefusedComesBeforeBoth) {
  for (const InlineMatch& kind : kPlaced) {
    const Tokens tokens = {{kind.policy, p(1)}, {kind.match, m(64)}, {kind.before, m(64)}, kind.refused_alone};
    EXPECT_EQ(run(kind.handler, tokens), refused(kind.refusal)) << kind.handler;
  }
}

// ---- names in messages

TEST_F(PolicyMapInlineNames, MessagesShowTheNamesAsTheyWereSent) {
  struct Row {
    std::int32_t status;
    std::string policy;
    std::string match;
    std::string before;
    std::string message;
  };
  const std::string cut(64, 'x');
  const std::array rows = {
      Row{0x40f3013c, "", "m1", cut + "yyyyyy", "Error: insert-before class/match '" + cut + "' not configured\n"},
      Row{0x40f3013c, "p1", "m1", "", "Error: insert-before class/match '' not configured\n"},
      Row{0x40f3013c, "p1", "m1", "100%s%n", "Error: insert-before class/match '100%s%n' not configured\n"},
      Row{0x40f30141, cut + "yyyyyy", "", cut + "zzzzzz",
          "Error: could not find class/match '" + cut + "' in policy '" + cut + "'\n"},
      Row{0x40f30141, "", "m1", "", "Error: could not find class/match '' in policy ''\n"},
      Row{0x40f30141, "100%s%n", "m1", "%n%d", "Error: could not find class/match '%n%d' in policy '100%s%n'\n"},
      Row{0x40f30009, cut + "yyyyyy", "", "b1", "Error: policy-map '" + cut + "' not configured\n"},
      Row{0x40f30009, "", "m1", "b1", "Error: policy-map '' not configured\n"},
      Row{0x40f30009, "100%s%n", "m1", "b1", "Error: policy-map '100%s%n' not configured\n"},
  };
  for (const InlineMatch& kind : kPlaced) {
    for (const Row& row : rows) {
      host.answer({.status = row.status});
      const Tokens tokens = {{kind.policy, row.policy}, {kind.match, row.match}, {kind.before, row.before}};
      EXPECT_EQ(run(kind.handler, tokens),
                (Events{"bind 2",
                        call(kind, row.policy.substr(0, 64), row.match.substr(0, 64), row.before.substr(0, 64), "1"),
                        out(row.message), "return 255"}))
          << kind.handler;
    }
  }
}

}  // namespace
}  // namespace kvel::cli::test::policy_inline_names_test
