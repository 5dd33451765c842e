#include "manager/configuration/configuration.h"

#include <algorithm>
#include <utility>

namespace kvel::manager {
namespace {

using std::get;

template <class Object>
std::shared_ptr<Object> new_object(Number number) {
  auto object = std::make_shared<Object>();
  object->number = number;
  return object;
}
template <>
std::shared_ptr<PolicyMap> new_object(Number number) {
  return std::make_shared<PolicyMap>(PolicyMap{number, nullptr, ClassList(number), number});
}

// Puts an object without parts, or with the parts that it had; or takes it away.
template <class Object>
void apply_to_object(ObjectTable<Object>& table, const Change& change) {
  using Settings = std::shared_ptr<const typename Object::Settings>;
  if (std::holds_alternative<std::monostate>(change.after)) {
    table.erase(change.key.name);
    return;
  }
  const auto* const present = table.find(change.key.name);
  const bool is_same_object = present != nullptr && (*present)->number == change.key.object;
  auto object = is_same_object ? std::make_shared<Object>(**present) : new_object<Object>(change.key.object);
  object->settings = get<Settings>(change.after);
  table.insert_or_assign(change.key.name, std::move(object));
}

// Changes a part of an object, unless the object has gone with all its parts.
template <class Object, class Apply>
void apply_to_part(ObjectTable<Object>& table, const RecordKey& key, const Apply& apply) {
  const auto* const present = table.find(key.name);
  if (present == nullptr || (*present)->number != key.object) return;
  auto object = std::make_shared<Object>(**present);
  apply(*object);
  table.insert_or_assign(key.name, std::move(object));
}

void apply_to_rule(ClassMap& class_map, const Change& change) {
  const auto line = static_cast<std::uint32_t>(change.key.item);
  if (const auto* rule = std::get_if<RulePointer>(&change.after)) {
    class_map.rules.put(line, *rule);
  } else {
    class_map.rules.erase(line);
  }
}

void apply_to_class(PolicyMap& policy, const Change& change) {
  if (const auto* entry = std::get_if<ClassPointer>(&change.after)) {
    policy.classes.put(*entry);
  } else {
    policy.classes.erase(get<ClassPointer>(change.before)->content.name);
  }
}

// Whether a class that was there stands at another position.
bool is_move(const Change& change) {
  const auto* const before = std::get_if<ClassPointer>(&change.before);
  const auto* const after = std::get_if<ClassPointer>(&change.after);
  return before != nullptr && after != nullptr && (*before)->position != (*after)->position;
}

void apply_to_tables(Context& context, const Change& change, Number fresh) {
  const RecordKey& key = change.key;
  switch (key.kind) {
    case ObjectKind::parameter_map:
      return apply_to_object(context.parameter_maps, change);
    case ObjectKind::ssl_proxy:
      return apply_to_object(context.ssl_proxies, change);
    case ObjectKind::class_map:
      if (key.item == 0) return apply_to_object(context.class_maps, change);
      return apply_to_part(context.class_maps, key, [&](ClassMap& object) { apply_to_rule(object, change); });
    case ObjectKind::policy_map:
      if (key.item == 0) return apply_to_object(context.policy_maps, change);
      return apply_to_part(context.policy_maps, key, [&](PolicyMap& object) {
        apply_to_class(object, change);
        if (is_move(change)) object.order = fresh;
      });
  }
}

Number highest_number(const Change& change) {
  const auto* const entry = std::get_if<ClassPointer>(&change.after);
  return std::max(change.key.object, entry == nullptr ? 0 : (*entry)->number);
}

// Collects the changes of one context.
class Differences {
 public:
  Differences(Changes& changes, std::uint16_t context) : changes_(changes), context_(context) {}

  template <class Object>
  void add(ObjectKind kind, const ObjectTable<Object>& before, const ObjectTable<Object>& after) {
    using Pointer = std::shared_ptr<const Object>;
    ObjectTable<Object>::for_each_difference(
        before, after, [&](const Name& name, const Pointer* one, const Pointer* other) {
          const Object* const old_object = one == nullptr ? nullptr : one->get();
          const Object* const new_object = other == nullptr ? nullptr : other->get();
          const bool is_same =
              old_object != nullptr && new_object != nullptr && old_object->number == new_object->number;
          if (is_same) return add_object(kind, name, old_object, new_object);
          if (old_object != nullptr) add_object<Object>(kind, name, old_object, nullptr);
          if (new_object != nullptr) add_object<Object>(kind, name, nullptr, new_object);
        });
  }

