// The fake host itself: what it writes down, and that it notices every misuse it is there to notice.
#include "tests/cli/fake_host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <string>

#include "kvel/host.h"
#include "kvel/output.h"
#include "kvel/rpc.h"
#include "tests/cli/notation.h"

namespace kvel::cli::test::fake_host_test {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Notation, Texts) {
  EXPECT_EQ(quoted(""), "''");
  EXPECT_EQ(quoted("web"), "'web'");
  EXPECT_EQ(quoted("a'b\\c\"d"), "'a\\'b\\\\c\"d'");
  EXPECT_EQ(quoted("\x01\x7f\x80\xff\n"), "'\\x01\\x7f\\x80\\xff\\n'");
  EXPECT_EQ(out("Error: \"x\"\n"), "out \"Error: \\\"x\\\"\\n\"");
}

TEST(Notation, Bytes) {
  EXPECT_EQ(hex(""), "");
  EXPECT_EQ(hex("\x00\x01\xfe\xff"s), "0001feff");
  EXPECT_EQ(hex("\0\0\0\0"s), "00000000");
  EXPECT_EQ(hex("\0\0\0\0\0"s), "00*5");
  EXPECT_EQ(hex("web" + std::string(62, '\0')), "776562 00*62");
  EXPECT_EQ(hex(std::string(6, '\xaa') + "b" + std::string(5, 'c')), "aa*6 62 63*5");
  EXPECT_EQ(field("ab", 4), "ab\0\0"s);
  EXPECT_EQ(page({"a", "bc"}), "a" + std::string(64, '\0') + "bc" + std::string(63, '\0'));
}

class FakeHost : public testing::Test {
 protected:
  void SetUp() override { host.begin(); }
  void TearDown() override { EXPECT_THAT(host.take_complaints(), IsEmpty()); }

  Host host;
  TnrpcResponse holder{};
};

TEST_F(FakeHost, WritesDownEveryPlatformFunction) {
  EXPECT_EQ(tnrpc_clnt_init(2), 0);
  EXPECT_EQ(vsh_platform_specific_rule_domain_check_valid(5, "web", 0x80000000), 1);
  EXPECT_EQ(vsh_platform_matched_rule_modify_check(1), 0);
  xprint_header("top");
  std::array<char, 128> tags;
  xprint("a: <%s> b: <%u>\n", xmltag(tags.data(), 2, "one", "two"), "x", 7U);
  xprint("%d%%\n", 5);
  xprint_footer("top");
  EXPECT_EQ(host.end(), (Events{"bind 2", "domain 5 'web' 2147483648", "modify 1", "xprint_header 'top'",
                                "xprint \"a: <%s> b: <%u>\\n\" 'one two' => \"a: <x> b: <7>\\n\"",
                                "xprint \"%d%%\\n\" => \"5%\\n\"", "xprint_footer 'top'"}));
}

// Lines with a tag although they hold no value, and their neighbours.
TEST_F(FakeHost, WritesDownTheTagsOfLinesWithoutValues) {
  xprint("        VIP Route Advertise  : ENABLED\n", "one");
  xprint("        VIP ICMP Reply       : DISABLED\n", "two");
  xprint("        VIP Route Metric     : <%d>\n", "three", -1);
  xprint("        VIP\n");
  EXPECT_EQ(host.end(), (Events{"xprint \"        VIP Route Advertise  : ENABLED\\n\" 'one' => "
                                "\"        VIP Route Advertise  : ENABLED\\n\"",
                                "xprint \"        VIP ICMP Reply       : DISABLED\\n\" 'two' => "
                                "\"        VIP ICMP Reply       : DISABLED\\n\"",
                                "xprint \"        VIP Route Metric     : <%d>\\n\" 'three' => "
                                "\"        VIP Route Metric     : <-1>\\n\"",
                                "xprint \"        VIP\\n\" => \"        VIP\\n\""}));
}

TEST_F(FakeHost, DecodesEveryTypeCode) {
  std::array<unsigned char, 4> word = {1, 2, 3, 4};
  tnrpc_init_resp(&holder);
  EXPECT_EQ(tnrpc_call("cm_x", 7, 1, 65535, 6, 0xfedcba98U, 0, 255, 2, 4294967295U, 4, "t\n", 8,
                       static_cast<void*>(word.data()), 4U, 9, &holder),
            0);
  tnrpc_free(&holder);
  EXPECT_EQ(tnrpc_call("cm_y", 1, 4, static_cast<const char*>(nullptr)), 0);
  EXPECT_EQ(tnrpc_call("cm_z", 0), 0);
  const std::string call =
      "call cm_x(u16 65535, session 0xfedcba98, u8 255, u32 4294967295, 't\\n', buffer[4] 01020304, response)";
  EXPECT_EQ(host.end(), (Events{"init_resp", call, "free", "call cm_y(null)", "call cm_z()"}));
}

TEST_F(FakeHost, NoticesArgumentsOutOfRangeAndUnknownTypes) {
  tnrpc_call("cm_x", 3, 0, 256, 1, -1, 3, 0);
  tnrpc_call("cm_x", -1);
  EXPECT_EQ(host.end(), (Events{"call cm_x(u8 256, u16 -1, type 3)", "call cm_x()"}));
  EXPECT_THAT(host.take_complaints(),
              ElementsAre("an argument is out of range: u8 256", "an argument is out of range: u16 -1",
                          "an argument has the unknown type code 3", "a call has -1 arguments"));
}

