// Completion hooks when memory runs out: every allocation of a list fails in turn, alone and with all that follow it.
// Each run also checks that nothing is freed twice and that only what the events show is left behind.
#include <cstddef>
#include <string>
#include <vector>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test {
namespace {

using namespace std::string_literals;
using testing::AnyOf;
using testing::Eq;

// The hook of a module that lists all its objects; each module allocates by itself.
struct Lister {
  const char* module;
  const char* hook;
  const char* call;  // up to the cursor
};

const Lister kListers[] = {
    {"ClassMap", "classmap_completionhook", "call cm_classmap_get_list(u16 7, u32 6, "},
    {"PolicyMap", "policymap_completionhook", "call cm_policymap_get_list(u16 7, u32 8, "},
};

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
    Events events =
        (pages.size() == 1 ? one_page() : two_pages()) + Events{out("Error: Memory allocation failed for 8 bytes\n")};
    if (left != 0) events.push_back("left " + std::to_string(left) + " blocks");
    return events + Events{"return null"};
  }

  // Pages of so many names each; a page of 0 holds the beginning of a name. `more`: the last of them asks for another.
  void answer_pages(const std::vector<std::size_t>& pages, bool more = false) {
    for (std::size_t index = 0; index < pages.size(); ++index) {
      std::string names = "beginning";
      if (pages[index] != 0) names.resize(pages[index] * 65);
      host.answer({.buffers = {"", more || index + 1 < pages.size() ? "\0\0\0\1"s : "\0\0\0\0"s}, .response = names});
    }
  }

  Events complete_failing(std::size_t nth, Then then) {
    if (then == Then::works_again) heap.fail_only(nth);
    if (then == Then::keeps_failing) heap.fail_from(nth);
    Events events = complete(GetParam().hook);
    EXPECT_GE(heap.allocations(), nth);
    heap.fail_none();
    return events;
  }
};

std::string module_of(const testing::TestParamInfo<Lister>& info) { return info.param.module; }

INSTANTIATE_TEST_SUITE_P(Modules, CompletionAllocation, testing::ValuesIn(kListers), module_of);

struct Row {
  std::vector<std::size_t> pages;  // those that the hook gets to
  std::size_t nth;                 // the allocation that fails
  std::string message = {};
};

// The record, a node for each name, the array, and a pair and two strings for each name.
TEST_P(CompletionAllocation, AListTakesTwoBlocksAndFourForEachName) {
  for (const Row& row :
       std::vector<Row>{{{0}, 2}, {{1}, 6}, {{2}, 10}, {{3}, 14}, {{1, 1}, 10}, {{2, 1}, 14}, {{3, 2}, 22}}) {
    answer_pages(row.pages);
    complete(GetParam().hook);
    EXPECT_EQ(heap.allocations(), row.nth);
    heap.fail_none();
  }
}

TEST_P(CompletionAllocation, OfTheRecord) {
  for (Then then : kBoth) {
    EXPECT_EQ(complete_failing(1, then),
              (Events{out("Error: Memory allocation failed for 12 bytes\n"), "return null"}));
  }
}

TEST_P(CompletionAllocation, OfANodeIsSilent) {
  const std::vector<Row> rows = {{{1}, 2},    {{2}, 2},    {{2}, 3},    {{3}, 2},    {{3}, 3},    {{3}, 4},
                                 {{1, 1}, 3}, {{2, 1}, 4}, {{1, 2}, 3}, {{1, 2}, 4}, {{3, 2}, 5}, {{3, 2}, 6}};
  for (const Row& row : rows) {
    for (Then then : kBoth) {
      for (bool more : {false, true}) {
        answer_pages(row.pages, more);
        EXPECT_EQ(complete_failing(row.nth, then),
                  ((row.pages.size() == 1 ? one_page() : two_pages()) + Events{"return null"}))
            << row.pages.size() << " pages, allocation " << row.nth;
      }
    }
  }
}

// The message counts the names of the last page, in words of four bytes.
TEST_P(CompletionAllocation, OfTheArray) {
  const std::vector<Row> rows = {
      {{0}, 2, "Error: Memory allocation failed for 0 bytes\n"},
      {{1}, 3, "Error: Memory allocation failed for 4 bytes\n"},
      {{2}, 4, "Error: Memory allocation failed for 8 bytes\n"},
      {{3}, 5, "Error: Memory allocation failed for 12 bytes\n"},
      {{1, 1}, 4, "Error: Memory allocation failed for 4 bytes\n"},
      {{2, 1}, 5, "Error: Memory allocation failed for 4 bytes\n"},
      {{1, 2}, 5, "Error: Memory allocation failed for 8 bytes\n"},
      {{3, 2}, 7, "Error: Memory allocation failed for 8 bytes\n"},
      {{2, 0}, 4, "Error: Memory allocation failed for 0 bytes\n"},
      {{0, 3}, 5, "Error: Memory allocation failed for 12 bytes\n"},
  };
  for (const Row& row : rows) {
    for (Then then : kBoth) {
      answer_pages(row.pages);
      EXPECT_EQ(complete_failing(row.nth, then),
                ((row.pages.size() == 1 ? one_page() : two_pages()) + Events{out(row.message), "return null"}))
          << row.pages.size() << " pages, allocation " << row.nth;
    }
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

using HandlerAllocation = PluginTest;

// Handlers need no memory at all.
TEST_F(HandlerAllocation, Nothing) {
  heap.fail_from(1);
  EXPECT_EQ(run("kvelclassmap_config", {{8, "web"}}).back(), "return 0");
  EXPECT_EQ(run("kvelclassmap_config_desc", {{8, "web"}, {5, "text"}}).back(), "return 0");
  EXPECT_EQ(heap.allocations(), 0U);
}

}  // namespace
}  // namespace kvel::cli::test
