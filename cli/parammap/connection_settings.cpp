// The settings of connection parameter-maps: how TCP connections are normalised and tuned.
#include <cstdio>

#include "cli/parammap/settings.h"

namespace kvel::cli::parammap {

namespace {

// The bits of the change mask that the handler itself looks at.
constexpr std::uint32_t kOptionsAllow = 0x00040000;
constexpr std::uint32_t kOptionsDrop = 0x00010000;
constexpr std::uint32_t kMssBounds = 0x00080000;

struct ConnectionRequest : SettingsRequest {
  std::uint32_t low = 0;  // the ends of a range of TCP options
  std::uint32_t high = 0;
};

struct ReportNotSupported {
  static void apply(ConnectionRequest&, const CliToken&) { std::puts("Not supported as yet."); }
};

// clang-format off
// The keyword of a range to clear is deliberately missing: such a command sends only its other settings.
using ConnectionKeywords = KeywordTable<
    On<Ids<kw::param_map_conn_name>, Text<&ConnectionRequest::name>>,
    On<Ids<kw::conn_keepalive>, Set<kIn<Connection::Keepalive>, 0U>, Change<0x01000000>>,
    On<Ids<kw::conn_setting_710>, Change<0x80000000>>,
    On<Ids<kw::conn_setting_711>, Change<0x08000000>>,
    On<Ids<kw::conn_setting_712>, Change<0x00200000>>,
    On<Ids<kw::conn_setting_714>, Change<0x40000000>>,
    On<Ids<kw::conn_setting_715>, Change<0x04000000>>,
    On<Ids<kw::conn_setting_718>, Change<0x00100000>>,
    On<Ids<kw::conn_urgent_flag>, Change<0x00000080>>,
    On<Ids<kw::conn_urgent_allow>, Set<kIn<Connection::UrgentFlag>, 0U>>,
    On<Ids<kw::conn_urgent_clear>, Set<kIn<Connection::UrgentFlag>, 1U>>,
    On<Ids<kw::conn_options_allow>, Change<kOptionsAllow>>,
    On<Ids<kw::conn_options_drop>, Change<kOptionsDrop>>,
    On<Ids<kw::conn_options_low_727, kw::conn_options_low_728>, Number<&ConnectionRequest::low>>,
    On<Ids<kw::conn_options_high_729, kw::conn_options_high_730>, Number<&ConnectionRequest::high>>,
    On<Ids<kw::conn_selective_ack>, Change<0x00004000>>,
    On<Ids<kw::conn_selective_ack_allow>, Set<kIn<Connection::SelectiveAck>, 0U>>,
    On<Ids<kw::conn_selective_ack_clear>, Set<kIn<Connection::SelectiveAck>, 1U>>,
    On<Ids<kw::conn_timestamp>, Change<0x00002000>>,
    On<Ids<kw::conn_timestamp_allow>, Set<kIn<Connection::Timestamp>, 0U>>,
    On<Ids<kw::conn_timestamp_clear>, Set<kIn<Connection::Timestamp>, 1U>>,
    On<Ids<kw::conn_window_scale>, Change<0x00001000>>,
    On<Ids<kw::conn_window_scale_allow>, Set<kIn<Connection::WindowScale>, 0U>>,
    On<Ids<kw::conn_window_scale_clear>, Set<kIn<Connection::WindowScale>, 1U>>,
    On<Ids<kw::conn_setting_741>, Set<kIn<Connection::Setting116>, 0U>, Change<0x00000040>>,
    On<Ids<kw::conn_setting_742>, Set<kIn<Connection::Setting116>, 1U>, Change<0x00000040>>,
    On<Ids<kw::conn_reserved_bits>, Change<0x00000800>>,
    On<Ids<kw::conn_reserved_bits_allow>, Set<kIn<Connection::ReservedBits>, 0U>>,
    On<Ids<kw::conn_reserved_bits_clear>, Set<kIn<Connection::ReservedBits>, 1U>>,
    On<Ids<kw::conn_reserved_bits_drop>, Set<kIn<Connection::ReservedBits>, 2U>>,
    On<Ids<kw::conn_exceed_mss>, Change<0x00000100>>,
    On<Ids<kw::conn_exceed_mss_allow>, Set<kIn<Connection::ExceedMss>, 0U>>,
    On<Ids<kw::conn_exceed_mss_drop>, Set<kIn<Connection::ExceedMss>, 1U>>,
    On<Ids<kw::conn_syn_data>, Change<0x00000200>>,
    On<Ids<kw::conn_syn_data_allow>, Set<kIn<Connection::SynData>, 0U>>,
    On<Ids<kw::conn_syn_data_drop>, Set<kIn<Connection::SynData>, 1U>>,
    On<Ids<kw::conn_setting_753>, Set<kIn<Connection::Setting120>, 0U>, Change<0x00000020>>,
    On<Ids<kw::conn_random_sequence>, Set<kIn<Connection::RandomSequence>, 0U>, Change<0x00000400>>,
    On<Ids<kw::conn_unsupported_755>, ReportNotSupported>,
    On<Ids<kw::conn_nagle>, Set<kIn<Connection::Nagle>, 0U>, Change<0x10000000>>,
    On<Ids<kw::conn_slow_start>, Set<kIn<Connection::SlowStart>, 0U>, Change<0x02000000>>,
    On<Ids<kw::conn_mss>, Change<kMssBounds>>,
    On<Ids<kw::conn_mss_min>, Number<kIn<Connection::MssMin>>>,
    On<Ids<kw::conn_mss_max>, Number<kIn<Connection::MssMax>>>,
    On<Ids<kw::conn_half_closed_timeout>, Number<kIn<Connection::HalfClosedTimeout>>>,
    On<Ids<kw::conn_embryonic_timeout>, Number<kIn<Connection::EmbryonicTimeout>>>,
    On<Ids<kw::conn_queue_limit>, Number<kIn<Connection::QueueLimit>>>,
    On<Ids<kw::conn_rx_buffer_share>, Number<kIn<Connection::RxBufferShare>>>,
    On<Ids<kw::conn_tx_buffer_share>, Number<kIn<Connection::TxBufferShare>>>,
    On<Ids<kw::conn_syn_retry>, Number<kIn<Connection::SynRetryCount>>>,
    On<Ids<kw::conn_tos_rewrite>, LowByte<kIn<Connection::TosValue>>>,
    On<Ids<kw::conn_setting_827>, Change<0x00800000>>,
    On<Ids<kw::conn_inactivity_timeout>, Number<kIn<Connection::InactivityTimeout>>>,
    On<Ids<kw::conn_setting_830>, Number<kIn<Connection::Setting136>>, Change<0x00000010>>,
    On<Ids<kw::conn_setting_856>, Change<0x00000008>>>;
// clang-format on

// Puts the typed range where the mask selects. Its ends are compared as they are stored: with a sign.
template <class Range>
bool settle_range(ConnectionRequest& request, std::uint32_t mask_bit) {
  if ((request.settings.field<ParamMapSettings::ChangeMask>() & mask_bit) == 0) return true;
  if (static_cast<std::int32_t>(request.high) < static_cast<std::int32_t>(request.low)) return false;
  request.settings.field<Range>().low = request.low;
  request.settings.field<Range>().high = request.high;
  return true;
}

// A bound of 0 is none.
bool mss_bounds_crossed(ConnectionRequest& request) {
  if ((request.settings.field<ParamMapSettings::ChangeMask>() & kMssBounds) == 0) return false;
  const std::uint32_t min = request.settings.field<Connection::MssMin>();
  const std::uint32_t max = request.settings.field<Connection::MssMax>();
  return min != 0 && max != 0 && min > max;
}

}  // namespace

}  // namespace kvel::cli::parammap

using namespace kvel::cli;
using namespace kvel::cli::parammap;

int32_t kvelparammap_config_conn(const CliCommand* command) {
  if (!bind_for_param_map()) return kObjectFailed;
  if (command->skip_execution != 0) return kDone;
  ConnectionRequest request;
  ConnectionKeywords::read(*command, request);

  // Ranges are checked in the "no" form too, the bounds of the segment size are not.
  if (!settle_range<Connection::OptionsAllow>(request, kOptionsAllow) ||
      !settle_range<Connection::OptionsDrop>(request, kOptionsDrop)) {
    return refuse("Error: Min value greater than max value");
  }
  if (command->negated == 0 && mss_bounds_crossed(request)) {
    return refuse("Error: Minimum MSS cannot be greater than Maximum MSS");
  }
  return send_settings(command, request, kConnection);
}
