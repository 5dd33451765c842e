// Random streams: what holds for every page, however it is cut and whatever its unread bytes are.
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/cli/planned_stream.h"
#include "tests/cli/service_policy_test.h"

namespace kvel::cli::test::service_policy_property_test {
namespace {

using stream::Plan;
using stream::PlannedAction;
using stream::PlannedClass;

template <class Value>
rc::Gen<std::vector<Value>> up_to(std::size_t most, rc::Gen<Value> gen) {
  return rc::gen::mapcat(rc::gen::inRange<std::size_t>(0, most + 1),
                         [gen](std::size_t size) { return rc::gen::container<std::vector<Value>>(size, gen); });
}

rc::Gen<PlannedAction> any_action() {
  return rc::gen::build<PlannedAction>(rc::gen::set(&PlannedAction::type, rc::gen::inRange<std::uint32_t>(0, 10)),
                                       rc::gen::set(&PlannedAction::count, rc::gen::inRange<std::uint32_t>(0, 4)),
                                       rc::gen::set(&PlannedAction::has_l7),
                                       rc::gen::set(&PlannedAction::rules, rc::gen::inRange<std::uint32_t>(0, 3)));
}

// Few names, so that a class often goes on.
rc::Gen<PlannedClass> any_class() {
  return rc::gen::build<PlannedClass>(
      rc::gen::set(&PlannedClass::name, rc::gen::element<std::string>("web", "mail", "web2", "", std::string(63, 'x'))),
      rc::gen::set(&PlannedClass::actions, up_to(3, any_action())));
}

rc::Gen<Plan> any_plan() {
  return rc::gen::build<Plan>(rc::gen::set(&Plan::active), rc::gen::set(&Plan::detail),
                              rc::gen::set(&Plan::vlans, up_to(3, rc::gen::arbitrary<std::uint32_t>())),
                              rc::gen::set(&Plan::classes, up_to(8, any_class())));
}

class ServicePolicyProperty : public ServicePolicyTest {
 protected:
  Events format_afresh(const Plan& plan, const std::vector<std::string>& groups) {
    reload();
    return format(stream::page_of(plan, groups), plan.detail ? 1 : 0);
  }
};

// Cut between any two classes: the same calls, but for the end of each page; also when pages without a class are
// among them.
TEST_F(ServicePolicyProperty, PagesShowWhatOnePageShows) {
  EXPECT_TRUE(rc::check([this] {
    const Plan plan = *any_plan();
    const std::vector<std::string> groups = stream::class_groups(plan);
    const Events whole = format_afresh(plan, groups);

    reload();
    Events joined;
    const auto show_page = [&](std::size_t start, std::size_t end) {
      const auto first = groups.begin();
      const Events shown = format(
          stream::page_of(plan, {first + static_cast<std::ptrdiff_t>(start), first + static_cast<std::ptrdiff_t>(end)}),
          plan.detail ? 1 : 0);
      RC_ASSERT(!shown.empty());
      RC_ASSERT(shown.back() == "xprint_footer 'service_policy'");
      joined = std::move(joined) + shown;
      joined.pop_back();
    };
    std::size_t start = 0;
    do {
      if (*rc::gen::arbitrary<bool>()) show_page(start, start);
      const std::size_t end = std::min(groups.size(), start + *rc::gen::inRange<std::size_t>(1, 4));
      show_page(start, end);
      start = end;
    } while (start < groups.size());
    joined.emplace_back("xprint_footer 'service_policy'");
    RC_ASSERT(joined == whole);
  }));
}

TEST_F(ServicePolicyProperty, UnreadBytesChangeNothing) {
  EXPECT_TRUE(rc::check([this] {
    const Plan plan = *any_plan();
    const Events usual = format_afresh(plan, stream::class_groups(plan));
    for (char byte : {'\0', '\1', '\x7f', '\xff'}) {
      const stream::Filler filler(byte);
      RC_ASSERT(format_afresh(plan, stream::class_groups(plan)) == usual);
    }
  }));
}

// Elements are opened and closed as counted: an action group without records leaves its own open, a class that goes on
// is closed once more than it is opened, and so are its load balancing and HTTP inspection.
TEST_F(ServicePolicyProperty, FootersAreCounted) {
  EXPECT_TRUE(rc::check([this] {
    const Plan plan = *any_plan();
    const Events shown = format_afresh(plan, stream::class_groups(plan));
    const auto count = [&](const std::string& event) { return std::count(shown.begin(), shown.end(), event); };
    std::ptrdiff_t groups = 0;
    std::ptrdiff_t without_records = 0;
    std::array<std::ptrdiff_t, 10> with_records{};
    for (const PlannedClass& planned : plan.classes) {
      for (const PlannedAction& action : planned.actions) {
        ++groups;
        ++(action.count == 0 ? without_records : with_records[action.type]);
      }
    }
    const auto classes = static_cast<std::ptrdiff_t>(plan.classes.size());
    RC_ASSERT(count("xprint_header 'sp_class_types'") == classes);
    RC_ASSERT(count("xprint_footer 'sp_class_types'") == classes);
    RC_ASSERT(count("xprint_footer 'sp_class_map'") == classes);
    RC_ASSERT(count("xprint_header 'sp_class_type'") == groups);
    RC_ASSERT(count("xprint_footer 'sp_class_type'") == groups - without_records);
    RC_ASSERT(count("xprint_footer 'sp_security_acl'") == with_records[stream::kSecurityAcl]);
    RC_ASSERT(count("xprint_footer 'sp_nat'") == with_records[stream::kNat]);
    RC_ASSERT(count("xprint_footer 'sp_loadbalance'") == with_records[stream::kLoadBalance]);
    RC_ASSERT(count("xprint_footer 'sp_inspecthttp'") == with_records[stream::kInspectHttp]);
    RC_ASSERT(count("xprint_footer 'sp_inspectftp'") == with_records[stream::kInspectFtp]);
    RC_ASSERT(count("xprint_footer 'sp_inspectdns'") == with_records[stream::kInspectDns]);
    RC_ASSERT(count("xprint_footer 'sp_inspecticmp'") == with_records[stream::kInspectIcmp]);
    RC_ASSERT(count("xprint_footer 'sp_inspectrtsp'") == with_records[stream::kInspectRtsp]);
  }));
}

}  // namespace
}  // namespace kvel::cli::test::service_policy_property_test
