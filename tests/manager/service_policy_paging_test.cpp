// The statistics stream over several pages: where it is cut, and how it goes on when the configuration changes
// between two pages.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "manager/service/manager.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/fake_store.h"
#include "tests/manager/support/policy_client.h"
#include "tests/manager/support/service_policy_client.h"

namespace kvel::manager::testing::service_policy_paging_test {
namespace {

constexpr std::size_t kPageBytes = 65536;
// Classes without actions take 260 bytes, as the policy-map does.
constexpr std::size_t kClassesPerPage = 251;

std::string class_name(std::size_t index) { return "c" + std::to_string(1000 + index); }

std::uint32_t word_in(const std::string& bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t index = 0; index < 4; ++index)
    value = value << 8U | static_cast<unsigned char>(bytes[at + index]);
  return value;
}

// The names of the classes on a page of classes without actions.
std::vector<std::string> names_on(const StreamPage& page) {
  std::vector<std::string> names;
  for (std::size_t at = 260; at < page.bytes.size(); at += 260)
    names.emplace_back(page.bytes.substr(at + 12, 64).c_str());
  return names;
}

class ServicePolicyPaging : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(policy_.create("p"), Status::ok); }

  void add_class(const std::string& name, const std::string& before = "") {
    ASSERT_EQ(client_.create(name), Status::ok);
    ASSERT_EQ(policy_.put({"p", name, 1, before}), Status::ok);
  }
  void add_classes(std::size_t count) {
    for (std::size_t index = 0; index < count; ++index)
      add_class(class_name(index));
  }
  StreamPage next(const StreamPage& page, std::uint32_t detail = 1) {
    return traffic_.show("p", detail, page.position);
  }

  // The walk is over, and nothing more is shown.
  void expect_over(const StreamPage& page) {
    EXPECT_EQ(page.status, Status::ok);
    EXPECT_EQ(page.bytes, "");
    EXPECT_EQ(page.more, word(0));
  }

  FakeDisk disk_;
  std::unique_ptr<Manager> manager_ = Manager::open(std::make_unique<FakeStore>(disk_)).value();
  Client client_{*manager_};
  PolicyClient policy_{*manager_};
  ServicePolicyClient traffic_{*manager_};
};

TEST_F(ServicePolicyPaging, AFullPageAndOneClassMore) {
  add_classes(kClassesPerPage);
  const StreamPage whole = traffic_.show("p");
  EXPECT_EQ(whole.status, Status::ok);
  EXPECT_EQ(whole.more, word(0));
  EXPECT_EQ(whole.bytes.size(), 260 + kClassesPerPage * 260);
  EXPECT_EQ(word_in(whole.bytes, 4), kClassesPerPage);

  add_class("last");
  const StreamPage first = traffic_.show("p");
  EXPECT_EQ(first.status, Status::more_data);
  EXPECT_EQ(first.more, word(1));
  EXPECT_EQ(first.bytes, whole.bytes);
  const StreamPage second = next(first);
  EXPECT_EQ(second.status, Status::ok);
  EXPECT_EQ(second.more, word(0));
  EXPECT_EQ(second.bytes, policy_record(1, 0, 0) + class_record("last", 0));
}

TEST_F(ServicePolicyPaging, ClassDefaultOnAPageOfItsOwn) {
  add_classes(kClassesPerPage);
  ASSERT_EQ(policy_.options({"p", "class-default"}, 0x80000000), Status::ok);
  const StreamPage first = traffic_.show("p");
  EXPECT_EQ(first.more, word(1));
  const StreamPage second = next(first);
  EXPECT_EQ(second.bytes, policy_record(1, 0, 0) + class_record("class-default", 1) + group_record(0, 1));
  EXPECT_EQ(second.more, word(0));
}

TEST_F(ServicePolicyPaging, EveryPageCarriesTheVlans) {
  add_classes(2 * kClassesPerPage);
  ASSERT_EQ(traffic_.apply("p", 5), Status::ok);
  const StreamPage first = traffic_.show("p");
  const StreamPage second = next(first);
  EXPECT_EQ(first.bytes.substr(260, 4), word(5));
  EXPECT_EQ(second.bytes.substr(260, 4), word(5));
  EXPECT_LE(first.bytes.size(), kPageBytes);
}

TEST_F(ServicePolicyPaging, ClassesThatComeAndGoBetweenPages) {
  add_classes(kClassesPerPage + 2);
  const StreamPage first = traffic_.show("p");
  add_class("before", class_name(0));
  add_class("after", class_name(kClassesPerPage + 1));
  ASSERT_EQ(policy_.put({"p", class_name(kClassesPerPage), 0}), Status::ok);
  ASSERT_EQ(policy_.put({"p", class_name(kClassesPerPage - 1), 0}), Status::ok);  // the last one shown
  const StreamPage second = next(first);
  EXPECT_EQ(names_on(second), (std::vector<std::string>{"after", class_name(kClassesPerPage + 1)}));
  EXPECT_EQ(second.more, word(0));
}

