// kvelpolicymap_configclass: the place of a class in a policy-map.
#include <array>
#include <cstdint>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "tests/cli/plugin_test.h"
#include "tests/cli/unlisted_keywords.h"

namespace kvel::cli::test::policy_map_class_test {
namespace {

class PolicyMapClass : public PluginTest {
 protected:
  Events place(const Tokens& tokens, const Form& form = {}) { return run("kvelpolicymap_configclass", tokens, form); }
};

// The keywords of one role, in the order of the policy types: layer-3/4, load-balancing, HTTP and FTP inspection,
// management.
constexpr std::array<std::uint32_t, 5> kPolicyKeywords = {352, 503, 603, 652, 665};
constexpr std::array<std::uint32_t, 5> kClassKeywords = {356, 576, 593, 659, 668};
constexpr std::array<std::uint32_t, 5> kBeforeKeywords = {357, 577, 594, 660, 669};
constexpr std::array<std::uint32_t, 4> kClassDefaultKeywords = {366, 413, 671, 673};
const std::string k64(64, 'x');  // the longest name

// What the call carries; as it stands here, what a command without tokens sends.
struct Place {
  std::string policy = {};
  std::string name = {};
  std::string before = {};
  std::uint32_t type = 1;
  std::uint32_t subtype = 1;
  std::uint32_t class_default = 0;
  std::uint32_t add = 1;
};

std::string call(const Place& place) {
  const auto u8 = [](std::uint32_t value) { return "u8 " + std::to_string(value) + ", "; };
  return "call cm_update_policy_to_class(u16 7, session 0x01020304, '" + place.policy + "', '" + place.name + "', '" +
         place.before + "', " + u8(place.type) + u8(place.subtype) + u8(place.class_default) + u8(place.add) + "u32 0)";
}

Events sent(const Place& place) { return {"bind 2", call(place), "return 0"}; }

TEST_F(PolicyMapClass, PlacesAClassBeforeAnother) {
  EXPECT_EQ(
      place({{352, "edge"}, {356, "web"}, {357, "mail"}}),
      (Events{"bind 2",
              "call cm_update_policy_to_class(u16 7, session 0x01020304, 'edge', 'web', 'mail', u8 1, u8 1, u8 0, "
              "u8 1, u32 0)",
              "return 0"}));
}

TEST_F(PolicyMapClass, RemovesItInTheNoForm) {
  EXPECT_EQ(place({{502}, {530}, {503, "edge"}, {576, "web"}}, kNo),
            (Events{"bind 2",
                    "call cm_update_policy_to_class(u16 7, session 0x01020304, 'edge', 'web', '', u8 2, u8 2, u8 0, "
                    "u8 0, u32 0)",
                    "return 0"}));
}

TEST_F(PolicyMapClass, WithoutTokens) {
  EXPECT_EQ(
      place({}),
      (Events{"bind 2",
              "call cm_update_policy_to_class(u16 7, session 0x01020304, '', '', '', u8 1, u8 1, u8 0, u8 1, u32 0)",
              "return 0"}));
}

TEST_F(PolicyMapClass, EveryKeyword) {
  struct Row {
    Tokens tokens;
    Place place;
  };
  const std::vector<Row> rows = {
      {{{352, "p"}}, {.policy = "p"}}, {{{503, "p"}}, {.policy = "p"}}, {{{603, "p"}}, {.policy = "p"}},
      {{{652, "p"}}, {.policy = "p"}}, {{{665, "p"}}, {.policy = "p"}}, {{{356, "c"}}, {.name = "c"}},
      {{{576, "c"}}, {.name = "c"}},   {{{593, "c"}}, {.name = "c"}},   {{{659, "c"}}, {.name = "c"}},
      {{{668, "c"}}, {.name = "c"}},   {{{357, "b"}}, {.before = "b"}}, {{{577, "b"}}, {.before = "b"}},
      {{{594, "b"}}, {.before = "b"}}, {{{660, "b"}}, {.before = "b"}}, {{{669, "b"}}, {.before = "b"}},
      {{{502}}, {.type = 2}},          {{{601}}, {.type = 3}},          {{{651}}, {.type = 4}},
      {{{663}}, {.type = 5}},          {{{351}}, {.subtype = 1}},       {{{530}}, {.subtype = 2}},
      {{{654}}, {.subtype = 2}},       {{{664}}, {.subtype = 2}},       {{{602}}, {.subtype = 3}},
      {{{366}}, {.class_default = 1}}, {{{413}}, {.class_default = 1}}, {{{671}}, {.class_default = 1}},
      {{{673}}, {.class_default = 1}},
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    EXPECT_EQ(place(rows[index].tokens), sent(rows[index].place)) << "row " << index;
    Place removed = rows[index].place;
    removed.add = 0;
    EXPECT_EQ(place(rows[index].tokens, kNo), sent(removed)) << "row " << index;
  }
}

TEST_F(PolicyMapClass, EveryFormAsTheGrammarHasIt) {
  struct Row {
    Tokens tokens;
    Place place;
  };
  const std::vector<Row> rows = {
      {{{351}, {352, "p"}, {356, "c"}, {357, "b"}}, {.policy = "p", .name = "c", .before = "b"}},
      {{{502}, {530}, {503, "p"}, {576, "c"}, {577, "b"}},
       {.policy = "p", .name = "c", .before = "b", .type = 2, .subtype = 2}},
      {{{601}, {602}, {603, "p"}, {593, "c"}, {594, "b"}},
       {.policy = "p", .name = "c", .before = "b", .type = 3, .subtype = 3}},
      {{{651}, {654}, {652, "p"}, {659, "c"}, {660, "b"}},
       {.policy = "p", .name = "c", .before = "b", .type = 4, .subtype = 2}},
      {{{663}, {664}, {665, "p"}, {668, "c"}, {669, "b"}},
       {.policy = "p", .name = "c", .before = "b", .type = 5, .subtype = 2}},
      {{{352, "p"}, {366}}, {.policy = "p", .class_default = 1}},
      {{{663}, {664}, {665, "p"}, {671}}, {.policy = "p", .type = 5, .subtype = 2, .class_default = 1}},
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    EXPECT_EQ(place(rows[index].tokens), sent(rows[index].place)) << "row " << index;
  }
}

TEST_F(PolicyMapClass, ALaterTypeAndSubtypeWin) {
  const std::array<std::array<std::uint32_t, 2>, 4> types = {{{502, 2}, {601, 3}, {651, 4}, {663, 5}}};
  const std::array<std::array<std::uint32_t, 2>, 5> subtypes = {{{351, 1}, {530, 2}, {654, 2}, {664, 2}, {602, 3}}};
  for (const auto& [earlier, ignored] : types) {
    for (const auto& [later, type] : types) {
      EXPECT_EQ(place({{earlier}, {later}}), sent({.type = type})) << earlier << " then " << later;
    }
  }
  for (const auto& [earlier, ignored] : subtypes) {
    for (const auto& [later, subtype] : subtypes) {
      EXPECT_EQ(place({{earlier}, {later}}), sent({.subtype = subtype})) << earlier << " then " << later;
    }
  }
}

// The names of one role replace one another, whichever policy type their keywords belong to.
TEST_F(PolicyMapClass, ALaterNameReplacesTheWholeEarlierOne) {
  for (std::size_t earlier = 0; earlier < 5; ++earlier) {
    for (std::size_t later = 0; later < 5; ++later) {
      EXPECT_EQ(place({{kPolicyKeywords[earlier], k64}, {kPolicyKeywords[later], "ab"}}), sent({.policy = "ab"}));
      EXPECT_EQ(place({{kClassKeywords[earlier], k64}, {kClassKeywords[later], "ab"}}), sent({.name = "ab"}));
      EXPECT_EQ(place({{kBeforeKeywords[earlier], k64}, {kBeforeKeywords[later], "ab"}}), sent({.before = "ab"}));
      EXPECT_EQ(place({{kPolicyKeywords[earlier], "ab"}, {kPolicyKeywords[later], nullptr}}), sent({}));
      EXPECT_EQ(place({{kClassKeywords[earlier], "ab"}, {kClassKeywords[later], nullptr}}), sent({}));
      EXPECT_EQ(place({{kBeforeKeywords[earlier], "ab"}, {kBeforeKeywords[later], nullptr}}), sent({}));
    }
  }
}

TEST_F(PolicyMapClass, NamesAreCutAt64Characters) {
  const auto cut = [this](std::uint32_t keyword, auto placed) {
    EXPECT_EQ(place({{keyword, ""}}), placed("")) << "keyword " << keyword;
    EXPECT_EQ(place({{keyword, "w"}}), placed("w")) << "keyword " << keyword;
    EXPECT_EQ(place({{keyword, std::string(63, 'x')}}), placed(std::string(63, 'x'))) << "keyword " << keyword;
    EXPECT_EQ(place({{keyword, k64}}), placed(k64)) << "keyword " << keyword;
    EXPECT_EQ(place({{keyword, k64 + "y"}}), placed(k64)) << "keyword " << keyword;
    EXPECT_EQ(place({{keyword, k64 + "yyyyyy"}}), placed(k64)) << "keyword " << keyword;
  };
  for (std::uint32_t keyword : kPolicyKeywords)
    cut(keyword, [](const std::string& name) { return sent({.policy = name}); });
  for (std::uint32_t keyword : kClassKeywords)
    cut(keyword, [](const std::string& name) { return sent({.name = name}); });
  for (std::uint32_t keyword : kBeforeKeywords)
    cut(keyword, [](const std::string& name) { return sent({.before = name}); });
}

TEST_F(PolicyMapClass, EveryNameFullAtOnce) {
  EXPECT_EQ(place({{352, std::string(70, 'p')}, {356, std::string(70, 'c')}, {357, std::string(70, 'b')}}),
            sent({.policy = std::string(64, 'p'), .name = std::string(64, 'c'), .before = std::string(64, 'b')}));
}

TEST_F(PolicyMapClass, NamesTravelByteForByte) {
  EXPECT_EQ(place({{352, "\x01%s\xff"}, {356, "\t%n\x80"}, {357, " #\x7f"}}),
            sent({.policy = "\\x01%s\\xff", .name = "\\x09%n\\x80", .before = " #\\x7f"}));
  EXPECT_EQ(place({{352, "#p"}, {356, "#c"}, {357, "#b"}}), sent({.policy = "#p", .name = "#c", .before = "#b"}));
  EXPECT_EQ(place({{356, "class-default"}}), sent({.name = "class-default"}));
}

TEST_F(PolicyMapClass, TheClassDefaultKeywordLeavesTheClassName) {
  for (std::uint32_t keyword : kClassDefaultKeywords) {
    EXPECT_EQ(place({{356, "web"}, {keyword}}), sent({.name = "web", .class_default = 1})) << "keyword " << keyword;
    EXPECT_EQ(place({{keyword}, {356, "web"}}), sent({.name = "web", .class_default = 1})) << "keyword " << keyword;
    EXPECT_EQ(place({{keyword}, {keyword}}), sent({.class_default = 1})) << "keyword " << keyword;
  }
}

TEST_F(PolicyMapClass, IgnoresOtherKeywords) {
  const std::set<std::uint32_t> listed = {351, 352, 356, 357, 366, 413, 502, 503, 530, 576, 577, 593, 594, 601,
                                          602, 603, 651, 652, 654, 659, 660, 663, 664, 665, 668, 669, 671, 673};
  for (std::uint32_t keyword : {12,  350, 353, 355, 358, 365, 367, 412, 414, 501, 504, 505, 529, 531, 575, 578, 592,
                                595, 600, 604, 605, 650, 653, 655, 658, 661, 662, 666, 667, 670, 672, 674, 1501}) {
    EXPECT_EQ(place({{601}, {602}, {603, "p"}, {593, "c"}, {594, "b"}, {keyword}}),
              sent({.policy = "p", .name = "c", .before = "b", .type = 3, .subtype = 3}))
        << "keyword " << keyword;
  }
  for (const auto& [range, tokens] :
       unlisted_keywords({{601}, {602}, {603, "p"}, {593, "c"}, {594, "b"}, {366}}, listed)) {
    EXPECT_EQ(place(tokens),
              sent({.policy = "p", .name = "c", .before = "b", .type = 3, .subtype = 3, .class_default = 1}))
        << range;
  }
  for (const auto& [range, tokens] : unlisted_keywords({}, listed)) {
    EXPECT_EQ(place(tokens), sent({})) << range;
  }
}

TEST_F(PolicyMapClass, ReadsAll255Tokens) {
  Tokens tokens(252, Token(4711));
  tokens.emplace_back(352, "p");
  tokens.emplace_back(356, "c");
  tokens.emplace_back(357, "b");
  EXPECT_EQ(place(tokens), sent({.policy = "p", .name = "c", .before = "b"}));
}

TEST_F(PolicyMapClass, IdentityOfTheSession) {
  EXPECT_EQ(
      place({}, {.context_id = -1, .session_id = 0xfedcba98}),
      (Events{
          "bind 2",
          "call cm_update_policy_to_class(u16 65535, session 0xfedcba98, '', '', '', u8 1, u8 1, u8 0, u8 1, u32 0)",
          "return 0"}));
  EXPECT_EQ(
      place({}, {.context_id = -32768, .session_id = 0}),
      (Events{
          "bind 2",
          "call cm_update_policy_to_class(u16 32768, session 0x00000000, '', '', '', u8 1, u8 1, u8 0, u8 1, u32 0)",
          "return 0"}));
}

TEST_F(PolicyMapClass, AnyNonzeroNegatedIsTheNoForm) {
  for (std::uint32_t negated : {1U, 2U, 255U, 256U, 0x00010000U, 0x01000000U, 0x80000000U, 0xffffffffU}) {
    EXPECT_EQ(place({{356, "c"}}, {.negated = negated}), sent({.name = "c", .add = 0})) << negated;
    EXPECT_EQ(place({{356, "c"}, {357, "c"}}, {.negated = negated}), sent({.name = "c", .before = "c", .add = 0}))
        << negated;
  }
}

TEST_F(PolicyMapClass, TheCommandFormAndTheRuleDomainAreNotLookedAt) {
  host.rule_domain_answer = 0;
  host.rule_modify_answer = 1;
  for (std::uint32_t form : {1U, 362U, 364U, 0xffffffffU}) {
    EXPECT_EQ(place({{356, "c"}}, {.command_id = form}), sent({.name = "c"})) << form;
  }
}

TEST_F(PolicyMapClass, AClassCannotStandBeforeItself) {
  const Events refused = {"bind 2", out("Error: class name cannot be same as insert-before class name\n"),
                          "return 255"};
  for (std::uint32_t name : kClassKeywords) {
    for (std::uint32_t before : kBeforeKeywords) {
      EXPECT_EQ(place({{name, "a"}, {before, "a"}}), refused) << name << " " << before;
      EXPECT_EQ(place({{before, "a"}, {name, "a"}}), refused) << name << " " << before;
    }
  }
  EXPECT_EQ(place({{352, "p"}, {356, k64}, {357, k64}}), refused);
  // equal as far as names go
  EXPECT_EQ(place({{356, k64 + "y"}, {357, k64 + "z"}}), refused);
  EXPECT_EQ(place({{356, k64}, {357, k64 + "z"}}), refused);
  EXPECT_EQ(place({{366}, {356, "a"}, {357, "a"}}), refused);
  EXPECT_EQ(place({{356, "b"}, {357, "a"}, {356, "a"}}), refused);
}

TEST_F(PolicyMapClass, InTheNoFormItMay) {
  EXPECT_EQ(place({{352, "p"}, {356, "a"}, {357, "a"}}, kNo),
            sent({.policy = "p", .name = "a", .before = "a", .add = 0}));
  EXPECT_EQ(place({{356, k64 + "y"}, {357, k64 + "z"}}, kNo), sent({.name = k64, .before = k64, .add = 0}));
}

TEST_F(PolicyMapClass, NamesNextToEachOtherDiffer) {
  const std::string k63(63, 'x');
  EXPECT_EQ(place({}), sent({}));  // both empty
  EXPECT_EQ(place({{357, "a"}}), sent({.before = "a"}));
  EXPECT_EQ(place({{356, "a"}}), sent({.name = "a"}));
  EXPECT_EQ(place({{356, "a"}, {357, ""}}), sent({.name = "a"}));
  EXPECT_EQ(place({{356, "a"}, {357, "ab"}}), sent({.name = "a", .before = "ab"}));
  EXPECT_EQ(place({{356, "ab"}, {357, "a"}}), sent({.name = "ab", .before = "a"}));
  EXPECT_EQ(place({{356, "a"}, {357, "A"}}), sent({.name = "a", .before = "A"}));
  EXPECT_EQ(place({{356, k63 + "y"}, {357, k63 + "z"}}), sent({.name = k63 + "y", .before = k63 + "z"}));
  EXPECT_EQ(place({{356, k63}, {357, k63 + "z"}}), sent({.name = k63, .before = k63 + "z"}));
  EXPECT_EQ(place({{352, "a"}, {356, "b"}, {357, "a"}}), sent({.policy = "a", .name = "b", .before = "a"}));
  EXPECT_EQ(place({{356, "a"}, {357, "a"}, {357, "b"}}), sent({.name = "a", .before = "b"}));
}

// Not even the client is bound.
TEST_F(PolicyMapClass, SkippedExecutionDoesNothing) {
  for (std::int32_t bind_status : {0, -997}) {
    host.bind_status = bind_status;
    for (std::uint32_t skip : {1U, 2U, 256U, 0x00010000U, 0x80000000U, 0xffffffffU}) {
      EXPECT_EQ(place({{352}, {356}}, {.skip_execution = skip}), Events{"return 0"}) << skip;
      EXPECT_EQ(place({{356, "a"}, {357, "a"}}, {.skip_execution = skip}), Events{"return 0"}) << skip;
      EXPECT_EQ(place({{356, "a"}}, {.negated = 1, .skip_execution = skip}), Events{"return 0"}) << skip;
    }
  }
}

struct Failure {
  std::int32_t status;
  const char* message;
};

TEST_F(PolicyMapClass, AFailedBindIsPrinted) {
  const std::array failures = {
      Failure{-999, "Error: Called API is invalid or non-existant\n"},
      Failure{-998, "Error: Called API timed out\n"},
      Failure{-997, "Error: Transport error\n"},
      Failure{-996, "Error: Incorrect argument(s)/type mismatch\n"},
      Failure{-1, "Error: Called API encountered error\n"},
      Failure{1, "Error: text of 0x00000001, 100%d %s\n"},
      Failure{0x40f30001, "Error: text of 0x40f30001, 100%d %s\n"},
      // with a message of their own after a call only
      Failure{0x40f30009, "Error: text of 0x40f30009, 100%d %s\n"},
      Failure{0x40f3000a, "Error: text of 0x40f3000a, 100%d %s\n"},
      Failure{0x40f3013c, "Error: text of 0x40f3013c, 100%d %s\n"},
      Failure{0x40f30141, "Error: text of 0x40f30141, 100%d %s\n"},
      Failure{std::numeric_limits<std::int32_t>::min(), "Error: text of 0x80000000, 100%d %s\n"},
  };
  for (const Failure& failure : failures) {
    host.bind_status = failure.status;
    const Events failed = {"bind 2", out(failure.message), "return 255"};
    EXPECT_EQ(place({{352, "p"}, {356, "a"}, {357, "a"}}), failed);
    EXPECT_EQ(place({{356, "a"}}, kNo), failed);
    EXPECT_EQ(place({{352}, {356}, {357}}), failed);  // texts that would crash whoever read them
  }
}

TEST_F(PolicyMapClass, ABindWithMoreDataFailsSilently) {
  host.bind_status = 0x40f30000;
  EXPECT_EQ(place({{356, "a"}}), (Events{"bind 2", "return 255"}));
  EXPECT_EQ(place({{356, "a"}}, kNo), (Events{"bind 2", "return 255"}));
}

TEST_F(PolicyMapClass, BackendSuccesses) {
  for (std::int32_t status : {0, 0x40f30000}) {
    host.answer({.status = status});
    EXPECT_EQ(place({{352, "p"}, {356, "c"}}), sent({.policy = "p", .name = "c"})) << status;
    host.answer({.status = status});
    EXPECT_EQ(place({{352, "p"}, {356, "c"}}, kNo), sent({.policy = "p", .name = "c", .add = 0})) << status;
  }
}

TEST_F(PolicyMapClass, BackendFailures) {
  const std::array failures = {
      Failure{0x40f3000a, "Error: class-map 'web' not configured\n"},
      Failure{0x40f3013c, "Error: insert-before class-map 'mail' not configured\n"},
      Failure{0x40f30141, "Error: could not find class/match 'mail' in policy 'edge'\n"},
      Failure{0x40f30009, "Error: policy-map 'edge' not configured\n"},
      Failure{-999, "Error: Called API is invalid or non-existant\n"},
      Failure{-998, "Error: Called API timed out\n"},
      Failure{-997, "Error: Transport error\n"},
      Failure{-996, "Error: Incorrect argument(s)/type mismatch\n"},
      Failure{-1, "Error: Called API encountered error\n"},
      // of other objects, or next to a known one
      Failure{0x40f30001, "Error: text of 0x40f30001, 100%d %s\n"},
      Failure{0x40f30008, "Error: text of 0x40f30008, 100%d %s\n"},
      Failure{0x40f3000b, "Error: text of 0x40f3000b, 100%d %s\n"},
      Failure{0x40f3000f, "Error: text of 0x40f3000f, 100%d %s\n"},
      Failure{0x40f30010, "Error: text of 0x40f30010, 100%d %s\n"},
      Failure{0x40f3009b, "Error: text of 0x40f3009b, 100%d %s\n"},
      Failure{0x40f3009c, "Error: text of 0x40f3009c, 100%d %s\n"},
      Failure{0x40f300f2, "Error: text of 0x40f300f2, 100%d %s\n"},
      Failure{0x40f30106, "Error: text of 0x40f30106, 100%d %s\n"},
      Failure{0x40f3013b, "Error: text of 0x40f3013b, 100%d %s\n"},
      Failure{0x40f3013d, "Error: text of 0x40f3013d, 100%d %s\n"},
      Failure{0x40f30140, "Error: text of 0x40f30140, 100%d %s\n"},
      Failure{0x40f30142, "Error: text of 0x40f30142, 100%d %s\n"},
      Failure{1, "Error: text of 0x00000001, 100%d %s\n"},
      Failure{std::numeric_limits<std::int32_t>::min(), "Error: text of 0x80000000, 100%d %s\n"},
  };
  const Tokens tokens = {{352, "edge"}, {356, "web"}, {357, "mail"}};
  for (const Failure& failure : failures) {
    host.answer({.status = failure.status});
    EXPECT_EQ(place(tokens), (Events{"bind 2", call({.policy = "edge", .name = "web", .before = "mail"}),
                                     out(failure.message), "return 255"}));
    host.answer({.status = failure.status});
    EXPECT_EQ(place(tokens, kNo), (Events{"bind 2", call({.policy = "edge", .name = "web", .before = "mail", .add = 0}),
                                          out(failure.message), "return 255"}));
  }
}

// Messages show the names as they were sent, empty ones too.
TEST_F(PolicyMapClass, NamesInMessages) {
  const auto failed = [this](std::int32_t status, const Tokens& tokens, const Place& sent_place,
                             const std::string& message) {
    host.answer({.status = status});
    EXPECT_EQ(place(tokens), (Events{"bind 2", call(sent_place), out(message), "return 255"}));
  };
  failed(0x40f3000a, {}, {}, "Error: class-map '' not configured\n");
  failed(0x40f3013c, {}, {}, "Error: insert-before class-map '' not configured\n");
  failed(0x40f30141, {}, {}, "Error: could not find class/match '' in policy ''\n");
  failed(0x40f30009, {}, {}, "Error: policy-map '' not configured\n");
  const Tokens odd = {{352, "%s%n"}, {356, "%d"}, {357, "%x"}};
  const Place odd_place = {.policy = "%s%n", .name = "%d", .before = "%x"};
  failed(0x40f3000a, odd, odd_place, "Error: class-map '%d' not configured\n");
  failed(0x40f3013c, odd, odd_place, "Error: insert-before class-map '%x' not configured\n");
  failed(0x40f30141, odd, odd_place, "Error: could not find class/match '%x' in policy '%s%n'\n");
  failed(0x40f30009, odd, odd_place, "Error: policy-map '%s%n' not configured\n");
  const std::string p(64, 'p');
  const std::string c(64, 'c');
  const std::string b(64, 'b');
  const Tokens full = {{352, p + "++"}, {356, c + "++"}, {357, b + "++"}};
  const Place full_place = {.policy = p, .name = c, .before = b};
  failed(0x40f3000a, full, full_place, "Error: class-map '" + c + "' not configured\n");
  failed(0x40f3013c, full, full_place, "Error: insert-before class-map '" + b + "' not configured\n");
  failed(0x40f30141, full, full_place, "Error: could not find class/match '" + b + "' in policy '" + p + "'\n");
  failed(0x40f30009, full, full_place, "Error: policy-map '" + p + "' not configured\n");
}

TEST_F(PolicyMapClass, NothingIsRememberedBetweenCommands) {
  EXPECT_EQ(place({{663}, {664}, {665, k64}, {668, "a"}, {669, "b"}, {671}}, kNo).back(), "return 0");
  EXPECT_EQ(place({}), sent({}));
}

}  // namespace
}  // namespace kvel::cli::test::policy_map_class_test