TEST_F(FakeHost, AnswersInTurn) {
  host.answer({.status = kMoreData, .buffers = {"", "\0\0\0\1"s}, .response = page({"web"})});
  host.answer({.status = -997});
  std::array<char, 2> first = {'a', 'b'};
  std::array<char, 4> second{};
  const auto call = [&] {
    tnrpc_init_resp(&holder);
    return tnrpc_call("cm_x", 3, 8, static_cast<void*>(first.data()), 2U, 8, static_cast<void*>(second.data()), 4U, 9,
                      &holder);
  };
  EXPECT_EQ(call(), 0x40f30000);
  EXPECT_EQ(holder.length, 65);
  EXPECT_STREQ(static_cast<char*>(holder.data), "web");
  EXPECT_EQ(std::string(first.data(), 2), "ab");
  EXPECT_EQ(std::string(second.data(), 4), "\0\0\0\1"s);
  tnrpc_free(&holder);
  EXPECT_EQ(call(), -997);
  EXPECT_EQ(call(), 0);
  EXPECT_EQ(holder.length, 0);
  EXPECT_EQ(holder.data, nullptr);
  tnrpc_free(&holder);
  EXPECT_EQ(host.end().size(), 8U);
}

TEST_F(FakeHost, NoticesAnswersThatDoNotFit) {
  host.answer({.buffers = {"123"}});
  host.answer({.buffers = {"1234", "5"}});
  host.answer({});
  std::array<char, 4> word{};
  tnrpc_call("cm_x", 1, 8, static_cast<void*>(word.data()), 4U);
  tnrpc_call("cm_x", 1, 8, static_cast<void*>(word.data()), 4U);
  static_cast<void>(host.end());
  EXPECT_THAT(host.take_complaints(),
              ElementsAre("an answer of 3 bytes does not fit its buffer", "an answer has more buffers than its call",
                          "1 answers were not asked for"));
}

TEST_F(FakeHost, NoticesAHolderReleasedTwice) {
  host.answer({.response = "page"});
  tnrpc_init_resp(&holder);
  tnrpc_call("cm_x", 1, 9, &holder);
  tnrpc_free(&holder);
  tnrpc_free(&holder);
  EXPECT_THAT(host.take_complaints(), ElementsAre("a response holder was released twice"));
}

TEST_F(FakeHost, NoticesAHolderNeverPrepared) {
  tnrpc_call("cm_x", 1, 9, &holder);
  tnrpc_free(&holder);
  EXPECT_THAT(host.take_complaints(), ElementsAre("a call was made with a response holder that was not prepared for it",
                                                  "a response holder was released that was never prepared"));
}

TEST_F(FakeHost, NoticesAHolderUsedForTwoCalls) {
  tnrpc_init_resp(&holder);
  tnrpc_call("cm_x", 1, 9, &holder);
  tnrpc_call("cm_x", 1, 9, &holder);
  tnrpc_free(&holder);
  tnrpc_call("cm_x", 1, 9, &holder);
  const std::string breach = "a call was made with a response holder that was not prepared for it";
  EXPECT_THAT(host.take_complaints(), ElementsAre(breach, breach));
}

TEST_F(FakeHost, NoticesAHolderNeverReleased) {
  host.answer({.response = "page"});
  host.answer({.response = "page"});
  tnrpc_init_resp(&holder);
  tnrpc_call("cm_x", 1, 9, &holder);
  tnrpc_init_resp(&holder);
  tnrpc_call("cm_x", 1, 9, &holder);
  static_cast<void>(host.end());
  EXPECT_THAT(host.take_complaints(), ElementsAre("a response holder was prepared again before it was released",
                                                  "a response holder was never released"));
}

TEST_F(FakeHost, NoticesAHolderReleasedWithoutACall) {
  tnrpc_init_resp(&holder);
  tnrpc_free(&holder);
  EXPECT_THAT(host.take_complaints(), ElementsAre("a response holder was released without a call"));
}

TEST_F(FakeHost, NoticesAHolderChangedBeforeItsRelease) {
  host.answer({.response = "page"});
  tnrpc_init_resp(&holder);
  tnrpc_call("cm_x", 1, 9, &holder);
  holder.data = nullptr;
  tnrpc_free(&holder);
  EXPECT_THAT(host.take_complaints(), ElementsAre("a response holder was changed before it was released"));
}

// A show handler releases its holder also after a failed call, a completion hook does not: the events show it.
TEST_F(FakeHost, LetsTheHolderOfAFailedCallBeReleasedOrNot) {
  host.answer({.status = -1});
  host.answer({.status = -1});
  tnrpc_init_resp(&holder);
  tnrpc_call("cm_x", 1, 9, &holder);
  tnrpc_free(&holder);
  tnrpc_init_resp(&holder);
  tnrpc_call("cm_x", 1, 9, &holder);
  EXPECT_EQ(host.end(), (Events{"init_resp", "call cm_x(response)", "free", "init_resp", "call cm_x(response)"}));
}

TEST_F(FakeHost, PutsOutputInOrderWithTheOtherEvents) {
  std::printf("one ");
  std::puts("two");
  tnrpc_clnt_init(2);
  std::fputs("three", stdout);
  EXPECT_EQ(host.end(), (Events{"out \"one two\\n\"", "bind 2", "out \"three\""}));
  host.begin();
  EXPECT_EQ(host.end(), Events{});
}

TEST_F(FakeHost, TakesOutputOfAnySize) {
  const std::string text(100'000, 'x');
  std::fputs(text.c_str(), stdout);
  EXPECT_EQ(host.end(), Events{out(text)});
}

}  // namespace
}  // namespace kvel::cli::test::fake_host_test
