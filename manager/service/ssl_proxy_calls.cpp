// The calls that make, change, delete and list SSL-proxy services.
#include <string>
#include <utility>

#include "manager/model/text.h"
#include "manager/service/calls.h"
#include "manager/service/fields.h"
#include "manager/service/name_list.h"
#include "manager/service/targets.h"

namespace kvel::manager {

Status Calls::add_or_lookup_ssl_proxy(std::uint16_t context_number, std::string_view name, std::uint8_t add) {
  if (add > 1) return Status::bad_arguments;
  if (!is_object_name(name)) return check_new_name(name);
  if (add == 0) return erase<SslProxy>(context_number, name, [](const SslProxySettings&) { return true; });
  if (context(context_number).find<SslProxy>(name) != nullptr) return Status::ok;
  const Status named = check_new_name(name);
  return succeeded(named) ? put<SslProxy>(context_number, name, {}) : named;
}

Status Calls::update_key(std::uint16_t context, std::string_view service, std::string_view key, std::uint8_t add) {
  return update_member(context, service, &SslProxySettings::key, key, add);
}

Status Calls::update_certificate(std::uint16_t context, std::string_view service, std::string_view certificate,
                                 std::uint8_t add) {
  return update_member(context, service, &SslProxySettings::certificate, certificate, add);
}

Status Calls::update_chain_group(std::uint16_t context, std::string_view service, std::string_view chain_group,
                                 std::uint8_t add) {
  return update_member(context, service, &SslProxySettings::chain_group, chain_group, add);
}

Status Calls::update_ssl_parameters(std::uint16_t context, std::string_view service, std::string_view parameter_map,
                                    std::uint8_t add) {
  return update_member(context, service, &SslProxySettings::parameter_map, parameter_map, add);
}

// Sets a member to a name; or takes away what it is, which must be the named one if there is a name.
Status Calls::update_member(std::uint16_t context_number, std::string_view service,
                            std::string SslProxySettings::*member, std::string_view name, std::uint8_t add) {
  if (add > 1) return Status::bad_arguments;
  if (add == 1 && !is_object_name(name)) return Status::invalid_name;
  const SslProxy* const present = context(context_number).find<SslProxy>(service);
  if (present == nullptr) return Status::ssl_proxy_not_found;
  SslProxySettings settings = *present->settings;
  std::string& value = settings.*member;
  const bool is_there = !value.empty() && (name.empty() || name == value);
  if (add == 0 && !is_there) return Status::member_not_set;
  value = add == 1 ? name : std::string_view();
  if (settings == *present->settings) return Status::ok;
  if (const Status status = check_parameter_map(context(context_number), settings); !succeeded(status)) return status;
  return put<SslProxy>(context_number, service, std::move(settings));
}

Status Calls::list_ssl_proxies(std::uint16_t context_number, CursorField cursor, WordField more,
                               rpc::ResponseBuffer& response) {
  put_word(more, 0);
  const auto last = text_of(cursor);
  if (!last) return Status::bad_arguments;
  const auto is_listed = [](const SslProxy&) { return true; };
  return list_names(context(context_number).ssl_proxies, is_listed, *last, cursor, more, response);
}

}  // namespace kvel::manager
