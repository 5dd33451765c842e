// The actions of the classes of policy-maps. Each kind states here, once, its name in records, the type of policy-map
// that takes it, and its fields; writing, reading, comparing and checking follow from that. Some are known by no more
// than their number.
#pragma once

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "manager/model/address.h"
#include "manager/model/field.h"
#include "manager/model/kind_variant.h"
#include "manager/model/policy_map_type.h"

namespace kvel::manager {

// The name of a kind as a template argument.
template <std::size_t N>
struct KindName {
  char text[N];
  // NOLINTNEXTLINE(google-explicit-constructor): written as a plain literal
  consteval KindName(const char (&literal)[N]) { std::copy_n(literal, N, text); }
};

template <KindName Kind, PolicyMapType Type>
struct ActionTraits {
  static constexpr std::string_view kKind{Kind.text, sizeof(Kind.text) - 1};
  static constexpr PolicyMapType kType = Type;
  friend auto operator<=>(const ActionTraits&, const ActionTraits&) = default;
};

// An action that is there or not.
template <KindName Kind, PolicyMapType Type>
struct PlainAction : ActionTraits<Kind, Type> {
  static constexpr auto fields(const auto& visit) { return visit(); }
  friend auto operator<=>(const PlainAction&, const PlainAction&) = default;
};

// An action that names an object, or something that is not kept here.
template <KindName Kind, PolicyMapType Type>
struct NameAction : ActionTraits<Kind, Type> {
  NameAction() = default;
  explicit NameAction(std::string_view initial) : name(initial) {}

  std::string name;
  static constexpr auto fields(const auto& visit) { return visit(Field{"name", &NameAction::name}); }
  friend auto operator<=>(const NameAction&, const NameAction&) = default;
};

// An action that a virtual address carries out always, or only while it is active.
template <KindName Kind, PolicyMapType Type>
struct WhenActiveAction : ActionTraits<Kind, Type> {
  WhenActiveAction() = default;
  explicit WhenActiveAction(bool initial) : when_active(initial) {}

  bool when_active = false;
  static constexpr auto fields(const auto& visit) {
    return visit(Field{"when_active", &WhenActiveAction::when_active});
  }
  friend auto operator<=>(const WhenActiveAction&, const WhenActiveAction&) = default;
};

// A verdict on a request, logged or not.
template <KindName Kind, PolicyMapType Type>
struct LogAction : ActionTraits<Kind, Type> {
  LogAction() = default;
  explicit LogAction(bool initial) : log(initial) {}

  bool log = false;
  static constexpr auto fields(const auto& visit) {
    return visit(Field{"log", &LogAction::log, Presence::unless_default});
  }
  friend auto operator<=>(const LogAction&, const LogAction&) = default;
};

// An action with one number.
template <KindName Kind, PolicyMapType Type, KindName FieldName, Presence FieldPresence = Presence::always>
struct NumberAction : ActionTraits<Kind, Type> {
  NumberAction() = default;
  explicit NumberAction(std::uint32_t initial) : number(initial) {}

