// format_and_display_param_map: what it takes for a page, an entry and a name. What the settings look like is tested by
// themselves.
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "tests/cli/param_map_samples.h"
#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::param_map_page_test {
namespace {

using namespace std::string_literals;

const std::string kOne = "\0\0\0\1"s;
const std::string kHttp = "\0\0\0\1"s;  // types
const std::string kSsl = "\0\0\0\2"s;

class ParamMapPage : public PluginTest {
 protected:
  Events format(std::string_view page) { return format_page("format_and_display_param_map", page); }
  Events format(const void* page, std::int32_t length) {
    return format_page("format_and_display_param_map", page, length);
  }
  Events format_entry(const std::string& type, const Bytes& bytes, const std::string& name) {
    return format(kOne + map_entry(type, name, bytes));
  }
};

Events printed(const std::string& text) { return {out(text), "return 0"}; }
const Events kNothing = {"return 0"};

TEST_F(ParamMapPage, APageThatIsNone) {
  const Events refused = {"return 1"};
  const std::string page = kOne + map_entry(kHttp, "web");
  for (std::int32_t length : {0, -1, -292, std::numeric_limits<std::int32_t>::min()}) {
    EXPECT_EQ(format(page.data(), length), refused) << length;
    EXPECT_EQ(format(inaccessible(), length), refused) << length;
    EXPECT_EQ(format(nullptr, length), refused) << length;
  }
  for (std::int32_t length : {1, 4, 292, std::numeric_limits<std::int32_t>::max()}) {
    EXPECT_EQ(format(nullptr, length), refused) << length;
  }
}

TEST_F(ParamMapPage, APageWithoutEntries) {
  EXPECT_EQ(format("\0\0\0\0"s), kNothing);
  EXPECT_EQ(format("\0\0\0\0"s + map_entry(kHttp, "web")), kNothing);
}

// A count that the page does not hold whole is not read.
TEST_F(ParamMapPage, APageShorterThanItsCount) {
  for (std::size_t length : {1U, 2U, 3U}) {
    EXPECT_EQ(format(std::string(length, '\1')), kNothing) << length;
    EXPECT_EQ(format(std::string(length, '\0')), kNothing) << length;
  }
}

TEST_F(ParamMapPage, EntriesThatThePageDoesNotHoldWholeAreNotRead) {
  EXPECT_EQ(format("\0\0\0\1"s), kNothing);
  EXPECT_EQ(format("\xff\xff\xff\xff"s), kNothing);
  const std::string entry = map_entry("\0\0\0\3"s, "a");
  for (std::size_t size : {1U, 8U, 12U, 13U, 80U, 287U}) {
    EXPECT_EQ(format(kOne + entry.substr(0, size)), kNothing) << size;
    EXPECT_EQ(format("\0\0\0\2"s + entry + map_entry(kHttp, "b").substr(0, size)), printed("\n\n Parameter-map : a\n"))
        << size;
  }
  EXPECT_EQ(format("\0\0\0\2"s + entry), printed("\n\n Parameter-map : a\n"));
  EXPECT_EQ(format("\x80\0\0\0"s + entry), printed("\n\n Parameter-map : a\n"));
  EXPECT_EQ(format("\xff\xff\xff\xff"s + entry + entry), printed("\n\n Parameter-map : a\n\n\n Parameter-map : a\n"));
}

// The length decides about the end of the page, not what lies after it.
TEST_F(ParamMapPage, TheLengthIsAPagesEnd) {
  const std::string page = "\0\0\0\2"s + map_entry("\0\0\0\3"s, "a") + map_entry("\0\0\0\3"s, "b");
  EXPECT_EQ(format(page.data(), 3), kNothing);
  EXPECT_EQ(format(page.data(), 4), kNothing);
  EXPECT_EQ(format(page.data(), 291), kNothing);
  EXPECT_EQ(format(page.data(), 292), printed("\n\n Parameter-map : a\n"));
  EXPECT_EQ(format(page.data(), 579), printed("\n\n Parameter-map : a\n"));
  EXPECT_EQ(format(page.data(), 580), printed("\n\n Parameter-map : a\n\n\n Parameter-map : b\n"));
}

TEST_F(ParamMapPage, EntriesAfterTheCountAreNotShown) {
  const std::string a = map_entry("\0\0\0\3"s, "a");
  const std::string b = map_entry("\0\0\0\3"s, "b");
  EXPECT_EQ(format(kOne + a + b), printed("\n\n Parameter-map : a\n"));
  EXPECT_EQ(format(kOne + a + "more"), printed("\n\n Parameter-map : a\n"));
}

TEST_F(ParamMapPage, TheCountIsBigEndian) {
  std::string page = "\0\0\1\0"s;
  std::string text;
  for (int number = 0; number < 257; ++number) {
    const std::string name = "map-" + std::to_string(number);
    page += map_entry("\0\0\0\3"s, name);
    if (number < 256) text += "\n\n Parameter-map : " + name + "\n";
  }
  EXPECT_EQ(format(page), printed(text));
}

// A page begins wherever the RPC library put it.
TEST_F(ParamMapPage, APageAtAnOddAddress) {
  const std::string page = "?" + kOne + map_entry(kSsl, "tls", {{96, "\0\0\0\2"s}});
  EXPECT_EQ(format(page.data() + 1, 292), printed("\n\n Parameter-map : tls\n"
                                                  " Type : ssl\n"
                                                  "    version                            : TLS1\n"
                                                  "    close-protocol                     : strict\n"));
}

TEST_F(ParamMapPage, EntriesOfEveryTypeInTheirOrder) {
  const std::string page = "\0\0\0\4"s + map_entry(kSsl, "s") + map_entry("\0\0\0\x09"s, "u") + map_entry(kHttp, "h") +
                           map_entry(kSsl, "t", {{112, "\0\0\0\1"s}});
  EXPECT_EQ(format(page), printed("\n\n Parameter-map : s\n"
                                  " Type : ssl\n"
                                  "    version                            : all\n"
                                  "    close-protocol                     : strict\n"
                                  "\n\n Parameter-map : u\n"
                                  "\n\n Parameter-map : h\n"
                                  " Type : http\n"
                                  "    server-side connection reuse       : disabled\n"
                                  "    case-insensitive parsing           : disabled\n"
                                  "    persistence-rebalance              : disabled\n"
                                  "    header-maxparse-length             : 0\n"
                                  "    content-maxparse-length            : 0\n"
                                  "    parse length-exceed action         : drop\n"
                                  "    urlcookie-delimiters               : \n"
                                  "\n\n Parameter-map : t\n"
                                  " Type : ssl\n"
                                  "    version                            : all\n"
                                  "    close-protocol                     : none\n"));
}

TEST_F(ParamMapPage, AnUnknownTypeShowsItsNameOnly) {
  for (const std::string& type : {"\0\0\0\3"s, "\0\0\0\4"s, "\0\0\1\0"s, "\0\1\0\1"s, "\1\0\0\0"s, "\2\0\0\0"s,
                                  "\x80\0\0\1"s, "\xff\xff\xff\xff"s}) {
    EXPECT_EQ(format_entry(type, {{80, std::string(208, '\1')}}, "odd"), printed("\n\n Parameter-map : odd\n"))
        << hex(type);
  }
}

TEST_F(ParamMapPage, Names) {
  const std::string unknown = "\0\0\0\3"s;
  EXPECT_EQ(format_entry(unknown, {}, ""), printed("\n\n Parameter-map : \n"));
  EXPECT_EQ(format_entry(unknown, {}, "100%s%n"), printed("\n\n Parameter-map : 100%s%n\n"));
  EXPECT_EQ(format_entry(unknown, {}, "gr\xc3\xbcn"), printed("\n\n Parameter-map : gr\xc3\xbcn\n"));
  EXPECT_EQ(format_entry(unknown, {}, "ab\0cd"s), printed("\n\n Parameter-map : ab\n"));
  EXPECT_EQ(format_entry(unknown, {}, std::string(64, 'x')),
            printed("\n\n Parameter-map : " + std::string(64, 'x') + "\n"));
}

// A name without its zero byte ends with its 65 bytes at the latest.
TEST_F(ParamMapPage, ANameWithoutAnEnd) {
  const Events events = format_entry("\0\0\0\3"s, {{77, std::string(211, 'Z')}}, std::string(65, 'x'));
  EXPECT_THAT(events, testing::AnyOf(printed("\n\n Parameter-map : " + std::string(64, 'x') + "\n"),
                                     printed("\n\n Parameter-map : " + std::string(65, 'x') + "\n")));
}

}  // namespace
}  // namespace kvel::cli::test::param_map_page_test
