// The configuration as a value: changes applied, differences found, what is derived from the objects.
#include "manager/configuration/configuration.h"

#include <gmock/gmock.h>

#include <map>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace kvel::manager::testing::configuration_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::shared_ptr<const ClassMapSettings> class_map_settings(std::string description = {}) {
  return std::make_shared<ClassMapSettings>(
      ClassMapSettings{ClassMapType::http_load_balancing, MatchMode::any, std::move(description)});
}
std::shared_ptr<const PolicyMapSettings> policy_map_settings(std::uint32_t interval = 10) {
  PolicyMapSettings settings;
  settings.type = PolicyMapType::http_load_balancing;
  settings.interval = interval;
  return std::make_shared<PolicyMapSettings>(settings);
}
RulePointer url_rule(std::string expression) {
  return std::make_shared<MatchRule>(LbUrlRule{std::move(expression), {}});
}
RulePointer nest(std::string name) { return std::make_shared<MatchRule>(NestedClassMapRule{std::move(name)}); }

RecordKey class_map_key(std::string_view name, Number number, std::uint64_t item = 0) {
  return {ObjectKind::class_map, 0, Name(name), number, item};
}
RecordKey policy_key(std::string_view name, Number number, std::uint64_t item = 0) {
  return {ObjectKind::policy_map, 0, Name(name), number, item};
}
ClassPointer class_of(Number number, std::uint64_t position, std::string name, std::optional<MatchRule> rule = {}) {
  return std::make_shared<PolicyClass>(PolicyClass{number, position, {std::move(name), std::move(rule), {}}});
}

// Changes in words: what is there, what was.
std::string word_of(const Record& record) {
  struct Word {
    std::string operator()(std::monostate) const { return "-"; }
    std::string operator()(const std::shared_ptr<const ClassMapSettings>& settings) const {
      return "class-map(" + settings->description + ")";
    }
    std::string operator()(const std::shared_ptr<const PolicyMapSettings>& settings) const {
      return "policy-map(" + std::to_string(settings->interval) + ")";
    }
    std::string operator()(const std::shared_ptr<const ParameterMapSettings>&) const { return "parameter-map"; }
    std::string operator()(const std::shared_ptr<const SslProxySettings>& settings) const {
      return "ssl-proxy(" + settings->parameter_map + ")";
    }
    std::string operator()(const RulePointer& rule) const {
      if (const std::string* name = nested_class_map(*rule)) return "nests " + *name;
      return "url " + std::get<LbUrlRule>(*rule).expression.text();
    }
    std::string operator()(const ClassPointer& entry) const {
      return entry->content.name + " at " + std::to_string(entry->position);
    }
  };
  return std::visit(Word(), record);
}
std::vector<std::string> words_of(const Changes& changes) {
  std::vector<std::string> words;
  for (const Change& change : changes) {
    words.push_back(std::string(change.key.name.view()) + "#" + std::to_string(change.key.object) + "." +
                    std::to_string(change.key.item) + ": " + word_of(change.before) + " > " + word_of(change.after));
  }
  return words;
}
std::vector<std::string> words_of(const Configuration& configuration) {
  return words_of(difference(Configuration(), configuration));
}

TEST(Configuration, IsEmptyAtFirst) {
  const Configuration configuration;
  EXPECT_TRUE(configuration.context(7)->class_maps.empty());
  EXPECT_THAT(words_of(configuration), IsEmpty());
}

TEST(Configuration, IsTheSumOfItsChanges) {
  Configuration configuration;
  const Configuration empty = configuration;
  configuration.apply({class_map_key("web", 1), {}, class_map_settings()});
  configuration.apply({class_map_key("web", 1, 20), {}, url_rule("b")});
  configuration.apply({class_map_key("web", 1, 10), {}, url_rule("a")});
  const Configuration before = configuration;
  EXPECT_THAT(words_of(configuration),
              ElementsAre("web#1.0: - > class-map()", "web#1.10: - > url a", "web#1.20: - > url b"));

  configuration.apply({class_map_key("web", 1), class_map_settings(), class_map_settings("new")});
  configuration.apply({class_map_key("web", 1, 10), url_rule("a"), {}});
  EXPECT_THAT(words_of(difference(before, configuration)),
              ElementsAre("web#1.0: class-map() > class-map(new)", "web#1.10: url a > -"));
  EXPECT_THAT(words_of(difference(configuration, before)),
              ElementsAre("web#1.0: class-map(new) > class-map()", "web#1.10: - > url a"));
  EXPECT_THAT(words_of(empty), IsEmpty());

  configuration.apply({class_map_key("web", 1), class_map_settings("new"), {}});
  EXPECT_EQ(configuration.context(0)->class_maps.find(std::string_view("web")), nullptr);
  EXPECT_THAT(words_of(difference(before, configuration)),
              ElementsAre("web#1.0: class-map() > -", "web#1.10: url a > -", "web#1.20: url b > -"));
}

