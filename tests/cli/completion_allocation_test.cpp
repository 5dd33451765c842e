// Completion hooks when memory runs out: every allocation of a list fails in turn, alone and with all that follow it.
// Each run also checks that nothing is freed twice and that only what the events show is not freed.
#include <cstddef>
#include <regex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::completion_allocation_test {
namespace {

using namespace std::string_literals;
using testing::AnyOf;
using testing::Eq;

// The hook of a module that lists all its objects; each module allocates by itself.
struct Lister {
  const char* module;
  const char* hook;
  const char* call;  // up to the cursor
  // What is printed when an allocation fails: LINE is a line of the source, BYTES for four bytes a name of the
  // last page.
  const char* record;
  const char* node;
  const char* array;
  const char* pair;
  bool lists_no_names;  // a list of 0 is made, where others return null
};

const Lister kListers[] = {
    {"ClassMap", "classmap_completionhook", "call cm_classmap_get_list(u16 7, u32 6, ",
     "Error: Memory allocation failed for 12 bytes\n", "", "Error: Memory allocation failed for BYTES bytes\n",
     "Error: Memory allocation failed for 8 bytes\n", true},
    {"PolicyMap", "policymap_completionhook", "call cm_policymap_get_list(u16 7, u32 8, ",
     "Error: Memory allocation failed for 12 bytes\n", "", "Error: Memory allocation failed for BYTES bytes\n",
     "Error: Memory allocation failed for 8 bytes\n", true},
    {"ParamMap", "kvelparammap_completionhook", "call cm_param_map_list_bytype(u16 7, u16 3, ",
     "Error: Memory allocation failed, kvelparammap_hook:LINE\n",
     "Error: Memory allocation failed, kvelparammap_hook:LINE\n",
     "Error: Memory allocation failed, kvelparammap_hook:LINE\n",
     "Error: Memory allocation failed, kvelparammap_hook:LINE\n", true},
    {"SslProxy", "sslproxy_completionhook", "call cm_get_sslproxy_list(u16 7, ",
     "Error: Memory allocation failed in command completion fn\n", "", "\n malloc failed",
     "Error: Memory allocation failed for 8 bytes\n", false},
};

// What `events` contain, with LINE in place of the number of a source line; it is put into `line`, 0 if there is none.
Events without_line(Events events, int* line = nullptr) {
  static const std::regex kWithLine("(.*kvelparammap_hook:)([1-9][0-9]{0,5})(\\\\n\")");
  if (line != nullptr) *line = 0;
  for (std::string& event : events) {
    std::smatch match;
    if (!std::regex_match(event, match, kWithLine)) continue;
    if (line != nullptr) *line = std::stoi(match[2]);
    event = match[1].str() + "LINE" + match[3].str();
  }
  return events;
}

enum class Then { works_again, keeps_failing };
constexpr Then kBoth[] = {Then::works_again, Then::keeps_failing};

class CompletionAllocation : public PluginTest, public testing::WithParamInterface<Lister> {
 protected:
  static Events one_page() {
    return {"init_resp", GetParam().call + "buffer[65] 00*65, buffer[4] 00000000, response)"s, "free"};
  }
  static Events two_pages() {
    return one_page() +
           Events{"init_resp", GetParam().call + "buffer[65] 00*65, buffer[4] 00000001, response)"s, "free"};
  }

  static Events given_up(const std::vector<std::size_t>& pages, std::size_t left) {
    Events events = (pages.size() == 1 ? one_page() : two_pages()) + Events{out(GetParam().pair)};
    if (left != 0) events.push_back("left " + std::to_string(left) + " blocks");
    return events + Events{"return null"};
  }

  static std::string array_message(const std::string& bytes) {
    std::string message = GetParam().array;
    if (const std::size_t at = message.find("BYTES"); at != std::string::npos) message.replace(at, 5, bytes);
    return out(message);
  }

  // Pages of so many names each; a page of 0 holds the beginning of a name. `more`: the last of them asks for another.
  void answer_pages(const std::vector<std::size_t>& pages, bool more = false) {
    for (std::size_t index = 0; index < pages.size(); ++index) {
      std::string names = "beginning";
      if (pages[index] != 0) names.resize(pages[index] * 65);
      host.answer({.buffers = {"", more || index + 1 < pages.size() ? "\0\0\0\1"s : "\0\0\0\0"s}, .response = names});
    }
  }

