// kvelpolicymap_configinspect_l3http and kvelpolicymap_cfginsp_l7http_action: HTTP inspection of a class, and what to
// do with a match of it. What they share with the other actions is tested with those.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::policy_map_http_inspection_test {
namespace {

const std::string k64(64, 'x');  // the longest name

// ---- the inspection of a class

class PolicyMapHttpInspection : public PluginTest {
 protected:
  Events inspect(const Tokens& tokens, const Form& form = {}) {
    return run("kvelpolicymap_configinspect_l3http", tokens, form);
  }
};

std::string inspection_call(const std::string& policy, const std::string& name, const std::string& record) {
  return "call cm_update_l3_http_insp_config(u16 7, session 0x01020304, u8 1, '" + policy + "', '" + name +
         "', buffer[156] " + record + ")";
}

Events inspected(const std::string& policy, const std::string& name, const std::string& record) {
  return {"bind 2", inspection_call(policy, name, record), "return 0"};
}

TEST_F(PolicyMapHttpInspection, EveryKeyword) {
  EXPECT_EQ(inspect({}), inspected("", "", "00*156"));
  EXPECT_EQ(inspect({{352, "p"}}), inspected("p", "", "00*156"));
  EXPECT_EQ(inspect({{356, "c"}}), inspected("", "c", "00*156"));
  EXPECT_EQ(inspect({{385}}), inspected("", "", "00000001 00*152"));
  EXPECT_EQ(inspect({{394}}), inspected("", "", "00*7 01 00*148"));
  EXPECT_EQ(inspect({{386, "insp"}}), inspected("", "", "00*89 696e7370 00*63"));
  EXPECT_EQ(inspect({{385}, {394}}), inspected("", "", "0000000100000001 00*148"));
  EXPECT_EQ(inspect({{394}, {394}, {385}, {385}}), inspected("", "", "0000000100000001 00*148"));
}

// The layout once more, field by field.
TEST_F(PolicyMapHttpInspection, EveryFieldIsAtItsPlace) {
  struct Field {
    std::uint32_t keyword_id;
    std::size_t offset;
    std::size_t width;
    std::string bytes;
  };
  const std::vector<Field> fields = {
      {385, 0, 4, std::string("\0\0\0\1", 4)},
      {394, 4, 4, std::string("\0\0\0\1", 4)},
      {386, 89, 65, field("insp", 65)},
      {386, 89, 65, field(k64, 65)},
  };
  for (const auto& [keyword_id, offset, width, bytes] : fields) {
    ASSERT_EQ(bytes.size(), width);
    std::string record(156, '\0');
    record.replace(offset, width, bytes);
    const Token token = width == 65 ? Token(keyword_id, bytes.c_str()) : Token(keyword_id);
    EXPECT_EQ(inspect({token}), inspected("", "", hex(record))) << "keyword " << keyword_id;
  }
}

TEST_F(PolicyMapHttpInspection, NamesOfInspectionPolicyMapsAreCutAt64Characters) {
  EXPECT_EQ(inspect({{386, ""}}), inspected("", "", "00*156"));
  EXPECT_EQ(inspect({{386, nullptr}}), inspected("", "", "00*156"));
  EXPECT_EQ(inspect({{386, "w"}}), inspected("", "", "00*89 77 00*66"));
  EXPECT_EQ(inspect({{386, std::string(63, 'x')}}), inspected("", "", "00*89 78*63 00000000"));
  EXPECT_EQ(inspect({{386, k64}}), inspected("", "", "00*89 78*64 000000"));
  EXPECT_EQ(inspect({{386, k64 + "y"}}), inspected("", "", "00*89 78*64 000000"));
  EXPECT_EQ(inspect({{386, k64 + "yyyyyy"}}), inspected("", "", "00*89 78*64 000000"));
  EXPECT_EQ(inspect({{386, k64 + std::string(65536, 'y')}}), inspected("", "", "00*89 78*64 000000"));
}

TEST_F(PolicyMapHttpInspection, ALaterNameReplacesTheWholeEarlierOne) {
  EXPECT_EQ(inspect({{386, k64 + "yyyyyy"}, {386, "insp"}}), inspected("", "", "00*89 696e7370 00*63"));
  EXPECT_EQ(inspect({{386, k64}, {386, nullptr}}), inspected("", "", "00*156"));
  EXPECT_EQ(inspect({{386, k64}, {386, ""}}), inspected("", "", "00*156"));
}

TEST_F(PolicyMapHttpInspection, NamesTravelByteForByte) {
  EXPECT_EQ(inspect({{386, "\x01 #%s\xff"}}), inspected("", "", "00*89 0120232573ff 00*61"));
}

TEST_F(PolicyMapHttpInspection, EveryFieldFullAtOnce) {
  EXPECT_EQ(
      inspect({{386, std::string(70, 'i')}, {394}, {356, std::string(70, 'c')}, {385}, {352, std::string(70, 'p')}}),
      inspected(std::string(64, 'p'), std::string(64, 'c'), "0000000100000001 00*81 69*64 000000"));
}

// The policy-map in the message is the one that should inspect, not the one of the class.
TEST_F(PolicyMapHttpInspection, ObjectsThatAreNotConfigured) {
  const auto failed = [this](std::int32_t status, const Tokens& tokens, const std::string& call,
                             const std::string& message) {
    host.answer({.status = status});
    EXPECT_EQ(inspect(tokens), (Events{"bind 2", call, out(message), "return 1"}));
  };
  const Tokens tokens = {{352, "edge"}, {356, "web"}, {386, "insp"}};
  const std::string call = inspection_call("edge", "web", "00*89 696e7370 00*63");
  failed(0x40f30009, tokens, call, "Error: policy-map 'insp' not configured\n");
  failed(0x40f3000a, tokens, call, "Error: class-map 'web' not configured\n");
  failed(0x40f30009, {{352, "edge"}}, inspection_call("edge", "", "00*156"), "Error: policy-map '' not configured\n");
  failed(0x40f3000a, {{352, "edge"}}, inspection_call("edge", "", "00*156"), "Error: class-map '' not configured\n");
  failed(0x40f30009, {{386, k64 + "yy"}}, inspection_call("", "", "00*89 78*64 000000"),
         "Error: policy-map '" + k64 + "' not configured\n");
  failed(0x40f3000a, {{356, k64 + "yy"}}, inspection_call("", k64, "00*156"),
         "Error: class-map '" + k64 + "' not configured\n");
  failed(0x40f30009, {{386, "%s%n"}, {356, "%d"}}, inspection_call("", "%d", "00*89 2573256e 00*63"),
         "Error: policy-map '%s%n' not configured\n");
  failed(0x40f3000a, {{386, "%s%n"}, {356, "%d"}}, inspection_call("", "%d", "00*89 2573256e 00*63"),
         "Error: class-map '%d' not configured\n");
}

TEST_F(PolicyMapHttpInspection, ObjectsThatAreNotConfiguredInTheNoForm) {
  const std::string call =
      "call cm_update_l3_http_insp_config(u16 7, session 0x01020304, u8 0, 'edge', 'web', buffer[156] "
      "00*89 696e7370 00*63)";
  host.answer({.status = 0x40f30009});
  EXPECT_EQ(inspect({{352, "edge"}, {356, "web"}, {386, "insp"}}, kNo),
            (Events{"bind 2", call, out("Error: policy-map 'insp' not configured\n"), "return 1"}));
  host.answer({.status = 0x40f3000a});
  EXPECT_EQ(inspect({{352, "edge"}, {356, "web"}, {386, "insp"}}, kNo),
            (Events{"bind 2", call, out("Error: class-map 'web' not configured\n"), "return 1"}));
}

// ---- the action of a match

class PolicyMapHttpAction : public PluginTest {
 protected:
  Events act(const Tokens& tokens, const Form& form = {}) {
    return run("kvelpolicymap_cfginsp_l7http_action", tokens, form);
  }
};

std::string action_call(const std::string& policy, const std::string& name, const std::string& code) {
  return "call cm_update_l7_http_insp_action(u16 7, session 0x01020304, u8 1, '" + policy + "', '" + name + "', u8 " +
         code + ")";
}

Events acted(const std::string& policy, const std::string& name, const std::string& code) {
  return {"bind 2", action_call(policy, name, code), "return 0"};
}

TEST_F(PolicyMapHttpAction, EveryKeyword) {
  EXPECT_EQ(act({}), acted("", "", "0"));
  EXPECT_EQ(act({{603, "p"}}), acted("p", "", "0"));
  EXPECT_EQ(act({{593, "a"}}), acted("", "a", "0"));
  EXPECT_EQ(act({{605, "c"}}), acted("", "c", "0"));
  EXPECT_EQ(act({{607}}), acted("", "", "1"));
  EXPECT_EQ(act({{609}}), acted("", "", "2"));
  EXPECT_EQ(act({{608}}), acted("", "", "0"));
}

TEST_F(PolicyMapHttpAction, LogUpgradesTheActionBeforeIt) {
  struct Row {
    Tokens tokens;
    const char* code;
  };
  const std::vector<Row> rows = {
      {{{607}, {608}}, "3"},                       // permit log
      {{{609}, {608}}, "4"},                       // reset log
      {{{608}, {607}}, "1"},                       // log permit
      {{{608}, {609}}, "2"},                       // log reset
      {{{607}, {608}, {608}}, "3"},                // permit log log
      {{{609}, {608}, {608}}, "4"},                // reset log log
      {{{608}, {607}, {608}}, "3"},                // log permit log
      {{{608}, {609}, {608}}, "4"},                // log reset log
      {{{607}, {608}, {607}}, "1"},                // permit log permit
      {{{607}, {608}, {609}}, "2"},                // permit log reset
      {{{609}, {608}, {607}}, "1"},                // reset log permit
      {{{609}, {608}, {609}}, "2"},                // reset log reset
      {{{607}, {608}, {609}, {608}}, "4"},         // permit log reset log
      {{{609}, {608}, {607}, {608}}, "3"},         // reset log permit log
      {{{607}, {609}}, "2"},                       // permit reset
      {{{609}, {607}}, "1"},                       // reset permit
      {{{607}, {609}, {608}}, "4"},                // permit reset log
      {{{608}, {608}}, "0"},                       // log log
      {{{607}, {4711}, {608}}, "3"},               // with another keyword between them
      {{{607}, {603, ""}, {605, ""}, {608}}, "3"}  //
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    EXPECT_EQ(act(rows[index].tokens), acted("", "", rows[index].code)) << "row " << index;
  }
}

TEST_F(PolicyMapHttpAction, WithoutAnActionNameItIsJoined) {
  EXPECT_EQ(act({{603, "p1"}, {605, "c1"}}), acted("p1", "p1c1", "0"));
  EXPECT_EQ(act({{605, "c1"}, {603, "p1"}, {607}}), acted("p1", "p1c1", "1"));
  EXPECT_EQ(act({{593, ""}, {603, "p1"}, {605, "c1"}}), acted("p1", "p1c1", "0"));
  EXPECT_EQ(act({{593, nullptr}, {603, "p1"}, {605, "c1"}}), acted("p1", "p1c1", "0"));
  EXPECT_EQ(act({{593, "a1"}, {603, "p1"}, {605, "c1"}, {593, ""}}), acted("p1", "p1c1", "0"));
  // nothing to join with
  EXPECT_EQ(act({{603, "p1"}}), acted("p1", "", "0"));
  EXPECT_EQ(act({{603, "p1"}, {605, ""}}), acted("p1", "", "0"));
  EXPECT_EQ(act({{603, "p1"}, {605, nullptr}}), acted("p1", "", "0"));
  EXPECT_EQ(act({{603, "p1"}, {605, "c1"}, {605, ""}}), acted("p1", "", "0"));
  EXPECT_EQ(act({{605, "c1"}}), acted("", "c1", "0"));
  EXPECT_EQ(act({{603, ""}, {605, "c1"}}), acted("", "c1", "0"));
  // the names are no formats
  EXPECT_EQ(act({{603, "%s%n"}, {605, "%d"}}), acted("%s%n", "%s%n%d", "0"));
  EXPECT_EQ(act({{603, "\x01\xff"}, {605, "\x80"}}), acted("\\x01\\xff", "\\x01\\xff\\x80", "0"));
}

TEST_F(PolicyMapHttpAction, AnActionNameIsSentAsItIs) {
  EXPECT_EQ(act({{603, "p1"}, {605, "c1"}, {593, "a1"}}), acted("p1", "a1", "0"));
  EXPECT_EQ(act({{593, "a1"}, {605, "c1"}, {603, "p1"}}), acted("p1", "a1", "0"));
  EXPECT_EQ(act({{593, k64 + "y"}, {605, "c1"}, {603, "p1"}}), acted("p1", k64, "0"));
}

TEST_F(PolicyMapHttpAction, JoinedNamesAreCutAt63Characters) {
  const auto joined = [this](std::size_t policy, std::size_t name, const std::string& action) {
    EXPECT_EQ(act({{603, std::string(policy, 'p')}, {605, std::string(name, 'c')}}),
              acted(std::string(std::min<std::size_t>(policy, 64), 'p'), action, "0"))
        << policy << " and " << name;
  };
  const auto letters = [](std::size_t policy, std::size_t name) {
    return std::string(policy, 'p') + std::string(name, 'c');
  };
  joined(31, 31, letters(31, 31));
  joined(31, 32, letters(31, 32));
  joined(32, 32, letters(32, 31));
  joined(1, 61, letters(1, 61));
  joined(1, 62, letters(1, 62));
  joined(1, 63, letters(1, 62));
  joined(0, 62, letters(0, 62));
  joined(0, 63, letters(0, 63));
  joined(0, 64, letters(0, 63));
  joined(62, 1, letters(62, 1));
  joined(62, 2, letters(62, 1));
  joined(63, 1, letters(63, 0));
  joined(64, 1, letters(63, 0));
  joined(64, 64, letters(63, 0));
  joined(70, 70, letters(63, 0));
  // the class name itself is cut at 64, the joined name at 63 all the same
  joined(0, 70, letters(0, 63));
}

TEST_F(PolicyMapHttpAction, ALaterNameReplacesTheWholeEarlierOne) {
  EXPECT_EQ(act({{605, k64}, {603, "p"}, {605, "ab"}}), acted("p", "pab", "0"));
  EXPECT_EQ(act({{605, "ab"}, {603, k64}, {603, "p"}}), acted("p", "pab", "0"));
}

// The class-map in the message is the action's name as it was sent.
TEST_F(PolicyMapHttpAction, ObjectsThatAreNotConfigured) {
  const auto failed = [this](std::int32_t status, const Tokens& tokens, const std::string& call,
                             const std::string& message) {
    host.answer({.status = status});
    EXPECT_EQ(act(tokens), (Events{"bind 2", call, out(message), "return 1"}));
  };
  const Tokens named = {{603, "p1"}, {605, "c1"}, {593, "a1"}};
  failed(0x40f30009, named, action_call("p1", "a1", "0"), "Error: policy-map 'p1' not configured\n");
  failed(0x40f3000a, named, action_call("p1", "a1", "0"), "Error: class-map 'a1' not configured\n");
  const Tokens joined = {{603, "p1"}, {605, "c1"}};
  failed(0x40f30009, joined, action_call("p1", "p1c1", "0"), "Error: policy-map 'p1' not configured\n");
  failed(0x40f3000a, joined, action_call("p1", "p1c1", "0"), "Error: class-map 'p1c1' not configured\n");
  failed(0x40f30009, {}, action_call("", "", "0"), "Error: policy-map '' not configured\n");
  failed(0x40f3000a, {}, action_call("", "", "0"), "Error: class-map '' not configured\n");
  const Tokens formats = {{603, "%s%n"}, {605, "%d"}};
  failed(0x40f30009, formats, action_call("%s%n", "%s%n%d", "0"), "Error: policy-map '%s%n' not configured\n");
  failed(0x40f3000a, formats, action_call("%s%n", "%s%n%d", "0"), "Error: class-map '%s%n%d' not configured\n");
  const std::string k63(63, 'x');
  const Tokens full = {{603, k64 + "yy"}, {605, "c1"}};
  failed(0x40f30009, full, action_call(k64, k63, "0"), "Error: policy-map '" + k64 + "' not configured\n");
  failed(0x40f3000a, full, action_call(k64, k63, "0"), "Error: class-map '" + k63 + "' not configured\n");
}

}  // namespace
}  // namespace kvel::cli::test::policy_map_http_inspection_test
