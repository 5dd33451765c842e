// Matches written into a load-balancing policy-map: what each keyword writes into the record, and where keywords write
// the same bytes.
#include <array>
#include <cstdint>
#include <string>

#include "tests/cli/address_samples.h"
#include "tests/cli/plugin_test.h"
#include "tests/cli/wire_record.h"

namespace kvel::cli::test::policy_load_balancing_inline_test {
namespace {

using namespace std::string_literals;

constexpr std::size_t kSize = 332;

class PolicyMapInlineBalancing : public PluginTest {
 protected:
  Events match(const Tokens& tokens, const Form& form = {}) {
    return run("kvelpolicymap_config_inline_lb", tokens, form);
  }
};

// The call of a command without names.
Events sent(std::initializer_list<Part> parts) {
  return {"bind 2",
          "call cm_update_l7_inline_lb_match(u16 7, session 0x01020304, u8 1, '', '', '', " +
              buffer(record(kSize, parts)) + ")",
          "return 0"};
}

// The call of a command with a policy-map, a match and a place.
Events placed(const std::string& add, const std::string& bytes) {
  return {"bind 2",
          "call cm_update_l7_inline_lb_match(u16 7, session 0x01020304, u8 " + add +
              ", 'p1', 'm1', 'b1', buffer[332] " + hex(bytes) + ")",
          "return 0"};
}

const Events kBadHeader = {"bind 2", out("Error: Invalid HTTP token in header name\n"), "return 255"};
const Events kBadCookie = {"bind 2", out("Error: Invalid HTTP token in cookie name\n"), "return 255"};
const Events kBadMask = {"bind 2", out("Error: Invalid IP mask\n"), "return 255"};

// ---- whole records

TEST_F(PolicyMapInlineBalancing, ACookie) {
  const std::string bytes = "\x00\x00\x00\x07"s +   // kind
                            field("session", 65) +  // name
                            field("a.*", 256) +     // value
                            "\x00\x00\x00"          // zero
                            "\x00\x00\x00\x01"s;    // option
  const Tokens tokens = {{503, "p1"}, {505, "m1"}, {610, "b1"}, {506, "session"}, {507, "a.*"}, {532}};
  EXPECT_EQ(match(tokens), placed("1", bytes));
  EXPECT_EQ(match(tokens, kNo), placed("0", bytes));
}

TEST_F(PolicyMapInlineBalancing, AHeader) {
  const std::string bytes = "\x00\x00\x00\x00"s +      // kind
                            field("X-Client", 65) +    // name
                            field(".*example", 256) +  // value
                            "\x00\x00\x00"             // zero
                            "\x00\x00\x00\x00"s;       // option
  const Tokens tokens = {{503, "p1"}, {505, "m1"}, {610, "b1"}, {509, "X-Client"}, {507, ".*example"}};
  EXPECT_EQ(match(tokens), placed("1", bytes));
  EXPECT_EQ(match(tokens, kNo), placed("0", bytes));
}

TEST_F(PolicyMapInlineBalancing, AUrl) {
  const std::string bytes = "\x00\x00\x00\x05"s +    // kind
                            field("/img/.*", 256) +  // expression
                            field("word", 65) +      // qualifier
                            "\x00\x00\x00"           // zero
                            "\x00\x00\x00\x00"s;     // option
  const Tokens tokens = {{503, "p1"}, {505, "m1"}, {610, "b1"}, {528, "/img/.*"}, {529, "word"}};
  EXPECT_EQ(match(tokens), placed("1", bytes));
  EXPECT_EQ(match(tokens, kNo), placed("0", bytes));
}

TEST_F(PolicyMapInlineBalancing, ASourceAddress) {
  const std::string bytes =
      "\x00\x00\x00\x02"   // kind
      "\x0a\x01\x02\x00"   // address
      "\xff\xff\xff\x00"   // mask
      "\x00\x00\x00\x01"s  // mask given
      + field("", 316);    // zero
  const Tokens tokens = {{503, "p1"}, {505, "m1"}, {610, "b1"}, {570, 0x0a010200}, {571, 0xffffff00}};
  EXPECT_EQ(match(tokens), placed("1", bytes));
  EXPECT_EQ(match(tokens, kNo), placed("0", bytes));
}

TEST_F(PolicyMapInlineBalancing, AValue) {
  const std::string bytes = "\x00\x00\x00\x06"s +    // kind
                            field("", 65) +          // zero
                            field("a value", 256) +  // value
                            "\x00\x00\x00"           // zero
                            "\x00\x00\x00\x00"s;     // option
  const Tokens tokens = {{503, "p1"}, {505, "m1"}, {610, "b1"}, {510, "a value"}};
  EXPECT_EQ(match(tokens), placed("1", bytes));
  EXPECT_EQ(match(tokens, kNo), placed("0", bytes));
}

// ---- keyword by keyword

TEST_F(PolicyMapInlineBalancing, EveryKeyword) {
  EXPECT_EQ(match({{506, "session"}}), sent({{0, "\0\0\0\7"s}, {4, "session"}}));
  EXPECT_EQ(match({{532}}), sent({{0, "\0\0\0\7"s}, {328, "\0\0\0\1"s}}));
  EXPECT_EQ(match({{509, "X-Client"}}), sent({{4, "X-Client"}}));
  EXPECT_EQ(match({{507, "value"}}), sent({{69, "value"}}));
  EXPECT_EQ(match({{510, "value"}}), sent({{0, "\0\0\0\6"s}, {69, "value"}}));
  EXPECT_EQ(match({{528, "/img"}}), sent({{0, "\0\0\0\5"s}, {4, "/img"}}));
  EXPECT_EQ(match({{529, "word"}}), sent({{260, "word"}}));
  EXPECT_EQ(match({{570, 0xa1b2c3d4}}), sent({{0, "\0\0\0\2"s}, {4, "\xa1\xb2\xc3\xd4"}}));
  EXPECT_EQ(match({{571, 0xff800000}}), sent({{8, "\xff\x80\0\0"s}, {12, "\0\0\0\1"s}}));
}

TEST_F(PolicyMapInlineBalancing, EveryWellKnownHeader) {
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
    EXPECT_EQ(match({{keyword}}), sent({{4, name}})) << "keyword " << keyword;
    EXPECT_EQ(match({{507, "value"}, {keyword}}), sent({{4, name}, {69, "value"}})) << "keyword " << keyword;
    // Either kind of name replaces the other whole.
    EXPECT_EQ(match({{509, std::string(64, 'h')}, {keyword}}), sent({{4, name}})) << "keyword " << keyword;
    EXPECT_EQ(match({{keyword}, {509, "H"}}), sent({{4, "H"}})) << "keyword " << keyword;
    EXPECT_EQ(match({{513}, {keyword}}), sent({{4, name}})) << "keyword " << keyword;
    // A header's name leaves the kind as it is.
    EXPECT_EQ(match({{510, "value"}, {keyword}}), sent({{0, "\0\0\0\6"s}, {4, name}, {69, "value"}}))
        << "keyword " << keyword;
  }
}

TEST_F(PolicyMapInlineBalancing, TheLaterKindWins) {
  EXPECT_EQ(match({{532}, {570, 0}}), sent({{0, "\0\0\0\2"s}, {328, "\0\0\0\1"s}}));
  EXPECT_EQ(match({{570, 0}, {532}}), sent({{0, "\0\0\0\7"s}, {328, "\0\0\0\1"s}}));
  EXPECT_EQ(match({{510, ""}, {528, "/"}}), sent({{0, "\0\0\0\5"s}, {4, "/"}}));
  EXPECT_EQ(match({{528, "/"}, {510, ""}}), sent({{0, "\0\0\0\6"s}, {4, "/"}}));
  EXPECT_EQ(match({{510, "value"}, {506, "s"}}), sent({{0, "\0\0\0\7"s}, {4, "s"}, {69, "value"}}));
}

// These leave the kind that others set.
TEST_F(PolicyMapInlineBalancing, KeywordsWithoutAKind) {
  EXPECT_EQ(match({{532}, {509, "H"}}), sent({{0, "\0\0\0\7"s}, {4, "H"}, {328, "\0\0\0\1"s}}));
  EXPECT_EQ(match({{532}, {507, "v"}}), sent({{0, "\0\0\0\7"s}, {69, "v"}, {328, "\0\0\0\1"s}}));
  EXPECT_EQ(match({{532}, {529, "w"}}), sent({{0, "\0\0\0\7"s}, {260, "w"}, {328, "\0\0\0\1"s}}));
  EXPECT_EQ(match({{532}, {571, 0xff000000}}),
            sent({{0, "\0\0\0\7"s}, {8, "\xff\0\0\0"s}, {12, "\0\0\0\1"s}, {328, "\0\0\0\1"s}}));
  EXPECT_EQ(match({{510, "value"}, {507, "v"}}), sent({{0, "\0\0\0\6"s}, {69, "v"}}));
  EXPECT_EQ(match({{507, "value"}, {510, "v"}}), sent({{0, "\0\0\0\6"s}, {69, "v"}}));
}

// ---- bounds of the texts

TEST_F(PolicyMapInlineBalancing, NamesInTheRecordAreCutAt64Characters) {
  struct Row {
    std::uint32_t keyword_id;
    std::size_t offset;
    std::string kind;
  };
  const std::array rows = {Row{506, 4, "\0\0\0\7"s}, Row{509, 4, "\0\0\0\0"s}, Row{529, 260, "\0\0\0\0"s}};
  const std::string longest(64, 'x');
  for (const auto& [keyword, offset, kind] : rows) {
    EXPECT_EQ(match({{keyword, std::string(63, 'x')}}), sent({{0, kind}, {offset, std::string(63, 'x')}})) << keyword;
    for (const std::string& typed : {longest, longest + "y", longest + "yyyyyy", longest + std::string(65536, 'y')}) {
      EXPECT_EQ(match({{keyword, typed}}), sent({{0, kind}, {offset, longest}})) << keyword;
    }
    EXPECT_EQ(match({{keyword, longest}, {keyword, "ab"}}), sent({{0, kind}, {offset, "ab"}})) << keyword;
  }
  EXPECT_EQ(match({{529, ""}}), sent({}));
  EXPECT_EQ(match({{529, nullptr}}), sent({}));
  EXPECT_EQ(match({{529, "word"}, {529, nullptr}}), sent({}));
  EXPECT_EQ(match({{529, " a:\x01%s%n\xff"}}), sent({{260, " a:\x01%s%n\xff"}}));
}

TEST_F(PolicyMapInlineBalancing, ExpressionsAreCutAt255Characters) {
  struct Row {
    std::uint32_t keyword_id;
    std::size_t offset;
    std::string kind;
  };
  const std::array rows = {Row{507, 69, "\0\0\0\0"s}, Row{510, 69, "\0\0\0\6"s}, Row{528, 4, "\0\0\0\5"s}};
  const std::string longest(255, 'x');
  for (const auto& [keyword, offset, kind] : rows) {
    const auto with = [&, kind = kind, offset = offset](const std::string& text) {
      return sent({{0, kind}, {offset, text}});
    };
    EXPECT_EQ(match({{keyword, ""}}), with("")) << keyword;
    EXPECT_EQ(match({{keyword, nullptr}}), with("")) << keyword;
    EXPECT_EQ(match({{keyword, std::string(254, 'x')}}), with(std::string(254, 'x'))) << keyword;
    for (const std::string& typed : {longest, longest + "y", longest + std::string(65536, 'y')}) {
      EXPECT_EQ(match({{keyword, typed}}), with(longest)) << keyword;
    }
    EXPECT_EQ(match({{keyword, longest}, {keyword, "ab"}}), with("ab")) << keyword;
    EXPECT_EQ(match({{keyword, longest}, {keyword, nullptr}}), with("")) << keyword;
    EXPECT_EQ(match({{keyword, " a:(b)\t\x01%s%n\xff"}}), with(" a:(b)\t\x01%s%n\xff")) << keyword;
  }
}

// Expression and qualifier, name and value fill the bytes up to the next field and no further.
TEST_F(PolicyMapInlineBalancing, NeighboursAreFullAtOnce) {
  EXPECT_EQ(match({{528, std::string(300, 'e')}, {529, std::string(70, 'q')}, {532}}),
            sent({{0, "\0\0\0\7"s}, {4, std::string(255, 'e')}, {260, std::string(64, 'q')}, {328, "\0\0\0\1"s}}));
  EXPECT_EQ(match({{506, std::string(70, 'n')}, {507, std::string(300, 'v')}, {532}}),
            sent({{0, "\0\0\0\7"s}, {4, std::string(64, 'n')}, {69, std::string(255, 'v')}, {328, "\0\0\0\1"s}}));
}

// ---- views that share their bytes: each writes its own and leaves the others

TEST_F(PolicyMapInlineBalancing, ANameOverAnExpression) {
  const std::string expression(255, 'e');
  // 64 bytes of the expression go, whatever the length of the name.
  EXPECT_EQ(match({{528, expression}, {506, "ab"}}), sent({{0, "\0\0\0\7"s}, {4, "ab"}, {68, std::string(191, 'e')}}));
  EXPECT_EQ(match({{528, expression}, {509, "ab"}}), sent({{0, "\0\0\0\5"s}, {4, "ab"}, {68, std::string(191, 'e')}}));
  EXPECT_EQ(match({{528, expression}, {517}}), sent({{0, "\0\0\0\5"s}, {4, "Host"}, {68, std::string(191, 'e')}}));
  EXPECT_EQ(match({{528, expression}, {509, std::string(64, 'h')}}),
            sent({{0, "\0\0\0\5"s}, {4, std::string(64, 'h')}, {68, std::string(191, 'e')}}));
}

TEST_F(PolicyMapInlineBalancing, AnExpressionOverANameAndItsValue) {
  // All 255 bytes are written: the end of the value stays after them.
  EXPECT_EQ(match({{506, std::string(64, 'n')}, {507, std::string(255, 'v')}, {528, "/img"}}),
            sent({{0, "\0\0\0\5"s}, {4, "/img"}, {259, std::string(65, 'v')}}));
  EXPECT_EQ(match({{507, std::string(191, 'v')}, {528, std::string(255, 'e')}}),
            sent({{0, "\0\0\0\5"s}, {4, std::string(255, 'e')}, {259, "v"}}));
  EXPECT_EQ(match({{507, "value"}, {528, ""}}), sent({{0, "\0\0\0\5"s}}));
}

TEST_F(PolicyMapInlineBalancing, AValueOverAnExpressionAndItsQualifier) {
  EXPECT_EQ(match({{528, std::string(255, 'e')}, {529, std::string(64, 'q')}, {507, "ab"}}),
            sent({{0, "\0\0\0\5"s}, {4, std::string(65, 'e')}, {69, "ab"}}));
  EXPECT_EQ(match({{528, std::string(255, 'e')}, {510, std::string(255, 'v')}}),
            sent({{0, "\0\0\0\6"s}, {4, std::string(65, 'e')}, {69, std::string(255, 'v')}}));
}

TEST_F(PolicyMapInlineBalancing, AQualifierOverAValue) {
  EXPECT_EQ(match({{507, std::string(255, 'v')}, {529, "ab"}}), sent({{69, std::string(191, 'v')}, {260, "ab"}}));
  EXPECT_EQ(match({{510, std::string(255, 'v')}, {529, ""}}), sent({{0, "\0\0\0\6"s}, {69, std::string(191, 'v')}}));
  EXPECT_EQ(match({{529, std::string(64, 'q')}, {507, std::string(192, 'v')}}), sent({{69, std::string(192, 'v')}}));
}

TEST_F(PolicyMapInlineBalancing, AnAddressAndAMaskOverATextAndBack) {
  EXPECT_EQ(match({{528, "/abcdefghijklmnop"}, {570, 0x0a010101}}),
            sent({{0, "\0\0\0\2"s}, {4, "\x0a\1\1\1defghijklmnop"}}));
  EXPECT_EQ(match({{528, "/abcdefghijklmnop"}, {571, 0xffff0000}}), sent({{0, "\0\0\0\5"s},
                                                                          {4,
                                                                           "/abc\xff\xff\0\0\0\0\0\1"
                                                                           "lmnop"s}}));
  EXPECT_EQ(match({{509, "abcdefghijklmnop"}, {571, 0xffff0000}}), sent({{4,
                                                                          "abcd\xff\xff\0\0\0\0\0\1"
                                                                          "mnop"s}}));
  EXPECT_EQ(match({{570, 0x0a010101}, {571, 0xffff0000}, {528, "/a"}}), sent({{0, "\0\0\0\5"s}, {4, "/a"}}));
  EXPECT_EQ(match({{570, 0x0a010101}, {571, 0xffff0000}, {509, "H"}}), sent({{0, "\0\0\0\2"s}, {4, "H"}}));
  EXPECT_EQ(match({{570, 0x0a010101}, {571, 0xffff0000}, {517}}), sent({{0, "\0\0\0\2"s}, {4, "Host"}}));
  EXPECT_EQ(match({{570, 0x0a010101}, {507, "v"}}), sent({{0, "\0\0\0\2"s}, {4, "\x0a\1\1\1"}, {69, "v"}}));
}

// ---- source address

// Without a mask the record states that there is none, and no address is checked.
TEST_F(PolicyMapInlineBalancing, AddressesAreNotChecked) {
  for (std::uint32_t address : kHostAddresses) {
    EXPECT_EQ(match({{570, address}}), sent({{0, "\0\0\0\2"s}, {4, big_endian(address)}})) << address;
  }
  for (std::uint32_t address : kNoHostAddresses) {
    EXPECT_EQ(match({{570, address}}), sent({{0, "\0\0\0\2"s}, {4, big_endian(address)}})) << address;
  }
  EXPECT_EQ(match({{570, 0}}), sent({{0, "\0\0\0\2"s}}));
  EXPECT_EQ(match({{570, nullptr}}), sent({{0, "\0\0\0\2"s}}));
  EXPECT_EQ(match({{570, 0xffffffff}, {570, 0x0a010101}}), sent({{0, "\0\0\0\2"s}, {4, "\x0a\1\1\1"}}));
}

TEST_F(PolicyMapInlineBalancing, EveryMaskIsAccepted) {
  for (std::uint32_t mask : kMasks) {
    EXPECT_EQ(match({{571, mask}}), sent({{8, big_endian(mask)}, {12, "\0\0\0\1"s}})) << mask;
  }
  EXPECT_EQ(match({{571, 0xff000000}, {571, 0xffff0000}}), sent({{8, "\xff\xff\0\0"s}, {12, "\0\0\0\1"s}}));
}

TEST_F(PolicyMapInlineBalancing, MasksWithGapsAreRefused) {
  for (std::uint32_t mask : kNoMasks) {
    EXPECT_EQ(match({{571, mask}}), kBadMask) << mask;
    EXPECT_EQ(match({{570, 0x0a010101}, {571, mask}}, kNo), kBadMask) << mask;
  }
}

TEST_F(PolicyMapInlineBalancing, AMaskOfZeroIsRefused) {
  EXPECT_EQ(match({{571, 0}}), kBadMask);
  EXPECT_EQ(match({{571, 0}}, kNo), kBadMask);
  EXPECT_EQ(match({{571, nullptr}}), kBadMask);
}

TEST_F(PolicyMapInlineBalancing, ARefusedMaskStopsAtItsToken) {
  EXPECT_EQ(match({{571, 0xffff00ff}, {571, 0xffffff00}}), kBadMask);
  EXPECT_EQ(match({{571, 0xffffff00}, {571, 0xffff00ff}}), kBadMask);
  EXPECT_EQ(match({{571, 0xffff00ff}, {503}}), kBadMask);  // a text that cannot be read
  EXPECT_EQ(match({{571, 0xffff00ff}, {509, "a:b"}}), kBadMask);
  EXPECT_EQ(match({{571, 0xffff00ff}, {506, "a:b"}}), kBadMask);
}

// ---- typed names

TEST_F(PolicyMapInlineBalancing, ARefusedNameStopsAtItsToken) {
  EXPECT_EQ(match({{509, "a:b"}, {509, "good"}}), kBadHeader);
  EXPECT_EQ(match({{509, "good"}, {509, "a:b"}}), kBadHeader);
  EXPECT_EQ(match({{509, "a:b"}, {517}}), kBadHeader);
  EXPECT_EQ(match({{509, "a:b"}, {506}}), kBadHeader);  // a text that cannot be read
  EXPECT_EQ(match({{506, "a:b"}, {506, "good"}}), kBadCookie);
  EXPECT_EQ(match({{506, "a:b"}, {505}}), kBadCookie);
  EXPECT_EQ(match({{506, "a:b"}, {509, "a:b"}}), kBadCookie);
  EXPECT_EQ(match({{509, "a:b"}, {506, "a:b"}}), kBadHeader);
  EXPECT_EQ(match({{506, "a:b"}, {571, 0}}), kBadCookie);
}

// ---- other keywords

}  // namespace
}  // namespace kvel::cli::test::policy_load_balancing_inline_test