  Events complete_failing(std::size_t nth, Then then, int* line = nullptr) {
    if (then == Then::works_again) heap.fail_only(nth);
    if (then == Then::keeps_failing) heap.fail_from(nth);
    Events events = complete(GetParam().hook);
    EXPECT_GE(heap.allocations(), nth);
    heap.fail_none();
    return without_line(std::move(events), line);
  }
};

std::string module_of(const testing::TestParamInfo<Lister>& info) { return info.param.module; }

INSTANTIATE_TEST_SUITE_P(Modules, CompletionAllocation, testing::ValuesIn(kListers), module_of);

struct Row {
  std::vector<std::size_t> pages;  // those that the hook gets to
  std::size_t nth;                 // the allocation that fails
  std::string bytes = {};
};

// The record, a node for each name, the array, and a pair and two strings for each name.
TEST_P(CompletionAllocation, AListTakesTwoBlocksAndFourForEachName) {
  for (const Row& row : std::vector<Row>{{{1}, 6}, {{2}, 10}, {{3}, 14}, {{1, 1}, 10}, {{2, 1}, 14}, {{3, 2}, 22}}) {
    answer_pages(row.pages);
    complete(GetParam().hook);
    EXPECT_EQ(heap.allocations(), row.nth);
    heap.fail_none();
  }
}

TEST_P(CompletionAllocation, AListOfNoNamesTakesTheRecordAndMaybeTheArray) {
  for (const std::vector<std::size_t>& pages : std::vector<std::vector<std::size_t>>{{0}, {0, 0}}) {
    answer_pages(pages);
    complete(GetParam().hook);
    EXPECT_EQ(heap.allocations(), GetParam().lists_no_names ? 2U : 1U);
    heap.fail_none();
  }
}

TEST_P(CompletionAllocation, OfTheRecord) {
  for (Then then : kBoth) {
    EXPECT_EQ(complete_failing(1, then), (Events{out(GetParam().record), "return null"}));
  }
}

// The page is released nevertheless, before or after the message.
TEST_P(CompletionAllocation, OfANode) {
  const std::vector<Row> rows = {{{1}, 2},    {{2}, 2},    {{2}, 3},    {{3}, 2},    {{3}, 3},    {{3}, 4},
                                 {{1, 1}, 3}, {{2, 1}, 4}, {{1, 2}, 3}, {{1, 2}, 4}, {{3, 2}, 5}, {{3, 2}, 6}};
  for (const Row& row : rows) {
    for (Then then : kBoth) {
      for (bool more : {false, true}) {
        answer_pages(row.pages, more);
        const Events pages = row.pages.size() == 1 ? one_page() : two_pages();
        Events printed_first = pages + Events{"return null"};
        Events printed_last = printed_first;
        if (*GetParam().node != '\0') {
          printed_first.insert(printed_first.end() - 2, out(GetParam().node));
          printed_last.insert(printed_last.end() - 1, out(GetParam().node));
        }
        EXPECT_THAT(complete_failing(row.nth, then), AnyOf(Eq(printed_first), Eq(printed_last)))
            << row.pages.size() << " pages, allocation " << row.nth;
      }
    }
  }
}

// A message with a size counts the names of the last page, in words of four bytes.
TEST_P(CompletionAllocation, OfTheArray) {
  const std::vector<Row> rows = {
      {{1}, 3, "4"},    {{2}, 4, "8"},    {{3}, 5, "12"},   {{1, 1}, 4, "4"},  {{2, 1}, 5, "4"},
      {{1, 2}, 5, "8"}, {{3, 2}, 7, "8"}, {{2, 0}, 4, "0"}, {{0, 3}, 5, "12"},
  };
  for (const Row& row : rows) {
    for (Then then : kBoth) {
      answer_pages(row.pages);
      EXPECT_EQ(complete_failing(row.nth, then),
                ((row.pages.size() == 1 ? one_page() : two_pages()) + Events{array_message(row.bytes), "return null"}))
          << row.pages.size() << " pages, allocation " << row.nth;
    }
  }
}

TEST_P(CompletionAllocation, OfTheArrayOfNoNames) {
  if (!GetParam().lists_no_names) return;  // the test of their number checks that there is no such array
  for (Then then : kBoth) {
    answer_pages({0});
    EXPECT_EQ(complete_failing(2, then), (one_page() + Events{array_message("0"), "return null"}));
    answer_pages({0, 0});
    EXPECT_EQ(complete_failing(2, then), (two_pages() + Events{array_message("0"), "return null"}));
  }
}

struct PairRow {
  std::vector<std::size_t> pages;
  std::size_t nth;
  std::size_t left;  // pairs and strings of the names before it
};

// The pairs and strings that are complete by then are left as they are, on purpose.
TEST_P(CompletionAllocation, OfAPair) {
  const std::vector<PairRow> rows = {{{1}, 4, 0},     {{2}, 5, 0},     {{2}, 8, 3},     {{3}, 6, 0},     {{3}, 9, 3},
                                     {{3}, 12, 6},    {{1, 1}, 5, 0},  {{1, 1}, 8, 3},  {{2, 1}, 12, 6}, {{3, 2}, 8, 0},
                                     {{3, 2}, 11, 3}, {{3, 2}, 14, 6}, {{3, 2}, 17, 9}, {{3, 2}, 20, 12}};
  for (const PairRow& row : rows) {
    for (Then then : kBoth) {
      answer_pages(row.pages);
      EXPECT_EQ(complete_failing(row.nth, then), given_up(row.pages, row.left)) << "allocation " << row.nth;
    }
  }
}

// Like a pair's failure. What was made of the pair itself may be freed or left with the others.
TEST_P(CompletionAllocation, OfAPairsFirstString) {
  const std::vector<PairRow> rows = {{{1}, 5, 0},  {{2}, 6, 0},    {{2}, 9, 3},    {{3}, 7, 0},     {{3}, 10, 3},
                                     {{3}, 13, 6}, {{1, 1}, 6, 0}, {{1, 1}, 9, 3}, {{2, 1}, 13, 6}, {{3, 2}, 21, 12}};
  for (const PairRow& row : rows) {
    for (Then then : kBoth) {
      answer_pages(row.pages);
      EXPECT_THAT(complete_failing(row.nth, then),
                  AnyOf(Eq(given_up(row.pages, row.left)), Eq(given_up(row.pages, row.left + 1))))
          << "allocation " << row.nth;
    }
  }
}

TEST_P(CompletionAllocation, OfAPairsSecondString) {
  const std::vector<PairRow> rows = {{{1}, 6, 0},  {{2}, 7, 0},    {{2}, 10, 3},    {{3}, 8, 0},     {{3}, 11, 3},
                                     {{3}, 14, 6}, {{1, 1}, 7, 0}, {{1, 1}, 10, 3}, {{2, 1}, 14, 6}, {{3, 2}, 22, 12}};
  for (const PairRow& row : rows) {
    for (Then then : kBoth) {
      answer_pages(row.pages);
      EXPECT_THAT(complete_failing(row.nth, then),
                  AnyOf(Eq(given_up(row.pages, row.left)), Eq(given_up(row.pages, row.left + 2))))
          << "allocation " << row.nth;
    }
  }
}

TEST_P(CompletionAllocation, TheNextListIsWholeAgain) {
  host.answer({.response = page({"web"})});
  EXPECT_EQ(complete_failing(5, Then::keeps_failing).back(), "return null");
  host.answer({.response = page({"web"})});
  EXPECT_EQ(complete(GetParam().hook), (one_page() + Events{"return ['web']"}));
}

// The line of the source distinguishes the four kinds of allocation, and nothing else changes it.
class CompletionAllocationLine : public CompletionAllocation {
 protected:
  int line_of(const std::vector<std::size_t>& pages, std::size_t nth, Then then) {
    answer_pages(pages);
    int line = 0;
    complete_failing(nth, then, &line);
    return line;
  }
};

INSTANTIATE_TEST_SUITE_P(Modules, CompletionAllocationLine, testing::Values(kListers[2]), module_of);

TEST_P(CompletionAllocationLine, OneForEachKind) {
  const int record = [&] {
    int line = 0;
    complete_failing(1, Then::works_again, &line);
    return line;
  }();
  const int node = line_of({2}, 2, Then::works_again);
  const int array = line_of({2}, 4, Then::works_again);
  const int pair = line_of({2}, 5, Then::works_again);
  EXPECT_THAT((std::set{record, node, array, pair}), testing::SizeIs(4));
  for (int line : {record, node, array, pair})
    EXPECT_GT(line, 0);
  for (Then then : kBoth) {
    int again = 0;
    complete_failing(1, then, &again);
    EXPECT_EQ(again, record);
    EXPECT_EQ(line_of({2}, 3, then), node);
    EXPECT_EQ(line_of({3, 2}, 6, then), node);
    EXPECT_EQ(line_of({0}, 2, then), array);
    EXPECT_EQ(line_of({3, 2}, 7, then), array);
    EXPECT_EQ(line_of({1}, 4, then), pair);
    EXPECT_EQ(line_of({3, 2}, 20, then), pair);
  }
}

// A string is a part of its pair: it never takes another kind's line.
TEST_P(CompletionAllocationLine, OfAString) {
  const int node = line_of({2}, 2, Then::works_again);
  const int array = line_of({2}, 4, Then::works_again);
  for (std::size_t nth : {6U, 7U, 9U, 10U}) {
    const int line = line_of({2}, nth, Then::works_again);
    EXPECT_GT(line, 0);
    EXPECT_NE(line, node);
    EXPECT_NE(line, array);
    EXPECT_EQ(line, line_of({2}, nth, Then::keeps_failing));
  }
}

}  // namespace
}  // namespace kvel::cli::test::completion_allocation_test