 private:
  template <class Object>
  void add_object(ObjectKind kind, const Name& name, const Object* before, const Object* after) {
    const Object none;
    const RecordKey key{kind, context_, name, (before == nullptr ? after : before)->number, 0};
    add_record(key, before == nullptr ? nullptr : before->settings, after == nullptr ? nullptr : after->settings);
    add_parts(key, before == nullptr ? none : *before, after == nullptr ? none : *after);
  }

  // Pointers, null where there is no record.
  template <class Pointer>
  void add_record(const RecordKey& key, const Pointer& before, const Pointer& after) {
    if (before == after || (before != nullptr && after != nullptr && *before == *after)) return;
    changes_.push_back({key, record_of(before), record_of(after)});
  }
  static RecordKey part_of(const RecordKey& object, std::uint64_t item) {
    RecordKey key = object;
    key.item = item;
    return key;
  }

  void add_parts(const RecordKey& /*object*/, const ParameterMap& /*before*/, const ParameterMap& /*after*/) {}
  void add_parts(const RecordKey& /*object*/, const SslProxy& /*before*/, const SslProxy& /*after*/) {}
  void add_parts(const RecordKey& object, const ClassMap& before, const ClassMap& after) {
    RuleTable::ByLine::for_each_difference(before.rules.by_line(), after.rules.by_line(),
                                           [&](std::uint32_t line, const RulePointer* one, const RulePointer* other) {
                                             add_record(part_of(object, line), one == nullptr ? nullptr : *one,
                                                        other == nullptr ? nullptr : *other);
                                           });
  }
  void add_parts(const RecordKey& object, const PolicyMap& before, const PolicyMap& after) {
    ClassList::ByName::for_each_difference(
        before.classes.by_name(), after.classes.by_name(),
        [&](const Name& /*name*/, const ClassPointer* one, const ClassPointer* other) {
          const ClassPointer old_class = one == nullptr ? nullptr : *one;
          const ClassPointer new_class = other == nullptr ? nullptr : *other;
          const bool is_same = old_class != nullptr && new_class != nullptr && old_class->number == new_class->number;
          if (is_same) return add_record(part_of(object, old_class->number), old_class, new_class);
          if (old_class != nullptr) add_record(part_of(object, old_class->number), old_class, ClassPointer());
          if (new_class != nullptr) add_record(part_of(object, new_class->number), ClassPointer(), new_class);
        });
    const auto written = [](const ClassPointer& entry) { return entry->content.actions.empty() ? nullptr : entry; };
    add_record(part_of(object, kClassDefaultItem), written(before.classes.class_default()),
               written(after.classes.class_default()));
  }

  Changes& changes_;
  const std::uint16_t context_;
};

const std::shared_ptr<const Context>& empty_context() {
  static const auto empty = std::make_shared<const Context>();
  return empty;
}

}  // namespace

const std::shared_ptr<const Context>& Configuration::context(std::uint16_t number) const {
  const auto* const found = contexts_.find(number);
  return found == nullptr ? empty_context() : *found;
}

void Configuration::apply(const Change& change) {
  auto context = std::make_shared<Context>(*this->context(change.key.context));
  next_number_ = std::max(next_number_, highest_number(change) + 1);
  apply_to_tables(*context, change, is_move(change) ? take_number() : 0);
  context->references.apply(change);
  context->hidden_classes.apply(change);
  contexts_.insert_or_assign(change.key.context, std::move(context));
}

Changes difference(const Configuration& before, const Configuration& after) {
  Changes changes;
  using Pointer = std::shared_ptr<const Context>;
  Configuration::Contexts::for_each_difference(
      before.contexts(), after.contexts(), [&](std::uint16_t number, const Pointer* one, const Pointer* other) {
        const Context& left = one == nullptr ? *empty_context() : **one;
        const Context& right = other == nullptr ? *empty_context() : **other;
        Differences differences(changes, number);
        differences.add(ObjectKind::parameter_map, left.parameter_maps, right.parameter_maps);
        differences.add(ObjectKind::ssl_proxy, left.ssl_proxies, right.ssl_proxies);
        differences.add(ObjectKind::class_map, left.class_maps, right.class_maps);
        differences.add(ObjectKind::policy_map, left.policy_maps, right.policy_maps);
      });
  return changes;
}

}  // namespace kvel::manager