TEST(Configuration, AnEqualRecordIsNoDifference) {
  Configuration configuration;
  configuration.apply({class_map_key("web", 1), {}, class_map_settings()});
  configuration.apply({class_map_key("web", 1, 10), {}, url_rule("a")});
  Configuration other = configuration;
  other.apply({class_map_key("web", 1), class_map_settings(), class_map_settings()});
  other.apply({class_map_key("web", 1, 10), url_rule("a"), url_rule("a")});
  EXPECT_THAT(words_of(difference(configuration, other)), IsEmpty());
}

TEST(Configuration, AnObjectOfTheSameNameIsAnotherOne) {
  Configuration configuration;
  configuration.apply({class_map_key("web", 1), {}, class_map_settings()});
  configuration.apply({class_map_key("web", 1, 10), {}, url_rule("a")});
  Configuration other;
  other.apply({class_map_key("web", 2), {}, class_map_settings()});
  EXPECT_THAT(words_of(difference(configuration, other)),
              ElementsAre("web#1.0: class-map() > -", "web#1.10: url a > -", "web#2.0: - > class-map()"));
  // Applied one by one they lead there.
  for (const Change& change : difference(configuration, other))
    configuration.apply(change);
  EXPECT_THAT(words_of(difference(configuration, other)), IsEmpty());
}

// As where an object goes before the records of its parts do, and another one has come by its name.
TEST(Configuration, APartOfAnotherObjectIsNotTaken) {
  Configuration configuration;
  configuration.apply({class_map_key("web", 2), {}, class_map_settings()});
  configuration.apply({class_map_key("web", 2, 10), {}, url_rule("a")});
  configuration.apply({class_map_key("web", 1, 10), url_rule("b"), {}});
  configuration.apply({policy_key("shop", 4), {}, policy_map_settings()});
  configuration.apply({policy_key("shop", 4, 5), {}, class_of(5, ClassList::kStep, "a")});
  configuration.apply({policy_key("shop", 3, 6), class_of(6, ClassList::kStep, "a"), {}});
  EXPECT_THAT(words_of(configuration),
              ElementsAre("web#2.0: - > class-map()", "web#2.10: - > url a", "shop#4.0: - > policy-map(10)",
                          "shop#4.5: - > a at " + std::to_string(ClassList::kStep)));
}

TEST(Configuration, NumbersAreNotTakenTwice) {
  Configuration configuration;
  EXPECT_EQ(configuration.take_number(), 1U);
  configuration.apply({policy_key("shop", 5), {}, policy_map_settings()});
  EXPECT_EQ(configuration.take_number(), 6U);
  configuration.apply({policy_key("shop", 5, 9), {}, class_of(9, ClassList::kStep, "a")});
  EXPECT_EQ(configuration.take_number(), 10U);
  configuration.apply({policy_key("shop", 5), policy_map_settings(), {}});
  EXPECT_EQ(configuration.take_number(), 11U);
}

