// Creating, typing and deleting class-maps, and their descriptions.
#include "cli/classmap/class_map.h"
#include "cli/common/backend.h"
#include "cli/common/big_endian.h"
#include "cli/common/fixed_text.h"
#include "cli/common/keyword_table.h"
#include "cli/common/messages.h"
#include "cli/common/status_printer.h"
#include "kvel/host.h"
#include "kvel/keywords.h"
#include "kvel/plugin.h"

namespace kvel::cli::classmap {

namespace {

struct ClassMapRequest {
  ObjectName name;
  std::uint8_t type = kLayer34;
  std::uint8_t match_mode = kMatchAll;
};

// The layer-3/4 name also sets the type: it is the form without a type keyword.
using ClassMapKeywords =
    KeywordTable<On<Ids<kw::class_map_l3_name>, Set<&ClassMapRequest::type, kLayer34>, Text<&ClassMapRequest::name>>,
                 On<Ids<kw::class_map_http_lb_name, kw::class_map_http_insp_name, kw::class_map_ftp_insp_name,
                        kw::class_map_mgmt_name>,
                    Text<&ClassMapRequest::name>>,
                 On<Ids<kw::class_map_type_mgmt>, Set<&ClassMapRequest::type, kManagement>>,
                 On<Ids<kw::class_map_type_http_lb>, Set<&ClassMapRequest::type, kHttpLoadBalancing>>,
                 On<Ids<kw::class_map_type_http_insp>, Set<&ClassMapRequest::type, kHttpInspection>>,
                 On<Ids<kw::class_map_type_ftp_insp>, Set<&ClassMapRequest::type, kFtpInspection>>,
                 On<Ids<kw::class_map_l3_match_all, kw::class_map_http_lb_match_all, kw::class_map_http_insp_match_all,
                        kw::class_map_mgmt_match_all>,
                    Set<&ClassMapRequest::match_mode, kMatchAll>>,
                 On<Ids<kw::class_map_l3_match_any, kw::class_map_http_lb_match_any, kw::class_map_http_insp_match_any,
                        kw::class_map_ftp_insp_match_any, kw::class_map_mgmt_match_any>,
                    Set<&ClassMapRequest::match_mode, kMatchAny>>>;

struct DescriptionRequest {
  ObjectName name;
  Description description;
};

using DescriptionKeywords =
    KeywordTable<On<Ids<kw::class_map_l3_name, kw::class_map_http_lb_name, kw::class_map_http_insp_name,
                        kw::class_map_ftp_insp_name, kw::class_map_mgmt_name>,
                    Text<&DescriptionRequest::name>>,
                 On<Ids<kw::class_map_description>, Text<&DescriptionRequest::description>>>;

}  // namespace

}  // namespace kvel::cli::classmap

using namespace kvel::cli;
using namespace kvel::cli::classmap;

int32_t kvelclassmap_config(const CliCommand* command) {
  if (bind_client() != 0) return kObjectFailed;  // silent here, and before the test of skip_execution
  if (command->skip_execution != 0) return kDone;

  ClassMapRequest request;
  ClassMapKeywords::read(*command, request);

  if (request.name.is("class-default")) {
    return refuse_object("Error: class-default is a well-known class and is not configurable");
  }
  if (vsh_platform_specific_rule_domain_check_valid(KVEL_DOMAIN_CLASS_MAP, request.name.c_str(), command->negated) ==
      0) {
    return kObjectFailed;
  }
  // Deliberately after the rule-domain check: a session that may not touch the object learns nothing of its name.
  if (request.name.starts_with('#')) return refuse_object(kNameBeginsWithHash);

  be32 ignored;
  const std::int32_t status =
      backend_call("cm_add_or_lookup_classmap", context(command), session(command), u8{request.type},
                   u8{request.match_mode}, request.name, add(command), buffer(ignored));
  const bool done = report(status, class_display_error,
                           {{KVEL_STATUS_class_map_type_differs,
                             "Error: class-map '%s', already exists with a different type\n", request.name.c_str()},
                            {KVEL_STATUS_class_map_not_found, kClassMapNotConfigured, request.name.c_str()},
                            {KVEL_STATUS_class_map_in_use, "Error: class-map '%s' is in use. Deletion not allowed\n",
                             request.name.c_str()}});
  return done ? kDone : kObjectFailed;
}

// Neither skip_execution nor any check of the name applies to a description: class-default is sent like any other.
int32_t kvelclassmap_config_desc(const CliCommand* command) {
  if (bind_client() != 0) return kFailed;

  DescriptionRequest request;
  DescriptionKeywords::read(*command, request);

  const std::int32_t status = backend_call("cm_update_classdesc", context(command), session(command), request.name,
                                           request.description, add(command));
  return report(status, class_display_error) ? kDone : kFailed;
}
