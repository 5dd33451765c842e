#include "manager/service/action_records.h"

#include <bit>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "manager/service/fields.h"

namespace kvel::manager {
namespace {

using Refusal = tl::unexpected<Status>;

// Bits are counted from the least significant one.
constexpr std::uint32_t bit(unsigned number) { return 1U << number; }

namespace options {
constexpr std::size_t kBitsAt = 0;
constexpr std::size_t kReservedAt = 4;
constexpr std::uint32_t kSecurityAcl = bit(31);
}  // namespace options

namespace vip {
constexpr std::size_t kInServiceAt = 0;
constexpr std::size_t kIcmpReplyAt = 4;  // 1 always, 2 when active
constexpr std::size_t kAdvertiseAt = 8;  // likewise
constexpr std::size_t kMetricAt = 12;
constexpr std::size_t kObjectAt = 20;
constexpr std::size_t kPolicyAt = 85;
constexpr std::size_t kOptionAt = 152;
constexpr std::size_t kPresenceAt = 156;
constexpr std::uint32_t kInService = bit(31);
constexpr std::uint32_t kIcmpReply = bit(30);
constexpr std::uint32_t kAdvertise = bit(29);
constexpr std::uint32_t kMetric = bit(28);
constexpr std::uint32_t kObject = bit(26);
constexpr std::uint32_t kPolicy = bit(25);
constexpr std::uint32_t kOption = bit(24);
constexpr std::uint32_t kAll = kInService | kIcmpReply | kAdvertise | kMetric | kObject | kPolicy | kOption;
}  // namespace vip

namespace lb {
constexpr std::size_t kNumberAt = 0;  // one byte
constexpr std::size_t kTargetAt = 4;  // of a server farm or a group
constexpr std::size_t kBackupAt = 69;
constexpr std::size_t kBackupOptionAt = 136;
constexpr std::size_t kServerfarmOptionAt = 140;
constexpr std::size_t kPresenceAAt = 144;
constexpr std::size_t kHeaderNameAt = 213;
constexpr std::size_t kHeaderValueAt = 469;
constexpr std::size_t kPresenceBAt = 728;
// Presence bits A.
constexpr std::uint32_t kServerfarmA = bit(31);
constexpr std::uint32_t kBackup = bit(30);
constexpr std::uint32_t kBackupOption = bit(29);
constexpr std::uint32_t kServerfarmOption = bit(28);
constexpr std::uint32_t kAllA = kServerfarmA | kBackup | kBackupOption | kServerfarmOption;
// Presence bits B.
constexpr std::uint32_t kFlag585 = bit(31);
constexpr std::uint32_t kServerfarmB = bit(30);  // comes with that of A
constexpr std::uint32_t kDrop = bit(29);
constexpr std::uint32_t kForward = bit(28);
constexpr std::uint32_t kHeader = bit(26);
constexpr std::uint32_t kFlag587 = bit(25);
constexpr std::uint32_t kGroup = bit(24);
constexpr std::uint32_t kAllB = kFlag585 | kServerfarmB | kDrop | kForward | kHeader | kFlag587 | kGroup;
// A class has one of these.
constexpr std::uint32_t kPrimary = kServerfarmB | kDrop | kForward | kGroup;
}  // namespace lb

namespace http {
constexpr std::size_t kOptionAt = 0;
constexpr std::size_t kUrlLoggingAt = 4;
constexpr std::size_t kPolicyAt = 89;
}  // namespace http

namespace dns {
constexpr std::size_t kGivenAt = 0;  // repeats the presence bit
constexpr std::size_t kMaxLengthAt = 4;
constexpr std::size_t kPresenceAt = 8;
constexpr std::uint32_t kMaxLength = bit(31);
}  // namespace dns

namespace ftp {
constexpr std::size_t kStrictAt = 0;
constexpr std::size_t kPolicyAt = 4;
}  // namespace ftp

// Makes edits out of the fields of a record and remembers when one of them made no sense.
class Edits {
 public:
  explicit Edits(bool add) : add_(add) {}

  // The action of a field that is given: it is set to what `make` reads, or cleared. Nothing from `make` is a refusal.
  template <class Action, class Make>
  void field(bool given, const Make& make) {
    if (!given || refused_) return;
    if (!add_) {
      edits_.push_back(clear_kind<Action>());
    } else if (std::optional<Action> action = make()) {
      edits_.push_back(put_action(*std::move(action)));
    } else {
      refused_ = true;
    }
  }
  // The same where the value can only be 1.
  template <class Action>
  void flag(bool given, std::uint32_t value) {
    field<Action>(given, [&] { return value == 1 ? std::optional(Action()) : std::nullopt; });
  }
  // 1 always, 2 when active.
  template <class Action>
  void when_active(bool given, std::uint32_t value) {
    field<Action>(given, [&] { return value == 1 || value == 2 ? std::optional(Action(value == 2)) : std::nullopt; });
  }
  template <class Action>
  void name(bool given, const std::optional<std::string_view>& text) {
    field<Action>(given, [&] { return text ? std::optional(Action(*text)) : std::nullopt; });
  }

  [[nodiscard]] ReadEdits result() && {
    if (refused_) return Refusal(Status::bad_arguments);
    return std::move(edits_);
  }