TEST(Configuration, ReferencesFollowTheFieldsThatRefer) {
  Configuration configuration;
  configuration.apply({class_map_key("child", 1), {}, class_map_settings()});
  configuration.apply({class_map_key("web", 2), {}, class_map_settings()});
  configuration.apply({class_map_key("web", 2, 10), {}, nest("child")});
  const auto references = [&] { return configuration.context(0)->references; };
  EXPECT_TRUE(references().in_use(ObjectKind::class_map, "child"));
  EXPECT_FALSE(references().in_use(ObjectKind::class_map, "chil"));
  EXPECT_FALSE(references().in_use(ObjectKind::class_map, "web"));
  EXPECT_FALSE(references().in_use(ObjectKind::policy_map, "child"));
  EXPECT_TRUE(references().in_use_by(ObjectKind::class_map, ObjectKind::class_map, "child"));
  EXPECT_FALSE(references().in_use_by(ObjectKind::policy_map, ObjectKind::class_map, "child"));

  // Another line refers as well; the first one goes.
  configuration.apply({class_map_key("web", 2, 10), nest("child"), nest("other")});
  configuration.apply({class_map_key("web", 2, 20), {}, nest("child")});
  EXPECT_TRUE(references().in_use(ObjectKind::class_map, "child"));
  const auto to_other = references().to(ObjectKind::class_map, "other");  // it need not be there
  ASSERT_EQ(to_other.size(), 1U);
  EXPECT_EQ(to_other[0].user, "web");
  EXPECT_EQ(to_other[0].item, 10U);
  configuration.apply({class_map_key("web", 2, 20), nest("child"), {}});
  EXPECT_FALSE(references().in_use(ObjectKind::class_map, "child"));
}

TEST(Configuration, ClassesAndTheirActionsRefer) {
  Configuration configuration;
  configuration.apply({policy_key("shop", 1), {}, policy_map_settings()});
  auto entry = *class_of(2, ClassList::kStep, "web");
  entry.content.actions.put(SslProxyServerAction("proxy"));
  const auto acting = std::make_shared<const PolicyClass>(entry);
  configuration.apply({policy_key("shop", 1, 2), {}, acting});
  const auto references = [&] { return configuration.context(0)->references; };
  EXPECT_TRUE(references().in_use_by(ObjectKind::policy_map, ObjectKind::class_map, "web"));
  EXPECT_TRUE(references().in_use(ObjectKind::ssl_proxy, "proxy"));
  configuration.apply({policy_key("shop", 1, 2), acting, class_of(2, ClassList::kStep, "web")});
  EXPECT_TRUE(references().in_use(ObjectKind::class_map, "web"));
  EXPECT_FALSE(references().in_use(ObjectKind::ssl_proxy, "proxy"));

  SslProxySettings service;
  service.parameter_map = "tls";
  configuration.apply(
      {{ObjectKind::ssl_proxy, 0, Name("proxy"), 3, 0}, {}, std::make_shared<const SslProxySettings>(service)});
  EXPECT_TRUE(references().in_use_by(ObjectKind::ssl_proxy, ObjectKind::parameter_map, "tls"));
}

TEST(Configuration, InlineMatchesHaveHiddenClasses) {
  Configuration configuration;
  configuration.apply({policy_key("shop", 1), {}, policy_map_settings()});
  const auto match = class_of(2, ClassList::kStep, "-old", LbValueRule{"x"});
  configuration.apply({policy_key("shop", 1, 2), {}, match});
  configuration.apply({policy_key("shop", 1, 3), {}, class_of(3, 2 * ClassList::kStep, "web")});
  const auto hidden = [&] { return configuration.context(0)->hidden_classes; };
  ASSERT_NE(hidden().find("shop-old"), nullptr);
  EXPECT_EQ(hidden().find("shop-old")->policy, "shop");
  EXPECT_EQ(hidden().find("shop-old")->match, "-old");
  EXPECT_EQ(hidden().find("shopweb"), nullptr);
  EXPECT_TRUE(hidden().collides("shop-old"));
  EXPECT_FALSE(hidden().collides("shop-ol"));
  EXPECT_FALSE(configuration.context(0)->references.in_use(ObjectKind::class_map, "-old"));
  const PolicyMap& policy = **configuration.context(0)->policy_maps.find(std::string_view("shop"));
  EXPECT_EQ(find_by_hidden_name(policy, "shop", "shop-old"), match);
  EXPECT_EQ(find_by_hidden_name(policy, "shop", "shopweb"), nullptr);

  configuration.apply({policy_key("shop", 1), policy_map_settings(), {}});
  configuration.apply({policy_key("shop", 1, 2), match, {}});
  EXPECT_EQ(hidden().find("shop-old"), nullptr);
}

