// The walk over a page of the statistics stream, on any well-formed stream: it reads exactly the page, and opens and
// closes as many elements as the groups require.
#include <cstdlib>

#include "tests/fuzz/plan_from_bytes.h"
#include "tests/fuzz/printed_pages.h"

namespace {

using namespace kvel::cli::test::stream;

bool is_continued_kind(std::uint32_t type) { return type == kLoadBalance || type == kInspectHttp; }

// What is left open: the element of each group without actions; less what is closed unopened: that of a class that goes
// on, and of its load balancing and HTTP inspection.
std::int64_t left_open(const Plan& plan) {
  std::int64_t open = 0;
  std::string last_class;
  std::string last_with_actions;
  for (const PlannedClass& planned : plan.classes) {
    if (planned.name == last_class) --open;
    for (const PlannedAction& action : planned.actions) {
      if (action.count == 0) ++open;
      if (action.count != 0 && is_continued_kind(action.type) && planned.name == last_with_actions) --open;
    }
    if (!planned.actions.empty() && planned.actions.back().count != 0) last_with_actions = planned.name;
    last_class = planned.name;
  }
  return open;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider bytes(data, size);
  const Plan plan = kvel::fuzz::any_plan(bytes);
  kvel::fuzz::load_anew();
  const std::string text = kvel::fuzz::print_page(page_of(plan, class_groups(plan)), plan.detail);
  if (text.find("sp_name   service-policy: <policy>") == text.npos) std::abort();
  if (kvel::fuzz::open_elements() != left_open(plan)) std::abort();
  return 0;
}
