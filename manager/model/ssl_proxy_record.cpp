#include "manager/model/ssl_proxy_record.h"

#include <fmt/format.h>

#include <tuple>

#include "manager/model/field_record.h"
#include "manager/model/json_text.h"
#include "manager/model/record_body.h"
#include "manager/model/text.h"

namespace kvel::manager {
namespace {

using Refusal = tl::unexpected<std::string>;

}  // namespace

void append_body(std::string& out, const SslProxySettings& settings) {
  std::string members;
  append_fields(members, settings);
  out += '{';
  if (!members.empty()) out += std::string_view(members).substr(1);  // without the comma before the first
  out += '}';
}

void append_record(std::string& out, std::string_view name, const SslProxy& service) {
  out += R"({"kind":"ssl-proxy","name":)";
  append_json_string(out, name);
  append_fields(out, service.settings);
  out += '}';
}

tl::expected<SslProxySettings, std::string> read_ssl_proxy(std::string_view body) {
  const auto json = parse_body(body);
  if (!json) return Refusal(json.error());
  auto settings = read_fields<SslProxySettings>(*json);
  if (!settings) return settings;
  std::string wrong;
  const auto check = [&](const auto& field) {
    const std::string& name = *settings.*field.member;
    if (!name.empty() && !is_object_name(name)) wrong = field.name;
  };
  std::apply([&](const auto&... field) { (check(field), ...); }, SslProxySettings::fields());
  if (!wrong.empty()) return Refusal(fmt::format("nothing can have the name of its {}", wrong));
  std::string written;
  append_body(written, *settings);
  if (written != body) return Refusal(kOtherForm);
  return settings;
}

}  // namespace kvel::manager