TEST(ClassList, KeepsClassesByTheirPositions) {
  ClassList classes;
  EXPECT_EQ(classes.position_before(*classes.class_default()), ClassList::kStep);
  classes.put(class_of(1, ClassList::kStep, "a"));
  EXPECT_EQ(classes.position_before(*classes.class_default()), 2 * ClassList::kStep);
  EXPECT_EQ(classes.position_before(*classes.find("a")), ClassList::kStep / 2);
  classes.put(class_of(2, 1, "b"));
  EXPECT_EQ(classes.position_before(*classes.find("b")), 0U);
  classes.put(class_of(3, 3, "c"));
  EXPECT_EQ(classes.position_before(*classes.find("c")), 2U);
  classes.put(class_of(3, 2, "c"));
  EXPECT_EQ(classes.position_before(*classes.find("c")), 0U);
  classes.space_out();
  EXPECT_EQ(classes.find("b")->position, ClassList::kStep);
  EXPECT_EQ(classes.find("c")->position, 2 * ClassList::kStep);
  EXPECT_EQ(classes.find("a")->position, 3 * ClassList::kStep);
  EXPECT_EQ(classes.size(), 3U);
}

TEST(ClassList, NoClassIsAtThePositionOfClassDefault) {
  ClassList classes;
  classes.put(class_of(1, ClassList::kLastPosition - ClassList::kStep - 1, "a"));
  EXPECT_EQ(classes.position_before(*classes.class_default()), ClassList::kLastPosition - 1);
  classes.put(class_of(1, ClassList::kLastPosition - ClassList::kStep, "a"));
  EXPECT_EQ(classes.position_before(*classes.class_default()), 0U);
}

TEST(ClassList, ClassesChangePlacesOneByOne) {
  ClassList classes;
  classes.put(class_of(1, 10, "a"));
  classes.put(class_of(2, 20, "b"));
  classes.put(class_of(1, 20, "a"));
  classes.put(class_of(2, 10, "b"));
  std::vector<std::pair<std::uint64_t, std::string>> order;
  for (const auto& [position, entry] : classes)
    order.emplace_back(position, entry->content.name);
  EXPECT_THAT(order, ElementsAre(std::pair(10U, "b"), std::pair(20U, "a")));
  classes.erase("a");
  classes.erase("nobody");
  EXPECT_EQ(classes.size(), 1U);
  EXPECT_EQ(classes.find("a"), nullptr);
}

TEST(ClassList, ClassDefaultStaysWithoutActions) {
  ClassList classes(7);
  auto acting = *classes.class_default();
  acting.content.actions.put(DropAction{});
  classes.put(std::make_shared<const PolicyClass>(acting));
  EXPECT_EQ(classes.size(), 0U);
  EXPECT_FALSE(classes.class_default()->content.actions.empty());
  classes.erase("class-default");
  EXPECT_TRUE(classes.class_default()->content.actions.empty());
  EXPECT_EQ(classes.class_default()->number, 7U);
}

// Random versions: any of them is any other one with the difference applied, indexes included.
class RandomVersions {
 public:
  explicit RandomVersions(std::uint32_t seed) : random_(seed) {}

  void run(int steps) {
    std::vector<Configuration> versions(1);
    for (int step = 0; step < steps; ++step) {
      Configuration next = versions[below(versions.size())];
      for (std::size_t changes = below(5); changes != 0; --changes)
        change(next);
      const Configuration& other = versions[below(versions.size())];
      Configuration made = other;
      for (const Change& change : difference(other, next))
        made.apply(change);
      ASSERT_THAT(words_of(difference(made, next)), IsEmpty());
      ASSERT_EQ(words_of(made), words_of(next));
      expect_indexes_of(made);
      if (versions.size() < 20) versions.push_back(next);
      versions[below(versions.size())] = next;
    }
  }

 private:
  std::size_t below(std::size_t bound) { return random_() % bound; }
  std::string any_name() { return std::string(1, static_cast<char>('a' + below(4))); }

