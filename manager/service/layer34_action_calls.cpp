// The actions of the classes of layer-3/4 and management policy-maps.
#include <utility>

#include "manager/service/action_records.h"
#include "manager/service/calls.h"

namespace kvel::manager {
namespace {

constexpr auto kLayer34 = PolicyMapType::layer34;

enum : std::uint8_t { kConnectionParameters = 0, kApplicationParameters = 1 };

ActionEdits put_or_remove(bool add, PolicyAction action) {
  if (add) return {put_action(std::move(action))};
  return {remove_action(std::move(action))};
}

}  // namespace

Status Calls::update_static_nat(std::uint16_t context, rpc::SessionId /*session*/, std::string_view policy,
                                std::string_view class_map, std::uint32_t address, std::uint32_t mask,
                                std::uint32_t port, std::uint32_t vlan, std::uint32_t add) {
  if (add > 1) return Status::bad_arguments;
  return change_actions({context, policy, class_map, {}}, kLayer34,
                        put_or_remove(add == 1, StaticNatAction{Ipv4{address}, Ipv4{mask}, port, vlan}));
}

Status Calls::update_dynamic_nat(std::uint16_t context, rpc::SessionId /*session*/, std::string_view policy,
                                 std::string_view class_map, std::uint32_t pool, std::uint32_t vlan,
                                 std::uint32_t add) {
  if (add > 1) return Status::bad_arguments;
  return change_actions({context, policy, class_map, {}}, kLayer34,
                        put_or_remove(add == 1, DynamicNatAction{pool, vlan}));
}

Status Calls::update_layer3_options(std::uint16_t context, std::uint8_t add, std::string_view policy,
                                    std::string_view class_map, FixedRecord<8> options) {
  if (add > 1) return Status::bad_arguments;
  const auto edits = read_layer3_options(options, add == 1);
  return edits ? change_actions({context, policy, class_map, {}}, kLayer34, *edits) : edits.error();
}

Status Calls::update_vip_actions(std::uint16_t context, rpc::SessionId /*session*/, std::uint8_t add,
                                 std::string_view policy, std::string_view class_map, FixedRecord<160> config) {
  if (add > 1) return Status::bad_arguments;
  const auto edits = read_vip_config(config, add == 1);
  return edits ? change_actions({context, policy, class_map, {}}, kLayer34, *edits) : edits.error();
}

// An inspection to add is what its record contains; one to remove is found by its kind.
template <class Inspection, class Read>
Status Calls::update_inspection(const ClassPlace& place, std::uint8_t add, const Read& read) {
  if (add > 1) return Status::bad_arguments;
  if (add == 0) return change_actions(place, kLayer34, {remove_kind<Inspection>()});
  const ReadEdits edits = read();
  return edits ? change_actions(place, kLayer34, *edits) : edits.error();
}

Status Calls::update_http_inspection(std::uint16_t context, rpc::SessionId /*session*/, std::uint8_t add,
                                     std::string_view policy, std::string_view class_map, FixedRecord<156> inspection) {
  return update_inspection<InspectHttpAction>({context, policy, class_map, {}}, add,
                                              [&] { return read_http_inspection(inspection); });
}

Status Calls::update_dns_inspection(std::uint16_t context, rpc::SessionId /*session*/, std::uint8_t add,
                                    std::string_view policy, std::string_view class_map, FixedRecord<12> inspection) {
  return update_inspection<InspectDnsAction>({context, policy, class_map, {}}, add,
                                             [&] { return read_dns_inspection(inspection); });
}

Status Calls::update_icmp_inspection(std::uint16_t context, rpc::SessionId /*session*/, std::uint8_t add,
                                     std::string_view policy, std::string_view class_map, FixedRecord<4> inspection) {
  return update_inspection<InspectIcmpAction>({context, policy, class_map, {}}, add,
                                              [&] { return read_icmp_inspection(inspection); });
}

Status Calls::update_ftp_inspection(std::uint16_t context, rpc::SessionId /*session*/, std::uint8_t add,
                                    std::string_view policy, std::string_view class_map, FixedRecord<72> inspection) {
  return update_inspection<InspectFtpAction>({context, policy, class_map, {}}, add,
                                             [&] { return read_ftp_inspection(inspection); });
}

Status Calls::update_rtsp_inspection(std::uint16_t context, rpc::SessionId /*session*/, std::uint8_t add,
                                     std::string_view policy, std::string_view class_map) {
  return update_inspection<InspectRtspAction>({context, policy, class_map, {}}, add,
                                              [] { return ReadEdits(ActionEdits{put_action(InspectRtspAction())}); });
}

Status Calls::update_attached_parameter_map(std::uint16_t context, rpc::SessionId /*session*/, std::string_view policy,
                                            std::string_view class_map, std::string_view parameter_map,
                                            std::uint8_t kind, std::uint8_t add) {
  const ClassPlace place{context, policy, class_map, {}};
  switch (kind) {
    case kConnectionParameters:
      return update_attachment<ConnectionParametersAction>(place, kLayer34, parameter_map, add);
    case kApplicationParameters:
      return update_attachment<ApplicationParametersAction>(place, kLayer34, parameter_map, add);
    default:
      return Status::bad_arguments;
  }
}

Status Calls::update_permissions(std::uint16_t context, rpc::SessionId /*session*/, std::uint8_t add,
                                 std::string_view policy, std::string_view class_map, std::uint32_t permit,
                                 std::uint32_t deny) {
  if (add > 1 || permit > 1 || deny > 1) return Status::bad_arguments;
  ActionEdits edits;
  const auto edit = [&]<class Verdict>(Verdict verdict, std::uint32_t given) {
    if (given == 0) return;
    if (add == 1) {
      edits.push_back(put_action(verdict));
    } else {
      edits.push_back(clear_kind<Verdict>());
    }
  };
  edit(ManagementPermitAction(), permit);
  edit(ManagementDenyAction(), deny);
  return change_actions({context, policy, class_map, {}}, PolicyMapType::management, edits);
}

}  // namespace kvel::manager
