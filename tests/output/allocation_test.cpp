// Memory runs out at every allocation in turn: text needs none, a document stays one document, and finish() reports it.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <nlohmann/json.hpp>
#include <string>

#include "kvel/output.h"
#include "tests/output/support.h"

namespace {

// Allocations that still succeed; negative: all of them.
long allocations_left = -1;
bool refused = false;

bool refuse() {
  if (allocations_left < 0) return false;
  if (allocations_left > 0) {
    --allocations_left;
    return false;
  }
  refused = true;
  return true;
}

}  // namespace

// The names that the linker's --wrap asks for.
// NOLINTBEGIN(bugprone-reserved-identifier, readability-identifier-naming)
extern "C" {
void* __real_malloc(std::size_t size);
void* __wrap_malloc(std::size_t size) { return refuse() ? nullptr : __real_malloc(size); }
}
// NOLINTEND(bugprone-reserved-identifier, readability-identifier-naming)

void* operator new(std::size_t size) {
  void* block = refuse() ? nullptr : __real_malloc(size != 0 ? size : 1);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace kvel::output::testing::allocation_test {
namespace {

const std::string kLong(5000, 'x');

void much_output() {
  char tags[2 * 64];
  for (int record = 0; record < 12; ++record) {
    xprint_header("a_rather_long_name_of_an_element");
    xprint("%s", "a line in pieces that is longer than what a string holds in place ");
    xprint("%s\n", kLong.c_str());
    xprint("<%d> %d <%s>\n", xmltag(tags, 2, "number", "name"), record, record, kLong.c_str());
  }
  xprint_footer("a_rather_long_name_of_an_element");
  text("the end");
}

// Only the calls run short of memory, not what the test does around them.
struct Outcome {
  bool finished = false;
  bool refused = false;
  std::string bytes;
};

template <class Calls>
Outcome with_allocations(long count, Format format, Calls&& calls) {
  Memory memory;
  refused = false;
  allocations_left = count;
  begin(format, memory.file());
  calls();
  Outcome outcome;
  outcome.finished = finish();
  allocations_left = -1;
  outcome.refused = refused;
  outcome.bytes = memory.bytes();
  return outcome;
}

TEST(Allocation, TextNeedsNone) {
  const Outcome outcome = with_allocations(0, Format::text, much_output);
  EXPECT_TRUE(outcome.finished);
  EXPECT_FALSE(outcome.refused);
  EXPECT_EQ(outcome.bytes, written(Format::text, much_output));
}

TEST(Allocation, AHugeNumberInTextIsLostAndReported) {
  const Outcome outcome = with_allocations(0, Format::text, [] { xprint("before %.600d after\n", 1); });
  EXPECT_FALSE(outcome.finished);
  EXPECT_EQ(failure(), ENOMEM);
  EXPECT_EQ(outcome.bytes, "before  after\n");
}

template <class WellFormed>
void fail_at_each(Format format, WellFormed&& well_formed) {
  const std::string whole = written(format, much_output);
  long count = 0;
  for (;; ++count) {
    const Outcome outcome = with_allocations(count, format, much_output);
    ASSERT_TRUE(well_formed(outcome.bytes)) << "after " << count << " allocations";
    if (!outcome.refused) {
      EXPECT_TRUE(outcome.finished);
      EXPECT_EQ(outcome.bytes, whole);
      break;
    }
    ASSERT_FALSE(outcome.finished) << "after " << count << " allocations";
    ASSERT_EQ(failure(), ENOMEM);
  }
  EXPECT_GT(count, 2);
}

TEST(Allocation, XmlStaysOneDocument) {
  fail_at_each(Format::xml, [](const std::string& bytes) { return parse_xml(bytes) != nullptr; });
}

TEST(Allocation, JsonStaysOneDocument) {
  fail_at_each(Format::json, [](const std::string& bytes) { return nlohmann::json::accept(bytes); });
}

}  // namespace
}  // namespace kvel::output::testing::allocation_test