  void change(Configuration& next) {
    const std::string chosen = any_name();
    if (below(2) == 0) {
      const auto* const present = next.context(0)->class_maps.find(std::string_view(chosen));
      change_class_map(next, chosen, present == nullptr ? nullptr : *present);
    } else {
      const auto* const present = next.context(0)->policy_maps.find(std::string_view(chosen));
      change_policy_map(next, chosen, present == nullptr ? nullptr : *present);
    }
  }
  void change_class_map(Configuration& next, const std::string& name, const std::shared_ptr<const ClassMap>& present) {
    if (present == nullptr) return next.apply({class_map_key(name, next.take_number()), {}, class_map_settings()});
    const std::uint32_t line = 1 + static_cast<std::uint32_t>(below(6));
    const auto key = class_map_key(name, present->number, line);
    const RulePointer rule = present->rules.at(line);
    const Record before = rule == nullptr ? Record() : Record(rule);
    switch (below(6)) {
      case 0:
        return erase(next, class_map_key(name, present->number), present->settings, name);
      case 1:
        return next.apply({class_map_key(name, present->number), present->settings, class_map_settings(any_name())});
      case 2:
        return next.apply({key, before, {}});
      default: {
        const auto added = below(2) == 0 ? url_rule(any_name()) : nest(any_name());
        if (!present->rules.line_of(*added)) next.apply({key, before, added});
      }
    }
  }
  void change_policy_map(Configuration& next, const std::string& name,
                         const std::shared_ptr<const PolicyMap>& present) {
    if (present == nullptr) return next.apply({policy_key(name, next.take_number()), {}, policy_map_settings()});
    const std::string class_name = any_name();
    const ClassPointer entry = present->classes.find(class_name);
    const Record before = entry == nullptr ? Record() : Record(entry);
    switch (below(6)) {
      case 0:
        return erase(next, policy_key(name, present->number), present->settings, name);
      case 1:
        if (entry != nullptr) next.apply({policy_key(name, present->number, entry->number), before, {}});
        return;
      case 2: {
        ClassList spaced = present->classes;
        spaced.space_out();
        for (const auto& [position, moved] : spaced)
          next.apply(
              {policy_key(name, present->number, moved->number), present->classes.find(moved->content.name), moved});
        return;
      }
      default: {
        const auto& list = present->classes;
        const std::uint64_t position = list.size() == 0 || below(2) == 0 ? list.position_before(*list.class_default())
                                                                         : list.position_before(*list.begin().value());
        if (position == 0) return;
        const Number number = entry == nullptr ? next.take_number() : entry->number;
        const bool has_rule = entry == nullptr ? below(2) == 0 : entry->content.rule.has_value();
        const auto rule = has_rule ? std::optional<MatchRule>(LbValueRule{any_name()}) : std::nullopt;
        next.apply({policy_key(name, present->number, number), before, class_of(number, position, class_name, rule)});
      }
    }
  }
  // With all that is in it.
  template <class Settings>
  static void erase(Configuration& next, const RecordKey& key, const Settings& settings, const std::string& name) {
    Configuration without = next;
    without.apply({key, settings, {}});
    for (const Change& change : difference(next, without))
      next.apply(change);
    ASSERT_EQ(next.context(0)->with_table(key.kind,
                                          [&](const auto& table) { return table.contains(std::string_view(name)); }),
              false);
  }

  static void expect_indexes_of(const Configuration& configuration) {
    Configuration fresh;
    for (const Change& change : difference(Configuration(), configuration))
      fresh.apply(change);
    const Context& one = *configuration.context(0);
    const Context& other = *fresh.context(0);
    for (const char letter : {'a', 'b', 'c', 'd'}) {
      const std::string target(1, letter);
      ASSERT_EQ(one.references.to(ObjectKind::class_map, target), other.references.to(ObjectKind::class_map, target));
      for (const char match : {'a', 'b', 'c', 'd'}) {
        const std::string hidden = target + match;
        ASSERT_EQ(one.hidden_classes.find(hidden) == nullptr, other.hidden_classes.find(hidden) == nullptr);
      }
    }
  }

  std::mt19937 random_;
};

TEST(Configuration, DifferencesLeadFromAnyVersionToAnyOther) {
  for (std::uint32_t seed = 1; seed <= 5; ++seed)
    ASSERT_NO_FATAL_FAILURE(RandomVersions(seed).run(400)) << "seed " << seed;
}

TEST(Configuration, ContextsAreApart) {
  Configuration configuration;
  RecordKey key = class_map_key("web", 1);
  key.context = 7;
  configuration.apply({key, {}, class_map_settings()});
  EXPECT_NE(configuration.context(7)->find<ClassMap>("web"), nullptr);
  EXPECT_EQ(configuration.context(8)->find<ClassMap>("web"), nullptr);
  EXPECT_TRUE(configuration.context(65535)->class_maps.empty());
}

}  // namespace
}  // namespace kvel::manager::testing::configuration_test
