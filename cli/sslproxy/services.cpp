// SSL-proxy services: creating and deleting them, and their four members.
#include "cli/common/backend.h"
#include "cli/common/fixed_text.h"
#include "cli/common/keyword_table.h"
#include "cli/common/messages.h"
#include "cli/common/status_printer.h"
#include "kvel/host.h"
#include "kvel/keywords.h"
#include "kvel/plugin.h"

namespace kvel::cli::sslproxy {

namespace {

struct ServiceRequest {
  ObjectName name;
};

using ServiceKeywords = KeywordTable<On<Ids<kw::ssl_proxy_name>, Text<&ServiceRequest::name>>>;

struct MemberRequest : ServiceRequest {
  ObjectName member;
  const char* call = nullptr;  // that sets the member
};

// The call of a member keyword, or null.
const char* call_of(std::uint32_t keyword) {
  switch (keyword) {
    case kw::ssl_proxy_key:
      return "cm_update_key";
    case kw::ssl_proxy_certificate:
      return "cm_update_cert";
    case kw::ssl_proxy_chain_group:
      return "cm_update_chaingrp";
    case kw::ssl_proxy_parameters:
      return "cm_update_param_map";
    default:
      return nullptr;
  }
}

// The first member keyword ends the walk: a service named after it is not seen.
MemberRequest read_member(const CliCommand& command) {
  MemberRequest request;
  for (unsigned index = 0; index < command.token_count && request.call == nullptr; ++index) {
    const CliToken& token = *command.tokens[index];
    if (token.keyword_id == kw::ssl_proxy_name) request.name.assign(token_text(token));
    request.call = call_of(token.keyword_id);
    if (request.call != nullptr) request.member.assign(token_text(token));
  }
  return request;
}

bool bind_for_service() { return bind_or_report(ssl_proxy_display_error); }

std::int32_t finish(std::int32_t status) { return report(status, ssl_proxy_display_error) ? kDone : kFailed; }

}  // namespace

}  // namespace kvel::cli::sslproxy

using namespace kvel::cli;
using namespace kvel::cli::sslproxy;

// None of the calls here carries the session.
int32_t sslproxy_config(const CliCommand* command) {
  if (!bind_for_service()) return kObjectFailed;
  if (command->skip_execution != 0) return kDone;
  ServiceRequest request;
  ServiceKeywords::read(*command, request);

  if (vsh_platform_specific_rule_domain_check_valid(KVEL_DOMAIN_SSL_PROXY, request.name.c_str(), command->negated) ==
      0) {
    return kObjectFailed;
  }
  if (request.name.starts_with('#')) return refuse(kNameBeginsWithHash);
  return finish(backend_call("cm_add_or_lookup_ssl_proxy", context(command), request.name, add(command)));
}

int32_t sslproxy_submode_config(const CliCommand* command) {
  if (!bind_for_service()) return kObjectFailed;
  if (command->skip_execution != 0) return kDone;

  const MemberRequest request = read_member(*command);
  if (request.call == nullptr) return kFailed;  // silent
  return finish(backend_call(request.call, context(command), request.name, request.member, add(command)));
}
