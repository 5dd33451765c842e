// How long the first flow after a change waits where a layer-7 policy-map has EXPRESSIONS classes, each with an
// expression: after a change of one of them, and where nothing has been made yet.
//
// usage: bench_change EXPRESSIONS      prints microseconds for the one and for the other, medians
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "manager/traffic/classifier.h"

namespace {

using namespace kvel::manager;

constexpr int kRuns = 7;

std::string name_of(unsigned long number) { return "class-" + std::to_string(number); }

MatchRule url_rule(const std::string& text) { return LbUrlRule{"/" + text + "/[a-z0-9_-]{1,32}/.*[.](png|jpe?g)", ""}; }

void fill(Context& context, unsigned long expressions) {
  PolicyMapSettings layer7;
  layer7.type = PolicyMapType::http_load_balancing;
  PolicyMap& shop = context.policy_maps.insert(ObjectTable<PolicyMap>::prepare("shop", layer7));
  for (unsigned long number = 0; number < expressions; ++number) {
    ClassMap& made = context.class_maps.insert(ObjectTable<ClassMap>::prepare(
        name_of(number), ClassMapSettings{ClassMapType::http_load_balancing, MatchMode::any, {}}));
    made.rules.insert(RuleTable::prepare(10, url_rule(name_of(number))));
    shop.classes.insert(ClassList::prepare({name_of(number), std::nullopt, {}}),
                        shop.classes.place_before(shop.classes.end()));
  }
  PolicyMapSettings settings;
  settings.application.global = true;
  PolicyMap& site = context.policy_maps.insert(ObjectTable<PolicyMap>::prepare("site", settings));
  LoadBalanceAction balance;
  balance.policy = "shop";
  PolicyClassContent content{std::string(kClassDefault), std::nullopt, {}};
  content.actions.put(VipInServiceAction{});
  content.actions.put(balance);
  site.classes.class_default().change(std::move(content));
}

double microseconds_for(std::unique_ptr<Classifier>& classifier, Context& context) {
  const auto start = std::chrono::steady_clock::now();
  classifier = std::make_unique<Classifier>(context, classifier.get());
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
    Context context;
    fill(context, expressions);
    std::unique_ptr<Classifier> classifier;
    from_nothing.push_back(microseconds_for(classifier, context));
    RuleTable& rules = context.class_maps.find(name_of(expressions / 2))->rules;
    rules.erase(10);
    rules.insert(RuleTable::prepare(10, url_rule("changed")));
    after_change.push_back(microseconds_for(classifier, context));
  }
  std::printf("%.1f %.1f\n", median(after_change), median(from_nothing));
  return 0;
}
