#include "manager/service/load_parameters.h"

#include <fmt/format.h>

#include <string>
#include <utility>

#include "manager/model/parameter_map_record.h"
#include "manager/model/ssl_proxy_record.h"
#include "manager/model/text.h"
#include "manager/service/targets.h"

namespace kvel::manager {
namespace {

using Refusal = tl::unexpected<std::string>;

// Takes an object without parts into its table.
template <class Object, class Read>
Loaded load_whole(ObjectTable<Object>& table, const RecordKey& key, std::string_view body, const Read& read) {
  if (!is_object_name(key.owner)) return Refusal("nothing can have this name");
  if (key.item != 0) return Refusal(fmt::format("it has no part {}", key.item));
  auto settings = read(body);
  if (!settings) return Refusal(std::move(settings).error());
  table.insert(ObjectTable<Object>::prepare(key.owner, *std::move(settings)));
  return {};
}

}  // namespace

Loaded load_parameter_map(Context& context, const RecordKey& key, std::string_view body) {
  return load_whole(context.parameter_maps, key, body, read_parameter_map);
}

Loaded load_ssl_proxy(Context& context, const RecordKey& key, std::string_view body) {
  return load_whole(context.ssl_proxies, key, body, read_ssl_proxy);
}

Loaded refer_from_ssl_proxy(Context& context, SslProxy& service) {
  auto reference = refer_to_parameter_map(context, service.settings);
  if (!reference) {
    return Refusal(
        fmt::format("parameter-map {:?}: {}", service.settings.parameter_map, status_text(reference.error())));
  }
  service.parameter_map = *std::move(reference);
  return {};
}

}  // namespace kvel::manager