TEST_F(ServicePolicyPaging, AllThatWasLeftGoes) {
  add_classes(kClassesPerPage + 1);
  const StreamPage first = traffic_.show("p");
  ASSERT_EQ(policy_.put({"p", class_name(kClassesPerPage), 0}), Status::ok);
  const StreamPage second = next(first);
  EXPECT_EQ(second.status, Status::ok);
  EXPECT_EQ(second.bytes, policy_record(0, 0, 0));
  EXPECT_EQ(second.more, word(0));
}

TEST_F(ServicePolicyPaging, TheWalkEndsWhenAClassMoves) {
  add_classes(kClassesPerPage + 1);
  const StreamPage first = traffic_.show("p");
  // Otherwise it would be shown again.
  ASSERT_EQ(policy_.put({"p", class_name(0), 1, "class-default"}), Status::ok);
  expect_over(next(first));
  // A new walk shows it in its place.
  const StreamPage again = next(traffic_.show("p"));
  EXPECT_EQ(names_on(again), (std::vector<std::string>{class_name(0)}));
}

TEST_F(ServicePolicyPaging, TheWalkEndsWhenAllPlacesAreGivenAnew) {
  add_classes(kClassesPerPage + 1);
  const StreamPage first = traffic_.show("p");
  for (std::size_t index = 0; index < 40; ++index)
    add_class("n" + std::to_string(index), class_name(0));
  expect_over(next(first));
}

TEST_F(ServicePolicyPaging, TheWalkEndsWhenThePolicyMapGoes) {
  add_classes(kClassesPerPage + 1);
  const StreamPage first = traffic_.show("p");
  ASSERT_EQ(policy_.remove("p"), Status::ok);
  expect_over(next(first));
  // Another one of its name is not what was being shown.
  ASSERT_EQ(policy_.create("p"), Status::ok);
  for (std::size_t index = 0; index <= kClassesPerPage; ++index)
    ASSERT_EQ(policy_.put({"p", class_name(index)}), Status::ok);
  expect_over(next(first));
}

TEST_F(ServicePolicyPaging, TheWalkEndsInAnotherProcess) {
  add_classes(kClassesPerPage + 1);
  const StreamPage first = traffic_.show("p");
  auto other = Manager::open(std::make_unique<FakeStore>(disk_)).value();
  expect_over(ServicePolicyClient(*other).show("p", 1, first.position));
}

TEST_F(ServicePolicyPaging, APositionThatNobodyGave) {
  add_classes(1);
  expect_over(traffic_.show("p", 1, std::string(20, '\xff')));
  expect_over(traffic_.show("p", 1, std::string("\0\0\0\1", 4) + std::string(16, '\0')));
}

TEST_F(ServicePolicyPaging, OtherChangesDoNotDisturbIt) {
  add_classes(kClassesPerPage + 1);
  const StreamPage first = traffic_.show("p");
  ASSERT_EQ(client_.create("another"), Status::ok);
  ASSERT_EQ(policy_.describe("p", "changed"), Status::ok);
  EXPECT_EQ(next(first).bytes, policy_record(1, 0, 0, "changed") + class_record(class_name(kClassesPerPage), 0));
}

// 216 bytes a translation: 299 fit beside the policy-map, the class and its group.
TEST_F(ServicePolicyPaging, AClassIsCutBetweenTranslations) {
  add_class("c");
  constexpr std::uint32_t kOnFirstPage = (65536 - 3 * 260) / 216;
  static_assert(kOnFirstPage == 299);
  for (std::uint32_t pool = 1; pool <= 320; ++pool)
    ASSERT_EQ(policy_.dynamic_nat({"p", "c"}, pool, 1), Status::ok);
  ASSERT_EQ(policy_.rtsp({"p", "c"}), Status::ok);
  add_class("d");

  const auto nats = [](std::uint32_t first, std::uint32_t last) {
    std::string bytes = group_record(1, last - first + 1);
    for (std::uint32_t pool = first; pool <= last; ++pool)
      bytes += statistics_record({{12, word(pool)}, {16, word(1)}});
    return bytes;
  };
  // What comes once comes with the first page: 476 bytes less for translations, which is three of these.
  const StreamPage first = traffic_.show("p");
  EXPECT_EQ(first.more, word(1));
  EXPECT_EQ(first.bytes,
            policy_record(1, 0, 0) + class_record("c", 2) + nats(1, 297) + group_record(7, 1) + statistics_record({}));
  const StreamPage second = next(first);
  EXPECT_EQ(second.more, word(0));
  EXPECT_EQ(second.bytes, policy_record(2, 0, 0) + class_record("c", 1) + nats(298, 320) + class_record("d", 0));
}

