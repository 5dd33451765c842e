// The completion hooks: which names they ask for, and how they page.
#include <array>
#include <cstdint>
#include <limits>
#include <string>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::completion_paging_test {
namespace {

using namespace std::string_literals;

const std::string kMore = "\0\0\0\1"s;
const std::string kNoMore = "\0\0\0\0"s;

// The hook of a module that lists all its objects; each module pages by itself.
struct Lister {
  const char* module;
  const char* hook;
  const char* call;      // up to the cursor
  const char* no_names;  // what pages without a whole name return
};

const Lister kListers[] = {
    {"ClassMap", "classmap_completionhook", "call cm_classmap_get_list(u16 7, u32 6, ", "return []"},
    {"PolicyMap", "policymap_completionhook", "call cm_policymap_get_list(u16 7, u32 8, ", "return []"},
    {"ParamMap", "kvelparammap_completionhook", "call cm_param_map_list_bytype(u16 7, u16 3, ", "return []"},
    {"SslProxy", "sslproxy_completionhook", "call cm_get_sslproxy_list(u16 7, ", "return null"},
};

class CompletionPaging : public PluginTest, public testing::WithParamInterface<Lister> {
 protected:
  Events names() { return complete(GetParam().hook); }

  // The call of a page; cursor and more word as in a test's notation.
  static std::string page_call(const std::string& cursor = "00*65", const std::string& more = "00000000") {
    return GetParam().call + ("buffer[65] " + cursor) + ", buffer[4] " + more + ", response)";
  }
};

std::string module_of(const testing::TestParamInfo<Lister>& info) { return info.param.module; }

INSTANTIATE_TEST_SUITE_P(Modules, CompletionPaging, testing::ValuesIn(kListers), module_of);

using CompletionHooks = PluginTest;

TEST_F(CompletionHooks, EveryHookAsksForItsKind) {
  struct Row {
    const char* hook;
    const char* call;
  };
  const std::array rows = {
      Row{"classmap_completionhook", "call cm_classmap_get_list(u16 7, u32 6, "},               // all
      Row{"classmap_l3_completionhook", "call cm_classmap_get_list(u16 7, u32 0, "},            // layer-3/4
      Row{"classmap_mgmt_completionhook", "call cm_classmap_get_list(u16 7, u32 1, "},          // management
      Row{"classmap_lb_completionhook", "call cm_classmap_get_list(u16 7, u32 2, "},            // HTTP load-balancing
      Row{"classmap_insphttp_completionhook", "call cm_classmap_get_list(u16 7, u32 3, "},      // HTTP inspection
      Row{"classmap_inspftp_completionhook", "call cm_classmap_get_list(u16 7, u32 4, "},       // FTP inspection
      Row{"policymap_completionhook", "call cm_policymap_get_list(u16 7, u32 8, "},             // all
      Row{"policymap_l3_completionhook", "call cm_policymap_get_list(u16 7, u32 1, "},          // layer-3/4
      Row{"policymap_lb_completionhook", "call cm_policymap_get_list(u16 7, u32 2, "},          // HTTP load-balancing
      Row{"policymap_insphttp_completionhook", "call cm_policymap_get_list(u16 7, u32 3, "},    // HTTP inspection
      Row{"policymap_inspftp_completionhook", "call cm_policymap_get_list(u16 7, u32 4, "},     // FTP inspection
      Row{"policymap_mgmt_completionhook", "call cm_policymap_get_list(u16 7, u32 5, "},        // management
      Row{"policymap_svc_completionhook", "call cm_policymap_get_list(u16 7, u32 7, "},         // those for interfaces
      Row{"kvelparammap_completionhook", "call cm_param_map_list_bytype(u16 7, u16 3, "},       // all
      Row{"kvelparammap_conn_completionhook", "call cm_param_map_list_bytype(u16 7, u16 0, "},  // connection
      Row{"kvelparammap_http_completionhook", "call cm_param_map_list_bytype(u16 7, u16 1, "},  // http
      Row{"kvelparammap_ssl_completionhook", "call cm_param_map_list_bytype(u16 7, u16 2, "},   // ssl
      Row{"sslproxy_completionhook", "call cm_get_sslproxy_list(u16 7, "},                      // services
  };
  for (const Row& row : rows) {
    host.answer({.response = page({"web", "db"})});
    EXPECT_EQ(complete(row.hook), (Events{"init_resp", row.call + "buffer[65] 00*65, buffer[4] 00000000, response)"s,
                                          "free", "return ['web', 'db']"}))
        << row.hook;
    // the second page asks for the same kind
    host.answer({.buffers = {field("web", 65), kMore}, .response = page({"web"})});
    host.answer({.buffers = {field("db", 65), kNoMore}, .response = page({"db"})});
    EXPECT_EQ(
        complete(row.hook),
        (Events{"init_resp", row.call + "buffer[65] 00*65, buffer[4] 00000000, response)"s, "free", "init_resp",
                row.call + "buffer[65] 776562 00*62, buffer[4] 00000001, response)"s, "free", "return ['web', 'db']"}))
        << row.hook;
  }
}

// The hook of parameter-maps is exported with its kind, which goes out as it is.
TEST_F(CompletionHooks, TheKindOfParameterMapsIsAnArgument) {
  struct Row {
    std::uint32_t kind;
    const char* argument;
  };
  for (const Row& row : std::array{Row{0, "u16 0"}, Row{1, "u16 1"}, Row{2, "u16 2"}, Row{3, "u16 3"}, Row{4, "u16 4"},
                                   Row{255, "u16 255"}, Row{256, "u16 256"}, Row{65535, "u16 65535"}}) {
    host.answer({.buffers = {field("web", 65), kMore}, .response = page({"web"})});
    host.answer({.buffers = {"", kNoMore}, .response = page({"db"})});
    const std::string call = "call cm_param_map_list_bytype(u16 7, "s + row.argument + ", ";
    EXPECT_EQ(complete_kind("kvelparammap_hook", row.kind),
              (Events{"init_resp", call + "buffer[65] 00*65, buffer[4] 00000000, response)", "free", "init_resp",
                      call + "buffer[65] 776562 00*62, buffer[4] 00000001, response)", "free", "return ['web', 'db']"}))
        << row.kind;
  }
}

TEST_F(CompletionHooks, TheContextTravelsAsItsLow16Bits) {
  struct Row {
    std::int16_t context_id;
    const char* argument;
  };
  for (const Row& row :
       std::array{Row{0, "u16 0"}, Row{32767, "u16 32767"}, Row{-1, "u16 65535"}, Row{-32768, "u16 32768"}}) {
    host.answer({.response = page({"web"})});
    EXPECT_EQ(complete("classmap_completionhook", {.context_id = row.context_id}),
              (Events{"init_resp",
                      "call cm_classmap_get_list("s + row.argument +
                          ", u32 6, buffer[65] 00*65, buffer[4] 00000000, response)",
                      "free", "return ['web']"}));
    host.answer({.response = page({"web"})});
    EXPECT_EQ(complete("policymap_completionhook", {.context_id = row.context_id}),
              (Events{"init_resp",
                      "call cm_policymap_get_list("s + row.argument +
                          ", u32 8, buffer[65] 00*65, buffer[4] 00000000, response)",
                      "free", "return ['web']"}));
    host.answer({.response = page({"web"})});
    EXPECT_EQ(complete("kvelparammap_completionhook", {.context_id = row.context_id}),
              (Events{"init_resp",
                      "call cm_param_map_list_bytype("s + row.argument +
                          ", u16 3, buffer[65] 00*65, buffer[4] 00000000, response)",
                      "free", "return ['web']"}));
    host.answer({.response = page({"web"})});
    EXPECT_EQ(
        complete("sslproxy_completionhook", {.context_id = row.context_id}),
        (Events{"init_resp",
                "call cm_get_sslproxy_list("s + row.argument + ", buffer[65] 00*65, buffer[4] 00000000, response)",
                "free", "return ['web']"}));
  }
}

TEST_P(CompletionPaging, PagesOfThreeAndTwo) {
  host.answer({.buffers = {field("c", 65), kMore}, .response = page({"a", "b", "c"})});
  host.answer({.buffers = {field("e", 65), kNoMore}, .response = page({"d", "e"})});
  EXPECT_EQ(names(), (Events{"init_resp", page_call(), "free", "init_resp", page_call("63 00*64", "00000001"), "free",
                             "return ['a', 'b', 'c', 'd', 'e']"}));
}

// Cursor and more word belong to the backend; every bit of them comes back.
TEST_P(CompletionPaging, CursorAndMoreWordComeBackUntouched) {
  std::string cursor;
  for (int byte = 0; byte < 65; ++byte)
    cursor += static_cast<char>(255 - byte);
  host.answer({.buffers = {cursor, "\x80\xff\x01\x7f"}, .response = page({"a"})});
  host.answer({.buffers = {std::string(65, '\xff'), "\0\0\1\0"s}, .response = page({"b"})});
  host.answer({.buffers = {field("", 65), "\1\0\0\0"s}, .response = page({"c"})});
  host.answer({.buffers = {"", kNoMore}, .response = page({"d"})});
  EXPECT_EQ(
      names(),
      (Events{
          "init_resp", page_call(), "free", "init_resp",
          page_call("fffefdfcfbfaf9f8f7f6f5f4f3f2f1f0efeeedecebeae9e8e7e6e5e4e3e2e1e0dfdedddcdbdad9d8d7d6d5d4d3d2d1d0"
                    "cfcecdcccbcac9c8c7c6c5c4c3c2c1c0bf",
                    "80ff017f"),
          "free", "init_resp", page_call("ff*65", "00000100"), "free", "init_resp", page_call("00*65", "01000000"),
          "free", "return ['a', 'b', 'c', 'd']"}));
}

// What the backend leaves alone stays as it was: the cursor and the more word keep what the first page wrote.
TEST_P(CompletionPaging, BuffersLeftAloneKeepTheirBytes) {
  host.answer({.buffers = {field("a", 65), kMore}, .response = page({"a"})});
  host.answer({.response = page({"b"})});
  host.answer({.buffers = {"", kNoMore}, .response = page({"c"})});
  EXPECT_EQ(names(), (Events{"init_resp", page_call(), "free", "init_resp", page_call("61 00*64", "00000001"), "free",
                             "init_resp", page_call("61 00*64", "00000001"), "free", "return ['a', 'b', 'c']"}));
}

TEST_P(CompletionPaging, AnyNonzeroMoreWordAsksAgain) {
  const std::array words = {"\1\0\0\0"s, "\0\1\0\0"s, "\0\0\1\0"s, "\0\0\0\1"s, "\x80\0\0\0"s, "\xff\xff\xff\xff"s};
  const std::array notations = {"01000000", "00010000", "00000100", "00000001", "80000000", "ffffffff"};
  for (std::size_t index = 0; index < words.size(); ++index) {
    host.answer({.buffers = {"", words[index]}, .response = page({"a"})});
    host.answer({.buffers = {"", kNoMore}, .response = page({"b"})});
    EXPECT_EQ(names(), (Events{"init_resp", page_call(), "free", "init_resp", page_call("00*65", notations[index]),
                               "free", "return ['a', 'b']"}));
  }
}

// The more word decides about another page, the status does not.
TEST_P(CompletionPaging, TheStatusMoreDataAsksForNothing) {
  host.answer({.status = 0x40f30000, .buffers = {field("a", 65), kNoMore}, .response = page({"a"})});
  EXPECT_EQ(names(), (Events{"init_resp", page_call(), "free", "return ['a']"}));
  host.answer({.status = 0x40f30000, .buffers = {field("a", 65), kMore}, .response = page({"a"})});
  host.answer({.status = 0x40f30000, .buffers = {field("b", 65), kNoMore}, .response = page({"b"})});
  EXPECT_EQ(names(), (Events{"init_resp", page_call(), "free", "init_resp", page_call("61 00*64", "00000001"), "free",
                             "return ['a', 'b']"}));
}

TEST_P(CompletionPaging, NamesAreCountedInWholeRecords) {
  const std::string three = page({"a", "b", "c"});
  struct Row {
    std::size_t size;
    const char* returned;
  };
  for (const Row& row :
       std::array{Row{1, GetParam().no_names}, Row{64, GetParam().no_names}, Row{65, "return ['a']"},
                  Row{66, "return ['a']"}, Row{100, "return ['a']"}, Row{129, "return ['a']"},
                  Row{130, "return ['a', 'b']"}, Row{194, "return ['a', 'b']"}, Row{195, "return ['a', 'b', 'c']"}}) {
    host.answer({.response = three.substr(0, row.size)});
    EXPECT_EQ(names(), (Events{"init_resp", page_call(), "free", row.returned})) << row.size;
  }
}

TEST_P(CompletionPaging, APageWithoutAWholeNameIsNoEnd) {
  host.answer({.buffers = {field("b", 65), kMore}, .response = page({"a", "b"})});
  host.answer({.buffers = {field("b", 65), kMore}, .response = std::string(64, 'x')});
  host.answer({.buffers = {field("c", 65), kNoMore}, .response = page({"c"})});
  EXPECT_EQ(names(), (Events{"init_resp", page_call(), "free", "init_resp", page_call("62 00*64", "00000001"), "free",
                             "init_resp", page_call("62 00*64", "00000001"), "free", "return ['a', 'b', 'c']"}));
}

TEST_P(CompletionPaging, SeveralPagesWithoutAWholeName) {
  host.answer({.buffers = {"", kMore}, .response = "x"});
  host.answer({.buffers = {"", kNoMore}, .response = std::string(64, 'x')});
  EXPECT_EQ(names(), (Events{"init_resp", page_call(), "free", "init_resp", page_call("00*65", "00000001"), "free",
                             GetParam().no_names}));
}

TEST_P(CompletionPaging, AnEmptyPageReturnsNothing) {
  const Events nothing = {"init_resp", page_call(), "free", "return null"};
  EXPECT_EQ(names(), nothing);  // length 0, no data
  host.answer({.response = page({"a"}), .length = 0});
  EXPECT_EQ(names(), nothing);
  host.answer({.response = page({"a"}), .length = -1});
  EXPECT_EQ(names(), nothing);
  host.answer({.response = page({"a"}), .length = -65});
  EXPECT_EQ(names(), nothing);
  host.answer({.response = page({"a"}), .length = std::numeric_limits<std::int32_t>::min()});
  EXPECT_EQ(names(), nothing);
  host.answer({.response = page({"a"}), .null_data = true});
  EXPECT_EQ(names(), nothing);
  host.answer({.length = std::numeric_limits<std::int32_t>::max(), .null_data = true});
  EXPECT_EQ(names(), nothing);
  host.answer({.status = 0x40f30000, .buffers = {"", kMore}});
  EXPECT_EQ(names(), nothing);
}

TEST_P(CompletionPaging, AnEmptyLaterPageLosesTheEarlierNames) {
  const Events nothing = {"init_resp", page_call(),  "free", "init_resp", page_call("62 00*64", "00000001"),
                          "free",      "return null"};
  const Answer first = {.buffers = {field("b", 65), kMore}, .response = page({"a", "b"})};
  host.answer(first);
  host.answer({});
  EXPECT_EQ(names(), nothing);
  host.answer(first);
  host.answer({.response = page({"c"}), .length = -1});
  EXPECT_EQ(names(), nothing);
  host.answer(first);
  host.answer({.response = page({"c"}), .null_data = true});
  EXPECT_EQ(names(), nothing);
}

TEST_P(CompletionPaging, AFailedCallIsSilentAndReleasesNothing) {
  for (std::int32_t status : {-999, -998, -997, -996, -1, 1, 0x40f30001, 0x40f3000a, 0x40f2ffff,
                              std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()}) {
    host.answer({.status = status});
    EXPECT_EQ(names(), (Events{"init_resp", page_call(), "return null"})) << status;
    host.answer({.buffers = {field("b", 65), kMore}, .response = page({"a", "b"})});
    host.answer({.status = status, .buffers = {field("z", 65), kMore}});
    EXPECT_EQ(names(),
              (Events{"init_resp", page_call(), "free", "init_resp", page_call("62 00*64", "00000001"), "return null"}))
        << status;
  }
}

TEST_P(CompletionPaging, NamesEndAtTheirZeroByteOrAt64Characters) {
  const std::string k64(64, 'x');
  host.answer({.response = page({k64, "b"})});
  EXPECT_EQ(names(), (Events{"init_resp", page_call(), "free", "return ['" + k64 + "', 'b']"}));
  host.answer({.response = page({k64 + "y", "b", std::string(65, 'z')})});
  EXPECT_EQ(names(),
            (Events{"init_resp", page_call(), "free", "return ['" + k64 + "', 'b', '" + std::string(64, 'z') + "']"}));
  host.answer({.response = page({"", "ab\0cd"s, "\0hidden"s})});
  EXPECT_EQ(names(), (Events{"init_resp", page_call(), "free", "return ['', 'ab', '']"}));
  host.answer({.response = page({"gr\xc3\xbcn", "\x01 %s\xff"})});
  EXPECT_EQ(names(), (Events{"init_resp", page_call(), "free", "return ['gr\\xc3\\xbcn', '\\x01 %s\\xff']"}));
}

TEST_P(CompletionPaging, NamesKeepTheirOrderAndTheirDoubles) {
  host.answer({.buffers = {field("a", 65), kMore}, .response = page({"b", "a"})});
  host.answer({.buffers = {"", kNoMore}, .response = page({"c", "a"})});
  EXPECT_EQ(names(), (Events{"init_resp", page_call(), "free", "init_resp", page_call("61 00*64", "00000001"), "free",
                             "return ['b', 'a', 'c', 'a']"}));
}

TEST_P(CompletionPaging, ManyPages) {
  Events expected;
  std::string returned = "return [";
  for (int number = 0; number < 2000; ++number) {
    const bool is_last = number == 1999;
    host.answer({.buffers = {"", is_last ? kNoMore : kMore}, .response = page({"name-" + std::to_string(number)})});
    expected = expected + Events{"init_resp", page_call("00*65", number == 0 ? "00000000" : "00000001"), "free"};
    returned += "'name-" + std::to_string(number) + (is_last ? "']" : "', ");
  }
  expected.push_back(returned);
  EXPECT_EQ(names(), expected);
}

TEST_P(CompletionPaging, APageOfThousandNames) {
  std::string bytes;
  std::string returned = "return [";
  for (int number = 0; number < 1000; ++number) {
    bytes += field("name-" + std::to_string(number), 65);
    returned += "'name-" + std::to_string(number) + (number == 999 ? "']" : "', ");
  }
  host.answer({.response = bytes});
  EXPECT_EQ(names(), (Events{"init_resp", page_call(), "free", returned}));
}

TEST_P(CompletionPaging, NothingIsRememberedBetweenHooks) {
  host.answer({.buffers = {field("b", 65), kMore}, .response = page({"a", "b"})});
  host.answer({.status = -997});
  EXPECT_EQ(names().back(), "return null");
  host.answer({.response = page({"c"})});
  EXPECT_EQ(names(), (Events{"init_resp", page_call(), "free", "return ['c']"}));
}

}  // namespace
}  // namespace kvel::cli::test::completion_paging_test
