#include "manager/service/statistics_stream.h"

#include <algorithm>
#include <limits>

#include "manager/service/fields.h"
#include "wire/big_endian.h"

namespace kvel::manager {
namespace {

constexpr std::size_t kPolicyBytes = 260;
constexpr std::size_t kVlanBytes = 4;
constexpr std::size_t kClassBytes = 260;
constexpr std::size_t kGroupBytes = 260;
constexpr std::size_t kStatisticsBytes = 216;
constexpr std::size_t kRulesBytes = 72;
constexpr std::size_t kRuleBytes = 336;

constexpr std::uint32_t kPolicyRecord = 2;
constexpr std::uint32_t kClassRecord = 1;

// A record of zeros at the end of a stream, to be filled.
template <std::size_t Size>
class NewRecord {
 public:
  explicit NewRecord(StreamBytes& out)
      : bytes_((out.resize(out.size() + Size), out.data() + out.size() - Size), Size) {}

  // A count beyond 32 bits stays at the largest.
  template <std::size_t Offset>
  void word(std::uint64_t value) {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
    put_word(bytes_.template subspan<Offset, 4>(), static_cast<std::uint32_t>(std::min(value, kMost)));
  }
  template <std::size_t Offset>
  void half_word(std::uint32_t value) {
    wire::write_word(bytes_.template subspan<Offset, 2>().data(), static_cast<std::uint16_t>(value));
  }
  template <std::size_t Offset>
  void double_word(std::uint64_t value) {
    wire::write_word(bytes_.template subspan<Offset, 8>().data(), value);
  }
  template <std::size_t Offset, std::size_t Width>
  void text(std::string_view value) {
    put_text(bytes_.template subspan<Offset, Width>(), value);
  }