TEST_F(ServicePolicyPaging, ACutClassIsLeftWhenTheConfigurationChanges) {
  add_class("c");
  for (std::uint32_t pool = 1; pool <= 320; ++pool)
    ASSERT_EQ(policy_.dynamic_nat({"p", "c"}, pool, 1), Status::ok);
  add_class("d");
  const StreamPage first = traffic_.show("p");
  ASSERT_EQ(first.more, word(1));
  ASSERT_EQ(policy_.dynamic_nat({"p", "c", 0}, 1, 1), Status::ok);
  const StreamPage second = next(first);
  EXPECT_EQ(second.bytes, policy_record(1, 0, 0) + class_record("d", 0));
  EXPECT_EQ(second.more, word(0));
}

// 336 bytes a rule: 194 fit after what comes once.
TEST_F(ServicePolicyPaging, AClassIsCutBetweenRulesOfBothLayer7PolicyMaps) {
  add_class("c");
  ASSERT_EQ(policy_.create("lb", 2), Status::ok);
  ASSERT_EQ(policy_.create("http", 3), Status::ok);
  const auto rule_name = [](char kind, std::uint32_t index) { return kind + std::to_string(1000 + index); };
  for (std::uint32_t index = 0; index < 200; ++index) {
    ASSERT_EQ(policy_.url_match({"lb", rule_name('l', index)}, "/" + std::to_string(index)), Status::ok);
    const std::string rule = rule_name('h', index);
    ASSERT_EQ(client_.create(rule, 3), Status::ok);
    ASSERT_EQ(policy_.put({"http", rule}, 3), Status::ok);
  }
  ASSERT_EQ(policy_.vip({"p", "c"}, record(160, {{85, "lb"}, {156, word(0x02000000)}})), Status::ok);
  ASSERT_EQ(policy_.http({"p", "c"}, record(156, {{89, "http"}})), Status::ok);

  const auto rules = [&](char kind, std::uint32_t first, std::uint32_t end) {
    std::string bytes = rules_record(end - first, kind == 'l' ? "lb" : "http");
    for (std::uint32_t index = first; index < end; ++index)
      bytes += rule_record({{4, rule_name(kind, index)}});
    return bytes;
  };
  // 65536 - 2 * 260 for policy-map and class - 2 * (260 + 216 + 72): 63,920 bytes, 190 rules.
  const StreamPage first = traffic_.show("p");
  EXPECT_EQ(first.more, word(1));
  EXPECT_EQ(first.bytes, policy_record(1, 0, 0) + class_record("c", 2) + group_record(2, 1, 1) +
                             statistics_record({{97, "lb"}}) + rules('l', 0, 190) + group_record(3, 1, 1) +
                             statistics_record({{81, "http"}}) + rules('h', 0, 0));
  // 65536 - 2 * 260 - 2 * (260 + 72): 64,352 bytes, 191 rules.
  const StreamPage second = next(first);
  EXPECT_EQ(second.more, word(1));
  EXPECT_EQ(second.bytes, policy_record(1, 0, 0) + class_record("c", 2) + group_record(2, 1, 1) + rules('l', 190, 200) +
                              group_record(3, 1, 1) + rules('h', 0, 181));
  const StreamPage third = next(second);
  EXPECT_EQ(third.more, word(0));
  EXPECT_EQ(third.bytes, policy_record(1, 0, 0) + class_record("c", 1) + group_record(3, 1, 1) + rules('h', 181, 200));
}

TEST_F(ServicePolicyPaging, ALongClassWaitsForThePageAfter) {
  add_class("short");
  add_class("long");
  for (std::uint32_t pool = 1; pool <= 299; ++pool)
    ASSERT_EQ(policy_.dynamic_nat({"p", "long"}, pool, 1), Status::ok);
  const StreamPage first = traffic_.show("p");
  EXPECT_EQ(first.bytes, policy_record(1, 0, 0) + class_record("short", 0));
  EXPECT_EQ(first.more, word(1));
  const StreamPage second = next(first);
  EXPECT_EQ(second.bytes.size(), 3 * 260 + 299 * 216U);
  EXPECT_EQ(second.more, word(0));
}

}  // namespace
}  // namespace kvel::manager::testing::service_policy_paging_test
