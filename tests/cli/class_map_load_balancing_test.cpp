// The HTTP load-balancing rules by URL, cookie, header and source address, which serve the inline matches of a
// policy-map too.
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::class_map_load_balancing_test {
namespace {

// ---- what the four rules share

// A rule and its call when none of its own keywords is typed.
struct SharedRule {
  const char* handler;
  std::string call;  // <name>, <before>, <line> and <inline> stand for what the tests vary
  bool has_insert_before;
};

const std::array kSharedRules = {
    SharedRule{"kvelclassmap_config_httplburl",
               "call cm_update_lbclass_to_url(u16 7, '<name>', '<before>', u32 <line>, u32 <inline>, '', '', u8 1)",
               true},
    SharedRule{"kvelclassmap_config_httplbcookie",
               "call cm_update_lbclass_to_cookie(u16 7, '<name>', '<before>', u32 <line>, u32 <inline>, u32 0, '', '', "
               "u8 1)",
               true},
    SharedRule{"kvelclassmap_config_httplbhdr",
               "call cm_update_lbclass_to_header(u16 7, '<name>', '<before>', u32 <line>, u32 <inline>, '', '', u8 1)",
               true},
    SharedRule{"kvelclassmap_config_httplbsrcaddr",
               "call cm_update_lbclass_to_srcaddr(u16 7, '<name>', u32 <line>, u32 0, u32 4294967295, u32 0, "
               "u32 <inline>, u8 1)",
               false},
};

struct Shared {
  std::string name = {};
  std::string before = {};
  std::string line = "0";
  std::string in_policy = "0";
};

Events sent(const SharedRule& rule, const Shared& shared) {
  std::string call = rule.call;
  const auto put = [&call](std::string_view place, const std::string& value) {
    const std::size_t at = call.find(place);
    if (at != std::string::npos) call.replace(at, place.size(), value);
  };
  put("<line>", shared.line);
  put("<inline>", shared.in_policy);
  put("<before>", shared.before);
  put("<name>", shared.name);
  return {"bind 2", call, "return 0"};
}

using ClassMapLoadBalancing = PluginTest;

TEST_F(ClassMapLoadBalancing, AnInlineMatchOfAPolicyMap) {
  for (const SharedRule& rule : kSharedRules) {
    EXPECT_EQ(run(rule.handler, {{505, "web"}, {504, 20}}), sent(rule, {.name = "web", .line = "20", .in_policy = "1"}))
        << rule.handler;
  }
}

TEST_F(ClassMapLoadBalancing, EverySharedKeyword) {
  for (const SharedRule& rule : kSharedRules) {
    EXPECT_EQ(run(rule.handler, {{18, "web"}}), sent(rule, {.name = "web"})) << rule.handler;
    EXPECT_EQ(run(rule.handler, {{505, "web"}}), sent(rule, {.name = "web", .in_policy = "1"})) << rule.handler;
    EXPECT_EQ(run(rule.handler, {{505, ""}}), sent(rule, {.in_policy = "1"})) << rule.handler;
    EXPECT_EQ(run(rule.handler, {{505, nullptr}}), sent(rule, {.in_policy = "1"})) << rule.handler;
    EXPECT_EQ(run(rule.handler, {{19, 20}}), sent(rule, {.line = "20"})) << rule.handler;
    EXPECT_EQ(run(rule.handler, {{504, 20}}), sent(rule, {.line = "20"})) << rule.handler;
    EXPECT_EQ(run(rule.handler, {{19, 20}, {504, 30}}), sent(rule, {.line = "30"})) << rule.handler;
    EXPECT_EQ(run(rule.handler, {{504, 30}, {19, 20}}), sent(rule, {.line = "20"})) << rule.handler;
  }
}

// Either name replaces the other; the flag stays once it is set.
TEST_F(ClassMapLoadBalancing, TheNameOfAClassMapLeavesTheInlineFlag) {
  for (const SharedRule& rule : kSharedRules) {
    EXPECT_EQ(run(rule.handler, {{505, "inline"}, {18, "ab"}}), sent(rule, {.name = "ab", .in_policy = "1"}))
        << rule.handler;
    EXPECT_EQ(run(rule.handler, {{18, "web"}, {505, "ab"}}), sent(rule, {.name = "ab", .in_policy = "1"}))
        << rule.handler;
  }
}

TEST_F(ClassMapLoadBalancing, NamesOfInlineMatchesAreCutAt64Characters) {
  const std::string longest(64, 'x');
  for (const SharedRule& rule : kSharedRules) {
    for (const std::string& typed : {longest, longest + "y", longest + "yyyyyy"}) {
      EXPECT_EQ(run(rule.handler, {{505, typed}}), sent(rule, {.name = longest, .in_policy = "1"})) << rule.handler;
    }
  }
}

// ---- cookie

class ClassMapBalancedCookie : public PluginTest {
 protected:
  Events match(const Tokens& tokens, const Form& form = {}) {
    return run("kvelclassmap_config_httplbcookie", tokens, form);
  }
};

Events cookie(const std::string& flag, const std::string& name, const std::string& value) {
  return {"bind 2",
          "call cm_update_lbclass_to_cookie(u16 7, '', '', u32 0, u32 0, u32 " + flag + ", '" + name + "', '" + value +
              "', u8 1)",
          "return 0"};
}

TEST_F(ClassMapBalancedCookie, EveryKeyword) {
  EXPECT_EQ(match({{506, "session"}}), cookie("0", "session", ""));
  EXPECT_EQ(match({{507, "value"}}), cookie("0", "", "value"));
  EXPECT_EQ(match({{532}}), cookie("1", "", ""));
  EXPECT_EQ(match({{532}, {532}}), cookie("1", "", ""));
  EXPECT_EQ(match({{532}, {506, "session"}, {507, "value"}}), cookie("1", "session", "value"));
  EXPECT_EQ(match({{506, "a-long-name"}, {507, "a long value"}, {506, "ab"}, {507, "v"}}), cookie("0", "ab", "v"));
}

// ---- header

class ClassMapBalancedHeader : public PluginTest {
 protected:
  Events match(const Tokens& tokens, const Form& form = {}) {
    return run("kvelclassmap_config_httplbhdr", tokens, form);
  }
};

Events header(const std::string& name, const std::string& value) {
  return {"bind 2",
          "call cm_update_lbclass_to_header(u16 7, '', '', u32 0, u32 0, '" + name + "', '" + value + "', u8 1)",
          "return 0"};
}

TEST_F(ClassMapBalancedHeader, EveryWellKnownName) {
  struct Row {
    std::uint32_t keyword_id;
    const char* name;
  };
  const std::array rows = {
      Row{511, "Via"},
      Row{512, "User-Agent"},
      Row{513, "Transfer-Encoding"},
      Row{514, "Referer"},
      Row{515, "Pragma"},
      Row{516, "If-Match"},
      Row{517, "Host"},
      Row{518, "From"},
      Row{519, "Expect"},
      Row{520, "Content-MD5"},
      Row{521, "Connection"},
      Row{522, "Cache-Control"},
      Row{523, "Authorization"},
      Row{524, "Accept-Language"},
      Row{525, "Accept-Encoding"},
      Row{526, "Accept-Charset"},
      Row{527, "Accept"},
  };
  for (const auto& [keyword, name] : rows) {
    EXPECT_EQ(match({{keyword}}), header(name, "")) << "keyword " << keyword;
    EXPECT_EQ(match({{510, "value"}, {keyword}}), header(name, "value")) << "keyword " << keyword;
    // Either kind of name replaces the other whole.
    EXPECT_EQ(match({{509, std::string(64, 'h')}, {keyword}}), header(name, "")) << "keyword " << keyword;
    EXPECT_EQ(match({{keyword}, {509, "H"}}), header("H", "")) << "keyword " << keyword;
    EXPECT_EQ(match({{513}, {keyword}}), header(name, "")) << "keyword " << keyword;
  }
}

// ---- source address

class ClassMapBalancedSource : public PluginTest {
 protected:
  Events match(const Tokens& tokens, const Form& form = {}) {
    return run("kvelclassmap_config_httplbsrcaddr", tokens, form);
  }
};

Events source(std::uint32_t address, std::uint32_t mask, const std::string& mask_given) {
  return {"bind 2",
          "call cm_update_lbclass_to_srcaddr(u16 7, '', u32 0, u32 " + std::to_string(address) + ", u32 " +
              std::to_string(mask) + ", u32 " + mask_given + ", u32 0, u8 1)",
          "return 0"};
}

TEST_F(ClassMapBalancedSource, WithoutAMask) {
  EXPECT_EQ(match({{570, 0x0a010101}}), source(0x0a010101, 0xffffffff, "0"));
}

TEST_F(ClassMapBalancedSource, WithAMaskOfZero) {
  EXPECT_EQ(match({{570, 0x0a010101}, {571, 0}}), source(0x0a010101, 0, "1"));
}

TEST_F(ClassMapBalancedSource, EveryKeyword) {
  EXPECT_EQ(match({{571, 0xffff0000}}), source(0, 0xffff0000, "1"));
  EXPECT_EQ(match({{571, 0xffffffff}}), source(0, 0xffffffff, "1"));
  EXPECT_EQ(match({{571, 0xffff0000}, {570, 0x0a010101}}), source(0x0a010101, 0xffff0000, "1"));
  EXPECT_EQ(match({{570, nullptr}}), source(0, 0xffffffff, "0"));
  EXPECT_EQ(match({{571, nullptr}}), source(0, 0, "1"));
  EXPECT_EQ(match({{570, 0x0a010101}, {570, 0x0a010102}}), source(0x0a010102, 0xffffffff, "0"));
  EXPECT_EQ(match({{571, 0xff000000}, {571, 0xffff0000}}), source(0, 0xffff0000, "1"));
}

TEST_F(ClassMapBalancedSource, NothingIsChecked) {
  for (std::uint32_t address : {1U, 0x00ffffffU, 0x7f000001U, 0xe0000001U, 0xf0000001U, 0xffffffffU}) {
    EXPECT_EQ(match({{570, address}}), source(address, 0xffffffff, "0")) << address;
  }
  for (std::uint32_t mask : {1U, 0x000000ffU, 0xff00ff00U, 0x7fffffffU}) {
    EXPECT_EQ(match({{571, mask}}), source(0, mask, "1")) << mask;
  }
}

}  // namespace
}  // namespace kvel::cli::test::class_map_load_balancing_test
