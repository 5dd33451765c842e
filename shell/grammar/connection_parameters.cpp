// The settings of connection parameter-maps: what is done with TCP, and for how long a connection is kept.
#include <string_view>
#include <utility>

#include "kvel/keywords.h"
#include "shell/grammar/command_groups.h"
#include "shell/grammar/parameter_settings.h"

namespace kvel::shell {

namespace {

using namespace pattern;

constexpr std::uint32_t kHighestByte = 255;
constexpr std::uint32_t kHighestMss = 65535;

const ParameterMapType& connection_type() { return kParameterMapTypes[0]; }

Pattern seconds(std::string_view help, KeywordId keyword) {
  return number(0, kHighestSetting, help, keyword, "seconds").binds("seconds");
}

Pattern bytes(std::string_view help, KeywordId keyword) {
  return number(0, kHighestSetting, help, keyword, "bytes").binds("bytes");
}

Pattern count(std::string_view help, KeywordId keyword) {
  return number(0, kHighestSetting, help, keyword).binds("count");
}

Pattern allow(KeywordId keyword) { return word("allow", "Forward it unchanged", keyword).binds("action", "allow"); }
Pattern clear(KeywordId keyword) { return word("clear", "Remove it", keyword).binds("action", "clear"); }
Pattern drop(KeywordId keyword) { return word("drop", "Drop the segment", keyword).binds("action", "drop"); }

void declare_timeouts(ParameterSettings& settings) {
  settings.valued("half-closed-timeout",
                  word("half-closed-timeout", "Timeout of half-closed connections", kw::conn_setting_710),
                  seconds("After that time without traffic", kw::conn_half_closed_timeout));
  settings.valued("embryonic-timeout",
                  word("embryonic-timeout", "Timeout of connections that are not established", kw::conn_setting_711),
                  seconds("After that time", kw::conn_embryonic_timeout));
  settings.valued("inactivity-timeout", word("inactivity-timeout", "Timeout of idle connections", kw::conn_setting_827),
                  seconds("After that time without traffic", kw::conn_inactivity_timeout));
}

void declare_buffers_and_limits(ParameterSettings& settings) {
  settings.valued("rx-buffer-share",
                  word("rx-buffer-share", "Receive buffer share of a connection", kw::conn_setting_714),
                  bytes("Size of the share", kw::conn_rx_buffer_share));
  settings.valued("tx-buffer-share",
                  word("tx-buffer-share", "Transmit buffer share of a connection", kw::conn_setting_715),
                  bytes("Size of the share", kw::conn_tx_buffer_share));
  settings.valued("syn-retry-count", word("syn-retry-count", "Number of SYN retries", kw::conn_setting_712),
                  count("Number of times", kw::conn_syn_retry));
  settings.valued("queue-limit", word("queue-limit", "Maximum number of segments in a queue", kw::conn_setting_856),
                  count("Number of segments; 0 for no limit", kw::conn_queue_limit));
  settings.valued("tos-rewrite",
                  word("tos-rewrite", "Rewrite the type-of-service byte of the packets", kw::conn_setting_718),
                  number(0, kHighestByte, "New value of the byte", kw::conn_tos_rewrite).binds("value"));
}

// Naming one of these turns it on.
void declare_switches(ParameterSettings& settings) {
  const auto enabled = [&settings](std::string_view kind, std::string_view text, std::string_view help,
                                   KeywordId keyword) {
    settings.setting(kind, word(text, help, keyword).binds("mode", "enabled"));
  };
  enabled("nagle", "nagle", "Gather small segments into larger ones", kw::conn_nagle);
  enabled("slow-start", "slow-start", "Begin with a small congestion window", kw::conn_slow_start);
  enabled("keepalive", "keepalive", "Probe clients that are idle", kw::conn_keepalive);
  enabled("random-sequence", "random-sequence-numbers", "Make initial sequence numbers unpredictable",
          kw::conn_random_sequence);
}

// A bound that is not named stays as it is (shell/configuration/kept_fields.h), so a configuration names both.
void declare_mss(ParameterSettings& settings) {
  const Pattern least =
      sequence(word("minimum", "Minimum size"),
               number(0, kHighestMss, "Size; 0 for no limit", kw::conn_mss_min, "bytes").binds("min"));
  const Pattern most = sequence(word("maximum", "Maximum size"),
                                number(0, kHighestMss, "Size; 0 for no limit", kw::conn_mss_max, "bytes").binds("max"));
  settings.valued("mss", word("mss", "Maximum segment sizes that are accepted", kw::conn_mss),
                  choice(most, sequence(least, optional(most))));
}

Pattern option_range(KeywordId low, KeywordId high) {
  return sequence(word("range", "By their numbers"),
                  number(0, kHighestByte, "Number of the first option", low).binds("low"),
                  number(0, kHighestByte, "Number of the last option", high).binds("high"));
}

void declare_options(ParameterSettings& settings) {
  const Pattern options = word("tcp-options", "What is done with TCP options that have no command of their own");
  settings.valued("options-allow", sequence(options, word("allow", "Forward them", kw::conn_options_allow)),
                  option_range(kw::conn_options_low_727, kw::conn_options_high_729));
  settings.valued("options-drop", sequence(options, word("drop", "Drop segments with them", kw::conn_options_drop)),
                  option_range(kw::conn_options_low_728, kw::conn_options_high_730));
  // There is nothing that it sets, so its range binds no member of a record.
  settings.command(sequence(options,
                            word("clear", "Remove them; accepted, but changes nothing", kw::conn_options_clear),
                            option_range(kw::conn_options_low_727, kw::conn_options_high_729)));

  const auto option = [&settings](std::string_view text, std::string_view help, KeywordId keyword, Pattern actions) {
    settings.valued(text, word(text, help, keyword), std::move(actions));
  };
  option("selective-ack", "The TCP option for selective acknowledgement", kw::conn_selective_ack,
         choice(allow(kw::conn_selective_ack_allow), clear(kw::conn_selective_ack_clear)));
  option("timestamp", "The TCP option for timestamps", kw::conn_timestamp,
         choice(allow(kw::conn_timestamp_allow), clear(kw::conn_timestamp_clear)));
  option("window-scale", "The TCP option that scales the window", kw::conn_window_scale,
         choice(allow(kw::conn_window_scale_allow), clear(kw::conn_window_scale_clear)));
  option("reserved-bits", "The reserved bits of the TCP header", kw::conn_reserved_bits,
         choice(allow(kw::conn_reserved_bits_allow), clear(kw::conn_reserved_bits_clear),
                drop(kw::conn_reserved_bits_drop)));
  option("exceed-mss", "Segments above the maximum segment size", kw::conn_exceed_mss,
         choice(allow(kw::conn_exceed_mss_allow), drop(kw::conn_exceed_mss_drop)));
  option("syn-data", "Data in a SYN segment", kw::conn_syn_data,
         choice(allow(kw::conn_syn_data_allow), drop(kw::conn_syn_data_drop)));
  option("urgent-flag", "The urgent flag", kw::conn_urgent_flag,
         choice(allow(kw::conn_urgent_allow), clear(kw::conn_urgent_clear)));
}

void declare_numbered(ParameterSettings& settings) {
  settings.numbered("setting-116", sequence(word("setting-116", "The setting of that number"),
                                            choice(word("0", "Set it to 0", kw::conn_setting_741).binds("value", 0U),
                                                   word("1", "Set it to 1", kw::conn_setting_742).binds("value", 1U))));
  settings.numbered(
      "setting-120",
      word("setting-120", "Set the setting of that number to 0", kw::conn_setting_753).binds("value", 0U));
  settings.numbered("setting-136",
                    sequence(word("setting-136", "The setting of that number"),
                             number(0, kHighestSetting, "Its value", kw::conn_setting_830).binds("value")));
  settings.command(advanced(word("setting-755", "The setting of that number", kw::conn_unsupported_755).unsupported()));
}

}  // namespace

void declare_connection_parameters(GrammarBuilder& grammar) {
  ParameterSettings settings(grammar, connection_type());
  declare_timeouts(settings);
  declare_buffers_and_limits(settings);
  declare_switches(settings);
  declare_mss(settings);
  declare_options(settings);
  declare_numbered(settings);
}

}  // namespace kvel::shell
