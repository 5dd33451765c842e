// How long the first flow after a change waits where a layer-7 policy-map has EXPRESSIONS classes, each with an
// expression: after a change of one of them, and where nothing has been made yet.
//
// usage: bench_change EXPRESSIONS      prints microseconds for the one and for the other, medians
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "manager/configuration/candidate.h"
#include "manager/traffic/classifier.h"

namespace {

using namespace kvel::manager;

constexpr std::uint16_t kContext = 0;
constexpr int kRuns = 7;

std::string name_of(unsigned long number) { return "class-" + std::to_string(number); }

MatchRule url_rule(const std::string& text) { return LbUrlRule{"/" + text + "/[a-z0-9_-]{1,32}/.*[.](png|jpe?g)", ""}; }

Candidate filled(unsigned long expressions) {
  Candidate made(Configuration(), kContext);
  PolicyMapSettings layer7;
  layer7.type = PolicyMapType::http_load_balancing;
  made.put<PolicyMap>("shop", layer7);
  for (unsigned long number = 0; number < expressions; ++number) {
    const std::string name = name_of(number);
    made.put<ClassMap>(name, {ClassMapType::http_load_balancing, MatchMode::any, {}});
    made.put_rule(name, 10, url_rule(name));
    made.put_class("shop", {0, (number + 1) * ClassList::kStep, {name, std::nullopt, {}}});
  }
  PolicyMapSettings settings;
  settings.application.global = true;
  made.put<PolicyMap>("site", settings);
  LoadBalanceAction balance;
  balance.policy = "shop";
  PolicyClass class_default = *made.context().find<PolicyMap>("site")->classes.class_default();
  class_default.content.actions.put(VipInServiceAction{});
  class_default.content.actions.put(balance);
  made.put_class("site", std::move(class_default));
  return made;
}

double microseconds_for(std::unique_ptr<Classifier>& classifier, const Candidate& candidate,
                        StatisticsTable& statistics) {
  const auto& context = candidate.configuration().context(kContext);
  const auto start = std::chrono::steady_clock::now();
  classifier = std::make_unique<Classifier>(context, statistics, classifier.get());
  const std::chrono::duration<double, std::micro> taken = std::chrono::steady_clock::now() - start;
  return taken.count();
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main(int count, char** words) {
  const unsigned long expressions = count == 2 ? std::strtoul(words[1], nullptr, 10) : 0;
  if (expressions < 1 || expressions > 100000) {
    std::fputs("usage: bench_change EXPRESSIONS      (1 to 100000)\n", stderr);
    return 2;
  }
  std::vector<double> after_change;
  std::vector<double> from_nothing;
  for (int run = 0; run < kRuns; ++run) {
    Candidate candidate = filled(expressions);
    StatisticsTable statistics;
    std::unique_ptr<Classifier> classifier;
    from_nothing.push_back(microseconds_for(classifier, candidate, statistics));
    candidate.put_rule(name_of(expressions / 2), 10, url_rule("changed"));
    after_change.push_back(microseconds_for(classifier, candidate, statistics));
  }
  std::printf("%.1f %.1f\n", median(after_change), median(from_nothing));
  return 0;
}
