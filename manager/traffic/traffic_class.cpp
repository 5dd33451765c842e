#include "manager/traffic/traffic_class.h"

#include <algorithm>
#include <limits>
#include <set>

namespace kvel::manager {
namespace {

const ActionList& actions_at(const PolicyMatch& policy, std::size_t place) {
  return policy.entries()[place].policy_class->content.actions;
}

template <class Action>
bool has_action(const PolicyMatch& policy, std::size_t place) {
  return find_action<Action>(actions_at(policy, place)) != nullptr;
}

// One flow can carry as many bytes as there are numbers: a sum that would come around stays at the largest.
void add(std::uint64_t& sum, std::uint64_t bytes) {
  sum += std::min(bytes, std::numeric_limits<std::uint64_t>::max() - sum);
}

}  // namespace

std::string_view reason_of(Drop drop) {
  switch (drop) {
    case Drop::vip_out_of_service:
      return "the virtual address is not in service";
    case Drop::load_balancing:
      return "load balancing drops the connection";
    case Drop::http_inspection:
      return "HTTP inspection resets the connection";
    case Drop::ftp_inspection:
      return "FTP inspection denies the command";
    case Drop::dns_inspection:
      return "the DNS message is too long";
    case Drop::management:
      return "the class does not permit it";
  }
  return {};
}

TrafficClass::LayerSeven TrafficClass::layer7_of(std::string_view policy, ActionStatistics& statistics,
                                                 const FindPolicy& find_policy) {
  LayerSeven layer7;
  if (!policy.empty()) layer7.policy = find_policy(policy);
  std::set<std::uint64_t> numbers;
  if (layer7.policy != nullptr) {
    for (const PolicyEntry& entry : layer7.policy->entries()) {
      numbers.insert(entry.policy_class->number);
      layer7.counters.push_back(&statistics.layer7[entry.policy_class->number]);
    }
  }
  // Counters of classes that are gone go too: no class has their numbers again.
  std::erase_if(statistics.layer7, [&](const auto& counted) { return !numbers.contains(counted.first); });
  return layer7;
}

TrafficClass::TrafficClass(PolicyMapType type, const PolicyClass& policy_class, StatisticsTable& table,
                           const FindPolicy& find_policy) {
  const ActionList& actions = policy_class.content.actions;
  is_refused_ = type == PolicyMapType::management && find_action<ManagementPermitAction>(actions) == nullptr;
  ClassStatistics& statistics = table.at(policy_class.number);
  counters_.push_back(&statistics.counters);
  for (const CountedAction& counted : counted_actions(actions)) {
    ActionStatistics& at = statistics.at(counted);
    counters_.push_back(&at.counters);
    switch (counted.group) {
      case ActionGroup::load_balance: {
        const auto* balance = find_action<LoadBalanceAction>(actions);
        const bool is_in_service = find_action<VipInServiceAction>(actions) != nullptr;
        load_balancing_ = std::make_unique<LoadBalancing>(
            LoadBalancing{&at.counters, is_in_service,
                          layer7_of(balance == nullptr ? std::string_view() : balance->policy, at, find_policy)});
        break;
      }
      case ActionGroup::inspect_http: {
        const auto* inspection = find_action<InspectHttpAction>(actions);
        http_ = std::make_unique<HttpInspection>(HttpInspection{&at.counters, &at.requests, inspection->url_logging,
                                                                layer7_of(inspection->policy, at, find_policy)});
        break;
      }
      case ActionGroup::inspect_ftp: {
        const auto* inspection = find_action<InspectFtpAction>(actions);
        ftp_ = std::make_unique<FtpInspection>(
            FtpInspection{&at.counters, &at.commands, layer7_of(inspection->policy, at, find_policy)});
        break;
      }
      case ActionGroup::inspect_dns:
        dns_ = std::make_unique<DnsInspection>(
            DnsInspection{&at.counters, find_action<InspectDnsAction>(actions)->number});
        break;
      case ActionGroup::security_acl:
      case ActionGroup::nat:
      case ActionGroup::inspect_icmp:
      case ActionGroup::inspect_rtsp:
        break;
    }
  }
}

bool TrafficClass::is_current(const FindPolicy& find_policy) const {
  const auto is_found = [&](const LayerSeven& layer7) {
    return layer7.policy == nullptr || layer7.policy == find_policy(layer7.policy->name());
  };
  return (!load_balancing_ || is_found(load_balancing_->layer7)) && (!http_ || is_found(http_->layer7)) &&
         (!ftp_ || is_found(ftp_->layer7));
}

Decision TrafficClass::decide(const Flow& flow) {
  Decision decision;
  decision.traffic_class = this;
  decision.event = flow.event;
  decision.traffic = flow.traffic;
  if (is_refused_) decision.drop(Drop::management);
  if (load_balancing_ && !load_balancing_->is_in_service) {
    // Nobody answers, so nothing is requested.
    decision.drop(Drop::vip_out_of_service);
    return decision;
  }
  if (dns_ && flow.dns && dns_->max_length != 0 && flow.dns->length > dns_->max_length) {
    decision.drop(Drop::dns_inspection);
  }
  if (load_balancing_ && load_balancing_->layer7.policy != nullptr) {
    const PolicyMatch& policy = *load_balancing_->layer7.policy;
    decision.balanced = policy.find(flow);
    if (has_action<DropAction>(policy, *decision.balanced)) decision.drop(Drop::load_balancing);
  }
  decision.is_http_request = http_ && flow.http;
  if (decision.is_http_request && http_->layer7.policy != nullptr) {
    const PolicyMatch& policy = *http_->layer7.policy;
    decision.http_inspected = policy.find(flow);
    if (has_action<ResetAction>(policy, *decision.http_inspected)) decision.drop(Drop::http_inspection);
  }
  if (ftp_ && flow.ftp && ftp_->layer7.policy != nullptr) {
    const PolicyMatch& policy = *ftp_->layer7.policy;
    decision.ftp_inspected = policy.find(flow);
    if (has_action<DenyAction>(policy, *decision.ftp_inspected)) decision.drop(Drop::ftp_inspection);
  }
  return decision;
}

void TrafficClass::count(const Decision& decision) noexcept {
  count_connection(decision);
  // The end of a connection brings no request: that was counted at its beginning.
  if (decision.event == FlowEvent::close) return;
  count_balanced(decision);
  count_request(decision);
  count_command(decision);
  if (dns_ && decision.is_dropped(Drop::dns_inspection)) ++dns_->counters->dropped_connections;
}

void TrafficClass::count_connection(const Decision& decision) noexcept {
  for (Counters* const counters : counters_) {
    counters->client_packets += decision.traffic.client_packets;
    counters->server_packets += decision.traffic.server_packets;
    add(counters->client_bytes, decision.traffic.client_bytes);
    add(counters->server_bytes, decision.traffic.server_bytes);
    if (decision.event != FlowEvent::close) ++counters->connections;
    if (decision.is_dropped()) continue;  // never became a current connection
    if (decision.event == FlowEvent::open) ++counters->current_connections;
    if (decision.event == FlowEvent::close && counters->current_connections > 0) --counters->current_connections;
  }
  if (decision.is_dropped() && decision.event != FlowEvent::close) ++counters_.front()->dropped_connections;
}

void TrafficClass::count_balanced(const Decision& decision) noexcept {
  const bool is_out_of_service = decision.is_dropped(Drop::vip_out_of_service);
  const bool is_dropped = decision.is_dropped(Drop::load_balancing);
  if (is_out_of_service || is_dropped) ++load_balancing_->counters->dropped_connections;
  if (!decision.balanced) return;
  LayerSevenCounters& counters = *load_balancing_->layer7.counters[*decision.balanced];
  ++counters.matched;
  if (is_dropped) ++counters.dropped;
}

void TrafficClass::count_request(const Decision& decision) noexcept {
  if (!decision.is_http_request) return;
  RequestCounters& requests = *http_->requests;
  const bool is_dropped = decision.is_dropped(Drop::http_inspection);
  bool is_logged = http_->logs_urls;
  ++requests.requests;
  ++(is_dropped ? requests.dropped : requests.allowed);
  if (is_dropped) ++http_->counters->dropped_connections;
  if (decision.http_inspected) {
    const std::size_t matching = *decision.http_inspected;
    for (std::size_t place = 0; place <= matching; ++place)
      ++http_->layer7.counters[place]->inspected;
    LayerSevenCounters& counters = *http_->layer7.counters[matching];
    ++counters.matched;
    if (is_dropped) ++counters.dropped;
    const ActionList& actions = actions_at(*http_->layer7.policy, matching);
    const auto* permit = find_action<PermitAction>(actions);
    const auto* reset = find_action<ResetAction>(actions);
    is_logged = is_logged || (permit != nullptr && permit->log) || (reset != nullptr && reset->log);
  }
  if (is_logged) ++requests.logged;
}

void TrafficClass::count_command(const Decision& decision) noexcept {
  if (!decision.ftp_inspected) return;
  const std::size_t matching = *decision.ftp_inspected;
  LayerSevenCounters& counters = *ftp_->layer7.counters[matching];
  for (std::size_t place = 0; place <= matching; ++place)
    ++ftp_->layer7.counters[place]->inspected;
  ++counters.matched;
  if (decision.is_dropped(Drop::ftp_inspection)) {
    ++counters.dropped;
    ++ftp_->commands->dropped;
    ++ftp_->counters->dropped_connections;
  }
  if (has_action<MaskReplyAction>(*ftp_->layer7.policy, matching)) ++ftp_->commands->masked_replies;
}

std::vector<TrafficClass::Consulted> TrafficClass::consulted(const Decision& decision) const {
  std::vector<Consulted> consulted;
  if (decision.balanced) consulted.push_back(load_balancing_->layer7.at(*decision.balanced));
  if (decision.http_inspected) consulted.push_back(http_->layer7.at(*decision.http_inspected));
  if (decision.ftp_inspected) consulted.push_back(ftp_->layer7.at(*decision.ftp_inspected));
  return consulted;
}

std::optional<TrafficClass::Consulted> TrafficClass::ruling(const Decision& decision) const {
  // Where a flow goes that is not dropped, load balancing decides.
  switch (decision.first_drop().value_or(Drop::load_balancing)) {
    case Drop::load_balancing:
      if (decision.balanced) return load_balancing_->layer7.at(*decision.balanced);
      break;
    case Drop::http_inspection:
      return http_->layer7.at(*decision.http_inspected);
    case Drop::ftp_inspection:
      return ftp_->layer7.at(*decision.ftp_inspected);
    case Drop::vip_out_of_service:
    case Drop::dns_inspection:
    case Drop::management:
      break;
  }
  return std::nullopt;
}

}  // namespace kvel::manager
