// A stream in one page and the same stream cut between any two classes print the same text.
#include <algorithm>
#include <cstdlib>

#include "tests/fuzz/plan_from_bytes.h"
#include "tests/fuzz/printed_pages.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kvel::cli::test::stream;
  FuzzedDataProvider bytes(data, size);
  const Plan plan = kvel::fuzz::any_plan(bytes);
  const std::vector<std::string> groups = class_groups(plan);
  kvel::fuzz::load_anew();
  const std::string whole = kvel::fuzz::print_page(page_of(plan, groups), plan.detail);

  kvel::fuzz::load_anew();
  std::string joined;
  auto first = groups.begin();
  do {
    const auto left = static_cast<std::uint32_t>(groups.end() - first);
    const auto end = first + bytes.ConsumeIntegralInRange<std::uint32_t>(0, std::min(left, 4U));
    const bool is_stuck = end == first && bytes.remaining_bytes() == 0;
    const auto until = is_stuck ? groups.end() : end;
    joined += kvel::fuzz::print_page(page_of(plan, {first, until}), plan.detail);
    first = until;
  } while (first != groups.end());
  if (joined != whole) std::abort();
  return 0;
}
