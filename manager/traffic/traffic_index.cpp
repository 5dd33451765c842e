#include "manager/traffic/traffic_index.h"

#include <algorithm>
#include <bit>
#include <tuple>

namespace kvel::manager {

namespace {

constexpr std::uint32_t kMaxPort = 65535;
constexpr std::uint32_t kProtocolShift = 16;
constexpr std::uint32_t kProtocolMask = 0xffU << kProtocolShift;

constexpr std::uint64_t pair_of(std::uint32_t destination, std::uint32_t source) {
  return std::uint64_t{destination} << 32U | source;
}

// Calls `use` with the first port and the mask of each aligned block of a range; there are 30 at most.
template <class Use>
void for_each_block(std::uint32_t lower, std::uint32_t upper, const Use& use) {
  std::uint32_t port = lower;
  while (port <= upper) {
    std::uint32_t size = port == 0 ? kMaxPort + 1 : 1U << static_cast<unsigned>(std::countr_zero(port));
    while (port + size - 1 > upper)
      size /= 2;
    use(port, kMaxPort & ~(size - 1));
    port += size;
  }
}

}  // namespace

struct TrafficIndex::Region {
  Ipv4 destination{};
  Ipv4 destination_mask{};
  Ipv4 source{};
  Ipv4 source_mask{};
  std::uint32_t protocol = 0;  // 0: any
  std::uint32_t lower = 0;
  std::uint32_t upper = kMaxPort;
};

std::size_t TrafficIndex::hash(const Key& key) {
  // Multiplied and folded, so that all bits of the key reach all bits that choose the bucket.
  std::uint64_t mixed = (key.addresses ^ key.service * 0x9e3779b97f4a7c15U) * 0xff51afd7ed558ccdU;
  mixed ^= mixed >> 32U;
  mixed *= 0xc4ceb9fe1a85ec53U;
  return mixed ^ mixed >> 29U;
}

// What a rule of another kind takes is not narrowed down.
std::optional<TrafficIndex::Region> TrafficIndex::region_of(const MatchRule& rule) {
  if (const auto* vip = std::get_if<VirtualAddressRule>(&rule)) {
    return Region{.destination = vip->address,
                  .destination_mask = vip->mask,
                  .protocol = vip->protocol,
                  .lower = vip->lower,
                  .upper = vip->upper};
  }
  if (const auto* source = std::get_if<SourceAddressRule>(&rule)) {
    return Region{.source = source->address, .source_mask = source->mask};
  }
  if (const auto* destination = std::get_if<DestinationAddressRule>(&rule)) {
    return Region{.destination = destination->address, .destination_mask = destination->mask};
  }
  if (const auto* port = std::get_if<PortRule>(&rule)) {
    return Region{.protocol = port->protocol, .lower = port->lower, .upper = port->upper};
  }
  if (const auto* management = std::get_if<ManagementRule>(&rule)) {
    return Region{.source = management->address,
                  .source_mask = management->mask,
                  .protocol = management->protocol,
                  .lower = management->lower,
                  .upper = management->upper};
  }
  return std::nullopt;
}

// Nothing when no flow can be in both. Of two prefixes that share an address one lies in the other.
std::optional<TrafficIndex::Region> TrafficIndex::intersection(const Region& one, const Region& other) {
  const auto narrow = [](Ipv4& address, Ipv4& mask, Ipv4 by_address, Ipv4 by_mask) {
    if (((address.word ^ by_address.word) & mask.word & by_mask.word) != 0) return false;
    if (by_mask.word > mask.word) {
      address = by_address;
      mask = by_mask;
    }
    return true;
  };
  Region both = one;
  if (!narrow(both.destination, both.destination_mask, other.destination, other.destination_mask)) return std::nullopt;
  if (!narrow(both.source, both.source_mask, other.source, other.source_mask)) return std::nullopt;
  if (both.protocol == 0) both.protocol = other.protocol;
  if (other.protocol != 0 && other.protocol != both.protocol) return std::nullopt;
  both.lower = std::max(both.lower, other.lower);
  both.upper = std::min(both.upper, other.upper);
  // Flows without ports may still be in both.
  if (both.lower > both.upper && has_ports(both.protocol)) return std::nullopt;
  return both;
}

void TrafficIndex::add(std::size_t number, const ClassMatch& traffic_class) {
  if (traffic_class.rules().empty()) return;
  if (traffic_class.mode() == MatchMode::any || traffic_class.rules().size() == 1) {
    for (const RuleMatch& rule : traffic_class.rules())
      add(region_of(rule.rule()).value_or(Region{}), {number, &rule, nullptr});
    return;
  }
  std::optional<Region> common = Region{};
  for (const RuleMatch& rule : traffic_class.rules()) {
    if (const auto region = region_of(rule.rule()); region && common) common = intersection(*common, *region);
  }
  if (common) add(*common, {number, nullptr, &traffic_class});
}

void TrafficIndex::add(const Region& region, const Candidate& candidate) {
  Key mask{pair_of(region.destination_mask.word, region.source_mask.word), 0};
  Key key{pair_of(region.destination.word, region.source.word) & mask.addresses, 0};
  if (region.protocol != 0) {
    mask.service = kProtocolMask;
    key.service = region.protocol << kProtocolShift;
  }
  // Without a protocol the ports count for some flows only.
  if (!has_ports(region.protocol)) return put(mask, key, candidate);
  for_each_block(region.lower, region.upper, [&](std::uint32_t port, std::uint32_t port_mask) {
    put({mask.addresses, mask.service | port_mask}, {key.addresses, key.service | port}, candidate);
  });
}

void TrafficIndex::put(const Key& mask, const Key& key, const Candidate& candidate) {
  auto table = std::find_if(tables_.begin(), tables_.end(), [&](const Table& other) { return other.mask == mask; });
  // Classes come in their order, so that the lowest number of a table is its first one.
  if (table == tables_.end()) table = tables_.insert(table, Table{mask, candidate.number, {}, {}, {}});
  table->entries.push_back({key, candidate});
}

void TrafficIndex::Table::finish() {
  std::sort(entries.begin(), entries.end(), [](const Entry& one, const Entry& other) {
    return std::tie(one.key, one.candidate.number) < std::tie(other.key, other.candidate.number);
  });
  slots.resize(std::bit_ceil(entries.size() * 2));
  candidates.reserve(entries.size());
  for (auto entry = entries.begin(); entry != entries.end();) {
    std::size_t place = hash(entry->key) & (slots.size() - 1);
    while (slots[place].count != 0)
      place = (place + 1) & (slots.size() - 1);
    slots[place] = {entry->key, static_cast<std::uint32_t>(candidates.size()), 0};
    const Key key = entry->key;
    for (; entry != entries.end() && entry->key == key; ++entry) {
      candidates.push_back(entry->candidate);
      ++slots[place].count;
    }
  }
  entries = {};
}

std::span<const TrafficIndex::Candidate> TrafficIndex::Table::find(const Key& key) const {
  std::size_t place = hash(key) & (slots.size() - 1);
  while (slots[place].count != 0 && slots[place].key != key)
    place = (place + 1) & (slots.size() - 1);
  return {candidates.data() + slots[place].first, slots[place].count};
}

void TrafficIndex::finish() {
  for (Table& table : tables_)
    table.finish();
}

std::optional<std::size_t> TrafficIndex::find(const Flow& flow) const {
  const std::uint64_t addresses = pair_of(flow.destination.word, flow.source.word);
  const std::uint32_t service = std::uint32_t{flow.protocol} << kProtocolShift | flow.destination_port;
  std::optional<std::size_t> best;
  for (const Table& table : tables_) {
    if (best && table.lowest >= *best) break;
    const Key key{addresses & table.mask.addresses, service & table.mask.service};
    for (const Candidate& candidate : table.find(key)) {
      if (best && candidate.number >= *best) break;
      if (candidate.matches(flow)) {
        best = candidate.number;
        break;
      }
    }
  }
  return best;
}

}  // namespace kvel::manager