  std::uint32_t number = 0;
  static constexpr auto fields(const auto& visit) {
    return visit(Field{std::string_view(FieldName.text), &NumberAction::number, FieldPresence});
  }
  friend auto operator<=>(const NumberAction&, const NumberAction&) = default;
};

// Layer-3/4: address translation. A class may have many of these.
struct StaticNatAction {
  static constexpr std::string_view kKind = "nat-static";
  static constexpr PolicyMapType kType = PolicyMapType::layer34;
  Ipv4 address;
  Ipv4 mask;
  std::uint32_t port = 0;  // 0: any
  std::uint32_t vlan = 0;  // 0: any
  static constexpr auto fields(const auto& visit) {
    using Self = StaticNatAction;
    return visit(Field{"address", &Self::address}, Field{"mask", &Self::mask},
                 Field{"port", &Self::port, Presence::unless_default},
                 Field{"vlan", &Self::vlan, Presence::unless_default});
  }
  friend auto operator<=>(const StaticNatAction&, const StaticNatAction&) = default;
};

struct DynamicNatAction {
  static constexpr std::string_view kKind = "nat-dynamic";
  static constexpr PolicyMapType kType = PolicyMapType::layer34;
  std::uint32_t pool = 0;
  std::uint32_t vlan = 0;  // 0: any
  static constexpr auto fields(const auto& visit) {
    using Self = DynamicNatAction;
    return visit(Field{"pool", &Self::pool}, Field{"vlan", &Self::vlan});
  }
  friend auto operator<=>(const DynamicNatAction&, const DynamicNatAction&) = default;
};

using SecurityAclAction = PlainAction<"security-acl", PolicyMapType::layer34>;

// Layer-3/4: load balancing of a virtual address.
using VipInServiceAction = PlainAction<"vip-in-service", PolicyMapType::layer34>;
using VipIcmpReplyAction = WhenActiveAction<"vip-icmp-reply", PolicyMapType::layer34>;
using VipAdvertiseAction = WhenActiveAction<"vip-advertise", PolicyMapType::layer34>;
using VipMetricAction = NumberAction<"vip-metric", PolicyMapType::layer34, "metric">;
using VipObjectAction = NameAction<"vip-object", PolicyMapType::layer34>;
struct LoadBalanceAction {
  static constexpr std::string_view kKind = "load-balance";
  static constexpr PolicyMapType kType = PolicyMapType::layer34;
  std::string policy;
  static constexpr auto fields(const auto& visit) { return visit(Field{"policy", &LoadBalanceAction::policy}); }
  friend auto operator<=>(const LoadBalanceAction&, const LoadBalanceAction&) = default;
};
using VipOptionAction = PlainAction<"vip-option", PolicyMapType::layer34>;

// Layer-3/4: inspections.
struct InspectHttpAction {
  static constexpr std::string_view kKind = "inspect-http";
  static constexpr PolicyMapType kType = PolicyMapType::layer34;
  std::string policy;  // empty: none
  bool url_logging = false;
  bool option = false;
  static constexpr auto fields(const auto& visit) {
    using Self = InspectHttpAction;
    return visit(Field{"policy", &Self::policy, Presence::unless_default},
                 Field{"url_logging", &Self::url_logging, Presence::unless_default},
                 Field{"option", &Self::option, Presence::unless_default});
  }
  friend auto operator<=>(const InspectHttpAction&, const InspectHttpAction&) = default;
};
using InspectDnsAction =
    NumberAction<"inspect-dns", PolicyMapType::layer34, "max_length", Presence::unless_default>;  // 0: no limit
using InspectIcmpAction =
    NumberAction<"inspect-icmp", PolicyMapType::layer34, "error_mode", Presence::unless_default>;  // 0: none
struct InspectFtpAction {
  static constexpr std::string_view kKind = "inspect-ftp";
  static constexpr PolicyMapType kType = PolicyMapType::layer34;
  bool strict = false;
  std::string policy;  // empty: none
  static constexpr auto fields(const auto& visit) {
    using Self = InspectFtpAction;
    return visit(Field{"strict", &Self::strict, Presence::unless_default},
                 Field{"policy", &Self::policy, Presence::unless_default});
  }
  friend auto operator<=>(const InspectFtpAction&, const InspectFtpAction&) = default;
};
using InspectRtspAction = PlainAction<"inspect-rtsp", PolicyMapType::layer34>;

// Layer-3/4: attachments.
using SslProxyServerAction = NameAction<"ssl-proxy-server", PolicyMapType::layer34>;
using ConnectionParametersAction = NameAction<"connection-parameters", PolicyMapType::layer34>;
using ApplicationParametersAction = NameAction<"application-parameters", PolicyMapType::layer34>;

// HTTP load balancing.
using ServerfarmAction = NameAction<"serverfarm", PolicyMapType::http_load_balancing>;
using BackupServerfarmAction = NameAction<"backup-serverfarm", PolicyMapType::http_load_balancing>;
using BackupOptionAction = PlainAction<"backup-option", PolicyMapType::http_load_balancing>;
using ServerfarmOptionAction = PlainAction<"serverfarm-option", PolicyMapType::http_load_balancing>;
using DropAction = PlainAction<"drop", PolicyMapType::http_load_balancing>;
using ForwardAction = PlainAction<"forward", PolicyMapType::http_load_balancing>;
using Flag585Action = PlainAction<"flag-585", PolicyMapType::http_load_balancing>;
using Flag587Action = PlainAction<"flag-587", PolicyMapType::http_load_balancing>;
struct InsertHeaderAction {
  static constexpr std::string_view kKind = "insert-header";
  static constexpr PolicyMapType kType = PolicyMapType::http_load_balancing;
  std::string name;
  std::string value;
  static constexpr auto fields(const auto& visit) {
    using Self = InsertHeaderAction;
    return visit(Field{"name", &Self::name}, Field{"value", &Self::value, Presence::unless_default});
  }
  friend auto operator<=>(const InsertHeaderAction&, const InsertHeaderAction&) = default;
};
using GroupAction = NameAction<"group", PolicyMapType::http_load_balancing>;
using Number676Action = NumberAction<"number-676", PolicyMapType::http_load_balancing, "number">;
using SslProxyClientAction = NameAction<"ssl-proxy-client", PolicyMapType::http_load_balancing>;

// Inspections.
using PermitAction = LogAction<"permit", PolicyMapType::http_inspection>;
using ResetAction = LogAction<"reset", PolicyMapType::http_inspection>;
using DenyAction = PlainAction<"deny", PolicyMapType::ftp_inspection>;
using MaskReplyAction = PlainAction<"mask-reply", PolicyMapType::ftp_inspection>;

// Management: the verdict on flows to the appliance itself. Records name the flags by their numbers.
using ManagementPermitAction = PlainAction<"permission-1", PolicyMapType::management>;
using ManagementDenyAction = PlainAction<"permission-2", PolicyMapType::management>;

struct PolicyActionKinds {
  // In the order in which a class shows its actions.
  using Variant =
      std::variant<StaticNatAction, DynamicNatAction, SecurityAclAction, VipInServiceAction, VipIcmpReplyAction,
                   VipAdvertiseAction, VipMetricAction, VipObjectAction, LoadBalanceAction, VipOptionAction,
                   InspectHttpAction, InspectDnsAction, InspectIcmpAction, InspectFtpAction, InspectRtspAction,
                   SslProxyServerAction, ConnectionParametersAction, ApplicationParametersAction, ServerfarmAction,
                   BackupServerfarmAction, BackupOptionAction, ServerfarmOptionAction, DropAction, ForwardAction,
                   Flag585Action, Flag587Action, InsertHeaderAction, GroupAction, Number676Action, SslProxyClientAction,
                   PermitAction, ResetAction, DenyAction, MaskReplyAction, ManagementPermitAction,
                   ManagementDenyAction>;
};

using PolicyAction = KindVariant<PolicyActionKinds>;

[[nodiscard]] PolicyMapType type_of(const PolicyAction& action);

// A kind of action: its index in the variant.
using ActionKind = std::size_t;

template <class Action>
inline constexpr ActionKind kActionKind = PolicyAction::kIndexOf<Action>;

}  // namespace kvel::manager
