// kvelparammap_show_parammap: which maps it asks for, how it pages, and when it prints how many there are.
#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "tests/cli/param_map_samples.h"
#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::param_map_show_test {
namespace {

using namespace std::string_literals;

const std::string kMore = "\0\0\0\1"s;
const std::string kNoMore = "\0\0\0\0"s;
const std::string k64(64, 'x');  // the longest name

class ParamMapShow : public PluginTest {
 protected:
  Events show(const Tokens& tokens, const Form& form = {}) { return run("kvelparammap_show_parammap", tokens, form); }
};

// The call of a page; cursor, count and more word as in a test's notation.
std::string page_call(const std::string& name, const std::string& cursor = "00*65",
                      const std::string& count = "00000000", const std::string& more = "00000000") {
  return "call cm_show_parameter_map(u16 7, '" + name + "', buffer[65] " + cursor + ", buffer[4] " + count +
         ", buffer[4] " + more + ", response)";
}

// A page with one map of a type that nobody knows: its name is all that is shown.
std::string map_page(const std::string& name) { return "\0\0\0\1"s + map_entry("\0\0\0\3"s, name); }
std::string shown(const std::string& name) { return "\n\n Parameter-map : " + name + "\n"; }

TEST_F(ParamMapShow, All) {
  const std::string maps = "\0\0\0\2"s + map_entry("\0\0\0\1"s, "web") + map_entry("\0\0\0\2"s, "tls");
  host.answer({.buffers = {field("tls", 65), "\0\0\0\2"s, kNoMore}, .response = maps});
  EXPECT_EQ(show({{965}}),
            (Events{"bind 2", "init_resp",
                    "call cm_show_parameter_map(u16 7, '', buffer[65] 00*65, buffer[4] 00000000, buffer[4] 00000000, "
                    "response)",
                    out("\n Number of parameter-maps : 2\n"
                        "\n\n Parameter-map : web\n"
                        " Type : http\n"
                        "    server-side connection reuse       : disabled\n"
                        "    case-insensitive parsing           : disabled\n"
                        "    persistence-rebalance              : disabled\n"
                        "    header-maxparse-length             : 0\n"
                        "    content-maxparse-length            : 0\n"
                        "    parse length-exceed action         : drop\n"
                        "    urlcookie-delimiters               : \n"
                        "\n\n Parameter-map : tls\n"
                        " Type : ssl\n"
                        "    version                            : all\n"
                        "    close-protocol                     : strict\n"),
                    "free", "return 0"}));
}

TEST_F(ParamMapShow, OneByItsNameWithoutACount) {
  host.answer({.buffers = {"", "\0\0\0\2"s}, .response = map_page("web")});
  EXPECT_EQ(show({{965}, {966, "web"}}),
            (Events{"bind 2", "init_resp", page_call("web"), out(shown("web")), "free", "return 0"}));
}

TEST_F(ParamMapShow, Names) {
  struct Row {
    Tokens tokens;
    std::string sent;
  };
  const std::vector<Row> rows = {
      {{{966, "w"}}, "w"},
      {{{966, std::string(63, 'x')}}, std::string(63, 'x')},
      {{{966, k64}}, k64},
      {{{966, k64 + "y"}}, k64},
      {{{966, k64 + std::string(65536, 'y')}}, k64},
      {{{966, k64 + "y"}, {966, "ab"}}, "ab"},
      {{{966, ""}, {966, "ab"}}, "ab"},
      {{{966, "#x"}}, "#x"},
      {{{966, "\x01 %s\xff"}}, "\\x01 %s\\xff"},
  };
  for (const Row& row : rows) {
    host.answer({.buffers = {"", "\0\0\0\1"s}, .response = map_page("m")});
    EXPECT_EQ(show(row.tokens),
              (Events{"bind 2", "init_resp", page_call(row.sent), out(shown("m")), "free", "return 0"}));
  }
}

// No name is an empty name, however it came about.
TEST_F(ParamMapShow, WithoutANameAllAreShownAndCounted) {
  for (const Tokens& tokens : std::vector<Tokens>{{}, {{966, nullptr}}, {{966, ""}}, {{966, "a"}, {966, nullptr}}}) {
    host.answer({.buffers = {"", "\0\0\0\1"s}, .response = map_page("m")});
    EXPECT_EQ(show(tokens), (Events{"bind 2", "init_resp", page_call(""),
                                    out("\n Number of parameter-maps : 1\n" + shown("m")), "free", "return 0"}));
  }
}

// ---- the count

TEST_F(ParamMapShow, OnlyACountAboveZeroIsPrinted) {
  struct Row {
    std::string word;
    std::string line;
  };
  const std::array rows = {
      Row{"\0\0\0\0"s, ""},
      Row{"\xff\xff\xff\xff", ""},
      Row{"\x80\0\0\0"s, ""},
      Row{"\0\0\0\1"s, "\n Number of parameter-maps : 1\n"},
      Row{"\0\0\1\0"s, "\n Number of parameter-maps : 256\n"},
      Row{"\1\2\3\4"s, "\n Number of parameter-maps : 16909060\n"},
      Row{"\x7f\xff\xff\xff"s, "\n Number of parameter-maps : 2147483647\n"},
  };
  for (const Row& row : rows) {
    host.answer({.buffers = {"", row.word}, .response = map_page("m")});
    EXPECT_EQ(show({}), (Events{"bind 2", "init_resp", page_call(""), out(row.line + shown("m")), "free", "return 0"}));
  }
}

TEST_F(ParamMapShow, AFirstPageWithoutEntriesIsCounted) {
  const Events counted = {"bind 2", "init_resp", page_call(""), out("\n Number of parameter-maps : 3\n"),
                          "free",   "return 0"};
  host.answer({.buffers = {"", "\0\0\0\3"s}, .response = "\0\0\0\0"s});
  EXPECT_EQ(show({}), counted);
  host.answer({.buffers = {"", "\0\0\0\3"s}, .response = "\0"s});  // any byte is a page
  EXPECT_EQ(show({}), counted);
}

TEST_F(ParamMapShow, AnEmptyPageShowsNothing) {
  const Events nothing = {"bind 2", "init_resp", page_call(""), "free", "return 0"};
  const std::vector<std::string> three = {"", "\0\0\0\3"s};
  host.answer({.buffers = three});
  EXPECT_EQ(show({}), nothing);
  host.answer({.buffers = three, .response = map_page("m"), .length = 0});
  EXPECT_EQ(show({}), nothing);
  host.answer({.buffers = three, .response = map_page("m"), .length = -1});
  EXPECT_EQ(show({}), nothing);
  host.answer({.buffers = three, .response = map_page("m"), .length = std::numeric_limits<std::int32_t>::min()});
  EXPECT_EQ(show({}), nothing);
  host.answer({.buffers = three, .response = map_page("m"), .null_data = true});
  EXPECT_EQ(show({}), nothing);
  host.answer({.buffers = three, .length = std::numeric_limits<std::int32_t>::max(), .null_data = true});
  EXPECT_EQ(show({}), nothing);
}

// ---- paging

TEST_F(ParamMapShow, SeveralPagesAndOneCount) {
  host.answer({.buffers = {field("b", 65), "\0\0\0\3"s, kMore},
               .response = "\0\0\0\2"s + map_entry("\0\0\0\3"s, "a") + map_entry("\0\0\0\3"s, "b")});
  host.answer({.buffers = {field("c", 65), "\0\0\0\5"s, kMore}, .response = map_page("c")});
  host.answer({.buffers = {field("d", 65), "", kNoMore}, .response = map_page("d")});
  EXPECT_EQ(show({}), (Events{"bind 2", "init_resp", page_call(""),
                              out("\n Number of parameter-maps : 3\n" + shown("a") + shown("b")), "free",  //
                              "init_resp", page_call("", "62 00*64", "00000003", "00000001"), out(shown("c")), "free",
                              "init_resp", page_call("", "63 00*64", "00000005", "00000001"), out(shown("d")), "free",
                              "return 0"}));
}

TEST_F(ParamMapShow, TheNameGoesOutWithEveryPage) {
  host.answer({.buffers = {field("web", 65), "\0\0\0\2"s, kMore}, .response = map_page("web")});
  host.answer({.buffers = {"", "", kNoMore}, .response = map_page("web")});
  EXPECT_EQ(show({{966, "web"}}),
            (Events{"bind 2", "init_resp", page_call("web"), out(shown("web")), "free", "init_resp",
                    page_call("web", "776562 00*62", "00000002", "00000001"), out(shown("web")), "free", "return 0"}));
}

// A first page that is empty takes the count line with it.
TEST_F(ParamMapShow, EmptyPagesAreNoEnd) {
  host.answer({.buffers = {field("a", 65), "\0\0\0\2"s, kMore}});
  host.answer({.buffers = {field("b", 65), "", kMore}, .response = map_page("b")});
  host.answer({.buffers = {field("c", 65), "", kMore}, .response = map_page("x"), .null_data = true});
  host.answer({.buffers = {"", "", kNoMore}, .response = map_page("d")});
  EXPECT_EQ(show({}), (Events{"bind 2", "init_resp", page_call(""), "free",  //
                              "init_resp", page_call("", "61 00*64", "00000002", "00000001"), out(shown("b")), "free",
                              "init_resp", page_call("", "62 00*64", "00000002", "00000001"), "free", "init_resp",
                              page_call("", "63 00*64", "00000002", "00000001"), out(shown("d")), "free", "return 0"}));
}

TEST_F(ParamMapShow, ACountThatComesLateIsNotPrinted) {
  host.answer({.buffers = {"", "\0\0\0\0"s, kMore}, .response = map_page("a")});
  host.answer({.buffers = {"", "\0\0\0\2"s, kNoMore}, .response = map_page("b")});
  EXPECT_EQ(show({}), (Events{"bind 2", "init_resp", page_call(""), out(shown("a")), "free", "init_resp",
                              page_call("", "00*65", "00000000", "00000001"), out(shown("b")), "free", "return 0"}));
}

// Cursor, count and more word belong to the backend; every bit of them comes back.
TEST_F(ParamMapShow, WhatTheBackendWroteComesBackUntouched) {
  std::string cursor;
  for (int byte = 0; byte < 65; ++byte)
    cursor += static_cast<char>(255 - byte);
  host.answer({.buffers = {cursor, "\xfe\xdc\xba\x98", "\x80\xff\x01\x7f"}});
  host.answer({.buffers = {std::string(65, '\xff'), "\x98\xba\xdc\xfe", "\0\0\1\0"s}});
  host.answer({});  // nothing written, more asked for still
  host.answer({.buffers = {"", "", kNoMore}});
  EXPECT_EQ(show({}),
            (Events{"bind 2", "init_resp", page_call(""), "free", "init_resp",
                    page_call("",
                              "fffefdfcfbfaf9f8f7f6f5f4f3f2f1f0efeeedecebeae9e8e7e6e5e4e3e2e1e0dfdedddcdbdad9d8d7d6d5d4"
                              "d3d2d1d0cfcecdcccbcac9c8c7c6c5c4c3c2c1c0bf",
                              "fedcba98", "80ff017f"),
                    "free", "init_resp", page_call("", "ff*65", "98badcfe", "00000100"), "free", "init_resp",
                    page_call("", "ff*65", "98badcfe", "00000100"), "free", "return 0"}));
}

TEST_F(ParamMapShow, AnyNonzeroMoreWordAsksAgain) {
  const std::array words = {"\1\0\0\0"s, "\0\1\0\0"s, "\0\0\1\0"s, "\0\0\0\1"s, "\x80\0\0\0"s, "\xff\xff\xff\xff"s};
  const std::array notations = {"01000000", "00010000", "00000100", "00000001", "80000000", "ffffffff"};
  for (std::size_t index = 0; index < words.size(); ++index) {
    host.answer({.buffers = {"", "", words[index]}, .response = map_page("a")});
    host.answer({.buffers = {"", "", kNoMore}, .response = map_page("b")});
    EXPECT_EQ(show({}),
              (Events{"bind 2", "init_resp", page_call(""), out(shown("a")), "free", "init_resp",
                      page_call("", "00*65", "00000000", notations[index]), out(shown("b")), "free", "return 0"}));
  }
}

// The more word decides about another page, the status does not.
TEST_F(ParamMapShow, TheStatusMoreDataAsksForNothing) {
  host.answer({.status = 0x40f30000, .buffers = {"", "", kNoMore}, .response = map_page("a")});
  EXPECT_EQ(show({}), (Events{"bind 2", "init_resp", page_call(""), out(shown("a")), "free", "return 0"}));
  host.answer({.status = 0x40f30000, .buffers = {"", "", kMore}, .response = map_page("a")});
  host.answer({.status = 0, .buffers = {"", "", kNoMore}, .response = map_page("b")});
  EXPECT_EQ(show({}), (Events{"bind 2", "init_resp", page_call(""), out(shown("a")), "free", "init_resp",
                              page_call("", "00*65", "00000000", "00000001"), out(shown("b")), "free", "return 0"}));
}

TEST_F(ParamMapShow, ManyPages) {
  Events expected = {"bind 2"};
  for (int number = 0; number < 500; ++number) {
    const std::string name = "map-" + std::to_string(number);
    host.answer({.buffers = {"", "", number == 499 ? kNoMore : kMore}, .response = map_page(name)});
    expected = expected + Events{"init_resp", page_call("", "00*65", "00000000", number == 0 ? "00000000" : "00000001"),
                                 out(shown(name)), "free"};
  }
  expected.push_back("return 0");
  EXPECT_EQ(show({}), expected);
}

// ---- failures

struct StatusLine {
  std::int32_t status;
  const char* message;
};

const StatusLine kStatusLines[] = {
    {-999, "Error: Called API is invalid or non-existant\n"},
    {-998, "Error: Called API timed out\n"},
    {-997, "Error: Transport error\n"},
    {-996, "Error: Incorrect argument(s)/type mismatch\n"},
    {-1, "Error: Called API encountered error\n"},
    {1, "Error: text of 0x00000001, 100%d %s\n"},
    {0x40f30001, "Error: text of 0x40f30001, 100%d %s\n"},
    {0x40f30009, "Error: text of 0x40f30009, 100%d %s\n"},
    {0x40f2ffff, "Error: text of 0x40f2ffff, 100%d %s\n"},
    {std::numeric_limits<std::int32_t>::min(), "Error: text of 0x80000000, 100%d %s\n"},
};

// The holder is released, and a more word that is still set is not followed.
TEST_F(ParamMapShow, AFailedFirstPage) {
  for (const StatusLine& line : kStatusLines) {
    host.answer({.status = line.status, .buffers = {field("z", 65), "\0\0\0\1"s, kMore}});
    EXPECT_EQ(show({}), (Events{"bind 2", "init_resp", page_call(""), out(line.message), "free", "return 1"}))
        << line.status;
  }
}

TEST_F(ParamMapShow, AFailedLaterPage) {
  for (const StatusLine& line : kStatusLines) {
    host.answer({.buffers = {field("a", 65), "\0\0\0\2"s, kMore}, .response = map_page("a")});
    host.answer({.status = line.status, .buffers = {"", "", kMore}});
    EXPECT_EQ(
        show({}),
        (Events{"bind 2", "init_resp", page_call(""), out("\n Number of parameter-maps : 2\n" + shown("a")), "free",
                "init_resp", page_call("", "61 00*64", "00000002", "00000001"), out(line.message), "free", "return 1"}))
        << line.status;
  }
}

TEST_F(ParamMapShow, NothingIsRememberedBetweenCommands) {
  host.answer({.buffers = {field("z", 65), "\0\0\0\7"s, kMore}, .response = map_page("a")});
  host.answer({.status = -997});
  EXPECT_EQ(show({{966, "a"}}).back(), "return 1");
  host.answer({.buffers = {"", "\0\0\0\1"s}, .response = map_page("b")});
  EXPECT_EQ(show({}), (Events{"bind 2", "init_resp", page_call(""),
                              out("\n Number of parameter-maps : 1\n" + shown("b")), "free", "return 0"}));
}

}  // namespace
}  // namespace kvel::cli::test::param_map_show_test
