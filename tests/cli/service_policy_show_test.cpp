// kvelpolicymap_show_servicepolicy: the request, its pages, and what comes of each.
#include <array>
#include <cstdint>
#include <limits>
#include <string>

#include "tests/cli/service_policy_test.h"

namespace kvel::cli::test::service_policy_show_test {
namespace {

using namespace std::string_literals;

const std::string kMore = "\0\0\0\1"s;
const std::string kNoMore = "\0\0\0\0"s;

class ServicePolicyShow : public ServicePolicyTest {
 protected:
  Events show(const Tokens& tokens, const Form& form = {}) {
    return run("kvelpolicymap_show_servicepolicy", tokens, form);
  }
};

// The backend call of one page; position and more word as in a test's notation.
struct PageCall {
  std::string name = "edge";
  std::uint32_t detail = 0;
  std::string continuation = "00*20";
  std::string more = "00000000";
};

std::string page_call(const PageCall& page) {
  return "call cm_show_service_policy(u16 7, '" + page.name + "', u32 " + std::to_string(page.detail) +
         ", buffer[20] " + page.continuation + ", buffer[4] " + page.more + ", response)";
}

const Events kOpened = {"xprint_header 'xml_show_service_policy'"};
const Events kClosed = {"xprint \"\\n\" => \"\\n\"", "xprint_footer 'xml_show_service_policy'", "return 0"};

// A command whose only page is empty.
Events shown_empty(const PageCall& page) {
  return Events{"bind 2"} + kOpened + Events{"init_resp", page_call(page), "free"} + kClosed;
}

// A page that shows its class and nothing more, and what it shows when the heading has been written already.
std::string page_of(const std::string& name) {
  return stream::policy({}) + stream::class_map({.entry_count = 0, .name = name});
}

Events shown(const std::string& name) { return class_opened(name) + class_closed() + Events{closed("service_policy")}; }

// ---- the request

TEST_F(ServicePolicyShow, OnePolicy) {
  host.answer({.response = stream::policy({.class_count = 0})});
  EXPECT_EQ(show({{902, "edge"}}),
            (Events{"bind 2", "xprint_header 'xml_show_service_policy'", "init_resp",
                    "call cm_show_service_policy(u16 7, 'edge', u32 0, buffer[20] 00*20, buffer[4] 00000000, response)",
                    "xprint_header 'service_policy'", R"(xprint "\n" => "\n")",
                    R"(xprint "Status     : ACTIVE\n" => "Status     : ACTIVE\n")",
                    R"(xprint "-----------------------------------------\n" => )"
                    R"("-----------------------------------------\n")",
                    R"(xprint "Context Global Policy:" => "Context Global Policy:")", R"(xprint "\n" => "\n")",
                    R"(xprint "  service-policy: <%s>\n" 'sp_name' => "  service-policy: <edge>\n")",
                    "xprint_footer 'service_policy'", "free", R"(xprint "\n" => "\n")",
                    "xprint_footer 'xml_show_service_policy'", "return 0"}));
}

TEST_F(ServicePolicyShow, Detail) {
  host.answer({.response = stream::policy({.class_count = 0, .description = "front door"})});
  EXPECT_EQ(show({{902, "edge"}, {903}}),
            (Events{"bind 2", "xprint_header 'xml_show_service_policy'", "init_resp",
                    "call cm_show_service_policy(u16 7, 'edge', u32 1, buffer[20] 00*20, buffer[4] 00000000, response)",
                    "xprint_header 'service_policy'", R"(xprint "\n" => "\n")",
                    R"(xprint "Status     : ACTIVE\n" => "Status     : ACTIVE\n")",
                    R"(xprint "Description: %s\n" => "Description: front door\n")",
                    R"(xprint "-----------------------------------------\n" => )"
                    R"("-----------------------------------------\n")",
                    R"(xprint "Context Global Policy:" => "Context Global Policy:")", R"(xprint "\n" => "\n")",
                    R"(xprint "  service-policy: <%s>\n" 'sp_name' => "  service-policy: <edge>\n")",
                    "xprint_footer 'service_policy'", "free", R"(xprint "\n" => "\n")",
                    "xprint_footer 'xml_show_service_policy'", "return 0"}));
}

TEST_F(ServicePolicyShow, DetailMayBeAnywhereAndRepeated) {
  EXPECT_EQ(show({{903}}), shown_empty({.name = "", .detail = 1}));
  EXPECT_EQ(show({{903}, {902, "edge"}}), shown_empty({.detail = 1}));
  EXPECT_EQ(show({{903}, {902, "edge"}, {903}}), shown_empty({.detail = 1}));
}

TEST_F(ServicePolicyShow, WithoutAName) {
  EXPECT_EQ(show({}), shown_empty({.name = ""}));
  EXPECT_EQ(show({{902, ""}}), shown_empty({.name = ""}));
  EXPECT_EQ(show({{902, nullptr}}), shown_empty({.name = ""}));
  host.answer({.response = stream::policy({.class_count = 0})});
  const Events events = show({});
  EXPECT_THAT(events, testing::Contains(line("  service-policy: <%s>\n", "sp_name", "  service-policy: <>\n")));
}

TEST_F(ServicePolicyShow, ANameIsCutAt64) {
  const std::string x63(63, 'x');
  const std::string x64(64, 'x');
  EXPECT_EQ(show({{902, x63}}), shown_empty({.name = x63}));
  EXPECT_EQ(show({{902, x64}}), shown_empty({.name = x64}));
  EXPECT_EQ(show({{902, x64 + "y"}}), shown_empty({.name = x64}));
  EXPECT_EQ(show({{902, std::string(1000, 'z')}}), shown_empty({.name = std::string(64, 'z')}));
  // the heading shows what was sent
  host.answer({.response = stream::policy({.class_count = 0})});
  EXPECT_THAT(show({{902, x64 + "y"}}),
              testing::Contains(line("  service-policy: <%s>\n", "sp_name", "  service-policy: <" + x64 + ">\n")));
}

TEST_F(ServicePolicyShow, ALaterNameReplacesTheWholeEarlierOne) {
  EXPECT_EQ(show({{902, std::string(64, 'x')}, {902, "ab"}}), shown_empty({.name = "ab"}));
  EXPECT_EQ(show({{902, "edge"}, {902, ""}}), shown_empty({.name = ""}));
  EXPECT_EQ(show({{902, "edge"}, {902, nullptr}}), shown_empty({.name = ""}));
}

// The name in the heading is the one typed, whatever it looks like.
TEST_F(ServicePolicyShow, NamesOfAnyCharacters) {
  EXPECT_EQ(show({{902, "#1 \xff\n"}}), shown_empty({.name = "#1 \\xff\\n"}));
  host.answer({.response = stream::policy({.class_count = 0})});
  EXPECT_THAT(show({{902, "%s%n"}}), testing::IsSupersetOf({
                                         page_call({.name = "%s%n"}),
                                         line("  service-policy: <%s>\n", "sp_name", "  service-policy: <%s%n>\n"),
                                     }));
}

// ---- failures

struct Failure {
  std::int32_t status;
  const char* message;
};

constexpr std::array kFailures = {
    Failure{-999, "Error: Called API is invalid or non-existant\n"},
    Failure{-998, "Error: Called API timed out\n"},
    Failure{-997, "Error: Transport error\n"},
    Failure{-996, "Error: Incorrect argument(s)/type mismatch\n"},
    Failure{-1, "Error: Called API encountered error\n"},
    Failure{1, "Error: text of 0x00000001, 100%d %s\n"},
    Failure{0x40f30001, "Error: text of 0x40f30001, 100%d %s\n"},
    Failure{0x40f30009, "Error: text of 0x40f30009, 100%d %s\n"},
    Failure{0x40f3009c, "Error: text of 0x40f3009c, 100%d %s\n"},
    Failure{std::numeric_limits<std::int32_t>::min(), "Error: text of 0x80000000, 100%d %s\n"},
};

TEST_F(ServicePolicyShow, AFailedLaterPage) {
  for (const Failure& failure : kFailures) {
    reload();
    host.answer({.buffers = {"", kMore}, .response = page_of("web")});
    host.answer({.buffers = {"", kMore}, .response = page_of("mail")});
    host.answer({.status = failure.status});
    EXPECT_EQ(show({{902, "edge"}}),
              (Events{"bind 2"} + kOpened + Events{"init_resp", page_call({})} + heading({}) + shown("web") +
               Events{"free", "init_resp", page_call({.more = "00000001"})} + shown("mail") +
               Events{"free", "init_resp", page_call({.more = "00000001"}), out(failure.message), "free",
                      "xprint_footer 'xml_show_service_policy'", "return 1"}));
  }
}

// A failed call has no page, whatever its holder and its more word contain.
TEST_F(ServicePolicyShow, AFailedPageIsTheLast) {
  host.answer({.status = -1, .buffers = {std::string(20, '\x11'), kMore}, .response = page_of("web")});
  EXPECT_EQ(show({{902, "edge"}}), (Events{"bind 2"} + kOpened +
                                    Events{"init_resp", page_call({}), out("Error: Called API encountered error\n"),
                                           "free", "xprint_footer 'xml_show_service_policy'", "return 1"}));
}

// ---- pages

TEST_F(ServicePolicyShow, EachPageIsShownAndReleasedBeforeTheNext) {
  host.answer({.status = 0x40f30000, .buffers = {"", kMore}, .response = page_of("web")});
  host.answer({.status = 0x40f30000, .buffers = {"", kMore}, .response = page_of("mail")});
  host.answer({.buffers = {"", kNoMore}, .response = page_of("ftp")});
  EXPECT_EQ(show({{902, "edge"}}),
            (Events{"bind 2"} + kOpened + Events{"init_resp", page_call({})} + heading({}) + shown("web") +
             Events{"free", "init_resp", page_call({.more = "00000001"})} + shown("mail") +
             Events{"free", "init_resp", page_call({.more = "00000001"})} + shown("ftp") + Events{"free"} + kClosed));
}

TEST_F(ServicePolicyShow, DetailAndNameGoWithEveryPage) {
  host.answer({.buffers = {"", kMore}, .response = page_of("web")});
  host.answer({.buffers = {"", kNoMore}, .response = page_of("mail")});
  EXPECT_EQ(show({{902, "edge"}, {903}}),
            (Events{"bind 2"} + kOpened + Events{"init_resp", page_call({.detail = 1})} + heading({.detail = 1}) +
             shown("web") + Events{"free", "init_resp", page_call({.detail = 1, .more = "00000001"})} + shown("mail") +
             Events{"free"} + kClosed));
}

// Position and more word belong to the backend; every bit of them comes back.
TEST_F(ServicePolicyShow, PositionAndMoreWordComeBackUntouched) {
  host.answer({.buffers = {"\xff\xfe\x00\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f\x10\x80"s,
                           "\x80\xff\x01\x7f"s}});
  host.answer({.buffers = {std::string(20, '\xff'), "\0\0\1\0"s}});
  host.answer({.buffers = {std::string(20, '\0'), "\1\0\0\0"s}});
  host.answer({.buffers = {"", kNoMore}});
  EXPECT_EQ(show({{902, "edge"}}),
            (Events{"bind 2"} + kOpened +
             Events{"init_resp", page_call({}), "free", "init_resp",
                    page_call({.continuation = "fffe000102030405060708090a0b0c0d0e0f1080", .more = "80ff017f"}), "free",
                    "init_resp", page_call({.continuation = "ff*20", .more = "00000100"}), "free", "init_resp",
                    page_call({.continuation = "00*20", .more = "01000000"}), "free"} +
             kClosed));
}

// What the backend leaves alone stays as it was.
TEST_F(ServicePolicyShow, BuffersLeftAloneKeepTheirBytes) {
  host.answer({.buffers = {std::string(20, '\x11'), kMore}, .response = page_of("web")});
  host.answer({.response = page_of("mail")});
  host.answer({.buffers = {"", kNoMore}});
  EXPECT_EQ(show({{902, "edge"}}),
            (Events{"bind 2"} + kOpened + Events{"init_resp", page_call({})} + heading({}) + shown("web") +
             Events{"free", "init_resp", page_call({.continuation = "11*20", .more = "00000001"})} + shown("mail") +
             Events{"free", "init_resp", page_call({.continuation = "11*20", .more = "00000001"}), "free"} + kClosed));
}

TEST_F(ServicePolicyShow, AnyNonzeroMoreWordAsksAgain) {
  const std::array words = {"\1\0\0\0"s, "\0\1\0\0"s, "\0\0\1\0"s, "\0\0\0\1"s, "\x80\0\0\0"s, "\xff\xff\xff\xff"s};
  const std::array notations = {"01000000", "00010000", "00000100", "00000001", "80000000", "ffffffff"};
  for (std::size_t index = 0; index < words.size(); ++index) {
    host.answer({.buffers = {"", words[index]}});
    host.answer({.buffers = {"", kNoMore}});
    EXPECT_EQ(show({{902, "edge"}}),
              (Events{"bind 2"} + kOpened +
               Events{"init_resp", page_call({}), "free", "init_resp", page_call({.more = notations[index]}), "free"} +
               kClosed));
  }
}

// The more word decides about another page, the status does not.
TEST_F(ServicePolicyShow, MoreDataWithoutTheMoreWordIsTheLastPage) {
  host.answer({.status = 0x40f30000, .response = page_of("web")});
  EXPECT_EQ(show({{902, "edge"}}), (Events{"bind 2"} + kOpened + Events{"init_resp", page_call({})} + heading({}) +
                                    shown("web") + Events{"free"} + kClosed));
}

TEST_F(ServicePolicyShow, SuccessWithTheMoreWordAsksAgain) {
  host.answer({.status = 0, .buffers = {"", kMore}, .response = page_of("web")});
  host.answer({.status = 0x40f30000, .buffers = {"", kNoMore}, .response = page_of("mail")});
  EXPECT_EQ(show({{902, "edge"}}),
            (Events{"bind 2"} + kOpened + Events{"init_resp", page_call({})} + heading({}) + shown("web") +
             Events{"free", "init_resp", page_call({.more = "00000001"})} + shown("mail") + Events{"free"} + kClosed));
}

// Nothing of such a page is shown; it is released, and the more word counts.
TEST_F(ServicePolicyShow, PagesWithoutLengthOrDataAreSkipped) {
  const std::array<Answer, 6> empty_pages = {{
      {.buffers = {"", kMore}},
      {.buffers = {"", kMore}, .response = page_of("web"), .length = 0},
      {.buffers = {"", kMore}, .response = page_of("web"), .length = -1},
      {.buffers = {"", kMore}, .response = page_of("web"), .length = std::numeric_limits<std::int32_t>::min()},
      {.buffers = {"", kMore}, .response = page_of("web"), .null_data = true},
      {.status = 0x40f30000, .buffers = {"", kMore}, .length = 1, .null_data = true},
  }};
  for (std::size_t index = 0; index < empty_pages.size(); ++index) {
    reload();
    host.answer(empty_pages[index]);
    host.answer({.buffers = {"", kNoMore}, .response = page_of("mail")});
    EXPECT_EQ(show({{902, "edge"}}),
              (Events{"bind 2"} + kOpened +
               Events{"init_resp", page_call({}), "free", "init_resp", page_call({.more = "00000001"})} + heading({}) +
               shown("mail") + Events{"free"} + kClosed))
        << "page " << index;
  }
}

// Any length above zero shows the page; the counts in its records determine where it ends.
TEST_F(ServicePolicyShow, ALengthOfOneIsEnough) {
  host.answer({.response = page_of("web"), .length = 1});
  EXPECT_EQ(show({{902, "edge"}}), (Events{"bind 2"} + kOpened + Events{"init_resp", page_call({})} + heading({}) +
                                    shown("web") + Events{"free"} + kClosed));
}

TEST_F(ServicePolicyShow, OneHundredPages) {
  Events expected = Events{"bind 2"} + kOpened;
  for (int number = 0; number < 100; ++number) {
    const std::string name = "class-" + std::to_string(number);
    host.answer({.buffers = {"", number < 99 ? kMore : kNoMore}, .response = page_of(name)});
    expected = std::move(expected) + Events{"init_resp", page_call({.more = number == 0 ? "00000000" : "00000001"})};
    if (number == 0) expected = std::move(expected) + heading({});
    expected = std::move(expected) + shown(name) + Events{"free"};
  }
  EXPECT_EQ(show({{902, "edge"}}), expected + kClosed);
}

// The handler itself remembers nothing: request, position and more word begin anew.
TEST_F(ServicePolicyShow, EachCommandBeginsAnew) {
  host.answer({.buffers = {std::string(20, '\x11'), kMore}});
  host.answer({.buffers = {std::string(20, '\x22'), kNoMore}});
  EXPECT_EQ(show({{902, std::string(64, 'x')}, {903}}).back(), "return 0");
  EXPECT_EQ(show({}), shown_empty({.name = ""}));
  host.answer({.buffers = {std::string(20, '\x33'), kMore}});
  host.answer({.status = -1});
  EXPECT_EQ(show({{902, "a"}}).back(), "return 1");
  EXPECT_EQ(show({{902, "edge"}}), shown_empty({}));
}

// The document is left with open elements, as the formatter stopped; the command goes on.
TEST_F(ServicePolicyShow, AnUnexpectedRecordEndsItsPageAlone) {
  host.answer({.buffers = {"", kMore}, .response = stream::policy({}) + stream::class_map({.record_type = 7})});
  host.answer({.buffers = {"", kNoMore}, .response = page_of("mail")});
  EXPECT_EQ(show({{902, "edge"}}),
            (Events{"bind 2"} + kOpened + Events{"init_resp", page_call({})} + heading({}) +
             Events{out("\nUnexpected header: 7"), "free", "init_resp", page_call({.more = "00000001"})} +
             shown("mail") + Events{"free"} + kClosed));
}

}  // namespace
}  // namespace kvel::cli::test::service_policy_show_test
