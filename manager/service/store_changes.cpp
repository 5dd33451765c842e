#include "manager/service/store_changes.h"

#include <optional>

#include "manager/model/class_map_record.h"
#include "manager/model/parameter_map_record.h"
#include "manager/model/policy_record.h"
#include "manager/model/rule_record.h"
#include "manager/model/ssl_proxy_record.h"

namespace kvel::manager {
namespace {

bool is_there(const Record& record) { return !std::holds_alternative<std::monostate>(record); }

// A class is kept under its position.
StoreKey key_of(const RecordKey& key, const Record& record) {
  const auto* const entry = std::get_if<ClassPointer>(&record);
  return {key.context, static_cast<std::uint8_t>(key.kind), key.name, entry == nullptr ? key.item : (*entry)->position,
          key.object};
}

struct AppendBody {
  std::string& out;

  void operator()(std::monostate) const {}
  void operator()(const ClassPointer& entry) const { append_body(out, entry->content); }
  template <class Settings>
  void operator()(const std::shared_ptr<const Settings>& settings) const {
    append_body(out, *settings);
  }
};

}  // namespace

StoreChanges::StoreChanges(const Changes& changes) {
  Number erased = 0;  // an object that goes, with which its parts go
  for (const Change& change : changes) {
    if (!is_there(change.before) || change.key.object == erased) continue;
    if (change.key.item == 0 && !is_there(change.after)) erased = change.key.object;
    const StoreKey key = key_of(change.key, change.before);
    if (!is_there(change.after) || key != key_of(change.key, change.after)) changes_.push_back({key, std::nullopt});
  }
  for (const Change& change : changes) {
    if (!is_there(change.after)) continue;
    std::visit(AppendBody{bodies_.emplace_back()}, change.after);
    changes_.push_back({key_of(change.key, change.after), bodies_.back()});
  }
}

}  // namespace kvel::manager
