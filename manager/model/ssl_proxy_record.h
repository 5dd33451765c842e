// SSL-proxy services as JSON: the body in the store and the record that clients see (docs/configuration-records.md).
#pragma once

#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "encoding/json_writer.h"
#include "manager/model/ssl_proxy.h"

namespace kvel::manager {

// Appends the store's body: the record without kind and name, which are its key.
void append_body(std::string& out, const SslProxySettings& settings);

// Writes the members of the body into the object that is open.
void write_members(encoding::JsonWriter& json, const SslProxySettings& settings);

// Reads a body. It must be exactly what append_body writes, of what calls would take; the error states the difference.
// That the parameter-map exists is not looked at.
[[nodiscard]] tl::expected<SslProxySettings, std::string> read_ssl_proxy(std::string_view body);

}  // namespace kvel::manager
