// kvelpolicymap_configclass: the place of a class in a policy-map.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::policy_map_class_test {
namespace {

class PolicyMapClass : public PluginTest {
 protected:
  Events place(const Tokens& tokens, const Form& form = {}) { return run("kvelpolicymap_configclass", tokens, form); }
};

constexpr std::array<std::uint32_t, 5> kClassKeywords = {356, 576, 593, 659, 668};
constexpr std::array<std::uint32_t, 5> kBeforeKeywords = {357, 577, 594, 660, 669};
constexpr std::array<std::uint32_t, 4> kClassDefaultKeywords = {366, 413, 671, 673};
const std::string k64(64, 'x');  // the longest name

// What the call carries; with its defaults, what a command without tokens sends.
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

TEST_F(PolicyMapClass, TheClassDefaultKeywordLeavesTheClassName) {
  for (std::uint32_t keyword : kClassDefaultKeywords) {
    EXPECT_EQ(place({{356, "web"}, {keyword}}), sent({.name = "web", .class_default = 1})) << "keyword " << keyword;
    EXPECT_EQ(place({{keyword}, {356, "web"}}), sent({.name = "web", .class_default = 1})) << "keyword " << keyword;
    EXPECT_EQ(place({{keyword}, {keyword}}), sent({.class_default = 1})) << "keyword " << keyword;
  }
}

TEST_F(PolicyMapClass, AnyNonzeroNegatedIsTheNoForm) {
  for (std::uint32_t negated : {1U, 2U, 255U, 256U, 0x00010000U, 0x01000000U, 0x80000000U, 0xffffffffU}) {
    EXPECT_EQ(place({{356, "c"}}, {.negated = negated}), sent({.name = "c", .add = 0})) << negated;
    EXPECT_EQ(place({{356, "c"}, {357, "c"}}, {.negated = negated}), sent({.name = "c", .before = "c", .add = 0}))
        << negated;
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

}  // namespace
}  // namespace kvel::cli::test::policy_map_class_test
