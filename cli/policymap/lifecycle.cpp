// Creating, typing and deleting policy-maps, the order of their classes, and their descriptions.
#include "cli/common/backend.h"
#include "cli/common/big_endian.h"
#include "cli/common/messages.h"
#include "cli/policymap/policy_map.h"
#include "kvel/host.h"

namespace kvel::cli::policymap {

namespace {

using PolicyMapNames = Ids<kw::policy_map_l3_name, kw::policy_map_http_lb_name, kw::policy_map_http_insp_name,
                           kw::policy_map_ftp_insp_name, kw::policy_map_mgmt_name>;

struct PolicyMapRequest {
  ObjectName name;
  std::uint8_t type = kLayer34;
  std::uint8_t subtype = 1;
};

template <class Request>
using TypedNameKeywords =
    KeywordRows<On<PolicyMapNames, Text<&Request::name>>,
                On<Ids<kw::policy_map_type_http_lb>, Set<&Request::type, kHttpLoadBalancing>>,
                On<Ids<kw::policy_map_type_http_insp>, Set<&Request::type, kHttpInspection>>,
                On<Ids<kw::policy_map_type_ftp_insp>, Set<&Request::type, kFtpInspection>>,
                On<Ids<kw::policy_map_type_mgmt>, Set<&Request::type, kManagement>>,
                On<Ids<kw::policy_map_l3_subtype>, Set<&Request::subtype, std::uint8_t{1}>>,
                On<Ids<kw::policy_map_http_lb_subtype, kw::policy_map_ftp_insp_subtype, kw::policy_map_mgmt_subtype>,
                   Set<&Request::subtype, std::uint8_t{2}>>,
                On<Ids<kw::policy_map_http_insp_subtype>, Set<&Request::subtype, std::uint8_t{3}>>>;

using PolicyMapKeywords = KeywordTable<TypedNameKeywords<PolicyMapRequest>>;

struct ClassRequest : PolicyMapRequest {
  ObjectName class_map;
  ObjectName insert_before;
  std::uint8_t class_default = 0;
};

using ClassKeywords =
    KeywordTable<TypedNameKeywords<ClassRequest>,
                 On<Ids<kw::policy_l3_class, kw::policy_http_lb_class, kw::policy_http_insp_class,
                        kw::policy_ftp_insp_class, kw::policy_mgmt_class>,
                    Text<&ClassRequest::class_map>>,
                 On<Ids<kw::policy_l3_insert_before, kw::insert_before_lb, kw::policy_http_insp_insert_before,
                        kw::policy_ftp_insp_insert_before, kw::policy_mgmt_insert_before>,
                    Text<&ClassRequest::insert_before>>,
                 On<Ids<kw::policy_l3_class_default, kw::policy_http_lb_class_default, kw::policy_insp_class_default,
                        kw::policy_mgmt_class_default>,
                    Set<&ClassRequest::class_default, std::uint8_t{1}>>>;

struct IntervalRequest {
  ObjectName name;
  std::uint32_t interval = 0;
};

// Class lines are renumbered in layer-3/4 policy-maps only.
using IntervalKeywords = KeywordTable<On<Ids<kw::policy_map_interval>, Number<&IntervalRequest::interval>>,
                                      On<Ids<kw::policy_map_l3_name>, Text<&IntervalRequest::name>>>;

struct DescriptionRequest {
  ObjectName name;
  Description description;
};

using DescriptionKeywords = KeywordTable<
    On<PolicyMapNames, Text<&DescriptionRequest::name>>,
    On<Ids<kw::policy_map_l3_description, kw::policy_map_http_lb_description, kw::policy_map_http_insp_description,
           kw::policy_map_ftp_insp_description, kw::policy_map_mgmt_description>,
       Text<&DescriptionRequest::description>>>;

}  // namespace

}  // namespace kvel::cli::policymap

using namespace kvel::cli;
using namespace kvel::cli::policymap;

int32_t kvelpolicymap_config(const CliCommand* command) {
  if (!bind_for_policy()) return kObjectFailed;
  if (command->skip_execution != 0) return kDone;

  PolicyMapRequest request;
  PolicyMapKeywords::read(*command, request);

  // A policy-map's name is checked before the rule domain is asked, and fails with 1: both unlike a class-map's.
  if (request.name.starts_with('#')) return refuse(kNameBeginsWithHash);
  if (vsh_platform_specific_rule_domain_check_valid(KVEL_DOMAIN_POLICY_MAP, request.name.c_str(), command->negated) ==
      0) {
    return kObjectFailed;
  }

  be32 ignored;
  return finish_object(backend_call("cm_add_or_lookup_pmap_by_name", context(command), session(command), request.name,
                                    u8{request.type}, u8{request.subtype}, add(command), buffer(ignored)),
                       {{KVEL_STATUS_policy_map_type_differs,
                         "Error: policy-map '%s', already exists with a different type\n", request.name.c_str()},
                        {KVEL_STATUS_policy_map_in_use, "Error: policy-map '%s' is in use. Deletion not allowed\n",
                         request.name.c_str()},
                        {KVEL_STATUS_policy_map_not_found, kPolicyNotConfigured, request.name.c_str()}});
}

int32_t kvelpolicymap_configclass(const CliCommand* command) {
  if (command->skip_execution != 0) return kDone;
  if (!bind_for_policy()) return kObjectFailed;

  ClassRequest request;
  ClassKeywords::read(*command, request);

  if (is_inserted_before_itself(*command, request.class_map, request.insert_before)) {
    return refuse_object("Error: class name cannot be same as insert-before class name");
  }
  return finish_object(
      backend_call("cm_update_policy_to_class", context(command), session(command), request.name, request.class_map,
                   request.insert_before, u8{request.type}, u8{request.subtype}, u8{request.class_default},
                   add(command), u32{0}),
      {{KVEL_STATUS_class_map_not_found, kClassMapNotConfigured, request.class_map.c_str()},
       {KVEL_STATUS_insert_before_not_found, "Error: insert-before class-map '%s' not configured\n",
        request.insert_before.c_str()},
       {KVEL_STATUS_class_not_found, kNotInPolicy, request.insert_before.c_str(), request.name.c_str()},
       {KVEL_STATUS_policy_map_not_found, kPolicyNotConfigured, request.name.c_str()}});
}

// A failed bind returns 255 here, a failed call 1.
int32_t kvelpolicymap_configsequence(const CliCommand* command) {
  if (!bind_for_policy()) return kObjectFailed;

  IntervalRequest request;
  IntervalKeywords::read(*command, request);

  return finish(backend_call("cm_set_policy_class_line_interval", context(command), session(command), request.name,
                             u32{request.interval}));
}

int32_t kvelpolicymap_configdescr(const CliCommand* command) {
  if (bind_client() != 0) return kFailed;  // silent

  DescriptionRequest request;
  DescriptionKeywords::read(*command, request);

  return finish(backend_call("cm_update_policydesc", context(command), session(command), request.name,
                             request.description, add(command)));
}
