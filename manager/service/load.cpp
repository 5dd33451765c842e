// Fills the model from the store's records and refuses what this system cannot have written.
#include <fmt/format.h>

#include <string>

#include "manager/model/class_map_record.h"
#include "manager/model/text.h"
#include "manager/service/calls.h"

namespace kvel::manager {
namespace {

using Loaded = tl::expected<void, std::string>;

Loaded load_class_map(Context& context, const RecordKey& key, std::string_view body) {
  if (!is_class_map_name(key.owner)) return tl::unexpected<std::string>("no class-map can have this name");
  if (key.item != 0) return tl::unexpected(fmt::format("a class-map has no part {}", key.item));
  auto settings = read_class_map(body);
  if (!settings) return tl::unexpected(std::move(settings).error());
  context.class_maps.insert(ObjectTable<ClassMap>::prepare(key.owner, *std::move(settings)));
  return {};
}

Loaded load_record(Configuration& configuration, const RecordKey& key, std::string_view body) {
  if (object_kind(key.kind) == ObjectKind::class_map) {
    return load_class_map(configuration.edit(key.context), key, body);
  }
  return tl::unexpected<std::string>("there are no objects of this kind");
}

std::string describe(const RecordKey& key) {
  const auto kind = object_kind(key.kind);
  return fmt::format("{} {:?} in context {}", kind ? std::string(kind_name(*kind)) : fmt::format("kind {}", key.kind),
                     key.owner, key.context);
}

}  // namespace

StoreResult<void> Calls::load() {
  return store_->load([this](const RecordKey& key, std::string_view body) -> Loaded {
    Loaded loaded = load_record(configuration_, key, body);
    if (!loaded) return tl::unexpected(fmt::format("{}: {}", describe(key), loaded.error()));
    return loaded;
  });
}

}  // namespace kvel::manager