 private:
  bool add_;
  bool refused_ = false;
  ActionEdits edits_;
};

ReadEdits put(PolicyAction action) { return ActionEdits{put_action(std::move(action))}; }

}  // namespace

ReadEdits read_layer3_options(std::span<const std::byte, 8> record, bool add) {
  const std::uint32_t bits = word_at<options::kBitsAt>(record);
  if ((bits & ~options::kSecurityAcl) != 0 || word_at<options::kReservedAt>(record) != 0) {
    return Refusal(Status::bad_arguments);
  }
  Edits edits(add);
  edits.flag<SecurityAclAction>((bits & options::kSecurityAcl) != 0, 1);
  return std::move(edits).result();
}

ReadEdits read_vip_config(std::span<const std::byte, 160> record, bool add) {
  const std::uint32_t given = word_at<vip::kPresenceAt>(record);
  if ((given & ~vip::kAll) != 0) return Refusal(Status::bad_arguments);
  Edits edits(add);
  edits.flag<VipInServiceAction>((given & vip::kInService) != 0, word_at<vip::kInServiceAt>(record));
  edits.when_active<VipIcmpReplyAction>((given & vip::kIcmpReply) != 0, word_at<vip::kIcmpReplyAt>(record));
  edits.when_active<VipAdvertiseAction>((given & vip::kAdvertise) != 0, word_at<vip::kAdvertiseAt>(record));
  edits.field<VipMetricAction>((given & vip::kMetric) != 0,
                               [&] { return std::optional(VipMetricAction(word_at<vip::kMetricAt>(record))); });
  edits.name<VipObjectAction>((given & vip::kObject) != 0, text_at<vip::kObjectAt, kNameBytes>(record));
  edits.field<LoadBalanceAction>((given & vip::kPolicy) != 0, [&]() -> std::optional<LoadBalanceAction> {
    const auto policy = text_at<vip::kPolicyAt, kNameBytes>(record);
    if (!policy) return std::nullopt;
    return LoadBalanceAction{std::string(*policy)};
  });
  edits.flag<VipOptionAction>((given & vip::kOption) != 0, word_at<vip::kOptionAt>(record));
  return std::move(edits).result();
}

ReadEdits read_load_balancing(std::span<const std::byte, 732> record, bool add) {
  const std::uint32_t given_a = word_at<lb::kPresenceAAt>(record);
  const std::uint32_t given_b = word_at<lb::kPresenceBAt>(record);
  const bool serverfarm = (given_a & lb::kServerfarmA) != 0;
  if ((given_a & ~lb::kAllA) != 0 || (given_b & ~lb::kAllB) != 0 || serverfarm != ((given_b & lb::kServerfarmB) != 0)) {
    return Refusal(Status::bad_arguments);
  }
  if (add && std::popcount(given_b & lb::kPrimary) > 1) return Refusal(Status::bad_arguments);

  const auto target = text_at<lb::kTargetAt, kNameBytes>(record);
  const auto number = std::to_integer<std::uint32_t>(record[lb::kNumberAt]);
  Edits edits(add);
  edits.name<ServerfarmAction>(serverfarm, target);
  edits.name<BackupServerfarmAction>((given_a & lb::kBackup) != 0, text_at<lb::kBackupAt, kNameBytes>(record));
  edits.flag<BackupOptionAction>((given_a & lb::kBackupOption) != 0, word_at<lb::kBackupOptionAt>(record));
  edits.flag<ServerfarmOptionAction>((given_a & lb::kServerfarmOption) != 0, word_at<lb::kServerfarmOptionAt>(record));
  edits.flag<DropAction>((given_b & lb::kDrop) != 0, 1);
  edits.flag<ForwardAction>((given_b & lb::kForward) != 0, 1);
  edits.flag<Flag585Action>((given_b & lb::kFlag585) != 0, 1);
  edits.flag<Flag587Action>((given_b & lb::kFlag587) != 0, 1);
  edits.field<InsertHeaderAction>((given_b & lb::kHeader) != 0, [&]() -> std::optional<InsertHeaderAction> {
    const auto name = text_at<lb::kHeaderNameAt, kTextBytes>(record);
    const auto value = text_at<lb::kHeaderValueAt, kTextBytes>(record);
    if (!name || !value) return std::nullopt;
    return InsertHeaderAction{std::string(*name), std::string(*value)};
  });
  edits.name<GroupAction>((given_b & lb::kGroup) != 0, target);
  edits.field<Number676Action>(number != 0, [&] { return std::optional(Number676Action(number)); });
  return std::move(edits).result();
}

ReadEdits read_http_inspection(std::span<const std::byte, 156> record) {
  const std::uint32_t option = word_at<http::kOptionAt>(record);
  const std::uint32_t url_logging = word_at<http::kUrlLoggingAt>(record);
  const auto policy = text_at<http::kPolicyAt, kNameBytes>(record);
  if (option > 1 || url_logging > 1 || !policy) return Refusal(Status::bad_arguments);
  return put(InspectHttpAction{std::string(*policy), url_logging == 1, option == 1});
}

ReadEdits read_dns_inspection(std::span<const std::byte, 12> record) {
  const std::uint32_t given = word_at<dns::kPresenceAt>(record);
  const bool max_length = given == dns::kMaxLength;
  if ((given & ~dns::kMaxLength) != 0 || word_at<dns::kGivenAt>(record) != (max_length ? 1U : 0U)) {
    return Refusal(Status::bad_arguments);
  }
  return put(InspectDnsAction(max_length ? word_at<dns::kMaxLengthAt>(record) : 0));
}

ReadEdits read_icmp_inspection(std::span<const std::byte, 4> record) {
  return put(InspectIcmpAction(word_at<0>(record)));
}

ReadEdits read_ftp_inspection(std::span<const std::byte, 72> record) {
  const std::uint32_t strict = word_at<ftp::kStrictAt>(record);
  const auto policy = text_at<ftp::kPolicyAt, kNameBytes>(record);
  if (strict > 1 || !policy) return Refusal(Status::bad_arguments);
  return put(InspectFtpAction{strict == 1, std::string(*policy)});
}

}  // namespace kvel::manager
