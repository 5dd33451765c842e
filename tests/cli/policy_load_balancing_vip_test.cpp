// The load-balancing options of a class in a layer-3/4 policy-map: the virtual address's state and the policy-map that
// the class hands its traffic to.
#include <array>
#include <cstdint>
#include <string>

#include "tests/cli/plugin_test.h"
#include "tests/cli/wire_record.h"

namespace kvel::cli::test::policy_load_balancing_vip_test {
namespace {

using namespace std::string_literals;

constexpr std::size_t kSize = 160;

class PolicyMapVip : public PluginTest {
 protected:
  Events act(const Tokens& tokens, const Form& form = {}) {
    return run("kvelpolicymap_configloadbalance", tokens, form);
  }
};

// The call of a command without names.
Events sent(std::initializer_list<Part> parts) {
  return {"bind 2",
          "call cm_update_l3_lb_config(u16 7, session 0x01020304, u8 1, '', '', " + buffer(record(kSize, parts)) + ")",
          "return 0"};
}

TEST_F(PolicyMapVip, EveryFieldAtOnce) {
  const std::string bytes =
      hex("\x00\x00\x00\x01"     // in service
          "\x00\x00\x00\x02"     // ICMP reply
          "\x00\x00\x00\x02"     // route advertisement
          "\x01\x02\x03\x04"     // route metric
          "\x00\x00\x00\x00"s +  // zero
          field("object", 65) +  // second object name
          field("l7-lb", 65) +   // layer-7 load-balancing policy-map name
          "\x00\x00"             // zero
          "\x00\x00\x00\x01"     // option
          "\xf7\x00\x00\x00"s    // presence bits
      );
  const Tokens tokens = {{352, "p1"}, {356, "c1"},     {404},          {416}, {409, 0x01020304},
                         {406},       {412, "object"}, {402, "l7-lb"}, {408}};
  EXPECT_EQ(
      act(tokens),
      (Events{"bind 2",
              "call cm_update_l3_lb_config(u16 7, session 0x01020304, u8 1, 'p1', 'c1', buffer[160] " + bytes + ")",
              "return 0"}));
  EXPECT_EQ(
      act(tokens, kNo),
      (Events{"bind 2",
              "call cm_update_l3_lb_config(u16 7, session 0x01020304, u8 0, 'p1', 'c1', buffer[160] " + bytes + ")",
              "return 0"}));
}

TEST_F(PolicyMapVip, EveryKeyword) {
  EXPECT_EQ(act({{404}}), sent({{0, "\0\0\0\1"s}, {156, "\x80\0\0\0"s}}));
  EXPECT_EQ(act({{415}}), sent({{4, "\0\0\0\1"s}, {156, "\x40\0\0\0"s}}));
  EXPECT_EQ(act({{416}}), sent({{4, "\0\0\0\2"s}, {156, "\x40\0\0\0"s}}));
  EXPECT_EQ(act({{405}}), sent({{8, "\0\0\0\1"s}, {156, "\x20\0\0\0"s}}));
  EXPECT_EQ(act({{406}}), sent({{8, "\0\0\0\2"s}, {156, "\x20\0\0\0"s}}));
  EXPECT_EQ(act({{409, 77}}), sent({{12, "\0\0\0\x4d"s}, {156, "\x10\0\0\0"s}}));
  EXPECT_EQ(act({{412, "object"}}), sent({{20, "object"}, {156, "\x04\0\0\0"s}}));
  EXPECT_EQ(act({{402, "l7-lb"}}), sent({{85, "l7-lb"}, {156, "\x02\0\0\0"s}}));
  EXPECT_EQ(act({{408}}), sent({{152, "\0\0\0\1"s}, {156, "\x01\0\0\0"s}}));
}

TEST_F(PolicyMapVip, MetricsAreNotChecked) {
  EXPECT_EQ(act({{409, 0}}), sent({{156, "\x10\0\0\0"s}}));
  EXPECT_EQ(act({{409, nullptr}}), sent({{156, "\x10\0\0\0"s}}));
  EXPECT_EQ(act({{409, 255}}), sent({{12, "\0\0\0\xff"s}, {156, "\x10\0\0\0"s}}));
  EXPECT_EQ(act({{409, 256}}), sent({{12, "\0\0\1\0"s}, {156, "\x10\0\0\0"s}}));
  EXPECT_EQ(act({{409, 0xa1b2c3d4}}), sent({{12, "\xa1\xb2\xc3\xd4"}, {156, "\x10\0\0\0"s}}));
  EXPECT_EQ(act({{409, 4294967295}}), sent({{12, "\xff\xff\xff\xff"}, {156, "\x10\0\0\0"s}}));
}

// The advertisement's value stays in the record; only its bit goes.
TEST_F(PolicyMapVip, AMetricWithdrawsAnEarlierAdvertisement) {
  EXPECT_EQ(act({{405}, {409, 5}}), sent({{8, "\0\0\0\1"s}, {12, "\0\0\0\5"s}, {156, "\x10\0\0\0"s}}));
  EXPECT_EQ(act({{406}, {409, 5}}), sent({{8, "\0\0\0\2"s}, {12, "\0\0\0\5"s}, {156, "\x10\0\0\0"s}}));
  EXPECT_EQ(act({{406}, {404}, {409, 0}}), sent({{0, "\0\0\0\1"s}, {8, "\0\0\0\2"s}, {156, "\x90\0\0\0"s}}));
  EXPECT_EQ(act({{409, 4}, {406}, {409, 5}}), sent({{8, "\0\0\0\2"s}, {12, "\0\0\0\5"s}, {156, "\x10\0\0\0"s}}));
}

TEST_F(PolicyMapVip, AnAdvertisementAfterAMetricKeepsBoth) {
  EXPECT_EQ(act({{409, 5}, {405}}), sent({{8, "\0\0\0\1"s}, {12, "\0\0\0\5"s}, {156, "\x30\0\0\0"s}}));
  EXPECT_EQ(act({{409, 5}, {406}}), sent({{8, "\0\0\0\2"s}, {12, "\0\0\0\5"s}, {156, "\x30\0\0\0"s}}));
  EXPECT_EQ(act({{405}, {409, 5}, {406}}), sent({{8, "\0\0\0\2"s}, {12, "\0\0\0\5"s}, {156, "\x30\0\0\0"s}}));
}

TEST_F(PolicyMapVip, TheMetricWithdrawsNothingElse) {
  EXPECT_EQ(act({{404}, {415}, {405}, {412, "o"}, {402, "l"}, {408}, {409, 5}}), sent({{0, "\0\0\0\1"s},
                                                                                       {4, "\0\0\0\1"s},
                                                                                       {8, "\0\0\0\1"s},
                                                                                       {12, "\0\0\0\5"s},
                                                                                       {20, "o"},
                                                                                       {85, "l"},
                                                                                       {152, "\0\0\0\1"s},
                                                                                       {156, "\xd7\0\0\0"s}}));
}

TEST_F(PolicyMapVip, ALaterTokenWins) {
  EXPECT_EQ(act({{415}, {416}}), sent({{4, "\0\0\0\2"s}, {156, "\x40\0\0\0"s}}));
  EXPECT_EQ(act({{416}, {415}}), sent({{4, "\0\0\0\1"s}, {156, "\x40\0\0\0"s}}));
  EXPECT_EQ(act({{405}, {406}}), sent({{8, "\0\0\0\2"s}, {156, "\x20\0\0\0"s}}));
  EXPECT_EQ(act({{406}, {405}}), sent({{8, "\0\0\0\1"s}, {156, "\x20\0\0\0"s}}));
  EXPECT_EQ(act({{409, 0xffffffff}, {409, 3}}), sent({{12, "\0\0\0\3"s}, {156, "\x10\0\0\0"s}}));
  EXPECT_EQ(act({{412, std::string(70, 'o')}, {412, "ab"}}), sent({{20, "ab"}, {156, "\x04\0\0\0"s}}));
  EXPECT_EQ(act({{402, std::string(70, 'l')}, {402, "ab"}}), sent({{85, "ab"}, {156, "\x02\0\0\0"s}}));
  EXPECT_EQ(act({{404}, {404}, {408}, {408}}), sent({{0, "\0\0\0\1"s}, {152, "\0\0\0\1"s}, {156, "\x81\0\0\0"s}}));
}

TEST_F(PolicyMapVip, NamesInTheRecordAreCutAt64Characters) {
  const std::string longest(64, 'x');
  struct Row {
    std::uint32_t keyword_id;
    std::size_t offset;
    std::string presence;
  };
  const std::array rows = {Row{412, 20, "\x04\0\0\0"s}, Row{402, 85, "\x02\0\0\0"s}};
  for (const auto& [keyword, offset, presence] : rows) {
    // A name is given also when it is empty.
    EXPECT_EQ(act({{keyword, ""}}), sent({{156, presence}})) << keyword;
    EXPECT_EQ(act({{keyword, nullptr}}), sent({{156, presence}})) << keyword;
    EXPECT_EQ(act({{keyword, "ab"}, {keyword, nullptr}}), sent({{156, presence}})) << keyword;
    EXPECT_EQ(act({{keyword, std::string(63, 'x')}}), sent({{offset, std::string(63, 'x')}, {156, presence}}))
        << keyword;
    for (const std::string& typed : {longest, longest + "y", longest + "yyyyyy", longest + std::string(65536, 'y')}) {
      EXPECT_EQ(act({{keyword, typed}}), sent({{offset, longest}, {156, presence}})) << keyword;
    }
    EXPECT_EQ(act({{keyword, "#\x01 %s%n\xff"}}), sent({{offset, "#\x01 %s%n\xff"}, {156, presence}})) << keyword;
  }
  EXPECT_EQ(act({{402, longest + "y"}, {412, longest + "y"}}),
            sent({{20, longest}, {85, longest}, {156, "\x06\0\0\0"s}}));
}

std::string call(const std::string& policy, const std::string& class_name, std::initializer_list<Part> parts) {
  return "call cm_update_l3_lb_config(u16 7, session 0x01020304, u8 1, '" + policy + "', '" + class_name + "', " +
         buffer(record(kSize, parts)) + ")";
}

// A policy-map that is missing is the layer-7 one that the class was to use, not the one that holds the class.
TEST_F(PolicyMapVip, AMissingPolicyMapIsTheLayer7One) {
  const std::string longest(64, 'x');
  host.answer({.status = 0x40f30009});
  EXPECT_EQ(act({{352, "p1"}, {356, "c1"}, {412, "object"}, {402, "l7-lb"}}),
            (Events{"bind 2", call("p1", "c1", {{20, "object"}, {85, "l7-lb"}, {156, "\x06\0\0\0"s}}),
                    out("Error: policy-map 'l7-lb' not configured\n"), "return 1"}));
  host.answer({.status = 0x40f30009});
  EXPECT_EQ(act({{352, "p1"}, {356, "c1"}}),
            (Events{"bind 2", call("p1", "c1", {}), out("Error: policy-map '' not configured\n"), "return 1"}));
  host.answer({.status = 0x40f30009});
  EXPECT_EQ(act({{402, longest + "yyyyyy"}}),
            (Events{"bind 2", call("", "", {{85, longest}, {156, "\x02\0\0\0"s}}),
                    out("Error: policy-map '" + longest + "' not configured\n"), "return 1"}));
  host.answer({.status = 0x40f30009});
  EXPECT_EQ(act({{402, "100%s%n"}}), (Events{"bind 2", call("", "", {{85, "100%s%n"}, {156, "\x02\0\0\0"s}}),
                                             out("Error: policy-map '100%s%n' not configured\n"), "return 1"}));
}

}  // namespace
}  // namespace kvel::cli::test::policy_load_balancing_vip_test
