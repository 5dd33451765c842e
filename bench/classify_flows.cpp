// How long a flow takes to be classified and counted where an applied policy-map has CLASSES classes of addresses and
// ports, and where it has 10 of them; measured in turn.
//
// usage: bench_classify CLASSES      prints nanoseconds per flow for the one and for the other, medians
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "manager/configuration/candidate.h"
#include "manager/traffic/classifier.h"

namespace {

using namespace kvel::manager;

constexpr std::uint16_t kContext = 0;
constexpr std::uint32_t kFewClasses = 10;
constexpr int kRuns = 15;

constexpr std::uint32_t address(std::uint32_t second, std::uint32_t number) {
  return 10U << 24U | second << 16U | number << 4U;
}
constexpr Ipv4 mask(unsigned length) { return {length == 0 ? 0 : ~std::uint32_t{0} << (32U - length)}; }

struct Shape {
  MatchMode mode;
  std::vector<MatchRule> rules;
};

// Classes as sites have them, in turn: a virtual address with one port; with a range; a network with a port; a network
// of sources; a few addresses, any of which will do.
Shape shape_of(std::uint32_t number) {
  const std::uint32_t port = 1024 + number % 500 * 16;
  switch (number % 5) {
    case 0:
      return {MatchMode::any, {VirtualAddressRule{{address(1, number)}, mask(32), 6, 80, 80}}};
    case 1:
      return {MatchMode::any, {VirtualAddressRule{{address(2, number)}, mask(28), 6, port, port + 11}}};
    case 2:
      return {MatchMode::all, {DestinationAddressRule{{address(3, number)}, mask(28)}, PortRule{17, port, port}}};
    case 3:
      return {MatchMode::all, {SourceAddressRule{{address(4, number)}, mask(28)}}};
    default:
      return {MatchMode::any,
              {DestinationAddressRule{{address(5, number)}, mask(32)},
               DestinationAddressRule{{address(6, number)}, mask(32)}, PortRule{6, 20000 + number, 20000 + number}}};
  }
}

Configuration filled(std::uint32_t classes) {
  Candidate made(Configuration(), kContext);
  PolicyMapSettings settings;
  settings.application.global = true;
  made.put<PolicyMap>("site", settings);
  for (std::uint32_t number = 0; number < classes; ++number) {
    const std::string name = "class-" + std::to_string(number);
    Shape shape = shape_of(number);
    ClassMapSettings class_settings;
    class_settings.mode = shape.mode;
    made.put<ClassMap>(name, class_settings);
    std::uint32_t line = 0;
    for (MatchRule& rule : shape.rules)
      made.put_rule(name, ++line, std::move(rule));
    ActionList actions;
    actions.put(SecurityAclAction{});
    made.put_class("site", {0, (number + 1) * ClassList::kStep, {name, std::nullopt, std::move(actions)}});
  }
  return made.configuration();
}

// Flows to every class alike, and one in six to none.
std::vector<Flow> flows_for(std::uint32_t classes) {
  constexpr std::size_t kFlows = 6000;
  std::mt19937 random(7);
  std::vector<Flow> flows(kFlows);
  for (std::size_t index = 0; index < kFlows; ++index) {
    Flow& flow = flows[index];
    const auto number = static_cast<std::uint32_t>(random() % classes);
    flow.source.word = 192U << 24U | static_cast<std::uint16_t>(random());
    flow.destination.word = 172U << 24U | static_cast<std::uint16_t>(random());
    flow.protocol = kTcp;
    flow.source_port = static_cast<std::uint16_t>(random());
    flow.destination_port = 9;
    flow.traffic = {10, 10, 1000, 10000};
    if (index % 6 == 0) continue;
    const auto port = static_cast<std::uint16_t>(1024 + number % 500 * 16);
    switch (number % 5) {
      case 0:
        flow.destination.word = address(1, number);
        flow.destination_port = 80;
        break;
      case 1:
        flow.destination.word = address(2, number) + 5;
        flow.destination_port = static_cast<std::uint16_t>(port + 7);
        break;
      case 2:
        flow.destination.word = address(3, number) + 5;
        flow.protocol = kUdp;
        flow.destination_port = port;
        break;
      case 3:
        flow.source.word = address(4, number) + 5;
        break;
      default:
        flow.destination.word = address(6, number);
        break;
    }
  }
  return flows;
}

class Site {
 public:
  explicit Site(std::uint32_t classes)
      : flows_(flows_for(classes)), context_(filled(classes).context(kContext)), classifier_(context_, statistics_) {}

  // Nanoseconds per flow.
  double measure() {
    constexpr int kRounds = 20;
    const auto start = std::chrono::steady_clock::now();
    for (int round = 0; round < kRounds; ++round) {
      for (const Flow& flow : flows_)
        Classifier::count(*classifier_.decide(flow));
    }
    const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
    return taken.count() / kRounds / static_cast<double>(flows_.size());
  }

  // Whether the flows went where they were sent.
  [[nodiscard]] bool is_right() const {
    std::uint64_t other = 0;
    std::uint64_t all = 0;
    const ClassList& classes = context_->find<PolicyMap>("site")->classes;
    for (const auto& [position, entry] : classes) {
      all += connections_of(*entry);
      other += connections_of(*entry) == 0 ? 1 : 0;
    }
    const std::uint64_t rest = connections_of(*classes.class_default());
    return rest * 5 == all && other * 10 < classes.size();
  }

 private:
  [[nodiscard]] std::uint64_t connections_of(const PolicyClass& entry) const {
    return statistics_.find(entry.number)->counters.connections;
  }

  const std::vector<Flow> flows_;
  const std::shared_ptr<const Context> context_;
  StatisticsTable statistics_;
  Classifier classifier_;
};

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main(int count, char** words) {
  const unsigned long classes = count == 2 ? std::strtoul(words[1], nullptr, 10) : 0;
  if (classes < 1 || classes > 1000) {
    std::fputs("usage: bench_classify CLASSES      (1 to 1000)\n", stderr);
    return 2;
  }
  Site many(static_cast<std::uint32_t>(classes));
  Site few(kFewClasses);
  (void)many.measure();
  (void)few.measure();
  std::vector<double> with_many;
  std::vector<double> with_few;
  for (int run = 0; run < kRuns; ++run) {
    with_many.push_back(many.measure());
    with_few.push_back(few.measure());
  }
  if (!many.is_right() || !few.is_right()) {
    std::fputs("bench_classify: flows did not go where they were sent\n", stderr);
    return 1;
  }
  std::printf("%.1f %.1f\n", median(with_many), median(with_few));
  return 0;
}
