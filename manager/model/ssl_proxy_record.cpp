#include "manager/model/ssl_proxy_record.h"

#include <fmt/format.h>

#include "manager/model/field_record.h"
#include "manager/model/record_body.h"
#include "manager/model/text.h"

namespace kvel::manager {

using encoding::JsonWriter;
using Refusal = tl::unexpected<std::string>;

void write_members(JsonWriter& json, const SslProxySettings& settings) { write_fields(json, settings); }

void append_body(std::string& out, const SslProxySettings& settings) {
  JsonWriter json(out);
  json.begin_object();
  write_members(json, settings);
  json.end_object();
}

tl::expected<SslProxySettings, std::string> read_ssl_proxy(std::string_view body) {
  const auto document = parse_body(body);
  if (!document) return Refusal(document.error());
  SslProxySettings settings;
  if (auto read = read_fields(document->root(), settings); !read) return Refusal(std::move(read).error());
  std::string_view wrong;
  const auto check = [&](const auto& field) {
    const std::string& name = settings.*field.member;
    if (!name.empty() && !is_object_name(name)) wrong = field.name;
  };
  SslProxySettings::fields([&](const auto&... field) { (check(field), ...); });
  if (!wrong.empty()) return Refusal(fmt::format("nothing can have the name of its {}", wrong));
  return as_written(std::move(settings), body);
}

}  // namespace kvel::manager
