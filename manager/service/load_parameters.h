// Parameter-maps and SSL-proxy services out of the store's records.
#pragma once

#include <string_view>

#include "manager/model/configuration.h"
#include "manager/service/load_policy_map.h"
#include "manager/store/store.h"

namespace kvel::manager {

// Take the record of an object.
[[nodiscard]] Loaded load_parameter_map(Context& context, const RecordKey& key, std::string_view body);
[[nodiscard]] Loaded load_ssl_proxy(Context& context, const RecordKey& key, std::string_view body);

// Resolves what a service names, when all objects are there.
[[nodiscard]] Loaded refer_from_ssl_proxy(Context& context, SslProxy& service);

}  // namespace kvel::manager