 private:
  std::span<std::byte, Size> bytes_;
};

using StatisticsRecord = NewRecord<kStatisticsBytes>;

void put_counters(StatisticsRecord& record, const Counters& counters) {
  record.word<168>(counters.current_connections);
  record.word<172>(counters.connections);
  record.word<176>(counters.client_packets);
  record.word<180>(counters.server_packets);
  record.double_word<184>(counters.client_bytes);
  record.double_word<192>(counters.server_bytes);
  record.word<200>(counters.dropped_connections);
}

void put(StatisticsRecord& record, const StaticNatAction& nat) {
  record.word<8>(1);
  record.word<12>(nat.vlan);
  record.word<16>(nat.address.word);
  record.half_word<20>(nat.port);
}

void put(StatisticsRecord& record, const DynamicNatAction& nat) {
  record.word<12>(nat.pool);
  record.word<16>(nat.vlan);
}

// How a state is encoded in the stream: 0 off, 1 on, 2 when the virtual address is active.
template <class Action>
std::uint32_t state_of(const ActionList& actions) {
  const auto* const action = find_action<Action>(actions);
  if (action == nullptr) return 0;
  return action->when_active ? 2 : 1;
}

void put_load_balance(StatisticsRecord& record, const ActionList& actions) {
  record.word<8>(find_action<VipInServiceAction>(actions) != nullptr ? 1 : 0);
  record.word<12>(state_of<VipIcmpReplyAction>(actions));
  record.word<16>(state_of<VipAdvertiseAction>(actions));
  if (const auto* metric = find_action<VipMetricAction>(actions)) record.word<20>(metric->number);
  if (const auto* balance = find_action<LoadBalanceAction>(actions)) record.text<97, 71>(balance->policy);
}

void put_http(StatisticsRecord& record, const ActionList& actions, const ActionStatistics& statistics) {
  if (const auto* inspection = find_action<InspectHttpAction>(actions)) {
    record.word<4>(inspection->url_logging ? 1 : 0);
    record.text<81, 71>(inspection->policy);
  }
  record.word<152>(statistics.requests.requests);
  record.word<156>(statistics.requests.allowed);
  record.word<160>(statistics.requests.dropped);
  record.word<164>(statistics.requests.logged);
}

void put_ftp(StatisticsRecord& record, const ActionList& actions, const ActionStatistics& statistics) {
  if (const auto* inspection = find_action<InspectFtpAction>(actions)) {
    record.word<4>(inspection->strict ? 1 : 0);
    record.text<8, 72>(inspection->policy);
  }
  record.word<80>(statistics.commands.masked_replies);
  record.word<84>(statistics.commands.dropped);
}

// What an action of a group other than translations is set to, and what was counted of it beside connections.
void put_settings(StatisticsRecord& record, ActionGroup group, const ActionList& actions,
                  const ActionStatistics& statistics) {
  switch (group) {
    case ActionGroup::load_balance:
      return put_load_balance(record, actions);
    case ActionGroup::inspect_http:
      return put_http(record, actions, statistics);
    case ActionGroup::inspect_ftp:
      return put_ftp(record, actions, statistics);
    case ActionGroup::inspect_dns:
      if (const auto* inspection = find_action<InspectDnsAction>(actions)) record.word<4>(inspection->number);
      break;
    case ActionGroup::inspect_icmp:
      if (const auto* inspection = find_action<InspectIcmpAction>(actions)) record.word<4>(inspection->number);
      break;
    case ActionGroup::security_acl:
    case ActionGroup::nat:
    case ActionGroup::inspect_rtsp:
      break;
  }
}

using RuleEntry = NewRecord<kRuleBytes>;

void put_balancing_rule(RuleEntry& record, const ActionList& actions, const LayerSevenCounters& counters) {
  record.word<72>(find_action<DropAction>(actions) != nullptr ? 1 : 0);
  record.word<76>(find_action<ForwardAction>(actions) != nullptr ? 1 : 0);
  if (const auto* serverfarm = find_action<ServerfarmAction>(actions)) record.text<153, 135>(serverfarm->name);
  record.word<292>(counters.matched);
  record.word<320>(counters.dropped);
}

// 1 permit, 2 reset, 3 and 4 the same with a log entry, 0 neither.
std::uint32_t verdict_of(const ActionList& actions) {
  if (const auto* permit = find_action<PermitAction>(actions)) return permit->log ? 3 : 1;
  if (const auto* reset = find_action<ResetAction>(actions)) return reset->log ? 4 : 2;
  return 0;
}

void put_inspection_rule(RuleEntry& record, const ActionList& actions, const LayerSevenCounters& counters) {
  record.word<72>(verdict_of(actions));
  record.word<288>(counters.inspected);
  record.word<292>(counters.matched);
  record.word<296>(counters.dropped_on_error);
}

const LayerSevenCounters& counters_of(const PolicyClass& rule, const ActionStatistics* statistics) {
  static const LayerSevenCounters none;
  if (statistics == nullptr) return none;
  const auto found = statistics->layer7.find(rule.number);
  return found == statistics->layer7.end() ? none : found->second;
}

const ActionStatistics& or_zero(const ActionStatistics* statistics) {
  static const ActionStatistics none;
  return statistics == nullptr ? none : *statistics;
}

// The layer-7 policy-map of a group; empty when it has none, or when its rules have no place in the stream.
std::string_view layer7_policy(ActionGroup group, const ActionList& actions) {
  if (group == ActionGroup::load_balance) {
    const auto* const balance = find_action<LoadBalanceAction>(actions);
    return balance == nullptr ? std::string_view() : balance->policy;
  }
  if (group == ActionGroup::inspect_http) return find_action<InspectHttpAction>(actions)->policy;
  return {};
}

}  // namespace

ClassStream::ClassStream(const Context& context, const StatisticsTable& statistics, const PolicyClass& shown,
                         bool detail)
    : shown_(shown) {
  const ClassStatistics* const counted_here = statistics.find(shown.number);
  for (const CountedAction& counted : counted_actions(shown.content.actions)) {
    if (groups_.empty() || groups_.back().type != counted.group) groups_.push_back({counted.group, {}, {}, {}, {}});
    Group& group = groups_.back();
    group.statistics.push_back(counted_here == nullptr ? nullptr : counted_here->find(counted));
    if (!detail) continue;
    const std::string_view policy = layer7_policy(counted.group, shown.content.actions);
    if (!policy.empty()) add_rules(context, group, policy);
  }
  for (const PolicyAction& action : shown.content.actions) {
    if (group_of(action) != ActionGroup::nat) continue;
    std::find_if(groups_.begin(), groups_.end(), [](const Group& group) {
      return group.type == ActionGroup::nat;
    })->translations.push_back(&action);
  }
}

void ClassStream::add_rules(const Context& context, Group& group, std::string_view policy) {
  const PolicyMap* const layer7 = context.find<PolicyMap>(policy);
  if (layer7 == nullptr) return;
  group.layer7 = policy;
  for (const auto& [position, rule] : layer7->classes)
    group.rules.push_back(rule.get());
  const PolicyClass& class_default = *layer7->classes.class_default();
  if (!class_default.content.actions.empty()) group.rules.push_back(&class_default);
}

template <class Use>
void ClassStream::for_each_part(std::uint32_t first, std::uint32_t end, const Use& use) const {
  std::uint32_t begin = 0;  // of the group's pieces among those of the class
  for (const Group& group : groups_) {
    const std::uint32_t pieces = group.pieces();
    const auto within = [&](std::uint32_t piece) { return std::clamp(piece, begin, begin + pieces) - begin; };
    const Part part{within(first), within(end), first == 0};
    if (part.is_shown()) use(group, part);
    begin += pieces;
  }
}

std::uint32_t ClassStream::pieces() const {
  std::uint32_t pieces = 0;
  for (const Group& group : groups_)
    pieces += group.pieces();
  return pieces;
}

// Translations come in their own records, whichever page they are on. Other groups have one record where the class
// begins; after that only rules come.
std::size_t ClassStream::part_size(const Group& group, const Part& part) {
  if (group.type == ActionGroup::security_acl) return kGroupBytes;
  if (group.type == ActionGroup::nat) return kGroupBytes + part.count() * kStatisticsBytes;
  return kGroupBytes + (part.begins ? kStatisticsBytes : 0) + (group.layer7 ? kRulesBytes : 0) +
         part.count() * kRuleBytes;
}

std::size_t ClassStream::size(std::uint32_t first, std::uint32_t end) const {
  std::size_t size = kClassBytes;
  for_each_part(first, end, [&](const Group& group, const Part& part) { size += part_size(group, part); });
  return size;
}

std::uint32_t ClassStream::fit(std::uint32_t first, std::size_t bytes) const {
  std::uint32_t fits = first;
  std::uint32_t end = pieces() + 1;
  while (end - fits > 1) {
    const std::uint32_t middle = fits + (end - fits) / 2;
    (size(first, middle) <= bytes ? fits : end) = middle;
  }
  return fits;
}

void ClassStream::append(StreamBytes& out, std::uint32_t first, std::uint32_t end) const {
  std::uint32_t groups = 0;
  for_each_part(first, end, [&](const Group&, const Part&) { ++groups; });
  NewRecord<kClassBytes> record(out);
  record.word<0>(kClassRecord);
  record.word<8>(groups);
  record.text<12, 64>(shown_.content.name);
  for_each_part(first, end, [&](const Group& group, const Part& part) { append_part(out, group, part); });
}

void ClassStream::append_part(StreamBytes& out, const Group& group, const Part& part) const {
  {
    NewRecord<kGroupBytes> record(out);
    record.word<4>(group.layer7 ? 1 : 0);
    record.word<8>(group.type == ActionGroup::nat ? part.count() : 1);
    record.word<12>(static_cast<std::uint32_t>(group.type));
  }
  if (group.type == ActionGroup::security_acl) return;
  if (group.type == ActionGroup::nat) {
    for (std::uint32_t index = part.first; index < part.end; ++index) {
      StatisticsRecord record(out);
      std::visit(
          [&]<class Action>(const Action& nat) {
            if constexpr (requires { put(record, nat); }) put(record, nat);
          },
          *group.translations[index]);
      put_counters(record, or_zero(group.statistics[index]).counters);
    }
    return;
  }
  const ActionStatistics* const statistics = group.statistics.front();
  if (part.begins) {
    StatisticsRecord record(out);
    put_settings(record, group.type, shown_.content.actions, or_zero(statistics));
    put_counters(record, or_zero(statistics).counters);
  }
  if (!group.layer7) return;
  NewRecord<kRulesBytes> header(out);
  header.word<0>(part.count());
  header.text<4, 68>(*group.layer7);
  for (std::uint32_t index = part.first; index < part.end; ++index) {
    const PolicyClass& rule = *group.rules[index];
    RuleEntry record(out);
    record.text<4, 68>(rule.content.name);
    const auto put_rule = group.type == ActionGroup::load_balance ? put_balancing_rule : put_inspection_rule;
    put_rule(record, rule.content.actions, counters_of(rule, statistics));
  }
}

StatisticsPage::StatisticsPage(const PolicyMapSettings& settings) {
  const Application& application = settings.application;
  NewRecord<kPolicyBytes> record(bytes_);
  record.word<0>(kPolicyRecord);
  record.word<8>(application.vlans.size());
  record.word<12>(application.anywhere() ? 1 : 0);
  record.text<16, 244>(settings.description);
  for (const std::uint32_t vlan : application.vlans)
    NewRecord<kVlanBytes>(bytes_).word<0>(vlan);
}

std::optional<std::uint32_t> StatisticsPage::add(const ClassStream& shown, std::uint32_t first) {
  const std::size_t space = kPageBytes - std::min(kPageBytes, bytes_.size());
  std::uint32_t end = shown.pieces();
  if (shown.size(first, end) > space) {
    if (classes_ != 0) return std::nullopt;
    end = std::max(shown.fit(first, space), first + 1);
  }
  shown.append(bytes_, first, end);
  ++classes_;
  return end;
}

const StreamBytes& StatisticsPage::finish() {
  put_word(std::span(bytes_).subspan<4, 4>(), classes_);
  return bytes_;
}

}  // namespace kvel::manager
