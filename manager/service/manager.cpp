#include "manager/service/manager.h"

#include <exception>
#include <utility>

#include "manager/service/calls.h"

namespace kvel::manager {
namespace {

using rpc::Row;

constexpr auto kDispatch = rpc::dispatch_table<  //
    Calls,                                       //
    Row<"cm_classmap_get_list", &Calls::list_class_maps>,
    Row<"cm_add_or_lookup_classmap", &Calls::add_or_lookup_class_map>,
    Row<"cm_update_classdesc", &Calls::update_class_map_description>,  //
    Row<"cm_update_class_to_vip", &Calls::update_virtual_address_rule>,
    Row<"cm_update_class_to_ip", &Calls::update_address_rule>, Row<"cm_update_class_to_port", &Calls::update_port_rule>,
    Row<"cm_update_class_to_any", &Calls::update_any_rule>,
    Row<"cm_update_class_to_acl", &Calls::update_access_list_rule>,
    Row<"cm_update_class_to_mgmtproto", &Calls::update_management_rule>,
    Row<"cm_update_class_lineno", &Calls::remove_typed_line>, Row<"cm_del_match_with_linenum", &Calls::remove_any_line>,
    Row<"cm_update_ftp_request_method_match", &Calls::update_ftp_method_rule>,
    Row<"cm_update_http_header_length_match", &Calls::update_header_length_rule>,
    Row<"cm_update_http_header_match", &Calls::update_header_rule>,
    Row<"cm_update_http_url_match", &Calls::update_url_rule>,
    Row<"cm_update_mime_type_match", &Calls::update_mime_type_rule>,
    Row<"cm_update_http_content_match", &Calls::update_content_rule>,
    Row<"cm_update_http_content_length_match", &Calls::update_content_length_rule>,
    Row<"cm_update_request_method_match", &Calls::update_request_method_rule>,
    Row<"cm_update_p80_misuse_match", &Calls::update_port_misuse_rule>,
    Row<"cm_update_transfer_encoding_match", &Calls::update_transfer_encoding_rule>,
    Row<"cm_update_lbclass_to_url", &Calls::update_lb_url_rule>,
    Row<"cm_update_lbclass_to_cookie", &Calls::update_lb_cookie_rule>,
    Row<"cm_update_lbclass_to_header", &Calls::update_lb_header_rule>,
    Row<"cm_update_lbclass_to_srcaddr", &Calls::update_lb_source_address_rule>,
    Row<"cm_update_l7class_to_cmap", &Calls::update_nested_class_map_rule>,
    Row<"cm_policymap_get_list", &Calls::list_policy_maps>,
    Row<"cm_add_or_lookup_pmap_by_name", &Calls::add_or_lookup_policy_map>,
    Row<"cm_update_policydesc", &Calls::update_policy_map_description>,
    Row<"cm_set_policy_class_line_interval", &Calls::set_line_interval>,
    Row<"cm_update_policy_to_class", &Calls::update_policy_class>,
    Row<"cm_update_static_nat", &Calls::update_static_nat>, Row<"cm_update_dynamic_nat", &Calls::update_dynamic_nat>,
    Row<"cm_update_l3_opt_config", &Calls::update_layer3_options>,
    Row<"cm_update_l3_lb_config", &Calls::update_vip_actions>,
    Row<"cm_update_l3_http_insp_config", &Calls::update_http_inspection>,
    Row<"cm_update_l3_dns_insp_config", &Calls::update_dns_inspection>,
    Row<"cm_update_l3_icmp_insp_config", &Calls::update_icmp_inspection>,
    Row<"cm_update_l3_ftp_insp_config", &Calls::update_ftp_inspection>,
    Row<"cm_update_l3_rtsp_insp_config", &Calls::update_rtsp_inspection>,
    Row<"cm_update_ssl_config", &Calls::update_attached_ssl_proxy>,
    Row<"cm_update_l3_param_map_config", &Calls::update_attached_parameter_map>,
    Row<"cm_update_mgmt_action", &Calls::update_permissions>,
    Row<"cm_lb_add_or_lookup_action", &Calls::update_load_balancing>,
    Row<"cm_update_l7_http_insp_action", &Calls::update_http_verdict>,
    Row<"cm_update_l7_ftp_insp_action", &Calls::update_ftp_verdict>,
    Row<"cm_update_l7_inline_lb_match", &Calls::update_lb_match>,
    Row<"cm_update_l7_inline_http_insp_match", &Calls::update_http_match>,
    Row<"cm_update_l7_inline_ftp_insp_match", &Calls::update_ftp_match>,
    Row<"cm_param_map_list_bytype", &Calls::list_parameter_maps>,
    Row<"cm_param_map_add_or_lookup", &Calls::add_or_lookup_parameter_map>,
    Row<"cm_param_map_config", &Calls::configure_parameter_map>,
    Row<"cm_show_parameter_map", &Calls::show_parameter_maps>, Row<"cm_get_sslproxy_list", &Calls::list_ssl_proxies>,
    Row<"cm_add_or_lookup_ssl_proxy", &Calls::add_or_lookup_ssl_proxy>, Row<"cm_update_key", &Calls::update_key>,
    Row<"cm_update_cert", &Calls::update_certificate>, Row<"cm_update_chaingrp", &Calls::update_chain_group>,
    Row<"cm_update_param_map", &Calls::update_ssl_parameters>, Row<"kvel_apply_policy", &Calls::apply_policy>,
    Row<"cm_show_service_policy", &Calls::show_service_policy>,
    Row<"cm_clear_service_policy", &Calls::clear_service_policy>, Row<"kvel_count_flows", &Calls::count_flows>,
    Row<"kvel_explain_flow", &Calls::explain_flow>, Row<"kvel_get_object", &Calls::get_object>,  //
    Row<"kvel_get_objects", &Calls::get_objects>, Row<"kvel_get_parts", &Calls::get_parts>,
    Row<"kvel_enter_object", &Calls::enter_object>, Row<"kvel_identify_object", &Calls::identify_object>,
    Row<"kvel_change_parameter_map", &Calls::change_parameter_map>>();

}  // namespace

StoreResult<std::unique_ptr<Manager>> Manager::open(std::unique_ptr<Store> store, FailureLog log) {
  auto calls = std::make_unique<Calls>(std::move(store), log);
  if (auto loaded = calls->load(); !loaded) return tl::unexpected(std::move(loaded).error());
  return std::unique_ptr<Manager>(new Manager(std::move(calls), std::move(log)));
}

Manager::Manager(std::unique_ptr<Calls> calls, FailureLog log) : calls_(std::move(calls)), log_(std::move(log)) {}

Manager::~Manager() = default;

Status Manager::call(std::size_t call, std::span<const rpc::Argument> arguments) noexcept {
  if (call >= kDispatch.size()) return Status::unknown_call;
  try {
    if (!calls_->is_current()) return Status::store_failed;
    return kDispatch[call](*calls_, arguments);
  } catch (const std::exception& failure) {
    log(failure.what());
  } catch (...) {
    log("a failure without a name");
  }
  return Status::internal;
}

void Manager::log(std::string_view failure) noexcept {
  // For want of memory, most likely. The call has its answer all the same.
  try {
    if (log_) log_(failure);
  } catch (...) {  // NOLINT(bugprone-empty-catch)
  }
}

}  // namespace kvel::manager
