// Puts the fields of the statistics stream where its readers expect them, byte by byte.
#include "tests/cli/statistics_stream.h"

#include <cstdlib>
#include <string_view>

namespace kvel::cli::test::stream {
namespace {

constexpr char kUsualFiller = '\xa5';
char filler = kUsualFiller;

// One record: fillers, until its fields are put.
class Record {
 public:
  explicit Record(std::size_t size) : bytes_(size, filler) {}

  Record& put_u16(std::size_t offset, std::uint32_t value) { return put_number(offset, value, 2); }
  Record& put_u32(std::size_t offset, std::uint32_t value) { return put_number(offset, value, 4); }
  Record& put_u64(std::size_t offset, std::uint64_t value) { return put_number(offset, value, 8); }

  // Text and terminator; a text as long as its field has none.
  Record& put_text(std::size_t offset, std::size_t width, std::string_view text) {
    if (text.size() > width) std::abort();
    bytes_.replace(offset, text.size(), text);
    if (text.size() < width) bytes_[offset + text.size()] = '\0';
    return *this;
  }

  Record& put_counters(const Counters& counters) {
    return put_u32(168, counters.current_connections)
        .put_u32(172, counters.hit_count)
        .put_u32(176, counters.client_packets)
        .put_u32(180, counters.server_packets)
        .put_u64(184, counters.client_bytes)
        .put_u64(192, counters.server_bytes)
        .put_u32(200, counters.dropped_connections);
  }

  [[nodiscard]] const std::string& bytes() const { return bytes_; }

 private:
  Record& put_number(std::size_t offset, std::uint64_t value, std::size_t width) {
    for (std::size_t index = 0; index < width; ++index)
      bytes_.at(offset + index) = static_cast<char>(value >> (8 * (width - 1 - index)));
    return *this;
  }

  std::string bytes_;
};

}  // namespace

Filler::Filler(char byte) { filler = byte; }

Filler::~Filler() { filler = kUsualFiller; }

std::string policy(const Policy& record) {
  std::string bytes = Record(260)
                          .put_u32(0, record.record_type)
                          .put_u32(4, record.class_count)
                          .put_u32(8, record.interface_count.value_or(static_cast<std::uint32_t>(record.vlans.size())))
                          .put_u32(12, record.active)
                          .put_text(16, 244, record.description)
                          .bytes();
  for (std::uint32_t vlan : record.vlans)
    bytes += Record(4).put_u32(0, vlan).bytes();
  return bytes;
}

std::string class_map(const Class& record) {
  return Record(260)
      .put_u32(0, record.record_type)
      .put_u32(8, record.entry_count)
      .put_text(12, 64, record.name)
      .bytes();
}

std::string action(const Action& record) {
  return Record(260).put_u32(4, record.has_l7).put_u32(8, record.count).put_u32(12, record.type).bytes();
}

std::string nat(const Nat& record) {
  return Record(216)
      .put_u32(8, record.kind)
      .put_u32(12, record.vlan_or_pool)
      .put_u32(16, record.address_or_vlan)
      .put_u16(20, record.port)
      .put_counters(record.counters)
      .bytes();
}

std::string load_balance(const LoadBalance& record) {
  return Record(216)
      .put_u32(8, record.vip_inservice)
      .put_u32(12, record.icmp_reply_state)
      .put_u32(16, record.rhi_state)
      .put_u32(20, record.rhi_metric)
      .put_text(97, 65, record.l7_policy_name)
      .put_counters(record.counters)
      .bytes();
}

std::string http(const Http& record) {
  return Record(216)
      .put_u32(4, record.url_logging)
      .put_text(81, 65, record.l7_policy_name)
      .put_u32(152, record.l4_total_requests)
      .put_u32(156, record.l4_allowed)
      .put_u32(160, record.l4_dropped)
      .put_u32(164, record.l4_logged)
      .put_counters(record.counters)
      .bytes();
}

std::string ftp(const Ftp& record) {
  return Record(216)
      .put_u32(4, record.strict)
      .put_text(8, 72, record.l7_policy_name)
      .put_u32(80, record.reply_masked)
      .put_u32(84, record.l7_dropped)
      .put_counters(record.counters)
      .bytes();
}

std::string dns(const Dns& record) {
  return Record(216).put_u32(4, record.max_length).put_counters(record.counters).bytes();
}

std::string icmp(const Icmp& record) {
  return Record(216).put_u32(4, record.icmp_error).put_counters(record.counters).bytes();
}

std::string rtsp(const Counters& counters) { return Record(216).put_counters(counters).bytes(); }

std::string rules(const Rules& record) {
  return Record(72).put_u32(0, record.rule_count).put_text(4, 68, record.l7_policy_name).bytes();
}

std::string load_balance_rule(const LoadBalanceRule& record) {
  return Record(336)
      .put_text(4, 68, record.match_name)
      .put_u32(72, record.drop)
      .put_u32(76, record.forward)
      .put_text(153, 65, record.serverfarm)
      .put_u32(292, record.hit_count)
      .put_u32(320, record.dropped_connections)
      .bytes();
}

std::string inspect_rule(const InspectRule& record) {
  return Record(336)
      .put_text(4, 68, record.match_name)
      .put_u32(72, record.inspect_action)
      .put_u32(288, record.total_inspected)
      .put_u32(292, record.total_matched)
      .put_u32(296, record.dropped_on_error)
      .bytes();
}

}  // namespace kvel::cli::test::stream
