// Objects of other kinds attached to a class, and the permissions of a management policy-map.
#include "cli/common/backend.h"
#include "cli/policymap/policy_map.h"

namespace kvel::cli::policymap {

namespace {

struct Attachment : ClassAction {
  ObjectName object;
};

template <std::uint32_t Object>
using Layer34Attachment = KeywordTable<Layer34ClassKeywords<Attachment>, On<Ids<Object>, Text<&Attachment::object>>>;

using SslProxyServerKeywords = Layer34Attachment<kw::ssl_proxy_server>;
using ConnectionKeywords = Layer34Attachment<kw::connection_parameters>;
using ApplicationKeywords = Layer34Attachment<kw::application_parameters>;

using SslProxyClientKeywords = KeywordTable<On<Ids<kw::policy_map_http_lb_name>, Text<&Attachment::policy>>,
                                            On<Ids<kw::policy_http_lb_class>, Text<&Attachment::class_map>>,
                                            On<Ids<kw::ssl_proxy_client>, Text<&Attachment::object>>>;

// Client and server side send the same; the type of the policy-map distinguishes them.
template <class Keywords>
std::int32_t attach_ssl_proxy(const CliCommand* command) {
  if (!bind_for_policy()) return kFailed;
  Attachment request;
  Keywords::read(*command, request);
  return finish(backend_call("cm_update_ssl_config", context(command), session(command), request.policy,
                             request.class_map, request.object, add(command)));
}

constexpr std::uint8_t kConnectionParameters = 0;
constexpr std::uint8_t kApplicationParameters = 1;

template <class Keywords>
std::int32_t attach_parameters(const CliCommand* command, std::uint8_t kind) {
  if (!bind_for_policy()) return kFailed;
  Attachment request;
  Keywords::read(*command, request);
  return finish(backend_call("cm_update_l3_param_map_config", context(command), session(command), request.policy,
                             request.class_map, request.object, u8{kind}, add(command)));
}

struct Permissions : ClassAction {
  std::uint32_t first = 0;
  std::uint32_t second = 0;
};

using PermissionKeywords = KeywordTable<On<Ids<kw::policy_map_mgmt_name>, Text<&Permissions::policy>>,
                                        On<Ids<kw::policy_mgmt_class>, Text<&Permissions::class_map>>,
                                        On<Ids<kw::mgmt_permission_1>, Set<&Permissions::first, 1U>>,
                                        On<Ids<kw::mgmt_permission_2>, Set<&Permissions::second, 1U>>>;

}  // namespace

}  // namespace kvel::cli::policymap

using namespace kvel::cli;
using namespace kvel::cli::policymap;

int32_t kvelpolicymap_config_sslproxy_client(const CliCommand* command) {
  return attach_ssl_proxy<SslProxyClientKeywords>(command);
}

int32_t kvelpolicymap_config_sslproxy_server(const CliCommand* command) {
  return attach_ssl_proxy<SslProxyServerKeywords>(command);
}

int32_t kvelpolicymap_configconn(const CliCommand* command) {
  return attach_parameters<ConnectionKeywords>(command, kConnectionParameters);
}

int32_t kvelpolicymap_configappl_params(const CliCommand* command) {
  return attach_parameters<ApplicationKeywords>(command, kApplicationParameters);
}

int32_t kvelpolicymap_configmgmt(const CliCommand* command) {
  if (!bind_for_policy()) return kFailed;
  Permissions request;
  PermissionKeywords::read(*command, request);
  return finish(backend_call("cm_update_mgmt_action", context(command), session(command), add(command), request.policy,
                             request.class_map, u32{request.first}, u32{request.second}));
}
